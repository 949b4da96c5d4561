#include "output.hpp"

#include <cerrno>
#include <cstring>

#include <unistd.h>

#include "command.hpp"

namespace vqs {
namespace {
// Large enough that the system call does not count beside what is written.
constexpr size_t bufferBytes = 64 * 1024;
}  // namespace

void Output::write(std::string_view bytes) {
  if (buffer_.size() + bytes.size() > bufferBytes) {
    flush();
    if (bytes.size() > bufferBytes) return writeThrough(bytes);
  }
  buffer_.append(bytes);
}

void Output::flush() {
  // Emptied first: after a failure nothing is tried twice.
  std::string bytes;
  bytes.swap(buffer_);
  writeThrough(bytes);
  bytes.clear();
  buffer_.swap(bytes);
}

void Output::writeThrough(std::string_view bytes) {
  while (!bytes.empty()) {
    ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      if (errno == EPIPE) throw OutputClosed{};
      throw InputOutputFailure(name_ + ": " + std::strerror(errno));
    }
    bytes.remove_prefix(static_cast<size_t>(written));
  }
}

}  // namespace vqs

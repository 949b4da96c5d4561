#include "input_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "command.hpp"

namespace vqs {

InputFile::InputFile(const std::string& path)
    : path_(path), descriptor_(path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (descriptor_ < 0) throw InputOutputFailure(path + ": " + std::strerror(errno));
  struct stat info;
  isLive_ = fstat(descriptor_, &info) == 0 && !S_ISREG(info.st_mode);
}

InputFile::~InputFile() {
  if (descriptor_ != STDIN_FILENO) ::close(descriptor_);
}

size_t InputFile::read(char* target, size_t room) {
  while (true) {
    const ssize_t count = ::read(descriptor_, target, room);
    if (count >= 0) return static_cast<size_t>(count);
    if (errno != EINTR) throw InputOutputFailure(path_ + ": " + std::strerror(errno));
  }
}

uint64_t bytesOfFiles(const std::vector<std::string>& paths) {
  uint64_t total = 0;
  for (const std::string& path : paths) {
    struct stat info;
    const bool isKnown = path == "-" ? fstat(STDIN_FILENO, &info) == 0 : stat(path.c_str(), &info) == 0;
    if (!isKnown || !S_ISREG(info.st_mode)) return 0;
    total += static_cast<uint64_t>(info.st_size);
  }
  return total;
}

}  // namespace vqs

#include "progress.hpp"

#include <algorithm>
#include <cstdio>
#include <string>

namespace vqs {

using namespace std::chrono_literals;

double Progress::seconds() const {
  return std::chrono::duration<double>(Clock::now() - start_).count();
}

void Progress::update(uint64_t bytesDone) {
  if (!isOn_) return;
  const Clock::time_point now = Clock::now();
  if (now - start_ < 500ms || (isDrawn_ && now - lastDrawn_ < 100ms)) return;
  lastDrawn_ = now;
  isDrawn_ = true;
  const double megabytes = static_cast<double>(bytesDone) / 1e6;
  const double rate = megabytes / seconds();
  if (total_ == 0) {
    std::fprintf(stderr, "\r\033[K%.1f MB, %.1f MB/s", megabytes, rate);
  } else {
    constexpr size_t width = 30;
    const double share = std::min(1.0, static_cast<double>(bytesDone) / static_cast<double>(total_));
    const auto full = static_cast<size_t>(share * width);
    const double left = (static_cast<double>(total_) / 1e6 - megabytes) / std::max(rate, 1e-9);
    std::fprintf(stderr, "\r\033[K[%s%s] %3.0f %%  %.1f MB/s  %.0f s left", std::string(full, '#').c_str(),
                 std::string(width - full, '.').c_str(), share * 100, rate, std::max(0.0, left));
  }
  std::fflush(stderr);
}

void Progress::erase() {
  if (isDrawn_) {
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
  }
  isDrawn_ = false;
}

}  // namespace vqs

// How far a run is, on standard error: a bar with rate and time left where the size is known, else the bytes
// read so far. Nothing is drawn in the first half second.
#pragma once

#include <chrono>
#include <cstdint>

namespace vqs {

class Progress {
 public:
  Progress(bool isOn, uint64_t bytesTotal) : isOn_(isOn), total_(bytesTotal) {}
  ~Progress() { erase(); }

  void update(uint64_t bytesDone);
  // Before anything else is written to a terminal.
  void erase();
  double seconds() const;

 private:
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start_ = Clock::now();
  Clock::time_point lastDrawn_ = start_;
  const bool isOn_;
  bool isDrawn_ = false;
  const uint64_t total_;
};

}  // namespace vqs

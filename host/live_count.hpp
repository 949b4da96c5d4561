// A count of live objects that many threads change at once without meeting on one cache line.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace vq::host {

// A small number for the calling thread; threads share numbers when there are many.
inline unsigned threadSlot() {
  static std::atomic<unsigned> next{0};
  thread_local const unsigned mine = next.fetch_add(1, std::memory_order_relaxed);
  return mine;
}

class LiveCount {
 public:
  void add(int64_t change) {
    slots_[threadSlot() % slots_.size()].value.fetch_add(change, std::memory_order_relaxed);
  }
  // The true sum once the threads that changed it have been joined.
  uint64_t total() const {
    int64_t sum = 0;
    for (const Slot& slot : slots_) sum += slot.value.load(std::memory_order_relaxed);
    return static_cast<uint64_t>(sum);
  }

 private:
  struct alignas(64) Slot {
    std::atomic<int64_t> value{0};
  };
  std::array<Slot, 16> slots_;
};

}  // namespace vq::host

// A count of live objects that many threads change at once without meeting on one cache line, and without an
// atomic read-modify-write as long as there are not more of them than slots.
#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace vq::host {

// Numbers for the threads that are alive: each has one of its own, given back at its end. When all are out,
// and while a thread is ending, the number is `none`.
class ThreadNumber {
 public:
  static constexpr size_t count = 64;
  static constexpr size_t none = count;

  static size_t mine() {
    thread_local const ThreadNumber holder;
    return number_;
  }

 private:
  ThreadNumber() {
    uint64_t free = free_.load(std::memory_order_relaxed);
    while (free != 0 && !free_.compare_exchange_weak(free, free & (free - 1), std::memory_order_acquire)) {
    }
    if (free != 0) number_ = static_cast<size_t>(std::countr_zero(free));
  }
  ~ThreadNumber() {
    if (number_ != none) free_.fetch_or(uint64_t{1} << number_, std::memory_order_release);
    number_ = none;
  }

  static inline constinit std::atomic<uint64_t> free_{UINT64_MAX};
  static inline thread_local constinit size_t number_ = none;
};

class LiveCount {
 public:
  void add(int64_t change) {
    const size_t number = ThreadNumber::mine();
    std::atomic<int64_t>& value = slots_[number].value;
    if (number == ThreadNumber::none) {
      value.fetch_add(change, std::memory_order_relaxed);
    } else {
      // No other thread writes here.
      value.store(value.load(std::memory_order_relaxed) + change, std::memory_order_relaxed);
    }
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
  std::array<Slot, ThreadNumber::count + 1> slots_;
};

}  // namespace vq::host

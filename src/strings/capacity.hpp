// The one capacity rule: how much storage a text of a given length gets, for all kinds and all growth paths.
#pragma once

#include <cstdint>

namespace vq {

// A capacity up to this many elements, whatever their size, keeps record and text in one block.
inline constexpr uint64_t inlineCapacityLimit = 1024;

// Elements to provide for a text of `length` elements without terminator: doubling up to a thousand, then 20
// per cent of headroom, above 4094 elements 10 per cent. Exact and not monotonic: 1022 gives 2046, 1023 gives
// 1228. A length too large to round up gives the largest number, which no pool can serve.
constexpr uint64_t capacityFor(uint64_t length) {
  if (length < 127) return 2 * length + 2;
  if (length < 255) return 256;
  if (length < 1023) return 2 * length + 2;
  if (length < 4095) return length + 1 + 2 * ((length + 1) / 10);
  uint64_t withTerminator = 0, capacity = 0;
  if (__builtin_add_overflow(length, 1, &withTerminator) ||
      __builtin_add_overflow(withTerminator, withTerminator / 10, &capacity)) {
    return UINT64_MAX;
  }
  return capacity;
}

// The rule for a measured size that stands for the text with its terminator. The storage takes a terminator
// behind all of the measured size, also when that is 0.
constexpr uint64_t capacityForTerminated(uint64_t size) {
  return size == 0 ? 1 : capacityFor(size - 1);
}

}  // namespace vq

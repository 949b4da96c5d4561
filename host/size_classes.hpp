// Size classes of the small blocks of a pool: steps of 16 bytes up to 256, then four classes to every
// doubling, so that no block is more than a quarter larger than what was asked for.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace vq::host {

constexpr size_t classCount = 16 + 4 * 6;
constexpr size_t largestSmall = 16 * 1024;

// What a thread keeps of one class before it shares, in bytes and in blocks.
constexpr size_t keptBytes = 64 * 1024;
constexpr size_t keptBlocks = 8;

constexpr size_t classOf(size_t byteCount) {
  if (byteCount <= 256) return byteCount == 0 ? 0 : (byteCount - 1) / 16;
  // The two bits below the highest one choose among four.
  const auto shift = static_cast<size_t>(std::bit_width(byteCount - 1)) - 3;
  return 16 + (shift - 6) * 4 + ((byteCount - 1) >> shift) - 4;
}

constexpr size_t bytesOf(size_t sizeClass) {
  if (sizeClass < 16) return (sizeClass + 1) * 16;
  const size_t step = sizeClass - 16;
  return (step % 4 + 5) << (step / 4 + 6);
}

constexpr bool classesFit() {
  for (size_t bytes = 0; bytes <= largestSmall; ++bytes) {
    const size_t sizeClass = classOf(bytes);
    if (sizeClass >= classCount || bytesOf(sizeClass) < bytes) return false;
    if (sizeClass > 0 && bytesOf(sizeClass - 1) >= bytes && bytes > 0) return false;
  }
  return classOf(largestSmall) == classCount - 1;
}

struct SizeTable {
  std::array<uint32_t, classCount> bytes{};
  std::array<uint32_t, classCount> kept{};
  // By size in steps of 16 bytes, rounded up.
  std::array<uint8_t, largestSmall / 16 + 1> classes{};
  constexpr SizeTable() {
    for (size_t i = 0; i < classes.size(); ++i) classes[i] = static_cast<uint8_t>(classOf(i * 16));
    for (size_t i = 0; i < classCount; ++i) {
      bytes[i] = static_cast<uint32_t>(bytesOf(i));
      kept[i] = static_cast<uint32_t>(std::max(keptBytes / bytesOf(i), keptBlocks));
    }
  }
};
constexpr SizeTable sizes;
// classOf by one look-up.
inline size_t smallClassOf(size_t byteCount) {
  return sizes.classes[(byteCount + 15) / 16];
}
static_assert(bytesOf(classOf(largestSmall)) == largestSmall);
static_assert(classesFit());

}  // namespace vq::host

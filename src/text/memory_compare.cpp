// The first difference of two runs, and the orders that follow from it.
#include "text/blocks.hpp"
#include "text/scan.hpp"
#include "vqstring/text.h"

namespace vq::text {

namespace {

template <class Element>
uint64_t differencePlain(const Element* first, const Element* second, uint64_t count) {
  uint64_t i = 0;
  while (i < count && first[i] == second[i]) ++i;
  return i;
}

VQ_INLINE_AVX2 __m256i equalBytesAt(const uint8_t* first, const uint8_t* second) {
  return _mm256_cmpeq_epi8(loadBlock(first), loadBlock(second));
}

// The place in bytes, or `byteCount`, which is more than a block. Bytes serve for wide elements as well: an
// element differs where its first differing byte lies.
VQ_TARGET_AVX2 uint64_t differenceLong(const uint8_t* first, const uint8_t* second, uint64_t byteCount) {
  uint64_t i = 0;
  for (; i + 4 * blockBytes <= byteCount; i += 4 * blockBytes) {
    const __m256i a = equalBytesAt(first + i, second + i);
    const __m256i b = equalBytesAt(first + i + blockBytes, second + i + blockBytes);
    const __m256i c = equalBytesAt(first + i + 2 * blockBytes, second + i + 2 * blockBytes);
    const __m256i d = equalBytesAt(first + i + 3 * blockBytes, second + i + 3 * blockBytes);
    if (isAllSet(allOf(a, b, c, d))) continue;
    const uint64_t low = ~(maskOf(a) | uint64_t{maskOf(b)} << 32);
    const uint64_t high = ~(maskOf(c) | uint64_t{maskOf(d)} << 32);
    return i + static_cast<uint64_t>(low != 0 ? std::countr_zero(low) : 64 + std::countr_zero(high));
  }
  for (; i + blockBytes <= byteCount; i += blockBytes) {
    if (const uint32_t differs = ~maskOf(equalBytesAt(first + i, second + i))) {
      return i + static_cast<uint64_t>(std::countr_zero(differs));
    }
  }
  i = byteCount - blockBytes;
  const uint32_t differs = ~maskOf(equalBytesAt(first + i, second + i));
  return differs == 0 ? byteCount : i + static_cast<uint64_t>(std::countr_zero(differs));
}

template <class Element>
__attribute__((always_inline)) inline uint64_t difference(const Element* first, const Element* second,
                                                          uint64_t count) {
  const auto* const a = reinterpret_cast<const uint8_t*>(first);
  const auto* const b = reinterpret_cast<const uint8_t*>(second);
  const uint64_t byteCount = count * sizeof(Element);
  if (!cpu::hasAvx2() || byteCount < 4) return differencePlain(first, second, count);
  if (byteCount > blockBytes) return differenceLong(a, b, byteCount) / sizeof(Element);
  const uint32_t differs = coverShort(byteCount, [&](uint64_t offset, auto width) {
    return ~equalMask<uint8_t>(loadPiece(a + offset, width), loadPiece(b + offset, width));
  });
  return differs == 0 ? count : static_cast<uint64_t>(std::countr_zero(differs)) / sizeof(Element);
}

}  // namespace

uint64_t firstDifference(const uint8_t* first, const uint8_t* second, uint64_t count) {
  return difference(first, second, count);
}
uint64_t firstDifference(const VQChar* first, const VQChar* second, uint64_t count) {
  return difference(first, second, count);
}

}  // namespace vq::text

int32_t mhMemCmp(const void* first, const void* second, uint64_t count) {
  const auto* const a = static_cast<const uint8_t*>(first);
  const auto* const b = static_cast<const uint8_t*>(second);
  const uint64_t at = vq::text::firstDifference(a, b, count);
  if (at == count) return 0;
  return a[at] < b[at] ? -1 : 1;
}

int32_t mhWMemCmp(const VQChar* first, const VQChar* second, uint64_t count) {
  const uint64_t at = vq::text::firstDifference(first, second, count);
  if (at == count) return 0;
  return static_cast<int32_t>(first[at] - second[at]) < 0 ? -1 : 1;
}

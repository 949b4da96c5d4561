// The first element that equals a value, or that does not, over bytes and wide elements.
//
// The two questions differ in one bit: a mask of equal elements is searched for a one or for a zero. Short
// runs are covered by two pieces that overlap, long ones by four blocks a step, a block that ends with the
// run at the end.
#include "text/blocks.hpp"
#include "text/scan.hpp"
#include "vqstring/text.h"

namespace vq::text {

namespace {

enum class Wanted { equal, other };

template <Wanted wanted, class Element>
uint64_t scanPlain(const Element* buffer, uint64_t count, Element value) {
  uint64_t i = 0;
  while (i < count && (buffer[i] == value) != (wanted == Wanted::equal)) ++i;
  return i;
}

template <Wanted wanted>
constexpr uint32_t hits(uint32_t equal) {
  return wanted == Wanted::equal ? equal : ~equal;
}

template <Wanted wanted, class Element>
VQ_INLINE_AVX2 uint32_t hitsAt(const uint8_t* at, __m256i values) {
  return hits<wanted>(maskOf(equalElements<Element>(loadBlock(at), values)));
}

// The place in bytes, or `byteCount`, which is more than a block.
template <Wanted wanted, class Element>
VQ_TARGET_AVX2 uint64_t scanLong(const uint8_t* bytes, uint64_t byteCount, Element value) {
  const __m256i values = splat(value);
  if (const uint32_t found = hitsAt<wanted, Element>(bytes, values)) {
    return static_cast<uint64_t>(std::countr_zero(found));
  }
  uint64_t i = bytesToBoundary(bytes);
  if constexpr (sizeof(Element) > 1) {
    // A buffer off its natural alignment keeps to whole elements.
    i = i / sizeof(Element) * sizeof(Element);
  }
  for (; i + 4 * blockBytes <= byteCount; i += 4 * blockBytes) {
    const __m256i a = equalElements<Element>(loadBlock(bytes + i), values);
    const __m256i b = equalElements<Element>(loadBlock(bytes + i + blockBytes), values);
    const __m256i c = equalElements<Element>(loadBlock(bytes + i + 2 * blockBytes), values);
    const __m256i d = equalElements<Element>(loadBlock(bytes + i + 3 * blockBytes), values);
    const __m256i group = wanted == Wanted::equal ? anyOf(a, b, c, d) : allOf(a, b, c, d);
    if (hits<wanted>(maskOf(group)) == 0) continue;
    const uint64_t low = hits<wanted>(maskOf(a)) | uint64_t{hits<wanted>(maskOf(b))} << 32;
    const uint64_t high = hits<wanted>(maskOf(c)) | uint64_t{hits<wanted>(maskOf(d))} << 32;
    return i + static_cast<uint64_t>(low != 0 ? std::countr_zero(low) : 64 + std::countr_zero(high));
  }
  for (; i + blockBytes <= byteCount; i += blockBytes) {
    if (const uint32_t found = hitsAt<wanted, Element>(bytes + i, values)) {
      return i + static_cast<uint64_t>(std::countr_zero(found));
    }
  }
  i = byteCount - blockBytes;
  const uint32_t found = hitsAt<wanted, Element>(bytes + i, values);
  return found == 0 ? byteCount : i + static_cast<uint64_t>(std::countr_zero(found));
}

template <Wanted wanted, class Element>
__attribute__((always_inline)) inline uint64_t scan(const Element* buffer, uint64_t count, Element value) {
  const auto* const bytes = reinterpret_cast<const uint8_t*>(buffer);
  const uint64_t byteCount = count * sizeof(Element);
  if (!cpu::hasAvx2() || byteCount < 4) return scanPlain<wanted>(buffer, count, value);
  if (byteCount > blockBytes) return scanLong<wanted>(bytes, byteCount, value) / sizeof(Element);
  const __m128i values = sizeof(Element) == 1 ? _mm_set1_epi8(static_cast<char>(value))
                                              : _mm_set1_epi32(static_cast<int>(value));
  const uint32_t found = coverShort(byteCount, [&](uint64_t offset, auto width) {
    return hits<wanted>(equalMask<Element>(loadPiece(bytes + offset, width), values));
  });
  return found == 0 ? count : static_cast<uint64_t>(std::countr_zero(found)) / sizeof(Element);
}

inline int64_t indexOrNone(uint64_t index, uint64_t count) {
  return index == count ? -1 : static_cast<int64_t>(index);
}

}  // namespace

uint64_t firstEqual(const uint8_t* buffer, uint64_t count, uint8_t value) {
  return scan<Wanted::equal>(buffer, count, value);
}
uint64_t firstEqual(const VQChar* buffer, uint64_t count, VQChar value) {
  return scan<Wanted::equal>(buffer, count, value);
}
uint64_t firstOther(const uint8_t* buffer, uint64_t count, uint8_t value) {
  return scan<Wanted::other>(buffer, count, value);
}
uint64_t firstOther(const VQChar* buffer, uint64_t count, VQChar value) {
  return scan<Wanted::other>(buffer, count, value);
}

}  // namespace vq::text

using namespace vq::text;

uint32_t mhMemNot(uint32_t value, const void* buffer, uint64_t count) {
  return firstOther(static_cast<const uint8_t*>(buffer), count, static_cast<uint8_t>(value)) == count;
}

uint32_t mhMemTNot(VQChar value, const VQChar* buffer, uint64_t count) {
  return firstOther(buffer, count, value) == count;
}

int64_t mhMemScan(const void* buffer, uint64_t count, uint32_t value) {
  if (buffer == nullptr) return -1;
  const auto* const bytes = static_cast<const uint8_t*>(buffer);
  return indexOrNone(firstEqual(bytes, count, static_cast<uint8_t>(value)), count);
}

int64_t mhMemNScan(const void* buffer, uint64_t count, uint32_t value) {
  if (buffer == nullptr) return -1;
  const auto* const bytes = static_cast<const uint8_t*>(buffer);
  return indexOrNone(firstOther(bytes, count, static_cast<uint8_t>(value)), count);
}

int64_t mhMemTNScan(const VQChar* buffer, uint64_t count, VQChar value) {
  if (buffer == nullptr) return -1;
  return indexOrNone(firstOther(buffer, count, value), count);
}

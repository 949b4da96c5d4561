// The first element that equals a value, or that does not, over bytes and wide elements.
//
// The two questions differ in one bit: a mask of equal elements is searched for a one or for a zero. Short
// runs are covered by two pieces that overlap, long ones by four blocks a step, a block that ends with the
// run at the end.
#include "text/blocks.hpp"
#include "text/scan.hpp"
#include "text/wide_blocks.hpp"
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
VQ_INLINE_AVX2 uint64_t hitsInPair(const uint8_t* first, const uint8_t* second, __m256i values) {
  return hits<wanted>(maskOf(equalElements<Element>(loadBlock(first), values))) |
         uint64_t{hits<wanted>(maskOf(equalElements<Element>(loadBlock(second), values)))} << 32;
}

// The place of the first hit in four blocks, or the size of the four.
template <Wanted wanted, class Element>
VQ_INLINE_AVX2 uint64_t placeInStep(const uint8_t* at, __m256i values) {
  const __m256i a = equalElements<Element>(loadBlock(at), values);
  const __m256i b = equalElements<Element>(loadBlock(at + blockBytes), values);
  const __m256i c = equalElements<Element>(loadBlock(at + 2 * blockBytes), values);
  const __m256i d = equalElements<Element>(loadBlock(at + 3 * blockBytes), values);
  if (hits<wanted>(maskOf(wanted == Wanted::equal ? anyOf(a, b, c, d) : allOf(a, b, c, d))) == 0) [[likely]] {
    return stepBytes;
  }
  const uint64_t low = hits<wanted>(maskOf(a)) | uint64_t{hits<wanted>(maskOf(b))} << 32;
  const uint64_t high = hits<wanted>(maskOf(c)) | uint64_t{hits<wanted>(maskOf(d))} << 32;
  return static_cast<uint64_t>(low != 0 ? std::countr_zero(low) : 64 + std::countr_zero(high));
}

inline int64_t indexOrNone(uint64_t place, uint64_t count) {
  return place == count ? -1 : static_cast<int64_t>(place);
}

// The place in bytes, or `byteCount`, which is at least a block.
template <Wanted wanted, class Element>
VQ_INLINE_AVX2 uint64_t scanLong(const uint8_t* bytes, uint64_t byteCount, Element value) {
  const __m256i values = splat(value);
  if (byteCount <= pairBytes) {
    const uint64_t last = byteCount - blockBytes;
    const uint32_t head = hits<wanted>(maskOf(equalElements<Element>(loadBlock(bytes), values)));
    const uint32_t tail = hits<wanted>(maskOf(equalElements<Element>(loadBlock(bytes + last), values)));
    const uint64_t found = head | uint64_t{tail} << last;
    return found == 0 ? byteCount : static_cast<uint64_t>(std::countr_zero(found));
  }
  if (byteCount <= stepBytes) {
    if (const uint64_t found = hitsInPair<wanted, Element>(bytes, bytes + blockBytes, values)) {
      return static_cast<uint64_t>(std::countr_zero(found));
    }
    const uint8_t* const last = bytes + byteCount - blockBytes;
    const uint64_t found = hitsInPair<wanted, Element>(last - blockBytes, last, values);
    return found == 0 ? byteCount : byteCount - pairBytes + static_cast<uint64_t>(std::countr_zero(found));
  }
  uint64_t i = placeInStep<wanted, Element>(bytes, values);
  if (i != stepBytes) return i;
  // On from a boundary, up to a last step that ends with the run; a buffer off its natural alignment keeps to
  // whole elements.
  i = stepBytes - blockBytes + bytesToBoundary(bytes) / sizeof(Element) * sizeof(Element);
  const uint8_t* const end = bytes + byteCount - stepBytes;
  for (const uint8_t* at = bytes + i; at < end; at += stepBytes) {
    const uint64_t place = placeInStep<wanted, Element>(at, values);
    if (place != stepBytes) [[unlikely]]
      return static_cast<uint64_t>(at - bytes) + place;
  }
  return byteCount - stepBytes + placeInStep<wanted, Element>(end, values);
}

template <Wanted wanted, class Element>
VQ_INLINE_AVX2 uint64_t scanByBlocks(const Element* buffer, uint64_t count, Element value) {
  const auto* const bytes = reinterpret_cast<const uint8_t*>(buffer);
  const uint64_t byteCount = count * sizeof(Element);
  if (byteCount >= blockBytes) return scanLong<wanted>(bytes, byteCount, value) / sizeof(Element);
  if (byteCount < 4) return scanPlain<wanted>(buffer, count, value);
  const __m128i values = _mm256_castsi256_si128(splat(value));
  const uint32_t found = coverShort(byteCount, [&](uint64_t offset, auto width) {
    return hits<wanted>(equalMask<Element>(loadPiece(bytes + offset, width), values));
  });
  return found == 0 ? count : static_cast<uint64_t>(std::countr_zero(found)) / sizeof(Element);
}

template <Wanted wanted, class Element>
VQ_INLINE_AVX512 uint64_t hitsInWide(__m512i block, __m512i values) {
  return wanted == Wanted::equal ? equalLanes<Element>(block, values)
                                 : differentLanes<Element>(block, values);
}

// The place of the first hit in four wide blocks, two at each of two places, counted as if the second two
// followed the first; or the element count of the four.
template <Wanted wanted, class Element>
VQ_INLINE_AVX512 uint64_t placeInWidePairs(const Element* at, const Element* behind, __m512i values) {
  constexpr uint64_t lanes = wideLanes<Element>;
  const __m512i a = loadWide(at), b = loadWide(at + lanes);
  const __m512i c = loadWide(behind), d = loadWide(behind + lanes);
  if constexpr (wanted == Wanted::equal) {
    if (!hasEqual<Element>(a, b, c, d, values)) [[likely]]
      return 4 * lanes;
  } else {
    const __m512i low = addDifferences(_mm512_xor_si512(a, values), b, values);
    const __m512i high = addDifferences(_mm512_xor_si512(c, values), d, values);
    if (isAllZero(_mm512_or_si512(low, high))) [[likely]]
      return 4 * lanes;
  }
  return firstOfFour<lanes>(hitsInWide<wanted, Element>(a, values), hitsInWide<wanted, Element>(b, values),
                            hitsInWide<wanted, Element>(c, values), hitsInWide<wanted, Element>(d, values));
}

// The place of the first hit, or `none`.
template <Wanted wanted, class Element>
VQ_INLINE_AVX512 uint64_t scanByWideBlocks(const Element* buffer, uint64_t count, Element value,
                                           uint64_t none) {
  constexpr uint64_t lanes = wideLanes<Element>, pair = 2 * lanes, step = 4 * lanes;
  const __m512i values = splatWide(value);
  if (count <= lanes) {
    const uint64_t run = firstLanes(count);
    const __m512i block = loadLanes(run, buffer);
    const uint64_t found = wanted == Wanted::equal ? equalLanes<Element>(run, block, values)
                                                   : differentLanes<Element>(run, block, values);
    return found == 0 ? none : static_cast<uint64_t>(std::countr_zero(found));
  }
  const Element* const end = buffer + count;
  if (count <= pair) {
    const uint64_t head = hitsInWide<wanted, Element>(loadWide(buffer), values);
    if (head != 0) return static_cast<uint64_t>(std::countr_zero(head));
    const uint64_t tail = hitsInWide<wanted, Element>(loadWide(end - lanes), values);
    return tail == 0 ? none : count - lanes + static_cast<uint64_t>(std::countr_zero(tail));
  }
  if (count <= step) {
    const uint64_t place = placeInWidePairs<wanted>(buffer, end - pair, values);
    return place < pair ? place : place == step ? none : count - step + place;
  }
  uint64_t place = placeInWidePairs<wanted>(buffer, buffer + pair, values);
  if (place != step) return place;
  // On from a boundary, up to a last step that ends with the run.
  const Element* const last = end - step;
  for (const Element* at = buffer + step - lanes + lanesToWideBoundary(buffer); at < last; at += step) {
    place = placeInWidePairs<wanted>(at, at + pair, values);
    if (place != step) [[unlikely]]
      return static_cast<uint64_t>(at - buffer) + place;
  }
  place = placeInWidePairs<wanted>(last, last + pair, values);
  return place == step ? none : count - step + place;
}

template <Wanted wanted, class Element>
VQ_TARGET_AVX512 uint64_t placeByWideBlocks(const Element* buffer, uint64_t count, Element value) {
  return scanByWideBlocks<wanted>(buffer, count, value, count);
}
template <Wanted wanted, class Element>
VQ_TARGET_AVX512 int64_t indexByWideBlocks(const Element* buffer, uint64_t count, Element value) {
  return static_cast<int64_t>(scanByWideBlocks<wanted>(buffer, count, value, ~uint64_t{0}));
}
template <class Element>
VQ_TARGET_AVX512 uint32_t isAllByWideBlocks(const Element* buffer, uint64_t count, Element value) {
  return scanByWideBlocks<Wanted::other>(buffer, count, value, count) == count;
}

template <Wanted wanted, class Element>
VQ_TARGET_AVX2 uint64_t placeByBlocks(const Element* buffer, uint64_t count, Element value) {
  return scanByBlocks<wanted>(buffer, count, value);
}
template <Wanted wanted, class Element>
VQ_TARGET_AVX2 int64_t indexByBlocks(const Element* buffer, uint64_t count, Element value) {
  return indexOrNone(scanByBlocks<wanted>(buffer, count, value), count);
}
template <class Element>
VQ_TARGET_AVX2 uint32_t isAllByBlocks(const Element* buffer, uint64_t count, Element value) {
  return scanByBlocks<Wanted::other>(buffer, count, value) == count;
}

// The place of the first hit, or `count`.
template <Wanted wanted, class Element>
inline uint64_t placeOf(const Element* buffer, uint64_t count, Element value) {
  if (cpu::hasAvx512()) [[likely]]
    return placeByWideBlocks<wanted>(buffer, count, value);
  if (!cpu::hasAvx2()) return scanPlain<wanted>(buffer, count, value);
  return placeByBlocks<wanted>(buffer, count, value);
}
// The same, or -1 instead of `count`.
template <Wanted wanted, class Element>
inline int64_t indexOf(const Element* buffer, uint64_t count, Element value) {
  if (buffer == nullptr) return -1;
  if (cpu::hasAvx512()) [[likely]]
    return indexByWideBlocks<wanted>(buffer, count, value);
  if (!cpu::hasAvx2()) return indexOrNone(scanPlain<wanted>(buffer, count, value), count);
  return indexByBlocks<wanted>(buffer, count, value);
}
template <class Element>
inline uint32_t isAll(const Element* buffer, uint64_t count, Element value) {
  if (cpu::hasAvx512()) [[likely]]
    return isAllByWideBlocks(buffer, count, value);
  if (!cpu::hasAvx2()) return scanPlain<Wanted::other>(buffer, count, value) == count;
  return isAllByBlocks(buffer, count, value);
}

}  // namespace

uint64_t firstEqual(const uint8_t* buffer, uint64_t count, uint8_t value) {
  return placeOf<Wanted::equal>(buffer, count, value);
}
uint64_t firstEqual(const VQChar* buffer, uint64_t count, VQChar value) {
  return placeOf<Wanted::equal>(buffer, count, value);
}
uint64_t firstOther(const uint8_t* buffer, uint64_t count, uint8_t value) {
  return placeOf<Wanted::other>(buffer, count, value);
}
uint64_t firstOther(const VQChar* buffer, uint64_t count, VQChar value) {
  return placeOf<Wanted::other>(buffer, count, value);
}

}  // namespace vq::text

using namespace vq::text;

uint32_t mhMemNot(uint32_t value, const void* buffer, uint64_t count) {
  return isAll(static_cast<const uint8_t*>(buffer), count, static_cast<uint8_t>(value));
}

uint32_t mhMemTNot(VQChar value, const VQChar* buffer, uint64_t count) {
  return isAll(buffer, count, value);
}

int64_t mhMemScan(const void* buffer, uint64_t count, uint32_t value) {
  return indexOf<Wanted::equal>(static_cast<const uint8_t*>(buffer), count, static_cast<uint8_t>(value));
}

int64_t mhMemNScan(const void* buffer, uint64_t count, uint32_t value) {
  return indexOf<Wanted::other>(static_cast<const uint8_t*>(buffer), count, static_cast<uint8_t>(value));
}

int64_t mhMemTNScan(const VQChar* buffer, uint64_t count, VQChar value) {
  return indexOf<Wanted::other>(buffer, count, value);
}

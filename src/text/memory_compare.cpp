// The first difference of two runs, and the orders that follow from it.
#include "text/blocks.hpp"
#include "text/scan.hpp"
#include "text/wide_blocks.hpp"
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

VQ_INLINE_AVX2 uint64_t differencesInPair(const uint8_t* first, const uint8_t* second) {
  return ~(maskOf(equalBytesAt(first, second)) |
           uint64_t{maskOf(equalBytesAt(first + blockBytes, second + blockBytes))} << 32);
}

// The place of the first difference in four blocks, or the size of the four.
VQ_INLINE_AVX2 uint64_t differenceInStep(const uint8_t* first, const uint8_t* second) {
  const __m256i a = equalBytesAt(first, second);
  const __m256i b = equalBytesAt(first + blockBytes, second + blockBytes);
  const __m256i c = equalBytesAt(first + 2 * blockBytes, second + 2 * blockBytes);
  const __m256i d = equalBytesAt(first + 3 * blockBytes, second + 3 * blockBytes);
  if (isAllSet(allOf(a, b, c, d))) [[likely]]
    return stepBytes;
  const uint64_t low = ~(maskOf(a) | uint64_t{maskOf(b)} << 32);
  const uint64_t high = ~(maskOf(c) | uint64_t{maskOf(d)} << 32);
  return static_cast<uint64_t>(low != 0 ? std::countr_zero(low) : 64 + std::countr_zero(high));
}

// The place in bytes, or `byteCount`, which is at least a block. Bytes serve for wide elements as well: an
// element differs where its first differing byte lies.
VQ_INLINE_AVX2 uint64_t differenceLong(const uint8_t* first, const uint8_t* second, uint64_t byteCount) {
  if (byteCount <= pairBytes) {
    const uint64_t last = byteCount - blockBytes;
    const uint32_t head = ~maskOf(equalBytesAt(first, second));
    const uint32_t tail = ~maskOf(equalBytesAt(first + last, second + last));
    const uint64_t found = head | uint64_t{tail} << last;
    return found == 0 ? byteCount : static_cast<uint64_t>(std::countr_zero(found));
  }
  if (byteCount <= stepBytes) {
    if (const uint64_t found = differencesInPair(first, second)) {
      return static_cast<uint64_t>(std::countr_zero(found));
    }
    const uint64_t last = byteCount - pairBytes;
    const uint64_t found = differencesInPair(first + last, second + last);
    return found == 0 ? byteCount : last + static_cast<uint64_t>(std::countr_zero(found));
  }
  uint64_t i = differenceInStep(first, second);
  if (i != stepBytes) return i;
  // On from a boundary of one of the two, up to a last step that ends with the runs; two steps need none.
  const uint8_t* const end = first + byteCount - stepBytes;
  i = byteCount <= 2 * stepBytes ? byteCount : stepBytes - blockBytes + bytesToBoundary(first);
  const uint8_t* b = second + i;
  for (const uint8_t* a = first + i; a < end; a += stepBytes, b += stepBytes) {
    const uint64_t place = differenceInStep(a, b);
    if (place != stepBytes) [[unlikely]]
      return static_cast<uint64_t>(a - first) + place;
  }
  return byteCount - stepBytes + differenceInStep(end, second + byteCount - stepBytes);
}

template <class Element>
VQ_INLINE_AVX2 uint64_t differenceByBlocks(const Element* first, const Element* second, uint64_t count) {
  const auto* const a = reinterpret_cast<const uint8_t*>(first);
  const auto* const b = reinterpret_cast<const uint8_t*>(second);
  const uint64_t byteCount = count * sizeof(Element);
  if (byteCount >= blockBytes) return differenceLong(a, b, byteCount) / sizeof(Element);
  if (byteCount < 4) return differencePlain(first, second, count);
  const uint32_t differs = coverShort(byteCount, [&](uint64_t offset, auto width) {
    return ~equalMask<uint8_t>(loadPiece(a + offset, width), loadPiece(b + offset, width));
  });
  return differs == 0 ? count : static_cast<uint64_t>(std::countr_zero(differs)) / sizeof(Element);
}

// The place of the first difference in four wide blocks, two at each of two places, counted as if the second
// two followed the first; or the element count of the four.
template <class Element>
VQ_INLINE_AVX512 uint64_t differenceInWidePairs(const Element* a, const Element* b, const Element* behindA,
                                                const Element* behindB) {
  constexpr uint64_t lanes = wideLanes<Element>;
  const __m512i a0 = loadWide(a), a1 = loadWide(a + lanes);
  const __m512i a2 = loadWide(behindA), a3 = loadWide(behindA + lanes);
  const __m512i low = addDifferences(_mm512_xor_si512(a0, loadWide(b)), a1, loadWide(b + lanes));
  const __m512i high = addDifferences(_mm512_xor_si512(a2, loadWide(behindB)), a3, loadWide(behindB + lanes));
  if (isAllZero(_mm512_or_si512(low, high))) [[likely]]
    return 4 * lanes;
  return firstOfFour<lanes>(
      differentLanes<Element>(a0, loadWide(b)), differentLanes<Element>(a1, loadWide(b + lanes)),
      differentLanes<Element>(a2, loadWide(behindB)), differentLanes<Element>(a3, loadWide(behindB + lanes)));
}

// The place of the first difference, or `none`.
template <class Element>
VQ_INLINE_AVX512 uint64_t differenceByWideBlocks(const Element* first, const Element* second, uint64_t count,
                                                 uint64_t none) {
  constexpr uint64_t lanes = wideLanes<Element>, pair = 2 * lanes, step = 4 * lanes;
  if (count <= lanes) {
    const uint64_t run = firstLanes(count);
    const uint64_t found = differentLanes<Element>(run, loadLanes(run, first), loadLanes(run, second));
    return found == 0 ? none : static_cast<uint64_t>(std::countr_zero(found));
  }
  if (count <= pair) {
    const uint64_t head = differentLanes<Element>(loadWide(first), loadWide(second));
    if (head != 0) return static_cast<uint64_t>(std::countr_zero(head));
    const uint64_t last = count - lanes;
    const uint64_t tail = differentLanes<Element>(loadWide(first + last), loadWide(second + last));
    return tail == 0 ? none : last + static_cast<uint64_t>(std::countr_zero(tail));
  }
  if (count <= step) {
    const uint64_t last = count - pair;
    const uint64_t place = differenceInWidePairs(first, second, first + last, second + last);
    return place < pair ? place : place == step ? none : count - step + place;
  }
  uint64_t place = differenceInWidePairs(first, second, first + pair, second + pair);
  if (place != step) return place;
  // On from a boundary of one of the two, up to a last step that ends with the runs.
  const Element* const last = first + count - step;
  const Element* b = second + step - lanes + lanesToWideBoundary(first);
  for (const Element* a = first + (b - second); a < last; a += step, b += step) {
    place = differenceInWidePairs(a, b, a + pair, b + pair);
    if (place != step) [[unlikely]]
      return static_cast<uint64_t>(a - first) + place;
  }
  b = second + count - step;
  place = differenceInWidePairs(last, b, last + pair, b + pair);
  return place == step ? none : count - step + place;
}

template <class Element>
VQ_TARGET_AVX512 uint64_t placeByWideBlocks(const Element* first, const Element* second, uint64_t count) {
  return differenceByWideBlocks(first, second, count, count);
}

template <class Element>
VQ_TARGET_AVX2 uint64_t placeByBlocks(const Element* first, const Element* second, uint64_t count) {
  return differenceByBlocks(first, second, count);
}

template <class Element>
inline uint64_t placeOf(const Element* first, const Element* second, uint64_t count) {
  if (cpu::hasAvx512()) [[likely]]
    return placeByWideBlocks(first, second, count);
  if (!cpu::hasAvx2()) return differencePlain(first, second, count);
  return placeByBlocks(first, second, count);
}

// -1 or 1 for two elements that differ.
inline int32_t order(uint8_t first, uint8_t second) {
  return first < second ? -1 : 1;
}
inline int32_t order(VQChar first, VQChar second) {
  return static_cast<int32_t>(first - second) < 0 ? -1 : 1;
}

template <class Element>
inline int32_t orderAt(uint64_t place, const Element* first, const Element* second, uint64_t count) {
  return place == count ? 0 : order(first[place], second[place]);
}

template <class Element>
VQ_TARGET_AVX2 int32_t orderByBlocks(const Element* first, const Element* second, uint64_t count) {
  return orderAt(differenceByBlocks(first, second, count), first, second, count);
}

template <class Element>
VQ_TARGET_AVX512 int32_t orderByWideBlocks(const Element* first, const Element* second, uint64_t count) {
  constexpr uint64_t none = ~uint64_t{0};
  const uint64_t place = differenceByWideBlocks(first, second, count, none);
  return place == none ? 0 : order(first[place], second[place]);
}

template <class Element>
inline int32_t orderOf(const Element* first, const Element* second, uint64_t count) {
  if (cpu::hasAvx512()) [[likely]]
    return orderByWideBlocks(first, second, count);
  if (!cpu::hasAvx2()) return orderAt(differencePlain(first, second, count), first, second, count);
  return orderByBlocks(first, second, count);
}

}  // namespace

uint64_t firstDifference(const uint8_t* first, const uint8_t* second, uint64_t count) {
  return placeOf(first, second, count);
}
uint64_t firstDifference(const VQChar* first, const VQChar* second, uint64_t count) {
  return placeOf(first, second, count);
}

}  // namespace vq::text

int32_t mhMemCmp(const void* first, const void* second, uint64_t count) {
  return vq::text::orderOf(static_cast<const uint8_t*>(first), static_cast<const uint8_t*>(second), count);
}

int32_t mhWMemCmp(const VQChar* first, const VQChar* second, uint64_t count) {
  return vq::text::orderOf(first, second, count);
}

// The first difference of two runs, and the orders that follow from it.
#include "text/blocks.hpp"
#include "text/scan.hpp"
#include "text/wide_blocks.hpp"
#include "vqstring/text.h"

namespace vq::text {

namespace {

template <class Element>
uint64_t differencePlain(const Element* first, const Element* second, uint64_t count) {
  for (uint64_t i = 0; i < count; ++i) {
    if (first[i] != second[i]) return i;
  }
  return none;
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

// The place in bytes, or `none`, in at least a block. Bytes serve for wide elements as well: an element
// differs where its first differing byte lies.
VQ_INLINE_AVX2 uint64_t differenceLong(const uint8_t* first, const uint8_t* second, uint64_t byteCount) {
  if (byteCount <= pairBytes) {
    const uint64_t last = byteCount - blockBytes;
    const uint32_t head = ~maskOf(equalBytesAt(first, second));
    const uint32_t tail = ~maskOf(equalBytesAt(first + last, second + last));
    const uint64_t found = head | uint64_t{tail} << last;
    return found == 0 ? none : static_cast<uint64_t>(std::countr_zero(found));
  }
  if (byteCount <= stepBytes) {
    if (const uint64_t found = differencesInPair(first, second)) {
      return static_cast<uint64_t>(std::countr_zero(found));
    }
    const uint64_t last = byteCount - pairBytes;
    const uint64_t found = differencesInPair(first + last, second + last);
    return found == 0 ? none : last + static_cast<uint64_t>(std::countr_zero(found));
  }
  uint64_t place = differenceInStep(first, second);
  if (place != stepBytes) return place;
  const uint64_t last = byteCount - stepBytes;
  if (last > stepBytes) {
    // On from a boundary of one of the two, up to a last step that ends with the runs.
    const uint8_t* b = second + stepBytes - blockBytes + bytesToBoundary(first);
    for (const uint8_t* a = first + (b - second); a < first + last; a += stepBytes, b += stepBytes) {
      place = differenceInStep(a, b);
      if (place != stepBytes) [[unlikely]]
        return static_cast<uint64_t>(a - first) + place;
    }
  }
  place = differenceInStep(first + last, second + last);
  return place == stepBytes ? none : last + place;
}

template <class Word>
VQ_INLINE Word wordAt(const uint8_t* from) {
  Word word;
  __builtin_memcpy(&word, from, sizeof(Word));
  return word;
}

// The place in bytes, or `none`, in 4 bytes up to a block: by two words that cover them.
VQ_INLINE uint64_t differenceShort(const uint8_t* first, const uint8_t* second, uint64_t byteCount) {
  if (byteCount >= 16) {
    const uint32_t found = coverShort(byteCount, [&](uint64_t offset, auto width) {
      return ~equalMask<uint8_t>(loadPiece(first + offset, width), loadPiece(second + offset, width));
    });
    return found == 0 ? none : static_cast<uint64_t>(std::countr_zero(found));
  }
  const auto firstByte = [](uint64_t bits) { return static_cast<uint64_t>(std::countr_zero(bits)) / 8; };
  if (byteCount >= 8) {
    const uint64_t head = wordAt<uint64_t>(first) ^ wordAt<uint64_t>(second);
    if (head != 0) return firstByte(head);
    const uint64_t last = byteCount - 8;
    const uint64_t tail = wordAt<uint64_t>(first + last) ^ wordAt<uint64_t>(second + last);
    return tail == 0 ? none : last + firstByte(tail);
  }
  const uint64_t last = byteCount - 4;
  const uint32_t head = wordAt<uint32_t>(first) ^ wordAt<uint32_t>(second);
  const uint32_t tail = wordAt<uint32_t>(first + last) ^ wordAt<uint32_t>(second + last);
  const uint64_t found = head | uint64_t{tail} << 8 * last;
  return found == 0 ? none : firstByte(found);
}

template <class Element>
VQ_INLINE_AVX2 uint64_t differenceByBlocks(const Element* first, const Element* second, uint64_t count) {
  const auto* const a = reinterpret_cast<const uint8_t*>(first);
  const auto* const b = reinterpret_cast<const uint8_t*>(second);
  const uint64_t byteCount = count * sizeof(Element);
  if (byteCount < 4) return differencePlain(first, second, count);
  const uint64_t place =
      byteCount < blockBytes ? differenceShort(a, b, byteCount) : differenceLong(a, b, byteCount);
  return place == none ? none : place / sizeof(Element);
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

template <class Element>
VQ_INLINE_AVX512 uint64_t differenceByWideBlocks(const Element* first, const Element* second,
                                                 uint64_t count) {
  constexpr uint64_t lanes = wideLanes<Element>, pair = 2 * lanes, step = 4 * lanes;
  if (count <= lanes) {
    const uint64_t run = avx512::lowBits(count);
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

// -1 or 1 for two elements that differ.
inline int32_t order(uint8_t first, uint8_t second) {
  return first < second ? -1 : 1;
}
inline int32_t order(VQChar first, VQChar second) {
  return static_cast<int32_t>(first - second) < 0 ? -1 : 1;
}

// What is asked about the place of the first difference. Each form answers it itself, so that the exported
// functions end in a jump.
struct Place {
  template <class Element>
  VQ_INLINE static uint64_t of(uint64_t place, const Element*, const Element*, uint64_t count) {
    return place == none ? count : place;
  }
};
struct Order {
  template <class Element>
  VQ_INLINE static int32_t of(uint64_t place, const Element* first, const Element* second, uint64_t) {
    return place == none ? 0 : order(first[place], second[place]);
  }
};

template <class Question, class Element>
VQ_TARGET_AVX512 auto askWideBlocks(const Element* first, const Element* second, uint64_t count) {
  return Question::of(differenceByWideBlocks(first, second, count), first, second, count);
}
template <class Question, class Element>
VQ_TARGET_AVX2 auto askBlocks(const Element* first, const Element* second, uint64_t count) {
  return Question::of(differenceByBlocks(first, second, count), first, second, count);
}

template <class Question, class Element>
inline auto ask(const Element* first, const Element* second, uint64_t count) {
  if (cpu::hasAvx512()) [[likely]]
    return askWideBlocks<Question>(first, second, count);
  if (cpu::hasAvx2()) return askBlocks<Question>(first, second, count);
  return Question::of(differencePlain(first, second, count), first, second, count);
}

}  // namespace

uint64_t firstDifference(const uint8_t* first, const uint8_t* second, uint64_t count) {
  return ask<Place>(first, second, count);
}
uint64_t firstDifference(const VQChar* first, const VQChar* second, uint64_t count) {
  return ask<Place>(first, second, count);
}

}  // namespace vq::text

int32_t mhMemCmp(const void* first, const void* second, uint64_t count) {
  return vq::text::ask<vq::text::Order>(static_cast<const uint8_t*>(first),
                                        static_cast<const uint8_t*>(second), count);
}

int32_t mhWMemCmp(const VQChar* first, const VQChar* second, uint64_t count) {
  return vq::text::ask<vq::text::Order>(first, second, count);
}

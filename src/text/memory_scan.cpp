// The first element that equals a value, or that does not, over bytes and wide elements.
//
// The two questions differ in one bit: a mask of equal elements is searched for a one or for a zero. Short
// runs are covered by two pieces that overlap, or by one that is cut short, long ones by four blocks a step,
// the last of them up to the end of the run.
#include "text/blocks.hpp"
#include "text/scan.hpp"
#include "text/wide_blocks.hpp"
#include "vqstring/text.h"

namespace vq::text {

namespace {

enum class Wanted { equal, other };

template <Wanted wanted, class Element>
uint64_t scanPlain(const Element* buffer, uint64_t count, Element value) {
  for (uint64_t i = 0; i < count; ++i) {
    if ((buffer[i] == value) == (wanted == Wanted::equal)) return i;
  }
  return none;
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

// The place in bytes, or `none`, in at least a block.
template <Wanted wanted, class Element>
VQ_INLINE_AVX2 uint64_t scanLong(const uint8_t* bytes, uint64_t byteCount, Element value) {
  const __m256i values = splat(value);
  if (byteCount <= pairBytes) {
    const uint64_t last = byteCount - blockBytes;
    const uint32_t head = hits<wanted>(maskOf(equalElements<Element>(loadBlock(bytes), values)));
    const uint32_t tail = hits<wanted>(maskOf(equalElements<Element>(loadBlock(bytes + last), values)));
    const uint64_t found = head | uint64_t{tail} << last;
    return found == 0 ? none : static_cast<uint64_t>(std::countr_zero(found));
  }
  if (byteCount <= stepBytes) {
    if (const uint64_t found = hitsInPair<wanted, Element>(bytes, bytes + blockBytes, values)) {
      return static_cast<uint64_t>(std::countr_zero(found));
    }
    const uint8_t* const last = bytes + byteCount - blockBytes;
    const uint64_t found = hitsInPair<wanted, Element>(last - blockBytes, last, values);
    return found == 0 ? none : byteCount - pairBytes + static_cast<uint64_t>(std::countr_zero(found));
  }
  uint64_t place = placeInStep<wanted, Element>(bytes, values);
  if (place != stepBytes) return place;
  // On from a boundary, up to a last step that ends with the run; a buffer off its natural alignment keeps to
  // whole elements.
  const uint64_t toBoundary = bytesToBoundary(bytes) / sizeof(Element) * sizeof(Element);
  const uint8_t* const end = bytes + byteCount - stepBytes;
  for (const uint8_t* at = bytes + stepBytes - blockBytes + toBoundary; at < end; at += stepBytes) {
    place = placeInStep<wanted, Element>(at, values);
    if (place != stepBytes) [[unlikely]]
      return static_cast<uint64_t>(at - bytes) + place;
  }
  place = placeInStep<wanted, Element>(end, values);
  return place == stepBytes ? none : byteCount - stepBytes + place;
}

template <Wanted wanted, class Element>
VQ_INLINE_AVX2 uint64_t scanByBlocks(const Element* buffer, uint64_t count, Element value) {
  const auto* const bytes = reinterpret_cast<const uint8_t*>(buffer);
  const uint64_t byteCount = count * sizeof(Element);
  if (byteCount >= blockBytes) {
    const uint64_t place = scanLong<wanted>(bytes, byteCount, value);
    return place == none ? none : place / sizeof(Element);
  }
  if (byteCount < 4) return scanPlain<wanted>(buffer, count, value);
  const __m128i values = _mm256_castsi256_si128(splat(value));
  const uint32_t found = coverShort(byteCount, [&](uint64_t offset, auto width) {
    return hits<wanted>(equalMask<Element>(loadPiece(bytes + offset, width), values));
  });
  return found == 0 ? none : static_cast<uint64_t>(std::countr_zero(found)) / sizeof(Element);
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

template <Wanted wanted, class Element>
VQ_INLINE_AVX512 uint64_t scanByWideBlocks(const Element* buffer, uint64_t count, Element value) {
  constexpr uint64_t lanes = wideLanes<Element>, pair = 2 * lanes, step = 4 * lanes;
  const __m512i values = splatWide(value);
  if (count <= lanes) {
    const uint64_t run = avx512::lowBits(count);
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

// What is asked about the place of the first hit. Each form answers it itself, so that the exported functions
// end in a jump.
struct Place {
  VQ_INLINE static uint64_t of(uint64_t place, uint64_t count) { return place == none ? count : place; }
};
struct Index {
  VQ_INLINE static int64_t of(uint64_t place, uint64_t) { return static_cast<int64_t>(place); }
};
struct IsNone {
  VQ_INLINE static uint32_t of(uint64_t place, uint64_t) { return place == none; }
};

template <class Question, Wanted wanted, class Element>
VQ_TARGET_AVX512 auto askWideBlocks(const Element* buffer, uint64_t count, Element value) {
  return Question::of(scanByWideBlocks<wanted>(buffer, count, value), count);
}
template <class Question, Wanted wanted, class Element>
VQ_TARGET_AVX2 auto askBlocks(const Element* buffer, uint64_t count, Element value) {
  return Question::of(scanByBlocks<wanted>(buffer, count, value), count);
}

template <class Question, Wanted wanted, class Element>
inline auto ask(const Element* buffer, uint64_t count, Element value) {
  if (cpu::hasAvx512()) [[likely]]
    return askWideBlocks<Question, wanted>(buffer, count, value);
  if (cpu::hasAvx2()) return askBlocks<Question, wanted>(buffer, count, value);
  return Question::of(scanPlain<wanted>(buffer, count, value), count);
}

// The index of a hit, or -1; a null buffer has none.
template <Wanted wanted, class Element>
inline int64_t indexOf(const Element* buffer, uint64_t count, Element value) {
  if (buffer == nullptr) return -1;
  return ask<Index, wanted>(buffer, count, value);
}

}  // namespace

uint64_t firstEqual(const uint8_t* buffer, uint64_t count, uint8_t value) {
  return ask<Place, Wanted::equal>(buffer, count, value);
}
uint64_t firstEqual(const VQChar* buffer, uint64_t count, VQChar value) {
  return ask<Place, Wanted::equal>(buffer, count, value);
}
uint64_t firstOther(const uint8_t* buffer, uint64_t count, uint8_t value) {
  return ask<Place, Wanted::other>(buffer, count, value);
}
uint64_t firstOther(const VQChar* buffer, uint64_t count, VQChar value) {
  return ask<Place, Wanted::other>(buffer, count, value);
}

}  // namespace vq::text

using namespace vq::text;

uint32_t mhMemNot(uint32_t value, const void* buffer, uint64_t count) {
  return ask<IsNone, Wanted::other>(static_cast<const uint8_t*>(buffer), count, static_cast<uint8_t>(value));
}

uint32_t mhMemTNot(VQChar value, const VQChar* buffer, uint64_t count) {
  return ask<IsNone, Wanted::other>(buffer, count, value);
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

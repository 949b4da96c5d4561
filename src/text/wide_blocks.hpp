// Blocks of 64 bytes for the AVX-512 forms.
//
// A mask has a bit for each element, and a block can be cut short by one: elements that a mask leaves out are
// not read, so a run of up to a block takes no branch on its length.
#pragma once

#include <bit>

#include "text/avx512.hpp"
#include "vqstring/base.h"

namespace vq::text {

inline constexpr uint64_t wideBlockBytes = 64;

template <class Element>
inline constexpr uint64_t wideLanes = wideBlockBytes / sizeof(Element);

VQ_INLINE_AVX512 __m512i loadWide(const void* from) {
  return _mm512_loadu_si512(from);
}

VQ_INLINE_AVX512 __m512i splatWide(uint8_t value) {
  return _mm512_set1_epi8(static_cast<char>(value));
}
VQ_INLINE_AVX512 __m512i splatWide(VQChar value) {
  return _mm512_set1_epi32(static_cast<int>(value));
}

// The elements of a mask, zero in all other places.
template <class Element>
VQ_INLINE_AVX512 __m512i loadLanes(uint64_t lanes, const Element* from) {
  if constexpr (sizeof(Element) == 1) {
    return _mm512_maskz_loadu_epi8(lanes, from);
  } else {
    return _mm512_maskz_loadu_epi32(static_cast<__mmask16>(lanes), from);
  }
}

template <class Element>
VQ_INLINE_AVX512 uint64_t equalLanes(__m512i a, __m512i b) {
  if constexpr (sizeof(Element) == 1) {
    return _mm512_cmpeq_epi8_mask(a, b);
  } else {
    return _mm512_cmpeq_epi32_mask(a, b);
  }
}
template <class Element>
VQ_INLINE_AVX512 uint64_t differentLanes(__m512i a, __m512i b) {
  if constexpr (sizeof(Element) == 1) {
    return _mm512_cmpneq_epi8_mask(a, b);
  } else {
    return _mm512_cmpneq_epi32_mask(a, b);
  }
}

// Among the elements of a mask.
template <class Element>
VQ_INLINE_AVX512 uint64_t equalLanes(uint64_t lanes, __m512i a, __m512i b) {
  if constexpr (sizeof(Element) == 1) {
    return _mm512_mask_cmpeq_epi8_mask(lanes, a, b);
  } else {
    return _mm512_mask_cmpeq_epi32_mask(static_cast<__mmask16>(lanes), a, b);
  }
}
template <class Element>
VQ_INLINE_AVX512 uint64_t differentLanes(uint64_t lanes, __m512i a, __m512i b) {
  if constexpr (sizeof(Element) == 1) {
    return _mm512_mask_cmpneq_epi8_mask(lanes, a, b);
  } else {
    return _mm512_mask_cmpneq_epi32_mask(static_cast<__mmask16>(lanes), a, b);
  }
}

template <class Element>
VQ_INLINE_AVX512 __m512i leastWide(__m512i a, __m512i b) {
  if constexpr (sizeof(Element) == 1) {
    return _mm512_min_epu8(a, b);
  } else {
    return _mm512_maskz_min_epu32(0xffff, a, b);
  }
}

// The elements that are zero.
template <class Element>
VQ_INLINE_AVX512 uint64_t zeroLanes(__m512i a) {
  if constexpr (sizeof(Element) == 1) {
    return _mm512_testn_epi8_mask(a, a);
  } else {
    return _mm512_testn_epi32_mask(a, a);
  }
}
VQ_INLINE_AVX512 bool isAllZero(__m512i a) {
  return _mm512_test_epi32_mask(a, a) == 0;
}

// Whether one of four blocks has an element equal to that of `values`.
template <class Element>
VQ_INLINE_AVX512 bool hasEqual(__m512i a, __m512i b, __m512i c, __m512i d, __m512i values) {
  const __m512i low = leastWide<Element>(_mm512_xor_si512(a, values), _mm512_xor_si512(b, values));
  const __m512i high = leastWide<Element>(_mm512_xor_si512(c, values), _mm512_xor_si512(d, values));
  return zeroLanes<Element>(leastWide<Element>(low, high)) != 0;
}

// `known`, with the bits set in which a and b differ.
VQ_INLINE_AVX512 __m512i addDifferences(__m512i known, __m512i a, __m512i b) {
  constexpr int formula = 0xf0 | (0xcc ^ 0xaa);
  return _mm512_ternarylogic_epi32(known, a, b, formula);
}

// The place of the first bit in four masks of `lanes` bits each, of which one has a bit.
template <uint64_t lanes>
VQ_INLINE_AVX512 uint64_t firstOfFour(uint64_t a, uint64_t b, uint64_t c, uint64_t d) {
  if (a != 0) return static_cast<uint64_t>(std::countr_zero(a));
  if (b != 0) return lanes + static_cast<uint64_t>(std::countr_zero(b));
  if (c != 0) return 2 * lanes + static_cast<uint64_t>(std::countr_zero(c));
  return 3 * lanes + static_cast<uint64_t>(std::countr_zero(d));
}

// How many elements lie between a place and the next boundary of a block; a place off the natural alignment
// of its elements keeps to whole ones.
template <class Element>
inline uint64_t lanesToWideBoundary(const Element* at) {
  return (wideBlockBytes - reinterpret_cast<uintptr_t>(at) % wideBlockBytes) / sizeof(Element);
}

}  // namespace vq::text

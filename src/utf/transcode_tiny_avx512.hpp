// The AVX-512 kernels for sixteen characters: the whole of a tiny text, without a branch on what it is made
// of, and the core of the kernels for longer ones. Here so that they can be compiled into their callers, as a
// call takes as long as a tiny text.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "text/avx512.hpp"
#include "vqstring/base.h"

namespace vq::transcode::avx512 {

// Elements of either side.
inline constexpr size_t mostTiny = 16;
inline constexpr size_t groupSize = 16;
inline constexpr size_t vectorBytes = 64;
// A text that is not well-formed or lacks room: another form finds out where.
inline constexpr size_t notMade = SIZE_MAX;

using vq::avx512::lowBits;
using vq::avx512::storeShort;

// The sums of the markers of the bytes of a character of two, three and four.
inline constexpr uint32_t markers2 = (0xC0 << 6) + 0x80;
inline constexpr uint32_t markers3 = (0xE0 << 12) + (0x80 << 6) + 0x80;
inline constexpr uint32_t markers4 = (0xF0 << 18) + (0x80 << 12) + (0x80 << 6) + 0x80;

VQ_TARGET_AVX512 inline __m512i splat8(uint8_t byte) {
  return _mm512_set1_epi8(static_cast<char>(byte));
}
VQ_TARGET_AVX512 inline __m512i splat32(uint32_t word) {
  return _mm512_set1_epi32(static_cast<int>(word));
}

// Stores the first `count` of sixteen, or all.
VQ_TARGET_AVX512 inline void storeSome(__m512i values, size_t count, VQChar* target) {
  _mm512_mask_storeu_epi32(target, static_cast<__mmask16>(_bzhi_u32(0xFFFF, static_cast<unsigned>(count))),
                           values);
}

// Whether a first byte of two or more has a second byte that it cannot have: by Unicode 9.0, table 3-7, the
// second lies in a range of its own behind 0xE0, 0xED, 0xF0 and 0xF4, and behind 0xC0, 0xC1 and 0xF5 and
// above nowhere. The tables go by the lower six bits of the first byte.
VQ_TARGET_AVX512 inline bool hasWrongSecond(__m512i bytes, __m512i next, uint64_t multiStarts) {
  alignas(64) static constexpr uint8_t lowest[64] = {
      0xFF, 0xFF, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80,
      0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80,
      0xA0, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80,
      0x90, 0x80, 0x80, 0x80, 0x80, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  alignas(64) static constexpr uint8_t width[64] = {
      0x00, 0x00, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F,
      0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F,
      0x1F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x1F, 0x3F, 0x3F,
      0x2F, 0x3F, 0x3F, 0x3F, 0x0F, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
  const __m512i above = _mm512_sub_epi8(next, _mm512_permutexvar_epi8(bytes, _mm512_load_si512(lowest)));
  return _mm512_mask_cmpgt_epu8_mask(multiStarts, above,
                                     _mm512_permutexvar_epi8(bytes, _mm512_load_si512(width))) != 0;
}

// The values of sixteen characters that lie at the upper ends of their lanes, first byte lowest, with their
// markers.
VQ_TARGET_AVX512 inline __m512i weigh(__m512i lanes) {
  return _mm512_madd_epi16(_mm512_maddubs_epi16(lanes, splat32(0x01400140)), splat32(0x00011000));
}

// Characters of up to `longest` bytes, three or four.
template <int longest>
VQ_TARGET_AVX512 inline __m512i join(__m512i lanes) {
  const __m512i sums = weigh(lanes);
  __m512i values = _mm512_min_epu32(sums, _mm512_sub_epi32(sums, splat32(markers2)));
  values = _mm512_min_epu32(values, _mm512_sub_epi32(sums, splat32(markers3)));
  if constexpr (longest == 4) {
    values = _mm512_min_epu32(values, _mm512_sub_epi32(sums, splat32(markers4)));
  }
  return values;
}

// A text of up to sixteen bytes. The characters, or `notMade`.
VQ_TARGET_AVX512 inline size_t decodeTiny(const uint8_t* source, size_t byteCount, VQChar* target,
                                          size_t capacity) {
  const auto wanted = static_cast<__mmask16>(lowBits(byteCount));
  const __m128i bytes = _mm_maskz_loadu_epi8(wanted, source);
  const uint32_t notAscii = _mm_movepi8_mask(bytes);
  if (notAscii == 0) {
    if (byteCount > capacity) return notMade;
    storeSome(_mm512_cvtepu8_epi32(bytes), byteCount, target);
    return byteCount;
  }
  const __m512i block = _mm512_castsi128_si512(bytes);
  const __m512i next = _mm512_castsi128_si512(_mm_bsrli_si128(bytes, 1));
  const uint32_t continuations = _mm_cmplt_epi8_mask(bytes, _mm512_castsi512_si128(splat8(0xC0)));
  const uint32_t longStarts = _mm_cmpge_epu8_mask(bytes, _mm512_castsi512_si128(splat8(0xE0)));
  const uint32_t fourStarts = _mm_cmpge_epu8_mask(bytes, _mm512_castsi512_si128(splat8(0xF0)));
  const uint32_t multiStarts = notAscii & ~continuations;
  const uint32_t due = multiStarts << 1 | longStarts << 2 | fourStarts << 3;
  const uint32_t starts = ~continuations & wanted;
  const auto characters = static_cast<size_t>(std::popcount(starts));
  if (due != continuations || hasWrongSecond(block, next, multiStarts) || characters > capacity)
    return notMade;
  const uint64_t spread = (0x8888888888888888 | _pdep_u64(_pext_u32(notAscii, starts), 0x4444444444444444) |
                           _pdep_u64(_pext_u32(longStarts, starts), 0x2222222222222222) |
                           _pdep_u64(_pext_u32(fourStarts, starts), 0x1111111111111111)) &
                          lowBits(4 * characters);
  storeSome(join<4>(_mm512_maskz_expand_epi8(spread, block)), characters, target);
  return characters;
}

VQ_TARGET_AVX512 inline bool isBelow(__m512i values, uint32_t powerOfTwo) {
  return _mm512_test_epi32_mask(values, splat32(~(powerOfTwo - 1))) == 0;
}

// Stores the chosen bytes of `bytes`; `notMade` where they have no room.
VQ_TARGET_AVX512 inline size_t storeChosen(__m512i bytes, uint64_t chosen, uint8_t* target, size_t room) {
  const auto count = static_cast<size_t>(std::popcount(chosen));
  const __m512i together = _mm512_maskz_compress_epi8(chosen, bytes);
  if (room < count) return notMade;
  storeShort(target, together, count, room);
  return count;
}

// From its lowest byte a lane holds the payload of the first of four bytes, of three, of two, and of the
// last.
VQ_TARGET_AVX512 inline __m512i payloadOf(__m512i c) {
  const __m512i spread = _mm512_multishift_epi64_epi8(_mm512_set1_epi64(0x20262C3200060C12), c);
  return _mm512_and_si512(spread, splat32(0x3F3F3F07));
}

VQ_TARGET_AVX512 inline uint32_t surrogatesOf(__m512i c) {
  return _mm512_cmpeq_epi32_mask(_mm512_and_si512(c, splat32(~0x7FFu)), splat32(0xD800));
}

// The first `count` of sixteen elements; `notMade` also where one of them is no scalar value.
template <int longest>
VQ_TARGET_AVX512 inline size_t encodeGroup(__m512i c, size_t count, uint8_t* target, size_t room) {
  uint32_t faults = surrogatesOf(c);
  const __mmask16 isAscii = _mm512_cmplt_epu32_mask(c, splat32(0x80));
  __m512i markers = _mm512_mask_blend_epi32(_mm512_cmpgt_epu32_mask(c, splat32(0x7FF)), splat32(0x80C00000),
                                            splat32(0x8080E000));
  if constexpr (longest == 4) {
    markers =
        _mm512_mask_mov_epi32(markers, _mm512_cmpgt_epu32_mask(c, splat32(0xFFFF)), splat32(0x808080F0));
    faults |= _mm512_cmpgt_epu32_mask(c, splat32(0x10FFFF));
  }
  if (faults != 0) return notMade;
  // The bytes of longer sequences than its own stay zero.
  const __m512i bytes = _mm512_mask_slli_epi32(_mm512_or_si512(payloadOf(c), markers), isAscii, c, 24);
  const uint64_t chosen = (_mm512_test_epi8_mask(bytes, bytes) | 0x8888888888888888) & lowBits(4 * count);
  return storeChosen(bytes, chosen, target, room);
}

// Up to sixteen elements. The bytes, or `notMade`.
VQ_TARGET_AVX512 inline size_t encodeTiny(const VQChar* source, size_t elementCount, uint8_t* target,
                                          size_t capacity) {
  const auto present = static_cast<__mmask16>(lowBits(elementCount));
  const __m512i all = _mm512_maskz_loadu_epi32(present, source);
  if (elementCount <= capacity && isBelow(all, 0x80)) {
    storeShort(target, _mm512_castsi128_si512(_mm512_cvtepi32_epi8(all)), elementCount, capacity);
    return elementCount;
  }
  return encodeGroup<4>(all, elementCount, target, capacity);
}

}  // namespace vq::transcode::avx512

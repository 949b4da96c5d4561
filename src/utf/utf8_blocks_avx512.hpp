// Blocks of 64 bytes of UTF-8, each beside the three bytes in front of it.
//
// A byte is due to continue a character when one of the three bytes before it announces so much. In regular
// text exactly the bytes that are due are continuation bytes. That is found for all bytes of a block at once
// from the block itself and from the same block read one, two and three bytes earlier.
#pragma once

#include <cstddef>
#include <cstdint>

#include "text/avx512.hpp"
#include "utf/splat_avx2.hpp"

namespace vq::utf8::avx512 {

inline constexpr size_t blockBytes = 64;

using vq::avx512::lowBits;

VQ_TARGET_AVX512 inline size_t countBits(uint64_t mask) {
  return static_cast<size_t>(__builtin_popcountll(mask));
}
// A mask as a number. Left to itself GCC tests a mask where it stands and fetches it anew for each use.
VQ_TARGET_AVX512 inline uint64_t numberOf(__mmask64 mask) {
  uint64_t number = mask;
  asm("" : "+r"(number));
  return number;
}

template <uint8_t byte>
VQ_TARGET_AVX512 inline __m512i splat8() {
  __m512i lanes;
  asm("vpbroadcastd %1, %0" : "=v"(lanes) : "m"(vq::detail::splatted<byte * 0x1010101u>));
  return lanes;
}
// Loads are part of the function that asks for them, whatever the compiler makes of the rest: one that may
// look behind the end of a text says so for them too.
VQ_INLINE_AVX512 __m512i loadBlock(const uint8_t* at) {
  return _mm512_loadu_si512(at);
}
// The bytes of `valid`; the others count as zeros and are not touched.
VQ_INLINE_AVX512 __m512i loadSome(const uint8_t* at, uint64_t valid) {
  return _mm512_maskz_loadu_epi8(valid, at);
}

// For each byte of a block the bytes one to three places before.
struct Before {
  __m512i one;
  __m512i two;
  __m512i three;
};
VQ_INLINE_AVX512 Before beforeBlock(const uint8_t* at) {
  return {loadBlock(at - 1), loadBlock(at - 2), loadBlock(at - 3)};
}
VQ_INLINE_AVX512 Before beforeSome(const uint8_t* at, uint64_t valid) {
  return {loadSome(at - 1, valid), loadSome(at - 2, valid), loadSome(at - 3, valid)};
}
// At the start of a text zeros stand before it.
VQ_TARGET_AVX512 inline Before beforeOpening(__m512i here) {
  const __m512i movedUp = _mm512_alignr_epi32(here, _mm512_setzero_si512(), 12);
  return {_mm512_alignr_epi8(here, movedUp, 15), _mm512_alignr_epi8(here, movedUp, 14),
          _mm512_alignr_epi8(here, movedUp, 13)};
}

// Of the operations on bytes only additions and the logical ones run on both vector ports; shifts, maxima and
// saturated differences share one, comparisons and permutations the other.

// Top bit: the byte is at least `least`, which is over 0x80.
template <uint8_t least>
VQ_TARGET_AVX512 inline __m512i reaches(__m512i bytes) {
  return _mm512_subs_epu8(bytes, splat8<least - 0x80>());
}

// How _mm512_ternarylogic joins its operands.
namespace join {
inline constexpr int a = 0xF0;
inline constexpr int b = 0xCC;
inline constexpr int c = 0xAA;
inline constexpr int anyOfThree = a | b | c;
inline constexpr int firstUnlessSecondAndNotThird = a ^ (b & ~c);
inline constexpr int firstTwoOrThird = (a & b) | c;
inline constexpr int firstChoosesNotSecondOrThirdElseSecond = (a & ~(b & ~c)) | (~a & b & 0xFF);
inline constexpr int firstUnlessNeitherSecondNorThird = a & (b | ~c) & 0xFF;
}  // namespace join

// Each byte moved up by a bit.
VQ_TARGET_AVX512 inline __m512i twice(__m512i bytes) {
  return _mm512_add_epi8(bytes, bytes);
}

VQ_TARGET_AVX512 inline __m512i anyOf(__m512i a, __m512i b, __m512i c) {
  return _mm512_ternarylogic_epi32(a, b, c, join::anyOfThree);
}
VQ_TARGET_AVX512 inline __m512i anyOf(__m512i a, __m512i b, __m512i c, __m512i d) {
  return anyOf(_mm512_or_si512(a, b), c, d);
}

// Top bit: the byte continues a character and is not due, or the reverse. First bytes of five and more count
// as those of four. A byte that continues has bit 7 and not bit 6.
VQ_TARGET_AVX512 inline __m512i findMisplaced(__m512i here, const Before& before) {
  const __m512i due =
      anyOf(reaches<0xC0>(before.one), reaches<0xE0>(before.two), reaches<0xF0>(before.three));
  return _mm512_ternarylogic_epi32(due, here, twice(here), join::firstUnlessSecondAndNotThird);
}

// The bytes in front of `end` that begin a character and do not finish it; `available` bytes are there.
__attribute__((always_inline)) inline size_t unfinishedBytes(const uint8_t* end, size_t available) {
  if (available > 0 && end[-1] >= 0xC0) return 1;
  if (available > 1 && end[-2] >= 0xE0) return 2;
  return available > 2 && end[-3] >= 0xF0 ? 3 : 0;
}

// The same where all in front of `end` is regular: then one byte at most announces more, and no branch has to
// be guessed. Texts often end a block within a character.
__attribute__((always_inline)) inline size_t unfinishedOfRegular(const uint8_t* end, size_t available) {
  if (available < 3) return unfinishedBytes(end, available);
  return size_t{end[-1] >= 0xC0} + 2 * size_t{end[-2] >= 0xE0} + 3 * size_t{end[-3] >= 0xF0};
}

}  // namespace vq::utf8::avx512

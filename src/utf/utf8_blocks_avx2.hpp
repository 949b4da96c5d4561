// Blocks of 32 bytes of UTF-8, each beside the three bytes in front of it.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "text/blocks.hpp"

namespace vq::utf8 {

// Part of the function that asks for it, whatever the compiler makes of the rest: one that may look behind
// the end of a text says so for its loads too.
VQ_INLINE_AVX2 __m256i loadBytes(const uint8_t* bytes) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

// 32 bytes of a text, and for each of them the bytes one to three places before.
struct Neighbours {
  __m256i here;
  __m256i before;
  __m256i twoBefore;
  __m256i threeBefore;
};

// bytes[-3] to bytes[31] are read.
VQ_TARGET_AVX2 inline Neighbours neighboursOf(const uint8_t* bytes) {
  return {loadBytes(bytes), loadBytes(bytes - 1), loadBytes(bytes - 2), loadBytes(bytes - 3)};
}

// At the start of a text: what stands before counts as ASCII.
VQ_TARGET_AVX2 inline Neighbours neighboursAtStart(const uint8_t* bytes) {
  const __m256i here = loadBytes(bytes);
  const __m256i lowToHigh = _mm256_permute2x128_si256(here, here, 0x08);
  return {here, _mm256_alignr_epi8(here, lowToHigh, 15), _mm256_alignr_epi8(here, lowToHigh, 14),
          _mm256_alignr_epi8(here, lowToHigh, 13)};
}

// The bytes in front of `end` that begin a character and do not finish it; at least three are there.
inline size_t unfinishedBytes(const uint8_t* end) {
  if (end[-1] >= 0xC0) return 1;
  if (end[-2] >= 0xE0) return 2;
  return end[-3] >= 0xF0 ? 3 : 0;
}

}  // namespace vq::utf8

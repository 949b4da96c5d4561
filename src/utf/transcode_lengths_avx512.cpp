// Lengths of converted text with AVX-512: whole vectors, and one under a mask for the rest.
#include <algorithm>
#include <bit>

#include "text/avx512.hpp"
#include "utf/transcode_avx512.hpp"

namespace vq::transcode::avx512 {

namespace {

using vq::avx512::loadShort;
using vq::avx512::lowBits;

VQ_TARGET_AVX512 inline size_t continuationsOf(__m512i bytes) {
  const __m512i firstStart = _mm512_set1_epi8(static_cast<char>(0xC0));
  return static_cast<size_t>(std::popcount(_mm512_cmplt_epi8_mask(bytes, firstStart)));
}

// One less than the bytes of each element, found by the number of zero bits at its top.
VQ_TARGET_AVX512 inline __m512i furtherBytesOf(__m512i c) {
  const __m512i upTo15 = _mm512_set1_epi32(3);
  const __m512i from16 = _mm512_setr_epi32(2, 2, 2, 2, 2, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0);
  const __m512i zeros = _mm512_lzcnt_epi32(_mm512_or_si512(c, _mm512_set1_epi32(1)));
  return _mm512_permutex2var_epi32(upTo15, zeros, from16);
}

VQ_TARGET_AVX512 inline size_t countAbove(__m512i c, int limit) {
  return static_cast<size_t>(std::popcount(_mm512_cmpgt_epu32_mask(c, _mm512_set1_epi32(limit))));
}

// Up to sixteen elements: without a sum over lanes.
VQ_TARGET_AVX512 inline size_t lengthOfFew(const VQChar* source, size_t elementCount) {
  const __m512i c = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(lowBits(elementCount)), source);
  return elementCount + countAbove(c, 0x7F) + countAbove(c, 0x7FF) + countAbove(c, 0xFFFF);
}

}  // namespace

VQ_TARGET_AVX512 size_t wideLengthOfUtf8(const uint8_t* source, size_t byteCount) {
  constexpr size_t stride = 64;
  size_t continuations = 0;
  size_t at = 0;
  for (; byteCount - at >= stride; at += stride) {
    continuations += continuationsOf(_mm512_loadu_si512(source + at));
  }
  if (at < byteCount) {
    continuations += continuationsOf(loadShort(source + at, byteCount - at));
  }
  return byteCount - continuations;
}

VQ_TARGET_AVX512 size_t utf8LengthOfWide(const VQChar* source, size_t elementCount) {
  constexpr size_t stride = 16;
  if (elementCount <= stride) return lengthOfFew(source, elementCount);
  // Each round adds up to three to a lane.
  constexpr size_t mostRounds = size_t{1} << 29;
  size_t furtherBytes = 0;
  size_t at = 0;
  do {
    __m512i lanes = _mm512_setzero_si512();
    for (size_t rounds = std::min((elementCount - at) / stride, mostRounds); rounds > 0;
         --rounds, at += stride) {
      lanes = _mm512_add_epi32(lanes, furtherBytesOf(_mm512_loadu_si512(source + at)));
    }
    if (const size_t left = elementCount - at; left < stride) {
      const auto rest = static_cast<__mmask16>(lowBits(left));
      lanes = _mm512_add_epi32(lanes, furtherBytesOf(_mm512_maskz_loadu_epi32(rest, source + at)));
      at = elementCount;
    }
    const __m512i even = _mm512_and_si512(lanes, _mm512_set1_epi64(0xFFFFFFFF));
    furtherBytes +=
        static_cast<size_t>(_mm512_reduce_add_epi64(_mm512_add_epi64(even, _mm512_srli_epi64(lanes, 32))));
  } while (at < elementCount);
  return elementCount + furtherBytes;
}

}  // namespace vq::transcode::avx512

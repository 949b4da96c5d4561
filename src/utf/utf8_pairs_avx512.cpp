// Of the six bytes of a pair the first and the fourth say nothing: what is computed are the other four, one
// lane for each character. Expanding puts them in their places, compressing takes them out.
#include "utf/utf8_pairs_avx512.hpp"

#include <algorithm>
#include <bit>

#include "utf/utf8_blocks_avx512.hpp"

namespace vq::utf8::avx512 {

namespace {

constexpr size_t groupSize = 8;
constexpr size_t pairBytes = 6;
// Bit i of each pair.
constexpr uint64_t inEachPair(unsigned bits) {
  uint64_t mask = 0;
  for (size_t i = 0; i < groupSize; ++i) mask |= uint64_t{bits} << pairBytes * i;
  return mask;
}
constexpr uint64_t told = inEachPair(0b110110);

VQ_TARGET_AVX512 inline __m256i splat32x8(uint32_t word) {
  return _mm256_set1_epi32(static_cast<int>(word));
}
VQ_TARGET_AVX512 inline __m256i bitsOf(__m256i lanes, uint32_t mask) {
  return _mm256_and_si256(lanes, splat32x8(mask));
}
VQ_TARGET_AVX512 inline __m256i anyOf(__m256i a, __m256i b, __m256i c, __m256i d) {
  return _mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, d));
}
VQ_TARGET_AVX512 inline uint64_t equalMasked(__m512i bytes, __m512i mask, __m512i value) {
  return _mm512_cmpeq_epi8_mask(_mm512_and_si512(bytes, mask), value);
}

}  // namespace

// The code point without its low 16 bits is the plane, which counts from 1 here and from 0 there.
VQ_TARGET_AVX512 size_t splitRun(const uint8_t* source, size_t most, uint8_t* target) {
  size_t done = 0;
  for (size_t run = groupSize; run == groupSize && done < most; done += run) {
    const size_t count = std::min(most - done, groupSize);
    const auto lanes = static_cast<__mmask8>(lowBits(count));
    const __m256i four = _mm256_maskz_loadu_epi32(lanes, source + 4 * done);
    const uint32_t others =
        _mm256_mask_cmpneq_epi32_mask(lanes, bitsOf(four, 0xC0C0C0F8), splat32x8(0x808080F0));
    run = others == 0 ? count : static_cast<size_t>(std::countr_zero(others));
    const __m256i plane =
        _mm256_or_si256(_mm256_slli_epi32(bitsOf(four, 7), 2), bitsOf(_mm256_srli_epi32(four, 12), 3));
    const __m256i high =
        _mm256_or_si256(bitsOf(_mm256_add_epi32(plane, splat32x8(0x7F)), 0xFF), splat32x8(0xA0));
    const __m256i middle = _mm256_or_si256(_mm256_slli_epi32(bitsOf(four, 0x0F00), 2),
                                           bitsOf(_mm256_srli_epi32(four, 12), 0x0300));
    const __m256i low = bitsOf(four, 0xFF0F0000);
    const __m256i values = anyOf(high, middle, low, splat32x8(0x00B08000));
    const __m512i pairs = _mm512_mask_expand_epi8(splat8<0xED>(), told, _mm512_castsi256_si512(values));
    _mm512_mask_storeu_epi8(target + pairBytes * done, lowBits(pairBytes * run), pairs);
  }
  return done;
}

VQ_TARGET_AVX512 size_t joinRun(const uint8_t* source, size_t most, uint8_t* target) {
  size_t done = 0;
  for (size_t run = groupSize; run == groupSize && done < most; done += run) {
    const size_t count = std::min(most - done, groupSize);
    const __m512i pairs = loadSome(source + pairBytes * done, lowBits(pairBytes * count));
    const uint64_t first = _mm512_cmpeq_epi8_mask(pairs, splat8<0xED>());
    const uint64_t second = equalMasked(pairs, splat8<0xE0>(), splat8<0xA0>());
    const uint64_t third = equalMasked(pairs, splat8<0xC0>(), splat8<0x80>());
    const uint64_t right =
        (first & inEachPair(0b001001)) | (second & inEachPair(0b010010)) | (third & inEachPair(0b100100));
    const uint64_t others = lowBits(pairBytes * count) & ~right;
    run = others == 0 ? count : static_cast<size_t>(std::countr_zero(others)) / pairBytes;
    const __m256i told4 = _mm512_castsi512_si256(_mm512_maskz_compress_epi8(told, pairs));
    const __m256i plane = _mm256_add_epi32(bitsOf(told4, 0x0F), splat32x8(1));
    const __m256i first2 =
        _mm256_or_si256(_mm256_srli_epi32(plane, 2), _mm256_slli_epi32(bitsOf(plane, 3), 12));
    const __m256i middle = _mm256_or_si256(bitsOf(_mm256_srli_epi32(told4, 2), 0x0F00),
                                           bitsOf(_mm256_slli_epi32(told4, 12), 0x300000));
    const __m256i low = bitsOf(told4, 0xFF0F0000);
    const __m256i four = anyOf(first2, middle, low, splat32x8(0x008080F0));
    _mm256_mask_storeu_epi32(target + 4 * done, static_cast<__mmask8>(lowBits(run)), four);
  }
  return done;
}

}  // namespace vq::utf8::avx512

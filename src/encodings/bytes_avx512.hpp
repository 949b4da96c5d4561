// Bytes in AVX-512 vectors: what the kernels of the encodings share. Text goes in and out by masks, as bytes
// or as wide elements, so that a step can be cut to what is there.
#pragma once

#include <array>
#include <cstdint>

#include "text/avx512.hpp"
#include "vqstring/base.h"

namespace vq::avx512 {

// Which byte each byte of a permuted vector is.
using Places = std::array<uint8_t, 64>;

template <class Place>
constexpr Places placesBy(Place place) {
  Places places{};
  for (uint8_t i = 0; i < 64; ++i) places[i] = static_cast<uint8_t>(place(i));
  return places;
}

// 64 bytes at a boundary of as many.
VQ_INLINE_AVX512 __m512i tableOf(const void* bytes) {
  return _mm512_load_si512(bytes);
}

// The elements of the mask as bytes; the others read as zero. What is no byte becomes 0 or 0xFF.
VQ_INLINE_AVX512 __m512i load(const char* text, __mmask64 mask) {
  return _mm512_maskz_loadu_epi8(mask, text);
}
VQ_INLINE_AVX512 __m512i load(const VQChar* text, __mmask64 mask) {
  const uint64_t bits = _cvtmask64_u64(mask);
  __m512i quarters[4];
  for (uint32_t i = 0; i < 4; ++i) {
    quarters[i] = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(bits >> (16 * i)), text + 16 * i);
  }
  const __m512i packed = _mm512_packus_epi16(_mm512_packus_epi32(quarters[0], quarters[1]),
                                             _mm512_packus_epi32(quarters[2], quarters[3]));
  // The packs work within lanes: four elements of each quarter in turn, first of all lowest lanes.
  return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15),
                                  packed);
}

alignas(64) inline constexpr Places wordOrder = placesBy([](int i) { return i / 4; });

// 16 bytes from byte `first` on, each in an element.
VQ_INLINE_AVX512 __m512i widened(__m512i bytes, char first) {
  constexpr __mmask64 lowBytes = 0x1111111111111111;
  const __m512i order = _mm512_add_epi8(tableOf(wordOrder.data()), _mm512_set1_epi8(first));
  return _mm512_maskz_permutexvar_epi8(lowBytes, order, bytes);
}

// 64 bytes, or the first `count` of them, as elements of the target.
VQ_INLINE_AVX512 void store(char* target, __m512i bytes) {
  _mm512_storeu_si512(target, bytes);
}
VQ_INLINE_AVX512 void store(VQChar* target, __m512i bytes) {
  _mm512_storeu_si512(target, widened(bytes, 0));
  _mm512_storeu_si512(target + 16, widened(bytes, 16));
  _mm512_storeu_si512(target + 32, widened(bytes, 32));
  _mm512_storeu_si512(target + 48, widened(bytes, 48));
}
VQ_INLINE_AVX512 void store(char* target, __m512i bytes, uint64_t count) {
  _mm512_mask_storeu_epi8(target, lowBits(count), bytes);
}
VQ_INLINE_AVX512 void store(VQChar* target, __m512i bytes, uint64_t count) {
  const uint64_t mask = _cvtmask64_u64(lowBits(count));
  _mm512_mask_storeu_epi32(target, static_cast<__mmask16>(mask), widened(bytes, 0));
  _mm512_mask_storeu_epi32(target + 16, static_cast<__mmask16>(mask >> 16), widened(bytes, 16));
  _mm512_mask_storeu_epi32(target + 32, static_cast<__mmask16>(mask >> 32), widened(bytes, 32));
  _mm512_mask_storeu_epi32(target + 48, static_cast<__mmask16>(mask >> 48), widened(bytes, 48));
}

}  // namespace vq::avx512

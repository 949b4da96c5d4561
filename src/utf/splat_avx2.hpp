// Vectors that hold one value in every lane.
//
// The compiler likes to build such a vector from an immediate, anew in each round of a loop, in three
// instructions of which two compete with the shuffles. A broadcast from memory costs one load.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "text/cpu.hpp"

namespace vq {

namespace detail {
// Hidden, so that its address is known without a look at a table.
template <uint32_t word>
__attribute__((visibility("hidden"))) inline constexpr uint32_t splatted = word;
}  // namespace detail

template <uint32_t word>
VQ_TARGET_AVX2 inline __m256i splat32() {
  __m256i lanes;
  asm("vpbroadcastd %1, %0" : "=x"(lanes) : "m"(detail::splatted<word>));
  return lanes;
}
template <uint16_t word>
VQ_TARGET_AVX2 inline __m256i splat16() {
  return splat32<word * 0x10001u>();
}
template <uint8_t byte>
VQ_TARGET_AVX2 inline __m256i splat8() {
  return splat32<byte * 0x1010101u>();
}

}  // namespace vq

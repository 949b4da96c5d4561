// What all forms for AVX-512 share.
#pragma once

#ifndef __clang__
// GCC's own header leaves operands undefined on purpose and then warns of them.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

#include <cstdint>

#include "text/cpu.hpp"

#define VQ_INLINE_AVX512 VQ_TARGET_AVX512 __attribute__((always_inline)) inline

namespace vq::avx512 {

// The low `count` bits, up to 64: the mask of so many elements at the start of a block.
VQ_INLINE_AVX512 uint64_t lowBits(uint64_t count) {
  return _bzhi_u64(~uint64_t{0}, static_cast<uint32_t>(count));
}

// What was stored is handed to a load at the same place only when the store had no mask and is no smaller
// than the load; any other load waits until the cache has it, some 25 cycles. So a short text that one kernel
// may leave to the next is stored by the largest vector that has room, and loaded by the smallest that holds
// it.

// Up to 64 bytes; the others read as zero.
VQ_INLINE_AVX512 __m512i loadShort(const void* bytes, uint64_t byteCount) {
  const uint64_t mask = lowBits(byteCount);
  if (byteCount <= 16) {
    return _mm512_zextsi128_si512(_mm_maskz_loadu_epi8(static_cast<__mmask16>(mask), bytes));
  }
  if (byteCount <= 32) {
    return _mm512_zextsi256_si512(_mm256_maskz_loadu_epi8(static_cast<__mmask32>(mask), bytes));
  }
  return _mm512_maskz_loadu_epi8(mask, bytes);
}

// The first `byteCount` bytes, and what else may go to the room.
VQ_INLINE_AVX512 void storeShort(void* target, __m512i bytes, uint64_t byteCount, uint64_t room) {
  if (room >= 64) {
    _mm512_storeu_si512(target, bytes);
  } else if (room >= 32 && byteCount <= 32) {
    _mm256_storeu_si256(static_cast<__m256i*>(target), _mm512_castsi512_si256(bytes));
  } else if (room >= 16 && byteCount <= 16) {
    _mm_storeu_si128(static_cast<__m128i*>(target), _mm512_castsi512_si128(bytes));
  } else {
    _mm512_mask_storeu_epi8(target, lowBits(byteCount), bytes);
  }
}

}  // namespace vq::avx512

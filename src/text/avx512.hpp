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

}  // namespace vq::avx512

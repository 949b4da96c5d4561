// Missing values: a NaN in an array of numbers.
#include "text/blocks.hpp"
#include "vqstring/text.h"

namespace {

bool hasNanPlain(const double* array, uint64_t count) {
  for (uint64_t i = 0; i < count; ++i) {
    if (array[i] != array[i]) return true;
  }
  return false;
}

// Whether one of two blocks of four holds a NaN: one comparison tells, since a NaN is unordered with
// anything.
VQ_INLINE_AVX2 __m256d unordered(const double* at) {
  return _mm256_cmp_pd(_mm256_loadu_pd(at), _mm256_loadu_pd(at + 4), _CMP_UNORD_Q);
}

// For at least 8 numbers.
VQ_TARGET_AVX2 bool hasNanByBlocks(const double* array, uint64_t count) {
  uint64_t i = 0;
  for (; i + 32 <= count; i += 32) {
    const __m256d low = _mm256_or_pd(unordered(array + i), unordered(array + i + 8));
    const __m256d high = _mm256_or_pd(unordered(array + i + 16), unordered(array + i + 24));
    if (_mm256_movemask_pd(_mm256_or_pd(low, high)) != 0) return true;
  }
  for (; i + 8 <= count; i += 8) {
    if (_mm256_movemask_pd(unordered(array + i)) != 0) return true;
  }
  return _mm256_movemask_pd(unordered(array + count - 8)) != 0;
}

}  // namespace

uint32_t mhMissArray(const double* array, uint64_t count) {
  if (count < 8 || !vq::cpu::hasAvx2()) return hasNanPlain(array, count);
  return hasNanByBlocks(array, count);
}

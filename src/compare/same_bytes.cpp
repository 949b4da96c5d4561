// The long runs of same_bytes.hpp. What is short among them is compared without asking for an order.
#include "compare/same_bytes.hpp"

#include "text/blocks.hpp"
#include "vqstring/text.h"

namespace vq::matching {

namespace {

using text::blockBytes;
using text::pairBytes;
using text::stepBytes;

VQ_INLINE_AVX2 __m256i equalBytesAt(const char* first, const char* second) {
  return _mm256_cmpeq_epi8(text::loadBlock(first), text::loadBlock(second));
}

// Four blocks at the given places, and whether all of their bytes are equal.
VQ_INLINE_AVX2 __m256i equalSpread(const char* first, const char* second, uint64_t b, uint64_t c,
                                   uint64_t d) {
  return text::allOf(equalBytesAt(first, second), equalBytesAt(first + b, second + b),
                     equalBytesAt(first + c, second + c), equalBytesAt(first + d, second + d));
}
VQ_INLINE_AVX2 __m256i equalStep(const char* first, const char* second) {
  return equalSpread(first, second, blockBytes, 2 * blockBytes, 3 * blockBytes);
}

// Up to eight blocks, which overlap where the runs are shorter, under one test.
VQ_TARGET_AVX2 bool sameInEight(const char* first, const char* second, uint64_t byteCount) {
  if (byteCount <= stepBytes) {
    return text::isAllSet(
        equalSpread(first, second, blockBytes, byteCount - pairBytes, byteCount - blockBytes));
  }
  const uint64_t last = byteCount - stepBytes;
  return text::isAllSet(_mm256_and_si256(equalStep(first, second), equalStep(first + last, second + last)));
}

}  // namespace

bool sameLongBytes(const char* first, const char* second, uint64_t byteCount) {
  if (byteCount <= 2 * stepBytes && cpu::hasAvx2()) return sameInEight(first, second, byteCount);
  return mhMemCmp(first, second, byteCount) == 0;
}

}  // namespace vq::matching

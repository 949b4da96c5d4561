// The long runs of same_bytes.hpp: four blocks a step, the last step ending with the runs.
#include "compare/same_bytes.hpp"

#include "text/blocks.hpp"

namespace vq::matching {

namespace {

using text::blockBytes;
using text::pairBytes;
using text::stepBytes;

VQ_INLINE_AVX2 __m256i equalBytesAt(const char* first, const char* second) {
  return _mm256_cmpeq_epi8(text::loadBlock(first), text::loadBlock(second));
}

VQ_INLINE_AVX2 bool sameSpread(const char* first, const char* second, uint64_t b, uint64_t c, uint64_t d) {
  return text::isAllSet(text::allOf(equalBytesAt(first, second), equalBytesAt(first + b, second + b),
                                    equalBytesAt(first + c, second + c),
                                    equalBytesAt(first + d, second + d)));
}

VQ_INLINE_AVX2 bool sameStep(const char* first, const char* second) {
  return sameSpread(first, second, blockBytes, 2 * blockBytes, 3 * blockBytes);
}

VQ_TARGET_AVX2 bool sameByBlocks(const char* first, const char* second, uint64_t byteCount) {
  if (byteCount <= stepBytes) {
    return sameSpread(first, second, blockBytes, byteCount - pairBytes, byteCount - blockBytes);
  }
  if (!sameStep(first, second)) return false;
  const uint64_t last = byteCount - stepBytes;
  // From two steps on, on from a boundary of one of the two.
  uint64_t at = byteCount <= 2 * stepBytes ? last : stepBytes - blockBytes + text::bytesToBoundary(first);
  for (; at < last; at += stepBytes) {
    if (!sameStep(first + at, second + at)) [[unlikely]]
      return false;
  }
  return sameStep(first + last, second + last);
}

}  // namespace

bool sameLongBytes(const char* first, const char* second, uint64_t byteCount) {
  return cpu::hasAvx2() ? sameByBlocks(first, second, byteCount) : std::memcmp(first, second, byteCount) == 0;
}

}  // namespace vq::matching

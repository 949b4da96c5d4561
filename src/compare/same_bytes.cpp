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

// Four blocks at the given places, and whether all of their bytes are equal.
VQ_INLINE_AVX2 __m256i equalSpread(const char* first, const char* second, uint64_t b, uint64_t c,
                                   uint64_t d) {
  return text::allOf(equalBytesAt(first, second), equalBytesAt(first + b, second + b),
                     equalBytesAt(first + c, second + c), equalBytesAt(first + d, second + d));
}
VQ_INLINE_AVX2 __m256i equalStep(const char* first, const char* second) {
  return equalSpread(first, second, blockBytes, 2 * blockBytes, 3 * blockBytes);
}

VQ_TARGET_AVX2 bool sameByBlocks(const char* first, const char* second, uint64_t byteCount) {
  if (byteCount <= stepBytes) {
    return text::isAllSet(
        equalSpread(first, second, blockBytes, byteCount - pairBytes, byteCount - blockBytes));
  }
  const uint64_t last = byteCount - stepBytes;
  const __m256i start = equalStep(first, second);
  if (byteCount <= 2 * stepBytes) {
    return text::isAllSet(_mm256_and_si256(start, equalStep(first + last, second + last)));
  }
  if (!text::isAllSet(start)) return false;
  // On from a boundary of one of the two.
  for (uint64_t at = stepBytes - blockBytes + text::bytesToBoundary(first); at < last; at += stepBytes) {
    if (!text::isAllSet(equalStep(first + at, second + at))) [[unlikely]]
      return false;
  }
  return text::isAllSet(equalStep(first + last, second + last));
}

}  // namespace

bool sameLongBytes(const char* first, const char* second, uint64_t byteCount) {
  if (cpu::hasAvx2()) [[likely]]
    return sameByBlocks(first, second, byteCount);
  return std::memcmp(first, second, byteCount) == 0;
}

}  // namespace vq::matching

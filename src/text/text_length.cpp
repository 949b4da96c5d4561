// The length of a text that ends at its first zero element.
//
// The vector form reads whole blocks, which may go past the zero but never into a page that the text does not
// reach: the first block is taken as it lies unless it would cross into the next page, all others stand on
// their boundary.
#include "text/blocks.hpp"
#include "vqstring/text.h"

namespace vq::text {

namespace {

constexpr uintptr_t pageBytes = 4096;

template <class Element>
int64_t lengthPlain(const Element* text) {
  int64_t length = 0;
  while (text[length] != 0) ++length;
  return length;
}

// An element is zero when one of the four in its place is.
template <class Element>
VQ_INLINE_AVX2 __m256i leastElements(__m256i a, __m256i b, __m256i c, __m256i d) {
  if constexpr (sizeof(Element) == 1) {
    return _mm256_min_epu8(_mm256_min_epu8(a, b), _mm256_min_epu8(c, d));
  } else {
    return _mm256_min_epu32(_mm256_min_epu32(a, b), _mm256_min_epu32(c, d));
  }
}

// The aligned loop behind the first block; `at` stands on a block's boundary.
template <class Element>
__attribute__((no_sanitize("address"))) VQ_TARGET_AVX2 const uint8_t* findZero(const uint8_t* at) {
  const __m256i zero = _mm256_setzero_si256();
  // Up to the boundary of four blocks, so that a step of four stays in its page.
  for (; reinterpret_cast<uintptr_t>(at) % (4 * blockBytes) != 0; at += blockBytes) {
    const uint32_t found =
        maskOf(equalElements<Element>(_mm256_load_si256(reinterpret_cast<const __m256i*>(at)), zero));
    if (found != 0) return at + std::countr_zero(found);
  }
  for (;; at += 4 * blockBytes) {
    const auto* const blocks = reinterpret_cast<const __m256i*>(at);
    const __m256i a = _mm256_load_si256(blocks), b = _mm256_load_si256(blocks + 1);
    const __m256i c = _mm256_load_si256(blocks + 2), d = _mm256_load_si256(blocks + 3);
    if (maskOf(equalElements<Element>(leastElements<Element>(a, b, c, d), zero)) == 0) continue;
    const uint64_t low =
        maskOf(equalElements<Element>(a, zero)) | uint64_t{maskOf(equalElements<Element>(b, zero))} << 32;
    const uint64_t high =
        maskOf(equalElements<Element>(c, zero)) | uint64_t{maskOf(equalElements<Element>(d, zero))} << 32;
    return at + (low != 0 ? std::countr_zero(low) : 64 + std::countr_zero(high));
  }
}

template <class Element>
__attribute__((no_sanitize("address"))) VQ_TARGET_AVX2 int64_t lengthByBlocks(const Element* text) {
  const auto* const bytes = reinterpret_cast<const uint8_t*>(text);
  const auto address = reinterpret_cast<uintptr_t>(bytes);
  // Elements off their natural alignment could lie across blocks.
  if (address % sizeof(Element) != 0) return lengthPlain(text);
  const __m256i zero = _mm256_setzero_si256();
  const uint64_t lead = address % blockBytes;
  const bool isWithinPage = address % pageBytes <= pageBytes - blockBytes;
  const __m256i block = loadBlock(isWithinPage ? bytes : bytes - lead);
  const uint32_t found = maskOf(equalElements<Element>(block, zero)) >> (isWithinPage ? 0 : lead);
  if (found != 0) return static_cast<int64_t>(std::countr_zero(found)) / int64_t{sizeof(Element)};
  return (findZero<Element>(bytes + blockBytes - lead) - bytes) / static_cast<int64_t>(sizeof(Element));
}

}  // namespace

}  // namespace vq::text

int64_t mhStrLen(const char* text) {
  if (text == nullptr) return 0;
  if (!vq::cpu::hasAvx2()) return vq::text::lengthPlain(text);
  return vq::text::lengthByBlocks(reinterpret_cast<const uint8_t*>(text));
}

int64_t mhStrTLen(const VQChar* text) {
  if (text == nullptr) return 0;
  if (!vq::cpu::hasAvx2()) return vq::text::lengthPlain(text);
  return vq::text::lengthByBlocks(text);
}

// The length of a text that ends at its first zero element.
//
// The vector form reads whole blocks, which may go past the zero but never into a page that the text does not
// reach: the first block is taken as it lies unless it would cross into the next page, all others stand on
// their boundary.
#include "text/blocks.hpp"
#include "text/wide_blocks.hpp"
#include "vqstring/text.h"

namespace vq::text {

namespace {

constexpr uintptr_t pageBytes = 4096;

template <class Element>
VQ_PLAIN_LOOP int64_t lengthPlain(const Element* text) {
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

template <class Element>
VQ_INLINE_AVX2 uint32_t zerosInBlock(const uint8_t* at) {
  return maskOf(equalElements<Element>(loadBlock(at), _mm256_setzero_si256()));
}

// The place of the first zero in four blocks, or the size of the four.
template <class Element>
VQ_INLINE_AVX2 uint64_t zeroInStep(const uint8_t* at) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i a = loadBlock(at), b = loadBlock(at + blockBytes);
  const __m256i c = loadBlock(at + 2 * blockBytes), d = loadBlock(at + 3 * blockBytes);
  if (maskOf(equalElements<Element>(leastElements<Element>(a, b, c, d), zero)) == 0) [[likely]] {
    return stepBytes;
  }
  const uint64_t low =
      maskOf(equalElements<Element>(a, zero)) | uint64_t{maskOf(equalElements<Element>(b, zero))} << 32;
  const uint64_t high =
      maskOf(equalElements<Element>(c, zero)) | uint64_t{maskOf(equalElements<Element>(d, zero))} << 32;
  return static_cast<uint64_t>(low != 0 ? std::countr_zero(low) : 64 + std::countr_zero(high));
}

inline bool isWithinPage(const void* at, uint64_t byteCount) {
  return reinterpret_cast<uintptr_t>(at) % pageBytes <= pageBytes - byteCount;
}

// The place of the first zero in bytes.
template <class Element>
__attribute__((no_sanitize("address"))) VQ_INLINE_AVX2 uint64_t findZero(const uint8_t* bytes) {
  const uint64_t lead = reinterpret_cast<uintptr_t>(bytes) % blockBytes;
  const bool isPlain = isWithinPage(bytes, blockBytes);
  const uint32_t found = zerosInBlock<Element>(isPlain ? bytes : bytes - lead) >> (isPlain ? 0 : lead);
  if (found != 0) return static_cast<uint64_t>(std::countr_zero(found));
  // Most texts end soon: four blocks one by one, written out since a loop over them costs as much again. The
  // steps behind them begin at a boundary of four blocks, and may look at some a second time.
  const uint8_t* at = bytes + blockBytes - lead;
#pragma GCC unroll 4
  for (int i = 0; i < 4; ++i, at += blockBytes) {
    const uint32_t zeros = zerosInBlock<Element>(at);
    if (zeros != 0) return static_cast<uint64_t>(at - bytes + std::countr_zero(zeros));
  }
  at -= reinterpret_cast<uintptr_t>(at) % stepBytes;
  for (;; at += stepBytes) {
    const uint64_t place = zeroInStep<Element>(at);
    if (place != stepBytes) [[unlikely]]
      return static_cast<uint64_t>(at - bytes) + place;
  }
}

template <class Element>
__attribute__((no_sanitize("address"))) VQ_TARGET_AVX2 int64_t lengthByBlocks(const Element* text) {
  // Elements off their natural alignment could lie across blocks.
  if (reinterpret_cast<uintptr_t>(text) % sizeof(Element) != 0) return lengthPlain(text);
  return static_cast<int64_t>(findZero<Element>(reinterpret_cast<const uint8_t*>(text)) / sizeof(Element));
}

// The place of the first zero in four wide blocks, or their element count.
template <class Element>
VQ_INLINE_AVX512 uint64_t zeroInWideStep(const Element* at) {
  constexpr uint64_t lanes = wideLanes<Element>;
  const __m512i a = loadWide(at), b = loadWide(at + lanes);
  const __m512i c = loadWide(at + 2 * lanes), d = loadWide(at + 3 * lanes);
  const __m512i least = leastWide<Element>(leastWide<Element>(a, b), leastWide<Element>(c, d));
  if (zeroLanes<Element>(least) == 0) [[likely]]
    return 4 * lanes;
  return firstOfFour<lanes>(zeroLanes<Element>(a), zeroLanes<Element>(b), zeroLanes<Element>(c),
                            zeroLanes<Element>(d));
}

template <class Element>
__attribute__((no_sanitize("address"))) VQ_TARGET_AVX512 int64_t lengthByWideBlocks(const Element* text) {
  constexpr uint64_t lanes = wideLanes<Element>, step = 4 * lanes;
  if (reinterpret_cast<uintptr_t>(text) % sizeof(Element) != 0) [[unlikely]]
    return lengthPlain(text);
  const uint64_t lead = reinterpret_cast<uintptr_t>(text) % wideBlockBytes / sizeof(Element);
  const uint64_t head = isWithinPage(text, wideBlockBytes)
                            ? zeroLanes<Element>(loadWide(text))
                            : zeroLanes<Element>(loadWide(text - lead)) >> lead;
  if (head != 0) return std::countr_zero(head);
  // On as findZero goes.
  const Element* at = text + lanes - lead;
#pragma GCC unroll 4
  for (int i = 0; i < 4; ++i, at += lanes) {
    const uint64_t found = zeroLanes<Element>(loadWide(at));
    if (found != 0) return at - text + std::countr_zero(found);
  }
  at -= reinterpret_cast<uintptr_t>(at) % (4 * wideBlockBytes) / sizeof(Element);
  for (;; at += step) {
    const uint64_t place = zeroInWideStep(at);
    if (place != step) [[unlikely]]
      return at - text + static_cast<int64_t>(place);
  }
}

}  // namespace

}  // namespace vq::text

int64_t mhStrLen(const char* text) {
  if (text == nullptr) return 0;
  if (vq::cpu::hasAvx512()) [[likely]]
    return vq::text::lengthByWideBlocks(reinterpret_cast<const uint8_t*>(text));
  if (!vq::cpu::hasAvx2()) return vq::text::lengthPlain(text);
  return vq::text::lengthByBlocks(reinterpret_cast<const uint8_t*>(text));
}

int64_t mhStrTLen(const VQChar* text) {
  if (text == nullptr) return 0;
  if (vq::cpu::hasAvx512()) [[likely]]
    return vq::text::lengthByWideBlocks(text);
  if (!vq::cpu::hasAvx2()) return vq::text::lengthPlain(text);
  return vq::text::lengthByBlocks(text);
}

// Filling memory with one value.
#include "text/blocks.hpp"
#include "vqstring/text.h"

namespace vq::text {

namespace {

template <class Element>
void fillPlain(Element* target, Element value, uint64_t count) {
  for (uint64_t i = 0; i < count; ++i) target[i] = value;
}

// Fills at least a block with a pattern that repeats by elements. Stores that overlap at both ends must keep
// its phase: wide elements lie on whole elements from the start, so distances are rounded to them.
template <class Element>
VQ_TARGET_AVX2 void fillLong(uint8_t* target, Element value, uint64_t byteCount) {
  const __m256i values = splat(value);
  storeBlock(target, values);
  uint8_t* const last = target + byteCount - blockBytes;
  uint8_t* at = target + bytesToBoundary(target) / sizeof(Element) * sizeof(Element);
  for (; at + 4 * blockBytes <= last; at += 4 * blockBytes) {
    storeBlock(at, values);
    storeBlock(at + blockBytes, values);
    storeBlock(at + 2 * blockBytes, values);
    storeBlock(at + 3 * blockBytes, values);
  }
  for (; at < last; at += blockBytes) storeBlock(at, values);
  storeBlock(last, values);
}

template <class Element>
__attribute__((always_inline)) inline void fill(Element* target, Element value, uint64_t count) {
  auto* const bytes = reinterpret_cast<uint8_t*>(target);
  const uint64_t byteCount = count * sizeof(Element);
  if (byteCount < 8 || !cpu::hasAvx2()) return fillPlain(target, value, count);
  if (byteCount >= blockBytes) return fillLong(bytes, value, byteCount);
  const __m128i values = sizeof(Element) == 1 ? _mm_set1_epi8(static_cast<char>(value))
                                              : _mm_set1_epi32(static_cast<int>(value));
  if (byteCount >= 16) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), values);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + byteCount - 16), values);
  } else {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes), values);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes + byteCount - 8), values);
  }
}

}  // namespace

}  // namespace vq::text

void mhMemSet(void* target, uint32_t value, uint64_t count) {
  vq::text::fill(static_cast<uint8_t*>(target), static_cast<uint8_t>(value), count);
}

void mhMemTSet(VQChar* target, VQChar value, uint64_t count) {
  vq::text::fill(target, value, count);
}

// Filling memory with one value.
#include "text/blocks.hpp"
#include "vqstring/text.h"

namespace vq::text {

namespace {

template <class Element>
VQ_PLAIN_LOOP void fillPlain(Element* target, Element value, uint64_t count) {
  for (uint64_t i = 0; i < count; ++i) target[i] = value;
}

VQ_INLINE_AVX2 void storeStep(uint8_t* at, __m256i values) {
  storeBlock(at, values);
  storeBlock(at + blockBytes, values);
  storeBlock(at + 2 * blockBytes, values);
  storeBlock(at + 3 * blockBytes, values);
}

// Fills more than a block with a pattern that repeats by elements. Stores that overlap keep its phase: wide
// elements lie on whole elements from the start, so distances are rounded to them.
template <class Element>
VQ_INLINE_AVX2 void fillLong(uint8_t* target, Element value, uint64_t byteCount) {
  const __m256i values = splat(value);
  uint8_t* const end = target + byteCount;
  if (byteCount <= stepBytes) {
    storeBlock(target, values);
    storeBlock(end - blockBytes, values);
    if (byteCount <= pairBytes) return;
    storeBlock(target + blockBytes, values);
    storeBlock(end - pairBytes, values);
    return;
  }
  storeStep(target, values);
  uint8_t* at = target + stepBytes - blockBytes + bytesToBoundary(target) / sizeof(Element) * sizeof(Element);
  for (; at < end - stepBytes; at += stepBytes) storeStep(at, values);
  storeStep(end - stepBytes, values);
}

template <class Word>
VQ_INLINE_AVX2 void storeEnds(uint8_t* target, Word word, uint64_t byteCount) {
  __builtin_memcpy(target, &word, sizeof(Word));
  __builtin_memcpy(target + byteCount - sizeof(Word), &word, sizeof(Word));
}

template <class Element>
VQ_TARGET_AVX2 void fillByBlocks(Element* target, Element value, uint64_t count) {
  auto* const bytes = reinterpret_cast<uint8_t*>(target);
  const uint64_t byteCount = count * sizeof(Element);
  const __m128i values = _mm256_castsi256_si128(splat(value));
  if (byteCount > blockBytes) return fillLong(bytes, value, byteCount);
  if (byteCount >= 16) return storeEnds(bytes, values, byteCount);
  if (byteCount >= 8) return storeEnds(bytes, _mm_cvtsi128_si64(values), byteCount);
  if (byteCount >= 4) return storeEnds(bytes, _mm_cvtsi128_si32(values), byteCount);
  if constexpr (sizeof(Element) == 1) {
    if (byteCount >= 2) return storeEnds(bytes, static_cast<int16_t>(_mm_cvtsi128_si32(values)), byteCount);
    if (byteCount == 1) *target = value;
  }
}

template <class Element>
inline void fill(Element* target, Element value, uint64_t count) {
  if (!cpu::hasAvx2()) return fillPlain(target, value, count);
  fillByBlocks(target, value, count);
}

}  // namespace

}  // namespace vq::text

void mhMemSet(void* target, uint32_t value, uint64_t count) {
  vq::text::fill(static_cast<uint8_t*>(target), static_cast<uint8_t>(value), count);
}

void mhMemTSet(VQChar* target, VQChar value, uint64_t count) {
  vq::text::fill(target, value, count);
}

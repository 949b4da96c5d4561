// Filling memory with one value.
//
// The code is the same for every size of block, inlined into functions that carry the target of their size.
#include "text/blocks.hpp"
#include "vqstring/text.h"

namespace vq::text {

namespace {

template <class Word>
VQ_INLINE void storeAt(uint8_t* target, const Word& word) {
  __builtin_memcpy(target, &word, sizeof(Word));
}

template <class Word>
VQ_INLINE void storeEnds(uint8_t* target, const Word& word, uint64_t byteCount) {
  storeAt(target, word);
  storeAt(target + byteCount - sizeof(Word), word);
}

template <int count, class Block>
VQ_INLINE void storeBlocks(uint8_t* target, const Block& block) {
#pragma GCC unroll 8
  for (int i = 0; i < count; ++i) storeAt(target + i * sizeof(Block), block);
}

template <int count, class Block>
VQ_INLINE void storeBlocksAtEnds(uint8_t* target, const Block& block, uint64_t byteCount) {
  storeBlocks<count>(target, block);
  storeBlocks<count>(target + byteCount - count * sizeof(Block), block);
}

// Fills at least 16 bytes with a pattern that repeats by elements. Stores that overlap keep its phase: wide
// elements lie on whole elements from the start, so distances are rounded to them.
template <uint64_t blockSize, class Element>
VQ_INLINE void fillLong(uint8_t* target, Element value, uint64_t byteCount) {
  typedef Element Block __attribute__((vector_size(blockSize)));
  const Block block = Block{} + value;
  if constexpr (blockSize > 16) {
    if (byteCount <= blockSize) return fillLong<blockSize / 2>(target, value, byteCount);
  }
  if (byteCount <= 2 * blockSize) return storeBlocksAtEnds<1>(target, block, byteCount);
  if (byteCount <= 4 * blockSize) return storeBlocksAtEnds<2>(target, block, byteCount);
  storeBlocks<4>(target, block);
  uint8_t* const end = target + byteCount - 4 * blockSize;
  const uint64_t toBoundary = blockSize - reinterpret_cast<uintptr_t>(target) % blockSize;
  uint8_t* at = target + 3 * blockSize + toBoundary / sizeof(Element) * sizeof(Element);
  if (byteCount >= farBytes) {
    for (; at + aheadBytes < end; at += 4 * blockSize) {
      claimAhead<4 * blockSize>(at + aheadBytes);
      storeBlocks<4>(at, block);
    }
  }
  for (; at < end; at += 4 * blockSize) storeBlocks<4>(at, block);
  storeBlocks<4>(end, block);
}

template <uint64_t blockSize, class Element>
VQ_INLINE void fillAny(uint8_t* target, Element value, uint64_t byteCount) {
  if (byteCount >= 16) return fillLong<blockSize>(target, value, byteCount);
  constexpr uint64_t repeated = sizeof(Element) == 1 ? 0x0101010101010101 : 0x100000001;
  const uint64_t word = value * repeated;
  if (byteCount >= 8) return storeEnds(target, word, byteCount);
  if (byteCount >= 4) return storeEnds(target, static_cast<uint32_t>(word), byteCount);
  if constexpr (sizeof(Element) == 1) {
    if (byteCount >= 2) return storeEnds(target, static_cast<uint16_t>(word), byteCount);
    if (byteCount == 1) *target = value;
  }
}

template <class Element>
VQ_TARGET_AVX512 void fillBy64(uint8_t* target, Element value, uint64_t byteCount) {
  fillAny<64>(target, value, byteCount);
}
template <class Element>
VQ_TARGET_AVX2 void fillBy32(uint8_t* target, Element value, uint64_t byteCount) {
  fillAny<32>(target, value, byteCount);
}

template <class Element>
inline void fill(void* target, Element value, uint64_t count) {
  auto* const bytes = static_cast<uint8_t*>(target);
  const uint64_t byteCount = count * sizeof(Element);
  if (cpu::hasAvx512()) [[likely]]
    return fillBy64(bytes, value, byteCount);
  if (cpu::hasAvx2()) return fillBy32(bytes, value, byteCount);
  fillAny<16>(bytes, value, byteCount);
}

}  // namespace

}  // namespace vq::text

void mhMemSet(void* target, uint32_t value, uint64_t count) {
  vq::text::fill(target, static_cast<uint8_t>(value), count);
}

void mhMemTSet(VQChar* target, VQChar value, uint64_t count) {
  vq::text::fill(target, uint32_t{value}, count);
}

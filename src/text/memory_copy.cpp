// Copying memory.
//
// Blocks are loaded and stored by plain vector code, never by the processor's string instruction nor by libc:
// both collapse when the target lies a few bytes past the source modulo 4096, which blocks of one allocator
// often do. Up to 128 bytes everything is loaded before anything is stored, so the order plays no part.
// Beyond that both ends are loaded first and the middle goes in steps of four blocks, upwards or downwards,
// so that no step stores over what is still to be loaded.
#include "text/blocks.hpp"
#include "vqstring/host.h"
#include "vqstring/text.h"

namespace vq::text {

namespace {

VQ_PLAIN_LOOP void copyUpPlain(const uint8_t* source, uint8_t* target, uint64_t count) {
  for (uint64_t i = 0; i < count; ++i) target[i] = source[i];
}

VQ_PLAIN_LOOP void copyDownPlain(const uint8_t* source, uint8_t* target, uint64_t count) {
  for (uint64_t i = count; i != 0; --i) target[i - 1] = source[i - 1];
}

// Half of a block and its other half.
struct Half {
  __m128i low, high;
};

template <class Word>
__attribute__((always_inline)) inline void copyEnds(const uint8_t* source, uint8_t* target, uint64_t count) {
  Word first, last;
  __builtin_memcpy(&first, source, sizeof(Word));
  __builtin_memcpy(&last, source + count - sizeof(Word), sizeof(Word));
  __builtin_memcpy(target, &first, sizeof(Word));
  __builtin_memcpy(target + count - sizeof(Word), &last, sizeof(Word));
}

// Up to two blocks, faithfully, with what every x86-64 has.
__attribute__((always_inline)) inline void copyShort(const uint8_t* source, uint8_t* target, uint64_t count) {
  if (count > blockBytes) return copyEnds<Half>(source, target, count);
  if (count >= 16) return copyEnds<__m128i>(source, target, count);
  if (count >= 8) return copyEnds<uint64_t>(source, target, count);
  if (count >= 4) return copyEnds<uint32_t>(source, target, count);
  if (count >= 2) return copyEnds<uint16_t>(source, target, count);
  if (count == 1) *target = *source;
}

VQ_INLINE_AVX2 void copyStep(const uint8_t* source, uint8_t* target) {
  const __m256i a = loadBlock(source), b = loadBlock(source + blockBytes);
  const __m256i c = loadBlock(source + 2 * blockBytes), d = loadBlock(source + 3 * blockBytes);
  storeBlock(target, a);
  storeBlock(target + blockBytes, b);
  storeBlock(target + 2 * blockBytes, c);
  storeBlock(target + 3 * blockBytes, d);
}

// Two blocks to four of them.
VQ_INLINE_AVX2 void copyMedium(const uint8_t* source, uint8_t* target, uint64_t count) {
  const __m256i a = loadBlock(source), b = loadBlock(source + blockBytes);
  const __m256i c = loadBlock(source + count - 2 * blockBytes), d = loadBlock(source + count - blockBytes);
  storeBlock(target, a);
  storeBlock(target + blockBytes, b);
  storeBlock(target + count - 2 * blockBytes, c);
  storeBlock(target + count - blockBytes, d);
}

// More than a step, where the target does not begin inside the source above its start.
VQ_INLINE_AVX2 void copyUp(const uint8_t* source, uint8_t* target, uint64_t count) {
  const uint64_t end = count - stepBytes;
  const __m256i head = loadBlock(source);
  const __m256i a = loadBlock(source + end), b = loadBlock(source + end + blockBytes);
  const __m256i c = loadBlock(source + end + 2 * blockBytes), d = loadBlock(source + end + 3 * blockBytes);
  for (uint64_t i = bytesToBoundary(target); i < end; i += stepBytes) copyStep(source + i, target + i);
  storeBlock(target + end, a);
  storeBlock(target + end + blockBytes, b);
  storeBlock(target + end + 2 * blockBytes, c);
  storeBlock(target + end + 3 * blockBytes, d);
  storeBlock(target, head);
}

// More than a step, where the source does not begin inside the target above its start.
VQ_INLINE_AVX2 void copyDown(const uint8_t* source, uint8_t* target, uint64_t count) {
  const __m256i tail = loadBlock(source + count - blockBytes);
  const __m256i a = loadBlock(source), b = loadBlock(source + blockBytes);
  const __m256i c = loadBlock(source + 2 * blockBytes), d = loadBlock(source + 3 * blockBytes);
  for (uint64_t i = count - reinterpret_cast<uintptr_t>(target + count) % blockBytes; i > stepBytes;
       i -= stepBytes) {
    copyStep(source + i - stepBytes, target + i - stepBytes);
  }
  storeBlock(target + count - blockBytes, tail);
  storeBlock(target, a);
  storeBlock(target + blockBytes, b);
  storeBlock(target + 2 * blockBytes, c);
  storeBlock(target + 3 * blockBytes, d);
}

// The forward copy whose target begins `distance` bytes above the source and inside it: the first `distance`
// bytes repeat.
VQ_TARGET_AVX2 __attribute__((noinline)) void* smearByBlocks(const uint8_t* source, uint8_t* target,
                                                             uint64_t count) {
  const auto distance = static_cast<uint64_t>(target - source);
  uint64_t i = 0;
  if (distance >= blockBytes) {
    // A block that is loaded ends where the next store begins, or before it.
    for (; i + blockBytes <= count; i += blockBytes) storeBlock(target + i, loadBlock(source + i));
  } else {
    // One block of the pattern, stored at distances that keep its phase.
    alignas(blockBytes) uint8_t pattern[blockBytes];
    for (uint64_t j = 0; j < blockBytes; ++j) pattern[j] = source[j % distance];
    const __m256i block = loadBlock(pattern);
    const uint64_t period = blockBytes - blockBytes % distance;
    for (; i + blockBytes <= count; i += period) storeBlock(target + i, block);
  }
  copyUpPlain(source + i, target + i, count - i);
  return target;
}

// Whether an upward copy would read what it has written, or nothing moves at all.
inline bool beginsInside(const uint8_t* source, const uint8_t* target, uint64_t count) {
  return reinterpret_cast<uintptr_t>(target) - reinterpret_cast<uintptr_t>(source) < count;
}

// Whether two places that do not overlap make an upward copy stumble: a store just ahead of the next loads,
// but for whole pages, makes them wait for it.
inline bool isBetterDown(const uint8_t* source, const uint8_t* target, uint64_t count) {
  constexpr uintptr_t pageBytes = 4096;
  const uintptr_t above = reinterpret_cast<uintptr_t>(target) - reinterpret_cast<uintptr_t>(source);
  return above % pageBytes < 2 * stepBytes && -above >= count;
}

// For more than two blocks.
VQ_TARGET_AVX2 void* copyByBlocks(const uint8_t* source, uint8_t* target, uint64_t count, bool isDown) {
  if (count <= stepBytes) {
    copyMedium(source, target, count);
  } else if (isDown || isBetterDown(source, target, count)) {
    copyDown(source, target, count);
  } else {
    copyUp(source, target, count);
  }
  return target;
}

}  // namespace

}  // namespace vq::text

using namespace vq::text;

void* mhMemCpy(const void* source, void* target, uint64_t count) {
  const auto* const from = static_cast<const uint8_t*>(source);
  auto* const to = static_cast<uint8_t*>(target);
  if (beginsInside(from, to, count)) [[unlikely]] {
    if (vq::cpu::hasAvx2() && from != to) return smearByBlocks(from, to, count);
    copyUpPlain(from, to, count);
  } else if (count <= pairBytes) {
    copyShort(from, to, count);
  } else {
    if (vq::cpu::hasAvx2()) return copyByBlocks(from, to, count, false);
    copyUpPlain(from, to, count);
  }
  return target;
}

void mhMemSCpy(const void* source, void* target, uint64_t count) {
  const auto* const from = static_cast<const uint8_t*>(source);
  auto* const to = static_cast<uint8_t*>(target);
  if (count <= pairBytes) return copyShort(from, to, count);
  const bool isDown = beginsInside(from, to, count);
  if (vq::cpu::hasAvx2()) {
    copyByBlocks(from, to, count, isDown);
  } else {
    (isDown ? copyDownPlain : copyUpPlain)(from, to, count);
  }
}

void* mhMemDup(const void* source, uint64_t count, VQPool* pool) {
  if (pool == nullptr || source == nullptr) return nullptr;
  void* const block = pool->poolAlloc(pool, count, 0);
  if (block == nullptr) return nullptr;
  return mhMemCpy(source, block, count);
}

void mhStrCpy(const char* source, char* target) {
  if (target == nullptr) return;
  if (source == nullptr) {
    *target = 0;
    return;
  }
  mhMemCpy(source, target, static_cast<uint64_t>(mhStrLen(source)) + 1);
}

void mhStrTCpy(const VQChar* source, VQChar* target) {
  if (target == nullptr) return;
  if (source == nullptr) {
    *target = 0;
    return;
  }
  mhMemCpy(source, target, (static_cast<uint64_t>(mhStrTLen(source)) + 1) * sizeof(VQChar));
}

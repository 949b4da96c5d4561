// Copying memory.
//
// Blocks are loaded and stored by plain vector code, never by the processor's string instruction nor by libc:
// both collapse when the target lies a few bytes past the source modulo 4096, which blocks of one allocator
// often do. Up to eight blocks everything is loaded before anything is stored, so the order plays no part.
// Beyond that both ends are loaded first and the middle goes in steps of four blocks, upwards or downwards,
// so that no step stores over what is still to be loaded.
//
// The code is the same for every size of block. It is written without intrinsics and inlined into functions
// that carry the target of their size.
#include "text/blocks.hpp"
#include "vqstring/host.h"
#include "vqstring/text.h"

namespace vq::text {

namespace {

VQ_PLAIN_LOOP void copyUpPlain(const uint8_t* source, uint8_t* target, uint64_t count) {
  for (uint64_t i = 0; i < count; ++i) target[i] = source[i];
}

using Block16 = uint8_t __attribute__((vector_size(16)));
using Block32 = uint8_t __attribute__((vector_size(32)));
using Block64 = uint8_t __attribute__((vector_size(64)));

// Some blocks that lie behind each other.
template <class Block, int count>
struct Group {
  Block blocks[count];
  VQ_INLINE void load(const uint8_t* from) {
#pragma GCC unroll 8
    for (int i = 0; i < count; ++i) __builtin_memcpy(&blocks[i], from + i * sizeof(Block), sizeof(Block));
  }
  VQ_INLINE void store(uint8_t* to) const {
#pragma GCC unroll 8
    for (int i = 0; i < count; ++i) __builtin_memcpy(to + i * sizeof(Block), &blocks[i], sizeof(Block));
  }
};

// From one to two groups, faithfully.
template <class Block, int count = 1>
VQ_INLINE void copyEnds(const uint8_t* source, uint8_t* target, uint64_t byteCount) {
  using Ends = Group<Block, count>;
  Ends first, last;
  first.load(source);
  last.load(source + byteCount - sizeof(Ends));
  first.store(target);
  last.store(target + byteCount - sizeof(Ends));
}

constexpr uint64_t shortBytes = 64;

// Faithfully, with what every x86-64 has.
VQ_INLINE void copyShort(const uint8_t* source, uint8_t* target, uint64_t count) {
  if (count > 32) return copyEnds<Block16, 2>(source, target, count);
  if (count >= 16) return copyEnds<Block16>(source, target, count);
  if (count >= 8) return copyEnds<uint64_t>(source, target, count);
  if (count >= 4) return copyEnds<uint32_t>(source, target, count);
  if (count >= 2) return copyEnds<uint16_t>(source, target, count);
  if (count == 1) *target = *source;
}

template <class Block>
VQ_INLINE void copyStep(const uint8_t* source, uint8_t* target) {
  Group<Block, 4> step;
  step.load(source);
  step.store(target);
}

// More than eight blocks, where the target does not begin inside the source above its start.
template <class Block>
VQ_INLINE void copyUp(const uint8_t* source, uint8_t* target, uint64_t count) {
  constexpr uint64_t stepBytes = 4 * sizeof(Block);
  const uint64_t end = count - stepBytes;
  Group<Block, 1> head;
  Group<Block, 4> tail;
  head.load(source);
  tail.load(source + end);
  uint64_t i = sizeof(Block) - reinterpret_cast<uintptr_t>(target) % sizeof(Block);
  if (count >= farBytes) {
    for (; i + aheadBytes < end; i += stepBytes) {
      claimAhead<stepBytes>(target + i + aheadBytes);
      copyStep<Block>(source + i, target + i);
    }
  }
  for (; i < end; i += stepBytes) copyStep<Block>(source + i, target + i);
  tail.store(target + end);
  head.store(target);
}

// More than eight blocks, where the source does not begin inside the target above its start.
template <class Block>
VQ_INLINE void copyDown(const uint8_t* source, uint8_t* target, uint64_t count) {
  constexpr uint64_t stepBytes = 4 * sizeof(Block);
  Group<Block, 1> tail;
  Group<Block, 4> head;
  tail.load(source + count - sizeof(Block));
  head.load(source);
  uint64_t i = count - reinterpret_cast<uintptr_t>(target + count) % sizeof(Block);
  if (count >= farBytes) {
    for (; i > stepBytes + aheadBytes; i -= stepBytes) {
      claimAhead<stepBytes>(target + i - stepBytes - aheadBytes);
      copyStep<Block>(source + i - stepBytes, target + i - stepBytes);
    }
  }
  for (; i > stepBytes; i -= stepBytes) copyStep<Block>(source + i - stepBytes, target + i - stepBytes);
  tail.store(target + count - sizeof(Block));
  head.store(target);
}

// Whether two places that do not overlap make an upward copy stumble: a store just ahead of the next loads,
// but for whole pages, makes them wait for it.
inline bool isBetterDown(const uint8_t* source, const uint8_t* target, uint64_t count) {
  constexpr uintptr_t pageBytes = 4096, nearBytes = 256;
  const uintptr_t above = reinterpret_cast<uintptr_t>(target) - reinterpret_cast<uintptr_t>(source);
  return above % pageBytes < nearBytes && -above >= count;
}

// For more than `shortBytes`.
template <class Block>
VQ_INLINE void copyLong(const uint8_t* source, uint8_t* target, uint64_t count, bool isDown) {
  if (count <= 2 * sizeof(Block)) return copyEnds<Block>(source, target, count);
  if (count <= 4 * sizeof(Block)) return copyEnds<Block, 2>(source, target, count);
  if (count <= 8 * sizeof(Block)) return copyEnds<Block, 4>(source, target, count);
  if (isDown || isBetterDown(source, target, count)) return copyDown<Block>(source, target, count);
  copyUp<Block>(source, target, count);
}

VQ_TARGET_AVX512 void* copyBy64(const uint8_t* source, uint8_t* target, uint64_t count, bool isDown) {
  copyLong<Block64>(source, target, count, isDown);
  return target;
}
VQ_TARGET_AVX2 void* copyBy32(const uint8_t* source, uint8_t* target, uint64_t count, bool isDown) {
  copyLong<Block32>(source, target, count, isDown);
  return target;
}

inline void* copyLongByLevel(const uint8_t* source, uint8_t* target, uint64_t count, bool isDown) {
  if (cpu::hasAvx512()) [[likely]]
    return copyBy64(source, target, count, isDown);
  if (cpu::hasAvx2()) return copyBy32(source, target, count, isDown);
  copyLong<Block16>(source, target, count, isDown);
  return target;
}

// The forward copy whose target begins `distance` bytes above the source and inside it: the first `distance`
// bytes repeat.
template <class Block>
VQ_INLINE void smear(const uint8_t* source, uint8_t* target, uint64_t count) {
  const auto distance = static_cast<uint64_t>(target - source);
  Group<Block, 1> block;
  uint64_t i = 0;
  if (distance >= sizeof(Block)) {
    // A block that is loaded ends where the next store begins, or before it.
    for (; i + sizeof(Block) <= count; i += sizeof(Block)) {
      block.load(source + i);
      block.store(target + i);
    }
  } else {
    // One block of the pattern, stored at distances that keep its phase.
    uint8_t pattern[sizeof(Block)];
    for (uint64_t j = 0; j < sizeof(Block); ++j) pattern[j] = source[j % distance];
    block.load(pattern);
    const uint64_t period = sizeof(Block) - sizeof(Block) % distance;
    for (; i + sizeof(Block) <= count; i += period) block.store(target + i);
  }
  copyUpPlain(source + i, target + i, count - i);
}

VQ_TARGET_AVX2 __attribute__((noinline)) void* smearBy32(const uint8_t* source, uint8_t* target,
                                                         uint64_t count) {
  smear<Block32>(source, target, count);
  return target;
}

// Whether an upward copy would read what it has written, or nothing moves at all.
inline bool beginsInside(const uint8_t* source, const uint8_t* target, uint64_t count) {
  return reinterpret_cast<uintptr_t>(target) - reinterpret_cast<uintptr_t>(source) < count;
}

}  // namespace

}  // namespace vq::text

using namespace vq::text;

void* mhMemCpy(const void* source, void* target, uint64_t count) {
  const auto* const from = static_cast<const uint8_t*>(source);
  auto* const to = static_cast<uint8_t*>(target);
  if (beginsInside(from, to, count)) [[unlikely]] {
    if (from == to) return target;
    if (vq::cpu::hasAvx2()) return smearBy32(from, to, count);
    copyUpPlain(from, to, count);
    return target;
  }
  if (count > shortBytes) return copyLongByLevel(from, to, count, false);
  copyShort(from, to, count);
  return target;
}

void mhMemSCpy(const void* source, void* target, uint64_t count) {
  const auto* const from = static_cast<const uint8_t*>(source);
  auto* const to = static_cast<uint8_t*>(target);
  if (count <= shortBytes) return copyShort(from, to, count);
  copyLongByLevel(from, to, count, beginsInside(from, to, count));
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

// Blocks of 32 bytes for the AVX2 forms, over bytes and over wide elements alike: a mask has a bit for each
// byte of the block, so a place is found in bytes whatever the element.
#pragma once

#include <immintrin.h>

#include <bit>
#include <type_traits>

#include "text/cpu.hpp"
#include "vqstring/base.h"

#define VQ_INLINE __attribute__((always_inline)) inline
#define VQ_INLINE_AVX2 VQ_TARGET_AVX2 __attribute__((always_inline)) inline

// A plain loop that must stay one: compilers would make it a call into libc, whose forms fall at some
// distances between two buffers.
#ifdef __clang__
#define VQ_PLAIN_LOOP __attribute__((no_builtin("memset", "memcpy", "memmove", "strlen", "wcslen")))
#else
#define VQ_PLAIN_LOOP __attribute__((optimize("no-tree-loop-distribute-patterns")))
#endif

namespace vq::text {

// The answer of a kernel that looks for a place and finds none.
inline constexpr uint64_t none = ~uint64_t{0};

inline constexpr uint64_t blockBytes = 32;
inline constexpr uint64_t pairBytes = 2 * blockBytes;
inline constexpr uint64_t stepBytes = 4 * blockBytes;

VQ_INLINE_AVX2 __m256i loadBlock(const void* from) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}
VQ_INLINE_AVX2 void storeBlock(void* to, __m256i block) {
  _mm256_storeu_si256(static_cast<__m256i*>(to), block);
}

VQ_INLINE_AVX2 __m256i splat(uint8_t value) {
  return _mm256_set1_epi8(static_cast<char>(value));
}
VQ_INLINE_AVX2 __m256i splat(VQChar value) {
  return _mm256_set1_epi32(static_cast<int>(value));
}

// All bits of each element that is equal in both blocks.
template <class Element>
VQ_INLINE_AVX2 __m256i equalElements(__m256i a, __m256i b) {
  if constexpr (sizeof(Element) == 1) {
    return _mm256_cmpeq_epi8(a, b);
  } else {
    return _mm256_cmpeq_epi32(a, b);
  }
}

VQ_INLINE_AVX2 uint32_t maskOf(__m256i block) {
  return static_cast<uint32_t>(_mm256_movemask_epi8(block));
}
VQ_INLINE_AVX2 bool isAllSet(__m256i block) {
  return maskOf(block) == 0xffffffff;
}
VQ_INLINE_AVX2 __m256i allOf(__m256i a, __m256i b, __m256i c, __m256i d) {
  return _mm256_and_si256(_mm256_and_si256(a, b), _mm256_and_si256(c, d));
}
VQ_INLINE_AVX2 __m256i anyOf(__m256i a, __m256i b, __m256i c, __m256i d) {
  return _mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, d));
}

// What to add to a pointer to reach the first whole block behind it.
inline uint64_t bytesToBoundary(const void* pointer) {
  return blockBytes - reinterpret_cast<uintptr_t>(pointer) % blockBytes;
}

// Beyond the first cache, stores wait for their lines to become ours: loops over more than `farBytes` ask for
// them `aheadBytes` before they are stored to.
inline constexpr uint64_t farBytes = 32 * 1024, aheadBytes = 1024;
template <uint64_t byteCount>
VQ_INLINE void claimAhead(const uint8_t* at) {
  constexpr uint64_t lineBytes = 64;
  for (uint64_t i = 0; i < byteCount; i += lineBytes) asm volatile("prefetchw %0" ::"m"(at[i]));
}

// Runs shorter than a block, by halves, quarters and eighths of one; every x86-64 has what they need.
//
// Calls test(offset, width) for two pieces of `width` that cover a run of `byteCount` up to a block, and
// returns the two masks of bytes laid over each other. Runs below 4 bytes are left to the caller.
template <class Test>
__attribute__((always_inline)) inline uint32_t coverShort(uint64_t byteCount, Test test) {
  const auto lay = [&](auto width) {
    constexpr uint64_t size = decltype(width)::value;
    constexpr uint32_t piece = static_cast<uint32_t>((uint64_t{1} << size) - 1);
    const uint64_t second = byteCount - size;
    return (test(uint64_t{0}, width) & piece) | (test(second, width) & piece) << second;
  };
  if (byteCount >= 16) return lay(std::integral_constant<uint64_t, 16>{});
  if (byteCount >= 8) return lay(std::integral_constant<uint64_t, 8>{});
  return lay(std::integral_constant<uint64_t, 4>{});
}

template <class Width>
__attribute__((always_inline)) inline __m128i loadPiece(const uint8_t* from, Width) {
  if constexpr (Width::value == 16) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  } else if constexpr (Width::value == 8) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
  } else {
    return _mm_loadu_si32(from);
  }
}

template <class Element>
__attribute__((always_inline)) inline uint32_t equalMask(__m128i a, __m128i b) {
  return static_cast<uint32_t>(
      _mm_movemask_epi8(sizeof(Element) == 1 ? _mm_cmpeq_epi8(a, b) : _mm_cmpeq_epi32(a, b)));
}

}  // namespace vq::text

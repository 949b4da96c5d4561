// The scans behind element_scan.hpp.
#include "compare/element_scan.hpp"

#include <immintrin.h>

#include <bit>

#include "text/cpu.hpp"

namespace vq::tokens {

namespace {

template <class Element>
const Element* findAnyPortable(const Element* from, const Element* end, const Element* set, uint64_t count) {
  for (; from != end; ++from) {
    for (uint64_t i = 0; i < count; ++i) {
      if (*from == set[i]) return from;
    }
  }
  return end;
}

VQ_TARGET_AVX2 inline __m256i equalLanes(__m256i block, VQChar element) {
  return _mm256_cmpeq_epi32(block, _mm256_set1_epi32(static_cast<int>(element)));
}
VQ_TARGET_AVX2 inline __m256i equalLanes(__m256i block, char element) {
  return _mm256_cmpeq_epi8(block, _mm256_set1_epi8(element));
}

// Two vectors a step, each compared with every element of the set.
template <class Element>
VQ_TARGET_AVX2 const Element* findAnyAvx2(const Element* from, const Element* end, const Element* set,
                                          uint64_t count) {
  constexpr int64_t stepElements = 64 / sizeof(Element);
  for (; end - from >= stepElements; from += stepElements) {
    const auto* blocks = reinterpret_cast<const __m256i*>(from);
    const __m256i low = _mm256_loadu_si256(blocks);
    const __m256i high = _mm256_loadu_si256(blocks + 1);
    __m256i foundLow = _mm256_setzero_si256();
    __m256i foundHigh = _mm256_setzero_si256();
    for (uint64_t i = 0; i < count; ++i) {
      foundLow = _mm256_or_si256(foundLow, equalLanes(low, set[i]));
      foundHigh = _mm256_or_si256(foundHigh, equalLanes(high, set[i]));
    }
    const uint64_t mask = static_cast<uint32_t>(_mm256_movemask_epi8(foundLow)) |
                          static_cast<uint64_t>(static_cast<uint32_t>(_mm256_movemask_epi8(foundHigh))) << 32;
    if (mask != 0) return from + static_cast<uint64_t>(std::countr_zero(mask)) / sizeof(Element);
  }
  return findAnyPortable(from, end, set, count);
}

template <class Element>
const Element* find(const Element* from, const Element* end, const Element* set, uint64_t count) {
  return cpu::hasAvx2() ? findAnyAvx2(from, end, set, count) : findAnyPortable(from, end, set, count);
}

}  // namespace

const VQChar* findAny(const VQChar* from, const VQChar* end, const VQChar* set, uint64_t count) {
  return find(from, end, set, count);
}
const char* findAny(const char* from, const char* end, const char* set, uint64_t count) {
  return find(from, end, set, count);
}

}  // namespace vq::tokens

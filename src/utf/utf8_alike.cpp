// The plain loops are the meaning; they also finish what is left behind the last whole block.
#include "utf/utf8_alike.hpp"

#include <immintrin.h>

#include <bit>

#include "text/cpu.hpp"
#include "utf/splat_avx2.hpp"

namespace vq::utf8 {

namespace {

VQ_TARGET_AVX2 inline __m256i foldAscii(__m256i bytes) {
  // 'A' to 'Z' lie lowest once 'A' is moved to the least signed byte.
  const __m256i moved = _mm256_add_epi8(bytes, splat8<0x80 - 'A'>());
  const __m256i isUpper = _mm256_cmpgt_epi8(splat8<0x80 + 26>(), moved);
  return _mm256_or_si256(bytes, _mm256_and_si256(isUpper, splat8<0x20>()));
}

struct Folded {
  static constexpr bool agree(uint8_t a, uint8_t b) { return utf8::foldAscii(a) == utf8::foldAscii(b); }
  VQ_TARGET_AVX2 static __m256i agree(__m256i a, __m256i b) {
    return _mm256_cmpeq_epi8(foldAscii(a), foldAscii(b));
  }
};

struct AsciiFolded {
  static constexpr bool agree(uint8_t a, uint8_t b) { return (a | b) < 0x80 && Folded::agree(a, b); }
  VQ_TARGET_AVX2 static __m256i agree(__m256i a, __m256i b) {
    return _mm256_andnot_si256(_mm256_or_si256(a, b), Folded::agree(a, b));
  }
};

template <class Rule>
VQ_TARGET_AVX2 size_t prefixAvx2(const uint8_t* first, const uint8_t* second, size_t byteCount) {
  size_t at = 0;
  for (; byteCount - at >= 32; at += 32) {
    const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(first + at));
    const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(second + at));
    const auto agree = static_cast<uint32_t>(_mm256_movemask_epi8(Rule::agree(a, b)));
    if (agree != UINT32_MAX) return at + static_cast<size_t>(std::countr_one(agree));
  }
  return at;
}

template <class Rule>
inline size_t prefix(const uint8_t* first, const uint8_t* second, size_t byteCount) {
  size_t at = 0;
  if (byteCount >= 32 && cpu::hasAvx2()) {
    at = prefixAvx2<Rule>(first, second, byteCount);
    if (byteCount - at >= 32) return at;
  }
  while (at < byteCount && Rule::agree(first[at], second[at])) ++at;
  return at;
}

}  // namespace

size_t foldedPrefix(const uint8_t* first, const uint8_t* second, size_t byteCount) {
  return prefix<Folded>(first, second, byteCount);
}

size_t asciiFoldedPrefix(const uint8_t* first, const uint8_t* second, size_t byteCount) {
  return prefix<AsciiFolded>(first, second, byteCount);
}

}  // namespace vq::utf8

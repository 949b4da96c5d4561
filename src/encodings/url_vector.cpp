// Scans for percent escaping in AVX2: which of 32 bytes are ASCII letters, digits or the full stop.
#include <immintrin.h>

#include "encodings/url_codec.hpp"
#include "text/cpu.hpp"

namespace vq::url::vector {

namespace {

VQ_TARGET_AVX2 inline __m256i load32(const void* bytes) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(bytes));
}

// All ones where first <= byte <= first + span, unsigned.
VQ_TARGET_AVX2 inline __m256i inRange(__m256i bytes, char first, char span) {
  const __m256i offset = _mm256_sub_epi8(bytes, _mm256_set1_epi8(first));
  return _mm256_cmpeq_epi8(_mm256_min_epu8(offset, _mm256_set1_epi8(span)), offset);
}

// A bit for each byte that passes unescaped.
VQ_TARGET_AVX2 inline uint32_t unescapedBits(__m256i bytes) {
  const __m256i letters = inRange(_mm256_or_si256(bytes, _mm256_set1_epi8(0x20)), 'a', 25);
  const __m256i digits = inRange(bytes, '0', 9);
  const __m256i stops = _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('.'));
  return static_cast<uint32_t>(
      _mm256_movemask_epi8(_mm256_or_si256(_mm256_or_si256(letters, digits), stops)));
}

// A bit for each byte from `first` on, unsigned.
VQ_TARGET_AVX2 inline uint32_t bitsFrom(__m256i bytes, uint8_t first) {
  const __m256i least = _mm256_set1_epi8(static_cast<char>(first));
  return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_max_epu8(bytes, least), bytes)));
}

constexpr uint32_t all = UINT32_MAX;

}  // namespace

VQ_TARGET_AVX2 uint64_t cleanLength(const char* text, uint64_t byteCount) {
  uint64_t at = 0;
  while (byteCount - at >= stepElements && unescapedBits(load32(text + at)) == all) at += stepElements;
  return at;
}

VQ_TARGET_AVX2 uint64_t cleanLength(const VQChar* text, uint64_t elementCount) {
  uint64_t at = 0;
  for (; elementCount - at >= stepElements; at += stepElements) {
    const VQChar* step = text + at;
    const __m256i a = load32(step), b = load32(step + 8), c = load32(step + 16), d = load32(step + 24);
    const __m256i joined = _mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, d));
    if (!_mm256_testz_si256(joined, _mm256_set1_epi32(~0x7F))) break;
    // The packs mix up the order of the elements, which does not matter here.
    const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(a, b), _mm256_packus_epi32(c, d));
    if (unescapedBits(bytes) != all) break;
  }
  return at;
}

VQ_TARGET_AVX2 uint64_t copyClean(const char* text, uint64_t byteCount, char* target) {
  uint64_t at = 0;
  for (; byteCount - at >= stepElements; at += stepElements) {
    const __m256i bytes = load32(text + at);
    if (unescapedBits(bytes) != all) break;
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + at), bytes);
  }
  return at;
}

VQ_TARGET_AVX2 uint64_t copyClean(const char* text, uint64_t byteCount, VQChar* target) {
  uint64_t at = 0;
  for (; byteCount - at >= stepElements; at += stepElements) {
    if (unescapedBits(load32(text + at)) != all) break;
    for (uint64_t i = at; i < at + stepElements; i += 8) {
      const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(text + i));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + i), _mm256_cvtepu8_epi32(bytes));
    }
  }
  return at;
}

VQ_TARGET_AVX2 uint64_t measure(const char* text, uint64_t byteCount, Measure* sum, uint32_t* reached) {
  uint64_t at = 0;
  uint32_t conflicts = 0;
  for (; byteCount - at >= stepElements; at += stepElements) {
    const __m256i bytes = load32(text + at);
    const uint32_t clean = unescapedBits(bytes);
    sum->escapedBytes += static_cast<uint64_t>(__builtin_popcount(~clean));
    conflicts |= clean & *reached;
    *reached = 0;
    if (_mm256_movemask_epi8(bytes) == 0) continue;
    // A byte from 0xC0 on reaches one place further, from 0xE0 two, from 0xF0, 0xF8 and 0xFC more. That some
    // of these bytes may stand inside a sequence themselves makes the reach too large, never too small.
    const uint64_t reach = static_cast<uint64_t>(bitsFrom(bytes, 0xC0)) << 1 |
                           static_cast<uint64_t>(bitsFrom(bytes, 0xE0)) << 2 |
                           static_cast<uint64_t>(bitsFrom(bytes, 0xF0)) << 3 |
                           static_cast<uint64_t>(bitsFrom(bytes, 0xF8)) << 4 |
                           static_cast<uint64_t>(bitsFrom(bytes, 0xFC)) << 5;
    conflicts |= clean & static_cast<uint32_t>(reach);
    *reached = static_cast<uint32_t>(reach >> 32);
  }
  if (conflicts != 0) sum->isRegular = false;
  return at;
}

VQ_TARGET_AVX2 uint64_t moveUnescaped(const char* text, uint64_t byteCount, char* target) {
  uint64_t at = 0;
  for (; byteCount - at >= stepElements; at += stepElements) {
    const __m256i bytes = load32(text + at);
    const __m256i special = _mm256_or_si256(_mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('%')),
                                            _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('+')));
    const auto bits = static_cast<uint32_t>(_mm256_movemask_epi8(special));
    // A part of a step is stored as a whole one, which must not reach into the source behind it.
    if (bits != 0 && text - target < static_cast<int64_t>(stepElements)) break;
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + at), bytes);
    if (bits != 0) return at + static_cast<uint64_t>(__builtin_ctz(bits));
  }
  return at;
}

}  // namespace vq::url::vector

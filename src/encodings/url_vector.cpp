// Scans for percent escaping in AVX2: which of 32 bytes are ASCII letters, digits or the full stop.
#include <immintrin.h>

#include <cstring>

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

namespace {

// Copies the elements up to the next escape, rounded up to a step.
VQ_TARGET_AVX2 inline void copyRun(char* target, const char* text, uint64_t) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), load32(text));
}
VQ_TARGET_AVX2 inline void copyRun(VQChar* target, const char* text, uint64_t count) {
  for (uint64_t i = 0; i < count; i += 8) {
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(text + i));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + i), _mm256_cvtepu8_epi32(bytes));
  }
}

inline void putEscape(char* target, char byte) {
  std::memcpy(target, &escapes[static_cast<uint8_t>(byte)], 3);
}
inline void putEscape(VQChar* target, char byte) {
  const Escape escape = escapes[static_cast<uint8_t>(byte)];
  for (unsigned i = 0; i < 3; ++i) target[i] = static_cast<VQChar>(escape.characters[i]);
}

template <class Element>
VQ_TARGET_AVX2 uint64_t escapeSteps(const char* text, uint64_t byteCount, Element** target,
                                    int64_t freeElements, bool isInPlace) {
  // With more of them a look at every single byte is faster. A run is read and written as a whole step: up to
  // a step behind the present one in the source, and behind what the step's escapes make of it in the target.
  constexpr int mostEscapes = 10;
  constexpr auto step = static_cast<int64_t>(stepElements);
  Element* end = *target;
  uint64_t at = 0;
  while (byteCount - at >= 2 * stepElements) {
    uint32_t bits = ~unescapedBits(load32(text + at));
    const int count = __builtin_popcount(bits);
    if (count > mostEscapes || freeElements < step + 2 * mostEscapes) break;
    uint64_t from = 0;
    for (; bits != 0; bits &= bits - 1) {
      const auto place = static_cast<uint64_t>(__builtin_ctz(bits));
      copyRun(end, text + at + from, place - from);
      end += place - from;
      putEscape(end, text[at + place]);
      end += 3;
      from = place + 1;
    }
    copyRun(end, text + at + from, stepElements - from);
    end += stepElements - from;
    at += stepElements;
    freeElements -= 2 * count + (isInPlace ? 0 : step);
  }
  *target = end;
  return at;
}

}  // namespace

VQ_TARGET_AVX2 uint64_t escapeSparse(const char* text, uint64_t byteCount, char** target,
                                     int64_t freeElements, bool isInPlace) {
  return escapeSteps(text, byteCount, target, freeElements, isInPlace);
}

VQ_TARGET_AVX2 uint64_t escapeSparse(const char* text, uint64_t byteCount, VQChar** target,
                                     int64_t freeElements, bool isInPlace) {
  return escapeSteps(text, byteCount, target, freeElements, isInPlace);
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

VQ_TARGET_AVX2 void unescape(char* text, uint64_t byteCount, uint64_t* at, uint64_t* written) {
  const char* source = text + *at;
  char* target = text + *written;
  // The digits of the last escape of a step stand in the next one, and runs are copied as whole steps.
  for (uint64_t left = byteCount - *at; left >= 2 * stepElements;
       left = byteCount - static_cast<uint64_t>(source - text)) {
    const __m256i bytes = load32(source);
    const __m256i special = _mm256_or_si256(_mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('%')),
                                            _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('+')));
    auto bits = static_cast<uint32_t>(_mm256_movemask_epi8(special));
    // A whole step stored for a part of it must not reach into the source behind; and escapes that stand
    // closely are faster taken one after the other.
    if (bits != 0 && source - target < static_cast<int64_t>(stepElements)) break;
    constexpr int mostEscapes = 7;
    if (__builtin_popcount(bits) > mostEscapes) break;
    const char* end = source + stepElements;
    for (; bits != 0; bits &= bits - 1) {
      const char* place = end - stepElements + __builtin_ctz(bits);
      // A '%' in the place of a digit is none.
      if (place < source) continue;
      if (place != source) copyRun(target, source, 0);
      target += place - source;
      *target++ = *place == '+' ? ' ' : byteOfDigits(place + 1);
      source = place + (*place == '+' ? 1 : 3);
    }
    if (source < end) {
      copyRun(target, source, 0);
      target += end - source;
      source = end;
    }
  }
  *at = static_cast<uint64_t>(source - text);
  *written = static_cast<uint64_t>(target - text);
}

}  // namespace vq::url::vector

// Percent escaping in AVX2, 32 bytes a step: which of them are ASCII letters, digits or the full stop, and
// escapes written and taken out by shuffles of four and eight bytes.
#include <immintrin.h>

#include <array>

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

// ---- Escaping ----

namespace {

// Four bytes stand in a register as themselves, as their high digits, as their low digits and as percent
// signs. By a bit for each byte that is escaped, this makes of them what is to be written.
struct Choices {
  alignas(16) std::array<std::array<uint8_t, 16>, 16> places{};
  std::array<uint8_t, 16> lengths{};
};
constexpr Choices choices = [] {
  Choices made;
  for (size_t bits = 0; bits < 16; ++bits) {
    uint8_t& length = made.lengths[bits];
    for (uint8_t i = 0; i < 4; ++i) {
      if ((bits >> i & 1) == 0) {
        made.places[bits][length++] = i;
        continue;
      }
      for (const int part : {12, 4, 8}) made.places[bits][length++] = static_cast<uint8_t>(part + i);
    }
  }
  return made;
}();

VQ_TARGET_AVX2 inline void store16(char* target, __m128i bytes) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(target), bytes);
}
VQ_TARGET_AVX2 inline void store16(VQChar* target, __m128i bytes) {
  auto* elements = reinterpret_cast<__m256i*>(target);
  _mm256_storeu_si256(elements, _mm256_cvtepu8_epi32(bytes));
  _mm256_storeu_si256(elements + 1, _mm256_cvtepu8_epi32(_mm_srli_si128(bytes, 8)));
}
VQ_TARGET_AVX2 inline void store32(char* target, __m256i bytes) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), bytes);
}
VQ_TARGET_AVX2 inline void store32(VQChar* target, __m256i bytes) {
  store16(target, _mm256_castsi256_si128(bytes));
  store16(target + 16, _mm256_extracti128_si256(bytes, 1));
}

// Writes 32 bytes, of which some are escaped, and up to 12 elements behind. Answers the end.
template <class Element>
VQ_TARGET_AVX2 inline Element* escapeStep(__m256i bytes, uint32_t escaped, Element* target) {
  const __m256i nibble = _mm256_set1_epi8(0x0F);
  const __m256i digits =
      _mm256_setr_epi8('0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F', '0',
                       '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F');
  const __m256i high = _mm256_shuffle_epi8(digits, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibble));
  const __m256i low = _mm256_shuffle_epi8(digits, _mm256_and_si256(bytes, nibble));
  const __m256i signs = _mm256_set1_epi8('%');
  const __m256i fronts[2] = {_mm256_unpacklo_epi32(bytes, high), _mm256_unpackhi_epi32(bytes, high)};
  const __m256i backs[2] = {_mm256_unpacklo_epi32(low, signs), _mm256_unpackhi_epi32(low, signs)};
  // Four bytes of either lane each.
  const __m256i quads[4] = {
      _mm256_unpacklo_epi64(fronts[0], backs[0]), _mm256_unpackhi_epi64(fronts[0], backs[0]),
      _mm256_unpacklo_epi64(fronts[1], backs[1]), _mm256_unpackhi_epi64(fronts[1], backs[1])};
  for (uint32_t i = 0; i < 8; ++i, escaped >>= 4) {
    const __m256i quad = quads[i % 4];
    const __m128i parts = i < 4 ? _mm256_castsi256_si128(quad) : _mm256_extracti128_si256(quad, 1);
    const auto* places = reinterpret_cast<const __m128i*>(choices.places[escaped & 15].data());
    store16(target, _mm_shuffle_epi8(parts, _mm_load_si128(places)));
    target += choices.lengths[escaped & 15];
  }
  return target;
}

template <class Element>
VQ_TARGET_AVX2 uint64_t escapeSteps(const char* text, uint64_t byteCount, Element** target,
                                    const Element* limit, bool isInPlace) {
  uint64_t at = 0;
  for (; byteCount - at >= stepElements; at += stepElements) {
    const __m256i bytes = load32(text + at);
    const uint32_t escaped = ~unescapedBits(bytes);
    if (isInPlace) limit += stepElements;
    if (escaped == 0) {
      if (limit - *target < static_cast<int64_t>(stepElements)) break;
      store32(*target, bytes);
      *target += stepElements;
      continue;
    }
    const uint64_t mostWritten = stepElements + 2 * static_cast<uint64_t>(__builtin_popcount(escaped)) + 12;
    if (limit - *target < static_cast<int64_t>(mostWritten)) break;
    *target = escapeStep(bytes, escaped, *target);
  }
  return at;
}

}  // namespace

VQ_TARGET_AVX2 uint64_t escape(const char* text, uint64_t byteCount, char** target, const char* limit,
                               bool isInPlace) {
  return escapeSteps(text, byteCount, target, limit, isInPlace);
}

VQ_TARGET_AVX2 uint64_t escape(const char* text, uint64_t byteCount, VQChar** target, const VQChar* limit) {
  return escapeSteps(text, byteCount, target, limit, false);
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

// ---- Unescaping ----

namespace {

// By a bit for each of eight bytes that stays: those bytes, moved together.
constexpr auto compressions = [] {
  std::array<std::array<uint8_t, 8>, 256> places{};
  for (size_t bits = 0; bits < 256; ++bits) {
    size_t length = 0;
    for (uint8_t i = 0; i < 8; ++i) {
      if ((bits >> i & 1) != 0) places[bits][length++] = i;
    }
  }
  return places;
}();

// The values of 32 digits, -1 for what is none.
VQ_TARGET_AVX2 inline __m256i digitValuesFrom(const char* text) {
  const __m256i bytes = load32(text);
  const __m256i isLetter = inRange(_mm256_or_si256(bytes, _mm256_set1_epi8(0x20)), 'a', 5);
  const __m256i isDigit = _mm256_or_si256(inRange(bytes, '0', 9), isLetter);
  const __m256i value = _mm256_add_epi8(_mm256_and_si256(bytes, _mm256_set1_epi8(0x0F)),
                                        _mm256_and_si256(isLetter, _mm256_set1_epi8(9)));
  return _mm256_or_si256(value, _mm256_xor_si256(isDigit, _mm256_set1_epi8(-1)));
}

VQ_TARGET_AVX2 inline uint32_t equalBits(__m256i bytes, char byte) {
  return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(byte))));
}

// Writes the bytes that stay, and up to 8 behind. Answers the end.
VQ_TARGET_AVX2 inline char* storeKept(__m256i bytes, uint32_t kept, char* target) {
  for (uint32_t i = 0; i < 4; ++i, kept >>= 8) {
    const __m128i half = i < 2 ? _mm256_castsi256_si128(bytes) : _mm256_extracti128_si256(bytes, 1);
    const __m128i eight = i % 2 == 0 ? half : _mm_srli_si128(half, 8);
    const __m128i places =
        _mm_loadl_epi64(reinterpret_cast<const __m128i*>(compressions[kept & 0xFF].data()));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(target), _mm_shuffle_epi8(eight, places));
    target += __builtin_popcount(kept & 0xFF);
  }
  return target;
}

}  // namespace

VQ_TARGET_AVX2 void unescape(char* text, uint64_t byteCount, uint64_t* at, uint64_t* written) {
  const char* source = text + *at;
  char* target = text + *written;
  // Two bytes more than a step may be taken.
  while (static_cast<uint64_t>(text + byteCount - source) >= stepElements + 2) {
    __m256i bytes = load32(source);
    const uint32_t signs = equalBits(bytes, '%');
    const __m256i isPlus = _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('+'));
    bytes = _mm256_blendv_epi8(bytes, _mm256_set1_epi8(' '), isPlus);
    if (signs == 0) {
      store32(target, bytes);
      source += stepElements;
      target += stepElements;
      continue;
    }
    // A '%' in the place of a digit is none, which goes from one to the next.
    const uint32_t taken = signs << 1 | signs << 2;
    if ((signs & taken) != 0) break;
    const __m256i high = _mm256_and_si256(_mm256_slli_epi16(digitValuesFrom(source + 1), 4),
                                          _mm256_set1_epi8(static_cast<char>(0xF0)));
    const __m256i values = _mm256_add_epi8(high, digitValuesFrom(source + 2));
    bytes = _mm256_blendv_epi8(bytes, values, _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('%')));
    // What is written too much lies in front of what is still to be read.
    target = storeKept(bytes, ~taken, target);
    // Digits of the last two places stand behind the step.
    source += stepElements + (signs >> 30);
  }
  *at = static_cast<uint64_t>(source - text);
  *written = static_cast<uint64_t>(target - text);
}

}  // namespace vq::url::vector

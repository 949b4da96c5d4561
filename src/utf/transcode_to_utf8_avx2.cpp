// Wide text to UTF-8 and to UTF-16 with AVX2.
//
// The source is taken in blocks of sixteen elements, by the largest of them: all ASCII, up to U+07FF, up to
// U+FFFF, or any; runs of ASCII go by 32. Every element makes its bytes in a lane of its own, and a look-up
// by the lengths of the lanes brings them together. A block with an element that is no scalar value goes to
// the portable form.
#include <array>
#include <bit>

#include <immintrin.h>

#include "text/cpu.hpp"
#include "utf/splat_avx2.hpp"
#include "utf/transcode_avx2.hpp"
#include "utf/transcode_portable.hpp"

namespace vq::transcode::avx2 {

namespace {

constexpr size_t blockElements = 16;
constexpr size_t blockRoom = 4 * blockElements;
constexpr size_t notMade = SIZE_MAX;

// For each set of eight 16-bit lanes that hold one byte, the others two: the bytes that bring them together.
constexpr auto makeTwoByteOrders() {
  std::array<std::array<uint8_t, 16>, 256> table{};
  for (unsigned single = 0; single < 256; ++single) {
    size_t place = 0;
    for (unsigned lane = 0; lane < 8; ++lane) {
      table[single][place++] = static_cast<uint8_t>(2 * lane);
      if ((single >> lane & 1) == 0) table[single][place++] = static_cast<uint8_t>(2 * lane + 1);
    }
    while (place < 16) table[single][place++] = 0x80;
  }
  return table;
}
alignas(64) constexpr auto twoByteOrders = makeTwoByteOrders();

// The lengths of four 32-bit lanes, 1 to 4, less one: the low bits of the four numbers in bits 0 to 3, the
// high bits in bits 4 to 7. A lane holds its bytes at its upper end.
constexpr auto makeFourByteOrders() {
  std::array<std::array<uint8_t, 16>, 256> table{};
  for (unsigned lengths = 0; lengths < 256; ++lengths) {
    size_t place = 0;
    for (unsigned lane = 0; lane < 4; ++lane) {
      const unsigned length = 1 + (lengths >> lane & 1) + 2 * (lengths >> (lane + 4) & 1);
      for (unsigned i = 4 - length; i < 4; ++i) table[lengths][place++] = static_cast<uint8_t>(4 * lane + i);
    }
    while (place < 16) table[lengths][place++] = 0x80;
  }
  return table;
}
alignas(64) constexpr auto fourByteOrders = makeFourByteOrders();
constexpr unsigned allThree = 0xF0;

VQ_TARGET_AVX2 inline __m256i loadEight(const VQChar* source) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source));
}
VQ_TARGET_AVX2 inline void store16(__m128i bytes, uint8_t* target) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(target), bytes);
}
VQ_TARGET_AVX2 inline __m128i orderOf(const std::array<uint8_t, 16>& entry) {
  return _mm_load_si128(reinterpret_cast<const __m128i*>(entry.data()));
}
VQ_TARGET_AVX2 inline __m128i upperHalf(__m256i vector) {
  return _mm256_extracti128_si256(vector, 1);
}

// One bit a 16-bit lane.
VQ_TARGET_AVX2 inline unsigned bitsOf16(__m256i lanes) {
  return _pext_u32(static_cast<uint32_t>(_mm256_movemask_epi8(lanes)), 0x55555555);
}

// Sixteen values up to 0xFFFF in order.
VQ_TARGET_AVX2 inline __m256i packUnits(__m256i a, __m256i b) {
  return _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), 0b11011000);
}

// The 32 elements as bytes, when all are ASCII.
VQ_TARGET_AVX2 inline bool narrowAscii(const VQChar* source, uint8_t* target) {
  const __m256i a = loadEight(source);
  const __m256i b = loadEight(source + 8);
  const __m256i c = loadEight(source + 16);
  const __m256i d = loadEight(source + 24);
  const __m256i all = _mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, d));
  if (!_mm256_testz_si256(all, splat32<~0x7Fu>())) return false;
  const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(a, b), _mm256_packus_epi32(c, d));
  const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), _mm256_permutevar8x32_epi32(bytes, order));
  return true;
}

// Up to U+07FF.
VQ_TARGET_AVX2 inline size_t encodeUpToTwo(__m256i units, uint8_t* target) {
  const __m256i first = _mm256_srli_epi16(units, 6);
  const __m256i second = _mm256_and_si256(_mm256_slli_epi16(units, 8), splat16<0x3F00>());
  const __m256i two = _mm256_or_si256(_mm256_or_si256(first, second), splat16<0x80C0>());
  const __m256i isAscii = _mm256_cmpgt_epi16(splat16<0x80>(), units);
  const __m256i bytes = _mm256_blendv_epi8(two, units, isAscii);
  const unsigned single = bitsOf16(isAscii);
  const auto low = static_cast<unsigned>(single & 0xFF);
  const auto high = static_cast<unsigned>(single >> 8);
  const size_t lowBytes = 16 - static_cast<size_t>(std::popcount(low));
  store16(_mm_shuffle_epi8(_mm256_castsi256_si128(bytes), orderOf(twoByteOrders[low])), target);
  store16(_mm_shuffle_epi8(upperHalf(bytes), orderOf(twoByteOrders[high])), target + lowBytes);
  return lowBytes + 16 - static_cast<size_t>(std::popcount(high));
}

// Stores four lanes by their lengths; `low` and `high` are the bits of the lengths less one.
VQ_TARGET_AVX2 inline uint8_t* storeLanes(__m128i lanes, unsigned low, unsigned high, uint8_t* target) {
  store16(_mm_shuffle_epi8(lanes, orderOf(fourByteOrders[low | high << 4])), target);
  return target + 4 + std::popcount(low) + 2 * std::popcount(high);
}

// Up to U+FFFF; `notMade` where a surrogate is among them.
VQ_TARGET_AVX2 inline size_t encodeUpToThree(__m256i units, uint8_t* target) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i top5 = _mm256_and_si256(units, splat16<0xF800>());
  const __m256i isSurrogate = _mm256_cmpeq_epi16(top5, splat16<0xD800>());
  if (!_mm256_testz_si256(isSurrogate, isSurrogate)) return notMade;
  const __m256i isShort = _mm256_cmpeq_epi16(top5, zero);
  const __m256i isAscii = _mm256_cmpeq_epi16(_mm256_and_si256(units, splat16<0xFF80>()), zero);
  // A lane of 32 bits is to hold, from its lowest byte: nothing, first, second, third.
  const __m256i first =
      _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(units, 4), splat16<0x0F00>()), splat16<0xE000>());
  // The second is the first of a sequence of two: 0xC0 takes the place of 0x80.
  const __m256i marker = _mm256_or_si256(splat16<0x8080>(), _mm256_and_si256(isShort, splat16<0x0040>()));
  const __m256i middle = _mm256_and_si256(_mm256_srli_epi16(units, 6), splat16<0x003F>());
  const __m256i last = _mm256_slli_epi16(units, 8);
  const __m256i second =
      _mm256_or_si256(_mm256_or_si256(middle, _mm256_and_si256(last, splat16<0x3F00>())), marker);
  const __m256i both = _mm256_blendv_epi8(second, last, isAscii);
  const __m256i even = _mm256_unpacklo_epi16(first, both);
  const __m256i odd = _mm256_unpackhi_epi16(first, both);

  if (_mm256_testz_si256(isShort, isShort)) {
    const __m256i order = _mm256_broadcastsi128_si256(orderOf(fourByteOrders[allThree]));
    const __m256i evenBytes = _mm256_shuffle_epi8(even, order);
    const __m256i oddBytes = _mm256_shuffle_epi8(odd, order);
    store16(_mm256_castsi256_si128(evenBytes), target);
    store16(_mm256_castsi256_si128(oddBytes), target + 12);
    store16(upperHalf(evenBytes), target + 24);
    store16(upperHalf(oddBytes), target + 36);
    return 48;
  }
  const unsigned isLong = ~bitsOf16(isShort) & 0xFFFF;
  const unsigned isTwo = bitsOf16(_mm256_xor_si256(isShort, isAscii));
  uint8_t* out = storeLanes(_mm256_castsi256_si128(even), isTwo & 0xF, isLong & 0xF, target);
  out = storeLanes(_mm256_castsi256_si128(odd), isTwo >> 4 & 0xF, isLong >> 4 & 0xF, out);
  out = storeLanes(upperHalf(even), isTwo >> 8 & 0xF, isLong >> 8 & 0xF, out);
  out = storeLanes(upperHalf(odd), isTwo >> 12, isLong >> 12, out);
  return static_cast<size_t>(out - target);
}

// Any eight scalar values; `notMade` where something else is among them.
VQ_TARGET_AVX2 inline size_t encodeUpToFour(__m256i c, uint8_t* target) {
  const __m256i isSurrogate = _mm256_cmpeq_epi32(_mm256_and_si256(c, splat32<~0x7FFu>()), splat32<0xD800>());
  const __m256i isInside = _mm256_cmpeq_epi32(_mm256_min_epu32(c, splat32<0x10FFFF>()), c);
  if (_mm256_movemask_epi8(_mm256_andnot_si256(isSurrogate, isInside)) != -1) return notMade;
  const __m256i beyondAscii = _mm256_cmpgt_epi32(c, splat32<0x7F>());
  const __m256i lengthLessOne = _mm256_sub_epi32(
      _mm256_setzero_si256(),
      _mm256_add_epi32(beyondAscii, _mm256_add_epi32(_mm256_cmpgt_epi32(c, splat32<0x7FF>()),
                                                     _mm256_cmpgt_epi32(c, splat32<0xFFFF>()))));
  // A lane holds, from its lowest byte: the first of four, of three, of two, the last.
  const __m256i last = _mm256_slli_epi32(c, 24);
  const __m256i parts = _mm256_or_si256(
      _mm256_or_si256(_mm256_srli_epi32(c, 18), _mm256_and_si256(_mm256_srli_epi32(c, 4), splat32<0x3F00>())),
      _mm256_or_si256(_mm256_and_si256(_mm256_slli_epi32(c, 10), splat32<0x3F0000>()),
                      _mm256_and_si256(last, splat32<0x3F000000>())));
  const auto marker = [](uint32_t bytes) { return static_cast<int>(bytes); };
  const __m256i markers = _mm256_setr_epi32(0, marker(0x80C00000), marker(0x8080E000), marker(0x808080F0), 0,
                                            marker(0x80C00000), marker(0x8080E000), marker(0x808080F0));
  const __m256i bytes = _mm256_blendv_epi8(
      last, _mm256_or_si256(parts, _mm256_permutevar8x32_epi32(markers, lengthLessOne)), beyondAscii);
  const auto bit = [&](int place) __attribute__((target("avx2"))) {
    return static_cast<unsigned>(
        _mm256_movemask_ps(_mm256_castsi256_ps(_mm256_slli_epi32(lengthLessOne, 31 - place))));
  };
  const unsigned low = bit(0);
  const unsigned high = bit(1);
  if ((low & high) == 0xFF) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), bytes);
    return 32;
  }
  uint8_t* out = storeLanes(_mm256_castsi256_si128(bytes), low & 0xF, high & 0xF, target);
  out = storeLanes(upperHalf(bytes), low >> 4, high >> 4, out);
  return static_cast<size_t>(out - target);
}

// The bytes of sixteen elements; `notMade` also where whole vectors have no room. ASCII has a way of its own
// where it is likely.
VQ_TARGET_AVX2 inline size_t encodeBlock(const VQChar* source, bool isLikelyAscii, uint8_t* target,
                                         size_t room) {
  const __m256i a = loadEight(source);
  const __m256i b = loadEight(source + 8);
  const __m256i all = _mm256_or_si256(a, b);
  if (isLikelyAscii && _mm256_testz_si256(all, splat32<~0x7Fu>())) {
    if (room < 16) return notMade;
    const __m256i units = packUnits(a, b);
    store16(_mm_packus_epi16(_mm256_castsi256_si128(units), upperHalf(units)), target);
    return 16;
  }
  if (_mm256_testz_si256(all, splat32<~0x7FFu>())) {
    return room < 2 * blockElements ? notMade : encodeUpToTwo(packUnits(a, b), target);
  }
  if (_mm256_testz_si256(all, splat32<~0xFFFFu>())) {
    // Three stores of twelve bytes in front of the last one.
    return room < 3 * 12 + 16 ? notMade : encodeUpToThree(packUnits(a, b), target);
  }
  if (room < blockRoom) return notMade;
  const size_t first = encodeUpToFour(a, target);
  if (first == notMade) return notMade;
  const size_t second = encodeUpToFour(b, target + first);
  return second == notMade ? notMade : first + second;
}

}  // namespace

VQ_TARGET_AVX2 Result wideToUtf8(const VQChar* source, size_t elementCount, uint8_t* target,
                                 size_t capacity) {
  size_t at = 0;
  size_t written = 0;
  bool wasAscii = true;
  while (elementCount - at >= blockElements) {
    const size_t room = capacity - written;
    if (wasAscii && elementCount - at >= 32 && room >= 32 && narrowAscii(source + at, target + written)) {
      at += 32;
      written += 32;
      continue;
    }
    const size_t made = encodeBlock(source + at, wasAscii, target + written, room);
    if (made == notMade) break;
    at += blockElements;
    written += made;
    wasAscii = made == blockElements;
  }
  const Result rest =
      portable::wideToUtf8(source + at, elementCount - at, target + written, capacity - written);
  return {rest.status, at + rest.consumed, written + rest.written};
}

VQ_TARGET_AVX2 Result wideToUtf16(const VQChar* source, size_t elementCount, char16_t* target,
                                  size_t capacity) {
  size_t at = 0;
  size_t written = 0;
  while (elementCount - at >= blockElements && capacity - written >= 2 * blockElements) {
    const __m256i a = loadEight(source + at);
    const __m256i b = loadEight(source + at + 8);
    const __m256i units = packUnits(a, b);
    const __m256i isSurrogate =
        _mm256_cmpeq_epi16(_mm256_and_si256(units, splat16<0xF800>()), splat16<0xD800>());
    if (_mm256_testz_si256(_mm256_or_si256(a, b), splat32<~0xFFFFu>()) &&
        _mm256_testz_si256(isSurrogate, isSurrogate)) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + written), units);
      at += blockElements;
      written += blockElements;
      continue;
    }
    const Result mixed =
        portable::wideToUtf16(source + at, blockElements, target + written, capacity - written);
    at += mixed.consumed;
    written += mixed.written;
    if (mixed.status != 0) return {mixed.status, at, written};
  }
  const Result rest =
      portable::wideToUtf16(source + at, elementCount - at, target + written, capacity - written);
  return {rest.status, at + rest.consumed, written + rest.written};
}

}  // namespace vq::transcode::avx2

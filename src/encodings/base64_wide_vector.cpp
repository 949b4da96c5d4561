// Base64 on plain memory in AVX-512 with byte permutations: 48 bytes against 64 characters a step. The tables
// of the alphabet are looked up as they are, and a mask cuts the last step to what is left.
#ifndef __clang__
// GCC's own header leaves operands undefined on purpose and then warns of them.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

#include <algorithm>

#include "encodings/base64_codec.hpp"

namespace vq::base64::wide_vector {

namespace {

// The low `count` bits, up to 64.
VQ_TARGET_AVX512 inline __mmask64 lowBits(uint64_t count) {
  return _cvtu64_mask64(_bzhi_u64(UINT64_MAX, static_cast<uint32_t>(count)));
}

// `count` characters; what is behind them reads as zero.
VQ_TARGET_AVX512 inline __m512i load(const char* text, uint64_t count) {
  return _mm512_maskz_loadu_epi8(lowBits(count), text);
}

// A wide character with a bit above the low seven becomes 0xFF, which is in no alphabet.
VQ_TARGET_AVX512 inline __m512i load(const VQChar* text, uint64_t count) {
  const uint64_t mask = _cvtmask64_u64(lowBits(count));
  __m128i quarters[4];
  for (uint32_t i = 0; i < 4; ++i) {
    const auto part = static_cast<__mmask16>(mask >> (16 * i));
    // Saturates; what fits a byte keeps its high bit.
    quarters[i] = _mm512_cvtusepi32_epi8(_mm512_maskz_loadu_epi32(part, text + 16 * i));
  }
  return _mm512_inserti64x4(_mm512_castsi256_si512(_mm256_set_m128i(quarters[1], quarters[0])),
                            _mm256_set_m128i(quarters[3], quarters[2]), 1);
}

// Where each byte of a permuted vector comes from: in encoding the bytes of a group in the order in which its
// values can be cut out; in decoding the low three bytes of each word, from the top one on.
struct ByteOrder {
  alignas(64) uint8_t places[64];
};
constexpr ByteOrder groupOrder = [] {
  ByteOrder order{};
  for (uint8_t i = 0; i < 64; ++i) {
    constexpr uint8_t inGroup[4] = {1, 0, 2, 1};
    order.places[i] = static_cast<uint8_t>(i / 4 * 3 + inGroup[i % 4]);
  }
  return order;
}();
constexpr ByteOrder byteOrder = [] {
  ByteOrder order{};
  for (uint8_t i = 0; i < 48; ++i) order.places[i] = static_cast<uint8_t>(i / 3 * 4 + 2 - i % 3);
  return order;
}();

template <class Element>
VQ_TARGET_AVX512 uint64_t decode(const Alphabet& alphabet, const Element* text, uint64_t groupCount,
                                 uint8_t* target) {
  const __m512i lower = _mm512_load_si512(alphabet.values.data());
  const __m512i upper = _mm512_load_si512(alphabet.values.data() + 64);
  const __m512i bytesInOrder = _mm512_load_si512(byteOrder.places);
  for (uint64_t group = 0; group < groupCount; group += vectorGroups) {
    const uint64_t count = std::min(groupCount - group, vectorGroups);
    const __m512i characters = load(text + 4 * group, 4 * count);
    const __m512i values = _mm512_permutex2var_epi8(lower, characters, upper);
    // A byte above 0x7F has its own high bit, an invalid one gets it from the table.
    const __mmask64 invalidBits =
        _kand_mask64(lowBits(4 * count), _mm512_movepi8_mask(_mm512_or_si512(values, characters)));
    if (_cvtmask64_u64(invalidBits) != 0) {
      return group + portable::decodeGroups(alphabet, text + 4 * group, count, target + 3 * group);
    }
    const __m512i pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi32(0x01400140));
    const __m512i groups = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
    _mm512_mask_storeu_epi8(target + 3 * group, lowBits(3 * count),
                            _mm512_permutexvar_epi8(bytesInOrder, groups));
  }
  return groupCount;
}

}  // namespace

VQ_TARGET_AVX512 void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount,
                                   char* target) {
  const __m512i characters = _mm512_load_si512(alphabet.characters.data());
  // Each group as the bytes b1 b0 b2 b1, from which four values are cut by the bits where they begin.
  const __m512i order = _mm512_load_si512(groupOrder.places);
  const __m512i shifts = _mm512_set1_epi64(0x3036242A1016040A);
  for (uint64_t group = 0; group < groupCount; group += vectorGroups) {
    const uint64_t count = std::min(groupCount - group, vectorGroups);
    const __m512i source = _mm512_maskz_loadu_epi8(lowBits(3 * count), bytes + 3 * group);
    const __m512i values = _mm512_multishift_epi64_epi8(shifts, _mm512_permutexvar_epi8(order, source));
    _mm512_mask_storeu_epi8(target + 4 * group, lowBits(4 * count),
                            _mm512_permutexvar_epi8(values, characters));
  }
}

uint64_t decodeGroups(const Alphabet& alphabet, const char* text, uint64_t groupCount, uint8_t* target) {
  return decode(alphabet, text, groupCount, target);
}

uint64_t decodeGroups(const Alphabet& alphabet, const VQChar* text, uint64_t groupCount, uint8_t* target) {
  return decode(alphabet, text, groupCount, target);
}

}  // namespace vq::base64::wide_vector

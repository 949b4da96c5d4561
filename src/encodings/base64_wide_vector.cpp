// Base64 on plain memory in AVX-512 with byte permutations: 48 bytes against 64 characters a step. The tables
// of the alphabet are looked up as they are. Runs shorter than a step, and the end of a text to decode, go by
// masks that cut the step to what is there.
#include <algorithm>

#include "encodings/base64_codec.hpp"
#include "encodings/bytes_avx512.hpp"
#include "text/blocks.hpp"

namespace vq::base64::wide_vector {

namespace {

using namespace vq::avx512;

constexpr uint64_t stepBytes = 3 * vectorGroups;
constexpr __mmask64 stepMask = (uint64_t{1} << stepBytes) - 1;

// In encoding, the bytes of a group in the order in which its values can be cut out; in decoding, the low
// three bytes of each word, from the top one on.
constexpr int inGroup[4] = {1, 0, 2, 1};
alignas(64) constexpr Places groupOrder = placesBy([](int i) { return i / 4 * 3 + inGroup[i % 4]; });
alignas(64) constexpr Places byteOrder = placesBy([](int i) { return i < 48 ? i / 3 * 4 + 2 - i % 3 : 0; });

// ---- Encoding ----

struct Encoder {
  __m512i characters;
  __m512i order;
  // The bits of a group, as bytes b1 b0 b2 b1, where its four values begin.
  __m512i shifts;

  VQ_INLINE_AVX512 explicit Encoder(const Alphabet& alphabet)
      : characters(tableOf(alphabet.characters.data())),
        order(tableOf(groupOrder.data())),
        shifts(_mm512_set1_epi64(0x3036242A1016040A)) {}

  VQ_INLINE_AVX512 __m512i step(const uint8_t* bytes, __mmask64 mask) const {
    const __m512i source = _mm512_maskz_loadu_epi8(mask, bytes);
    const __m512i values = _mm512_multishift_epi64_epi8(shifts, _mm512_permutexvar_epi8(order, source));
    return _mm512_permutexvar_epi8(values, characters);
  }

  template <class Element>
  VQ_TARGET_AVX512 void run(const uint8_t* bytes, uint64_t groupCount, Element* target) const {
    if (groupCount < vectorGroups) {
      store(target, step(bytes, lowBits(3 * groupCount)), 4 * groupCount);
      return;
    }
    // From the second step on at the boundaries of cache lines, if the target allows it: a store that crosses
    // one costs two.
    store(target, step(bytes, stepMask));
    constexpr uint64_t groupSize = 4 * sizeof(Element);
    const bool isFar = groupCount * groupSize > text::farBytes;
    uint64_t group = vectorGroups - reinterpret_cast<uintptr_t>(target) / groupSize % vectorGroups;
    for (; groupCount - group >= 2 * vectorGroups; group += 2 * vectorGroups) {
      const __m512i first = step(bytes + 3 * group, stepMask);
      const __m512i second = step(bytes + 3 * group + stepBytes, stepMask);
      if (isFar)
        text::claimAhead<2 * vectorGroups * groupSize>(reinterpret_cast<const uint8_t*>(target + 4 * group) +
                                                       text::aheadBytes);
      store(target + 4 * group, first);
      store(target + 4 * group + 4 * vectorGroups, second);
    }
    if (groupCount - group > vectorGroups) store(target + 4 * group, step(bytes + 3 * group, stepMask));
    const uint64_t last = groupCount - vectorGroups;
    store(target + 4 * last, step(bytes + 3 * last, stepMask));
  }
};

template <class Element>
VQ_TARGET_AVX512 void encodeEachLine(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount,
                                     Element* target) {
  const Encoder encoder(alphabet);
  for (; lineCount != 0; --lineCount, bytes += 3 * groupsPerLine, target += 4 * groupsPerLine) {
    constexpr uint64_t last = groupsPerLine - vectorGroups;
    store(target, encoder.step(bytes, stepMask));
    store(target + 4 * last, encoder.step(bytes + 3 * last, stepMask));
    target[4 * groupsPerLine] = '\n';
    ++target;
  }
}

// ---- Decoding ----

struct Decoder {
  __m512i lower;
  __m512i upper;
  __m512i order;

  VQ_INLINE_AVX512 explicit Decoder(const Alphabet& alphabet)
      : lower(tableOf(alphabet.values.data())),
        upper(tableOf(alphabet.values.data() + 64)),
        order(tableOf(byteOrder.data())) {}

  VQ_INLINE_AVX512 __m512i valuesOf(__m512i characters) const {
    return _mm512_permutex2var_epi8(lower, characters, upper);
  }
  VQ_INLINE_AVX512 __m512i bytesOf(__m512i values) const {
    const __m512i pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi32(0x01400140));
    return _mm512_permutexvar_epi8(order, _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000)));
  }
};

// A byte above 0x7F has its own high bit, an invalid one gets it from the table.
VQ_INLINE_AVX512 __mmask64 highBits(__m512i bytes) {
  return _mm512_movepi8_mask(bytes);
}

// What is no character of an alphabet is 0 or above 0x7F when it is loaded, also from a wide element.
template <class Element>
VQ_TARGET_AVX512 uint64_t decode(const Alphabet& alphabet, const Element* text, uint64_t groupCount,
                                 uint8_t* target) {
  const Decoder decoder(alphabet);
  constexpr __mmask64 whole = UINT64_MAX;
  uint64_t group = 0;
  // A store of 64 bytes needs room for six groups more.
  for (; groupCount - group >= 2 * vectorGroups + 6; group += 2 * vectorGroups) {
    const __m512i first = load(text + 4 * group, whole);
    const __m512i second = load(text + 4 * (group + vectorGroups), whole);
    const __m512i firstValues = decoder.valuesOf(first), secondValues = decoder.valuesOf(second);
    const __m512i all = _mm512_or_si512(_mm512_or_si512(first, firstValues), second);
    if (_cvtmask64_u64(highBits(_mm512_or_si512(all, secondValues))) != 0) break;
    _mm512_storeu_si512(target + 3 * group, decoder.bytesOf(firstValues));
    _mm512_storeu_si512(target + 3 * group + stepBytes, decoder.bytesOf(secondValues));
  }
  // Whether a step is whole is left to a branch, which is foreseen, so that no step waits for the one before.
  for (; group < groupCount; group += vectorGroups) {
    const uint64_t count = std::min(groupCount - group, vectorGroups);
    const __mmask64 mask = lowBits(4 * count);
    const __m512i characters = load(text + 4 * group, mask);
    const __m512i values = decoder.valuesOf(characters);
    const __mmask64 invalidBits = _kand_mask64(mask, highBits(_mm512_or_si512(values, characters)));
    if (_cvtmask64_u64(invalidBits) != 0) {
      const uint64_t valid = _tzcnt_u64(_cvtmask64_u64(invalidBits)) / 4;
      _mm512_mask_storeu_epi8(target + 3 * group, lowBits(3 * valid), decoder.bytesOf(values));
      return group + valid;
    }
    _mm512_mask_storeu_epi8(target + 3 * group, lowBits(3 * count), decoder.bytesOf(values));
  }
  return groupCount;
}

template <class Element>
VQ_TARGET_AVX512 uint64_t decodeEachLine(const Alphabet& alphabet, const Element* text, uint64_t lineCount,
                                         uint8_t* target) {
  const Decoder decoder(alphabet);
  constexpr __mmask64 whole = UINT64_MAX;
  constexpr uint64_t last = groupsPerLine - vectorGroups;
  for (uint64_t line = 0; line < lineCount; ++line) {
    const __m512i first = load(text + 1, whole), second = load(text + 1 + 4 * last, whole);
    const __m512i firstValues = decoder.valuesOf(first), secondValues = decoder.valuesOf(second);
    const __m512i all = _mm512_or_si512(_mm512_or_si512(first, firstValues), second);
    const uint64_t invalidBits = _cvtmask64_u64(highBits(_mm512_or_si512(all, secondValues)));
    if (*text != '\n' || invalidBits != 0) return line;
    _mm512_mask_storeu_epi8(target, stepMask, decoder.bytesOf(firstValues));
    _mm512_mask_storeu_epi8(target + 3 * last, stepMask, decoder.bytesOf(secondValues));
    text += 4 * groupsPerLine + 1;
    target += 3 * groupsPerLine;
  }
  return lineCount;
}

}  // namespace

VQ_TARGET_AVX512 void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount,
                                   char* target) {
  Encoder(alphabet).run(bytes, groupCount, target);
}

VQ_TARGET_AVX512 void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount,
                                   VQChar* target) {
  Encoder(alphabet).run(bytes, groupCount, target);
}

void encodeLines(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount, char* target) {
  encodeEachLine(alphabet, bytes, lineCount, target);
}

void encodeLines(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount, VQChar* target) {
  encodeEachLine(alphabet, bytes, lineCount, target);
}

uint64_t decodeGroups(const Alphabet& alphabet, const char* text, uint64_t groupCount, uint8_t* target) {
  return decode(alphabet, text, groupCount, target);
}

uint64_t decodeGroups(const Alphabet& alphabet, const VQChar* text, uint64_t groupCount, uint8_t* target) {
  return decode(alphabet, text, groupCount, target);
}

uint64_t decodeLines(const Alphabet& alphabet, const char* text, uint64_t lineCount, uint8_t* target) {
  return decodeEachLine(alphabet, text, lineCount, target);
}

uint64_t decodeLines(const Alphabet& alphabet, const VQChar* text, uint64_t lineCount, uint8_t* target) {
  return decodeEachLine(alphabet, text, lineCount, target);
}

}  // namespace vq::base64::wide_vector

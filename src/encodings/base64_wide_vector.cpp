// Base64 on plain memory in AVX-512 with byte permutations: 48 bytes against 64 characters a step. The tables
// of the alphabet are looked up as they are. Runs shorter than a step, and the end of a text to decode, go by
// masks that cut the step to what is there.
#include <algorithm>
#include <type_traits>

#include "encodings/base64_codec.hpp"
#include "encodings/bytes_avx512.hpp"
#include "text/blocks.hpp"

namespace vq::base64::wide_vector {

namespace {

using namespace vq::avx512;

constexpr uint64_t stepBytes = 3 * vectorGroups;
constexpr __mmask64 stepMask = (uint64_t{1} << stepBytes) - 1;

// ---- Encoding ----

// Where in two words, the first byte of a group above the second and the second above the third, its four
// values begin.
constexpr int valueShift[4] = {10, 4, 6, 0};

// Which byte of a step goes where, where in the quad words its values then begin, and how the characters that
// come of them are stored.
template <class Element>
struct Layout;

// All is in the order of the text.
template <>
struct Layout<char> {
  alignas(64) static constexpr Places order = placesBy([](int i) {
    constexpr int inGroup[4] = {1, 0, 2, 1};
    return i / 4 * 3 + inGroup[i % 4];
  });
  alignas(64) static constexpr Places shifts = placesBy([](int i) {
    return i / 2 % 4 * 16 + valueShift[i % 4];
  });

  // The values, with more above their six bits, by plain shifts: two in the low bytes of the words, two in
  // the high ones.
  VQ_INLINE_AVX512 static __m512i valuesByShifts(__m512i words) {
    const __m512i low = _mm512_srlv_epi16(words, _mm512_set1_epi32(valueShift[2] << 16 | valueShift[0]));
    const __m512i high =
        _mm512_sllv_epi16(words, _mm512_set1_epi32((8 - valueShift[3]) << 16 | (8 - valueShift[1])));
    return _mm512_mask_blend_epi8(0xAAAAAAAAAAAAAAAA, low, high);
  }
  VQ_INLINE_AVX512 static void write(char* target, __m512i characters) { store(target, characters); }
  VQ_INLINE_AVX512 static void write(char* target, __m512i characters, uint64_t count) {
    store(target, characters, count);
  }
};

// A double word has a character of each quarter of the step, so that mere shifts and masks make elements of
// them: for those there is time beside the permutations.
template <>
struct Layout<VQChar> {
  alignas(64) static constexpr Places order = placesBy([](int i) {
    const int group = i / 16 + i % 8 / 2 * 4, word = i / 8 % 2;
    return 3 * group + word + (i % 2 == 0 ? 1 : 0);
  });
  alignas(64) static constexpr Places shifts = placesBy([](int i) {
    return i % 4 * 16 + valueShift[i / 4 % 4];
  });

  template <int index>
  VQ_INLINE_AVX512 static __m512i quarter(__m512i characters) {
    const __m512i shifted = _mm512_srli_epi32(characters, 8 * index);
    // A permutation for one of them makes the two kinds of work equal.
    if constexpr (index == 1) {
      return _mm512_maskz_shuffle_epi8(0x1111111111111111, characters, _mm512_set4_epi32(13, 9, 5, 1));
    }
    return index == 3 ? shifted : _mm512_and_si512(shifted, _mm512_set1_epi32(0xFF));
  }
  VQ_INLINE_AVX512 static void write(VQChar* target, __m512i characters) {
    _mm512_storeu_si512(target, quarter<0>(characters));
    _mm512_storeu_si512(target + 16, quarter<1>(characters));
    _mm512_storeu_si512(target + 32, quarter<2>(characters));
    _mm512_storeu_si512(target + 48, quarter<3>(characters));
  }
  VQ_INLINE_AVX512 static void write(VQChar* target, __m512i characters, uint64_t count) {
    const uint64_t mask = _cvtmask64_u64(lowBits(count));
    _mm512_mask_storeu_epi32(target, static_cast<__mmask16>(mask), quarter<0>(characters));
    _mm512_mask_storeu_epi32(target + 16, static_cast<__mmask16>(mask >> 16), quarter<1>(characters));
    _mm512_mask_storeu_epi32(target + 32, static_cast<__mmask16>(mask >> 32), quarter<2>(characters));
    _mm512_mask_storeu_epi32(target + 48, static_cast<__mmask16>(mask >> 48), quarter<3>(characters));
  }
};

template <class Element>
struct Encoder {
  using Form = Layout<Element>;

  __m512i characters;
  __m512i order;
  __m512i shifts;

  VQ_INLINE_AVX512 explicit Encoder(const Alphabet& alphabet)
      : characters(tableOf(alphabet.characters.data())),
        order(tableOf(Form::order.data())),
        shifts(tableOf(Form::shifts.data())) {}

  VQ_INLINE_AVX512 __m512i encoded(__m512i source) const {
    const __m512i words = _mm512_permutexvar_epi8(order, source);
    return _mm512_permutexvar_epi8(_mm512_multishift_epi64_epi8(shifts, words), characters);
  }
  // Multishift and permutations share one unit of the processor. Where nothing else needs the other one,
  // every second step goes partly there.
  VQ_INLINE_AVX512 __m512i encodedBeside(__m512i source) const {
    if constexpr (std::is_same_v<Element, char>) {
      const __m512i values = Form::valuesByShifts(_mm512_permutexvar_epi8(order, source));
      return _mm512_permutexvar_epi8(values, characters);
    } else {
      return encoded(source);
    }
  }
  VQ_INLINE_AVX512 __m512i step(const uint8_t* bytes, __mmask64 mask = stepMask) const {
    return encoded(_mm512_maskz_loadu_epi8(mask, bytes));
  }

  VQ_TARGET_AVX512 void run(const uint8_t* bytes, uint64_t groupCount, Element* target) const {
    if (groupCount < vectorGroups) {
      Form::write(target, step(bytes, lowBits(3 * groupCount)), 4 * groupCount);
      return;
    }
    // From the second step on at the boundaries of cache lines, if the target allows it: a store that crosses
    // one costs two.
    Form::write(target, step(bytes));
    constexpr uint64_t groupSize = 4 * sizeof(Element), lineGroups = 64 / groupSize;
    const bool isFar = groupCount * groupSize > text::farBytes;
    uint64_t group = vectorGroups - reinterpret_cast<uintptr_t>(target) / groupSize % lineGroups;
    // A load of 64 bytes needs six groups more.
    for (; groupCount - group >= 2 * vectorGroups + 6; group += 2 * vectorGroups) {
      const __m512i first = encoded(_mm512_loadu_si512(bytes + 3 * group));
      const __m512i second = encodedBeside(_mm512_loadu_si512(bytes + 3 * group + stepBytes));
      if (isFar)
        text::claimAhead<2 * vectorGroups * groupSize>(reinterpret_cast<const uint8_t*>(target + 4 * group) +
                                                       text::aheadBytes);
      Form::write(target + 4 * group, first);
      Form::write(target + 4 * group + 4 * vectorGroups, second);
    }
    for (; groupCount - group > vectorGroups; group += vectorGroups) {
      Form::write(target + 4 * group, step(bytes + 3 * group));
    }
    const uint64_t last = groupCount - vectorGroups;
    Form::write(target + 4 * last, step(bytes + 3 * last));
  }
};

template <class Element>
VQ_TARGET_AVX512 void encodeEachLine(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount,
                                     Element* target) {
  using Form = Layout<Element>;
  const Encoder<Element> encoder(alphabet);
  for (; lineCount != 0; --lineCount, bytes += 3 * groupsPerLine, target += 4 * groupsPerLine) {
    constexpr uint64_t last = groupsPerLine - vectorGroups;
    Form::write(target, encoder.step(bytes));
    Form::write(target + 4 * last, encoder.step(bytes + 3 * last));
    target[4 * groupsPerLine] = '\n';
    ++target;
  }
}

// ---- Decoding ----

// The low three bytes of each word, from the top one on.
alignas(64) constexpr Places byteOrder = placesBy([](int i) { return i < 48 ? i / 3 * 4 + 2 - i % 3 : 0; });

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
  Encoder<char>(alphabet).run(bytes, groupCount, target);
}

VQ_TARGET_AVX512 void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount,
                                   VQChar* target) {
  Encoder<VQChar>(alphabet).run(bytes, groupCount, target);
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

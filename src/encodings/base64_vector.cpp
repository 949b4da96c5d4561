// Base64 on plain memory in AVX2: 24 bytes against 32 characters a step.
//
// The bits are moved by shuffles and multiplications, the characters by look-ups of a nibble or a range. The
// last step of a run overlaps the one before it, so that runs of eight groups and more need no other code;
// what the overlap writes again is the same.
#include <immintrin.h>

#include "encodings/base64_codec.hpp"

namespace vq::base64::vector {

namespace {

constexpr uint64_t stepBytes = 24;
constexpr uint64_t stepCharacters = 32;

VQ_TARGET_AVX2 inline __m256i bothLanes(const void* table) {
  return _mm256_broadcastsi128_si256(_mm_load_si128(static_cast<const __m128i*>(table)));
}

VQ_TARGET_AVX2 inline __m128i load16(const uint8_t* bytes) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

VQ_TARGET_AVX2 inline __m256i load32(const void* bytes) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(bytes));
}

// The tables of an alphabet in registers.
struct Encoder {
  __m256i shift;

  VQ_TARGET_AVX2 explicit Encoder(const Alphabet& alphabet) : shift(bothLanes(alphabet.shift.data())) {}

  // The characters of 24 bytes, read within their bounds: the lower lane takes bytes 0 to 11 and the upper
  // one, which begins at byte 8, bytes 12 to 23.
  VQ_TARGET_AVX2 __m256i step(const uint8_t* bytes) const {
    const __m256i both = _mm256_inserti128_si256(_mm256_castsi128_si256(load16(bytes)), load16(bytes + 8), 1);
    // Each group as the bytes b1 b0 b2 b1, in which the four values stand in two 16-bit halves.
    const __m256i groups =
        _mm256_shuffle_epi8(both, _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10,  //
                                                   5, 4, 6, 5, 8, 7, 9, 8, 11, 10, 12, 11, 14, 13, 15, 14));
    // The first and third value come down by a high multiplication, the second and fourth go up by a low one.
    const __m256i down = _mm256_mulhi_epu16(_mm256_and_si256(groups, _mm256_set1_epi32(0x0FC0FC00)),
                                            _mm256_set1_epi32(0x04000040));
    const __m256i up = _mm256_mullo_epi16(_mm256_and_si256(groups, _mm256_set1_epi32(0x003F03F0)),
                                          _mm256_set1_epi32(0x01000010));
    const __m256i values = _mm256_or_si256(down, up);
    // 0 up to 51 and value - 51 above, and 1 more for everything above 25.
    const __m256i above25 = _mm256_cmpgt_epi8(values, _mm256_set1_epi8(25));
    const __m256i range = _mm256_sub_epi8(_mm256_subs_epu8(values, _mm256_set1_epi8(51)), above25);
    return _mm256_add_epi8(values, _mm256_shuffle_epi8(shift, range));
  }
};

VQ_TARGET_AVX2 inline void store(char* target, __m256i characters) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), characters);
}
VQ_TARGET_AVX2 inline void store(VQChar* target, __m256i characters) {
  const __m128i halves[2] = {_mm256_castsi256_si128(characters), _mm256_extracti128_si256(characters, 1)};
  for (uint32_t i = 0; i < 2; ++i) {
    auto* quarters = reinterpret_cast<__m256i*>(target + 16 * i);
    _mm256_storeu_si256(quarters, _mm256_cvtepu8_epi32(halves[i]));
    _mm256_storeu_si256(quarters + 1, _mm256_cvtepu8_epi32(_mm_unpackhi_epi64(halves[i], halves[i])));
  }
}

template <class Element>
VQ_TARGET_AVX2 inline void encodeRun(const Encoder& encoder, const uint8_t* bytes, uint64_t groupCount,
                                     Element* target) {
  uint64_t group = 0;
  for (; groupCount - group >= vectorGroups; group += vectorGroups) {
    store(target + 4 * group, encoder.step(bytes + 3 * group));
  }
  if (group < groupCount) {
    const uint64_t last = groupCount - vectorGroups;
    store(target + 4 * last, encoder.step(bytes + 3 * last));
  }
  static_assert(stepBytes == 3 * vectorGroups && stepCharacters == 4 * vectorGroups);
}

template <class Element>
VQ_TARGET_AVX2 void encodeEachLine(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount,
                                   Element* target) {
  const Encoder encoder(alphabet);
  for (; lineCount != 0; --lineCount, bytes += 3 * groupsPerLine, target += 4 * groupsPerLine) {
    encodeRun(encoder, bytes, groupsPerLine, target);
    target[4 * groupsPerLine] = '\n';
    ++target;
  }
}

struct Decoder {
  __m256i highBits;
  __m256i lowBits;
  __m256i roll;
  __m256i belowSplit;

  VQ_TARGET_AVX2 explicit Decoder(const Alphabet& alphabet)
      : highBits(bothLanes(alphabet.highBits.data())),
        lowBits(bothLanes(alphabet.lowBits.data())),
        roll(bothLanes(alphabet.roll.data())),
        belowSplit(_mm256_set1_epi8(static_cast<char>(alphabet.split - 1))) {}

  // 32 characters into 24 bytes with 8 zero bytes behind them. False when one is not of the alphabet.
  VQ_TARGET_AVX2 bool step(__m256i characters, __m256i* bytes) const {
    const __m256i nibble = _mm256_set1_epi8(0x0F);
    const __m256i high = _mm256_and_si256(_mm256_srli_epi32(characters, 4), nibble);
    const __m256i low = _mm256_and_si256(characters, nibble);
    if (!_mm256_testz_si256(_mm256_shuffle_epi8(highBits, high), _mm256_shuffle_epi8(lowBits, low))) {
      return false;
    }
    const __m256i fromSplit = _mm256_cmpgt_epi8(characters, belowSplit);
    const __m256i values =
        _mm256_add_epi8(characters, _mm256_shuffle_epi8(roll, _mm256_sub_epi8(high, fromSplit)));
    // Pairs of values to 12 bits, pairs of those to 24, and these 3 bytes to the front of each lane.
    const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i packed = _mm256_shuffle_epi8(
        groups, _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1,  //
                                 2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
    *bytes = _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
    return true;
  }
};

VQ_TARGET_AVX2 inline __m256i load(const char* text) {
  return load32(text);
}

// 32 wide characters as bytes. The packs saturate: what is no byte becomes 0 or 0xFF, which are in no
// alphabet.
VQ_TARGET_AVX2 inline __m256i load(const VQChar* text) {
  const __m256i packed = _mm256_packus_epi16(_mm256_packus_epi32(load32(text), load32(text + 8)),
                                             _mm256_packus_epi32(load32(text + 16), load32(text + 24)));
  // The packs work within lanes: four characters of each source in turn, first of all lower lanes.
  return _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

VQ_TARGET_AVX2 inline void store24(uint8_t* target, __m256i bytes) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(target), _mm256_castsi256_si128(bytes));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(target + 16), _mm256_extracti128_si256(bytes, 1));
}

template <class Element>
VQ_TARGET_AVX2 uint64_t decode(const Alphabet& alphabet, const Element* text, uint64_t groupCount,
                               uint8_t* target) {
  const Decoder decoder(alphabet);
  uint64_t group = 0;
  __m256i bytes;
  // A store of 32 bytes needs room for three groups more.
  for (; groupCount - group >= vectorGroups + 3; group += vectorGroups) {
    if (!decoder.step(load(text + 4 * group), &bytes)) break;
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + 3 * group), bytes);
  }
  // Fewer than three groups more than a vector are left, if nothing stopped the loop.
  const uint64_t last = groupCount - vectorGroups;
  if (group < last && last - group < 3 && decoder.step(load(text + 4 * group), &bytes)) {
    store24(target + 3 * group, bytes);
    group += vectorGroups;
  }
  if (group >= last && decoder.step(load(text + 4 * last), &bytes)) {
    store24(target + 3 * last, bytes);
    return groupCount;
  }
  return group + portable::decodeGroups(alphabet, text + 4 * group, groupCount - group, target + 3 * group);
}

template <class Element>
VQ_TARGET_AVX2 uint64_t decodeEachLine(const Alphabet& alphabet, const Element* text, uint64_t lineCount,
                                       uint8_t* target) {
  const Decoder decoder(alphabet);
  constexpr uint64_t firstGroups[3] = {0, vectorGroups, groupsPerLine - vectorGroups};
  for (uint64_t line = 0; line < lineCount; ++line) {
    __m256i bytes[3];
    if (*text != '\n') return line;
    for (uint32_t i = 0; i < 3; ++i) {
      if (!decoder.step(load(text + 1 + 4 * firstGroups[i]), &bytes[i])) return line;
    }
    for (uint32_t i = 0; i < 3; ++i) store24(target + 3 * firstGroups[i], bytes[i]);
    text += 4 * groupsPerLine + 1;
    target += 3 * groupsPerLine;
  }
  return lineCount;
}

}  // namespace

VQ_TARGET_AVX2 void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount,
                                 char* target) {
  encodeRun(Encoder(alphabet), bytes, groupCount, target);
}

VQ_TARGET_AVX2 void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount,
                                 VQChar* target) {
  encodeRun(Encoder(alphabet), bytes, groupCount, target);
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

}  // namespace vq::base64::vector

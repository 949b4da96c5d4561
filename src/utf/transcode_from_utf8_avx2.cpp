// UTF-8 to wide text and to UTF-16 with AVX2.
//
// The source is taken in blocks of 64 bytes that begin at a character; the last block reaches back over what
// is converted already. A block is judged as a whole; one with a fault goes to the portable form, which finds
// the place. In a block without sequences of four bytes, every byte position computes the value of a
// character that would end there, from itself and the two bytes before, and the positions where none ends are
// squeezed out: no step depends on the length of the character before. Runs of three and of four bytes only,
// as in Chinese or in emoji, have shorter ways.
#include <array>
#include <bit>

#include "utf/transcode_avx2.hpp"
#include "utf/transcode_portable.hpp"
#include "utf/utf8_check_avx2.hpp"

namespace vq::transcode::avx2 {

namespace {

using utf8::loadBytes;

constexpr size_t blockBytes = 64;
// The faults of a block show in the three bytes before it as well.
constexpr size_t lookBack = 3;
// What is left behind the last block is not worth another one below this many bytes.
constexpr size_t shortTail = 12;

// For each set of eight 16-bit lanes: the bytes that bring the lanes of the set together.
constexpr auto makeSqueeze() {
  std::array<std::array<uint8_t, 16>, 256> table{};
  for (unsigned set = 0; set < 256; ++set) {
    size_t place = 0;
    for (unsigned lane = 0; lane < 8; ++lane) {
      if ((set >> lane & 1) == 0) continue;
      table[set][place++] = static_cast<uint8_t>(2 * lane);
      table[set][place++] = static_cast<uint8_t>(2 * lane + 1);
    }
    while (place < 16) table[set][place++] = 0x80;
  }
  return table;
}
alignas(64) constexpr auto squeeze = makeSqueeze();

VQ_TARGET_AVX2 inline void storeEight(__m128i units, VQChar* target) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), _mm256_cvtepu16_epi32(units));
}
VQ_TARGET_AVX2 inline void storeEight(__m128i units, char16_t* target) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(target), units);
}

template <class Element>
VQ_TARGET_AVX2 inline void widenAscii(const uint8_t* source, Element* target) {
  // Eight elements a load: to widen the upper half of a register would take a second shuffle.
  for (size_t i = 0; i < blockBytes; i += sizeof(__m256i) / sizeof(Element)) {
    __m256i elements;
    if constexpr (sizeof(Element) == 4) {
      elements = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(source + i)));
    } else {
      elements = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(source + i)));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + i), elements);
  }
}

VQ_TARGET_AVX2 inline uint64_t bitsOf(__m256i low, __m256i high) {
  return static_cast<uint32_t>(_mm256_movemask_epi8(low)) |
         static_cast<uint64_t>(static_cast<uint32_t>(_mm256_movemask_epi8(high))) << 32;
}

// What is known of a block: a bit a byte.
struct BlockShape {
  uint64_t ends;        // the last bytes of the characters that are whole inside the block
  uint64_t longStarts;  // the first bytes of three or four
  uint64_t fourStarts;  // the first bytes of four
  uint64_t faults;      // where sequences of one and two bytes break the rules; of use without longer ones
  size_t byteCount;     // of the characters that are whole
};

VQ_TARGET_AVX2 inline BlockShape shapeOf(const uint8_t* source) {
  const __m256i low = loadBytes(source);
  const __m256i high = loadBytes(source + 32);
  // As signed numbers the continuation bytes are the ones below 0xC0, and the others order as they are.
  const __m256i firstOfTwo = splat8<0xC0>();
  const uint64_t continuations =
      bitsOf(_mm256_cmpgt_epi8(firstOfTwo, low), _mm256_cmpgt_epi8(firstOfTwo, high));
  const __m256i firstOfThree = splat8<0xE0>();
  const uint64_t longStarts = bitsOf(_mm256_cmpeq_epi8(_mm256_max_epu8(low, firstOfThree), low),
                                     _mm256_cmpeq_epi8(_mm256_max_epu8(high, firstOfThree), high));
  uint64_t fourStarts = 0;
  uint64_t faults = 0;
  if (longStarts != 0) {
    const __m256i firstOfFour = splat8<0xF0>();
    fourStarts = bitsOf(_mm256_cmpeq_epi8(_mm256_max_epu8(low, firstOfFour), low),
                        _mm256_cmpeq_epi8(_mm256_max_epu8(high, firstOfFour), high));
  } else {
    const __m256i pairOfOverlong = splat8<0xFE>();
    const uint64_t starts = bitsOf(low, high) & ~continuations;
    faults = bitsOf(_mm256_cmpeq_epi8(_mm256_and_si256(low, pairOfOverlong), firstOfTwo),
                    _mm256_cmpeq_epi8(_mm256_and_si256(high, pairOfOverlong), firstOfTwo)) |
             (starts << 1 ^ continuations);
  }
  // Sequences that the end of the block cuts: at most one of them begins in the last three bytes.
  const uint64_t isCut = (~continuations >> 63 & (bitsOf(low, high) >> 63)) << 63 |
                         (longStarts & uint64_t{1} << 62) | (fourStarts & uint64_t{1} << 61);
  const size_t byteCount = isCut == 0 ? blockBytes : static_cast<size_t>(std::countr_zero(isCut));
  const uint64_t ends =
      (~continuations >> 1 | uint64_t{1} << 63) & (~uint64_t{0} >> (blockBytes - byteCount));
  return {ends, longStarts, fourStarts, faults, byteCount};
}

// The values of the characters of one to three bytes that would end at each of 32 bytes, as 16-bit lanes:
// bytes 0 to 7 and 16 to 23 in `even`, the others in `odd`.
struct EndValues {
  __m256i even;
  __m256i odd;
};

template <bool hasThree>
VQ_TARGET_AVX2 inline EndValues valuesAtEnds(const utf8::Neighbours& bytes) {
  const __m256i here = bytes.here;
  const __m256i isContinuing = _mm256_cmpgt_epi8(_mm256_setzero_si256(), here);
  // ASCII keeps its seven bits, a continuation byte its six.
  const __m256i bits0 = _mm256_min_epu8(here, _mm256_xor_si256(here, splat8<0x80>()));
  const __m256i bits6 = _mm256_and_si256(_mm256_and_si256(bytes.before, splat8<0x3F>()), isContinuing);
  const __m256i weights = splat16<64 << 8 | 1>();
  const EndValues low12 = {_mm256_maddubs_epi16(_mm256_unpacklo_epi8(bits0, bits6), weights),
                           _mm256_maddubs_epi16(_mm256_unpackhi_epi8(bits0, bits6), weights)};
  if constexpr (!hasThree) return low12;
  const __m256i isThird = _mm256_and_si256(isContinuing, _mm256_cmpgt_epi8(splat8<0xC0>(), bytes.before));
  // Four bits, put where they stand in the upper byte of the lane.
  const __m256i bits12 =
      _mm256_and_si256(_mm256_and_si256(_mm256_slli_epi16(bytes.twoBefore, 4), splat8<0xF0>()), isThird);
  const __m256i zero = _mm256_setzero_si256();
  return {_mm256_or_si256(low12.even, _mm256_unpacklo_epi8(zero, bits12)),
          _mm256_or_si256(low12.odd, _mm256_unpackhi_epi8(zero, bits12))};
}

// Where elements go. Whole vectors are stored, so up to eight elements behind the last character are written;
// near the end of the target they go by way of a buffer.
template <class Element>
struct Out {
  Element* at;
  Element* end;
};

// Stores the lanes of `set`, for which there is room; tight: perhaps for no whole vector.
template <class Element, bool isTight>
VQ_TARGET_AVX2 inline void storeSqueezed(__m128i lanes, unsigned set, Out<Element>& out) {
  const __m128i order = _mm_load_si128(reinterpret_cast<const __m128i*>(squeeze[set].data()));
  const __m128i squeezed = _mm_shuffle_epi8(lanes, order);
  const auto count = std::popcount(set);
  if (isTight && out.end - out.at < 8) {
    Element buffer[8];
    storeEight(squeezed, buffer);
    for (int i = 0; i < count; ++i) out.at[i] = buffer[i];
  } else {
    storeEight(squeezed, out.at);
  }
  out.at += count;
}

template <class Element, bool isTight>
VQ_TARGET_AVX2 inline void storeHalf(const EndValues& values, uint32_t ends, Out<Element>& out) {
  storeSqueezed<Element, isTight>(_mm256_castsi256_si128(values.even), ends & 0xFF, out);
  storeSqueezed<Element, isTight>(_mm256_castsi256_si128(values.odd), ends >> 8 & 0xFF, out);
  storeSqueezed<Element, isTight>(_mm256_extracti128_si256(values.even, 1), ends >> 16 & 0xFF, out);
  storeSqueezed<Element, isTight>(_mm256_extracti128_si256(values.odd, 1), ends >> 24, out);
}

// The first half of a block: nothing is read in front of the start of a text.
template <bool isStart>
VQ_TARGET_AVX2 inline utf8::Neighbours firstHalf(const uint8_t* source) {
  if constexpr (isStart) return utf8::neighboursAtStart(source);
  return utf8::neighboursOf(source);
}

template <class Element, bool isStart, bool hasThree, bool isTight>
VQ_TARGET_AVX2 inline void convertSqueezed(const uint8_t* source, uint64_t ends, Element* target,
                                           size_t room) {
  Out<Element> out{target, target + room};
  storeHalf<Element, isTight>(valuesAtEnds<hasThree>(firstHalf<isStart>(source)), static_cast<uint32_t>(ends),
                              out);
  storeHalf<Element, isTight>(valuesAtEnds<hasThree>(utf8::neighboursOf(source + 32)),
                              static_cast<uint32_t>(ends >> 32), out);
}

// Four sequences of three bytes in each half, the first at the start of the half.
VQ_TARGET_AVX2 inline __m256i joinThrees(__m256i bytes) {
  const __m128i order = _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
  const __m256i ordered = _mm256_shuffle_epi8(bytes, _mm256_broadcastsi128_si256(order));
  const __m256i bits = _mm256_and_si256(ordered, splat32<0x000F3F3F>());
  return _mm256_madd_epi16(_mm256_maddubs_epi16(bits, splat32<0x00014001>()), splat32<0x10000001>());
}

VQ_TARGET_AVX2 inline __m256i joinFours(__m256i bytes) {
  const __m128i order = _mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12);
  const __m256i ordered = _mm256_shuffle_epi8(bytes, _mm256_broadcastsi128_si256(order));
  const __m256i bits = _mm256_and_si256(ordered, splat32<0x073F3F3F>());
  return _mm256_madd_epi16(_mm256_maddubs_epi16(bits, splat32<0x40014001>()), splat32<0x10000001>());
}

VQ_TARGET_AVX2 inline __m256i loadHalves(const uint8_t* low, const uint8_t* high) {
  return _mm256_inserti128_si256(
      _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(low))),
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(high)), 1);
}

VQ_TARGET_AVX2 inline void storeWide(__m256i values, VQChar* target) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), values);
}
VQ_TARGET_AVX2 inline void storeWide(__m256i values, char16_t* target) {
  const __m256i packed = _mm256_packus_epi32(values, values);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(target),
                   _mm256_castsi256_si128(_mm256_permute4x64_epi64(packed, 0b1000)));
}

// What a block came to: nothing where it has a fault, or no room.
struct BlockResult {
  size_t consumed;
  size_t written;
};

// 21 characters of three bytes.
template <class Element>
VQ_TARGET_AVX2 inline void convertThrees(const uint8_t* source, Element* target) {
  storeWide(joinThrees(loadHalves(source, source + 12)), target);
  storeWide(joinThrees(loadHalves(source + 24, source + 36)), target + 8);
  // The last five: the vectors overlap, and the last half would end three bytes behind the block.
  const __m128i last = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 48));
  const __m128i beforeLast = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 39));
  storeWide(joinThrees(_mm256_set_m128i(_mm_srli_si128(last, 3), beforeLast)), target + 13);
}

template <class Element>
VQ_TARGET_AVX2 inline BlockResult convertWithFours(const uint8_t* source, const BlockShape& shape,
                                                   size_t skipped, Element* target, size_t room) {
  Result result;
  if constexpr (sizeof(Element) == 4) {
    if (skipped == 0 && shape.ends == 0x8888888888888888) {
      storeWide(joinFours(loadBytes(source)), target);
      storeWide(joinFours(loadBytes(source + 32)), target + 8);
      return {64, 16};
    }
    result = portable::utf8ToWide(source + skipped, shape.byteCount - skipped, target, room);
  } else {
    result = portable::utf8ToUtf16(source + skipped, shape.byteCount - skipped, target, room);
  }
  return {result.consumed, result.written};
}

// Converts the block at `source` from source[skipped] on, where a character begins; what is in front of that
// is known to be well-formed. Reads source[-3] to source[63], and at the start of the text nothing before.
template <class Element, bool isStart, bool isTight>
VQ_TARGET_AVX2 inline BlockResult convertBlock(const uint8_t* source, size_t skipped, Element* target,
                                               size_t room) {
  BlockShape shape = shapeOf(source);
  const uint64_t wanted = ~uint64_t{0} << skipped;
  shape.ends &= wanted;
  const auto characters = static_cast<size_t>(std::popcount(shape.ends));
  if (isTight && room < characters) return {0, 0};
  const BlockResult whole{shape.byteCount - skipped, characters};
  if (shape.longStarts == 0) {
    if ((shape.faults & wanted) != 0) return {0, 0};
    convertSqueezed<Element, isStart, false, isTight>(source, shape.ends, target, room);
    return whole;
  }
  const __m256i faults = _mm256_or_si256(utf8::findFaults(firstHalf<isStart>(source)),
                                         utf8::findFaults(utf8::neighboursOf(source + 32)));
  if (!_mm256_testz_si256(faults, faults)) return {0, 0};
  if (shape.fourStarts != 0) return convertWithFours(source, shape, skipped, target, room);
  if (skipped == 0 && shape.ends == 0x4924924924924924) {
    convertThrees(source, target);
    // Constants: the next block can begin before the shape of this one is known.
    return {63, 21};
  }
  convertSqueezed<Element, isStart, true, isTight>(source, shape.ends, target, room);
  return whole;
}

VQ_TARGET_AVX2 inline bool isAscii(const uint8_t* source) {
  return _mm256_movemask_epi8(_mm256_or_si256(loadBytes(source), loadBytes(source + 32))) == 0;
}

template <class Element, Result portableForm(const uint8_t*, size_t, Element*, size_t)>
VQ_TARGET_AVX2 inline Result fromUtf8(const uint8_t* source, size_t byteCount, Element* target,
                                      size_t capacity) {
  size_t at = 0;
  size_t written = 0;
  while (byteCount - at >= shortTail) {
    const size_t left = byteCount - at;
    const size_t skipped = left >= blockBytes ? 0 : blockBytes - left;
    if (skipped > at) break;
    const size_t block = at - skipped;
    if (capacity - written >= blockBytes - skipped && isAscii(source + block)) {
      // What was skipped is ASCII too and is written once more.
      widenAscii(source + block, target + written - skipped);
      at += blockBytes - skipped;
      written += blockBytes - skipped;
      continue;
    }
    if (block != 0 && block < lookBack) break;
    const size_t room = capacity - written;
    const BlockResult made =
        block == 0 ? convertBlock<Element, true, true>(source, skipped, target, room)
        : room < blockBytes + 8
            ? convertBlock<Element, false, true>(source + block, skipped, target + written, room)
            : convertBlock<Element, false, false>(source + block, skipped, target + written, room);
    if (made.consumed == 0) break;
    at += made.consumed;
    written += made.written;
  }
  const Result rest = portableForm(source + at, byteCount - at, target + written, capacity - written);
  return {rest.status, at + rest.consumed, written + rest.written};
}

}  // namespace

VQ_TARGET_AVX2 Result utf8ToWide(const uint8_t* source, size_t byteCount, VQChar* target, size_t capacity) {
  return fromUtf8<VQChar, portable::utf8ToWide>(source, byteCount, target, capacity);
}

VQ_TARGET_AVX2 Result utf8ToUtf16(const uint8_t* source, size_t byteCount, char16_t* target,
                                  size_t capacity) {
  return fromUtf8<char16_t, portable::utf8ToUtf16>(source, byteCount, target, capacity);
}

}  // namespace vq::transcode::avx2

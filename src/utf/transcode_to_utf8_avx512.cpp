// Wide text to UTF-8 with AVX-512.
//
// The source is taken in blocks of up to 32 elements; loads and stores under a mask let the last one be of
// any length. Every element makes its bytes in a lane of its own, of 16 bits where all are below U+0800 and
// of 32 otherwise, and the bytes that count are compressed into one vector; where all elements have as many
// bytes, a fixed permutation does it. A block with an element that is no scalar value goes to the portable
// form.
#include <bit>

#include "text/avx512.hpp"
#include "utf/transcode_avx512.hpp"
#include "utf/transcode_portable.hpp"

namespace vq::transcode::avx512 {

namespace {

constexpr size_t groupSize = 16;
constexpr size_t blockElements = 2 * groupSize;
constexpr size_t asciiRun = 4 * groupSize;
constexpr size_t vectorBytes = 64;
constexpr size_t notMade = SIZE_MAX;

using vq::avx512::lowBits;
using vq::avx512::storeShort;

VQ_TARGET_AVX512 inline __m512i splat32(uint32_t word) {
  return _mm512_set1_epi32(static_cast<int>(word));
}
VQ_TARGET_AVX512 inline bool isBelow(__m512i values, uint32_t powerOfTwo) {
  return _mm512_test_epi32_mask(values, splat32(~(powerOfTwo - 1))) == 0;
}

// Stores the chosen bytes of `bytes`; `notMade` where they have no room.
VQ_TARGET_AVX512 inline size_t storeChosen(__m512i bytes, uint64_t chosen, uint8_t* target, size_t room) {
  const auto count = static_cast<size_t>(std::popcount(chosen));
  const __m512i together = _mm512_maskz_compress_epi8(chosen, bytes);
  if (room < count) return notMade;
  storeShort(target, together, count, room);
  return count;
}

// The 64 elements as bytes, when all are ASCII.
VQ_TARGET_AVX512 inline bool narrowAscii(const VQChar* source, uint8_t* target) {
  const __m512i a = _mm512_loadu_si512(source);
  const __m512i b = _mm512_loadu_si512(source + 16);
  const __m512i c = _mm512_loadu_si512(source + 32);
  const __m512i d = _mm512_loadu_si512(source + 48);
  if (!isBelow(_mm512_or_si512(_mm512_or_si512(a, b), _mm512_or_si512(c, d)), 0x80)) return false;
  const __m512i bytes = _mm512_packus_epi16(_mm512_packus_epi32(a, b), _mm512_packus_epi32(c, d));
  const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
  _mm512_storeu_si512(target, _mm512_permutexvar_epi32(order, bytes));
  return true;
}

// The first `count` of 32 elements up to U+07FF.
VQ_TARGET_AVX512 inline size_t encodeUpToTwo(__m512i a, __m512i b, size_t count, uint8_t* target,
                                             size_t room) {
  const __m512i units =
      _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), _mm512_packus_epi32(a, b));
  const uint64_t beyondAscii = _mm512_cmpgt_epu16_mask(units, _mm512_set1_epi16(0x7F));
  const __m512i second = _mm512_and_si512(_mm512_slli_epi16(units, 8), _mm512_set1_epi16(0x3F00));
  const __m512i payload = _mm512_or_si512(_mm512_srli_epi16(units, 6), second);
  const __m512i two = _mm512_or_si512(payload, splat32(0x80C080C0));
  const __m512i bytes = _mm512_mask_blend_epi16(static_cast<__mmask32>(beyondAscii), units, two);
  const uint64_t chosen =
      (0x5555555555555555 | _pdep_u64(beyondAscii, 0xAAAAAAAAAAAAAAAA)) & lowBits(2 * count);
  return storeChosen(bytes, chosen, target, room);
}

// From its lowest byte a lane holds the payload of the first of four bytes, of three, of two, and of the
// last.
VQ_TARGET_AVX512 inline __m512i payloadOf(__m512i c) {
  const __m512i spread = _mm512_multishift_epi64_epi8(_mm512_set1_epi64(0x20262C3200060C12), c);
  return _mm512_and_si512(spread, splat32(0x3F3F3F07));
}

VQ_TARGET_AVX512 inline uint32_t surrogatesOf(__m512i c) {
  return _mm512_cmpeq_epi32_mask(_mm512_and_si512(c, splat32(~0x7FFu)), splat32(0xD800));
}

// The first `count` of sixteen elements; `notMade` also where one of them is no scalar value.
template <int longest>
VQ_TARGET_AVX512 inline size_t encodeGroup(__m512i c, size_t count, uint8_t* target, size_t room) {
  uint32_t faults = surrogatesOf(c);
  const __mmask16 isAscii = _mm512_cmplt_epu32_mask(c, splat32(0x80));
  __m512i markers = _mm512_mask_blend_epi32(_mm512_cmpgt_epu32_mask(c, splat32(0x7FF)), splat32(0x80C00000),
                                            splat32(0x8080E000));
  if constexpr (longest == 4) {
    markers =
        _mm512_mask_mov_epi32(markers, _mm512_cmpgt_epu32_mask(c, splat32(0xFFFF)), splat32(0x808080F0));
    faults |= _mm512_cmpgt_epu32_mask(c, splat32(0x10FFFF));
  }
  if (faults != 0) return notMade;
  // The bytes of longer sequences than its own stay zero.
  const __m512i bytes = _mm512_mask_slli_epi32(_mm512_or_si512(payloadOf(c), markers), isAscii, c, 24);
  const uint64_t chosen = (_mm512_test_epi8_mask(bytes, bytes) | 0x8888888888888888) & lowBits(4 * count);
  return storeChosen(bytes, chosen, target, room);
}

// Thirty-two elements that have three bytes each, into room for a vector behind the first half.
VQ_TARGET_AVX512 inline void encodeThrees(__m512i a, __m512i b, uint8_t* target) {
  const __m512i lastThree = _mm512_setr_epi32(0x05030201, 0x0A090706, 0x0F0E0D0B, 0x15131211, 0x1A191716,  //
                                              0x1F1E1D1B, 0x25232221, 0x2A292726, 0x2F2E2D2B, 0x35333231,
                                              0x3A393736, 0x3F3E3D3B, 0, 0, 0, 0);
  const __m512i markers = splat32(0x8080E000);
  _mm512_storeu_si512(target, _mm512_permutexvar_epi8(lastThree, _mm512_or_si512(payloadOf(a), markers)));
  _mm512_storeu_si512(target + 3 * groupSize,
                      _mm512_permutexvar_epi8(lastThree, _mm512_or_si512(payloadOf(b), markers)));
}

VQ_TARGET_AVX512 inline void encodeFours(__m512i a, __m512i b, uint8_t* target) {
  const __m512i markers = splat32(0x808080F0);
  _mm512_storeu_si512(target, _mm512_or_si512(payloadOf(a), markers));
  _mm512_storeu_si512(target + 4 * groupSize, _mm512_or_si512(payloadOf(b), markers));
}

// A block or what is left of one.
struct Block {
  __m512i a;
  __m512i b;
  size_t count;
};

VQ_TARGET_AVX512 inline Block loadWhole(const VQChar* source) {
  return {_mm512_loadu_si512(source), _mm512_loadu_si512(source + groupSize), blockElements};
}

VQ_TARGET_AVX512 inline Block loadBlock(const VQChar* source, size_t left) {
  if (left >= blockElements) return loadWhole(source);
  const auto wanted = static_cast<uint32_t>(lowBits(left));
  return {_mm512_maskz_loadu_epi32(static_cast<__mmask16>(wanted), source),
          _mm512_maskz_loadu_epi32(static_cast<__mmask16>(wanted >> groupSize), source + groupSize), left};
}

struct Progress {
  size_t consumed;
  size_t written;
};

// Elements up to U+FFFF, or any. Stops in front of the group that could not be made.
template <int longest>
VQ_TARGET_AVX512 inline Progress encodeGroups(const Block& block, uint8_t* target, size_t room) {
  const size_t firstCount = block.count < groupSize ? block.count : groupSize;
  const size_t first = encodeGroup<longest>(block.a, firstCount, target, room);
  if (first == notMade) return {0, 0};
  if (block.count == firstCount) return {firstCount, first};
  const size_t second = encodeGroup<longest>(block.b, block.count - firstCount, target + first, room - first);
  if (second == notMade) return {firstCount, first};
  return {block.count, first + second};
}

VQ_TARGET_AVX512 inline Progress encodeBlock(const Block& block, uint8_t* target, size_t room) {
  const __m512i all = _mm512_or_si512(block.a, block.b);
  if (isBelow(all, 0x800)) {
    const size_t made = encodeUpToTwo(block.a, block.b, block.count, target, room);
    return made == notMade ? Progress{0, 0} : Progress{block.count, made};
  }
  const __m512i least = _mm512_min_epu32(block.a, block.b);
  const bool isWhole = block.count == blockElements && room >= 2 * vectorBytes;
  if (isBelow(all, 0x10000)) {
    if (isWhole && _mm512_cmplt_epu32_mask(least, splat32(0x800)) == 0) {
      if ((surrogatesOf(block.a) | surrogatesOf(block.b)) != 0) return {0, 0};
      encodeThrees(block.a, block.b, target);
      return {blockElements, 3 * blockElements};
    }
    return encodeGroups<3>(block, target, room);
  }
  if (isWhole && _mm512_cmplt_epu32_mask(least, splat32(0x10000)) == 0) {
    const __m512i greatest = _mm512_max_epu32(block.a, block.b);
    if (_mm512_cmpgt_epu32_mask(greatest, splat32(0x10FFFF)) != 0) return {0, 0};
    encodeFours(block.a, block.b, target);
    return {blockElements, 4 * blockElements};
  }
  return encodeGroups<4>(block, target, room);
}

// Out of line, so that a short text pays for no frame.
[[gnu::noinline]] VQ_TARGET_AVX512 Result encodeLong(const VQChar* source, size_t elementCount,
                                                     uint8_t* target, size_t capacity) {
  size_t at = 0;
  size_t written = 0;
  bool wasAscii = true;
  while (at < elementCount) {
    const size_t left = elementCount - at;
    const size_t room = capacity - written;
    if (wasAscii && left >= asciiRun && room >= asciiRun && narrowAscii(source + at, target + written)) {
      at += asciiRun;
      written += asciiRun;
      continue;
    }
    // Where there is room for any block, no store needs to look for it.
    const bool isWhole = left >= blockElements && room >= 4 * blockElements;
    const Progress made = isWhole ? encodeBlock(loadWhole(source + at), target + written, SIZE_MAX)
                                  : encodeBlock(loadBlock(source + at, left), target + written, room);
    if (made.consumed == 0) break;
    at += made.consumed;
    written += made.written;
    wasAscii = made.consumed == made.written;
  }
  if (at == elementCount) return {0, at, written};
  const Result rest =
      portable::wideToUtf8(source + at, elementCount - at, target + written, capacity - written);
  return {rest.status, at + rest.consumed, written + rest.written};
}

}  // namespace

VQ_TARGET_AVX512 Result wideToUtf8(const VQChar* source, size_t elementCount, uint8_t* target,
                                   size_t capacity) {
  if (elementCount > groupSize) return encodeLong(source, elementCount, target, capacity);
  const auto present = static_cast<__mmask16>(lowBits(elementCount));
  const __m512i all = _mm512_maskz_loadu_epi32(present, source);
  if (elementCount <= capacity && isBelow(all, 0x80)) {
    storeShort(target, _mm512_castsi128_si512(_mm512_cvtepi32_epi8(all)), elementCount, capacity);
    return {0, elementCount, elementCount};
  }
  const size_t made = encodeGroup<4>(all, elementCount, target, capacity);
  if (made == notMade) return portable::wideToUtf8(source, elementCount, target, capacity);
  return {0, elementCount, made};
}

}  // namespace vq::transcode::avx512

// Copying plain text with AVX-512.
//
// Long texts go by strides of four blocks, which are checked and stored at once; blocks that would reach
// beyond the end are moved back over what has been copied. Short texts, and the stride that is found not to
// be plain, go by single blocks under a mask, which tell the place of the first byte that is not plain and
// store no byte beyond it.
#include <algorithm>
#include <bit>

#include "utf/utf8_blocks_avx512.hpp"
#include "utf/utf8_plain.hpp"

namespace vq::utf8::avx512 {

namespace {

constexpr size_t strideBlocks = 4;
constexpr size_t stride = strideBlocks * blockBytes;
// Shorter texts end within two blocks.
constexpr size_t leastStrideBytes = 2 * blockBytes + 4;
// The bytes in front of a block that have a say in it.
constexpr size_t lookBack = 3;
// A stride stores up to three bytes of a character that the next one may find broken. Whatever a translator
// puts next covers them, where six bytes have room.
constexpr size_t reserve = 6;

VQ_TARGET_AVX512 inline void storeBlock(uint8_t* target, __m512i bytes) {
  _mm512_storeu_si512(target, bytes);
}
VQ_TARGET_AVX512 inline void storeSome(uint8_t* target, uint64_t valid, __m512i bytes) {
  _mm512_mask_storeu_epi8(target, valid, bytes);
}

VQ_TARGET_AVX512 inline __mmask64 anyOf(__mmask64 a, __mmask64 b) {
  return _kor_mask64(a, b);
}

// The least byte that no plain text has.
template <Plain plain>
constexpr uint8_t beyondPlain = plain == Plain::fromPairs ? 0xF5 : 0xF0;

// The second bytes of encoded surrogates.
VQ_TARGET_AVX512 inline __mmask64 findSurrogates(__m512i here, const Before& before) {
  const __mmask64 follows = _mm512_cmpeq_epi8_mask(before.one, splat8<0xED>());
  return _mm512_mask_test_epi8_mask(follows, here, splat8<0x20>());
}
// 0xC0 and 0xC1.
VQ_TARGET_AVX512 inline __mmask64 findOverlong(__m512i here) {
  return _mm512_testn_epi8_mask(_mm512_xor_si512(here, splat8<0xC0>()), splat8<0xFE>());
}

// The bytes that are not plain, in a block that begins with a character.
template <Plain plain>
VQ_TARGET_AVX512 inline uint64_t findOthers(__m512i here) {
  uint64_t others = 0;
  if (const uint64_t notAscii = numberOf(_mm512_movepi8_mask(here)); notAscii != 0) {
    // As signed numbers the continuation bytes are the ones below 0xC0.
    const uint64_t continuations = numberOf(_mm512_cmplt_epi8_mask(here, splat8<0xC0>()));
    uint64_t due = (notAscii & ~continuations) << 1;
    if (const uint64_t three = numberOf(_mm512_cmpge_epu8_mask(here, splat8<0xE0>())); three != 0) {
      const uint64_t four = numberOf(_mm512_cmpge_epu8_mask(here, splat8<0xF0>()));
      due |= three << 2 | four << 3;
      others = numberOf(_mm512_cmpge_epu8_mask(here, splat8<beyondPlain<plain>>()));
      others |= numberOf(_mm512_cmpeq_epi8_mask(here, splat8<0xED>())) << 1 &
                numberOf(_mm512_test_epi8_mask(here, splat8<0x20>()));
    }
    others |= due ^ continuations;
    if constexpr (plain == Plain::fromPairs) others |= numberOf(findOverlong(here));
  }
  if constexpr (plain == Plain::toPairsWithoutZero) others |= numberOf(_mm512_testn_epi8_mask(here, here));
  return others;
}

// Top bit: as findMisplaced, for text in which no byte announces more than `longest`, which is two or three;
// from pairs also 0xC0 and 0xC1. Surrogates pass.
template <Plain plain, int longest>
VQ_TARGET_AVX512 inline __m512i findOthersQuickly(__m512i here, const Before& before) {
  __m512i due;
  if constexpr (longest == 2) {
    due = _mm512_and_si512(before.one, twice(before.one));
  } else {
    due = _mm512_ternarylogic_epi32(before.one, twice(before.one), reaches<0xE0>(before.two),
                                    join::firstTwoOrThird);
  }
  if constexpr (plain != Plain::fromPairs) {
    return _mm512_ternarylogic_epi32(due, here, twice(here), join::firstUnlessSecondAndNotThird);
  } else {
    // Where a byte is due all but continuation bytes are wrong, elsewhere the bytes from 0x80 to 0xC1.
    const __m512i beyondAscii =
        _mm512_ternarylogic_epi32(due, here, twice(here), join::firstChoosesNotSecondOrThirdElseSecond);
    const __m512i isFirst = _mm512_sub_epi8(here, splat8<0xC2 - 0x80>());
    return _mm512_ternarylogic_epi32(beyondAscii, due, isFirst, join::firstUnlessNeitherSecondNorThird);
  }
}

// The same as bits, from pairs, for text that may have surrogates and characters of four bytes.
VQ_TARGET_AVX512 inline __mmask64 findOthersFromPairs(__m512i here, const Before& before) {
  return anyOf(anyOf(_mm512_movepi8_mask(findMisplaced(here, before)), findSurrogates(here, before)),
               findOverlong(here));
}

// Checks and stores a stride, whose first two blocks lie side by side. It opens the text, or three bytes
// stand in front of it.
template <Plain plain, bool isOpening>
VQ_INLINE_AVX512 bool copyStride(const uint8_t* source, uint8_t* target, size_t third = 2 * blockBytes,
                                 size_t fourth = 3 * blockBytes) {
  constexpr size_t second = blockBytes;
  const uint8_t *atB = source + second, *atC = source + third, *atD = source + fourth;
  const __m512i a = loadBlock(source), b = loadBlock(atB), c = loadBlock(atC), d = loadBlock(atD);
  // The last three bytes in front count as well.
  const __m512i largest = _mm512_max_epu8(_mm512_max_epu8(_mm512_max_epu8(a, b), _mm512_max_epu8(c, d)),
                                          isOpening ? a : loadBlock(source - lookBack));
  if (_mm512_movepi8_mask(largest) != 0) {
    const Before beforeA = isOpening ? beforeOpening(a) : beforeBlock(source);
    const auto before = [](const uint8_t* at) VQ_TARGET_AVX512 { return beforeBlock(at); };
    __mmask64 others;
    if (_mm512_cmpge_epu8_mask(largest, splat8<0xE0>()) == 0) {
      others = _mm512_movepi8_mask(avx512::anyOf(
          findOthersQuickly<plain, 2>(a, beforeA), findOthersQuickly<plain, 2>(b, before(atB)),
          findOthersQuickly<plain, 2>(c, before(atC)), findOthersQuickly<plain, 2>(d, before(atD))));
    } else if (_mm512_cmpge_epu8_mask(largest, splat8<0xF0>()) == 0) {
      others = _mm512_movepi8_mask(avx512::anyOf(
          findOthersQuickly<plain, 3>(a, beforeA), findOthersQuickly<plain, 3>(b, before(atB)),
          findOthersQuickly<plain, 3>(c, before(atC)), findOthersQuickly<plain, 3>(d, before(atD))));
      if (_mm512_cmpge_epu8_mask(largest, splat8<0xED>()) != 0) {
        others = anyOf(others, anyOf(anyOf(findSurrogates(a, beforeA), findSurrogates(b, before(atB))),
                                     anyOf(findSurrogates(c, before(atC)), findSurrogates(d, before(atD)))));
      }
    } else {
      if (plain != Plain::fromPairs || _mm512_cmpge_epu8_mask(largest, splat8<0xF5>()) != 0) return false;
      others = anyOf(anyOf(findOthersFromPairs(a, beforeA), findOthersFromPairs(b, before(atB))),
                     anyOf(findOthersFromPairs(c, before(atC)), findOthersFromPairs(d, before(atD))));
    }
    if (others != 0) return false;
  }
  if constexpr (plain == Plain::toPairsWithoutZero) {
    const __m512i least = _mm512_min_epu8(_mm512_min_epu8(a, b), _mm512_min_epu8(c, d));
    if (_mm512_testn_epi8_mask(least, least) != 0) return false;
  }
  storeBlock(target, a);
  storeBlock(target + second, b);
  storeBlock(target + third, c);
  storeBlock(target + fourth, d);
  return true;
}

// Copies by strides and returns the bytes that have been copied, all of them or up to a stride that is not
// plain. All strides but the last leave the reserve behind them.
template <Plain plain>
VQ_TARGET_AVX512 size_t copyStrides(const uint8_t* source, size_t byteCount, uint8_t* target) {
  size_t done = byteCount <= stride ? byteCount : std::min(stride, byteCount - reserve);
  const size_t last = done - blockBytes;
  if (!copyStride<plain, true>(source, target, std::min(2 * blockBytes, last), last)) return 0;
  while (done < byteCount) {
    const size_t behind = byteCount - done <= stride ? 0 : reserve;
    const size_t at = std::min(done, byteCount - stride - behind);
    if (at < lookBack || !copyStride<plain, false>(source + at, target + at)) break;
    done = at + stride;
  }
  return done;
}

// Goes on by blocks from the beginning of a character at `at`, and returns where what is plain ends.
template <Plain plain>
VQ_TARGET_AVX512 inline size_t copyBlocks(const uint8_t* source, size_t at, size_t byteCount,
                                          uint8_t* target) {
  while (at < byteCount) {
    const size_t length = std::min(byteCount - at, blockBytes);
    const uint64_t valid = lowBits(length);
    const __m512i here = loadSome(source + at, valid);
    const uint64_t others = findOthers<plain>(here) & valid;
    size_t whole = others == 0 ? length : static_cast<size_t>(std::countr_zero(others));
    whole -= unfinishedBytes(source + at + whole, whole);
    storeSome(target + at, lowBits(whole), here);
    at += whole;
    if (others != 0 || whole == 0) break;
  }
  return at;
}

}  // namespace

template <Plain plain>
VQ_TARGET_AVX512 size_t copyPlain(const uint8_t* source, size_t byteCount, uint8_t* target) {
  size_t at = 0;
  // What the end cuts off is not plain. Where more in front of it waits for its bytes, no stride looks.
  byteCount -= unfinishedBytes(source + byteCount, byteCount);
  if (byteCount >= leastStrideBytes && unfinishedBytes(source + byteCount, byteCount) == 0) {
    at = copyStrides<plain>(source, byteCount, target);
    if (at == byteCount) return at;
    at -= unfinishedBytes(source + at, at);
  }
  return copyBlocks<plain>(source, at, byteCount, target);
}

template size_t copyPlain<Plain::toPairs>(const uint8_t*, size_t, uint8_t*);
template size_t copyPlain<Plain::toPairsWithoutZero>(const uint8_t*, size_t, uint8_t*);
template size_t copyPlain<Plain::fromPairs>(const uint8_t*, size_t, uint8_t*);

}  // namespace vq::utf8::avx512

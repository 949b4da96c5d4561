// A block passes in one of two gears. The quick one knows text without a byte from 0xED up, which is most
// text: no sequence of four bytes and no surrogate can be there. The thorough one knows everything, and tells
// the place of the first byte that is not plain. Verdicts are in the top bit of each byte.
#include "utf/utf8_plain.hpp"

#include <immintrin.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "text/cpu.hpp"
#include "utf/splat_avx2.hpp"
#include "utf/utf8_blocks_avx2.hpp"

namespace vq::utf8::avx2 {

namespace {

constexpr size_t block = 32;
constexpr size_t stride = 4 * block;
// What is stored ahead of a verdict on its end, up to three bytes of a sequence, is covered by the next
// thing that a translator stores, six bytes at most. Where there is room for that, it will be stored.
constexpr size_t reserve = 6;

VQ_TARGET_AVX2 inline void storeBytes(uint8_t* target, __m256i bytes) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), bytes);
}

// Top bit: the byte is at least `least`, which is over 0x80.
template <uint8_t least>
VQ_TARGET_AVX2 inline __m256i reaches(__m256i bytes) {
  return _mm256_subs_epu8(bytes, splat8<least - 0x80>());
}
VQ_TARGET_AVX2 inline __m256i isContinuation(__m256i bytes) {
  return _mm256_cmpgt_epi8(splat8<0xC0>(), bytes);
}

// A bit for each byte that is not plain.
template <Plain plain>
VQ_TARGET_AVX2 inline uint32_t findOthers(const Neighbours& window) {
  const __m256i due =
      _mm256_or_si256(_mm256_or_si256(reaches<0xC0>(window.before), reaches<0xE0>(window.twoBefore)),
                      reaches<0xF0>(window.threeBefore));
  const __m256i isMisplaced = _mm256_xor_si256(due, isContinuation(window.here));
  // Of the bytes that can continue, those from 0xA0 up have bit 5.
  const __m256i isSurrogate =
      _mm256_and_si256(_mm256_cmpeq_epi8(window.before, splat8<0xED>()), _mm256_slli_epi16(window.here, 2));
  __m256i others = _mm256_or_si256(isMisplaced, isSurrogate);
  if (plain == Plain::fromPairs) {
    const __m256i isOverlong =
        _mm256_cmpeq_epi8(_mm256_and_si256(window.here, splat8<0xFE>()), splat8<0xC0>());
    others = _mm256_or_si256(others, _mm256_or_si256(isOverlong, reaches<0xF5>(window.here)));
  } else {
    others = _mm256_or_si256(others, reaches<0xF0>(window.here));
  }
  if (plain == Plain::toPairsWithoutZero) {
    others = _mm256_or_si256(others, _mm256_cmpeq_epi8(window.here, _mm256_setzero_si256()));
  }
  return static_cast<uint32_t>(_mm256_movemask_epi8(others));
}

VQ_TARGET_AVX2 inline __m256i smallest(__m256i a, __m256i b, __m256i c, __m256i d) {
  return _mm256_min_epu8(_mm256_min_epu8(a, b), _mm256_min_epu8(c, d));
}
VQ_TARGET_AVX2 inline __m256i largest(__m256i a, __m256i b, __m256i c, __m256i d) {
  return _mm256_max_epu8(_mm256_max_epu8(a, b), _mm256_max_epu8(c, d));
}
VQ_TARGET_AVX2 inline bool hasNoTopBit(__m256i bytes) {
  return _mm256_movemask_epi8(bytes) == 0;
}

VQ_TARGET_AVX2 inline __m256i findMisplaced(__m256i here, const uint8_t* at) {
  const __m256i due = _mm256_or_si256(reaches<0xC0>(loadBytes(at - 1)), reaches<0xE0>(loadBytes(at - 2)));
  return _mm256_xor_si256(due, isContinuation(here));
}

// Four blocks in the quick gear; stores them when they are plain. What it turns down may yet be plain.
template <Plain plain>
VQ_TARGET_AVX2 inline bool copyQuickly(const uint8_t* at, uint8_t* target) {
  const __m256i a = loadBytes(at);
  const __m256i b = loadBytes(at + block);
  const __m256i c = loadBytes(at + 2 * block);
  const __m256i d = loadBytes(at + 3 * block);
  if (plain == Plain::toPairsWithoutZero) {
    const __m256i isZero = _mm256_cmpeq_epi8(smallest(a, b, c, d), _mm256_setzero_si256());
    if (!hasNoTopBit(isZero)) return false;
  }
  // The last three bytes in front count as well.
  const __m256i most = _mm256_max_epu8(largest(a, b, c, d), loadBytes(at - 3));
  if (!hasNoTopBit(most)) {
    if (!hasNoTopBit(reaches<0xED>(most))) return false;
    if (plain == Plain::fromPairs) {
      // Moved so that the first bytes lie lowest.
      const __m256i up = splat8<0x40>();
      const __m256i least = smallest(_mm256_add_epi8(a, up), _mm256_add_epi8(b, up), _mm256_add_epi8(c, up),
                                     _mm256_add_epi8(d, up));
      if (!hasNoTopBit(_mm256_cmpgt_epi8(splat8<2>(), _mm256_min_epu8(least, splat8<2>())))) return false;
    }
    const __m256i misplaced =
        _mm256_or_si256(_mm256_or_si256(findMisplaced(a, at), findMisplaced(b, at + block)),
                        _mm256_or_si256(findMisplaced(c, at + 2 * block), findMisplaced(d, at + 3 * block)));
    if (!hasNoTopBit(misplaced)) return false;
  }
  storeBytes(target, a);
  storeBytes(target + block, b);
  storeBytes(target + 2 * block, c);
  storeBytes(target + 3 * block, d);
  return true;
}

template <Plain plain>
VQ_TARGET_AVX2 size_t copyByBlocks(const uint8_t* source, size_t byteCount, uint8_t* target, size_t room) {
  constexpr size_t lookBack = 3;
  const size_t storable = room < reserve ? 0 : room - reserve;
  size_t at = 0;
  size_t stored = 0;
  uint32_t others = findOthers<plain>(neighboursAtStart(source));
  while (others == 0) {
    if (at + block <= storable) {
      storeBytes(target + at, loadBytes(source + at));
      stored = at + block;
    }
    at += block;
    const size_t most = std::min(byteCount, storable);
    while (at + stride <= most && copyQuickly<plain>(source + at, target + at)) {
      at += stride;
      stored = at;
    }
    if (at == byteCount) break;
    if (byteCount - at < block) {
      // The last block overlaps what has been copied.
      if (byteCount - block < lookBack) break;
      others = findOthers<plain>(neighboursOf(source + byteCount - block));
      at = others == 0 ? byteCount : byteCount - block;
      break;
    }
    others = findOthers<plain>(neighboursOf(source + at));
  }
  size_t end = at + (others == 0 ? 0 : static_cast<size_t>(std::countr_zero(others)));
  if (end < lookBack) return 0;
  end -= unfinishedBytes(source + end);
  if (end > stored) std::memcpy(target + stored, source + stored, end - stored);
  return end;
}

}  // namespace

template <Plain plain>
size_t copyPlain(const uint8_t* source, size_t byteCount, uint8_t* target, size_t room) {
  byteCount = std::min(byteCount, room);
  return byteCount < leastPlainBytes ? 0 : copyByBlocks<plain>(source, byteCount, target, room);
}

template size_t copyPlain<Plain::toPairs>(const uint8_t*, size_t, uint8_t*, size_t);
template size_t copyPlain<Plain::toPairsWithoutZero>(const uint8_t*, size_t, uint8_t*, size_t);
template size_t copyPlain<Plain::fromPairs>(const uint8_t*, size_t, uint8_t*, size_t);

}  // namespace vq::utf8::avx2

// A byte is due to continue a character when one of the three bytes before it announces so much: one first
// byte from 0xC0 up directly before it, one from 0xE0 up two places before, one from 0xF0 up three. In
// regular text exactly the bytes that are due are continuation bytes.
#include "utf/utf8_regular.hpp"

#include <immintrin.h>

#include "text/cpu.hpp"
#include "utf/splat_avx2.hpp"

namespace vq::utf8 {

namespace {

VQ_TARGET_AVX2 inline __m256i loadBytes(const uint8_t* bytes) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

// What blocks have come to, in lanes of a byte.
struct Lanes {
  __m256i faults;         // not zero: a byte that continues and is not due, or the reverse
  __m256i continuations;  // -1 for each
  __m256i largest;
};

VQ_TARGET_AVX2 inline void addBlock(const uint8_t* at, Lanes& lanes) {
  const __m256i here = loadBytes(at);
  const __m256i isContinuation = _mm256_cmpgt_epi8(splat8<0xC0>(), here);
  const __m256i due = _mm256_or_si256(_mm256_or_si256(_mm256_subs_epu8(loadBytes(at - 1), splat8<0xBF>()),
                                                      _mm256_subs_epu8(loadBytes(at - 2), splat8<0xDF>())),
                                      _mm256_subs_epu8(loadBytes(at - 3), splat8<0xEF>()));
  const __m256i isNotDue = _mm256_cmpeq_epi8(due, _mm256_setzero_si256());
  lanes.faults = _mm256_or_si256(lanes.faults, _mm256_cmpeq_epi8(isNotDue, isContinuation));
  lanes.continuations = _mm256_add_epi8(lanes.continuations, isContinuation);
  lanes.largest = _mm256_max_epu8(lanes.largest, here);
}

VQ_TARGET_AVX2 inline size_t countFrom(const uint8_t* at, size_t blocks, __m256i least) {
  size_t count = 0;
  for (; blocks > 0; --blocks, at += 32) {
    const __m256i here = loadBytes(at);
    const __m256i isThere = _mm256_cmpeq_epi8(_mm256_max_epu8(here, least), here);
    count += static_cast<size_t>(__builtin_popcount(static_cast<unsigned>(_mm256_movemask_epi8(isThere))));
  }
  return count;
}

VQ_TARGET_AVX2 inline bool reaches(__m256i lanes, __m256i least) {
  return _mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_max_epu8(lanes, least), lanes)) != 0;
}

// The bytes at the end of `text` that begin a character and do not finish it.
size_t unfinishedBytes(const uint8_t* end) {
  if (end[-1] >= 0xC0) return 1;
  if (end[-2] >= 0xE0) return 2;
  return end[-3] >= 0xF0 ? 3 : 0;
}

// Adds `blocks` blocks of 32 bytes to `regular` when they continue it.
template <size_t blocks>
VQ_TARGET_AVX2 inline bool addRegular(const uint8_t* at, Regular& regular) {
  __m256i all = loadBytes(at);
  for (size_t i = 1; i < blocks; ++i) all = _mm256_or_si256(all, loadBytes(at + 32 * i));
  if (_mm256_movemask_epi8(all) == 0) {
    if (unfinishedBytes(at) != 0) return false;
    regular.characterCount += 32 * blocks;
    regular.byteCount += 32 * blocks;
    return true;
  }
  const __m256i zero = _mm256_setzero_si256();
  Lanes lanes{zero, zero, zero};
  for (size_t i = 0; i < blocks; ++i) addBlock(at + 32 * i, lanes);
  if (!_mm256_testz_si256(lanes.faults, lanes.faults)) return false;
  if (reaches(lanes.largest, splat8<0xF0>())) {
    if (reaches(lanes.largest, splat8<0xF8>())) return false;
    regular.fourByteCount += countFrom(at, blocks, splat8<0xF0>());
  }
  const __m256i sums = _mm256_sad_epu8(_mm256_sub_epi8(zero, lanes.continuations), zero);
  const __m128i pair = _mm_add_epi64(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
  const auto continuations =
      static_cast<size_t>(_mm_cvtsi128_si64(pair)) + static_cast<size_t>(_mm_extract_epi64(pair, 1));
  regular.characterCount += 32 * blocks - continuations;
  regular.byteCount += 32 * blocks;
  return true;
}

VQ_TARGET_AVX2 Regular regularPrefixAvx2(const uint8_t* text, size_t byteCount) {
  Regular regular;
  // In broken text the bytes in front may announce what the walk has not gone by.
  if (unfinishedBytes(text) != 0) return regular;
  while (byteCount - regular.byteCount >= 128 && addRegular<4>(text + regular.byteCount, regular)) {
  }
  while (byteCount - regular.byteCount >= 32 && addRegular<1>(text + regular.byteCount, regular)) {
  }
  if (regular.byteCount == 0) return regular;
  const uint8_t* end = text + regular.byteCount;
  if (const size_t unfinished = unfinishedBytes(end); unfinished != 0) {
    regular.byteCount -= unfinished;
    regular.characterCount -= 1;
    regular.fourByteCount -= *(end - unfinished) >= 0xF0;
  }
  return regular;
}

template <class Matches>
VQ_TARGET_AVX2 inline bool anyByte(const uint8_t* at, size_t blocks, Matches matches) {
  __m256i found = _mm256_setzero_si256();
  for (; blocks > 0; --blocks, at += 32) found = _mm256_or_si256(found, matches(at));
  return !_mm256_testz_si256(found, found);
}

struct IsZero {
  VQ_TARGET_AVX2 __m256i operator()(const uint8_t* at) const {
    return _mm256_cmpeq_epi8(loadBytes(at), _mm256_setzero_si256());
  }
};
struct IsOverlongTwo {
  VQ_TARGET_AVX2 __m256i operator()(const uint8_t* at) const {
    return _mm256_cmpeq_epi8(_mm256_and_si256(loadBytes(at), splat8<0xFE>()), splat8<0xC0>());
  }
};
struct IsInSurrogate {
  VQ_TARGET_AVX2 __m256i operator()(const uint8_t* at) const {
    const __m256i here = loadBytes(at);
    const __m256i isUpper = _mm256_cmpeq_epi8(_mm256_max_epu8(here, splat8<0xA0>()), here);
    return _mm256_and_si256(_mm256_cmpeq_epi8(loadBytes(at - 1), splat8<0xED>()), isUpper);
  }
};

template <Plain plain, size_t blocks>
VQ_TARGET_AVX2 inline bool isPlain(const uint8_t* at) {
  if (plain == Plain::toPairsWithoutZero && anyByte(at, blocks, IsZero{})) return false;
  __m256i all = loadBytes(at);
  for (size_t i = 1; i < blocks; ++i) all = _mm256_or_si256(all, loadBytes(at + 32 * i));
  if (_mm256_movemask_epi8(all) == 0) return unfinishedBytes(at) == 0;
  const __m256i zero = _mm256_setzero_si256();
  Lanes lanes{zero, zero, zero};
  for (size_t i = 0; i < blocks; ++i) addBlock(at + 32 * i, lanes);
  if (!_mm256_testz_si256(lanes.faults, lanes.faults)) return false;
  if (plain == Plain::fromPairs) {
    if (reaches(lanes.largest, splat8<0xF5>()) || anyByte(at, blocks, IsOverlongTwo{})) return false;
  } else if (reaches(lanes.largest, splat8<0xF0>())) {
    return false;
  }
  // 0xED itself may be the last byte of the block before.
  const bool hasNoSurrogate = !reaches(lanes.largest, splat8<0xED>()) && at[-1] != 0xED;
  return hasNoSurrogate || !anyByte(at, blocks, IsInSurrogate{});
}

template <Plain plain>
VQ_TARGET_AVX2 size_t plainPrefixAvx2(const uint8_t* text, size_t byteCount) {
  size_t at = 0;
  if (unfinishedBytes(text) != 0) return 0;
  while (byteCount - at >= 128 && isPlain<plain, 4>(text + at)) at += 128;
  while (byteCount - at >= 32 && isPlain<plain, 1>(text + at)) at += 32;
  return at == 0 ? 0 : at - unfinishedBytes(text + at);
}

}  // namespace

size_t plainPrefix(const uint8_t* text, size_t at, size_t byteCount, Plain plain) {
  if (at < lookBack || byteCount - at < 32 || !cpu::hasAvx2()) return 0;
  if (plain == Plain::toPairs) return plainPrefixAvx2<Plain::toPairs>(text + at, byteCount - at);
  if (plain == Plain::fromPairs) return plainPrefixAvx2<Plain::fromPairs>(text + at, byteCount - at);
  return plainPrefixAvx2<Plain::toPairsWithoutZero>(text + at, byteCount - at);
}

Regular regularBlocks(const uint8_t* text, size_t at, size_t byteCount) {
  return cpu::hasAvx2() ? regularPrefixAvx2(text + at, byteCount - at) : Regular{};
}

}  // namespace vq::utf8

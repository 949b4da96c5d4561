// A byte is due to continue a character when one of the three bytes before it announces so much: one first
// byte from 0xC0 up directly before it, one from 0xE0 up two places before, one from 0xF0 up three. In
// regular text exactly the bytes that are due are continuation bytes.
#include "utf/utf8_regular.hpp"

#include <immintrin.h>

#include "text/cpu.hpp"
#include "utf/splat_avx2.hpp"
#include "utf/utf8_blocks_avx2.hpp"

namespace vq::utf8::avx2 {

namespace {

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

VQ_TARGET_AVX2 inline size_t countBits(uint64_t mask) {
  return static_cast<size_t>(__builtin_popcountll(mask));
}
// The highest bit alone.
VQ_TARGET_AVX2 inline uint64_t lastBit(uint64_t mask) {
  return mask == 0 ? 0 : uint64_t{1} << 63 >> __builtin_clzll(mask);
}
VQ_TARGET_AVX2 inline uint64_t maskOf(__m256i bytes) {
  return static_cast<uint32_t>(_mm256_movemask_epi8(bytes));
}
VQ_TARGET_AVX2 inline __m256i from(__m256i least, __m256i bytes) {
  return _mm256_cmpeq_epi8(_mm256_max_epu8(bytes, least), bytes);
}

// A text of 4 to 64 bytes, a bit for each. It is read in two pieces, the second one ending with it, and their
// bits are laid over each other.
struct Short {
  size_t byteCount;
  uint64_t beyondAscii;
  uint64_t continuations;
  uint64_t firstOfThree;  // or more
  uint64_t firstOfFour;
  uint64_t firstOfFive;
};

VQ_TARGET_AVX2 inline Short shortOf(__m256i a, __m256i b, size_t byteCount) {
  const size_t place = byteCount - 32;
  const auto lay = [place](uint64_t first, uint64_t second) { return first | second << place; };
  return {byteCount,
          lay(maskOf(a), maskOf(b)),
          lay(maskOf(_mm256_cmpgt_epi8(splat8<0xC0>(), a)), maskOf(_mm256_cmpgt_epi8(splat8<0xC0>(), b))),
          lay(maskOf(from(splat8<0xE0>(), a)), maskOf(from(splat8<0xE0>(), b))),
          lay(maskOf(from(splat8<0xF0>(), a)), maskOf(from(splat8<0xF0>(), b))),
          lay(maskOf(from(splat8<0xF8>(), a)), maskOf(from(splat8<0xF8>(), b)))};
}

VQ_TARGET_AVX2 inline Short readUpTo64(const uint8_t* text, size_t byteCount) {
  return shortOf(loadBytes(text), loadBytes(text + byteCount - 32), byteCount);
}

// Up to 32: both pieces in one vector, filled with zeros.
VQ_TARGET_AVX2 inline Short readUpTo32(const uint8_t* text, size_t byteCount) {
  const size_t pieceBytes = byteCount >= 16 ? 16 : byteCount >= 8 ? 8 : 4;
  const size_t place = byteCount - pieceBytes;
  __m128i first;
  __m128i second;
  if (pieceBytes == 16) {
    first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + place));
  } else if (pieceBytes == 8) {
    first = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(text));
    second = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(text + place));
  } else {
    first = _mm_loadu_si32(text);
    second = _mm_loadu_si32(text + place);
  }
  const __m256i both = _mm256_inserti128_si256(_mm256_castsi128_si256(first), second, 1);
  const auto lay = [place](uint64_t mask) { return (mask & 0xFFFF) | mask >> 16 << place; };
  return {byteCount,
          lay(maskOf(both)),
          lay(maskOf(_mm256_cmpgt_epi8(splat8<0xC0>(), both))),
          lay(maskOf(from(splat8<0xE0>(), both))),
          lay(maskOf(from(splat8<0xF0>(), both))),
          lay(maskOf(from(splat8<0xF8>(), both)))};
}

// A bit for each byte that continues and is not due, or the reverse, and for first bytes of five and more.
VQ_TARGET_AVX2 inline uint64_t faultsOf(const Short& text) {
  const uint64_t firsts = text.beyondAscii & ~text.continuations;
  const uint64_t due = firsts << 1 | text.firstOfThree << 2 | text.firstOfFour << 3;
  return (due ^ text.continuations) | text.firstOfFive;
}

// The whole of a short text when it is regular, but for a character that its end cuts off: that one counts
// as if it were whole.
VQ_TARGET_AVX2 inline Regular judge(const Short& text) {
  if (text.beyondAscii == 0) return {text.byteCount, text.byteCount, 0};
  if (faultsOf(text) << (64 - text.byteCount) != 0) return {};
  return {text.byteCount, text.byteCount - static_cast<size_t>(__builtin_popcountll(text.continuations)),
          static_cast<size_t>(__builtin_popcountll(text.firstOfFour))};
}

// What is left behind the whole blocks, as the end of one more block.
VQ_TARGET_AVX2 inline void addTail(const uint8_t* end, size_t byteCount, Regular& regular) {
  const uint8_t* at = end - 32;
  const __m256i zero = _mm256_setzero_si256();
  Lanes lanes{zero, zero, zero};
  addBlock(at, lanes);
  if (!_mm256_testz_si256(lanes.faults, lanes.faults) || reaches(lanes.largest, splat8<0xF8>())) return;
  const size_t known = 32 - byteCount;
  const auto countNew = [known](uint64_t mask) {
    return static_cast<size_t>(__builtin_popcountll(mask >> known));
  };
  regular.byteCount += byteCount;
  regular.characterCount += byteCount - countNew(maskOf(lanes.continuations));
  regular.fourByteCount += countNew(maskOf(from(splat8<0xF0>(), loadBytes(at))));
}

}  // namespace

VQ_TARGET_AVX2 Regular regularPrefix(const uint8_t* text, size_t byteCount) {
  Regular regular;
  if (byteCount <= 32) {
    regular = judge(readUpTo32(text, byteCount));
  } else {
    // Nothing stands before the first bytes, so they are read apart.
    regular = judge(readUpTo64(text, byteCount < 64 ? byteCount : 64));
    const auto left = [&] { return byteCount - regular.byteCount; };
    if (regular.byteCount == 64) {
      while (left() >= 128 && addRegular<4>(text + regular.byteCount, regular)) {
      }
      while (left() >= 32 && addRegular<1>(text + regular.byteCount, regular)) {
      }
      if (left() > 0 && left() < 32) addTail(text + byteCount, left(), regular);
    }
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

// Near the end of a page all of these leave the text to others.

VQ_READS_IN_PAGE VQ_TARGET_AVX2 BlockCount countBlockToZero(const uint8_t* text) {
  if (untilPageEnd(text) < mostOfBlock) return {0, notRegular};
  const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text));
  const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + 32));
  const __m256i zero = _mm256_setzero_si256();
  const uint64_t zeros = maskOf(_mm256_cmpeq_epi8(a, zero)) | maskOf(_mm256_cmpeq_epi8(b, zero)) << 32;
  if (zeros == 0) return {0, notRegular};
  const uint64_t valid = (zeros ^ (zeros - 1)) >> 1;
  const Short block = shortOf(a, b, mostOfBlock);
  if ((faultsOf(block) & valid) != 0) return {0, notRegular};
  return {countBits(valid), countBits(valid & ~block.continuations)};
}

VQ_READS_IN_PAGE VQ_TARGET_AVX2 RegularRun regularOfCharacters(const uint8_t* text, uint64_t characterCount) {
  Regular regular;
  while (regular.characterCount < characterCount && untilPageEnd(text + regular.byteCount) >= mostOfBlock) {
    const uint8_t* at = text + regular.byteCount;
    const Short block = shortOf(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(at)),
                                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at + 32)), mostOfBlock);
    const uint64_t starts = ~block.continuations;
    const uint64_t left = characterCount - regular.characterCount;
    const bool hasEnded = countBits(starts) > left;
    // It ends where the character behind the last one starts; else the last start is the next block's.
    const uint64_t next = hasEnded ? _pdep_u64(uint64_t{1} << left, starts) : lastBit(starts);
    const uint64_t valid = next - 1;
    if (next <= 1 || (faultsOf(block) & valid) != 0) break;
    regular.byteCount += countBits(valid);
    regular.characterCount += countBits(valid & starts);
    if (hasEnded) return {regular, true};
  }
  return {regular, false};
}

}  // namespace vq::utf8::avx2

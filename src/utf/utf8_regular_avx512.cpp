// Counting regular UTF-8 with AVX-512.
//
// One walk serves texts that end after so many bytes, at a zero byte, or after so many characters. It goes by
// blocks under a mask, which may end anywhere, and from the second block on by strides of four. Where the end
// is only found on the way, a read stays within its page: bytes behind the end may be looked at, but never a
// page that the text does not reach.
#include <algorithm>

#include "utf/utf8_blocks_avx512.hpp"
#include "utf/utf8_regular.hpp"

namespace vq::utf8::avx512 {

namespace {

constexpr size_t stride = 4 * blockBytes;
// The bytes in front of a block that count.
constexpr size_t mostBefore = 3;

// What is known of a block: a bit for each byte.
struct BlockMasks {
  uint64_t continuations;
  uint64_t firstsOfFour;
  uint64_t faults;
};

VQ_TARGET_AVX512 inline BlockMasks masksOf(__m512i here, const Before& before) {
  // As signed numbers the continuation bytes are the ones below 0xC0.
  BlockMasks masks{numberOf(_mm512_cmplt_epi8_mask(here, splat8<0xC0>())),
                   numberOf(_mm512_cmpge_epu8_mask(here, splat8<0xF0>())),
                   numberOf(_mm512_movepi8_mask(findMisplaced(here, before)))};
  if (masks.firstsOfFour != 0) masks.faults |= numberOf(_mm512_cmpge_epu8_mask(here, splat8<0xF8>()));
  return masks;
}

// The same for a block that begins with a character: what stands in front of it announces nothing.
VQ_TARGET_AVX512 inline BlockMasks masksOfOpening(__m512i here, uint64_t notAscii) {
  const uint64_t continuations = numberOf(_mm512_cmplt_epi8_mask(here, splat8<0xC0>()));
  const uint64_t firstsOfThree = numberOf(_mm512_cmpge_epu8_mask(here, splat8<0xE0>()));
  BlockMasks masks{continuations, 0, (notAscii & ~continuations) << 1 | firstsOfThree << 2};
  if (firstsOfThree != 0) {
    masks.firstsOfFour = numberOf(_mm512_cmpge_epu8_mask(here, splat8<0xF0>()));
    masks.faults |= masks.firstsOfFour << 3;
  }
  masks.faults ^= continuations;
  if (masks.firstsOfFour != 0) masks.faults |= numberOf(_mm512_cmpge_epu8_mask(here, splat8<0xF8>()));
  return masks;
}

// The three kinds of end. From a place on, `readable` bytes may be read, and `strideBytes` belong to the text
// in any case or show where it ends. `find` says whether a block has the end, and leaves in `valid` the bytes
// in front of it.
struct ByteEnd {
  static constexpr bool isAtZero = false;
  size_t byteCount;

  size_t readable(const uint8_t*, size_t done) const { return byteCount - done; }
  size_t strideBytes(const uint8_t*, const Regular& regular) const { return byteCount - regular.byteCount; }
  VQ_TARGET_AVX512 bool find(__m512i, const BlockMasks&, const Regular&, uint64_t&) const { return false; }
};

struct ZeroEnd {
  static constexpr bool isAtZero = true;

  size_t readable(const uint8_t* at, size_t) const { return untilPageEnd(at); }
  size_t strideBytes(const uint8_t* at, const Regular&) const { return untilPageEnd(at); }
  VQ_TARGET_AVX512 bool find(__m512i here, const BlockMasks&, const Regular&, uint64_t& valid) const {
    const uint64_t zeros = numberOf(_mm512_testn_epi8_mask(here, here)) & valid;
    if (zeros == 0) return false;
    valid = _blsmsk_u64(zeros) >> 1;
    return true;
  }
};

struct CharacterEnd {
  static constexpr bool isAtZero = false;
  const uint8_t* text;
  uint64_t characterCount;

  size_t readable(const uint8_t* at, size_t) const { return untilPageEnd(at); }
  // Each character that is still to come has a byte at least. The last one is left for a block, which knows
  // whether another has to be read.
  size_t strideBytes(const uint8_t*, const Regular& regular) const {
    const uint64_t left = characterCount - regular.characterCount;
    return left == 0 ? 0 : left - 1;
  }
  VQ_READS_IN_PAGE VQ_TARGET_AVX512 bool find(__m512i, const BlockMasks& masks, const Regular& regular,
                                              uint64_t& valid) const {
    const uint64_t starts = valid & ~masks.continuations;
    const uint64_t left = characterCount - regular.characterCount;
    const size_t here = countBits(starts);
    if (here < left) return false;
    if (here > left) {
      // It ends where the character behind it starts.
      valid = _pdep_u64(uint64_t{1} << left, starts) - 1;
      return true;
    }
    const size_t done = regular.byteCount + countBits(valid);
    return unfinishedBytes(text + done, done) == 0;
  }
};

// Adds the blocks of ASCII that come next; a zero byte follows within a stride.
VQ_READS_IN_PAGE VQ_TARGET_AVX512 inline void addAsciiInFrontOfZero(const uint8_t* at, Regular& regular) {
  if (unfinishedBytes(at, mostBefore) != 0) return;
  // Only ASCII is above zero as signed numbers.
  const auto isAscii = [](const uint8_t* block) VQ_READS_IN_PAGE VQ_TARGET_AVX512 {
    return _mm512_cmpgt_epi8_mask(loadBlock(block), _mm512_setzero_si512()) == UINT64_MAX;
  };
  for (; isAscii(at); at += blockBytes) {
    regular.byteCount += blockBytes;
    regular.characterCount += blockBytes;
  }
}

// Adds the strides of regular text that come next, up to `most`, to `regular`.
template <bool isEndAtZero>
VQ_READS_IN_PAGE VQ_TARGET_AVX512 inline void addStrides(const uint8_t* at, size_t most, Regular& regular) {
  for (; most > 0; --most, at += stride) {
    const __m512i a = loadBlock(at);
    const __m512i b = loadBlock(at + blockBytes);
    const __m512i c = loadBlock(at + 2 * blockBytes);
    const __m512i d = loadBlock(at + 3 * blockBytes);
    if (isEndAtZero) {
      const __m512i least = _mm512_min_epu8(_mm512_min_epu8(a, b), _mm512_min_epu8(c, d));
      if (_mm512_testn_epi8_mask(least, least) != 0) {
        addAsciiInFrontOfZero(at, regular);
        return;
      }
    }
    // The last three bytes in front count as well.
    if (_mm512_movepi8_mask(anyOf(anyOf(a, b, c), d, loadBlock(at - 3))) == 0) {
      regular.byteCount += stride;
      regular.characterCount += stride;
      continue;
    }
    const __m512i faults =
        anyOf(findMisplaced(a, beforeBlock(at)), findMisplaced(b, beforeBlock(at + blockBytes)),
              findMisplaced(c, beforeBlock(at + 2 * blockBytes)),
              findMisplaced(d, beforeBlock(at + 3 * blockBytes)));
    if (_mm512_movepi8_mask(faults) != 0) return;
    const __m512i largest = _mm512_max_epu8(_mm512_max_epu8(a, b), _mm512_max_epu8(c, d));
    if (_mm512_cmpge_epu8_mask(largest, splat8<0xF0>()) != 0) {
      if (_mm512_cmpge_epu8_mask(largest, splat8<0xF8>()) != 0) return;
      const auto fours = [](__m512i bytes) VQ_TARGET_AVX512 {
        return countBits(_mm512_cmpge_epu8_mask(bytes, splat8<0xF0>()));
      };
      regular.fourByteCount += fours(a) + fours(b) + fours(c) + fours(d);
    }
    const auto starts = [](__m512i bytes) VQ_TARGET_AVX512 {
      return countBits(_mm512_cmpgt_epi8_mask(bytes, splat8<0xBF>()));
    };
    regular.byteCount += stride;
    regular.characterCount += starts(a) + starts(b) + starts(c) + starts(d);
  }
}

template <class End>
VQ_READS_IN_PAGE VQ_TARGET_AVX512 inline RegularRun walk(const uint8_t* text, End end) {
  Regular regular;
  bool wasAscii = true;
  size_t nextStride = blockBytes;
  for (;;) {
    const uint8_t* at = text + regular.byteCount;
    const size_t readable = end.readable(at, regular.byteCount);
    if (readable == 0) return {regular, true};
    const size_t length = std::min(readable, blockBytes);
    uint64_t valid = lowBits(length);
    const __m512i here = loadSome(at, valid);
    BlockMasks masks{};
    const uint64_t notAscii = numberOf(_mm512_movepi8_mask(here));
    const bool isAscii = notAscii == 0;
    if (wasAscii) {
      if (!isAscii) masks = masksOfOpening(here, notAscii);
    } else {
      // A first block that ends with its page can be too short for a look back.
      if (regular.byteCount < mostBefore) return {regular, false};
      masks = masksOf(here, beforeSome(at, valid));
    }
    wasAscii = isAscii;
    const bool hasEnded = end.find(here, masks, regular, valid);
    if ((masks.faults & valid) != 0) return {regular, false};
    // The next block must not wait for what was found in this one.
    regular.byteCount += hasEnded ? countBits(valid) : length;
    regular.characterCount += countBits(valid & ~masks.continuations);
    regular.fourByteCount += countBits(valid & masks.firstsOfFour);
    if (hasEnded) return {regular, true};
    if (regular.byteCount < nextStride) continue;
    const uint8_t* next = text + regular.byteCount;
    const size_t before = regular.byteCount;
    addStrides<End::isAtZero>(next, end.strideBytes(next, regular) / stride, regular);
    if (regular.byteCount > before) wasAscii = false;
    // What has stopped the strides lies in the next one.
    nextStride = regular.byteCount + stride;
  }
}

// Takes the character that the end of `regular` cuts off out of it.
inline void dropUnfinished(const uint8_t* text, Regular& regular) {
  const size_t unfinished = unfinishedBytes(text + regular.byteCount, regular.byteCount);
  if (unfinished == 0) return;
  regular.byteCount -= unfinished;
  regular.characterCount -= 1;
  regular.fourByteCount -= text[regular.byteCount] >= 0xF0;
}

template <class End>
VQ_READS_IN_PAGE VQ_TARGET_AVX512 inline RegularRun regularRun(const uint8_t* text, End end) {
  RegularRun run = walk(text, end);
  if (!run.hasEnded) dropUnfinished(text, run.regular);
  return run;
}

// Where the ASCII at the start of a text ends that ends at a zero byte. Aligned blocks never reach into
// another page.
VQ_READS_IN_PAGE VQ_TARGET_AVX512 inline const uint8_t* endOfAscii(const uint8_t* text) {
  const size_t skipped = reinterpret_cast<uintptr_t>(text) % blockBytes;
  const uint8_t* at = text - skipped;
  // Only ASCII is above zero as signed numbers.
  const auto others = [](const uint8_t* block) VQ_READS_IN_PAGE VQ_TARGET_AVX512 {
    return ~numberOf(_mm512_cmpgt_epi8_mask(loadBlock(block), _mm512_setzero_si512()));
  };
  uint64_t found = others(at) & ~lowBits(skipped);
  while (found == 0) found = others(at += blockBytes);
  return at + _tzcnt_u64(found);
}

// The same of so many bytes.
VQ_TARGET_AVX512 inline size_t asciiPrefix(const uint8_t* text, size_t byteCount) {
  size_t at = 0;
  for (; byteCount - at >= blockBytes; at += blockBytes) {
    const uint64_t notAscii = numberOf(_mm512_movepi8_mask(loadBlock(text + at)));
    if (notAscii != 0) return at + _tzcnt_u64(notAscii);
  }
  const uint64_t valid = lowBits(byteCount - at);
  return at + _tzcnt_u64(numberOf(_mm512_movepi8_mask(loadSome(text + at, valid))) | ~valid);
}

// Puts the ASCII in front of a regular text to it.
inline Regular behindAscii(size_t asciiBytes, Regular regular) {
  regular.byteCount += asciiBytes;
  regular.characterCount += asciiBytes;
  return regular;
}

}  // namespace

VQ_TARGET_AVX512 size_t countBlock(const uint8_t* text, size_t byteCount, bool countsFoursTwice) {
  const uint64_t valid = lowBits(byteCount);
  const __m512i here = loadSome(text, valid);
  const BlockMasks masks = masksOfOpening(here, numberOf(_mm512_movepi8_mask(here)));
  if ((masks.faults & valid) != 0) return notRegular;
  // The second half of a character of four bytes begins with its last byte.
  const uint64_t lasts = countsFoursTwice ? masks.firstsOfFour << 3 : 0;
  return countBits(valid & ~masks.continuations) + countBits(valid & lasts);
}

VQ_READS_IN_PAGE VQ_TARGET_AVX512 BlockCount countBlockToZero(const uint8_t* text) {
  const uint64_t readable = lowBits(std::min(untilPageEnd(text), blockBytes));
  const __m512i here = loadSome(text, readable);
  const uint64_t zeros = numberOf(_mm512_testn_epi8_mask(here, here)) & readable;
  if (zeros == 0) return {0, notRegular};
  const uint64_t valid = _blsmsk_u64(zeros) >> 1;
  const BlockMasks masks = masksOfOpening(here, numberOf(_mm512_movepi8_mask(here)));
  if ((masks.faults & valid) != 0) return {0, notRegular};
  return {countBits(valid), countBits(valid & ~masks.continuations)};
}

VQ_READS_IN_PAGE VQ_TARGET_AVX512 size_t bytesInBlock(const uint8_t* text, uint64_t characterCount) {
  const uint64_t readable = lowBits(std::min(untilPageEnd(text), blockBytes));
  const __m512i here = loadSome(text, readable);
  const BlockMasks masks = masksOfOpening(here, numberOf(_mm512_movepi8_mask(here)));
  const uint64_t starts = readable & ~masks.continuations;
  if (countBits(starts) <= characterCount) return notRegular;
  const uint64_t valid = _pdep_u64(uint64_t{1} << characterCount, starts) - 1;
  return (masks.faults & valid) != 0 ? notRegular : countBits(valid);
}

VQ_TARGET_AVX512 Regular regularPrefix(const uint8_t* text, size_t byteCount) {
  const size_t asciiBytes = asciiPrefix(text, byteCount);
  if (asciiBytes == byteCount) return behindAscii(asciiBytes, {});
  const uint8_t* const rest = text + asciiBytes;
  Regular regular = walk(rest, ByteEnd{byteCount - asciiBytes}).regular;
  dropUnfinished(rest, regular);
  return behindAscii(asciiBytes, regular);
}

VQ_READS_IN_PAGE VQ_TARGET_AVX512 RegularRun regularToZero(const uint8_t* text) {
  const uint8_t* const rest = endOfAscii(text);
  const auto asciiBytes = static_cast<size_t>(rest - text);
  if (*rest == 0) return {behindAscii(asciiBytes, {}), true};
  const RegularRun run = regularRun(rest, ZeroEnd{});
  return {behindAscii(asciiBytes, run.regular), run.hasEnded};
}

VQ_READS_IN_PAGE VQ_TARGET_AVX512 RegularRun regularOfCharacters(const uint8_t* text,
                                                                 uint64_t characterCount) {
  return regularRun(text, CharacterEnd{text, characterCount});
}

}  // namespace vq::utf8::avx512

// Measuring UTF-8: lengths, counts, cuts, verdicts and trailing blanks. Nothing is decoded here.
//
// Counting runs in two gears. Regular text (utf8_regular.hpp) is counted by blocks: there all ways of
// stepping agree. Everything else is stepped over one character at a time.
#include <algorithm>
#include <bit>
#include <cstring>

#include "text/cpu.hpp"
#include "utf/utf8_bytes.hpp"
#include "utf/utf8_regular.hpp"
#include "vqstring/utf.h"

namespace {

using namespace vq::utf8;

// The ways of stepping over a character, each with what it counts in regular text.
struct Blind {
  static size_t step(const uint8_t* at, size_t remaining) { return blindStep(at, remaining); }
  static constexpr bool countsFoursTwice = false;
};
struct Careful {
  static size_t step(const uint8_t* at, size_t remaining) { return carefulStep(at, remaining); }
  static constexpr bool countsFoursTwice = false;
};
// At most three bytes a step, so that the last byte of a four-byte character is a step of its own.
struct UpToThree {
  static size_t step(const uint8_t* at, size_t remaining) {
    return std::min<size_t>(std::min<size_t>(_utf8_len[*at], 3), remaining);
  }
  static constexpr bool countsFoursTwice = true;
};

// How far to step singly where a block is not regular, before blocks are tried again.
constexpr size_t singleRun = 64;

// The bytes of ASCII that come next, as far as one look sees.
inline size_t asciiRun(const uint8_t* at, size_t byteCount) {
  if (at[0] >= 0x80) return 0;
  if (byteCount < 8) return 1;
  uint64_t bytes;
  std::memcpy(&bytes, at, sizeof bytes);
  bytes &= 0x8080808080808080;
  return bytes == 0 ? 8 : static_cast<size_t>(std::countr_zero(bytes)) / 8;
}

// A text of 8 to 16 bytes, all ASCII: two looks that may overlap.
inline bool isShortAscii(const uint8_t* text, size_t byteCount) {
  if (byteCount - 8 > 8) return false;
  uint64_t first;
  uint64_t last;
  std::memcpy(&first, text, sizeof first);
  std::memcpy(&last, text + byteCount - sizeof last, sizeof last);
  return ((first | last) & 0x8080808080808080) == 0;
}

struct Counted {
  size_t byteCount;
  size_t characterCount;
};

// Counts the characters that begin in front of `limit`; text[limit] to text[end] may belong to the last of
// them.
template <class Stepping>
Counted countCharacters(const uint8_t* text, size_t limit, size_t end) {
  size_t at = 0;
  size_t characters = 0;
  while (at < limit) {
    const Regular regular = regularPrefix(text + at, limit - at);
    at += regular.byteCount;
    characters += regular.characterCount + (Stepping::countsFoursTwice ? regular.fourByteCount : 0);
    const size_t stop = std::min(limit, at + singleRun);
    // Blocks need a first byte to begin with.
    while (at < stop || (at < limit && isContinuation(text[at]))) {
      if (const size_t ascii = asciiRun(text + at, stop - at); ascii > 0) {
        at += ascii;
        characters += ascii;
        continue;
      }
      at += Stepping::step(text + at, end - at);
      ++characters;
    }
  }
  return {at, characters};
}

template <class Stepping>
size_t countCharacters(const char* text, uint64_t byteCount) {
  if (isShortAscii(bytesOf(text), byteCount)) return byteCount;
  if (vq::cpu::hasAvx512() && byteCount <= mostOfBlock) {
    const size_t count = avx512::countBlock(bytesOf(text), byteCount, Stepping::countsFoursTwice);
    if (count != notRegular) return count;
  }
  return countCharacters<Stepping>(bytesOf(text), byteCount, byteCount).characterCount;
}

// Goes on from the character boundary where `total` ends.
//
// The terminator is looked for in pieces that stay in the nearest cache, so that counting them afterwards
// costs no second way to memory.
template <class Stepping>
Counted countByPieces(const uint8_t* bytes, Counted total) {
  constexpr size_t pieceBytes = 8192;
  constexpr size_t longestCharacter = 6;
  for (size_t known = total.byteCount;;) {
    const void* terminator = std::memchr(bytes + known, 0, pieceBytes);
    const bool isLast = terminator != nullptr;
    known =
        isLast ? static_cast<size_t>(static_cast<const uint8_t*>(terminator) - bytes) : known + pieceBytes;
    // In front of an unknown piece, what may be cut off waits for it.
    const size_t limit = isLast ? known : known - longestCharacter;
    const Counted piece =
        countCharacters<Stepping>(bytes + total.byteCount, limit - total.byteCount, known - total.byteCount);
    total.byteCount += piece.byteCount;
    total.characterCount += piece.characterCount;
    if (isLast) return total;
  }
}

template <class Stepping>
Counted countTerminated(const char* text) {
  const uint8_t* bytes = bytesOf(text);
  const auto [byteCount, characterCount] = countBlockToZero(bytes);
  if (characterCount != notRegular) return {byteCount, characterCount};
  if (!vq::cpu::hasAvx512()) return countByPieces<Stepping>(bytes, {0, 0});
  const auto [regular, hasEnded] = avx512::regularToZero(bytes);
  const Counted counted{regular.byteCount, regular.characterCount};
  return hasEnded ? counted : countByPieces<Stepping>(bytes, counted);
}

// Regular text of up to so many characters.
RegularRun regularOfCharacters(const uint8_t* text, uint64_t characterCount) {
  if (vq::cpu::hasAvx512()) return avx512::regularOfCharacters(text, characterCount);
  if (!vq::cpu::hasAvx2()) return {Regular{}, false};
  // The characters have at least a byte each, so as many bytes are there to be read. Near the end that would
  // bring less and less.
  constexpr size_t near = 256;
  Regular regular;
  if (characterCount >= near) regular = regularPrefix(text, characterCount);
  RegularRun rest =
      avx2::regularOfCharacters(text + regular.byteCount, characterCount - regular.characterCount);
  rest.regular.byteCount += regular.byteCount;
  rest.regular.characterCount += regular.characterCount;
  return rest;
}

// Size and verdict of one sequence. A zero byte never continues it, so a terminated text is not left.
struct Judged {
  size_t byteCount;
  bool isValid;
};

Judged judge(const uint8_t* at) {
  const uint8_t first = at[0];
  if (first < 0x80) return {1, true};
  const size_t expected = _utf8_len[first];
  bool isValid = isValidFirst(first);
  size_t size = 1;
  if (first == 0xE0 || first == 0xED || first == 0xF0) {
    if (at[1] == 0) return {1, false};
    isValid = isValid && isSecondInRange(first, at[1]);
    size = 2;
  }
  for (; size < expected; ++size) {
    if (!isContinuation(at[size])) return {size, false};
  }
  return {size, isValid};
}

}  // namespace

uint32_t utf8_len(const char* character) {
  return _utf8_len[bytesOf(character)[0]];
}

uint64_t UTF8_SLEN(const char* text) {
  return text == nullptr ? 0 : countTerminated<Blind>(text).characterCount;
}

uint64_t UTF8_SLENB(const char* text, uint64_t byteCount) {
  return countCharacters<Blind>(text, byteCount);
}

uint64_t vqzsu8NumChars(const char* text, uint64_t byteCount) {
  return countCharacters<Careful>(text, byteCount);
}

uint64_t utf8Length(const char* bytes, uint64_t byteCount) {
  return countCharacters<UpToThree>(bytes, byteCount);
}

void vqzsu8Lengths(const char* text, uint64_t* characterCount, uint64_t* byteCount) {
  if (text == nullptr) return;
  const Counted counted = countTerminated<Careful>(text);
  if (characterCount != nullptr) *characterCount = counted.characterCount;
  if (byteCount != nullptr) *byteCount = counted.byteCount;
}

uint64_t vqzsu8ByteLength(const char* text, uint64_t characterCount) {
  const uint8_t* bytes = bytesOf(text);
  if (vq::cpu::hasAvx512() && characterCount - 1 < mostOfBlock - 1) {
    const size_t byteCount = avx512::bytesInBlock(bytes, characterCount);
    if (byteCount != notRegular) return byteCount;
  }
  size_t at = 0;
  while (characterCount > 0) {
    const RegularRun run = regularOfCharacters(bytes + at, characterCount);
    at += run.regular.byteCount;
    characterCount -= run.regular.characterCount;
    if (run.hasEnded) continue;
    for (uint64_t left = std::min<uint64_t>(characterCount, singleRun); left > 0;) {
      const size_t ascii = asciiRun(bytes + at, left);
      at += ascii > 0 ? ascii : carefulStep(bytes + at, SIZE_MAX);
      const uint64_t stepped = ascii > 0 ? ascii : 1;
      left -= stepped;
      characterCount -= stepped;
    }
  }
  return at;
}

uint64_t UTF8_BLENB(const char* text, uint64_t byteCount) {
  const uint8_t* bytes = bytesOf(text);
  if (byteCount == 0) return 0;
  size_t last = byteCount - 1;
  if (bytes[last] < 0x80) return byteCount;
  while (last > 0 && isContinuation(bytes[last])) --last;
  if (!isValidFirst(bytes[last])) return 0;
  const size_t end = last + _utf8_len[bytes[last]];
  return end <= byteCount ? end : last;
}

uint64_t UTF8_BLEN(const char* text) {
  return text == nullptr ? 0 : UTF8_BLENB(text, std::strlen(text));
}

uint64_t vqzsu8CharSize(const char* character, uint8_t* valid) {
  const Judged judged = judge(bytesOf(character));
  if (valid != nullptr) *valid = judged.isValid;
  return judged.byteCount;
}

uint64_t vqzsu8CharSize2(const char* character, uint8_t*) {
  return judge(bytesOf(character)).byteCount;
}

uint64_t _U8CharSize(const char* character) {
  return judge(bytesOf(character)).byteCount;
}

uint64_t _U8ValidCharSize(const char* character, uint8_t* valid) {
  return vqzsu8CharSize(character, valid);
}

const char* vqzsu8NextChar(const char* character) {
  return character + judge(bytesOf(character)).byteCount;
}

uint32_t isLegalUTF8(const char* sequence, uint64_t length, uint64_t* consumed) {
  const uint8_t* bytes = bytesOf(sequence);
  *consumed = length;
  if (length < 1 || length > 4) return 1;
  bool isLegal = isValidFirst(bytes[0]);
  // From the last byte down, so that `consumed` ends at the lowest one that fails.
  for (uint64_t index = length - 1; index > 0; --index) {
    if (isContinuation(bytes[index])) continue;
    *consumed = index;
    isLegal = false;
  }
  if (length > 1 && !isSecondInRange(bytes[0], bytes[1])) isLegal = false;
  return isLegal;
}

namespace {

// The bytes of the blank at `at`, or 0. The blank U+0020 is one in every mode.
size_t blankAt(const uint8_t* at, size_t remaining, bool isWide) {
  const uint8_t first = at[0];
  if (first == 0x20) return 1;
  if (first < 0x80) return isWide && first >= 0x09 && first <= 0x0D ? 1 : 0;
  if (remaining < 2) return 0;
  if (first == 0xC2) return at[1] == 0xA0 || (isWide && at[1] == 0x85) ? 2 : 0;
  if (remaining < 3) return 0;
  const unsigned tail = static_cast<unsigned>(at[1]) << 8 | at[2];
  bool isBlank = false;
  if (first == 0xE1) {
    isBlank = tail == 0x9A80;
  } else if (first == 0xE2) {
    isBlank = (tail >= 0x8080 && tail <= 0x808A) || tail == 0x80A8 || tail == 0x80A9 || tail == 0x80AF ||
              tail == 0x819F;
  } else if (first == 0xE3) {
    isBlank = tail == 0x8080;
  }
  return isBlank ? 3 : 0;
}

}  // namespace

uint64_t vqzsu8StripBlanks(const char* text, uint64_t byteCount, uint32_t mode) {
  const uint8_t* bytes = bytesOf(text);
  uint64_t left = byteCount;
  if (mode == 0) {
    while (left > 0 && bytes[left - 1] == 0x20) --left;
    return left;
  }
  // Continuation bytes in excess behind a blank are walked over, yet stay in the length: `at` and `left`
  // part.
  for (uint64_t at = byteCount; at > 0;) {
    --at;
    while (at > 0 && isContinuation(bytes[at])) --at;
    const size_t blank = blankAt(bytes + at, byteCount - at, mode != 2);
    if (blank == 0) break;
    left -= blank;
  }
  return left;
}

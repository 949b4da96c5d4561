// Blocks of regular UTF-8: text whose continuation bytes stand exactly where the first bytes announce them,
// with no first byte of the old lengths 5 and 6. On such text every way of stepping over characters agrees,
// and counting characters is counting the bytes that are no continuation.
//
// Regular is less than well-formed: overlong forms, surrogates and values above U+10FFFF are regular.
#pragma once

#include <cstddef>
#include <cstdint>

#include "text/cpu.hpp"

namespace vq::utf8 {

struct Regular {
  size_t byteCount = 0;
  size_t characterCount = 0;
  // Characters of four bytes among them.
  size_t fourByteCount = 0;
};

// Regular text up to something that ends it. When that has been found, the counts reach up to it, and a
// character that is cut off there counts as one; otherwise they are those of the whole characters in front of
// what is not regular any more.
struct RegularRun {
  Regular regular;
  bool hasEnded;
};

// What is told of a text by its first block of 64 bytes alone; `notRegular` stands where that is not enough.
inline constexpr size_t mostOfBlock = 64;
inline constexpr size_t notRegular = SIZE_MAX;
struct BlockCount {
  size_t byteCount;
  size_t characterCount;
};

// Looks at bytes behind the end of a text, but never at a page that the text does not reach.
#define VQ_READS_IN_PAGE __attribute__((no_sanitize("address")))
inline size_t untilPageEnd(const uint8_t* at) {
  constexpr size_t page = 4096;
  return page - reinterpret_cast<uintptr_t>(at) % page;
}

namespace avx2 {
// For texts of at least this.
inline constexpr size_t leastRegularBytes = 4;
Regular regularPrefix(const uint8_t* text, size_t byteCount);
BlockCount countBlockToZero(const uint8_t* text);
RegularRun regularOfCharacters(const uint8_t* text, uint64_t characterCount);
}  // namespace avx2

namespace avx512 {
Regular regularPrefix(const uint8_t* text, size_t byteCount);
// Ends at the first zero byte.
RegularRun regularToZero(const uint8_t* text);
// Ends behind so many characters. The text has them, or a zero byte.
RegularRun regularOfCharacters(const uint8_t* text, uint64_t characterCount);
// The characters of a text of up to a block; one that the end cuts off counts as well. Characters of four
// bytes may count twice, where all four are there.
size_t countBlock(const uint8_t* text, size_t byteCount, bool countsFoursTwice);
BlockCount countBlockToZero(const uint8_t* text);
size_t bytesInBlock(const uint8_t* text, uint64_t characterCount);
}  // namespace avx512

// The regular text that begins at the character boundary `text` and ends on a whole character, as far as it
// can be told by blocks. Nothing is read in front of `text`: what stands there does not count. Nothing at all
// on processors without vector code.
inline Regular regularPrefix(const uint8_t* text, size_t byteCount) {
  if (cpu::hasAvx512()) return avx512::regularPrefix(text, byteCount);
  return cpu::hasAvx2() && byteCount >= avx2::leastRegularBytes ? avx2::regularPrefix(text, byteCount)
                                                                : Regular{};
}

// A text that ends at a zero byte; a character that is cut off there counts as one.
inline BlockCount countBlockToZero(const uint8_t* text) {
  if (cpu::hasAvx512()) return avx512::countBlockToZero(text);
  return cpu::hasAvx2() ? avx2::countBlockToZero(text) : BlockCount{0, notRegular};
}

}  // namespace vq::utf8

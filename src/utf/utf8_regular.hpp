// Blocks of regular UTF-8: text whose continuation bytes stand exactly where the first bytes announce them,
// with no first byte of the old lengths 5 and 6. On such text every way of stepping over characters agrees,
// and counting characters is counting the bytes that are no continuation.
//
// Regular is less than well-formed: overlong forms, surrogates and values above U+10FFFF are regular.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vq::utf8 {

// How far a block looks back.
inline constexpr size_t lookBack = 3;

struct Regular {
  size_t byteCount = 0;
  size_t characterCount = 0;
  // Characters of four bytes among them.
  size_t fourByteCount = 0;
};

// The regular text that begins at the character boundary text[at] and ends on a whole character, as far as
// whole blocks reach it. Nothing at all for short texts, on processors without vector code, and where fewer
// than three bytes stand in front: a block looks back at them.
Regular regularBlocks(const uint8_t* text, size_t at, size_t byteCount);
inline Regular regularPrefix(const uint8_t* text, size_t at, size_t byteCount) {
  return at < lookBack || byteCount - at < 32 ? Regular{} : regularBlocks(text, at, byteCount);
}

// What a translator carries over as it stands, for the blocks of text in which there is nothing else.
enum class Plain {
  // Nothing of four bytes and no encoded surrogate.
  toPairs,
  // The same, and no zero byte.
  toPairsWithoutZero,
  // No encoded surrogate, and first bytes from 0xC2 to 0xF4.
  fromPairs,
};

// The regular text that begins at the character boundary text[at], is plain throughout and ends on a whole
// character, in bytes. The same limits hold as above.
size_t plainPrefix(const uint8_t* text, size_t at, size_t byteCount, Plain plain);

}  // namespace vq::utf8

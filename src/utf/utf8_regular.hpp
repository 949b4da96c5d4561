// Blocks of regular UTF-8: text whose continuation bytes stand exactly where the first bytes announce them,
// with no first byte of the old lengths 5 and 6. On such text every way of stepping over characters agrees,
// and counting characters is counting the bytes that are no continuation.
//
// Regular is less than well-formed: overlong forms, surrogates and values above U+10FFFF are regular.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vq::utf8 {

struct Regular {
  size_t byteCount = 0;
  size_t characterCount = 0;
  // Characters of four bytes among them.
  size_t fourByteCount = 0;
};

inline constexpr size_t leastRegularBytes = 4;

// The regular text that begins at the character boundary `text` and ends on a whole character, as far as it
// can be told by blocks. Nothing is read in front of `text`: what stands there does not count. Nothing at all
// for texts that are shorter still, and on processors without vector code.
Regular regularBlocks(const uint8_t* text, size_t byteCount);
inline Regular regularPrefix(const uint8_t* text, size_t byteCount) {
  return byteCount < leastRegularBytes ? Regular{} : regularBlocks(text, byteCount);
}

}  // namespace vq::utf8

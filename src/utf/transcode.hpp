// Whole-buffer conversion between UTF-8, wide text and UTF-16: validating, and as fast as the machine allows.
//
// The UTF engine's drivers, the host's transcoders and its regular expressions stand on these kernels. A
// kernel stops at the first sequence that Unicode does not allow (table 3-7 of Unicode 9.0 for UTF-8,
// surrogates and values above U+10FFFF in wide text) and says where it stands:
//
//   0                         everything is converted
//   VQSTATUS_BAD_SEQUENCE     `consumed` is the offset of the ill-formed sequence
//   VQSTATUS_SHORT_SEQUENCE   the source ends inside a sequence that was well-formed so far; `consumed` is
//   its
//                             offset
//   VQSTATUS_TARGET_FULL      the next character is well-formed and has no room; `consumed` is its offset
//
// An ill-formed sequence is reported even where the target has no room left, so a target of the measured size
// never hides one. What stands in front of the stop is converted; nothing behind target[written] is relied
// on, but a kernel may write anything inside the capacity. Nothing is read or written outside the two
// buffers.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vqstring/base.h"

namespace vq::transcode {

struct Result {
  VQStatus status;
  // Source elements in front of the stop, and target elements written for them.
  size_t consumed;
  size_t written;
};

Result utf8ToWide(const uint8_t* source, size_t byteCount, VQChar* target, size_t capacity);
Result wideToUtf8(const VQChar* source, size_t elementCount, uint8_t* target, size_t capacity);
Result utf8ToUtf16(const uint8_t* source, size_t byteCount, char16_t* target, size_t capacity);
Result wideToUtf16(const VQChar* source, size_t elementCount, char16_t* target, size_t capacity);

// Sizes of the converted text, without judging the source: on a well-formed source they are exact, and on any
// source no smaller than what the conversion writes before it stops.
//
// Every byte that continues no sequence counts as one character.
size_t wideLengthOfUtf8(const uint8_t* source, size_t byteCount);
// 1 below 0x80, 2 below 0x800, 3 below 0x10000, 4 for all other values.
size_t utf8LengthOfWide(const VQChar* source, size_t elementCount);
// The way back from positions in UTF-16: the bytes or elements that stand for the first `unitCount` units of
// a well-formed text.
size_t utf8LengthOfUtf16(const char16_t* source, size_t unitCount);
size_t wideLengthOfUtf16(const char16_t* source, size_t unitCount);

}  // namespace vq::transcode

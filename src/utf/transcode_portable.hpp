// The portable form of every transcoding kernel: the meaning, the oracle of the tests, and the hand that
// takes over from a vector form at the end of a text and where a block is not plain.
#pragma once

#include "utf/transcode.hpp"

namespace vq::transcode::portable {

Result utf8ToWide(const uint8_t* source, size_t byteCount, VQChar* target, size_t capacity);
Result wideToUtf8(const VQChar* source, size_t elementCount, uint8_t* target, size_t capacity);
Result utf8ToUtf16(const uint8_t* source, size_t byteCount, char16_t* target, size_t capacity);
Result wideToUtf16(const VQChar* source, size_t elementCount, char16_t* target, size_t capacity);

size_t wideLengthOfUtf8(const uint8_t* source, size_t byteCount);
size_t utf8LengthOfWide(const VQChar* source, size_t elementCount);
size_t utf8LengthOfUtf16(const char16_t* source, size_t unitCount);
size_t wideLengthOfUtf16(const char16_t* source, size_t unitCount);

}  // namespace vq::transcode::portable

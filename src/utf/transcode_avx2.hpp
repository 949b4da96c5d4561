// The forms of the transcoding kernels for processors with AVX2. Each gives what its portable form gives, on
// every source and capacity; the callers have tested the processor.
#pragma once

#include "utf/transcode.hpp"

namespace vq::transcode::avx2 {

Result utf8ToWide(const uint8_t* source, size_t byteCount, VQChar* target, size_t capacity);
Result utf8ToUtf16(const uint8_t* source, size_t byteCount, char16_t* target, size_t capacity);
Result wideToUtf8(const VQChar* source, size_t elementCount, uint8_t* target, size_t capacity);
Result wideToUtf16(const VQChar* source, size_t elementCount, char16_t* target, size_t capacity);

size_t wideLengthOfUtf8(const uint8_t* source, size_t byteCount);
size_t utf8LengthOfWide(const VQChar* source, size_t elementCount);
size_t utf8LengthOfUtf16(const char16_t* source, size_t unitCount);
size_t wideLengthOfUtf16(const char16_t* source, size_t unitCount);

}  // namespace vq::transcode::avx2

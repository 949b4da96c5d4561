// The forms of the transcoding kernels for processors with AVX-512 and its byte permutations. Each gives what
// its portable form gives, on every source and capacity; the callers have tested the processor.
#pragma once

#include "utf/transcode.hpp"

namespace vq::transcode::avx512 {

Result utf8ToWide(const uint8_t* source, size_t byteCount, VQChar* target, size_t capacity);
Result wideToUtf8(const VQChar* source, size_t elementCount, uint8_t* target, size_t capacity);

size_t wideLengthOfUtf8(const uint8_t* source, size_t byteCount);
size_t utf8LengthOfWide(const VQChar* source, size_t elementCount);

}  // namespace vq::transcode::avx512

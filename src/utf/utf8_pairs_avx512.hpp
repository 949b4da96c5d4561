// Runs of supplementary characters between four bytes and two encoded surrogates, for processors with
// AVX-512; the callers have tested the processor.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vq::utf8::avx512 {

// Translates the characters of the one form that come next, up to `most`, which are there and have room, and
// returns how many.
size_t splitRun(const uint8_t* source, size_t most, uint8_t* target);
size_t joinRun(const uint8_t* source, size_t most, uint8_t* target);

}  // namespace vq::utf8::avx512

// Walks over a run of elements: the first that equals a value, the first that does not, the first difference
// of two runs. Every answer is an index, or the count when nothing was found; nothing is read beyond the
// count.
#pragma once

#include "vqstring/base.h"

namespace vq::text {

uint64_t firstEqual(const uint8_t* buffer, uint64_t count, uint8_t value);
uint64_t firstEqual(const VQChar* buffer, uint64_t count, VQChar value);

uint64_t firstOther(const uint8_t* buffer, uint64_t count, uint8_t value);
uint64_t firstOther(const VQChar* buffer, uint64_t count, VQChar value);

uint64_t firstDifference(const uint8_t* first, const uint8_t* second, uint64_t count);
uint64_t firstDifference(const VQChar* first, const VQChar* second, uint64_t count);

}  // namespace vq::text

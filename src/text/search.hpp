// The first occurrence of one run of elements in another, over bytes and over wide text: the one search that
// everything above plain memory uses.
#pragma once

#include "vqstring/base.h"

namespace vq::text {

// The index of the first occurrence of `needle`, or -1; 0 for an empty needle. The time is linear in the two
// lengths, whatever they hold.
int64_t findFirst(const uint8_t* text, uint64_t length, const uint8_t* needle, uint64_t needleLength);
int64_t findFirst(const VQChar* text, uint64_t length, const VQChar* needle, uint64_t needleLength);

}  // namespace vq::text

// Comparison of wide text apart from case, by the library's own tables.
#pragma once

#include "vqstring/base.h"

namespace vq::text {

// The first position whose elements have different lowercase, or `count`.
uint64_t firstFoldedDifference(const VQChar* first, const VQChar* second, uint64_t count);

}  // namespace vq::text

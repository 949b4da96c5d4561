// Tables of the minimum and maximum case maps over the values 0 to 0xFFFF, in blocks of 128 code points.
//
// Meta: -1 when no character of the block moves, otherwise where the block's entries begin in Shift. Shift:
// what to add to the code point, 0 for one that stays.
#pragma once

#include <cstdint>

namespace vq::text {

extern const int32_t minMeta[512];
extern const int32_t minShift[3968];
extern const int32_t maxMeta[512];
extern const int32_t maxShift[3712];

}  // namespace vq::text

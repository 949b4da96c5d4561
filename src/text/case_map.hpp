// The case of one wide character by the library's own tables, without a host.
//
// The exported tables are the meaning: two reads for nearly every character, and a walk through the pairs for
// the 39 characters whose target is too far away for an entry of 8 bits.
#pragma once

#include "vqstring/text.h"

namespace vq::text {

inline VQChar mapByTable(VQChar c, const int8_t* shift, const uint32_t* pairs) {
  constexpr int inPairs = -128;
  if (c > 0xffff) return c;
  const int start = mhz_metatable[c >> 7];
  if (start < 0) return c;
  const int entry = shift[start + static_cast<int>(c & 0x7f)];
  if (entry != inPairs) return c + static_cast<VQChar>(entry);
  for (; *pairs != 0; pairs += 2) {
    if (pairs[0] == c) return pairs[1];
  }
  return c;
}

// A character without a row comes back unchanged, and so does everything above 0xFFFF.
inline VQChar lowerByTable(VQChar c) {
  return mapByTable(c, mhz_downshift, mhz_downaux);
}
inline VQChar upperByTable(VQChar c) {
  return mapByTable(c, mhz_upshift, mhz_upaux);
}

}  // namespace vq::text

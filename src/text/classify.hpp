// Character classes without a host, inline for loops over text.
#pragma once

#include "text/tables/class_stages.hpp"
#include "vqstring/base.h"

namespace vq::text {

// 1 when the character is in one of the classes, whose bits `classes` holds.
inline uint32_t isInClass(VQChar c, uint32_t classes) {
  if (c >= classTableEnd) [[unlikely]]
    return 0;
  return (classTable.bits[classTable.blocks[c / classBlockSize] + c] & classes) != 0;
}

// The blanks and line ends of vqnlsisspace.
inline bool isSpace(VQChar c) {
  constexpr VQChar lastSpace = 0x3000;
  return c <= lastSpace && isInClass(c, classBit::space) != 0;
}

}  // namespace vq::text

// Character classes without a host, inline for loops over text.
#pragma once

#include "text/tables/class_stages.hpp"
#include "vqstring/base.h"

namespace vq::text {

inline uint32_t isInClass(VQChar c, ClassBit bit) {
  if (c >= classTableEnd) return 0;
  const uint32_t bits = classBits[classBlocks[c / classBlockSize] * classBlockSize + c % classBlockSize];
  return bits >> static_cast<uint32_t>(bit) & 1;
}

// The blanks and line ends of vqnlsisspace; what most texts hold is answered by the first two tests.
inline bool isSpace(VQChar c) {
  if (c <= 0x20) return c == 0x20 || (c >= 0x9 && c <= 0xd);
  if (c < 0x85 || c > 0x3000) return false;
  return isInClass(c, ClassBit::space) != 0;
}

}  // namespace vq::text

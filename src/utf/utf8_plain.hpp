// What a translator between UTF-8 and its relatives carries over as it stands, found and copied by blocks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "text/cpu.hpp"

namespace vq::utf8 {

// The text in which a translator has nothing to do. It is regular, and beyond that:
enum class Plain {
  // Nothing of four bytes and no encoded surrogate.
  toPairs,
  // The same, and no zero byte.
  toPairsWithoutZero,
  // No encoded surrogate, and first bytes from 0xC2 to 0xF4.
  fromPairs,
};

namespace avx2 {
inline constexpr size_t leastPlainBytes = 32;
// For texts of any length; does nothing below `leastPlainBytes`.
template <Plain plain>
size_t copyPlain(const uint8_t* source, size_t byteCount, uint8_t* target, size_t room);
}  // namespace avx2

namespace avx512 {
// All of the text has room.
template <Plain plain>
size_t copyPlain(const uint8_t* source, size_t byteCount, uint8_t* target);
}  // namespace avx512

// Copies the plain text that begins at the character boundary `source` and ends on a whole character, and
// returns its bytes. Up to `byteCount` are read, no more than `room` are stored. Up to three bytes of the
// target behind the result may have been stored too, but only where six or more have room there: whatever a
// translator puts next then covers them. Nothing at all on processors without vector code, and where text or
// room are too short for a block.
template <Plain plain>
size_t copyPlain(const uint8_t* source, size_t byteCount, uint8_t* target, size_t room) {
  if (cpu::hasAvx512()) return avx512::copyPlain<plain>(source, std::min(byteCount, room), target);
  return cpu::hasAvx2() ? avx2::copyPlain<plain>(source, byteCount, target, room) : 0;
}

}  // namespace vq::utf8

// What a translator between UTF-8 and its relatives carries over as it stands, found and copied by blocks.
#pragma once

#include <cstddef>
#include <cstdint>

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

inline constexpr size_t leastPlainBytes = 32;

// Copies the plain text that begins at the character boundary `source` and ends on a whole character, and
// returns its bytes. Up to `byteCount` are read, no more than `room` are stored. Up to three bytes of the
// target behind the result may have been stored too, but only where six or more have room there: whatever a
// translator puts next then covers them. Nothing at all for texts or room below `leastPlainBytes`, and on
// processors without vector code.
size_t copyPlain(const uint8_t* source, size_t byteCount, uint8_t* target, size_t room, Plain plain);

}  // namespace vq::utf8

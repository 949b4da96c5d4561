// Character classes by table: `blocks` says what to add to a code point of the block, modulo 2 to the 32nd, to
// reach its word in `bits`, which holds the words of each different block once, in the bits of classBit.
// Nothing at or above classTableEnd is in a class.
#pragma once

#include <cstdint>

namespace vq::text {

inline constexpr uint32_t classBlockSize = 128;
inline constexpr uint32_t classTableEnd = 0xe0200;

namespace classBit {
constexpr uint32_t upper = 1 << 0;
constexpr uint32_t lower = 1 << 1;
constexpr uint32_t digit = 1 << 2;
constexpr uint32_t alpha = 1 << 3;
constexpr uint32_t xdigit = 1 << 4;
constexpr uint32_t punct = 1 << 5;
constexpr uint32_t control = 1 << 6;
constexpr uint32_t print = 1 << 7;
constexpr uint32_t graph = 1 << 8;
constexpr uint32_t space = 1 << 9;
}  // namespace classBit

// The general category of each ASCII character, as the one bit of a class mask.
extern const uint32_t asciiClassMasks[128];

struct ClassTable {
  uint32_t blocks[classTableEnd / classBlockSize];
  uint16_t bits[26240];
};
extern const ClassTable classTable;

}  // namespace vq::text

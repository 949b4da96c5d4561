// Character classes by table: classBlocks names the block of a code point, classBits holds a word for each
// code point of each different block, with the bits of ClassBit. Nothing at or above classTableEnd is in a
// class.
#pragma once

#include <cstdint>

namespace vq::text {

inline constexpr uint32_t classBlockSize = 128;
inline constexpr uint32_t classTableEnd = 0xe0200;

enum class ClassBit : uint32_t { upper, lower, digit, alpha, xdigit, punct, control, print, graph, space };

// The general category of each ASCII character, as the one bit of a class mask.
extern const uint32_t asciiClassMasks[128];
extern const uint8_t classBlocks[classTableEnd / classBlockSize];
extern const uint16_t classBits[];

}  // namespace vq::text

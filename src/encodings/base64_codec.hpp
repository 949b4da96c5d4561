// Base64 on plain memory (RFC 4648): the two alphabets, and the coding of whole groups of three bytes and
// four characters.
//
// Here is what is the same for all kinds of string and runs at the speed of the machine: groups without
// anything between them. Line feeds, blanks, padding and cut-off groups, in which the decoders differ, are
// left to the operations. A form in vector code does the same as the portable one.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include "text/cpu.hpp"
#include "vqstring/base.h"

namespace vq::base64 {

// What stands in Alphabet::values for a byte that is no character of the alphabet.
inline constexpr uint8_t invalid = 0xFF;

// A character's value, or `invalid`, by the byte; and what the vector forms look up by nibble.
struct Alphabet {
  alignas(64) std::array<char, 64> characters{};
  alignas(64) std::array<uint8_t, 256> values{};

  // Encoding: values 0 to 51 fall into two ranges and the rest are looked up singly: value + shift[range] is
  // the character, where range is 0 for 0 to 25, 1 for 26 to 51, and value - 50 above.
  alignas(16) std::array<int8_t, 16> shift{};

  // Decoding: a byte is a character of the alphabet when highBits[high nibble] and lowBits[low nibble] have
  // no bit in common: each high nibble that occurs has a bit of its own, and the low nibble carries the bits
  // of those high nibbles with which it makes no character.
  alignas(16) std::array<uint8_t, 16> highBits{};
  alignas(16) std::array<uint8_t, 16> lowBits{};
  // character + roll[high nibble + (character >= split)] is the value. The split parts the one character
  // that shares its high nibble with others of another distance.
  alignas(16) std::array<int8_t, 16> roll{};
  char split = 0;
};

constexpr Alphabet makeAlphabet(char character62, char character63) {
  Alphabet alphabet;
  for (int value = 0; value < 64; ++value) {
    alphabet.characters[static_cast<size_t>(value)] =
        static_cast<char>(value < 26   ? 'A' + value
                          : value < 52 ? 'a' + value - 26
                          : value < 62 ? '0' + value - 52
                                       : (value == 62 ? character62 : character63));
  }
  alphabet.values.fill(invalid);
  // '/' in the one alphabet and '_' in the other; both are the highest of their nibble.
  alphabet.split = character63;
  for (size_t value = 0; value < 64; ++value) {
    const int character = alphabet.characters[value];
    alphabet.values[static_cast<size_t>(character)] = static_cast<uint8_t>(value);
    alphabet.shift[value < 26   ? 0
                   : value < 52 ? 1
                                : value - 50] = static_cast<int8_t>(character - static_cast<int>(value));
    alphabet.roll[static_cast<size_t>((character >> 4) + (character >= character63 ? 1 : 0))] =
        static_cast<int8_t>(static_cast<int>(value) - character);
  }
  // The high nibbles 2 to 7 have bits 0 to 5; all others share a bit that every low nibble carries.
  constexpr uint8_t never = 1u << 6;
  alphabet.highBits.fill(never);
  alphabet.lowBits.fill(never);
  for (uint8_t high = 2; high < 8; ++high) {
    const uint8_t bit = static_cast<uint8_t>(1u << (high - 2));
    alphabet.highBits[high] = bit;
    for (uint8_t low = 0; low < 16; ++low) {
      if (alphabet.values[static_cast<size_t>(high * 16 + low)] == invalid) alphabet.lowBits[low] |= bit;
    }
  }
  return alphabet;
}

inline constexpr Alphabet standard = makeAlphabet('+', '/');
inline constexpr Alphabet urlSafe = makeAlphabet('-', '_');

// Writes four characters for each of `groupCount` groups of three bytes.
void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount, char* target);
void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount, VQChar* target);

// The same in lines of 76 characters and a line feed.
inline constexpr uint64_t groupsPerLine = 19;
void encodeLines(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount, char* target);
void encodeLines(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount, VQChar* target);

// Reads groups of four characters up to the first that is not wholly of the alphabet, at most `groupCount`,
// and writes three bytes for each. Answers how many it read. Only the bytes of groups that were there are
// written, whether the group is read or not.
uint64_t decodeGroups(const Alphabet& alphabet, const char* text, uint64_t groupCount, uint8_t* target);
uint64_t decodeGroups(const Alphabet& alphabet, const VQChar* text, uint64_t groupCount, uint8_t* target);

// Reads lines, each a line feed and behind it 19 groups that are wholly of the alphabet, up to the first
// that is otherwise, and at most `lineCount`. Answers how many it read. Bytes as above.
uint64_t decodeLines(const Alphabet& alphabet, const char* text, uint64_t lineCount, uint8_t* target);
uint64_t decodeLines(const Alphabet& alphabet, const VQChar* text, uint64_t lineCount, uint8_t* target);

// A character's value or `invalid`. The whole element counts, not its low byte.
inline uint8_t valueOf(const Alphabet& alphabet, char character) {
  return alphabet.values[static_cast<uint8_t>(character)];
}
inline uint8_t valueOf(const Alphabet& alphabet, VQChar character) {
  return character < alphabet.values.size() ? alphabet.values[character] : invalid;
}

// The forms behind the functions above.
namespace portable {
template <class Element>
void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount, Element* target) {
  for (; groupCount != 0; --groupCount, bytes += 3, target += 4) {
    target[0] = static_cast<Element>(alphabet.characters[bytes[0] >> 2]);
    target[1] = static_cast<Element>(alphabet.characters[(bytes[0] & 0x03) << 4 | bytes[1] >> 4]);
    target[2] = static_cast<Element>(alphabet.characters[(bytes[1] & 0x0F) << 2 | bytes[2] >> 6]);
    target[3] = static_cast<Element>(alphabet.characters[bytes[2] & 0x3F]);
  }
}
template <class Element>
void encodeLines(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount, Element* target) {
  for (; lineCount != 0; --lineCount, bytes += 3 * groupsPerLine, target += 4 * groupsPerLine) {
    encodeGroups(alphabet, bytes, groupsPerLine, target);
    target[4 * groupsPerLine] = '\n';
    ++target;
  }
}
template <class Element>
uint64_t decodeGroups(const Alphabet& alphabet, const Element* text, uint64_t groupCount, uint8_t* target) {
  for (uint64_t group = 0; group < groupCount; ++group) {
    const uint32_t first = valueOf(alphabet, text[0]), second = valueOf(alphabet, text[1]);
    const uint32_t third = valueOf(alphabet, text[2]), fourth = valueOf(alphabet, text[3]);
    // Values are below 64, so only `invalid` brings in a higher bit.
    if ((first | second | third | fourth) > 63) return group;
    target[0] = static_cast<uint8_t>(first << 2 | second >> 4);
    target[1] = static_cast<uint8_t>(second << 4 | third >> 2);
    target[2] = static_cast<uint8_t>(third << 6 | fourth);
    text += 4;
    target += 3;
  }
  return groupCount;
}
template <class Element>
uint64_t decodeLines(const Alphabet& alphabet, const Element* text, uint64_t lineCount, uint8_t* target) {
  for (uint64_t line = 0; line < lineCount; ++line) {
    if (*text != '\n' || decodeGroups(alphabet, text + 1, groupsPerLine, target) != groupsPerLine) {
      return line;
    }
    text += 4 * groupsPerLine + 1;
    target += 3 * groupsPerLine;
  }
  return lineCount;
}
}  // namespace portable

// For processors with AVX-512 and its byte permutations.
namespace wide_vector {
// Groups that one vector holds. Fewer are served too.
inline constexpr uint64_t vectorGroups = 16;
void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount, char* target);
void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount, VQChar* target);
void encodeLines(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount, char* target);
void encodeLines(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount, VQChar* target);
uint64_t decodeGroups(const Alphabet& alphabet, const char* text, uint64_t groupCount, uint8_t* target);
uint64_t decodeGroups(const Alphabet& alphabet, const VQChar* text, uint64_t groupCount, uint8_t* target);
uint64_t decodeLines(const Alphabet& alphabet, const char* text, uint64_t lineCount, uint8_t* target);
uint64_t decodeLines(const Alphabet& alphabet, const VQChar* text, uint64_t lineCount, uint8_t* target);
}  // namespace wide_vector

// For processors with AVX2.
namespace vector {
// Groups that one vector holds; below that the portable form serves.
inline constexpr uint64_t vectorGroups = 8;
void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount, char* target);
void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount, VQChar* target);
void encodeLines(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount, char* target);
void encodeLines(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount, VQChar* target);
uint64_t decodeGroups(const Alphabet& alphabet, const char* text, uint64_t groupCount, uint8_t* target);
uint64_t decodeGroups(const Alphabet& alphabet, const VQChar* text, uint64_t groupCount, uint8_t* target);
uint64_t decodeLines(const Alphabet& alphabet, const char* text, uint64_t lineCount, uint8_t* target);
uint64_t decodeLines(const Alphabet& alphabet, const VQChar* text, uint64_t lineCount, uint8_t* target);
}  // namespace vector

}  // namespace vq::base64

// Percent escapes on plain memory (RFC 3986, 2.1).
//
// What passes unescaped is stricter than the standard asks: ASCII letters, ASCII digits and the full stop.
// Every other byte is written as '%' and two upper-case digits.
#pragma once

#include <array>
#include <cstdint>

#include "vqstring/base.h"

namespace vq::url {

constexpr bool isUnescaped(VQChar character) {
  return (character >= U'0' && character <= U'9') || (character >= U'A' && character <= U'Z') ||
         (character >= U'a' && character <= U'z') || character == U'.';
}

// What stands for a byte: one or three characters, and their number in the last place.
struct Escape {
  char characters[3];
  uint8_t length;
};

constexpr Escape escapeOf(uint8_t byte) {
  constexpr char digits[] = "0123456789ABCDEF";
  return {{'%', digits[byte >> 4], digits[byte & 0x0F]}, 3};
}

// By the byte, for a byte that stands for itself.
inline constexpr auto escapes = [] {
  std::array<Escape, 256> table{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    table[byte] =
        isUnescaped(byte) ? Escape{{static_cast<char>(byte), 0, 0}, 1} : escapeOf(static_cast<uint8_t>(byte));
  }
  return table;
}();

// -1 for a byte that is no digit.
inline constexpr auto digitValues = [] {
  std::array<int8_t, 256> values{};
  values.fill(-1);
  for (unsigned i = 0; i < 10; ++i) values['0' + i] = static_cast<int8_t>(i);
  for (unsigned i = 0; i < 6; ++i) values['a' + i] = values['A' + i] = static_cast<int8_t>(10 + i);
  return values;
}();

// The byte that two digits stand for.
inline char byteOfDigits(const char* digits) {
  return static_cast<char>(16 * digitValues[static_cast<uint8_t>(digits[0])] +
                           digitValues[static_cast<uint8_t>(digits[1])]);
}

// Elements in front of the first that has to be escaped.
uint64_t cleanLength(const char* text, uint64_t byteCount);
uint64_t cleanLength(const VQChar* text, uint64_t elementCount);

// What escaping a UTF-8 text takes. A first byte of a longer sequence has the rest of that sequence escaped
// with it, ASCII or not, as far as the text goes.
struct Measure {
  uint64_t escapedBytes = 0;
  // No byte that passes stands where a sequence may reach, as in any well-formed text: every byte can be
  // judged by itself.
  bool isRegular = true;

  // Elements of the escaped form of `byteCount` bytes; UINT64_MAX when they cannot be counted.
  uint64_t length(uint64_t byteCount) const {
    uint64_t sum = 0;
    return __builtin_add_overflow(byteCount, 2 * escapedBytes, &sum) ? UINT64_MAX : sum;
  }
};
Measure measure(const char* text, uint64_t byteCount);
// The same for a text that is known not to be regular: counted by whole sequences.
Measure measureSequences(const char* text, uint64_t byteCount);

// Writes a wide text that is ASCII throughout as bytes, to a target with room for all of its elements at
// least. Answers `notAscii`, the target being anything, for another text, and else the number of bytes.
inline constexpr uint64_t notAscii = UINT64_MAX;
uint64_t narrow(const VQChar* text, uint64_t elementCount, char* target, uint64_t room);

// Writes the escaped form of a text with its measure, `targetLength` elements. The source may be the end of
// the target: what is written stays behind what is read.
void escape(const char* text, uint64_t byteCount, bool isRegular, char* target, uint64_t targetLength);
// The same as wide text, for a regular one.
void escapeToWide(const char* text, uint64_t byteCount, VQChar* target, uint64_t targetLength);

// Takes escapes out of a text in place and answers its new length. '+' becomes a blank. A '%' takes two bytes
// as digits, or one at the end of the text; a byte that is no digit counts as -1.
uint64_t unescape(char* text, uint64_t byteCount);
// The same for a wide text, written as `narrow` does.
uint64_t unescape(const VQChar* text, uint64_t elementCount, char* target, uint64_t room);

// For processors with AVX2, 32 elements a step. Each goes on for as many whole steps as it can.
namespace vector {
inline constexpr uint64_t stepElements = 32;
// Steps that need no escape, in elements.
uint64_t cleanLength(const char* text, uint64_t byteCount);
uint64_t cleanLength(const VQChar* text, uint64_t elementCount);
// Adds all whole steps to the measure, each byte judged by itself, and answers their bytes. The bits of
// `reached` are the places behind them that a sequence may still reach.
uint64_t measure(const char* text, uint64_t byteCount, Measure* sum, uint32_t* reached);
// Steps of a regular text, written to `*target`, which moves on. Answers the bytes that they have. Nothing is
// written from `limit` on, which is the end of the target, or in place the source, which it follows.
uint64_t escape(const char* text, uint64_t byteCount, char** target, const char* limit, bool isInPlace);
uint64_t escape(const char* text, uint64_t byteCount, VQChar** target, const VQChar* limit);
// Goes on with unescaping from `*at`, the text written so far being `*written` bytes, while a step and two
// bytes are left and no '%' stands in the place of a digit.
void unescape(char* text, uint64_t byteCount, uint64_t* at, uint64_t* written);
}  // namespace vector

// For processors with AVX-512, 64 elements a step. All of a text but for unescaping bytes, which is as above.
namespace wide_vector {
uint64_t cleanLength(const char* text, uint64_t byteCount);
uint64_t cleanLength(const VQChar* text, uint64_t elementCount);
Measure measure(const char* text, uint64_t byteCount);
void escape(const char* text, uint64_t byteCount, char* target);
void escapeToWide(const char* text, uint64_t byteCount, VQChar* target, uint64_t targetLength);
void unescape(char* text, uint64_t byteCount, uint64_t* at, uint64_t* written);
// A text that is ASCII, without a zero, each '%' having its digits; of any other, `notAscii`.
uint64_t unescape(const VQChar* text, uint64_t elementCount, char* target, uint64_t room);
}  // namespace wide_vector

}  // namespace vq::url

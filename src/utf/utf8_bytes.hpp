// What a single byte of UTF-8 says, and the two ways to step over a character.
//
// `_utf8_len` keeps the lengths 5 and 6 of the old definition of UTF-8, so that a sequence with such a first
// byte is passed over whole, and gives a stray continuation byte the length 1.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vq::utf8 {

inline const uint8_t* bytesOf(const char* text) {
  return reinterpret_cast<const uint8_t*>(text);
}

constexpr uint32_t announcedLength(unsigned byte) {
  if (byte < 0xC0) return 1;
  if (byte < 0xE0) return 2;
  if (byte < 0xF0) return 3;
  if (byte < 0xF8) return 4;
  return byte < 0xFC ? 5 : 6;
}

namespace detail {
constexpr auto makeLengths() {
  std::array<uint8_t, 256> lengths{};
  for (unsigned byte = 0; byte < 256; ++byte) lengths[byte] = static_cast<uint8_t>(announcedLength(byte));
  return lengths;
}
}  // namespace detail

inline constexpr std::array<uint8_t, 256> _utf8_len = detail::makeLengths();

// A byte that may begin a sequence: not a continuation byte, not the start of an overlong two-byte form, and
// not beyond what four bytes of Unicode can begin with.
constexpr bool isValidFirst(uint8_t byte) {
  return byte < 0x80 || (byte >= 0xC2 && byte <= 0xF4);
}
constexpr bool isContinuation(uint8_t byte) {
  return (byte & 0xC0) == 0x80;
}

// The second bytes that the first byte leaves open; the shut-out ones would be overlong forms or surrogates.
// 0xF4 has no bound here.
constexpr bool isSecondInRange(uint8_t first, uint8_t second) {
  if (first == 0xE0) return second >= 0xA0 && second <= 0xBF;
  if (first == 0xED) return second >= 0x80 && second <= 0x9F;
  if (first == 0xF0) return second >= 0x90 && second <= 0xBF;
  return true;
}

// An encoded surrogate, told from the first two bytes of a sequence of three.
constexpr bool isSurrogateStart(uint8_t first, uint8_t second) {
  return first == 0xED && (second & 0xA0) == 0xA0;
}

// The blind step believes the first byte; `remaining` is at least 1 and is not passed.
inline size_t blindStep(const uint8_t* at, size_t remaining) {
  const size_t length = _utf8_len[*at];
  return length < remaining ? length : remaining;
}

// The careful step also ends in front of the first byte that does not continue the character.
inline size_t carefulStep(const uint8_t* at, size_t remaining) {
  const size_t limit = blindStep(at, remaining);
  size_t step = 1;
  while (step < limit && isContinuation(at[step])) ++step;
  return step;
}

}  // namespace vq::utf8

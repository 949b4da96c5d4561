// UTF-8 texts for the tests of this folder: whole in every script, and broken at every place. They are handed
// out in buffers that end at a forbidden page, under every level of vector code that this machine has.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "support/guarded_buffer.hpp"
#include "text/cpu.hpp"
#include "vqstring/base.h"

namespace test {

// Runs `body` under each level and sets back the one that was.
template <class Body>
void underEveryLevel(Body body) {
  const vq::cpu::Level before = vq::cpu::level;
  for (const auto level : {vq::cpu::Level::portable, vq::cpu::Level::avx2, vq::cpu::Level::avx512}) {
    if (level > vq::cpu::detect()) continue;
    vq::cpu::level = level;
    body();
  }
  vq::cpu::level = before;
}

inline std::string encode(VQChar c) {
  const auto continuation = [c](int shift) { return static_cast<char>(0x80 | (c >> shift & 0x3F)); };
  if (c < 0x80) return {static_cast<char>(c)};
  if (c < 0x800) return {static_cast<char>(0xC0 | c >> 6), continuation(0)};
  if (c < 0x10000) return {static_cast<char>(0xE0 | c >> 12), continuation(6), continuation(0)};
  return {static_cast<char>(0xF0 | c >> 18), continuation(12), continuation(6), continuation(0)};
}

inline std::string encode(std::u32string_view text) {
  std::string bytes;
  for (const VQChar c : text) bytes += encode(c);
  return bytes;
}

// `count` characters of one script, or of all mixed.
enum class Script { ascii, latin, cyrillic, cjk, emoji, mixed };
inline constexpr Script scripts[] = {Script::ascii, Script::latin, Script::cyrillic,
                                     Script::cjk,   Script::emoji, Script::mixed};

inline std::u32string sampleText(Script script, size_t count, std::mt19937& random) {
  struct Range {
    VQChar first, last;
  };
  constexpr Range ranges[] = {
      {'a', 'z'}, {0xC0, 0xFF}, {0x410, 0x44F}, {0x4E00, 0xD7FF}, {0x1F600, 0x10FFFF}};
  std::u32string text;
  while (text.size() < count) {
    size_t which = static_cast<size_t>(script);
    if (script == Script::mixed) which = random() % 5;
    if (script == Script::latin && random() % 6 != 0) which = 0;
    const Range range = ranges[which];
    text += random() % 8 == 0 ? U' '
                              : static_cast<VQChar>(range.first + random() % (range.last - range.first + 1));
  }
  return text;
}

// The bytes at which some rule of UTF-8 changes its mind.
inline constexpr uint8_t turningBytes[] = {0x00, 0x20, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F,
                                           0xA0, 0xBF, 0xC0, 0xC1, 0xC2, 0xDF, 0xE0, 0xE1,
                                           0xED, 0xEF, 0xF0, 0xF4, 0xF5, 0xF7, 0xF8, 0xFF};

// Hands `check` every sequence of `length` turning bytes.
template <class Check>
void forTurningSequences(size_t length, Check check) {
  GuardedBuffer<uint8_t> buffer(length);
  std::vector<size_t> digits(length, 0);
  for (;;) {
    for (size_t i = 0; i < length; ++i) buffer[i] = turningBytes[digits[i]];
    check(buffer.data(), length);
    size_t place = 0;
    while (place < length && ++digits[place] == std::size(turningBytes)) digits[place++] = 0;
    if (place == length) return;
  }
}

// Hands `check` every sequence of `length` bytes, up to three.
template <class Check>
void forEverySequence(size_t length, Check check) {
  GuardedBuffer<uint8_t> buffer(length);
  for (uint32_t value = 0; value < 1u << 8 * length; ++value) {
    for (size_t i = 0; i < length; ++i) buffer[i] = static_cast<uint8_t>(value >> 8 * i);
    check(buffer.data(), length);
  }
}

// Hands `check` texts of every script, long enough for several vector blocks: whole, of every length about a
// block's ends, with each byte in turn replaced by a turning byte, and texts that are broken all over.
template <class Check>
void forBrokenTexts(Check check) {
  std::mt19937 random(4711);
  for (const Script script : scripts) {
    const std::string whole = encode(sampleText(script, 400, random));
    for (size_t length = 0; length <= 200; ++length) {
      GuardedBuffer<uint8_t> buffer(length);
      std::memcpy(buffer.data(), whole.data(), length);
      check(buffer.data(), length);
    }
    constexpr size_t length = 200;
    GuardedBuffer<uint8_t> buffer(length);
    for (size_t place = 0; place < length; ++place) {
      for (const uint8_t byte : turningBytes) {
        std::memcpy(buffer.data(), whole.data(), length);
        buffer[place] = byte;
        check(buffer.data(), length);
      }
    }
    for (int round = 0; round < 300; ++round) {
      std::memcpy(buffer.data(), whole.data() + round % 7, length);
      for (size_t breaks = 1 + random() % 40; breaks > 0; --breaks) {
        buffer[random() % length] = turningBytes[random() % std::size(turningBytes)];
      }
      check(buffer.data(), length);
    }
  }
}

// Room in front of a forbidden page, kept over many cases: mapping a buffer for each would take longer than
// the cases.
template <class Element>
class GuardedRoom {
 public:
  explicit GuardedRoom(size_t most) : buffer_(most) {}
  // The last `count` elements.
  Element* last(size_t count) const { return buffer_.end() - count; }

 private:
  GuardedBuffer<Element> buffer_;
};

inline const char* chars(const uint8_t* bytes) {
  return reinterpret_cast<const char*>(bytes);
}

}  // namespace test

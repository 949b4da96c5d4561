// Sample texts by script, made from a fixed seed so that every run measures the same bytes.
#pragma once

#include <random>
#include <string>
#include <string_view>

namespace bench {

inline constexpr std::string_view scripts[] = {"ASCII", "Latin", "Cyrillic", "Greek", "CJK", "emoji"};

inline void appendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// Words of 2 to 9 letters of the script between blanks; Latin is ASCII with every sixth letter accented, as
// in French or German prose; CJK and emoji have no blanks but a mark of punctuation now and then.
inline std::u32string wideSample(std::string_view script, size_t elementCount) {
  std::mt19937 random(20160621);
  auto pick = [&](char32_t first, char32_t last) {
    return static_cast<char32_t>(first + random() % (last - first + 1));
  };
  std::u32string out;
  size_t untilBlank = 5;
  while (out.size() < elementCount) {
    if (untilBlank-- == 0) {
      untilBlank = 2 + random() % 8;
      if (script == "CJK") {
        untilBlank *= 3;
        out += U'。';
      } else if (script != "emoji") {
        out += U' ';
      }
      continue;
    }
    if (script == "Latin") {
      out += random() % 6 == 0 ? pick(0xE0, 0xF6) : pick('a', 'z');
    } else if (script == "Cyrillic") {
      out += pick(0x430, 0x44F);
    } else if (script == "Greek") {
      out += pick(0x3B1, 0x3C9);
    } else if (script == "CJK") {
      out += pick(0x4E00, 0x9FA5);
    } else if (script == "emoji") {
      out += pick(0x1F600, 0x1F64F);
    } else {
      out += pick('a', 'z');
    }
  }
  return out;
}

// The sample whose UTF-8 form has at most `byteCount` bytes, on a whole character.
inline std::string utf8Sample(std::string_view script, size_t byteCount) {
  std::string out;
  for (char32_t c : wideSample(script, byteCount)) {
    const size_t before = out.size();
    appendUtf8(out, c);
    if (out.size() > byteCount) {
      out.resize(before);
      break;
    }
  }
  return out;
}

}  // namespace bench

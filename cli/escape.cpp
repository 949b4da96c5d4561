#include "escape.hpp"

#include <array>
#include <cstdint>
#include <cstdio>

#include "utf8_front.hpp"

namespace vqs {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// Controls, format characters (the bidirectional ones first of all), separators of lines, private use and
// noncharacters. Only characters that change how others are shown need be here; a block without glyphs does
// no harm, so new versions of Unicode are no reason to grow the table.
constexpr std::array hidden{
    Range{0x00, 0x1f},       Range{0x7f, 0x9f},       Range{0xad, 0xad},       Range{0x0600, 0x0605},
    Range{0x061c, 0x061c},   Range{0x06dd, 0x06dd},   Range{0x070f, 0x070f},   Range{0x115f, 0x1160},
    Range{0x17b4, 0x17b5},   Range{0x180b, 0x180f},   Range{0x200b, 0x200f},   Range{0x2028, 0x202e},
    Range{0x2060, 0x206f},   Range{0x3164, 0x3164},   Range{0xd800, 0xf8ff},   Range{0xfdd0, 0xfdef},
    Range{0xfeff, 0xfeff},   Range{0xffa0, 0xffa0},   Range{0xfff0, 0xfffb},   Range{0xfffe, 0xffff},
    Range{0x1bca0, 0x1bca3}, Range{0x1d173, 0x1d17a}, Range{0xe0000, 0xe0fff}, Range{0xf0000, 0x10ffff},
};

bool isHidden(char32_t character) {
  for (const Range& range : hidden)
    if (character <= range.last) return character >= range.first;
  return false;
}

void appendHidden(std::string& target, char32_t character) {
  char text[16];
  switch (character) {
    case '\n':
      target += "\\n";
      return;
    case '\r':
      target += "\\r";
      return;
    case '\t':
      target += "\\t";
      return;
  }
  std::snprintf(text, sizeof text, "\\u{%x}", static_cast<unsigned>(character));
  target += text;
}

}  // namespace

void appendEscapedUtf8(std::string& target, std::string_view text) {
  while (!text.empty()) {
    const Utf8Character character = utf8Front(text);
    if (character.bytes == 0) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<uint8_t>(text[0]));
      target += escape;
      text.remove_prefix(1);
      continue;
    }
    if (character.value == '\\') {
      target += "\\\\";
    } else if (isHidden(character.value)) {
      appendHidden(target, character.value);
    } else {
      target.append(text.substr(0, character.bytes));
    }
    text.remove_prefix(character.bytes);
  }
}

std::string escapedUtf8(std::string_view text) {
  std::string result;
  appendEscapedUtf8(result, text);
  return result;
}

void appendEscapedColumn(std::string& target, std::string_view text) {
  for (char character : text) {
    switch (character) {
      case '\t':
        target += "\\t";
        break;
      case '\n':
        target += "\\n";
        break;
      case '\r':
        target += "\\r";
        break;
      case '\0':
        target += "\\0";
        break;
      case '\\':
        target += "\\\\";
        break;
      default:
        target += character;
    }
  }
}

}  // namespace vqs

// Base64 by its rules, one character at a time: what the operations are held against.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace test {

using Bytes = std::vector<uint8_t>;

inline int valueOf(char32_t character, bool isUrl) {
  if (character >= 'A' && character <= 'Z') return static_cast<int>(character - 'A');
  if (character >= 'a' && character <= 'z') return static_cast<int>(character - 'a') + 26;
  if (character >= '0' && character <= '9') return static_cast<int>(character - '0') + 52;
  if (character == (isUrl ? '-' : '+')) return 62;
  if (character == (isUrl ? '_' : '/')) return 63;
  return -1;
}

// Values of a group into bytes; a single one fills the upper six bits of a byte.
inline void appendGroup(Bytes& bytes, const std::vector<int>& values) {
  unsigned bits = 0;
  for (size_t i = 0; i < 4; ++i) bits = bits << 6 | static_cast<unsigned>(i < values.size() ? values[i] : 0);
  const size_t count = values.size() == 4 ? 3 : values.size() == 3 ? 2 : values.empty() ? 0 : 1;
  for (size_t i = 0; i < count; ++i) bytes.push_back(static_cast<uint8_t>(bits >> (16 - 8 * i)));
}

inline std::optional<Bytes> naiveWide(const std::u32string& text, bool isUrl) {
  Bytes bytes;
  std::vector<int> group;
  for (const char32_t character : text) {
    if (character == U'\t' || character == U'\n' || character == U' ') continue;
    if (character == U'=') break;
    const int value = valueOf(character, isUrl);
    if (value < 0) return std::nullopt;
    group.push_back(value);
    if (group.size() == 4) {
      appendGroup(bytes, group);
      group.clear();
    }
  }
  appendGroup(bytes, group);
  return bytes;
}

inline std::optional<Bytes> naiveU8(const std::string& text, bool isUrl) {
  Bytes bytes;
  size_t at = 0, left = text.size();
  for (;;) {
    if (left == 0) return bytes;
    if (left >= 4) {
      const auto window = std::string_view(text).substr(at, 4);
      const auto padding = static_cast<size_t>(std::count(window.begin(), window.end(), '='));
      if (left > 4 && padding != 0) return std::nullopt;
      if (left == 4 && (left -= padding) == 0) return bytes;
    }
    std::vector<int> group;
    while (group.size() < 4) {
      while (left != 0 && text[at] == '\n') ++at, --left;
      if (left == 0) break;
      const int value = valueOf(static_cast<unsigned char>(text[at]), isUrl);
      if (value < 0) return std::nullopt;
      group.push_back(value);
      ++at, --left;
    }
    appendGroup(bytes, group);
  }
}

inline std::string naiveEncoded(const Bytes& bytes, bool isUrl, bool pad, bool wrap) {
  const std::string alphabet =
      std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789") + (isUrl ? "-_" : "+/");
  std::string text;
  size_t onLine = 0;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t count = std::min<size_t>(3, bytes.size() - i);
    unsigned bits = 0;
    for (size_t k = 0; k < 3; ++k) bits = bits << 8 | (k < count ? bytes[i + k] : 0u);
    for (size_t k = 0; k < 4; ++k) {
      if (k <= count) {
        text += alphabet[bits >> (18 - 6 * k) & 63];
      } else if (pad) {
        text += '=';
      }
    }
    if (wrap && (onLine += 4) == 76) {
      text += '\n';
      onLine = 0;
    }
  }
  return text;
}

}  // namespace test

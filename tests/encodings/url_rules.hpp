// Percent escapes by their rules, one byte at a time: what the operations are held against.
#pragma once

#include <cstdint>
#include <string>

namespace test {

inline bool passes(char32_t c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.';
}

inline std::string percent(char c) {
  const char* digits = "0123456789ABCDEF";
  return {'%', digits[static_cast<uint8_t>(c) >> 4], digits[c & 15]};
}

// A first byte takes the bytes that it announces along, as far as the text goes.
inline std::string naiveEscaped(const std::string& text) {
  std::string out;
  for (size_t at = 0; at < text.size();) {
    const auto first = static_cast<uint8_t>(text[at]);
    const size_t announced = first < 0xC0   ? 1
                             : first < 0xE0 ? 2
                             : first < 0xF0 ? 3
                             : first < 0xF8 ? 4
                             : first < 0xFC ? 5
                                            : 6;
    for (size_t i = 0; i < announced && at < text.size(); ++i, ++at) {
      out += announced == 1 && passes(first) ? std::string(1, text[at]) : percent(text[at]);
    }
  }
  return out;
}

inline std::string naiveUnescaped(const std::string& text) {
  const auto digit = [](char c) {
    const size_t lower = std::string("0123456789abcdef").find(c);
    const size_t upper = std::string("ABCDEF").find(c);
    return lower != std::string::npos   ? static_cast<int>(lower)
           : upper != std::string::npos ? 10 + static_cast<int>(upper)
                                        : -1;
  };
  std::string out;
  for (size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '%' || at + 1 == text.size()) {
      out += text[at] == '+' ? ' ' : text[at];
    } else if (at + 2 == text.size()) {
      out += static_cast<char>(digit(text[++at]));
    } else {
      out += static_cast<char>(16 * digit(text[at + 1]) + digit(text[at + 2]));
      at += 2;
    }
  }
  return out;
}

}  // namespace test

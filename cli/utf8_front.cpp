#include "utf8_front.hpp"

#include <array>
#include <cstdint>

namespace vqs {

Utf8Character utf8Front(std::string_view text) {
  const auto byte = [&](size_t index) { return static_cast<uint8_t>(text[index]); };
  const uint8_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  const size_t bytes = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  if (lead < 0xc2 || lead > 0xf4 || text.size() < bytes) return {0, 0};
  char32_t value = lead & (0x7f >> bytes);
  for (size_t index = 1; index < bytes; ++index) {
    if ((byte(index) & 0xc0) != 0x80) return {0, 0};
    value = value << 6 | (byte(index) & 0x3f);
  }
  constexpr std::array<char32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = value >= 0xd800 && value <= 0xdfff;
  if (value < least[bytes] || value > 0x10ffff || isSurrogate) return {0, 0};
  return {value, bytes};
}

size_t utf8FaultAt(std::string_view text) {
  for (size_t at = 0; at < text.size();) {
    const Utf8Character character = utf8Front(text.substr(at));
    if (character.bytes == 0) return at;
    at += character.bytes;
  }
  return std::string_view::npos;
}

}  // namespace vqs

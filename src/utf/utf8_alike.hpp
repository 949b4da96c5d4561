// How far two byte texts go together apart from the case of ASCII letters: the block scans under the
// comparisons.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vq::utf8 {

// The table `ansi_lowcasetable` as a rule: ASCII letters fold to lower case, every other byte to itself.
constexpr uint8_t foldAscii(uint8_t byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<uint8_t>(byte + 0x20) : byte;
}

// The bytes in front of the first difference that remains when ASCII letters are folded; the second form also
// ends in front of the first byte from 0x80 up, in either text.
size_t foldedPrefix(const uint8_t* first, const uint8_t* second, size_t byteCount);
size_t asciiFoldedPrefix(const uint8_t* first, const uint8_t* second, size_t byteCount);

}  // namespace vq::utf8

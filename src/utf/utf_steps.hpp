// The steps of the conversion kernels, one character each, for inlining: the exported functions and the fused
// drivers are made of them.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "utf/utf8_bytes.hpp"
#include "vqstring/base.h"

namespace vq::utf {

constexpr VQChar replacement = 0xFFFD;

constexpr bool isHighSurrogate(VQChar c) {
  return (c & 0xFFFFFC00) == 0xD800;
}
constexpr bool isLowSurrogate(VQChar c) {
  return (c & 0xFFFFFC00) == 0xDC00;
}

enum class Order { lowFirst, highFirst };

template <class Unit, Order order>
inline Unit load(const uint8_t* bytes) {
  Unit unit;
  std::memcpy(&unit, bytes, sizeof unit);
  if constexpr ((order == Order::highFirst) != (std::endian::native == std::endian::big)) {
    unit = sizeof unit == 4 ? static_cast<Unit>(__builtin_bswap32(static_cast<uint32_t>(unit)))
                            : static_cast<Unit>(__builtin_bswap16(static_cast<uint16_t>(unit)));
  }
  return unit;
}

template <class Unit, Order order>
inline void store(Unit unit, uint8_t* bytes) {
  uint8_t raw[sizeof unit];
  std::memcpy(raw, &unit, sizeof unit);
  unit = load<Unit, order>(raw);
  std::memcpy(bytes, &unit, sizeof unit);
}

// What a decoder found.
struct Decoded {
  VQStatus status;
  VQChar codePoint;
  size_t consumed;
};

// Trusting: looks at the first byte and the length alone; any byte continues a sequence with its low 6 bits.
inline Decoded decodeUtf8(const uint8_t* source, size_t byteCount) {
  const uint8_t first = source[0];
  if (first < 0x80) return {0, first, 1};
  if (!utf8::isValidFirst(first)) {
    return {VQSTATUS_BAD_SEQUENCE, replacement, utf8::carefulStep(source, byteCount > 0 ? byteCount : 1)};
  }
  const size_t length = utf8::announcedLength(first);
  if (byteCount < length) return {VQSTATUS_SHORT_SEQUENCE, replacement, byteCount};
  const auto low6 = [source](size_t index) { return static_cast<VQChar>(source[index] & 0x3F); };
  if (length == 2) return {0, (first & 0x1Fu) << 6 | low6(1), 2};
  if (length == 3) return {0, (first & 0x0Fu) << 12 | low6(1) << 6 | low6(2), 3};
  return {0, (first & 0x07u) << 18 | low6(1) << 12 | low6(2) << 6 | low6(3), 4};
}

template <Order order>
inline Decoded decodeUtf16(const uint8_t* source, size_t byteCount) {
  if (byteCount < 2) return {VQSTATUS_SHORT_SEQUENCE, replacement, byteCount};
  const VQChar unit = load<uint16_t, order>(source);
  if (isLowSurrogate(unit)) return {VQSTATUS_BAD_SEQUENCE, replacement, 2};
  if (!isHighSurrogate(unit)) return {0, unit, 2};
  if (byteCount < 4) return {VQSTATUS_SHORT_SEQUENCE, replacement, 1};
  const VQChar next = load<uint16_t, order>(source + 2);
  if (!isLowSurrogate(next)) return {VQSTATUS_BAD_SEQUENCE, replacement, 4};
  return {0, 0x10000 + ((unit & 0x3FF) << 10) + (next & 0x3FF), 4};
}

template <Order order>
inline Decoded decodeUtf32(const uint8_t* source, size_t) {
  return {0, load<uint32_t, order>(source), 4};
}

// What an encoder did. `hasWritten` is false where `written` is to keep its value.
struct Encoded {
  VQStatus status;
  size_t written;
  bool hasWritten = true;
};

constexpr Encoded targetFull{VQSTATUS_TARGET_FULL, 0};

inline size_t utf8LengthOf(VQChar c) {
  return 1 + static_cast<size_t>(c >= 0x80) + (c >= 0x800) + (c >= 0x10000);
}

inline Encoded encodeUtf8(VQChar c, uint8_t* target, size_t room) {
  if (c < 0x80) {
    target[0] = static_cast<uint8_t>(c);
    return {0, 1};
  }
  const size_t length = utf8LengthOf(c);
  if (room < length) return targetFull;
  for (size_t i = length - 1; i > 0; --i, c >>= 6) target[i] = static_cast<uint8_t>(0x80 | (c & 0x3F));
  // The marker of 2, 3 and 4 bytes; what is left of too large a value wraps in 8 bits.
  constexpr uint8_t markers[] = {0xC0, 0xE0, 0xF0};
  target[0] = static_cast<uint8_t>(markers[length - 2] + c);
  return {0, length};
}

inline Encoded encodeUnitAsUtf8(VQChar c, uint8_t* target, size_t room) {
  return encodeUtf8(c & 0xFFFF, target, room);
}

template <Order order>
inline Encoded encodeUtf32(VQChar c, uint8_t* target, size_t room) {
  if (room < 4) return targetFull;
  store<uint32_t, order>(c, target);
  return {0, 4};
}

template <Order order>
inline Encoded encodeUnit(VQChar c, uint8_t* target, size_t room) {
  if (room < 2) return targetFull;
  store<uint16_t, order>(static_cast<uint16_t>(c), target);
  return {0, 2};
}

template <Order order>
inline Encoded encodeUtf16(VQChar c, uint8_t* target, size_t room) {
  if (room < (c < 0x10000 ? 2 : 4)) return {VQSTATUS_TARGET_FULL, 0, false};
  if (c < 0x10000) {
    store<uint16_t, order>(static_cast<uint16_t>(c), target);
    return {0, 2};
  }
  const VQChar offset = c - 0x10000;
  store<uint16_t, order>(static_cast<uint16_t>(0xD800 + (offset >> 10 & 0x3FF)), target);
  store<uint16_t, order>(static_cast<uint16_t>(0xDC00 + (offset & 0x3FF)), target + 2);
  return {0, 4};
}

}  // namespace vq::utf

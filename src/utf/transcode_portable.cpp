// Transcoding in plain C++: one character at a time, with a short cut over ASCII. Decoding is quick where any
// sequence is whole and has room, and careful at the ends of the text and of the target.
#include "utf/transcode_portable.hpp"

#include <bit>
#include <cstring>

namespace vq::transcode::portable {

namespace {

constexpr uint64_t highBits = 0x8080808080808080;

bool isSurrogate(VQChar c) {
  return (c & 0xFFFFF800) == 0xD800;
}
bool isContinuation(uint8_t byte) {
  return (byte & 0xC0) == 0x80;
}

// One well-formed sequence, or the status that says why there is none.
struct Sequence {
  VQStatus status;
  uint32_t byteCount;
  VQChar character;
};

constexpr Sequence badSequence{VQSTATUS_BAD_SEQUENCE, 0, 0};
constexpr Sequence shortSequence{VQSTATUS_SHORT_SEQUENCE, 0, 0};

// The bounds of the second byte shut out overlong forms, surrogates and values above U+10FFFF; all further
// bytes may be any continuation byte.
inline Sequence readSequence(const uint8_t* source, size_t byteCount) {
  const uint8_t first = source[0];
  if (first < 0x80) return {0, 1, first};
  if (first < 0xC2 || first > 0xF4) return badSequence;
  if (byteCount < 2) return shortSequence;
  const uint8_t second = source[1];
  if (!isContinuation(second)) return badSequence;
  if (first < 0xE0) return {0, 2, static_cast<VQChar>((first & 0x1F) << 6 | (second & 0x3F))};
  if (first < 0xF0) {
    if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second >= 0xA0)) return badSequence;
    if (byteCount < 3) return shortSequence;
    if (!isContinuation(source[2])) return badSequence;
    return {0, 3, static_cast<VQChar>((first & 0x0F) << 12 | (second & 0x3F) << 6 | (source[2] & 0x3F))};
  }
  if ((first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90)) return badSequence;
  if (byteCount < 3) return shortSequence;
  if (!isContinuation(source[2])) return badSequence;
  if (byteCount < 4) return shortSequence;
  if (!isContinuation(source[3])) return badSequence;
  return {0, 4,
          static_cast<VQChar>((first & 0x07) << 18 | (second & 0x3F) << 12 | (source[2] & 0x3F) << 6 |
                              (source[3] & 0x3F))};
}

// A well-formed sequence of two bytes or more where four bytes are there; its length, or 0.
inline uint32_t readMulti(const uint8_t* source, VQChar* character) {
  const uint32_t first = source[0];
  const uint32_t second = source[1] ^ 0x80u;
  if (first < 0xE0) {
    const uint32_t c = (first - 0xC0) << 6 | second;
    *character = c;
    return second < 0x40 && c - 0x80 < 0x780 ? 2 : 0;
  }
  const uint32_t third = source[2] ^ 0x80u;
  if (first < 0xF0) {
    const uint32_t c = (first & 0x0F) << 12 | second << 6 | third;
    *character = c;
    return (second | third) < 0x40 && c >= 0x800 && !isSurrogate(c) ? 3 : 0;
  }
  const uint32_t fourth = source[3] ^ 0x80u;
  const uint32_t c = (first & 0x0F) << 18 | second << 12 | third << 6 | fourth;
  *character = c;
  return (second | third | fourth) < 0x40 && c >= 0x10000 && c <= 0x10FFFF ? 4 : 0;
}

// Widens the ASCII bytes at the start of eight bytes and counts them. All eight elements may be written.
template <class Element>
inline size_t copyAsciiOfEight(const uint8_t* source, Element* target) {
  uint64_t bytes;
  std::memcpy(&bytes, source, sizeof bytes);
  for (int i = 0; i < 8; ++i) target[i] = source[i];
  bytes &= highBits;
  return bytes == 0 ? 8 : static_cast<size_t>(std::countr_zero(bytes)) / 8;
}

// How a code point is stored in each of the two targets of UTF-8.
struct WideTarget {
  using Element = VQChar;
  static uint32_t sizeOf(VQChar) { return 1; }
  static void store(VQChar c, VQChar* target) { target[0] = c; }
};
struct Utf16Target {
  using Element = char16_t;
  static uint32_t sizeOf(VQChar c) { return c < 0x10000 ? 1 : 2; }
  static void store(VQChar c, char16_t* target) {
    if (c < 0x10000) {
      target[0] = static_cast<char16_t>(c);
    } else {
      target[0] = static_cast<char16_t>(0xD7C0 + (c >> 10));
      target[1] = static_cast<char16_t>(0xDC00 | (c & 0x3FF));
    }
  }
};

template <class Target>
inline Result fromUtf8(const uint8_t* source, size_t byteCount, typename Target::Element* target,
                       size_t capacity) {
  size_t at = 0;
  size_t written = 0;
  // As far as any sequence is whole and has room.
  const size_t wholeEnd = byteCount < 3 ? 0 : byteCount - 3;
  const size_t roomEnd = capacity < 1 ? 0 : capacity - 1;
  while (at < wholeEnd && written < roomEnd) {
    const uint8_t first = source[at];
    if (first < 0x80) {
      if (source[at + 1] < 0x80 && byteCount - at >= 8 && capacity - written >= 8) {
        const size_t ascii = copyAsciiOfEight(source + at, target + written);
        at += ascii;
        written += ascii;
      } else {
        target[written++] = first;
        ++at;
      }
      continue;
    }
    VQChar character = 0;
    const uint32_t length = readMulti(source + at, &character);
    if (length == 0) break;
    Target::store(character, target + written);
    at += length;
    written += Target::sizeOf(character);
  }
  while (at < byteCount) {
    const Sequence next = readSequence(source + at, byteCount - at);
    if (next.status != 0) return {next.status, at, written};
    const uint32_t size = Target::sizeOf(next.character);
    if (capacity - written < size) return {VQSTATUS_TARGET_FULL, at, written};
    Target::store(next.character, target + written);
    at += next.byteCount;
    written += size;
  }
  return {0, at, written};
}

}  // namespace

Result utf8ToWide(const uint8_t* source, size_t byteCount, VQChar* target, size_t capacity) {
  return fromUtf8<WideTarget>(source, byteCount, target, capacity);
}

Result utf8ToUtf16(const uint8_t* source, size_t byteCount, char16_t* target, size_t capacity) {
  return fromUtf8<Utf16Target>(source, byteCount, target, capacity);
}

Result wideToUtf8(const VQChar* source, size_t elementCount, uint8_t* target, size_t capacity) {
  size_t written = 0;
  for (size_t at = 0; at < elementCount; ++at) {
    const VQChar c = source[at];
    const size_t room = capacity - written;
    uint8_t* out = target + written;
    if (c < 0x80) {
      if (room < 1) return {VQSTATUS_TARGET_FULL, at, written};
      out[0] = static_cast<uint8_t>(c);
      written += 1;
    } else if (c < 0x800) {
      if (room < 2) return {VQSTATUS_TARGET_FULL, at, written};
      out[0] = static_cast<uint8_t>(0xC0 | c >> 6);
      out[1] = static_cast<uint8_t>(0x80 | (c & 0x3F));
      written += 2;
    } else if (c < 0x10000) {
      if (isSurrogate(c)) return {VQSTATUS_BAD_SEQUENCE, at, written};
      if (room < 3) return {VQSTATUS_TARGET_FULL, at, written};
      out[0] = static_cast<uint8_t>(0xE0 | c >> 12);
      out[1] = static_cast<uint8_t>(0x80 | (c >> 6 & 0x3F));
      out[2] = static_cast<uint8_t>(0x80 | (c & 0x3F));
      written += 3;
    } else {
      if (c > 0x10FFFF) return {VQSTATUS_BAD_SEQUENCE, at, written};
      if (room < 4) return {VQSTATUS_TARGET_FULL, at, written};
      out[0] = static_cast<uint8_t>(0xF0 | c >> 18);
      out[1] = static_cast<uint8_t>(0x80 | (c >> 12 & 0x3F));
      out[2] = static_cast<uint8_t>(0x80 | (c >> 6 & 0x3F));
      out[3] = static_cast<uint8_t>(0x80 | (c & 0x3F));
      written += 4;
    }
  }
  return {0, elementCount, written};
}

Result wideToUtf16(const VQChar* source, size_t elementCount, char16_t* target, size_t capacity) {
  size_t written = 0;
  for (size_t at = 0; at < elementCount; ++at) {
    const VQChar c = source[at];
    if (isSurrogate(c) || c > 0x10FFFF) return {VQSTATUS_BAD_SEQUENCE, at, written};
    const uint32_t size = Utf16Target::sizeOf(c);
    if (capacity - written < size) return {VQSTATUS_TARGET_FULL, at, written};
    Utf16Target::store(c, target + written);
    written += size;
  }
  return {0, elementCount, written};
}

size_t wideLengthOfUtf8(const uint8_t* source, size_t byteCount) {
  size_t characters = 0;
  for (size_t at = 0; at < byteCount; ++at) characters += !isContinuation(source[at]);
  return characters;
}

size_t utf8LengthOfWide(const VQChar* source, size_t elementCount) {
  size_t bytes = elementCount;
  for (size_t at = 0; at < elementCount; ++at) {
    const VQChar c = source[at];
    bytes += static_cast<size_t>(c >= 0x80) + (c >= 0x800) + (c >= 0x10000);
  }
  return bytes;
}

// A surrogate counts two: four bytes a pair.
size_t utf8LengthOfUtf16(const char16_t* source, size_t unitCount) {
  size_t bytes = unitCount;
  for (size_t at = 0; at < unitCount; ++at) {
    const char16_t unit = source[at];
    bytes += static_cast<size_t>(unit >= 0x80) + (unit >= 0x800) - isSurrogate(unit);
  }
  return bytes;
}

size_t wideLengthOfUtf16(const char16_t* source, size_t unitCount) {
  size_t characters = 0;
  for (size_t at = 0; at < unitCount; ++at) characters += (source[at] & 0xFC00) != 0xDC00;
  return characters;
}

}  // namespace vq::transcode::portable

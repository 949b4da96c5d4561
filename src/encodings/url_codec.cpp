// Percent escapes on plain memory: the walks over a text, with the vector scans where the machine has them.
#include "encodings/url_codec.hpp"

#include <algorithm>
#include <cstring>

#include "text/cpu.hpp"

namespace vq::url {

namespace {

using vector::stepElements;

template <class Element>
uint64_t cleanLengthOf(const Element* text, uint64_t elementCount) {
  uint64_t at = 0;
  if (elementCount >= stepElements && cpu::hasAvx2()) at = vector::cleanLength(text, elementCount);
  using Value = std::conditional_t<sizeof(Element) == 1, uint8_t, VQChar>;
  while (at < elementCount && isUnescaped(static_cast<Value>(text[at]))) ++at;
  return at;
}

// Bytes that the first byte announces, by the old definition of UTF-8 with sequences of up to six.
uint64_t announcedLength(uint8_t first) {
  if (first < 0xC0) return 1;
  return first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF8 ? 4 : first < 0xFC ? 5 : 6;
}

uint8_t byteAt(const char* text, uint64_t index) {
  return static_cast<uint8_t>(text[index]);
}

// Whole steps of ASCII, each byte by itself. The escapes are stored four bytes at a time, which overshoots by
// up to three: the caller sees to the room.
char* escapeAscii(const char* text, uint64_t byteCount, char* target) {
  for (uint64_t i = 0; i < byteCount; ++i) {
    const Escape entry = escapes[byteAt(text, i)];
    std::memcpy(target, &entry, sizeof entry);
    target += entry.length;
  }
  return target;
}

bool isAscii(const char* text) {
  uint64_t words[stepElements / 8];
  std::memcpy(words, text, stepElements);
  return ((words[0] | words[1] | words[2] | words[3]) & 0x8080808080808080u) == 0;
}

// -1 for a byte that is no digit.
constexpr auto digitValues = [] {
  std::array<int8_t, 256> values{};
  values.fill(-1);
  for (unsigned i = 0; i < 10; ++i) values['0' + i] = static_cast<int8_t>(i);
  for (unsigned i = 0; i < 6; ++i) values['a' + i] = values['A' + i] = static_cast<int8_t>(10 + i);
  return values;
}();

int digitAt(const char* text, uint64_t index) {
  return digitValues[byteAt(text, index)];
}

}  // namespace

uint64_t cleanLength(const char* text, uint64_t byteCount) {
  return cleanLengthOf(text, byteCount);
}

uint64_t cleanLength(const VQChar* text, uint64_t elementCount) {
  return cleanLengthOf(text, elementCount);
}

uint64_t escapedLength(const char* text, uint64_t byteCount) {
  uint64_t escaped = 0;
  for (uint64_t at = 0; at < byteCount;) {
    if (byteCount - at >= stepElements && cpu::hasAvx2()) {
      escaped += vector::countAscii(text + at, byteCount - at, &at);
    }
    // A step's length of characters at a time, so that prose in another script tries the vectors rarely.
    const uint64_t stop = std::min(byteCount, at + stepElements);
    while (at < stop) {
      const uint64_t announced = announcedLength(byteAt(text, at));
      const uint64_t length = std::min(announced, byteCount - at);
      escaped += announced > 1 ? length : (escapes[byteAt(text, at)].length == 3 ? 1 : 0);
      at += length;
    }
  }
  uint64_t sum = 0;
  return __builtin_add_overflow(byteCount, 2 * escaped, &sum) ? UINT64_MAX : sum;
}

void escape(const char* text, uint64_t byteCount, char* target, uint64_t targetBytes) {
  const char* end = text + byteCount;
  char* targetEnd = target + targetBytes;
  // Where a step of escapes must not overshoot: the source itself, when that is the end of the target, or
  // else the place in the target from which a step may still follow.
  const bool isInPlace = end == targetEnd;
  constexpr int64_t overshoot = 2 * static_cast<int64_t>(stepElements) + 4;
  const auto hasRoom = [&] {
    return isInPlace ? text - target >= overshoot
                     : targetEnd - target >= overshoot + static_cast<int64_t>(stepElements);
  };
  while (text < end) {
    uint64_t left = static_cast<uint64_t>(end - text);
    if (left >= stepElements && cpu::hasAvx2()) {
      const uint64_t copied = vector::copyClean(text, left, target);
      text += copied;
      target += copied;
      left -= copied;
    }
    if (left >= stepElements && hasRoom() && isAscii(text)) {
      target = escapeAscii(text, stepElements, target);
      text += stepElements;
      continue;
    }
    const char* stop = text + std::min(left, stepElements);
    while (text < stop) {
      const uint64_t announced = announcedLength(byteAt(text, 0));
      if (announced == 1) {
        const Escape entry = escapes[byteAt(text, 0)];
        target = std::copy_n(entry.characters, entry.length, target);
        ++text;
        continue;
      }
      for (uint64_t i = std::min(announced, static_cast<uint64_t>(end - text)); i != 0; --i, ++text) {
        target = std::copy_n(escapeOf(byteAt(text, 0)).characters, 3, target);
      }
    }
  }
}

uint64_t unescape(char* text, uint64_t byteCount) {
  uint64_t at = 0, written = 0;
  while (at < byteCount) {
    const uint64_t left = byteCount - at;
    if (left >= stepElements && cpu::hasAvx2()) {
      const uint64_t moved = vector::moveUnescaped(text + at, left, text + written);
      at += moved;
      written += moved;
    }
    for (const uint64_t stop = std::min(byteCount, at + stepElements); at < stop;) {
      const char byte = text[at];
      if (byte == '%' && at + 1 < byteCount) {
        const bool isWhole = at + 2 < byteCount;
        const int value =
            isWhole ? 16 * digitAt(text, at + 1) + digitAt(text, at + 2) : digitAt(text, at + 1);
        text[written++] = static_cast<char>(value);
        at += isWhole ? 3 : 2;
        continue;
      }
      text[written++] = byte == '+' ? ' ' : byte;
      ++at;
    }
  }
  return written;
}

}  // namespace vq::url

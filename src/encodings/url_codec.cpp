// Percent escapes on plain memory: the walks over a text, with the vector scans where the machine has them.
#include "encodings/url_codec.hpp"

#include <algorithm>
#include <cstring>

#include "text/cpu.hpp"
#include "utf/transcode.hpp"

namespace vq::url {

namespace {

using vector::stepElements;

template <class Element>
uint64_t cleanLengthOf(const Element* text, uint64_t elementCount) {
  if (cpu::hasAvx512()) return wide_vector::cleanLength(text, elementCount);
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

// Stores what stands for a byte.
char* put(char* target, uint8_t byte) {
  const Escape escape = escapes[byte];
  if (escape.length == 1) {
    *target = escape.characters[0];
    return target + 1;
  }
  std::memcpy(target, escape.characters, 3);
  return target + 3;
}
VQChar* put(VQChar* target, uint8_t byte) {
  const Escape escape = escapes[byte];
  for (unsigned i = 0; i < escape.length; ++i) target[i] = static_cast<VQChar>(escape.characters[i]);
  return target + escape.length;
}

// Every byte by itself. `escapeSteps` moves text and target on where vectors can.
template <class Element, class EscapeSteps>
void escapeRegular(const char* text, const char* end, Element* target, EscapeSteps escapeSteps) {
  while (text < end) {
    if (static_cast<uint64_t>(end - text) >= stepElements && cpu::hasAvx2()) escapeSteps(&text, &target);
    const char* stop = text + std::min(static_cast<uint64_t>(end - text), stepElements);
    for (; text < stop; ++text) target = put(target, static_cast<uint8_t>(*text));
  }
}

[[gnu::noinline]] void escapeSequences(const char* text, uint64_t byteCount, char* target) {
  const char* end = text + byteCount;
  while (text < end) {
    const auto first = static_cast<uint8_t>(*text);
    const uint64_t announced = announcedLength(first);
    if (announced == 1) {
      target = put(target, first);
      ++text;
      continue;
    }
    for (auto i = std::min(announced, static_cast<uint64_t>(end - text)); i != 0; --i, ++text) {
      const Escape escape = escapeOf(static_cast<uint8_t>(*text));
      target = std::copy_n(escape.characters, 3, target);
    }
  }
}

}  // namespace

uint64_t cleanLength(const char* text, uint64_t byteCount) {
  return cleanLengthOf(text, byteCount);
}

uint64_t cleanLength(const VQChar* text, uint64_t elementCount) {
  return cleanLengthOf(text, elementCount);
}

Measure measureSequences(const char* text, uint64_t byteCount) {
  uint64_t escaped = 0;
  for (uint64_t at = 0; at < byteCount;) {
    const uint64_t announced = announcedLength(byteAt(text, at));
    const uint64_t length = std::min(announced, byteCount - at);
    if (announced > 1 || !isUnescaped(byteAt(text, at))) escaped += length;
    at += length;
  }
  return {escaped, false};
}

// What follows in this file is told by AVX-512 alone where the machine has it. The other forms stay out of
// line, so that a short text pays for no frame there.
namespace {

[[gnu::noinline]] Measure measureBytes(const char* text, uint64_t byteCount) {
  Measure sum;
  uint64_t at = 0;
  uint32_t reached = 0;
  if (byteCount >= stepElements && cpu::hasAvx2()) at = vector::measure(text, byteCount, &sum, &reached);
  for (; at < byteCount; ++at) {
    const uint8_t byte = byteAt(text, at);
    const bool isEscaped = escapes[byte].length != 1;
    sum.escapedBytes += isEscaped ? 1 : 0;
    if (!isEscaped && (reached & 1) != 0) sum.isRegular = false;
    reached >>= 1;
    if (byte >= 0xC0) reached |= (1u << (announcedLength(byte) - 1)) - 1;
  }
  return sum.isRegular ? sum : measureSequences(text, byteCount);
}

[[gnu::noinline]] void escapeBytes(const char* text, uint64_t byteCount, char* target,
                                   uint64_t targetLength) {
  const char* end = text + byteCount;
  const char* targetEnd = target + targetLength;
  const bool isInPlace = end == targetEnd;
  escapeRegular(text, end, target, [=](const char** from, char** to) {
    const char* limit = isInPlace ? *from : targetEnd;
    *from += vector::escape(*from, static_cast<uint64_t>(end - *from), to, limit, isInPlace);
  });
}

[[gnu::noinline]] void escapeBytes(const char* text, uint64_t byteCount, VQChar* target,
                                   uint64_t targetLength) {
  const char* end = text + byteCount;
  const VQChar* targetEnd = target + targetLength;
  escapeRegular(text, end, target, [=](const char** from, VQChar** to) {
    *from += vector::escape(*from, static_cast<uint64_t>(end - *from), to, targetEnd);
  });
}

}  // namespace

Measure measure(const char* text, uint64_t byteCount) {
  return cpu::hasAvx512() ? wide_vector::measure(text, byteCount) : measureBytes(text, byteCount);
}

void escape(const char* text, uint64_t byteCount, bool isRegular, char* target, uint64_t targetLength) {
  if (!isRegular) return escapeSequences(text, byteCount, target);
  if (cpu::hasAvx512()) return wide_vector::escape(text, byteCount, target);
  return escapeBytes(text, byteCount, target, targetLength);
}

void escapeToWide(const char* text, uint64_t byteCount, VQChar* target, uint64_t targetLength) {
  if (cpu::hasAvx512()) return wide_vector::escapeToWide(text, byteCount, target, targetLength);
  return escapeBytes(text, byteCount, target, targetLength);
}

uint64_t unescape(char* text, uint64_t byteCount) {
  uint64_t at = 0, written = 0;
  while (at < byteCount) {
    if (cpu::hasAvx512()) {
      wide_vector::unescape(text, byteCount, &at, &written);
    } else if (cpu::hasAvx2()) {
      vector::unescape(text, byteCount, &at, &written);
    }
    // A step by single bytes: at the end, and where a '%' stands in the place of a digit.
    for (const uint64_t stop = std::min(byteCount, at + stepElements); at < stop;) {
      const char byte = text[at];
      if (byte == '%' && byteCount - at > 2) {
        text[written++] = byteOfDigits(text + at + 1);
        at += 3;
      } else if (byte == '%' && byteCount - at == 2) {
        text[written++] = static_cast<char>(digitValues[byteAt(text, at + 1)]);
        at += 2;
      } else {
        text[written++] = byte == '+' ? ' ' : byte;
        ++at;
      }
    }
  }
  return written;
}

uint64_t narrow(const VQChar* text, uint64_t elementCount, char* target, uint64_t room) {
  const transcode::Result result =
      transcode::wideToUtf8(text, elementCount, reinterpret_cast<uint8_t*>(target), room);
  // A text that stops early has not become as many bytes.
  return result.status == 0 && result.written == elementCount ? elementCount : notAscii;
}

uint64_t unescape(const VQChar* text, uint64_t elementCount, char* target, uint64_t room) {
  if (cpu::hasAvx512()) {
    const uint64_t length = wide_vector::unescape(text, elementCount, target, room);
    if (length != notAscii) return length;
  }
  if (narrow(text, elementCount, target, room) == notAscii) return notAscii;
  return unescape(target, elementCount);
}

}  // namespace vq::url

// Edits of UTF-8 strings. A text in another encoding passes through the host first, and where it replaces the
// whole text the converted block becomes the string's storage, without a second copy.
#include "strings/conversion_pass.hpp"
#include "strings/editing.hpp"
#include "vqstring/utf.h"

using namespace vq;

VQStatus vqU8StringCopyText(VQU8String* string, const void* text, int64_t length, uint32_t encoding) {
  PassedText<char> passed = passToU8(string->service, string->pool, text, length, encoding);
  if (passed.status != 0) return passed.status;
  if (!passed.isConverted()) {
    return copyText<U8Kind>(string, passed.text, passed.elementCount, Room::spare);
  }
  adoptBlock<U8Kind>(string, passed.block.release(), passed.elementCount, passed.capacity);
  return 0;
}

VQStatus vqU8StringConcatText(VQU8String* string, const void* text, int64_t length, uint32_t encoding) {
  if (encoding == ENC_UTF8) {
    const char* bytes = static_cast<const char*>(text);
    return appendText<U8Kind>(string, bytes, resolvedLength<U8Kind>(bytes, length));
  }
  const PassedText<char> passed = passToU8(string->service, string->pool, text, length, encoding);
  return passed.status == 0 ? appendText<U8Kind>(string, passed.text, passed.elementCount) : passed.status;
}

VQStatus vqU8StringInsertU8(VQU8String* string, uint64_t position, const char* bytes, uint64_t byteCount) {
  if (position > string->length) return VQSTATUS_BAD_ARGUMENT;
  return byteCount == 0 ? 0 : insertText<U8Kind>(string, position, bytes, byteCount);
}

VQStatus vqU8StringInsertVQText(VQU8String* string, uint64_t position, const VQChar* text, int64_t length) {
  if (length == 0) return 0;
  if (string->service->wideToUtf8 == nullptr) return vqU8StringInsertU8(string, position, nullptr, 0);
  const PassedText<char> passed = passToU8(string->service, string->pool, text, length, ENC_WIDE);
  if (passed.status != 0) return passed.status;
  return vqU8StringInsertU8(string, position, passed.text, passed.elementCount);
}

namespace {

constexpr uint32_t allBlanks = 1;  // a mode of vqzsu8StripBlanks

// Bytes of the blank at the start of the text, or 0. Characters of different sizes may follow each other.
uint64_t leadingBlank(const char* text, uint64_t byteCount) {
  const auto first = static_cast<uint8_t>(text[0]);
  if (first < 0x80) return first == 0x20 || (first >= 0x09 && first <= 0x0D) ? 1 : 0;
  // A blank above ASCII is U+0085 or U+00A0, or one of the three-byte characters from U+1680 to U+3000.
  const uint64_t size = first == 0xC2 ? 2 : 3;
  if (first < 0xC2 || first > 0xE3 || size > byteCount) return 0;
  return vqzsu8StripBlanks(text, size, allBlanks) == 0 ? size : 0;
}

}  // namespace

VQStatus vqU8StringTrimWhitespace(VQU8String* string) {
  const char* text = string->text;
  const uint64_t length = string->length;
  uint64_t front = 0;
  while (front < length) {
    const uint64_t blank = leadingBlank(text + front, length - front);
    if (blank == 0) break;
    front += blank;
  }
  if (front == length) {
    cutText<U8Kind>(string, front, 0);
    return 0;
  }
  cutText<U8Kind>(string, front, vqzsu8StripBlanks(text + front, length - front, allBlanks));
  return 0;
}

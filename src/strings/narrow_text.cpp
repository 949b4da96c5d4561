// Edits of narrow strings, and the three functions on plain zero-terminated bytes.
//
// A copy takes bytes and encoding as they come; an append converts into the encoding that the string has.
#include <cstring>

#include "strings/conversion_pass.hpp"
#include "strings/editing.hpp"
#include "text/search.hpp"

using namespace vq;

VQStatus vqNStringCopyText(VQNarrowString* string, const char* text, int64_t length, uint32_t encoding) {
  const VQStatus status =
      copyText<NarrowKind>(string, text, resolvedLength<NarrowKind>(text, length), Room::spare);
  if (status == 0) string->encoding = encoding;
  return status;
}

VQStatus vqNStringCopy(VQNarrowString* string, const VQNarrowString* source) {
  return vqNStringCopyText(string, source->text, source->length, source->encoding);
}

VQStatus vqNStringConcatText(VQNarrowString* string, const char* text, int64_t length, uint32_t encoding) {
  const uint64_t byteCount = resolvedLength<NarrowKind>(text, length);
  if (encoding == string->encoding) return appendText<NarrowKind>(string, text, byteCount);
  const PassedText<char> passed = passToNarrow(string->service, text, byteCount, encoding, string->encoding);
  return passed.status == 0 ? appendText<NarrowKind>(string, passed.text, passed.elementCount)
                            : passed.status;
}

VQStatus vqNStringConcat(VQNarrowString* string, const VQNarrowString* source) {
  return vqNStringConcatText(string, source->text, source->length, source->encoding);
}

uint8_t vqNTextEqual(const char* first, const char* second) {
  return std::strcmp(first, second) == 0;
}

void vqNTextConcat(char* target, const char* source) {
  // Both are measured first, so that a text can be appended to itself.
  const size_t targetBytes = std::strlen(target), sourceBytes = std::strlen(source);
  std::memmove(target + targetBytes, source, sourceBytes);
  target[targetBytes + sourceBytes] = 0;
}

int64_t vqNTextIndex(const char* text, const char* pattern) {
  if (*pattern == 0) return -1;
  return text::findFirst(reinterpret_cast<const uint8_t*>(text), std::strlen(text),
                         reinterpret_cast<const uint8_t*>(pattern), std::strlen(pattern));
}

// Edits of wide strings. A text in another encoding passes through the host first; an edit with a source that
// needs no conversion and finds room makes no pool call.
#include "strings/conversion_pass.hpp"
#include "strings/editing.hpp"
#include "text/classify.hpp"

using namespace vq;

namespace {

// The host converts the text.
template <class Edit>
[[gnu::noinline]] VQStatus withConvertedText(const VQString* string, const void* text, int64_t length,
                                             uint32_t encoding, Edit edit) {
  uint64_t byteCount = 0;
  if (!textByteCount(text, length, encoding, &byteCount)) return VQSTATUS_NO_MEMORY;
  const PassedText<VQChar> passed = convertToWide(string->service, string->pool, text, byteCount, encoding);
  return passed.status == 0 ? edit(passed.text, passed.elementCount) : passed.status;
}

// A text that the host does not convert goes on as it stands, its bytes read as elements.
template <class Edit>
[[gnu::noinline]] VQStatus withAnyText(const VQString* string, const void* text, int64_t length,
                                       uint32_t encoding, Edit edit) {
  if (canConvert(string->service, encoding, ENC_WIDE)) {
    return withConvertedText(string, text, length, encoding, edit);
  }
  uint64_t byteCount = 0;
  if (!textByteCount(text, length, encoding, &byteCount)) return VQSTATUS_NO_MEMORY;
  return edit(static_cast<const VQChar*>(text), byteCount / sizeof(VQChar));
}

// Hands the text to `edit` as wide text. Wide text of a given length, which is the rule, has a short way; a
// length beyond all memory finds no room there.
template <class Edit>
inline VQStatus withWideText(const VQString* string, const void* text, int64_t length, uint32_t encoding,
                             Edit edit) {
  if (encoding != ENC_WIDE || length == -1) [[unlikely]] {
    return withAnyText(string, text, length, encoding, edit);
  }
  if (canConvert(string->service, ENC_WIDE, ENC_WIDE)) [[unlikely]] {
    return withConvertedText(string, text, length, ENC_WIDE, edit);
  }
  return edit(static_cast<const VQChar*>(text), static_cast<uint64_t>(length));
}

}  // namespace

VQStatus vqStringCopy(VQString* string, const VQString* source) {
  if (source->length == 0) return 0;
  return copyText<WideKind>(string, source->text, lengthOf<WideKind>(source), Room::tight);
}

VQStatus vqStringCopyText(VQString* string, const void* text, int64_t length, uint32_t encoding) {
  return withWideText(string, text, length, encoding, [string](const VQChar* source, uint64_t count) {
    return copyText<WideKind>(string, source, count, Room::spare);
  });
}

VQStatus vqStringConcat(VQString* string, const VQString* source) {
  if (source->length == 0) [[unlikely]]
    return 0;
  return appendText<WideKind>(string, source->text, lengthOf<WideKind>(source));
}

VQStatus vqStringConcatText(VQString* string, const void* text, int64_t length, uint32_t encoding) {
  return withWideText(string, text, length, encoding, [string](const VQChar* source, uint64_t count) {
    return appendText<WideKind>(string, source, count);
  });
}

VQStatus vqStringInsertText(VQString* string, int64_t position, const void* text, int64_t length,
                            uint32_t encoding) {
  // A negative position is out of bounds like any other.
  const auto at = static_cast<uint64_t>(position);
  if (at > lengthOf<WideKind>(string)) return VQSTATUS_BAD_ARGUMENT;
  return withWideText(string, text, length, encoding, [string, at](const VQChar* source, uint64_t count) {
    return insertText<WideKind>(string, at, source, count);
  });
}

VQString* vqStringSubstring(const VQString* string, int64_t start, int64_t count, VQStatus* status) {
  const auto from = static_cast<uint64_t>(start);
  const auto elementCount = static_cast<uint64_t>(count);
  const uint64_t length = lengthOf<WideKind>(string);
  if (count == 0 || from > length || elementCount > length - from) {
    *status = VQSTATUS_BAD_ARGUMENT;
    return nullptr;
  }
  VQString* made = createCopy<WideKind>(string->service, string->pool, string->text + from, elementCount);
  *status = made != nullptr ? 0 : VQSTATUS_NO_MEMORY;
  return made;
}

VQStatus vqStringTrimWhitespace(VQString* string) {
  const VQChar* text = string->text;
  uint64_t end = lengthOf<WideKind>(string), front = 0;
  while (front < end && text::isSpace(text[front])) ++front;
  while (end > front && text::isSpace(text[end - 1])) --end;
  cutText<WideKind>(string, front, end - front);
  return 0;
}

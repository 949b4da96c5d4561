// The URL operations of strings: escapes written and taken out in place.
//
// Escaping measures, makes room once, and writes the escaped text in one pass; where the string's own storage
// has the room, the text is first moved to the end of it. Of a wide string that is done with the front that
// is known to convert. What is left then, and everything when something fails on the way, is escaped one
// character at a time, so that a failure leaves the string escaped up to the character that it met.
#include <algorithm>

#include "encodings/conversion_steps.hpp"
#include "encodings/url_codec.hpp"
#include "utf/transcode.hpp"
#include "vqstring/encodings.h"

using namespace vq;

namespace {

// The UTF-8 form of some wide text; made by the first use, refilled by later ones, ended with the scope.
class Utf8Form {
 public:
  explicit Utf8Form(const VQString* owner) : owner_(owner) {}
  Utf8Form(const Utf8Form&) = delete;
  Utf8Form& operator=(const Utf8Form&) = delete;
  ~Utf8Form() { vqNarrowStringDestroy(narrow_); }

  VQStatus fill(const VQChar* text, uint64_t elementCount) {
    VQString wrapped;
    vqStringInitStatic(owner_->service, &wrapped, owner_->pool, text, static_cast<int64_t>(elementCount));
    return vqStringDecode(&wrapped, &narrow_, owner_->pool, ENC_UTF8);
  }
  // The same for a text that is likely to be ASCII throughout: the host is spared all but its first
  // character.
  VQStatus fillLikelyAscii(const VQChar* text, uint64_t elementCount) {
    if (text[0] >= 0x80) return fill(text, elementCount);
    VQStringService* service = owner_->service;
    VQPool* pool = owner_->pool != nullptr ? owner_->pool : service->pool;
    if (!ensureTarget<NarrowKind>(service, &narrow_, pool)) return VQSTATUS_NO_MEMORY;
    // As many bytes as characters are room for nothing else.
    const auto narrow = [=](char* target) {
      auto* bytes = reinterpret_cast<uint8_t*>(target);
      return transcode::wideToUtf8(text, elementCount, bytes, elementCount).status == 0;
    };
    bool isFilled = false;
    const VQStatus status = fillAscii<NarrowKind>(narrow_, service, text, 1, elementCount, narrow, &isFilled);
    return status != 0 || isFilled ? status : fill(text, elementCount);
  }
  char* text() const { return narrow_->text; }
  uint64_t length() const { return static_cast<uint64_t>(narrow_->length); }

 private:
  const VQString* owner_;
  VQNarrowString* narrow_ = nullptr;
};

bool hasUtf8Form(VQChar character) {
  return character < 0xD800 || (character > 0xDFFF && character <= 0x10FFFF);
}

// The UTF-8 form of the text from `first` on: of everything, or else of what stands in front of the first
// character without such a form. Answers the number of characters; 0 when the conversion fails, or when its
// size is not that of the characters taken one by one.
uint64_t fillFront(const VQString* string, uint64_t first, Utf8Form* utf8) {
  const VQChar* text = string->text + first;
  const uint64_t rest = static_cast<uint64_t>(string->length) - first;
  const uint64_t byteCount = transcode::utf8LengthOfWide(text, rest);
  const bool isAscii = byteCount == rest;
  if ((isAscii ? utf8->fillLikelyAscii(text, rest) : utf8->fill(text, rest)) == 0) {
    return utf8->length() == byteCount ? rest : 0;
  }
  const auto count = static_cast<uint64_t>(std::find_if_not(text, text + rest, hasUtf8Form) - text);
  const bool isConverted = count != 0 && count != rest && utf8->fill(text, count) == 0;
  return isConverted && utf8->length() == transcode::utf8LengthOfWide(text, count) ? count : 0;
}

// Escapes the front of the string, from the first character that needs it to the first without a UTF-8 form.
// Answers the position behind the escaped front: everything, when nothing fails. A failure changes nothing.
uint64_t escapeFront(VQString* string, uint64_t first) {
  Utf8Form utf8(string);
  const auto length = static_cast<uint64_t>(string->length);
  const uint64_t frontCount = fillFront(string, first, &utf8);
  const VQChar* text = string->text + first;
  if (frontCount == 0) return first;
  const url::Measure measure = url::measure(utf8.text(), utf8.length());
  if (!measure.isRegular) return first;
  const uint64_t escapedCount = measure.length(utf8.length());
  const uint64_t tailCount = length - first - frontCount;
  const uint64_t newLength = first + escapedCount + tailCount;
  Refill<WideKind> refill(string, newLength);
  if (!refill) return first;
  VQChar* target = refill.text();
  if (target != string->text) copyElements(target, string->text, first);
  // The tail goes first: in the own storage the escaped front takes its place.
  moveElements(target + first + escapedCount, text + frontCount, tailCount);
  url::escapeToWide(utf8.text(), utf8.length(), target + first, escapedCount);
  refill.settle(newLength);
  return first + escapedCount;
}

// Escapes the character at `*index` and moves the index behind it. A failure leaves what is done by then.
VQStatus escapeCharacter(VQString* string, int64_t* index, Utf8Form* utf8) {
  const VQChar character = string->text[*index];
  if (const VQStatus status = utf8->fill(&character, 1); status != 0) return status;
  const uint64_t byteCount = utf8->length();
  if (byteCount != 0) string->text[*index] = U'%';
  for (uint64_t i = 0; i < byteCount; ++i) {
    if (i != 0) {
      ++*index;
      const VQStatus status = vqStringInsertText(string, *index, U"%", 1, ENC_WIDE);
      if (status != 0) return status;
    }
    const url::Escape escape = url::escapeOf(static_cast<uint8_t>(utf8->text()[i]));
    const VQChar digits[2] = {static_cast<VQChar>(escape.characters[1]),
                              static_cast<VQChar>(escape.characters[2])};
    if (const VQStatus status = vqStringInsertText(string, *index + 1, digits, 2, ENC_WIDE); status != 0) {
      return status;
    }
    *index += 2;
  }
  ++*index;
  return 0;
}

// Escapes a string whose first `first` bytes need it not.
inline VQStatus escapeFrom(VQU8String* string, uint64_t first) {
  const uint64_t rest = string->length - first;
  const char* source = string->text + first;
  const url::Measure measure = url::measure(source, rest);
  if (measure.escapedBytes == 0) return 0;
  const uint64_t escapedCount = measure.length(rest), newLength = saturatedSum(first, escapedCount);
  Refill<U8Kind> refill(string, newLength);
  if (!refill) return VQSTATUS_NO_MEMORY;
  char* target = refill.text();
  if (target == string->text) {
    char* moved = target + newLength - rest;
    moveElements(moved, source, rest);
    source = moved;
  } else {
    copyElements(target, string->text, first);
  }
  url::escape(source, rest, measure.isRegular, target + first, escapedCount);
  refill.settle(newLength);
  return 0;
}

[[gnu::noinline]] VQStatus escapeLong(VQU8String* string) {
  return escapeFrom(string, url::cleanLength(string->text, string->length));
}

}  // namespace

VQStatus vqStringURLEncode(VQString* string) {
  const auto length = static_cast<uint64_t>(string->length);
  const uint64_t first = url::cleanLength(string->text, length);
  if (first == length) return 0;
  auto index = static_cast<int64_t>(escapeFront(string, first));
  Utf8Form utf8(string);
  while (index < string->length) {
    if (url::isUnescaped(string->text[index])) {
      ++index;
    } else if (const VQStatus status = escapeCharacter(string, &index, &utf8); status != 0) {
      return status;
    }
  }
  return 0;
}

VQStatus vqU8StringURLEncode(VQU8String* string) {
  // A short text is measured at once: that tells too whether there is anything to escape.
  constexpr uint64_t fewBytes = 64;
  return string->length <= fewBytes ? escapeFrom(string, 0) : escapeLong(string);
}

VQStatus vqStringURLDecode(VQString* string) {
  if (string->length == 0) return 0;
  Utf8Form utf8(string);
  const VQStatus status = utf8.fillLikelyAscii(string->text, static_cast<uint64_t>(string->length));
  if (status != 0) return status;
  const uint64_t byteCount = url::unescape(utf8.text(), utf8.length());
  return vqStringEncode(string->service, &string, string->pool, utf8.text(), static_cast<int64_t>(byteCount),
                        ENC_UTF8);
}

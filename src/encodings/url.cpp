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
  explicit Utf8Form(const VQString* owner)
      : service_(owner->service), pool_(owner->pool != nullptr ? owner->pool : service_->pool) {}
  Utf8Form(const Utf8Form&) = delete;
  Utf8Form& operator=(const Utf8Form&) = delete;
  ~Utf8Form() { destroy<NarrowKind>(narrow_); }

  VQStatus fill(const VQChar* text, uint64_t elementCount) {
    return decodeText(service_, text, elementCount, ENC_UTF8, &narrow_, pool_);
  }
  // The same where the text is likely to be ASCII throughout.
  VQStatus fillLikelyAscii(const VQChar* text, uint64_t elementCount) {
    bool isFilled = false;
    const VQStatus status = fillByFront(
        text, elementCount,
        [=](char* target, uint64_t room) { return url::narrow(text, elementCount, target, room); },
        &isFilled);
    return status != 0 || isFilled ? status : fill(text, elementCount);
  }
  // The form of the text without its escapes.
  VQStatus fillUnescaped(const VQChar* text, uint64_t elementCount) {
    bool isFilled = false;
    VQStatus status = fillByFront(
        text, elementCount,
        [=](char* target, uint64_t room) { return url::unescape(text, elementCount, target, room); },
        &isFilled);
    if (status != 0 || isFilled) return status;
    status = fill(text, elementCount);
    if (status == 0) endText<NarrowKind>(narrow_, url::unescape(narrow_->text, length()));
    return status;
  }
  char* text() const { return narrow_->text; }
  uint64_t length() const { return static_cast<uint64_t>(narrow_->length); }

 private:
  // Of a text that is likely to be ASCII throughout the host is asked about the first character alone.
  // `write` puts all of it and answers its bytes, or url::notAscii: then `*isFilled` stays false, as it does
  // when the first character is not ASCII.
  template <class Write>
  VQStatus fillByFront(const VQChar* text, uint64_t elementCount, Write write, bool* isFilled) {
    *isFilled = false;
    if (text[0] >= 0x80) return 0;
    if (!ensureTarget<NarrowKind>(service_, &narrow_, pool_)) return VQSTATUS_NO_MEMORY;
    uint64_t length = 0;
    const auto writeAll = [&](char* target, uint64_t room) {
      length = write(target, room);
      return length != url::notAscii;
    };
    const VQStatus status =
        fillAscii<NarrowKind>(narrow_, service_, text, 1, elementCount, writeAll, isFilled);
    if (*isFilled) endText<NarrowKind>(narrow_, length);
    return status;
  }

  VQStringService* service_;
  VQPool* pool_;
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
  if (target != string->text) moveMostlyShort(target, string->text, first);
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

// Escapes the characters from `index` on, one by one.
[[gnu::noinline]] VQStatus escapeRest(VQString* string, int64_t index) {
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
  const auto done = static_cast<int64_t>(escapeFront(string, first));
  return done >= string->length ? 0 : escapeRest(string, done);
}

VQStatus vqU8StringURLEncode(VQU8String* string) {
  // A short text is measured at once: that tells too whether there is anything to escape.
  constexpr uint64_t fewBytes = 64;
  return string->length <= fewBytes ? escapeFrom(string, 0) : escapeLong(string);
}

VQStatus vqStringURLDecode(VQString* string) {
  if (string->length == 0) return 0;
  Utf8Form utf8(string);
  const VQStatus status = utf8.fillUnescaped(string->text, static_cast<uint64_t>(string->length));
  if (status != 0) return status;
  return encodeText(string->service, utf8.text(), utf8.length(), ENC_UTF8, string);
}

// Comparison of wide strings and search in them, with another string, a wide text, or a text in any encoding.
//
// What empty strings and empty texts start with and end with is not one rule but the operation's own; each
// exception stands in front of the common comparison.
#include "compare/matching.hpp"
#include "vqstring/compare.h"

using vq::WideKind;
using vq::matching::Anchor;
using vq::matching::Exact;
using vq::matching::Folded;
using vq::matching::stands;
using vq::matching::standsConverted;

namespace {

template <Anchor anchor, class Sameness>
[[gnu::noinline]] bool standsMeasured(const VQString* string, const VQChar* text) {
  return stands<anchor, Sameness>(string, text, WideKind::measure(text));
}

// With a wide text that is compared where it stands; a length of -1 measures it.
template <Anchor anchor, class Sameness>
inline bool standsWide(const VQString* string, const VQChar* text, int64_t length) {
  return length == -1 ? standsMeasured<anchor, Sameness>(string, text)
                      : stands<anchor, Sameness>(string, text, static_cast<uint64_t>(length));
}

}  // namespace

uint8_t vqStringEqual(const VQString* first, const VQString* second) {
  return stands<Anchor::whole, Exact>(first, second->text, static_cast<uint64_t>(second->length));
}

uint8_t vqStringEqualText(const VQString* string, const void* text, int64_t length, uint32_t encoding,
                          VQStatus* status) {
  return standsConverted<WideKind, Anchor::whole>(string, text, length, encoding, status);
}

uint8_t vqStringCaseEqualText(const VQString* string, const void* text, int64_t length, uint32_t encoding,
                              VQStatus* status) {
  return standsConverted<WideKind, Anchor::whole, Folded>(string, text, length, encoding, status);
}

uint8_t vqStringStartsWith(const VQString* string, const VQString* prefix) {
  if (string->length == 0) return false;
  return stands<Anchor::start, Exact>(string, prefix->text, static_cast<uint64_t>(prefix->length));
}

uint8_t vqStringStartsWithText(const VQString* string, const void* text, int64_t length, uint32_t encoding,
                               VQStatus* status) {
  *status = 0;
  if (string->length == 0) return false;
  return standsConverted<WideKind, Anchor::start>(string, text, length, encoding, status);
}

uint8_t vqStringStartsWithVQText(const VQString* string, const VQChar* text, int64_t length) {
  return standsWide<Anchor::start, Exact>(string, text, length);
}

uint8_t vqStringCaseStartsWithVQText(const VQString* string, const VQChar* text, int64_t length) {
  return standsWide<Anchor::start, Folded>(string, text, length);
}

uint8_t vqStringEndsWithText(const VQString* string, const void* text, int64_t length, uint32_t encoding,
                             VQStatus* status) {
  return standsConverted<WideKind, Anchor::end>(string, text, length, encoding, status);
}

uint8_t vqStringEndsWithVQText(const VQString* string, const VQChar* text, int64_t length) {
  return standsWide<Anchor::end, Exact>(string, text, length);
}

uint8_t vqStringCaseEndsWithVQText(const VQString* string, const VQChar* text, int64_t length) {
  return standsWide<Anchor::end, Folded>(string, text, length);
}

int64_t vqStringIndexOfText(const VQString* string, const void* text, int64_t length, uint32_t encoding,
                            VQStatus* status) {
  *status = 0;
  // A wide needle is searched for where it stands: unlike a comparison, the search never asks the host.
  if (encoding == ENC_WIDE) {
    const auto* sought = static_cast<const VQChar*>(text);
    return vqzsndx(string->text, string->length, sought, length == -1 ? mhStrTLen(sought) : length);
  }
  const auto passed = vq::passToWide(string->service, string->pool, text, length, encoding);
  *status = passed.status;
  if (passed.status != 0) return 0;
  return vqzsndx(string->text, string->length, passed.text, static_cast<int64_t>(passed.elementCount));
}

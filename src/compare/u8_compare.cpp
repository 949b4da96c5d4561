// Comparison of UTF-8 strings, by bytes, with UTF-8 bytes or a text in any encoding.
//
// Unlike in the wide kind, a length of 0 starts and ends nothing. It is tested before -1 is measured, so an
// empty text that had to be measured does start and end every string.
#include "compare/matching.hpp"
#include "vqstring/compare.h"

using vq::U8Kind;
using vq::matching::Anchor;
using vq::matching::Exact;
using vq::matching::stands;
using vq::matching::standsConverted;

namespace {

template <Anchor anchor>
bool standsU8(const VQU8String* u8string, const char* bytes, int64_t byteCount) {
  return stands<anchor, Exact>(u8string, bytes, vq::resolvedLength<U8Kind>(bytes, byteCount));
}

template <Anchor anchor>
bool standsUnlessEmpty(const VQU8String* u8string, const void* text, int64_t length, uint32_t encoding,
                       VQStatus* status) {
  *status = 0;
  return length != 0 && standsConverted<U8Kind, anchor>(u8string, text, length, encoding, status);
}

}  // namespace

uint8_t vqU8StringStartsWithU8(const VQU8String* u8string, const char* bytes, int64_t byteCount) {
  return byteCount != 0 && standsU8<Anchor::start>(u8string, bytes, byteCount);
}

uint8_t vqU8StringEndsWithU8(const VQU8String* u8string, const char* bytes, int64_t byteCount) {
  return byteCount != 0 && standsU8<Anchor::end>(u8string, bytes, byteCount);
}

uint8_t vqU8StringStartsWithText(const VQU8String* u8string, const void* text, int64_t length,
                                 uint32_t encoding, VQStatus* status) {
  return standsUnlessEmpty<Anchor::start>(u8string, text, length, encoding, status);
}

uint8_t vqU8StringEndsWithText(const VQU8String* u8string, const void* text, int64_t length,
                               uint32_t encoding, VQStatus* status) {
  return standsUnlessEmpty<Anchor::end>(u8string, text, length, encoding, status);
}

uint8_t vqU8StringEqualText(const VQU8String* u8string, const void* text, int64_t length, uint32_t encoding,
                            VQStatus* status) {
  // Equality alone takes UTF-8 as it stands; prefixes and suffixes ask the host about UTF-8 too.
  if (encoding == ENC_UTF8) {
    *status = 0;
    return standsU8<Anchor::whole>(u8string, static_cast<const char*>(text), length);
  }
  return standsConverted<U8Kind, Anchor::whole>(u8string, text, length, encoding, status);
}

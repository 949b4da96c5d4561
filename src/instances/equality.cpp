// Whether a string instance holds the same text as another string: code units decide within a kind, across
// kinds the comparison operations, which convert.
#include <cstring>

#include "instances/kind_of.hpp"
#include "vqstring/compare.h"
#include "vqstring/instances.h"
#include "vqstring/service.h"
#include "vqstring/text.h"

namespace vq {

namespace {

uint8_t equalBytes(const VQU8String* string, const char* text, uint64_t byteCount) {
  if (string->length != byteCount) return 0;
  return byteCount == 0 || std::memcmp(string->text, text, byteCount) == 0;
}

uint8_t equalWide(const VQString* string, const VQChar* text, uint64_t elementCount) {
  if (static_cast<uint64_t>(string->length) != elementCount) return 0;
  return elementCount == 0 || std::memcmp(string->text, text, elementCount * sizeof(VQChar)) == 0;
}

VQStatus wideAgainstText(const VQString* string, const char* text, int64_t byteCount, uint8_t* result) {
  VQStatus status = 0;
  *result = vqStringEqualText(string, text, byteCount, ENC_UTF8, &status);
  return status;
}

VQStatus u8AgainstText(const VQU8String* string, const VQChar* text, int64_t elementCount, uint8_t* result) {
  VQStatus status = 0;
  *result = string->service->vqU8StringEqualText(string, text, elementCount, ENC_WIDE, &status);
  return status;
}

}  // namespace

}  // namespace vq

using namespace vq;

VQStatus vqStringInstanceEqual(VQInstance* first, VQInstance* second, uint8_t* result) {
  if (first == nullptr || second == nullptr) {
    *result = first == second;
    return 0;
  }
  *result = 0;
  const StringKind firstKind = stringKindOf(first);
  if (firstKind == StringKind::other) return VQSTATUS_BAD_ARGUMENT;
  const StringKind secondKind = stringKindOf(second);
  if (secondKind == StringKind::other) return VQSTATUS_BAD_ARGUMENT;

  if (firstKind == StringKind::wide) {
    const VQString* string = wideRecord(first);
    if (secondKind == StringKind::wide) {
      *result = vqStringEqual(string, wideRecord(second));
      return 0;
    }
    const VQU8String* other = u8Record(second);
    return wideAgainstText(string, other->text, static_cast<int64_t>(other->length), result);
  }
  const VQU8String* string = u8Record(first);
  if (secondKind == StringKind::wide) {
    const VQString* other = wideRecord(second);
    return u8AgainstText(string, other->text, other->length, result);
  }
  const VQU8String* other = u8Record(second);
  *result = equalBytes(string, other->text, other->length);
  return 0;
}

VQStatus vqStringInstanceEqualU8(VQInstance* instance, const char* text, int64_t length, uint8_t* result) {
  *result = 0;
  switch (stringKindOf(instance)) {
    case StringKind::wide:
      return wideAgainstText(wideRecord(instance), text, length, result);
    case StringKind::u8:
      *result =
          equalBytes(u8Record(instance), text, length == -1 ? mhStrLen(text) : static_cast<uint64_t>(length));
      return 0;
    case StringKind::other:
      break;
  }
  return VQSTATUS_BAD_ARGUMENT;
}

VQStatus vqStringInstanceEqualVQText(VQInstance* instance, const VQChar* text, int64_t length,
                                     uint8_t* result) {
  *result = 0;
  switch (stringKindOf(instance)) {
    case StringKind::wide:
      *result = equalWide(wideRecord(instance), text,
                          length == -1 ? mhStrTLen(text) : static_cast<uint64_t>(length));
      return 0;
    case StringKind::u8:
      return u8AgainstText(u8Record(instance), text, length, result);
    case StringKind::other:
      break;
  }
  return VQSTATUS_BAD_ARGUMENT;
}

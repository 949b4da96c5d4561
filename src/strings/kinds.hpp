// What the three kinds of string differ in: one traits type each, and nothing of it anywhere else.
//
//   Record, Element, Length   the record, its element, and how length and capacity compare
//   typeName, encoding        what the header and a new record say (a narrow string's maker sets its own)
//   destroy, clone            the kind's own header operations
//   validate                  null: the default of the instance extension
//   borrowedClone             what a borrowing string gets as its clone operation; null: the default
//   growth                    how an append gets more room for a text that has a block of its own
//   measure                   elements in front of the zero element
#pragma once

#include <cstdint>

#include "vqstring/instances.h"
#include "vqstring/strings.h"
#include "vqstring/text.h"

namespace vq {

enum class Growth : uint8_t {
  reallocated,  // poolRealloc moves the old text
  copied,       // a fresh block; the old one goes when the new text is complete
};

struct WideKind {
  using Record = VQString;
  using Element = VQChar;
  using Length = int64_t;
  static constexpr const char* typeName = "VQString";
  static constexpr uint32_t encoding = ENC_WIDE;
  static constexpr auto destroy = vqStringDestroy;
  static constexpr auto clone = vqStringClone;
  static constexpr decltype(VQInstance::instanceValidate) validate = vqStringValidate;
  static constexpr decltype(&vqStringClone) borrowedClone = nullptr;
  static constexpr Growth growth = Growth::reallocated;
  static uint64_t measure(const VQChar* text) { return static_cast<uint64_t>(mhStrTLen(text)); }
};

struct U8Kind {
  using Record = VQU8String;
  using Element = char;
  using Length = uint64_t;
  static constexpr const char* typeName = "VQU8String";
  static constexpr uint32_t encoding = ENC_UTF8;
  static constexpr auto destroy = vqU8StringDestroy;
  static constexpr auto clone = vqU8StringClone;
  static constexpr decltype(VQInstance::instanceValidate) validate = vqStringValidate;
  static constexpr auto borrowedClone = vqU8StringClone;
  static constexpr Growth growth = Growth::copied;
  static uint64_t measure(const char* text) { return static_cast<uint64_t>(mhStrLen(text)); }
};

struct NarrowKind {
  using Record = VQNarrowString;
  using Element = char;
  using Length = int64_t;
  static constexpr const char* typeName = "VQNarrowString";
  static constexpr uint32_t encoding = 0;
  static constexpr auto destroy = vqNarrowStringDestroy;
  static constexpr auto clone = vqNarrowStringClone;
  static constexpr decltype(VQInstance::instanceValidate) validate = nullptr;
  static constexpr auto borrowedClone = vqNarrowStringClone;
  static constexpr Growth growth = Growth::reallocated;
  static uint64_t measure(const char* text) { return static_cast<uint64_t>(mhStrLen(text)); }
};

// Resolves the length argument of a maker or an edit.
template <class Kind>
uint64_t resolvedLength(const typename Kind::Element* text, int64_t length) {
  return length == -1 ? Kind::measure(text) : static_cast<uint64_t>(length);
}

// A text argument in any encoding: VQChar elements for ENC_WIDE, bytes otherwise. False when the size in
// bytes does not fit 64 bits.
inline bool textByteCount(const void* text, int64_t length, uint32_t encoding, uint64_t* byteCount) {
  if (encoding != ENC_WIDE) {
    *byteCount = resolvedLength<U8Kind>(static_cast<const char*>(text), length);
    return true;
  }
  const uint64_t elementCount = resolvedLength<WideKind>(static_cast<const VQChar*>(text), length);
  return !__builtin_mul_overflow(elementCount, sizeof(VQChar), byteCount);
}

}  // namespace vq

// String instances for the tests of this folder: made from literals, released by themselves.
#pragma once

#include <string>
#include <string_view>

#include "frame/scopes.hpp"
#include "vqstring.h"

namespace test {

using Held = vq::Reference<VQInstance>;

inline Held wide(VQStringService* service, VQPool* pool, std::u32string_view text) {
  VQString* string = vqStringCreate(service, pool, text.data(), static_cast<int64_t>(text.size()), 1);
  return Held(&string->header);
}

inline Held u8(VQStringService* service, VQPool* pool, std::string_view text) {
  VQU8String* string = nullptr;
  vqU8StringCreate(service, &string, pool, text.data(), static_cast<int64_t>(text.size()), 1);
  return Held(&string->header);
}

// The same text as a string of either kind. Only for texts without broken sequences.
inline Held ofKind(bool isWide, VQStringService* service, VQPool* pool, std::u32string_view text) {
  Held string = wide(service, pool, text);
  if (isWide) return string;
  VQU8String* converted = nullptr;
  vqStringGetU8String(reinterpret_cast<VQString*>(string.get()), &converted, pool);
  return Held(&converted->header);
}

inline Held narrow(VQStringService* service, VQPool* pool, std::string_view text) {
  VQNarrowString* string = nullptr;
  vqNarrowStringCreate(service, &string, pool, text.data(), static_cast<int64_t>(text.size()), ENC_UTF8, 1);
  return Held(&string->header);
}

}  // namespace test

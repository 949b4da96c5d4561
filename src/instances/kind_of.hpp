// What kind of string an instance is. The instance's own operation is asked, so that a host's subtypes count;
// type names are never compared here.
#pragma once

#include "vqstring/strings.h"

namespace vq {

enum class StringKind { wide, u8, other };

inline bool isKindOf(VQInstance* instance, const char* typeName) {
  return instance->instanceIsKindOf(instance, typeName) != 0;
}

inline StringKind stringKindOf(VQInstance* instance) {
  if (isKindOf(instance, "VQString")) return StringKind::wide;
  if (isKindOf(instance, "VQU8String")) return StringKind::u8;
  return StringKind::other;
}

// The record behind a header, once the kind is known. The fields that both kinds share stand at the same
// place, so a record of either kind may be read as a wide string for its service and its pool.
inline VQString* wideRecord(VQInstance* instance) {
  return reinterpret_cast<VQString*>(instance);
}

inline VQU8String* u8Record(VQInstance* instance) {
  return reinterpret_cast<VQU8String*>(instance);
}

}  // namespace vq

// Narrow strings: made, copied, ended. The host judges the encoding before anything else happens.
#include "strings/storage.hpp"

using namespace vq;

namespace {

// Single-byte encodings, and multi-byte ones that extend ASCII.
VQStatus judgeEncoding(VQStringService* service, uint32_t encoding) {
  const VQEncodingInfo* info = nullptr;
  if (const VQStatus status = service->nls->nlsEncodingInfo(service->nls, encoding, &info); status != 0) {
    return status;
  }
  return info->encodingClass <= 1 ? 0 : VQSTATUS_BAD_ARGUMENT;
}

VQStatus handOut(VQNarrowString* made, uint32_t encoding, VQNarrowString** string) {
  if (made == nullptr) return VQSTATUS_NO_MEMORY;
  made->encoding = encoding;
  *string = made;
  return 0;
}

}  // namespace

VQStatus vqNarrowStringCreate(VQStringService* service, VQNarrowString** string, VQPool* pool,
                              const char* text, int64_t length, uint32_t encoding, uint8_t copy) {
  if (const VQStatus status = judgeEncoding(service, encoding); status != 0) return status;
  return handOut(create<NarrowKind>(service, pool, text, length, copy), encoding, string);
}

VQStatus vqNarrowStringCreateSized(VQStringService* service, VQNarrowString** string, VQPool* pool,
                                   const char* text, int64_t length, uint32_t encoding, int64_t capacity) {
  if (const VQStatus status = judgeEncoding(service, encoding); status != 0) return status;
  return handOut(createSized<NarrowKind>(service, pool != nullptr ? pool : service->pool, text,
                                         resolvedLength<NarrowKind>(text, length),
                                         capacity > 0 ? static_cast<uint64_t>(capacity) : 0),
                 encoding, string);
}

VQStatus vqNarrowStringClone(const VQNarrowString* string, VQPool* pool, uint64_t, VQNarrowString** copy) {
  return vqNarrowStringCreate(string->service, copy, pool != nullptr ? pool : string->pool, string->text,
                              string->length, string->encoding, 1);
}

VQStatus vqNarrowStringDestroy(VQNarrowString* string) {
  return destroy<NarrowKind>(string);
}

// UTF-8 strings: made, copied, ended. Results come through an out pointer that a failure leaves alone.
#include "strings/storage.hpp"

using namespace vq;

namespace {

VQStatus handOut(VQU8String* made, VQU8String** string) {
  if (made == nullptr) return VQSTATUS_NO_MEMORY;
  *string = made;
  return 0;
}

}  // namespace

VQStatus vqU8StringCreate(VQStringService* service, VQU8String** string, VQPool* pool, const char* text,
                          int64_t length, uint8_t copy) {
  return handOut(create<U8Kind>(service, pool, text, length, copy), string);
}

VQStatus vqU8StringCreateSized(VQStringService* service, VQU8String** string, VQPool* pool, const char* text,
                               int64_t length, int64_t capacity) {
  return handOut(createSized<U8Kind>(service, pool != nullptr ? pool : service->pool, text,
                                     resolvedLength<U8Kind>(text, length), static_cast<uint64_t>(capacity)),
                 string);
}

VQStatus vqU8StringWithBytes(VQStringService* service, VQU8String** string, VQPool* pool, char* block,
                             uint64_t length) {
  *string = allocate<VQU8String>(pool, 1);
  if (*string == nullptr) return VQSTATUS_NO_MEMORY;
  fillRecord<U8Kind>(*string, service, pool, false);
  // No spare byte: the first growth finds no room, as it must, since nothing here is terminated.
  setText<U8Kind>(*string, block, length, length, true);
  return 0;
}

VQStatus vqU8StringClone(const VQU8String* string, VQPool* pool, uint64_t, VQU8String** copy) {
  return handOut(createCopy<U8Kind>(string->service, pool != nullptr ? pool : string->pool, string->text,
                                    string->length),
                 copy);
}

VQStatus vqU8StringDestroy(VQU8String* string) {
  return destroy<U8Kind>(string);
}

void vqU8StringInitStatic(VQStringService* service, VQU8String* record, VQPool* pool, const char* text,
                          int64_t length) {
  initStatic<U8Kind>(service, record, pool, text, length);
}

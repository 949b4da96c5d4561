// Wide strings: made, copied, ended. The forms and the capacity rule are those of all kinds.
#include "strings/storage.hpp"

using namespace vq;

VQString* vqStringCreate(VQStringService* service, VQPool* pool, const VQChar* text, int64_t length,
                         uint8_t copy) {
  return create<WideKind>(service, pool, text, length, copy);
}

VQString* vqStringCreateSized(VQStringService* service, VQPool* pool, const VQChar* text, int64_t length,
                              int64_t capacity) {
  // Capacities of wide strings compare as signed numbers: a negative one asks for nothing.
  return createSized<WideKind>(service, pool != nullptr ? pool : service->pool, text,
                               resolvedLength<WideKind>(text, length),
                               capacity > 0 ? static_cast<uint64_t>(capacity) : 0);
}

VQStatus vqStringClone(const VQString* string, VQPool* pool, uint64_t, VQString** copy) {
  *copy = createCopy<WideKind>(string->service, pool != nullptr ? pool : string->pool, string->text,
                               static_cast<uint64_t>(string->length));
  return *copy != nullptr ? 0 : VQSTATUS_NO_MEMORY;
}

VQStatus vqStringDestroy(VQString* string) {
  return destroy<WideKind>(string);
}

void vqStringInitStatic(VQStringService* service, VQString* record, VQPool* pool, const VQChar* text,
                        int64_t length) {
  initStatic<WideKind>(service, record, pool, text, length);
}

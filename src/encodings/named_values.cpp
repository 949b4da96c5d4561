// Named values of the host as strings. The store, and what a name means, are the host's.
#include "frame/handle.hpp"
#include "strings/storage.hpp"
#include "vqstring/encodings.h"

using namespace vq;

VQStatus getNameValue(VQPool* pool, const VQChar* name, int64_t nameLength, VQChar** value, int64_t* length) {
  constexpr uint64_t elementBytes = sizeof(VQChar);
  VQKernel* kernel = Exported_VQHandle;
  *value = nullptr;
  if (kernel->kernelNameExists(kernel, name, nameLength) == 0) return VQSTATUS_NAME_NOT_FOUND;
  uint64_t byteCount = 0;
  VQStatus status = kernel->kernelGetNameValue(kernel, name, nameLength, elementBytes, nullptr, &byteCount);
  // 0 without a buffer: the value is empty.
  if (status != VQSTATUS_VALUE_TOO_LONG) return status;
  uint64_t blockBytes = 0;
  if (__builtin_add_overflow(byteCount, elementBytes, &blockBytes)) return VQSTATUS_NO_MEMORY;
  PoolBlock<VQChar> block(pool, static_cast<VQChar*>(pool->poolAlloc(pool, blockBytes, 0)));
  if (!block) return VQSTATUS_NO_MEMORY;
  // Another thread may have set the value meanwhile: one that grew is refused here.
  status = kernel->kernelGetNameValue(kernel, name, nameLength, elementBytes, block.get(), &byteCount);
  if (status != 0) return status;
  *length = static_cast<int64_t>(byteCount / elementBytes);
  block.get()[*length] = 0;
  *value = block.release();
  return 0;
}

VQStatus vqStringGetVQName(VQStringService* service, VQPool* pool, const VQChar* name, int64_t nameLength,
                           VQString** out) {
  VQChar* value = nullptr;
  int64_t length = 0;
  if (const VQStatus status = getNameValue(pool, name, nameLength, &value, &length); status != 0) {
    return status;
  }
  PoolBlock<VQChar> block(pool, value);
  *out = vqStringCreate(service, pool, value, length, 0);
  if (*out == nullptr) return VQSTATUS_NO_MEMORY;
  if (block) {
    const auto elementCount = static_cast<uint64_t>(length);
    setText<WideKind>(*out, block.release(), elementCount, elementCount + 1, true);
  }
  return 0;
}

VQStatus vqU8StringGetVQName(VQStringService* service, VQPool* pool, const VQChar* name, int64_t nameLength,
                             VQU8String** out) {
  VQChar* value = nullptr;
  int64_t length = 0;
  if (const VQStatus status = getNameValue(pool, name, nameLength, &value, &length); status != 0) {
    return status;
  }
  const PoolBlock<VQChar> block(pool, value);
  const VQStatus status = vqU8StringCreate(service, out, pool, nullptr, 0, 1);
  if (status != 0 || !block) return status;
  return service->vqU8StringConcatText(*out, value, length, ENC_WIDE);
}

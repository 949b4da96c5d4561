// Copying and filling of plain memory.
#include "vqstring/host.h"
#include "vqstring/text.h"

VQStatus mhUnsup(void) {
  return VQSTATUS_UNSUPPORTED;
}

void mhMemSet(void* target, uint32_t value, uint64_t count) {
  auto* bytes = static_cast<uint8_t*>(target);
  for (uint64_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(value);
}

void mhMemTSet(VQChar* target, VQChar value, uint64_t count) {
  for (uint64_t i = 0; i < count; ++i) target[i] = value;
}

void* mhMemCpy(const void* source, void* target, uint64_t count) {
  const auto* from = static_cast<const uint8_t*>(source);
  auto* to = static_cast<uint8_t*>(target);
  for (uint64_t i = 0; i < count; ++i) to[i] = from[i];
  return target;
}

void mhMemSCpy(const void* source, void* target, uint64_t count) {
  const auto* from = static_cast<const uint8_t*>(source);
  auto* to = static_cast<uint8_t*>(target);
  if (reinterpret_cast<uintptr_t>(to) - reinterpret_cast<uintptr_t>(from) >= count) {
    mhMemCpy(source, target, count);
    return;
  }
  for (uint64_t i = count; i != 0; --i) to[i - 1] = from[i - 1];
}

void* mhMemDup(const void* source, uint64_t count, VQPool* pool) {
  if (pool == nullptr || source == nullptr) return nullptr;
  void* const block = pool->poolAlloc(pool, count, 0);
  if (block == nullptr) return nullptr;
  return mhMemCpy(source, block, count);
}

void mhStrCpy(const char* source, char* target) {
  if (target == nullptr) return;
  if (source == nullptr) {
    *target = 0;
    return;
  }
  mhMemCpy(source, target, static_cast<uint64_t>(mhStrLen(source)) + 1);
}

void mhStrTCpy(const VQChar* source, VQChar* target) {
  if (target == nullptr) return;
  if (source == nullptr) {
    *target = 0;
    return;
  }
  mhMemCpy(source, target, (static_cast<uint64_t>(mhStrTLen(source)) + 1) * sizeof(VQChar));
}

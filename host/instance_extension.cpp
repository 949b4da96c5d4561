// The operations that every instance's header points to. An instance is of its own type alone; the kinds of
// the family form no hierarchy.
#include "host/instance_extension.hpp"

#include <cstring>

#include "host/pool.hpp"

namespace vq::host {

namespace {

void releaseExtension(VQInstanceExtension* extension) noexcept {
  static_cast<InstanceExtension*>(extension)->kernel.liveObjects.add(-1);
}

void releaseInstance(VQInstance* instance) noexcept {
  if (instance == nullptr) return;
  const std::atomic_ref count(instance->refCount);
  // Of the last reference nobody can make another, so that the usual end needs no locked instruction.
  if (count.load(std::memory_order_acquire) == 1) {
    count.store(0, std::memory_order_relaxed);
  } else if (count.fetch_sub(1, std::memory_order_acq_rel) != 1) {
    return;
  }
  instance->instanceRealDestroy(instance);
}

// Most questions are about another type, and most names part at their third character: no call is worth it.
uint8_t isKindOf(VQInstance* instance, const char* typeName) noexcept {
  const char* own = instance->typeName;
  if (own == typeName) return 1;
  while (*own == *typeName) {
    if (*own == 0) return 1;
    ++own;
    ++typeName;
  }
  return 0;
}

// A kind without constraints of its own accepts every value.
VQStatus acceptAll(VQInstance*, VQInstance*, uint32_t* verdict) noexcept {
  *verdict = 0;
  return 0;
}

// What refers to memory or engines of others cannot be copied without knowing its kind.
VQStatus refuseClone(VQInstance*, VQPool*, uint64_t, VQInstance**) noexcept {
  return VQSTATUS_UNSUPPORTED;
}

}  // namespace

InstanceExtension::InstanceExtension(Kernel& owner) : VQInstanceExtension{}, kernel(owner) {
  signature = VQ_SIGNATURE;
  extensionRelease = releaseExtension;
  instanceRelease = releaseInstance;
  instanceIsKindOf = isKindOf;
  instanceDefaultValidate = acceptAll;
  instanceDefaultClone = refuseClone;
}

VQInstance* createInstance(VQKernel* handle, VQPool*& pool, size_t byteCount, const char* typeName,
                           VQStatus (*realDestroy)(VQInstance*)) {
  Kernel& kernel = Kernel::of(handle);
  if (pool == nullptr) pool = kernel.instancePool;
  auto* instance = static_cast<VQInstance*>(pool->poolAlloc(pool, byteCount, VQ_POOL_ZERO_FILL));
  if (instance == nullptr) return nullptr;
  const InstanceExtension& extension = *kernel.instanceExtension;
  instance->signature = VQ_SIGNATURE;
  instance->typeName = typeName;
  instance->instanceRelease = extension.instanceRelease;
  std::atomic_ref(instance->refCount).store(1, std::memory_order_relaxed);
  instance->instanceIsKindOf = extension.instanceIsKindOf;
  instance->instanceRealDestroy = realDestroy;
  instance->instanceExtension = kernel.instanceExtension.get();
  instance->instanceValidate = extension.instanceDefaultValidate;
  instance->instanceClone = extension.instanceDefaultClone;
  return instance;
}

}  // namespace vq::host

// The built-in extension "vqinstance": what all instances share, and the making of the host's own kinds.
#pragma once

#include <atomic>

#include "host/kernel.hpp"

namespace vq::host {

struct InstanceExtension : VQInstanceExtension {
  explicit InstanceExtension(Kernel& owner);
  Kernel& kernel;
};

inline void retain(VQInstance* instance) {
  std::atomic_ref(instance->refCount).fetch_add(1, std::memory_order_relaxed);
}

// A block of `byteCount` zero bytes in `pool` (null: the kernel's own) that begins with a filled header; null
// when memory runs out. `pool` is set to the pool that was taken.
VQInstance* createInstance(VQKernel* kernel, VQPool*& pool, size_t byteCount, const char* typeName,
                           VQStatus (*realDestroy)(VQInstance*));

}  // namespace vq::host

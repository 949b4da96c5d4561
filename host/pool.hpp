// Memory pools of the host.
#pragma once

#include <mutex>

#include "host/kernel.hpp"

namespace vq::host {

struct Pool : VQPool {
  Pool(Kernel& owner, const char* poolName);
  ~Pool();

  static Pool& of(VQPool* pool) { return *static_cast<Pool*>(pool); }

  void* allocate(uint64_t byteCount, bool isZeroFilled) noexcept;
  void free(void* block) noexcept;
  void* reallocate(void* block, uint64_t byteCount) noexcept;
  uint64_t liveBlocks() const;

  Kernel& kernel;
  std::string name;

 private:
  struct Header;
  mutable std::mutex mutex_;
  Header* first_ = nullptr;
  uint64_t count_ = 0;
};

// Registers a new pool with the kernel; throws when memory runs out.
Pool* createPool(Kernel& kernel, const char* name);

}  // namespace vq::host

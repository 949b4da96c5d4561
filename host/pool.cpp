// Memory pools: blocks of the C library's allocator, chained so that the end of a pool ends them all.
#include "host/pool.hpp"

#include <cstdlib>
#include <cstring>

namespace vq::host {

struct alignas(16) Pool::Header {
  Header* previous;
  Header* next;
};

namespace {

void destroyPool(VQPool* pool) noexcept {
  delete &Pool::of(pool);
}

void* allocateIn(VQPool* pool, uint64_t byteCount, uint32_t flags) noexcept {
  return Pool::of(pool).allocate(byteCount, (flags & VQ_POOL_ZERO_FILL) != 0);
}

VQStatus freeIn(VQPool* pool, void* block) noexcept {
  Pool::of(pool).free(block);
  return 0;
}

void* reallocateIn(VQPool* pool, void* block, uint64_t byteCount, uint64_t) noexcept {
  return Pool::of(pool).reallocate(block, byteCount);
}

}  // namespace

Pool::Pool(Kernel& owner, const char* poolName)
    : VQPool{destroyPool, allocateIn, freeIn, reallocateIn}, kernel(owner), name(poolName ? poolName : "") {}

Pool::~Pool() {
  for (Header* block = first_; block != nullptr;) {
    Header* next = block->next;
    std::free(block);
    block = next;
  }
  const std::lock_guard hold(kernel.poolsMutex);
  if (kernel.pools.erase(this) != 0) kernel.liveObjects.add(-1);
}

void* Pool::allocate(uint64_t byteCount, bool isZeroFilled) noexcept {
  if (byteCount > UINT64_MAX / 2) return nullptr;
  const size_t whole = byteCount + sizeof(Header);
  auto* block = static_cast<Header*>(isZeroFilled ? std::calloc(1, whole) : std::malloc(whole));
  if (block == nullptr) return nullptr;
  const std::lock_guard hold(mutex_);
  block->previous = nullptr;
  block->next = first_;
  if (first_ != nullptr) first_->previous = block;
  first_ = block;
  ++count_;
  return block + 1;
}

void Pool::free(void* memory) noexcept {
  if (memory == nullptr) return;
  Header* block = static_cast<Header*>(memory) - 1;
  {
    const std::lock_guard hold(mutex_);
    (block->previous != nullptr ? block->previous->next : first_) = block->next;
    if (block->next != nullptr) block->next->previous = block->previous;
    --count_;
  }
  std::free(block);
}

void* Pool::reallocate(void* memory, uint64_t byteCount) noexcept {
  if (memory == nullptr) return allocate(byteCount, false);
  if (byteCount > UINT64_MAX / 2) return nullptr;
  const std::lock_guard hold(mutex_);
  auto* block =
      static_cast<Header*>(std::realloc(static_cast<Header*>(memory) - 1, byteCount + sizeof(Header)));
  if (block == nullptr) return nullptr;
  (block->previous != nullptr ? block->previous->next : first_) = block;
  if (block->next != nullptr) block->next->previous = block;
  return block + 1;
}

uint64_t Pool::liveBlocks() const {
  const std::lock_guard hold(mutex_);
  return count_;
}

Pool* createPool(Kernel& kernel, const char* name) {
  auto pool = std::make_unique<Pool>(kernel, name);
  const std::lock_guard hold(kernel.poolsMutex);
  kernel.pools.insert(pool.get());
  kernel.liveObjects.add(1);
  return pool.release();
}

}  // namespace vq::host

VQStatus vqhostCreatePool(VQKernel* kernel, const char* name, VQPool** pool) {
  return vq::host::guarded([&] {
    *pool = vq::host::createPool(vq::host::Kernel::of(kernel), name);
    return VQStatus{0};
  });
}

uint64_t vqhostLiveBlocks(VQPool* pool) {
  return vq::host::Pool::of(pool).liveBlocks();
}

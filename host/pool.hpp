// Memory pools of the host: thread caches over slabs that belong to the pool.
//
// A pool owes its callers three things at once: blocks may be given back by any thread, the end of the pool
// ends all of them, and a pair of calls costs about as much as malloc and free. The allocator libraries give
// two of the three: heaps bound to a thread do not die with the pool while other threads hold blocks, arenas
// that do cost twice the time or take over malloc for the whole process (bench/host_pool.cpp measures).
//
// So small blocks are carved from slabs of the pool and go through free lists by size class, one set of lists
// a thread and pool, without a lock or an atomic operation. Lists that grow too long hand half of their
// blocks to the pool, where other threads find them. Large blocks are malloc's and chained; some of those
// given back are kept, since fresh pages cost more than all that is done with them. A header of 16 bytes
// before every block tells its class and guards against a block that is given back twice or to another pool.
#pragma once

#include <array>
#include <atomic>
#include <mutex>

#include "host/kernel.hpp"
#include "host/size_classes.hpp"

namespace vq::host {

struct Pool : VQPool {
  Pool(Kernel& owner, const char* poolName);
  ~Pool();

  static Pool& of(VQPool* pool) { return *static_cast<Pool*>(pool); }

  void* allocate(uint64_t byteCount, bool isZeroFilled) noexcept;
  // VQSTATUS_BAD_ARGUMENT when the block is none of this pool's that is in use.
  VQStatus free(void* block) noexcept;
  void* reallocate(void* block, uint64_t byteCount) noexcept;
  uint64_t liveBlocks() const;

  Kernel& kernel;
  std::string name;

  struct Header;
  struct LargeBlock;
  struct KeptList;
  struct ThreadCache;
  struct ThreadTable;

 private:
  friend struct ThreadTable;

  ThreadCache* threadCache() noexcept;
  ThreadCache* claimCache() noexcept;
  void* putToUse(Header* block) noexcept;
  void* take(ThreadCache& cache, size_t sizeClass) noexcept;
  VQStatus give(ThreadCache& cache, Header* block) noexcept;
  [[gnu::noinline]] void* allocateAnyhow(uint64_t byteCount, bool isZeroFilled) noexcept;
  [[gnu::noinline]] VQStatus freeAnyhow(Header* block) noexcept;
  void retireCache(ThreadCache& cache) noexcept;
  Header* refill(ThreadCache& cache, size_t sizeClass) noexcept;
  bool addSlab(ThreadCache& cache, size_t blockBytes) noexcept;
  [[gnu::noinline]] VQStatus spill(ThreadCache& cache, size_t sizeClass) noexcept;

  [[gnu::noinline]] void* allocateLarge(uint64_t byteCount, bool isZeroFilled) noexcept;
  void freeLarge(Header* header) noexcept;
  void* reallocateLarge(Header* header, uint64_t byteCount) noexcept;
  [[gnu::noinline]] void* growSmall(Header* block, uint64_t byteCount) noexcept;
  void* takeKeptForGrowth(uint64_t byteCount, uint64_t preferred) noexcept;
  void* allocateFresh(uint64_t byteCount, uint64_t asked, bool isZeroFilled) noexcept;
  void chain(LargeBlock& block) noexcept;
  void unchain(LargeBlock& block) noexcept;
  void* putToUse(LargeBlock* block, uint64_t asked) noexcept;

  struct Slab {
    Slab* next;
    uint64_t reserved;
  };
  struct FreeList {
    Header* first = nullptr;
    size_t count = 0;
  };
  // Large blocks that wait for their next use, the oldest first. As much is kept as the C library's malloc
  // keeps at the end of its heap at most (twice its largest threshold of 32 MiB for blocks with pages of
  // their own): ten million characters of wide text find their pages again. One block may take all of it.
  struct KeptBlocks {
    enum class Preferred { smallest, largest };
    static constexpr size_t places = 16;
    static constexpr uint64_t byteLimit = 64 * 1024 * 1024;

    // One of at least `lowest` and at most `highest` bytes, or null.
    LargeBlock* take(uint64_t lowest, uint64_t highest, Preferred preferred) noexcept;
    // False when there is no room.
    bool add(LargeBlock* block) noexcept;
    LargeBlock* removeAt(size_t index) noexcept;

    std::array<LargeBlock*, places> blocks{};
    size_t count = 0;
    uint64_t byteCount = 0;
  };

  // What large blocks in use carry.
  uint64_t largeOwner() const { return ~id_; }

  // Never used again for another pool.
  const uint64_t id_;
  mutable std::mutex mutex_;
  // Behind the mutex: all of the following.
  ThreadCache* caches_ = nullptr;
  Slab* slabs_ = nullptr;
  size_t nextSlabBytes_;
  LargeBlock* large_ = nullptr;
  uint64_t largeCount_ = 0;
  KeptBlocks kept_;
  std::array<FreeList, classCount> spare_{};
};

// Registers a new pool with the kernel; throws when memory runs out.
Pool* createPool(Kernel& kernel, const char* name);

}  // namespace vq::host

// The pool's allocator. A thread finds its cache of a pool in a small table by the pool's number; caches
// belong to the pool and are handed from threads that end to threads that come.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <unordered_map>
#include <utility>

#include "host/pool_blocks.hpp"

namespace vq::host {

// The free blocks of one class that a thread keeps. They are counted by what there is still room for, which
// tells without another look when there are too many.
struct Pool::KeptList {
  Header* first = nullptr;
  // Written by the list's thread alone.
  std::atomic<int64_t> room{0};

  // False when the list has become too long.
  bool add(Header* block) {
    block->next() = std::exchange(first, block);
    return count(-1) >= 0;
  }
  // Null when the list is empty.
  Header* take() {
    Header* block = first;
    if (block == nullptr) return nullptr;
    first = block->next();
    count(1);
    return block;
  }

 private:
  int64_t count(int64_t change) {
    const int64_t now = room.load(std::memory_order_relaxed) + change;
    room.store(now, std::memory_order_relaxed);
    return now;
  }
};

struct Pool::ThreadCache {
  std::array<KeptList, classCount> lists{};
  // The unused rest of the newest slab.
  char* slabAt = nullptr;
  char* slabEnd = nullptr;
  // Blocks cut from slabs; written by the cache's thread alone.
  std::atomic<int64_t> cutBlocks{0};
  bool isClaimed = true;
  ThreadCache* next = nullptr;

  ThreadCache() {
    for (size_t i = 0; i < classCount; ++i) lists[i].room.store(sizes.kept[i], std::memory_order_relaxed);
  }
  int64_t count(size_t sizeClass) const {
    return static_cast<int64_t>(sizes.kept[sizeClass]) -
           lists[sizeClass].room.load(std::memory_order_relaxed);
  }
  // A block from the slab, which has room for it.
  Header* cut(size_t sizeClass) {
    auto* block = reinterpret_cast<Header*>(slabAt);
    slabAt += blockBytes(sizeClass);
    block->sizeClass = static_cast<uint32_t>(sizeClass);
    cutBlocks.store(cutBlocks.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    return block;
  }
  static size_t blockBytes(size_t sizeClass) { return sizes.bytes[sizeClass] + sizeof(Header); }
};

namespace {

constexpr size_t firstSlabBytes = 4 * 1024;
constexpr size_t largestSlabBytes = 256 * 1024;

// The pools that are alive, for threads that end.
struct LivePools {
  std::mutex mutex;
  std::unordered_map<uint64_t, Pool*> byId;
};
LivePools& livePools() {
  // Never destroyed: threads may end after the program's static objects.
  static auto* all = new LivePools;
  return *all;
}

uint64_t nextPoolId() {
  static std::atomic<uint64_t> next{1};
  return next.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace

// One thread's way to its caches. A pool that finds another one in its place retires that one's cache and
// claims one of its own.
struct Pool::ThreadTable {
  struct Entry {
    uint64_t poolId;
    ThreadCache* cache;
  };
  static constexpr size_t entryCount = 16;
  // Small enough for the room that the dynamic linker keeps for libraries that are loaded late.
  static inline thread_local constinit Entry entries[entryCount]
      __attribute__((tls_model("initial-exec"))) = {};

  static Entry& entryOf(uint64_t poolId) { return entries[poolId % entryCount]; }
  // Null when the pool has no cache in its place.
  static ThreadCache* cacheOf(uint64_t poolId) {
    const Entry& entry = entryOf(poolId);
    if (entry.poolId != poolId) return nullptr;
    // No entry has a number without a cache; callers need not look again.
    if (entry.cache == nullptr) __builtin_unreachable();
    return entry.cache;
  }

  static void leave(Entry& entry) noexcept {
    if (entry.cache == nullptr) return;
    const std::lock_guard hold(livePools().mutex);
    const auto found = livePools().byId.find(entry.poolId);
    if (found != livePools().byId.end()) found->second->retireCache(*entry.cache);
    entry = {};
  }

  ~ThreadTable() {
    for (Entry& entry : entries) leave(entry);
  }
};

Pool::~Pool() {
  {
    // From here on no thread that ends looks at this pool.
    const std::lock_guard hold(livePools().mutex);
    livePools().byId.erase(id_);
  }
  while (large_ != nullptr) std::free(std::exchange(large_, large_->next));
  while (kept_.count != 0) std::free(kept_.removeAt(0));
  while (slabs_ != nullptr) std::free(std::exchange(slabs_, slabs_->next));
  while (caches_ != nullptr) delete std::exchange(caches_, caches_->next);
  const std::lock_guard hold(kernel.poolsMutex);
  if (kernel.pools.erase(this) != 0) kernel.liveObjects.add(-1);
}

// ---- caches ----

// Null when memory runs out: the caller then takes a large block, or fails.
Pool::ThreadCache* Pool::claimCache() noexcept {
  // Its end gives back the caches of the thread.
  thread_local ThreadTable table;
  ThreadTable::Entry& entry = ThreadTable::entryOf(id_);
  ThreadTable::leave(entry);
  const std::lock_guard hold(mutex_);
  ThreadCache* cache = caches_;
  while (cache != nullptr && cache->isClaimed) cache = cache->next;
  if (cache == nullptr) {
    cache = new (std::nothrow) ThreadCache;
    if (cache == nullptr) return nullptr;
    cache->next = caches_;
    caches_ = cache;
  }
  cache->isClaimed = true;
  entry = {id_, cache};
  return cache;
}

void Pool::retireCache(ThreadCache& cache) noexcept {
  const std::lock_guard hold(mutex_);
  cache.isClaimed = false;
}

// A free block of the class from the pool's spare ones, or a fresh one; null when memory runs out.
Pool::Header* Pool::refill(ThreadCache& cache, size_t sizeClass) noexcept {
  const std::lock_guard hold(mutex_);
  if (FreeList& spare = spare_[sizeClass]; spare.first != nullptr) {
    // All of them, or as many as a thread keeps.
    KeptList& list = cache.lists[sizeClass];
    while (spare.first != nullptr && cache.count(sizeClass) < sizes.kept[sizeClass] / 2 + 1) {
      list.add(std::exchange(spare.first, spare.first->next()));
      --spare.count;
    }
    return list.take();
  }
  return addSlab(cache, ThreadCache::blockBytes(sizeClass)) ? cache.cut(sizeClass) : nullptr;
}

bool Pool::addSlab(ThreadCache& cache, size_t blockBytes) noexcept {
  const size_t slabBytes = std::max(nextSlabBytes_, sizeof(Slab) + blockBytes);
  auto* slab = static_cast<Slab*>(std::malloc(slabBytes));
  if (slab == nullptr) return false;
  nextSlabBytes_ = std::min(nextSlabBytes_ * 2, largestSlabBytes);
  slab->next = std::exchange(slabs_, slab);
  cache.slabAt = reinterpret_cast<char*>(slab + 1);
  cache.slabEnd = reinterpret_cast<char*>(slab) + slabBytes;
  return true;
}

// Half of a long list goes where other threads find it; always 0, the status of the call that it ends.
VQStatus Pool::spill(ThreadCache& cache, size_t sizeClass) noexcept {
  KeptList& list = cache.lists[sizeClass];
  const std::lock_guard hold(mutex_);
  FreeList& spare = spare_[sizeClass];
  for (int64_t moving = cache.count(sizeClass) / 2; moving != 0; --moving) {
    Header* block = list.take();
    block->next() = std::exchange(spare.first, block);
    ++spare.count;
  }
  return 0;
}

// ---- blocks ----

inline Pool::ThreadCache* Pool::threadCache() noexcept {
  ThreadCache* cache = ThreadTable::cacheOf(id_);
  return cache != nullptr ? cache : claimCache();
}

inline void* Pool::putToUse(Header* block) noexcept {
  block->owner = id_;
  return block->payload();
}

void* Pool::take(ThreadCache& cache, size_t sizeClass) noexcept {
  Header* block = cache.lists[sizeClass].take();
  if (block == nullptr) {
    const bool isInSlab =
        static_cast<size_t>(cache.slabEnd - cache.slabAt) >= ThreadCache::blockBytes(sizeClass);
    block = isInSlab ? cache.cut(sizeClass) : refill(cache, sizeClass);
  }
  return block == nullptr ? nullptr : putToUse(block);
}

inline VQStatus Pool::give(ThreadCache& cache, Header* block) noexcept {
  const size_t sizeClass = block->sizeClass;
  block->owner = 0;
  if (cache.lists[sizeClass].add(block)) [[likely]]
    return 0;
  return spill(cache, sizeClass);
}

// What most calls come to needs no frame: a block off the list of a cache that is at hand. All else is called
// last.
inline void* Pool::allocate(uint64_t byteCount, bool isZeroFilled) noexcept {
  if (!isWatched && byteCount <= largestSmall && !isZeroFilled) [[likely]] {
    ThreadCache* cache = ThreadTable::cacheOf(id_);
    if (cache != nullptr) [[likely]] {
      if (Header* block = cache->lists[smallClassOf(byteCount)].take()) [[likely]]
        return putToUse(block);
    }
  }
  return allocateAnyhow(byteCount, isZeroFilled);
}

void* Pool::allocateAnyhow(uint64_t byteCount, bool isZeroFilled) noexcept {
  if (isWatched || byteCount > largestSmall) return allocateLarge(byteCount, isZeroFilled);
  ThreadCache* cache = threadCache();
  void* block = cache == nullptr ? nullptr : take(*cache, smallClassOf(byteCount));
  return block != nullptr && isZeroFilled ? std::memset(block, 0, byteCount) : block;
}

inline VQStatus Pool::free(void* memory) noexcept {
  if (memory == nullptr) return 0;
  Header* block = Header::of(memory);
  ThreadCache* cache = ThreadTable::cacheOf(id_);
  if (block->owner != id_ || cache == nullptr) [[unlikely]]
    return freeAnyhow(block);
  return give(*cache, block);
}

VQStatus Pool::freeAnyhow(Header* block) noexcept {
  if (block->owner == largeOwner()) {
    freeLarge(block);
    return 0;
  }
  if (block->owner != id_) return VQSTATUS_BAD_ARGUMENT;
  ThreadCache* cache = threadCache();
  return cache == nullptr ? VQSTATUS_NO_MEMORY : give(*cache, block);
}

void* Pool::reallocate(void* memory, uint64_t byteCount) noexcept {
  if (memory == nullptr) return allocate(byteCount, false);
  Header* block = Header::of(memory);
  if (block->owner == largeOwner()) return reallocateLarge(block, byteCount);
  if (block->owner != id_) return nullptr;
  return byteCount <= sizes.bytes[block->sizeClass] ? memory : growSmall(block, byteCount);
}

void* Pool::growSmall(Header* block, uint64_t byteCount) noexcept {
  const size_t present = sizes.bytes[block->sizeClass];
  const uint64_t preferred = withSlack(byteCount, present);
  ThreadCache* cache = threadCache();
  if (cache == nullptr) return nullptr;
  void* grown = nullptr;
  if (preferred <= largestSmall) {
    grown = take(*cache, smallClassOf(preferred));
  } else {
    grown = takeKeptForGrowth(byteCount, preferred);
    if (grown == nullptr) grown = allocateFresh(preferred, byteCount, false);
  }
  if (grown == nullptr) return nullptr;
  std::memcpy(grown, block->payload(), present);
  give(*cache, block);
  return grown;
}

// ---- pools ----

namespace {

void destroyPool(VQPool* pool) noexcept {
  delete &Pool::of(pool);
}

void* allocateIn(VQPool* pool, uint64_t byteCount, uint32_t flags) noexcept {
  return Pool::of(pool).allocate(byteCount, (flags & VQ_POOL_ZERO_FILL) != 0);
}

VQStatus freeIn(VQPool* pool, void* block) noexcept {
  return Pool::of(pool).free(block);
}

void* reallocateIn(VQPool* pool, void* block, uint64_t byteCount, uint64_t) noexcept {
  return Pool::of(pool).reallocate(block, byteCount);
}

}  // namespace

Pool::Pool(Kernel& owner, const char* poolName)
    : VQPool{destroyPool, allocateIn, freeIn, reallocateIn},
      kernel(owner),
      name(poolName != nullptr ? poolName : ""),
      id_(nextPoolId()),
      nextSlabBytes_(firstSlabBytes) {
  const std::lock_guard hold(livePools().mutex);
  livePools().byId.emplace(id_, this);
}

uint64_t Pool::liveBlocks() const {
  const std::lock_guard hold(mutex_);
  int64_t count = static_cast<int64_t>(largeCount_);
  for (const ThreadCache* cache = caches_; cache != nullptr; cache = cache->next) {
    count += cache->cutBlocks.load(std::memory_order_relaxed);
    for (size_t i = 0; i < classCount; ++i) count -= cache->count(i);
  }
  for (const FreeList& spare : spare_) count -= static_cast<int64_t>(spare.count);
  return static_cast<uint64_t>(count);
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

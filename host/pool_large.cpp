// The blocks of a pool that are too large for its size classes. They are malloc's; a pool keeps some of those
// that are given back, so that large texts find their pages again.
#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "host/pool_blocks.hpp"

namespace vq::host {

namespace {

// The largest blocks come as fresh pages each time, and touching those one by one takes longer than filling
// them. A kernel that has no huge pages to give leaves it at small ones.
void preferHugePages(void* block, size_t byteCount) noexcept {
  constexpr size_t least = 4 << 20, page = 4096;
  if (byteCount < least) return;
  const auto begin = reinterpret_cast<uintptr_t>(block);
  const uintptr_t firstPage = (begin + page - 1) / page * page;
  madvise(reinterpret_cast<void*>(firstPage), begin + byteCount - firstPage, MADV_HUGEPAGE);
}

}  // namespace

Pool::LargeBlock* Pool::KeptBlocks::take(uint64_t lowest, uint64_t highest, Preferred preferred) noexcept {
  size_t best = count;
  for (size_t i = 0; i < count; ++i) {
    const uint64_t bytes = blocks[i]->byteCount;
    if (bytes < lowest || bytes > highest) continue;
    if (best == count || (bytes > blocks[best]->byteCount) == (preferred == Preferred::largest)) best = i;
  }
  return best == count ? nullptr : removeAt(best);
}

bool Pool::KeptBlocks::add(LargeBlock* block) noexcept {
  if (count == places || block->byteCount > byteLimit - byteCount) return false;
  blocks[count++] = block;
  byteCount += block->byteCount;
  return true;
}

Pool::LargeBlock* Pool::KeptBlocks::removeAt(size_t index) noexcept {
  LargeBlock* const block = blocks[index];
  std::copy(blocks.begin() + index + 1, blocks.begin() + count, blocks.begin() + index);
  --count;
  byteCount -= block->byteCount;
  return block;
}

// Behind the mutex, as the next two.
void* Pool::putToUse(LargeBlock* block, uint64_t asked) noexcept {
  block->asked = asked;
  block->header.owner = largeOwner();
  chain(*block);
  return block->header.payload();
}

void Pool::chain(LargeBlock& block) noexcept {
  block.previous = nullptr;
  block.next = large_;
  if (large_ != nullptr) large_->previous = &block;
  large_ = &block;
  ++largeCount_;
}

void Pool::unchain(LargeBlock& block) noexcept {
  (block.previous != nullptr ? block.previous->next : large_) = block.next;
  if (block.next != nullptr) block.next->previous = block.previous;
  --largeCount_;
}

void* Pool::allocateLarge(uint64_t byteCount, bool isZeroFilled) noexcept {
  if (byteCount <= KeptBlocks::byteLimit) {
    std::unique_lock hold(mutex_);
    if (LargeBlock* kept = kept_.take(byteCount, 2 * byteCount, KeptBlocks::Preferred::smallest)) {
      void* payload = putToUse(kept, byteCount);
      hold.unlock();
      return isZeroFilled ? std::memset(payload, 0, byteCount) : payload;
    }
  }
  return allocateFresh(byteCount, byteCount, isZeroFilled);
}

void* Pool::allocateFresh(uint64_t byteCount, uint64_t asked, bool isZeroFilled) noexcept {
  if (byteCount > UINT64_MAX / 2) return nullptr;
  const size_t whole = byteCount + sizeof(LargeBlock);
  auto* block = static_cast<LargeBlock*>(isZeroFilled ? std::calloc(1, whole) : std::malloc(whole));
  if (block == nullptr) return nullptr;
  block->byteCount = byteCount;
  preferHugePages(block, whole);
  const std::lock_guard hold(mutex_);
  return putToUse(block, asked);
}

// What grows gets the largest kept block within reason: the pool has its pages anyway, and the next growths
// then move nothing.
void* Pool::takeKeptForGrowth(uint64_t byteCount, uint64_t preferred) noexcept {
  constexpr uint64_t reason = 8;
  if (preferred > KeptBlocks::byteLimit) return nullptr;
  const std::lock_guard hold(mutex_);
  LargeBlock* kept = kept_.take(preferred, reason * preferred, KeptBlocks::Preferred::largest);
  return kept == nullptr ? nullptr : putToUse(kept, byteCount);
}

// The block joins those that are kept, in the place of the oldest ones if need be.
void Pool::freeLarge(Header* header) noexcept {
  LargeBlock* block = LargeBlock::of(header);
  header->owner = 0;
  const bool isKept = !isWatched && block->byteCount <= KeptBlocks::byteLimit;
  std::unique_lock hold(mutex_);
  unchain(*block);
  while (isKept && !kept_.add(block)) {
    LargeBlock* oldest = kept_.removeAt(0);
    hold.unlock();
    std::free(oldest);
    hold.lock();
  }
  hold.unlock();
  if (!isKept) std::free(block);
}

void* Pool::reallocateLarge(Header* header, uint64_t byteCount) noexcept {
  if (byteCount > UINT64_MAX / 2) return nullptr;
  LargeBlock* old = LargeBlock::of(header);
  const uint64_t present = old->byteCount;
  uint64_t taken = byteCount;
  if (byteCount > present) {
    taken = withSlack(byteCount, present);
    if (void* kept = takeKeptForGrowth(byteCount, taken)) {
      std::memcpy(kept, header->payload(), present);
      freeLarge(header);
      return kept;
    }
  } else if (!isWatched && byteCount > old->asked / 2) {
    old->asked = std::max(old->asked, byteCount);
    return header->payload();
  }
  const std::lock_guard hold(mutex_);
  unchain(*old);
  void* moved = std::realloc(old, taken + sizeof(LargeBlock));
  if (moved == nullptr && taken != byteCount) {
    taken = byteCount;
    moved = std::realloc(old, taken + sizeof(LargeBlock));
  }
  if (moved == nullptr) {
    chain(*old);
    return nullptr;
  }
  auto* block = static_cast<LargeBlock*>(moved);
  block->byteCount = taken;
  return putToUse(block, byteCount);
}

}  // namespace vq::host

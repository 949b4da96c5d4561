// Pools under threads, many pools at once, and blocks that go where they do not belong.
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "support/host_fixture.hpp"

namespace {

class Pools : public test::KernelTest {
 protected:
  struct Block {
    unsigned char* bytes;
    size_t size;
    unsigned char mark;
  };
  static Block take(VQPool* pool, size_t size, unsigned char mark) {
    auto* bytes = static_cast<unsigned char*>(pool->poolAlloc(pool, size, 0));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(bytes) % 16, 0u);
    std::memset(bytes, mark, size);
    return {bytes, size, mark};
  }
  static bool isIntact(const Block& block) {
    for (size_t i = 0; i < block.size; ++i) {
      if (block.bytes[i] != block.mark) return false;
    }
    return true;
  }
};

// Random life of blocks of all sizes: none may touch another, and what was small may grow large.
TEST_F(Pools, BlocksKeepTheirContents) {
  std::mt19937 random(11);
  std::vector<Block> blocks;
  for (int step = 0; step < 20'000; ++step) {
    const size_t size = random() % 50 == 0 ? random() % 100'000 : random() % (1 + random() % 20'000);
    if (blocks.size() < 60 && random() % 2 == 0) {
      blocks.push_back(take(pool(), size, static_cast<unsigned char>(random())));
      continue;
    }
    if (blocks.empty()) continue;
    Block& block = blocks[random() % blocks.size()];
    ASSERT_TRUE(isIntact(block));
    if (random() % 3 == 0) {
      auto* moved = static_cast<unsigned char*>(pool()->poolRealloc(pool(), block.bytes, size, 0));
      block.bytes = moved;
      block.size = std::min(block.size, size);
      ASSERT_TRUE(isIntact(block));
      std::memset(moved, block.mark, size);
      block.size = size;
    } else {
      ASSERT_EQ(pool()->poolFree(pool(), block.bytes), 0u);
      block = blocks.back();
      blocks.pop_back();
    }
    ASSERT_EQ(vqhostLiveBlocks(pool()), blocks.size());
  }
  for (const Block& block : blocks) pool()->poolFree(pool(), block.bytes);
}

TEST_F(Pools, ZeroFillHoldsForBlocksThatWereUsed) {
  for (const size_t size : {8, 300, 9000, 40'000}) {
    Block used = take(pool(), size, 0xFF);
    pool()->poolFree(pool(), used.bytes);
    auto* bytes = static_cast<unsigned char*>(pool()->poolAlloc(pool(), size, VQ_POOL_ZERO_FILL));
    EXPECT_TRUE(isIntact({bytes, size, 0})) << size;
    pool()->poolFree(pool(), bytes);
  }
}

TEST_F(Pools, AnotherPoolsBlockIsRefused) {
  VQPool* other = nullptr;
  ASSERT_EQ(vqhostCreatePool(host(), "other", &other), 0u);
  for (const size_t size : {40, 100'000}) {
    const Block block = take(pool(), size, 1);
    EXPECT_EQ(other->poolFree(other, block.bytes), VQSTATUS_BAD_ARGUMENT);
    EXPECT_EQ(other->poolRealloc(other, block.bytes, 10, 0), nullptr);
    EXPECT_TRUE(isIntact(block));
    EXPECT_EQ(pool()->poolFree(pool(), block.bytes), 0u);
  }
  other->poolDestroy(other);
}

// More pools than a thread has places for, used in turns.
TEST_F(Pools, ManyPoolsTakeTurnsInOneThread) {
  std::vector<VQPool*> pools(40);
  std::vector<std::vector<Block>> blocks(pools.size());
  for (VQPool*& made : pools) ASSERT_EQ(vqhostCreatePool(host(), "one of many", &made), 0u);
  for (int round = 0; round < 20; ++round) {
    for (size_t i = 0; i < pools.size(); ++i) {
      blocks[i].push_back(take(pools[i], 64, static_cast<unsigned char>(i)));
      if (round % 3 == 2) {
        pools[i]->poolFree(pools[i], blocks[i].back().bytes);
        blocks[i].pop_back();
      }
    }
  }
  for (size_t i = 0; i < pools.size(); ++i) {
    EXPECT_EQ(vqhostLiveBlocks(pools[i]), blocks[i].size());
    for (const Block& block : blocks[i]) EXPECT_TRUE(isIntact(block));
    pools[i]->poolDestroy(pools[i]);
  }
}

// Blocks wander: every thread takes some, and gives back those that another one took.
TEST_F(Pools, EightThreadsShareOnePool) {
  std::mutex mutex;
  std::vector<Block> shared;
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      std::mt19937 random(t);
      for (int step = 0; step < 2000; ++step) {
        const size_t limit = random() % 50 == 0 ? 60'000 : 600;
        const Block mine = take(pool(), random() % limit, static_cast<unsigned char>(random()));
        Block theirs{};
        {
          const std::lock_guard hold(mutex);
          shared.push_back(mine);
          std::swap(shared[random() % shared.size()], shared.back());
          if (shared.size() < 50) continue;
          theirs = shared.back();
          shared.pop_back();
        }
        EXPECT_TRUE(isIntact(theirs));
        EXPECT_EQ(pool()->poolFree(pool(), theirs.bytes), 0u);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(vqhostLiveBlocks(pool()), shared.size());
  for (const Block& block : shared) pool()->poolFree(pool(), block.bytes);
  EXPECT_EQ(vqhostLiveBlocks(pool()), 0u);
}

// Threads that come and go leave their caches to others, and a pool that is gone by then does not mind.
TEST_F(Pools, ThreadsMayOutliveAPool) {
  VQPool* other = nullptr;
  ASSERT_EQ(vqhostCreatePool(host(), "short-lived", &other), 0u);
  std::mutex mutex;
  std::condition_variable changed;
  int used = 0;
  bool isGone = false;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      take(other, 100, 1);
      std::unique_lock hold(mutex);
      ++used;
      changed.notify_all();
      changed.wait(hold, [&] { return isGone; });
    });
  }
  {
    std::unique_lock hold(mutex);
    changed.wait(hold, [&] { return used == 4; });
    EXPECT_EQ(vqhostLiveBlocks(other), 4u);
    other->poolDestroy(other);
    isGone = true;
    changed.notify_all();
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace

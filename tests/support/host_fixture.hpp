// The real host for tests: a kernel, the library that is linked into the test program started on it, and a
// pool for what the test makes. Every test ends by proving that nothing stayed alive.
//
//   class WideStrings : public test::HostTest {};
//   TEST_F(WideStrings, ...) { VQString* s = vqStringCreate(service(), pool(), U"abc", 3, 1); ... }
//
// Functions of vqhost.h take host(): the real kernel, also where the library runs on another one.
#pragma once

#include <gtest/gtest.h>

#include <string_view>

#include "vqhost.h"
#include "vqstring/service.h"

namespace test {

// What a kernel is opened with when nothing else is said.
inline VQHostOptions defaultOptions() {
  VQHostOptions options{};
  options.size = sizeof(options);
  return options;
}

// A real kernel without the library.
class KernelTest : public testing::Test {
 protected:
  explicit KernelTest(const VQHostOptions& options = defaultOptions()) {
    EXPECT_EQ(vqhostOpen(&options, &host_), 0u);
    EXPECT_EQ(vqhostCreatePool(host_, "test", &pool_), 0u);
    liveAtStart_ = vqhostLiveObjects(host_);
  }
  ~KernelTest() override {
    EXPECT_EQ(vqhostLiveObjects(host_), liveAtStart_) << "left alive by the test";
    vqhostClose(host_);
  }
  KernelTest(const KernelTest&) = delete;

  VQKernel* host() const { return host_; }
  VQNls* nls() const { return host_->kernelNls; }
  VQPool* pool() const { return pool_; }

 private:
  VQKernel* host_ = nullptr;
  VQPool* pool_ = nullptr;
  uint64_t liveAtStart_ = 0;
};

// A real kernel with the library running on it.
class HostTest : public KernelTest {
 protected:
  explicit HostTest(const VQHostOptions& options = defaultOptions()) : KernelTest(options) {}

  // Where the library runs; a test that interposes a kernel of its own answers with that.
  virtual VQKernel* kernel() { return host(); }
  VQStringService* service() const { return service_; }

  void SetUp() override {
    uint64_t first = 0;
    uint64_t second = 0;
    ASSERT_EQ(vqextver(kernel(), &first, &second), 0u);
    service_ = vqstring(kernel());
    ASSERT_NE(service_, nullptr);
    liveBehindStart_ = vqhostLiveObjects(host());
  }
  void TearDown() override {
    if (service_ == nullptr) return;
    EXPECT_EQ(vqhostLiveObjects(host()), liveBehindStart_) << "strings, blocks or engines left alive";
    EXPECT_EQ(vqStringRealDestroy(service_), 0u);
  }

 private:
  VQStringService* service_ = nullptr;
  uint64_t liveBehindStart_ = 0;
};

}  // namespace test

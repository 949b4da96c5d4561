// A kernel in Exported_VQHandle for as long as a test lasts, with or without a VQNls whose answers cannot be
// mistaken for those of a table.
#pragma once

#include "frame/handle.hpp"
#include "vqstring/host.h"

namespace test {

class FakeKernel {
 public:
  explicit FakeKernel(bool hasNls) : before_(Exported_VQHandle) {
    nls_.nlsToLower = [](VQNls*, VQChar c, uint64_t one) -> VQChar {
      return c + (one == 1 ? 0x1000000u : 0u);
    };
    nls_.nlsToUpper = [](VQNls*, VQChar c, uint64_t one) -> VQChar {
      return c + (one == 1 ? 0x2000000u : 0u);
    };
    nls_.nlsClassify = [](VQNls*, VQChar c, uint32_t mask) { return classifyAnswer(c, mask); };
    kernel_.kernelNls = hasNls ? &nls_ : nullptr;
    Exported_VQHandle = &kernel_;
  }
  ~FakeKernel() { Exported_VQHandle = before_; }
  FakeKernel(const FakeKernel&) = delete;
  FakeKernel& operator=(const FakeKernel&) = delete;

  static uint32_t classifyAnswer(VQChar c, uint32_t mask) { return (c * 31 + mask) % 251; }

 private:
  VQKernel* before_;
  VQKernel kernel_{};
  VQNls nls_{};
};

}  // namespace test

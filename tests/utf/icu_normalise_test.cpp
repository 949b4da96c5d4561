#include <gtest/gtest.h>

#include "frame/handle.hpp"
#include "vqstring/host.h"
#include "vqstring/utf.h"

namespace {

VQStatus loadStatus;
int loads;
VQStatus compareStatus;
int32_t compareResult;

VQStatus normalise(VQIcu*, const char* text, uint64_t byteCount, uint32_t mode, uint32_t options,
                   char* target, uint64_t capacity, uint64_t* length) {
  EXPECT_STREQ(text, "text");
  *target = 'x';
  *length = byteCount * 1000 + mode * 100 + options * 10 + capacity;
  return 0x1234;
}

VQStatus compare(VQIcu*, const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes,
                 uint32_t options, int32_t* result) {
  EXPECT_STREQ(first, "ab");
  EXPECT_STREQ(second, "cde");
  EXPECT_EQ(firstBytes * 100 + secondBytes * 10 + options, 237u);
  *result = compareResult;
  return compareStatus;
}

const VQIcuNormTable norms{normalise, compare};
VQIcu icu{nullptr, &norms};

VQStatus load(VQNls*, VQIcu** loaded, uint64_t zero) {
  EXPECT_EQ(zero, 0u);
  ++loads;
  if (loadStatus == 0) *loaded = &icu;
  return loadStatus;
}

class Normalisation : public testing::Test {
 protected:
  void SetUp() override {
    nls.nlsLoadICU = load;
    kernel.kernelNls = &nls;
    Exported_VQHandle = &kernel;
    loadStatus = 0;
    loads = 0;
    compareStatus = 0;
    compareResult = 0;
  }
  void TearDown() override { Exported_VQHandle = nullptr; }

  VQNls nls{};
  VQKernel kernel{};
};

TEST_F(Normalisation, HandsEveryWordToIcu) {
  char target = 0;
  uint64_t length = 0;
  EXPECT_EQ(vqzsu8ICUNormalize("text", 4, 3, 2, &target, 1, &length), 0x1234u);
  EXPECT_EQ(target, 'x');
  EXPECT_EQ(length, 4321u);
  EXPECT_EQ(loads, 1);
  nls.nlsIcu = &icu;
  vqzsu8ICUNormalize("text", 4, 3, 2, &target, 1, &length);
  EXPECT_EQ(loads, 1);
}

TEST_F(Normalisation, FailedLoadIsNoMemory) {
  loadStatus = 77;
  EXPECT_EQ(vqzsu8ICUNormalize("text", 4, 0, 0, nullptr, 0, nullptr), VQSTATUS_NO_MEMORY);
  VQStatus status = 0;
  EXPECT_EQ(vqzsu8ICUNormCompare("ab", 2, "cde", 3, 7, &status), 0);
  EXPECT_EQ(status, VQSTATUS_NO_MEMORY);
  EXPECT_EQ(vqzsu8ICUNormCompare("ab", 2, "cde", 3, 7, nullptr), 0);
  status = 0;
  EXPECT_EQ(vqzsu8ICUNormEqual("ab", 2, "cde", 3, 7, &status), 0u);
  EXPECT_EQ(status, VQSTATUS_NO_MEMORY);
}

TEST_F(Normalisation, EqualNeedsSuccessAndZero) {
  const struct {
    VQStatus status;
    int32_t result;
    uint32_t equal;
  } cases[] = {{0, 0, 1}, {0, -3, 0}, {55, 0, 0}, {55, 1, 0}};
  for (const auto& [status, result, equal] : cases) {
    compareStatus = status;
    compareResult = result;
    VQStatus seen = 99;
    EXPECT_EQ(vqzsu8ICUNormEqual("ab", 2, "cde", 3, 7, &seen), equal);
    EXPECT_EQ(seen, status);
    EXPECT_EQ(vqzsu8ICUNormEqual("ab", 2, "cde", 3, 7, nullptr), equal);
    EXPECT_EQ(vqzsu8ICUNormCompare("ab", 2, "cde", 3, 7, &seen), result);
    EXPECT_EQ(seen, status);
  }
}

}  // namespace

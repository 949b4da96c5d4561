// Start-up and teardown against a kernel that writes down every call and can refuse any of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "vqstring/service.h"

namespace {

using Log = std::vector<std::string>;

// One kernel a test. The call whose entry in the log equals `refused` fails.
struct FakeHost {
  static inline FakeHost* current = nullptr;
  Log log;
  std::string refused;
  bool convertsToWide = true;
  bool convertsToUtf8 = true;
  VQKernel kernel{};
  VQNls nls{};
  VQPool pool{};
  VQLock lock{};
  VQTranscoder toWide{};
  VQTranscoder toUtf8{};
  VQInstanceExtension extension{};

  bool note(const std::string& call) {
    log.push_back(call);
    return call != refused;
  }

  static bool areZeroBut(const void* parameters, size_t index, uint8_t value) {
    const auto* bytes = static_cast<const uint8_t*>(parameters);
    for (size_t i = 0; i < 24; ++i) {
      if (bytes[i] != (i == index ? value : 0)) return false;
    }
    return true;
  }

  FakeHost() {
    current = this;
    kernel.kernelNls = &nls;
    kernel.kernelCreatePool = [](VQKernel*, const void* parameters, uint64_t, const char* name) -> VQPool* {
      EXPECT_TRUE(areZeroBut(parameters, 0, 0));
      return current->note(std::string("pool ") + name) ? &current->pool : nullptr;
    };
    kernel.kernelCreateLock = [](VQKernel*, const void* parameters, uint64_t, const char* name) -> VQLock* {
      EXPECT_TRUE(areZeroBut(parameters, 1, 1));
      return current->note(std::string("lock ") + name) ? &current->lock : nullptr;
    };
    kernel.kernelLoadExtension = [](VQKernel*, const VQChar* name, int64_t length, uint64_t) -> void* {
      return current->note("load " + std::string(name, name + length)) ? &current->extension : nullptr;
    };
    nls.nlsCanConvert = [](VQNls*, uint32_t source, uint32_t, uint64_t) -> uint8_t {
      return source == ENC_UTF8 ? current->convertsToWide : current->convertsToUtf8;
    };
    nls.nlsCreateTranscoder = [](VQNls*, uint32_t source, uint32_t, uint64_t, uint64_t) -> VQTranscoder* {
      if (source == ENC_UTF8) return current->note("make toWide") ? &current->toWide : nullptr;
      return current->note("make toUtf8") ? &current->toUtf8 : nullptr;
    };
    pool.poolAlloc = [](VQPool*, uint64_t byteCount, uint32_t flags) -> void* {
      EXPECT_EQ(flags, VQ_POOL_ZERO_FILL);
      return current->note("alloc") ? std::calloc(1, byteCount) : nullptr;
    };
    pool.poolFree = [](VQPool*, void* block) -> VQStatus {
      current->note("free");
      std::free(block);
      return 0;
    };
    pool.poolDestroy = [](VQPool*) { current->note("end pool"); };
    lock.lockDestroy = [](VQLock*) { current->note("end lock"); };
    toWide.transcoderDestroy = [](VQTranscoder*) { current->note("end toWide"); };
    toUtf8.transcoderDestroy = [](VQTranscoder*) { current->note("end toUtf8"); };
    extension.extensionRelease = [](VQInstanceExtension*) { current->note("release extension"); };
  }

  VQStringService* start() {
    EXPECT_EQ(vqextent(&kernel), 0u);
    return vqstring(&kernel);
  }
};

const Log completeStart = {"pool vqstring pool", "alloc",           "make toWide",
                           "make toUtf8",        "load vqinstance", "lock vqstringIcuLoadLock"};

TEST(Startup, BuildsARecordAndTearsItDownInOrder) {
  FakeHost host;
  VQStringService* service = host.start();
  ASSERT_NE(service, nullptr);
  EXPECT_EQ(host.log, completeStart);
  EXPECT_EQ(std::memcmp(&service->signature, "nevo\0\0\0\0", 8), 0);
  EXPECT_EQ(service->pool, &host.pool);
  EXPECT_EQ(service->nls, &host.nls);
  EXPECT_EQ(service->utf8ToWide, &host.toWide);
  EXPECT_EQ(service->wideToUtf8, &host.toUtf8);
  EXPECT_EQ(service->instanceExtensionRecord, &host.extension);
  EXPECT_EQ(service->icuLoadLock, &host.lock);

  host.log.clear();
  EXPECT_EQ(service->vqStringRealDestroy(service), 0u);
  EXPECT_EQ(host.log, (Log{"end toWide", "end toUtf8", "end lock", "release extension", "free", "end pool"}));
}

TEST(Startup, GivesBackWhatItTookWhenAStepIsRefused) {
  const struct {
    const char* refused;
    Log givenBack;
  } rows[] = {
      {"pool vqstring pool", {}},
      {"alloc", {"end pool"}},
      {"make toWide", {"free", "end pool"}},
      {"make toUtf8", {"end toWide", "free", "end pool"}},
      {"load vqinstance", {"end toUtf8", "end toWide", "free", "end pool"}},
      {"lock vqstringIcuLoadLock", {"release extension", "end toUtf8", "end toWide", "free", "end pool"}},
  };
  for (const auto& row : rows) {
    FakeHost host;
    host.refused = row.refused;
    EXPECT_EQ(host.start(), nullptr) << row.refused;
    Log expected;
    for (const std::string& call : completeStart) {
      expected.push_back(call);
      if (call == row.refused) break;
    }
    expected.insert(expected.end(), row.givenBack.begin(), row.givenBack.end());
    EXPECT_EQ(host.log, expected) << row.refused;
  }
}

TEST(Startup, NeedsNlsButNoConversion) {
  FakeHost withoutNls;
  withoutNls.kernel.kernelNls = nullptr;
  EXPECT_EQ(withoutNls.start(), nullptr);
  EXPECT_EQ(withoutNls.log, Log{});

  FakeHost host;
  host.convertsToWide = host.convertsToUtf8 = false;
  VQStringService* service = host.start();
  ASSERT_NE(service, nullptr);
  EXPECT_EQ(service->utf8ToWide, nullptr);
  EXPECT_EQ(service->wideToUtf8, nullptr);
  service->vqStringRealDestroy(service);
  EXPECT_THAT(host.log, testing::Not(testing::Contains(testing::StartsWith("end to"))));
}

TEST(Startup, FillsEverySlotAndLeavesReservedWordsZero) {
  FakeHost host;
  VQStringService* service = host.start();
  ASSERT_NE(service, nullptr);
  const auto* words = reinterpret_cast<const uint64_t*>(service);
  const size_t reserved[] = {1, 2, 5, 7, 8, offsetof(VQStringService, reservedAfterGetU8String) / 8};
  const size_t filledLater[] = {offsetof(VQStringService, icu) / 8,
                                offsetof(VQStringService, noBuiltinPatterns) / 8};
  for (size_t i = 0; i < sizeof(VQStringService) / 8; ++i) {
    const bool isZero = std::ranges::find(reserved, i) != std::end(reserved) ||
                        std::ranges::find(filledLater, i) != std::end(filledLater);
    EXPECT_EQ(words[i] == 0, isZero) << "word " << i;
  }
  service->vqStringRealDestroy(service);
}

TEST(Versions, AreWrittenWithoutReadingAService) {
  uint64_t a = 0, b = 0, c = 0;
  EXPECT_EQ(vqStringGetVersion(nullptr, &a, &b, &c), 0u);
  EXPECT_EQ((std::vector{a, b, c}), (std::vector<uint64_t>{2, 0, 0}));
  EXPECT_EQ(vqStringGetReqVersion(nullptr, &a, &b, &c), 0u);
  EXPECT_EQ((std::vector{a, b, c}), (std::vector<uint64_t>{9, 1, 1}));

  FakeHost host;
  EXPECT_EQ(vqextver(&host.kernel, &a, &b), 0u);
  EXPECT_EQ((std::vector{a, b}), (std::vector<uint64_t>{9, 1}));
  EXPECT_EQ(Exported_VQHandle, &host.kernel);
}

TEST(Versions, StampHasItsFieldsAndWidths) {
  VQStamp stamp;
  std::memset(&stamp, 0xAA, sizeof stamp);
  vqstamp1(&stamp);
  EXPECT_STREQ(stamp.familyName, "vqcore");
  EXPECT_STREQ(stamp.moduleName, "vqstring");
  const struct {
    const char* text;
    size_t width;
  } fixed[] = {{stamp.familyTag, 8},   {stamp.moduleTag, 20}, {stamp.separator, 2}, {stamp.hotfixField, 65},
               {stamp.imageField, 65}, {stamp.buildDate, 28}, {stamp.empty1, 0},    {stamp.empty2, 0},
               {stamp.empty3, 0},      {stamp.empty4, 0}};
  for (const auto& field : fixed) EXPECT_EQ(std::strlen(field.text), field.width) << field.text;
  EXPECT_EQ(std::string(stamp.hotfixField).find_last_not_of(' '),
            std::strlen("QEM_VERSION_HOTFIX_NUMBER=") - 1);
  EXPECT_EQ(std::string(stamp.imageField).find_last_not_of(' '),
            std::strlen("STAMPR_IMAGE_DESCRIPTION=") - 1);
  EXPECT_GT(stamp.buildTime, 1'700'000'000u);
  for (uint64_t word : stamp.reserved) EXPECT_EQ(word, 0u);
}

}  // namespace

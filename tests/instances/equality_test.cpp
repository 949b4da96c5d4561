// Equality of instances: every pairing of kinds, and answers kept apart from statuses.
#include "instances/string_instances.hpp"
#include "support/fault_injector.hpp"

namespace {

using test::Held;

class InstanceEquality : public test::HostTest {};

TEST_F(InstanceEquality, EveryPairingAndForm) {
  const struct {
    std::u32string first, second;
    std::string secondBytes;
    uint8_t isEqual;
  } cases[] = {
      {U"", U"", "", 1},
      {U"a", U"", "", 0},
      {U"", U"a", "a", 0},
      {U"grün 😀", U"grün 😀", "gr\u00FCn \U0001F600", 1},
      {U"grün", U"gran", "gran", 0},
      {U"ab", U"abc", "abc", 0},
      {U"abc", U"ab", "ab", 0},
      // Composed and decomposed forms are different texts.
      {U"\u00E9", U"e\u0301", "e\u0301", 0},
  };
  for (const auto& row : cases) {
    const auto wideLength = static_cast<int64_t>(row.second.size());
    const auto byteLength = static_cast<int64_t>(row.secondBytes.size());
    for (const bool firstIsWide : {true, false}) {
      SCOPED_TRACE(testing::Message() << firstIsWide << row.secondBytes);
      const Held first = test::ofKind(firstIsWide, service(), pool(), row.first);
      uint8_t result = 7;
      for (const bool secondIsWide : {true, false}) {
        const Held second = test::ofKind(secondIsWide, service(), pool(), row.second);
        EXPECT_EQ(vqStringInstanceEqual(first.get(), second.get(), &result), 0u);
        EXPECT_EQ(result, row.isEqual);
      }
      for (const int64_t length : {byteLength, int64_t{-1}}) {
        EXPECT_EQ(vqStringInstanceEqualU8(first.get(), row.secondBytes.c_str(), length, &result), 0u);
        EXPECT_EQ(result, row.isEqual);
      }
      for (const int64_t length : {wideLength, int64_t{-1}}) {
        EXPECT_EQ(vqStringInstanceEqualVQText(first.get(), row.second.c_str(), length, &result), 0u);
        EXPECT_EQ(result, row.isEqual);
      }
    }
  }
}

TEST_F(InstanceEquality, NullAndOtherKinds) {
  const Held string = test::wide(service(), pool(), U"a");
  const Held bytes = test::u8(service(), pool(), "a");
  const Held narrow = test::narrow(service(), pool(), "a");
  const struct {
    VQInstance *first, *second;
    VQStatus status;
    uint8_t result;
  } cases[] = {
      {nullptr, nullptr, 0, 1},
      {nullptr, narrow.get(), 0, 0},
      {string.get(), nullptr, 0, 0},
      {string.get(), string.get(), 0, 1},
      {string.get(), narrow.get(), VQSTATUS_BAD_ARGUMENT, 0},
      {bytes.get(), narrow.get(), VQSTATUS_BAD_ARGUMENT, 0},
      {narrow.get(), narrow.get(), VQSTATUS_BAD_ARGUMENT, 0},
  };
  for (const auto& row : cases) {
    uint8_t result = 7;
    EXPECT_EQ(vqStringInstanceEqual(row.first, row.second, &result), row.status) << &row - cases;
    EXPECT_EQ(result, row.result) << &row - cases;
  }
  uint8_t result = 7;
  EXPECT_EQ(vqStringInstanceEqualU8(narrow.get(), "a", 1, &result), VQSTATUS_BAD_ARGUMENT);
  EXPECT_EQ(result, 0);
  result = 7;
  EXPECT_EQ(vqStringInstanceEqualVQText(narrow.get(), U"a", 1, &result), VQSTATUS_BAD_ARGUMENT);
  EXPECT_EQ(result, 0);
}

class EqualityFaults : public test::FaultTest {};

TEST_F(EqualityFaults, FailedComparisonIsNotUnequal) {
  for (const bool firstIsWide : {true, false}) {
    const Held first = test::ofKind(firstIsWide, service(), faultyPool(), U"aé");
    const Held second = test::ofKind(!firstIsWide, service(), faultyPool(), U"aé");
    uint8_t result = 7;
    int faults = 0;
    const VQStatus last = forEveryFault(
        [&] { return vqStringInstanceEqual(first.get(), second.get(), &result); },
        [&](VQStatus status, const test::Fault& fault) {
          ++faults;
          EXPECT_EQ(status, fault.call == test::poolAlloc ? VQSTATUS_NO_MEMORY : test::injectedStatus);
          EXPECT_EQ(result, 0);
        });
    EXPECT_EQ(last, 0u);
    EXPECT_EQ(result, 1);
    EXPECT_GE(faults, 3);
  }
}

}  // namespace

// The minimum and maximum maps against the case classes, for every code point.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tables/case_relations.hpp"
#include "vqstring/text.h"

namespace {

// Lowest or highest of each class, by carrying the better of two related code points over until nothing
// moves.
template <class Better>
std::vector<VQChar> naiveExtremes(Better better) {
  std::vector<VQChar> extreme(0x110000);
  for (VQChar c = 0; c < extreme.size(); ++c) extreme[c] = c;
  for (bool hasMoved = true; hasMoved;) {
    hasMoved = false;
    for (auto [one, other] : test::caseRelations) {
      const VQChar best = better(extreme[one], extreme[other]);
      hasMoved |= extreme[one] != best || extreme[other] != best;
      extreme[one] = extreme[other] = best;
    }
  }
  extreme[0xDF] = 0xDF;
  return extreme;
}

std::vector<VQChar> everyCodePoint() {
  std::vector<VQChar> all(0x110000);
  for (VQChar c = 0; c < all.size(); ++c) all[c] = c;
  return all;
}

TEST(ExtremeCase, EveryCodePointGoesToTheEndsOfItsClass) {
  auto lowest = everyCodePoint();
  auto highest = everyCodePoint();
  const auto size = static_cast<int64_t>(lowest.size());
  vqzstmin(lowest.data(), size);
  vqzstmax(highest.data(), size);
  const auto min = naiveExtremes([](VQChar a, VQChar b) { return std::min(a, b); });
  const auto max = naiveExtremes([](VQChar a, VQChar b) { return std::max(a, b); });
  for (VQChar c = 0; c < lowest.size(); ++c) {
    ASSERT_EQ(lowest[c], min[c]) << std::hex << uint32_t{c};
    ASSERT_EQ(highest[c], max[c]) << std::hex << uint32_t{c};
  }
}

TEST(ExtremeCase, ClassesThatJoinMoreThanTwo) {
  const std::vector<std::vector<VQChar>> classes = {
      {0x41, 0x61},          {0x49, 0x69, 0x130, 0x131}, {0x4B, 0x6B, 0x212A},  {0x53, 0x73, 0x17F},
      {0xB5, 0x39C, 0x3BC},  {0xC5, 0xE5, 0x212B},       {0x1C4, 0x1C5, 0x1C6}, {0x345, 0x399, 0x3B9, 0x1FBE},
      {0x3A3, 0x3C2, 0x3C3}, {0x412, 0x432, 0x1C80},     {0x13A0, 0xAB70},      {0x26A, 0xA7AE}};
  for (const auto& members : classes) {
    for (VQChar member : members) {
      VQChar lowest = member, highest = member;
      vqzstmin(&lowest, 1);
      vqzstmax(&highest, 1);
      EXPECT_EQ(lowest, members.front()) << std::hex << uint32_t{member};
      EXPECT_EQ(highest, members.back()) << std::hex << uint32_t{member};
    }
  }
}

TEST(ExtremeCase, MinimumFirstChangesTheMaximumOfOneLetterOnly) {
  auto both = everyCodePoint();
  auto highest = both;
  const auto size = static_cast<int64_t>(both.size());
  vqzstmin(both.data(), size);
  vqzstmax(both.data(), size);
  vqzstmax(highest.data(), size);
  for (VQChar c = 0; c < both.size(); ++c) {
    ASSERT_EQ(both[c], c == 0x1E9E ? VQChar{0xDF} : highest[c]) << std::hex << uint32_t{c};
  }
}

}  // namespace

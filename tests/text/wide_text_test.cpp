// Case-blind comparison and change of case on wide text.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

#include "fake_kernel.hpp"
#include "support/cpu_levels.hpp"
#include "support/guarded_buffer.hpp"
#include "text/case_map.hpp"
#include "vqstring/text.h"

namespace {

using test::Edge;
using test::GuardedBuffer;
using vq::text::lowerByTable;
using vq::text::upperByTable;
using Wide = std::u32string;
using View = std::u32string_view;

int32_t compare(View first, View second) {
  return vqzsncmp(first.data(), static_cast<int64_t>(first.size()), second.data(),
                  static_cast<int64_t>(second.size()));
}

TEST(WideCompare, Degrees) {
  struct {
    View first, second;
    int32_t order;
  } const cases[] = {
      {U"abc", U"abc", 0},  {U"abc", U"ABC", 1},   {U"ABC", U"abc", -1}, {U"aB", U"Ab", 1},
      {U"abc", U"abd", -2}, {U"Abc", U"abd", -2},  {U"abd", U"ABC", 2},  {U"abc", U"abc  ", 0},
      {U"abc", U"ABC ", 1}, {U"abc", U"abcd", -2}, {U"abcd", U"abc", 2}, {U"abc  ", U"abc", 0},
      {U"", U"   ", 0},     {U"", U"", 0},         {U"", U"a", -2},      {U"abc", U"abc\t", -2},
      {U"Ä", U"ä", -1},     {U"İ", U"i", 2},       {U"\x212A", U"k", 2}, {U"\x1F600", U"\x1F601", -2},
  };
  for (auto [first, second, order] : cases) {
    EXPECT_EQ(compare(first, second), order) << testing::PrintToString(Wide(first));
  }
  // Elements are compared as signed numbers.
  const VQChar huge = 0x80000000, one = 1;
  EXPECT_EQ(vqzsncmp(&huge, 1, &one, 1), -2);
  // A negative length is an empty text.
  EXPECT_EQ(vqzsncmp(U"a", -1, U"  ", 2), 0);
  EXPECT_EQ(vqzsncmp(U"a", 1, U"b", -7), 2);
  EXPECT_EQ(vqzsncmp(U"a", -1, U"b", -7), 0);
}

TEST(WideCompare, EqualityNeedsEqualLengths) {
  EXPECT_EQ(vqzseqn(nullptr, 0, nullptr, 0), 1u);
  EXPECT_EQ(vqzseqn(nullptr, 1, nullptr, 2), 0u);
  EXPECT_EQ(vqzseqn(U"İ", 1, U"i", 1), 0u);
  EXPECT_EQ(vqzseqn(U"Ä", 1, U"ä", 1), 1u);
  EXPECT_EQ(vqzseqn(U"\x10400", 1, U"\x10428", 1), 0u);
}

int32_t naiveCompare(const VQChar* first, const VQChar* second, size_t count) {
  int32_t tie = 0;
  for (size_t i = 0; i < count; ++i) {
    const auto a = static_cast<int32_t>(first[i]), b = static_cast<int32_t>(second[i]);
    if (a == b) continue;
    if (tie == 0) tie = a < b ? -1 : 1;
    const auto lowA = static_cast<int32_t>(lowerByTable(first[i]));
    const auto lowB = static_cast<int32_t>(lowerByTable(second[i]));
    if (lowA != lowB) return lowA < lowB ? -2 : 2;
  }
  return tie;
}

void expectNaive(const GuardedBuffer<VQChar>& a, const GuardedBuffer<VQChar>& b) {
  const int32_t order = naiveCompare(a.data(), b.data(), a.size());
  const auto count = static_cast<int64_t>(a.size());
  ASSERT_EQ(vqzsncmp(a.data(), count, b.data(), count), order);
  ASSERT_EQ(vqzseqn(a.data(), a.size(), b.data(), b.size()), order > -2 && order < 2);
}

// Every pair of a code point with one that lies as near as a mapping goes, in the middle of a text long
// enough for vectors: what a vector form takes for a pair of cases must be one.
TEST(WideCompare, EveryPairOfNeighbours) {
  const int distances[] = {1, 2, 8, 9, 16, 26, 32, 37, 38, 48, 63, 64, 80, 0x10000};
  test::atEveryLevel([&] {
    GuardedBuffer<VQChar> a(48), b(48);
    for (size_t i = 0; i < a.size(); ++i) a[i] = b[i] = U'x';
    for (VQChar c = 0; c < 0x2D00; ++c) {
      for (int distance : distances) {
        const size_t at = c % a.size();
        a[at] = c;
        b[at] = c + static_cast<VQChar>(distance);
        expectNaive(a, b);
        expectNaive(b, a);
        a[at] = b[at] = U'x';
      }
    }
  });
}

TEST(WideCompare, RandomTextsOfOneScript) {
  constexpr std::pair<VQChar, VQChar> scripts[] = {
      {0x20, 0x7E},   {0xA0, 0x17F},    {0x180, 0x24F},    {0x370, 0x3FF},          {0x400, 0x52F},
      {0x531, 0x587}, {0x1E00, 0x1FFF}, {0xFF00, 0x100FF}, {0x7FFFFFF0, 0x8000000F}};
  test::atEveryLevel([&] {
    std::mt19937 random(11);
    for (int round = 0; round < 8000; ++round) {
      const auto [first, last] = scripts[static_cast<size_t>(round) % std::size(scripts)];
      const Edge edge = random() % 2 == 0 ? Edge::behind : Edge::before;
      GuardedBuffer<VQChar> a(random() % 100, edge), b(a.size(), edge);
      for (size_t i = 0; i < a.size(); ++i) {
        const VQChar c = static_cast<VQChar>(first + random() % (last - first + 1));
        a[i] = random() % 2 == 0 ? lowerByTable(c) : c;
        b[i] = random() % 2 == 0 ? upperByTable(c) : c;
        if (random() % 64 == 0) b[i] = static_cast<VQChar>(first + random() % (last - first + 1));
      }
      expectNaive(a, b);
      if (testing::Test::HasFatalFailure()) return;
    }
  });
}

TEST(WideCompare, BlankTailOfEveryLength) {
  test::atEveryLevel([] {
    for (size_t excess = 1; excess < 80; ++excess) {
      const Wide text = U"Größe";
      Wide longer = text + Wide(excess, U' ');
      ASSERT_EQ(compare(text, longer), 0);
      longer.back() = U'!';
      ASSERT_EQ(compare(text, longer), -2);
      ASSERT_EQ(compare(longer, text), 2);
    }
  });
}

// Texts that are ASCII but for one character at every place, so that every road through a block is taken.
TEST(WideCase, LowerAndUpperWithAndWithoutHost) {
  test::atEveryLevel([] {
    for (bool hasNls : {false, true}) {
      test::FakeKernel kernel(hasNls);
      for (size_t length = 0; length < 70; ++length) {
        for (VQChar odd : {U'Ä', U'ÿ', VQChar{0x80}, VQChar{0x212A}, VQChar{0x10400}, VQChar{0x80000041}}) {
          GuardedBuffer<VQChar> low(length), up(length);
          for (size_t i = 0; i < length; ++i) {
            low[i] = up[i] = i == (length * 7) / 9 ? odd : static_cast<VQChar>((i * 5 + length) % 128);
          }
          const Wide before(low.begin(), low.end());
          vqzstlo(low.data(), static_cast<int64_t>(length));
          vqzstup(up.data(), static_cast<int64_t>(length));
          for (size_t i = 0; i < length; ++i) {
            const VQChar c = before[i];
            const bool byHost = hasNls && c >= 0x80;
            ASSERT_EQ(low[i], byHost ? c + 0x1000000 : lowerByTable(c)) << i;
            ASSERT_EQ(up[i], byHost ? c + 0x2000000 : upperByTable(c)) << i;
          }
        }
      }
      VQChar untouched = U'A';
      vqzstlo(&untouched, 0);
      vqzstup(&untouched, -1);
      vqzstmax(&untouched, -1);
      EXPECT_EQ(untouched, U'A');
    }
  });
}

}  // namespace

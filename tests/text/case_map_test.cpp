// The case maps against the runs that define them, for every code point; the exported tables word by word.
#include "text/case_map.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <vector>

namespace {

using CaseMap = std::map<VQChar, VQChar>;

struct Run {
  VQChar first, last, step;
  int distance;
};

// clang-format off
constexpr Run lowerRuns[] = {
    {0x0041, 0x005a, 1, 32}, {0x00c0, 0x00d6, 1, 32}, {0x00d8, 0x00de, 1, 32}, {0x0100, 0x012e, 2, 1},
    {0x0132, 0x0136, 2, 1}, {0x0139, 0x0147, 2, 1}, {0x014a, 0x0176, 2, 1}, {0x0178, 0x0178, 1, -121},
    {0x0179, 0x017d, 2, 1}, {0x0181, 0x0181, 1, 210}, {0x0182, 0x0184, 2, 1}, {0x0186, 0x0186, 1, 206},
    {0x0187, 0x0187, 1, 1}, {0x018a, 0x018a, 1, 205}, {0x018b, 0x018b, 1, 1}, {0x018e, 0x018f, 1, 202},
    {0x0190, 0x0190, 1, 203}, {0x0191, 0x0191, 1, 1}, {0x0193, 0x0193, 1, 205}, {0x0194, 0x0194, 1, 207},
    {0x0196, 0x0196, 1, 211}, {0x0197, 0x0197, 1, 209}, {0x0198, 0x0198, 1, 1}, {0x019c, 0x019c, 1, 211},
    {0x019d, 0x019d, 1, 213}, {0x01a0, 0x01a4, 2, 1}, {0x01a7, 0x01a7, 1, 1}, {0x01a9, 0x01a9, 1, 218},
    {0x01ac, 0x01ac, 1, 1}, {0x01ae, 0x01ae, 1, 218}, {0x01af, 0x01af, 1, 1}, {0x01b1, 0x01b2, 1, 217},
    {0x01b3, 0x01b5, 2, 1}, {0x01b7, 0x01b7, 1, 219}, {0x01b8, 0x01b8, 1, 1}, {0x01bc, 0x01bc, 1, 1},
    {0x01c4, 0x01c4, 1, 2}, {0x01c5, 0x01c5, 1, 1}, {0x01c7, 0x01c7, 1, 2}, {0x01c8, 0x01c8, 1, 1},
    {0x01ca, 0x01ca, 1, 2}, {0x01cb, 0x01db, 2, 1}, {0x01de, 0x01ee, 2, 1}, {0x01f1, 0x01f1, 1, 2},
    {0x01f2, 0x01f4, 2, 1}, {0x01fa, 0x0216, 2, 1}, {0x0386, 0x0386, 1, 38}, {0x0388, 0x038a, 1, 37},
    {0x038c, 0x038c, 1, 64}, {0x038e, 0x038f, 1, 63}, {0x0391, 0x03a1, 1, 32}, {0x03a3, 0x03ab, 1, 32},
    {0x03da, 0x03ee, 2, 1}, {0x0401, 0x040c, 1, 80}, {0x040e, 0x040f, 1, 80}, {0x0410, 0x042f, 1, 32},
    {0x0460, 0x0480, 2, 1}, {0x0490, 0x04be, 2, 1}, {0x04c1, 0x04c3, 2, 1}, {0x04c7, 0x04c7, 1, 1},
    {0x04cb, 0x04cb, 1, 1}, {0x04d0, 0x04ea, 2, 1}, {0x04ee, 0x04f4, 2, 1}, {0x04f8, 0x04f8, 1, 1},
    {0x0531, 0x0556, 1, 48}, {0x10a0, 0x10c5, 1, 48}, {0x1e00, 0x1e94, 2, 1}, {0x1ea0, 0x1ef8, 2, 1},
    {0x1f08, 0x1f0f, 1, -8}, {0x1f18, 0x1f1d, 1, -8}, {0x1f28, 0x1f2f, 1, -8}, {0x1f38, 0x1f3f, 1, -8},
    {0x1f48, 0x1f4d, 1, -8}, {0x1f59, 0x1f5f, 2, -8}, {0x1f68, 0x1f6f, 1, -8}, {0x1f88, 0x1f8f, 1, -8},
    {0x1f98, 0x1f9f, 1, -8}, {0x1fa8, 0x1faf, 1, -8}, {0x1fb8, 0x1fb9, 1, -8}, {0x1fba, 0x1fbb, 1, -74},
    {0x1fbc, 0x1fbc, 1, -9}, {0x1fc8, 0x1fcb, 1, -86}, {0x1fcc, 0x1fcc, 1, -9}, {0x1fd8, 0x1fd9, 1, -8},
    {0x1fda, 0x1fdb, 1, -100}, {0x1fe8, 0x1fe9, 1, -8}, {0x1fea, 0x1feb, 1, -112}, {0x1fec, 0x1fec, 1, -7},
    {0x1ff8, 0x1ff9, 1, -128}, {0x1ffa, 0x1ffb, 1, -126}, {0x1ffc, 0x1ffc, 1, -9}, {0x2160, 0x216f, 1, 16},
    {0x24b6, 0x24cf, 1, 26}, {0xff21, 0xff3a, 1, 32},};
// clang-format on

CaseMap naiveLower() {
  CaseMap map;
  for (const Run& run : lowerRuns) {
    for (VQChar c = run.first; c <= run.last; c += run.step) map[c] = c + static_cast<VQChar>(run.distance);
  }
  return map;
}

CaseMap naiveUpper() {
  CaseMap map;
  for (auto [upper, lower] : naiveLower()) {
    const bool isOldCoptic = lower == 0x3DB || lower == 0x3DD || lower == 0x3DF || lower == 0x3E1;
    if (!isOldCoptic && !(lower >= 0x10D0 && lower <= 0x10F5)) map[lower] = upper;
  }
  const CaseMap rows = {{0x1C6, 0x1C4}, {0x1C9, 0x1C7}, {0x1CC, 0x1CA}, {0x1F3, 0x1F1}, {0x17F, 0x53},
                        {0x1C5, 0x1C4}, {0x1C8, 0x1C7}, {0x1CB, 0x1CA}, {0x1F2, 0x1F1}, {0x3D0, 0x392},
                        {0x3D1, 0x398}, {0x3D5, 0x3A6}, {0x3D6, 0x3A0}, {0x3F0, 0x39A}, {0x3F1, 0x3A1}};
  for (auto [from, to] : rows) map[from] = to;
  return map;
}

VQChar look(const CaseMap& map, VQChar c) {
  const auto row = map.find(c);
  return row == map.end() ? c : row->second;
}

TEST(CaseMap, EveryCodePointFollowsTheRuns) {
  const CaseMap lower = naiveLower();
  const CaseMap upper = naiveUpper();
  for (VQChar c = 0; c < 0x110000; ++c) {
    ASSERT_EQ(vq::text::lowerByTable(c), look(lower, c)) << std::hex << uint32_t{c};
    ASSERT_EQ(vq::text::upperByTable(c), look(upper, c)) << std::hex << uint32_t{c};
  }
  EXPECT_EQ(vq::text::lowerByTable(0xFFFFFF41), 0xFFFFFF41);
}

TEST(CaseMap, LettersOfLaterDataHaveNoRow) {
  const std::vector<std::pair<VQChar, VQChar>> ranges = {
      {0xB5, 0xB5},     {0x130, 0x131},   {0x180, 0x180},   {0x189, 0x189},   {0x19F, 0x19F},
      {0x1A6, 0x1A6},   {0x1DD, 0x1DD},   {0x1F6, 0x1F9},   {0x218, 0x233},   {0x256, 0x256},
      {0x275, 0x275},   {0x280, 0x280},   {0x345, 0x345},   {0x3C2, 0x3C2},   {0x3F5, 0x3F5},
      {0x400, 0x400},   {0x40D, 0x40D},   {0x450, 0x450},   {0x45D, 0x45D},   {0x48A, 0x48F},
      {0x500, 0x500},   {0x1E9B, 0x1E9B}, {0x1FBE, 0x1FBE}, {0x2126, 0x2126}, {0x212A, 0x212B},
      {0x2C00, 0x2C00}, {0xDF, 0xDF},     {0x300, 0x300}};
  for (auto [first, last] : ranges) {
    for (VQChar c = first; c <= last; ++c) {
      EXPECT_EQ(vq::text::lowerByTable(c), c);
      EXPECT_EQ(vq::text::upperByTable(c), c);
    }
  }
}

void expectTable(const CaseMap& map, const int8_t* shift, const uint32_t* pairs, size_t pairCount) {
  size_t pair = 0;
  for (VQChar c = 0; c <= 0xFFFF; ++c) {
    const int start = mhz_metatable[c >> 7];
    const int distance = static_cast<int>(look(map, c)) - static_cast<int>(c);
    if (start < 0) {
      ASSERT_EQ(distance, 0) << std::hex << uint32_t{c};
    } else if (distance > -128 && distance < 128) {
      ASSERT_EQ(shift[start + static_cast<int>(c & 0x7F)], distance) << std::hex << uint32_t{c};
    } else {
      ASSERT_EQ(shift[start + static_cast<int>(c & 0x7F)], -128) << std::hex << uint32_t{c};
      ASSERT_LT(pair, pairCount);
      ASSERT_EQ(pairs[2 * pair], c);
      ASSERT_EQ(pairs[2 * pair + 1], look(map, c));
      ++pair;
    }
  }
  EXPECT_EQ(pair, pairCount);
  EXPECT_EQ(pairs[2 * pairCount], 0u);
}

TEST(CaseMap, ExportedTablesHoldTheirBlocksInOrder) {
  const int blocks[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 10, 11, 33, 60, 61, 62, 63, 66, 73, 510};
  int expected[512];
  std::fill(std::begin(expected), std::end(expected), -1);
  for (int i = 0; i < 19; ++i) expected[blocks[i]] = 128 * i;
  for (int i = 0; i < 512; ++i) EXPECT_EQ(mhz_metatable[i], expected[i]) << i;
  expectTable(naiveLower(), mhz_downshift, mhz_downaux, 19);
  expectTable(naiveUpper(), mhz_upshift, mhz_upaux, 20);
}

}  // namespace

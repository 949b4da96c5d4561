// Every predicate for every code point, without a VQNls and with one.
#include <gtest/gtest.h>

#include <span>
#include <string_view>
#include <vector>

#include "fake_kernel.hpp"
#include "tables/general_categories.hpp"
#include "text/tables/class_ranges.hpp"
#include "vqstring/text.h"

namespace {

using vq::text::CodeRange;

constexpr std::string_view order =
    "Lu Ll Lt Mn Mc Me Nd Nl No Zs Zl Zp Cc Cf Cs Co Cn Lm Lo Pc Pd Ps Pe Pi Pf Po Sm Sc Sk So";

// The class mask of every code point, from the runs of general categories.
std::vector<uint32_t> masksOfAll() {
  std::vector<uint32_t> masks(0x110000);
  for (const auto& run : test::categoryRuns) {
    const uint32_t mask = 1u << order.find(run.category) / 3;
    for (char32_t c = run.first; c <= run.last; ++c) masks[c] = mask;
  }
  return masks;
}

bool never(VQChar) {
  return false;
}
bool isHexLetter(VQChar c) {
  return c < 0x10000 && c != 0 &&
         std::u32string_view(U"ABCDEFabcdefＡＢＣＤＥＦａｂｃｄｅｆ").find(c) != std::u32string_view::npos;
}
bool isSeparator(VQChar c) {
  return c == 0x2028 || c == 0x2029;
}
bool isBlank(VQChar c) {
  return (c >= 0x9 && c <= 0xD) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || isSeparator(c) || c == 0x202F || c == 0x205F || c == 0x3000;
}

struct Predicate {
  const char* name;
  uint32_t (*ask)(VQChar);
  uint32_t hostMask;            // what nlsClassify is given
  uint32_t tableMask;           // categories of the table
  bool (*alsoInTable)(VQChar);  // members of the table beside them
  bool (*alsoWithHost)(VQChar);
};

constexpr uint32_t print = 0x3ffe03ff;
const Predicate predicates[] = {
    {"upper", vqnlsisupper, 0x1, 0x1, never, never},
    {"lower", vqnlsislower, 0x2, 0x2, never, never},
    {"digit", vqnlsisdigit, 0x40, 0x40, never, never},
    {"alpha", vqnlsisalpha, 0x60007, 0x60007, never, never},
    {"alnum", vqnlsisalnum, 0x60047, 0x60047, never, never},
    {"xdigit", vqnlsisxdigit, 0x40, 0x40, isHexLetter, isHexLetter},
    {"punct", vqnlsispunct, 0x3f80000, 0x3f80000, never, never},
    {"cntrl", vqnlsiscntrl, 0x3c00, 0x3c00, never, never},
    {"print", vqnlsisprint, print, print, isSeparator, never},
    {"graph", vqnlsisgraph, 0xfffe81ff, print & ~0x200u, never, never},
};

TEST(Classify, EveryCodePointByTable) {
  test::FakeKernel kernel(false);
  const auto masks = masksOfAll();
  for (const Predicate& predicate : predicates) {
    for (VQChar c = 0; c < masks.size(); ++c) {
      const uint32_t expected = (masks[c] & predicate.tableMask) != 0 || predicate.alsoInTable(c);
      ASSERT_EQ(predicate.ask(c), expected) << predicate.name << " " << std::hex << uint32_t{c};
    }
    for (VQChar c : {VQChar{0x110000}, VQChar{0x110041}, VQChar{0x80000041}, VQChar{0xFFFFFFFF}}) {
      EXPECT_EQ(predicate.ask(c), 0u) << predicate.name << " " << std::hex << uint32_t{c};
    }
  }
}

TEST(Classify, EveryCodePointWithHost) {
  test::FakeKernel kernel(true);
  const auto masks = masksOfAll();
  for (const Predicate& predicate : predicates) {
    for (VQChar c = 0; c < masks.size(); ++c) {
      const uint32_t expected = predicate.alsoWithHost(c) ? 1
                                : c < 0x80                ? (masks[c] & predicate.hostMask) != 0
                                           : test::FakeKernel::classifyAnswer(c, predicate.hostMask);
      ASSERT_EQ(predicate.ask(c), expected) << predicate.name << " " << std::hex << uint32_t{c};
    }
  }
}

TEST(Classify, SpaceNeverAsksTheHost) {
  for (bool hasNls : {false, true}) {
    test::FakeKernel kernel(hasNls);
    for (VQChar c = 0; c < 0x110000; ++c) ASSERT_EQ(vqnlsisspace(c), isBlank(c)) << std::hex << uint32_t{c};
    EXPECT_EQ(vqnlsisspace(0x80000020), 0u);
  }
}

// The search by halves that the ranges are made for.
bool isInRanges(std::span<const CodeRange> ranges, VQChar c) {
  int low = 0, high = static_cast<int>(ranges.size()) - 1;
  while (low <= high) {
    const int middle = (low + high) / 2;
    if (c < ranges[static_cast<size_t>(middle)].first) {
      high = middle - 1;
    } else if (c <= ranges[static_cast<size_t>(middle)].last) {
      return true;
    } else {
      low = middle + 1;
    }
  }
  return false;
}

TEST(Classify, RangesAndStagesAgree) {
  using namespace vq::text;
  struct {
    std::span<const CodeRange> ranges;
    uint32_t (*ask)(VQChar);
    size_t count;
  } const tables[] = {{upperRanges, vqnlsisupper, 627},  {lowerRanges, vqnlsislower, 633},
                      {digitRanges, vqnlsisdigit, 54},   {alphaRanges, vqnlsisalpha, 571},
                      {xdigitRanges, vqnlsisxdigit, 58}, {punctRanges, vqnlsispunct, 168},
                      {controlRanges, vqnlsiscntrl, 20}, {printRanges, vqnlsisprint, 641},
                      {graphRanges, vqnlsisgraph, 641},  {spaceRanges, vqnlsisspace, 11}};
  test::FakeKernel kernel(false);
  for (const auto& [ranges, ask, count] : tables) {
    EXPECT_EQ(ranges.size(), count);
    for (VQChar c = 0; c < 0x110000; ++c) ASSERT_EQ(ask(c), isInRanges(ranges, c)) << std::hex << uint32_t{c};
  }
}

}  // namespace

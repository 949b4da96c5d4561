// Scans and comparisons of memory on buffers that end, or begin, at a forbidden page: every length and place
// of the hit that a vector form treats differently.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/cpu_levels.hpp"
#include "support/guarded_buffer.hpp"
#include "text/scan.hpp"
#include "vqstring/text.h"

namespace {

using test::Edge;
using test::GuardedBuffer;

// Calls body(length, edge) for the lengths up to a few vectors and some of several rounds of the main loops.
template <class Body>
void forEachLength(Body body) {
  test::atEveryLevel([&] {
    for (Edge edge : {Edge::behind, Edge::before}) {
      for (size_t length = 0; length <= 140; ++length) body(length, edge);
      for (size_t length : {255u, 256u, 257u, 511u, 640u, 1023u, 1031u}) body(length, edge);
    }
  });
}

// The places of a hit worth trying: all of them in short runs.
std::vector<size_t> places(size_t length) {
  std::vector<size_t> all;
  for (size_t at = 0; at < length; at += length <= 140 ? 1 : 7) all.push_back(at);
  if (length > 140) all.push_back(length - 1);
  return all;
}

template <class Element>
void fill(const GuardedBuffer<Element>& buffer, Element value) {
  for (Element& element : buffer) element = value;
}

template <class Element>
void scansFindTheFirst(Element value, Element other) {
  forEachLength([&](size_t length, Edge edge) {
    GuardedBuffer<Element> same(length, edge), different(length, edge);
    fill(same, value);
    fill(different, other);
    ASSERT_EQ(vq::text::firstOther(same.data(), length, value), length);
    ASSERT_EQ(vq::text::firstEqual(different.data(), length, value), length);
    for (size_t at : places(length)) {
      same[at] = same[length - 1] = other;
      different[at] = different[length - 1] = value;
      ASSERT_EQ(vq::text::firstOther(same.data(), length, value), at) << length;
      ASSERT_EQ(vq::text::firstEqual(different.data(), length, value), at) << length;
      same[at] = same[length - 1] = value;
      different[at] = different[length - 1] = other;
    }
  });
}

TEST(MemoryScan, FindsTheFirstByte) {
  scansFindTheFirst<uint8_t>(0x80, 0x00);
  scansFindTheFirst<uint8_t>(0x00, 0x01);
}

TEST(MemoryScan, FindsTheFirstElement) {
  scansFindTheFirst<VQChar>(U' ', 0x20000020);
  scansFindTheFirst<VQChar>(0, 0x100);
}

TEST(MemoryScan, LengthsStopAtTheFirstZero) {
  forEachLength([](size_t length, Edge edge) {
    GuardedBuffer<char> bytes(length + 1, edge);
    GuardedBuffer<VQChar> wide(length + 1, edge);
    fill(bytes, '\x80');
    fill(wide, VQChar{0x100});
    for (size_t at : places(length + 1)) {
      bytes[at] = bytes[length] = 0;
      wide[at] = wide[length] = 0;
      ASSERT_EQ(mhStrLen(bytes.data()), static_cast<int64_t>(at));
      ASSERT_EQ(mhStrTLen(wide.data()), static_cast<int64_t>(at));
      bytes[at] = '\x01';
      wide[at] = 0x80000000;
    }
  });
  EXPECT_EQ(mhStrLen(nullptr), 0);
  EXPECT_EQ(mhStrTLen(nullptr), 0);
}

TEST(MemoryScan, ComparisonsTellTheSignOfTheFirstDifference) {
  forEachLength([](size_t length, Edge edge) {
    GuardedBuffer<uint8_t> a(length, edge), b(length, edge == Edge::behind ? Edge::before : Edge::behind);
    GuardedBuffer<VQChar> wideA(length, edge), wideB(length, edge);
    for (size_t i = 0; i < length; ++i) {
      a[i] = b[i] = static_cast<uint8_t>(i * 7);
      wideA[i] = wideB[i] = static_cast<VQChar>(i * 0x01010101);
    }
    ASSERT_EQ(mhMemCmp(a.data(), b.data(), length), 0);
    ASSERT_EQ(mhWMemCmp(wideA.data(), wideB.data(), length), 0);
    for (size_t at : places(length)) {
      // Everything behind the place says the opposite.
      for (size_t i = at; i < length; ++i) {
        a[i] = i == at ? 0x80 : 0x00;
        b[i] = 0x7F;
        wideA[i] = i == at ? 0x90000000 : 2;
        wideB[i] = 1;
      }
      ASSERT_EQ(mhMemCmp(a.data(), b.data(), length), 1) << length << " " << at;
      ASSERT_EQ(mhMemCmp(b.data(), a.data(), length), -1);
      ASSERT_EQ(mhWMemCmp(wideA.data(), wideB.data(), length), -1) << length << " " << at;
      for (size_t i = at; i < length; ++i) {
        a[i] = b[i] = static_cast<uint8_t>(i * 7);
        wideA[i] = wideB[i] = static_cast<VQChar>(i * 0x01010101);
      }
    }
  });
}

TEST(MemoryScan, OrderOfElementsWrapsAround) {
  struct {
    VQChar first, second;
    int32_t order;
  } const cases[] = {{0x90000000, 1, -1}, {1, 0x90000000, 1},           {0x10FFFF, 0x41, 1},
                     {0x41, 0x61, -1},    {0x80000000, 0, -1},          {0, 0x80000000, -1},
                     {0x80000001, 1, -1}, {0x7FFFFFFF, 0xFFFFFFFF, -1}, {0xFFFFFFFF, 0, -1}};
  for (auto [first, second, order] : cases) {
    EXPECT_EQ(mhWMemCmp(&first, &second, 1), order) << uint32_t{first} << " " << uint32_t{second};
  }
}

TEST(MemoryScan, AnswersOfTheExportedForms) {
  const char text[] = "aaab";
  EXPECT_EQ(mhMemScan(text, 4, 0x100 + 'a'), 0);
  EXPECT_EQ(mhMemScan(text, 3, 'b'), -1);
  EXPECT_EQ(mhMemNScan(text, 4, 0x500 + 'a'), 3);
  EXPECT_EQ(mhMemNScan(text, 3, 'a'), -1);
  EXPECT_EQ(mhMemTNScan(U"  x", 3, U' '), 2);
  EXPECT_EQ(mhMemTNScan(U"  x", 2, U' '), -1);
  EXPECT_EQ(mhMemScan(nullptr, 5, 0), -1);
  EXPECT_EQ(mhMemNScan(nullptr, 5, 0), -1);
  EXPECT_EQ(mhMemTNScan(nullptr, 5, 0), -1);
  EXPECT_EQ(mhMemNot(0x100 + 'a', text, 3), 1u);
  EXPECT_EQ(mhMemNot('a', text, 4), 0u);
  EXPECT_EQ(mhMemNot(32, nullptr, 0), 1u);
  EXPECT_EQ(mhMemTNot(U' ', nullptr, 0), 1u);
  EXPECT_EQ(mhMemTNot(U' ', U"  x", 2), 1u);
  EXPECT_EQ(mhMemTNot(U' ', U"  x", 3), 0u);
}

TEST(MemoryScan, EveryKindOfNanIsMissing) {
  const double nans[] = {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::quiet_NaN(),
                         std::numeric_limits<double>::signaling_NaN()};
  forEachLength([&](size_t length, Edge edge) {
    GuardedBuffer<double> numbers(length, edge);
    for (size_t i = 0; i < length; ++i) numbers[i] = i % 2 == 0 ? HUGE_VAL : -HUGE_VAL;
    ASSERT_EQ(mhMissArray(numbers.data(), length), 0u);
    for (size_t at : places(length)) {
      const double before = numbers[at];
      numbers[at] = nans[at % 3];
      ASSERT_EQ(mhMissArray(numbers.data(), length), 1u) << length << " " << at;
      numbers[at] = before;
    }
  });
}

}  // namespace

// The search against the plainest one there is: every short needle on every short text, random texts with
// hits at every place, and needles made to be slow.
#include "text/search.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <string>
#include <string_view>

#include "support/cpu_levels.hpp"
#include "support/guarded_buffer.hpp"
#include "text/two_way.hpp"
#include "vqstring/text.h"

namespace {

using test::Edge;
using test::GuardedBuffer;

template <class Element>
int64_t plainFind(const Element* text, size_t length, const Element* needle, size_t needleLength) {
  for (size_t at = 0; at + needleLength <= length; ++at) {
    if (std::equal(needle, needle + needleLength, text + at)) return static_cast<int64_t>(at);
  }
  return -1;
}

template <class Element>
void expectSame(const GuardedBuffer<Element>& text, const GuardedBuffer<Element>& needle) {
  const int64_t at = plainFind(text.data(), text.size(), needle.data(), needle.size());
  ASSERT_EQ(vq::text::findFirst(text.data(), text.size(), needle.data(), needle.size()), at)
      << needle.size() << " in " << text.size();
  if (needle.size() == 0) return;
  ASSERT_EQ(vq::text::findTwoWay(text.data(), text.size(), needle.data(), needle.size()), at)
      << needle.size() << " in " << text.size();
}

// The number in base 2 with `length` digits, as a text of a and b.
template <class Element>
void spell(const GuardedBuffer<Element>& buffer, size_t number) {
  for (Element& element : buffer) {
    element = static_cast<Element>('a' + number % 2);
    number /= 2;
  }
}

template <class Element>
void everyShortNeedleOnEveryShortText() {
  test::atEveryLevel([] {
    for (size_t length = 0; length <= 10; ++length) {
      GuardedBuffer<Element> text(length);
      for (size_t needleLength = 0; needleLength <= 5; ++needleLength) {
        GuardedBuffer<Element> needle(needleLength);
        for (size_t i = 0; i < size_t{1} << length; ++i) {
          spell(text, i);
          for (size_t j = 0; j < size_t{1} << needleLength; ++j) {
            spell(needle, j);
            expectSame(text, needle);
          }
        }
      }
    }
  });
}

TEST(Search, EveryShortNeedleOnEveryShortText) {
  everyShortNeedleOnEveryShortText<uint8_t>();
  everyShortNeedleOnEveryShortText<VQChar>();
}

// Needles cut from a text over few letters, then spoiled at one place, so that near misses abound.
template <class Element>
void randomTexts() {
  test::atEveryLevel([] {
    std::mt19937 random(7);
    for (int round = 0; round < 6000; ++round) {
      const unsigned letters = 1 + random() % 4;
      GuardedBuffer<Element> text(random() % 700, round % 2 == 0 ? Edge::behind : Edge::before);
      for (Element& element : text) element = static_cast<Element>('a' + random() % letters);
      const size_t needleLength = random() % 8 == 0 ? random() % 300 : random() % 40;
      GuardedBuffer<Element> needle(needleLength, round % 3 == 0 ? Edge::before : Edge::behind);
      const size_t from = text.size() > needleLength ? random() % (text.size() - needleLength) : 0;
      for (size_t i = 0; i < needleLength; ++i) {
        needle[i] = from + i < text.size() ? text[from + i] : static_cast<Element>('a');
      }
      if (needleLength != 0 && random() % 2 == 0) {
        needle[random() % needleLength] = static_cast<Element>('a' + random() % (letters + 1));
      }
      expectSame(text, needle);
      if (testing::Test::HasFatalFailure()) return;
    }
  });
}

TEST(Search, RandomTexts) {
  randomTexts<uint8_t>();
  randomTexts<VQChar>();
}

// A quadratic search needs minutes for each of these.
template <class Element>
void hostileNeedlesTakeLinearTime() {
  using Text = std::basic_string<Element>;
  constexpr size_t length = 2'000'000, half = 500'000;
  const Text same(length, 'a');
  Text periodic, halves;
  for (size_t i = 0; i < length; ++i) periodic += static_cast<Element>(i % 3 == 0 ? 'b' : 'a');
  for (size_t i = 0; i < length; ++i) halves += static_cast<Element>(i % (half / 2) == 0 ? 'b' : 'a');
  Text spoiledPeriodic = periodic.substr(0, half);
  spoiledPeriodic[half / 2] = 'c';
  struct {
    const char* name;
    Text text, needle;
    int64_t at;
  } const cases[] = {
      {"b at the front", same, Text(1, 'b') + Text(half, 'a'), -1},
      {"b at the end", same, Text(half, 'a') + static_cast<Element>('b'), -1},
      {"b in the middle", same, Text(half, 'a') + static_cast<Element>('b') + Text(half, 'a'), -1},
      {"b behind the first", same, Text(1, 'a') + static_cast<Element>('b') + Text(half, 'a'), -1},
      {"periodic, spoiled", periodic, spoiledPeriodic, -1},
      {"a few b", halves, Text(half, 'a'), -1},
      {"found at the end", same + Text(1, 'b'), Text(half, 'a') + static_cast<Element>('b'), length - half},
  };
  test::atEveryLevel([&] {
    for (const auto& [name, text, needle, at] : cases) {
      const auto begin = std::chrono::steady_clock::now();
      EXPECT_EQ(vq::text::findFirst(text.data(), text.size(), needle.data(), needle.size()), at) << name;
      EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2)) << name;
    }
  });
}

TEST(Search, HostileNeedlesTakeLinearTime) {
  hostileNeedlesTakeLinearTime<VQChar>();
  hostileNeedlesTakeLinearTime<uint8_t>();
}

TEST(Search, AnswersOfTheExportedForm) {
  const VQChar* const text =
      U"a\x110000"
      U"b\x110000"
      U"c";
  struct {
    int64_t length;
    const VQChar* sought;
    int64_t soughtLength;
    int64_t index;
  } const cases[] = {{5, U"\x110000", 1, 1},
                     {5,
                      U"\x110000"
                      U"c",
                      2, 3},
                     {5, U"", 0, 0},
                     {0, U"", 0, 0},
                     {0, U"a", 1, -1},
                     {5, nullptr, 0, 0},
                     {5, nullptr, -3, 0},
                     {2, U"abc", 3, -1},
                     {4, U"c", 1, -1},
                     {-1, U"a", 1, -1},
                     {5, U"a", INT64_MAX, -1},
                     {INT64_MIN, U"a", 1, -1}};
  for (const auto& [length, sought, soughtLength, index] : cases) {
    EXPECT_EQ(vqzsndx(text, length, sought, soughtLength), index) << length << " " << soughtLength;
  }
}

}  // namespace

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "frame/handle.hpp"
#include "utf/utf8_samples.hpp"
#include "vqstring/host.h"
#include "vqstring/utf.h"

namespace {

using test::chars;

// A host whose case is its own: it differs from the library's table in U+0130, and it folds a supplementary
// script and pairs whose two forms take different numbers of bytes.
VQChar lowerOfHost(VQNls*, VQChar c, uint64_t one) {
  EXPECT_EQ(one, 1u);
  if ((c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7) || (c >= 0x410 && c <= 0x42F))
    return c + 0x20;
  if ((c >= 0x391 && c <= 0x3A9) || (c >= 0x531 && c <= 0x556)) return c < 0x531 ? c + 0x20 : c + 0x30;
  if (c == 0x130) return 'i';
  if (c == 0x1C4 || c == 0x1C5) return 0x1C6;
  if (c == 0x212A) return 'k';
  if (c == 0x1E9E) return 0xDF;
  if (c >= 0x10400 && c < 0x10428) return c + 0x28;
  if (c == 0x2126) return 0x90000000;
  return c;
}

uint32_t classOfHost(VQNls*, VQChar c, uint32_t mask) {
  EXPECT_EQ(mask, 0x38u);
  return c == 0x301 ? 8 : 0;
}

// Puts a host in the kernel's place for the length of a test.
class UnderHost {
 public:
  explicit UnderHost(bool hasNls = true) {
    nls_.nlsToLower = lowerOfHost;
    nls_.nlsClassify = classOfHost;
    kernel_.kernelNls = hasNls ? &nls_ : nullptr;
    Exported_VQHandle = &kernel_;
  }
  ~UnderHost() { Exported_VQHandle = nullptr; }
  UnderHost(const UnderHost&) = delete;
  UnderHost& operator=(const UnderHost&) = delete;

 private:
  VQNls nls_{};
  VQKernel kernel_{};
};

struct Verdicts {
  int32_t bytes;
  int32_t blind;
  uint32_t equal;
  bool operator==(const Verdicts&) const = default;
};
void PrintTo(const Verdicts& v, std::ostream* out) {
  *out << v.bytes << " " << v.blind << " " << v.equal;
}

// Both texts end at a page that must not be read.
Verdicts compare(const std::string& first, const std::string& second) {
  static const test::GuardedRoom<char> firsts(4096);
  static const test::GuardedRoom<char> seconds(4096);
  char* a = firsts.last(first.size());
  char* b = seconds.last(second.size());
  std::memcpy(a, first.data(), first.size());
  std::memcpy(b, second.data(), second.size());
  const Verdicts verdicts{vqzsu8Compare(a, first.size(), b, second.size()),
                          vqzsu8NormCompare(a, first.size(), b, second.size()),
                          vqzsu8NormEqual(a, first.size(), b, second.size())};
  EXPECT_EQ(vqzsu8CompareText(a, first.size(), b, second.size(), 5), verdicts.bytes);
  EXPECT_EQ(vqzsu8NormCompareText(a, first.size(), b, second.size(), 5), verdicts.blind);
  EXPECT_EQ(vqzsu8NormEqualText(a, first.size(), b, second.size(), 5), verdicts.equal);
  return verdicts;
}

TEST(Comparison, StatedCases) {
  const UnderHost host;
  const struct {
    std::string first, second;
    Verdicts expected;
  } cases[] = {
      {"", "", {0, 0, 1}},
      {"abc", "abd", {-1, -2, 0}},
      {"abc", "ab", {1, 2, 0}},
      {"ab", "abc", {-1, -2, 0}},
      {"abc", "abc ", {-1, 0, 0}},
      {"abc  ", "abc", {1, 0, 0}},
      {"", "  ", {-1, 0, 0}},
      {"", "a", {-1, -2, 0}},
      {"abc", "ABC", {1, 1, 1}},
      {"ABC", "abc", {-1, -1, 1}},
      {"aB", "Ab", {1, 1, 1}},
      {"abd", "ABC", {1, 2, 0}},
      {"Abc", "abd", {-1, -2, 0}},
      {"abc", "ABC ", {1, 1, 0}},
      {"@[`{", "`{@[", {-1, -2, 0}},
      {"ä", "a", {1, 2, 0}},
      {"ä", "Ä", {1, 1, 1}},
      {"Ä", "ä", {-1, -1, 1}},
      {"xДЖ", "Xдж", {1, 1, 1}},
      // Case differs first, something else later.
      {"aД", "Aж", {1, -2, 0}},
      // U+10400 and U+10428.
      {"\xF0\x90\x90\x80", "\xF0\x90\x90\xA8", {-1, -1, 1}},
      // U+212A folds to an ASCII letter, in one call by the host, in the other by the table for the letter.
      {"\xE2\x84\xAA", "k", {1, 1, 1}},
      {"\xE2\x84\xAA", "K", {1, 1, 1}},
      {"\xC4\xB0stanbul", "istanbul", {1, 1, 1}},
      {"istanbul", "\xC4\xB0stanbul", {-1, -1, 1}},
      // The results of folding compare as signed numbers: 0x90000000 lies below.
      {"\xE2\x84\xA6", "z", {1, -2, 0}},
      // Broken sequences stand as U+FFFD, also beside the character itself.
      {"\xC0\x80", "\xEF\xBF\xBD", {-1, 1, 1}},
      {"a\xFF", "a\xC1", {1, 1, 1}},
      {"a\xE2\x82", "a\xE2\x82", {0, 0, 1}},
      {"a\xE2\x82", "a\xE2\x82\xAC", {-1, 2, 0}},
      {"a\xE2\x82\xAC", "a\xE2\x82", {1, -2, 0}},
      // The two sides take different numbers of bytes: U+1E9E and U+00DF.
      {"\xE1\xBA\x9E\xE1\xBA\x9E", "ßß", {1, 1, 1}},
      {"ßß  ", "\xE1\xBA\x9E\xE1\xBA\x9E", {-1, -1, 0}},
  };
  for (const auto& [first, second, expected] : cases) {
    EXPECT_EQ(compare(first, second), expected) << first << " | " << second;
  }
}

TEST(Comparison, WithoutNlsByTheTables) {
  const UnderHost host(false);
  EXPECT_EQ(compare("Ä\xC4\xB0", "ä\xC4\xB0"), (Verdicts{-1, -1, 1}));
  EXPECT_EQ(compare("\xE2\x84\xAA", "k"), (Verdicts{1, 2, 0}));
}

// The walks as they are told, one character at a time.
struct Place {
  const std::string& text;
  size_t at = 0;
  size_t left() const { return text.size() - at; }
  uint8_t byte() const { return static_cast<uint8_t>(text[at]); }
  std::string_view sequence() const { return std::string_view(text).substr(at, utf8_len(text.data() + at)); }
  VQChar decode(size_t& consumed) const {
    VQChar c = 0;
    uint64_t bytes = 0;
    UTF8_UTF32(reinterpret_cast<const uint8_t*>(text.data() + at), left(), &c, &bytes);
    consumed = bytes;
    return c;
  }
};

int32_t walkCompare(const std::string& first, const std::string& second) {
  Place a{first};
  Place b{second};
  int32_t tie = 0;
  while (a.at < std::min(first.size(), second.size()) && b.left() > 0) {
    if (a.sequence() == b.sequence()) {
      const size_t length = a.sequence().size();
      a.at += length;
      b.at += length;
      continue;
    }
    if (a.byte() < 0x80 && b.byte() < 0x80) {
      const auto low = [](uint8_t byte) { return byte >= 'A' && byte <= 'Z' ? byte + 32 : byte; };
      if (low(a.byte()) != low(b.byte())) return low(a.byte()) < low(b.byte()) ? -2 : 2;
      if (tie == 0) tie = a.byte() > b.byte() ? 1 : -1;
      ++a.at;
      ++b.at;
      continue;
    }
    size_t inA = 0;
    size_t inB = 0;
    const VQChar c = a.decode(inA);
    const VQChar d = b.decode(inB);
    if (tie == 0) tie = c < d ? -1 : 1;
    const auto low = [](VQChar each) { return static_cast<int32_t>(lowerOfHost(nullptr, each, 1)); };
    if (low(c) != low(d)) return low(c) < low(d) ? -2 : 2;
    a.at += inA;
    b.at += inB;
  }
  const auto isBlank = [](const Place& place, size_t count) {
    return std::string_view(place.text).substr(place.at, count).find_first_not_of(' ') == std::string::npos;
  };
  if (a.left() < b.left()) return isBlank(b, b.left() - a.left()) ? tie : -2;
  if (b.left() < a.left()) return isBlank(a, a.left() - b.left()) ? tie : 2;
  return tie;
}

uint32_t walkEqual(const std::string& first, const std::string& second) {
  Place a{first};
  Place b{second};
  while (a.left() > 0 && b.left() > 0) {
    size_t inA = a.sequence().size();
    size_t inB = inA;
    if (a.sequence() != b.sequence()) {
      const auto fold = [](const Place& place, size_t& length) {
        const VQChar c = place.decode(length);
        return lowerOfHost(nullptr, c, 1);
      };
      if (fold(a, inA) != fold(b, inB)) return 0;
    }
    a.at += inA;
    b.at += inB;
  }
  return a.left() == b.left();
}

std::string flipCase(std::u32string text, std::mt19937& random, unsigned oneIn) {
  for (VQChar& c : text) {
    const bool isUpperRange = (c >= 0xC0 && c <= 0xDE && c != 0xD7) || (c >= 0x410 && c <= 0x42F);
    if (random() % oneIn != 0) continue;
    if (isUpperRange) {
      c += 0x20;
    } else if (c >= 'a' && c <= 'z') {
      c -= 0x20;
    }
  }
  return test::encode(text);
}

void checkAsTheWalk(const std::string& first, const std::string& second) {
  const Verdicts verdicts = compare(first, second);
  ASSERT_EQ(verdicts.blind, walkCompare(first, second))
      << testing::PrintToString(first) << testing::PrintToString(second);
  ASSERT_EQ(verdicts.equal, walkEqual(first, second))
      << testing::PrintToString(first) << testing::PrintToString(second);
  const int order = first.compare(second);
  ASSERT_EQ(verdicts.bytes, order < 0 ? -1 : order > 0 ? 1 : 0);
}

TEST(Comparison, LongTextsAsTheWalkUnderEveryLevel) {
  const UnderHost host;
  std::mt19937 random(9);
  test::underEveryLevel([&] {
    for (const test::Script script : test::scripts) {
      for (int round = 0; round < 400; ++round) {
        const std::u32string wide = test::sampleText(script, random() % 160, random);
        const std::string text = test::encode(wide);
        std::string other = flipCase(wide, random, 1 + random() % 60);
        checkAsTheWalk(text, other);
        checkAsTheWalk(text, other + "  ");
        if (text.empty()) continue;
        // One byte off, in either text or in both alike; a piece lost.
        std::string broken = text;
        const size_t place = random() % text.size();
        broken[place] = static_cast<char>(test::turningBytes[random() % std::size(test::turningBytes)]);
        checkAsTheWalk(broken, other);
        checkAsTheWalk(broken, text);
        checkAsTheWalk(broken, broken);
        if (place < other.size()) {
          other[place] = broken[place];
          checkAsTheWalk(broken, other);
        }
        checkAsTheWalk(broken, broken.substr(0, random() % text.size()));
      }
    }
  });
}

// A character beside now one, now another that folds like it, and at last beside one that does not.
TEST(Comparison, CharactersWithSeveralPartnersUnderEveryLevel) {
  const UnderHost host;
  std::mt19937 random(11);
  test::underEveryLevel([&] {
    for (int round = 0; round < 200; ++round) {
      std::u32string first;
      std::u32string second;
      for (size_t left = random() % 120; left > 0; --left) {
        first += random() % 5 == 0 ? U'x' : static_cast<VQChar>(0x1C4 + random() % 3);
        second += first.back() == U'x' ? U'X' : static_cast<VQChar>(0x1C4 + random() % 3);
      }
      if (!second.empty() && random() % 2 == 0) second[random() % second.size()] += 3;
      checkAsTheWalk(test::encode(first), test::encode(second));
    }
  });
}

// Many pairs, some of which differ: the first of these decides, also where a character agrees in the last
// eight bits with one that folds like its partner.
TEST(Comparison, FirstOfSeveralDifferencesUnderEveryLevel) {
  const UnderHost host;
  std::u32string letters;
  for (VQChar c = 0xC0; c < 0x600; ++c) {
    if (const VQChar low = lowerOfHost(nullptr, c, 1); low >= 0x80 && low != c) letters += c;
  }
  std::mt19937 random(12);
  test::underEveryLevel([&] {
    for (int round = 0; round < 300; ++round) {
      std::shuffle(letters.begin(), letters.end(), random);
      std::u32string first = (letters + letters).substr(0, 1 + random() % (2 * letters.size()));
      std::u32string second = first;
      for (VQChar& c : second) c = lowerOfHost(nullptr, c, 1);
      for (size_t faults = random() % 4; faults > 0; --faults) {
        VQChar& c = first[random() % first.size()];
        c = random() % 2 == 0 ? c ^ 0x100 : static_cast<VQChar>(1 + random() % 0x1000);
      }
      checkAsTheWalk(test::encode(first), test::encode(second));
    }
  });
}

TEST(AsciiEquality, FoldsAsciiAlone) {
  const auto equal = [](const std::string& a, const std::string& b) {
    return vqzsu8NormASCIIEqual(a.data(), a.size(), b.data(), b.size());
  };
  EXPECT_EQ(equal("", ""), 1u);
  EXPECT_EQ(equal("abc", "ab"), 0u);
  EXPECT_EQ(equal("ä", "Ä"), 0u);
  test::underEveryLevel([&] {
    for (unsigned a = 0; a < 256; ++a) {
      for (unsigned b = 0; b < 256; ++b) {
        const bool isSame = a == b || ((a | 0x20) == (b | 0x20) && (a | 0x20) >= 'a' && (a | 0x20) <= 'z' &&
                                       a < 128 && b < 128);
        // In the middle of a block and behind the last one.
        for (const size_t place : {5, 66}) {
          std::string first(70, 'Q');
          std::string second(70, 'q');
          first[place] = static_cast<char>(a);
          second[place] = static_cast<char>(b);
          ASSERT_EQ(equal(first, second), isSame) << a << " " << b;
        }
      }
    }
  });
}

TEST(OneCharacter, PredicatesSeeTheCodePoint) {
  const UnderHost host;
  static VQChar seen;
  const auto ask = [](const char* character) {
    return _VQZSU8IsFunct(character, [](VQChar c) {
      seen = c;
      return uint32_t{17};
    });
  };
  EXPECT_EQ(ask("€"), 17u);
  EXPECT_EQ(seen, 0x20ACu);
  ask("\xC0\x80");
  EXPECT_EQ(seen, 0xFFFDu);
  ask("\xC3\x41");
  EXPECT_EQ(seen, 0xC1u);

  EXPECT_EQ(vqzsu8IsCombining("\xE2\x80\x8C"), 1u);
  EXPECT_EQ(vqzsu8IsCombining("\xE2\x80\x8D"), 1u);
  EXPECT_EQ(vqzsu8IsCombining("\xCC\x81"), 8u);
  EXPECT_EQ(vqzsu8IsCombining("a"), 0u);
}

}  // namespace

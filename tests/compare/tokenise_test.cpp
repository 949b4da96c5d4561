// The tokeniser beside a naive one, on random sources and mixtures of operations, with sources and delimiters
// in guarded buffers, on every level of vector code; then what the model cannot tell: the token's own block,
// ended walks, literal examples.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "support/cpu_levels.hpp"
#include "support/guarded_buffer.hpp"
#include "support/host_fixture.hpp"
#include "vqstring.h"

namespace {

using test::Edge;
using test::GuardedBuffer;

enum class Operation { set, sequence, list };

// One kind of string, for tests that serve both.
struct Wide {
  using Element = VQChar;
  using String = VQString;
  using Tokenizer = VQTokenizer;
  static constexpr auto init = vqStringInitStatic;
  static constexpr auto start = vqStringTokenizeStart;
  static constexpr bool emptyFollows(Operation operation) { return operation == Operation::set; }
  static constexpr bool emptiesTokenAtEnd = false;
  static size_t step(VQChar) { return 1; }
};

struct U8 {
  using Element = char;
  using String = VQU8String;
  using Tokenizer = VQU8Tokenizer;
  static constexpr auto init = vqU8StringInitStatic;
  static constexpr auto start = vqU8StringTokenizeStart;
  static constexpr bool emptyFollows(Operation operation) { return operation != Operation::list; }
  static constexpr bool emptiesTokenAtEnd = true;
  static size_t step(char first) {
    const auto byte = static_cast<unsigned char>(first);
    return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : byte < 0xF8 ? 4 : byte < 0xFC ? 5 : 6;
  }
};

template <class Kind>
using Text = std::basic_string<typename Kind::Element>;

template <class Kind>
std::vector<Text<Kind>> characters(const Text<Kind>& text) {
  std::vector<Text<Kind>> result;
  for (size_t at = 0; at < text.size(); at += Kind::step(text[at])) {
    result.push_back(text.substr(at, Kind::step(text[at])));
  }
  return result;
}

struct Cut {
  size_t at = std::string::npos;
  size_t length = 0;
  int index = -1;
};

// Where the first delimiter stands; a set is given by the first of the texts.
template <class Kind>
Cut naiveCut(const Text<Kind>& source, size_t from, Operation operation,
             const std::vector<Text<Kind>>& delimiters) {
  const auto choices = operation == Operation::set        ? characters<Kind>(delimiters[0])
                       : operation == Operation::sequence ? std::vector<Text<Kind>>{delimiters[0]}
                                                          : delimiters;
  for (size_t at = from; at < source.size(); at += Kind::step(source[at])) {
    for (size_t i = 0; i < choices.size(); ++i) {
      const auto& choice = choices[i];
      if (choice.empty() || source.compare(at, choice.size(), choice) != 0) continue;
      if (operation == Operation::set) return {at, Kind::step(source[at]), 0};
      return {at, choice.size(), operation == Operation::list ? static_cast<int>(i) : 0};
    }
  }
  return {};
}

// Calls an operation through the record's fields, alternately with a string and a plain text.
int call(VQTokenizer& walk, Operation operation, std::vector<VQString*>& delimiters, bool asText,
         VQString* token) {
  const VQString* first = delimiters[0];
  const VQString* result = nullptr;
  switch (operation) {
    case Operation::set:
      result = asText ? walk.tokenizeText(&walk, first->text, first->length, token)
                      : walk.tokenize(&walk, first, token);
      break;
    case Operation::sequence:
      result = asText ? walk.tokenizeLongText(&walk, first->text, first->length, token)
                      : walk.tokenizeLong(&walk, first, token);
      break;
    case Operation::list:
      return walk.tokenizeList(&walk, delimiters.data(), static_cast<int32_t>(delimiters.size()), token);
  }
  EXPECT_TRUE(result == nullptr || result == token);
  return result == nullptr ? -2 : 0;
}

int call(VQU8Tokenizer& walk, Operation operation, std::vector<VQU8String*>& delimiters, bool,
         VQU8String* token) {
  const VQU8String* first = delimiters[0];
  if (operation == Operation::list) {
    return walk.tokenizeList(&walk, delimiters.data(), static_cast<int32_t>(delimiters.size()), token);
  }
  const auto next = operation == Operation::set ? walk.tokenizeU8 : walk.tokenizeLongU8;
  return next(&walk, first->text, first->length, token) == nullptr ? -2 : 0;
}

class Tokens : public test::HostTest {
 protected:
  template <class Kind>
  typename Kind::String over(GuardedBuffer<typename Kind::Element>& text) {
    typename Kind::String string;
    Kind::init(service(), &string, nullptr, text.data(), static_cast<int64_t>(text.size()));
    return string;
  }

  // A whole walk with the delimiters in turn, each call beside the model.
  template <class Kind>
  void walkBesideModel(const Text<Kind>& source, const std::vector<Operation>& operations,
                       const std::vector<std::vector<Text<Kind>>>& delimiterLists, Edge edge) {
    using Element = typename Kind::Element;
    GuardedBuffer<Element> sourceBuffer(std::span<const Element>(source), edge);
    auto string = over<Kind>(sourceBuffer);
    auto token = over<Kind>(sourceBuffer);
    typename Kind::Tokenizer walk;
    Kind::start(&string, &walk);
    size_t position = 0;
    bool isEnded = source.empty();
    for (size_t round = 0; round < 2 * source.size() + 4; ++round) {
      const Operation operation = operations[round % operations.size()];
      const auto& delimiters = delimiterLists[round % delimiterLists.size()];
      std::vector<GuardedBuffer<Element>> buffers;
      std::vector<typename Kind::String> records;
      std::vector<typename Kind::String*> pointers;
      for (const auto& text : delimiters) buffers.emplace_back(std::span<const Element>(text), edge);
      for (auto& buffer : buffers) records.push_back(over<Kind>(buffer));
      for (auto& record : records) pointers.push_back(&record);
      SCOPED_TRACE(testing::Message() << "call " << round << ", operation " << static_cast<int>(operation)
                                      << ", position " << position);
      ASSERT_EQ(walk.source == nullptr, isEnded);
      const auto tokenBefore = token;
      const int result = call(walk, operation, pointers, round % 2 == 0, &token);
      if (isEnded) {
        ASSERT_EQ(result, operation == Operation::list ? -1 : -2);
        const bool isEmptied = operation == Operation::list && Kind::emptiesTokenAtEnd;
        ASSERT_EQ(token.text, isEmptied ? nullptr : tokenBefore.text);
        ASSERT_EQ(token.length, isEmptied ? 0 : tokenBefore.length);
        return;
      }
      const Cut cut = naiveCut<Kind>(source, position, operation, delimiters);
      const size_t tokenEnd = cut.at == std::string::npos ? source.size() : cut.at;
      ASSERT_EQ(result, operation == Operation::list ? cut.index : 0);
      ASSERT_EQ(token.text - sourceBuffer.data(), static_cast<ptrdiff_t>(position));
      ASSERT_EQ(static_cast<size_t>(token.length), tokenEnd - position);
      isEnded = cut.at == std::string::npos || cut.at + cut.length > source.size() ||
                (cut.at + cut.length == source.size() && !Kind::emptyFollows(operation));
      if (!isEnded) position = cut.at + cut.length;
    }
    FAIL() << "the walk does not end";
  }

  // Random sources over `letters`, with delimiters made of the same letters.
  template <class Kind>
  void randomWalks(const std::vector<Text<Kind>>& letters, unsigned seed, int rounds) {
    std::mt19937 random(seed);
    const auto below = [&](size_t limit) { return random() % limit; };
    const auto text = [&](size_t letterCount) {
      Text<Kind> result;
      while (letterCount-- > 0) result += letters[below(letters.size())];
      return result;
    };
    for (int round = 0; round < rounds; ++round) {
      // Now and then a long run without a delimiter, so that the scans get past their first blocks.
      Text<Kind> source = text(below(12));
      if (below(2) == 0) source += Text<Kind>(below(150), letters[0][0]) + text(below(40));
      if (below(4) == 0 && !source.empty()) source.resize(source.size() - 1);
      std::vector<Operation> operations;
      std::vector<std::vector<Text<Kind>>> lists;
      for (int i = 0; i < 3; ++i) {
        operations.push_back(static_cast<Operation>(below(3)));
        std::vector<Text<Kind>> list{text(1 + below(3))};
        // Sets and lists beyond every limit of the few.
        if (below(4) == 0) list[0] = text(17 + below(8));
        for (size_t more = below(4) == 0 ? 12 : below(3); more > 0; --more) list.push_back(text(below(4)));
        if (below(3) == 0) list[0].erase(list[0].size() - 1);
        lists.push_back(list);
      }
      SCOPED_TRACE(testing::Message() << "round " << round);
      walkBesideModel<Kind>(source, operations, lists, below(2) == 0 ? Edge::behind : Edge::before);
      if (testing::Test::HasFatalFailure()) return;
    }
  }

  // All tokens by one operation, joined by '|'.
  template <class Kind>
  std::string joined(const Text<Kind>& source, Operation operation,
                     const std::vector<Text<Kind>>& delimiters) {
    using Element = typename Kind::Element;
    GuardedBuffer<Element> sourceBuffer{std::span<const Element>(source)};
    auto string = over<Kind>(sourceBuffer);
    auto token = string;
    std::vector<GuardedBuffer<Element>> buffers;
    std::vector<typename Kind::String> records;
    std::vector<typename Kind::String*> pointers;
    for (const auto& text : delimiters) buffers.emplace_back(std::span<const Element>(text));
    for (auto& buffer : buffers) records.push_back(over<Kind>(buffer));
    for (auto& record : records) pointers.push_back(&record);
    typename Kind::Tokenizer walk;
    Kind::start(&string, &walk);
    std::string result;
    while (walk.source != nullptr && result.size() < 1000) {
      call(walk, operation, pointers, true, &token);
      for (size_t i = 0; i < static_cast<size_t>(token.length); ++i)
        result += static_cast<char>(token.text[i]);
      result += '|';
    }
    return result;
  }
};

TEST_F(Tokens, WideWalksAgreeWithTheNaiveOnes) {
  const std::vector<std::u32string> letters{U"a", U"b",     U",",       U"-",
                                            U"-", U"\x12C", U"\x1F600", U"\x80000000"};
  test::atEveryLevel([&] { randomWalks<Wide>(letters, 1, 1500); });
}

TEST_F(Tokens, U8WalksAgreeWithTheNaiveOnes) {
  const std::vector<std::string> letters{"a", "b", ",", "-", "\xC3\xA9", "\xE3\x80\x82", "\xF0\x9F\x98\x80"};
  test::atEveryLevel([&] { randomWalks<U8>(letters, 2, 1500); });
}

// Stray continuation bytes, first bytes of every length and nothing behind them: delimiters hide inside the
// characters that such first bytes announce.
TEST_F(Tokens, U8WalksAgreeOnIllFormedText) {
  const std::vector<std::string> letters{"a",    ",",    "\x80", "\xA9", "\xC3", "\xC3\xA9", "\xE3",
                                         "\xF0", "\xF8", "\xFC", "\xFF", ",",    "a"};
  test::atEveryLevel([&] { randomWalks<U8>(letters, 3, 2500); });
}

// Walks over texts that lie in each other, taken in turns and with one token for all of them or one for each:
// what one walk leaves behind must not lead another one astray. The odd letter is a comma one byte further
// on.
TEST_F(Tokens, WalksTakeTurns) {
  struct Turn {
    VQTokenizer walk;
    VQString string;
    size_t position;
  };
  std::mt19937 random(4);
  const auto once = [&] {
    std::u32string text;
    while (text.size() < 120) text += U"ab\x2C00,"[random() % 4];
    const std::string bytes(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(VQChar));
    Turn turns[3];
    for (Turn& turn : turns) {
      const size_t skipped = random() % 40;
      turn.position = skipped;
      vqStringInitStatic(service(), &turn.string, nullptr, text.data() + skipped,
                         static_cast<int64_t>(text.size() - skipped - random() % 20));
      vqStringTokenizeStart(&turn.string, &turn.walk);
    }
    VQU8String u8String, u8Token;
    vqU8StringInitStatic(service(), &u8String, nullptr, reinterpret_cast<char*>(text.data()),
                         static_cast<int64_t>(bytes.size()));
    vqU8StringInitStatic(service(), &u8Token, nullptr, nullptr, 0);
    VQU8Tokenizer u8Walk;
    vqU8StringTokenizeStart(&u8String, &u8Walk);
    size_t u8Position = 0;
    VQString tokens[2];
    for (VQString& token : tokens) vqStringInitStatic(service(), &token, nullptr, nullptr, 0);
    for (int step = 0; step < 150; ++step) {
      SCOPED_TRACE(step);
      if (random() % 4 == 0 && u8Walk.source != nullptr) {
        ASSERT_EQ(u8Walk.tokenizeU8(&u8Walk, ",", 1, &u8Token), &u8Token);
        const size_t end = std::min(bytes.find(',', u8Position), bytes.size());
        ASSERT_EQ(u8Token.length, end - u8Position);
        u8Position = end + 1;
        continue;
      }
      Turn& turn = turns[random() % 3];
      if (turn.walk.source == nullptr) continue;
      VQString& token = tokens[random() % 2];
      ASSERT_EQ(turn.walk.tokenizeText(&turn.walk, U",", 1, &token), &token);
      const auto last = static_cast<size_t>(turn.string.text + turn.string.length - text.data());
      const size_t end = std::min(text.find(U',', turn.position), last);
      ASSERT_EQ(token.text - text.data(), static_cast<ptrdiff_t>(turn.position));
      ASSERT_EQ(static_cast<size_t>(token.length), end - turn.position);
      turn.position = end + 1;
    }
  };
  test::atEveryLevel([&] {
    for (int round = 0; round < 300 && !testing::Test::HasFatalFailure(); ++round) once();
  });
}

// What stands behind the last delimiter, and what makes a delimiter, as callers know it. Both kinds of string
// agree but for the two columns of results.
TEST_F(Tokens, EndsAsToldByOperation) {
  const struct {
    Operation operation;
    const char* source;
    std::vector<std::string> delimiters;
    const char* wide;
    const char* u8;
  } rows[] = {
      {Operation::set, "", {","}, "", ""},
      {Operation::set, "abc", {","}, "abc|", "abc|"},
      {Operation::set, "a,b", {","}, "a|b|", "a|b|"},
      {Operation::set, ",a", {","}, "|a|", "|a|"},
      {Operation::set, "a,,b", {","}, "a||b|", "a||b|"},
      {Operation::set, "a,", {","}, "a||", "a||"},
      {Operation::set, ",", {","}, "||", "||"},
      {Operation::set, "a;b,c", {",;"}, "a|b|c|", "a|b|c|"},
      {Operation::set, "a,b", {""}, "a,b|", "a,b|"},
      {Operation::sequence, "a--", {"--"}, "a|", "a||"},
      {Operation::sequence, "--", {"--"}, "|", "||"},
      {Operation::sequence, "a-b", {"--"}, "a-b|", "a-b|"},
      {Operation::sequence, "a-b-", {"--"}, "a-b-|", "a-b-|"},
      {Operation::sequence, "a-", {"-"}, "a|", "a||"},
      {Operation::sequence, "aabc", {"ab"}, "a|c|", "a|c|"},
      {Operation::sequence, "a--b", {""}, "a--b|", "a--b|"},
      {Operation::list, "a--", {"--"}, "a|", "a|"},
      {Operation::list, "-", {"-"}, "|", "|"},
      {Operation::list, "a--b", {"-", "--"}, "a||b|", "a||b|"},
      {Operation::list, "a--b", {"--", "-"}, "a|b|", "a|b|"},
      {Operation::list, "a--b", {"", ""}, "a--b|", "a--b|"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.source);
    const std::string source = row.source;
    std::vector<std::u32string> wideDelimiters;
    for (const std::string& text : row.delimiters) wideDelimiters.emplace_back(text.begin(), text.end());
    test::atEveryLevel([&] {
      EXPECT_EQ(joined<Wide>(std::u32string(source.begin(), source.end()), row.operation, wideDelimiters),
                row.wide);
      EXPECT_EQ(joined<U8>(source, row.operation, row.delimiters), row.u8);
    });
  }
}

TEST_F(Tokens, CountsBelowZeroMatchNothing) {
  VQString string, token;
  vqStringInitStatic(service(), &string, nullptr, U"a,b", -1);
  vqStringInitStatic(service(), &token, nullptr, nullptr, 0);
  const auto wholeRest = [&](auto&& next) {
    VQTokenizer walk;
    vqStringTokenizeStart(&string, &walk);
    next(walk);
    return token.length == 3 && walk.source == nullptr;
  };
  EXPECT_TRUE(wholeRest([&](VQTokenizer& walk) { walk.tokenizeText(&walk, U",", -1, &token); }));
  EXPECT_TRUE(wholeRest([&](VQTokenizer& walk) { walk.tokenizeLongText(&walk, U",", -1, &token); }));
  EXPECT_TRUE(wholeRest([&](VQTokenizer& walk) { walk.tokenizeList(&walk, nullptr, -1, &token); }));
  EXPECT_TRUE(wholeRest([&](VQTokenizer& walk) { walk.tokenizeList(&walk, nullptr, 0, &token); }));
}

// A token that owns a block gives it back at the first call and borrows from then on; the fixture counts.
TEST_F(Tokens, GiveBackTheirOwnBlockOnce) {
  VQString string, token;
  vqStringInitStatic(service(), &string, nullptr, U"a,b", -1);
  vqStringInitStatic(service(), &token, pool(), nullptr, 0);
  token.text = static_cast<VQChar*>(pool()->poolAlloc(pool(), 40, 0));
  token.ownsBuffer = 1;
  token.capacity = 10;
  VQTokenizer walk;
  vqStringTokenizeStart(&string, &walk);
  for (const VQChar letter : {U'a', U'b'}) {
    ASSERT_EQ(walk.tokenizeText(&walk, U",", 1, &token), &token);
    EXPECT_EQ(token.text[0], letter);
    EXPECT_EQ(token.ownsBuffer, 0);
    EXPECT_EQ(token.capacity, 0);
  }
}

TEST_F(Tokens, U8ListEmptiesTheTokenOfAnEndedWalk) {
  VQU8String string, token;
  vqU8StringInitStatic(service(), &string, nullptr, "", 0);
  VQU8Tokenizer walk;
  vqU8StringTokenizeStart(&string, &walk);
  EXPECT_EQ(walk.source, nullptr);
  vqU8StringInitStatic(service(), &token, pool(), nullptr, 0);
  token.text = static_cast<char*>(pool()->poolAlloc(pool(), 40, 0));
  token.ownsBuffer = 1;
  token.capacity = 40;
  EXPECT_EQ(walk.tokenizeList(&walk, nullptr, 0, &token), -1);
  EXPECT_EQ(token.text, nullptr);
  EXPECT_EQ(token.length, 0u);
  EXPECT_EQ(token.ownsBuffer, 0);
  EXPECT_EQ(token.capacity, 0u);
}

TEST_F(Tokens, ARecordStartsAnew) {
  VQString first, second, token;
  vqStringInitStatic(service(), &first, nullptr, U"a,b", -1);
  vqStringInitStatic(service(), &second, nullptr, U"", 0);
  vqStringInitStatic(service(), &token, nullptr, nullptr, 0);
  VQTokenizer walk;
  for (int round = 0; round < 2; ++round) {
    service()->vqStringTokenizeStart(&first, &walk);
    ASSERT_EQ(walk.tokenizeText(&walk, U",", 1, &token), &token);
    EXPECT_EQ(token.length, 1);
  }
  service()->vqStringTokenizeStart(&second, &walk);
  EXPECT_EQ(walk.tokenizeText(&walk, U",", 1, &token), nullptr);
}

}  // namespace

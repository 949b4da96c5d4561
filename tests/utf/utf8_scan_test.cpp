#include <gtest/gtest.h>

#include <string>

#include "utf/utf8_samples.hpp"
#include "vqstring/utf.h"

namespace {

using test::chars;

struct Counted {
  uint64_t characters;
  uint64_t bytes;
  bool operator==(const Counted&) const = default;
};

// The two ways of stepping, told byte by byte.
Counted countBlindly(const uint8_t* text, size_t length) {
  uint64_t characters = 0;
  for (size_t at = 0; at < length; at += utf8_len(chars(text + at))) ++characters;
  return {characters, length};
}

size_t carefulStep(const uint8_t* text, size_t length) {
  size_t step = 1;
  while (step < utf8_len(chars(text)) && step < length && text[step] >= 0x80 && text[step] <= 0xBF) ++step;
  return step;
}

Counted countCarefully(const uint8_t* text, size_t length) {
  uint64_t characters = 0;
  for (size_t at = 0; at < length; at += carefulStep(text + at, length - at)) ++characters;
  return {characters, length};
}

uint64_t countUpToThree(const uint8_t* text, size_t length) {
  uint64_t count = 0;
  for (size_t at = 0; at < length; ++count) at += text[at] >= 0xE0 ? 3 : text[at] >= 0xC0 ? 2 : 1;
  return count;
}

void checkCounts(const uint8_t* text, size_t length) {
  const uint64_t careful = countCarefully(text, length).characters;
  ASSERT_EQ(UTF8_SLENB(chars(text), length), countBlindly(text, length).characters);
  ASSERT_EQ(vqzsu8NumChars(chars(text), length), careful);
  ASSERT_EQ(utf8Length(chars(text), length), countUpToThree(text, length));
}

void checkTerminatedCounts(const uint8_t* text, size_t length) {
  static const test::GuardedRoom<uint8_t> rooms(1 << 18);
  uint8_t* copy = rooms.last(length + 1);
  std::memcpy(copy, text, length);
  copy[length] = 0;
  const char* terminated = chars(copy);
  const size_t visible = std::strlen(terminated);
  const Counted careful = countCarefully(text, visible);
  ASSERT_EQ(UTF8_SLEN(terminated), countBlindly(text, visible).characters);
  Counted both{};
  vqzsu8Lengths(terminated, &both.characters, &both.bytes);
  ASSERT_EQ(both, careful);
  ASSERT_EQ(vqzsu8ByteLength(terminated, careful.characters), visible);
  const size_t half = careful.characters / 2;
  size_t halfBytes = 0;
  for (size_t i = 0; i < half; ++i) halfBytes += carefulStep(text + halfBytes, visible - halfBytes);
  ASSERT_EQ(vqzsu8ByteLength(terminated, half), halfBytes);
}

TEST(Utf8Counting, EveryShortInput) {
  for (size_t length = 1; length <= 3; ++length) test::forEverySequence(length, checkCounts);
}

TEST(Utf8Counting, BrokenTextsUnderEveryLevel) {
  test::underEveryLevel([] {
    test::forTurningSequences(4, checkCounts);
    test::forBrokenTexts([](const uint8_t* text, size_t length) {
      checkCounts(text, length);
      checkTerminatedCounts(text, length);
    });
  });
}

TEST(Utf8Counting, TerminatedTextOfSeveralPiecesUnderEveryLevel) {
  std::mt19937 random(1);
  test::underEveryLevel([&] {
    for (const test::Script script : test::scripts) {
      for (size_t count : {8190, 8192, 16385, 40000}) {
        const std::string text = test::encode(test::sampleText(script, count, random));
        checkTerminatedCounts(reinterpret_cast<const uint8_t*>(text.data()), text.size());
      }
    }
  });
}

// The copy ends with a page, so it crosses from one into another a page's size in front of its end.
TEST(Utf8Counting, BreaksNearTheEndOfAPageUnderEveryLevel) {
  constexpr size_t page = 4096;
  constexpr size_t near = 70;
  std::mt19937 random(2);
  for (const test::Script script : test::scripts) {
    std::string text = test::encode(test::sampleText(script, page + 2 * near, random)).substr(0, page + near);
    for (size_t round = 0; round < 4 * near; ++round) {
      const size_t place = round < 2 * near ? round : random() % text.size();
      const char before = text[place];
      text[place] = static_cast<char>(test::turningBytes[random() % std::size(test::turningBytes)]);
      test::underEveryLevel(
          [&] { checkTerminatedCounts(reinterpret_cast<const uint8_t*>(text.data()), text.size()); });
      text[place] = before;
    }
  }
}

TEST(Utf8Counting, ByteLengthReadsItsCharactersAlone) {
  static const test::GuardedRoom<char> room(4096);
  std::mt19937 random(3);
  test::underEveryLevel([&] {
    for (const test::Script script : test::scripts) {
      for (size_t count = 1; count < 400; ++count) {
        const std::string text = test::encode(test::sampleText(script, count, random));
        char* copy = room.last(text.size());
        std::memcpy(copy, text.data(), text.size());
        ASSERT_EQ(vqzsu8ByteLength(copy, count), text.size());
      }
    }
  });
}

TEST(Utf8Counting, NullTextsAndPointers) {
  EXPECT_EQ(UTF8_SLEN(nullptr), 0u);
  EXPECT_EQ(UTF8_BLEN(nullptr), 0u);
  EXPECT_EQ(
      UTF8_SLENB(nullptr, 0) + vqzsu8NumChars(nullptr, 0) + UTF8_BLENB(nullptr, 0) + utf8Length(nullptr, 0),
      0u);
  uint64_t count = 99;
  vqzsu8Lengths(nullptr, &count, &count);
  EXPECT_EQ(count, 99u);
  vqzsu8Lengths(
      "\xC3\xA4"
      "a",
      &count, nullptr);
  EXPECT_EQ(count, 2u);
  vqzsu8Lengths(
      "\xC3\xA4"
      "a",
      nullptr, &count);
  EXPECT_EQ(count, 3u);
}

TEST(Utf8Cut, KeepsWholeCharacters) {
  const struct {
    std::string text;
    uint64_t kept;
  } cases[] = {
      {"a\xC3", 1},         {"a\xC3\xA4", 3}, {"\xC3", 0},       {"\x80\x80", 0},
      {"a\xC3\xA4\xA4", 3}, {"a\xF5\x80", 0}, {"ab\xE2\x82", 2}, {"ab\xE2\x82\xAC\x80\x80", 5},
      {"a\xF0\x9F\x98", 1}, {"a\xC0\x80", 0}, {"a", 1},          {std::string("a\0", 2), 2},
  };
  for (const auto& [text, kept] : cases) {
    test::GuardedBuffer<uint8_t> buffer(text.size());
    std::memcpy(buffer.data(), text.data(), text.size());
    EXPECT_EQ(UTF8_BLENB(chars(buffer.data()), text.size()), kept) << testing::PrintToString(text);
  }
  EXPECT_EQ(UTF8_BLEN("ab\xE2\x82"), 2u);
}

// What the rules say of a sequence, from the value it stands for: continuation bytes where they are
// announced, no value that a shorter form has, no surrogate, no first byte beyond 0xF4.
bool isWellFormed(const uint8_t* sequence, size_t length) {
  if (sequence[0] < 0x80) return length == 1;
  if (length < 2 || length > 4 || sequence[0] > 0xF4) return false;
  VQChar value = sequence[0] & (0x7Fu >> length);
  for (size_t i = 1; i < length; ++i) {
    if ((sequence[i] & 0xC0) != 0x80) return false;
    value = value << 6 | (sequence[i] & 0x3F);
  }
  constexpr VQChar least[] = {0, 0, 0x80, 0x800, 0x10000};
  return value >= least[length] && (value < 0xD800 || value > 0xDFFF);
}

size_t firstBreak(const uint8_t* sequence, size_t from, size_t length) {
  while (from < length && (sequence[from] & 0xC0) == 0x80) ++from;
  return from;
}

void checkVerdicts(const uint8_t* sequence, size_t length) {
  if (utf8_len(chars(sequence)) != length) return;
  const bool expected = isWellFormed(sequence, length);
  uint64_t consumed = 0;
  ASSERT_EQ(isLegalUTF8(chars(sequence), length, &consumed), expected);
  ASSERT_EQ(consumed, firstBreak(sequence, 1, length));

  uint8_t valid = 9;
  const uint64_t size = _U8ValidCharSize(chars(sequence), &valid);
  ASSERT_EQ(valid, expected);
  const bool isSecondCounted = sequence[0] == 0xE0 || sequence[0] == 0xED || sequence[0] == 0xF0;
  if (isSecondCounted && sequence[1] == 0) {
    ASSERT_EQ(size, 1u);
  } else {
    ASSERT_EQ(size, firstBreak(sequence, isSecondCounted ? 2 : 1, length));
  }
  ASSERT_EQ(vqzsu8CharSize(chars(sequence), nullptr), size);
  ASSERT_EQ(_U8CharSize(chars(sequence)), size);
  ASSERT_EQ(vqzsu8CharSize2(chars(sequence), nullptr), size);
  ASSERT_EQ(vqzsu8NextChar(chars(sequence)), chars(sequence) + size);
}

TEST(Utf8Verdict, EveryShortAndStructuredSequence) {
  for (size_t length = 1; length <= 3; ++length) test::forEverySequence(length, checkVerdicts);
  test::forTurningSequences(4, checkVerdicts);
}

TEST(Utf8Verdict, LengthsOutsideOneToFourAreNotJudged) {
  uint64_t consumed = 0;
  EXPECT_EQ(isLegalUTF8("\xFF", 0, &consumed), 1u);
  EXPECT_EQ(consumed, 0u);
  EXPECT_EQ(isLegalUTF8("\xF8\x41\x41\x41\x41", 5, &consumed), 1u);
  EXPECT_EQ(consumed, 5u);
}

TEST(Utf8Blanks, StrippedByMode) {
  const struct {
    std::string text;
    uint64_t leftInMode0, leftInMode1, leftInMode2;
  } cases[] = {
      {"", 0, 0, 0},
      {"abc  ", 3, 3, 3},
      {"   ", 0, 0, 0},
      {"abc\t", 4, 3, 4},
      {"a\xC2\xA0 ", 3, 1, 1},
      {"a\xC2\x85", 3, 1, 3},
      {"a\xE2\x80\x8B", 4, 4, 4},
      {"\xE1\x9A\x80\xE2\x80\x80\xE2\x80\x8A\xE2\x80\xA8\xE2\x80\xA9\xE2\x80\xAF\xE2\x81\x9F\xE3\x80\x80", 24,
       0, 0},
      {"\x08\x09\x0D\x0E\x0D", 5, 4, 5},
      // Cut off: no blank, and nothing behind the end is read.
      {"a\xC2", 2, 2, 2},
      {"a\xE3\x80", 3, 3, 3},
      {"\x80\x80", 2, 2, 2},
      // Excess continuation bytes are walked over, the blank's own length comes off.
      {"a \x80\x80", 4, 3, 3},
  };
  for (const auto& [text, left0, left1, left2] : cases) {
    test::GuardedBuffer<uint8_t> buffer(text.size());
    std::memcpy(buffer.data(), text.data(), text.size());
    const auto left = [bytes = chars(buffer.data()), size = text.size()](uint32_t mode) {
      return vqzsu8StripBlanks(bytes, size, mode);
    };
    EXPECT_EQ(left(0), left0) << testing::PrintToString(text);
    EXPECT_EQ(left(1), left1) << testing::PrintToString(text);
    EXPECT_EQ(left(2), left2) << testing::PrintToString(text);
    EXPECT_EQ(left(77), left1) << testing::PrintToString(text);
  }
}

}  // namespace

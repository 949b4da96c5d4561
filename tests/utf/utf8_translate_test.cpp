#include <gtest/gtest.h>

#include <string>

#include "utf/utf8_samples.hpp"
#include "vqstring/utf.h"

namespace {

using std::string_literals::operator""s;

constexpr VQStatus bad = VQSTATUS_BAD_SEQUENCE;
constexpr VQStatus full = VQSTATUS_TARGET_FULL;
const std::string fffd = "\xEF\xBF\xBD";

struct Translated {
  VQStatus status;
  std::string text;
  bool operator==(const Translated&) const = default;
};
void PrintTo(const Translated& translated, std::ostream* out) {
  *out << std::hex << translated.status << " " << testing::PrintToString(translated.text);
}

using Translator = VQStatus (*)(const char*, uint64_t, char*, uint64_t, uint64_t*, uint32_t);

// Nothing behind `written` may be touched, but for the blanks of a plain copy.
Translated translate(Translator translator, const std::string& text, uint32_t flags, size_t room) {
  static const test::GuardedRoom<char> sources(8192);
  static const test::GuardedRoom<char> targets(8192);
  char* source = sources.last(text.size());
  std::memcpy(source, text.data(), text.size());
  char* target = targets.last(room);
  std::memset(target, '.', room);
  uint64_t written = 9999;
  const VQStatus status = translator(source, text.size(), target, room, &written, flags);
  EXPECT_LE(written, room);
  if (flags != U8_NO_PAIRS) {
    EXPECT_EQ(std::string(target + written, room - written), std::string(room - written, '.'));
  }
  return {status, std::string(target, written)};
}

constexpr size_t ample = 2048;

TEST(Translation, StatedCases) {
  const std::string grin = "\xF0\x9F\x98\x80";
  const std::string grinPair = "\xED\xA0\xBD\xED\xB8\x80";
  const std::string lone = "\xED\xA0\x80";
  const struct {
    Translator translator;
    std::string text;
    uint32_t flags;
    size_t room;
    Translated expected;
  } cases[] = {
      {vqzsu8Encode, grin, 0, ample, {0, grinPair}},
      {vqzsu8Encode, "\xF4\x8F\xBF\xBF", U8_MODIFIED, ample, {0, "\xED\xAF\xBF\xED\xBF\xBF"}},
      {vqzsu8Encode,
       "a\0b"s,
       U8_MODIFIED,
       ample,
       {0,
        "a\xC0\x80"
        "b"}},
      {vqzsu8Encode,
       "a\0b"s,
       U8_MODIFIED | U8_NO_PAIRS,
       ample,
       {0,
        "a\xC0\x80"
        "b"}},
      {vqzsu8Encode, "a\0b"s, 0, ample, {0, "a\0b"s}},
      {vqzsu8Encode, "a\0b"s, U8_NO_PAIRS, ample, {0, "a\0b"s}},
      {vqzsu8Encode, grin, U8_MODIFIED | U8_NO_PAIRS, ample, {0, grinPair}},
      {vqzsu8Encode, grin + "€", U8_NO_PAIRS, ample, {bad, fffd + "€"}},
      {vqzsu8Encode, lone + "a", 0, ample, {bad, fffd + "a"}},
      {vqzsu8Encode, "\xED\x9F\xBF", 0, ample, {0, "\xED\x9F\xBF"}},
      {vqzsu8Encode,
       "\xC0\x80\xE0\x80\x80\xF8\x80\x80\x80\x80",
       0,
       ample,
       {0, "\xC0\x80\xE0\x80\x80\xF8\x80\x80\x80\x80"}},
      {vqzsu8Encode, "\x80z", 0, ample, {bad, fffd + "z"}},
      {vqzsu8Encode,
       "\xE2\x82"
       "A",
       0,
       ample,
       {bad, fffd + "A"}},
      {vqzsu8Encode, "\xE2\xC3\xA4", 0, ample, {bad, fffd + "\xC3\xA4"}},
      {vqzsu8Encode, "a\xE2\x82", 0, ample, {bad, "a" + fffd}},
      {vqzsu8Encode, grin, 0, 5, {full, ""}},
      {vqzsu8Encode, "\x80", 0, 2, {full, ""}},
      {vqzsu8Encode,
       "\x80"
       "ab",
       0,
       4,
       {full, fffd + "a"}},
      {vqzsu8Encode, "", 0, 0, {0, ""}},
      {vqzsu8Decode, grinPair, 0, ample, {0, grin}},
      {vqzsu8Decode, grinPair, U8_MODIFIED | U8_NO_PAIRS, ample, {0, grin}},
      {vqzsu8Decode, "\xED\xB8\x80\xED\xA0\xBD", 0, ample, {0, "\xF2\x90\x80\xBD"}},
      {vqzsu8Decode, grin, 0, ample, {0, grin}},
      {vqzsu8Decode, "\xC0\x80", U8_MODIFIED, ample, {0, "\0"s}},
      {vqzsu8Decode,
       "\xC0\x80"
       "a",
       0,
       ample,
       {bad, fffd + "a"}},
      {vqzsu8Decode,
       "\xF8\x80\x80\x80\x80"
       "a",
       0,
       ample,
       {bad, fffd + "a"}},
      {vqzsu8Decode, "\xC0\x81\x80", U8_MODIFIED, ample, {bad, fffd + fffd}},
      {vqzsu8Decode, lone + "A", 0, ample, {bad, fffd + "A"}},
      {vqzsu8Decode, lone, 0, ample, {bad, fffd}},
      // Behind a lone surrogate nothing is tested or mapped.
      {vqzsu8Decode, lone + "\xC0\x80", U8_MODIFIED, ample, {bad, fffd + "\xC0\x80"}},
      {vqzsu8Decode,
       lone + "\x80"
              "a",
       0,
       ample,
       {bad, fffd + "\x80"
                    "a"}},
      // A broken sequence between two surrogates parts them, and the second may find a partner of its own.
      {vqzsu8Decode,
       "\xED\xA0\xBD"
       "\xE2\x82"
       "\xED\xB8\x80",
       0,
       ample,
       {bad, fffd + fffd + fffd}},
      {vqzsu8Decode, lone + "\xE2\x82" + grinPair, 0, ample, {bad, fffd + fffd + grin}},
      {vqzsu8Decode, lone + "ab", 0, 3, {full, fffd}},
      {vqzsu8Decode, lone, 0, 2, {full, ""}},
      {vqzsu8Decode, "\xC0\x80", U8_MODIFIED, 0, {full, ""}},
      {vqzsu8Decode, "€", U8_NO_PAIRS, 2, {full, ""}},
      {vqzsu8Decode,
       "a\x80"
       "b",
       U8_NO_PAIRS,
       ample,
       {0,
        "a\x80"
        "b"}},
      {vqzsu8Decode, "", 0, 0, {0, ""}},
  };
  for (const auto& [translator, text, flags, room, expected] : cases) {
    EXPECT_EQ(translate(translator, text, flags, room), expected)
        << (translator == vqzsu8Encode ? "encode " : "decode ") << flags << testing::PrintToString(text);
  }
  EXPECT_EQ(vqzsu8Encode("a", 1, nullptr, 0, nullptr, 0), full);
}

// Long texts are the sum of their characters: whatever a translator does in blocks must come out as it does
// when the text is handed over in pieces that are too short for one.
void checkAgainstPieces(Translator translator, const std::string& text, uint32_t flags) {
  Translated expected{0, ""};
  for (size_t at = 0; at < text.size();) {
    size_t end = std::min(at + 12, text.size());
    // Cut in front of a byte that continues nothing: there every sequence has ended, whole or broken.
    while (end < text.size() && (text[end] & 0xC0) == 0x80) ++end;
    std::string piece = text.substr(at, end - at);
    const Translated one = translate(translator, piece, flags, ample);
    expected.text += one.text;
    if (one.status != 0) expected.status = one.status;
    at = end;
  }
  ASSERT_EQ(translate(translator, text, flags, ample), expected);
  const size_t little = expected.text.size() * 2 / 3;
  const Translated stopped = translate(translator, text, flags, little);
  if (little == expected.text.size()) return;
  ASSERT_EQ(stopped.status, full);
  ASSERT_GE(stopped.text.size() + 6, little);
  ASSERT_EQ(stopped.text, expected.text.substr(0, stopped.text.size()));
}

TEST(Translation, LongTextsAsTheirPiecesUnderEveryLevel) {
  test::underEveryLevel([] {
    test::forBrokenTexts([](const uint8_t* bytes, size_t length) {
      const std::string text(test::chars(bytes), length);
      for (const uint32_t flags : {0u, U8_MODIFIED, U8_NO_PAIRS})
        checkAgainstPieces(vqzsu8Encode, text, flags);
    });
  });
}

TEST(Translation, RoundTripUnderEveryLevel) {
  std::mt19937 random(8);
  test::underEveryLevel([&] {
    for (const test::Script script : test::scripts) {
      for (size_t count = 0; count < 150; ++count) {
        std::u32string wide = test::sampleText(script, count, random);
        if (count > 3) wide[random() % count] = 0;
        const std::string text = test::encode(wide);
        for (const uint32_t flags : {0u, U8_MODIFIED}) {
          const Translated there = translate(vqzsu8Encode, text, flags, ample);
          ASSERT_EQ(there.status, 0u);
          ASSERT_EQ(translate(vqzsu8Decode, there.text, flags, ample), (Translated{0, text}));
          ASSERT_EQ(there.text.find('\0') == std::string::npos,
                    flags == U8_MODIFIED || text.find('\0') == std::string::npos);
        }
      }
    }
  });
}

TEST(Translation, DecodesAsThePlainFormUnderEveryLevel) {
  test::forBrokenTexts([](const uint8_t* bytes, size_t length) {
    const std::string text(test::chars(bytes), length);
    for (const uint32_t flags : {0u, U8_MODIFIED}) {
      std::vector<Translated> results;
      test::underEveryLevel([&] {
        results.push_back(translate(vqzsu8Decode, text, flags, ample));
        results.push_back(translate(vqzsu8Decode, text, flags, length * 2 / 3));
      });
      for (size_t i = 2; i < results.size(); ++i) ASSERT_EQ(results[i], results[i - 2]);
    }
  });
}

// Long enough for several strides, with a few breaks anywhere, into room of many sizes.
TEST(Translation, LongBrokenTextsAsThePlainFormUnderEveryLevel) {
  std::mt19937 random(10);
  const auto check = [&](Translator translator, std::string text) {
    for (size_t breaks = random() % 4; breaks > 0; --breaks) {
      text[random() % text.size()] =
          static_cast<char>(test::turningBytes[random() % std::size(test::turningBytes)]);
    }
    const uint32_t flags = random() % 2 == 0 ? 0 : U8_MODIFIED;
    const size_t room = random() % 2 == 0 ? 4 * ample : text.size() - random() % 300;
    std::vector<Translated> results;
    test::underEveryLevel([&] { results.push_back(translate(translator, text, flags, room)); });
    for (size_t i = 1; i < results.size(); ++i) ASSERT_EQ(results[i], results[0]);
  };
  for (int round = 0; round < 400; ++round) {
    for (const test::Script script : test::scripts) {
      const std::string text = test::encode(test::sampleText(script, 400 + random() % 400, random));
      check(vqzsu8Encode, text);
      check(vqzsu8Decode, text);
      check(vqzsu8Decode, translate(vqzsu8Encode, text, U8_MODIFIED, 4 * ample).text);
    }
  }
}

// A broken sequence that lacks the room for its replacement stays out of the target, wherever blocks end.
TEST(Translation, LeavesOutWhatHasNoRoomUnderEveryLevel) {
  test::underEveryLevel([] {
    for (size_t before = 60; before < 600; ++before) {
      const std::string plain(before, 'a');
      const std::string text = plain + "\xC3" + std::string(300, 'b');
      for (size_t room = before; room < before + fffd.size(); ++room) {
        for (const Translator translator : {vqzsu8Encode, vqzsu8Decode}) {
          ASSERT_EQ(translate(translator, text, U8_MODIFIED, room), (Translated{full, plain})) << room;
        }
      }
    }
  });
}

TEST(Field, CutsAndFillsWithBlanks) {
  const struct {
    const char* text;
    uint64_t length;
    size_t field;
    std::string expected;
    uint64_t copied;
  } cases[] = {
      {"abc", 3, 5, "abc  ", 3}, {"a\xC3\xA4", 3, 2, "a ", 1},         {"a\xC3\xA4", 3, 3, "a\xC3\xA4", 3},
      {nullptr, 7, 3, "   ", 0}, {"ab\xFF", 3, 3, "   ", 0},           {"abc", 0, 2, "  ", 0},
      {"abc", 3, 0, "", 0},      {"\xF0\x9F\x98\x80", 4, 3, "   ", 0},
  };
  for (const auto& [text, length, field, expected, copied] : cases) {
    test::GuardedBuffer<char> target(field);
    EXPECT_EQ(vqzsu8CopyText(text, length, ENC_UTF8, target.data(), field), copied);
    EXPECT_EQ(std::string(target.data(), field), expected);
  }
  char overlapping[] = "abcdef";
  EXPECT_EQ(vqzsu8Copy(overlapping, 4, overlapping + 1, 5), 4u);
  EXPECT_STREQ(overlapping, "aabcd ");
}

}  // namespace

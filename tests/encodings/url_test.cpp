// Percent escapes: both kinds of string in every form of storage against the rules byte by byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "encodings/url_codec.hpp"
#include "support/cpu_levels.hpp"
#include "support/fault_injector.hpp"
#include "support/guarded_buffer.hpp"
#include "url_rules.hpp"
#include "vqstring.h"

namespace {

using test::naiveEscaped;
using test::naiveUnescaped;
using test::passes;
using test::percent;

void appendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 63))};
  } else if (c < 0x10000) {
    out += {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 63)),
            static_cast<char>(0x80 | (c & 63))};
  } else {
    out += {static_cast<char>(0xF0 | c >> 18), static_cast<char>(0x80 | (c >> 12 & 63)),
            static_cast<char>(0x80 | (c >> 6 & 63)), static_cast<char>(0x80 | (c & 63))};
  }
}

std::string utf8Of(const std::u32string& text) {
  std::string out;
  for (const char32_t c : text) appendUtf8(out, c);
  return out;
}

std::u32string widened(const std::string& text) {
  std::u32string wide;
  for (const char c : text) wide += static_cast<unsigned char>(c);
  return wide;
}

// Runs that need no escape between single characters of all sizes, so that the vector scans start, stop and
// start again.
std::u32string randomText(std::mt19937& random, size_t count) {
  const std::u32string others =
      U" %+-_~/@[`{\u007F\u0080\u00E9\u07FF\u0800\u20AC\uFFFD\U00010000\U0010FFFF\t";
  std::u32string text;
  while (text.size() < count) {
    text.append(random() % 70, "azAZ09."[random() % 7]);
    for (size_t i = random() % 12; i != 0; --i) text += others[random() % others.size()];
  }
  text.resize(count);
  return text;
}

// ---- The operations ----

enum class Form { exact, roomy, borrowed };
constexpr Form forms[] = {Form::exact, Form::roomy, Form::borrowed};

class UrlEscapes : public test::HostTest {
 protected:
  VQString* make(const std::u32string& text, Form form) {
    const auto length = static_cast<int64_t>(text.size());
    if (form == Form::borrowed) return vqStringCreate(service(), pool(), text.data(), length, 0);
    return vqStringCreateSized(service(), pool(), text.data(), length,
                               form == Form::exact ? 0 : 12 * length + 1);
  }
  VQU8String* make(const std::string& text, Form form) {
    const auto length = static_cast<int64_t>(text.size());
    VQU8String* made = nullptr;
    if (form == Form::borrowed) {
      vqU8StringCreate(service(), &made, pool(), text.data(), length, 0);
    } else {
      vqU8StringCreateSized(service(), &made, pool(), text.data(), length,
                            form == Form::exact ? 0 : 3 * length + 1);
    }
    return made;
  }
  static std::u32string take(VQString* string) {
    std::u32string text(string->text, static_cast<size_t>(string->length));
    if (string->capacity != 0) {
      EXPECT_LT(string->length, string->capacity + 1);
      EXPECT_EQ(string->text[string->length], 0u);
    }
    vqStringDestroy(string);
    return text;
  }
  static std::string take(VQU8String* string) {
    std::string text(string->text, string->length);
    if (string->capacity != 0) {
      EXPECT_EQ(string->text[string->length], 0);
    }
    vqU8StringDestroy(string);
    return text;
  }
  std::u32string encoded(std::u32string text, Form form = Form::exact) {
    VQString* string = make(text, form);
    EXPECT_EQ(vqStringURLEncode(string), 0u);
    return take(string);
  }
  std::string encoded(const std::string& text, Form form = Form::exact) {
    VQU8String* string = make(text, form);
    EXPECT_EQ(vqU8StringURLEncode(string), 0u);
    return take(string);
  }
  std::u32string decoded(const std::u32string& text, Form form = Form::exact) {
    VQString* string = make(text, form);
    EXPECT_EQ(vqStringURLDecode(string), 0u);
    return take(string);
  }
};

TEST_F(UrlEscapes, SingleCharacters) {
  for (char32_t c = 0; c < 0x300; ++c) {
    const std::u32string text(1, c);
    const std::string utf8 = utf8Of(text);
    std::string expected;
    for (const char byte : utf8) expected += passes(c) ? std::string(1, byte) : percent(byte);
    EXPECT_EQ(encoded(text), widened(expected)) << +c;
    EXPECT_EQ(encoded(utf8), expected) << +c;
    EXPECT_EQ(decoded(widened(expected)), text) << +c;
  }
  EXPECT_EQ(encoded(std::u32string(U"a é\U0001F600~.")), U"a%20%C3%A9%F0%9F%98%80%7E.");
}

TEST_F(UrlEscapes, EscapedTextComesBackFromEveryForm) {
  std::mt19937 random(3986);
  test::atEveryLevel([&] {
    for (size_t round = 0; round < 400; ++round) {
      const std::u32string text = randomText(random, random() % 400);
      const std::string utf8 = utf8Of(text), expected = naiveEscaped(utf8);
      for (const Form form : forms) {
        ASSERT_EQ(encoded(utf8, form), expected);
        ASSERT_EQ(encoded(text, form), widened(expected));
        ASSERT_EQ(decoded(widened(expected), form), text);
      }
    }
  });
}

// A borrowed text of plain characters stays borrowed and is read no further than its length.
TEST_F(UrlEscapes, ATextWithNothingToEscapeIsLeftAlone) {
  test::atEveryLevel([&] {
    for (size_t count = 0; count < 140; ++count) {
      const std::u32string text(count, U'z');
      const test::GuardedBuffer<char32_t> wide{std::span<const char32_t>(text)};
      VQString string;
      vqStringInitStatic(service(), &string, pool(), wide.data(), static_cast<int64_t>(count));
      ASSERT_EQ(vqStringURLEncode(&string), 0u);
      ASSERT_EQ(string.text, wide.data());
      const std::string narrowText(count, '.');
      const test::GuardedBuffer<char> narrow{std::span<const char>(narrowText)};
      VQU8String u8;
      vqU8StringInitStatic(service(), &u8, pool(), narrow.data(), static_cast<int64_t>(count));
      ASSERT_EQ(vqU8StringURLEncode(&u8), 0u);
      ASSERT_EQ(u8.text, narrow.data());
    }
  });
}

// UTF-8 that is none: a first byte takes ASCII with it, a cut-off sequence ends with the text.
TEST_F(UrlEscapes, BrokenUtf8IsEscapedWithinTheText) {
  EXPECT_EQ(encoded(std::string("\xC3"
                                "AB")),
            "%C3%41B");
  EXPECT_EQ(encoded(std::string("\x80z\xE2\x82")), "%80z%E2%82");
  EXPECT_EQ(encoded(std::string("\xF0"
                                "a")),
            "%F0%61");
  std::mt19937 random(5);
  const std::string some = "aZ. \x80\xBF\xC3\xE2\xF0\xF9\xFD\xFF", regular = "aZ09. %~-/@[`{\x7F\x80\xBF";
  test::atEveryLevel([&] {
    for (size_t round = 0; round < 3000; ++round) {
      const std::string& mixed = round % 2 != 0 ? regular : some;
      std::string text(random() % 60, 'a');
      for (size_t i = random() % (random() % 2 != 0 ? 40 : 250); i != 0; --i) {
        text += mixed[random() % mixed.size()];
      }
      text.append(random() % 40, 'b');
      const std::string expected = naiveEscaped(text);
      const test::GuardedBuffer<char> source{std::span<const char>(text)};
      const vq::url::Measure measure = vq::url::measure(source.data(), text.size());
      ASSERT_EQ(measure.length(text.size()), expected.size());
      for (const test::Edge edge : {test::Edge::behind, test::Edge::before}) {
        const test::GuardedBuffer<char> target(expected.size(), edge);
        vq::url::escape(source.data(), text.size(), measure.isRegular, target.data(), target.size());
        ASSERT_EQ(std::string(target.begin(), target.end()), expected);
        // The source may be the end of the target.
        std::copy(text.begin(), text.end(), target.end() - text.size());
        vq::url::escape(target.end() - text.size(), text.size(), measure.isRegular, target.data(),
                        target.size());
        ASSERT_EQ(std::string(target.begin(), target.end()), expected);
        if (!measure.isRegular) continue;
        const test::GuardedBuffer<char32_t> wide(expected.size(), edge);
        vq::url::escapeToWide(source.data(), text.size(), wide.data(), wide.size());
        ASSERT_EQ(std::u32string(wide.begin(), wide.end()), widened(expected));
      }
      for (const Form form : forms) ASSERT_EQ(encoded(text, form), expected);
    }
  });
}

// One first byte in a text that needs no other escape, at every place of a step.
TEST_F(UrlEscapes, ALoneFirstByteTakesWhatItAnnounces) {
  test::atEveryLevel([&] {
    for (const char first : {'\xC3', '\xE2', '\xF0', '\xF9', '\xFD'}) {
      for (size_t place = 0; place < 150; ++place) {
        std::string text(150, 'a');
        text[place] = first;
        const std::string tail = text.substr(place - place % 2);
        ASSERT_EQ(vq::url::measure(text.data(), text.size()).length(text.size()), naiveEscaped(text).size());
        ASSERT_EQ(encoded(tail), naiveEscaped(tail));
      }
    }
  });
}

TEST_F(UrlEscapes, UnescapingTakesWhatItFinds) {
  const struct {
    const char* text;
    std::u32string expected;
    VQStatus status;
  } cases[] = {
      {"%2B+%2541", U"+ %41", 0},
      {"+", U" ", 0},
      {"a%", U"a%", 0},
      {"%4", {4}, 0},
      {"%00x", {0, U'x'}, 0},
      {"%2", {2}, 0},
      {"100%", U"100%", 0},
      {"%c3%A9", U"\u00E9", 0},
      {"%2z", {0x1F}, 0},
      {"%zA", {}, VQSTATUS_BAD_SEQUENCE},
      {"%%", {}, VQSTATUS_BAD_SEQUENCE},
      {"b%C3", U"b", VQSTATUS_SHORT_SEQUENCE},
  };
  for (const auto& [text, expected, status] : cases) {
    VQString* string = make(widened(text), Form::exact);
    EXPECT_EQ(vqStringURLDecode(string), status) << text;
    EXPECT_EQ(take(string), expected) << text;
  }
  std::mt19937 random(11);
  const std::string some = "%%%+09afAFzG./:@`\x80\xB4";
  test::atEveryLevel([&] {
    for (size_t round = 0; round < 8000; ++round) {
      std::string text(random() % 70, 'x');
      for (size_t i = random() % 30; i != 0; --i) text += some[random() % some.size()];
      // Escapes that stand apart, or close to each other, with good and bad digits.
      for (size_t i = random() % 50; i != 0; --i) {
        text += {'%', some[1 + random() % (some.size() - 1)], some[3 + random() % (some.size() - 3)]};
        text.append(random() % 4 == 0 ? random() % 9 : 0, 'z');
      }
      text.append(random() % 40, 'y');
      if (random() % 2) text += '%';
      if (random() % 4 != 0) {
        for (char& c : text) c &= 0x7F;
      }
      const std::string expected = naiveUnescaped(text);
      const test::GuardedBuffer<char> buffer{std::span<const char>(text)};
      const uint64_t length = vq::url::unescape(buffer.data(), text.size());
      ASSERT_EQ(std::string(buffer.data(), length), expected) << text;
      // The same on the way from wide text, into exact room or more.
      const bool isAscii = std::none_of(text.begin(), text.end(), [](char c) { return c < 0; });
      const test::GuardedBuffer<char32_t> wide{std::span<const char32_t>(widened(text))};
      const test::GuardedBuffer<char> target(text.size() + random() % 3 * 40);
      const uint64_t made = vq::url::unescape(wide.data(), wide.size(), target.data(), target.size());
      ASSERT_EQ(made, isAscii ? expected.size() : vq::url::notAscii) << text;
      if (isAscii) {
        ASSERT_EQ(std::string(target.data(), made), expected) << text;
      }
    }
  });
}

// Of a long text the first character alone tells what the host makes of it, unless it is not all ASCII.
TEST_F(UrlEscapes, LongTextsAreUnescapedWhole) {
  for (const size_t count : {40u, 60u, 66u, 257u, 5000u}) {
    std::u32string text(count, U'q');
    text += U"%C3%A9+";
    const std::u32string plain = std::u32string(count, U'q') + U"\u00E9 ";
    for (const Form form : forms) EXPECT_EQ(decoded(text, form), plain);
    text[count / 2] = U'\u20AC';
    std::u32string mixed = plain;
    mixed[count / 2] = U'\u20AC';
    for (const Form form : forms) EXPECT_EQ(decoded(text, form), mixed);
    for (const char32_t bad : {0xD800u, 0x110000u, 0x80000041u}) {
      text[count - 1] = bad;
      VQString* string = make(text, Form::exact);
      EXPECT_EQ(vqStringURLDecode(string), VQSTATUS_BAD_SEQUENCE);
      EXPECT_EQ(take(string), text);
    }
  }
}

TEST_F(UrlEscapes, EmptyTexts) {
  EXPECT_EQ(encoded(std::u32string()), U"");
  EXPECT_EQ(encoded(std::string()), "");
  EXPECT_EQ(decoded(U""), U"");
}

// A character without a UTF-8 form: escaped up to it, itself and all behind it as they were.
TEST_F(UrlEscapes, AFailureLeavesTheFrontEscaped) {
  for (const Form form : {Form::exact, Form::roomy}) {
    for (const char32_t bad : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu}) {
      std::u32string text = U"a b\u00E9_";
      text += bad;
      text += U" tail";
      VQString* string = make(text, form);
      EXPECT_EQ(vqStringURLEncode(string), VQSTATUS_BAD_SEQUENCE);
      EXPECT_EQ(take(string), U"a%20b%C3%A9%5F" + text.substr(5));
    }
  }
  // The text of a failed unescaping is gone; a text that does not get that far stays.
  VQString* string = make(U"ab%FFcd", Form::roomy);
  EXPECT_EQ(vqStringURLDecode(string), VQSTATUS_BAD_SEQUENCE);
  EXPECT_EQ(take(string), U"ab");
  const std::u32string unpaired{U'%', U'4', U'1', 0xD800};
  string = make(unpaired, Form::roomy);
  EXPECT_EQ(vqStringURLDecode(string), VQSTATUS_BAD_SEQUENCE);
  EXPECT_EQ(take(string), unpaired);
}

class UrlFaults : public test::FaultTest {};

// A single fault on the short way is made good by the long way.
TEST_F(UrlFaults, EscapingWideTextTriesAgain) {
  for (const std::u32string text : {U"ab \u00E9\u20AC~z", U"ab c~z"}) {
    EXPECT_EQ(forEveryFault(
                  [&] {
                    VQString* string = vqStringCreate(service(), faultyPool(), text.data(),
                                                      static_cast<int64_t>(text.size()), 1);
                    if (string == nullptr) return VQSTATUS_NO_MEMORY;
                    const VQStatus status = vqStringURLEncode(string);
                    EXPECT_EQ(status, 0u);
                    EXPECT_EQ(std::u32string(string->text), widened(naiveEscaped(utf8Of(text))));
                    vqStringDestroy(string);
                    return status;
                  },
                  [](VQStatus status, const test::Fault& fault) {
                    EXPECT_EQ(status, fault.number == 1 ? VQSTATUS_NO_MEMORY : 0u);
                  }),
              0u);
  }
}

// A pool that has nothing more to give after a number of blocks.
struct DryingPool : VQPool {
  DryingPool(VQPool* source, int blockCount) : real(source), left(blockCount) {
    poolAlloc = [](VQPool* pool, uint64_t byteCount, uint32_t flags) -> void* {
      auto* self = static_cast<DryingPool*>(pool);
      return self->left-- > 0 ? self->real->poolAlloc(self->real, byteCount, flags) : nullptr;
    };
    poolFree = [](VQPool* pool, void* block) {
      auto* self = static_cast<DryingPool*>(pool);
      return self->real->poolFree(self->real, block);
    };
  }
  VQPool* real;
  int left;
};

// What memory allows is done: a front of escapes, perhaps the start of one more, and the rest as it was.
TEST_F(UrlEscapes, WithoutMemoryTheFrontIsEscaped) {
  std::u32string text;
  for (int i = 0; i < 30; ++i) text += U"x\u00E9 ";
  const std::u32string whole = widened(naiveEscaped(utf8Of(text)));
  std::vector<size_t> fronts;
  VQStatus status = VQSTATUS_NO_MEMORY;
  for (int blocks = 0; status != 0; ++blocks) {
    ASSERT_LT(blocks, 50);
    VQString* string = make(text, Form::exact);
    DryingPool pool(string->pool, blocks);
    string->pool = &pool;
    status = vqStringURLEncode(string);
    if (status != 0) {
      EXPECT_EQ(status, VQSTATUS_NO_MEMORY);
    }
    string->pool = pool.real;
    const std::u32string result = take(string);
    size_t front = 0;
    while (front < result.size() && front < whole.size() && result[front] == whole[front]) ++front;
    const std::u32string rest = result.substr(front);
    EXPECT_EQ(rest, text.substr(text.size() - rest.size())) << blocks;
    fronts.push_back(front);
  }
  EXPECT_EQ(fronts.front(), 1u);
  EXPECT_EQ(fronts.back(), whole.size());
  // Some runs fail in the middle.
  EXPECT_GT(fronts.size(), 3u);
}

TEST_F(UrlFaults, EscapingUtf8LeavesTheString) {
  for (const size_t count : {10u, 900u}) {
    const std::string text(count, ' ');
    VQU8String* string = nullptr;
    VQStatus last = forEveryFault(
        [&] {
          VQStatus status = vqU8StringCreateSized(service(), &string, faultyPool(), text.data(),
                                                  static_cast<int64_t>(count), 0);
          if (status != 0) return status;
          status = vqU8StringURLEncode(string);
          EXPECT_EQ(std::string(string->text, string->length), status == 0 ? naiveEscaped(text) : text);
          vqU8StringDestroy(string);
          return status;
        },
        [](VQStatus status, const test::Fault&) { EXPECT_EQ(status, VQSTATUS_NO_MEMORY); });
    EXPECT_EQ(last, 0u);
  }
}

TEST_F(UrlFaults, Unescaping) {
  for (const size_t count : {1u, 600u}) {
    const std::u32string front(count, U'a');
    const std::u32string text = front + U"%20b+c%C3%A9";
    EXPECT_EQ(forEveryFault(
                  [&] {
                    VQString* string = vqStringCreate(service(), faultyPool(), text.data(),
                                                      static_cast<int64_t>(text.size()), 1);
                    if (string == nullptr) return VQSTATUS_NO_MEMORY;
                    const VQStatus status = vqStringURLDecode(string);
                    const std::u32string result(string->text, static_cast<size_t>(string->length));
                    // Only a failed conversion back loses the text.
                    if (status != test::injectedStatus || !result.empty()) {
                      EXPECT_EQ(result, status == 0 ? front + U" b c\u00E9" : text);
                    }
                    vqStringDestroy(string);
                    return status;
                  },
                  [](VQStatus status, const test::Fault&) { EXPECT_NE(status, 0u); }),
              0u);
  }
}

}  // namespace

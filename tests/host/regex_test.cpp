// Regular expressions: positions, statuses, limits, the cache, and the literals that spare the engine.
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include "host/nls.hpp"
#include "host/required_literals.hpp"
#include "support/guarded_buffer.hpp"
#include "support/host_fixture.hpp"
#include "text/cpu.hpp"

namespace {

using Span = std::pair<int32_t, int32_t>;

class Regex : public test::KernelTest {
 protected:
  explicit Regex(const VQHostOptions& options = test::defaultOptions()) : KernelTest(options) {
    EXPECT_EQ(nls()->nlsLoadICU(nls(), &icu_, 0), 0u);
  }

  VQStatus create(std::string_view pattern, VQRegexEngine** engine) {
    const uint32_t option = VQ_REGEX_OPTIONS;
    return icu_->regexTable->icuRegexCreate(icu_, ENC_UTF8, pattern.data(), pattern.size(), &option, engine);
  }
  VQStatus create(std::u32string_view pattern, VQRegexEngine** engine) {
    const uint32_t option = VQ_REGEX_OPTIONS;
    return icu_->regexTable->icuRegexCreate(icu_, ENC_WIDE, pattern.data(), pattern.size() * 4, &option,
                                            engine);
  }

  // All matches, or the status that ended the search.
  template <class Text>
  std::pair<VQStatus, std::vector<Span>> findAll(Text pattern, Text text) {
    VQRegexEngine* engine = nullptr;
    if (const VQStatus status = create(pattern, &engine); status != 0) return {status, {}};
    const test::GuardedBuffer<typename Text::value_type> guarded(std::span(text.data(), text.size()));
    std::vector<Span> spans;
    uint8_t found = 9;
    VQStatus status = engine->regexSetText(engine, guarded.data(), text.size() * sizeof(text[0]));
    if (status == 0) status = engine->regexFind(engine, 0, &found);
    while (status == 0 && found != 0) {
      Span span;
      EXPECT_EQ(engine->regexMatchStart(engine, 0, &span.first), 0u);
      EXPECT_EQ(engine->regexMatchEnd(engine, 0, &span.second), 0u);
      spans.push_back(span);
      status = engine->regexFindNext(engine, &found);
    }
    engine->regexDestroy(engine);
    return {status, spans};
  }
  auto matches(std::string_view pattern, std::string_view text) { return findAll(pattern, text); }
  auto matches(std::u32string_view pattern, std::u32string_view text) { return findAll(pattern, text); }

  VQIcu* icu_ = nullptr;
};

using Result = std::pair<VQStatus, std::vector<Span>>;

TEST_F(Regex, OffsetsAreBytesOfThePatternsEncoding) {
  EXPECT_EQ(matches("b", "abcb"), (Result{0, {{1, 2}, {3, 4}}}));
  EXPECT_EQ(matches("[\U0001F600-\U0001F64F]+", "é\U0001F600\U0001F601x\U0001F602"),
            (Result{0, {{2, 10}, {11, 15}}}));
  EXPECT_EQ(matches(U"[\U0001F600-\U0001F64F]+", U"é\U0001F600\U0001F601x\U0001F602"),
            (Result{0, {{4, 12}, {16, 20}}}));
  EXPECT_EQ(matches("x*", ""), (Result{0, {{0, 0}}}));
  EXPECT_EQ(matches(U"", U"\U0001F600"), (Result{0, {{0, 0}, {4, 4}}}));
  // A blank is itself.
  EXPECT_EQ(matches("a b", "ab a b"), (Result{0, {{3, 6}}}));
  EXPECT_EQ(matches(U"(?i)JAVASCRIPT:", U"é javaſcript:"), (Result{0, {{8, 52}}}));
}

TEST_F(Regex, RefusedPatternsAreRemembered) {
  VQRegexEngine* untouched = nullptr;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(create(U"alert *(", &untouched), VQHOST_STATUS_PATTERN);
    EXPECT_EQ(create("a\xFF", &untouched), VQSTATUS_BAD_SEQUENCE);
    EXPECT_EQ(create("a\xE2\x82", &untouched), VQSTATUS_SHORT_SEQUENCE);
    EXPECT_EQ(create(std::u32string_view(U"\xD800"), &untouched), VQSTATUS_BAD_SEQUENCE);
  }
  EXPECT_EQ(untouched, nullptr);
  EXPECT_EQ(vq::host::Nls::of(nls()).icu.patterns.entryCount(), 4u);
}

TEST_F(Regex, IllFormedSubjectsGiveAStatusWhetherOrNotTheyCouldMatch) {
  using namespace std::literals;
  for (const std::string_view pattern : {"a"sv, "<script>"sv, "."sv}) {
    for (size_t padding : {0, 7, 40, 200}) {
      const std::string before(padding, ' ');
      EXPECT_EQ(matches(pattern, before + "<a\xC3(").first, VQSTATUS_BAD_SEQUENCE) << pattern << padding;
      EXPECT_EQ(matches(pattern, before + "<a\xF0\x9F\x98").first, VQSTATUS_SHORT_SEQUENCE);
    }
  }
  for (const std::u32string_view pattern : {U"a"sv, U"<script>"sv, U"."sv}) {
    for (size_t padding : {0, 7, 40, 200}) {
      for (const VQChar bad : {VQChar{0xD800}, VQChar{0xDFFF}, VQChar{0x110000}, VQChar{0xFFFFFFFF}}) {
        EXPECT_EQ(matches(pattern, std::u32string(padding, U'-') + bad + U"--").first, VQSTATUS_BAD_SEQUENCE);
      }
      EXPECT_EQ(matches(pattern, std::u32string(padding, U'-') + U"\uE000\U0010FFFF").first, 0u);
    }
  }
}

TEST_F(Regex, WrongCallsAnswerStatuses) {
  VQRegexEngine* engine = nullptr;
  ASSERT_EQ(create("a", &engine), 0u);
  uint8_t found = 0;
  int32_t offset = 0;
  EXPECT_EQ(engine->regexFind(engine, 0, &found), VQSTATUS_BAD_ARGUMENT);
  EXPECT_EQ(engine->regexMatchStart(engine, 0, &offset), VQHOST_STATUS_NO_MATCH);
  EXPECT_EQ(engine->regexSetText(engine, "b", uint64_t{INT32_MAX} + 1), VQHOST_STATUS_TEXT_TOO_LONG);
  engine->regexDestroy(engine);
  EXPECT_EQ(icu_->regexTable->icuRegexCreate(icu_, 31, "a", 1, nullptr, &engine), VQSTATUS_BAD_ARGUMENT);
}

// Many matches in a long text must not cost a walk from its start each.
TEST_F(Regex, ManyMatchesStayLinear) {
  const auto seconds = [&](size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) text += "\U0001F600é,";
    const auto start = std::chrono::steady_clock::now();
    const auto [status, spans] = matches(",", text);
    EXPECT_EQ(spans.size(), count);
    EXPECT_EQ(spans.back().second, static_cast<int32_t>(text.size()));
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  const double small = seconds(10'000);
  const double large = seconds(160'000);
  EXPECT_LT(large, small * 16 * 6);
}

class LimitedRegex : public Regex {
 protected:
  static VQHostOptions options() {
    VQHostOptions options = test::defaultOptions();
    options.regexTimeLimit = 50;
    options.regexStackLimit = 200'000;
    options.regexCacheEntries = 8;
    return options;
  }
  LimitedRegex() : Regex(options()) {}
};

TEST_F(LimitedRegex, HostilePatternsEndWithAStatus) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(matches("(a+)+$", std::string(40, 'a') + "b").first, VQHOST_STATUS_REGEX_TIME);
  EXPECT_EQ(matches("(?:.|\\n)*x", "x" + std::string(1'000'000, 'a')).first, VQHOST_STATUS_REGEX_STACK);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  // The next search is not touched by it.
  EXPECT_EQ(matches("(a+)+$", "aaa"), (Result{0, {{0, 3}}}));
}

TEST_F(LimitedRegex, CacheIsBoundedAndForgetsTheOldest) {
  for (int i = 0; i < 500; ++i) {
    const std::string pattern = "a" + std::to_string(i) + (i % 3 == 0 ? "(" : "");
    VQRegexEngine* engine = nullptr;
    EXPECT_EQ(create(pattern, &engine), i % 3 == 0 ? VQHOST_STATUS_PATTERN : 0);
    if (engine != nullptr) engine->regexDestroy(engine);
    ASSERT_LE(vq::host::Nls::of(nls()).icu.patterns.entryCount(), 8u);
  }
  EXPECT_EQ(matches("a7", "xa7"), (Result{0, {{1, 3}}}));
}

// Engines of one pattern alive together, and destroyed by another thread than the one that made them.
TEST_F(Regex, EnginesAreIndependentAndMayChangeThreads) {
  VQRegexEngine* first = nullptr;
  VQRegexEngine* second = nullptr;
  ASSERT_EQ(create("b", &first), 0u);
  ASSERT_EQ(create("b", &second), 0u);
  ASSERT_EQ(first->regexSetText(first, "ab", 2), 0u);
  ASSERT_EQ(second->regexSetText(second, "xxxb", 4), 0u);
  int32_t offset = 0;
  std::thread([&] {
    uint8_t found = 0;
    EXPECT_EQ(first->regexFind(first, 0, &found), 0u);
    EXPECT_EQ(first->regexMatchStart(first, 0, &offset), 0u);
    first->regexDestroy(first);
  }).join();
  EXPECT_EQ(offset, 1);
  uint8_t found = 0;
  EXPECT_EQ(second->regexFind(second, 0, &found), 0u);
  EXPECT_EQ(second->regexMatchEnd(second, 0, &offset), 0u);
  EXPECT_EQ(offset, 4);
  second->regexDestroy(second);
}

TEST_F(Regex, EightThreadsShareOneCache) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 300; ++i) {
        const std::string wanted = "k" + std::to_string((i * 7 + t) % 400) + "z";
        EXPECT_EQ(matches(wanted + "+", "--" + wanted + "z"),
                  (Result{0, {{2, static_cast<int32_t>(3 + wanted.size())}}}));
        VQRegexEngine* engine = nullptr;
        EXPECT_EQ(create("prompt *(", &engine), VQHOST_STATUS_PATTERN);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// ---- required literals ----

using vq::host::RequiredLiteral;

std::vector<std::string> literalsOf(std::u16string_view pattern) {
  std::vector<std::string> texts;
  for (const RequiredLiteral& literal : vq::host::requiredLiterals(pattern)) {
    texts.push_back((literal.ignoresCase ? "i:" : "") + literal.text);
  }
  return texts;
}

TEST(RequiredLiterals, AreDerivedConservatively) {
  using Texts = std::vector<std::string>;
  struct Case {
    const char16_t* pattern;
    Texts literals;
  };
  for (const Case& c : {
           Case{u"(?i)<script>", {"i:<script>"}},
           Case{u"(?i)javascript:", {"i:javascript:"}},
           Case{u"(?i)< */? *script *>", {"i:<", "i:>", "i:script"}},
           Case{u"ab|cd", {}},
           Case{u"(ab|cd)x", {"x"}},
           Case{u"xa?z", {"z", "x"}},
           Case{u"xa+z", {"z", "xa"}},
           Case{u"xa{0,2}z", {"z", "x"}},
           Case{u"xa*?q", {"q", "x"}},
           Case{u"q[^a]+z", {"q", "z"}},
           Case{u"q[a\\]]z", {"q", "z"}},
           Case{u"q[[a]b]z", {"q", "z"}},
           Case{u"q[]a]z", {}},
           Case{u"q(?#c)*", {}},
           Case{u"(?x)a b", {}},
           Case{u"((?x) #)\n)q", {}},
           Case{u"q\\Q*\\E", {}},
           Case{u"(q)\\1z", {}},
           Case{u"\\bq\\.z$", {"q.z"}},
           Case{u"\\x41q", {}},
           Case{u"(?i)kiss", {}},
           Case{u"(?i)a(?-i)Kb", {"Kb"}},
           Case{u"(?=z)q(?!x)", {"q"}},
           Case{u"\U0001F600*q", {"q"}},
       }) {
    EXPECT_EQ(literalsOf(c.pattern), c.literals) << testing::PrintToString(c.pattern);
  }
}

// No character outside ASCII folds to a text with one of the letters that count as ASCII alone.
TEST(RequiredLiterals, AnchorsHaveNoOtherForms) {
  for (UChar32 c = 0x80; c <= 0x10FFFF; ++c) {
    char16_t source[2];
    int32_t length = 0;
    U16_APPEND_UNSAFE(source, length, c);
    char16_t folded[16];
    UErrorCode error = U_ZERO_ERROR;
    const int32_t count = u_strFoldCase(folded, 16, source, length, U_FOLD_CASE_DEFAULT, &error);
    for (int32_t i = 0; i < count; ++i) {
      if (folded[i] < 0x80) {
        EXPECT_FALSE(vq::host::matchesAsciiAlone(static_cast<char>(folded[i]))) << std::hex << c;
      }
    }
  }
}

// The engine with its literals and ICU alone agree on random patterns over random texts.
TEST_F(Regex, LiteralsNeverHideAMatch) {
  const std::vector<std::u32string> pieces = {
      U"a",   U"b",    U"s",   U"k",     U"ss",      U"<",  U" ",    U"ab",    U"(?i)",       U"(?-i)", U"a?",
      U"b*",  U"s+",   U".",   U"\\b",   U"^",       U"$",  U"[ab]", U"[^k]+", U"(a|b)",      U"|",     U"ß",
      U"\\.", U"k{2}", U"\\w", U"(?=a)", U"(?:ab)?", U"st", U"fi",   U"x{0}",  U"\U0001F600", U"(s)"};
  const std::vector<std::u32string> fragments = {
      U"a",  U"b", U"s",      U"k",      U"K",  U"S", U"\u212A",     U"\u017F", U"ß",  U"<",  U" ",     U"ab",
      U"AB", U".", U"\uFB06", U"\uFB01", U"kk", U"x", U"\U0001F600", U"st",     U"ST", U"Fi", U"\u1E9E"};
  std::mt19937 random(7);
  int matching = 0;
  int spared = 0;
  for (int round = 0; round < 20'000; ++round) {
    std::u32string pattern;
    std::u32string text;
    for (size_t i = 0, n = 1 + random() % 5; i < n; ++i) pattern += pieces[random() % pieces.size()];
    for (size_t i = 0, n = random() % 30; i < n; ++i) text += fragments[random() % fragments.size()];

    std::u16string pattern16;
    std::u16string text16;
    for (const char32_t c : pattern) {
      char16_t units[2];
      int length = 0;
      U16_APPEND_UNSAFE(units, length, static_cast<UChar32>(c));
      pattern16.append(units, static_cast<size_t>(length));
    }
    for (const char32_t c : text) {
      char16_t units[2];
      int length = 0;
      U16_APPEND_UNSAFE(units, length, static_cast<UChar32>(c));
      text16.append(units, static_cast<size_t>(length));
    }
    UErrorCode error = U_ZERO_ERROR;
    URegularExpression* plain =
        uregex_open(pattern16.data(), static_cast<int32_t>(pattern16.size()), 0, nullptr, &error);
    const auto ours = matches(std::u32string_view(pattern), std::u32string_view(text));
    if (U_FAILURE(error)) {
      EXPECT_EQ(ours.first, VQHOST_STATUS_PATTERN);
      continue;
    }
    uregex_setText(plain, text16.data(), static_cast<int32_t>(text16.size()), &error);
    size_t count = 0;
    while (uregex_findNext(plain, &error)) ++count;
    uregex_close(plain);
    ASSERT_EQ(ours.second.size(), count) << testing::PrintToString(pattern) << testing::PrintToString(text);
    matching += count != 0;
    spared += count == 0 && !vq::host::requiredLiterals(pattern16).empty();
  }
  // The draw must reach both sides, or it proves nothing.
  EXPECT_GT(matching, 2000);
  EXPECT_GT(spared, 2000);
}

// The vector forms against the plain one, the literal at every place of texts of every short length.
TEST(RequiredLiterals, ScansAgreeInEveryForm) {
  const RequiredLiteral literal = vq::host::requiredLiterals(u"(?i)<b>").at(0);
  const auto check = [&](auto sample) {
    using Element = decltype(sample);
    for (size_t size = 0; size < 140; ++size) {
      for (size_t at = 0; at + 3 <= size + 3; ++at) {
        std::vector<Element> text(size, 'x');
        if (at + 3 <= size) {
          text[at] = '<';
          text[at + 1] = at % 2 != 0 ? 'B' : 'b';
          text[at + 2] = '>';
        }
        const test::GuardedBuffer<Element> guarded((std::span<const Element>(text)));
        const std::span<const Element> subject(guarded.data(), size);
        for (const vq::cpu::Level level : {vq::cpu::Level::portable, vq::cpu::detect()}) {
          vq::cpu::level = level;
          const vq::host::ScanAnswer answer = vq::host::scanFor(literal, subject);
          ASSERT_EQ(answer.mayMatch, at + 3 <= size) << size << ' ' << at;
          if (!answer.mayMatch) {
            ASSERT_TRUE(answer.isPlain);
          }
        }
        if (at + 3 > size && at < size) {
          text[at] = static_cast<Element>(sizeof(Element) == 1 ? 0x80 : 0xDFFF);
          ASSERT_FALSE(vq::host::scanFor(literal, std::span<const Element>(text)).isPlain);
        }
      }
    }
  };
  check(uint8_t{});
  check(VQChar{});
  vq::cpu::level = vq::cpu::detect();
}

}  // namespace

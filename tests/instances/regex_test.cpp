// Regular expressions: positions in each pairing of kinds, the states of the object, and what a failure
// leaves.
#include <vector>

#include "instances/string_instances.hpp"
#include "support/fault_injector.hpp"

namespace {

using test::Held;

class Regex : public test::HostTest {
 protected:
  Held ofKind(bool isWide, std::u32string_view text) { return test::ofKind(isWide, service(), pool(), text); }
  vq::Reference<VQRegex> compile(VQInstance* pattern) {
    VQRegex* regex = nullptr;
    EXPECT_EQ(vqStringInstanceCreateRegex(pattern, 4711, &regex), 0u);
    return vq::Reference<VQRegex>(regex);
  }
};

using Matches = std::vector<std::pair<int64_t, int64_t>>;

TEST_F(Regex, PositionsCountElementsOfThePattern) {
  const struct {
    std::u32string_view pattern, subject;
    Matches wide, u8;
  } cases[] = {
      {U"b", U"abcb", {{1, 1}, {3, 1}}, {{1, 1}, {3, 1}}},
      {U"ü+", U"aüüb ü", {{1, 2}, {5, 1}}, {{1, 4}, {7, 2}}},
      {U"b.", U"😀b😀😀bc", {{1, 2}, {4, 2}}, {{4, 5}, {13, 2}}},
      {U"\U0010FFFF", U"x\U0010FFFF", {{1, 1}}, {{1, 4}}},
      {U"x*", U"", {{0, 0}}, {{0, 0}}},
      {U"a b", U"ab a b", {{3, 3}}, {{3, 3}}},
      {U"q", U"abc", {}, {}},
      {U"(?i)É", U"aé", {{1, 1}}, {{1, 2}}},
  };
  for (const auto& row : cases) {
    for (const bool patternIsWide : {true, false}) {
      for (const bool subjectIsWide : {true, false}) {
        SCOPED_TRACE(testing::Message() << patternIsWide << subjectIsWide << &row - cases);
        const Held subject = ofKind(subjectIsWide, row.subject);
        vq::Reference<VQRegex> regex;
        {
          // The object outlives its pattern.
          const Held pattern = ofKind(patternIsWide, row.pattern);
          regex = compile(pattern.get());
        }
        Matches found;
        VQRegexMatch match = {};
        // Only the first search looks at its subject.
        VQInstance* given = subject.get();
        for (size_t i = 0; i < 10; ++i, given = nullptr) {
          ASSERT_EQ(vqStringInstanceFindNext(regex.get(), given, &match), 0u);
          if (match.start == -1) break;
          found.emplace_back(match.start, match.length);
        }
        EXPECT_EQ(match.length, 0);
        EXPECT_EQ(found, patternIsWide ? row.wide : row.u8);
        EXPECT_EQ(regex->subjectCopy != nullptr, patternIsWide != subjectIsWide);
        EXPECT_EQ(vqStringInstanceFindNext(regex.get(), nullptr, &match), 0u) << "searched to its end";
        EXPECT_EQ(match.start, -1);
      }
    }
  }
}

TEST_F(Regex, MatchAsksForTheFirstElementContainsForAny) {
  const struct {
    std::u32string_view pattern, subject;
    uint8_t matches, contains;
  } cases[] = {
      {U"a", U"ab", 1, 1}, {U"b", U"ab", 0, 1}, {U"c", U"ab", 0, 0},
      {U"", U"", 1, 1},    {U"ä", U"ä", 1, 1},  {U"😀", U"ä😀", 0, 1},
  };
  for (const auto& row : cases) {
    std::string bytes;
    {
      const Held pattern = ofKind(false, row.pattern);
      const auto* record = reinterpret_cast<VQU8String*>(pattern.get());
      if (record->length != 0) bytes.assign(record->text, record->length);
    }
    for (const bool subjectIsWide : {true, false}) {
      SCOPED_TRACE(testing::Message() << subjectIsWide << bytes);
      const Held subject = ofKind(subjectIsWide, row.subject);
      uint8_t result = 7;
      for (const bool patternIsWide : {true, false}) {
        const Held pattern = ofKind(patternIsWide, row.pattern);
        EXPECT_EQ(vqStringInstanceMatch(subject.get(), pattern.get(), &result), 0u);
        EXPECT_EQ(result, row.matches);
        EXPECT_EQ(vqStringInstanceContains(subject.get(), pattern.get(), &result), 0u);
        EXPECT_EQ(result, row.contains);
      }
      const std::u32string wide(row.pattern);
      EXPECT_EQ(vqStringInstanceMatchVQText(subject.get(), wide.c_str(), &result), 0u);
      EXPECT_EQ(result, row.matches);
      EXPECT_EQ(vqStringInstanceContainsVQText(subject.get(), wide.c_str(), &result), 0u);
      EXPECT_EQ(result, row.contains);
      EXPECT_EQ(vqStringInstanceMatchU8(subject.get(), bytes.c_str(), &result), 0u);
      EXPECT_EQ(result, row.matches);
      EXPECT_EQ(vqStringInstanceContainsU8(subject.get(), bytes.c_str(), &result), 0u);
      EXPECT_EQ(result, row.contains);
    }
  }
}

TEST_F(Regex, ObjectIsAnInstanceOfItsOwnType) {
  const Held pattern = ofKind(true, U"a");
  const vq::Reference<VQRegex> regex = compile(pattern.get());
  const VQInstanceExtension* extension = service()->instanceExtensionRecord;
  EXPECT_EQ(regex->header.instanceIsKindOf(&regex->header, "vqStringRegex"), 1);
  EXPECT_EQ(regex->header.refCount, 1u);
  EXPECT_EQ(regex->header.instanceValidate, extension->instanceDefaultValidate);
  EXPECT_EQ(regex->header.instanceClone, extension->instanceDefaultClone);
  EXPECT_EQ(regex->callerValue, 4711u);
  EXPECT_EQ(regex->encoding, ENC_WIDE);
  EXPECT_EQ(regex->pool, pool());
  EXPECT_EQ(regex->started, 0);
}

TEST_F(Regex, OtherKindsAreRefusedAsPatternAndAsSubject) {
  const Held narrow = test::narrow(service(), pool(), "a");
  const Held string = ofKind(true, U"a");
  auto* const untouched = reinterpret_cast<VQRegex*>(this);
  VQRegex* out = untouched;
  EXPECT_EQ(vqStringInstanceCreateRegex(narrow.get(), 0, &out), VQSTATUS_BAD_ARGUMENT);
  EXPECT_EQ(out, untouched);

  // A refused subject uses up the first search, and the object lives on.
  const vq::Reference<VQRegex> regex = compile(string.get());
  VQRegexMatch match = {5, 5};
  EXPECT_EQ(vqStringInstanceFindNext(regex.get(), narrow.get(), &match), VQSTATUS_REGEX_KIND);
  EXPECT_EQ(match.start, 5);
  EXPECT_NE(regex->engine, nullptr);
  EXPECT_EQ(regex->started, 1);

  uint8_t result = 7;
  EXPECT_EQ(vqStringInstanceMatch(narrow.get(), string.get(), &result), VQSTATUS_REGEX_KIND);
  EXPECT_EQ(vqStringInstanceContains(string.get(), narrow.get(), &result), VQSTATUS_BAD_ARGUMENT);
  EXPECT_EQ(result, 7);
}

TEST_F(Regex, BrokenPatternOrSubjectLeavesTheAnswerAlone) {
  const Held string = ofKind(true, U"a");
  const Held broken = test::u8(service(), pool(), "a\xFF");
  uint8_t result = 7;
  EXPECT_EQ(vqStringInstanceMatchVQText(string.get(), U"a(", &result), VQHOST_STATUS_PATTERN);
  EXPECT_EQ(vqStringInstanceContainsU8(string.get(), "a(", &result), VQHOST_STATUS_PATTERN);
  EXPECT_EQ(vqStringInstanceContains(broken.get(), string.get(), &result), VQSTATUS_BAD_SEQUENCE);
  EXPECT_EQ(result, 7);

  const vq::Reference<VQRegex> regex = compile(string.get());
  VQRegexMatch match = {5, 5};
  EXPECT_EQ(vqStringInstanceFindNext(regex.get(), broken.get(), &match), VQSTATUS_BAD_SEQUENCE);
  EXPECT_EQ(regex->engine, nullptr);
  EXPECT_EQ(vqStringInstanceFindNext(regex.get(), string.get(), &match), VQSTATUS_BAD_ARGUMENT);
  EXPECT_EQ(match.start, 5);
}

class RegexFaults : public test::FaultTest {
 protected:
  static VQStatus expected(const test::Fault& fault) {
    if (fault.call == test::poolAlloc) return VQSTATUS_NO_MEMORY;
    return fault.call == test::createTranscoder ? VQSTATUS_NO_CONVERTER : test::injectedStatus;
  }
};

TEST_F(RegexFaults, OneShotQuestionsPassEveryFailureOn) {
  for (const bool patternIsWide : {true, false}) {
    for (const bool subjectIsWide : {true, false}) {
      const Held subject = test::ofKind(subjectIsWide, service(), faultyPool(), U"ab");
      const Held pattern = test::ofKind(patternIsWide, service(), faultyPool(), U"a");
      uint8_t result = 7;
      const VQStatus last =
          forEveryFault([&] { return vqStringInstanceMatch(subject.get(), pattern.get(), &result); },
                        [&](VQStatus status, const test::Fault& fault) {
                          EXPECT_EQ(status, expected(fault));
                          EXPECT_EQ(result, 7);
                          const bool isLoad = fault.call == test::lockAcquire || fault.call == test::loadIcu;
                          EXPECT_EQ(service()->icu == nullptr, isLoad);
                        });
      EXPECT_EQ(last, 0u);
      EXPECT_EQ(result, 1);
    }
  }
}

TEST_F(RegexFaults, FailedSearchEndsTheEngine) {
  const Held subject = test::ofKind(false, service(), faultyPool(), U"aa");
  const Held pattern = test::ofKind(true, service(), faultyPool(), U"a");
  struct Run {
    VQStatus created, first, second, third;
    bool isDead;
  };
  const Run last = forEveryFault(
      [&] {
        Run run = {};
        VQRegex* regex = reinterpret_cast<VQRegex*>(this);
        VQRegexMatch match;
        run.created = vqStringInstanceCreateRegex(pattern.get(), 0, &regex);
        if (run.created != 0) {
          EXPECT_EQ(regex == nullptr, run.created == VQSTATUS_NO_MEMORY);
          return run;
        }
        const vq::Reference<VQRegex> owned(regex);
        run.first = vqStringInstanceFindNext(regex, subject.get(), &match);
        run.second = vqStringInstanceFindNext(regex, subject.get(), &match);
        run.third = vqStringInstanceFindNext(regex, subject.get(), &match);
        run.isDead = regex->engine == nullptr;
        return run;
      },
      [&](const Run& run, const test::Fault& fault) {
        if (run.created != 0) return;
        EXPECT_TRUE(run.isDead);
        const VQStatus status[] = {run.first, run.second, run.third};
        size_t failed = 0;
        while (failed < 3 && status[failed] == 0) ++failed;
        ASSERT_LT(failed, 3u);
        EXPECT_EQ(status[failed], expected(fault));
        for (size_t i = failed + 1; i < 3; ++i) EXPECT_EQ(status[i], VQSTATUS_BAD_ARGUMENT);
      });
  EXPECT_EQ(last.first | last.second | last.third, 0u);
}

}  // namespace

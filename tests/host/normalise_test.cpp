// Normalisation and comparison of normal forms through the ICU access object.
#include <string>

#include "support/guarded_buffer.hpp"
#include "support/host_fixture.hpp"

namespace {

class Normalise : public test::KernelTest {
 protected:
  Normalise() { EXPECT_EQ(nls()->nlsLoadICU(nls(), &icu_, 0), 0u); }

  std::pair<VQStatus, std::string> normalised(std::string_view text, uint32_t mode) {
    uint64_t length = 0;
    const auto call = [&](char* target, uint64_t capacity) {
      return icu_->normTable->icuNormalize(icu_, text.data(), text.size(), mode, 0, target, capacity,
                                           &length);
    };
    const VQStatus measured = call(nullptr, 0);
    if (measured != VQSTATUS_RETRY_LARGER) return {measured, ""};
    const test::GuardedBuffer<char> tooSmall(length - 1);
    EXPECT_EQ(call(tooSmall.data(), tooSmall.size()), VQSTATUS_RETRY_LARGER);
    const test::GuardedBuffer<char> target(length);
    const VQStatus status = call(target.data(), target.size());
    return {status, std::string(target.data(), length)};
  }

  int compared(std::string_view first, std::string_view second, uint32_t options = 0) {
    int32_t result = 99;
    EXPECT_EQ(icu_->normTable->icuNormCompare(icu_, first.data(), first.size(), second.data(), second.size(),
                                              options, &result),
              0u);
    return result < 0 ? -1 : result > 0 ? 1 : 0;
  }

  VQIcu* icu_ = nullptr;
};

TEST_F(Normalise, FourForms) {
  using Result = std::pair<VQStatus, std::string>;
  // e with acute accent, ligature fi, a supplementary character, the long form of a Hangul syllable.
  const std::string text = "e\u0301\uFB01\U0001D15E\u1112\u1161\u11AB";
  EXPECT_EQ(normalised(text, VQHOST_NFC), (Result{0, "\u00E9\uFB01\U0001D157\U0001D165\uD55C"}));
  EXPECT_EQ(normalised("\u00E9\uD55C", VQHOST_NFD), (Result{0, "e\u0301\u1112\u1161\u11AB"}));
  EXPECT_EQ(normalised(text, VQHOST_NFKC), (Result{0, "\u00E9fi\U0001D157\U0001D165\uD55C"}));
  EXPECT_EQ(normalised("\uFB01\u00E9", VQHOST_NFKD), (Result{0, "fie\u0301"}));
  EXPECT_EQ(normalised("", VQHOST_NFC), (Result{0, ""}));
  // One character that becomes eighteen: more than any first guess.
  std::string many;
  for (int i = 0; i < 100; ++i) many += "\uFDFA";
  EXPECT_EQ(normalised(many, VQHOST_NFKC).second.size(), 100u * 33);
}

TEST_F(Normalise, RefusesWhatItCannotRead) {
  EXPECT_EQ(normalised("a\xFF", VQHOST_NFC).first, VQSTATUS_BAD_SEQUENCE);
  EXPECT_EQ(normalised("a\xE2\x82", VQHOST_NFD).first, VQSTATUS_SHORT_SEQUENCE);
  EXPECT_EQ(normalised("a", 4).first, VQSTATUS_BAD_ARGUMENT);
  int32_t result = 0;
  EXPECT_EQ(icu_->normTable->icuNormCompare(icu_, "a", 1, "\x80", 1, 0, &result), VQSTATUS_BAD_SEQUENCE);
}

TEST_F(Normalise, ComparesCanonicalForms) {
  EXPECT_EQ(compared("e\u0301", "\u00E9"), 0);
  EXPECT_EQ(compared("a", "b"), -1);
  EXPECT_EQ(compared("\uFF5E", "\U0001F600"), -1);
  EXPECT_EQ(compared("E\u0301", "\u00E9"), -1);
  EXPECT_EQ(compared("E\u0301", "\u00E9", VQHOST_COMPARE_IGNORE_CASE), 0);
  EXPECT_EQ(compared("", ""), 0);
}

}  // namespace

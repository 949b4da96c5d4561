// Replacement, beside a model that takes the steps one by one as they are defined.
#include <random>

#include "kinds_under_test.hpp"
#include "support/guarded_buffer.hpp"

namespace {

using namespace test;

struct Model {
  std::u32string text;
  uint64_t capacity;
  bool isSeparate;
  int64_t offset = 0;

  // `roomLeft` growths succeed; the one behind them fails.
  bool insert(size_t position, const std::u32string& added, int* roomLeft) {
    if (text.size() + added.size() >= capacity) {
      if ((*roomLeft)-- == 0) return false;
      capacity = vq::capacityFor(text.size() + added.size());
      isSeparate = true;
    }
    text.insert(position, added);
    return true;
  }

  bool step(const std::u32string& needle, const std::u32string& with, int* roomLeft) {
    const size_t from = static_cast<size_t>(offset);
    const size_t match = from < text.size() ? text.find(needle, from) : std::u32string::npos;
    offset = static_cast<int64_t>(std::min(match, text.size()));
    if (match == std::u32string::npos) return true;
    const size_t kept = std::min(with.size(), needle.size());
    if (with.size() >= needle.size()) {
      text.replace(match, kept, with, 0, kept);
      return with.size() == kept || insert(match + kept, with.substr(kept), roomLeft);
    }
    text.erase(match, needle.size());
    return with.empty() || insert(match, with, roomLeft);
  }

  bool all(const std::u32string& needle, const std::u32string& with, int* roomLeft) {
    for (offset = 0; offset < static_cast<int64_t>(text.size());
         offset += static_cast<int64_t>(with.size())) {
      if (!step(needle, with, roomLeft)) return false;
    }
    return true;
  }
};

class Replace : public FaultTest {
 protected:
  static VQStatus replace(VQString* string, const std::u32string& needle, const std::u32string& with,
                          uint8_t all, int64_t* offset) {
    return vqStringReplaceSubstringVQText(string, needle.data(), static_cast<int64_t>(needle.size()),
                                          with.data(), static_cast<int64_t>(with.size()), all, offset);
  }

  VQString* make(const std::u32string& text, int form) {
    const auto length = static_cast<int64_t>(text.size());
    if (form == 0) return vqStringCreate(service(), faultyPool(), text.data(), length, 1);
    if (form == 1) return vqStringCreateSized(service(), faultyPool(), text.data(), length, length + 1100);
    if (form == 2) return vqStringCreateSized(service(), faultyPool(), text.data(), length, length + 5);
    return vqStringCreate(service(), faultyPool(), text.data(), length, 0);
  }

  void expectModel(const VQString* string, const Model& model) {
    EXPECT_EQ(textOf<Wide>(string), model.text);
    EXPECT_EQ(static_cast<uint64_t>(string->capacity), model.capacity);
    EXPECT_EQ(string->ownsBuffer, model.isSeparate ? 1 : 0);
    if (static_cast<size_t>(string->capacity) > model.text.size()) {
      EXPECT_EQ(string->text[model.text.size()], 0u);
    }
  }
};

TEST_F(Replace, RandomTextsAgreeWithSingleSteps) {
  std::mt19937 random(20160621);
  auto text = [&](size_t limit) {
    std::u32string made(random() % (limit + 1), 0);
    for (auto& c : made) c = U"ab"[random() % 2];
    return made;
  };
  for (int round = 0; round < 3000 && !HasFailure(); ++round) {
    const size_t longest[] = {5, 40, 300, 1500};
    std::u32string old = text(longest[round % 4]);
    std::u32string needle = text(3), with = text(round % 3 == 0 ? 8 : 3);
    if (needle.empty()) needle = U"a";
    const uint8_t all = round % 5 != 0;
    SCOPED_TRACE(testing::Message() << "round " << round);
    std::u32string lent = old;
    VQString* string = make(lent, round / 4 % 4);
    Model model{old, static_cast<uint64_t>(string->capacity), string->ownsBuffer == 1};
    int64_t offset = all ? 77 : static_cast<int64_t>(random() % (old.size() + 2));
    model.offset = offset;
    int roomLeft = INT_MAX;
    if (!old.empty()) {
      ASSERT_TRUE(all ? model.all(needle, with, &roomLeft) : model.step(needle, with, &roomLeft));
    }
    ASSERT_EQ(replace(string, needle, with, all, &offset), 0u);
    EXPECT_EQ(offset, model.offset);
    expectModel(string, model);
    vqStringDestroy(string);
  }
}

// No block at all: the steps that fit are made, and the one that does not is left half done.
TEST_F(Replace, WithoutMemoryTheStepsBeforeStay) {
  const struct {
    const char32_t *text, *needle, *with;
    int form;
  } cases[] = {
      {U"-a-a-a-a-a-a-a-", U"a", U"1234567", 0}, {U"-a-a-", U"a", U"123", 3},
      {U"-aaa-aaa-", U"aaa", U"1", 3},           {U"aaa", U"aaa", U"12", 3},
      {U"-a-a-a-a-a-a-a-", U"a", U"1234", 2},
  };
  for (const auto& c : cases) {
    for (const uint8_t all : {0, 1}) {
      SCOPED_TRACE(testing::Message() << testing::PrintToString(std::u32string(c.text)) << int(all));
      std::u32string lent = c.text;
      VQString* string = make(lent, c.form);
      Model model{c.text, static_cast<uint64_t>(string->capacity), false};
      int roomLeft = 0;
      const bool isDone =
          all ? model.all(c.needle, c.with, &roomLeft) : model.step(c.needle, c.with, &roomLeft);
      auto* pool = faultyPool();
      const auto alloc = pool->poolAlloc;
      pool->poolAlloc = [](VQPool*, uint64_t, uint32_t) -> void* { return nullptr; };
      int64_t offset = 0;
      EXPECT_EQ(replace(string, c.needle, c.with, all, &offset), isDone ? 0 : VQSTATUS_NO_MEMORY);
      pool->poolAlloc = alloc;
      EXPECT_EQ(offset, isDone || !all ? model.offset : 0);
      expectModel(string, model);
      vqStringDestroy(string);
    }
  }
}

// One block that cannot be had is made up for by the single steps.
TEST_F(Replace, EveryFaultInTurn) {
  std::u32string lent(300, U'a');
  const struct { int form, callsToMake; } cases[] = {{0, 1}, {1, 2}, {3, 1}};
  for (const auto& c : cases) {
    forEveryFault(
        [&] {
          VQString* string = make(lent, c.form);
          if (string == nullptr) return VQSTATUS_NO_MEMORY;
          const VQStatus status = replace(string, U"a", U"12345", 1, nullptr);
          EXPECT_EQ(string->length, 1500);
          EXPECT_EQ(string->text[1495], U'1');
          vqStringDestroy(string);
          return status;
        },
        [&](VQStatus status, const Fault& fault) { EXPECT_EQ(status != 0, fault.number <= c.callsToMake); });
  }
}

TEST_F(Replace, AnswersBeforeAnythingIsDone) {
  VQString* string = make(U"aaaa", 0);
  VQString *empty = make(U"", 0), *longer = make(U"aaaaa", 0), *aa = make(U"aa", 0);
  int64_t offset = 1;
  EXPECT_EQ(vqStringReplaceSubstring(nullptr, aa, &aa->header, 1, &offset), VQSTATUS_BAD_ARGUMENT);
  EXPECT_EQ(vqStringReplaceSubstringVQText(nullptr, U"a", 1, U"b", 1, 1, &offset), VQSTATUS_BAD_ARGUMENT);
  EXPECT_EQ(vqStringReplaceSubstring(empty, aa, nullptr, 1, &offset), 0u);
  EXPECT_EQ(vqStringReplaceSubstring(string, empty, &aa->header, 1, &offset), 0u);
  EXPECT_EQ(vqStringReplaceSubstringVQText(string, nullptr, 5, U"b", 1, 1, &offset), 0u);
  EXPECT_EQ(vqStringReplaceSubstringVQText(string, U"", -1, U"b", 1, 1, &offset), 0u);
  EXPECT_EQ(offset, 1);
  EXPECT_EQ(textOf<Wide>(string), U"aaaa");
  EXPECT_EQ(vqStringReplaceSubstring(string, longer, &aa->header, 0, &offset), 0u);
  EXPECT_EQ(offset, 4);
  EXPECT_EQ(replaceSubstring(string, aa, nullptr, &(offset = 1)), 0u);
  EXPECT_EQ(offset, 1);
  EXPECT_EQ(textOf<Wide>(string), U"aa");
  // A null replacement of any length deletes.
  EXPECT_EQ(vqStringReplaceSubstringVQText(string, U"a", -1, nullptr, 9, 1, nullptr), 0u);
  EXPECT_EQ(textOf<Wide>(string), U"");
  for (auto* made : {string, empty, longer, aa}) vqStringDestroy(made);
}

// The replacement is held while it is used, and needle and replacement may be parts of the text itself.
TEST_F(Replace, ReferencesAndOwnText) {
  VQString* with = make(U"xyz", 0);
  VQString* string = make(U"abcab", 0);
  EXPECT_EQ(vqStringReplaceSubstring(string, string, &with->header, 1, nullptr), 0u);
  EXPECT_EQ(textOf<Wide>(string), U"xyz");
  EXPECT_EQ(with->header.refCount, 1u);
  ASSERT_EQ(vqStringCopyText(string, U"abcabc", 6, ENC_WIDE), 0u);
  EXPECT_EQ(vqStringReplaceSubstringVQText(string, string->text + 3, 1, string->text, 6, 1, nullptr), 0u);
  EXPECT_EQ(textOf<Wide>(string), U"abcabcbcabcabcbc");
  EXPECT_EQ(vqStringReplaceSubstringVQText(string, string->text + 2, 2, string->text + 1, 1, 1, nullptr), 0u);
  EXPECT_EQ(textOf<Wide>(string), U"abbbcbbbbbcbc");
  vqStringDestroy(with);
  vqStringDestroy(string);
}

TEST_F(Replace, Utf8Replacements) {
  VQString* needle = make(U"-", 0);
  VQU8String *good = U8::create(service(), pool(), "\u00e9\u20ac", -1, 1),
             *broken = U8::create(service(), pool(), "a\xff", 2, 1);
  int64_t offset = 5;
  const VQStatus last = forEveryFault(
      [&] {
        VQString* string = make(U"a-b-", 0);
        if (string == nullptr) return VQSTATUS_NO_MEMORY;
        EXPECT_EQ(vqStringReplaceSubstring(string, needle, &broken->header, 1, &offset) == 0, false);
        EXPECT_EQ(offset, 5);
        EXPECT_EQ(textOf<Wide>(string), U"a-b-");
        const VQStatus status = vqStringReplaceSubstring(string, needle, &good->header, 1, nullptr);
        EXPECT_EQ(textOf<Wide>(string), status == 0 ? U"a\u00e9\u20acb\u00e9\u20ac" : U"a-b-");
        vqStringDestroy(string);
        return status;
      },
      [](VQStatus, const Fault&) {});
  EXPECT_EQ(last, 0u);
  vqStringDestroy(needle);
  vqU8StringDestroy(good);
  vqU8StringDestroy(broken);
}

// A host may convert wide text into wide text; then every insertion passes through it, and can fail there.
TEST_F(Replace, HostThatConvertsWideText) {
  VQNls* nls = service()->nls;
  const VQNls real = *nls;
  static VQTranscoder copier{[](VQTranscoder*) {},
                             [](VQTranscoder*, const void* source, uint64_t sourceBytes, void* target,
                                uint64_t, uint64_t* converted, uint64_t) {
                               std::memcpy(target, source, sourceBytes);
                               *converted = sourceBytes;
                               return VQStatus{0};
                             }};
  nls->nlsCanConvert = [](VQNls*, uint32_t, uint32_t, uint64_t) -> uint8_t { return 1; };
  nls->nlsMeasureConversion = [](VQNls*, uint32_t, const void*, uint64_t byteCount, uint32_t,
                                 uint64_t* size) {
    *size = byteCount;
    return VQStatus{0};
  };
  nls->nlsCreateDecoder = [](VQNls*, uint32_t, uint64_t, uint64_t) { return &copier; };
  VQString* string = make(U"-aa-aa-", 0);
  EXPECT_EQ(replace(string, U"aa", U"1234", 1, nullptr), 0u);
  EXPECT_EQ(textOf<Wide>(string), U"-1234-1234-");
  nls->nlsCreateDecoder = [](VQNls*, uint32_t, uint64_t, uint64_t) -> VQTranscoder* { return nullptr; };
  EXPECT_EQ(replace(string, U"-", U"+", 1, nullptr), 0u);
  EXPECT_EQ(replace(string, U"1234", U"ab", 1, nullptr), VQSTATUS_NO_CONVERTER);
  EXPECT_EQ(textOf<Wide>(string), U"++1234+");
  EXPECT_EQ(replace(string, U"++", U"<<>>", 0, nullptr), VQSTATUS_NO_CONVERTER);
  EXPECT_EQ(textOf<Wide>(string), U"<<1234+");
  *nls = real;
  vqStringDestroy(string);
}

// A borrowed text is edited within its length: in place when it does not grow.
TEST_F(Replace, BorrowedTexts) {
  const std::u32string old = U"-aa-aa";
  const struct {
    std::u32string with, result;
    bool staysBorrowed;
  } cases[] = {
      {U"xy", U"-xy-xy", true}, {U"", U"--", true}, {U"x", U"-x-x", false}, {U"xyz", U"-xyz-xyz", false}};
  for (const auto& c : cases) {
    const GuardedBuffer<char32_t> lent{std::span<const char32_t>(old)};
    VQString string;
    vqStringInitStatic(service(), &string, pool(), lent.data(), 6);
    EXPECT_EQ(replace(&string, U"aa", c.with, 1, nullptr), 0u);
    EXPECT_EQ(textOf<Wide>(&string), c.result);
    EXPECT_EQ(string.text == lent.data(), c.staysBorrowed);
    vqStringDestroy(&string);
  }
}

}  // namespace

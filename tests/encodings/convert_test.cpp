// Conversion between the kinds of string: refills in every form of storage, plain blocks, and what each
// failure leaves.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "strings/capacity.hpp"
#include "support/fault_injector.hpp"
#include "support/guarded_buffer.hpp"
#include "vqstring.h"

namespace {

constexpr uint32_t unknownEncoding = 4'000'000;

uint32_t encodingNamed(const char* name) {
  const VQHostEncoding* encoding = vqhostFindEncoding(name);
  EXPECT_NE(encoding, nullptr) << name;
  return encoding == nullptr ? 0 : encoding->number;
}

std::u32string textOf(const VQString* string) {
  return {string->text, static_cast<size_t>(string->length)};
}
std::string textOf(const VQNarrowString* string) {
  return {string->text, static_cast<size_t>(string->length)};
}
std::string textOf(const VQU8String* string) {
  return {string->text, string->length};
}

class Conversion : public test::HostTest {
 protected:
  VQStatus encode(VQString** target, const std::string& text, uint32_t encoding) {
    const test::GuardedBuffer<char> guarded{std::span<const char>(text)};
    return vqStringEncode(service(), target, pool(), guarded.data(), static_cast<int64_t>(text.size()),
                          encoding);
  }
  VQString wrapped(std::u32string_view text) {
    VQString string;
    vqStringInitStatic(service(), &string, pool(), text.data(), static_cast<int64_t>(text.size()));
    return string;
  }
};

TEST_F(Conversion, ThroughEveryKindAndBack) {
  const uint32_t latin1 = encodingNamed("ISO-8859-1"), utf16 = encodingNamed("UTF-16LE");
  const struct {
    std::u32string wide;
    uint32_t encoding;
    std::string bytes;
  } cases[] = {
      {U"", ENC_UTF8, ""},
      {U"plain", ENC_UTF8, "plain"},
      {U"\u00E9\u20AC\U0001F600", ENC_UTF8, "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {std::u32string(5000, U'\u20AC'), ENC_UTF8,
       [] {
         std::string bytes;
         for (int i = 0; i < 5000; ++i) bytes += "\xE2\x82\xAC";
         return bytes;
       }()},
      {std::u32string(3, U'\0'), ENC_UTF8, std::string(3, '\0')},
      {U"na\u00EFve", latin1, "na\xEFve"},
      {U"a\U0001F600", utf16, std::string("a\0\x3D\xD8\x00\xDE", 6)},
  };
  for (const auto& [wide, encoding, bytes] : cases) {
    VQString* string = nullptr;
    ASSERT_EQ(encode(&string, bytes, encoding), 0u);
    EXPECT_EQ(textOf(string), wide);
    EXPECT_EQ(string->text[string->length], 0u);
    EXPECT_EQ(string->encoding, ENC_WIDE);
    EXPECT_EQ(string->capacity, static_cast<int64_t>(vq::capacityFor(wide.size())));
    EXPECT_EQ(string->ownsBuffer, 1);
    VQNarrowString* narrow = nullptr;
    ASSERT_EQ(vqStringDecode(string, &narrow, nullptr, encoding), 0u);
    EXPECT_EQ(textOf(narrow), bytes);
    EXPECT_EQ(narrow->text[narrow->length], 0);
    EXPECT_EQ(narrow->encoding, encoding);
    EXPECT_EQ(narrow->pool, string->pool);
    vqNarrowStringDestroy(narrow);
    vqStringDestroy(string);
  }
}

TEST_F(Conversion, WideTextPassesAsItStands) {
  // The host denies wide text into wide text, and every unknown number.
  const std::u32string text = U"wide";
  VQString* string = nullptr;
  ASSERT_EQ(vqStringEncode(service(), &string, nullptr, text.c_str(), -1, ENC_WIDE), 0u);
  EXPECT_EQ(textOf(string), text);
  EXPECT_EQ(string->pool, service()->pool);
  // Into its own storage, shifted: the source is read in time.
  ASSERT_EQ(vqStringEncode(service(), &string, nullptr, string->text + 1, 3, ENC_WIDE), 0u);
  EXPECT_EQ(textOf(string), U"ide");
  // Bytes that make no whole element are dropped.
  ASSERT_EQ(vqStringEncode(service(), &string, nullptr, text.data(), 11, unknownEncoding), 0u);
  EXPECT_EQ(textOf(string), U"wi");
  VQNarrowString* narrow = nullptr;
  ASSERT_EQ(vqStringDecode(string, &narrow, pool(), unknownEncoding), 0u);
  EXPECT_EQ(textOf(narrow), std::string("w\0\0\0i\0\0\0", 8));
  EXPECT_EQ(narrow->text[8], 0);
  EXPECT_EQ(narrow->encoding, unknownEncoding);
  vqNarrowStringDestroy(narrow);
  vqStringDestroy(string);
}

// The room test at its edges: storage is kept when the text and its terminator fit.
TEST_F(Conversion, RefillsInTheOwnStorageWhenThereIsRoom) {
  for (const int64_t capacity : {0, 4, 5, 6, 7, 2000}) {
    VQString* string = vqStringCreateSized(service(), pool(), U"old", capacity > 3 ? 3 : 0, capacity);
    ASSERT_EQ(string->capacity, capacity);
    const VQChar* storage = string->text;
    ASSERT_EQ(encode(&string, "fivee", ENC_UTF8), 0u);
    EXPECT_EQ(textOf(string), U"fivee");
    EXPECT_EQ(string->text == storage, capacity > 5) << capacity;
    EXPECT_EQ(string->capacity, capacity > 5 ? capacity : 12);
    VQNarrowString* narrow = nullptr;
    ASSERT_EQ(
        vqNarrowStringCreateSized(service(), &narrow, pool(), "x", 1, encodingNamed("ISO-8859-2"), capacity),
        0u);
    const char* bytes = narrow->text;
    const int64_t before = narrow->capacity;
    ASSERT_EQ(vqStringDecode(string, &narrow, nullptr, ENC_UTF8), 0u);
    EXPECT_EQ(textOf(narrow), "fivee");
    EXPECT_EQ(narrow->text == bytes, before > 5);
    EXPECT_EQ(narrow->encoding, ENC_UTF8);
    vqNarrowStringDestroy(narrow);
    vqStringDestroy(string);
  }
  // A borrowed text is left to its owner.
  const std::u32string owned = U"owned by somebody else";
  VQString borrowed = wrapped(owned);
  VQString* target = &borrowed;
  ASSERT_EQ(encode(&target, "new", ENC_UTF8), 0u);
  EXPECT_EQ(textOf(target), U"new");
  EXPECT_EQ(owned, U"owned by somebody else");
  vqStringDestroy(target);
}

TEST_F(Conversion, BrokenTextLeavesWhatWasConverted) {
  VQString* string = nullptr;
  EXPECT_EQ(encode(&string, "ab\xFF", ENC_UTF8), VQSTATUS_BAD_SEQUENCE);
  EXPECT_EQ(string, nullptr);
  for (const int64_t capacity : {2, 100}) {
    string = vqStringCreateSized(service(), pool(), U"x", 1, capacity);
    EXPECT_EQ(encode(&string, "ab\xE2\x82", ENC_UTF8), VQSTATUS_SHORT_SEQUENCE);
    EXPECT_EQ(textOf(string), U"ab");
    EXPECT_EQ(string->text[2], 0u);
    vqStringDestroy(string);
  }
  const VQChar unpairedText[] = {U'a', 0xD800};
  const VQString unpaired = wrapped({unpairedText, 2});
  VQNarrowString* narrow = nullptr;
  VQString* source = const_cast<VQString*>(&unpaired);
  EXPECT_EQ(vqStringDecode(source, &narrow, nullptr, ENC_UTF8), VQSTATUS_BAD_SEQUENCE);
  EXPECT_EQ(narrow, nullptr);
  char* bytes = reinterpret_cast<char*>(1);
  uint64_t count = 5;
  EXPECT_EQ(vqStringGetU8Bytes(&unpaired, pool(), &bytes, &count), VQSTATUS_BAD_SEQUENCE);
  EXPECT_EQ(bytes, nullptr);
  EXPECT_EQ(count, 5u);
  VQU8String* u8 = nullptr;
  EXPECT_EQ(vqStringGetU8String(&unpaired, &u8, pool()), VQSTATUS_BAD_SEQUENCE);
  EXPECT_EQ(u8, nullptr);
}

TEST_F(Conversion, GettersMakeTheOtherForm) {
  for (const size_t count : {0u, 1u, 7u, 126u, 127u, 255u, 256u, 1022u, 1023u, 1024u, 4095u, 4096u, 9000u}) {
    const std::u32string text(count, U'\u00E9');
    std::string utf8;
    for (size_t i = 0; i < count; ++i) utf8 += "\xC3\xA9";
    const test::GuardedBuffer<char32_t> guarded{std::span<const char32_t>(text)};
    VQString string;
    vqStringInitStatic(service(), &string, pool(), guarded.data(), static_cast<int64_t>(count));

    VQU8String* u8 = nullptr;
    ASSERT_EQ(vqStringGetU8String(&string, &u8, pool()), 0u);
    EXPECT_EQ(textOf(u8), utf8);
    EXPECT_EQ(u8->ownsBuffer, count == 0 ? 0 : 1);
    EXPECT_EQ(u8->capacity, count == 0 ? 0 : vq::capacityFor(2 * count - 1));
    if (count == 0) {
      EXPECT_EQ(u8->text, nullptr);
    } else {
      EXPECT_EQ(u8->text[u8->length], 0);
    }
    vqU8StringDestroy(u8);

    char* bytes = nullptr;
    uint64_t byteCount = 1;
    ASSERT_EQ(vqStringGetU8Bytes(&string, pool(), &bytes, &byteCount), 0u);
    EXPECT_EQ(std::string(bytes, byteCount), utf8);
    EXPECT_EQ(bytes[byteCount], 0);
    pool()->poolFree(pool(), bytes);

    ASSERT_EQ(vqU8StringFromVQText(service(), &u8, pool(), guarded.data(), static_cast<int64_t>(count)), 0u);
    EXPECT_EQ(textOf(u8), utf8);
    EXPECT_EQ(u8->capacity, utf8.size());
    EXPECT_EQ(u8->ownsBuffer, 1);
    EXPECT_EQ(u8->text[utf8.size()], 0);

    VQChar* wide = nullptr;
    uint64_t elementCount = 1;
    ASSERT_EQ(vqU8StringGetVQText(u8, pool(), &wide, &elementCount), 0u);
    EXPECT_EQ(std::u32string(wide, elementCount), text);
    EXPECT_EQ(wide[elementCount], 0u);
    pool()->poolFree(pool(), wide);
    vqU8StringDestroy(u8);
  }
  VQU8String* u8 = reinterpret_cast<VQU8String*>(1);
  EXPECT_EQ(vqStringGetU8String(nullptr, &u8, pool()), 0u);
  EXPECT_EQ(u8, nullptr);
  ASSERT_EQ(vqU8StringFromVQText(service(), &u8, pool(), U"to the zero", -1), 0u);
  EXPECT_EQ(textOf(u8), "to the zero");
  vqU8StringDestroy(u8);
}

// A host that denies the pair leaves the shared transcoders null.
TEST_F(Conversion, WithoutATranscoderTheGettersGiveEmptyTexts) {
  VQTranscoder* const utf8ToWide = std::exchange(service()->utf8ToWide, nullptr);
  VQTranscoder* const wideToUtf8 = std::exchange(service()->wideToUtf8, nullptr);
  const VQString string = wrapped(U"text");
  VQU8String* u8 = nullptr;
  ASSERT_EQ(vqStringGetU8String(&string, &u8, pool()), 0u);
  EXPECT_EQ(textOf(u8), "");
  vqU8StringDestroy(u8);
  ASSERT_EQ(vqU8StringFromVQText(service(), &u8, pool(), U"text", 4), 0u);
  EXPECT_EQ(textOf(u8), "");
  EXPECT_EQ(u8->text[0], 0);
  vqU8StringDestroy(u8);
  VQU8String source;
  vqU8StringInitStatic(service(), &source, pool(), "text", 4);
  VQChar* wide = nullptr;
  uint64_t count = 9;
  ASSERT_EQ(vqU8StringGetVQText(&source, pool(), &wide, &count), 0u);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(wide[0], 0u);
  pool()->poolFree(pool(), wide);
  service()->utf8ToWide = utf8ToWide;
  service()->wideToUtf8 = wideToUtf8;
}

// ---- Faults ----

class ConversionFaults : public test::FaultTest {
 protected:
  static VQStatus expected(const test::Fault& fault) {
    if (fault.call == test::poolAlloc) return VQSTATUS_NO_MEMORY;
    return fault.call == test::createTranscoder ? VQSTATUS_NO_CONVERTER : test::injectedStatus;
  }
};

TEST_F(ConversionFaults, StringsMadeForTheCallAreTakenBack) {
  VQString source;
  vqStringInitStatic(service(), &source, faultyPool(), U"some text", 9);
  const std::function<VQStatus()> operations[] = {
      [&] {
        VQString* made = nullptr;
        const VQStatus status = vqStringEncode(service(), &made, faultyPool(), "text", -1, ENC_UTF8);
        EXPECT_EQ(made == nullptr, status != 0);
        vqStringDestroy(made);
        return status;
      },
      [&] {
        VQNarrowString* made = nullptr;
        const VQStatus status = vqStringDecode(&source, &made, nullptr, ENC_UTF8);
        EXPECT_EQ(made == nullptr, status != 0);
        vqNarrowStringDestroy(made);
        return status;
      },
      [&] {
        VQU8String* made = nullptr;
        const VQStatus status = vqStringGetU8String(&source, &made, faultyPool());
        EXPECT_EQ(made == nullptr, status != 0);
        vqU8StringDestroy(made);
        return status;
      },
      [&] {
        VQU8String* made = nullptr;
        const VQStatus status = vqU8StringFromVQText(service(), &made, faultyPool(), U"text", 4);
        EXPECT_EQ(made == nullptr, status != 0);
        vqU8StringDestroy(made);
        return status;
      },
      [&] {
        VQU8String u8;
        vqU8StringInitStatic(service(), &u8, faultyPool(), "text", 4);
        VQChar* made = nullptr;
        uint64_t count = 0;
        const VQStatus status = vqU8StringGetVQText(&u8, faultyPool(), &made, &count);
        EXPECT_EQ(made == nullptr, status != 0);
        if (made != nullptr) faultyPool()->poolFree(faultyPool(), made);
        return status;
      },
  };
  for (const auto& operation : operations) {
    EXPECT_EQ(forEveryFault(operation, [&](VQStatus status,
                                           const test::Fault& fault) { EXPECT_EQ(status, expected(fault)); }),
              0u);
  }
}

// A refilled string keeps its text and encoding until its conversion itself fails.
TEST_F(ConversionFaults, RefilledStringsKeepTheirText) {
  struct Outcome {
    VQStatus status;
    std::u32string left;
    uint32_t encoding;
  };
  const uint32_t latin2 = encodingNamed("ISO-8859-2");
  VQNarrowString* narrow = nullptr;
  ASSERT_EQ(vqNarrowStringCreate(service(), &narrow, faultyPool(), "old", 3, latin2, 1), 0u);
  VQString* wide = vqStringCreate(service(), faultyPool(), U"old", 3, 1);
  // Into the own storage, and into a block.
  for (const std::u32string& text : {std::u32string(U"newer"), std::u32string(50, U'n')}) {
    const std::string utf8(text.begin(), text.end());
    VQString source;
    vqStringInitStatic(service(), &source, faultyPool(), text.data(), static_cast<int64_t>(text.size()));
    const auto check = [&](const Outcome& outcome, const test::Fault& fault) {
      EXPECT_EQ(outcome.status, expected(fault));
      EXPECT_EQ(outcome.left, fault.call == test::convert ? U"" : U"old");
    };
    Outcome last = forEveryFault(
        [&]() -> Outcome {
          VQString* copy = nullptr;
          if (const VQStatus status = vqStringClone(wide, nullptr, 0, &copy); status != 0) {
            return {status, U"old", 0};
          }
          const VQStatus status = vqStringEncode(service(), &copy, nullptr, utf8.c_str(), -1, ENC_UTF8);
          const Outcome outcome{status, textOf(copy), 0};
          vqStringDestroy(copy);
          return outcome;
        },
        check);
    EXPECT_EQ(last.left, text);
    last = forEveryFault(
        [&]() -> Outcome {
          VQNarrowString* copy = nullptr;
          if (const VQStatus status = vqNarrowStringClone(narrow, nullptr, 0, &copy); status != 0) {
            return {status, U"old", latin2};
          }
          const VQStatus status = vqStringDecode(&source, &copy, nullptr, ENC_UTF8);
          const std::string left = textOf(copy);
          const Outcome outcome{status, {left.begin(), left.end()}, copy->encoding};
          vqNarrowStringDestroy(copy);
          return outcome;
        },
        [&](const Outcome& outcome, const test::Fault& fault) {
          check(outcome, fault);
          EXPECT_EQ(outcome.encoding, latin2);
        });
    EXPECT_EQ(last.left, text);
    EXPECT_EQ(last.encoding, ENC_UTF8);
  }
  vqNarrowStringDestroy(narrow);
  vqStringDestroy(wide);
}

}  // namespace

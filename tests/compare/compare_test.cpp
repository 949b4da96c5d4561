// Comparison and search beside std::u32string and std::string, on random texts in every encoding that can
// hold them; then what is a rule of its own: empty texts, encodings that the host denies, failures.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "support/cpu_levels.hpp"
#include "support/fault_injector.hpp"
#include "support/guarded_buffer.hpp"
#include "vqstring.h"

namespace {

using test::GuardedBuffer;

// No host gives this number out.
constexpr uint32_t deniedEncoding = 0x7FFFFFF0;
// Written into every status before a call.
constexpr VQStatus untouched = 0xAAAAAAAA;

std::u32string folded(std::u32string text) {
  for (char32_t& c : text) c = c == U'A' ? U'a' : c == U'\u00C4' ? U'\u00E4' : c;
  return text;
}

std::string utf8(const std::u32string& text) {
  std::string result;
  for (char32_t c : text) {
    if (c < 0x80) {
      result += static_cast<char>(c);
    } else if (c < 0x800) {
      result += {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
    } else {
      result += {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 0x3F)),
                 static_cast<char>(0x80 | (c & 0x3F))};
    }
  }
  return result;
}

using Ask = uint8_t (*)(const VQString*, const void*, int64_t, uint32_t, VQStatus*);
using AskWide = uint8_t (*)(const VQString*, const VQChar*, int64_t);
using AskU8 = uint8_t (*)(const VQU8String*, const void*, int64_t, uint32_t, VQStatus*);

// What each question means; `anyEncoding` and `wide` are its two forms, where it has them.
const struct {
  const char* name;
  Ask anyEncoding;
  AskWide wide;
  bool (*isTrue)(const std::u32string&, const std::u32string&);
} wideQuestions[] = {
    {"equal", vqStringEqualText, nullptr, [](auto& s, auto& t) { return s == t; }},
    {"case equal", vqStringCaseEqualText, nullptr, [](auto& s, auto& t) { return folded(s) == folded(t); }},
    {"starts (not an empty string)", vqStringStartsWithText, nullptr,
     [](auto& s, auto& t) { return !s.empty() && s.starts_with(t); }},
    {"starts", nullptr, vqStringStartsWithVQText, [](auto& s, auto& t) { return s.starts_with(t); }},
    {"case starts", nullptr, vqStringCaseStartsWithVQText,
     [](auto& s, auto& t) { return folded(s).starts_with(folded(t)); }},
    {"ends", vqStringEndsWithText, vqStringEndsWithVQText, [](auto& s, auto& t) { return s.ends_with(t); }},
    {"case ends", nullptr, vqStringCaseEndsWithVQText,
     [](auto& s, auto& t) { return folded(s).ends_with(folded(t)); }},
};

const struct {
  const char* name;
  AskU8 ask;
  uint8_t (*askU8)(const VQU8String*, const char*, int64_t);
  bool (*isTrue)(const std::string&, const std::string&);
} u8Questions[] = {
    {"equal", vqU8StringEqualText, nullptr, [](auto& s, auto& t) { return s == t; }},
    {"starts", vqU8StringStartsWithText, vqU8StringStartsWithU8,
     [](auto& s, auto& t) { return s.starts_with(t); }},
    {"ends", vqU8StringEndsWithText, vqU8StringEndsWithU8, [](auto& s, auto& t) { return s.ends_with(t); }},
};

class Comparison : public test::FaultTest {
 protected:
  VQString wide(const GuardedBuffer<VQChar>& text) {
    VQString string;
    vqStringInitStatic(service(), &string, faultyPool(), text.data(), static_cast<int64_t>(text.size()));
    return string;
  }
  VQU8String u8(const GuardedBuffer<char>& text) {
    VQU8String string;
    vqU8StringInitStatic(service(), &string, faultyPool(), text.data(), static_cast<int64_t>(text.size()));
    return string;
  }

  // Calls `check(bytes, length, encoding)` with the text in every encoding from which the host converts into
  // `target` and which can hold it, in `target` itself, and with a terminator and a length of -1.
  void inEveryEncoding(const std::u32string& text, uint32_t target,
                       const std::function<void(const void*, int64_t, uint32_t)>& check) {
    const std::string wideBytes(reinterpret_cast<const char*>(text.data()), text.size() * 4);
    const bool hasZero = text.find(U'\0') != std::u32string::npos;
    for (uint32_t i = 0; const VQHostEncoding* encoding = vqhostEncodingAt(i); ++i) {
      const uint32_t number = encoding->number;
      if (number != target && nls()->nlsCanConvert(nls(), number, target, 0) != 1) continue;
      std::string bytes = wideBytes;
      if (number != ENC_WIDE && !encoded(wideBytes, number, &bytes)) continue;
      SCOPED_TRACE(encoding->name);
      const GuardedBuffer<char> exact{std::span<const char>(bytes)};
      const auto unit = static_cast<int64_t>(number == ENC_WIDE ? 4 : 1);
      // A guarded buffer ends at a page, so VQChar elements in it are aligned.
      check(exact.data(), static_cast<int64_t>(bytes.size()) / unit, number);
      if (hasZero || (encoding->encodingClass == 2 && number != ENC_WIDE)) continue;
      bytes.append(static_cast<size_t>(unit), '\0');
      const GuardedBuffer<char> terminated{std::span<const char>(bytes)};
      check(terminated.data(), -1, number);
    }
  }

 private:
  bool encoded(const std::string& wideBytes, uint32_t target, std::string* bytes) {
    VQTranscoder* encoder = nls()->nlsCreateEncoder(nls(), target, 0, 0);
    if (encoder == nullptr) return false;
    uint64_t size = 0;
    bytes->resize(wideBytes.size() * 4 + 16);
    const VQStatus status = encoder->transcoderConvert(encoder, wideBytes.data(), wideBytes.size(),
                                                       bytes->data(), bytes->size(), &size, 0);
    encoder->transcoderDestroy(encoder);
    if (status != 0) return false;
    bytes->resize(size);
    return true;
  }
};

// Pairs of which many match somewhere: the text is a piece of the string, or nearly one.
std::pair<std::u32string, std::u32string> randomPair(std::mt19937& random) {
  static const std::u32string letters = U"aAb\u00C4\u00E4\u017F";
  const size_t length = random() % 3 == 0 ? random() % 90 : random() % 6;
  std::u32string string;
  for (size_t i = 0; i < length; ++i) string += letters[random() % 4 == 0 ? random() % letters.size() : 0];
  std::u32string text = string;
  const size_t cut = random() % (length + 1);
  if (random() % 3 == 0) text = string.substr(cut);
  if (random() % 3 == 0) text = string.substr(0, cut);
  if (random() % 4 == 0 && !text.empty()) text[random() % text.size()] = letters[random() % letters.size()];
  if (random() % 8 == 0) text += U'a';
  return {string, text};
}

TEST_F(Comparison, WideAnswersAgreeWithStandardStrings) {
  std::mt19937 random(7);
  for (int round = 0; round < 120; ++round) {
    const auto [content, text] = randomPair(random);
    SCOPED_TRACE(testing::Message() << round << ": '" << utf8(content) << "', '" << utf8(text) << "'");
    const GuardedBuffer<VQChar> contentBuffer{std::span<const VQChar>(content)};
    const GuardedBuffer<VQChar> textBuffer{std::span<const VQChar>(text)};
    const VQString string = wide(contentBuffer), other = wide(textBuffer);
    EXPECT_EQ(vqStringEqual(&string, &other), content == text);
    EXPECT_EQ(vqStringStartsWith(&string, &other), !content.empty() && content.starts_with(text));
    for (const auto& question : wideQuestions) {
      SCOPED_TRACE(question.name);
      const bool expected = question.isTrue(content, text);
      if (question.wide != nullptr) {
        EXPECT_EQ(question.wide(&string, textBuffer.data(), static_cast<int64_t>(text.size())), expected);
        EXPECT_EQ(question.wide(&string, text.c_str(), -1), expected);
      }
      if (question.anyEncoding == nullptr) continue;
      inEveryEncoding(text, ENC_WIDE, [&](const void* bytes, int64_t length, uint32_t encoding) {
        VQStatus status = untouched;
        EXPECT_EQ(question.anyEncoding(&string, bytes, length, encoding, &status), expected);
        EXPECT_EQ(status, 0u);
      });
    }
    const auto index = content.find(text);
    inEveryEncoding(text, ENC_WIDE, [&](const void* bytes, int64_t length, uint32_t encoding) {
      VQStatus status = untouched;
      EXPECT_EQ(vqStringIndexOfText(&string, bytes, length, encoding, &status),
                index == std::u32string::npos ? -1 : static_cast<int64_t>(index));
      EXPECT_EQ(status, 0u);
    });
    if (HasFailure()) return;
  }
}

TEST_F(Comparison, U8AnswersAgreeWithStandardStrings) {
  std::mt19937 random(8);
  for (int round = 0; round < 120; ++round) {
    const auto [wideContent, wideText] = randomPair(random);
    const std::string content = utf8(wideContent), text = utf8(wideText);
    SCOPED_TRACE(testing::Message() << round << ": '" << content << "', '" << text << "'");
    const GuardedBuffer<char> contentBuffer{std::span<const char>(content)};
    const GuardedBuffer<char> textBuffer{std::span<const char>(text)};
    const VQU8String string = u8(contentBuffer);
    for (const auto& question : u8Questions) {
      SCOPED_TRACE(question.name);
      const bool isPart = question.askU8 != nullptr;
      // An empty text starts and ends a string only when its length had to be measured.
      const auto expected = [&](int64_t length) {
        return question.isTrue(content, text) && (!isPart || length != 0);
      };
      if (isPart) {
        const auto byteCount = static_cast<int64_t>(text.size());
        EXPECT_EQ(question.askU8(&string, textBuffer.data(), byteCount), expected(byteCount));
        EXPECT_EQ(question.askU8(&string, text.c_str(), -1), expected(-1));
      }
      inEveryEncoding(wideText, ENC_UTF8, [&](const void* bytes, int64_t length, uint32_t encoding) {
        VQStatus status = untouched;
        EXPECT_EQ(question.ask(&string, bytes, length, encoding, &status), expected(length));
        EXPECT_EQ(status, 0u);
      });
    }
    if (HasFailure()) return;
  }
}

// Every length past the steps of the vector code, and in each the one byte that differs at every place.
TEST_F(Comparison, OneByteAnywhereMakesADifference) {
  test::atEveryLevel([&] {
    for (size_t length = 0; length <= 700; length += length < 300 ? 1 : 37) {
      GuardedBuffer<char> first(length, test::Edge::behind), second(length, test::Edge::before);
      std::memset(first.data(), 'a', length);
      std::memset(second.data(), 'a', length);
      const VQU8String string = u8(first);
      const auto isPrefix = [&] {
        return vqU8StringStartsWithU8(&string, second.data(), static_cast<int64_t>(length)) != 0;
      };
      ASSERT_TRUE(isPrefix() || length == 0) << length;
      for (size_t place = 0; place < length; ++place) {
        second.data()[place] = 'b';
        ASSERT_FALSE(isPrefix()) << length << ", " << place;
        second.data()[place] = 'a';
      }
    }
  });
}

// A value beyond Unicode and a zero element count like any other.
TEST_F(Comparison, ElementsAreComparedAsTheyStand) {
  const std::u32string content{U'a', U'\0', 0xFFFFFFFF, U'e', 0x301};
  const GuardedBuffer<VQChar> buffer{std::span<const VQChar>(content)};
  const VQString string = wide(buffer);
  EXPECT_EQ(vqStringStartsWithVQText(&string, content.data(), 3), 1);
  EXPECT_EQ(vqStringEndsWithVQText(&string, U"\u00E9", 1), 0);
  VQStatus status = untouched;
  EXPECT_EQ(vqStringIndexOfText(&string, content.data() + 2, 1, ENC_WIDE, &status), 2);
}

// Bytes of an unknown encoding are the string's elements, cut to whole ones; nothing is converted.
TEST_F(Comparison, DeniedEncodingsPassAsTheyStand) {
  const std::u32string content = U"abc";
  const GuardedBuffer<VQChar> wideBuffer{std::span<const VQChar>(content)};
  const VQString string = wide(wideBuffer);
  std::u32string padded = content + U"?";
  VQStatus status = untouched;
  EXPECT_EQ(vqStringEqualText(&string, padded.data(), 15, deniedEncoding, &status), 1);
  EXPECT_EQ(status, 0u);
  EXPECT_EQ(vqStringIndexOfText(&string, padded.data() + 1, 11, deniedEncoding, &status), 1);
  EXPECT_EQ(status, 0u);
  const GuardedBuffer<char> u8Buffer{std::span<const char>("abc", 3)};
  const VQU8String u8string = u8(u8Buffer);
  for (const auto& question : u8Questions) {
    status = untouched;
    EXPECT_EQ(question.ask(&u8string, "abc", 3, deniedEncoding, &status), 1) << question.name;
    EXPECT_EQ(status, 0u);
  }
}

TEST_F(Comparison, NullTextsAreEmptyWhenMeasured) {
  const GuardedBuffer<VQChar> one{std::span<const VQChar>(U"a", 1)};
  const GuardedBuffer<VQChar> none(0);
  const VQString string = wide(one), empty = wide(none);
  for (const uint32_t encoding : {ENC_WIDE, deniedEncoding}) {
    VQStatus status = untouched;
    EXPECT_EQ(vqStringEqualText(&empty, nullptr, -1, encoding, &status), 1);
    EXPECT_EQ(vqStringStartsWithText(&empty, nullptr, -1, encoding, &status), 0);
    EXPECT_EQ(vqStringStartsWithText(&string, nullptr, -1, encoding, &status), 1);
    EXPECT_EQ(vqStringEndsWithText(&string, nullptr, -1, encoding, &status), 1);
    EXPECT_EQ(vqStringIndexOfText(&empty, nullptr, -1, encoding, &status), 0);
    EXPECT_EQ(status, 0u);
  }
  EXPECT_EQ(vqStringStartsWithVQText(&empty, nullptr, -1), 1);
}

// Every host call of a conversion fails in turn. The fault decides the status; the answer is 0, and the
// fixture sees to it that no temporary is left.
TEST_F(Comparison, FailuresReachTheStatus) {
  const std::u32string content = U"\u00E4bc";
  const std::string content8 = utf8(content), latin1 =
                                                  "\xE4"
                                                  "bc";
  const GuardedBuffer<VQChar> wideBuffer{std::span<const VQChar>(content)};
  const GuardedBuffer<char> u8Buffer{std::span<const char>(content8)};
  const VQString string = wide(wideBuffer);
  const VQU8String u8string = u8(u8Buffer);
  struct Answer {
    int64_t result;
    VQStatus status;
  };
  const auto everyFault = [&](VQStatus noTranscoder, int expectedFaults, int64_t onSuccess, auto ask) {
    int faults = 0;
    const Answer last = forEveryFault(
        [&] {
          Answer answer{-99, untouched};
          answer.result = ask(&answer.status);
          return answer;
        },
        [&](const Answer& answer, const test::Fault& fault) {
          ++faults;
          EXPECT_EQ(answer.result, 0);
          EXPECT_EQ(answer.status, fault.call == test::poolAlloc          ? VQSTATUS_NO_MEMORY
                                   : fault.call == test::createTranscoder ? noTranscoder
                                                                          : test::injectedStatus);
        });
    EXPECT_EQ(last.result, onSuccess);
    EXPECT_EQ(last.status, 0u);
    EXPECT_EQ(faults, expectedFaults);
  };
  const uint32_t latin1Number = vqhostFindEncoding("ISO-8859-1")->number;
  // Measuring, the block, the conversion; with Latin-1 a transcoder as well.
  for (const auto& question : wideQuestions) {
    if (question.anyEncoding == nullptr) continue;
    SCOPED_TRACE(question.name);
    everyFault(VQSTATUS_NO_CONVERTER, 3, 1, [&](VQStatus* status) {
      return question.anyEncoding(&string, content8.data(), 4, ENC_UTF8, status);
    });
    everyFault(VQSTATUS_NO_CONVERTER, 4, 1, [&](VQStatus* status) {
      return question.anyEncoding(&string, latin1.data(), 3, latin1Number, status);
    });
  }
  everyFault(VQSTATUS_NO_CONVERTER, 4, 1, [&](VQStatus* status) {
    return vqStringIndexOfText(&string, latin1.data() + 1, 1, latin1Number, status);
  });
  for (const auto& question : u8Questions) {
    SCOPED_TRACE(question.name);
    everyFault(VQSTATUS_NOT_AVAILABLE, 3, 1, [&](VQStatus* status) {
      return question.ask(&u8string, content.data(), 3, ENC_WIDE, status);
    });
    everyFault(VQSTATUS_NOT_AVAILABLE, 4, 1, [&](VQStatus* status) {
      return question.ask(&u8string, latin1.data(), 3, latin1Number, status);
    });
  }
  // What needs no conversion meets no host call that could fail.
  everyFault(0, 0, 1, [&](VQStatus* status) {
    return vqStringIndexOfText(&string, content.data() + 1, 1, ENC_WIDE, status);
  });
  everyFault(0, 0, 1, [&](VQStatus* status) {
    return vqU8StringEqualText(&u8string, content8.data(), 4, ENC_UTF8, status);
  });
}

// Ill-formed text is the host's failure, and not seen where the answer does not depend on the text.
TEST_F(Comparison, IllFormedTextIsAFailureOnlyWhereItIsRead) {
  const GuardedBuffer<VQChar> one{std::span<const VQChar>(U"a", 1)};
  const GuardedBuffer<VQChar> none(0);
  const VQString string = wide(one), empty = wide(none);
  VQStatus status = untouched;
  EXPECT_EQ(vqStringStartsWithText(&string, "\xFF", 1, ENC_UTF8, &status), 0);
  EXPECT_EQ(status, VQSTATUS_BAD_SEQUENCE);
  EXPECT_EQ(vqStringIndexOfText(&string, "\xFF", 1, ENC_UTF8, &status), 0);
  EXPECT_EQ(status, VQSTATUS_BAD_SEQUENCE);
  EXPECT_EQ(vqStringStartsWithText(&empty, "\xFF", 1, ENC_UTF8, &status), 0);
  EXPECT_EQ(status, 0u);
}

}  // namespace

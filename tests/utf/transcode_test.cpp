#include "utf/transcode.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "utf/utf8_samples.hpp"

namespace {

using vq::transcode::Result;

// A conversion with what it left in front of the stop.
template <class Element>
struct Converted {
  VQStatus status;
  size_t consumed;
  std::vector<Element> target;
  bool operator==(const Converted&) const = default;
};

template <class Source, class Target>
using Kernel = Result (*)(const Source*, size_t, Target*, size_t);

template <class Source, class Target>
Converted<Target> convert(Kernel<Source, Target> kernel, const Source* source, size_t length,
                          size_t capacity) {
  static const test::GuardedRoom<Target> rooms(4096);
  Target* target = rooms.last(capacity);
  const Result result = kernel(source, length, target, capacity);
  return {result.status, result.consumed, {target, target + result.written}};
}

// The rules, told by values: a sequence is well-formed when it is the UTF-8 form of a scalar value, and cut
// short when some scalar value's form begins with it.
struct Sequence {
  VQStatus status;
  size_t length;
  VQChar value;
};

bool isScalar(VQChar c) {
  return c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
}

Sequence readSequence(const uint8_t* bytes, size_t left) {
  const std::string_view rest(test::chars(bytes), left);
  const size_t length = bytes[0] < 0x80 ? 1 : bytes[0] < 0xE0 ? 2 : bytes[0] < 0xF0 ? 3 : 4;
  // The values whose form begins with the bytes that are there: the missing ones as 0x80 and as 0xBF.
  for (const char missing : {'\x80', '\xBF'}) {
    std::string whole(rest.substr(0, length));
    const bool isCut = whole.size() < length;
    whole.resize(length, missing);
    VQChar value = length == 1 ? bytes[0] : bytes[0] & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i) value = value << 6 | (static_cast<uint8_t>(whole[i]) & 0x3F);
    if (isScalar(value) && test::encode(value) == whole) {
      return {isCut ? VQSTATUS_SHORT_SEQUENCE : VQStatus{0}, length, value};
    }
  }
  return {VQSTATUS_BAD_SEQUENCE, 0, 0};
}

void append(std::vector<VQChar>& target, VQChar c) {
  target.push_back(c);
}
void append(std::vector<char16_t>& target, VQChar c) {
  if (c >= 0x10000) target.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
  target.push_back(static_cast<char16_t>(c < 0x10000 ? c : 0xDC00 + (c & 0x3FF)));
}
void append(std::vector<uint8_t>& target, VQChar c) {
  for (const char byte : test::encode(c)) target.push_back(static_cast<uint8_t>(byte));
}

template <class Target>
Converted<Target> stepFromUtf8(const uint8_t* source, size_t length, size_t capacity) {
  Converted<Target> expected{0, 0, {}};
  while (expected.consumed < length) {
    const Sequence next = readSequence(source + expected.consumed, length - expected.consumed);
    expected.status = next.status;
    if (next.status != 0) return expected;
    std::vector<Target> longer = expected.target;
    append(longer, next.value);
    if (longer.size() > capacity) {
      expected.status = VQSTATUS_TARGET_FULL;
      return expected;
    }
    expected.target = std::move(longer);
    expected.consumed += next.length;
  }
  return expected;
}

template <class Target>
Converted<Target> stepFromWide(const VQChar* source, size_t length, size_t capacity) {
  Converted<Target> expected{0, 0, {}};
  for (; expected.consumed < length; ++expected.consumed) {
    const VQChar c = source[expected.consumed];
    std::vector<Target> one;
    if (!isScalar(c)) {
      expected.status = VQSTATUS_BAD_SEQUENCE;
      return expected;
    }
    append(one, c);
    if (expected.target.size() + one.size() > capacity) {
      expected.status = VQSTATUS_TARGET_FULL;
      return expected;
    }
    expected.target.insert(expected.target.end(), one.begin(), one.end());
  }
  return expected;
}

// Also the lengths: exact on what is well-formed, never less than what is written.
template <class Target>
void checkFromUtf8(Kernel<uint8_t, Target> kernel, const uint8_t* source, size_t length, size_t capacity) {
  ASSERT_EQ(convert(kernel, source, length, capacity), stepFromUtf8<Target>(source, length, capacity));
}

// Every sequence by itself, and in front of a text, where a kernel looks less often for the ends.
TEST(FromUtf8, EveryShortAndStructuredSequenceUnderEveryLevel) {
  const auto check = [](const uint8_t* sequence, size_t length) {
    constexpr size_t behind = 12;
    static const test::GuardedRoom<uint8_t> texts(4 + behind);
    for (const size_t textLength : {length, length + behind}) {
      uint8_t* text = texts.last(textLength);
      std::fill_n(std::copy_n(sequence, length, text), textLength - length, uint8_t{'b'});
      const auto wide = stepFromUtf8<VQChar>(text, textLength, textLength);
      const auto units = stepFromUtf8<char16_t>(text, textLength, 1);
      test::underEveryLevel([&] {
        ASSERT_EQ(convert(vq::transcode::utf8ToWide, text, textLength, textLength), wide);
        ASSERT_EQ(convert(vq::transcode::utf8ToUtf16, text, textLength, 1), units);
        ASSERT_GE(vq::transcode::wideLengthOfUtf8(text, textLength), wide.target.size());
      });
    }
  };
  for (size_t length = 1; length <= 2; ++length) test::forEverySequence(length, check);
  test::forTurningSequences(3, check);
  test::forTurningSequences(4, check);
}

TEST(FromUtf8, BrokenTextsUnderEveryLevel) {
  test::underEveryLevel([] {
    size_t turn = 0;
    test::forBrokenTexts([&](const uint8_t* text, size_t length) {
      const auto wide = stepFromUtf8<VQChar>(text, length, SIZE_MAX);
      const auto units = stepFromUtf8<char16_t>(text, length, SIZE_MAX);
      // Exactly enough room, so that a kernel must not write beyond; ample room; too little.
      ASSERT_EQ(convert(vq::transcode::utf8ToWide, text, length, wide.target.size()), wide);
      ASSERT_EQ(convert(vq::transcode::utf8ToUtf16, text, length, units.target.size()), units);
      ASSERT_EQ(convert(vq::transcode::utf8ToWide, text, length, length + 64), wide);
      ASSERT_EQ(convert(vq::transcode::utf8ToUtf16, text, length, length + 64), units);
      const size_t little = turn++ % (wide.target.size() + 1);
      checkFromUtf8(vq::transcode::utf8ToWide, text, length, little);
      checkFromUtf8(vq::transcode::utf8ToUtf16, text, length, little);

      ASSERT_GE(vq::transcode::wideLengthOfUtf8(text, length), wide.target.size());
      if (wide.status == 0) {
        ASSERT_EQ(vq::transcode::wideLengthOfUtf8(text, length), wide.target.size());
      }
    });
  });
}

TEST(FromUtf8, ReadsNothingInFrontOfTheText) {
  std::mt19937 random(7);
  test::underEveryLevel([&] {
    for (const test::Script script : test::scripts) {
      const std::string whole = test::encode(test::sampleText(script, 200, random));
      for (const size_t length : {16, 64, 80, 150}) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(whole.data());
        const test::GuardedBuffer<uint8_t> text({bytes, length}, test::Edge::before);
        checkFromUtf8(vq::transcode::utf8ToWide, text.data(), length, length);
        checkFromUtf8(vq::transcode::utf8ToUtf16, text.data(), length, length);
      }
    }
  });
}

TEST(FromWide, BrokenTextsUnderEveryLevel) {
  std::mt19937 random(5);
  constexpr VQChar turning[] = {0,        0x7F,     0x80,       0x7FF,      0x800,     0xD7FF,  0xD800,
                                0xDBFF,   0xDC00,   0xDFFF,     0xE000,     0xFFFF,    0x10000, 0x10FFFF,
                                0x110000, 0x1FFFFF, 0x7FFFFFFF, 0x80000041, 0xFFFFFFFF};
  const test::GuardedRoom<VQChar> sources(256);
  const auto check = [](const VQChar* source, size_t length) {
    const auto bytes = stepFromWide<uint8_t>(source, length, SIZE_MAX);
    const auto units = stepFromWide<char16_t>(source, length, SIZE_MAX);
    for (const size_t spare : {0, 64}) {
      ASSERT_EQ(convert(vq::transcode::wideToUtf8, source, length, bytes.target.size() + spare), bytes);
      ASSERT_EQ(convert(vq::transcode::wideToUtf16, source, length, units.target.size() + spare), units);
    }
    const size_t little = bytes.target.size() * (length % 8) / 8;
    ASSERT_EQ(convert(vq::transcode::wideToUtf8, source, length, little),
              stepFromWide<uint8_t>(source, length, little));
    ASSERT_EQ(convert(vq::transcode::wideToUtf16, source, length, little),
              stepFromWide<char16_t>(source, length, little));
    size_t sum = 0;
    for (size_t i = 0; i < length; ++i)
      sum += 1 + (source[i] >= 0x80) + (source[i] >= 0x800) + (source[i] >= 0x10000);
    ASSERT_EQ(vq::transcode::utf8LengthOfWide(source, length), sum);
  };
  // Texts of a script, and texts whose characters all have the same size.
  std::vector<std::u32string> texts;
  for (const test::Script script : test::scripts) texts.push_back(test::sampleText(script, 200, random));
  for (const VQChar c : {U'a', U'\u0439', U'\u4E2D', U'\U0001F600'}) texts.emplace_back(200, c);
  test::underEveryLevel([&] {
    for (const std::u32string& whole : texts) {
      for (size_t length = 0; length <= 120; ++length) {
        VQChar* source = sources.last(length);
        std::copy_n(whole.begin(), length, source);
        check(source, length);
      }
      constexpr size_t length = 83;
      VQChar* source = sources.last(length);
      for (size_t place = 0; place < length; ++place) {
        for (const VQChar c : turning) {
          std::copy_n(whole.begin(), length, source);
          source[place] = c;
          check(source, length);
        }
      }
    }
  });
}

TEST(Utf16Lengths, BackFromEveryPosition) {
  std::mt19937 random(6);
  const test::GuardedRoom<char16_t> sources(1024);
  test::underEveryLevel([&] {
    for (const test::Script script : test::scripts) {
      const std::u32string text = test::sampleText(script, 300, random);
      std::vector<char16_t> units;
      size_t bytes = 0;
      for (size_t elements = 0; elements <= text.size(); ++elements) {
        char16_t* source = sources.last(units.size());
        std::copy(units.begin(), units.end(), source);
        ASSERT_EQ(vq::transcode::utf8LengthOfUtf16(source, units.size()), bytes);
        ASSERT_EQ(vq::transcode::wideLengthOfUtf16(source, units.size()), elements);
        if (elements == text.size()) break;
        append(units, text[elements]);
        bytes += test::encode(text[elements]).size();
      }
    }
  });
}

// The last and the first value of each size, in texts around a vector's length.
TEST(Lengths, SizesChangeWhereTheyShould) {
  test::underEveryLevel([] {
    for (const size_t count : {1u, 15u, 16u, 17u, 40u}) {
      for (const auto& [first, size] : {std::pair<VQChar, size_t>{0x80, 2}, {0x800, 3}, {0x10000, 4}}) {
        const std::u32string below(count, first - 1), from(count, first);
        EXPECT_EQ(vq::transcode::utf8LengthOfWide(below.data(), count), count * (size - 1));
        EXPECT_EQ(vq::transcode::utf8LengthOfWide(from.data(), count), count * size);
      }
    }
  });
}

TEST(Lengths, SumsBeyondOneAccumulator) {
  // More than 255 blocks, so that accumulators of a byte must have been emptied in between.
  test::underEveryLevel([] {
    for (const VQChar c : {VQChar{'a'}, VQChar{0x439}, VQChar{0x4E2D}, VQChar{0x1F600}}) {
      const std::u32string text(40000, c);
      std::string bytes = test::encode(text);
      std::vector<char16_t> units;
      for (const VQChar each : text) append(units, each);
      ASSERT_EQ(vq::transcode::utf8LengthOfWide(text.data(), text.size()), bytes.size());
      ASSERT_EQ(vq::transcode::wideLengthOfUtf8(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()),
                text.size());
      ASSERT_EQ(vq::transcode::utf8LengthOfUtf16(units.data(), units.size()), bytes.size());
      ASSERT_EQ(vq::transcode::wideLengthOfUtf16(units.data(), units.size()), text.size());
    }
  });
}

}  // namespace

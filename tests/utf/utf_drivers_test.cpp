#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "utf/utf8_samples.hpp"
#include "vqstring/utf.h"

namespace {

constexpr VQDecodeStep decoders[] = {UTF8_UTF32, UTF16_UTF32, UTF16_UTF32_SWAP, COPY_UTF32b,
                                     COPY_UTF32b_SWAP};
constexpr VQEncodeStep encoders[] = {UTF32_UTF8,  UTF16_UTF8,       COPY_UTF32,   COPY_UTF32_SWAP,
                                     UTF32_UTF16, UTF32_UTF16_SWAP, UTF32_UTF16s, UTF32_UTF16s_SWAP};

// Steps that the drivers cannot know: they are called one character at a time, which is the meaning.
template <size_t index>
VQStatus foreignDecoder(const uint8_t* source, uint64_t byteCount, VQChar* codePoint, uint64_t* consumed) {
  return decoders[index](source, byteCount, codePoint, consumed);
}
template <size_t index>
VQStatus foreignEncoder(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written) {
  return encoders[index](codePoint, target, room, written);
}
constexpr VQDecodeStep foreignDecoders[] = {foreignDecoder<0>, foreignDecoder<1>, foreignDecoder<2>,
                                            foreignDecoder<3>, foreignDecoder<4>};
constexpr VQEncodeStep foreignEncoders[] = {foreignEncoder<0>, foreignEncoder<1>, foreignEncoder<2>,
                                            foreignEncoder<3>, foreignEncoder<4>, foreignEncoder<5>,
                                            foreignEncoder<6>, foreignEncoder<7>};

struct Driven {
  VQStatus status;
  uint64_t written;
  std::string bytes;
  bool operator==(const Driven&) const = default;
};

template <class Driver, class... Steps>
Driven drive(Driver driver, const uint8_t* source, size_t length, size_t room, Steps... steps) {
  static const test::GuardedRoom<uint8_t> rooms(8192);
  uint8_t* target = rooms.last(room);
  Driven driven{0, 99, {}};
  driven.status = driver(source, length, target, room, &driven.written, steps...);
  driven.bytes.assign(test::chars(target), driven.written);
  return driven;
}

// Both drivers over one source: each pair of our own steps beside the same pair through foreign functions.
void checkPairs(const uint8_t* source, size_t length, size_t room) {
  for (size_t d = 0; d < std::size(decoders); ++d) {
    const bool isUtf32 = decoders[d] == COPY_UTF32b || decoders[d] == COPY_UTF32b_SWAP;
    const bool isUtf16 = decoders[d] == UTF16_UTF32 || decoders[d] == UTF16_UTF32_SWAP;
    const size_t usable = isUtf32 ? length / 4 * 4 : isUtf16 ? length / 2 * 2 : length;
    for (size_t e = 0; e < std::size(encoders); ++e) {
      if (encoders[e] == COPY_UTF32 || encoders[e] == COPY_UTF32_SWAP) {
        ASSERT_EQ(drive(ConvertToUTF32, source, usable, room, decoders[d], encoders[e]),
                  drive(ConvertToUTF32, source, usable, room, foreignDecoders[d], foreignEncoders[e]));
      }
      if (isUtf32) {
        ASSERT_EQ(drive(ConvertFromUTF32, source, length, room, encoders[e], decoders[d]),
                  drive(ConvertFromUTF32, source, length, room, foreignEncoders[e], foreignDecoders[d]));
      }
    }
  }
}

TEST(Drivers, OwnStepsAsForeignOnesOnUtf8) {
  test::underEveryLevel([] {
    size_t turn = 0;
    test::forBrokenTexts([&](const uint8_t* text, size_t length) {
      // Ample room, tight rooms in turn, and none.
      const size_t rooms[] = {4 * length + 3, 4 * (turn % (length + 1)), turn * 7 % (2 * length + 1)};
      const size_t room = rooms[turn % 3];
      for (const size_t e : {2, 3}) {
        ASSERT_EQ(drive(ConvertToUTF32, text, length, room, UTF8_UTF32, encoders[e]),
                  drive(ConvertToUTF32, text, length, room, foreignDecoders[0], foreignEncoders[e]));
      }
      ++turn;
    });
  });
}

TEST(Drivers, OwnStepsAsForeignOnesOnWideText) {
  std::mt19937 random(3);
  test::underEveryLevel([&] {
    for (const test::Script script : test::scripts) {
      const std::u32string whole = test::sampleText(script, 300, random);
      for (int round = 0; round < 60; ++round) {
        std::u32string text = whole.substr(0, random() % 301);
        for (size_t breaks = random() % 4; breaks > 0 && !text.empty(); --breaks) {
          constexpr VQChar odd[] = {0xD800, 0xDFFF, 0x110000, 0x1FFFFF, 0xFFFFFFFF, 0x80, 0x800, 0xFFFF, 0};
          text[random() % text.size()] = odd[random() % std::size(odd)];
        }
        // Every third source is not aligned, every third one has surplus bytes.
        const size_t shift = round % 3 == 1 ? 1 : 0;
        const size_t surplus = round % 3 == 2 ? 3 : 0;
        test::GuardedBuffer<uint8_t> source(4 * text.size() + shift + surplus);
        std::memcpy(source.data() + shift, text.data(), 4 * text.size());
        const size_t length = source.size() - shift;
        checkPairs(source.data() + shift, length, 4 * text.size() + 8);
        checkPairs(source.data() + shift, length, random() % (2 * text.size() + 8));
      }
    }
  });
}

TEST(Drivers, StatedStops) {
  const auto to = [](const std::string& source, size_t room) {
    return drive(ConvertToUTF32, reinterpret_cast<const uint8_t*>(source.data()), source.size(), room,
                 UTF8_UTF32, COPY_UTF32);
  };
  const auto from = [](std::u32string_view source, size_t room, size_t surplus = 0) {
    return drive(ConvertFromUTF32, reinterpret_cast<const uint8_t*>(source.data()),
                 4 * source.size() + surplus, room, UTF32_UTF8, COPY_UTF32b_SWAP);
  };
  using std::string_literals::operator""s;
  EXPECT_EQ(to("", 8), (Driven{0, 0, ""}));
  EXPECT_EQ(to("abc", 8), (Driven{0, 8, "\0\0\0a\0\0\0b"s}));
  EXPECT_EQ(to("abc", 11), (Driven{0, 8, "\0\0\0a\0\0\0b"s}));
  EXPECT_EQ(to("a\x80z", 64), (Driven{VQSTATUS_BAD_SEQUENCE, 4, "\0\0\0a"s}));
  EXPECT_EQ(to("a\xE2\x82", 64), (Driven{VQSTATUS_SHORT_SEQUENCE, 4, "\0\0\0a"s}));
  EXPECT_EQ(to("\xED\xA0\x80\xC3\x41", 64), (Driven{0, 8, "\0\0\xD8\0\0\0\0\xC1"s}));
  EXPECT_EQ(from(U"ab€", 4), (Driven{VQSTATUS_TARGET_FULL, 2, "ab"}));
  EXPECT_EQ(from(U"ab€", 2), (Driven{0, 2, "ab"}));
  EXPECT_EQ(from(U"ab€", 5), (Driven{0, 5, "ab€"}));
  EXPECT_EQ(from(U"", 5, 3), (Driven{0, 0, ""}));
  EXPECT_EQ(ConvertToUTF32(nullptr, 0, nullptr, 0, nullptr, UTF8_UTF32, COPY_UTF32), 0u);
  EXPECT_EQ(ConvertFromUTF32(nullptr, 0, nullptr, 0, nullptr, UTF32_UTF8, COPY_UTF32b), 0u);
}

TEST(PlainCopy, LesserSizeInAscendingOrder) {
  const auto* source = reinterpret_cast<const uint8_t*>("abcde");
  uint8_t target[8] = "......";
  uint64_t copied = 0;
  EXPECT_EQ(COPY_UTF(source, 5, target, 3, &copied), VQSTATUS_TARGET_FULL);
  EXPECT_EQ(copied, 3u);
  EXPECT_STREQ(test::chars(target), "abc...");
  EXPECT_EQ(COPY_UTF(source, 3, target, 5, &copied), 0u);
  EXPECT_EQ(copied, 3u);
  EXPECT_STREQ(test::chars(target), "abc...");
  EXPECT_EQ(COPY_UTF(target, 4, target + 1, 4, &copied), 0u);
  EXPECT_STREQ(test::chars(target), "aaaaa.");
  uint8_t below[] = "abcde";
  EXPECT_EQ(COPY_UTF(below + 1, 4, below, 4, &copied), 0u);
  EXPECT_STREQ(test::chars(below), "bcdee");
}

}  // namespace

#include <gtest/gtest.h>

#include <string>

#include "utf/utf8_samples.hpp"
#include "vqstring/utf.h"

namespace {

// What a decoder answered; what an encoder stored.
struct Read {
  VQStatus status;
  VQChar codePoint;
  uint64_t consumed;
  bool operator==(const Read&) const = default;
};
void PrintTo(const Read& read, std::ostream* out) {
  *out << std::hex << read.status << " U+" << static_cast<uint32_t>(read.codePoint) << " " << read.consumed;
}

Read decode(VQDecodeStep step, const std::string& bytes) {
  test::GuardedBuffer<uint8_t> buffer(bytes.size());
  std::memcpy(buffer.data(), bytes.data(), bytes.size());
  Read read{99, 99, 99};
  read.status = step(buffer.data(), bytes.size(), &read.codePoint, &read.consumed);
  return read;
}

struct Stored {
  VQStatus status;
  uint64_t written;
  std::string bytes;
  bool operator==(const Stored&) const = default;
};
void PrintTo(const Stored& stored, std::ostream* out) {
  *out << std::hex << stored.status << " " << stored.written << " " << testing::PrintToString(stored.bytes);
}

constexpr uint64_t untouched = 99;

Stored encode(VQEncodeStep step, VQChar c, size_t room) {
  test::GuardedBuffer<uint8_t> buffer(room);
  for (uint8_t& byte : buffer) byte = '.';
  Stored stored{0, untouched, {}};
  stored.status = step(c, buffer.data(), room, &stored.written);
  stored.bytes.assign(test::chars(buffer.data()), room);
  return stored;
}

constexpr VQStatus bad = VQSTATUS_BAD_SEQUENCE;
constexpr VQStatus cut = VQSTATUS_SHORT_SEQUENCE;
constexpr VQStatus full = VQSTATUS_TARGET_FULL;

TEST(Utf8Decoder, TrustsAllButFirstByteAndLength) {
  const struct {
    std::string bytes;
    Read read;
  } cases[] = {
      {"a", {0, 'a', 1}},
      {"\xE0\x80\x80", {0, 0, 3}},
      {"\xED\xA0\x80", {0, 0xD800, 3}},
      {"\xF4\x90\x80\x80", {0, 0x110000, 4}},
      {"\xF0\x9F\x98\x80z", {0, 0x1F600, 4}},
      {"\xC3\x41", {0, 0xC1, 2}},
      {"\xE2\x82\xACz", {0, 0x20AC, 3}},
      {"\xC0\x80", {bad, 0xFFFD, 2}},
      {"\xF8\x80\x80\x41", {bad, 0xFFFD, 3}},
      {"\xFF\x80\x80\x80\x80\x80\x80", {bad, 0xFFFD, 6}},
      {"\x80\x80", {bad, 0xFFFD, 1}},
      {"\xE2\x82", {cut, 0xFFFD, 2}},
      {"\xF4", {cut, 0xFFFD, 1}},
      // A bad first byte wins over a short source, and the look behind it stays inside.
      {"\xC0", {bad, 0xFFFD, 1}},
      {"\xF8\x80", {bad, 0xFFFD, 2}},
  };
  for (const auto& [bytes, read] : cases)
    EXPECT_EQ(decode(UTF8_UTF32, bytes), read) << testing::PrintToString(bytes);
}

// The steps as they are told, for every input of up to three bytes and the structured ones of four.
void checkDecoder(const uint8_t* source, size_t length) {
  Read expected{0, 0, 0};
  const size_t announced = utf8_len(test::chars(source));
  const uint8_t first = source[0];
  if (first < 0x80) {
    expected = {0, first, 1};
  } else if (first < 0xC2 || first > 0xF4) {
    expected = {bad, 0xFFFD, 1};
    while (expected.consumed < std::min(announced, length) && source[expected.consumed] >> 6 == 2)
      ++expected.consumed;
  } else if (length < announced) {
    expected = {cut, 0xFFFD, length};
  } else {
    expected = {0, first & (0x7Fu >> announced), announced};
    for (size_t i = 1; i < announced; ++i) expected.codePoint = expected.codePoint << 6 | (source[i] & 0x3F);
  }
  Read read{};
  read.status = UTF8_UTF32(source, length, &read.codePoint, &read.consumed);
  ASSERT_EQ(read, expected);

  uint16_t units[2] = {0x2E2E, 0x2E2E};
  uint64_t consumed = 0;
  ASSERT_EQ(UTF8_UTF16(source, length, units, &consumed), expected.status == 0 ? 0 : bad);
  ASSERT_EQ(consumed, expected.consumed);
  if (expected.codePoint < 0x10000) {
    ASSERT_EQ(units[0], expected.codePoint);
    ASSERT_EQ(units[1], 0x2E2E);
  } else {
    ASSERT_EQ(units[0], 0xD800 + ((expected.codePoint - 0x10000) >> 10 & 0x3FF));
    ASSERT_EQ(units[1], 0xDC00 + (expected.codePoint & 0x3FF));
  }
}

TEST(Utf8Decoder, EveryShortAndStructuredSequence) {
  for (size_t length = 1; length <= 3; ++length) test::forEverySequence(length, checkDecoder);
  test::forTurningSequences(4, checkDecoder);
}

TEST(Utf16Decoder, SurrogatesInBothOrders) {
  const struct {
    std::string highFirst;
    Read read;
  } cases[] = {
      {std::string("\x00\x41", 2), {0, 'A', 2}},
      {"\xD8\x3D\xDE" + std::string(1, '\0'), {0, 0x1F600, 4}},
      {"\xDB\xFF\xDF\xFF", {0, 0x10FFFF, 4}},
      {std::string("\xDC\x00", 2), {bad, 0xFFFD, 2}},
      {std::string("\xD8\x00\x00\x41", 4), {bad, 0xFFFD, 4}},
      {std::string("\xD8\x00\xD8\x00", 4), {bad, 0xFFFD, 4}},
      {std::string("\xD8\x00", 2), {cut, 0xFFFD, 1}},
      {std::string("\xD8\x00\xDC", 3), {cut, 0xFFFD, 1}},
      {"\xE0\x01", {0, 0xE001, 2}},
      {"\xFE\xFF", {0, 0xFEFF, 2}},
  };
  for (auto [bytes, read] : cases) {
    EXPECT_EQ(decode(UTF16_UTF32, bytes), read) << testing::PrintToString(bytes);
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
    // The odd byte at the end is not swapped with anything; it is not looked at.
    EXPECT_EQ(decode(UTF16_UTF32_SWAP, bytes), read) << testing::PrintToString(bytes);
  }
}

TEST(Utf32Decoder, BothOrders) {
  EXPECT_EQ(decode(COPY_UTF32b, "\x81\x02\x03\x04"), (Read{0, 0x81020304, 4}));
  EXPECT_EQ(decode(COPY_UTF32b_SWAP, "\x81\x02\x03\x04"), (Read{0, 0x04030281, 4}));
}

TEST(Loaders, ByteOrders) {
  const uint8_t bytes[] = {0x81, 0x92, 0xA3, 0xB4};
  EXPECT_EQ(Byte2DWord(bytes), 0xB4A39281u);
  EXPECT_EQ(Byte2DWord_swap(bytes), 0x8192A3B4u);
  EXPECT_EQ(Byte2Word(bytes), 0x9281u);
  EXPECT_EQ(Byte2Word_swap(bytes), 0x8192u);
  EXPECT_EQ(BYTE_UTF16_UTF32(bytes), 0x8192u);
  EXPECT_EQ(BYTE_UTF16_UTF32_SWAP(bytes), 0x9281u);
}

TEST(Encoders, FormsAndRoom) {
  const std::string low600 = {'\x3D', '\xD8', '\0', '\xDE'};
  const struct {
    VQEncodeStep step;
    VQChar c;
    std::string bytes;
  } cases[] = {
      {UTF32_UTF8, 'a', "a"},
      {UTF32_UTF8, 0x80, "\xC2\x80"},
      {UTF32_UTF8, 0x7FF, "\xDF\xBF"},
      {UTF32_UTF8, 0x800, "\xE0\xA0\x80"},
      {UTF32_UTF8, 0xD800, "\xED\xA0\x80"},
      {UTF32_UTF8, 0xFFFF, "\xEF\xBF\xBF"},
      {UTF32_UTF8, 0x10000, "\xF0\x90\x80\x80"},
      {UTF32_UTF8, 0x110000, "\xF4\x90\x80\x80"},
      {UTF32_UTF8, 0x1FFFFF, "\xF7\xBF\xBF\xBF"},
      // Beyond four bytes the marker and what is left add up in 8 bits.
      {UTF32_UTF8, 0xFFFFFFFF, "\xEF\xBF\xBF\xBF"},
      {UTF16_UTF8, 0x1D83D, "\xED\xA0\xBD"},
      {UTF16_UTF8, 0x10041, "A"},
      {COPY_UTF32, 0x81020304, "\x81\x02\x03\x04"},
      {COPY_UTF32_SWAP, 0x81020304, "\x04\x03\x02\x81"},
      {UTF32_UTF16, 0x1F6AB, "\xAB\xF6"},
      {UTF32_UTF16_SWAP, 0x1F6AB, "\xF6\xAB"},
      {UTF32_UTF16s, 0xD83D, "\x3D\xD8"},
      {UTF32_UTF16s, 0x1F600, low600},
      {UTF32_UTF16s_SWAP, 0x1F6AB, "\xD8\x3D\xDE\xAB"},
      {UTF32_UTF16s_SWAP, 0xFFFF, "\xFF\xFF"},
      {UTF32_UTF16s_SWAP, 0x10FFFF, "\xDB\xFF\xDF\xFF"},
  };
  for (const auto& [step, c, bytes] : cases) {
    const std::string label = testing::PrintToString(bytes);
    EXPECT_EQ(encode(step, c, bytes.size()), (Stored{0, bytes.size(), bytes})) << label;
    EXPECT_EQ(encode(step, c, bytes.size() + 1), (Stored{0, bytes.size(), bytes + "."})) << label;
    // One byte is promised to the UTF-8 encoders.
    if (bytes.size() == 1) continue;
    const bool keepsWritten = step == UTF32_UTF16s || step == UTF32_UTF16s_SWAP;
    EXPECT_EQ(encode(step, c, bytes.size() - 1),
              (Stored{full, keepsWritten ? untouched : 0, std::string(bytes.size() - 1, '.')}))
        << label;
  }
}

}  // namespace

// Base64: the codec against the rules taken one character at a time, on every level of the processor.
#include <gmock/gmock.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

#include "base64_rules.hpp"
#include "encodings/base64_codec.hpp"
#include "strings/capacity.hpp"
#include "support/cpu_levels.hpp"
#include "support/fault_injector.hpp"
#include "support/guarded_buffer.hpp"
#include "vqstring.h"

namespace {

using test::Bytes;
using test::naiveEncoded;
using test::naiveU8;
using test::naiveWide;

Bytes randomBytes(std::mt19937& random, size_t count) {
  Bytes bytes(count);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
  return bytes;
}

std::u32string widened(const std::string& text) {
  std::u32string wide;
  for (const char c : text) wide += static_cast<unsigned char>(c);
  return wide;
}

// ---- The operations ----

class Base64 : public test::HostTest {
 protected:
  std::string encode(const Bytes& bytes, bool isUrl, uint8_t pad, uint8_t wrap) {
    VQU8String* made = nullptr;
    const auto operation = isUrl ? vqU8StringEncodeBase64URL : vqU8StringEncodeBase64;
    EXPECT_EQ(operation(service(), bytes.data(), bytes.size(), pool(), &made, pad, wrap), 0u);
    std::string text(made->text, made->length);
    EXPECT_EQ(made->text[made->length], 0);
    EXPECT_GE(made->capacity, bytes.empty() ? 0 : bytes.size() + bytes.size() / 3 + bytes.size() / 76 + 11);
    vqU8StringDestroy(made);
    return text;
  }
  std::u32string encodeWide(const Bytes& bytes, bool isUrl, uint8_t pad, uint8_t wrap) {
    // The old contents of the out pointer are not a string to refill.
    VQString* made = reinterpret_cast<VQString*>(1);
    const auto operation = isUrl ? vqStringEncodeBase64URL : vqStringEncodeBase64;
    EXPECT_EQ(operation(service(), bytes.data(), bytes.size(), pool(), &made, pad, wrap), 0u);
    std::u32string text(made->text, static_cast<size_t>(made->length));
    EXPECT_EQ(made->text[made->length], 0u);
    EXPECT_EQ(made->capacity, static_cast<int64_t>(vq::capacityFor(text.size())));
    vqStringDestroy(made);
    return text;
  }

  // What a decoder hands out; nothing when it refuses the text.
  std::optional<Bytes> taken(VQStatus status, uint8_t* bytes, uint64_t count) {
    if (status != 0) {
      EXPECT_EQ(status, VQSTATUS_BAD_ARGUMENT);
      EXPECT_EQ(bytes, nullptr);
      return std::nullopt;
    }
    Bytes result(bytes, bytes + count);
    if (bytes != nullptr) pool()->poolFree(pool(), bytes);
    return result;
  }
  std::optional<Bytes> decodeAt(const char* text, size_t length, bool isUrl) {
    VQU8String string;
    vqU8StringInitStatic(service(), &string, pool(), text, static_cast<int64_t>(length));
    uint8_t* bytes = nullptr;
    uint64_t count = 0;
    const VQStatus status =
        (isUrl ? vqU8StringDecodeBase64URL : vqU8StringDecodeBase64)(&string, pool(), &bytes, &count);
    return taken(status, bytes, count);
  }
  std::optional<Bytes> decode(const std::string& text, bool isUrl) {
    const test::GuardedBuffer<char> guarded{std::span<const char>(text)};
    return decodeAt(guarded.data(), text.size(), isUrl);
  }
  std::optional<Bytes> decode(const std::u32string& text, bool isUrl) {
    const test::GuardedBuffer<char32_t> guarded{std::span<const char32_t>(text)};
    VQString string;
    vqStringInitStatic(service(), &string, pool(), guarded.data(), static_cast<int64_t>(text.size()));
    uint8_t* bytes = nullptr;
    uint64_t count = 0;
    const VQStatus status =
        (isUrl ? vqStringDecodeBase64URL : vqStringDecodeBase64)(&string, pool(), &bytes, &count);
    return taken(status, bytes, count);
  }
};

TEST_F(Base64, PublishedVectors) {
  const struct {
    std::string bytes, text;
  } vectors[] = {{"", ""},
                 {"f", "Zg=="},
                 {"fo", "Zm8="},
                 {"foo", "Zm9v"},
                 {"foob", "Zm9vYg=="},
                 {"fooba", "Zm9vYmE="},
                 {"foobar", "Zm9vYmFy"}};
  for (const auto& [plain, text] : vectors) {
    const Bytes bytes(plain.begin(), plain.end());
    EXPECT_EQ(encode(bytes, false, 1, 0), text);
    EXPECT_EQ(encodeWide(bytes, true, 1, 0), widened(text));
    EXPECT_EQ(decode(text, false), bytes);
    EXPECT_EQ(decode(widened(text), true), bytes);
  }
}

// Every input of up to three bytes, in both alphabets.
TEST_F(Base64, ShortInputsComeBack) {
  for (const bool isUrl : {false, true}) {
    for (uint32_t number = 0; number < 0x10100; ++number) {
      Bytes bytes{static_cast<uint8_t>(number)};
      if (number >= 0x100)
        bytes = {static_cast<uint8_t>(number - 0x100), static_cast<uint8_t>((number - 0x100) >> 8)};
      const std::string text = encode(bytes, isUrl, number % 2, 0);
      ASSERT_EQ(text, naiveEncoded(bytes, isUrl, number % 2, false));
      ASSERT_EQ(decodeAt(text.data(), text.size(), isUrl), bytes);
    }
    // The inputs of three bytes in runs of 65536.
    const vq::base64::Alphabet& alphabet = isUrl ? vq::base64::urlSafe : vq::base64::standard;
    constexpr size_t groups = 0x10000;
    Bytes bytes(3 * groups), back(3 * groups);
    std::string text(4 * groups, 0);
    for (uint32_t first = 0; first < 0x100; ++first) {
      for (size_t i = 0; i < groups; ++i) {
        bytes[3 * i] = static_cast<uint8_t>(first);
        bytes[3 * i + 1] = static_cast<uint8_t>(i >> 8);
        bytes[3 * i + 2] = static_cast<uint8_t>(i);
      }
      vq::base64::encodeGroups(alphabet, bytes.data(), groups, text.data());
      ASSERT_TRUE(text == naiveEncoded(bytes, isUrl, true, false));
      ASSERT_EQ(vq::base64::decodeGroups(alphabet, text.data(), groups, back.data()), groups);
      ASSERT_EQ(back, bytes);
    }
  }
}

TEST_F(Base64, EncodesEveryLengthOnEveryLevel) {
  std::mt19937 random(4648);
  test::atEveryLevel([&] {
    for (size_t size = 1; size < 240; ++size) {
      const Bytes bytes = randomBytes(random, size);
      const test::GuardedBuffer<uint8_t> guarded{std::span<const uint8_t>(bytes)};
      VQU8String* made = nullptr;
      ASSERT_EQ(vqU8StringEncodeBase64(service(), guarded.data(), size, nullptr, &made, 1, size % 2), 0u);
      ASSERT_EQ(std::string(made->text, made->length), naiveEncoded(bytes, false, true, size % 2)) << size;
      vqU8StringDestroy(made);
      ASSERT_EQ(encode(bytes, true, 0, 1), naiveEncoded(bytes, true, false, true)) << size;
      const uint8_t pad = size / 2 % 2;
      ASSERT_EQ(encodeWide(bytes, true, pad, 2), widened(naiveEncoded(bytes, true, pad, false))) << size;
      ASSERT_EQ(encodeWide(bytes, false, pad, 1), widened(naiveEncoded(bytes, false, pad, true))) << size;
    }
    // The line feeds of a long text outgrow the simple sum.
    const Bytes bytes = randomBytes(random, 100'000);
    ASSERT_EQ(encode(bytes, false, 1, 1), naiveEncoded(bytes, false, true, true));
  });
}

// Every count of groups at the edges of a page.
template <class Element>
void expectCodecWithinBounds(const Bytes& bytes, test::Edge edge) {
  using namespace vq::base64;
  const size_t groups = bytes.size() / 3;
  const std::string narrow = naiveEncoded(bytes, true, false, false);
  const std::basic_string<Element> expected(narrow.begin(), narrow.end());
  const test::GuardedBuffer<uint8_t> source(std::span<const uint8_t>(bytes), edge);
  const test::GuardedBuffer<Element> text(expected.size(), edge);
  encodeGroups(urlSafe, source.data(), groups, text.data());
  ASSERT_TRUE(std::equal(expected.begin(), expected.end(), text.begin())) << groups;
  const test::GuardedBuffer<uint8_t> back(bytes.size(), edge);
  ASSERT_EQ(decodeGroups(urlSafe, text.data(), groups, back.data()), groups);
  ASSERT_TRUE(std::equal(back.begin(), back.end(), bytes.begin())) << groups;
}

// Targets at every distance from the boundaries that stores are moved to: how much is left for the last steps
// depends on it.
template <class Element>
void expectCodecAtEveryDistance(const Bytes& bytes) {
  constexpr size_t distances = 64 / sizeof(Element);
  const test::GuardedBuffer<uint8_t> source{std::span<const uint8_t>(bytes)};
  const std::string encoded = naiveEncoded(bytes, false, false, false);
  for (size_t shift = 0; shift <= distances; ++shift) {
    const std::string narrow = std::string(shift, '.') + encoded + std::string(distances - shift, '.');
    std::basic_string<Element> text(narrow.size(), '.');
    vq::base64::encodeGroups(vq::base64::standard, source.data(), bytes.size() / 3, text.data() + shift);
    ASSERT_TRUE(std::equal(text.begin(), text.end(), narrow.begin())) << bytes.size() << " at " << shift;
  }
}

TEST_F(Base64, CodecStaysInsideItsBounds) {
  std::mt19937 random(7);
  test::atEveryLevel([&] {
    for (size_t groups = 0; groups < 120; ++groups) {
      const Bytes bytes = randomBytes(random, 3 * groups);
      for (const test::Edge edge : {test::Edge::behind, test::Edge::before}) {
        expectCodecWithinBounds<char>(bytes, edge);
        expectCodecWithinBounds<char32_t>(bytes, edge);
      }
      expectCodecAtEveryDistance<char>(bytes);
      expectCodecAtEveryDistance<char32_t>(bytes);
    }
  });
}

template <class Element>
void expectLinesWithinBounds(const Bytes& bytes, test::Edge edge) {
  using namespace vq::base64;
  const size_t lines = bytes.size() / 57;
  const std::string wrapped = naiveEncoded(bytes, false, false, true);
  const test::GuardedBuffer<uint8_t> source(std::span<const uint8_t>(bytes), edge);
  const test::GuardedBuffer<Element> text(wrapped.size(), edge);
  encodeLines(standard, source.data(), lines, text.data());
  ASSERT_TRUE(std::equal(wrapped.begin(), wrapped.end(), text.begin())) << lines;
  // In decoding, the line feed stands in front.
  std::rotate(text.begin(), text.end() - 1, text.end());
  const test::GuardedBuffer<uint8_t> back(bytes.size(), edge);
  ASSERT_EQ(decodeLines(standard, text.data(), lines, back.data()), lines);
  ASSERT_TRUE(std::equal(back.begin(), back.end(), bytes.begin())) << lines;
  // Something else in any place ends it with the lines in front.
  for (size_t place = 0; place < text.size(); place += 7) {
    const Element before = std::exchange(text[place], static_cast<Element>('!'));
    ASSERT_EQ(decodeLines(standard, text.data(), lines, back.data()), place / 77) << place;
    text[place] = before;
  }
}

TEST_F(Base64, LinesStayInsideTheirBounds) {
  std::mt19937 random(76);
  test::atEveryLevel([&] {
    for (size_t lines = 1; lines < 6; ++lines) {
      const Bytes bytes = randomBytes(random, 57 * lines);
      for (const test::Edge edge : {test::Edge::behind, test::Edge::before}) {
        expectLinesWithinBounds<char>(bytes, edge);
        expectLinesWithinBounds<char32_t>(bytes, edge);
      }
    }
  });
}

// A host that converts otherwise has the whole text to convert.
struct OddNls : VQNls {
  explicit OddNls(VQNls* source) : VQNls(*source), real(source) {
    nlsMeasureConversion = [](VQNls* nls, uint32_t from, const void* text, uint64_t byteCount, uint32_t to,
                              uint64_t* size) {
      VQNls* host = static_cast<OddNls*>(nls)->real;
      const VQStatus status = host->nlsMeasureConversion(host, from, text, byteCount, to, size);
      *size += 8;
      return status;
    };
    nlsCreateDecoder = [](VQNls* nls, uint32_t from, uint64_t first, uint64_t second) {
      VQNls* host = static_cast<OddNls*>(nls)->real;
      return host->nlsCreateDecoder(host, from, first, second);
    };
  }
  VQNls* real;
};

TEST_F(Base64, AnOddHostConvertsTheWholeText) {
  const Bytes bytes(300, 0x5A);
  const std::string narrow = naiveEncoded(bytes, false, true, false);
  VQStringService odd = *service();
  OddNls nls(odd.nls);
  odd.nls = &nls;
  VQString* made = nullptr;
  ASSERT_EQ(vqStringEncodeBase64(&odd, bytes.data(), bytes.size(), pool(), &made, 1, 0), 0u);
  EXPECT_EQ(std::u32string(made->text, static_cast<size_t>(made->length)), widened(narrow));
  EXPECT_EQ(made->capacity, static_cast<int64_t>(vq::capacityFor(narrow.size() + 2)));
  vqStringDestroy(made);
  // Without a conversion the bytes are taken for elements.
  nls.nlsCanConvert = [](VQNls*, uint32_t, uint32_t, uint64_t) -> uint8_t { return 0; };
  ASSERT_EQ(vqStringEncodeBase64(&odd, bytes.data(), bytes.size(), pool(), &made, 1, 0), 0u);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(made->text), 4 * static_cast<size_t>(made->length)),
            narrow);
  vqStringDestroy(made);
}

// Every byte value in every place of a vector, and wide characters whose low byte would pass.
TEST_F(Base64, RefusesWhatIsNoCharacter) {
  const std::string clean(44, 'Q');
  test::atEveryLevel([&] {
    for (const bool isUrl : {false, true}) {
      for (int byte = 0; byte < 256; ++byte) {
        for (const size_t place : {0u, 17u, 31u, 33u, 43u}) {
          std::string text = clean;
          text[place] = static_cast<char>(byte);
          ASSERT_EQ(decode(text, isUrl), naiveU8(text, isUrl)) << byte << " at " << place;
          ASSERT_EQ(decode(widened(text), isUrl), naiveWide(widened(text), isUrl)) << byte << " at " << place;
        }
      }
      for (const char32_t character : {0x141u, 0x8041u, 0x10041u, 0x7FFF0041u, 0x80000041u, 0xFFFFFF41u}) {
        for (size_t place = 0; place < clean.size(); ++place) {
          std::u32string text = widened(clean);
          text[place] = character;
          ASSERT_EQ(decode(text, isUrl), std::nullopt) << std::hex << +character << " at " << place;
        }
      }
    }
  });
}

// Encoded text, wrapped or not, with a few elements changed, added and taken away.
TEST_F(Base64, DamagedTextDecodesByTheRules) {
  std::mt19937 random(20160621);
  const std::u32string damage = U"==\n\n\n\t  \r+/-_AQz09.";
  test::atEveryLevel([&] {
    size_t accepted = 0;
    for (int round = 0; round < 4'000; ++round) {
      const bool isUrl = random() % 2 != 0;
      const size_t size = random() % (round % 4 == 0 ? 400 : 130);
      std::string text = naiveEncoded(randomBytes(random, size), isUrl, random() % 2, random() % 2);
      for (size_t changes = random() % 4; changes != 0; --changes) {
        const size_t place = text.empty() || random() % 2
                                 ? text.size() - std::min<size_t>(text.size(), random() % 6)
                                 : random() % text.size();
        const auto character = static_cast<char>(damage[random() % damage.size()]);
        if (random() % 3 == 0) {
          text.erase(place, 1);
        } else if (random() % 2 == 0 && place < text.size()) {
          text[place] = character;
        } else {
          text.insert(place, 1, character);
        }
      }
      ASSERT_EQ(decode(text, isUrl), naiveU8(text, isUrl)) << text;
      ASSERT_EQ(decode(widened(text), isUrl), naiveWide(widened(text), isUrl)) << text;
      accepted += naiveU8(text, isUrl).has_value();
    }
    // Both outcomes are met often enough to mean something.
    EXPECT_GT(accepted, 800u);
    EXPECT_LT(accepted, 3'200u);
  });
}

// What the two families make of padding, blanks and cut-off groups. A count of -1: refused.
TEST_F(Base64, FamiliesDiffer) {
  const struct {
    const char* text;
    int u8, wide;
  } cases[] = {
      {"QQ==", 1, 1},       {"QQ", 1, 1},         {"Q", 1, 1},          {"====", 0, 0},
      {"QQ=", -1, 1},       {"Q=Q=", -1, 1},      {"QQ==\n", -1, 1},    {"QUJD\nQQ==", -1, 4},
      {"Q Q = =", -1, 1},   {"QUJD=QUJD", -1, 3}, {"QUJD=!!!!", -1, 3}, {" \t\n ", -1, 0},
      {"\n\n", 0, 0},       {"QUJD\nQUJD", 6, 6}, {"QUJD\n", 3, 3},     {"QUJD\r\n", -1, -1},
      {"Q\nU\nJ\nD", 3, 3}, {"QU=D", -1, 1},      {"!UJD", -1, -1},     {"QUJDQUJ!", -1, -1},
  };
  for (const auto& [text, u8, wide] : cases) {
    const std::optional<Bytes> narrow = decode(std::string(text), false);
    EXPECT_EQ(narrow ? static_cast<int>(narrow->size()) : -1, u8) << text;
    const std::optional<Bytes> broad = decode(widened(text), false);
    EXPECT_EQ(broad ? static_cast<int>(broad->size()) : -1, wide) << text;
  }
  EXPECT_EQ(decode(std::string("Q"), false), Bytes{0x40});
}

TEST_F(Base64, AnEmptyTextGivesNoBlock) {
  uint8_t byte = 0;
  uint8_t* bytes = &byte;
  uint64_t count = 1;
  VQU8String narrow;
  vqU8StringInitStatic(service(), &narrow, pool(), nullptr, 0);
  EXPECT_EQ(vqU8StringDecodeBase64(&narrow, pool(), &bytes, &count), 0u);
  EXPECT_EQ(bytes, nullptr);
  EXPECT_EQ(count, 0u);
  bytes = &byte;
  count = 1;
  VQString wide;
  vqStringInitStatic(service(), &wide, pool(), nullptr, 0);
  EXPECT_EQ(vqStringDecodeBase64URL(&wide, pool(), &bytes, &count), 0u);
  EXPECT_EQ(bytes, nullptr);
  EXPECT_EQ(count, 0u);
}

class Base64Faults : public test::FaultTest {};

TEST_F(Base64Faults, EncodersLeaveTheTarget) {
  const Bytes bytes(1500, 1);
  VQU8String* const untouched = reinterpret_cast<VQU8String*>(1);
  VQU8String* narrow = untouched;
  forEveryFault(
      [&] {
        narrow = untouched;
        const VQStatus status =
            vqU8StringEncodeBase64(service(), bytes.data(), bytes.size(), faultyPool(), &narrow, 1, 1);
        if (status == 0) vqU8StringDestroy(narrow);
        return status;
      },
      [&](VQStatus status, const test::Fault&) {
        EXPECT_EQ(status, VQSTATUS_NO_MEMORY);
        EXPECT_EQ(narrow, untouched);
      });
  VQString* const untouchedWide = reinterpret_cast<VQString*>(1);
  VQString* wide = untouchedWide;
  EXPECT_EQ(forEveryFault(
                [&] {
                  wide = untouchedWide;
                  const VQStatus status =
                      vqStringEncodeBase64(service(), bytes.data(), bytes.size(), faultyPool(), &wide, 1, 0);
                  if (status == 0) vqStringDestroy(wide);
                  return status;
                },
                [&](VQStatus status, const test::Fault& fault) {
                  const bool isStatus = fault.call == test::measureConversion || fault.call == test::convert;
                  EXPECT_EQ(status, isStatus                               ? test::injectedStatus
                                    : fault.call == test::createTranscoder ? VQSTATUS_NO_CONVERTER
                                                                           : VQSTATUS_NO_MEMORY);
                  // Record and block of the temporary come first.
                  EXPECT_EQ(wide, fault.number <= 2 ? untouchedWide : nullptr);
                }),
            0u);
}

TEST_F(Base64Faults, DecodersWithoutMemory) {
  VQU8String narrow;
  vqU8StringInitStatic(service(), &narrow, faultyPool(), "QUJD", 4);
  uint8_t* bytes = nullptr;
  uint64_t count = 77;
  forEveryFault(
      [&] {
        bytes = reinterpret_cast<uint8_t*>(1);
        count = 77;
        const VQStatus status = vqU8StringDecodeBase64(&narrow, faultyPool(), &bytes, &count);
        if (status == 0) faultyPool()->poolFree(faultyPool(), bytes);
        return status;
      },
      [&](VQStatus status, const test::Fault&) {
        EXPECT_EQ(status, VQSTATUS_NO_MEMORY);
        EXPECT_EQ(bytes, nullptr);
        EXPECT_EQ(count, 77u);
      });
}

}  // namespace

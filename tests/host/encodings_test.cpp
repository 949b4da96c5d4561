// Encodings by number and name, and conversion between every two of them.
#include <algorithm>
#include <iterator>
#include <map>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "support/guarded_buffer.hpp"
#include "support/host_fixture.hpp"

namespace {

using namespace std::literals;
using Bytes = std::string;

std::vector<const VQHostEncoding*> allEncodings() {
  std::vector<const VQHostEncoding*> all;
  for (uint32_t i = 0; i < vqhostEncodingCount(); ++i) all.push_back(vqhostEncodingAt(i));
  return all;
}

uint32_t numberOf(const char* name) {
  const VQHostEncoding* encoding = vqhostFindEncoding(name);
  EXPECT_NE(encoding, nullptr) << name;
  return encoding == nullptr ? 0 : encoding->number;
}

Bytes wideBytes(std::u32string_view text) {
  return Bytes(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(VQChar));
}

class Encodings : public test::KernelTest {
 protected:
  struct Converted {
    VQStatus status;
    Bytes bytes;
    bool operator==(const Converted&) const = default;
    friend void PrintTo(const Converted& converted, std::ostream* out) {
      *out << std::hex << converted.status << ' ' << testing::PrintToString(converted.bytes);
    }
  };

  // Measures, then converts into a target of exactly that size with a forbidden page behind it.
  Converted convert(uint32_t source, uint32_t target, const Bytes& text) {
    const test::GuardedBuffer<char> from{std::span<const char>(text)};
    uint64_t measured = 0;
    const VQStatus measureStatus =
        nls()->nlsMeasureConversion(nls(), source, from.data(), from.size(), target, &measured);
    const bool isCounted =
        (source == ENC_UTF8 && target == ENC_WIDE) || (source == ENC_WIDE && target == ENC_UTF8);
    test::GuardedBuffer<char> to(measureStatus == 0 ? measured : text.size() * 8);
    VQTranscoder* transcoder = nls()->nlsCreateTranscoder(nls(), source, target, 0, 0);
    EXPECT_NE(transcoder, nullptr);
    uint64_t written = 0;
    const VQStatus status = transcoder->transcoderConvert(transcoder, from.data(), from.size(), to.data(),
                                                          to.size(), &written, 0);
    transcoder->transcoderDestroy(transcoder);
    if (!isCounted) {
      EXPECT_EQ(status, measureStatus) << source << " to " << target;
    }
    if (status == 0) {
      EXPECT_EQ(written, measured) << source << " to " << target;
    }
    return {status, Bytes(to.data(), written)};
  }
};

TEST_F(Encodings, NumbersAndNamesLeadToTheSameRecord) {
  EXPECT_GE(vqhostEncodingCount(), 60u);
  EXPECT_EQ(vqhostEncodingByNumber(ENC_UTF8)->encodingClass, 1u);
  for (const VQHostEncoding* encoding : allEncodings()) {
    EXPECT_EQ(vqhostEncodingByNumber(encoding->number), encoding);
    EXPECT_EQ(vqhostFindEncoding(encoding->name), encoding) << encoding->name;
    for (const char* const* alias = encoding->aliases; *alias != nullptr; ++alias) {
      EXPECT_EQ(vqhostFindEncoding(*alias), encoding) << *alias;
    }
    const VQEncodingInfo* info = nullptr;
    ASSERT_EQ(nls()->nlsEncodingInfo(nls(), encoding->number, &info), 0u);
    EXPECT_EQ(info->encoding, encoding->number);
    EXPECT_EQ(info->encodingClass, encoding->encodingClass);
  }
  EXPECT_EQ(vqhostFindEncoding("utf_8")->number, ENC_UTF8);
  EXPECT_STREQ(vqhostFindEncoding("cp1252")->name, "windows-1252");
  EXPECT_STREQ(vqhostFindEncoding("ibm-1208")->name, "UTF-8");
  EXPECT_EQ(vqhostFindEncoding("no such encoding"), nullptr);
  EXPECT_EQ(vqhostEncodingByNumber(0), nullptr);
  EXPECT_EQ(vqhostEncodingByNumber(UINT32_MAX), nullptr);
  const VQEncodingInfo* info = nullptr;
  EXPECT_EQ(nls()->nlsEncodingInfo(nls(), 0, &info), VQHOST_STATUS_NO_ENCODING);
  EXPECT_EQ(nls()->nlsCreateDecoder(nls(), 0, 0, 0), nullptr);
  EXPECT_EQ(nls()->nlsCanConvert(nls(), ENC_WIDE, ENC_WIDE, 0), 0);
  EXPECT_EQ(nls()->nlsCanConvert(nls(), ENC_WIDE, 0, 0), 0);
}

TEST_F(Encodings, TextsComeOutAsTheirStandardsSay) {
  struct Case {
    const char* encoding;
    Bytes bytes;
    std::u32string_view text;
  };
  for (const Case& c : std::vector<Case>{
           {"ISO-8859-1", "caf\xE9", U"café"},
           {"ISO-8859-15", "\xA4", U"€"},
           {"windows-1252", "\x80", U"€"},
           {"windows-1251", "\xC6\xF3\xEA", U"Жук"},
           {"KOI8-R", "\xF6\xD5\xCB", U"Жук"},
           {"macintosh", "\x8E", U"é"},
           {"IBM437", "\x82", U"é"},
           {"IBM037", "\xC1\x82", U"Ab"},
           {"IBM01140", "\x9F", U"€"},
           {"Shift_JIS", "\x93\xFA\x96\x7B", U"日本"},
           {"EUC-JP", "\xC6\xFC\xCB\xDC", U"日本"},
           {"ISO-2022-JP", "\x1B$BF|K\\\x1B(B", U"日本"},
           {"EUC-KR", "\xC7\xD1", U"한"},
           {"GB18030", "\xD6\xD0\x94\x39\xFC\x36", U"中\U0001F600"},
           {"Big5", "\xA4\xA4", U"中"},
           {"UTF-16BE", "\xD8\x3D\xDE\x00"s, U"\U0001F600"},
           {"UTF-16LE", "\x3D\xD8\x00\xDE"s, U"\U0001F600"},
           {"UTF-32BE", "\x00\x01\xF6\x00"s, U"\U0001F600"},
           {"UTF-7", "+AOk-", U"é"},
           {"CESU-8", "\xED\xA0\xBD\xED\xB8\x80", U"\U0001F600"},
           {"UTF-8", "\xF0\x9F\x98\x80", U"\U0001F600"},
           {"IBM939", "\x0E\x45\x62\x0F"s, U"日"},
       }) {
    const uint32_t number = numberOf(c.encoding);
    EXPECT_EQ(convert(number, ENC_WIDE, c.bytes), (Converted{0, wideBytes(c.text)})) << c.encoding;
    EXPECT_EQ(convert(ENC_WIDE, number, wideBytes(c.text)), (Converted{0, c.bytes})) << c.encoding;
  }
}

TEST_F(Encodings, NothingIsReplaced) {
  struct Case {
    const char* source;
    const char* target;
    Bytes bytes;
    VQStatus status;
  };
  for (const Case& c : std::vector<Case>{
           {"UTF-8", "wide", "a\xC0\x80", VQSTATUS_BAD_SEQUENCE},
           {"UTF-8", "wide", "a\xE2\x82", VQSTATUS_SHORT_SEQUENCE},
           {"UTF-8", "UTF-16LE", "\xED\xA0\x80", VQSTATUS_BAD_SEQUENCE},
           {"UTF-8", "UTF-16LE", "\xF0\x9F\x98", VQSTATUS_SHORT_SEQUENCE},
           {"UTF-8", "ISO-8859-1", "\xE2\x82\xAC", VQSTATUS_BAD_SEQUENCE},
           {"UTF-8", "US-ASCII", "\xC3\xA9", VQSTATUS_BAD_SEQUENCE},
           {"wide", "UTF-8", wideBytes(U"\xD800"), VQSTATUS_BAD_SEQUENCE},
           {"wide", "UTF-8", "a\0\0"s, VQSTATUS_SHORT_SEQUENCE},
           {"wide", "KOI8-R", wideBytes(U"\x110000"), VQSTATUS_BAD_SEQUENCE},
           {"wide", "KOI8-R", "a\0\0"s, VQSTATUS_SHORT_SEQUENCE},
           {"wide", "Shift_JIS", wideBytes(U"\U0001F600"), VQSTATUS_BAD_SEQUENCE},
           {"ISO-8859-3", "UTF-8", "\xA5", VQSTATUS_BAD_SEQUENCE},
           {"US-ASCII", "wide", "\x80", VQSTATUS_BAD_SEQUENCE},
           {"Shift_JIS", "wide", "\x93", VQSTATUS_SHORT_SEQUENCE},
           {"GB18030", "UTF-8", "\x94\x39\xFC", VQSTATUS_SHORT_SEQUENCE},
           {"EUC-JP", "wide", "\xC6 ", VQSTATUS_BAD_SEQUENCE},
           {"UTF-16BE", "UTF-8", "\xD8\x3D\x00\x41"s, VQSTATUS_BAD_SEQUENCE},
           {"UTF-16BE", "UTF-8", "\xD8\x3D"s, VQSTATUS_SHORT_SEQUENCE},
           {"UTF-16LE", "wide", "A\0B"s, VQSTATUS_SHORT_SEQUENCE},
           {"UTF-32BE", "wide", "\x00\x11\x00\x00"s, VQSTATUS_BAD_SEQUENCE},
           {"UTF-7", "wide", "+2AA-", VQSTATUS_BAD_SEQUENCE},
       }) {
    EXPECT_EQ(convert(numberOf(c.source), numberOf(c.target), c.bytes).status, c.status)
        << c.source << " to " << c.target << ' ' << testing::PrintToString(c.bytes);
  }
}

// What can be said in an encoding, as wide text: a thousand characters at most.
std::u32string repertoire(VQNls* nls, uint32_t encoding) {
  std::u32string found;
  VQTranscoder* encoder = nls->nlsCreateEncoder(nls, encoding, 0, 0);
  const auto tryCharacters = [&](VQChar first, VQChar last, VQChar step) {
    for (VQChar c = first; c <= last; c += step) {
      char out[16];
      uint64_t written = 0;
      if (encoding == ENC_WIDE ||
          encoder->transcoderConvert(encoder, &c, sizeof(c), out, sizeof(out), &written, 0) == 0) {
        found += c;
      }
    }
  };
  tryCharacters(0x20, 0x7E, 1);
  tryCharacters(0xA0, 0x600, 3);
  tryCharacters(0x2010, 0x2600, 13);
  tryCharacters(0x3041, 0xD7A3, 211);
  tryCharacters(0x1F600, 0x1F64F, 9);
  if (encoder != nullptr) encoder->transcoderDestroy(encoder);
  return found;
}

TEST_F(Encodings, EveryPairConvertsAndMeasuresWhatItConverts) {
  std::mt19937 random(20160621);
  std::map<uint32_t, std::u32string> characters;
  for (const VQHostEncoding* encoding : allEncodings()) {
    characters[encoding->number] = repertoire(nls(), encoding->number);
    ASSERT_GT(characters[encoding->number].size(), 90u) << encoding->name;
  }
  for (const VQHostEncoding* source : allEncodings()) {
    for (const VQHostEncoding* target : allEncodings()) {
      if (source == target) continue;
      SCOPED_TRACE(testing::Message() << source->name << " to " << target->name);
      ASSERT_EQ(nls()->nlsCanConvert(nls(), source->number, target->number, 0), 1);
      std::u32string common;
      std::ranges::set_intersection(characters[source->number], characters[target->number],
                                    std::back_inserter(common));
      std::u32string text;
      for (size_t i = 0, n = random() % 30; i < n; ++i) text += common[random() % common.size()];
      const Bytes wide = wideBytes(text);
      const Bytes bytes = source->number == ENC_WIDE ? wide : convert(ENC_WIDE, source->number, wide).bytes;
      const Converted there = convert(source->number, target->number, bytes);
      ASSERT_EQ(there.status, 0u);
      const Bytes back =
          target->number == ENC_WIDE ? there.bytes : convert(target->number, ENC_WIDE, there.bytes).bytes;
      ASSERT_EQ(back, wide);
      // And bytes that mean anything or nothing: measure and convert must still agree.
      Bytes noise;
      for (size_t i = 0, n = random() % 40; i < n; ++i)
        noise += static_cast<char>(random() % 5 ? random() : 'a');
      if (source->number == ENC_WIDE) noise.resize(noise.size() / sizeof(VQChar) * sizeof(VQChar));
      convert(source->number, target->number, noise);
    }
  }
}

TEST_F(Encodings, MakingATranscoderBetweenUtf8AndWideAllocatesNothing) {
  const uint64_t before = vqhostLiveObjects(host());
  VQTranscoder* decoder = nls()->nlsCreateDecoder(nls(), ENC_UTF8, 0, 0);
  VQTranscoder* again = nls()->nlsCreateTranscoder(nls(), ENC_UTF8, ENC_WIDE, 0, 0);
  VQTranscoder* encoder = nls()->nlsCreateEncoder(nls(), ENC_UTF8, 0, 0);
  EXPECT_EQ(decoder, again);
  EXPECT_EQ(vqhostLiveObjects(host()), before);
  for (VQTranscoder* transcoder : {decoder, again, encoder}) transcoder->transcoderDestroy(transcoder);
}

// ---- piece by piece ----

class Stream : public Encodings {
 public:
  struct Finding {
    VQStatus status;
    uint64_t offset;
    uint64_t length;
    bool operator==(const Finding&) const = default;
  };
  struct Result {
    Bytes bytes;
    std::vector<Finding> findings;
    bool operator==(const Result&) const = default;
    friend void PrintTo(const Result& result, std::ostream* out) {
      *out << testing::PrintToString(result.bytes);
      for (const Finding& finding : result.findings) {
        *out << " {" << std::hex << finding.status << std::dec << ", " << finding.offset << ", "
             << finding.length << '}';
      }
    }
  };

  // Pushes the text in pieces of random size into small targets; skips or replaces what cannot be converted.
  Result run(uint32_t source, uint32_t target, const Bytes& text, bool isReplacing, std::mt19937* random) {
    VQHostConverter* converter = nullptr;
    EXPECT_EQ(vqhostConverterOpen(host(), source, target, &converter), 0u);
    Result result;
    size_t at = 0;
    for (bool isFinal = false; !isFinal;) {
      const size_t piece =
          random == nullptr ? text.size() : std::min<size_t>(text.size() - at, (*random)() % 6);
      const size_t end = at + piece;
      isFinal = end == text.size();
      for (;;) {
        constexpr size_t mostRoom = 24;
        char buffer[2 * mostRoom];
        std::fill(std::begin(buffer), std::end(buffer), '.');
        const size_t room = random == nullptr ? mostRoom : 4 + (*random)() % (mostRoom - 4);
        VQHostProgress progress;
        const VQStatus status = vqhostConverterPush(converter, text.data() + at, end - at, isFinal ? 1 : 0,
                                                    buffer, room, &progress);
        EXPECT_LE(progress.written, room);
        EXPECT_EQ(std::count(buffer + room, std::end(buffer), '.'), std::end(buffer) - (buffer + room));
        result.bytes.append(buffer, progress.written);
        at += progress.consumed;
        if (status == 0) break;
        if (status == VQSTATUS_TARGET_FULL) continue;
        result.findings.push_back({status, progress.offset, progress.length});
        if (isReplacing) {
          char replacement[VQHOST_REPLACEMENT_ROOM];
          result.bytes.append(replacement,
                              vqhostConverterReplace(converter, replacement, sizeof(replacement)));
        }
      }
      EXPECT_EQ(at, end);
    }
    vqhostConverterClose(converter);
    return result;
  }
};

TEST_F(Stream, TellsWhereTheTroubleIsAndGoesOn) {
  struct Case {
    const char* source;
    const char* target;
    Bytes text;
    Bytes replaced;
    std::vector<Finding> findings;
  };
  constexpr VQStatus bad = VQSTATUS_BAD_SEQUENCE;
  constexpr VQStatus cut = VQSTATUS_SHORT_SEQUENCE;
  for (const Case& c : std::vector<Case>{
           {"UTF-8", "UTF-8", "aé\xFFz", "aé\uFFFDz", {{bad, 3, 1}}},
           {"UTF-8", "UTF-8", "\xE2\x82xy\xF0\x9F\x98", "\uFFFDxy\uFFFD", {{bad, 0, 2}, {cut, 4, 3}}},
           {"UTF-8", "UTF-8", "\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD", {{bad, 0, 1}, {bad, 1, 1}, {bad, 2, 1}}},
           {"UTF-8", "ISO-8859-1", "é€\U0001F600!", "\xE9?\x3F!", {{bad, 2, 3}, {bad, 5, 4}}},
           {"UTF-8", "IBM037", "a€", "\x81\x6F", {{bad, 1, 3}}},
           {"ISO-8859-3", "UTF-8", "a\xA5\xA9", "a\uFFFDİ", {{bad, 1, 1}}},
           {"Shift_JIS", "UTF-8", "\x93\xFA\xFF\x93\xFA\x93", "日\uFFFD日\uFFFD", {{bad, 2, 1}, {cut, 5, 1}}},
           {"UTF-16BE", "UTF-8", "\x00\x41\xDC\x00\x00\x42"s, "A\uFFFDB", {{bad, 2, 2}}},
           {"Shift_JIS", "ISO-8859-1", "a\x93\xFA\x62", "a?b", {{bad, 1, 2}}},
           {"GB18030", "windows-1252", "\x94\x39\xFC\x36x", "?x", {{bad, 0, 4}}},
           {"ISO-8859-1", "UTF-16LE", "\xE9", "\xE9\0"s, {}},
           {"wide", "UTF-8", wideBytes(U"a\xD800é") + "xy", "a\uFFFDé\uFFFD", {{bad, 4, 4}, {cut, 12, 2}}},
       }) {
    SCOPED_TRACE(testing::Message() << c.source << " to " << c.target << ' '
                                    << testing::PrintToString(c.text));
    const uint32_t source = numberOf(c.source);
    const uint32_t target = numberOf(c.target);
    const Result expected{c.replaced, c.findings};
    EXPECT_EQ(run(source, target, c.text, true, nullptr), expected);
    for (unsigned seed = 0; seed < 30; ++seed) {
      std::mt19937 random(seed);
      ASSERT_EQ(run(source, target, c.text, true, &random), expected) << seed;
    }
  }
}

// The forms of Unicode, among which texts take ways of their own.
TEST_F(Stream, FormsOfUnicodeInEveryPair) {
  std::mt19937 random(4);
  const uint32_t forms[] = {ENC_UTF8, ENC_WIDE, numberOf("UTF-16LE"), numberOf("UTF-16BE")};
  for (int round = 0; round < 60; ++round) {
    std::u32string text;
    for (size_t left = random() % 300; left > 0; --left) text += U"a\u00E9\u6F22\U0001F600"[random() % 4];
    const auto formOf = [&](uint32_t number) {
      return number == ENC_WIDE ? wideBytes(text) : convert(ENC_WIDE, number, wideBytes(text)).bytes;
    };
    for (const uint32_t source : forms) {
      for (const uint32_t target : forms) {
        Bytes bytes = formOf(source);
        const Result expected{formOf(target), {}};
        ASSERT_EQ(run(source, target, bytes, false, nullptr), expected) << source << " to " << target;
        ASSERT_EQ(run(source, target, bytes, false, &random), expected) << source << " to " << target;
        if (bytes.empty()) continue;
        for (int breaks = 2; breaks > 0; --breaks) bytes[random() % bytes.size()] = '\xDC';
        ASSERT_EQ(run(source, target, bytes, false, &random), run(source, target, bytes, false, nullptr));
      }
    }
  }
}

TEST_F(Stream, PiecesMakeNoDifference) {
  std::mt19937 random(3);
  const std::vector<const VQHostEncoding*> all = allEncodings();
  for (int round = 0; round < 600; ++round) {
    const VQHostEncoding* source = all[random() % all.size()];
    const VQHostEncoding* target = all[random() % all.size()];
    SCOPED_TRACE(testing::Message() << source->name << " to " << target->name);
    const std::u32string characters = repertoire(nls(), source->number);
    std::u32string text;
    // Longer than the converter's own buffer now and then.
    for (size_t i = 0, n = random() % 10 == 0 ? 3000 : random() % 50; i < n; ++i) {
      text += characters[random() % characters.size()];
    }
    const Bytes wide = wideBytes(text);
    const Bytes bytes = source->number == ENC_WIDE ? wide : convert(ENC_WIDE, source->number, wide).bytes;
    Result whole = run(source->number, target->number, bytes, false, nullptr);
    Result pieces = run(source->number, target->number, bytes, false, &random);
    if (source->encodingClass == 2) {
      // The shift behind a character counts with it when it came in the same piece.
      for (Result* result : {&whole, &pieces}) {
        for (Finding& finding : result->findings) finding.length = 1;
      }
    }
    ASSERT_EQ(pieces, whole);
    if (source != target && whole.findings.empty()) {
      ASSERT_EQ(convert(source->number, target->number, bytes).bytes, whole.bytes);
    }
    for (const Finding& finding : whole.findings) {
      ASSERT_LT(finding.offset, bytes.size());
      ASSERT_GT(finding.length, 0u);
    }
  }
}

}  // namespace

// The conversion pass on a scripted host: what is asked, in which order and with which sizes.
//
// The host knows encoding 7, one byte a character, and the two encodings of the library; every conversion
// takes the low byte of an element. It measures one element too much.
#include <gmock/gmock.h>

#include "strings/conversion_pass.hpp"

#include "kinds_under_test.hpp"

namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

using Log = std::vector<std::string>;

struct Script {
  static inline Script* current = nullptr;
  Log log;
  std::string refused;
  VQStringService service{};
  VQNls nls{};
  VQPool pool{};
  VQTranscoder toWide{}, toUtf8{};

  bool note(const std::string& call) {
    log.push_back(call);
    return refused.empty() || call.rfind(refused, 0) != 0;
  }

  struct Converter : VQTranscoder {
    uint32_t source, target;
  };
  static VQStatus convert(uint32_t source, uint32_t target, const void* text, uint64_t byteCount, void* out,
                          uint64_t room, uint64_t* converted) {
    if (!current->note("convert into " + std::to_string(room))) return injectedStatus;
    const bool isWide = source == ENC_WIDE;
    const uint64_t count = isWide ? byteCount / 4 : byteCount;
    for (uint64_t i = 0; i < count; ++i) {
      const VQChar c = isWide ? static_cast<const VQChar*>(text)[i]
                              : static_cast<VQChar>(static_cast<const unsigned char*>(text)[i]);
      if (target == ENC_WIDE) {
        static_cast<VQChar*>(out)[i] = c;
      } else {
        static_cast<char*>(out)[i] = static_cast<char>(c);
      }
    }
    *converted = target == ENC_WIDE ? count * 4 : count;
    return 0;
  }
  static VQTranscoder* make(const char* call, uint32_t source, uint32_t target) {
    if (!current->note(call)) return nullptr;
    auto* made = new Converter{};
    made->source = source;
    made->target = target;
    made->transcoderConvert = [](VQTranscoder* self, const void* text, uint64_t byteCount, void* out,
                                 uint64_t room, uint64_t* converted, uint64_t) {
      auto* own = static_cast<Converter*>(self);
      return convert(own->source, own->target, text, byteCount, out, room, converted);
    };
    made->transcoderDestroy = [](VQTranscoder* self) {
      current->note("end");
      delete static_cast<Converter*>(self);
    };
    return made;
  }

  Script() {
    current = this;
    service.nls = &nls;
    service.pool = &pool;
    service.utf8ToWide = &toWide;
    service.wideToUtf8 = &toUtf8;
    pool.poolAlloc = [](VQPool*, uint64_t byteCount, uint32_t) {
      return current->note("+" + std::to_string(byteCount)) ? std::malloc(byteCount) : nullptr;
    };
    pool.poolFree = [](VQPool*, void* block) {
      current->note("-");
      std::free(block);
      return VQStatus{0};
    };
    nls.nlsCanConvert = [](VQNls*, uint32_t source, uint32_t target, uint64_t) -> uint8_t {
      return current->note("can " + std::to_string(source) + " " + std::to_string(target)) &&
             source != target;
    };
    nls.nlsMeasureConversion = [](VQNls*, uint32_t source, const void*, uint64_t byteCount, uint32_t target,
                                  uint64_t* size) -> VQStatus {
      if (!current->note("measure " + std::to_string(byteCount))) return injectedStatus;
      const uint64_t count = (source == ENC_WIDE ? byteCount / 4 : byteCount) + 1;
      *size = target == ENC_WIDE ? count * 4 : count;
      return 0;
    };
    nls.nlsCreateDecoder = [](VQNls*, uint32_t source, uint64_t, uint64_t) {
      return make("decoder", source, ENC_WIDE);
    };
    nls.nlsCreateTranscoder = [](VQNls*, uint32_t source, uint32_t target, uint64_t, uint64_t) {
      return make("transcoder", source, target);
    };
    toWide.transcoderConvert = [](VQTranscoder*, const void* text, uint64_t byteCount, void* out,
                                  uint64_t room, uint64_t* converted, uint64_t) {
      return convert(ENC_UTF8, ENC_WIDE, text, byteCount, out, room, converted);
    };
    toUtf8.transcoderConvert = [](VQTranscoder*, const void* text, uint64_t byteCount, void* out,
                                  uint64_t room, uint64_t* converted, uint64_t) {
      return convert(ENC_WIDE, ENC_UTF8, text, byteCount, out, room, converted);
    };
  }
};

template <class Element>
void expectRefusals(Script& script, VQStatus noTranscoder, auto pass) {
  const struct {
    const char* call;
    VQStatus status;
  } cases[] = {{"measure", injectedStatus},
               {"+", VQSTATUS_NO_MEMORY},
               {"decoder", noTranscoder},
               {"transcoder", noTranscoder},
               {"convert", injectedStatus}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.call);
    script.log.clear();
    script.refused = c.call;
    const vq::PassedText<Element> passed = pass();
    script.refused.clear();
    // A call that this pass does not make cannot be refused.
    const bool isMade = std::any_of(script.log.begin(), script.log.end(),
                                    [&](const std::string& word) { return word.rfind(c.call, 0) == 0; });
    EXPECT_EQ(passed.status, isMade ? c.status : 0);
    EXPECT_EQ(passed.isConverted(), passed.status == 0);
    const auto taken = std::count_if(script.log.begin(), script.log.end(),
                                     [](const std::string& word) { return word[0] == '+'; });
    const auto given = std::count(script.log.begin(), script.log.end(), "-");
    EXPECT_EQ(given, passed.status != 0 && std::string(c.call) != "+" ? taken : 0);
  }
}

TEST(ConversionPass, IntoWideText) {
  Script script;
  auto pass = [&](const void* text, int64_t length, uint32_t encoding) {
    return vq::passToWide(&script.service, &script.pool, text, length, encoding);
  };
  {
    const auto passed = pass("abc", -1, 7);
    EXPECT_EQ(std::u32string(passed.text, passed.elementCount), U"abc");
    EXPECT_THAT(script.log, ElementsAre("can 7 27", "measure 3", "+68", "decoder", "convert into 16", "end"));
  }
  script.log.clear();
  pass("abc", 2, ENC_UTF8);
  EXPECT_THAT(script.log, ElementsAre("can 20 27", "measure 2", "+52", "convert into 12", "-"));
  script.log.clear();
  // Wide text, and an encoding without a converter: as it stands, cut to whole elements.
  const auto wide = pass(U"abc", -1, ENC_WIDE);
  EXPECT_EQ(wide.elementCount, 3u);
  EXPECT_THAT(script.log, ElementsAre("can 27 27"));
  script.refused = "can";
  const char bytes[] = "12345678901";
  const auto raw = pass(bytes, 11, 7);
  EXPECT_EQ(static_cast<const void*>(raw.text), bytes);
  EXPECT_EQ(raw.elementCount, 2u);
  expectRefusals<VQChar>(script, VQSTATUS_NO_CONVERTER, [&] { return pass("abc", 3, 7); });
}

TEST(ConversionPass, IntoUtf8) {
  Script script;
  auto pass = [&](const void* text, int64_t length, uint32_t encoding) {
    return vq::passToU8(&script.service, &script.pool, text, length, encoding);
  };
  {
    // The size with its terminator decides the block: 4 bytes measured, so a text of 3.
    const auto passed = pass(U"abc", -1, ENC_WIDE);
    EXPECT_STREQ(passed.text, "abc");
    EXPECT_EQ(passed.capacity, 8u);
    EXPECT_THAT(script.log, ElementsAre("measure 12", "+8", "convert into 4"));
  }
  script.log.clear();
  pass("abc", 3, 7);
  EXPECT_THAT(script.log,
              ElementsAre("can 7 20", "measure 3", "+8", "transcoder", "convert into 4", "end", "-"));
  script.log.clear();
  EXPECT_EQ(pass("", 0, 7).elementCount, 0u);
  EXPECT_THAT(script.log, IsEmpty());
  pass("abc", 3, ENC_UTF8);
  EXPECT_THAT(script.log, ElementsAre("can 20 20"));
  expectRefusals<char>(script, VQSTATUS_NOT_AVAILABLE, [&] { return pass("abc", 3, 7); });
  script.service.wideToUtf8 = nullptr;
  EXPECT_EQ(pass(U"abc", 3, ENC_WIDE).elementCount, 12u);
}

TEST(ConversionPass, IntoNarrowText) {
  Script script;
  auto pass = [&](uint32_t encoding) { return vq::passToNarrow(&script.service, "abc", 3, encoding, 8); };
  EXPECT_EQ(pass(8).elementCount, 3u);
  EXPECT_THAT(script.log, IsEmpty());
  pass(7);
  EXPECT_THAT(script.log,
              ElementsAre("can 7 8", "measure 3", "+5", "transcoder", "convert into 4", "end", "-"));
  expectRefusals<char>(script, VQSTATUS_NO_CONVERTER, [&] { return pass(7); });
}

}  // namespace

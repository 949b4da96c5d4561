// Every host call of every edit fails in turn: the status is the one promised, the string is as it was, and
// no block stays behind.
#include "kinds_under_test.hpp"

namespace {

using namespace test;

template <class Kind>
struct Edit {
  const char* name;
  VQStatus (*run)(typename Kind::Record*);
  VQStatus noTranscoder = VQSTATUS_NO_CONVERTER;
};

const std::u32string wideText(40, U'\u00e9');
const std::string u8Text(40, 'e');

template <class Kind>
std::vector<Edit<Kind>> edits();

template <>
std::vector<Edit<Wide>> edits<Wide>() {
  return {
      {"copy text", [](VQString* s) { return vqStringCopyText(s, u8Text.data(), 40, ENC_UTF8); }},
      {"copy plain", [](VQString* s) { return Wide::copyText(s, wideText.data(), 40); }},
      {"append text", [](VQString* s) { return vqStringConcatText(s, u8Text.data(), 40, ENC_UTF8); }},
      {"append own", [](VQString* s) { return vqStringConcat(s, s); }},
      {"insert text", [](VQString* s) { return vqStringInsertText(s, 2, u8Text.data(), 40, ENC_UTF8); }},
      {"append Latin-1", [](VQString* s) { return vqStringConcatText(s, u8Text.data(), 40, latin1); }},
      {"substring",
       [](VQString* s) {
         VQStatus status = 0;
         VQString* part = vqStringSubstring(s, 1, s->length - 1, &status);
         EXPECT_EQ(part == nullptr, status != 0);
         vqStringDestroy(part);
         return status;
       }},
  };
}

template <>
std::vector<Edit<U8>> edits<U8>() {
  return {
      {"copy text", [](VQU8String* s) { return vqU8StringCopyText(s, wideText.data(), 40, ENC_WIDE); }},
      {"copy plain", [](VQU8String* s) { return U8::copyText(s, u8Text.data(), 40); }},
      {"append text", [](VQU8String* s) { return vqU8StringConcatText(s, wideText.data(), 40, ENC_WIDE); }},
      {"append own", [](VQU8String* s) { return U8::append(s, s->text, static_cast<int64_t>(s->length)); }},
      {"insert wide", [](VQU8String* s) { return vqU8StringInsertVQText(s, 2, wideText.data(), 40); }},
      {"insert bytes", [](VQU8String* s) { return U8::insert(s, 2, u8Text.data(), 40); }},
      {"copy Latin-1", [](VQU8String* s) { return vqU8StringCopyText(s, u8Text.data(), 40, latin1); },
       VQSTATUS_NOT_AVAILABLE},
  };
}

template <>
std::vector<Edit<Narrow>> edits<Narrow>() {
  return {
      {"copy plain", [](VQNarrowString* s) { return Narrow::copyText(s, u8Text.data(), 40); }},
      {"append own", [](VQNarrowString* s) { return vqNStringConcat(s, s); }},
      {"append UTF-8", [](VQNarrowString* s) { return vqNStringConcatText(s, u8Text.data(), 40, ENC_UTF8); }},
  };
}

template <class Kind>
class EditFaults : public FaultTest {};
using Kinds = testing::Types<Wide, U8, Narrow>;
TYPED_TEST_SUITE(EditFaults, Kinds);

TYPED_TEST(EditFaults, LeaveTheStringAsItWas) {
  using Text = typename TypeParam::Text;
  // Borrowed, inline and separate; the latter has no room left either.
  for (const int64_t length : {6, 20, 1100}) {
    const Text old(static_cast<size_t>(length), 'x');
    const auto* from = old.data();
    for (const auto& edit : edits<TypeParam>()) {
      SCOPED_TRACE(testing::Message() << edit.name << " on " << length);
      VQStatus last = this->forEveryFault(
          [&]() -> VQStatus {
            auto* string =
                length == 6
                    ? TypeParam::create(this->service(), this->faultyPool(), from, length, 0)
                    : TypeParam::createSized(this->service(), this->faultyPool(), from, length, length + 1);
            if (string == nullptr) return VQSTATUS_NO_MEMORY;
            const auto capacity = string->capacity;
            const auto* text = string->text;
            const VQStatus status = edit.run(string);
            if (status != 0) {
              EXPECT_EQ(textOf<TypeParam>(string), old);
              EXPECT_EQ(string->text, text);
              EXPECT_EQ(string->capacity, capacity);
            }
            TypeParam::destroy(string);
            return status;
          },
          [&](VQStatus status, const Fault& fault) {
            const bool isMemory = fault.call == poolAlloc || fault.call == poolRealloc;
            const bool isMaker = fault.call == createTranscoder;
            EXPECT_EQ(status, isMemory ? VQSTATUS_NO_MEMORY : isMaker ? edit.noTranscoder : injectedStatus);
          },
          everyCall & ~encodingInfo);
      EXPECT_EQ(last, 0u);
    }
  }
}

}  // namespace

// When an edit takes a larger block, how it takes it, and what happens to the old one.
#include "kinds_under_test.hpp"

namespace {

using namespace test;

// An edit with a source of 5 elements: the length that comes of a text of 10, and the capacity that it needs
// beyond the new length to stay where it is: 1 for the terminator alone, 2 for a spare element.
template <class Kind>
struct Case {
  const char* name;
  VQStatus (*edit)(typename Kind::Record*, const typename Kind::Record* five);
  uint64_t newLength;
  uint64_t roomNeeded;
  bool reallocates;
};

template <class Kind>
std::vector<Case<Kind>> cases();

template <>
std::vector<Case<Wide>> cases<Wide>() {
  return {{"copy", [](VQString* s, const VQString* t) { return vqStringCopy(s, t); }, 5, 1, false},
          {"copy text", [](VQString* s, const VQString* t) { return Wide::copyText(s, t->text, 5); }, 5, 2,
           false},
          {"concat", [](VQString* s, const VQString* t) { return vqStringConcat(s, t); }, 15, 2, true},
          {"concat text", [](VQString* s, const VQString* t) { return Wide::append(s, t->text, 5); }, 15, 2,
           true},
          {"insert", [](VQString* s, const VQString* t) { return Wide::insert(s, 3, t->text, 5); }, 15, 1,
           false}};
}
template <>
std::vector<Case<U8>> cases<U8>() {
  return {{"copy text", [](VQU8String* s, const VQU8String* t) { return U8::copyText(s, t->text, 5); }, 5, 2,
           false},
          {"concat text", [](VQU8String* s, const VQU8String* t) { return U8::append(s, t->text, 5); }, 15, 2,
           false},
          {"insert", [](VQU8String* s, const VQU8String* t) { return U8::insert(s, 3, t->text, 5); }, 15, 1,
           false}};
}
template <>
std::vector<Case<Narrow>> cases<Narrow>() {
  using String = VQNarrowString;
  return {
      {"copy", [](String* s, const String* t) { return vqNStringCopy(s, t); }, 5, 2, false},
      {"copy text", [](String* s, const String* t) { return Narrow::copyText(s, t->text, 5); }, 5, 2, false},
      {"concat", [](String* s, const String* t) { return vqNStringConcat(s, t); }, 15, 2, true},
      {"concat text", [](String* s, const String* t) { return Narrow::append(s, t->text, 5); }, 15, 2, true}};
}

template <class Kind>
class RoomTest : public HostTest {};
using Kinds = testing::Types<Wide, U8, Narrow>;
TYPED_TEST_SUITE(RoomTest, Kinds);

// Sized strings have any capacity that a test wants; from 1025 on they are separate.
TYPED_TEST(RoomTest, EdgesOfEveryEdit) {
  using Text = typename TypeParam::Text;
  const Text five{'a', 'b', 'c', 'd', 'e'};
  for (const bool isSeparate : {false, true}) {
    for (const auto& c : cases<TypeParam>()) {
      for (const uint64_t room : {0, 1, 2}) {
        SCOPED_TRACE(testing::Message() << c.name << ", room " << room << (isSeparate ? ", separate" : ""));
        // A copy makes a text of 5 and starts from an empty one; all others add 5.
        const bool isCopy = c.newLength == 5;
        if (isCopy && isSeparate) continue;
        const Text old(isCopy ? 0 : isSeparate ? 1110 : 10, 'z');
        const uint64_t newLength = old.size() + 5, capacity = newLength + room;
        RecordingPool pool(this->pool());
        auto* source = TypeParam::create(this->service(), this->pool(), five.data(), 5, 1);
        auto* string =
            TypeParam::createSized(this->service(), &pool, old.data(), static_cast<int64_t>(old.size()),
                                   static_cast<int64_t>(capacity));
        ASSERT_EQ(string->ownsBuffer, isSeparate ? 1 : 0);
        pool.log.clear();
        ASSERT_EQ(c.edit(string, source), 0u);
        EXPECT_EQ(static_cast<uint64_t>(string->length), newLength);
        EXPECT_EQ(string->text[newLength], 0u);
        const uint64_t grown = vq::capacityFor(newLength);
        const std::string bytes = std::to_string(grown * sizeof(typename TypeParam::Element));
        std::vector<std::string> calls;
        if (room < c.roomNeeded) {
          EXPECT_EQ(string->ownsBuffer, 1);
          if (!isSeparate) calls = {"+" + bytes};
          if (isSeparate)
            calls = c.reallocates ? std::vector{"=" + bytes} : std::vector{"+" + bytes, std::string("-")};
        }
        EXPECT_EQ(static_cast<uint64_t>(string->capacity), room < c.roomNeeded ? grown : capacity);
        EXPECT_EQ(pool.log, calls);
        TypeParam::destroy(string);
        TypeParam::destroy(source);
      }
    }
  }
}

// An empty source is a matter of its own in every operation.
class EmptySource : public HostTest {};

TEST_F(EmptySource, Wide) {
  VQString empty, borrowed;
  vqStringInitStatic(service(), &empty, nullptr, U"", 0);
  vqStringInitStatic(service(), &borrowed, pool(), U"abc", 3);
  EXPECT_EQ(vqStringCopy(&borrowed, &empty), 0u);
  EXPECT_EQ(vqStringConcat(&borrowed, &empty), 0u);
  EXPECT_EQ(borrowed.capacity, 0);
  EXPECT_EQ(vqStringConcatText(&borrowed, nullptr, 0, ENC_WIDE), 0u);
  EXPECT_EQ(borrowed.capacity, 8);
  EXPECT_EQ(textOf<test::Wide>(&borrowed), U"abc");
  EXPECT_EQ(vqStringCopyText(&borrowed, U"", -1, ENC_WIDE), 0u);
  EXPECT_EQ(borrowed.length, 0);
  EXPECT_EQ(borrowed.capacity, 8);
  vqStringDestroy(&borrowed);
  vqStringInitStatic(service(), &borrowed, pool(), U"abc", 3);
  EXPECT_EQ(vqStringCopyText(&borrowed, U"", 0, ENC_WIDE), 0u);
  EXPECT_EQ(borrowed.capacity, 2);
  vqStringDestroy(&borrowed);
}

TEST_F(EmptySource, BytesAndUtf8) {
  VQU8String u8;
  vqU8StringInitStatic(service(), &u8, pool(), "abc", 3);
  EXPECT_EQ(vqU8StringInsertVQText(&u8, 99, U"", 0), 0u);
  EXPECT_EQ(vqU8StringInsertU8(&u8, 99, "", 0), VQSTATUS_BAD_ARGUMENT);
  EXPECT_EQ(vqU8StringInsertU8(&u8, 3, "", 0), 0u);
  EXPECT_EQ(u8.capacity, 0u);
  EXPECT_EQ(vqU8StringConcatText(&u8, "", 0, ENC_UTF8), 0u);
  EXPECT_EQ(u8.capacity, 8u);
  EXPECT_EQ(vqU8StringCopyText(&u8, U"", -1, ENC_WIDE), 0u);
  EXPECT_EQ(u8.length, 0u);
  vqU8StringDestroy(&u8);
  vqU8StringInitStatic(service(), &u8, pool(), "abc", 3);
  EXPECT_EQ(vqU8StringCopyText(&u8, "", 0, latin1), 0u);
  EXPECT_EQ(u8.capacity, 2u);
  vqU8StringDestroy(&u8);

  VQNarrowString* empty = test::Narrow::create(service(), pool(), "", 0, 1);
  VQNarrowString* string = test::Narrow::create(service(), pool(), "abc", 3, 0);
  EXPECT_EQ(vqNStringConcat(string, empty), 0u);
  EXPECT_EQ(string->capacity, 8);
  empty->encoding = 1;
  EXPECT_EQ(vqNStringCopy(string, empty), 0u);
  EXPECT_EQ(string->length, 0);
  EXPECT_EQ(string->encoding, 1u);
  vqNarrowStringDestroy(string);
  vqNarrowStringDestroy(empty);
}

class Bounds : public HostTest {};

TEST_F(Bounds, InsertAndSubstring) {
  VQString* string = vqStringCreate(service(), pool(), U"abc", 3, 1);
  EXPECT_EQ(vqStringInsertText(string, 4, U"", 0, ENC_WIDE), VQSTATUS_BAD_ARGUMENT);
  EXPECT_EQ(vqStringInsertText(string, 3, U"d", 1, ENC_WIDE), 0u);
  EXPECT_EQ(textOf<test::Wide>(string), U"abcd");
  const struct {
    int64_t start, count;
    bool isGood;
  } ranges[] = {{0, 4, true},  {3, 1, true},          {4, 0, false},         {0, 0, false}, {4, 1, false},
                {1, 4, false}, {5, INT64_MAX, false}, {1, INT64_MAX, false}, {-1, 2, false}};
  for (const auto& range : ranges) {
    SCOPED_TRACE(testing::Message() << range.start << " + " << range.count);
    VQStatus status = 99;
    VQString* part = vqStringSubstring(string, range.start, range.count, &status);
    EXPECT_EQ(status, range.isGood ? 0 : VQSTATUS_BAD_ARGUMENT);
    ASSERT_EQ(part != nullptr, range.isGood);
    if (!range.isGood) continue;
    EXPECT_EQ(textOf<test::Wide>(part), textOf<test::Wide>(string).substr(static_cast<size_t>(range.start),
                                                                          static_cast<size_t>(range.count)));
    EXPECT_EQ(part->pool, string->pool);
    vqStringDestroy(part);
  }
  vqStringDestroy(string);
}

// Lengths that no memory holds are refused before anything is asked for.
TEST_F(Bounds, LengthsThatOverflow) {
  VQString* wide = vqStringCreate(service(), pool(), U"abc", 3, 1);
  VQU8String* u8 = test::U8::create(service(), pool(), "abc", 3, 1);
  EXPECT_EQ(vqStringConcatText(wide, U"x", INT64_MAX, ENC_WIDE), VQSTATUS_NO_MEMORY);
  EXPECT_EQ(vqStringInsertText(wide, 0, U"x", INT64_MAX / 4, ENC_WIDE), VQSTATUS_NO_MEMORY);
  EXPECT_EQ(vqU8StringInsertU8(u8, 0, "x", UINT64_MAX - 1), VQSTATUS_NO_MEMORY);
  EXPECT_EQ(vqU8StringConcatText(u8, "x", INT64_MAX, ENC_UTF8), VQSTATUS_NO_MEMORY);
  EXPECT_EQ(vqStringCreateSized(service(), pool(), nullptr, 0, INT64_MAX), nullptr);
  EXPECT_EQ(textOf<test::Wide>(wide), U"abc");
  EXPECT_EQ(textOf<test::U8>(u8), "abc");
  vqStringDestroy(wide);
  vqU8StringDestroy(u8);
}

TEST(NarrowText, EqualConcatIndex) {
  EXPECT_EQ(vqNTextEqual("", ""), 1);
  EXPECT_EQ(vqNTextEqual("abc", "abcd"), 0);
  EXPECT_EQ(vqNTextEqual("abc", "abc"), 1);
  char buffer[16] = "ab";
  vqNTextConcat(buffer, "cd");
  EXPECT_STREQ(buffer, "abcd");
  vqNTextConcat(buffer, buffer);
  EXPECT_STREQ(buffer, "abcdabcd");
  const struct {
    const char *text, *pattern;
    int64_t index;
  } cases[] = {{"", "", -1},      {"abc", "", -1},  {"", "a", -1},
               {"abab", "ba", 1}, {"aab", "ab", 1}, {"ab", "abc", -1}};
  for (const auto& c : cases)
    EXPECT_EQ(vqNTextIndex(c.text, c.pattern), c.index) << c.text << '/' << c.pattern;
}

}  // namespace

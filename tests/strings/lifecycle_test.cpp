// Making and ending strings of every kind.
#include <gmock/gmock.h>

#include "kinds_under_test.hpp"

namespace {

using namespace test;
using testing::ElementsAre;

TEST(CapacityRule, Steps) {
  const struct {
    uint64_t length, capacity;
  } cases[] = {{0, 2},       {1, 4},       {126, 254},   {127, 256},   {254, 256},
               {255, 512},   {511, 1024},  {512, 1026},  {1022, 2046}, {1023, 1228},
               {1028, 1233}, {1029, 1236}, {4094, 4913}, {4095, 4505}, {1'000'000, 1'100'001}};
  for (const auto& c : cases) EXPECT_EQ(vq::capacityFor(c.length), c.capacity) << c.length;
  EXPECT_EQ(vq::capacityFor(UINT64_MAX), UINT64_MAX);
  EXPECT_EQ(vq::capacityFor(UINT64_MAX - 2), UINT64_MAX);
}

template <class Kind>
class Lifecycle : public HostTest {
 protected:
  using Element = typename Kind::Element;
  using Text = typename Kind::Text;
  static constexpr size_t recordBytes = sizeof(typename Kind::Record);

  static std::string blockOf(uint64_t elementCount, uint64_t before = 0) {
    return "+" + std::to_string(before + elementCount * sizeof(Element));
  }
  static VQStatus end(typename Kind::Record* string) { return Kind::destroy(string); }
};
using Kinds = testing::Types<Wide, U8, Narrow>;
TYPED_TEST_SUITE(Lifecycle, Kinds);

// A copy stands behind its record up to a capacity of 1024, and ends with a zero.
TYPED_TEST(Lifecycle, CopiesByTheCapacityRule) {
  for (const uint64_t length : {0, 1, 126, 127, 254, 255, 511, 512, 1022, 1023, 5000}) {
    SCOPED_TRACE(length);
    const typename TypeParam::Text text(length, 'x');
    RecordingPool pool(this->pool());
    auto* string = TypeParam::create(this->service(), &pool, text.data(), static_cast<int64_t>(length), 1);
    const uint64_t capacity = vq::capacityFor(length);
    EXPECT_EQ(textOf<TypeParam>(string), text);
    EXPECT_EQ(string->text[length], 0u);
    EXPECT_EQ(static_cast<uint64_t>(string->capacity), capacity);
    EXPECT_EQ(string->isStatic, 0);
    if (capacity <= 1024) {
      EXPECT_EQ(formOf<TypeParam>(string), Form::inlineText);
      EXPECT_EQ(static_cast<void*>(string->text), string + 1);
      EXPECT_THAT(pool.log, ElementsAre(this->blockOf(capacity, this->recordBytes)));
    } else {
      EXPECT_EQ(formOf<TypeParam>(string), Form::separate);
      EXPECT_THAT(pool.log, ElementsAre("+" + std::to_string(this->recordBytes), this->blockOf(capacity)));
    }
    EXPECT_EQ(this->end(string), 0u);
  }
}

// A sized string has one element more than its capacity says.
TYPED_TEST(Lifecycle, SizedByTheCaller) {
  const typename TypeParam::Text text(10, 'x');
  const struct {
    int64_t length, asked;
    uint64_t capacity;
    bool isInline;
  } cases[] = {{10, 3, 10, true}, {10, 1024, 1024, true}, {10, 1025, 1025, false}, {0, 0, 0, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.asked);
    RecordingPool pool(this->pool());
    auto* string = TypeParam::createSized(this->service(), &pool, text.data(), c.length, c.asked);
    EXPECT_EQ(static_cast<uint64_t>(string->capacity), c.capacity);
    EXPECT_EQ(string->ownsBuffer, c.isInline ? 0 : 1);
    EXPECT_EQ(string->text[c.length], 0u);
    EXPECT_EQ(pool.log.back(), this->blockOf(c.capacity + 1, c.isInline ? this->recordBytes : 0));
    EXPECT_EQ(this->end(string), 0u);
  }
}

TYPED_TEST(Lifecycle, LengthsNullsAndFlags) {
  const typename TypeParam::Element text[] = {'a', 'b', 0, 'c', 0};
  auto make = [&](const typename TypeParam::Element* from, int64_t length, uint8_t copy) {
    return TypeParam::create(this->service(), this->pool(), from, length, copy);
  };
  auto* measured = make(text, -1, 1);
  EXPECT_EQ(textOf<TypeParam>(measured), (typename TypeParam::Text(text, 2)));
  auto* counted = make(text, 4, 1);
  EXPECT_EQ(textOf<TypeParam>(counted), (typename TypeParam::Text(text, 4)));
  auto* empty = make(nullptr, 20, 1);
  EXPECT_EQ(empty->length, 0);
  EXPECT_EQ(empty->capacity, 42);
  EXPECT_EQ(empty->text[0], 0u);
  auto* nothing = make(nullptr, -1, 1);
  EXPECT_EQ(nothing->capacity, 2);
  // Only 1 copies.
  auto* borrowing = make(text, 4, 2);
  EXPECT_EQ(borrowing->text, text);
  EXPECT_EQ(formOf<TypeParam>(borrowing), Form::borrowed);
  // Without a pool the service's is taken.
  auto* pooled = TypeParam::create(this->service(), nullptr, text, 4, 0);
  EXPECT_EQ(pooled->pool, this->service()->pool);
  for (auto* string : {measured, counted, empty, nothing, borrowing, pooled})
    EXPECT_EQ(this->end(string), 0u);
}

TYPED_TEST(Lifecycle, ClonesStandAlone) {
  const typename TypeParam::Element text[] = {'a', 'b', 'c', 'd'};
  auto* original = TypeParam::create(this->service(), this->pool(), text, 3, 0);
  typename TypeParam::Record* copy = nullptr;
  ASSERT_EQ(TypeParam::clone(original, nullptr, 77, &copy), 0u);
  EXPECT_EQ(copy->pool, this->pool());
  EXPECT_EQ(textOf<TypeParam>(copy), (typename TypeParam::Text(text, 3)));
  EXPECT_EQ(formOf<TypeParam>(copy), Form::inlineText);
  EXPECT_EQ(copy->text[3], 0u);
  EXPECT_EQ(copy->encoding, original->encoding);
  EXPECT_EQ(copy->header.refCount, 1u);
  // The header's operations are the kind's own.
  copy->header.instanceRelease(&copy->header);
  EXPECT_EQ(original->header.instanceRealDestroy(&original->header), 0u);
}

TYPED_TEST(Lifecycle, NullIsEndedAtOnce) {
  EXPECT_EQ(this->end(nullptr), 0u);
}

template <class Kind>
class LifecycleFaults : public FaultTest {};
TYPED_TEST_SUITE(LifecycleFaults, Kinds);

TYPED_TEST(LifecycleFaults, MakersGiveBackWhatTheyTook) {
  const typename TypeParam::Text text(2000, 'x');
  auto check = [](VQStatus status, const Fault& fault) {
    EXPECT_EQ(status, fault.call == encodingInfo ? injectedStatus : VQSTATUS_NO_MEMORY);
  };
  for (const int64_t length : {5, 2000}) {
    for (const uint8_t copy : {0, 1}) {
      this->forEveryFault(
          [&]() -> VQStatus {
            auto* const untouched = reinterpret_cast<typename TypeParam::Record*>(0x1000);
            auto* made = untouched;
            VQStatus status = 0;
            if constexpr (std::is_same_v<TypeParam, Wide>) {
              made = vqStringCreate(this->service(), this->faultyPool(), text.data(), length, copy);
              status = made != nullptr ? 0 : VQSTATUS_NO_MEMORY;
            } else if constexpr (std::is_same_v<TypeParam, U8>) {
              status =
                  vqU8StringCreate(this->service(), &made, this->faultyPool(), text.data(), length, copy);
            } else {
              status = vqNarrowStringCreate(this->service(), &made, this->faultyPool(), text.data(), length,
                                            latin1, copy);
            }
            if (status == 0) {
              EXPECT_EQ(TypeParam::destroy(made), 0u);
            } else if (!std::is_same_v<TypeParam, Wide>) {
              EXPECT_EQ(made, untouched);
            }
            return status;
          },
          check);
    }
  }
}

// A text that cannot be freed leaves the string whole, a record that cannot be freed leaves it emptied.
TYPED_TEST(LifecycleFaults, FailedFrees) {
  const typename TypeParam::Text text(2000, 'x');
  auto* string = TypeParam::create(this->service(), this->faultyPool(), text.data(), 2000, 1);
  this->injector().arm(poolFree, 1);
  EXPECT_EQ(TypeParam::destroy(string), injectedStatus);
  EXPECT_EQ(textOf<TypeParam>(string), text);
  this->injector().arm(poolFree, 2);
  EXPECT_EQ(TypeParam::destroy(string), injectedStatus);
  this->injector().disarm();
  EXPECT_EQ(string->text, nullptr);
  EXPECT_EQ(string->length, 0);
  EXPECT_EQ(string->capacity, 0);
  EXPECT_EQ(string->ownsBuffer, 0);
  EXPECT_EQ(TypeParam::destroy(string), 0u);
}

class OneKind : public HostTest {};

TEST_F(OneKind, StaticStringsLeaveTheRecordAlone) {
  VQString wide;
  vqStringInitStatic(service(), &wide, nullptr, U"abc", -1);
  EXPECT_EQ(wide.length, 3);
  EXPECT_EQ(wide.pool, service()->pool);
  EXPECT_EQ(reinterpret_cast<void*>(wide.header.instanceClone), reinterpret_cast<void*>(vqStringClone));
  ASSERT_EQ(vqStringConcatText(&wide, U"def", 3, ENC_WIDE), 0u);
  EXPECT_EQ(wide.ownsBuffer, 1);
  EXPECT_EQ(vqStringDestroy(&wide), 0u);
  EXPECT_EQ(wide.text, nullptr);
  EXPECT_EQ(wide.isStatic, 1);
  VQU8String u8;
  vqU8StringInitStatic(service(), &u8, pool(), "abc", -1);
  EXPECT_EQ(u8.length, 3u);
  EXPECT_EQ(u8.pool, pool());
  EXPECT_EQ(u8.encoding, ENC_UTF8);
  EXPECT_EQ(vqU8StringDestroy(&u8), 0u);
}

// A borrowing wide string is cloned by the instance extension, the other kinds by themselves.
TEST_F(OneKind, CloneOperationOfBorrowers) {
  VQString* wide = vqStringCreate(service(), pool(), U"abc", 3, 0);
  VQU8String* u8 = U8::create(service(), pool(), "abc", 3, 0);
  EXPECT_EQ(wide->header.instanceClone, service()->instanceExtensionRecord->instanceDefaultClone);
  EXPECT_EQ(reinterpret_cast<void*>(u8->header.instanceClone), reinterpret_cast<void*>(vqU8StringClone));
  vqStringDestroy(wide);
  vqU8StringDestroy(u8);
}

TEST_F(OneKind, TakenOverBytesHaveNoSpareByte) {
  auto* block = static_cast<char*>(pool()->poolAlloc(pool(), 3, 0));
  std::memcpy(block, "abc", 3);
  VQU8String* string = nullptr;
  ASSERT_EQ(vqU8StringWithBytes(service(), &string, pool(), block, 3), 0u);
  EXPECT_EQ(string->text, block);
  EXPECT_EQ(string->capacity, 3u);
  EXPECT_EQ(string->ownsBuffer, 1);
  // Nothing behind the block is written by a trim that finds nothing.
  EXPECT_EQ(vqU8StringTrimWhitespace(string), 0u);
  ASSERT_EQ(vqU8StringInsertU8(string, 3, "d", 1), 0u);
  EXPECT_EQ(textOf<U8>(string), "abcd");
  EXPECT_EQ(string->capacity, 10u);
  EXPECT_EQ(vqU8StringDestroy(string), 0u);
}

TEST_F(OneKind, NarrowEncodingsAreJudgedFirst) {
  auto* const untouched = reinterpret_cast<VQNarrowString*>(0x1000);
  VQNarrowString* string = untouched;
  constexpr uint32_t utf16 = 21, unknown = 99999;
  EXPECT_EQ(vqNarrowStringCreate(service(), &string, pool(), "a", 1, utf16, 1), VQSTATUS_BAD_ARGUMENT);
  EXPECT_EQ(vqNarrowStringCreateSized(service(), &string, pool(), "a", 1, utf16, 9), VQSTATUS_BAD_ARGUMENT);
  EXPECT_NE(vqNarrowStringCreate(service(), &string, pool(), "a", 1, unknown, 1), 0u);
  EXPECT_EQ(string, untouched);
  // A copy takes any number, and a clone then fails.
  string = Narrow::create(service(), pool(), "a", 1, 1);
  ASSERT_EQ(vqNStringCopyText(string, "bc", -1, utf16), 0u);
  EXPECT_EQ(string->encoding, utf16);
  VQNarrowString* copy = untouched;
  EXPECT_EQ(vqNarrowStringClone(string, pool(), 0, &copy), VQSTATUS_BAD_ARGUMENT);
  EXPECT_EQ(copy, untouched);
  EXPECT_EQ(vqNarrowStringDestroy(string), 0u);
}

}  // namespace

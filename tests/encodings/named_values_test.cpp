// Named values of the host as strings.
#include <gtest/gtest.h>

#include <string>

#include "support/fault_injector.hpp"
#include "vqstring.h"

namespace {

constexpr VQChar name[] = U"greeting";

class NamedValues : public test::FaultTest {
 protected:
  void set(const std::u32string& value) {
    ASSERT_EQ(vqhostSetNamedValue(host(), name, -1, value.data(), static_cast<int64_t>(value.size())), 0u);
  }
};

TEST_F(NamedValues, ComeAsBothKinds) {
  for (const std::u32string& value :
       {std::u32string(), std::u32string(U"h\u00E9llo"), std::u32string(3000, U'\u20AC')}) {
    set(value);
    VQString* wide = nullptr;
    ASSERT_EQ(vqStringGetVQName(service(), pool(), name, -1, &wide), 0u);
    EXPECT_EQ(std::u32string(wide->text, static_cast<size_t>(wide->length)), value);
    EXPECT_EQ(wide->ownsBuffer, value.empty() ? 0 : 1);
    EXPECT_EQ(wide->capacity, value.empty() ? 0 : wide->length + 1);
    if (value.empty()) {
      EXPECT_EQ(wide->text, nullptr);
    } else {
      EXPECT_EQ(wide->text[wide->length], 0u);
    }
    VQU8String* u8 = nullptr;
    ASSERT_EQ(vqU8StringGetVQName(service(), pool(), name, 8, &u8), 0u);
    VQStatus status = 1;
    EXPECT_EQ(vqU8StringEqualText(u8, value.data(), static_cast<int64_t>(value.size()), ENC_WIDE, &status),
              1);
    EXPECT_EQ(status, 0u);
    vqU8StringDestroy(u8);
    vqStringDestroy(wide);
  }
}

TEST_F(NamedValues, AnUnknownNameLeavesTheOutPointer) {
  VQString* const untouched = reinterpret_cast<VQString*>(1);
  VQString* wide = untouched;
  EXPECT_EQ(vqStringGetVQName(service(), pool(), U"nothing", -1, &wide), VQSTATUS_NAME_NOT_FOUND);
  EXPECT_EQ(wide, untouched);
  VQChar block = 0;
  VQChar* value = &block;
  int64_t length = 5;
  EXPECT_EQ(getNameValue(pool(), U"nothing", -1, &value, &length), VQSTATUS_NAME_NOT_FOUND);
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(length, 5);
}

// A kernel on which the value is replaced while it is being read.
struct ChangingKernel : VQKernel {
  ChangingKernel(VQKernel* source, std::u32string later)
      : VQKernel(*source), real(source), replacement(later) {
    kernelNameExists = [](VQKernel* kernel, const VQChar* text, int64_t length) {
      auto* self = static_cast<ChangingKernel*>(kernel);
      return self->real->kernelNameExists(self->real, text, length);
    };
    kernelGetNameValue = [](VQKernel* kernel, const VQChar* text, int64_t length, uint64_t four, void* buffer,
                            uint64_t* size) {
      auto* self = static_cast<ChangingKernel*>(kernel);
      if (buffer != nullptr) {
        vqhostSetNamedValue(self->real, text, length, self->replacement.data(),
                            static_cast<int64_t>(self->replacement.size()));
      }
      return self->real->kernelGetNameValue(self->real, text, length, four, buffer, size);
    };
  }
  VQKernel* real;
  std::u32string replacement;
};

TEST_F(NamedValues, MayChangeWhileTheyAreRead) {
  const struct {
    std::u32string later;
    VQStatus status;
  } cases[] = {{U"longer than before", VQSTATUS_VALUE_TOO_LONG}, {U"less", 0}, {U"", 0}, {U"before", 0}};
  for (const auto& [later, status] : cases) {
    set(U"before");
    ChangingKernel changing(host(), later);
    vqextent(&changing);
    VQChar* value = nullptr;
    int64_t length = 0;
    EXPECT_EQ(getNameValue(pool(), name, -1, &value, &length), status);
    vqextent(kernel());
    EXPECT_EQ(value == nullptr, status != 0);
    if (status == 0) {
      EXPECT_EQ(std::u32string(value, static_cast<size_t>(length)), later);
      EXPECT_EQ(value[length], 0u);
      pool()->poolFree(pool(), value);
    }
  }
}

TEST_F(NamedValues, FaultsInTurn) {
  set(U"a value of some length");
  VQString* const untouched = reinterpret_cast<VQString*>(1);
  EXPECT_EQ(forEveryFault(
                [&] {
                  VQString* wide = untouched;
                  const VQStatus status = vqStringGetVQName(service(), faultyPool(), name, -1, &wide);
                  // Null only where the record could not be made; what fails before leaves the pointer.
                  EXPECT_TRUE(status == 0 || wide == untouched ||
                              (wide == nullptr && status == VQSTATUS_NO_MEMORY));
                  if (status == 0) vqStringDestroy(wide);
                  return status;
                },
                [](VQStatus status, const test::Fault& fault) {
                  EXPECT_EQ(status, fault.call == test::nameExists  ? VQSTATUS_NAME_NOT_FOUND
                                    : fault.call == test::poolAlloc ? VQSTATUS_NO_MEMORY
                                                                    : test::injectedStatus);
                }),
            0u);
  EXPECT_EQ(forEveryFault(
                [&] {
                  // A failed append leaves an empty string for the caller to release.
                  VQU8String* u8 = nullptr;
                  const VQStatus status = vqU8StringGetVQName(service(), faultyPool(), name, -1, &u8);
                  if (status != 0 && u8 != nullptr) {
                    EXPECT_EQ(u8->length, 0u);
                  }
                  vqU8StringDestroy(u8);
                  return status;
                },
                [](VQStatus status, const test::Fault&) { EXPECT_NE(status, 0u); }),
            0u);
}

}  // namespace

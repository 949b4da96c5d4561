// The format front-ends: which kernel is called, with which record, and that every word goes through.
#include <gtest/gtest.h>

#include "frame/handle.hpp"
#include "vqstring/format.h"

namespace {

// A kernel that remembers how it was called.
struct Listener : VQKernel {
  VQFormatRecord* record = nullptr;
  VQFormatContext* context = nullptr;
  std::string call;
  uint64_t words[3] = {};
  int64_t capacity = 0, formatLength = 0;
  VQStatus status = 0;
  int argument = 0;

  static Listener& of(VQKernel* kernel) { return *static_cast<Listener*>(kernel); }
  uint64_t heard(const char* name, VQFormatRecord* given) {
    call += name;
    record = given;
    context = given != nullptr ? given->context : nullptr;
    return 4711;
  }

  Listener() : VQKernel{} {
    kernelCapture = [](VQKernel* self, uint64_t a, uint64_t b, va_list list) {
      of(self).words[0] = a, of(self).words[1] = b;
      of(self).argument = va_arg(list, int);
      return of(self).heard("capture ", nullptr);
    };
    kernelFormatBuff = [](VQKernel* self, VQFormatRecord* given, const VQChar*, int64_t length, VQChar*,
                          int64_t room, int64_t* needed, uint64_t zero, va_list list) -> VQStatus {
      of(self).formatLength = length, of(self).capacity = room;
      of(self).argument = va_arg(list, int);
      *needed = 12;
      EXPECT_EQ(zero, 0u);
      return static_cast<VQStatus>(of(self).heard("format ", given));
    };
    kernelRender = [](VQKernel* self, VQFormatRecord* given, uint64_t a, uint64_t b) {
      of(self).words[0] = a, of(self).words[1] = b;
      return of(self).heard("render ", given);
    };
    kernelRenderFmt = [](VQKernel* self, VQFormatRecord* given, uint64_t a, uint64_t b, uint64_t c,
                         va_list list) {
      of(self).words[0] = a, of(self).words[1] = b, of(self).words[2] = c;
      of(self).argument = va_arg(list, int);
      return of(self).heard("renderFmt ", given);
    };
    kernelStatusBuff = [](VQKernel* self, VQFormatRecord* given, VQStatus code, VQChar*, int64_t room,
                          int64_t* needed, va_list list) -> VQStatus {
      of(self).status = code, of(self).capacity = room;
      of(self).argument = va_arg(list, int);
      *needed = 12;
      return static_cast<VQStatus>(of(self).heard("status ", given));
    };
  }
};

class FormatFront : public testing::Test {
 protected:
  FormatFront() {
    Exported_VQHandle = &process;
    owner.kernel = &own;
    context.owner = &owner;
  }
  ~FormatFront() override { Exported_VQHandle = nullptr; }

  Listener process, own;
  VQFormatContextOwner owner{};
  VQFormatContext context{}, current{};
  VQFormatContext* currentWord = &current;
  VQFormatRecord kept{};
  VQChar buffer[4] = {};
  int64_t length = 0;
};

TEST_F(FormatFront, PlainFunctionsMakeTheRecord) {
  for (VQFormatContext* given : {&context, static_cast<VQFormatContext*>(nullptr)}) {
    Listener& kernel = given != nullptr ? own : process;
    EXPECT_EQ(vqzFormatBuff(given, U"abc", 3, buffer, 4, &length, 42), 4711u);
    EXPECT_EQ(length, 12);
    EXPECT_EQ(kernel.formatLength, 3);
    EXPECT_EQ(kernel.capacity, 4);
    EXPECT_EQ(kernel.argument, 42);
    EXPECT_EQ(kernel.context, given);
    EXPECT_EQ(vqzRender(given, 5, 6), 4711u);
    EXPECT_EQ(kernel.words[1], 6u);
    EXPECT_EQ(vqzRenderFmt(given, 7, 8, 9, 43), 4711u);
    EXPECT_EQ(kernel.words[2], 9u);
    EXPECT_EQ(kernel.argument, 43);
    EXPECT_EQ(kernel.call, "format render renderFmt ");
    EXPECT_EQ(kernel.context, given);
  }
  EXPECT_EQ(vqzCapture(&own, 1, 2, 44), 4711u);
  EXPECT_EQ(own.argument, 44);
}

TEST_F(FormatFront, KeptRecordsGoThroughAsTheyStand) {
  kept.kernelWord = 99;
  for (VQFormatRecord* given : {&kept, static_cast<VQFormatRecord*>(nullptr)}) {
    process.call.clear();
    EXPECT_EQ(vqzFormat2Buff(given, U"abc", 3, buffer, 4, &length, 42), 4711u);
    EXPECT_EQ(process.record, given);
    vqzRender2(given, 5, 6);
    EXPECT_EQ(process.record, given);
    vqzRender2Fmt(given, 7, 8, 9, 43);
    EXPECT_EQ(process.record, given);
    EXPECT_EQ(process.call, "format render renderFmt ");
  }
  kept.context = &context;
  vqzFormat2Buff(&kept, U"abc", 3, buffer, 4, &length, 42);
  vqzRender2(&kept, 5, 6);
  vqzRender2Fmt(&kept, 7, 8, 9, 43);
  vqzStatus2Buff(&kept, 3, buffer, 4, &length, 44);
  EXPECT_EQ(own.call, "format render renderFmt status ");
  EXPECT_EQ(own.record, &kept);
  EXPECT_EQ(kept.kernelWord, 99u);
}

TEST_F(FormatFront, MessagesFallBackToTheCurrentContext) {
  // A kernel without a current context is asked without one.
  EXPECT_EQ(vqzStatusBuff(nullptr, 3, buffer, 4, &length, 44), 4711u);
  EXPECT_EQ(process.status, 3u);
  EXPECT_EQ(process.argument, 44);
  EXPECT_EQ(process.context, nullptr);
  EXPECT_EQ(vqzStatus2Buff(nullptr, 3, buffer, 4, &length, 44), 4711u);
  EXPECT_EQ(process.record, nullptr);

  // The current context lends itself, and its kernel is not asked.
  current.owner = &owner;
  process.kernelCurrentContext = &currentWord;
  EXPECT_EQ(vqzStatusBuff(nullptr, 3, buffer, 4, &length, 44), 4711u);
  EXPECT_EQ(process.context, &current);
  EXPECT_EQ(vqzStatus2Buff(&kept, 3, buffer, 4, &length, 44), 4711u);
  EXPECT_EQ(process.record, &kept);
  EXPECT_EQ(kept.context, &current);
  EXPECT_EQ(own.call, "");

  currentWord = nullptr;
  process.call.clear();
  kept.context = nullptr;
  EXPECT_EQ(vqzStatusBuff(nullptr, 3, buffer, 4, &length, 44), VQSTATUS_NOT_AVAILABLE);
  EXPECT_EQ(vqzStatus2Buff(&kept, 3, buffer, 4, &length, 44), VQSTATUS_NOT_AVAILABLE);
  EXPECT_EQ(process.call, "");
  // A context of its own needs no current one.
  EXPECT_EQ(vqzStatusBuff(&context, 3, buffer, 4, &length, 44), 4711u);
  EXPECT_EQ(own.call, "status ");
}

}  // namespace

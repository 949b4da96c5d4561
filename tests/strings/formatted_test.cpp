// Strings from formats and status texts: the edge between the stack buffer and the retry, the arguments that
// both attempts see, and what a failure leaves.
#include <string>

#include "support/fault_injector.hpp"
#include "vqstring.h"

namespace {

constexpr int64_t stackElements = 2048;

std::u32string textOf(const VQString* string) {
  return std::u32string(string->text, static_cast<size_t>(string->length));
}

std::string textOf(const VQU8String* string) {
  return std::string(string->text, string->length);
}

class Formatted : public test::HostTest {
 protected:
  std::u32string taken(VQString* string) {
    std::u32string text = textOf(string);
    if (string->capacity != 0) {
      EXPECT_EQ(string->text[string->length], 0u);
    }
    vqStringDestroy(string);
    return text;
  }
};

TEST_F(Formatted, StackBufferAndRetryAgreeAtTheEdge) {
  for (const int64_t size :
       {int64_t{0}, int64_t{1}, stackElements - 1, stackElements, stackElements + 1, int64_t{5000}}) {
    const std::u32string filler(static_cast<size_t>(size), U'x');
    VQString* string = nullptr;
    ASSERT_EQ(vqStringWithFormat(service(), &string, pool(), nullptr, U"%ls", 3, filler.c_str()), 0u);
    // The retry's block becomes the string's own, with the headroom that it was taken with.
    if (size > stackElements) {
      EXPECT_EQ(string->capacity, size + 10);
    }
    EXPECT_EQ(taken(string), filler);

    VQString* wide = vqStringCreate(service(), pool(), U"ab", 2, 1);
    ASSERT_EQ(vqStringConcatFormat(wide, nullptr, U"%ls", 3, filler.c_str()), 0u);
    EXPECT_EQ(taken(wide), U"ab" + filler);

    VQU8String* bytes = nullptr;
    ASSERT_EQ(vqU8StringCreate(service(), &bytes, pool(), "ab", 2, 1), 0u);
    ASSERT_EQ(vqU8StringConcatFormat(bytes, nullptr, U"é%ls", 4, filler.c_str()), 0u);
    EXPECT_EQ(textOf(bytes), "ab\u00E9" + std::string(filler.begin(), filler.end()));
    vqU8StringDestroy(bytes);
  }
}

// A list is walked once an attempt: integers and floats, more of both than registers hold, come out of the
// retry as of the first attempt.
TEST_F(Formatted, BothAttemptsSeeAllArguments) {
  const std::u32string_view format =
      U"%d %c %ls %s %g %u %lld %g %g %x %g %g %g %g %g %llu %g %g %p %*d %.*f %Lg|%*s";
  for (const int padding : {1, 4000}) {
    VQString* string = nullptr;
    ASSERT_EQ(
        vqStringWithFormat(service(), &string, nullptr, nullptr, format.data(),
                           static_cast<int64_t>(format.size()), -7, 'c', U"wide", "utf-8 ü", 0.5, 8u,
                           -9000000000LL, 1.5, 2.5, 255, 3.5, 4.5, 5.5, 6.5, 7.5, 18446744073709551615ULL,
                           8.5, 9.5, static_cast<void*>(nullptr), 4, 42, 2, 3.14159, 0.25L, padding, "z"),
        0u);
    const std::u32string expected =
        U"-7 c wide utf-8 ü 0.5 8 -9000000000 1.5 2.5 ff 3.5 4.5 5.5 6.5 7.5 18446744073709551615 8.5 9.5 "
        U"(nil)   42 3.14 0.25|";
    EXPECT_EQ(taken(string), expected + std::u32string(static_cast<size_t>(padding) - 1, U' ') + U"z");
  }
}

TEST_F(Formatted, StatusTextsWithInsertsAndContexts) {
  const VQStatus code = 0x12345;
  VQString* string = nullptr;
  ASSERT_EQ(vqStringWithStatus(service(), &string, pool(), nullptr, code), 0u);
  EXPECT_EQ(taken(string), U"") << "a status without a text";
  ASSERT_EQ(vqStringWithStatus(service(), &string, pool(), nullptr, VQSTATUS_NO_MEMORY), 0u);
  EXPECT_EQ(taken(string), U"Out of memory");

  VQFormatContext* context = nullptr;
  ASSERT_EQ(vqhostCreateFormatContext(host(), &context), 0u);
  ASSERT_EQ(vqhostSetStatusText(host(), nullptr, code, U"%d of %ls", -1), 0u);
  ASSERT_EQ(vqhostSetStatusText(host(), context, code, U"%d aus %ls", -1), 0u);
  for (const std::u32string& insert : {std::u32string(U"many"), std::u32string(3000, U'y')}) {
    ASSERT_EQ(vqStringWithStatus(service(), &string, pool(), nullptr, code, 3, insert.c_str()), 0u);
    EXPECT_EQ(taken(string), U"3 of " + insert);
    ASSERT_EQ(vqStringWithStatus(service(), &string, nullptr, context, code, 3, insert.c_str()), 0u);
    ASSERT_EQ(vqStringConcatStatus(string, context, code, 4, insert.c_str()), 0u);
    EXPECT_EQ(taken(string), U"3 aus " + insert + U"4 aus " + insert);
    VQU8String* bytes = nullptr;
    ASSERT_EQ(vqU8StringCreate(service(), &bytes, pool(), nullptr, 0, 1), 0u);
    ASSERT_EQ(vqU8StringConcatStatus(bytes, context, code, 5, insert.c_str()), 0u);
    EXPECT_EQ(textOf(bytes), "5 aus " + std::string(insert.begin(), insert.end()));
    vqU8StringDestroy(bytes);
  }
  vqhostDestroyFormatContext(context);
  ASSERT_EQ(vqhostSetStatusText(host(), nullptr, code, nullptr, 0), 0u);
  ASSERT_EQ(vqStringWithStatus(service(), &string, pool(), nullptr, code), 0u);
  EXPECT_EQ(taken(string), U"");
}

// A kernel whose second attempt answers otherwise than the first one promised.
struct FickleKernel : VQKernel {
  FickleKernel(VQKernel* real, VQStatus again, int64_t length)
      : VQKernel(*real), status(again), answer(length) {
    kernelFormatBuff = [](VQKernel* self, VQFormatRecord*, const VQChar*, int64_t, VQChar*, int64_t capacity,
                          int64_t* needed, uint64_t, va_list) -> VQStatus {
      auto* fickle = static_cast<FickleKernel*>(self);
      *needed = 3000;
      if (capacity == stackElements) return VQSTATUS_RETRY_LARGER;
      EXPECT_EQ(capacity, 3010);
      *needed = fickle->answer;
      return fickle->status;
    };
  }
  VQStatus status;
  int64_t answer;
};

TEST_F(Formatted, ThereIsNoThirdAttempt) {
  const struct {
    VQStatus again;
    int64_t length;
    VQStatus status;
  } cases[] = {
      {0, 3009, 0},
      // No room for the terminator.
      {0, 3010, VQSTATUS_RETRY_LARGER},
      {VQSTATUS_RETRY_LARGER, 4000, VQSTATUS_RETRY_LARGER},
      {77, 5, 77},
  };
  for (const auto& row : cases) {
    FickleKernel kernel(host(), row.again, row.length);
    VQFormatContextOwner owner = {{}, &kernel};
    VQFormatContext context = {{}, &owner};
    auto* const untouched = reinterpret_cast<VQString*>(this);
    VQString* string = untouched;
    EXPECT_EQ(vqStringWithFormat(service(), &string, pool(), &context, U"x", 1), row.status);
    if (row.status == 0) {
      EXPECT_EQ(string->length, row.length);
      vqStringDestroy(string);
    } else {
      EXPECT_EQ(string, untouched);
    }
  }
}

class FormattedFaults : public test::FaultTest {
 protected:
  static constexpr VQStatus code = 9;

  void SetUp() override {
    FaultTest::SetUp();
    ASSERT_EQ(vqhostSetStatusText(host(), nullptr, code, U"%*d", 3), 0u);
    owner_.kernel = kernel();
    context.owner = &owner_;
  }
  static void check(VQStatus status, const test::Fault& fault) {
    const bool isMemory = fault.call == test::poolAlloc || fault.call == test::poolRealloc;
    EXPECT_EQ(status, isMemory ? VQSTATUS_NO_MEMORY : test::injectedStatus);
  }

  VQFormatContext context{};

 private:
  VQFormatContextOwner owner_{};
};

TEST_F(FormattedFaults, MakersLeaveTheTargetAlone) {
  auto* const untouched = reinterpret_cast<VQString*>(this);
  VQString* made = nullptr;
  const auto run = [&](auto make) {
    return [&, make] {
      made = untouched;
      const VQStatus status = make();
      if (status == 0) vqStringDestroy(made);
      return status;
    };
  };
  for (const int width : {5, 3000}) {
    forEveryFault(run([&] {
                    return vqStringWithFormat(service(), &made, faultyPool(), &context, U"%*d", 3, width, 7);
                  }),
                  [&](VQStatus status, const test::Fault& fault) {
                    check(status, fault);
                    // Null when the text was there and only the string found no memory.
                    const bool isStringAlone = width == 5 && fault.call == test::poolAlloc;
                    EXPECT_EQ(made, isStringAlone ? nullptr : untouched);
                  });
    forEveryFault(
        run([&] { return vqStringWithStatus(service(), &made, faultyPool(), &context, code, width, 7); }),
        [&](VQStatus status, const test::Fault& fault) {
          check(status, fault);
          EXPECT_EQ(made, untouched);
        });
  }
}

TEST_F(FormattedFaults, AppendsLeaveTheStringAlone) {
  for (const int width : {5, 3000}) {
    VQString* wide = vqStringCreate(service(), faultyPool(), U"ab", 2, 1);
    EXPECT_EQ(forEveryFault([&] { return vqStringConcatFormat(wide, &context, U"%*d", 3, width, 7); },
                            [&](VQStatus status, const test::Fault& fault) {
                              check(status, fault);
                              EXPECT_EQ(textOf(wide), U"ab");
                            }),
              0u);
    EXPECT_EQ(wide->length, width + 2);
    vqStringDestroy(wide);

    VQU8String* bytes = nullptr;
    ASSERT_EQ(vqU8StringCreate(service(), &bytes, faultyPool(), "ab", 2, 1), 0u);
    EXPECT_EQ(forEveryFault([&] { return vqU8StringConcatStatus(bytes, &context, code, width, 7); },
                            [&](VQStatus status, const test::Fault& fault) {
                              check(status, fault);
                              EXPECT_EQ(textOf(bytes), "ab");
                            }),
              0u);
    vqU8StringDestroy(bytes);
  }
}

}  // namespace

// The forwarded locale operations: each reaches its own slot, and every argument arrives in its place.
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>

#include "vqstring/locale.h"

namespace {

// A locale that writes down what reached it.
struct Recorder : VQLocale {
  std::string heard;
};

template <class Argument>
std::string text(Argument argument) {
  if constexpr (std::is_pointer_v<Argument>) {
    return std::to_string(reinterpret_cast<uintptr_t>(argument));
  } else {
    return std::to_string(argument);
  }
}

// The pointers that are handed in, by type; distinct, so that mixed-up ones show.
template <class Argument, int place>
Argument sample() {
  if constexpr (std::is_pointer_v<Argument>) {
    return reinterpret_cast<Argument>(uintptr_t{0x1000} + place * 8);
  } else {
    return static_cast<Argument>(100 + place);
  }
}

// Puts a recording operation into the slot and compares what comes through `function` with what was given.
// `extra` zeros come behind the arguments of the function.
template <auto slot, class... Slot, class... Given>
void check(VQStatus (*)(VQLocale*, Slot...), VQStatus (*function)(VQLocale*, Given...)) {
  Recorder locale{};
  locale.*slot = [](VQLocale* self, Slot... arguments) -> VQStatus {
    ((static_cast<Recorder*>(self)->heard += text(arguments) + " "), ...);
    return 4711;
  };
  const auto given = [&]<size_t... index>(std::index_sequence<index...>) {
    std::string said;
    ((said += text(sample<Given, index>()) + " "), ...);
    EXPECT_EQ(function(&locale, sample<Given, index>()...), 4711u);
    return said;
  }
  (std::index_sequence_for<Given...>());
  const std::string zeros = sizeof...(Slot) > sizeof...(Given) ? "0 " : "";
  EXPECT_EQ(locale.heard, given + zeros);
}

#define VQ_CHECK(operation, function)                                       \
  {                                                                         \
    SCOPED_TRACE(#function);                                                \
    check<&VQLocale::operation>(decltype(VQLocale::operation){}, function); \
  }

TEST(LocaleForwarding, EveryFunctionReachesItsSlot) {
  VQ_CHECK(localeToDouble, vqzsu8ToDouble);
  VQ_CHECK(localeU8DoubleFormat, vqzsu8DoubleFormat);
  VQ_CHECK(localeU8IntfastFormat, vqzsu8IntfastFormat);
  VQ_CHECK(localeU8IntmaxFormat, vqzsu8IntmaxFormat);
  VQ_CHECK(localeU8UintfastFormat, vqzsu8UintfastFormat);
  VQ_CHECK(localeU8UintmaxFormat, vqzsu8UintmaxFormat);
  VQ_CHECK(localeToIntfast, vqzsu8ToIntfast);
  VQ_CHECK(localeToIntmax, vqzsu8ToIntmax);
  VQ_CHECK(localeToUintfast, vqzsu8ToUintfast);
  VQ_CHECK(localeToUintmax, vqzsu8ToUintmax);
  VQ_CHECK(localeU8IntFormat, vqzsu8IntFormat);
  VQ_CHECK(localeU8UIntFormat, vqzsu8UIntFormat);
  VQ_CHECK(localeToInt, vqzsu8ToInt);
  VQ_CHECK(localeToUInt, vqzsu8ToUInt);
  VQ_CHECK(localeU8LongFormat, vqzsu8LongFormat);
  VQ_CHECK(localeU8ULongFormat, vqzsu8ULongFormat);
  VQ_CHECK(localeToLong, vqzsu8ToLong);
  VQ_CHECK(localeToULong, vqzsu8ToULong);
  VQ_CHECK(localeU8DatetimeFormat, vqzsu8DatetimeFormat);
  VQ_CHECK(localeU8DateFormat, vqzsu8DateFormat);
  VQ_CHECK(localeU8TimeFormat, vqzsu8TimeFormat);
  VQ_CHECK(localeToDatetime, vqzsu8ToDatetime);
  VQ_CHECK(localeToDate, vqzsu8ToDate);
  VQ_CHECK(localeToTime, vqzsu8ToTime);
}

}  // namespace

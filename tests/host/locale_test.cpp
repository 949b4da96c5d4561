// Locales: rendering and reading in both text forms, round trips in many places, and many threads on one.
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "support/host_fixture.hpp"
#include "vqstring/locale.h"

namespace {

class Locales : public test::KernelTest {
 protected:
  struct End {
    void operator()(VQLocale* locale) const { vqhostDestroyLocale(locale); }
  };
  using Owned = std::unique_ptr<VQLocale, End>;

  Owned locale(const char* name) {
    VQLocale* made = nullptr;
    EXPECT_EQ(vqhostCreateLocale(host(), name, &made), 0u);
    return Owned(made);
  }
};

constexpr uint64_t shortest = VQHOST_NUMBER_SHORTEST;

std::string number(VQLocale* locale, double value, uint64_t options = shortest, uint64_t width = 0,
                   uint64_t digits = 0) {
  char buffer[400];
  int64_t length = 0;
  EXPECT_EQ(vqzsu8DoubleFormat(locale, width, digits, options, buffer, sizeof buffer, &length, value), 0u);
  return std::string(buffer, static_cast<size_t>(length));
}

TEST_F(Locales, NumbersByTheCustomsOfAPlace) {
  const Owned american = locale("en_US"), german = locale("de_DE"), indian = locale("en_IN"),
              arab = locale("ar_EG");
  EXPECT_EQ(number(american.get(), 1234567.25), "1,234,567.25");
  EXPECT_EQ(number(german.get(), 1234567.25), "1.234.567,25");
  EXPECT_EQ(number(indian.get(), 1234567.25), "12,34,567.25");
  EXPECT_EQ(number(arab.get(), 12.5), "١٢٫٥");
  EXPECT_EQ(number(german.get(), 1234567.25, shortest | VQHOST_NUMBER_NO_GROUPING), "1234567,25");
  EXPECT_EQ(number(american.get(), 1234.5678, 0, 0, 2), "1,234.57");
  EXPECT_EQ(number(american.get(), 2, 0, 0, 3), "2.000");
  EXPECT_EQ(number(american.get(), 1234.5, shortest | VQHOST_NUMBER_SCIENTIFIC), "1.2345E3");
  EXPECT_EQ(number(american.get(), 1.5, shortest | VQHOST_NUMBER_ALIGN_RIGHT, 8), "     1.5");
  // Longer than the width: mantissa and exponent.
  EXPECT_EQ(number(american.get(), 1e300, shortest, 32), "1E300");
  EXPECT_EQ(number(american.get(), 1.2345678901234567e-20, shortest, 32), "1.2345678901234567E-20");
  EXPECT_EQ(number(american.get(), 1e15, shortest, 32), "1,000,000,000,000,000");
  EXPECT_STREQ(vqhostLocaleName(german.get()), "de_DE");
  VQLocale* none = nullptr;
  EXPECT_EQ(vqhostCreateLocale(host(), std::string(300, 'x').c_str(), &none), VQHOST_STATUS_LOCALE);
}

TEST_F(Locales, WideTextAndUtf8Agree) {
  const Owned arab = locale("ar_EG");
  VQChar wide[8];
  char bytes[16];
  int64_t wideLength = 0, byteLength = 0;
  ASSERT_EQ(arab->localeFormatDouble(arab.get(), 0, 0, shortest, wide, 8, &wideLength, 12.5), 0u);
  EXPECT_EQ(std::u32string_view(wide, static_cast<size_t>(wideLength)), U"١٢٫٥");
  // Too small, by exactly one.
  EXPECT_EQ(arab->localeFormatDouble(arab.get(), 0, 0, shortest, wide, 3, &wideLength, 12.5),
            VQSTATUS_RETRY_LARGER);
  EXPECT_EQ(wideLength, 4);
  EXPECT_EQ(vqzsu8DoubleFormat(arab.get(), 0, 0, shortest, bytes, 7, &byteLength, 12.5),
            VQSTATUS_RETRY_LARGER);
  EXPECT_EQ(byteLength, 8);
  EXPECT_EQ(vqzsu8DoubleFormat(arab.get(), 0, 0, shortest, bytes, 8, &byteLength, 12.5), 0u);
  EXPECT_EQ(vqzsu8DoubleFormat(arab.get(), 0, 0, shortest, nullptr, 0, &byteLength, 12.5),
            VQSTATUS_RETRY_LARGER);
}

constexpr const char* places[] = {"en_US", "de_CH", "fr_FR", "hi_IN", "ar_EG", "fa_IR",
                                  "th_TH", "ja_JP", "sv_SE", "pl_PL", "bn_BD", "root"};

TEST_F(Locales, DoublesComeBackTheSame) {
  constexpr double special[] = {0.0, -0.0, INFINITY, 5e-324};
  std::mt19937_64 random(20260102);
  for (const char* name : places) {
    const Owned place = locale(name);
    for (int i = 0; i < 300; ++i) {
      double value = 0;
      const uint64_t bits = random();
      std::memcpy(&value, &bits, sizeof value);
      if (std::isnan(value) || i % 3 == 0) value = static_cast<double>(random() % 100000000) / 1000.0;
      if (i < 4) value = special[i];
      for (const uint64_t options : {shortest, shortest | VQHOST_NUMBER_NO_GROUPING, uint64_t{0x40800}}) {
        const std::string text = number(place.get(), value, options, 32);
        double back = 77;
        ASSERT_EQ(vqzsu8ToDouble(place.get(), text.data(), static_cast<int64_t>(text.size()), 0, &back), 0u)
            << name << ' ' << text;
        ASSERT_EQ(back, value) << name << ' ' << text;
        ASSERT_EQ(std::signbit(back), std::signbit(value)) << name;
      }
    }
  }
}

// One integer type: rendered, read back, and refused beyond its ends.
template <class Integer>
void checkInteger(VQLocale* locale,
                  VQStatus (*format)(VQLocale*, Integer, uint32_t, uint32_t, char*, int64_t, int64_t*),
                  VQStatus (*parse)(VQLocale*, const char*, int64_t, uint32_t, Integer*)) {
  constexpr Integer least = std::numeric_limits<Integer>::min(), most = std::numeric_limits<Integer>::max();
  std::string text(100, ' ');
  for (const Integer value : {least, Integer{0}, Integer{1}, Integer{1234567}, most}) {
    int64_t length = 0;
    ASSERT_EQ(format(locale, value, 30, VQHOST_NUMBER_ALIGN_RIGHT, text.data(), 100, &length), 0u);
    Integer back = 77;
    ASSERT_EQ(parse(locale, text.data(), length, 0, &back), 0u) << text;
    ASSERT_EQ(back, value);
  }
  // Ten times the largest; and one below zero where there is nothing below.
  int64_t length = 0;
  ASSERT_EQ(format(locale, most, 0, VQHOST_NUMBER_NO_GROUPING, text.data(), 100, &length), 0u);
  const std::string larger = text.substr(0, static_cast<size_t>(length)) + "0";
  Integer untouched = 77;
  EXPECT_EQ(parse(locale, larger.c_str(), -1, 0, &untouched), VQHOST_STATUS_LOCALE_RANGE) << larger;
  if (least == 0) {
    EXPECT_EQ(parse(locale, "-1", 2, 0, &untouched), VQHOST_STATUS_LOCALE_RANGE);
  }
  EXPECT_EQ(untouched, Integer{77});
}

TEST_F(Locales, IntegersOfEveryType) {
  for (const char* name : {"en_US", "de_CH", "fr_FR"}) {
    const Owned place = locale(name);
    checkInteger<int_fast32_t>(place.get(), vqzsu8IntfastFormat, vqzsu8ToIntfast);
    checkInteger<intmax_t>(place.get(), vqzsu8IntmaxFormat, vqzsu8ToIntmax);
    checkInteger<uint_fast32_t>(place.get(), vqzsu8UintfastFormat, vqzsu8ToUintfast);
    checkInteger<uintmax_t>(place.get(), vqzsu8UintmaxFormat, vqzsu8ToUintmax);
    checkInteger<int>(place.get(), vqzsu8IntFormat, vqzsu8ToInt);
    checkInteger<unsigned>(place.get(), vqzsu8UIntFormat, vqzsu8ToUInt);
    checkInteger<long>(place.get(), vqzsu8LongFormat, vqzsu8ToLong);
    checkInteger<unsigned long>(place.get(), vqzsu8ULongFormat, vqzsu8ToULong);
  }
}

TEST_F(Locales, TextsThatAreNoNumbers) {
  const Owned american = locale("en_US");
  for (const char* text : {"", " ", "x", "12x", "1.2.3", "1,2", "12,34.5", "--1", "1e", "\xFF", "1\xFF"}) {
    double value = 77;
    EXPECT_EQ(vqzsu8ToDouble(american.get(), text, -1, 0, &value), VQHOST_STATUS_LOCALE_TEXT) << text;
    EXPECT_EQ(value, 77);
  }
  int whole = 77;
  EXPECT_EQ(vqzsu8ToInt(american.get(), "1.5", -1, 0, &whole), VQHOST_STATUS_LOCALE_TEXT);
  double value = 0;
  EXPECT_EQ(vqzsu8ToDouble(american.get(), " 1,234.5 and more", 8, 0, &value), 0u);
  EXPECT_EQ(value, 1234.5);
}

TEST_F(Locales, DatesAndTimesComeBackTheSame) {
  for (const char* name : places) {
    const Owned place = locale(name);
    for (const uint32_t style : {0u, VQHOST_DATE_LONG, VQHOST_DATE_FULL}) {
      SCOPED_TRACE(testing::Message() << name << " style " << style);
      char buffer[400];
      int64_t length = 0;
      int32_t month = 0, day = 0, year = 0;
      ASSERT_EQ(vqzsu8DateFormat(place.get(), 2, 29, 2024, style, buffer, sizeof buffer, &length), 0u);
      ASSERT_EQ(vqzsu8ToDate(place.get(), buffer, length, style, &month, &day, &year), 0u)
          << std::string(buffer, static_cast<size_t>(length));
      EXPECT_EQ(year * 10000 + month * 100 + day, 20240229);
      double value = 0;
      ASSERT_EQ(vqzsu8TimeFormat(place.get(), style, buffer, sizeof buffer, &length, 47289), 0u);
      ASSERT_EQ(vqzsu8ToTime(place.get(), buffer, length, style, &value), 0u);
      EXPECT_EQ(value, 47289);
      ASSERT_EQ(vqzsu8DatetimeFormat(place.get(), style, buffer, sizeof buffer, &length, 2e9), 0u);
      ASSERT_EQ(vqzsu8ToDatetime(place.get(), buffer, length, style, &value), 0u);
      EXPECT_EQ(value, 2e9);
    }
  }
}

TEST_F(Locales, DatesOutsideOfTheCalendar) {
  const Owned american = locale("en_US");
  char buffer[100];
  int64_t length = 0;
  const int32_t wrong[][3] = {{2, 30, 2024}, {13, 1, 2024}, {0, 1, 2024}, {1, 0, 2024}, {1, 1, INT32_MAX}};
  for (const auto& [month, day, year] : wrong) {
    EXPECT_EQ(vqzsu8DateFormat(american.get(), month, day, year, 0, buffer, 100, &length),
              VQSTATUS_BAD_ARGUMENT);
  }
  EXPECT_EQ(vqzsu8DatetimeFormat(american.get(), 0, buffer, 100, &length, NAN), VQSTATUS_BAD_ARGUMENT);
  // No calendar of Julius Caesar's, however early the day.
  ASSERT_EQ(vqzsu8DateFormat(american.get(), 10, 10, 1582, 0, buffer, 100, &length), 0u);
  EXPECT_EQ(std::string(buffer, static_cast<size_t>(length)), "Oct 10, 1582");
  int32_t month = 0, day = 0, year = 77;
  for (const char* text : {"", "Feb 30, 2024", "Feb 3, 2024 x", "today"}) {
    EXPECT_EQ(vqzsu8ToDate(american.get(), text, -1, 0, &month, &day, &year), VQHOST_STATUS_LOCALE_TEXT);
  }
  EXPECT_EQ(year, 77);
}

TEST_F(Locales, DefaultLocaleIsTheOneAskedFor) {
  VQHostOptions options = test::defaultOptions();
  options.localeName = "de_AT";
  VQKernel* austrian = nullptr;
  ASSERT_EQ(vqhostOpen(&options, &austrian), 0u);
  EXPECT_STREQ(vqhostLocaleName(austrian->kernelNls->nlsDefaultLocale(austrian->kernelNls)), "de_AT");
  vqhostClose(austrian);
}

TEST_F(Locales, OneLocaleForManyThreads) {
  const Owned german = locale("de_DE");
  const auto work = [&](int thread) {
    for (int i = 0; i < 50; ++i) {
      const double value = thread * 1000 + i + 0.5;
      const uint64_t options = i % 2 == 0 ? shortest : 0;
      const std::string text = number(german.get(), value, options, 0, 3);
      double back = 0;
      EXPECT_EQ(vqzsu8ToDouble(german.get(), text.c_str(), -1, 0, &back), 0u);
      EXPECT_EQ(back, value);
      char buffer[100];
      int64_t length = 0;
      EXPECT_EQ(vqzsu8DatetimeFormat(german.get(), 0, buffer, 100, &length, value * 86400), 0u);
      EXPECT_EQ(vqzsu8ToDatetime(german.get(), buffer, length, 0, &back), 0u);
      EXPECT_EQ(back, value * 86400);
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
}

}  // namespace

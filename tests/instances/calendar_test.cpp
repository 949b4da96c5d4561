// Calendar arithmetic, against a plain walk from day to day.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "vqstring/instances.h"

namespace {

struct Date {
  int32_t year, month, day, weekday;
  bool operator==(const Date&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Date& date) {
  return out << date.year << '-' << date.month << '-' << date.day << " weekday " << date.weekday;
}

Date dateOf(double value) {
  Date date = {};
  vqzdmdy(&date.month, &date.day, &date.year, &date.weekday, value);
  return date;
}

bool isLeap(int32_t year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int32_t lengthOfMonth(const Date& date) {
  const int32_t* table = isLeap(date.year) ? leapDayCount : nonleapDayCount;
  return table[date.month] - table[date.month - 1];
}

TEST(Calendar, EveryDayFromTheBaseToTheYear9999) {
  Date date = {1960, 1, 1, 5};
  for (int64_t day = 0; date.year < 10000; ++day) {
    const double midnight = static_cast<double>(day) * 86400.0;
    ASSERT_EQ(dateOf(midnight), date);
    ASSERT_EQ(dateOf(midnight + 86399.999), date);
    date.weekday = (date.weekday + 1) % 7;
    if (++date.day > lengthOfMonth(date)) {
      date.day = 1;
      if (++date.month > 12) {
        date.month = 1;
        ++date.year;
      }
    }
  }
}

TEST(Calendar, EveryDayBackToTheYearMinusOneThousand) {
  Date date = {1960, 1, 1, 5};
  for (int64_t day = 0; date.year > -1000; --day) {
    ASSERT_EQ(dateOf(static_cast<double>(day) * 86400.0), date);
    date.weekday = (date.weekday + 6) % 7;
    if (--date.day == 0) {
      if (--date.month == 0) {
        date.month = 12;
        --date.year;
      }
      date.day = lengthOfMonth(date);
    }
  }
  EXPECT_EQ(dateOf(-0.5), (Date{1959, 12, 31, 4}));
}

TEST(Calendar, NothingBreaksOutsideOfTheCalendar) {
  constexpr double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(dateOf(inf).year, INT32_MAX);
  EXPECT_EQ(dateOf(-inf).year, INT32_MIN);
  EXPECT_EQ(dateOf(1e300).month, 12);
  EXPECT_EQ(dateOf(-1e300).month, 1);
  EXPECT_EQ(dateOf(std::nan("")), (Date{1960, 1, 1, 5}));
  // The last year, reached from below: 2^31-1 is no leap year, its last day is day 784351576776 or so.
  const double lastDay = (2147483647.0 - 1960) * 365.2425 * 86400.0;
  EXPECT_NEAR(dateOf(lastDay - 86400.0 * 400).year, INT32_MAX, 3);
}

TEST(Calendar, SecondsOfTheDay) {
  const struct {
    double value;
    int32_t hour, minute, second;
  } cases[] = {
      {0.0, 0, 0, 0},        {86399.999, 23, 59, 59}, {86400.0, 0, 0, 0},
      {45296.0, 12, 34, 56}, {1e9 + 0.9, 1, 46, 40},  {-3661.5, -1, -1, -1},
      {-86400.0, 0, 0, 0},   {std::nan(""), 0, 0, 0}, {1e300, 0, 0, 0},
  };
  for (const auto& row : cases) {
    int32_t hour = 99, minute = 99, second = 99;
    vqzdhms(&hour, &minute, &second, row.value);
    EXPECT_EQ(hour, row.hour) << row.value;
    EXPECT_EQ(minute, row.minute) << row.value;
    EXPECT_EQ(second, row.second) << row.value;
  }
}

TEST(Calendar, NullPointersAreLeftOut) {
  int32_t only = 0;
  vqzdmdy(nullptr, nullptr, &only, nullptr, 2e9);
  EXPECT_EQ(only, 2023);
  vqzdmdy(nullptr, nullptr, nullptr, &only, 2e9);
  EXPECT_EQ(only, 4);
  vqzdhms(nullptr, nullptr, nullptr, 1.0);
}

}  // namespace

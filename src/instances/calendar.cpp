// The arithmetic of date-time values: seconds since 1960-01-01 00:00:00 without a zone, taken apart into the
// fields of the proleptic Gregorian calendar in constant time.
#include "instances/seconds.hpp"
#include "vqstring/instances.h"

int32_t nonleapDayCount[13] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
int32_t leapDayCount[13] = {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366};

namespace vq {

namespace {

constexpr int64_t daysPerEra = 146097;  // 400 years, after which the calendar repeats

constexpr int64_t floorDivide(int64_t dividend, int64_t divisor) {
  return dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
}

// Days between 0000-03-01 and the first of March of a year: leap days fall at the end of such years.
constexpr int64_t daysBeforeMarch(int64_t year) {
  return year * 365 + floorDivide(year, 4) - floorDivide(year, 100) + floorDivide(year, 400);
}

// 1960-01-01 is day 306 of the year that began in March 1959.
constexpr int64_t baseDay = daysBeforeMarch(1959) + 306;
static_assert(daysBeforeMarch(400) == daysPerEra);

// The first and last day whose year fits 32 bits, counted from the base.
constexpr int64_t firstDay = daysBeforeMarch(int64_t{INT32_MIN} - 1) + 306 - baseDay;
constexpr int64_t lastDay = daysBeforeMarch(INT32_MAX) + 305 - baseDay;

struct Date {
  int32_t year, month, day;
};

Date dateOf(int64_t dayNumber) {
  const int64_t day = dayNumber + baseDay;
  const int64_t era = floorDivide(day, daysPerEra);
  const auto dayOfEra = static_cast<uint32_t>(day - era * daysPerEra);
  // Every 4 years but the hundredth, and every 400, end in a leap day that the division by 365 must not see.
  const uint32_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const uint32_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  // From March on the lengths of five months, 31 30 31 30 31, repeat: 153 days.
  const uint32_t monthFromMarch = (5 * dayOfYear + 2) / 153;
  const uint32_t dayOfMonth = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
  const bool isJanuaryOrFebruary = monthFromMarch >= 10;
  const int64_t year = era * 400 + yearOfEra + (isJanuaryOrFebruary ? 1 : 0);
  return {static_cast<int32_t>(year),
          static_cast<int32_t>(isJanuaryOrFebruary ? monthFromMarch - 9 : monthFromMarch + 3),
          static_cast<int32_t>(dayOfMonth)};
}

// A value that the calendar does not reach is brought to the nearest day that it does.
int64_t dayNumberOf(double value) {
  const double days = value / static_cast<double>(secondsPerDay);
  if (days < static_cast<double>(firstDay)) return firstDay;
  if (days > static_cast<double>(lastDay)) return lastDay;
  return floorToInt64(days);
}

void store(int32_t* target, int32_t value) {
  if (target != nullptr) *target = value;
}

}  // namespace

}  // namespace vq

using namespace vq;

void vqzdmdy(int32_t* month, int32_t* day, int32_t* year, int32_t* weekday, double value) {
  const int64_t dayNumber = dayNumberOf(value);
  const Date date = dateOf(dayNumber);
  store(month, date.month);
  store(day, date.day);
  store(year, date.year);
  // The base was a Friday.
  const int64_t sinceSunday = dayNumber + 5;
  store(weekday, static_cast<int32_t>(sinceSunday - floorDivide(sinceSunday, 7) * 7));
}

void vqzdhms(int32_t* hour, int32_t* minute, int32_t* second, double value) {
  // Outside of 64 bits no second is left in a double.
  const int64_t whole = cutToInt64(value);
  const auto rest = static_cast<int32_t>(whole % secondsPerDay);
  store(hour, rest / 3600);
  store(minute, rest % 3600 / 60);
  store(second, rest % 60);
}

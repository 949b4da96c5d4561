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

// Days that are taken apart with 32 bits, from 0000-03-01 on: 2000 eras, or 800,000 years.
constexpr int64_t daysInReach = 2000 * daysPerEra;

// The divisions are arranged so that each is one multiplication, after Neri and Schneider, "Euclidean affine
// functions and their application to calendar algorithms" (2022). Years begin in March, so that a leap day
// ends them; months have 30.6 days, 2141 / 65536 of one a day.
Date dateInReach(uint32_t day) {
  const uint32_t quarters = 4 * day + 3;
  const uint32_t century = quarters / 146097;
  const uint32_t dayOfCentury = quarters % 146097 / 4;
  // The quotient and the remainder of a division by 1461, the days of four years.
  constexpr uint32_t reciprocal = 2939745;  // 2^32 / 1461, rounded up
  const uint64_t product = uint64_t{reciprocal} * (4 * dayOfCentury + 3);
  const auto yearOfCentury = static_cast<uint32_t>(product >> 32);
  const uint32_t dayOfYear = static_cast<uint32_t>(product) / reciprocal / 4;
  const uint32_t scaled = 2141 * dayOfYear + 197913;
  const uint32_t monthFromMarch = scaled >> 16;
  const uint32_t dayOfMonth = (scaled & 0xFFFF) / 2141;
  const bool isJanuaryOrFebruary = dayOfYear >= 306;
  return {static_cast<int32_t>(100 * century + yearOfCentury + (isJanuaryOrFebruary ? 1 : 0)),
          static_cast<int32_t>(isJanuaryOrFebruary ? monthFromMarch - 12 : monthFromMarch),
          static_cast<int32_t>(dayOfMonth + 1)};
}

Date dateOf(int64_t dayNumber) {
  const int64_t day = dayNumber + baseDay;
  if (day >= 0 && day < daysInReach) return dateInReach(static_cast<uint32_t>(day));
  const int64_t era = floorDivide(day, daysPerEra);
  Date date = dateInReach(static_cast<uint32_t>(day - era * daysPerEra));
  // In 64 bits: the year of the era may carry what the era alone does not hold.
  date.year = static_cast<int32_t>(era * 400 + date.year);
  return date;
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
  // The base was a Friday. Seven times the least day there is brings all of them above zero.
  const auto sinceSunday = static_cast<uint64_t>(dayNumber + 5 - 7 * firstDay);
  store(weekday, static_cast<int32_t>(sinceSunday % 7));
}

void vqzdhms(int32_t* hour, int32_t* minute, int32_t* second, double value) {
  // Outside of 64 bits no second is left in a double.
  const int64_t whole = cutToInt64(value);
  const auto rest = static_cast<int32_t>(whole % secondsPerDay);
  store(hour, rest / 3600);
  store(minute, rest % 3600 / 60);
  store(second, rest % 60);
}

// Dates, times and date-times by locale. All arithmetic on days is std::chrono's; ICU's calendars only show
// and read them, without a zone.
#include <unicode/fieldpos.h>
#include <unicode/parsepos.h>

#include <chrono>
#include <cmath>

#include "host/locale.hpp"
#include "host/locale_text.hpp"

namespace vq::host {

namespace {

// From 1960-01-01, where values count from, to 1970-01-01, where ICU counts from.
constexpr double secondsFrom1960To1970 = 315619200;
constexpr double secondsPerDay = 86400;
constexpr double millisecondsPerSecond = 1000;

constexpr int32_t stackUnits = 128;

template <class Element>
VQStatus show(VQLocale* self, Locale::DateForm form, uint32_t options, double milliseconds, Element* buffer,
              int64_t capacity, int64_t* length) {
  if (!std::isfinite(milliseconds)) return VQSTATUS_BAD_ARGUMENT;
  const auto formatter = Locale::of(self).dateFormatter(form, options);
  if (!formatter) return VQHOST_STATUS_ICU;
  UErrorCode status = U_ZERO_ERROR;
  // Our own calendar: without one, ICU copies its own for every call.
  formatter->calendar->setTime(milliseconds, status);
  if (U_FAILURE(status)) return VQSTATUS_BAD_ARGUMENT;
  char16_t units[stackUnits];
  icu::UnicodeString text(units, 0, stackUnits);
  icu::FieldPosition nowhere(icu::FieldPosition::DONT_CARE);
  formatter->format->format(*formatter->calendar, text, nowhere);
  return deliver(text, 0, buffer, capacity, length);
}

template <class Element>
VQStatus showDate(VQLocale* self, int32_t month, int32_t day, int32_t year, uint32_t options, Element* buffer,
                  int64_t capacity, int64_t* length) {
  // The calendar of std::chrono reaches as far as 16 bits of year.
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  const bool isSmall = year >= int{std::chrono::year::min()} && year <= int{std::chrono::year::max()} &&
                       month > 0 && month <= 12 && day > 0 && day <= 31;
  if (!isSmall || !date.ok()) return VQSTATUS_BAD_ARGUMENT;
  const std::chrono::milliseconds sinceEpoch = std::chrono::sys_days(date).time_since_epoch();
  return show(self, Locale::date, options, static_cast<double>(sinceEpoch.count()), buffer, capacity, length);
}

// Reads the whole text, or says no.
VQStatus readMilliseconds(VQLocale* self, Locale::DateForm form, uint32_t options, const char* text,
                          int64_t byteCount, double* milliseconds) {
  const icu::UnicodeString wide = fromUtf8(text, byteCount);
  const auto formatter = Locale::of(self).dateFormatter(form, options);
  if (!formatter) return VQHOST_STATUS_ICU;
  icu::ParsePosition position;
  const UDate moment = formatter->format->parse(wide, position);
  const bool isWhole =
      position.getErrorIndex() < 0 && position.getIndex() != 0 && position.getIndex() == wide.length();
  if (!isWhole || !std::isfinite(moment)) return VQHOST_STATUS_LOCALE_TEXT;
  *milliseconds = moment;
  return 0;
}

VQStatus formatDate(VQLocale* self, int32_t month, int32_t day, int32_t year, uint64_t options,
                    VQChar* buffer, int64_t capacity, int64_t* length) noexcept {
  return guarded([&] {
    return showDate(self, month, day, year, static_cast<uint32_t>(options), buffer, capacity, length);
  });
}

VQStatus formatU8Date(VQLocale* self, int32_t month, int32_t day, int32_t year, uint32_t options,
                      char* buffer, int64_t capacity, int64_t* length) noexcept {
  return guarded([&] { return showDate(self, month, day, year, options, buffer, capacity, length); });
}

VQStatus formatTime(VQLocale* self, uint64_t options, VQChar* buffer, int64_t capacity, int64_t* length,
                    double seconds) noexcept {
  return guarded([&] {
    return show(self, Locale::time, static_cast<uint32_t>(options), seconds * millisecondsPerSecond, buffer,
                capacity, length);
  });
}

VQStatus formatU8Time(VQLocale* self, uint32_t options, char* buffer, int64_t capacity, int64_t* length,
                      double seconds) noexcept {
  return guarded([&] {
    return show(self, Locale::time, options, seconds * millisecondsPerSecond, buffer, capacity, length);
  });
}

VQStatus formatDatetime(VQLocale* self, uint64_t options, VQChar* buffer, int64_t capacity, int64_t* length,
                        double value) noexcept {
  return guarded([&] {
    return show(self, Locale::dateTime, static_cast<uint32_t>(options),
                (value - secondsFrom1960To1970) * millisecondsPerSecond, buffer, capacity, length);
  });
}

VQStatus formatU8Datetime(VQLocale* self, uint32_t options, char* buffer, int64_t capacity, int64_t* length,
                          double value) noexcept {
  return guarded([&] {
    return show(self, Locale::dateTime, options, (value - secondsFrom1960To1970) * millisecondsPerSecond,
                buffer, capacity, length);
  });
}

VQStatus toDatetime(VQLocale* self, const char* text, int64_t byteCount, uint32_t options,
                    double* value) noexcept {
  return guarded([&] {
    double milliseconds = 0;
    const VQStatus status = readMilliseconds(self, Locale::dateTime, options, text, byteCount, &milliseconds);
    if (status == 0) *value = milliseconds / millisecondsPerSecond + secondsFrom1960To1970;
    return status;
  });
}

VQStatus toDate(VQLocale* self, const char* text, int64_t byteCount, uint32_t options, int32_t* month,
                int32_t* day, int32_t* year) noexcept {
  return guarded([&] {
    double milliseconds = 0;
    const VQStatus status = readMilliseconds(self, Locale::date, options, text, byteCount, &milliseconds);
    if (status != 0) return status;
    const double days = std::floor(milliseconds / (secondsPerDay * millisecondsPerSecond));
    // 32767 years of 366 days: as far as formatDate goes.
    if (std::fabs(days) > 32767 * 366.0) return VQHOST_STATUS_LOCALE_RANGE;
    const std::chrono::year_month_day date{
        std::chrono::sys_days(std::chrono::days(static_cast<int64_t>(days)))};
    *month = static_cast<int32_t>(unsigned{date.month()});
    *day = static_cast<int32_t>(unsigned{date.day()});
    *year = int{date.year()};
    return VQStatus{0};
  });
}

VQStatus toTime(VQLocale* self, const char* text, int64_t byteCount, uint32_t options,
                double* value) noexcept {
  return guarded([&] {
    double milliseconds = 0;
    const VQStatus status = readMilliseconds(self, Locale::time, options, text, byteCount, &milliseconds);
    if (status != 0) return status;
    const double seconds = milliseconds / millisecondsPerSecond;
    *value = seconds - std::floor(seconds / secondsPerDay) * secondsPerDay;
    return status;
  });
}

}  // namespace

void installDates(Locale& locale) {
  locale.localeFormatDate = formatDate;
  locale.localeFormatTime = formatTime;
  locale.localeFormatDatetime = formatDatetime;
  locale.localeU8DatetimeFormat = formatU8Datetime;
  locale.localeU8DateFormat = formatU8Date;
  locale.localeU8TimeFormat = formatU8Time;
  locale.localeToDatetime = toDatetime;
  locale.localeToDate = toDate;
  locale.localeToTime = toTime;
}

}  // namespace vq::host

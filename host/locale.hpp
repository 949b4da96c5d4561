// Locales: numbers, dates and times by the customs of a place. The formatters are ICU's; each locale keeps
// those that it has made.
#pragma once

#include <unicode/calendar.h>
#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/numfmt.h>

#include <string>

#include "host/kept_objects.hpp"
#include "host/kernel.hpp"
#include "host/nls.hpp"

namespace vq::host {

// A number formatter and the digits behind the point that it is set to.
struct NumberFormatter {
  std::unique_ptr<icu::NumberFormat> format;
  // Negative: as many as it takes.
  int64_t digits;
};

// A date formatter with the calendar that it counts by.
struct DateFormatter {
  std::unique_ptr<icu::DateFormat> format;
  std::unique_ptr<icu::Calendar> calendar;
};

struct Locale : VQLocale {
  Locale(Kernel& owner, const char* icuName);

  static Locale& of(VQLocale* locale) { return *static_cast<Locale*>(locale); }

  enum NumberForm { grouped, plain, scientific, numberForms };
  enum NumberReader { readsDoubles, readsScientific, readsIntegers, numberReaders };
  enum DateForm { date, time, dateTime, dateForms };
  // More digits than any double has behind its point.
  static constexpr int32_t allDigits = 340;
  // By the two low bits of the options.
  static constexpr size_t dateStyles = 4;

  KeptObjects<NumberFormatter>::Loan numberFormatter(NumberForm form);
  KeptObjects<NumberFormatter>::Loan numberReader(NumberReader reader);
  KeptObjects<DateFormatter>::Loan dateFormatter(DateForm form, uint32_t options);

  Kernel& kernel;
  const icu::Locale place;
  const std::string name;

 private:
  KeptObjects<NumberFormatter> numbers_[numberForms];
  KeptObjects<NumberFormatter> readers_[numberReaders];
  KeptObjects<DateFormatter> dates_[dateForms][dateStyles];
};

// The parts of the record.
void installNumbers(Locale& locale);
void installDates(Locale& locale);

// Sets nlsDefaultLocale.
void installLocale(Nls& nls);

}  // namespace vq::host

// Locales as objects: found by name, their formatters made and kept.
#include "host/locale.hpp"

#include <unicode/gregocal.h>

#include <cmath>

namespace vq::host {

namespace {

std::unique_ptr<NumberFormatter> makeNumberFormatter(const icu::Locale& place, UNumberFormatStyle style) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::NumberFormat> format(icu::NumberFormat::createInstance(place, style, status));
  if (U_FAILURE(status) || format == nullptr) return nullptr;
  format->setMinimumFractionDigits(0);
  format->setMaximumFractionDigits(Locale::allDigits);
  return std::unique_ptr<NumberFormatter>(new NumberFormatter{std::move(format), -1});
}

icu::DateFormat* createDateFormat(const icu::Locale& place, Locale::DateForm form,
                                  icu::DateFormat::EStyle style) {
  // The longer styles of a time name its zone, and a value has none.
  const auto timeStyle = style == icu::DateFormat::kShort ? style : icu::DateFormat::kMedium;
  switch (form) {
    case Locale::date:
      return icu::DateFormat::createDateInstance(style, place);
    case Locale::time:
      return icu::DateFormat::createTimeInstance(timeStyle, place);
    default:
      return icu::DateFormat::createDateTimeInstance(style, timeStyle, place);
  }
}

std::unique_ptr<DateFormatter> makeDateFormatter(const icu::Locale& place, Locale::DateForm form,
                                                 uint32_t options) {
  constexpr icu::DateFormat::EStyle styles[Locale::dateStyles] = {
      icu::DateFormat::kMedium, icu::DateFormat::kShort, icu::DateFormat::kLong, icu::DateFormat::kFull};
  std::unique_ptr<icu::DateFormat> format(
      createDateFormat(place, form, styles[options % Locale::dateStyles]));
  if (format == nullptr) return nullptr;
  format->setTimeZone(*icu::TimeZone::getGMT());
  format->setLenient(false);
  std::unique_ptr<icu::Calendar> calendar(format->getCalendar()->clone());
  if (calendar == nullptr) return nullptr;
  // Every date is Gregorian, however early.
  if (auto* gregorian = dynamic_cast<icu::GregorianCalendar*>(calendar.get())) {
    UErrorCode status = U_ZERO_ERROR;
    gregorian->setGregorianChange(-INFINITY, status);
    if (U_SUCCESS(status)) format->setCalendar(*gregorian);
  }
  return std::unique_ptr<DateFormatter>(new DateFormatter{std::move(format), std::move(calendar)});
}

}  // namespace

Locale::Locale(Kernel& owner, const char* icuName)
    : VQLocale{}, kernel(owner), place(icuName), name(place.getName()) {
  installNumbers(*this);
  installDates(*this);
}

KeptObjects<NumberFormatter>::Loan Locale::numberFormatter(NumberForm form) {
  return numbers_[form].borrow([&] {
    auto made = makeNumberFormatter(place, form == scientific ? UNUM_SCIENTIFIC : UNUM_DECIMAL);
    if (made != nullptr && form == plain) made->format->setGroupingUsed(false);
    return made;
  });
}

KeptObjects<NumberFormatter>::Loan Locale::numberReader(NumberReader reader) {
  return readers_[reader].borrow([&] {
    auto made = makeNumberFormatter(place, reader == readsScientific ? UNUM_SCIENTIFIC : UNUM_DECIMAL);
    if (made == nullptr) return made;
    // Separators must stand where they belong.
    made->format->setLenient(false);
    made->format->setParseIntegerOnly(reader == readsIntegers);
    return made;
  });
}

KeptObjects<DateFormatter>::Loan Locale::dateFormatter(DateForm form, uint32_t options) {
  const uint32_t style = options % dateStyles;
  return dates_[form][style].borrow([&] { return makeDateFormatter(place, form, style); });
}

void installLocale(Nls& nls) {
  // An empty name is the locale that the environment names.
  const std::string& name = nls.kernel.settings.localeName;
  nls.defaultLocale = std::make_unique<Locale>(nls.kernel, name.empty() ? nullptr : name.c_str());
  nls.nlsDefaultLocale = [](VQNls* self) noexcept -> VQLocale* { return Nls::of(self).defaultLocale.get(); };
}

}  // namespace vq::host

using namespace vq::host;

VQStatus vqhostCreateLocale(VQKernel* kernel, const char* name, VQLocale** locale) {
  return guarded([&] {
    auto made = std::make_unique<Locale>(Kernel::of(kernel), name);
    if (made->place.isBogus()) return VQHOST_STATUS_LOCALE;
    made->kernel.liveObjects.add(1);
    *locale = made.release();
    return VQStatus{0};
  });
}

void vqhostDestroyLocale(VQLocale* locale) {
  if (locale == nullptr) return;
  Locale* ended = &Locale::of(locale);
  ended->kernel.liveObjects.add(-1);
  delete ended;
}

const char* vqhostLocaleName(VQLocale* locale) {
  return Locale::of(locale).name.c_str();
}

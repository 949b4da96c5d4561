// The text form of every typed instance: plainly, by locale, or in ISO 8601. The kernel's format engine and
// the locale object write the characters; what is here chooses the kind, the form and the arguments.
#include "frame/handle.hpp"
#include "instances/iso8601.hpp"
#include "instances/kind_of.hpp"
#include "vqstring/encodings.h"
#include "vqstring/format.h"
#include "vqstring/host.h"
#include "vqstring/service.h"

namespace vq {

namespace {

using iso8601::Format;
using iso8601::Offset;

// What localeFormatDouble is told: field width, digits and options, in the locale's own words.
constexpr uint64_t doubleWidth = 32;
constexpr uint64_t doubleDigits = 0;
constexpr uint64_t doubleOptions = 0x40800;

// The text on its way into a string. It is never enlarged: whoever finds it too small says so to the caller.
struct Line {
  static constexpr int64_t capacity = 255;
  // Date-times by locale are told of one element less than all others.
  static constexpr int64_t datetimeCapacity = 254;

  VQChar buffer[capacity + 1];
  int64_t length = 0;

  template <class... Arguments>
  VQStatus format(const Format& format, Arguments... arguments) {
    return vqzFormatBuff(nullptr, format.text, format.length, buffer, capacity, &length, arguments...);
  }
};

// One call of instanceToString.
class Rendering {
 public:
  Rendering(VQStringService* service, VQPool* pool, VQLocale* locale, bool isIso, VQString** out)
      : service_(service), pool_(pool), locale_(locale), isIso_(isIso), out_(out) {
    if (!isIso_ && locale_ == nullptr) locale_ = defaultLocale();
  }

  VQStatus render(VQInstance* instance, bool copies) {
    if (isKindOf(instance, "VQString")) return shareOrCopy(wideRecord(instance), copies);
    if (isKindOf(instance, "VQU8String")) return convert(u8Record(instance));
    if (isKindOf(instance, "VQBooleanInstance")) return boolean(as<VQBooleanInstance>(instance));
    if (isKindOf(instance, "VQInt32Instance")) return number(U"%d", as<VQInt32Instance>(instance).value);
    if (isKindOf(instance, "VQInt64Instance")) {
      return number(U"%lld", static_cast<long long>(as<VQInt64Instance>(instance).value));
    }
    if (isKindOf(instance, "VQUInt32Instance")) return number(U"%u", as<VQUInt32Instance>(instance).value);
    if (isKindOf(instance, "VQUInt64Instance")) {
      return number(U"%llu", static_cast<unsigned long long>(as<VQUInt64Instance>(instance).value));
    }
    if (isKindOf(instance, "VQDoubleInstance")) return real(as<VQDoubleInstance>(instance));
    if (isKindOf(instance, "VQCalendarDateInstance")) return date(as<VQCalendarDateInstance>(instance));
    if (isKindOf(instance, "VQTimeInstance")) return time(as<VQTimeInstance>(instance));
    if (isKindOf(instance, "VQDateTimeInstanceName")) return dateTime(as<VQDateTimeInstance>(instance));
    if (isKindOf(instance, "VQCalendarDateTimeInstance")) {
      return calendarDateTime(instance, as<VQCalendarDateTimeInstance>(instance));
    }
    return VQSTATUS_UNSUPPORTED;
  }

 private:
  struct Clock {
    int32_t hour, minute, second, millisecond;
  };

  template <class Record>
  static const Record& as(const VQInstance* instance) {
    return *reinterpret_cast<const Record*>(instance);
  }

  static VQLocale* defaultLocale() {
    VQNls* nls = Exported_VQHandle->kernelNls;
    return nls->nlsDefaultLocale(nls);
  }

  VQStatus store(VQString* string) {
    *out_ = string;
    return string != nullptr ? 0 : VQSTATUS_NO_MEMORY;
  }

  // Ends a rendering: a copy of the line, if the line came to be.
  VQStatus finish(VQStatus status, const Line& line) {
    return status == 0 ? store(vqStringCreate(service_, pool_, line.buffer, line.length, 1)) : status;
  }

  VQStatus shareOrCopy(VQString* string, bool copies) {
    if (copies) return store(vqStringCreate(string->service, pool_, string->text, string->length, 1));
    __atomic_add_fetch(&string->header.refCount, 1, __ATOMIC_RELAXED);
    return store(string);
  }

  VQStatus convert(const VQU8String* string) {
    *out_ = nullptr;
    return vqStringEncode(service_, out_, pool_, string->text, static_cast<int64_t>(string->length),
                          ENC_UTF8);
  }

  VQStatus boolean(const VQBooleanInstance& instance) {
    // The string borrows the constant.
    return store(instance.value == 1 ? vqStringCreate(service_, pool_, U"true", 4, 0)
                                     : vqStringCreate(service_, pool_, U"false", 5, 0));
  }

  template <class Number>
  VQStatus number(const Format& format, Number value) {
    Line line;
    return finish(line.format(format, value), line);
  }

  VQStatus real(const VQDoubleInstance& instance) {
    if (locale_ == nullptr) locale_ = defaultLocale();
    Line line;
    VQStatus status = locale_->localeFormatDouble(locale_, doubleWidth, doubleDigits, doubleOptions,
                                                  line.buffer, Line::capacity, &line.length, instance.value);
    status = finish(status, line);
    // A locale may fill the width with blanks.
    if (status == 0) service_->vqStringTrimWhitespace(*out_);
    return status;
  }

  VQStatus date(const VQCalendarDateInstance& instance) {
    Line line;
    const VQStatus status =
        isIso_ ? line.format(iso8601::date, instance.year, instance.month, instance.day)
               : locale_->localeFormatDate(locale_, instance.month, instance.day, instance.year, 0,
                                           line.buffer, Line::capacity, &line.length);
    return finish(status, line);
  }

  // The seconds of a time since midnight, folded once into the day; 24:00:00 is midnight.
  static int32_t secondsOfDay(const VQTimeInstance& instance) {
    // 32 bits that wrap: the fields are anybody's.
    const auto total = static_cast<int32_t>(static_cast<uint32_t>(instance.hour) * 3600u +
                                            static_cast<uint32_t>(instance.minute) * 60u +
                                            static_cast<uint32_t>(instance.second));
    constexpr auto day = static_cast<int32_t>(secondsPerDay);
    if (total >= day) return total - day;
    return total < 0 ? total + day : total;
  }

  VQStatus time(const VQTimeInstance& instance) {
    const int32_t total = secondsOfDay(instance);
    Line line;
    if (!isIso_) {
      // By locale the time is shown moved by its offset.
      const double offset = instance.hasZoneOffset != 0 ? instance.zoneOffset : 0.0;
      const double seconds = cutToInt32(total + offset);
      const VQStatus status = locale_->localeFormatTime(locale_, 0, line.buffer, Line::capacity, &line.length,
                                                        seconds + instance.millisecond / 1000.0);
      return finish(status, line);
    }
    Clock clock = {0, 0, 0, instance.millisecond};
    vqzdhms(&clock.hour, &clock.minute, &clock.second, total);
    const Offset offset(instance.zoneOffset, instance.hasZoneOffset);
    const bool hasFraction = clock.millisecond != 0;
    const Format& format = iso8601::time[hasFraction][offset.isPresent];
    // A format without an offset leaves the last arguments alone.
    const VQStatus status = hasFraction
                                ? line.format(format, clock.hour, clock.minute, clock.second,
                                              clock.millisecond, offset.sign, offset.hours, offset.minutes)
                                : line.format(format, clock.hour, clock.minute, clock.second, offset.sign,
                                              offset.hours, offset.minutes);
    return finish(status, line);
  }

  // The end of both date-time kinds, which store null when the line does not come to be.
  VQStatus finishDateTime(VQStatus status, const Line& line) {
    if (status != 0) *out_ = nullptr;
    return finish(status, line);
  }

  VQStatus localDateTime(double value) {
    Line line;
    const VQStatus status =
        locale_->localeFormatDatetime(locale_, 0, line.buffer, Line::datetimeCapacity, &line.length, value);
    return finishDateTime(status, line);
  }

  VQStatus isoDateTime(int32_t year, int32_t month, int32_t day, const Clock& clock, const Offset& offset) {
    const bool hasFraction = clock.millisecond != 0;
    const int offsetForm = !offset.isPresent ? 0 : offset.minutes == 0 ? 1 : 2;
    const Format& format = iso8601::dateTime[hasFraction][offsetForm];
    Line line;
    // A format without an offset, or without its minutes, leaves the last arguments alone.
    const VQStatus status =
        hasFraction ? line.format(format, year, month, day, clock.hour, clock.minute, clock.second,
                                  clock.millisecond, offset.sign, offset.hours, offset.minutes)
                    : line.format(format, year, month, day, clock.hour, clock.minute, clock.second,
                                  offset.sign, offset.hours, offset.minutes);
    return finishDateTime(status, line);
  }

  VQStatus dateTime(const VQDateTimeInstance& instance) {
    if (!isIso_) return localDateTime(instance.value);
    int32_t month = 0, dayOfMonth = 0, year = 0;
    vqzdmdy(&month, &dayOfMonth, &year, nullptr, instance.value);
    double seconds = instance.value;
    // Before the base the date is that of the day begun, so its clock runs forwards too.
    constexpr auto day = static_cast<double>(secondsPerDay);
    if (seconds < 0.0) seconds -= static_cast<double>(floorToInt64(seconds / day)) * day;
    const double fraction = seconds - static_cast<double>(cutToInt64(seconds));
    Clock clock = {0, 0, 0, cutToInt32(fraction * 1000.0)};
    vqzdhms(&clock.hour, &clock.minute, &clock.second, seconds);
    return isoDateTime(year, month, dayOfMonth, clock, Offset(instance.zoneOffset, instance.hasZoneOffset));
  }

  VQStatus calendarDateTime(VQInstance* instance, const VQCalendarDateTimeInstance& fields) {
    if (!isIso_) {
      return localDateTime(
          fields.calendarToDatetime(reinterpret_cast<VQCalendarDateTimeInstance*>(instance)));
    }
    const Clock clock = {fields.hour, fields.minute, fields.second, fields.millisecond};
    return isoDateTime(fields.year, fields.month, fields.day, clock,
                       Offset(fields.zoneOffset, fields.hasZoneOffset));
  }

  VQStringService* service_;
  VQPool* pool_;
  VQLocale* locale_;
  bool isIso_;
  VQString** out_;
};

}  // namespace

}  // namespace vq

VQStatus instanceToString(VQStringService* service, VQPool* pool, VQLocale* locale, uint8_t iso,
                          VQInstance* instance, uint8_t copy, VQString** out) {
  if (instance == nullptr) {
    *out = nullptr;
    return 0;
  }
  return vq::Rendering(service, pool, locale, iso != 0, out).render(instance, copy == 1);
}

VQStatus vqInstanceToString(VQStringService* service, VQPool* pool, VQInstance* instance, uint8_t copy,
                            VQString** out) {
  return instanceToString(service, pool, nullptr, 0, instance, copy, out);
}

VQStatus vqInstanceLocaleToString(VQStringService* service, VQPool* pool, VQLocale* locale,
                                  VQInstance* instance, uint8_t copy, VQString** out) {
  return instanceToString(service, pool, locale, 0, instance, copy, out);
}

VQStatus vqInstanceIsoToString(VQStringService* service, VQPool* pool, VQInstance* instance, uint8_t copy,
                               VQString** out) {
  return instanceToString(service, pool, nullptr, 1, instance, copy, out);
}

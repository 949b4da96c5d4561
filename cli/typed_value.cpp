#include "typed_value.hpp"

#include <charconv>
#include <chrono>
#include <cmath>
#include <optional>
#include <string_view>

#include "text_argument.hpp"

namespace vqs {

const char* const typedValueHelp =
    "Types and their values:\n"
    "  string             text\n"
    "  boolean            true or false\n"
    "  int32 int64        -17\n"
    "  uint32 uint64      17\n"
    "  double             1234.5, 1e300\n"
    "  date               2024-02-09\n"
    "  time               13:05:09, 13:05:09.250+05:30\n"
    "  datetime           2024-02-09T13:05:09.250-03:30, or seconds since 1960-01-01\n"
    "  calendar-datetime  as datetime, kept as fields\n";

namespace {

// Reads a value from its start; what is asked for and not there is a failure.
class Scanner {
 public:
  Scanner(std::string_view text) : text_(text) {}

  bool isAtEnd() const { return text_.empty(); }
  bool isAt(std::string_view characters) const {
    return !text_.empty() && characters.find(text_.front()) != std::string_view::npos;
  }
  char take() {
    const char c = text_.front();
    text_.remove_prefix(1);
    return c;
  }
  bool take(char wanted) {
    if (text_.empty() || text_.front() != wanted) return false;
    take();
    return true;
  }
  // Up to `most` digits, at least one.
  std::optional<int32_t> number(size_t most) {
    size_t count = 0;
    int32_t value = 0;
    while (count < most && isAt("0123456789")) {
      value = value * 10 + (take() - '0');
      ++count;
    }
    return count ? std::optional(value) : std::nullopt;
  }

 private:
  std::string_view text_;
};

struct Moment {
  int32_t year = 1960, month = 1, day = 1;
  int32_t hour = 0, minute = 0, second = 0, millisecond = 0;
  std::optional<double> zoneOffset;

  const double* offset() const { return zoneOffset ? &*zoneOffset : nullptr; }
};

bool into(int32_t& field, std::optional<int32_t> number) {
  if (number) field = *number;
  return number.has_value();
}

bool scanDate(Scanner& scanner, Moment& moment) {
  const bool isBeforeChrist = scanner.take('-');
  if (!into(moment.year, scanner.number(9))) return false;
  if (isBeforeChrist) moment.year = -moment.year;
  return scanner.take('-') && into(moment.month, scanner.number(2)) && scanner.take('-') &&
         into(moment.day, scanner.number(2));
}

bool scanOffset(Scanner& scanner, Moment& moment) {
  const int sign = scanner.take() == '-' ? -1 : 1;
  int32_t hours = 0, minutes = 0;
  if (!into(hours, scanner.number(2))) return false;
  const bool hasColon = scanner.take(':');
  if ((hasColon || !scanner.isAtEnd()) && !into(minutes, scanner.number(2))) return false;
  moment.zoneOffset = sign * (hours * 3600.0 + minutes * 60.0);
  return true;
}

bool scanTime(Scanner& scanner, Moment& moment) {
  if (!into(moment.hour, scanner.number(2)) || !scanner.take(':') ||
      !into(moment.minute, scanner.number(2)) || !scanner.take(':') ||
      !into(moment.second, scanner.number(2)))
    return false;
  if (scanner.take('.')) {
    // Hundreds, tens and ones of a millisecond; further digits are cut off.
    int32_t weight = 100;
    if (!scanner.isAt("0123456789")) return false;
    for (; scanner.isAt("0123456789"); weight /= 10) moment.millisecond += (scanner.take() - '0') * weight;
  }
  return !scanner.isAt("+-") || scanOffset(scanner, moment);
}

enum class MomentForm { date, time, dateTime };

std::optional<Moment> scanMoment(std::string_view text, MomentForm form) {
  Scanner scanner(text);
  Moment moment;
  const bool hasDate = form != MomentForm::time, hasTime = form != MomentForm::date;
  if (hasDate && !scanDate(scanner, moment)) return std::nullopt;
  if (hasDate && hasTime && !scanner.take('T')) return std::nullopt;
  if (hasTime && !scanTime(scanner, moment)) return std::nullopt;
  if (!scanner.isAtEnd()) return std::nullopt;
  return moment;
}

// Seconds since 1960-01-01. The fields need not be a date that exists.
double secondsOf(const Moment& moment) {
  using namespace std::chrono;
  const sys_days day = sys_days(year(moment.year) / moment.month / 1) + days(moment.day - 1);
  const sys_days base = sys_days(year(1960) / 1 / 1);
  return static_cast<double>((day - base).count()) * 86400.0 + moment.hour * 3600.0 + moment.minute * 60.0 +
         moment.second + moment.millisecond / 1000.0;
}

template <class Number>
std::optional<Number> number(const std::string& text) {
  Number value{};
  const char* end = text.data() + text.size();
  const auto [next, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || next != end) return std::nullopt;
  return value;
}

// What the maker of the host answers, or why there was nothing to make.
using Made = std::optional<VQStatus>;

template <class Number>
Made makeNumber(Session& session, const std::string& text, VQInstance** out,
                VQStatus (*maker)(VQKernel*, VQPool*, Number, VQInstance**)) {
  const auto value = number<Number>(text);
  return value ? Made(maker(session.kernel(), session.pool(), *value, out)) : std::nullopt;
}

VQStatus makeText(Session& session, const std::string& text, VQInstance** out) {
  VQU8String* string = nullptr;
  VQStringService* service = session.service();
  const VQStatus status = service->vqU8StringCreate(service, &string, session.pool(), text.data(),
                                                    static_cast<int64_t>(text.size()), 1);
  if (status == 0) *out = &string->header;
  return status;
}

Made makeDateTime(Session& session, const std::string& text, VQInstance** out) {
  if (const auto seconds = number<double>(text))
    return vqhostCreateDateTime(session.kernel(), session.pool(), *seconds, nullptr, out);
  const auto moment = scanMoment(text, MomentForm::dateTime);
  // As far as the calendar of the standard library goes.
  if (!moment || std::abs(moment->year) > 32767 || moment->month < 1 || moment->month > 12)
    return std::nullopt;
  return vqhostCreateDateTime(session.kernel(), session.pool(), secondsOf(*moment), moment->offset(), out);
}

Made makeMoment(Session& session, const std::string& type, const std::string& text, VQInstance** out) {
  VQKernel* kernel = session.kernel();
  VQPool* pool = session.pool();
  if (type == "datetime") return makeDateTime(session, text, out);
  const auto form = type == "date"   ? MomentForm::date
                    : type == "time" ? MomentForm::time
                                     : MomentForm::dateTime;
  const auto moment = scanMoment(text, form);
  if (!moment) return std::nullopt;
  const Moment& m = *moment;
  if (form == MomentForm::date) return vqhostCreateCalendarDate(kernel, pool, m.year, m.month, m.day, out);
  if (form == MomentForm::time)
    return vqhostCreateTime(kernel, pool, m.hour, m.minute, m.second, m.millisecond, m.offset(), out);
  return vqhostCreateCalendarDateTime(kernel, pool, m.year, m.month, m.day, m.hour, m.minute, m.second,
                                      m.millisecond, m.offset(), out);
}

Made make(Session& session, const std::string& type, const std::string& text, VQInstance** out) {
  if (type == "string") return makeText(session, text, out);
  if (type == "boolean") {
    if (text != "true" && text != "false") return std::nullopt;
    return vqhostCreateBoolean(session.kernel(), session.pool(), text == "true", out);
  }
  if (type == "int32") return makeNumber(session, text, out, vqhostCreateInt32);
  if (type == "int64") return makeNumber(session, text, out, vqhostCreateInt64);
  if (type == "uint32") return makeNumber(session, text, out, vqhostCreateUInt32);
  if (type == "uint64") return makeNumber(session, text, out, vqhostCreateUInt64);
  if (type == "double") return makeNumber(session, text, out, vqhostCreateDouble);
  if (type == "date" || type == "time" || type == "datetime" || type == "calendar-datetime")
    return makeMoment(session, type, text, out);
  throw UsageFailure("no type is called \"" + type + "\"; vqs render --help lists them");
}

}  // namespace

InstancePointer<VQInstance> typedValue(Session& session, const std::string& type, const std::string& value) {
  VQInstance* instance = nullptr;
  const Made made = make(session, type, value, &instance);
  if (!made) throw UsageFailure("\"" + value + "\" is no " + type);
  if (*made) throw UsageFailure("\"" + value + "\": " + session.statusText(*made));
  return InstancePointer<VQInstance>(instance);
}

}  // namespace vqs

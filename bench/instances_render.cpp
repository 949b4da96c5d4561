// Rendering of instances beside what a C++ program would use otherwise: the C library into a std::u32string,
// and ICU with a formatter that is kept.
#include <benchmark/benchmark.h>
#include <unicode/datefmt.h>
#include <unicode/udat.h>
#include <unicode/unum.h>

#include <cstdio>
#include <ctime>
#include <cwchar>
#include <string>

#include "vqhost.h"
#include "vqstring.h"

namespace {

// The library on the real host, kept for all rows.
struct Running {
  Running() {
    VQHostOptions options{};
    options.size = sizeof options;
    options.localeName = "en_US";
    vqhostOpen(&options, &kernel);
    uint64_t first = 0, second = 0;
    vqextver(kernel, &first, &second);
    service = vqstring(kernel);
    locale = kernel->kernelNls->nlsDefaultLocale(kernel->kernelNls);
  }
  static Running& instance() {
    static Running running;
    return running;
  }
  VQKernel* kernel = nullptr;
  VQStringService* service = nullptr;
  VQLocale* locale = nullptr;
};

// 2023-05-18 03:33:20 and so on, a different day each time.
constexpr double firstMoment = 2e9;
constexpr double secondsFrom1960To1970 = 315619200;

double nextMoment(double value) {
  return value > 3e9 ? firstMoment : value + 86461.0;
}

template <class Render>
void renderInstance(benchmark::State& state, VQInstance* instance, Render render) {
  Running& running = Running::instance();
  for (auto _ : state) {
    VQString* out = nullptr;
    if (render(running.service, instance, &out) != 0) {
      state.SkipWithError("not rendered");
      break;
    }
    benchmark::DoNotOptimize(out->text);
    out->header.instanceRelease(&out->header);
  }
  instance->instanceRelease(instance);
}

VQStatus iso(VQStringService* service, VQInstance* instance, VQString** out) {
  if (instance->typeName[2] == 'D') {
    auto* dateTime = reinterpret_cast<VQDateTimeInstance*>(instance);
    dateTime->value = nextMoment(dateTime->value);
  }
  return vqInstanceIsoToString(service, nullptr, instance, 0, out);
}

VQStatus byLocale(VQStringService* service, VQInstance* instance, VQString** out) {
  auto* dateTime = reinterpret_cast<VQDateTimeInstance*>(instance);
  dateTime->value = nextMoment(dateTime->value);
  return vqInstanceToString(service, nullptr, instance, 0, out);
}

void isoDateTime(benchmark::State& state) {
  VQInstance* instance = nullptr;
  vqhostCreateDateTime(Running::instance().kernel, nullptr, firstMoment, nullptr, &instance);
  renderInstance(state, instance, iso);
}
BENCHMARK(isoDateTime)->Name("isoDateTime/vq/string");

void isoDateTimeC(benchmark::State& state) {
  double value = firstMoment;
  for (auto _ : state) {
    value = nextMoment(value);
    const auto seconds = static_cast<time_t>(value - secondsFrom1960To1970);
    tm fields;
    gmtime_r(&seconds, &fields);
    char buffer[64];
    const size_t count = strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%S", &fields);
    std::u32string text(buffer, buffer + count);
    benchmark::DoNotOptimize(text.data());
  }
}
BENCHMARK(isoDateTimeC)->Name("isoDateTime/strftime/string");

void integer(benchmark::State& state) {
  VQInstance* instance = nullptr;
  vqhostCreateInt64(Running::instance().kernel, nullptr, -1234567890123, &instance);
  renderInstance(state, instance, iso);
}
BENCHMARK(integer)->Name("integer/vq/string");

void integerC(benchmark::State& state) {
  for (auto _ : state) {
    wchar_t buffer[64];
    const int count = swprintf(buffer, 64, L"%lld", -1234567890123LL);
    std::u32string text(buffer, buffer + count);
    benchmark::DoNotOptimize(text.data());
  }
}
BENCHMARK(integerC)->Name("integer/swprintf/string");

template <class... Arguments>
void formatWith(benchmark::State& state, std::u32string_view format, Arguments... arguments) {
  Running::instance();
  for (auto _ : state) {
    VQChar buffer[256];
    int64_t length = 0;
    benchmark::DoNotOptimize(vqzFormatBuff(nullptr, format.data(), static_cast<int64_t>(format.size()),
                                           buffer, 255, &length, arguments...));
    benchmark::DoNotOptimize(buffer);
  }
}

template <class... Arguments>
void formatByC(benchmark::State& state, const wchar_t* format, Arguments... arguments) {
  for (auto _ : state) {
    wchar_t buffer[256];
    benchmark::DoNotOptimize(swprintf(buffer, 255, format, arguments...));
    benchmark::DoNotOptimize(buffer);
  }
}

void formatSmall(benchmark::State& state) {
  formatWith(state, U"%d", 42);
}
void formatSmallC(benchmark::State& state) {
  formatByC(state, L"%d", 42);
}
BENCHMARK(formatSmall)->Name("format/vq/%d of 42");
BENCHMARK(formatSmallC)->Name("format/swprintf/%d of 42");

void formatLarge(benchmark::State& state) {
  formatWith(state, U"%lld", INT64_MIN);
}
void formatLargeC(benchmark::State& state) {
  formatByC(state, L"%lld", INT64_MIN);
}
BENCHMARK(formatLarge)->Name("format/vq/%lld of the least");
BENCHMARK(formatLargeC)->Name("format/swprintf/%lld of the least");

void formatMixed(benchmark::State& state) {
  formatWith(state, U"Row %5d: %-8ls %#x %g", 17, U"name", 0xBEEF, 2.5);
}
void formatMixedC(benchmark::State& state) {
  formatByC(state, L"Row %5d: %-8ls %#x %g", 17, L"name", 0xBEEF, 2.5);
}
BENCHMARK(formatMixed)->Name("format/vq/mixed");
BENCHMARK(formatMixedC)->Name("format/swprintf/mixed");

void doubleByLocale(benchmark::State& state) {
  VQLocale* locale = Running::instance().locale;
  double value = 12345.678;
  for (auto _ : state) {
    VQChar buffer[256];
    int64_t length = 0;
    value += 1.0;
    benchmark::DoNotOptimize(locale->localeFormatDouble(locale, 32, 0, 0x40800, buffer, 255, &length, value));
  }
}
BENCHMARK(doubleByLocale)->Name("localeDouble/vq/12345.678");

void doubleByIcu(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  UNumberFormat* format = unum_open(UNUM_DECIMAL, nullptr, 0, "en_US", nullptr, &status);
  unum_setAttribute(format, UNUM_MAX_FRACTION_DIGITS, 340);
  double value = 12345.678;
  for (auto _ : state) {
    UChar buffer[256];
    value += 1.0;
    benchmark::DoNotOptimize(unum_formatDouble(format, value, buffer, 256, nullptr, &status));
  }
  unum_close(format);
}
BENCHMARK(doubleByIcu)->Name("localeDouble/ICU/12345.678");

void integerByLocale(benchmark::State& state) {
  VQLocale* locale = Running::instance().locale;
  int64_t value = 1234567;
  for (auto _ : state) {
    char buffer[256];
    int64_t length = 0;
    benchmark::DoNotOptimize(vqzsu8IntmaxFormat(locale, ++value, 0, 0, buffer, 255, &length));
  }
}
BENCHMARK(integerByLocale)->Name("localeInteger/vq/1234567");

void integerByIcu(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  UNumberFormat* format = unum_open(UNUM_DECIMAL, nullptr, 0, "en_US", nullptr, &status);
  int64_t value = 1234567;
  for (auto _ : state) {
    UChar buffer[256];
    benchmark::DoNotOptimize(unum_formatInt64(format, ++value, buffer, 256, nullptr, &status));
  }
  unum_close(format);
}
BENCHMARK(integerByIcu)->Name("localeInteger/ICU/1234567");

void dateTimeByLocale(benchmark::State& state) {
  VQLocale* locale = Running::instance().locale;
  double value = firstMoment;
  for (auto _ : state) {
    VQChar buffer[256];
    int64_t length = 0;
    value = nextMoment(value);
    benchmark::DoNotOptimize(locale->localeFormatDatetime(locale, 0, buffer, 254, &length, value));
  }
}
BENCHMARK(dateTimeByLocale)->Name("localeDateTime/vq/medium");

void dateTimeByIcu(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  UDateFormat* format = udat_open(UDAT_MEDIUM, UDAT_MEDIUM, "en_US", u"GMT", 3, nullptr, 0, &status);
  double value = firstMoment;
  for (auto _ : state) {
    UChar buffer[256];
    value = nextMoment(value);
    benchmark::DoNotOptimize(
        udat_format(format, (value - secondsFrom1960To1970) * 1000, buffer, 256, nullptr, &status));
  }
  udat_close(format);
}
BENCHMARK(dateTimeByIcu)->Name("localeDateTime/ICU/medium");

void dateTimeString(benchmark::State& state) {
  VQInstance* instance = nullptr;
  vqhostCreateDateTime(Running::instance().kernel, nullptr, firstMoment, nullptr, &instance);
  renderInstance(state, instance, byLocale);
}
BENCHMARK(dateTimeString)->Name("localeDateTime/vq/instance to string");

void dateTimeStringIcu(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  UDateFormat* format = udat_open(UDAT_MEDIUM, UDAT_MEDIUM, "en_US", u"GMT", 3, nullptr, 0, &status);
  double value = firstMoment;
  for (auto _ : state) {
    UChar buffer[256];
    value = nextMoment(value);
    const int32_t count =
        udat_format(format, (value - secondsFrom1960To1970) * 1000, buffer, 256, nullptr, &status);
    std::u32string text(buffer, buffer + count);
    benchmark::DoNotOptimize(text.data());
  }
  udat_close(format);
}
BENCHMARK(dateTimeStringIcu)->Name("localeDateTime/ICU/instance to string");

void takeApart(benchmark::State& state) {
  const double start = static_cast<double>(state.range(0) - 1960) * 365.2425 * 86400;
  double value = start;
  for (auto _ : state) {
    int32_t month, day, year, weekday;
    vqzdmdy(&month, &day, &year, &weekday, value);
    benchmark::DoNotOptimize(month + day + year + weekday);
    value += 86400;
  }
}
BENCHMARK(takeApart)->Name("vqzdmdy/vq/year 1960")->Arg(1960);
BENCHMARK(takeApart)->Name("vqzdmdy/vq/year 2024")->Arg(2024);
BENCHMARK(takeApart)->Name("vqzdmdy/vq/year 9999")->Arg(9999);

}  // namespace

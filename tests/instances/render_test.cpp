// Rendering: each kind in its three forms, and what a failure leaves in the out pointer.
#include <algorithm>
#include <optional>

#include "instances/string_instances.hpp"
#include "support/fault_injector.hpp"

namespace {

using test::Held;

enum class Entry { plain, locale, iso };

struct Rendered {
  VQStatus status;
  std::u32string text;
  bool operator==(const Rendered&) const = default;
};

Rendered take(VQStatus status, VQString* string) {
  if (status != 0 || string == nullptr) return {status, U"(none)"};
  Rendered rendered = {0, std::u32string(string->text, static_cast<size_t>(string->length))};
  string->header.instanceRelease(&string->header);
  return rendered;
}

VQHostOptions american() {
  VQHostOptions options = test::defaultOptions();
  options.localeName = "en_US";
  return options;
}

class Rendering : public test::HostTest {
 protected:
  Rendering() : HostTest(american()) {}

  Rendered render(Entry entry, VQInstance* instance, VQLocale* locale = nullptr) {
    VQString* out = nullptr;
    VQStatus status = 0;
    switch (entry) {
      case Entry::plain:
        status = vqInstanceToString(service(), pool(), instance, 0, &out);
        break;
      case Entry::locale:
        status = vqInstanceLocaleToString(service(), pool(), locale, instance, 0, &out);
        break;
      case Entry::iso:
        status = vqInstanceIsoToString(service(), pool(), instance, 0, &out);
        break;
    }
    return take(status, out);
  }
  // One instance, made by a maker of the host.
  template <class Maker, class... Arguments>
  Held make(Maker maker, Arguments... arguments) {
    VQInstance* instance = nullptr;
    EXPECT_EQ(maker(host(), pool(), arguments..., &instance), 0u);
    return Held(instance);
  }
};

TEST_F(Rendering, NumbersAndBooleansReadTheSameInEveryForm) {
  const std::pair<Held, std::u32string> cases[] = {
      {make(vqhostCreateBoolean, 1), U"true"},
      {make(vqhostCreateBoolean, 0), U"false"},
      {make(vqhostCreateBoolean, 2), U"false"},
      {make(vqhostCreateInt32, -1), U"-1"},
      {make(vqhostCreateInt32, INT32_MIN), U"-2147483648"},
      {make(vqhostCreateInt64, INT64_MIN), U"-9223372036854775808"},
      {make(vqhostCreateUInt32, UINT32_MAX), U"4294967295"},
      {make(vqhostCreateUInt64, UINT64_MAX), U"18446744073709551615"},
      {make(vqhostCreateDouble, 1234.5), U"1,234.5"},
      {make(vqhostCreateDouble, -0.1), U"-0.1"},
  };
  for (const auto& [instance, text] : cases) {
    for (const Entry entry : {Entry::plain, Entry::locale, Entry::iso}) {
      EXPECT_EQ(render(entry, instance.get()), (Rendered{0, text}));
    }
  }
}

TEST_F(Rendering, IsoTimes) {
  const struct {
    int32_t hour, minute, second, millisecond;
    std::optional<double> offset;
    std::u32string text;
  } cases[] = {
      {12, 34, 56, 0, {}, U"12:34:56"},
      {1, 2, 3, 7, {}, U"01:02:03.007"},
      {1, 2, 3, 0, 3600.0, U"01:02:03+01:00"},
      {1, 2, 3, 450, 19800.0, U"01:02:03.450+05:30"},
      {1, 2, 3, 0, -5400.0, U"01:02:03-01:30"},
      {1, 2, 3, 0, -1800.0, U"01:02:03-00:30"},
      {1, 2, 3, 0, 0.0, U"01:02:03+00:00"},
      {1, 2, 3, 0, -0.0, U"01:02:03+00:00"},
      {1, 2, 3, 0, -0.5, U"01:02:03-00:00"},
      {1, 2, 3, 0, 59.9, U"01:02:03+00:00"},
      // Folded once into the day.
      {24, 0, 0, 0, {}, U"00:00:00"},
      {0, 0, -1, 0, {}, U"23:59:59"},
      {47, 59, 59, 0, {}, U"23:59:59"},
  };
  for (const auto& row : cases) {
    const double* offset = row.offset ? &*row.offset : nullptr;
    const Held time = make(vqhostCreateTime, row.hour, row.minute, row.second, row.millisecond, offset);
    EXPECT_EQ(render(Entry::iso, time.get()), (Rendered{0, row.text})) << &row - cases;
  }
}

TEST_F(Rendering, IsoDatesAndDateTimes) {
  EXPECT_EQ(render(Entry::iso, make(vqhostCreateCalendarDate, 2024, 2, 9).get()),
            (Rendered{0, U"2024-02-09"}));
  EXPECT_EQ(render(Entry::iso, make(vqhostCreateCalendarDate, 33, 12, 31).get()), (Rendered{0, U"33-12-31"}));
  const struct {
    double fraction;
    std::optional<double> offset;
    std::u32string tail;
  } tails[] = {
      {0.0, {}, U""},           {0.0, 3600.0, U"+01"},      {0.0, -5400.0, U"-0130"},
      {0.0, 19800.0, U"+0530"}, {0.0, 0.0, U"+00"},         {0.0, -1800.0, U"-0030"},
      {0.007, {}, U".007"},     {0.25, 3600.0, U".250+01"}, {0.25, -5400.0, U".250-0130"},
      {0.9996, {}, U".999"},
  };
  for (const auto& row : tails) {
    const double* offset = row.offset ? &*row.offset : nullptr;
    const Held dateTime = make(vqhostCreateDateTime, 2e9 + row.fraction, offset);
    const Rendered expected = {0, U"2023-05-18T03:33:20" + row.tail};
    // Seven thousandths of a second at this distance from the base are six and a bit.
    if (row.fraction != 0.007) {
      EXPECT_EQ(render(Entry::iso, dateTime.get()), expected) << &row - tails;
    }
    const auto millisecond = static_cast<int32_t>(row.fraction * 1000.0);
    const Held fields = make(vqhostCreateCalendarDateTime, 2023, 5, 18, 3, 33, 20, millisecond, offset);
    EXPECT_EQ(render(Entry::iso, fields.get()), expected) << &row - tails;
  }
  // The fields of a calendar date-time stand as they are.
  const Held odd = make(vqhostCreateCalendarDateTime, 5, 13, 0, 25, 61, 0, 0, nullptr);
  EXPECT_EQ(render(Entry::iso, odd.get()), (Rendered{0, U"5-13-00T25:61:00"}));
  EXPECT_EQ(render(Entry::iso, make(vqhostCreateDateTime, -0.5, nullptr).get()),
            (Rendered{0, U"1959-12-31T23:59:59.500"}));
}

TEST_F(Rendering, DatesAndTimesByLocale) {
  const double east = 3600.0;
  const struct {
    Held instance;
    std::u32string american, german;
  } cases[] = {
      {make(vqhostCreateCalendarDate, 2024, 2, 9), U"Feb 9, 2024", U"09.02.2024"},
      {make(vqhostCreateTime, 13, 5, 9, 0, nullptr), U"1:05:09 PM", U"13:05:09"},
      // By locale a time is shown moved by its offset.
      {make(vqhostCreateTime, 13, 5, 9, 999, &east), U"2:05:09 PM", U"14:05:09"},
      {make(vqhostCreateDateTime, 2e9, &east), U"May 18, 2023, 3:33:20 AM", U"18.05.2023, 03:33:20"},
      {make(vqhostCreateCalendarDateTime, 2023, 5, 18, 3, 33, 20, 0, &east), U"May 18, 2023, 3:33:20 AM",
       U"18.05.2023, 03:33:20"},
      {make(vqhostCreateDouble, 1234567.25), U"1,234,567.25", U"1.234.567,25"},
  };
  VQLocale* german = nullptr;
  ASSERT_EQ(vqhostCreateLocale(host(), "de_DE", &german), 0u);
  for (const auto& row : cases) {
    Rendered rendered = render(Entry::plain, row.instance.get());
    // The blank in front of AM and PM is not the same in all versions of the locale data.
    std::replace(rendered.text.begin(), rendered.text.end(), U'\u202F', U' ');
    EXPECT_EQ(rendered, (Rendered{0, row.american})) << &row - cases;
    EXPECT_EQ(render(Entry::locale, row.instance.get(), german), (Rendered{0, row.german})) << &row - cases;
  }
  vqhostDestroyLocale(german);
}

TEST_F(Rendering, StringsAreSharedCopiedOrConverted) {
  const Held wide = test::wide(service(), pool(), U"für");
  VQString* out = nullptr;
  ASSERT_EQ(vqInstanceToString(service(), nullptr, wide.get(), 0, &out), 0u);
  EXPECT_EQ(&out->header, wide.get());
  EXPECT_EQ(wide->refCount, 2u);
  out->header.instanceRelease(&out->header);
  ASSERT_EQ(vqInstanceIsoToString(service(), nullptr, wide.get(), 1, &out), 0u);
  EXPECT_NE(&out->header, wide.get());
  EXPECT_EQ(out->pool, service()->pool);
  EXPECT_EQ(take(0, out).text, U"für");
  EXPECT_EQ(render(Entry::plain, test::u8(service(), pool(), "für").get()), (Rendered{0, U"für"}));

  auto* const untouched = reinterpret_cast<VQString*>(this);
  out = untouched;
  EXPECT_EQ(vqInstanceToString(service(), pool(), test::u8(service(), pool(), "\xFF").get(), 0, &out),
            VQSTATUS_BAD_SEQUENCE);
  EXPECT_EQ(out, nullptr);
  out = untouched;
  EXPECT_EQ(vqInstanceToString(service(), pool(), test::narrow(service(), pool(), "a").get(), 0, &out),
            VQSTATUS_UNSUPPORTED);
  EXPECT_EQ(out, untouched);
  EXPECT_EQ(vqInstanceToString(service(), pool(), nullptr, 0, &out), 0u);
  EXPECT_EQ(out, nullptr);
}

// A locale that answers as it is told, and remembers what it was asked.
struct ToldLocale : VQLocale {
  VQStatus status = 0;
  int64_t capacity = 0;
  double value = 0;
  uint64_t width = 0, digits = 0, options = 0;

  VQStatus answer(VQChar* buffer, int64_t room, int64_t* length, double number) {
    capacity = room;
    value = number;
    std::u32string_view text = U" x ";
    std::copy(text.begin(), text.end(), buffer);
    *length = 3;
    return status;
  }
  ToldLocale() : VQLocale{} {
    localeFormatDate = [](VQLocale* self, int32_t month, int32_t day, int32_t year, uint64_t, VQChar* buffer,
                          int64_t room, int64_t* length) {
      return static_cast<ToldLocale*>(self)->answer(buffer, room, length, month * 1e6 + day * 1e4 + year);
    };
    localeFormatTime = [](VQLocale* self, uint64_t, VQChar* buffer, int64_t room, int64_t* length,
                          double seconds) {
      return static_cast<ToldLocale*>(self)->answer(buffer, room, length, seconds);
    };
    localeFormatDouble = [](VQLocale* self, uint64_t w, uint64_t d, uint64_t o, VQChar* buffer, int64_t room,
                            int64_t* length, double number) {
      auto* told = static_cast<ToldLocale*>(self);
      told->width = w, told->digits = d, told->options = o;
      return told->answer(buffer, room, length, number);
    };
    localeFormatDatetime = localeFormatTime;
  }
};

TEST_F(Rendering, LocaleIsAskedExactlyAndItsFailuresPassOn) {
  const double offset = -7200.75;
  const struct {
    Held instance;
    int64_t capacity;
    double value;
    std::u32string text;
    bool isNullAfterFailure;
  } cases[] = {
      {make(vqhostCreateCalendarDate, 2024, 2, 9), 255, 2092024, U" x ", false},
      {make(vqhostCreateTime, 25, 0, 1, 250, nullptr), 255, 3601.25, U" x ", false},
      // The sum of time and offset is cut, not folded again: -3599.75 is -3599.
      {make(vqhostCreateTime, 1, 0, 1, 0, &offset), 255, -3599, U" x ", false},
      {make(vqhostCreateDouble, 1.5), 255, 1.5, U"x", false},
      {make(vqhostCreateDateTime, 1e6, &offset), 254, 1e6, U" x ", true},
      {make(vqhostCreateCalendarDateTime, 1960, 1, 2, 0, 0, 1, 500, &offset), 254, 86401.5, U" x ", true},
  };
  for (const auto& row : cases) {
    ToldLocale locale;
    EXPECT_EQ(render(Entry::locale, row.instance.get(), &locale), (Rendered{0, row.text}));
    EXPECT_EQ(locale.capacity, row.capacity);
    EXPECT_EQ(locale.value, row.value);
    locale.status = VQSTATUS_RETRY_LARGER;
    auto* const untouched = reinterpret_cast<VQString*>(this);
    VQString* out = untouched;
    EXPECT_EQ(vqInstanceLocaleToString(service(), pool(), &locale, row.instance.get(), 0, &out),
              VQSTATUS_RETRY_LARGER);
    EXPECT_EQ(out, row.isNullAfterFailure ? nullptr : untouched) << &row - cases;
  }
  ToldLocale locale;
  render(Entry::locale, cases[3].instance.get(), &locale);
  EXPECT_EQ(locale.width, 32u);
  EXPECT_EQ(locale.digits, 0u);
  EXPECT_EQ(locale.options, 0x40800u);
}

class RenderingFaults : public test::FaultTest {};

TEST_F(RenderingFaults, EveryKindTellsItsFailures) {
  VQInstance* made[6] = {};
  ASSERT_EQ(vqhostCreateInt64(host(), faultyPool(), 5, &made[0]), 0u);
  ASSERT_EQ(vqhostCreateBoolean(host(), faultyPool(), 1, &made[1]), 0u);
  ASSERT_EQ(vqhostCreateTime(host(), faultyPool(), 1, 2, 3, 4, nullptr, &made[2]), 0u);
  ASSERT_EQ(vqhostCreateDateTime(host(), faultyPool(), 2e9, nullptr, &made[3]), 0u);
  ASSERT_EQ(vqhostCreateCalendarDateTime(host(), faultyPool(), 1, 1, 1, 0, 0, 0, 0, nullptr, &made[4]), 0u);
  ASSERT_EQ(vqhostCreateDouble(host(), faultyPool(), 1.5, &made[5]), 0u);
  for (VQInstance* instance : made) {
    const Held held(instance);
    const bool isDateTime = instance == made[3] || instance == made[4];
    auto* const untouched = reinterpret_cast<VQString*>(this);
    VQString* out = untouched;
    const VQStatus last = forEveryFault(
        [&] {
          out = untouched;
          return vqInstanceIsoToString(service(), faultyPool(), instance, 0, &out);
        },
        [&](VQStatus status, const test::Fault& fault) {
          if (fault.call == test::poolAlloc) {
            EXPECT_EQ(status, VQSTATUS_NO_MEMORY);
            EXPECT_EQ(out, nullptr);
          } else {
            EXPECT_EQ(status, test::injectedStatus);
            EXPECT_EQ(out, isDateTime ? nullptr : untouched);
          }
        });
    EXPECT_EQ(last, 0u);
    take(last, out);
  }
}

}  // namespace

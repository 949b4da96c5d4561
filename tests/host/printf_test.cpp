// The format engine against the C library: random formats with random values, text arguments, and formats
// that are none.
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "host/wide_printf.hpp"
#include "support/guarded_buffer.hpp"
#include "vqhost.h"

namespace {

struct Formatted {
  VQStatus status;
  std::u32string text;
  bool operator==(const Formatted&) const = default;
};

VQStatus into(VQChar* buffer, int64_t capacity, int64_t* length, std::u32string_view format, ...) {
  va_list list;
  va_start(list, format);
  const VQStatus status = vq::host::formatWide(format.data(), format.size(), buffer, capacity, length, list);
  va_end(list);
  return status;
}

// Measures first, then formats into exactly the room that was asked for, in front of a forbidden page.
template <class... Arguments>
Formatted format(std::u32string_view text, Arguments... arguments) {
  int64_t needed = -1;
  const VQStatus measured = into(nullptr, 0, &needed, text, arguments...);
  if (measured != VQSTATUS_RETRY_LARGER) return {measured, {}};
  const auto size = static_cast<size_t>(needed);
  test::GuardedBuffer<VQChar> tooSmall(size - 1);
  int64_t length = -1;
  EXPECT_EQ(into(tooSmall.data(), needed - 1, &length, text, arguments...), VQSTATUS_RETRY_LARGER);
  EXPECT_EQ(length, needed);
  test::GuardedBuffer<VQChar> buffer(size);
  const VQStatus status = into(buffer.data(), needed, &length, text, arguments...);
  EXPECT_EQ(length, needed);
  return {status, std::u32string(buffer.begin(), buffer.end())};
}

template <class... Arguments>
std::u32string byC(const std::string& text, Arguments... arguments) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
  const int size = std::snprintf(nullptr, 0, text.c_str(), arguments...);
  std::string out(static_cast<size_t>(size) + 1, '\0');
  std::snprintf(out.data(), out.size(), text.c_str(), arguments...);
#pragma GCC diagnostic pop
  out.pop_back();
  return std::u32string(out.begin(), out.end());
}

class Formats {
 public:
  // Flags, width and precision, of which an integer argument each may stand in for the last two.
  std::string front() {
    std::string text = "<%";
    for (const char flag : std::string_view("-+ #0")) {
      if (random() % 4 == 0) text += flag;
    }
    if (random() % 2 == 0) text += std::to_string(1 + random() % 30);
    if (random() % 2 == 0) {
      text += '.';
      if (random() % 4 != 0) text += std::to_string(random() % 25);
    }
    return text;
  }
  template <class Value>
  void compare(const std::string& back, Value value) {
    const std::string text = front() + back + ">";
    const Formatted ours = format(std::u32string(text.begin(), text.end()), value);
    ASSERT_EQ(ours, (Formatted{0, byC(text, value)})) << text << " of " << value;
  }

  std::mt19937_64 random{20260101};
};

TEST(WidePrintf, IntegersAsTheCLibraryHasThem) {
  Formats formats;
  for (int i = 0; i < 20000; ++i) {
    // Of all magnitudes, and zero.
    const uint64_t value = i % 16 == 0 ? 0 : formats.random() >> (formats.random() % 64);
    const std::string letter(1, "dioxXu"[formats.random() % 6]);
    switch (formats.random() % 7) {
      case 0:
        formats.compare("hh" + letter, static_cast<int>(value));
        break;
      case 1:
        formats.compare("h" + letter, static_cast<int>(value));
        break;
      case 2:
        formats.compare(letter, static_cast<int>(value));
        break;
      case 3:
        formats.compare("l" + letter, static_cast<long>(value));
        break;
      case 4:
        formats.compare("ll" + letter, static_cast<long long>(value));
        break;
      case 5:
        formats.compare("j" + letter, static_cast<intmax_t>(value));
        break;
      default:
        formats.compare("z" + letter, static_cast<size_t>(value));
        break;
    }
    if (testing::Test::HasFatalFailure()) return;
  }
}

TEST(WidePrintf, FloatsAsTheCLibraryHasThem) {
  constexpr double special[] = {0.0, -0.0, 1.0, 0.5, 9.9999995, 1e300, 5e-324, INFINITY, -INFINITY, NAN};
  Formats formats;
  for (int i = 0; i < 20000; ++i) {
    double value = 0;
    if (i % 4 == 0) {
      value = special[formats.random() % std::size(special)];
    } else if (i % 4 == 1) {
      value = static_cast<double>(formats.random() % 2000000) / 1000.0;
    } else {
      const uint64_t bits = formats.random();
      std::memcpy(&value, &bits, sizeof value);
    }
    const std::string letter(1, "fegaFEGA"[formats.random() % 8]);
    if (i % 5 == 0) {
      formats.compare("L" + letter, static_cast<long double>(value));
    } else {
      formats.compare(letter, value);
    }
    if (testing::Test::HasFatalFailure()) return;
  }
}

TEST(WidePrintf, PrecisionsBeyondAllDigits) {
  for (const std::string& text :
       {std::string("%.1500f"), std::string("%.2000e"), std::string("%#.1200g"), std::string("%.1200g"),
        std::string("%.1300a"), std::string("%-1600.1500f|"), std::string("%01600.1500E")}) {
    for (const double value : {0.1, 5e-324, 1.5e300, 0.0}) {
      EXPECT_EQ(format(std::u32string(text.begin(), text.end()), value), (Formatted{0, byC(text, value)}))
          << text << " of " << value;
    }
  }
}

TEST(WidePrintf, TextsCharactersAndPointers) {
  EXPECT_EQ(format(U"%s|%ls|%S|%hs", "ü€😀", U"ü€😀", U"S", "h"), (Formatted{0, U"ü€😀|ü€😀|S|h"}));
  EXPECT_EQ(format(U"%5s|%-5s|%5ls|%-5S|", "ü😀", "ü😀", U"ü😀", U"ü😀"),
            (Formatted{0, U"   ü😀|ü😀   |   ü😀|ü😀   |"}));
  // Widths and precisions count elements, and what a precision cuts off is not looked at.
  EXPECT_EQ(format(U"%.2s|%.0s|%.3ls|%4.1ls|", "ü😀\xFF", "\xFF", U"abcd", U"xy"),
            (Formatted{0, U"ü😀||abc|   x|"}));
  const VQChar unterminated[] = {'a', 'b'};
  EXPECT_EQ(format(U"%.2ls", unterminated), (Formatted{0, U"ab"}));
  EXPECT_EQ(format(U"%s|%ls", nullptr, nullptr), (Formatted{0, U"(null)|(null)"}));
  EXPECT_EQ(format(U"%c%lc%3c%-3c|", 'a', 0x1F600, 'b', 0xE9), (Formatted{0, U"a😀  bé  |"}));
  EXPECT_EQ(format(U"100%% %p %6p", nullptr, reinterpret_cast<void*>(0xBEEF)),
            (Formatted{0, U"100% (nil) 0xbeef"}));
  EXPECT_EQ(format(U"%*d|%-*d|%*d|%.*f|%.*f", 4, 1, 4, 2, -4, 3, 1, 2.25, -1, 0.5),
            (Formatted{0, U"   1|2   |3   |2.2|0.500000"}));
  EXPECT_EQ(format(U"%s", "ab\xFF"), (Formatted{VQSTATUS_BAD_SEQUENCE, {}}));
  EXPECT_EQ(format(U"%s", "ab\xC3"), (Formatted{VQSTATUS_SHORT_SEQUENCE, {}}));
}

TEST(WidePrintf, WhatIsNoFormatIsRefused) {
  for (const std::u32string_view text :
       {U"%", U"a %5", U"%.", U"%l", U"%n", U"%hhn", U"%y", U"%1$d", U"%Ld", U"%hf", U"%hhs", U"%lp", U"%hc",
        U"%99999999999d", U"%.99999999999f", U"%\u00E9", U"%lllx", U"%-"}) {
    int64_t length = 77;
    VQChar buffer[64];
    EXPECT_EQ(into(buffer, 64, &length, text, 1, 2), VQHOST_STATUS_FORMAT)
        << std::string(text.begin(), text.end());
    EXPECT_EQ(length, 77);
  }
  int64_t length = 77;
  EXPECT_EQ(into(nullptr, 0, &length, U""), 0u);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(into(nullptr, -5, &length, U"%2000000000d", 1), VQSTATUS_RETRY_LARGER);
  EXPECT_EQ(length, 2000000000);
}

}  // namespace

// The number conversions of the format engine. Digits come from std::to_chars, which knows no locale; what it
// does not write (hexadecimal floats as C has them, the alternate form, long doubles) comes from the C
// library under the C locale.
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

#include "host/printf_parts.hpp"

namespace vq::host {

namespace {

// No double has more digits behind its point than this, so what a precision asks for beyond it is zeros.
constexpr int64_t longestFraction = 1100;
constexpr int64_t longestLongFraction = 16500;

bool isUpper(char letter) {
  return letter >= 'A' && letter <= 'Z';
}

char lower(char letter) {
  return isUpper(letter) ? static_cast<char>(letter + ('a' - 'A')) : letter;
}

void toUpperAscii(char* text, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    if (text[i] >= 'a' && text[i] <= 'z') text[i] = static_cast<char>(text[i] - ('a' - 'A'));
  }
}

int64_t signedArgument(ArgumentSize size, Arguments& arguments) {
  switch (size) {
    case ArgumentSize::hh:
      return static_cast<signed char>(va_arg(arguments.list, int));
    case ArgumentSize::h:
      return static_cast<short>(va_arg(arguments.list, int));
    case ArgumentSize::plain:
      return va_arg(arguments.list, int);
    default:
      // All other sizes are 64 bits here.
      return va_arg(arguments.list, int64_t);
  }
}

uint64_t unsignedArgument(ArgumentSize size, Arguments& arguments) {
  switch (size) {
    case ArgumentSize::hh:
      return static_cast<unsigned char>(va_arg(arguments.list, int));
    case ArgumentSize::h:
      return static_cast<unsigned short>(va_arg(arguments.list, int));
    case ArgumentSize::plain:
      return va_arg(arguments.list, unsigned);
    default:
      return va_arg(arguments.list, uint64_t);
  }
}

// The C locale for this thread while it lives: the C library's decimal point is the locale's.
class CLocale {
 public:
  CLocale() : before_(uselocale(shared())) {}
  CLocale(const CLocale&) = delete;
  ~CLocale() { uselocale(before_); }

 private:
  static locale_t shared() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
  }
  locale_t before_;
};

// Splits what a float looks like into the digits up to where further zeros go, and the rest: an exponent.
void splitAtExponent(std::string_view text, bool isHexadecimal, NumberPieces& pieces) {
  const size_t exponent = text.find_first_of(isHexadecimal ? "pP" : "eE");
  const size_t cut = exponent == std::string_view::npos ? text.size() : exponent;
  pieces.digits = text.substr(0, cut);
  pieces.tail = text.substr(cut);
}

// By the C library; `value` is not negative.
template <class Float>
std::string printed(const Conversion& conversion, Float value, int64_t precision) {
  char format[16];
  char* next = format;
  *next++ = '%';
  if (conversion.isAlternate) *next++ = '#';
  if (precision >= 0) *next++ = '.', *next++ = '*';
  if constexpr (std::is_same_v<Float, long double>) *next++ = 'L';
  *next++ = conversion.letter;
  *next = 0;
  const CLocale quiet;
  const auto print = [&](char* target, size_t size) {
    return precision >= 0 ? std::snprintf(target, size, format, static_cast<int>(precision), value)
                          : std::snprintf(target, size, format, value);
  };
  std::string text(static_cast<size_t>(print(nullptr, 0)), '\0');
  print(text.data(), text.size() + 1);
  return text;
}

// By std::to_chars, into `target`; `value` is finite and not negative.
std::string_view written(const Conversion& conversion, double value, int64_t precision, char* target,
                         size_t size) {
  const char letter = lower(conversion.letter);
  const auto form = letter == 'f'   ? std::chars_format::fixed
                    : letter == 'e' ? std::chars_format::scientific
                                    : std::chars_format::general;
  const std::to_chars_result result =
      std::to_chars(target, target + size, value, form, static_cast<int>(precision));
  const auto count = static_cast<size_t>(result.ptr - target);
  if (isUpper(conversion.letter)) toUpperAscii(target, count);
  return {target, count};
}

template <class Float>
void putFloatValue(WideOutput& out, const Conversion& conversion, Float value) {
  constexpr bool isLong = std::is_same_v<Float, long double>;
  constexpr int64_t longest = isLong ? longestLongFraction : longestFraction;
  NumberPieces pieces;
  pieces.sign = conversion.signFor(std::signbit(value));
  if (!std::isfinite(value)) {
    const bool capitals = isUpper(conversion.letter);
    pieces.digits = std::isnan(value) ? (capitals ? "NAN" : "nan") : (capitals ? "INF" : "inf");
    pieces.takesZeros = false;
    putNumber(out, conversion, pieces);
    return;
  }
  const char letter = lower(conversion.letter);
  const bool isHexadecimal = letter == 'a';
  int64_t precision = conversion.precision;
  if (precision < 0 && !isHexadecimal) precision = 6;
  if (precision > longest) {
    // %g drops zeros at the end, unless it is told to keep them.
    if (letter != 'g' || conversion.isAlternate)
      pieces.innerZeros = static_cast<uint64_t>(precision - longest);
    precision = longest;
  }
  const Float magnitude = std::fabs(value);
  // Room for 309 digits in front of the point, the point, and the exponent.
  char buffer[longestFraction + 330];
  std::string text;
  if (isLong || isHexadecimal || conversion.isAlternate) {
    text = printed(conversion, magnitude, precision);
    splitAtExponent(text, isHexadecimal, pieces);
    if (isHexadecimal) {
      pieces.prefix = pieces.digits.substr(0, 2);
      pieces.digits.remove_prefix(2);
    }
  } else {
    splitAtExponent(written(conversion, static_cast<double>(magnitude), precision, buffer, sizeof buffer),
                    isHexadecimal, pieces);
  }
  putNumber(out, conversion, pieces);
}

}  // namespace

void putNumber(WideOutput& out, const Conversion& conversion, NumberPieces pieces) {
  uint64_t count = (pieces.sign != 0 ? 1 : 0) + pieces.prefix.size() + pieces.zeros + pieces.digits.size() +
                   pieces.innerZeros + pieces.tail.size();
  const auto width = static_cast<uint64_t>(conversion.width);
  uint64_t padding = width > count ? width - count : 0;
  if (padding != 0 && !conversion.isLeft) {
    if (conversion.hasZeros && pieces.takesZeros) {
      pieces.zeros += padding;
    } else {
      out.fill(' ', padding);
    }
    padding = 0;
  }
  if (pieces.sign != 0) out.put(static_cast<VQChar>(pieces.sign));
  if (!pieces.prefix.empty()) out.append(pieces.prefix);
  if (pieces.zeros != 0) out.fill('0', pieces.zeros);
  out.append(pieces.digits);
  if (pieces.innerZeros != 0) out.fill('0', pieces.innerZeros);
  if (!pieces.tail.empty()) out.append(pieces.tail);
  if (padding != 0) out.fill(' ', padding);
}

void putDecimal(WideOutput& out, uint64_t magnitude, char sign, uint64_t width, VQChar filler) {
  constexpr uint64_t mostDigits = 20;
  VQChar digits[mostDigits];
  VQChar* const end = digits + mostDigits;
  VQChar* first = end;
  while (magnitude >= 100) {
    const DigitPair& pair = digitPairs.pairs[magnitude % 100];
    magnitude /= 100;
    *--first = pair.ones;
    *--first = pair.tens;
  }
  *--first = digitPairs.pairs[magnitude].ones;
  if (magnitude >= 10) *--first = digitPairs.pairs[magnitude].tens;

  const auto digitCount = static_cast<uint64_t>(end - first);
  const uint64_t count = digitCount + (sign != 0 ? 1 : 0);
  const uint64_t padding = width > count ? width - count : 0;
  const bool isSignFirst = sign != 0 && filler == '0';
  if (VQChar* next = out.take(padding + count)) {
    if (isSignFirst) *next++ = static_cast<VQChar>(sign);
    for (uint64_t i = 0; i < padding; ++i) *next++ = filler;
    if (sign != 0 && !isSignFirst) *next++ = static_cast<VQChar>(sign);
    while (first != end) *next++ = *first++;
    return;
  }
  if (isSignFirst) out.put(static_cast<VQChar>(sign));
  out.fill(filler, padding);
  if (sign != 0 && !isSignFirst) out.put(static_cast<VQChar>(sign));
  out.append(first, digitCount);
}

void putInteger(WideOutput& out, const Conversion& conversion, Arguments& arguments) {
  NumberPieces pieces;
  uint64_t magnitude = 0;
  int base = 10;
  if (conversion.letter == 'd' || conversion.letter == 'i') {
    const int64_t value = signedArgument(conversion.size, arguments);
    pieces.sign = conversion.signFor(value < 0);
    magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
  } else {
    magnitude = unsignedArgument(conversion.size, arguments);
    base = conversion.letter == 'u' ? 10 : conversion.letter == 'o' ? 8 : 16;
  }
  if (base == 10 && conversion.precision < 0 && !conversion.isLeft) {
    putDecimal(out, magnitude, pieces.sign, static_cast<uint64_t>(conversion.width),
               conversion.hasZeros ? '0' : ' ');
    return;
  }
  char digits[22];
  static_assert(sizeof digits >= std::numeric_limits<uint64_t>::digits / 3 + 1);
  const char* end = std::to_chars(digits, digits + sizeof digits, magnitude, base).ptr;
  auto count = static_cast<size_t>(end - digits);
  if (conversion.precision >= 0) {
    pieces.takesZeros = false;
    if (conversion.precision == 0 && magnitude == 0) count = 0;
    const auto least = static_cast<uint64_t>(conversion.precision);
    if (least > count) pieces.zeros = least - count;
  }
  if (base == 16) {
    if (conversion.letter == 'X') toUpperAscii(digits, count);
    if (conversion.isAlternate && magnitude != 0) pieces.prefix = conversion.letter == 'X' ? "0X" : "0x";
  } else if (base == 8 && conversion.isAlternate && pieces.zeros == 0 && (count == 0 || digits[0] != '0')) {
    // The alternate octal form begins with a zero, whichever asks for it.
    pieces.zeros = 1;
  }
  pieces.digits = {digits, count};
  putNumber(out, conversion, pieces);
}

void putFloat(WideOutput& out, const Conversion& conversion, Arguments& arguments) {
  if (conversion.size == ArgumentSize::L) {
    putFloatValue(out, conversion, va_arg(arguments.list, long double));
  } else {
    putFloatValue(out, conversion, va_arg(arguments.list, double));
  }
}

}  // namespace vq::host

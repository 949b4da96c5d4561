// Numbers by locale: rendering with the options of vqhost.h, and reading back.
#include <unicode/fmtable.h>
#include <unicode/parsepos.h>

#include <charconv>
#include <cmath>
#include <limits>

#include "host/locale.hpp"
#include "host/locale_text.hpp"

namespace vq::host {

namespace {

// ICU's texts grow on the stack up to this many units before they move to the heap.
constexpr int32_t stackUnits = 128;

class StackText {
 public:
  StackText() : text_(units_, 0, stackUnits) {}
  StackText(const StackText&) = delete;
  icu::UnicodeString& operator*() { return text_; }
  icu::UnicodeString* operator->() { return &text_; }

 private:
  char16_t units_[stackUnits];
  icu::UnicodeString text_;
};

void setDigits(NumberFormatter& formatter, uint64_t digits) {
  const auto wanted = static_cast<int64_t>(std::min<uint64_t>(digits, Locale::allDigits));
  if (formatter.digits == wanted) return;
  formatter.format->setMaximumFractionDigits(static_cast<int32_t>(wanted));
  formatter.format->setMinimumFractionDigits(static_cast<int32_t>(wanted));
  formatter.digits = wanted;
}

void setAllDigits(NumberFormatter& formatter) {
  if (formatter.digits < 0) return;
  formatter.format->setMinimumFractionDigits(0);
  formatter.format->setMaximumFractionDigits(Locale::allDigits);
  formatter.digits = -1;
}

template <class Number>
bool write(Locale& locale, Locale::NumberForm form, int64_t digits, Number value, icu::UnicodeString& text) {
  const auto formatter = locale.numberFormatter(form);
  if (!formatter) return false;
  if (digits < 0) {
    setAllDigits(*formatter);
  } else {
    setDigits(*formatter, static_cast<uint64_t>(digits));
  }
  UErrorCode status = U_ZERO_ERROR;
  if constexpr (std::is_same_v<Number, icu::StringPiece>) {
    formatter->format->format(value, text, nullptr, status);
  } else {
    icu::FieldPosition nowhere(icu::FieldPosition::DONT_CARE);
    formatter->format->format(value, text, nowhere);
  }
  return U_SUCCESS(status);
}

Locale::NumberForm formOf(uint64_t options) {
  if ((options & VQHOST_NUMBER_SCIENTIFIC) != 0) return Locale::scientific;
  return (options & VQHOST_NUMBER_NO_GROUPING) != 0 ? Locale::plain : Locale::grouped;
}

// Whether a text is longer than this many characters.
bool isLonger(const icu::UnicodeString& text, uint64_t width) {
  return static_cast<uint64_t>(text.length()) > width && static_cast<uint64_t>(text.countChar32()) > width;
}

// The blanks that the alignment puts in front.
int64_t blanksFor(const icu::UnicodeString& text, uint64_t width, uint64_t options) {
  if ((options & VQHOST_NUMBER_ALIGN_RIGHT) == 0) return 0;
  const auto wanted = static_cast<int64_t>(std::min<uint64_t>(width, INT64_MAX));
  return std::max<int64_t>(wanted - text.countChar32(), 0);
}

// Whether the plain form of a number is so much longer than the width that it need not be tried.
bool isBeyond(double value, uint64_t width) {
  if (!std::isfinite(value) || value == 0) return false;
  const double digitsPerBit = 0.30103;
  const double bits = std::abs(std::ilogb(value));
  return bits * digitsPerBit > static_cast<double>(width) + 1;
}

template <class Element>
VQStatus formatDouble(VQLocale* self, uint64_t width, uint64_t digits, uint64_t options, Element* buffer,
                      int64_t capacity, int64_t* length, double value) {
  Locale& locale = Locale::of(self);
  const bool isShortest = (options & VQHOST_NUMBER_SHORTEST) != 0;
  const int64_t digitCount =
      isShortest ? -1 : static_cast<int64_t>(std::min<uint64_t>(digits, Locale::allDigits));
  Locale::NumberForm form = formOf(options);
  const bool mayShorten = isShortest && width != 0 && form != Locale::scientific;
  if (mayShorten && isBeyond(value, width)) form = Locale::scientific;
  StackText text;
  if (!write(locale, form, digitCount, value, *text)) return VQHOST_STATUS_ICU;
  if (mayShorten && form != Locale::scientific && isLonger(*text, width)) {
    text->remove();
    if (!write(locale, Locale::scientific, -1, value, *text)) return VQHOST_STATUS_ICU;
  }
  return deliver(*text, blanksFor(*text, width, options), buffer, capacity, length);
}

VQStatus formatWideDouble(VQLocale* self, uint64_t width, uint64_t digits, uint64_t options, VQChar* buffer,
                          int64_t capacity, int64_t* length, double value) noexcept {
  return guarded([&] { return formatDouble(self, width, digits, options, buffer, capacity, length, value); });
}

VQStatus formatU8Double(VQLocale* self, uint64_t width, uint64_t digits, uint64_t options, char* buffer,
                        int64_t capacity, int64_t* length, double value, uint64_t) noexcept {
  return guarded([&] { return formatDouble(self, width, digits, options, buffer, capacity, length, value); });
}

template <class Integer>
VQStatus formatInteger(VQLocale* self, Integer value, uint32_t width, uint32_t options, char* buffer,
                       int64_t capacity, int64_t* length) noexcept {
  return guarded([&]() -> VQStatus {
    Locale& locale = Locale::of(self);
    const Locale::NumberForm form = formOf(options);
    StackText text;
    bool isWritten = false;
    if (std::is_signed_v<Integer> || value <= static_cast<Integer>(std::numeric_limits<int64_t>::max())) {
      isWritten = write(locale, form, -1, static_cast<int64_t>(value), *text);
    } else {
      // ICU has no unsigned numbers of 64 bits, but takes decimal ones.
      char decimal[24];
      const char* end = std::to_chars(decimal, decimal + sizeof decimal, value).ptr;
      isWritten =
          write(locale, form, -1, icu::StringPiece(decimal, static_cast<int32_t>(end - decimal)), *text);
    }
    if (!isWritten) return VQHOST_STATUS_ICU;
    return deliver(*text, blanksFor(*text, width, options), buffer, capacity, length);
  });
}

// Reads the whole text, or says no.
VQStatus read(VQLocale* self, Locale::NumberReader kind, const icu::UnicodeString& text,
              icu::Formattable& number) {
  if (text.isEmpty()) return VQHOST_STATUS_LOCALE_TEXT;
  const auto reader = Locale::of(self).numberReader(kind);
  if (!reader) return VQHOST_STATUS_ICU;
  icu::ParsePosition position;
  reader->format->parse(text, number, position);
  const bool isWhole = position.getErrorIndex() < 0 && position.getIndex() == text.length();
  return isWhole ? 0 : VQHOST_STATUS_LOCALE_TEXT;
}

VQStatus toDouble(VQLocale* self, const char* text, int64_t byteCount, uint32_t, double* value,
                  uint64_t) noexcept {
  return guarded([&]() -> VQStatus {
    const icu::UnicodeString wide = fromUtf8(text, byteCount);
    icu::Formattable number;
    VQStatus status = read(self, Locale::readsDoubles, wide, number);
    // Some places put more around a number with an exponent than the exponent: [5E-324].
    if (status == VQHOST_STATUS_LOCALE_TEXT) status = read(self, Locale::readsScientific, wide, number);
    if (status != 0) return status;
    UErrorCode failure = U_ZERO_ERROR;
    const double result = number.getDouble(failure);
    if (U_FAILURE(failure)) return VQHOST_STATUS_LOCALE_TEXT;
    *value = result;
    return 0;
  });
}

// The digits of a decimal number as ICU hands it out, "1.8446E+19" or "18446", as an integer.
bool integerFrom(icu::StringPiece decimal, uint64_t* value) {
  const char* next = decimal.data();
  const char* end = next + decimal.size();
  uint64_t result = 0;
  int64_t pending = 0;  // digits behind the point, which the exponent must bring in front of it
  bool isBehindPoint = false;
  for (; next != end && *next != 'E'; ++next) {
    if (*next == '.') {
      isBehindPoint = true;
      continue;
    }
    if (*next < '0' || *next > '9') return false;
    if (__builtin_mul_overflow(result, uint64_t{10}, &result) ||
        __builtin_add_overflow(result, static_cast<uint64_t>(*next - '0'), &result)) {
      return false;
    }
    if (isBehindPoint) ++pending;
  }
  int64_t exponent = 0;
  if (next != end) {
    ++next;
    if (next != end && *next == '+') ++next;
    if (std::from_chars(next, end, exponent).ec != std::errc()) return false;
  }
  if (exponent < pending) return false;
  for (int64_t i = pending; i < exponent; ++i) {
    if (__builtin_mul_overflow(result, uint64_t{10}, &result)) return false;
  }
  *value = result;
  return true;
}

template <class Integer>
bool fits(const icu::Formattable& number, Integer* value) {
  UErrorCode status = U_ZERO_ERROR;
  if (number.getType() != icu::Formattable::kDouble) {
    const int64_t whole = number.getInt64(status);
    return U_SUCCESS(status) && !__builtin_add_overflow(whole, 0, value);
  }
  // Minus zero, and what is too large for 64 bits with a sign.
  if (number.getDouble() == 0) {
    *value = 0;
    return true;
  }
  if constexpr (std::is_unsigned_v<Integer>) {
    uint64_t whole = 0;
    auto& decimal = const_cast<icu::Formattable&>(number);
    return integerFrom(decimal.getDecimalNumber(status), &whole) && U_SUCCESS(status) &&
           !__builtin_add_overflow(whole, 0, value);
  }
  return false;
}

template <class Integer>
VQStatus toInteger(VQLocale* self, const char* text, int64_t byteCount, uint32_t, Integer* value) noexcept {
  return guarded([&]() -> VQStatus {
    icu::Formattable number;
    const VQStatus status = read(self, Locale::readsIntegers, fromUtf8(text, byteCount), number);
    if (status != 0) return status;
    Integer whole = 0;
    if (!fits(number, &whole)) return VQHOST_STATUS_LOCALE_RANGE;
    *value = whole;
    return 0;
  });
}

}  // namespace

void installNumbers(Locale& locale) {
  locale.localeFormatDouble = formatWideDouble;
  locale.localeToDouble = toDouble;
  locale.localeU8DoubleFormat = formatU8Double;
  locale.localeU8IntfastFormat = formatInteger<int_fast32_t>;
  locale.localeU8IntmaxFormat = formatInteger<intmax_t>;
  locale.localeU8UintfastFormat = formatInteger<uint_fast32_t>;
  locale.localeU8UintmaxFormat = formatInteger<uintmax_t>;
  locale.localeToIntfast = toInteger<int_fast32_t>;
  locale.localeToIntmax = toInteger<intmax_t>;
  locale.localeToUintfast = toInteger<uint_fast32_t>;
  locale.localeToUintmax = toInteger<uintmax_t>;
  locale.localeU8IntFormat = formatInteger<int>;
  locale.localeU8UIntFormat = formatInteger<unsigned>;
  locale.localeToInt = toInteger<int>;
  locale.localeToUInt = toInteger<unsigned>;
  locale.localeU8LongFormat = formatInteger<long>;
  locale.localeU8ULongFormat = formatInteger<unsigned long>;
  locale.localeToLong = toInteger<long>;
  locale.localeToULong = toInteger<unsigned long>;
}

}  // namespace vq::host

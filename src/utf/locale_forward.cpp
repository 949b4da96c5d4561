// The operations of a locale object under plain names, one call each.
#include "vqstring/locale.h"

VQStatus vqzsu8ToDouble(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                        double* value) {
  return locale->localeToDouble(locale, text, byteCount, options, value, 0);
}

VQStatus vqzsu8DoubleFormat(VQLocale* locale, uint64_t width, uint64_t digits, uint64_t options, char* buffer,
                            int64_t capacity, int64_t* length, double value) {
  return locale->localeU8DoubleFormat(locale, width, digits, options, buffer, capacity, length, value, 0);
}

VQStatus vqzsu8IntfastFormat(VQLocale* locale, int_fast32_t value, uint32_t width, uint32_t options,
                             char* buffer, int64_t capacity, int64_t* length) {
  return locale->localeU8IntfastFormat(locale, value, width, options, buffer, capacity, length);
}

VQStatus vqzsu8IntmaxFormat(VQLocale* locale, intmax_t value, uint32_t width, uint32_t options, char* buffer,
                            int64_t capacity, int64_t* length) {
  return locale->localeU8IntmaxFormat(locale, value, width, options, buffer, capacity, length);
}

VQStatus vqzsu8UintfastFormat(VQLocale* locale, uint_fast32_t value, uint32_t width, uint32_t options,
                              char* buffer, int64_t capacity, int64_t* length) {
  return locale->localeU8UintfastFormat(locale, value, width, options, buffer, capacity, length);
}

VQStatus vqzsu8UintmaxFormat(VQLocale* locale, uintmax_t value, uint32_t width, uint32_t options,
                             char* buffer, int64_t capacity, int64_t* length) {
  return locale->localeU8UintmaxFormat(locale, value, width, options, buffer, capacity, length);
}

VQStatus vqzsu8ToIntfast(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                         int_fast32_t* value) {
  return locale->localeToIntfast(locale, text, byteCount, options, value);
}

VQStatus vqzsu8ToIntmax(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                        intmax_t* value) {
  return locale->localeToIntmax(locale, text, byteCount, options, value);
}

VQStatus vqzsu8ToUintfast(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                          uint_fast32_t* value) {
  return locale->localeToUintfast(locale, text, byteCount, options, value);
}

VQStatus vqzsu8ToUintmax(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                         uintmax_t* value) {
  return locale->localeToUintmax(locale, text, byteCount, options, value);
}

VQStatus vqzsu8IntFormat(VQLocale* locale, int value, uint32_t width, uint32_t options, char* buffer,
                         int64_t capacity, int64_t* length) {
  return locale->localeU8IntFormat(locale, value, width, options, buffer, capacity, length);
}

VQStatus vqzsu8UIntFormat(VQLocale* locale, unsigned value, uint32_t width, uint32_t options, char* buffer,
                          int64_t capacity, int64_t* length) {
  return locale->localeU8UIntFormat(locale, value, width, options, buffer, capacity, length);
}

VQStatus vqzsu8ToInt(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options, int* value) {
  return locale->localeToInt(locale, text, byteCount, options, value);
}

VQStatus vqzsu8ToUInt(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                      unsigned* value) {
  return locale->localeToUInt(locale, text, byteCount, options, value);
}

VQStatus vqzsu8LongFormat(VQLocale* locale, long value, uint32_t width, uint32_t options, char* buffer,
                          int64_t capacity, int64_t* length) {
  return locale->localeU8LongFormat(locale, value, width, options, buffer, capacity, length);
}

VQStatus vqzsu8ULongFormat(VQLocale* locale, unsigned long value, uint32_t width, uint32_t options,
                           char* buffer, int64_t capacity, int64_t* length) {
  return locale->localeU8ULongFormat(locale, value, width, options, buffer, capacity, length);
}

VQStatus vqzsu8ToLong(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options, long* value) {
  return locale->localeToLong(locale, text, byteCount, options, value);
}

VQStatus vqzsu8ToULong(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                       unsigned long* value) {
  return locale->localeToULong(locale, text, byteCount, options, value);
}

VQStatus vqzsu8DatetimeFormat(VQLocale* locale, uint32_t options, char* buffer, int64_t capacity,
                              int64_t* length, double value) {
  return locale->localeU8DatetimeFormat(locale, options, buffer, capacity, length, value);
}

VQStatus vqzsu8DateFormat(VQLocale* locale, int32_t month, int32_t day, int32_t year, uint32_t options,
                          char* buffer, int64_t capacity, int64_t* length) {
  return locale->localeU8DateFormat(locale, month, day, year, options, buffer, capacity, length);
}

VQStatus vqzsu8TimeFormat(VQLocale* locale, uint32_t options, char* buffer, int64_t capacity, int64_t* length,
                          double seconds) {
  return locale->localeU8TimeFormat(locale, options, buffer, capacity, length, seconds);
}

VQStatus vqzsu8ToDatetime(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                          double* value) {
  return locale->localeToDatetime(locale, text, byteCount, options, value);
}

VQStatus vqzsu8ToDate(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options, int32_t* month,
                      int32_t* day, int32_t* year) {
  return locale->localeToDate(locale, text, byteCount, options, month, day, year);
}

VQStatus vqzsu8ToTime(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                      double* value) {
  return locale->localeToTime(locale, text, byteCount, options, value);
}

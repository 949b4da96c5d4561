/* Numbers, dates and times to and from UTF-8 text, by a locale object of the host.
 *
 * Each function calls the operation of its first argument and returns what that returns; the library adds
 * nothing. The formats write into a buffer of `capacity` bytes and store the bytes written in `length`; too
 * small a buffer gives VQSTATUS_RETRY_LARGER with the bytes needed. The parsers store their value when the
 * whole text could be read. What `width`, `digits` and `options` mean is the host's to say.
 */
#ifndef VQSTRING_LOCALE_H
#define VQSTRING_LOCALE_H

#include "base.h"
#include "host.h"

VQ_BEGIN_DECLS

/* Numbers that have a fraction. */
VQ_API VQStatus vqzsu8ToDouble(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                               double* value);
VQ_API VQStatus vqzsu8DoubleFormat(VQLocale* locale, uint64_t width, uint64_t digits, uint64_t options,
                                   char* buffer, int64_t capacity, int64_t* length, double value);

/* Integers as text; `width` and `options` are the locale's affair. */
VQ_API VQStatus vqzsu8IntfastFormat(VQLocale* locale, int_fast32_t value, uint32_t width, uint32_t options,
                                    char* buffer, int64_t capacity, int64_t* length);
VQ_API VQStatus vqzsu8IntmaxFormat(VQLocale* locale, intmax_t value, uint32_t width, uint32_t options,
                                   char* buffer, int64_t capacity, int64_t* length);
VQ_API VQStatus vqzsu8UintfastFormat(VQLocale* locale, uint_fast32_t value, uint32_t width, uint32_t options,
                                     char* buffer, int64_t capacity, int64_t* length);
VQ_API VQStatus vqzsu8UintmaxFormat(VQLocale* locale, uintmax_t value, uint32_t width, uint32_t options,
                                    char* buffer, int64_t capacity, int64_t* length);
VQ_API VQStatus vqzsu8IntFormat(VQLocale* locale, int value, uint32_t width, uint32_t options, char* buffer,
                                int64_t capacity, int64_t* length);
VQ_API VQStatus vqzsu8UIntFormat(VQLocale* locale, unsigned value, uint32_t width, uint32_t options,
                                 char* buffer, int64_t capacity, int64_t* length);
VQ_API VQStatus vqzsu8LongFormat(VQLocale* locale, long value, uint32_t width, uint32_t options, char* buffer,
                                 int64_t capacity, int64_t* length);
VQ_API VQStatus vqzsu8ULongFormat(VQLocale* locale, unsigned long value, uint32_t width, uint32_t options,
                                  char* buffer, int64_t capacity, int64_t* length);

/* The integer in a UTF-8 text of `byteCount` bytes. */
VQ_API VQStatus vqzsu8ToIntfast(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                                int_fast32_t* value);
VQ_API VQStatus vqzsu8ToIntmax(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                               intmax_t* value);
VQ_API VQStatus vqzsu8ToUintfast(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                                 uint_fast32_t* value);
VQ_API VQStatus vqzsu8ToUintmax(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                                uintmax_t* value);
VQ_API VQStatus vqzsu8ToInt(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                            int* value);
VQ_API VQStatus vqzsu8ToUInt(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                             unsigned* value);
VQ_API VQStatus vqzsu8ToLong(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                             long* value);
VQ_API VQStatus vqzsu8ToULong(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                              unsigned long* value);

/* Dates, times and date-times as text. A time is in seconds since midnight, a date-time in seconds since
 * 1960-01-01 00:00:00. */
VQ_API VQStatus vqzsu8DatetimeFormat(VQLocale* locale, uint32_t options, char* buffer, int64_t capacity,
                                     int64_t* length, double value);
VQ_API VQStatus vqzsu8DateFormat(VQLocale* locale, int32_t month, int32_t day, int32_t year, uint32_t options,
                                 char* buffer, int64_t capacity, int64_t* length);
VQ_API VQStatus vqzsu8TimeFormat(VQLocale* locale, uint32_t options, char* buffer, int64_t capacity,
                                 int64_t* length, double seconds);

/* The date-time, date or time in a UTF-8 text of `byteCount` bytes. */
VQ_API VQStatus vqzsu8ToDatetime(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                                 double* value);
VQ_API VQStatus vqzsu8ToDate(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                             int32_t* month, int32_t* day, int32_t* year);
VQ_API VQStatus vqzsu8ToTime(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                             double* value);

VQ_END_DECLS

#endif

/* A small, real host for vqstring: a kernel of pools, locks, encodings, regular expressions, named values and
 * the extension "vqinstance", built on ICU. A program opens a kernel, loads the string service into it and
 * works with the service; whoever writes a host of their own finds an example here.
 *
 * What nobody may skip:
 *
 * Ownership. What a function creates belongs to its caller until the matching close, release or destroy. A
 * kernel outlives everything that came out of it; vqhostClose ends what is left. The library keeps the kernel
 * in a variable of its own, so one kernel at a time serves a loaded copy of the library.
 *
 * Failures. A function answers with a VQStatus, 0 for success; an out pointer is written on success alone,
 * unless told otherwise. No C++ exception leaves this library. Statuses of the host itself stand below; all
 * others are those of vqstring/base.h.
 *
 * Units. A text of VQChar counts elements, a text of bytes counts bytes, -1 where allowed says that the text
 * ends at its first zero element.
 *
 * Threads. Opening, closing and loading are for one thread. Everything else may be called from all threads;
 * a single converter, constraint or array is used by one thread at a time while it is being changed.
 */
#ifndef VQHOST_H
#define VQHOST_H

#include "vqstring/base.h"
#include "vqstring/host.h"
#include "vqstring/instance.h"

VQ_BEGIN_DECLS

/* ---- statuses that the host adds to those of the library ---- */

/* A pattern does not compile. */
#define VQHOST_STATUS_PATTERN ((VQStatus)0x80410001u)
/* A search passed the time limit of the kernel. */
#define VQHOST_STATUS_REGEX_TIME ((VQStatus)0x80410002u)
/* A search needed more backtracking memory than the kernel's stack limit. */
#define VQHOST_STATUS_REGEX_STACK ((VQStatus)0x80410003u)
/* A match was asked for before one was found. */
#define VQHOST_STATUS_NO_MATCH ((VQStatus)0x80410004u)
/* The engine failed in another way. */
#define VQHOST_STATUS_REGEX_ENGINE ((VQStatus)0x80410005u)
/* A text is too long for a regular expression (more than 2^31 - 1 bytes, or units inside). */
#define VQHOST_STATUS_TEXT_TOO_LONG ((VQStatus)0x80410006u)
/* No encoding has the name or the number. */
#define VQHOST_STATUS_NO_ENCODING ((VQStatus)0x80410007u)
/* ICU refused a converter or a normaliser that it should have. */
#define VQHOST_STATUS_ICU ((VQStatus)0x80410008u)
/* An extension's shared object cannot be opened, lacks its entry functions or refuses to start. */
#define VQHOST_STATUS_EXTENSION ((VQStatus)0x80410009u)
/* An extension was built for another version of the kernel interface. */
#define VQHOST_STATUS_EXTENSION_VERSION ((VQStatus)0x8041000au)
/* A format has a conversion that there is none of, or ends inside one. */
#define VQHOST_STATUS_FORMAT ((VQStatus)0x80410020u)
/* ICU has no locale of the name. */
#define VQHOST_STATUS_LOCALE ((VQStatus)0x80410021u)
/* A text is no number, date or time of the locale, or goes on behind one. */
#define VQHOST_STATUS_LOCALE_TEXT ((VQStatus)0x80410022u)
/* The number in a text does not fit the type that was asked for. */
#define VQHOST_STATUS_LOCALE_RANGE ((VQStatus)0x80410023u)

/* ---- the kernel ---- */

/* What a kernel is opened with. Set `size` to sizeof(VQHostOptions) and everything else to zero, then change
 * what matters: zero is the default of every field. */
typedef struct VQHostOptions {
  uint64_t size;
  /* The longest that one search may take, in the engine's time units: about a millisecond each.
   * Default 500. */
  uint32_t regexTimeLimit;
  /* The backtracking memory that one search may use, in bytes. Default 8,000,000. */
  uint32_t regexStackLimit;
  /* How many compiled patterns, and patterns that do not compile, are kept. Default 256. */
  uint32_t regexCacheEntries;
  uint32_t reserved;
  /* The locale of numbers, dates and times, by its ICU name; null: what the environment says. */
  const char* localeName;
} VQHostOptions;

/* Opens a kernel; `options` may be null. */
VQ_API VQStatus vqhostOpen(const VQHostOptions* options, VQKernel** kernel);
/* Ends the kernel with all its pools, locks and named values, and closes the loaded extensions. Null does
 * nothing. Services and instances must have been released before. */
VQ_API void vqhostClose(VQKernel* kernel);

/* Objects of this kernel that are alive: pools, locks, transcoders, engines, converters, loaded extensions
 * and pool blocks. What a test compares before and after. */
VQ_API uint64_t vqhostLiveObjects(VQKernel* kernel);

/* ---- extensions ---- */

/* Loads the extension `name`. "vqinstance" is built in. Any other is the shared object `path` (null:
 * "lib<name>.so.2", then "lib<name>.so", searched as the dynamic linker does): its vqextver is called with
 * the kernel, then the entry function that bears the extension's name. A second load answers the same record
 * and counts. Each load is given back with vqhostReleaseExtension. kernelLoadExtension does the same without
 * a path. */
VQ_API VQStatus vqhostLoadExtension(VQKernel* kernel, const char* name, const char* path, void** record);
/* Drops one load; the last one ends the extension's record. */
VQ_API void vqhostReleaseExtension(VQKernel* kernel, void* record);
/* vqhostLoadExtension for "vqstring". */
VQ_API VQStatus vqhostLoadStrings(VQKernel* kernel, const char* path, VQStringService** service);

/* ---- pools ---- */

/* A pool under a name for people. Its blocks may be used and given back from every thread. */
VQ_API VQStatus vqhostCreatePool(VQKernel* kernel, const char* name, VQPool** pool);
/* Blocks of the pool that are taken and not given back. Exact when no other thread is at work in it. */
VQ_API uint64_t vqhostLiveBlocks(VQPool* pool);

/* ---- named values ---- */

/* Sets or replaces a value; name and value are copied. */
VQ_API VQStatus vqhostSetNamedValue(VQKernel* kernel, const VQChar* name, int64_t nameLength,
                                    const VQChar* value, int64_t valueLength);
/* VQSTATUS_NAME_NOT_FOUND when there is no such value. */
VQ_API VQStatus vqhostRemoveNamedValue(VQKernel* kernel, const VQChar* name, int64_t nameLength);

/* ---- encodings ---- */

/* One encoding; the record and its texts live as long as the program. */
typedef struct VQHostEncoding {
  uint32_t number;
  /* 0: single byte. 1: multi-byte, extending ASCII. 2: anything else. */
  uint32_t encodingClass;
  /* The usual name, such as "ISO-8859-1". */
  const char* name;
  /* ICU's name of the converter; null for wide text, which needs none. */
  const char* icuName;
  /* Other names, ended by null. ICU knows more, and vqhostFindEncoding finds those too. */
  const char* const* aliases;
} VQHostEncoding;

/* The encodings in the order of their numbers. */
VQ_API uint32_t vqhostEncodingCount(void);
/* Null behind the last. */
VQ_API const VQHostEncoding* vqhostEncodingAt(uint32_t index);
/* Null when the number is not given out. */
VQ_API const VQHostEncoding* vqhostEncodingByNumber(uint32_t number);
/* By usual name, alias, or any name that ICU has for it; case, '-', '_' and blanks do not count. Null when
 * unknown. */
VQ_API const VQHostEncoding* vqhostFindEncoding(const char* name);

/* ---- conversion ---- */

/* nlsCanConvert answers 1 for every pair of two different encodings and 0 for equal ones, whose texts pass as
 * they stand. No conversion replaces anything: what is ill-formed, or has no place in the target, gives
 * VQSTATUS_BAD_SEQUENCE, and a source that ends inside a character VQSTATUS_SHORT_SEQUENCE.
 *
 * A converter does the same for a source that comes piece by piece, tells where the trouble is, and can go on
 * behind it. Equal encodings are allowed and check the text. One thread at a time uses it. */
typedef struct VQHostConverter VQHostConverter;

/* What one push did. */
typedef struct VQHostProgress {
  /* Bytes taken from the piece and bytes written to the target, on every status. */
  uint64_t consumed;
  uint64_t written;
  /* With VQSTATUS_BAD_SEQUENCE and VQSTATUS_SHORT_SEQUENCE: where the sequence stands, in bytes from the
   * start of the whole source, and its length, in which a shift sequence behind it may be counted. */
  uint64_t offset;
  uint64_t length;
} VQHostProgress;

/* VQHOST_STATUS_NO_ENCODING when a number is not given out. */
VQ_API VQStatus vqhostConverterOpen(VQKernel* kernel, uint32_t sourceEncoding, uint32_t targetEncoding,
                                    VQHostConverter** converter);
/* Null does nothing. */
VQ_API void vqhostConverterClose(VQHostConverter* converter);
/* Converts a piece of the source; `isFinal` not 0 says that the source ends behind it, and a last piece may
 * be empty. A character cut by the end of another piece is kept and goes on with the next.
 *
 * Answers 0 when the whole piece is taken. VQSTATUS_TARGET_FULL: push the rest of the piece again with more
 * room. VQSTATUS_BAD_SEQUENCE, VQSTATUS_SHORT_SEQUENCE: what stands before the sequence is written, and
 * pushing the rest of the piece goes on behind it. */
VQ_API VQStatus vqhostConverterPush(VQHostConverter* converter, const void* source, uint64_t sourceBytes,
                                    uint8_t isFinal, void* target, uint64_t targetBytes,
                                    VQHostProgress* progress);
/* What vqhostConverterReplace may write. */
#define VQHOST_REPLACEMENT_ROOM 16u
/* Writes U+FFFD in the target's encoding, or a question mark where it has none, in place of the sequence that
 * the last push reported; answers the bytes written, 0 when there is less than VQHOST_REPLACEMENT_ROOM. */
VQ_API uint64_t vqhostConverterReplace(VQHostConverter* converter, void* target, uint64_t targetBytes);

/* ---- ICU ---- */

/* Regular expressions follow ICU's syntax; blanks in a pattern are literal. A subject that is ill-formed
 * gives VQSTATUS_BAD_SEQUENCE or VQSTATUS_SHORT_SEQUENCE from the first search, whether or not it could
 * match; one of more than 2^31 - 1 bytes gives VQHOST_STATUS_TEXT_TOO_LONG. */

/* Normalisation forms: the mode word of icuNormalize. Its options word is not looked at. A target without
 * room gives VQSTATUS_RETRY_LARGER and the length needed; nothing is terminated. */
#define VQHOST_NFC 0u
#define VQHOST_NFD 1u
#define VQHOST_NFKC 2u
#define VQHOST_NFKD 3u

/* icuNormCompare orders by code points of the canonical forms; this bit of its options folds case first. */
#define VQHOST_COMPARE_IGNORE_CASE 1u

/* ---- instances ---- */

/* Each maker stores a new instance of one reference, in `pool` or (null) in a pool of the kernel's own; it is
 * given back with its instanceRelease. Their instanceClone copies them, their instanceValidate accepts all.
 */
VQ_API VQStatus vqhostCreateBoolean(VQKernel* kernel, VQPool* pool, uint8_t value, VQInstance** instance);
VQ_API VQStatus vqhostCreateInt32(VQKernel* kernel, VQPool* pool, int32_t value, VQInstance** instance);
VQ_API VQStatus vqhostCreateInt64(VQKernel* kernel, VQPool* pool, int64_t value, VQInstance** instance);
VQ_API VQStatus vqhostCreateUInt32(VQKernel* kernel, VQPool* pool, uint32_t value, VQInstance** instance);
VQ_API VQStatus vqhostCreateUInt64(VQKernel* kernel, VQPool* pool, uint64_t value, VQInstance** instance);
VQ_API VQStatus vqhostCreateDouble(VQKernel* kernel, VQPool* pool, double value, VQInstance** instance);
/* The fields of dates and times are stored as given; nothing is normalised. */
VQ_API VQStatus vqhostCreateCalendarDate(VQKernel* kernel, VQPool* pool, int32_t year, int32_t month,
                                         int32_t day, VQInstance** instance);
/* `zoneOffset` in seconds, east positive; null: the instance has none. */
VQ_API VQStatus vqhostCreateTime(VQKernel* kernel, VQPool* pool, int32_t hour, int32_t minute, int32_t second,
                                 int32_t millisecond, const double* zoneOffset, VQInstance** instance);
/* `value` in seconds since 1960-01-01 00:00:00. */
VQ_API VQStatus vqhostCreateDateTime(VQKernel* kernel, VQPool* pool, double value, const double* zoneOffset,
                                     VQInstance** instance);
VQ_API VQStatus vqhostCreateCalendarDateTime(VQKernel* kernel, VQPool* pool, int32_t year, int32_t month,
                                             int32_t day, int32_t hour, int32_t minute, int32_t second,
                                             int32_t millisecond, const double* zoneOffset,
                                             VQInstance** instance);

/* An array of `count` items; it takes a reference of its own on each. */
VQ_API VQStatus vqhostCreateArray(VQKernel* kernel, VQPool* pool, VQInstance* const* items, uint64_t count,
                                  VQInstance** array);
/* Adds an item at the end, with a reference of the array's own. A failure leaves the array as it was. */
VQ_API VQStatus vqhostArrayAppend(VQInstance* array, VQInstance* item);

/* A constraint without properties. */
VQ_API VQStatus vqhostCreateConstraint(VQKernel* kernel, VQPool* pool, VQInstance** constraint);
/* Sets or replaces a property: "minLength" and "maxLength" are numbers, "values" and "patterns" arrays. A
 * number is stored once and read either way: read as unsigned a negative one is 0, read as signed one above
 * INT64_MAX is INT64_MAX. The constraint takes a reference of its own on an instance. */
VQ_API VQStatus vqhostConstraintSetSigned(VQInstance* constraint, const VQChar* name, int64_t nameLength,
                                          int64_t value);
VQ_API VQStatus vqhostConstraintSetUnsigned(VQInstance* constraint, const VQChar* name, int64_t nameLength,
                                            uint64_t value);
VQ_API VQStatus vqhostConstraintSetInstance(VQInstance* constraint, const VQChar* name, int64_t nameLength,
                                            VQInstance* value);

/* ---- formats and status texts ---- */

/* Formats are those of printf over wide text, in kernelFormatBuff and in status texts alike:
 *
 *   %d %i %u %o %x %X   int, or by hh h l ll j z t
 *   %f %e %g %a         double, or long double by L; also in capitals
 *   %c %lc              a code point, given as int
 *   %s %hs              zero-terminated UTF-8 text; ill-formed text is VQSTATUS_BAD_SEQUENCE or
 *                       VQSTATUS_SHORT_SEQUENCE
 *   %ls %S              zero-terminated wide text
 *   %p, %%              a pointer, and the sign itself
 *
 * with the flags - + blank # 0, a width and a precision, each also by *. Widths and precisions of texts count
 * elements of the result. Anything else, %n among it, is VQHOST_STATUS_FORMAT. Numbers are written the same
 * in every locale.
 *
 * This host keeps no place to render to: kernelCapture, kernelRender and kernelRenderFmt answer
 * VQSTATUS_UNSUPPORTED. */

/* A context of its own for formats and status texts. The kernel has one already, which is its current
 * context. */
VQ_API VQStatus vqhostCreateFormatContext(VQKernel* kernel, VQFormatContext** context);
/* Ends a context and the texts that were set for it. Null does nothing. */
VQ_API void vqhostDestroyFormatContext(VQFormatContext* context);

/* Sets the text of a status in a context, or (null) in all contexts that have none of their own. The text is
 * a format, whose conversions are the inserts of the message; it is copied. A null text takes away what was
 * set. Without a text set here a status has the built-in one, which takes no inserts: there is one for every
 * status of the library and the host. */
VQ_API VQStatus vqhostSetStatusText(VQKernel* kernel, VQFormatContext* context, VQStatus status,
                                    const VQChar* text, int64_t length);

/* ---- locales ---- */

/* How a number is written: options of localeFormatDouble, localeU8DoubleFormat and the integer formats.
 * Without any the number is written with the locale's grouping, a double with exactly `digits` digits behind
 * the point. The library itself asks for doubles with a width of 32 and SHORTEST | ALIGN_RIGHT (0x40800). */
#define VQHOST_NUMBER_NO_GROUPING 0x1u
/* Mantissa and exponent. */
#define VQHOST_NUMBER_SCIENTIFIC 0x2u
/* As many digits as it takes to read the same double back; `digits` is not looked at. A number longer than
 * the width, if that is not 0, is written as with SCIENTIFIC. */
#define VQHOST_NUMBER_SHORTEST 0x800u
/* Blanks in front up to the width. */
#define VQHOST_NUMBER_ALIGN_RIGHT 0x40000u

/* How a date, time or date-time is written, and read. 0 is the locale's medium style. */
#define VQHOST_DATE_SHORT 1u /* with two digits of the year in many locales */
#define VQHOST_DATE_LONG 2u
#define VQHOST_DATE_FULL 3u

/* A locale by its ICU name, such as "de_CH" or "th_TH@calendar=buddhist". All its operations may be called
 * from all threads. Dates are days of the proleptic Gregorian calendar, shown in the locale's own; times have
 * no zone.
 *
 * A text to be read must be a number, date or time as a whole, but for blanks around it; else
 * VQHOST_STATUS_LOCALE_TEXT, or VQHOST_STATUS_LOCALE_RANGE for an integer that does not fit. A buffer that is
 * too small gives VQSTATUS_RETRY_LARGER with the length needed; a date that does not exist, or a value that
 * is no number where a date is asked for, VQSTATUS_BAD_ARGUMENT. */
VQ_API VQStatus vqhostCreateLocale(VQKernel* kernel, const char* name, VQLocale** locale);
/* Null does nothing. The default locale is the kernel's, and is not given back. */
VQ_API void vqhostDestroyLocale(VQLocale* locale);
/* The ICU name of a locale, which lives as long as the locale. */
VQ_API const char* vqhostLocaleName(VQLocale* locale);

VQ_END_DECLS

#endif

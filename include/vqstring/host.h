/* What the library expects of its host: the records of operations that a host kernel hands out.
 *
 * Every object here is a record of 64-bit words, reached by a pointer. An operation is a function pointer in
 * such a word and takes the object itself as its first argument; words marked reserved are not read. A data
 * word that holds a narrower value holds it at its low end. The host owns every object: the library gives it
 * back through the object's own operation and never frees the record.
 *
 * Threads. Pools, and the two transcoders that a service shares, are called from all threads at once without
 * a lock of the library's; so are kernel, nls and ICU access object. A transcoder made for one call, and a
 * regular-expression engine, is used by one thread at a time.
 */
#ifndef VQSTRING_HOST_H
#define VQSTRING_HOST_H

#include "base.h"

VQ_BEGIN_DECLS

/* The kernel. Names of extensions and named values are wide texts with a length in elements; names of pools
 * and locks are zero-terminated byte texts. */
struct VQKernel {
  /* A lock, or null. `parameters` are 24 bytes: byte 1 is 1, all others 0. */
  VQLock* (*kernelCreateLock)(VQKernel* kernel, const void* parameters, uint64_t zero, const char* name);
  /* A pool, or null. `parameters` are 24 zero bytes. */
  VQPool* (*kernelCreatePool)(VQKernel* kernel, const void* parameters, uint64_t zero, const char* name);
  /* The record of the extension `name`, or null. The library asks for "vqinstance" alone. */
  void* (*kernelLoadExtension)(VQKernel* kernel, const VQChar* name, int64_t nameLength, uint64_t zero);
  /* Nonzero when the named value exists. */
  uint8_t (*kernelNameExists)(VQKernel* kernel, const VQChar* name, int64_t nameLength);
  /* Copies a named value, as VQChar without terminator, into `buffer`. `size` is the buffer's size in bytes
   * going in and the value's size in bytes coming out. A buffer that is null or too small gives
   * VQSTATUS_VALUE_TOO_LONG with the size needed; an empty value gives 0 with any buffer. `four` is the
   * constant 4, the bytes of an element. */
  VQStatus (*kernelGetNameValue)(VQKernel* kernel, const VQChar* name, int64_t nameLength, uint64_t four,
                                 void* buffer, uint64_t* size);
  /* The national language support, or null: the library then cannot start, and the plain functions use
   * their own tables. */
  VQNls* kernelNls;
  /* Points to the word that holds the current format context; may be null. */
  VQFormatContext** kernelCurrentContext;
  uint64_t (*kernelCapture)(VQKernel* kernel, uint64_t a, uint64_t b, va_list list);
  /* Formats `list` by the printf-style wide `format` into `buffer`, `capacity` in elements. 0: the text is
   * there and `length` set. VQSTATUS_RETRY_LARGER: too small, `length` holds the elements needed. */
  VQStatus (*kernelFormatBuff)(VQKernel* kernel, VQFormatRecord* record, const VQChar* format,
                               int64_t formatLength, VQChar* buffer, int64_t capacity, int64_t* length,
                               uint64_t zero, va_list list);
  uint64_t (*kernelRender)(VQKernel* kernel, VQFormatRecord* record, uint64_t a, uint64_t b);
  uint64_t (*kernelRenderFmt)(VQKernel* kernel, VQFormatRecord* record, uint64_t a, uint64_t b, uint64_t c,
                              va_list list);
  /* The message of `status` with `list` as its inserts; buffer and answers as in kernelFormatBuff. A null
   * buffer of capacity 0 measures. A status without a text gives 0 and length 0. */
  VQStatus (*kernelStatusBuff)(VQKernel* kernel, VQFormatRecord* record, VQStatus status, VQChar* buffer,
                               int64_t capacity, int64_t* length, va_list list);
};

/* What nlsEncodingInfo hands out; it stays the host's. */
typedef struct VQEncodingInfo {
  uint32_t encoding;
  /* 0: single byte. 1: multi-byte, extending ASCII. 2: anything else. Narrow strings take 0 and 1. */
  uint32_t encodingClass;
} VQEncodingInfo;

/* National language support: encodings, case, classes, ICU, locale. All text sizes are in bytes. */
struct VQNls {
  /* Stores the size that the text has in the target encoding, without terminator. */
  VQStatus (*nlsMeasureConversion)(VQNls* nls, uint32_t sourceEncoding, const void* source,
                                   uint64_t sourceBytes, uint32_t targetEncoding, uint64_t* targetBytes);
  /* Exactly 1 when a conversion exists. */
  uint8_t (*nlsCanConvert)(VQNls* nls, uint32_t sourceEncoding, uint32_t targetEncoding, uint64_t zero);
  VQStatus (*nlsEncodingInfo)(VQNls* nls, uint32_t encoding, const VQEncodingInfo** info);
  /* The three makers answer null when there is no such transcoder; the caller destroys what it gets. */
  VQTranscoder* (*nlsCreateTranscoder)(VQNls* nls, uint32_t sourceEncoding, uint32_t targetEncoding,
                                       uint64_t zero1, uint64_t zero2);
  VQTranscoder* (*nlsCreateDecoder)(VQNls* nls, uint32_t sourceEncoding, uint64_t zero1, uint64_t zero2);
  VQTranscoder* (*nlsCreateEncoder)(VQNls* nls, uint32_t targetEncoding, uint64_t zero1, uint64_t zero2);
  VQChar (*nlsToUpper)(VQNls* nls, VQChar character, uint64_t one);
  VQChar (*nlsToLower)(VQNls* nls, VQChar character, uint64_t one);
  VQStatus (*nlsLoadICU)(VQNls* nls, VQIcu** icu, uint64_t zero);
  /* Nonzero, visibly in the low 8 bits, when the character's general category is in the mask: bit 0 is Lu,
   * then Ll Lt Mn Mc Me Nd Nl No Zs Zl Zp Cc Cf Cs Co Cn Lm Lo Pc Pd Ps Pe Pi Pf Po Sm Sc Sk So. */
  uint32_t (*nlsClassify)(VQNls* nls, VQChar character, uint32_t classMask);
  /* Null until ICU is loaded. */
  VQIcu* nlsIcu;
  VQLocale* (*nlsDefaultLocale)(VQNls* nls);
};

/* Asks poolAlloc for a block filled with zero bytes. */
#define VQ_POOL_ZERO_FILL 0x80000000u

/* A memory pool. Blocks are aligned for any scalar type. */
struct VQPool {
  /* Ends the pool and every block in it. */
  void (*poolDestroy)(VQPool* pool);
  /* A block, or null. `flags` is 0 or VQ_POOL_ZERO_FILL. */
  void* (*poolAlloc)(VQPool* pool, uint64_t byteCount, uint32_t flags);
  VQStatus (*poolFree)(VQPool* pool, void* block);
  /* A block of the new size with the old contents, or null with the old block left as it was. */
  void* (*poolRealloc)(VQPool* pool, void* block, uint64_t byteCount, uint64_t zero);
};

struct VQLock {
  void (*lockDestroy)(VQLock* lock);
  /* 0 when the caller holds the lock alone. */
  VQStatus (*lockAcquire)(VQLock* lock, uint64_t one1, uint64_t one2);
  void (*lockRelease)(VQLock* lock);
};

struct VQTranscoder {
  void (*transcoderDestroy)(VQTranscoder* transcoder);
  /* Converts the whole source; nothing is terminated. `converted` takes the size written in bytes. */
  VQStatus (*transcoderConvert)(VQTranscoder* transcoder, const void* source, uint64_t sourceBytes,
                                void* target, uint64_t targetBytes, uint64_t* converted, uint64_t zero);
};

/* The options that the library gives every regular expression: blanks in a pattern are literal. */
#define VQ_REGEX_OPTIONS 4u

typedef struct VQIcuRegexTable {
  /* Compiles a pattern in ENC_WIDE or ENC_UTF8 and stores an engine for texts in that encoding. */
  VQStatus (*icuRegexCreate)(VQIcu* icu, uint32_t encoding, const void* pattern, uint64_t patternBytes,
                             const uint32_t* options, VQRegexEngine** engine);
} VQIcuRegexTable;

typedef struct VQIcuNormTable {
  /* Brings a UTF-8 text into a normalisation form. `mode` and `options` belong to the host; lengths and
   * capacity are in bytes. */
  VQStatus (*icuNormalize)(VQIcu* icu, const char* text, uint64_t byteCount, uint32_t mode, uint32_t options,
                           char* target, uint64_t capacity, uint64_t* length);
  /* Compares two UTF-8 texts under canonical equivalence; stores a negative number, 0 or a positive one. */
  VQStatus (*icuNormCompare)(VQIcu* icu, const char* first, uint64_t firstBytes, const char* second,
                             uint64_t secondBytes, uint32_t options, int32_t* result);
} VQIcuNormTable;

/* The ICU access object. */
struct VQIcu {
  const VQIcuRegexTable* regexTable;
  const VQIcuNormTable* normTable;
};

/* One compiled pattern over one text. Lengths and offsets are in bytes of the pattern's encoding. */
struct VQRegexEngine {
  void (*regexDestroy)(VQRegexEngine* engine);
  /* Sets the text of all later searches; it must stay alive and unchanged. */
  VQStatus (*regexSetText)(VQRegexEngine* engine, const void* text, uint64_t byteCount);
  /* Searches from the start of the text. */
  VQStatus (*regexFind)(VQRegexEngine* engine, uint64_t zero, uint8_t* found);
  /* Goes on behind the last match. */
  VQStatus (*regexFindNext)(VQRegexEngine* engine, uint8_t* found);
  VQStatus (*regexMatchStart)(VQRegexEngine* engine, uint64_t zero, int32_t* offset);
  VQStatus (*regexMatchEnd)(VQRegexEngine* engine, uint64_t zero, int32_t* offset);
};

/* The record that a format context's fourth word points to. */
typedef struct VQFormatContextOwner {
  uint64_t reserved[5];
  VQKernel* kernel;
} VQFormatContextOwner;

/* Given by the caller of a format operation; names the kernel that serves it. */
struct VQFormatContext {
  uint64_t reserved[3];
  VQFormatContextOwner* owner;
};

/* What every format operation of the kernel receives. */
struct VQFormatRecord {
  /* May be null. */
  VQFormatContext* context;
  /* The kernel's own; 0 when the library made the record. */
  uint64_t kernelWord;
};

/* Numbers, dates and times by the customs of a place. Buffers of the wide operations are VQChar, those of the
 * U8 operations bytes; capacities and lengths count such elements. The parsers take a UTF-8 text with its
 * length in bytes. */
struct VQLocale {
  VQStatus (*localeFormatDate)(VQLocale* locale, int32_t month, int32_t day, int32_t year, uint64_t zero,
                               VQChar* buffer, int64_t capacity, int64_t* length);
  /* `seconds` since midnight. */
  VQStatus (*localeFormatTime)(VQLocale* locale, uint64_t zero, VQChar* buffer, int64_t capacity,
                               int64_t* length, double seconds);
  VQStatus (*localeFormatDouble)(VQLocale* locale, uint64_t width, uint64_t digits, uint64_t options,
                                 VQChar* buffer, int64_t capacity, int64_t* length, double value);
  /* `value` is seconds since 1960-01-01 00:00:00. */
  VQStatus (*localeFormatDatetime)(VQLocale* locale, uint64_t zero, VQChar* buffer, int64_t capacity,
                                   int64_t* length, double value);

  VQStatus (*localeToDouble)(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                             double* value, uint64_t zero);
  uint64_t reservedBeforeU8Double[2];
  VQStatus (*localeU8DoubleFormat)(VQLocale* locale, uint64_t width, uint64_t digits, uint64_t options,
                                   char* buffer, int64_t capacity, int64_t* length, double value,
                                   uint64_t zero);
  VQStatus (*localeU8IntfastFormat)(VQLocale* locale, int_fast32_t value, uint32_t width, uint32_t options,
                                    char* buffer, int64_t capacity, int64_t* length);
  VQStatus (*localeU8IntmaxFormat)(VQLocale* locale, intmax_t value, uint32_t width, uint32_t options,
                                   char* buffer, int64_t capacity, int64_t* length);
  VQStatus (*localeU8UintfastFormat)(VQLocale* locale, uint_fast32_t value, uint32_t width, uint32_t options,
                                     char* buffer, int64_t capacity, int64_t* length);
  VQStatus (*localeU8UintmaxFormat)(VQLocale* locale, uintmax_t value, uint32_t width, uint32_t options,
                                    char* buffer, int64_t capacity, int64_t* length);
  VQStatus (*localeToIntfast)(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                              int_fast32_t* value);
  VQStatus (*localeToIntmax)(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                             intmax_t* value);
  VQStatus (*localeToUintfast)(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                               uint_fast32_t* value);
  VQStatus (*localeToUintmax)(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                              uintmax_t* value);
  VQStatus (*localeU8IntFormat)(VQLocale* locale, int value, uint32_t width, uint32_t options, char* buffer,
                                int64_t capacity, int64_t* length);
  VQStatus (*localeU8UIntFormat)(VQLocale* locale, unsigned value, uint32_t width, uint32_t options,
                                 char* buffer, int64_t capacity, int64_t* length);
  VQStatus (*localeToInt)(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                          int* value);
  VQStatus (*localeToUInt)(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                           unsigned* value);
  VQStatus (*localeU8LongFormat)(VQLocale* locale, long value, uint32_t width, uint32_t options, char* buffer,
                                 int64_t capacity, int64_t* length);
  VQStatus (*localeU8ULongFormat)(VQLocale* locale, unsigned long value, uint32_t width, uint32_t options,
                                  char* buffer, int64_t capacity, int64_t* length);
  VQStatus (*localeToLong)(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                           long* value);
  VQStatus (*localeToULong)(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                            unsigned long* value);
  uint64_t reservedBeforeU8Datetime[4];
  VQStatus (*localeU8DatetimeFormat)(VQLocale* locale, uint32_t options, char* buffer, int64_t capacity,
                                     int64_t* length, double value);
  VQStatus (*localeU8DateFormat)(VQLocale* locale, int32_t month, int32_t day, int32_t year, uint32_t options,
                                 char* buffer, int64_t capacity, int64_t* length);
  VQStatus (*localeU8TimeFormat)(VQLocale* locale, uint32_t options, char* buffer, int64_t capacity,
                                 int64_t* length, double seconds);
  VQStatus (*localeToDatetime)(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                               double* value);
  VQStatus (*localeToDate)(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                           int32_t* month, int32_t* day, int32_t* year);
  VQStatus (*localeToTime)(VQLocale* locale, const char* text, int64_t byteCount, uint32_t options,
                           double* value);
};

VQ_END_DECLS

#endif

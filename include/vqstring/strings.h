/* String objects: the record of the three kinds, and how strings are made, edited and ended.
 *
 * Storage. A string is in one of three forms. Inline: the text stands directly behind the record, in the
 * record's own block. Separate: a pool block of its own. Borrowed: memory of the caller, `capacity` 0. The
 * first growth moves an inline or borrowed text into a separate block; an inline or separate text ends with a
 * zero element, a borrowed one has a terminator only if the caller's text had one.
 *
 * Null. A string argument must not be null unless its operation says so; neither must out pointers.
 */
#ifndef VQSTRING_STRINGS_H
#define VQSTRING_STRINGS_H

#include "base.h"
#include "instance.h"

VQ_BEGIN_DECLS

/* Wide text. */
struct VQString {
  VQInstance header;
  /* Who made the string. */
  VQStringService* service;
  /* Nonzero when the record is the caller's memory and is never freed. */
  uint8_t isStatic;
  VQChar* text;
  /* Elements, without terminator. */
  int64_t length;
  /* ENC_WIDE. */
  uint32_t encoding;
  /* Of the record and of the text block. */
  VQPool* pool;
  /* 1 when `text` is a pool block that this string frees. */
  uint8_t ownsBuffer;
  /* Elements that the storage was sized for; 0 when it is not the string's. */
  int64_t capacity;
};

/* UTF-8 text; length and capacity count bytes. Validity is not looked for. */
struct VQU8String {
  VQInstance header;
  VQStringService* service;
  uint8_t isStatic;
  char* text;
  uint64_t length;
  uint32_t encoding; /* ENC_UTF8 */
  VQPool* pool;
  uint8_t ownsBuffer;
  uint64_t capacity;
};

/* Bytes in a numbered encoding of class 0 or 1. */
struct VQNarrowString {
  VQInstance header;
  VQStringService* service;
  uint8_t isStatic;
  char* text;
  int64_t length;
  uint32_t encoding;
  VQPool* pool;
  uint8_t ownsBuffer;
  int64_t capacity;
};

/* ---- Wide strings: lifecycle ---- */

/* Makes a string of `length` elements (-1: zero-terminated). A copy flag of 1 copies the text into storage
 * with headroom; any other value borrows it: the caller keeps it alive and unchanged. A null text gives an
 * empty string when copying, with room for `length` elements. Null when there is no memory. */
VQ_API VQString* vqStringCreate(VQStringService* service, VQPool* pool, const VQChar* text, int64_t length,
                                uint8_t copy);

/* Makes a copy of the text in storage for `capacity` elements, or `length` if that is more. A null text gives
 * an empty string. Null when there is no memory. */
VQ_API VQString* vqStringCreateSized(VQStringService* service, VQPool* pool, const VQChar* text,
                                     int64_t length, int64_t capacity);

/* Makes an independent copy in `pool` (null: the string's own), never borrowed, never static. The middle word
 * is not read. VQSTATUS_NO_MEMORY with `*copy` null when there is no memory. */
VQ_API VQStatus vqStringClone(const VQString* string, VQPool* pool, uint64_t ignored, VQString** copy);

/* Ends a string at once, whatever its reference count; of a static one, the block that it grew. Null is
 * accepted. A failed free ends the operation with the pool's status: of the text, the string is whole; of the
 * record, it is emptied. */
VQ_API VQStatus vqStringDestroy(VQString* string);

/* Makes a borrowing string in the caller's memory: no allocation, no failure. `pool` (null: the service's)
 * serves later growth alone. A length of -1 measures the text. */
VQ_API void vqStringInitStatic(VQStringService* service, VQString* record, VQPool* pool, const VQChar* text,
                               int64_t length);

/* ---- UTF-8 strings: lifecycle ---- */

/* As vqStringCreate, in bytes. VQSTATUS_NO_MEMORY leaves `*string` as it was. */
VQ_API VQStatus vqU8StringCreate(VQStringService* service, VQU8String** string, VQPool* pool,
                                 const char* text, int64_t length, uint8_t copy);

/* As vqStringCreateSized, in bytes. VQSTATUS_NO_MEMORY leaves `*string` as it was. */
VQ_API VQStatus vqU8StringCreateSized(VQStringService* service, VQU8String** string, VQPool* pool,
                                      const char* text, int64_t length, int64_t capacity);

/* Takes over `block`, which came from `pool` (not null) and holds `length` bytes: the string frees it.
 * Nothing is copied or terminated. VQSTATUS_NO_MEMORY stores null, and the block stays the caller's. */
VQ_API VQStatus vqU8StringWithBytes(VQStringService* service, VQU8String** string, VQPool* pool, char* block,
                                    uint64_t length);

/* As vqStringClone. VQSTATUS_NO_MEMORY leaves `*copy` as it was. */
VQ_API VQStatus vqU8StringClone(const VQU8String* string, VQPool* pool, uint64_t ignored, VQU8String** copy);

/* As vqStringDestroy. */
VQ_API VQStatus vqU8StringDestroy(VQU8String* string);

/* As vqStringInitStatic. */
VQ_API void vqU8StringInitStatic(VQStringService* service, VQU8String* record, VQPool* pool, const char* text,
                                 int64_t length);

/* ---- Narrow strings: lifecycle ---- */

/* As vqStringCreate, in bytes of the numbered encoding. The encoding is judged first: the status of the host,
 * or VQSTATUS_BAD_ARGUMENT for a class other than 0 and 1. A failure leaves `*string` as it was. */
VQ_API VQStatus vqNarrowStringCreate(VQStringService* service, VQNarrowString** string, VQPool* pool,
                                     const char* text, int64_t length, uint32_t encoding, uint8_t copy);

/* As vqStringCreateSized, with the same judgement of the encoding. A failure leaves `*string` as it was. */
VQ_API VQStatus vqNarrowStringCreateSized(VQStringService* service, VQNarrowString** string, VQPool* pool,
                                          const char* text, int64_t length, uint32_t encoding,
                                          int64_t capacity);

/* As vqStringClone; the encoding is judged again. A failure leaves `*copy` as it was. */
VQ_API VQStatus vqNarrowStringClone(const VQNarrowString* string, VQPool* pool, uint64_t ignored,
                                    VQNarrowString** copy);

/* As vqStringDestroy. */
VQ_API VQStatus vqNarrowStringDestroy(VQNarrowString* string);

/* ---- Strings from formats and status texts ---- */

/* Makes a string of a text that the kernel formats by a printf-style wide format of `formatLength` elements;
 * see format.h for contexts and conversions. VQSTATUS_NO_MEMORY or the format engine's status leave `*string`
 * as it was; it is null when only the string itself found no memory. */
VQ_API VQStatus vqStringWithFormat(VQStringService* service, VQString** string, VQPool* pool,
                                   VQFormatContext* context, const VQChar* format, int64_t formatLength, ...);

/* Makes a string of the message of a status code, with the further arguments as its inserts; empty when the
 * status has no message. Failures as in vqStringWithFormat, and VQSTATUS_NOT_AVAILABLE without a context. */
VQ_API VQStatus vqStringWithStatus(VQStringService* service, VQString** string, VQPool* pool,
                                   VQFormatContext* context, VQStatus code, ...);

/* Appends a formatted text, or the message of a status code. A failure leaves the string unchanged. */
VQ_API VQStatus vqStringConcatFormat(VQString* string, VQFormatContext* context, const VQChar* format,
                                     int64_t formatLength, ...);
VQ_API VQStatus vqStringConcatStatus(VQString* string, VQFormatContext* context, VQStatus code, ...);

/* Likewise; the text is formatted as wide text and converted as it is appended. */
VQ_API VQStatus vqU8StringConcatFormat(VQU8String* string, VQFormatContext* context, const VQChar* format,
                                       int64_t formatLength, ...);
VQ_API VQStatus vqU8StringConcatStatus(VQU8String* string, VQFormatContext* context, VQStatus code, ...);

VQ_END_DECLS

#endif

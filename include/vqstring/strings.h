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

/* ---- Wide strings: editing ----
 *
 * The text of the Text operations comes in any encoding: `length` counts VQChar for ENC_WIDE and bytes for
 * every other encoding, and -1 says that the text is zero-terminated. A text in another encoding is converted
 * first. An encoding that the host does not convert is no failure: its bytes are taken as VQChar elements.
 *
 * An edit completes or leaves the string as it was. What can fail everywhere: VQSTATUS_NO_MEMORY;
 * VQSTATUS_NO_CONVERTER when the host has no converter that it promised; the host's status for a text that
 * cannot be converted. An edit that needs room moves the text into a larger block of the string's pool, so
 * pointers into `text` do not survive an edit. The source may be the string itself, or lie inside its text.
 */

/* Makes the string a copy of `source`. An empty source leaves it as it is. */
VQ_API VQStatus vqStringCopy(VQString* string, const VQString* source);

/* Makes the string a copy of the text, also of an empty one. */
VQ_API VQStatus vqStringCopyText(VQString* string, const void* text, int64_t length, uint32_t encoding);

/* Appends `source`. An empty source changes nothing, not even the storage. */
VQ_API VQStatus vqStringConcat(VQString* string, const VQString* source);

/* Appends the text. An empty text still asks for room, so it moves a borrowed string into a block. */
VQ_API VQStatus vqStringConcatText(VQString* string, const void* text, int64_t length, uint32_t encoding);

/* Inserts the text in front of the element at `position`; the length appends. A position beyond the length
 * gives VQSTATUS_BAD_ARGUMENT before the text is looked at. */
VQ_API VQStatus vqStringInsertText(VQString* string, int64_t position, const void* text, int64_t length,
                                   uint32_t encoding);

/* Makes a string of `count` elements from `start` on, in the pool of `string`; the caller ends it. Null with
 * VQSTATUS_BAD_ARGUMENT for a range that is empty or leaves the text, or with VQSTATUS_NO_MEMORY; 0 is stored
 * otherwise. */
VQ_API VQString* vqStringSubstring(const VQString* string, int64_t start, int64_t count, VQStatus* status);

/* Takes the whitespace of vqnlsisspace off both ends, where the text stands: a borrowed text must be writable
 * if there is any. A text without is not written. Always 0. */
VQ_API VQStatus vqStringTrimWhitespace(VQString* string);

/* ---- Wide strings: replacement ----
 *
 * A failure does not roll back. Replacements made before it stay, and of the match at hand the needle is
 * gone: cut out for a shorter replacement, overwritten by the first elements of a longer one. */

/* Replaces the first occurrence of `needle` from `*offset` on, with `replacement` or, when that is null, with
 * nothing. `*offset` is left on the start of the match, or becomes the length of the string when there is
 * none. */
VQ_API VQStatus replaceSubstring(VQString* string, const VQString* needle, const VQString* replacement,
                                 int64_t* offset);

/* Replaces occurrences of `needle` by `replacement`, a VQString or VQU8String that is only read.
 *
 * `all` 0 replaces one, as replaceSubstring does from `*offset` (null: from the start). Any other value
 * replaces all from the start on, left to right, without looking into what was inserted; `*offset` is then
 * only written: with the end of the last search plus the length of the replacement. It is left alone by a
 * failure of that run. An empty string and an empty needle give 0, and nothing is written.
 *
 * A null string gives VQSTATUS_BAD_ARGUMENT; a UTF-8 replacement that cannot be converted gives the status of
 * the conversion, with nothing changed. Time is linear in the old and the new text. */
VQ_API VQStatus vqStringReplaceSubstring(VQString* string, const VQString* needle, VQInstance* replacement,
                                         uint8_t all, int64_t* offset);

/* As vqStringReplaceSubstring, with plain texts; a length of -1 is measured. A null or empty needle gives 0,
 * and a null replacement deletes. */
VQ_API VQStatus vqStringReplaceSubstringVQText(VQString* string, const VQChar* needle, int64_t needleLength,
                                               const VQChar* replacement, int64_t replacementLength,
                                               uint8_t all, int64_t* offset);

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

/* ---- UTF-8 strings: editing ----
 *
 * As for wide strings, with texts converted to UTF-8; lengths and positions count bytes and may fall inside a
 * character. VQSTATUS_NOT_AVAILABLE when the host has no converter that it promised. The bytes of an encoding
 * that the host does not convert, wide text included, are taken as they are. */

/* Makes the string a copy of the text. A converted text brings its own storage, whatever room there was. */
VQ_API VQStatus vqU8StringCopyText(VQU8String* string, const void* text, int64_t length, uint32_t encoding);

/* Appends the text. An empty text still asks for room. */
VQ_API VQStatus vqU8StringConcatText(VQU8String* string, const void* text, int64_t length, uint32_t encoding);

/* Inserts bytes at a byte position. A position beyond the length gives VQSTATUS_BAD_ARGUMENT. */
VQ_API VQStatus vqU8StringInsertU8(VQU8String* string, uint64_t position, const char* bytes,
                                   uint64_t byteCount);

/* Inserts `length` elements of wide text (not -1) at a byte position, which is tested after the conversion
 * and, for an empty text, not at all. Without a converter into UTF-8 nothing is inserted. */
VQ_API VQStatus vqU8StringInsertVQText(VQU8String* string, uint64_t position, const VQChar* text,
                                       int64_t length);

/* As vqStringTrimWhitespace. */
VQ_API VQStatus vqU8StringTrimWhitespace(VQU8String* string);

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

/* ---- Narrow strings: editing; plain byte texts ---- */

/* Makes the string a copy of the bytes and gives it their encoding, which is neither judged nor converted.
 * VQSTATUS_NO_MEMORY leaves the string as it was. */
VQ_API VQStatus vqNStringCopyText(VQNarrowString* string, const char* text, int64_t length,
                                  uint32_t encoding);

/* The same with text and encoding of `source`, also when it is empty. */
VQ_API VQStatus vqNStringCopy(VQNarrowString* string, const VQNarrowString* source);

/* Appends a text, converted to the string's encoding if that is another and the host converts the pair; bytes
 * of any other pair are appended as they are. VQSTATUS_NO_MEMORY, VQSTATUS_NO_CONVERTER or a status of the
 * host leaves the string as it was. */
VQ_API VQStatus vqNStringConcatText(VQNarrowString* string, const char* text, int64_t length,
                                    uint32_t encoding);

/* The same with text and encoding of `source`. */
VQ_API VQStatus vqNStringConcat(VQNarrowString* string, const VQNarrowString* source);

/* The next three take zero-terminated bytes; none may be null. */

/* 1 when the two are equal, 0 otherwise. */
VQ_API uint8_t vqNTextEqual(const char* first, const char* second);

/* Appends `source` with its terminator; room behind `target` is the caller's duty. */
VQ_API void vqNTextConcat(char* target, const char* source);

/* The offset of the first place where the whole pattern stands, or -1; an empty pattern stands nowhere. */
VQ_API int64_t vqNTextIndex(const char* text, const char* pattern);

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

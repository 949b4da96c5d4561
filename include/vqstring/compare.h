/* Questions put to a string without changing it, and the walk over its tokens.
 *
 * Matching is exact, element by element: no normalisation, no locale. The operations with Case in their name
 * fold each character of both texts by the case tables of text.h, which never changes a length.
 *
 * Names. An operation whose name ends in VQText takes a wide text, one in U8 UTF-8 bytes, one in plain Text a
 * text in any encoding: its length counts VQChar for ENC_WIDE and bytes otherwise, and -1 measures up to the
 * zero element (a null text is then empty). Such a text is converted first, into the encoding of the string;
 * one that the host does not convert at all is read as it stands, its bytes as the string's elements.
 *
 * Failure. Only the operations with a `status` can fail, and only in the conversion. `*status` is then the
 * host's status, VQSTATUS_NO_MEMORY, or for want of a converter VQSTATUS_NO_CONVERTER with a wide string and
 * VQSTATUS_NOT_AVAILABLE with a UTF-8 string; the answer is 0, so read the status first. In every other
 * case `*status` is 0. The temporary text comes from the string's pool and is gone when the operation
 * returns; the string is never changed.
 *
 * Answers are 1 for true, 0 for false. No pointer to a string, record or status may be null. There is no
 * lock: any number of threads may ask about a string as long as none edits it.
 */
#ifndef VQSTRING_COMPARE_H
#define VQSTRING_COMPARE_H

#include "base.h"
#include "strings.h"

VQ_BEGIN_DECLS

/* ---- Wide strings: comparison ---- */

/* Whether the two have the same elements; encoding, pool and storage play no part. */
VQ_API uint8_t vqStringEqual(const VQString* first, const VQString* second);
/* Whether the string is the text. */
VQ_API uint8_t vqStringEqualText(const VQString* string, const void* text, int64_t length, uint32_t encoding,
                                 VQStatus* status);
/* Whether the string is the text, apart from case. */
VQ_API uint8_t vqStringCaseEqualText(const VQString* string, const void* text, int64_t length,
                                     uint32_t encoding, VQStatus* status);

/* Whether the string starts with `prefix`. An empty string starts with nothing, not even an empty prefix;
 * any other string starts with an empty prefix. */
VQ_API uint8_t vqStringStartsWith(const VQString* string, const VQString* prefix);
/* Likewise; for an empty string the text is not looked at. */
VQ_API uint8_t vqStringStartsWithText(const VQString* string, const void* text, int64_t length,
                                      uint32_t encoding, VQStatus* status);
/* Whether the string starts with the text. Here an empty text starts an empty string too. */
VQ_API uint8_t vqStringStartsWithVQText(const VQString* string, const VQChar* text, int64_t length);
VQ_API uint8_t vqStringCaseStartsWithVQText(const VQString* string, const VQChar* text, int64_t length);

/* Whether the string ends with the text. An empty text ends every string. */
VQ_API uint8_t vqStringEndsWithText(const VQString* string, const void* text, int64_t length,
                                    uint32_t encoding, VQStatus* status);
VQ_API uint8_t vqStringEndsWithVQText(const VQString* string, const VQChar* text, int64_t length);
VQ_API uint8_t vqStringCaseEndsWithVQText(const VQString* string, const VQChar* text, int64_t length);

/* The index, in VQChar, of the first occurrence of the text: -1 when there is none, 0 for an empty text, and
 * 0 after a failure. */
VQ_API int64_t vqStringIndexOfText(const VQString* string, const void* text, int64_t length,
                                   uint32_t encoding, VQStatus* status);

/* ---- UTF-8 strings: comparison ---- */

/* Whether the string starts or ends with the bytes. A count of 0 gives false; -1 measures, and an empty text
 * found that way gives true, also for an empty string. */
VQ_API uint8_t vqU8StringStartsWithU8(const VQU8String* u8string, const char* bytes, int64_t byteCount);
VQ_API uint8_t vqU8StringEndsWithU8(const VQU8String* u8string, const char* bytes, int64_t byteCount);
/* Likewise with a text in any encoding, and the same two answers for an empty one. */
VQ_API uint8_t vqU8StringStartsWithText(const VQU8String* u8string, const void* text, int64_t length,
                                        uint32_t encoding, VQStatus* status);
VQ_API uint8_t vqU8StringEndsWithText(const VQU8String* u8string, const void* text, int64_t length,
                                      uint32_t encoding, VQStatus* status);
/* Whether the string is the text; an empty string is an empty text. UTF-8 is compared without the host. */
VQ_API uint8_t vqU8StringEqualText(const VQU8String* u8string, const void* text, int64_t length,
                                   uint32_t encoding, VQStatus* status);

VQ_END_DECLS

#endif

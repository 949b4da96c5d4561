/* Conversion between the kinds of string, and the escaped text forms.
 *
 * Every conversion measures first and converts once into a block of that size; a status of the host comes
 * back as it stands. Sizes that the host measures are in bytes, lengths of wide text in VQChar.
 */
#ifndef VQSTRING_ENCODINGS_H
#define VQSTRING_ENCODINGS_H

#include "base.h"
#include "strings.h"

VQ_BEGIN_DECLS

/* ---- Conversion ---- */

/* Fills `*target` with the text in wide form. `length` counts VQChar for ENC_WIDE and bytes otherwise; -1: up
 * to the zero element. A null `*target` gets a new string from `pool` (null: the service's), which the caller
 * ends; any other is refilled in its own storage, which grows when it has no room for the text and its
 * terminator, and `pool` is not looked at. Where the host has no conversion into wide text, the bytes are
 * taken as wide text.
 *
 * VQSTATUS_NO_MEMORY, VQSTATUS_NO_CONVERTER, or the host's status. On failure a null `*target` is null again;
 * a string of the caller's keeps its text, but for a failure in the conversion itself: then it holds what was
 * converted before, if the host says how much. */
VQ_API VQStatus vqStringEncode(VQStringService* service, VQString** target, VQPool* pool, const void* text,
                               int64_t length, uint32_t encoding);

/* Fills `*target` with the string's text in the numbered encoding and sets the narrow string's encoding.
 * `*target` and `pool` are as in vqStringEncode; a null pool stands for the string's own, and when that is
 * null too for the service's. The encoding's class is not judged. Where the host has no conversion, the
 * narrow string receives the bytes of the wide text, 4 an element.
 *
 * Failures as in vqStringEncode; the encoding of a string of the caller's changes on success alone. */
VQ_API VQStatus vqStringDecode(VQString* string, VQNarrowString** target, VQPool* pool, uint32_t encoding);

/* Makes the UTF-8 form as a string in `pool`, which must not be null. A null string gives null; an empty one,
 * and any one on a host without that conversion, an empty string without a text. VQSTATUS_NO_MEMORY or the
 * host's status leave `*target` as it was. */
VQ_API VQStatus vqStringGetU8String(const VQString* string, VQU8String** target, VQPool* pool);

/* Makes the UTF-8 form as a block of `pool`, which must not be null: `*byteCount` bytes and a zero byte. The
 * caller frees the block with poolFree, also that of an empty text. On a host without that conversion the
 * result is empty.
 *
 * A size that cannot be measured leaves both out pointers as they were; after VQSTATUS_NO_MEMORY and a failed
 * conversion `*bytes` is null and `*byteCount` as it was. */
VQ_API VQStatus vqStringGetU8Bytes(const VQString* string, VQPool* pool, char** bytes, uint64_t* byteCount);

/* Makes a UTF-8 string of wide text (-1: up to the zero element) in `pool`, which must not be null. Its
 * capacity is its length. On any failure, VQSTATUS_NO_MEMORY or the host's status, `*target` is null. */
VQ_API VQStatus vqU8StringFromVQText(VQStringService* service, VQU8String** target, VQPool* pool,
                                     const VQChar* text, int64_t length);

/* Makes the wide form as a block of `pool`, which must not be null: `*count` elements and a zero element.
 * Ownership and failures as in vqStringGetU8Bytes. */
VQ_API VQStatus vqU8StringGetVQText(const VQU8String* string, VQPool* pool, VQChar** wideText,
                                    uint64_t* count);

/* ---- URL escapes ---- */

/* Escapes the string in place: all but ASCII letters, ASCII digits and the full stop becomes the percent
 * escapes (RFC 3986, 2.1) of its UTF-8 bytes, in upper-case digits; a blank becomes %20. A borrowed text must
 * be writable.
 *
 * VQSTATUS_NO_MEMORY, or the status of the conversion of a character without a UTF-8 form. The front of the
 * text up to the failure is escaped then, its rest is not, and the character in between may stand as a '%'
 * without all of its digits. */
VQ_API VQStatus vqStringURLEncode(VQString* string);

/* Takes percent escapes out, in digits of either case, turns '+' into a blank, and reads the bytes as UTF-8.
 * What an escape gave is not looked at again. A '%' at the end stays; one with a single digit behind it at
 * the end gives the byte of that digit. A digit that is none counts as -1 in the escape's sum, of which the
 * low 8 bits are kept.
 *
 * A text that has no UTF-8 form leaves the string as it was; bytes that are no UTF-8 leave it as
 * vqStringEncode leaves a refilled string. The status is that of the conversion, or VQSTATUS_NO_MEMORY. */
VQ_API VQStatus vqStringURLDecode(VQString* string);

/* Escapes the string in place as vqStringURLEncode does. Validity is not looked for: of a sequence that the
 * text cuts off, the bytes that are there are escaped. VQSTATUS_NO_MEMORY leaves the string as it was. */
VQ_API VQStatus vqU8StringURLEncode(VQU8String* string);

/* ---- Base64 (RFC 4648, section 4; URL: section 5) ---- */

/* Makes the Base64 text of bytes in `pool` (null: the service's). `pad` exactly 1 completes the last group
 * with '='. `wrap` exactly 1 writes a line feed after every 76 characters, also at the end of a text that
 * fills its last line. `*target` is written on success alone; VQSTATUS_NO_MEMORY. */
VQ_API VQStatus vqU8StringEncodeBase64(VQStringService* service, const void* bytes, uint64_t byteCount,
                                       VQPool* pool, VQU8String** target, uint8_t pad, uint8_t wrap);
VQ_API VQStatus vqU8StringEncodeBase64URL(VQStringService* service, const void* bytes, uint64_t byteCount,
                                          VQPool* pool, VQU8String** target, uint8_t pad, uint8_t wrap);

/* The same as wide text, through a UTF-8 string and vqStringEncode. A failure of the latter leaves `*target`
 * null, one in front of it leaves it as it was. */
VQ_API VQStatus vqStringEncodeBase64(VQStringService* service, const void* bytes, uint64_t byteCount,
                                     VQPool* pool, VQString** target, uint8_t pad, uint8_t wrap);
VQ_API VQStatus vqStringEncodeBase64URL(VQStringService* service, const void* bytes, uint64_t byteCount,
                                        VQPool* pool, VQString** target, uint8_t pad, uint8_t wrap);

/* Reads Base64 into a block of `pool`, which must not be null; the caller frees it with poolFree. An empty
 * text gives null and 0. TAB, line feed and blank are passed over, and '=' ends the text wherever it stands:
 * what is behind it is not read. A text may stop inside a group; the bits that make no byte are dropped, but
 * for a single value, which gives a byte with the value in its upper six bits.
 *
 * VQSTATUS_NO_MEMORY; VQSTATUS_BAD_ARGUMENT for any other character, also one of the other alphabet.
 * `*bytes` is null then; `*byteCount` means nothing after the latter. */
VQ_API VQStatus vqStringDecodeBase64(const VQString* string, VQPool* pool, uint8_t** bytes,
                                     uint64_t* byteCount);
VQ_API VQStatus vqStringDecodeBase64URL(const VQString* string, VQPool* pool, uint8_t** bytes,
                                        uint64_t* byteCount);

/* The same for UTF-8 text, by stricter rules: the line feed alone is passed over, and '=' may stand only at
 * the end of the last four bytes of the text. A padded last group with a line feed directly in front of it or
 * behind it is VQSTATUS_BAD_ARGUMENT. */
VQ_API VQStatus vqU8StringDecodeBase64(const VQU8String* string, VQPool* pool, uint8_t** bytes,
                                       uint64_t* byteCount);
VQ_API VQStatus vqU8StringDecodeBase64URL(const VQU8String* string, VQPool* pool, uint8_t** bytes,
                                          uint64_t* byteCount);

/* ---- Named values ---- */

/* Makes a string of the host's named value, in `pool`, which must not be null; name and length go to the host
 * as they are. An empty value gives a string without a text. VQSTATUS_NAME_NOT_FOUND and the host's statuses
 * leave `*out` as it was (VQSTATUS_VALUE_TOO_LONG: the value grew while it was being read);
 * VQSTATUS_NO_MEMORY for the record stores null. */
VQ_API VQStatus vqStringGetVQName(VQStringService* service, VQPool* pool, const VQChar* name,
                                  int64_t nameLength, VQString** out);

/* The same in UTF-8. When the conversion of the value fails, its status comes back and `*out` holds a string
 * that the caller releases. All other failures leave `*out` as it was. */
VQ_API VQStatus vqU8StringGetVQName(VQStringService* service, VQPool* pool, const VQChar* name,
                                    int64_t nameLength, VQU8String** out);

/* Reads a named value into a block of `pool`, zero-terminated, which the caller frees with poolFree. An empty
 * value gives null and leaves `*length` as it was. On failure `*value` is null. */
VQ_API VQStatus getNameValue(VQPool* pool, const VQChar* name, int64_t nameLength, VQChar** value,
                             int64_t* length);

VQ_END_DECLS

#endif

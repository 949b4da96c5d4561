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

VQ_END_DECLS

#endif

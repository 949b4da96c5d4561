/* UTF-8, UTF-16 and UTF-32 on plain buffers: measuring, converting, translating, comparing.
 *
 * Nothing here knows a string object, keeps state or takes a lock. A text is a pointer with a length in bytes
 * and needs no terminator, unless it is said to end at its first zero byte. Nothing behind a given length is
 * read. Memory is the caller's throughout.
 *
 * Three grades of trust in the text, by name:
 *   UTF8_...    the first byte alone says how long a character is (the "blind step")
 *   vqzsu8...   a character also ends at the first byte that does not continue it (the "careful step")
 *   _U8ValidCharSize, isLegalUTF8 and the translators judge
 *
 * The length that a first byte announces: 0x00 to 0xBF 1, 0xC0 to 0xDF 2, 0xE0 to 0xEF 3, 0xF0 to 0xF7 4,
 * 0xF8 to 0xFB 5, 0xFC to 0xFF 6. A first byte is acceptable in 0x00 to 0x7F and 0xC2 to 0xF4; a continuation
 * byte is one of 0x80 to 0xBF. The judging functions follow table 3-7 of Unicode 9.0 with one difference: no
 * bound is set to the second byte behind 0xF4, so the values up to U+13FFFF count as well-formed.
 */
#ifndef VQSTRING_UTF_H
#define VQSTRING_UTF_H

#include "base.h"

VQ_BEGIN_DECLS

/* ---- Measuring UTF-8 ---- */

/* The length in bytes, 1 to 6, that the first byte of `character` announces. */
VQ_API uint32_t utf8_len(const char* character);

/* The characters of a text that ends at its first zero byte, by the blind step; 0 for a null text. A
 * sequence that the end of the text cuts off counts as one. */
VQ_API uint64_t UTF8_SLEN(const char* text);

/* The characters of `byteCount` bytes, by the blind step. A sequence cut off at the end counts as one. */
VQ_API uint64_t UTF8_SLENB(const char* text, uint64_t byteCount);

/* UTF8_BLENB of a text that ends at its first zero byte; 0 for a null text. */
VQ_API uint64_t UTF8_BLEN(const char* text);

/* How many of `byteCount` bytes to keep so that they end on a whole character. Continuation bytes in excess
 * of the last character are dropped with an incomplete one. 0 when the last character begins with an
 * unacceptable byte, whatever stands before it. */
VQ_API uint64_t UTF8_BLENB(const char* text, uint64_t byteCount);

/* The bytes that the character takes up, and in `valid` (null: not wanted) 1 or 0, whether it is well-formed.
 * The text must hold one readable byte and end in a zero byte or a whole character. */
VQ_API uint64_t vqzsu8CharSize(const char* character, uint8_t* valid);
/* The same without a verdict; the second argument is not read. */
VQ_API uint64_t vqzsu8CharSize2(const char* character, uint8_t* ignored);
VQ_API uint64_t _U8CharSize(const char* character);
/* The same with a verdict always; `valid` must not be null. */
VQ_API uint64_t _U8ValidCharSize(const char* character, uint8_t* valid);

/* The address behind the character: its own plus _U8CharSize. */
VQ_API const char* vqzsu8NextChar(const char* character);

/* 1 when the `length` bytes, a length taken from the first byte, are one well-formed sequence, else 0.
 * `consumed` takes the index of the lowest byte that should continue the sequence and does not, or `length`.
 * A length outside 1 to 4 is not judged and answers 1. */
VQ_API uint32_t isLegalUTF8(const char* sequence, uint64_t length, uint64_t* consumed);

/* The characters of `byteCount` bytes, by the careful step: a stray continuation byte is a character. */
VQ_API uint64_t vqzsu8NumChars(const char* text, uint64_t byteCount);

/* The bytes that the first `characterCount` characters take up, by the careful step. The text must hold that
 * many characters. */
VQ_API uint64_t vqzsu8ByteLength(const char* text, uint64_t characterCount);

/* Both lengths of a text that ends at its first zero byte, by the careful step, the terminator not counted.
 * Either pointer may be null; a null text stores nothing. */
VQ_API void vqzsu8Lengths(const char* text, uint64_t* characterCount, uint64_t* byteCount);

/* The length in bytes that is left without the blanks at the end; nothing is stored. `mode` 0 strips the
 * blank U+0020 alone; 2 strips U+0020, U+00A0, U+1680, U+2000 to U+200A, U+2028, U+2029, U+202F, U+205F and
 * U+3000; any other mode strips U+0009 to U+000D and U+0085 as well. */
VQ_API uint64_t vqzsu8StripBlanks(const char* text, uint64_t byteCount, uint32_t mode);

/* The characters of `byteCount` bytes where every first byte from 0xE0 up counts for three bytes, 0xC0 to
 * 0xDF for two and any other for one. A four-byte character counts as two. */
VQ_API uint64_t utf8Length(const char* bytes, uint64_t byteCount);

/* ---- One character at a time ----
 *
 * A decoder reads one character from `source`, which holds `byteCount` bytes, and stores its code point and
 * the bytes it took. What cannot be decoded gives U+FFFD with VQSTATUS_BAD_SEQUENCE, or
 * VQSTATUS_SHORT_SEQUENCE when the source ends inside the character. An encoder stores one code point in
 * `target`, which has `room` bytes, and says in `written` how many it took; without room it stores nothing
 * and answers VQSTATUS_TARGET_FULL. Neither knows a byte-order mark: U+FEFF is a character like any other. */
typedef VQStatus (*VQDecodeStep)(const uint8_t* source, uint64_t byteCount, VQChar* codePoint,
                                 uint64_t* consumed);
typedef VQStatus (*VQEncodeStep)(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written);

/* UTF-8, trusting: the first byte and the length are tested, continuation bytes only give their low 6 bits.
 * Overlong forms, surrogates and values up to 0x13FFFF decode. An unacceptable first byte is
 * VQSTATUS_BAD_SEQUENCE and takes the continuation bytes behind it along, up to the length it announces.
 * At least one byte is read. */
VQ_API VQStatus UTF8_UTF32(const uint8_t* source, uint64_t byteCount, VQChar* codePoint, uint64_t* consumed);

/* UTF-16, high byte first; _SWAP: low byte first. `consumed` is 2, or 4 for a pair; a high surrogate with
 * another unit behind it takes that unit along, and one at the end of the source is a short sequence of
 * 1 byte. */
VQ_API VQStatus UTF16_UTF32(const uint8_t* source, uint64_t byteCount, VQChar* codePoint, uint64_t* consumed);
VQ_API VQStatus UTF16_UTF32_SWAP(const uint8_t* source, uint64_t byteCount, VQChar* codePoint,
                                 uint64_t* consumed);

/* UTF-32, high byte first; _SWAP: low byte first. Four bytes are read whatever `byteCount` says; never fails.
 */
VQ_API VQStatus COPY_UTF32b(const uint8_t* source, uint64_t byteCount, VQChar* codePoint, uint64_t* consumed);
VQ_API VQStatus COPY_UTF32b_SWAP(const uint8_t* source, uint64_t byteCount, VQChar* codePoint,
                                 uint64_t* consumed);

/* UTF-8 of any value: surrogates take three bytes, values from 0x10000 up four. A value below 0x80 is stored
 * without a look at `room`. */
VQ_API VQStatus UTF32_UTF8(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written);
/* UTF-8 of the low 16 bits of the value. */
VQ_API VQStatus UTF16_UTF8(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written);

/* UTF-32, high byte first; _SWAP: low byte first. */
VQ_API VQStatus COPY_UTF32(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written);
VQ_API VQStatus COPY_UTF32_SWAP(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written);

/* The low 16 bits of the value as one unit, low byte first; _SWAP: high byte first. Note that the order is
 * the reverse of that of the decoders. */
VQ_API VQStatus UTF32_UTF16(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written);
VQ_API VQStatus UTF32_UTF16_SWAP(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written);

/* UTF-16 with surrogate pairs, low byte first; _SWAP: high byte first. Without room `written` keeps its
 * value. */
VQ_API VQStatus UTF32_UTF16s(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written);
VQ_API VQStatus UTF32_UTF16s_SWAP(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written);

/* One unit of 4 or 2 bytes: low byte first; _swap and BYTE_UTF16_UTF32: high byte first. */
VQ_API uint32_t Byte2DWord(const uint8_t* bytes);
VQ_API uint32_t Byte2DWord_swap(const uint8_t* bytes);
VQ_API uint32_t Byte2Word(const uint8_t* bytes);
VQ_API uint32_t Byte2Word_swap(const uint8_t* bytes);
VQ_API uint32_t BYTE_UTF16_UTF32(const uint8_t* bytes);
VQ_API uint32_t BYTE_UTF16_UTF32_SWAP(const uint8_t* bytes);

/* One character of UTF-8, as by UTF8_UTF32, into one or two units in the machine's byte order; `units` has
 * room for two. Any failure stores the one unit 0xFFFD and is VQSTATUS_BAD_SEQUENCE. */
VQ_API VQStatus UTF8_UTF16(const uint8_t* source, uint64_t byteCount, uint16_t* units, uint64_t* consumed);

/* ---- Whole buffers ----
 *
 * The two drivers call the steps that they are given. Where both are steps of this library the result is the
 * same, and much faster than the calls. */

/* Decodes `source` into 4-byte units, made by `encoder`, as many as `targetBytes` holds whole. A target that
 * fills up is no failure; `written` (null: not wanted) tells in bytes how far it came. A failing step ends
 * the work with its status, and its character is not in the target. */
VQ_API VQStatus ConvertToUTF32(const uint8_t* source, uint64_t sourceBytes, uint8_t* target,
                               uint64_t targetBytes, uint64_t* written, VQDecodeStep decoder,
                               VQEncodeStep encoder);

/* Encodes the whole 4-byte units of `source`, read by `decoder`, whose status is ignored. A target that runs
 * out exactly is no failure; one that has no room for the next character is VQSTATUS_TARGET_FULL, with the
 * characters before it in the target and in `written` (null: not wanted). Note the order of the steps. */
VQ_API VQStatus ConvertFromUTF32(const uint8_t* source, uint64_t sourceBytes, uint8_t* target,
                                 uint64_t targetBytes, uint64_t* written, VQEncodeStep encoder,
                                 VQDecodeStep decoder);

/* Copies the lesser of the two sizes, byte after byte in ascending order, and stores it in `copied`.
 * VQSTATUS_TARGET_FULL when the source is the larger. Character boundaries are not looked at. */
VQ_API VQStatus COPY_UTF(const uint8_t* source, uint64_t sourceBytes, uint8_t* target, uint64_t targetBytes,
                         uint64_t* copied);

/* The bytes that the UTF-8 form of `elementCount` elements needs: 1 below 0x80, 2 below 0x800, 3 below
 * 0x10000, 4 for all other values. */
VQ_API uint64_t GET_UTF8_LEN_FROM_VQCHAR(const VQChar* text, uint64_t elementCount);

/* ---- UTF-8 and its two relatives ----
 *
 * CESU-8 writes a supplementary character as two surrogates of three bytes each; modified UTF-8 is CESU-8
 * with the zero byte written 0xC0 0x80. Both translators replace what is broken by U+FFFD and go on: the
 * answer is then VQSTATUS_BAD_SEQUENCE. Without room for the next character they stop with
 * VQSTATUS_TARGET_FULL. `written` (null: not wanted) always tells the bytes stored. */

/* Zero bytes are written as 0xC0 0x80 (encoding) or read from it (decoding). */
#define U8_MODIFIED 1u
/* Alone: no surrogate pairs. Encoding replaces supplementary characters; decoding is a plain copy. */
#define U8_NO_PAIRS 4u

/* From UTF-8. An encoded surrogate in the source is broken; 0xC0, 0xC1 and the first bytes above 0xF4 are
 * carried over when all their continuation bytes are there. */
VQ_API VQStatus vqzsu8Encode(const char* source, uint64_t sourceBytes, char* target, uint64_t targetBytes,
                             uint64_t* written, uint32_t flags);

/* To UTF-8. Any two successive surrogates are joined, whichever is high or low; one alone is broken. With
 * U8_NO_PAIRS alone: vqzsu8Copy as far as the target goes, VQSTATUS_TARGET_FULL when not all was copied. */
VQ_API VQStatus vqzsu8Decode(const char* source, uint64_t sourceBytes, char* target, uint64_t targetBytes,
                             uint64_t* written, uint32_t flags);

/* Puts a text into a field: as many bytes as fit, cut by UTF8_BLENB, then blanks up to `targetBytes`. A null
 * source gives a blank field. Source and target may overlap. Returns the bytes copied. */
VQ_API uint64_t vqzsu8Copy(const char* source, uint64_t sourceBytes, char* target, uint64_t targetBytes);
/* The same; the encoding is not read. */
VQ_API uint64_t vqzsu8CopyText(const char* source, uint64_t sourceBytes, uint32_t encoding, char* target,
                               uint64_t targetBytes);

/* ---- Comparing ----
 *
 * "Norm" means without regard to case, as the host's nlsToLower maps it; without an nls, as the library's own
 * table does. A broken sequence compares as U+FFFD. The forms with an encoding number do not read it. */

/* By bytes: -1, 0 or 1. The shorter of two texts that agree sorts first; blanks are nothing special. */
VQ_API int32_t vqzsu8Compare(const char* first, uint64_t firstBytes, const char* second,
                             uint64_t secondBytes);
VQ_API int32_t vqzsu8CompareText(const char* first, uint64_t firstBytes, const char* second,
                                 uint64_t secondBytes, uint32_t encoding);

/* -2 or 2: the first text sorts first or last, apart from case. -1 or 1: they differ in case alone, and at
 * the first such difference the first text has the smaller or larger character. 0: identical. The shorter
 * text counts as filled with blanks. */
VQ_API int32_t vqzsu8NormCompare(const char* first, uint64_t firstBytes, const char* second,
                                 uint64_t secondBytes);
VQ_API int32_t vqzsu8NormCompareText(const char* first, uint64_t firstBytes, const char* second,
                                     uint64_t secondBytes, uint32_t encoding);

/* 1 when the texts agree apart from case, else 0. Without blank fill. */
VQ_API uint32_t vqzsu8NormEqual(const char* first, uint64_t firstBytes, const char* second,
                                uint64_t secondBytes);
VQ_API uint32_t vqzsu8NormEqualText(const char* first, uint64_t firstBytes, const char* second,
                                    uint64_t secondBytes, uint32_t encoding);
/* The same where only the case of ASCII letters is ignored. */
VQ_API uint32_t vqzsu8NormASCIIEqual(const char* first, uint64_t firstBytes, const char* second,
                                     uint64_t secondBytes);

/* ---- Asking about one character ---- */

/* What `predicate` answers for the character, decoded as by UTF8_UTF32: U+FFFD for a broken one. The bytes
 * that the first byte announces must be readable. */
VQ_API uint32_t _VQZSU8IsFunct(const char* character, uint32_t (*predicate)(VQChar));

/* Non-zero for U+200C, U+200D and what the host classifies as Mn, Mc or Me. */
VQ_API uint32_t vqzsu8IsCombining(const char* character);

/* ---- Unicode normalisation, by the host's ICU ----
 *
 * ICU is loaded at need. A failed load is VQSTATUS_NO_MEMORY, whatever the host's status was. Modes, options
 * and lengths mean what the host says. */

VQ_API VQStatus vqzsu8ICUNormalize(const char* text, uint64_t byteCount, uint32_t mode, uint32_t options,
                                   char* target, uint64_t capacity, uint64_t* length);
/* The host's comparison result. The status goes to `status` (null: not wanted); the result of a failed load
 * is 0. */
VQ_API int32_t vqzsu8ICUNormCompare(const char* first, uint64_t firstBytes, const char* second,
                                    uint64_t secondBytes, uint32_t options, VQStatus* status);
/* 1 when the comparison succeeds and finds the texts equal, else 0. */
VQ_API uint32_t vqzsu8ICUNormEqual(const char* first, uint64_t firstBytes, const char* second,
                                   uint64_t secondBytes, uint32_t options, VQStatus* status);

VQ_END_DECLS

#endif

/* Plain functions on buffers and wide text: memory, case, comparison, search, character classes.
 *
 * None of them knows a string object, takes a lock, keeps state or reports an error; all may run on any
 * thread. Buffers are the caller's. A function with T in its name, and mhWMemCmp, works on VQChar elements
 * and counts them; the others work on bytes. Nothing is read beyond the count that is given. The order of the
 * arguments differs from one operation to the next: copies take the source first.
 *
 * vqzstlo, vqzstup and the vqnlsis predicates ask the VQNls of the kernel in Exported_VQHandle when there is
 * one, and read their own tables otherwise; the handle itself must be set before they are called.
 */
#ifndef VQSTRING_TEXT_H
#define VQSTRING_TEXT_H

#include "base.h"

VQ_BEGIN_DECLS

/* ---- Memory ---- */

/* Always VQSTATUS_UNSUPPORTED. */
VQ_API VQStatus mhUnsup(void);

/* The bytes before the first zero byte; 0 for a null text. */
VQ_API int64_t mhStrLen(const char* text);
/* The elements before the first zero element; 0 for a null text. */
VQ_API int64_t mhStrTLen(const VQChar* text);

/* Copies a text with its terminating zero, in ascending order. A null target is left alone; a null source
 * makes the target empty. The target must not begin inside the source's text. */
VQ_API void mhStrCpy(const char* source, char* target);
VQ_API void mhStrTCpy(const VQChar* source, VQChar* target);

/* 1 when all `count` elements equal `value`, also when there are none; 0 otherwise. The byte form takes the
 * low 8 bits of `value`. */
VQ_API uint32_t mhMemNot(uint32_t value, const void* buffer, uint64_t count);
VQ_API uint32_t mhMemTNot(VQChar value, const VQChar* buffer, uint64_t count);

/* Stores `value` in `count` elements. The byte form takes its low 8 bits. */
VQ_API void mhMemSet(void* target, uint32_t value, uint64_t count);
VQ_API void mhMemTSet(VQChar* target, VQChar value, uint64_t count);

/* Compares as unsigned bytes: -1, 0 or 1, the sign at the first difference. */
VQ_API int32_t mhMemCmp(const void* first, const void* second, uint64_t count);
/* Compares elements: -1, 0 or 1. At the first difference the two are subtracted in 32 bits with wrap-around
 * and the top bit decides, which is numeric order for code points but not for values more than 0x7fffffff
 * apart: 0x90000000 comes before 1. */
VQ_API int32_t mhWMemCmp(const VQChar* first, const VQChar* second, uint64_t count);

/* Copies `count` bytes as if one after the other in ascending order, and returns the target. Where the target
 * begins inside the source, above its start, the first bytes therefore repeat through the target; any other
 * copy is faithful. */
VQ_API void* mhMemCpy(const void* source, void* target, uint64_t count);
/* Copies `count` bytes faithfully, however the two overlap. */
VQ_API void mhMemSCpy(const void* source, void* target, uint64_t count);
/* A copy of `count` bytes in a block of `pool`, which the caller frees there; asked for even when `count` is
 * 0. Null when pool or source is null, with nothing allocated, or when the pool has no memory. */
VQ_API void* mhMemDup(const void* source, uint64_t count, VQPool* pool);

/* The index of the first byte that equals the low 8 bits of `value`, or that differs from them; -1 when there
 * is none, and for a null buffer. */
VQ_API int64_t mhMemScan(const void* buffer, uint64_t count, uint32_t value);
VQ_API int64_t mhMemNScan(const void* buffer, uint64_t count, uint32_t value);
/* The index of the first element that differs from `value`, or -1 likewise. */
VQ_API int64_t mhMemTNScan(const VQChar* buffer, uint64_t count, VQChar value);

/* 1 when one of the `count` numbers is a NaN, of any kind and sign; 0 otherwise. */
VQ_API uint32_t mhMissArray(const double* array, uint64_t count);

/* ---- Wide text, as a pointer and a length in elements ---- */

/* 1 when the two texts have the same length and equal each other apart from case, by the case tables below;
 * 0 otherwise. VQNls is not asked. */
VQ_API uint32_t vqzseqn(const VQChar* first, uint64_t firstLength, const VQChar* second,
                        uint64_t secondLength);

/* Compares two texts, the shorter taken as filled with blanks. 0: identical. -1, 1: they differ in case
 * alone, with the sign of the first difference of code points. -2, 2: they differ apart from case, by the
 * lowercase of the case tables below. A negative result means that the first sorts before the second. */
VQ_API int32_t vqzsncmp(const VQChar* first, int64_t firstLength, const VQChar* second, int64_t secondLength);

/* The index of the first occurrence of `sought` in `text`, compared exactly; -1 when there is none, 0 for an
 * empty `sought`. Linear in `length` plus `soughtLength`. */
VQ_API int64_t vqzsndx(const VQChar* text, int64_t length, const VQChar* sought, int64_t soughtLength);

/* Lower or upper a text in place, element by element. ASCII goes by the case tables below, everything above
 * it by the VQNls, or by the tables when there is none. */
VQ_API void vqzstlo(VQChar* text, int64_t length);
VQ_API void vqzstup(VQChar* text, int64_t length);

/* Replace each element in place by the lowest or the highest code point of its case class: the code points of
 * U+0000 to U+FFFF that are each other's simple uppercase, lowercase or titlecase, or fold alike, in Unicode
 * 9.0. U+00DF stays in both, and so does everything above U+FFFF. */
VQ_API void vqzstmin(VQChar* text, int64_t length);
VQ_API void vqzstmax(VQChar* text, int64_t length);

/* ---- Case of bytes ---- */

/* Upper or lower the ASCII letters among `count` bytes in place. All other bytes stay, so UTF-8 passes
 * through with its multibyte characters intact; a zero byte does not end the walk. */
VQ_API void mhStrUp(char* buffer, uint64_t count);
VQ_API void mhStrLow(char* buffer, uint64_t count);

/* ---- The case tables ----
 *
 * A fixed map of upper and lower case for the values 0 to 0xFFFF, in blocks of 128 code points. mhz_metatable
 * has a word for each block: -1 when no character of it has a mapping, otherwise the index in both shift
 * tables where its 128 entries begin. A shift entry is what to add to the code point, 0 for no mapping; -128
 * says that the target stands in the list of pairs: from, to, from, to, ..., ended by a zero. */
VQ_API extern const int16_t mhz_metatable[512];
VQ_API extern const int8_t mhz_upshift[2432];
VQ_API extern const uint32_t mhz_upaux[41];
VQ_API extern const int8_t mhz_downshift[2432];
VQ_API extern const uint32_t mhz_downaux[39];

/* ---- Character classes ----
 *
 * Whether a character is in a class of general categories (Unicode 9.0). With a VQNls, characters below 0x80
 * are answered here and all others by nlsClassify, whose result is passed on: nonzero for a member. Without
 * one, and in vqnlsisspace always, the answer is 1 or 0 from the library's tables; a value that is no code
 * point is in no class. */

/* Lu. */
VQ_API uint32_t vqnlsisupper(VQChar character);
/* Ll. */
VQ_API uint32_t vqnlsislower(VQChar character);
/* Nd: the decimal digits of every script. */
VQ_API uint32_t vqnlsisdigit(VQChar character);
/* Lu, Ll, Lt, Lm, Lo. Marks are no letters. */
VQ_API uint32_t vqnlsisalpha(VQChar character);
/* Letters and decimal digits. */
VQ_API uint32_t vqnlsisalnum(VQChar character);
/* Nd of every script, and the letters A to F in both cases, plain and fullwidth; these letters never ask the
 * VQNls. */
VQ_API uint32_t vqnlsisxdigit(VQChar character);
/* Pc, Pd, Ps, Pe, Pi, Pf, Po. Unlike in POSIX, $ + < = > ^ ` | ~ are symbols and not in it. */
VQ_API uint32_t vqnlsispunct(VQChar character);
/* Zl, Zp, Cc, Cf. */
VQ_API uint32_t vqnlsiscntrl(VQChar character);
/* All but Zl, Zp, Cc, Cf, Cs, Co, Cn; the tables also have U+2028 and U+2029. */
VQ_API uint32_t vqnlsisprint(VQChar character);
/* As print, but for Zs and the two separators; nlsClassify is asked for private use (Co) as well. */
VQ_API uint32_t vqnlsisgraph(VQChar character);
/* U+0009 to U+000D, blanks and line ends: 0x20, 0x85, 0xA0, U+1680, U+2000 to U+200A, U+2028, U+2029, U+202F,
 * U+205F, U+3000. Never asks the VQNls. */
VQ_API uint32_t vqnlsisspace(VQChar character);

VQ_END_DECLS

#endif

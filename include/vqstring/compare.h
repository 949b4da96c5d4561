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

/* ---- Tokens ----
 *
 * A walk through a string that hands out, call by call, the pieces between delimiters; each call chooses what
 * counts as one. The caller keeps the record, fills it with the Start operation, and calls the operations
 * through its fields or by name, in any mixture. Nothing is copied, allocated or released, and nothing fails.
 *
 *   set        any one character out of a text ends the token
 *   sequence   the whole text ends the token
 *   list       any of several texts ends the token; at the leftmost place the first in the list that fits,
 *              so a longer one behind its own beginning in the list never wins
 *
 * Counts are exact, -1 means nothing special; what has no elements matches nothing. Delimiters do not merge:
 * two in a row have an empty token between them, and one at the start of the source has an empty token in
 * front. One at the very end of the source is followed by an empty last token with sets, and with the
 * sequence of a UTF-8 string; it ends the walk with lists, and with the sequence of a wide string. An empty
 * source has no token at all.
 *
 * In UTF-8 a delimiter matches where a character begins, counted from the start of the token by the lengths
 * that first bytes announce (utf.h). A delimiter of the set that is cut off at the end of its text counts
 * with the bytes that it has; no byte behind a source or a delimiter text is read.
 *
 * The token is a string of the caller's. It is pointed into the source: it has no terminator and no storage,
 * and source and token stay valid as long as the source lives and is not edited. Only its text and length are
 * set; a block of its own is first given back to its pool.
 *
 * Threads. A record belongs to one caller at a time; any number of records can walk the same source. */

struct VQTokenizer {
  /* Null when no token is left. */
  VQString* source;
  /* Where the next token begins, inside the source's text. */
  VQChar* position;
  VQString* (*tokenize)(VQTokenizer*, const VQString*, VQString*);
  VQString* (*tokenizeText)(VQTokenizer*, const VQChar*, int64_t, VQString*);
  VQString* (*tokenizeLong)(VQTokenizer*, const VQString*, VQString*);
  VQString* (*tokenizeLongText)(VQTokenizer*, const VQChar*, int64_t, VQString*);
  int32_t (*tokenizeList)(VQTokenizer*, VQString* const*, int32_t, VQString*);
};

struct VQU8Tokenizer {
  VQU8String* source;
  char* position;
  VQU8String* (*tokenizeU8)(VQU8Tokenizer*, const char*, uint64_t, VQU8String*);
  VQU8String* (*tokenizeLongU8)(VQU8Tokenizer*, const char*, uint64_t, VQU8String*);
  int32_t (*tokenizeList)(VQU8Tokenizer*, VQU8String* const*, int32_t, VQU8String*);
};

/* Begins a walk, at any time also anew with the same record. The string must outlive it, unedited. */
VQ_API void vqStringTokenizeStart(VQString* string, VQTokenizer* tokenizer);

/* The next token, ended by any character of the set. Returns `token`, or null, with the token untouched, when
 * none is left. */
VQ_API VQString* vqStringTokenize(VQTokenizer* tokenizer, const VQString* delimiterString, VQString* token);
VQ_API VQString* vqStringTokenizeText(VQTokenizer* tokenizer, const VQChar* delimiters, int64_t count,
                                      VQString* token);
/* Likewise, ended by the sequence. */
VQ_API VQString* vqStringTokenizeLong(VQTokenizer* tokenizer, const VQString* delimiterString,
                                      VQString* token);
VQ_API VQString* vqStringTokenizeLongText(VQTokenizer* tokenizer, const VQChar* delimiters, int64_t count,
                                          VQString* token);
/* Likewise, ended by any sequence of the list. Returns the index of that sequence; -1 for the last token,
 * and, with the token untouched, when none is left. Which of the two it is, `source` tells before the call.
 */
VQ_API int32_t vqStringTokenizeList(VQTokenizer* tokenizer, VQString* const* delimiterList, int32_t listCount,
                                    VQString* token);

/* The same for UTF-8. */
VQ_API void vqU8StringTokenizeStart(VQU8String* u8string, VQU8Tokenizer* tokenizer);
VQ_API VQU8String* vqU8StringTokenizeU8(VQU8Tokenizer* tokenizer, const char* delimiters, uint64_t byteCount,
                                        VQU8String* token);
VQ_API VQU8String* vqU8StringTokenizeLongU8(VQU8Tokenizer* tokenizer, const char* delimiters,
                                            uint64_t byteCount, VQU8String* token);
/* Unlike its wide twin it empties the token when none is left: text null, length 0. */
VQ_API int32_t vqU8StringTokenizeList(VQU8Tokenizer* tokenizer, VQU8String* const* delimiterList,
                                      int32_t listCount, VQU8String* token);

VQ_END_DECLS

#endif

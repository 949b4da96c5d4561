/* Types and status codes that every other header of vqstring stands on.
 *
 * Texts. A wide text is a run of VQChar, one code point of 32 bits an element, in the machine's byte order.
 * All other texts are bytes in an encoding that a 32-bit number names; two of the numbers mean something to
 * the library (ENC_UTF8, ENC_WIDE), all others pass through to the host. A length counts elements: VQChar
 * for ENC_WIDE, bytes otherwise; where -1 is allowed it says that the text ends at its first zero element.
 *
 * Failures. There are no exceptions and no errno: an operation answers with a VQStatus, 0 for success, or
 * with a null pointer. A status that a host operation returns reaches the caller unchanged.
 */
#ifndef VQSTRING_BASE_H
#define VQSTRING_BASE_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#ifndef __cplusplus
#include <uchar.h>
#endif

#ifdef __cplusplus
#define VQ_BEGIN_DECLS extern "C" {
#define VQ_END_DECLS }
#else
#define VQ_BEGIN_DECLS
#define VQ_END_DECLS
#endif

/* Marks what the shared library exports. */
#define VQ_API __attribute__((visibility("default")))

/* One element of wide text: an unsigned 32-bit code point. Values above U+10FFFF are carried, not judged. */
typedef char32_t VQChar;

/* 0 is success, anything else a failure. */
typedef uint32_t VQStatus;

/* Encoding numbers that the library itself gives a meaning to. */
#define ENC_UTF8 20u
#define ENC_WIDE 27u

/* A pool allocation failed; also a failed load of ICU in the normalising functions. */
#define VQSTATUS_NO_MEMORY ((VQStatus)0x803fc002u)
/* A position or range out of bounds, a refused kind or encoding class, an invalid Base64 character, or a
 * search on a dead regular-expression object. */
#define VQSTATUS_BAD_ARGUMENT ((VQStatus)0x803fc003u)
/* An instance of a kind that has no text form. */
#define VQSTATUS_UNSUPPORTED ((VQStatus)0x803fc004u)
/* No transcoder into UTF-8; no context for a status text. */
#define VQSTATUS_NOT_AVAILABLE ((VQStatus)0x803fc009u)
/* A format buffer was too small; the size needed came back. */
#define VQSTATUS_RETRY_LARGER ((VQStatus)0x803fc0c9u)
/* A buffer for a named value was too small or null; the size needed came back. */
#define VQSTATUS_VALUE_TOO_LONG ((VQStatus)0x803fc268u)
/* The named value does not exist. */
#define VQSTATUS_NAME_NOT_FOUND ((VQStatus)0x803fc26au)
/* No transcoder into wide text or into a narrow encoding. */
#define VQSTATUS_NO_CONVERTER ((VQStatus)0x803fe806u)
/* The target of a UTF conversion has no room. */
#define VQSTATUS_TARGET_FULL ((VQStatus)0x803fe807u)
/* An invalid code sequence in a source. */
#define VQSTATUS_BAD_SEQUENCE ((VQStatus)0x803fe808u)
/* An incomplete code sequence at the end of a source. */
#define VQSTATUS_SHORT_SEQUENCE ((VQStatus)0x803fe814u)
/* The subject of a search is neither a VQString nor a VQU8String. */
#define VQSTATUS_REGEX_KIND ((VQStatus)0x8bbff858u)
/* The property "values" of a constraint is not a VQArray. */
#define VQSTATUS_VALUES_NOT_ARRAY ((VQStatus)0x8bbff88cu)
/* The property "patterns" of a constraint is not a VQArray. */
#define VQSTATUS_PATTERNS_NOT_ARRAY ((VQStatus)0x8bbff88du)
/* Verdict: not among the values and no pattern matched, or a forbidden pattern was found. */
#define VQSTATUS_VALIDATE_REJECTED ((VQStatus)0x8bbff8a0u)
/* Verdict: shorter than "minLength". */
#define VQSTATUS_VALIDATE_TOO_SHORT ((VQStatus)0x8bbff8c0u)
/* Verdict: longer than "maxLength". */
#define VQSTATUS_VALIDATE_TOO_LONG ((VQStatus)0x8bbff8c1u)

/* The four bytes "nevo" at the low end of a word: the first word of a service, an extension record and
 * every instance. */
#define VQ_SIGNATURE UINT64_C(0x6f76656e)

typedef struct VQKernel VQKernel;
typedef struct VQNls VQNls;
typedef struct VQPool VQPool;
typedef struct VQLock VQLock;
typedef struct VQTranscoder VQTranscoder;
typedef struct VQLocale VQLocale;
typedef struct VQIcu VQIcu;
typedef struct VQRegexEngine VQRegexEngine;
typedef struct VQFormatContext VQFormatContext;
typedef struct VQFormatRecord VQFormatRecord;
typedef struct VQInstance VQInstance;
typedef struct VQInstanceExtension VQInstanceExtension;
typedef struct VQConstraint VQConstraint;
typedef struct VQArray VQArray;
typedef struct VQStringService VQStringService;
typedef struct VQString VQString;
typedef struct VQU8String VQU8String;
typedef struct VQNarrowString VQNarrowString;
typedef struct VQRegex VQRegex;
typedef struct VQRegexMatch VQRegexMatch;
typedef struct VQTokenizer VQTokenizer;
typedef struct VQU8Tokenizer VQU8Tokenizer;

#endif

/* What the library does with instances as such: regular expressions, equality, validation, rendering.
 *
 * A string instance is a VQString or a VQU8String, given by its header. A VQNarrowString is refused by every
 * operation here. The kind of an instance is learnt from its own instanceIsKindOf and from nothing else.
 *
 * The result of every operation is a status; the answer goes through an out pointer. A caller looks at the
 * status first: after a failure the answer is untouched unless an operation says otherwise.
 */
#ifndef VQSTRING_INSTANCES_H
#define VQSTRING_INSTANCES_H

#include "base.h"
#include "instance.h"

VQ_BEGIN_DECLS

/* ---- Regular expressions ---- */

/* One compiled pattern and its search over one subject, an instance of type "vqStringRegex". The syntax is
 * ICU's, blanks in a pattern are literal.
 *
 * The first search fixes the subject; there is no way to give another. A failed search ends the engine, and
 * the object only waits for its release then. One thread at a time may use it. */
struct VQRegex {
  VQInstance header;
  /* The pattern's pool: of this object and of `subjectCopy`. */
  VQPool* pool;
  /* Null after a failed search. */
  VQRegexEngine* engine;
  /* The pattern's, ENC_WIDE or ENC_UTF8. */
  uint32_t encoding;
  /* As given to vqStringInstanceCreateRegex; nothing here reads it. */
  uint64_t callerValue;
  /* 0 until the first search. */
  uint8_t started;
  /* The subject in the pattern's encoding, if it had to be converted. The engine points into it. */
  VQInstance* subjectCopy;
};

/* Where a match stands. Positions count elements of the pattern's encoding in the text that was searched:
 * VQChar for a wide pattern, bytes of UTF-8 otherwise, whatever the kind of the subject. */
struct VQRegexMatch {
  /* -1: no match. */
  int64_t start;
  int64_t length;
};

/* Loads the service's ICU access object if it is not there yet; safe from all threads. The status of the lock
 * or of the load; a later call tries again after a failure. */
VQ_API VQStatus vqStringLoadICU(VQStringService* service);

/* Compiles a string instance as a pattern and stores a regular-expression object of one reference, made in
 * the pattern's pool; the pattern itself is not needed afterwards. Release it with instanceRelease.
 *
 * VQSTATUS_BAD_ARGUMENT for any other kind, the statuses of vqStringLoadICU, or the host's for a pattern that
 * does not compile: `*regex` is untouched. VQSTATUS_NO_MEMORY stores null. */
VQ_API VQStatus vqStringInstanceCreateRegex(VQInstance* pattern, uint64_t callerValue, VQRegex** regex);

/* Ends a regular-expression object at once, with its engine and the converted subject. Always 0. It is the
 * object's instanceRealDestroy; users release the object instead. */
VQ_API VQStatus vqStringDestroyRegex(VQRegex* regex);

/* Finds the next match: the first call searches `subject` from its start, every later one goes on behind the
 * last match and does not look at `subject`. That there is no match is no failure. A subject that needs no
 * conversion must stay alive and unchanged until the object is released.
 *
 * VQSTATUS_REGEX_KIND when the first subject is no string instance; the object can go on being called, but
 * its engine has no text. VQSTATUS_BAD_ARGUMENT on an object whose engine has ended. A failed conversion or
 * search gives its status and ends the engine. `*match` is written with status 0 alone. */
VQ_API VQStatus vqStringInstanceFindNext(VQRegex* regex, VQInstance* subject, VQRegexMatch* match);

/* Stores 1 when the first match of `pattern` begins at the first element of `subject`, else 0. The match need
 * not reach the end: "a" matches "ab". Both are string instances of any kind. The statuses are those of
 * vqStringInstanceCreateRegex and vqStringInstanceFindNext. */
VQ_API VQStatus vqStringInstanceMatch(VQInstance* subject, VQInstance* pattern, uint8_t* result);

/* vqStringInstanceMatch with a zero-terminated wide pattern. `subject` must be a string record. */
VQ_API VQStatus vqStringInstanceMatchVQText(VQInstance* subject, const VQChar* pattern, uint8_t* result);

/* vqStringInstanceMatch with a zero-terminated UTF-8 pattern. `subject` must be a string record. */
VQ_API VQStatus vqStringInstanceMatchU8(VQInstance* subject, const char* pattern, uint8_t* result);

/* Stores 1 when `pattern` matches anywhere in `subject`, else 0; otherwise as vqStringInstanceMatch. */
VQ_API VQStatus vqStringInstanceContains(VQInstance* subject, VQInstance* pattern, uint8_t* result);

/* vqStringInstanceContains with a zero-terminated wide pattern. `subject` must be a string record. */
VQ_API VQStatus vqStringInstanceContainsVQText(VQInstance* subject, const VQChar* pattern, uint8_t* result);

/* vqStringInstanceContains with a zero-terminated UTF-8 pattern. `subject` must be a string record. */
VQ_API VQStatus vqStringInstanceContainsU8(VQInstance* subject, const char* pattern, uint8_t* result);

/* ---- Equality ---- */

/* Stores 1 when both string instances hold the same text, else 0: code units are compared within a kind, the
 * converted text across kinds; nothing is normalised. Null equals null alone, whatever the other is.
 *
 * VQSTATUS_BAD_ARGUMENT when one is no string instance, or the status of the conversion; `*result` is 0
 * then. */
VQ_API VQStatus vqStringInstanceEqual(VQInstance* first, VQInstance* second, uint8_t* result);

/* vqStringInstanceEqual with UTF-8 text of `length` bytes (-1: zero-terminated). */
VQ_API VQStatus vqStringInstanceEqualU8(VQInstance* instance, const char* text, int64_t length,
                                        uint8_t* result);

/* vqStringInstanceEqual with wide text of `length` elements (-1: zero-terminated). */
VQ_API VQStatus vqStringInstanceEqualVQText(VQInstance* instance, const VQChar* text, int64_t length,
                                            uint8_t* result);

/* ---- Validation ---- */

/* The patterns that no text may contain, zero-terminated, and their number. They guard against script
 * injection, and are searched in this order. Writable: a host may replace rows or shorten the table before
 * the first validation. */
VQ_API extern const VQChar* validationPatterns[];
VQ_API extern uint32_t numValidationPatterns;

/* Checks a string instance against a constraint (null: none), and then against validationPatterns unless the
 * service's noBuiltinPatterns is set. It is the instanceValidate of VQString and VQU8String.
 *
 * The constraint's "minLength" and "maxLength" bound the length, in VQChar or bytes by kind. If it has
 * "values" or "patterns", the text must equal one of the values or match one of the patterns in the sense of
 * vqStringInstanceMatch. The verdict is 0, VQSTATUS_VALIDATE_TOO_SHORT, VQSTATUS_VALIDATE_TOO_LONG or
 * VQSTATUS_VALIDATE_REJECTED, whichever applies first.
 *
 * VQSTATUS_VALUES_NOT_ARRAY, VQSTATUS_PATTERNS_NOT_ARRAY, or the status of the item of either list that could
 * not be compared; `*verdict` is untouched then. A forbidden pattern whose search fails counts as not
 * found. */
VQ_API VQStatus vqStringValidate(VQInstance* string, VQInstance* constraint, uint32_t* verdict);

/* Bit 0 of `options` switches the search for validationPatterns off for the whole service, or on again. The
 * other bits are ignored. Always 0. */
VQ_API VQStatus vqStringSetValidateOpt(VQStringService* service, uint32_t options);

/* ---- Rendering ---- */

/* Makes the text of an instance, as a VQString in `pool` (null: the service's), and stores one reference to
 * it. Rendered are the two string kinds, booleans, the four integers, doubles, calendar dates, times,
 * date-times and calendar date-times; a null instance stores null.
 *
 * Dates and times read as `locale` (null: the host's default one) has them, or in ISO 8601 form when `iso` is
 * not 0; a double always as the locale has it, trimmed. In ISO form a zone offset is printed beside the
 * stored value: a time with a colon and minutes (+05:00), a date-time without a colon, and with minutes only
 * where there are some (+05, +0530).
 *
 * `copy` concerns a VQString alone: 1 makes a copy, any other value shares the instance itself.
 *
 * VQSTATUS_UNSUPPORTED for any other kind, or a failed format or locale operation's status: `*out` is
 * untouched, but null for the two date-time kinds. VQSTATUS_NO_MEMORY stores null, and a UTF-8 string that
 * cannot be converted does too. */
VQ_API VQStatus instanceToString(VQStringService* service, VQPool* pool, VQLocale* locale, uint8_t iso,
                                 VQInstance* instance, uint8_t copy, VQString** out);

/* instanceToString by the default locale. */
VQ_API VQStatus vqInstanceToString(VQStringService* service, VQPool* pool, VQInstance* instance, uint8_t copy,
                                   VQString** out);

/* instanceToString by the given locale; null is the default one. */
VQ_API VQStatus vqInstanceLocaleToString(VQStringService* service, VQPool* pool, VQLocale* locale,
                                         VQInstance* instance, uint8_t copy, VQString** out);

/* instanceToString in ISO 8601 form. */
VQ_API VQStatus vqInstanceIsoToString(VQStringService* service, VQPool* pool, VQInstance* instance,
                                      uint8_t copy, VQString** out);

/* ---- Calendar ---- */

/* The days of a year in front of the first of each month, and as the thirteenth its length. */
VQ_API extern int32_t nonleapDayCount[13];
VQ_API extern int32_t leapDayCount[13];

/* Takes a date-time value, seconds since 1960-01-01 00:00:00, apart: month 1 to 12, day 1 to 31, year, and
 * weekday 0 (Sunday) to 6. Any pointer may be null. The calendar is the proleptic Gregorian one, also for
 * negative values; a value whose year leaves 32 bits gives the last or first date that does not. */
VQ_API void vqzdmdy(int32_t* month, int32_t* day, int32_t* year, int32_t* weekday, double value);

/* The hour, minute and second of a date-time value, or of a number of seconds; fractions are cut off. Any
 * pointer may be null. A negative number gives fields with its sign. */
VQ_API void vqzdhms(int32_t* hour, int32_t* minute, int32_t* second, double value);

VQ_END_DECLS

#endif

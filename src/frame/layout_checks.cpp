// The layouts that other programs rely on, asserted word by word at compile time.
#include <cstddef>

#include "vqstring/compare.h"
#include "vqstring/host.h"
#include "vqstring/instance.h"
#include "vqstring/instances.h"
#include "vqstring/service.h"
#include "vqstring/strings.h"

namespace {

constexpr size_t word = 8;

#define VQ_AT(type, field, index) static_assert(offsetof(type, field) == (index)*word)
#define VQ_WORDS(type, count) static_assert(sizeof(type) == (count)*word)

static_assert(sizeof(VQChar) == 4 && sizeof(void*) == word);

VQ_WORDS(VQKernel, 12);
VQ_AT(VQKernel, kernelNls, 5);
VQ_AT(VQKernel, kernelCurrentContext, 6);
VQ_AT(VQKernel, kernelStatusBuff, 11);
VQ_WORDS(VQNls, 12);
VQ_AT(VQNls, nlsIcu, 10);
VQ_AT(VQNls, nlsDefaultLocale, 11);
static_assert(sizeof(VQEncodingInfo) == 8 && offsetof(VQEncodingInfo, encodingClass) == 4);
VQ_WORDS(VQPool, 4);
VQ_WORDS(VQLock, 3);
VQ_WORDS(VQTranscoder, 2);
VQ_WORDS(VQIcu, 2);
VQ_WORDS(VQIcuRegexTable, 1);
VQ_WORDS(VQIcuNormTable, 2);
VQ_WORDS(VQRegexEngine, 6);
VQ_AT(VQFormatContext, owner, 3);
VQ_AT(VQFormatContextOwner, kernel, 5);
VQ_WORDS(VQFormatRecord, 2);
VQ_AT(VQLocale, localeToDouble, 4);
VQ_AT(VQLocale, localeU8DoubleFormat, 7);
VQ_AT(VQLocale, localeToULong, 23);
VQ_AT(VQLocale, localeU8DatetimeFormat, 28);
VQ_AT(VQLocale, localeToTime, 33);

VQ_WORDS(VQInstance, 9);
VQ_AT(VQInstance, typeName, 1);
VQ_AT(VQInstance, refCount, 3);
VQ_AT(VQInstance, instanceRealDestroy, 5);
VQ_AT(VQInstance, instanceClone, 8);
VQ_WORDS(VQInstanceExtension, 13);
VQ_AT(VQInstanceExtension, extensionRelease, 2);
VQ_AT(VQInstanceExtension, instanceRelease, 9);
VQ_AT(VQConstraint, instanceFindProperty, 9);
VQ_AT(VQConstraint, table, 10);
VQ_AT(VQArray, items, 10);
VQ_AT(VQArray, count, 11);
VQ_AT(VQBooleanInstance, value, 10);
VQ_AT(VQDoubleInstance, value, 10);
VQ_AT(VQCalendarDateInstance, month, 10);
VQ_AT(VQRegex, engine, 10);
VQ_AT(VQRegex, callerValue, 12);
VQ_AT(VQRegex, subjectCopy, 14);
VQ_WORDS(VQRegexMatch, 2);
VQ_AT(VQTimeInstance, zoneOffset, 13);
VQ_AT(VQTimeInstance, hasZoneOffset, 14);
VQ_AT(VQDateTimeInstance, hasZoneOffset, 12);
VQ_AT(VQCalendarDateTimeInstance, calendarToDatetime, 14);
VQ_AT(VQCalendarDateTimeInstance, hasZoneOffset, 16);

template <class Record>
constexpr bool isStringRecord() {
  return sizeof(Record) == 17 * word && offsetof(Record, service) == 9 * word &&
         offsetof(Record, isStatic) == 10 * word && offsetof(Record, text) == 11 * word &&
         offsetof(Record, length) == 12 * word && offsetof(Record, encoding) == 13 * word &&
         offsetof(Record, pool) == 14 * word && offsetof(Record, ownsBuffer) == 15 * word &&
         offsetof(Record, capacity) == 16 * word;
}
static_assert(isStringRecord<VQString>() && isStringRecord<VQU8String>() && isStringRecord<VQNarrowString>());

VQ_WORDS(VQTokenizer, 7);
VQ_AT(VQTokenizer, position, 1);
VQ_AT(VQTokenizer, tokenizeText, 3);
VQ_AT(VQTokenizer, tokenizeLongText, 5);
VQ_AT(VQTokenizer, tokenizeList, 6);
VQ_WORDS(VQU8Tokenizer, 5);
VQ_AT(VQU8Tokenizer, position, 1);
VQ_AT(VQU8Tokenizer, tokenizeLongU8, 3);
VQ_AT(VQU8Tokenizer, tokenizeList, 4);

// The anchors of the service record: a slot that moves takes one of them along.
VQ_WORDS(VQStringService, 109);
VQ_AT(VQStringService, vqStringRealDestroy, 6);
VQ_AT(VQStringService, pool, 9);
VQ_AT(VQStringService, nls, 10);
VQ_AT(VQStringService, vqStringCreate, 11);
VQ_AT(VQStringService, vqStringDestroy, 20);
VQ_AT(VQStringService, utf8ToWide, 58);
VQ_AT(VQStringService, wideToUtf8, 59);
VQ_AT(VQStringService, instanceExtensionRecord, 61);
VQ_AT(VQStringService, reservedAfterGetU8String, 72);
VQ_AT(VQStringService, icu, 90);
VQ_AT(VQStringService, icuLoadLock, 99);
VQ_AT(VQStringService, noBuiltinPatterns, 105);
VQ_AT(VQStringService, vqU8StringGetVQText, 108);
VQ_WORDS(VQStamp, 26);

}  // namespace

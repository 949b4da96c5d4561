/* The service record, and how the library comes to life inside a host.
 *
 * A host loads the library, calls vqextver (or vqextent) with its kernel, then vqstring, and hands the record
 * that comes back to whoever works with text. Every slot stands at a fixed word: other programs index into
 * the record. An operation is documented where it is declared under its own name, in the header of its
 * subject; the slot and the exported name are the same function.
 *
 * Threads. Start-up and teardown belong to one thread, before the first and after the last other use. In
 * between the record is read-only but for `icu`, which the library fills once under its lock, and
 * `noBuiltinPatterns`.
 */
#ifndef VQSTRING_SERVICE_H
#define VQSTRING_SERVICE_H

#include "compare.h"
#include "host.h"
#include "instance.h"
#include "instances.h"
#include "strings.h"

VQ_BEGIN_DECLS

struct VQStringService {
  /* VQ_SIGNATURE. */
  uint64_t signature;
  uint64_t reserved1;
  uint64_t reserved2;
  VQStatus (*vqStringGetReqVersion)(VQStringService*, uint64_t*, uint64_t*, uint64_t*);
  VQStatus (*vqStringGetVersion)(VQStringService*, uint64_t*, uint64_t*, uint64_t*);
  uint64_t reserved5;
  VQStatus (*vqStringRealDestroy)(VQStringService*);
  uint64_t reserved7;
  uint64_t reserved8;
  /* The pool that a null pool argument stands for. */
  VQPool* pool;
  VQNls* nls;
  VQString* (*vqStringCreate)(VQStringService*, VQPool*, const VQChar*, int64_t, uint8_t);
  VQString* (*vqStringCreateSized)(VQStringService*, VQPool*, const VQChar*, int64_t, int64_t);
  VQStatus (*vqStringEncode)(VQStringService*, VQString**, VQPool*, const void*, int64_t, uint32_t);
  VQStatus (*vqNarrowStringCreate)(VQStringService*, VQNarrowString**, VQPool*, const char*, int64_t,
                                   uint32_t, uint8_t);
  VQStatus (*vqNarrowStringCreateSized)(VQStringService*, VQNarrowString**, VQPool*, const char*, int64_t,
                                        uint32_t, int64_t);
  uint8_t (*vqNTextEqual)(const char*, const char*);
  void (*vqNTextConcat)(char*, const char*);
  int64_t (*vqNTextIndex)(const char*, const char*);
  VQStatus (*vqStringDecode)(VQString*, VQNarrowString**, VQPool*, uint32_t);
  VQStatus (*vqStringDestroy)(VQString*);
  VQStatus (*vqStringConcatText)(VQString*, const void*, int64_t, uint32_t);
  VQStatus (*vqStringConcat)(VQString*, const VQString*);
  VQStatus (*vqStringCopyText)(VQString*, const void*, int64_t, uint32_t);
  VQStatus (*vqStringCopy)(VQString*, const VQString*);
  uint8_t (*vqStringEqual)(const VQString*, const VQString*);
  uint8_t (*vqStringEqualText)(const VQString*, const void*, int64_t, uint32_t, VQStatus*);
  uint8_t (*vqStringCaseEqualText)(const VQString*, const void*, int64_t, uint32_t, VQStatus*);
  uint8_t (*vqStringStartsWith)(const VQString*, const VQString*);
  uint8_t (*vqStringStartsWithText)(const VQString*, const void*, int64_t, uint32_t, VQStatus*);
  void (*vqStringTokenizeStart)(VQString*, VQTokenizer*);
  VQStatus (*vqNarrowStringDestroy)(VQNarrowString*);
  VQStatus (*vqNStringConcatText)(VQNarrowString*, const char*, int64_t, uint32_t);
  VQStatus (*vqNStringConcat)(VQNarrowString*, const VQNarrowString*);
  VQStatus (*vqNStringCopyText)(VQNarrowString*, const char*, int64_t, uint32_t);
  VQStatus (*vqNStringCopy)(VQNarrowString*, const VQNarrowString*);
  void (*vqStringInitStatic)(VQStringService*, VQString*, VQPool*, const VQChar*, int64_t);
  VQStatus (*vqStringInsertText)(VQString*, int64_t, const void*, int64_t, uint32_t);
  int64_t (*vqStringIndexOfText)(const VQString*, const void*, int64_t, uint32_t, VQStatus*);
  uint8_t (*vqStringStartsWithVQText)(const VQString*, const VQChar*, int64_t);
  uint8_t (*vqStringEndsWithVQText)(const VQString*, const VQChar*, int64_t);
  uint8_t (*vqStringEndsWithText)(const VQString*, const void*, int64_t, uint32_t, VQStatus*);
  VQStatus (*vqStringTrimWhitespace)(VQString*);
  VQStatus (*vqStringURLDecode)(VQString*);
  VQStatus (*vqStringURLEncode)(VQString*);
  VQString* (*vqStringSubstring)(const VQString*, int64_t, int64_t, VQStatus*);
  void (*vqU8StringTokenizeStart)(VQU8String*, VQU8Tokenizer*);
  void (*vqU8StringInitStatic)(VQStringService*, VQU8String*, VQPool*, const char*, int64_t);
  uint8_t (*vqU8StringStartsWithU8)(const VQU8String*, const char*, int64_t);
  uint8_t (*vqU8StringEndsWithU8)(const VQU8String*, const char*, int64_t);
  uint8_t (*vqU8StringStartsWithText)(const VQU8String*, const void*, int64_t, uint32_t, VQStatus*);
  uint8_t (*vqU8StringEndsWithText)(const VQU8String*, const void*, int64_t, uint32_t, VQStatus*);
  VQStatus (*vqU8StringCopyText)(VQU8String*, const void*, int64_t, uint32_t);
  VQStatus (*vqU8StringCreate)(VQStringService*, VQU8String**, VQPool*, const char*, int64_t, uint8_t);
  VQStatus (*vqU8StringCreateSized)(VQStringService*, VQU8String**, VQPool*, const char*, int64_t, int64_t);
  VQStatus (*vqU8StringDestroy)(VQU8String*);
  VQStatus (*vqU8StringConcatText)(VQU8String*, const void*, int64_t, uint32_t);
  uint8_t (*vqU8StringEqualText)(const VQU8String*, const void*, int64_t, uint32_t, VQStatus*);
  /* Shared by all threads; null when the host has no such conversion. */
  VQTranscoder* utf8ToWide;
  VQTranscoder* wideToUtf8;
  VQStatus (*vqStringGetU8Bytes)(const VQString*, VQPool*, char**, uint64_t*);
  /* The record of the extension "vqinstance". */
  VQInstanceExtension* instanceExtensionRecord;
  VQStatus (*vqStringDecodeBase64)(const VQString*, VQPool*, uint8_t**, uint64_t*);
  VQStatus (*vqU8StringDecodeBase64)(const VQU8String*, VQPool*, uint8_t**, uint64_t*);
  VQStatus (*vqStringEncodeBase64)(VQStringService*, const void*, uint64_t, VQPool*, VQString**, uint8_t,
                                   uint8_t);
  VQStatus (*vqU8StringEncodeBase64)(VQStringService*, const void*, uint64_t, VQPool*, VQU8String**, uint8_t,
                                     uint8_t);
  VQStatus (*vqStringDecodeBase64URL)(const VQString*, VQPool*, uint8_t**, uint64_t*);
  VQStatus (*vqU8StringDecodeBase64URL)(const VQU8String*, VQPool*, uint8_t**, uint64_t*);
  VQStatus (*vqStringEncodeBase64URL)(VQStringService*, const void*, uint64_t, VQPool*, VQString**, uint8_t,
                                      uint8_t);
  VQStatus (*vqU8StringEncodeBase64URL)(VQStringService*, const void*, uint64_t, VQPool*, VQU8String**,
                                        uint8_t, uint8_t);
  VQStatus (*vqU8StringTrimWhitespace)(VQU8String*);
  VQStatus (*vqStringGetU8String)(const VQString*, VQU8String**, VQPool*);
  uint64_t reservedAfterGetU8String;
  VQStatus (*vqU8StringInsertVQText)(VQU8String*, uint64_t, const VQChar*, int64_t);
  VQStatus (*vqU8StringInsertU8)(VQU8String*, uint64_t, const char*, uint64_t);
  VQStatus (*vqU8StringFromVQText)(VQStringService*, VQU8String**, VQPool*, const VQChar*, int64_t);
  uint8_t (*vqStringCaseStartsWithVQText)(const VQString*, const VQChar*, int64_t);
  uint8_t (*vqStringCaseEndsWithVQText)(const VQString*, const VQChar*, int64_t);
  VQStatus (*vqStringReplaceSubstring)(VQString*, const VQString*, VQInstance*, uint8_t, int64_t*);
  VQStatus (*vqStringReplaceSubstringVQText)(VQString*, const VQChar*, int64_t, const VQChar*, int64_t,
                                             uint8_t, int64_t*);
  VQStatus (*vqInstanceToString)(VQStringService*, VQPool*, VQInstance*, uint8_t, VQString**);
  VQStatus (*vqInstanceLocaleToString)(VQStringService*, VQPool*, VQLocale*, VQInstance*, uint8_t,
                                       VQString**);
  VQStatus (*vqStringGetVQName)(VQStringService*, VQPool*, const VQChar*, int64_t, VQString**);
  VQStatus (*vqU8StringGetVQName)(VQStringService*, VQPool*, const VQChar*, int64_t, VQU8String**);
  VQStatus (*vqInstanceIsoToString)(VQStringService*, VQPool*, VQInstance*, uint8_t, VQString**);
  VQStatus (*vqStringConcatFormat)(VQString*, VQFormatContext*, const VQChar*, int64_t, ...);
  VQStatus (*vqU8StringConcatFormat)(VQU8String*, VQFormatContext*, const VQChar*, int64_t, ...);
  VQStatus (*vqStringInstanceEqual)(VQInstance*, VQInstance*, uint8_t*);
  VQStatus (*vqStringInstanceEqualU8)(VQInstance*, const char*, int64_t, uint8_t*);
  VQStatus (*vqStringInstanceEqualVQText)(VQInstance*, const VQChar*, int64_t, uint8_t*);
  /* Null until the first regular expression. */
  VQIcu* icu;
  VQStatus (*vqStringInstanceCreateRegex)(VQInstance*, uint64_t, VQRegex**);
  VQStatus (*vqStringInstanceFindNext)(VQRegex*, VQInstance*, VQRegexMatch*);
  VQStatus (*vqStringInstanceMatch)(VQInstance*, VQInstance*, uint8_t*);
  VQStatus (*vqStringInstanceMatchVQText)(VQInstance*, const VQChar*, uint8_t*);
  VQStatus (*vqStringInstanceMatchU8)(VQInstance*, const char*, uint8_t*);
  VQStatus (*vqStringInstanceContains)(VQInstance*, VQInstance*, uint8_t*);
  VQStatus (*vqStringInstanceContainsVQText)(VQInstance*, const VQChar*, uint8_t*);
  VQStatus (*vqStringInstanceContainsU8)(VQInstance*, const char*, uint8_t*);
  /* Guards the load of `icu`. */
  VQLock* icuLoadLock;
  VQStatus (*vqStringConcatStatus)(VQString*, VQFormatContext*, VQStatus, ...);
  VQStatus (*vqU8StringConcatStatus)(VQU8String*, VQFormatContext*, VQStatus, ...);
  VQStatus (*vqStringWithFormat)(VQStringService*, VQString**, VQPool*, VQFormatContext*, const VQChar*,
                                 int64_t, ...);
  VQStatus (*vqStringWithStatus)(VQStringService*, VQString**, VQPool*, VQFormatContext*, VQStatus, ...);
  VQStatus (*vqU8StringWithBytes)(VQStringService*, VQU8String**, VQPool*, char*, uint64_t);
  /* Written by vqStringSetValidateOpt; nonzero switches the built-in patterns off. */
  uint8_t noBuiltinPatterns;
  VQStatus (*vqStringSetValidateOpt)(VQStringService*, uint32_t);
  VQStatus (*vqU8StringURLEncode)(VQU8String*);
  VQStatus (*vqU8StringGetVQText)(const VQU8String*, VQPool*, VQChar**, uint64_t*);
};

/* The kernel that the library runs under; null until vqextver or vqextent. */
VQ_API extern VQKernel* Exported_VQHandle;

/* Records `kernel` in Exported_VQHandle and stores 9 and 1, the version of the kernel interface that the
 * library is built for. Always 0. Of several calls the last wins. */
VQ_API VQStatus vqextver(VQKernel* kernel, uint64_t* first, uint64_t* second);

/* Records `kernel` in Exported_VQHandle. Always 0. */
VQ_API VQStatus vqextent(VQKernel* kernel);

/* Builds a service on `kernel`, which must be the one in Exported_VQHandle. The caller ends it with
 * vqStringRealDestroy.
 *
 * Null on any failure: no nls, no pool, no memory, a transcoder that the nls promised and could not make, no
 * "vqinstance", no lock. All that was taken is given back then, newest first. That the nls knows no
 * conversion between UTF-8 and wide text is no failure: the shared transcoder stays null, and the operations
 * that want it take the text as it stands. */
VQ_API VQStringService* vqstring(VQKernel* kernel);

/* Ends a service: transcoders, lock, extension, record, pool. Every string of the service pool must be gone.
 * Always 0. */
VQ_API VQStatus vqStringRealDestroy(VQStringService* service);

/* The library's own version: 2, 0, 0. `service` is not read. Always 0. */
VQ_API VQStatus vqStringGetVersion(VQStringService* service, uint64_t* major, uint64_t* minor,
                                   uint64_t* patch);

/* The version of the kernel that the library requires: 9, 1, 1. `service` is not read. Always 0. */
VQ_API VQStatus vqStringGetReqVersion(VQStringService* service, uint64_t* major, uint64_t* minor,
                                      uint64_t* patch);

/* The stamp of the build. Every text is zero-terminated and belongs to the library. */
typedef struct VQStamp {
  const char* release;
  const char* buildArea;
  const char* empty1;
  uint64_t buildTime; /* seconds since 1970 */
  const char* familyName;
  const char* familyTag; /* 8 characters */
  const char* moduleName;
  const char* moduleTag; /* 20 characters */
  const char* empty2;
  const char* label;
  const char* separator; /* 2 characters */
  const char* empty3;
  const char* hotfixField; /* 65 characters, "QEM_VERSION_HOTFIX_NUMBER=" and blanks */
  const char* empty4;
  const char* imageField; /* 65 characters, "STAMPR_IMAGE_DESCRIPTION=" and blanks */
  const char* platform;
  const char* buildDate; /* 28 characters */
  uint64_t reserved[9];
} VQStamp;

/* Copies the stamp, 26 words, into the caller's buffer. */
VQ_API void vqstamp1(VQStamp* stamp);

VQ_END_DECLS

#endif

// Regular expressions: the one-time load of the ICU access object, the object that wraps one engine, and the
// one-shot questions on top. All matching is the engine's; this file brings pattern and subject into one
// encoding and turns byte offsets into positions.
#include "frame/handle.hpp"
#include "frame/scopes.hpp"
#include "instances/kind_of.hpp"
#include "vqstring/encodings.h"
#include "vqstring/instances.h"
#include "vqstring/service.h"
#include "vqstring/text.h"

namespace vq {

namespace {

// A text as the engine takes it.
struct EngineText {
  const void* text = nullptr;
  uint64_t byteCount = 0;
};

EngineText engineText(const VQString* string) {
  return {string->text, static_cast<uint64_t>(string->length) * sizeof(VQChar)};
}

EngineText engineText(const VQU8String* string) {
  return {string->text, string->length};
}

// A loaded library never takes the lock again. The load publishes the object for this read.
VQIcu* loadedIcu(VQStringService* service) {
  return __atomic_load_n(&service->icu, __ATOMIC_ACQUIRE);
}

void fillHeader(VQRegex* regex, VQInstanceExtension* extension) {
  VQInstance& header = regex->header;
  header.signature = VQ_SIGNATURE;
  header.typeName = "vqStringRegex";
  header.instanceRelease = extension->instanceRelease;
  __atomic_store_n(&header.refCount, 1, __ATOMIC_RELAXED);
  header.instanceIsKindOf = extension->instanceIsKindOf;
  header.instanceRealDestroy = reinterpret_cast<decltype(header.instanceRealDestroy)>(vqStringDestroyRegex);
  header.instanceExtension = extension;
  header.instanceValidate = extension->instanceDefaultValidate;
  header.instanceClone = extension->instanceDefaultClone;
}

// The subject in UTF-8 or in wide text, kept by the regular-expression object for as long as it lives.
VQStatus copyToU8(VQRegex* regex, const VQString* subject, EngineText* text) {
  VQU8String* copy = nullptr;
  const VQStatus status =
      vqU8StringFromVQText(subject->service, &copy, regex->pool, subject->text, subject->length);
  if (status != 0) return status;
  regex->subjectCopy = &copy->header;
  *text = engineText(copy);
  return 0;
}

VQStatus copyToWide(VQRegex* regex, const VQU8String* subject, EngineText* text) {
  VQString* copy = nullptr;
  const VQStatus status = vqStringEncode(subject->service, &copy, regex->pool, subject->text,
                                         static_cast<int64_t>(subject->length), ENC_UTF8);
  if (status != 0) return status;
  regex->subjectCopy = &copy->header;
  *text = engineText(copy);
  return 0;
}

// Fixes the subject and searches it from the start.
VQStatus findFirst(VQRegex* regex, VQInstance* subject, StringKind kind, uint8_t* found) {
  const bool patternIsWide = regex->encoding == ENC_WIDE;
  VQStatus status = 0;
  EngineText text;
  if (kind == StringKind::wide) {
    if (patternIsWide) {
      text = engineText(wideRecord(subject));
    } else {
      status = copyToU8(regex, wideRecord(subject), &text);
    }
  } else {
    if (patternIsWide) {
      status = copyToWide(regex, u8Record(subject), &text);
    } else {
      text = engineText(u8Record(subject));
    }
  }
  VQRegexEngine* engine = regex->engine;
  if (status == 0) status = engine->regexSetText(engine, text.text, text.byteCount);
  if (status == 0) status = engine->regexFind(engine, 0, found);
  return status;
}

VQStatus readMatch(const VQRegex* regex, VQRegexMatch* match) {
  VQRegexEngine* engine = regex->engine;
  int32_t start = 0, end = 0;
  if (const VQStatus status = engine->regexMatchStart(engine, 0, &start); status != 0) return status;
  if (const VQStatus status = engine->regexMatchEnd(engine, 0, &end); status != 0) return status;
  const int32_t elementSize = regex->encoding == ENC_WIDE ? sizeof(VQChar) : 1;
  match->start = start / elementSize;
  match->length = end / elementSize - start / elementSize;
  return 0;
}

// One search of a pattern compiled for it alone. The question turns the match into the answer.
template <class Question>
VQStatus ask(VQInstance* subject, VQInstance* pattern, uint8_t* result, Question question) {
  VQRegex* created = nullptr;
  if (const VQStatus status = vqStringInstanceCreateRegex(pattern, 0, &created); status != 0) return status;
  const Reference<VQRegex> regex(created);
  VQRegexMatch match;
  const VQStatus status = vqStringInstanceFindNext(regex.get(), subject, &match);
  if (status == 0) *result = question(match);
  return status;
}

// A static string around a pattern, in the surroundings of the subject.
struct WidePattern {
  WidePattern(VQInstance* subject, const VQChar* pattern) {
    const VQString* record = wideRecord(subject);
    vqStringInitStatic(record->service, &string, record->pool, pattern,
                       static_cast<int64_t>(mhStrTLen(pattern)));
  }
  VQString string;
};

struct U8Pattern {
  U8Pattern(VQInstance* subject, const char* pattern) {
    const VQString* record = wideRecord(subject);
    vqU8StringInitStatic(record->service, &string, record->pool, pattern,
                         static_cast<int64_t>(mhStrLen(pattern)));
  }
  VQU8String string;
};

}  // namespace

}  // namespace vq

using namespace vq;

VQStatus vqStringLoadICU(VQStringService* service) {
  VQNls* nls = Exported_VQHandle->kernelNls;
  const HeldLock lock(service->icuLoadLock);
  if (lock.status() != 0 || service->icu != nullptr) return lock.status();
  // The host fills a local word: other threads read the service's without the lock, and must see the object
  // behind it whole.
  VQIcu* icu = nullptr;
  const VQStatus status = nls->nlsLoadICU(nls, &icu, 0);
  if (status == 0) __atomic_store_n(&service->icu, icu, __ATOMIC_RELEASE);
  return status;
}

VQStatus vqStringInstanceCreateRegex(VQInstance* pattern, uint64_t callerValue, VQRegex** regex) {
  const StringKind kind = stringKindOf(pattern);
  if (kind == StringKind::other) return VQSTATUS_BAD_ARGUMENT;
  const VQString* record = wideRecord(pattern);
  VQStringService* service = record->service;
  if (loadedIcu(service) == nullptr) {
    if (const VQStatus status = vqStringLoadICU(service); status != 0) return status;
  }
  VQIcu* icu = loadedIcu(service);
  const uint32_t encoding = record->encoding;
  const EngineText text = kind == StringKind::wide ? engineText(record) : engineText(u8Record(pattern));
  const uint32_t options = VQ_REGEX_OPTIONS;
  VQRegexEngine* engine = nullptr;
  const VQStatus status =
      icu->regexTable->icuRegexCreate(icu, encoding, text.text, text.byteCount, &options, &engine);
  if (status != 0) return status;

  VQPool* pool = record->pool;
  auto* created = static_cast<VQRegex*>(pool->poolAlloc(pool, sizeof(VQRegex), VQ_POOL_ZERO_FILL));
  *regex = created;
  if (created == nullptr) {
    engine->regexDestroy(engine);
    return VQSTATUS_NO_MEMORY;
  }
  fillHeader(created, service->instanceExtensionRecord);
  created->pool = pool;
  created->engine = engine;
  created->encoding = encoding;
  created->callerValue = callerValue;
  return 0;
}

VQStatus vqStringDestroyRegex(VQRegex* regex) {
  if (VQInstance* copy = regex->subjectCopy) copy->instanceRelease(copy);
  if (VQRegexEngine* engine = regex->engine) engine->regexDestroy(engine);
  regex->pool->poolFree(regex->pool, regex);
  return 0;
}

VQStatus vqStringInstanceFindNext(VQRegex* regex, VQInstance* subject, VQRegexMatch* match) {
  VQRegexEngine* engine = regex->engine;
  if (engine == nullptr) return VQSTATUS_BAD_ARGUMENT;
  VQStatus status = 0;
  uint8_t found = 0;
  if (regex->started != 0) {
    status = engine->regexFindNext(engine, &found);
  } else {
    regex->started = 1;
    const StringKind kind = stringKindOf(subject);
    if (kind == StringKind::other) return VQSTATUS_REGEX_KIND;
    status = findFirst(regex, subject, kind, &found);
  }
  VQRegexMatch answer = {-1, 0};
  if (status == 0 && found != 0) status = readMatch(regex, &answer);
  if (status != 0) {
    engine->regexDestroy(engine);
    regex->engine = nullptr;
    return status;
  }
  *match = answer;
  return 0;
}

VQStatus vqStringInstanceMatch(VQInstance* subject, VQInstance* pattern, uint8_t* result) {
  return ask(subject, pattern, result, [](const VQRegexMatch& match) { return match.start == 0; });
}

VQStatus vqStringInstanceContains(VQInstance* subject, VQInstance* pattern, uint8_t* result) {
  return ask(subject, pattern, result, [](const VQRegexMatch& match) { return match.start != -1; });
}

VQStatus vqStringInstanceMatchVQText(VQInstance* subject, const VQChar* pattern, uint8_t* result) {
  WidePattern wrapped(subject, pattern);
  return vqStringInstanceMatch(subject, &wrapped.string.header, result);
}

VQStatus vqStringInstanceMatchU8(VQInstance* subject, const char* pattern, uint8_t* result) {
  U8Pattern wrapped(subject, pattern);
  return vqStringInstanceMatch(subject, &wrapped.string.header, result);
}

VQStatus vqStringInstanceContainsVQText(VQInstance* subject, const VQChar* pattern, uint8_t* result) {
  WidePattern wrapped(subject, pattern);
  return vqStringInstanceContains(subject, &wrapped.string.header, result);
}

VQStatus vqStringInstanceContainsU8(VQInstance* subject, const char* pattern, uint8_t* result) {
  U8Pattern wrapped(subject, pattern);
  return vqStringInstanceContains(subject, &wrapped.string.header, result);
}

// The steps that every conversion into a string takes: the host is asked whether and how much, then the
// string gets room, then a converter made for the call fills it.
#pragma once

#include <algorithm>

#include "encodings/refill.hpp"
#include "strings/storage.hpp"
#include "vqstring/encodings.h"

namespace vq {

inline bool canConvert(const VQStringService* service, uint32_t source, uint32_t target) {
  return service->nls->nlsCanConvert(service->nls, source, target, 0) == 1;
}

inline VQStatus measureConversion(const VQStringService* service, uint32_t source, const void* text,
                                  uint64_t byteCount, uint32_t target, uint64_t* size) {
  return service->nls->nlsMeasureConversion(service->nls, source, text, byteCount, target, size);
}

// Stores an empty string, without a text, when the caller has none to be filled. False without memory.
template <class Kind>
bool ensureTarget(VQStringService* service, RecordOf<Kind>** target, VQPool* pool) {
  if (*target != nullptr) return true;
  *target = allocate<RecordOf<Kind>>(pool, 1);
  if (*target == nullptr) return false;
  fillRecord<Kind>(*target, service, pool, false);
  setText<Kind>(*target, nullptr, 0, 0, false);
  return true;
}

// Passes a status on. A string that was made for the call does not outlive its failure.
template <class Kind>
VQStatus finish(VQStatus status, RecordOf<Kind>** target, bool isCreated) {
  if (status != 0 && isCreated) {
    destroy<Kind>(*target);
    *target = nullptr;
  }
  return status;
}

// What `makeConverter` gives converts the source into new room for `elementCount` elements. What it writes is
// the string's text, also when it fails: a converter may then report the size that it would need.
template <class Kind, class MakeConverter>
VQStatus convertInto(Refill<Kind>* refill, const void* source, uint64_t byteCount,
                     MakeConverter makeConverter, uint64_t* elementCount) {
  const CallTranscoder converter = CallTranscoder::own(makeConverter());
  if (!converter) return VQSTATUS_NO_CONVERTER;
  uint64_t produced = 0;
  const VQStatus status =
      converter.convert(source, byteCount, refill->text(), refill->byteCount(), &produced);
  *elementCount = std::min(produced, refill->byteCount()) / sizeof(ElementOf<Kind>);
  if (status != 0) refill->settle(*elementCount);
  return status;
}

// Fills a wide string with a text that is ASCII throughout, without that text in UTF-8. Such characters stand
// for themselves in both forms, so the host is asked for the front alone, in the steps of a conversion: what
// fails, fails there. `write` then puts all `length` elements to its argument. Where the host converts
// nothing, or not one by one, `*isFilled` stays false: the whole text is for it to convert.
template <class Write>
VQStatus fillAscii(VQString* string, VQStringService* service, const char* front, uint64_t frontLength,
                   uint64_t length, Write write, bool* isFilled) {
  *isFilled = false;
  VQNls* nls = service->nls;
  if (!canConvert(service, ENC_UTF8, ENC_WIDE)) return 0;
  uint64_t size = 0;
  if (const VQStatus status = measureConversion(service, ENC_UTF8, front, frontLength, ENC_WIDE, &size);
      status != 0) {
    return status;
  }
  if (size != frontLength * sizeof(VQChar)) return 0;
  Refill<WideKind> refill(string, length);
  if (!refill) return VQSTATUS_NO_MEMORY;
  uint64_t converted = 0;
  const VQStatus status = convertInto(
      &refill, front, frontLength, [=] { return nls->nlsCreateDecoder(nls, ENC_UTF8, 0, 0); }, &converted);
  if (status != 0) return status;
  if (converted != frontLength) return 0;
  write(refill.text());
  refill.settle(length);
  *isFilled = true;
  return 0;
}

}  // namespace vq

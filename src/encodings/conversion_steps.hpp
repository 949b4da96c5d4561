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

// The two conversions of texts that no other string holds: vqStringDecode for a wide text, and vqStringEncode
// into a string that is there.
VQStatus decodeText(VQStringService* service, const VQChar* text, uint64_t elementCount, uint32_t encoding,
                    VQNarrowString** target, VQPool* pool);
VQStatus encodeText(VQStringService* service, const void* text, uint64_t byteCount, uint32_t encoding,
                    VQString* string);

// The two conversions between UTF-8 and wide text, by what they fill.
template <class Kind>
struct Utf8Pair;
template <>
struct Utf8Pair<WideKind> {
  using Source = char;
  static constexpr uint32_t source = ENC_UTF8, target = ENC_WIDE;
  static VQTranscoder* make(VQNls* nls) { return nls->nlsCreateDecoder(nls, ENC_UTF8, 0, 0); }
};
template <>
struct Utf8Pair<NarrowKind> {
  using Source = VQChar;
  static constexpr uint32_t source = ENC_WIDE, target = ENC_UTF8;
  static VQTranscoder* make(VQNls* nls) { return nls->nlsCreateEncoder(nls, ENC_UTF8, 0, 0); }
};

// Fills a string with a text that is ASCII throughout, without the host converting all of it. Such characters
// stand for themselves in UTF-8 and in wide text, so the host is asked for the front alone, in the steps of a
// conversion: what fails, fails there. `write` then puts all `length` elements to its first argument, which
// has room for as many as the second says, or answers false when they are not ASCII after all. Then, and
// where the host converts nothing or not one by one, `*isFilled` stays false: the whole text is for the host
// to convert.
template <class Kind, class Write>
VQStatus fillAscii(RecordOf<Kind>* string, VQStringService* service,
                   const typename Utf8Pair<Kind>::Source* front, uint64_t frontLength, uint64_t length,
                   Write write, bool* isFilled) {
  using Pair = Utf8Pair<Kind>;
  const uint64_t frontBytes = frontLength * sizeof(*front);
  *isFilled = false;
  if (!canConvert(service, Pair::source, Pair::target)) return 0;
  uint64_t size = 0;
  VQStatus status = measureConversion(service, Pair::source, front, frontBytes, Pair::target, &size);
  if (status != 0) return status;
  if (size != frontLength * sizeof(ElementOf<Kind>)) return 0;
  Refill<Kind> refill(string, length);
  if (!refill) return VQSTATUS_NO_MEMORY;
  uint64_t converted = 0;
  status = convertInto(
      &refill, front, frontBytes, [=] { return Pair::make(service->nls); }, &converted);
  if (status != 0) return status;
  if (converted != frontLength || !write(refill.text(), refill.elementCount())) return 0;
  refill.settle(length);
  *isFilled = true;
  return 0;
}

}  // namespace vq

// The pass itself, and the three targets as its parameters.
#include "strings/conversion_pass.hpp"

#include "strings/capacity.hpp"
#include "strings/kinds.hpp"

namespace vq {

namespace {

// What the targets differ in.
template <class Element>
struct Pass {
  const VQStringService* service;
  VQPool* pool;
  uint32_t sourceEncoding;
  const void* source;
  uint64_t byteCount;
  uint32_t targetEncoding;
  // Elements of the temporary for a measured size in bytes; UINT64_MAX: no memory can serve it.
  uint64_t (*blockElements)(uint64_t measuredBytes);
  // The shared transcoder of this pair, or null to make one for the call.
  VQTranscoder* shared;
  VQTranscoder* (*make)(VQNls* nls, uint32_t sourceEncoding, uint32_t targetEncoding);
  // The failure when none can be made.
  VQStatus noTranscoder;
};

template <class Element>
PassedText<Element> failed(VQStatus status) {
  PassedText<Element> result;
  result.status = status;
  return result;
}

// The text as it stands, cut to whole elements.
template <class Element>
PassedText<Element> unchanged(const void* text, uint64_t byteCount) {
  PassedText<Element> result;
  result.text = static_cast<const Element*>(text);
  result.elementCount = byteCount / sizeof(Element);
  return result;
}

template <class Element>
PassedText<Element> run(const Pass<Element>& pass) {
  VQNls* nls = pass.service->nls;
  uint64_t measuredBytes = 0;
  if (const VQStatus status = nls->nlsMeasureConversion(nls, pass.sourceEncoding, pass.source, pass.byteCount,
                                                        pass.targetEncoding, &measuredBytes);
      status != 0) {
    return failed<Element>(status);
  }
  PassedText<Element> result;
  result.capacity = pass.blockElements(measuredBytes);
  result.block = PoolBlock<Element>(pass.pool, allocate<Element>(pass.pool, result.capacity));
  if (!result.block) return failed<Element>(VQSTATUS_NO_MEMORY);
  uint64_t convertedBytes = measuredBytes;
  {
    const CallTranscoder transcoder =
        pass.shared != nullptr
            ? CallTranscoder::shared(pass.shared)
            : CallTranscoder::own(pass.make(nls, pass.sourceEncoding, pass.targetEncoding));
    if (!transcoder) return failed<Element>(pass.noTranscoder);
    result.status =
        transcoder.convert(pass.source, pass.byteCount, result.block.get(), measuredBytes, &convertedBytes);
  }
  if (result.status != 0) return failed<Element>(result.status);
  result.text = result.block.get();
  result.elementCount = convertedBytes / sizeof(Element);
  return result;
}

VQTranscoder* makeDecoder(VQNls* nls, uint32_t source, uint32_t) {
  return nls->nlsCreateDecoder(nls, source, 0, 0);
}

VQTranscoder* makeTranscoder(VQNls* nls, uint32_t source, uint32_t target) {
  return nls->nlsCreateTranscoder(nls, source, target, 0, 0);
}

// 4 bytes for each measured byte and 4 more: as many elements as there are measured bytes, and one.
uint64_t wideBlockElements(uint64_t measuredBytes) {
  return measuredBytes == UINT64_MAX ? UINT64_MAX : measuredBytes + 1;
}

uint64_t narrowBlockElements(uint64_t measuredBytes) {
  return measuredBytes == UINT64_MAX ? UINT64_MAX : measuredBytes + 1;
}

}  // namespace

PassedText<VQChar> passToWide(const VQStringService* service, VQPool* pool, const void* text, int64_t length,
                              uint32_t encoding) {
  uint64_t byteCount = 0;
  if (!textByteCount(text, length, encoding, &byteCount)) return failed<VQChar>(VQSTATUS_NO_MEMORY);
  if (!canConvert(service, encoding, ENC_WIDE)) return unchanged<VQChar>(text, byteCount);
  return convertToWide(service, pool, text, byteCount, encoding);
}

PassedText<VQChar> convertToWide(const VQStringService* service, VQPool* pool, const void* text,
                                 uint64_t byteCount, uint32_t encoding) {
  return run<VQChar>({service, pool, encoding, text, byteCount, ENC_WIDE, wideBlockElements,
                      encoding == ENC_UTF8 ? service->utf8ToWide : nullptr, makeDecoder,
                      VQSTATUS_NO_CONVERTER});
}

PassedText<char> passToU8(const VQStringService* service, VQPool* pool, const void* text, int64_t length,
                          uint32_t encoding) {
  uint64_t byteCount = 0;
  if (!textByteCount(text, length, encoding, &byteCount)) return failed<char>(VQSTATUS_NO_MEMORY);
  if (byteCount == 0) return unchanged<char>(text, 0);
  const bool canPass =
      encoding == ENC_WIDE ? service->wideToUtf8 != nullptr : canConvert(service, encoding, ENC_UTF8);
  if (!canPass) return unchanged<char>(text, byteCount);
  PassedText<char> result = run<char>(
      {service, pool, encoding, text, byteCount, ENC_UTF8, capacityForTerminated,
       encoding == ENC_WIDE ? service->wideToUtf8 : nullptr, makeTranscoder, VQSTATUS_NOT_AVAILABLE});
  if (result.status == 0) result.block.get()[result.elementCount] = 0;
  return result;
}

PassedText<char> passToNarrow(const VQStringService* service, const char* text, uint64_t byteCount,
                              uint32_t sourceEncoding, uint32_t targetEncoding) {
  if (sourceEncoding == targetEncoding || !canConvert(service, sourceEncoding, targetEncoding)) {
    return unchanged<char>(text, byteCount);
  }
  return run<char>({service, service->pool, sourceEncoding, text, byteCount, targetEncoding,
                    narrowBlockElements, nullptr, makeTranscoder, VQSTATUS_NO_CONVERTER});
}

}  // namespace vq

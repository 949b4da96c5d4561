// Conversion between the kinds of string, and between strings and plain blocks.
//
// Each operation measures, takes a block of that size, and converts once, straight into what it hands out.
// vqStringEncode and vqStringDecode fill a string and make a converter for the call; the getters make a block
// and use the service's shared transcoders.
#include "encodings/conversion_steps.hpp"

using namespace vq;

namespace {

uint64_t textBytes(const VQString* string) {
  return sizeof(VQChar) * static_cast<uint64_t>(string->length);
}

// The source's bytes as they stand, cut to whole elements.
template <class Kind>
VQStatus fillUnconverted(RecordOf<Kind>* string, const void* source, uint64_t byteCount) {
  const uint64_t elementCount = byteCount / sizeof(ElementOf<Kind>);
  Refill<Kind> refill(string, elementCount);
  if (!refill) return VQSTATUS_NO_MEMORY;
  moveElements(refill.text(), static_cast<const ElementOf<Kind>*>(source), elementCount);
  refill.settle(elementCount);
  return 0;
}

// What `makeConverter` gives converts the source into a string, after the host has measured what it becomes.
template <class Kind, class MakeConverter>
VQStatus fillConverted(RecordOf<Kind>* string, const VQStringService* service, const void* source,
                       uint64_t byteCount, uint32_t sourceEncoding, uint32_t targetEncoding,
                       MakeConverter makeConverter) {
  if (!canConvert(service, sourceEncoding, targetEncoding)) {
    return fillUnconverted<Kind>(string, source, byteCount);
  }
  uint64_t size = 0;
  VQStatus status = measureConversion(service, sourceEncoding, source, byteCount, targetEncoding, &size);
  if (status != 0) return status;
  Refill<Kind> refill(string, size / sizeof(ElementOf<Kind>));
  if (!refill) return VQSTATUS_NO_MEMORY;
  uint64_t elementCount = 0;
  status = convertInto(&refill, source, byteCount, makeConverter, &elementCount);
  if (status == 0) refill.settle(elementCount);
  return status;
}

// A block of `byteCount` bytes and room for a terminator, or null.
template <class Element>
PoolBlock<Element> allocateTerminated(VQPool* pool, uint64_t byteCount) {
  uint64_t blockBytes = 0;
  if (__builtin_add_overflow(byteCount, sizeof(Element), &blockBytes)) return {};
  return {pool, static_cast<Element*>(pool->poolAlloc(pool, blockBytes, 0))};
}

// Converts into a block by a shared transcoder and terminates. `size` is what was measured and becomes what
// was written, both in bytes.
template <class Element>
VQStatus convertToBlock(VQTranscoder* shared, const void* source, uint64_t byteCount, Element* block,
                        uint64_t* size) {
  const CallTranscoder transcoder = CallTranscoder::shared(shared);
  const VQStatus status = transcoder.convert(source, byteCount, block, *size, size);
  if (status == 0) block[*size / sizeof(Element)] = 0;
  return status;
}

// The plain-block form of a text. Without a transcoder it is empty.
template <class Element>
VQStatus getBlock(const VQStringService* service, VQTranscoder* shared, uint32_t sourceEncoding,
                  const void* source, uint64_t byteCount, uint32_t targetEncoding, VQPool* pool,
                  Element** target, uint64_t* elementCount) {
  uint64_t size = 0;
  const bool isConverted = canConvert(service, sourceEncoding, targetEncoding) && shared != nullptr;
  if (isConverted) {
    const VQStatus status =
        measureConversion(service, sourceEncoding, source, byteCount, targetEncoding, &size);
    if (status != 0) return status;
  }
  *target = nullptr;
  PoolBlock<Element> block = allocateTerminated<Element>(pool, size);
  if (!block) return VQSTATUS_NO_MEMORY;
  if (isConverted) {
    const VQStatus status = convertToBlock(shared, source, byteCount, block.get(), &size);
    if (status != 0) return status;
  } else {
    block.get()[0] = 0;
  }
  *target = block.release();
  *elementCount = size / sizeof(Element);
  return 0;
}

}  // namespace

VQStatus vq::encodeText(VQStringService* service, const void* text, uint64_t byteCount, uint32_t encoding,
                        VQString* string) {
  VQNls* nls = service->nls;
  return fillConverted<WideKind>(string, service, text, byteCount, encoding, ENC_WIDE,
                                 [=] { return nls->nlsCreateDecoder(nls, encoding, 0, 0); });
}

VQStatus vq::decodeText(VQStringService* service, const VQChar* text, uint64_t elementCount,
                        uint32_t encoding, VQNarrowString** target, VQPool* pool) {
  const bool isCreated = *target == nullptr;
  if (!ensureTarget<NarrowKind>(service, target, pool)) return VQSTATUS_NO_MEMORY;
  VQNls* nls = service->nls;
  const VQStatus status =
      fillConverted<NarrowKind>(*target, service, text, sizeof(VQChar) * elementCount, ENC_WIDE, encoding,
                                [=] { return nls->nlsCreateEncoder(nls, encoding, 0, 0); });
  if (status == 0) (*target)->encoding = encoding;
  return finish<NarrowKind>(status, target, isCreated);
}

VQStatus vqStringEncode(VQStringService* service, VQString** target, VQPool* pool, const void* text,
                        int64_t length, uint32_t encoding) {
  uint64_t byteCount = 0;
  if (!textByteCount(text, length, encoding, &byteCount)) return VQSTATUS_NO_MEMORY;
  const bool isCreated = *target == nullptr;
  if (!ensureTarget<WideKind>(service, target, pool != nullptr ? pool : service->pool)) {
    return VQSTATUS_NO_MEMORY;
  }
  return finish<WideKind>(encodeText(service, text, byteCount, encoding, *target), target, isCreated);
}

VQStatus vqStringDecode(VQString* string, VQNarrowString** target, VQPool* pool, uint32_t encoding) {
  VQStringService* service = string->service;
  if (pool == nullptr) pool = string->pool != nullptr ? string->pool : service->pool;
  return decodeText(service, string->text, static_cast<uint64_t>(string->length), encoding, target, pool);
}

VQStatus vqStringGetU8String(const VQString* string, VQU8String** target, VQPool* pool) {
  if (string == nullptr) {
    *target = nullptr;
    return 0;
  }
  VQStringService* service = string->service;
  if (string->length == 0 || service->wideToUtf8 == nullptr) {
    return vqU8StringCreate(service, target, pool, nullptr, 0, false);
  }
  uint64_t size = 0;
  if (const VQStatus status =
          measureConversion(service, ENC_WIDE, string->text, textBytes(string), ENC_UTF8, &size);
      status != 0) {
    return status;
  }
  const uint64_t capacity = capacityForTerminated(size);
  PoolBlock<char> block(pool, allocate<char>(pool, capacity));
  if (!block) return VQSTATUS_NO_MEMORY;
  VQStatus status = convertToBlock(service->wideToUtf8, string->text, textBytes(string), block.get(), &size);
  if (status != 0) return status;
  VQU8String* made = nullptr;
  status = vqU8StringCreate(service, &made, pool, block.get(), static_cast<int64_t>(size), false);
  if (status != 0) return status;
  setText<U8Kind>(made, block.release(), size, capacity, true);
  *target = made;
  return 0;
}

VQStatus vqStringGetU8Bytes(const VQString* string, VQPool* pool, char** bytes, uint64_t* byteCount) {
  return getBlock(string->service, string->service->wideToUtf8, ENC_WIDE, string->text, textBytes(string),
                  ENC_UTF8, pool, bytes, byteCount);
}

VQStatus vqU8StringFromVQText(VQStringService* service, VQU8String** target, VQPool* pool, const VQChar* text,
                              int64_t length) {
  *target = nullptr;
  VQString wrapped;
  vqStringInitStatic(service, &wrapped, pool, text, length);
  char* bytes = nullptr;
  uint64_t byteCount = 0;
  if (const VQStatus status = vqStringGetU8Bytes(&wrapped, pool, &bytes, &byteCount); status != 0) {
    return status;
  }
  const VQStatus status = vqU8StringWithBytes(service, target, pool, bytes, byteCount);
  if (status != 0) pool->poolFree(pool, bytes);
  return status;
}

VQStatus vqU8StringGetVQText(const VQU8String* string, VQPool* pool, VQChar** wideText, uint64_t* count) {
  if (string->length != 0) {
    return getBlock(string->service, string->service->utf8ToWide, ENC_UTF8, string->text, string->length,
                    ENC_WIDE, pool, wideText, count);
  }
  *wideText = allocate<VQChar>(pool, 1);
  if (*wideText == nullptr) return VQSTATUS_NO_MEMORY;
  **wideText = 0;
  *count = 0;
  return 0;
}

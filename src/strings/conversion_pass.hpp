// The conversion pass: how a text in one encoding is brought into another, for every operation that takes a
// text with an encoding number.
//
// The host is asked whether it converts at all. If it does not, the text passes as it stands, its bytes read
// as the target's elements, and that is no failure. If it does, the size is measured, a temporary block
// taken, and the text converted once. The result owns the temporary; an edit may adopt it as its storage.
#pragma once

#include "frame/scopes.hpp"
#include "vqstring/service.h"

namespace vq {

// What came out of a pass.
template <class Element>
struct PassedText {
  VQStatus status = 0;
  // Borrowed from the caller, or the contents of `block`.
  const Element* text = nullptr;
  uint64_t elementCount = 0;
  // Elements that the block has room for.
  uint64_t capacity = 0;
  PoolBlock<Element> block;

  bool isConverted() const { return static_cast<bool>(block); }
};

// Whether the host converts this pair at all; it is asked for equal encodings too.
inline bool canConvert(const VQStringService* service, uint32_t sourceEncoding, uint32_t targetEncoding) {
  return service->nls->nlsCanConvert(service->nls, sourceEncoding, targetEncoding, 0) == 1;
}

// Into wide text, for the edits and comparisons of wide strings: temporaries come from `pool`. The host is
// asked for every encoding, wide text included. `text` and `length` are a text argument; -1 measures.
//
// Failures: the host's status, VQSTATUS_NO_MEMORY, VQSTATUS_NO_CONVERTER.
PassedText<VQChar> passToWide(const VQStringService* service, VQPool* pool, const void* text, int64_t length,
                              uint32_t encoding);

// The part of passToWide behind the host's yes.
PassedText<VQChar> convertToWide(const VQStringService* service, VQPool* pool, const void* text,
                                 uint64_t byteCount, uint32_t encoding);

// Into UTF-8, likewise. An empty text needs no conversion; for wide text the service's shared transcoder
// decides in the place of the host's answer. The block's capacity follows the capacity rule, and a zero byte
// follows the converted text, so that a string can adopt it.
//
// Failures: the host's status, VQSTATUS_NO_MEMORY, VQSTATUS_NOT_AVAILABLE.
PassedText<char> passToU8(const VQStringService* service, VQPool* pool, const void* text, int64_t length,
                          uint32_t encoding);

// Into the encoding of a narrow string; the temporary comes from the service's pool. Equal encodings need no
// conversion. `byteCount` is already resolved.
//
// Failures: the host's status, VQSTATUS_NO_MEMORY, VQSTATUS_NO_CONVERTER.
PassedText<char> passToNarrow(const VQStringService* service, const char* text, uint64_t byteCount,
                              uint32_t sourceEncoding, uint32_t targetEncoding);

}  // namespace vq

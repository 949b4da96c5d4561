// Strings from formats and from status texts. The kernel writes into a buffer of fixed size, so a text is
// tried in one on the stack first, and once more, exactly, on the heap when the kernel says what it needs.
#include "strings/storage.hpp"
#include "vqstring/format.h"

namespace vq {

namespace {

constexpr int64_t stackElements = 2048;
// What a retry gets on top of the size that the kernel asked for, the terminator among it.
constexpr int64_t retryHeadroom = 10;

// What is to be rendered; the list is walked once a call.
struct FormatText {
  VQFormatContext* context;
  const VQChar* format;
  int64_t formatLength;

  VQStatus render(VQChar* buffer, int64_t capacity, int64_t* length, va_list list) const {
    return vqzFormatBuffV(context, format, formatLength, buffer, capacity, length, list);
  }
};

struct StatusText {
  VQFormatContext* context;
  VQStatus code;

  VQStatus render(VQChar* buffer, int64_t capacity, int64_t* length, va_list list) const {
    return vqzStatusBuffV(context, code, buffer, capacity, length, list);
  }
};

// The second attempt, for a text that the kernel has measured.
struct Retry {
  VQStatus status = VQSTATUS_NO_MEMORY;
  PoolBlock<VQChar> block;
  int64_t length = 0;
  int64_t capacity = 0;
};

template <class Text>
Retry renderAgain(const Text& text, VQPool* pool, int64_t needed, va_list list) {
  Retry retry;
  if (needed < 0 || __builtin_add_overflow(needed, retryHeadroom, &retry.capacity)) return retry;
  retry.block = PoolBlock<VQChar>(pool, allocate<VQChar>(pool, static_cast<uint64_t>(retry.capacity)));
  if (!retry.block) return retry;
  retry.length = needed;
  retry.status = text.render(retry.block.get(), retry.capacity, &retry.length, list);
  // An answer without room for the terminator is one that is too long; there is no third attempt.
  const bool fits = retry.length >= 0 && retry.length < retry.capacity;
  if (retry.status == 0 && !fits) retry.status = VQSTATUS_RETRY_LARGER;
  return retry;
}

// A string around the block of a retry; nothing is copied.
VQStatus adopt(VQStringService* service, VQString** out, VQPool* pool, Retry retry) {
  if (retry.status != 0) return retry.status;
  auto* string = allocate<VQString>(pool, 1);
  if (string == nullptr) return VQSTATUS_NO_MEMORY;
  fillRecord<WideKind>(string, service, pool, false);
  setText<WideKind>(string, retry.block.release(), static_cast<uint64_t>(retry.length),
                    static_cast<uint64_t>(retry.capacity), true);
  string->text[retry.length] = 0;
  *out = string;
  return 0;
}

VQStatus createFrom(VQStringService* service, VQString** out, VQPool* pool, const VQChar* text,
                    int64_t length) {
  *out = vqStringCreate(service, pool, text, length, 1);
  return *out != nullptr ? 0 : VQSTATUS_NO_MEMORY;
}

VQStatus createFormatted(VQStringService* service, VQString** out, VQPool* pool, const FormatText& text,
                         va_list list, va_list again) {
  VQChar buffer[stackElements];
  int64_t length = 0;
  const VQStatus status = text.render(buffer, stackElements, &length, list);
  if (status == 0) return createFrom(service, out, pool, buffer, length);
  if (status != VQSTATUS_RETRY_LARGER) return status;
  return adopt(service, out, pool, renderAgain(text, pool, length, again));
}

// A message is measured first: it comes as often as not without any text.
VQStatus createFromStatus(VQStringService* service, VQString** out, VQPool* pool, const StatusText& text,
                          va_list list, va_list again) {
  int64_t length = 0;
  const VQStatus status = text.render(nullptr, 0, &length, list);
  if (status == 0) {
    *out = vqStringCreate(service, pool, nullptr, 0, 0);
    return *out != nullptr ? 0 : VQSTATUS_NO_MEMORY;
  }
  if (status != VQSTATUS_RETRY_LARGER) return status;
  return adopt(service, out, pool, renderAgain(text, pool, length, again));
}

VQStatus append(VQString* string, const VQChar* text, int64_t length) {
  return string->service->vqStringConcatText(string, text, length, ENC_WIDE);
}

VQStatus append(VQU8String* string, const VQChar* text, int64_t length) {
  return string->service->vqU8StringConcatText(string, text, length, ENC_WIDE);
}

template <class Record, class Text>
VQStatus appendRendered(Record* string, const Text& text, va_list list, va_list again) {
  VQChar buffer[stackElements];
  int64_t length = 0;
  const VQStatus status = text.render(buffer, stackElements, &length, list);
  if (status == 0) return append(string, buffer, length);
  if (status != VQSTATUS_RETRY_LARGER) return status;
  const Retry retry = renderAgain(text, string->pool, length, again);
  return retry.status == 0 ? append(string, retry.block.get(), retry.length) : retry.status;
}

}  // namespace

}  // namespace vq

using namespace vq;

VQStatus vqStringWithFormat(VQStringService* service, VQString** string, VQPool* pool,
                            VQFormatContext* context, const VQChar* format, int64_t formatLength, ...) {
  va_list list, again;
  va_start(list, formatLength);
  va_copy(again, list);
  const VQStatus status = createFormatted(service, string, pool != nullptr ? pool : service->pool,
                                          FormatText{context, format, formatLength}, list, again);
  va_end(again);
  va_end(list);
  return status;
}

VQStatus vqStringWithStatus(VQStringService* service, VQString** string, VQPool* pool,
                            VQFormatContext* context, VQStatus code, ...) {
  va_list list, again;
  va_start(list, code);
  va_copy(again, list);
  const VQStatus status = createFromStatus(service, string, pool != nullptr ? pool : service->pool,
                                           StatusText{context, code}, list, again);
  va_end(again);
  va_end(list);
  return status;
}

VQStatus vqStringConcatFormat(VQString* string, VQFormatContext* context, const VQChar* format,
                              int64_t formatLength, ...) {
  va_list list, again;
  va_start(list, formatLength);
  va_copy(again, list);
  const VQStatus status = appendRendered(string, FormatText{context, format, formatLength}, list, again);
  va_end(again);
  va_end(list);
  return status;
}

VQStatus vqStringConcatStatus(VQString* string, VQFormatContext* context, VQStatus code, ...) {
  va_list list, again;
  va_start(list, code);
  va_copy(again, list);
  const VQStatus status = appendRendered(string, StatusText{context, code}, list, again);
  va_end(again);
  va_end(list);
  return status;
}

VQStatus vqU8StringConcatFormat(VQU8String* string, VQFormatContext* context, const VQChar* format,
                                int64_t formatLength, ...) {
  va_list list, again;
  va_start(list, formatLength);
  va_copy(again, list);
  const VQStatus status = appendRendered(string, FormatText{context, format, formatLength}, list, again);
  va_end(again);
  va_end(list);
  return status;
}

VQStatus vqU8StringConcatStatus(VQU8String* string, VQFormatContext* context, VQStatus code, ...) {
  va_list list, again;
  va_start(list, code);
  va_copy(again, list);
  const VQStatus status = appendRendered(string, StatusText{context, code}, list, again);
  va_end(again);
  va_end(list);
  return status;
}

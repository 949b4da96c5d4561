// The doors to the kernel's format engine: which kernel serves a context, and which record it sees.
#include "frame/handle.hpp"
#include "vqstring/format.h"

namespace vq {

namespace {

VQKernel* kernelOf(const VQFormatContext* context) {
  return context != nullptr ? context->owner->kernel : Exported_VQHandle;
}

VQKernel* kernelOf(const VQFormatRecord* record) {
  return kernelOf(record != nullptr ? record->context : nullptr);
}

// The context that a message falls back to. False when the kernel keeps one and it is null at the moment.
bool currentContext(const VQKernel* kernel, VQFormatContext** context) {
  if (kernel->kernelCurrentContext == nullptr) return true;
  *context = *kernel->kernelCurrentContext;
  return *context != nullptr;
}

VQStatus format(VQKernel* kernel, VQFormatRecord* record, const VQChar* text, int64_t textLength,
                VQChar* buffer, int64_t capacity, int64_t* length, va_list list) {
  return kernel->kernelFormatBuff(kernel, record, text, textLength, buffer, capacity, length, 0, list);
}

}  // namespace

}  // namespace vq

using namespace vq;

VQStatus vqzFormatBuffV(VQFormatContext* context, const VQChar* text, int64_t textLength, VQChar* buffer,
                        int64_t capacity, int64_t* length, va_list list) {
  VQFormatRecord record = {context, 0};
  return format(kernelOf(context), &record, text, textLength, buffer, capacity, length, list);
}

VQStatus vqzFormatBuff(VQFormatContext* context, const VQChar* text, int64_t textLength, VQChar* buffer,
                       int64_t capacity, int64_t* length, ...) {
  va_list list;
  va_start(list, length);
  const VQStatus status = vqzFormatBuffV(context, text, textLength, buffer, capacity, length, list);
  va_end(list);
  return status;
}

VQStatus vqzFormat2BuffV(VQFormatRecord* record, const VQChar* text, int64_t textLength, VQChar* buffer,
                         int64_t capacity, int64_t* length, va_list list) {
  return format(kernelOf(record), record, text, textLength, buffer, capacity, length, list);
}

VQStatus vqzFormat2Buff(VQFormatRecord* record, const VQChar* text, int64_t textLength, VQChar* buffer,
                        int64_t capacity, int64_t* length, ...) {
  va_list list;
  va_start(list, length);
  const VQStatus status = vqzFormat2BuffV(record, text, textLength, buffer, capacity, length, list);
  va_end(list);
  return status;
}

VQStatus vqzStatusBuffV(VQFormatContext* context, VQStatus status, VQChar* buffer, int64_t capacity,
                        int64_t* length, va_list list) {
  // A current context lends itself to the record, not its kernel to the call.
  VQKernel* kernel = kernelOf(context);
  VQFormatRecord record = {context, 0};
  if (context == nullptr && !currentContext(kernel, &record.context)) return VQSTATUS_NOT_AVAILABLE;
  return kernel->kernelStatusBuff(kernel, &record, status, buffer, capacity, length, list);
}

VQStatus vqzStatusBuff(VQFormatContext* context, VQStatus status, VQChar* buffer, int64_t capacity,
                       int64_t* length, ...) {
  va_list list;
  va_start(list, length);
  const VQStatus result = vqzStatusBuffV(context, status, buffer, capacity, length, list);
  va_end(list);
  return result;
}

VQStatus vqzStatus2BuffV(VQFormatRecord* record, VQStatus status, VQChar* buffer, int64_t capacity,
                         int64_t* length, va_list list) {
  VQKernel* kernel = kernelOf(record);
  if (record == nullptr || record->context == nullptr) {
    VQFormatContext* context = nullptr;
    const bool isAvailable = currentContext(kernel, &context);
    if (record != nullptr) record->context = context;
    if (!isAvailable) return VQSTATUS_NOT_AVAILABLE;
  }
  return kernel->kernelStatusBuff(kernel, record, status, buffer, capacity, length, list);
}

VQStatus vqzStatus2Buff(VQFormatRecord* record, VQStatus status, VQChar* buffer, int64_t capacity,
                        int64_t* length, ...) {
  va_list list;
  va_start(list, length);
  const VQStatus result = vqzStatus2BuffV(record, status, buffer, capacity, length, list);
  va_end(list);
  return result;
}

uint64_t vqzCaptureV(VQKernel* kernel, uint64_t a, uint64_t b, va_list list) {
  return kernel->kernelCapture(kernel, a, b, list);
}

uint64_t vqzCapture(VQKernel* kernel, uint64_t a, uint64_t b, ...) {
  va_list list;
  va_start(list, b);
  const uint64_t result = vqzCaptureV(kernel, a, b, list);
  va_end(list);
  return result;
}

uint64_t vqzRender(VQFormatContext* context, uint64_t a, uint64_t b) {
  VQKernel* kernel = kernelOf(context);
  VQFormatRecord record = {context, 0};
  return kernel->kernelRender(kernel, &record, a, b);
}

uint64_t vqzRender2(VQFormatRecord* record, uint64_t a, uint64_t b) {
  VQKernel* kernel = kernelOf(record);
  return kernel->kernelRender(kernel, record, a, b);
}

uint64_t vqzRenderFmtV(VQFormatContext* context, uint64_t a, uint64_t b, uint64_t c, va_list list) {
  VQKernel* kernel = kernelOf(context);
  VQFormatRecord record = {context, 0};
  return kernel->kernelRenderFmt(kernel, &record, a, b, c, list);
}

uint64_t vqzRenderFmt(VQFormatContext* context, uint64_t a, uint64_t b, uint64_t c, ...) {
  va_list list;
  va_start(list, c);
  const uint64_t result = vqzRenderFmtV(context, a, b, c, list);
  va_end(list);
  return result;
}

uint64_t vqzRender2FmtV(VQFormatRecord* record, uint64_t a, uint64_t b, uint64_t c, va_list list) {
  VQKernel* kernel = kernelOf(record);
  return kernel->kernelRenderFmt(kernel, record, a, b, c, list);
}

uint64_t vqzRender2Fmt(VQFormatRecord* record, uint64_t a, uint64_t b, uint64_t c, ...) {
  va_list list;
  va_start(list, c);
  const uint64_t result = vqzRender2FmtV(record, a, b, c, list);
  va_end(list);
  return result;
}

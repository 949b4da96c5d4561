/* Front-ends of the kernel's format engine and of its status texts.
 *
 * The library formats nothing itself: each function here finds the kernel that serves its context, turns its
 * arguments into a va_list, and returns what the kernel's operation returns. Which conversions a format may
 * hold is the kernel's affair; the library itself uses %d, %u, %lld, %llu, %c, %02d and %03d.
 *
 * Kernels. A plain function takes a context and makes the record for the kernel itself; a function with a 2
 * in its name takes a record that the caller keeps, so that the kernel sees one record over several calls.
 * The kernel is that of the context, or the one in Exported_VQHandle when there is none. The forms that end
 * in V take a va_list, which is used up by the call.
 *
 * Buffers. A wide buffer of `capacity` elements; `length` takes the elements written. VQSTATUS_RETRY_LARGER:
 * it was too small, and `length` holds the elements needed. Nothing is terminated.
 */
#ifndef VQSTRING_FORMAT_H
#define VQSTRING_FORMAT_H

#include "base.h"
#include "host.h"

VQ_BEGIN_DECLS

/* Formats by a printf-style wide format of `formatLength` elements. `context` may be null. */
VQ_API VQStatus vqzFormatBuff(VQFormatContext* context, const VQChar* format, int64_t formatLength,
                              VQChar* buffer, int64_t capacity, int64_t* length, ...);
VQ_API VQStatus vqzFormatBuffV(VQFormatContext* context, const VQChar* format, int64_t formatLength,
                               VQChar* buffer, int64_t capacity, int64_t* length, va_list list);
/* `record` may be null, and so may its context. */
VQ_API VQStatus vqzFormat2Buff(VQFormatRecord* record, const VQChar* format, int64_t formatLength,
                               VQChar* buffer, int64_t capacity, int64_t* length, ...);
VQ_API VQStatus vqzFormat2BuffV(VQFormatRecord* record, const VQChar* format, int64_t formatLength,
                                VQChar* buffer, int64_t capacity, int64_t* length, va_list list);

/* Renders the text of `status`, with the list as its inserts. A null buffer of capacity 0 measures; a status
 * without a text gives 0 and length 0.
 *
 * A message needs a context. Without one the kernel's current context serves; VQSTATUS_NOT_AVAILABLE when the
 * kernel keeps a current context and there is none at the moment. */
VQ_API VQStatus vqzStatusBuff(VQFormatContext* context, VQStatus status, VQChar* buffer, int64_t capacity,
                              int64_t* length, ...);
VQ_API VQStatus vqzStatusBuffV(VQFormatContext* context, VQStatus status, VQChar* buffer, int64_t capacity,
                               int64_t* length, va_list list);
/* Likewise; the current context is stored in a record that has none, and stays there for the next call. Only
 * a kernel without a current context takes a null record. */
VQ_API VQStatus vqzStatus2Buff(VQFormatRecord* record, VQStatus status, VQChar* buffer, int64_t capacity,
                               int64_t* length, ...);
VQ_API VQStatus vqzStatus2BuffV(VQFormatRecord* record, VQStatus status, VQChar* buffer, int64_t capacity,
                                int64_t* length, va_list list);

/* Handed through to kernelCapture, kernelRender and kernelRenderFmt: arguments and results are the kernel's
 * own. */
VQ_API uint64_t vqzCapture(VQKernel* kernel, uint64_t a, uint64_t b, ...);
VQ_API uint64_t vqzCaptureV(VQKernel* kernel, uint64_t a, uint64_t b, va_list list);
VQ_API uint64_t vqzRender(VQFormatContext* context, uint64_t a, uint64_t b);
VQ_API uint64_t vqzRender2(VQFormatRecord* record, uint64_t a, uint64_t b);
VQ_API uint64_t vqzRenderFmt(VQFormatContext* context, uint64_t a, uint64_t b, uint64_t c, ...);
VQ_API uint64_t vqzRenderFmtV(VQFormatContext* context, uint64_t a, uint64_t b, uint64_t c, va_list list);
VQ_API uint64_t vqzRender2Fmt(VQFormatRecord* record, uint64_t a, uint64_t b, uint64_t c, ...);
VQ_API uint64_t vqzRender2FmtV(VQFormatRecord* record, uint64_t a, uint64_t b, uint64_t c, va_list list);

VQ_END_DECLS

#endif

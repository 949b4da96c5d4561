// The operations of the format engine, answered as not supported.
#include "host/format_engine.hpp"

namespace vq::host {

namespace {

uint64_t capture(VQKernel*, uint64_t, uint64_t, va_list) noexcept {
  return VQSTATUS_UNSUPPORTED;
}
VQStatus formatBuff(VQKernel*, VQFormatRecord*, const VQChar*, int64_t, VQChar*, int64_t, int64_t*, uint64_t,
                    va_list) noexcept {
  return VQSTATUS_UNSUPPORTED;
}
uint64_t render(VQKernel*, VQFormatRecord*, uint64_t, uint64_t) noexcept {
  return VQSTATUS_UNSUPPORTED;
}
uint64_t renderFmt(VQKernel*, VQFormatRecord*, uint64_t, uint64_t, uint64_t, va_list) noexcept {
  return VQSTATUS_UNSUPPORTED;
}
VQStatus statusBuff(VQKernel*, VQFormatRecord*, VQStatus, VQChar*, int64_t, int64_t*, va_list) noexcept {
  return VQSTATUS_UNSUPPORTED;
}

}  // namespace

void installFormatEngine(Kernel& kernel) {
  kernel.kernelCapture = capture;
  kernel.kernelFormatBuff = formatBuff;
  kernel.kernelRender = render;
  kernel.kernelRenderFmt = renderFmt;
  kernel.kernelStatusBuff = statusBuff;
}

}  // namespace vq::host

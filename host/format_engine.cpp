// The kernel's format operations, over the printf engine and the texts of statuses.
#include "host/format_engine.hpp"

#include "host/status_texts.hpp"
#include "host/wide_printf.hpp"

namespace vq::host {

namespace {

uint64_t capture(VQKernel*, uint64_t, uint64_t, va_list) noexcept {
  return VQSTATUS_UNSUPPORTED;
}

VQStatus formatBuff(VQKernel*, VQFormatRecord*, const VQChar* format, int64_t formatLength, VQChar* buffer,
                    int64_t capacity, int64_t* length, uint64_t, va_list list) noexcept {
  return guarded([&] {
    return formatWide(format, wideView(format, formatLength).size(), buffer, capacity, length, list);
  });
}

uint64_t render(VQKernel*, VQFormatRecord*, uint64_t, uint64_t) noexcept {
  return VQSTATUS_UNSUPPORTED;
}

uint64_t renderFmt(VQKernel*, VQFormatRecord*, uint64_t, uint64_t, uint64_t, va_list) noexcept {
  return VQSTATUS_UNSUPPORTED;
}

VQStatus statusBuff(VQKernel* kernel, VQFormatRecord* record, VQStatus status, VQChar* buffer,
                    int64_t capacity, int64_t* length, va_list list) noexcept {
  return guarded([&] {
    const VQFormatContext* context = record != nullptr ? record->context : nullptr;
    return Kernel::of(kernel).statusTexts->with(context, status, [&](std::u32string_view text) {
      return formatWide(text.data(), text.size(), buffer, capacity, length, list);
    });
  });
}

// A context of a program; the record that it points to stands behind it.
struct OwnContext : VQFormatContext {
  explicit OwnContext(Kernel& kernel) : VQFormatContext{}, ownerRecord{} {
    ownerRecord.kernel = &kernel;
    owner = &ownerRecord;
    kernel.liveObjects.add(1);
  }
  ~OwnContext() {
    Kernel& kernel = Kernel::of(ownerRecord.kernel);
    kernel.statusTexts->removeAll(this);
    kernel.liveObjects.add(-1);
  }
  OwnContext(const OwnContext&) = delete;

  VQFormatContextOwner ownerRecord;
};

}  // namespace

void installFormatEngine(Kernel& kernel) {
  kernel.statusTexts = std::make_unique<StatusTexts>();
  kernel.kernelCapture = capture;
  kernel.kernelFormatBuff = formatBuff;
  kernel.kernelRender = render;
  kernel.kernelRenderFmt = renderFmt;
  kernel.kernelStatusBuff = statusBuff;
}

}  // namespace vq::host

using namespace vq::host;

VQStatus vqhostCreateFormatContext(VQKernel* kernel, VQFormatContext** context) {
  return guarded([&] {
    *context = new OwnContext(Kernel::of(kernel));
    return VQStatus{0};
  });
}

void vqhostDestroyFormatContext(VQFormatContext* context) {
  delete static_cast<OwnContext*>(context);
}

VQStatus vqhostSetStatusText(VQKernel* kernel, VQFormatContext* context, VQStatus status, const VQChar* text,
                             int64_t length) {
  return guarded([&] {
    StatusTexts& texts = *Kernel::of(kernel).statusTexts;
    if (text == nullptr) {
      texts.remove(context, status);
    } else {
      texts.set(context, status, wideView(text, length));
    }
    return VQStatus{0};
  });
}

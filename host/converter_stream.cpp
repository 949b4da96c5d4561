// Converters for texts that come piece by piece.
#include "host/conversion.hpp"
#include "host/encodings.hpp"
#include "host/kernel.hpp"

struct VQHostConverter {
  vq::host::Kernel& kernel;
  vq::host::Conversion conversion;
};

VQStatus vqhostConverterOpen(VQKernel* handle, uint32_t sourceEncoding, uint32_t targetEncoding,
                             VQHostConverter** converter) {
  if (vq::host::encodingOf(sourceEncoding) == nullptr || vq::host::encodingOf(targetEncoding) == nullptr) {
    return VQHOST_STATUS_NO_ENCODING;
  }
  return vq::host::guarded([&]() -> VQStatus {
    auto& kernel = vq::host::Kernel::of(handle);
    std::unique_ptr<VQHostConverter> made(new VQHostConverter{kernel, {sourceEncoding, targetEncoding}});
    if (!made->conversion.isReady()) return VQHOST_STATUS_ICU;
    kernel.liveObjects.add(1);
    *converter = made.release();
    return 0;
  });
}

void vqhostConverterClose(VQHostConverter* converter) {
  if (converter == nullptr) return;
  converter->kernel.liveObjects.add(-1);
  delete converter;
}

VQStatus vqhostConverterPush(VQHostConverter* converter, const void* source, uint64_t sourceBytes,
                             uint8_t isFinal, void* target, uint64_t targetBytes, VQHostProgress* progress) {
  const vq::host::Conversion::Outcome outcome =
      converter->conversion.push(static_cast<const uint8_t*>(source), sourceBytes, isFinal != 0,
                                 static_cast<uint8_t*>(target), targetBytes);
  *progress = {outcome.consumed, outcome.written, outcome.offset, outcome.length};
  return outcome.status;
}

static_assert(VQHOST_REPLACEMENT_ROOM == vq::host::Conversion::substituteRoom);

uint64_t vqhostConverterReplace(VQHostConverter* converter, void* target, uint64_t targetBytes) {
  return converter->conversion.substitute(static_cast<uint8_t*>(target), targetBytes);
}

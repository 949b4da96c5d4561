// The transcoders that the C records stand for.
#include "host/transcoders.hpp"

#include "host/encodings.hpp"
#include "utf/transcode.hpp"

namespace vq::host {

namespace {

VQStatus convertUtf8ToWide(VQTranscoder*, const void* source, uint64_t sourceBytes, void* target,
                           uint64_t targetBytes, uint64_t* converted, uint64_t) noexcept {
  const transcode::Result result =
      transcode::utf8ToWide(static_cast<const uint8_t*>(source), sourceBytes, static_cast<VQChar*>(target),
                            targetBytes / sizeof(VQChar));
  *converted = result.written * sizeof(VQChar);
  return result.status;
}

VQStatus convertWideToUtf8(VQTranscoder*, const void* source, uint64_t sourceBytes, void* target,
                           uint64_t targetBytes, uint64_t* converted, uint64_t) noexcept {
  const transcode::Result result =
      transcode::wideToUtf8(static_cast<const VQChar*>(source), sourceBytes / sizeof(VQChar),
                            static_cast<uint8_t*>(target), targetBytes);
  *converted = result.written;
  const bool isCut = sourceBytes % sizeof(VQChar) != 0;
  return result.status == 0 && isCut ? VQSTATUS_SHORT_SEQUENCE : result.status;
}

void keep(VQTranscoder*) noexcept {}

constinit VQTranscoder utf8ToWide{keep, convertUtf8ToWide};
constinit VQTranscoder wideToUtf8{keep, convertWideToUtf8};

}  // namespace

bool conversionExists(uint32_t source, uint32_t target) noexcept {
  return source != target && encodingInfoOf(source) != nullptr && encodingInfoOf(target) != nullptr;
}

VQTranscoder* makeTranscoder(Kernel&, uint32_t source, uint32_t target) noexcept {
  if (source == ENC_UTF8 && target == ENC_WIDE) return &utf8ToWide;
  if (source == ENC_WIDE && target == ENC_UTF8) return &wideToUtf8;
  return nullptr;
}

VQStatus measureConversion(uint32_t source, const void* text, uint64_t byteCount, uint32_t target,
                           uint64_t* targetBytes) noexcept {
  if (source == ENC_UTF8 && target == ENC_WIDE) {
    *targetBytes = transcode::wideLengthOfUtf8(static_cast<const uint8_t*>(text), byteCount) * sizeof(VQChar);
    return 0;
  }
  if (source == ENC_WIDE && target == ENC_UTF8) {
    *targetBytes = transcode::utf8LengthOfWide(static_cast<const VQChar*>(text), byteCount / sizeof(VQChar));
    return 0;
  }
  return VQHOST_STATUS_NO_ENCODING;
}

}  // namespace vq::host

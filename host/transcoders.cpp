// The transcoders that the C records stand for.
#include "host/transcoders.hpp"

#include <new>

#include "host/conversion.hpp"
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

constexpr bool isUtf8ToWide(uint32_t source, uint32_t target) {
  return source == ENC_UTF8 && target == ENC_WIDE;
}
constexpr bool isWideToUtf8(uint32_t source, uint32_t target) {
  return source == ENC_WIDE && target == ENC_UTF8;
}

void keep(VQTranscoder*) noexcept {}

constinit VQTranscoder utf8ToWide{keep, convertUtf8ToWide};
constinit VQTranscoder wideToUtf8{keep, convertWideToUtf8};

// Any other pair. The converters are taken from the thread that converts, so one transcoder serves all
// threads.
struct IcuTranscoder : VQTranscoder {
  IcuTranscoder(Kernel& owner, uint32_t from, uint32_t to)
      : VQTranscoder{destroy, convert}, kernel(owner), source(from), target(to) {
    kernel.liveObjects.add(1);
  }
  ~IcuTranscoder() { kernel.liveObjects.add(-1); }

  static void destroy(VQTranscoder* transcoder) noexcept { delete static_cast<IcuTranscoder*>(transcoder); }
  static VQStatus convert(VQTranscoder* transcoder, const void* text, uint64_t byteCount, void* target,
                          uint64_t targetBytes, uint64_t* converted, uint64_t) noexcept {
    const auto& self = *static_cast<IcuTranscoder*>(transcoder);
    Conversion conversion(self.source, self.target);
    if (!conversion.isReady()) return VQHOST_STATUS_ICU;
    const Conversion::Outcome outcome = conversion.push(static_cast<const uint8_t*>(text), byteCount, true,
                                                        static_cast<uint8_t*>(target), targetBytes);
    *converted = outcome.written;
    return outcome.status;
  }

  Kernel& kernel;
  const uint32_t source;
  const uint32_t target;
};

// What ICU takes part in stays out of line, so that a short text between UTF-8 and wide pays for no frame.
[[gnu::noinline]] VQTranscoder* makeIcuTranscoder(Kernel& kernel, uint32_t source, uint32_t target) noexcept {
  return conversionExists(source, target) ? new (std::nothrow) IcuTranscoder(kernel, source, target)
                                          : nullptr;
}

// The only way to measure is to convert; the text goes to a scrap and is forgotten.
[[gnu::noinline]] VQStatus measureByIcu(uint32_t source, const void* text, uint64_t byteCount,
                                        uint32_t target, uint64_t* targetBytes) noexcept {
  if (!conversionExists(source, target)) return VQHOST_STATUS_NO_ENCODING;
  Conversion conversion(source, target);
  if (!conversion.isReady()) return VQHOST_STATUS_ICU;
  const auto* at = static_cast<const uint8_t*>(text);
  const uint8_t* end = at + byteCount;
  uint8_t scrap[4096];
  *targetBytes = 0;
  for (;;) {
    const Conversion::Outcome outcome =
        conversion.push(at, static_cast<size_t>(end - at), true, scrap, sizeof(scrap));
    at += outcome.consumed;
    *targetBytes += outcome.written;
    if (outcome.status != VQSTATUS_TARGET_FULL) return outcome.status;
  }
}

}  // namespace

bool conversionExists(uint32_t source, uint32_t target) noexcept {
  if (isUtf8ToWide(source, target) || isWideToUtf8(source, target)) [[likely]]
    return true;
  return source != target && encodingInfoOf(source) != nullptr && encodingInfoOf(target) != nullptr;
}

VQTranscoder* makeTranscoder(Kernel& kernel, uint32_t source, uint32_t target) noexcept {
  if (isUtf8ToWide(source, target)) return &utf8ToWide;
  if (isWideToUtf8(source, target)) return &wideToUtf8;
  return makeIcuTranscoder(kernel, source, target);
}

VQStatus measureConversion(uint32_t source, const void* text, uint64_t byteCount, uint32_t target,
                           uint64_t* targetBytes) noexcept {
  if (isUtf8ToWide(source, target)) {
    *targetBytes = transcode::wideLengthOfUtf8(static_cast<const uint8_t*>(text), byteCount) * sizeof(VQChar);
    return 0;
  }
  if (isWideToUtf8(source, target)) {
    *targetBytes = transcode::utf8LengthOfWide(static_cast<const VQChar*>(text), byteCount / sizeof(VQChar));
    return 0;
  }
  return measureByIcu(source, text, byteCount, target, targetBytes);
}

}  // namespace vq::host

// The two loops that drive a decoder and an encoder over a buffer, and plain copies and lengths beside them.
//
// The loops are written once, over any pair of steps. For steps of this library they are compiled with the
// steps inlined; between UTF-8 and wide text the transcoding kernels take over as far as the text is
// well-formed. The kernels are stricter than the steps, so where one stops, the steps say what follows.
#include <algorithm>

#include "text/cpu.hpp"
#include "utf/transcode.hpp"
#include "utf/transcode_tiny_avx512.hpp"
#include "utf/utf_steps.hpp"
#include "vqstring/utf.h"

using namespace vq::utf;
namespace avx512 = vq::transcode::avx512;

namespace {

// Steps as the loops call them: given by pointer, or inlined.
struct ForeignDecoder {
  VQDecodeStep step;
  Decoded operator()(const uint8_t* source, size_t byteCount) const {
    VQChar codePoint = 0;
    uint64_t consumed = 0;
    const VQStatus status = step(source, byteCount, &codePoint, &consumed);
    return {status, codePoint, consumed};
  }
};
struct ForeignEncoder {
  VQEncodeStep step;
  Encoded operator()(VQChar codePoint, uint8_t* target, size_t room) const {
    uint64_t written = 0;
    const VQStatus status = step(codePoint, target, room, &written);
    return {status, written};
  }
};
template <Decoded step(const uint8_t*, size_t)>
struct OwnDecoder {
  Decoded operator()(const uint8_t* source, size_t byteCount) const { return step(source, byteCount); }
};
template <Encoded step(VQChar, uint8_t*, size_t)>
struct OwnEncoder {
  Encoded operator()(VQChar codePoint, uint8_t* target, size_t room) const {
    return step(codePoint, target, room);
  }
};

// Hands `then` the inlined form of a step of this library, or the step itself.
template <class Then>
VQStatus withDecoder(VQDecodeStep step, Then then) {
  if (step == UTF8_UTF32) return then(OwnDecoder<decodeUtf8>{});
  if (step == UTF16_UTF32) return then(OwnDecoder<decodeUtf16<Order::highFirst>>{});
  if (step == UTF16_UTF32_SWAP) return then(OwnDecoder<decodeUtf16<Order::lowFirst>>{});
  if (step == COPY_UTF32b) return then(OwnDecoder<decodeUtf32<Order::highFirst>>{});
  if (step == COPY_UTF32b_SWAP) return then(OwnDecoder<decodeUtf32<Order::lowFirst>>{});
  return then(ForeignDecoder{step});
}
template <class Then>
VQStatus withEncoder(VQEncodeStep step, Then then) {
  if (step == UTF32_UTF8) return then(OwnEncoder<encodeUtf8>{});
  if (step == UTF16_UTF8) return then(OwnEncoder<encodeUnitAsUtf8>{});
  if (step == COPY_UTF32) return then(OwnEncoder<encodeUtf32<Order::highFirst>>{});
  if (step == COPY_UTF32_SWAP) return then(OwnEncoder<encodeUtf32<Order::lowFirst>>{});
  if (step == UTF32_UTF16) return then(OwnEncoder<encodeUnit<Order::lowFirst>>{});
  if (step == UTF32_UTF16_SWAP) return then(OwnEncoder<encodeUnit<Order::highFirst>>{});
  if (step == UTF32_UTF16s) return then(OwnEncoder<encodeUtf16<Order::lowFirst>>{});
  if (step == UTF32_UTF16s_SWAP) return then(OwnEncoder<encodeUtf16<Order::highFirst>>{});
  return then(ForeignEncoder{step});
}

template <class Then>
VQStatus withSteps(VQDecodeStep decoder, VQEncodeStep encoder, Then then) {
  return withDecoder(decoder, [&](auto decode) {
    return withEncoder(encoder, [&](auto encode) { return then(decode, encode); });
  });
}

struct Driven {
  VQStatus status;
  size_t written;
};

template <class Decoder, class Encoder>
Driven stepToUtf32(const uint8_t* source, size_t sourceBytes, uint8_t* target, size_t targetBytes,
                   Decoder decode, Encoder encode) {
  const size_t capacity = targetBytes / 4;
  size_t room = targetBytes;
  size_t count = 0;
  while (sourceBytes > 0 && count < capacity) {
    const Decoded decoded = decode(source, sourceBytes);
    if (decoded.status != 0) return {decoded.status, 4 * count};
    // A step that reports more than there was ends the source.
    const size_t consumed = std::min(decoded.consumed, sourceBytes);
    source += consumed;
    sourceBytes -= consumed;
    const Encoded encoded = encode(decoded.codePoint, target + 4 * count, room);
    if (encoded.status != 0) return {encoded.status, 4 * count};
    room -= encoded.written;
    ++count;
  }
  return {0, 4 * count};
}

template <class Decoder, class Encoder>
Driven stepFromUtf32(const uint8_t* source, size_t sourceBytes, uint8_t* target, size_t targetBytes,
                     Encoder encode, Decoder decode) {
  size_t written = 0;
  for (size_t left = sourceBytes / 4; left > 0 && written < targetBytes; --left, source += 4) {
    const Encoded encoded = encode(decode(source, 4).codePoint, target + written, targetBytes - written);
    if (encoded.status != 0) return {encoded.status, written};
    written += encoded.written;
  }
  return {0, written};
}

constexpr Order native = std::endian::native == std::endian::little ? Order::lowFirst : Order::highFirst;

bool isAligned(const uint8_t* bytes) {
  return reinterpret_cast<uintptr_t>(bytes) % alignof(VQChar) == 0;
}

void swapBytes(VQChar* text, size_t count) {
  for (size_t i = 0; i < count; ++i) text[i] = __builtin_bswap32(text[i]);
}

// How many characters the steps take where a kernel has stopped, before it is tried again.
constexpr size_t stepRun = 16;

// UTF-8 to wide text in the machine's order, from a place where a kernel has stopped.
[[gnu::noinline]] Driven resumeToWide(const uint8_t* source, size_t sourceBytes, VQChar* target,
                                      size_t capacity, size_t at, size_t count) {
  while (at < sourceBytes && count < capacity) {
    for (size_t run = stepRun; run > 0 && at < sourceBytes && count < capacity; --run) {
      const Decoded decoded = decodeUtf8(source + at, sourceBytes - at);
      if (decoded.status != 0) return {decoded.status, 4 * count};
      target[count++] = decoded.codePoint;
      at += decoded.consumed;
    }
    const auto made =
        vq::transcode::utf8ToWide(source + at, sourceBytes - at, target + count, capacity - count);
    at += made.consumed;
    count += made.written;
  }
  return {0, 4 * count};
}

inline Driven utf8ToWide(const uint8_t* source, size_t sourceBytes, VQChar* target, size_t capacity) {
  const auto made = vq::transcode::utf8ToWide(source, sourceBytes, target, capacity);
  if (made.consumed == sourceBytes) [[likely]]
    return {0, 4 * made.written};
  return resumeToWide(source, sourceBytes, target, capacity, made.consumed, made.written);
}

// Wide text in the machine's order to UTF-8, likewise.
[[gnu::noinline]] Driven resumeToUtf8(const VQChar* source, size_t count, uint8_t* target, size_t targetBytes,
                                      size_t at, size_t written) {
  while (at < count && written < targetBytes) {
    for (size_t run = stepRun; run > 0 && at < count && written < targetBytes; --run, ++at) {
      const Encoded encoded = encodeUtf8(source[at], target + written, targetBytes - written);
      if (encoded.status != 0) return {encoded.status, written};
      written += encoded.written;
    }
    const auto made =
        vq::transcode::wideToUtf8(source + at, count - at, target + written, targetBytes - written);
    at += made.consumed;
    written += made.written;
  }
  return {0, written};
}

inline Driven wideToUtf8(const VQChar* source, size_t count, uint8_t* target, size_t targetBytes) {
  const auto made = vq::transcode::wideToUtf8(source, count, target, targetBytes);
  if (made.consumed == count) [[likely]]
    return {0, made.written};
  return resumeToUtf8(source, count, target, targetBytes, made.consumed, made.written);
}

// The same from text in the other order, or not aligned: brought into place in pieces.
[[gnu::noinline]] Driven foreignWideToUtf8(const uint8_t* source, size_t count, uint8_t* target,
                                           size_t targetBytes, bool isSwapped) {
  constexpr size_t pieceElements = 512;
  VQChar piece[pieceElements];
  Driven total{0, 0};
  while (count > 0 && total.written < targetBytes) {
    const size_t taken = std::min(count, pieceElements);
    std::memcpy(piece, source, taken * sizeof *piece);
    if (isSwapped) swapBytes(piece, taken);
    const Driven made = wideToUtf8(piece, taken, target + total.written, targetBytes - total.written);
    total.written += made.written;
    total.status = made.status;
    if (made.status != 0) break;
    source += taken * sizeof *piece;
    count -= taken;
  }
  return total;
}

inline VQStatus report(const Driven& driven, uint64_t* written) {
  if (written != nullptr) *written = driven.written;
  return driven.status;
}

[[gnu::noinline]] VQStatus driveAnyToUtf32(const uint8_t* source, uint64_t sourceBytes, uint8_t* target,
                                           uint64_t targetBytes, uint64_t* written, VQDecodeStep decoder,
                                           VQEncodeStep encoder) {
  return withSteps(decoder, encoder, [&](auto decode, auto encode) {
    return report(stepToUtf32(source, sourceBytes, target, targetBytes, decode, encode), written);
  });
}

[[gnu::noinline]] VQStatus driveAnyFromUtf32(const uint8_t* source, uint64_t sourceBytes, uint8_t* target,
                                             uint64_t targetBytes, uint64_t* written, VQEncodeStep encoder,
                                             VQDecodeStep decoder) {
  return withSteps(decoder, encoder, [&](auto decode, auto encode) {
    return report(stepFromUtf32(source, sourceBytes, target, targetBytes, encode, decode), written);
  });
}

// The steps for wide text in the machine's order.
constexpr VQEncodeStep nativeEncode = native == Order::highFirst ? COPY_UTF32 : COPY_UTF32_SWAP;
constexpr VQDecodeStep nativeDecode = native == Order::highFirst ? COPY_UTF32b : COPY_UTF32b_SWAP;

[[gnu::noinline]] VQStatus driveToUtf32(const uint8_t* source, uint64_t sourceBytes, uint8_t* target,
                                        uint64_t targetBytes, uint64_t* written, VQDecodeStep decoder,
                                        VQEncodeStep encoder) {
  if (decoder == UTF8_UTF32 && (encoder == COPY_UTF32 || encoder == COPY_UTF32_SWAP) && isAligned(target)) {
    auto* wide = reinterpret_cast<VQChar*>(target);
    const Driven driven = utf8ToWide(source, sourceBytes, wide, targetBytes / 4);
    if (encoder != nativeEncode) swapBytes(wide, driven.written / 4);
    return report(driven, written);
  }
  return driveAnyToUtf32(source, sourceBytes, target, targetBytes, written, decoder, encoder);
}

[[gnu::noinline]] VQStatus driveFromUtf32(const uint8_t* source, uint64_t sourceBytes, uint8_t* target,
                                          uint64_t targetBytes, uint64_t* written, VQEncodeStep encoder,
                                          VQDecodeStep decoder) {
  if (encoder == UTF32_UTF8 && (decoder == COPY_UTF32b || decoder == COPY_UTF32b_SWAP)) {
    const bool isSwapped = decoder != nativeDecode;
    if (isSwapped || !isAligned(source)) {
      return report(foreignWideToUtf8(source, sourceBytes / 4, target, targetBytes, isSwapped), written);
    }
    return report(wideToUtf8(reinterpret_cast<const VQChar*>(source), sourceBytes / 4, target, targetBytes),
                  written);
  }
  return driveAnyFromUtf32(source, sourceBytes, target, targetBytes, written, encoder, decoder);
}

// Tiny texts between UTF-8 and wide text in the machine's order: the kernel is compiled in, and what it does
// not make whole goes on as it came, so that no frame is needed.
VQ_TARGET_AVX512 VQStatus driveTinyToWide(const uint8_t* source, uint64_t sourceBytes, uint8_t* target,
                                          uint64_t targetBytes, uint64_t* written, VQDecodeStep decoder,
                                          VQEncodeStep encoder) {
  const size_t made =
      avx512::decodeTiny(source, sourceBytes, reinterpret_cast<VQChar*>(target), targetBytes / 4);
  if (made == avx512::notMade) {
    return driveToUtf32(source, sourceBytes, target, targetBytes, written, decoder, encoder);
  }
  return report({0, 4 * made}, written);
}
VQ_TARGET_AVX512 VQStatus driveTinyToUtf8(const uint8_t* source, uint64_t sourceBytes, uint8_t* target,
                                          uint64_t targetBytes, uint64_t* written, VQEncodeStep encoder,
                                          VQDecodeStep decoder) {
  const size_t made =
      avx512::encodeTiny(reinterpret_cast<const VQChar*>(source), sourceBytes / 4, target, targetBytes);
  if (made == avx512::notMade) {
    return driveFromUtf32(source, sourceBytes, target, targetBytes, written, encoder, decoder);
  }
  return report({0, made}, written);
}

bool isTiny(uint64_t elementCount) {
  return elementCount <= avx512::mostTiny && vq::cpu::hasAvx512();
}

}  // namespace

VQStatus ConvertToUTF32(const uint8_t* source, uint64_t sourceBytes, uint8_t* target, uint64_t targetBytes,
                        uint64_t* written, VQDecodeStep decoder, VQEncodeStep encoder) {
  if (isTiny(sourceBytes) && decoder == UTF8_UTF32 && encoder == nativeEncode && isAligned(target)) {
    return driveTinyToWide(source, sourceBytes, target, targetBytes, written, decoder, encoder);
  }
  return driveToUtf32(source, sourceBytes, target, targetBytes, written, decoder, encoder);
}

VQStatus ConvertFromUTF32(const uint8_t* source, uint64_t sourceBytes, uint8_t* target, uint64_t targetBytes,
                          uint64_t* written, VQEncodeStep encoder, VQDecodeStep decoder) {
  if (isTiny(sourceBytes / 4) && encoder == UTF32_UTF8 && decoder == nativeDecode && isAligned(source)) {
    return driveTinyToUtf8(source, sourceBytes, target, targetBytes, written, encoder, decoder);
  }
  return driveFromUtf32(source, sourceBytes, target, targetBytes, written, encoder, decoder);
}

VQStatus COPY_UTF(const uint8_t* source, uint64_t sourceBytes, uint8_t* target, uint64_t targetBytes,
                  uint64_t* copied) {
  const uint64_t count = sourceBytes < targetBytes ? sourceBytes : targetBytes;
  const auto distance = reinterpret_cast<uintptr_t>(target) - reinterpret_cast<uintptr_t>(source);
  if (distance - 1 < count - 1 && count > 0) {
    // The target begins inside the source: bytes stored early are read again, as ascending order has it.
    for (uint64_t i = 0; i < count; ++i) target[i] = source[i];
  } else if (count > 0) {
    std::memmove(target, source, count);
  }
  *copied = count;
  return sourceBytes > targetBytes ? VQSTATUS_TARGET_FULL : 0;
}

uint64_t GET_UTF8_LEN_FROM_VQCHAR(const VQChar* text, uint64_t elementCount) {
  return vq::transcode::utf8LengthOfWide(text, elementCount);
}

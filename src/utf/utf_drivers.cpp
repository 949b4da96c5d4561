// The two loops that drive a decoder and an encoder over a buffer.
#include "utf/transcode.hpp"
#include "utf/utf_steps.hpp"
#include "vqstring/utf.h"

using namespace vq::utf;

namespace {

VQStatus driveToUtf32(const uint8_t* source, size_t sourceBytes, uint8_t* target, size_t targetBytes,
                      uint64_t* written, VQDecodeStep decoder, VQEncodeStep encoder) {
  const size_t capacity = targetBytes / 4;
  size_t room = targetBytes;
  size_t count = 0;
  VQStatus status = 0;
  while (sourceBytes > 0 && count < capacity) {
    VQChar codePoint = 0;
    uint64_t consumed = 0;
    status = decoder(source, sourceBytes, &codePoint, &consumed);
    if (status != 0) break;
    // A step that reports more than there was ends the source.
    if (consumed > sourceBytes) consumed = sourceBytes;
    source += consumed;
    sourceBytes -= consumed;
    uint64_t stored = 0;
    status = encoder(codePoint, target + 4 * count, room, &stored);
    if (status != 0) break;
    room -= stored;
    ++count;
  }
  if (written != nullptr) *written = 4 * count;
  return status;
}

VQStatus driveFromUtf32(const uint8_t* source, size_t sourceBytes, uint8_t* target, size_t targetBytes,
                        uint64_t* written, VQEncodeStep encoder, VQDecodeStep decoder) {
  size_t total = 0;
  VQStatus status = 0;
  for (size_t left = sourceBytes / 4; left > 0 && total < targetBytes; --left, source += 4) {
    VQChar codePoint = 0;
    uint64_t consumed = 0;
    decoder(source, 4, &codePoint, &consumed);
    uint64_t stored = 0;
    status = encoder(codePoint, target + total, targetBytes - total, &stored);
    if (status != 0) break;
    total += stored;
  }
  if (written != nullptr) *written = total;
  return status;
}

}  // namespace

VQStatus ConvertToUTF32(const uint8_t* source, uint64_t sourceBytes, uint8_t* target, uint64_t targetBytes,
                        uint64_t* written, VQDecodeStep decoder, VQEncodeStep encoder) {
  return driveToUtf32(source, sourceBytes, target, targetBytes, written, decoder, encoder);
}

VQStatus ConvertFromUTF32(const uint8_t* source, uint64_t sourceBytes, uint8_t* target, uint64_t targetBytes,
                          uint64_t* written, VQEncodeStep encoder, VQDecodeStep decoder) {
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

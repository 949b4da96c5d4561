// The exported steps: one character between UTF-8, UTF-16, UTF-32 and a code point. A caller picks a decoder
// and an encoder by source and target form; the library holds no table of them and never chooses.
#include "utf/utf_steps.hpp"

#include "utf/transcode.hpp"
#include "vqstring/utf.h"

using namespace vq::utf;

namespace {

VQStatus hand(const Decoded& decoded, VQChar* codePoint, uint64_t* consumed) {
  *codePoint = decoded.codePoint;
  *consumed = decoded.consumed;
  return decoded.status;
}

VQStatus hand(const Encoded& encoded, uint64_t* written) {
  if (encoded.hasWritten) *written = encoded.written;
  return encoded.status;
}

}  // namespace

VQStatus UTF8_UTF32(const uint8_t* source, uint64_t byteCount, VQChar* codePoint, uint64_t* consumed) {
  return hand(decodeUtf8(source, byteCount), codePoint, consumed);
}

VQStatus UTF16_UTF32(const uint8_t* source, uint64_t byteCount, VQChar* codePoint, uint64_t* consumed) {
  return hand(decodeUtf16<Order::highFirst>(source, byteCount), codePoint, consumed);
}

VQStatus UTF16_UTF32_SWAP(const uint8_t* source, uint64_t byteCount, VQChar* codePoint, uint64_t* consumed) {
  return hand(decodeUtf16<Order::lowFirst>(source, byteCount), codePoint, consumed);
}

VQStatus COPY_UTF32b(const uint8_t* source, uint64_t byteCount, VQChar* codePoint, uint64_t* consumed) {
  return hand(decodeUtf32<Order::highFirst>(source, byteCount), codePoint, consumed);
}

VQStatus COPY_UTF32b_SWAP(const uint8_t* source, uint64_t byteCount, VQChar* codePoint, uint64_t* consumed) {
  return hand(decodeUtf32<Order::lowFirst>(source, byteCount), codePoint, consumed);
}

VQStatus UTF32_UTF8(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written) {
  return hand(encodeUtf8(codePoint, target, room), written);
}

VQStatus UTF16_UTF8(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written) {
  return hand(encodeUnitAsUtf8(codePoint, target, room), written);
}

VQStatus COPY_UTF32(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written) {
  return hand(encodeUtf32<Order::highFirst>(codePoint, target, room), written);
}

VQStatus COPY_UTF32_SWAP(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written) {
  return hand(encodeUtf32<Order::lowFirst>(codePoint, target, room), written);
}

VQStatus UTF32_UTF16(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written) {
  return hand(encodeUnit<Order::lowFirst>(codePoint, target, room), written);
}

VQStatus UTF32_UTF16_SWAP(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written) {
  return hand(encodeUnit<Order::highFirst>(codePoint, target, room), written);
}

VQStatus UTF32_UTF16s(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written) {
  return hand(encodeUtf16<Order::lowFirst>(codePoint, target, room), written);
}

VQStatus UTF32_UTF16s_SWAP(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written) {
  return hand(encodeUtf16<Order::highFirst>(codePoint, target, room), written);
}

uint32_t Byte2DWord(const uint8_t* bytes) {
  return load<uint32_t, Order::lowFirst>(bytes);
}

uint32_t Byte2DWord_swap(const uint8_t* bytes) {
  return load<uint32_t, Order::highFirst>(bytes);
}

uint32_t Byte2Word(const uint8_t* bytes) {
  return load<uint16_t, Order::lowFirst>(bytes);
}

uint32_t Byte2Word_swap(const uint8_t* bytes) {
  return load<uint16_t, Order::highFirst>(bytes);
}

uint32_t BYTE_UTF16_UTF32(const uint8_t* bytes) {
  return load<uint16_t, Order::highFirst>(bytes);
}

uint32_t BYTE_UTF16_UTF32_SWAP(const uint8_t* bytes) {
  return load<uint16_t, Order::lowFirst>(bytes);
}

VQStatus UTF8_UTF16(const uint8_t* source, uint64_t byteCount, uint16_t* units, uint64_t* consumed) {
  const Decoded decoded = decodeUtf8(source, byteCount);
  *consumed = decoded.consumed;
  if (decoded.status != 0) {
    units[0] = static_cast<uint16_t>(replacement);
    return VQSTATUS_BAD_SEQUENCE;
  }
  constexpr Order native = std::endian::native == std::endian::little ? Order::lowFirst : Order::highFirst;
  encodeUtf16<native>(decoded.codePoint, reinterpret_cast<uint8_t*>(units), 2 * sizeof *units);
  return 0;
}

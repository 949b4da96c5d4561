// Chooses the form of each transcoding kernel.
#include "utf/transcode.hpp"

#include "utf/transcode_portable.hpp"

namespace vq::transcode {

Result utf8ToWide(const uint8_t* source, size_t byteCount, VQChar* target, size_t capacity) {
  return portable::utf8ToWide(source, byteCount, target, capacity);
}

Result wideToUtf8(const VQChar* source, size_t elementCount, uint8_t* target, size_t capacity) {
  return portable::wideToUtf8(source, elementCount, target, capacity);
}

Result utf8ToUtf16(const uint8_t* source, size_t byteCount, char16_t* target, size_t capacity) {
  return portable::utf8ToUtf16(source, byteCount, target, capacity);
}

Result wideToUtf16(const VQChar* source, size_t elementCount, char16_t* target, size_t capacity) {
  return portable::wideToUtf16(source, elementCount, target, capacity);
}

size_t wideLengthOfUtf8(const uint8_t* source, size_t byteCount) {
  return portable::wideLengthOfUtf8(source, byteCount);
}

size_t utf8LengthOfWide(const VQChar* source, size_t elementCount) {
  return portable::utf8LengthOfWide(source, elementCount);
}

size_t utf8LengthOfUtf16(const char16_t* source, size_t unitCount) {
  return portable::utf8LengthOfUtf16(source, unitCount);
}

size_t wideLengthOfUtf16(const char16_t* source, size_t unitCount) {
  return portable::wideLengthOfUtf16(source, unitCount);
}

}  // namespace vq::transcode

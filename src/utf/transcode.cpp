// Chooses the form of each transcoding kernel. Short texts stay with the portable form: there it wins. The
// forms with masks need no whole block and pay from a few characters on.
#include "utf/transcode.hpp"

#include "text/cpu.hpp"
#include "utf/transcode_avx2.hpp"
#include "utf/transcode_avx512.hpp"
#include "utf/transcode_portable.hpp"

namespace vq::transcode {

namespace {

bool useAvx512(size_t length, size_t shortest) {
  return length >= shortest && cpu::hasAvx512();
}

bool useAvx2(size_t length, size_t shortest) {
  return length >= shortest && cpu::hasAvx2();
}

}  // namespace

Result utf8ToWide(const uint8_t* source, size_t byteCount, VQChar* target, size_t capacity) {
  if (useAvx512(byteCount, 8)) return avx512::utf8ToWide(source, byteCount, target, capacity);
  return useAvx2(byteCount, 64) ? avx2::utf8ToWide(source, byteCount, target, capacity)
                                : portable::utf8ToWide(source, byteCount, target, capacity);
}

Result utf8ToUtf16(const uint8_t* source, size_t byteCount, char16_t* target, size_t capacity) {
  return useAvx2(byteCount, 64) ? avx2::utf8ToUtf16(source, byteCount, target, capacity)
                                : portable::utf8ToUtf16(source, byteCount, target, capacity);
}

Result wideToUtf8(const VQChar* source, size_t elementCount, uint8_t* target, size_t capacity) {
  if (useAvx512(elementCount, 4)) {
    return avx512::wideToUtf8(source, elementCount, target, capacity);
  }
  return useAvx2(elementCount, 16) ? avx2::wideToUtf8(source, elementCount, target, capacity)
                                   : portable::wideToUtf8(source, elementCount, target, capacity);
}

Result wideToUtf16(const VQChar* source, size_t elementCount, char16_t* target, size_t capacity) {
  return useAvx2(elementCount, 16) ? avx2::wideToUtf16(source, elementCount, target, capacity)
                                   : portable::wideToUtf16(source, elementCount, target, capacity);
}

size_t wideLengthOfUtf8(const uint8_t* source, size_t byteCount) {
  if (cpu::hasAvx512()) return avx512::wideLengthOfUtf8(source, byteCount);
  return useAvx2(byteCount, 128) ? avx2::wideLengthOfUtf8(source, byteCount)
                                 : portable::wideLengthOfUtf8(source, byteCount);
}

size_t utf8LengthOfWide(const VQChar* source, size_t elementCount) {
  if (cpu::hasAvx512()) return avx512::utf8LengthOfWide(source, elementCount);
  return useAvx2(elementCount, 16) ? avx2::utf8LengthOfWide(source, elementCount)
                                   : portable::utf8LengthOfWide(source, elementCount);
}

size_t utf8LengthOfUtf16(const char16_t* source, size_t unitCount) {
  return useAvx2(unitCount, 16) ? avx2::utf8LengthOfUtf16(source, unitCount)
                                : portable::utf8LengthOfUtf16(source, unitCount);
}

size_t wideLengthOfUtf16(const char16_t* source, size_t unitCount) {
  return useAvx2(unitCount, 16) ? avx2::wideLengthOfUtf16(source, unitCount)
                                : portable::wideLengthOfUtf16(source, unitCount);
}

}  // namespace vq::transcode

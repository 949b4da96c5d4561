// Delivery counts exactly what does not fit, so that a caller can come back with a buffer of that size.
#include "host/locale_text.hpp"

#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <cstring>

namespace vq::host {

VQStatus deliver(const icu::UnicodeString& text, VQChar* buffer, int64_t capacity, int64_t* length) {
  const char16_t* units = text.getBuffer();
  const int32_t unitCount = text.length();
  int64_t count = 0;
  for (int32_t i = 0; i < unitCount; ++count) {
    char32_t c = units[i++];
    if (U16_IS_LEAD(c) && i < unitCount && U16_IS_TRAIL(units[i])) {
      c = static_cast<char32_t>(U16_GET_SUPPLEMENTARY(c, units[i]));
      ++i;
    }
    if (count < capacity) buffer[count] = c;
  }
  *length = count;
  return count <= capacity ? 0 : VQSTATUS_RETRY_LARGER;
}

VQStatus deliver(const icu::UnicodeString& text, char* buffer, int64_t capacity, int64_t* length) {
  const auto room = static_cast<int32_t>(std::clamp<int64_t>(capacity, 0, INT32_MAX));
  int32_t byteCount = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8(buffer, room, &byteCount, text.getBuffer(), text.length(), &status);
  if (U_FAILURE(status) && status != U_BUFFER_OVERFLOW_ERROR) return VQSTATUS_BAD_SEQUENCE;
  *length = byteCount;
  return byteCount <= capacity ? 0 : VQSTATUS_RETRY_LARGER;
}

icu::UnicodeString fromUtf8(const char* text, int64_t byteCount) {
  const size_t size = byteCount == -1 ? std::strlen(text) : static_cast<size_t>(byteCount);
  const auto taken = static_cast<int32_t>(std::min<size_t>(size, INT32_MAX));
  icu::UnicodeString wide = icu::UnicodeString::fromUTF8(icu::StringPiece(text, taken));
  return wide.trim();
}

}  // namespace vq::host

// Delivery counts exactly what does not fit, so that a caller can come back with a buffer of that size.
#include "host/locale_text.hpp"

#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <cstring>

namespace vq::host {

VQStatus deliver(const icu::UnicodeString& text, int64_t blanks, VQChar* buffer, int64_t capacity,
                 int64_t* length) {
  const char16_t* units = text.getBuffer();
  const int32_t unitCount = text.length();
  std::fill_n(buffer, std::min(blanks, std::max<int64_t>(capacity, 0)), U' ');
  int64_t count = blanks;
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

VQStatus deliver(const icu::UnicodeString& text, int64_t blanks, char* buffer, int64_t capacity,
                 int64_t* length) {
  const char16_t* units = text.getBuffer();
  const int32_t unitCount = text.length();
  const int64_t blanksHere = std::clamp<int64_t>(blanks, 0, std::max<int64_t>(capacity, 0));
  std::fill_n(buffer, blanksHere, ' ');
  // Numbers of most places are ASCII.
  char* next = buffer + blanksHere;
  int32_t ascii = 0;
  if (capacity - blanksHere >= unitCount) {
    for (; ascii < unitCount && units[ascii] < 0x80; ++ascii) *next++ = static_cast<char>(units[ascii]);
  }
  int32_t byteCount = 0;
  if (ascii < unitCount) {
    const int64_t room = std::clamp<int64_t>(capacity - blanksHere - ascii, 0, INT32_MAX);
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(next, static_cast<int32_t>(room), &byteCount, units + ascii, unitCount - ascii, &status);
    if (U_FAILURE(status) && status != U_BUFFER_OVERFLOW_ERROR) return VQSTATUS_BAD_SEQUENCE;
  }
  *length = blanks + ascii + byteCount;
  return *length <= capacity ? 0 : VQSTATUS_RETRY_LARGER;
}

icu::UnicodeString fromUtf8(const char* text, int64_t byteCount) {
  const size_t size = byteCount == -1 ? std::strlen(text) : static_cast<size_t>(byteCount);
  const auto taken = static_cast<int32_t>(std::min<size_t>(size, INT32_MAX));
  icu::UnicodeString wide = icu::UnicodeString::fromUTF8(icu::StringPiece(text, taken));
  return wide.trim();
}

}  // namespace vq::host

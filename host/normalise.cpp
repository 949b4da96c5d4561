// Normalisation works on UTF-16 at ICU's door; the texts themselves are UTF-8 on both sides.
#include "host/normalise.hpp"

#include <unicode/unorm.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include <string>

#include "utf/transcode.hpp"

namespace vq::host {

namespace {

VQStatus toUtf16(const char* text, uint64_t byteCount, std::u16string& out) {
  if (byteCount > INT32_MAX) return VQHOST_STATUS_TEXT_TOO_LONG;
  out.resize(byteCount);
  const transcode::Result result =
      transcode::utf8ToUtf16(reinterpret_cast<const uint8_t*>(text), byteCount, out.data(), out.size());
  out.resize(result.written);
  return result.status;
}

VQStatus statusOf(UErrorCode error) {
  if (error == U_MEMORY_ALLOCATION_ERROR) return VQSTATUS_NO_MEMORY;
  return U_FAILURE(error) ? VQHOST_STATUS_ICU : 0;
}

const UNormalizer2* normaliserFor(uint32_t mode, UErrorCode* error) {
  switch (mode) {
    case VQHOST_NFC:
      return unorm2_getNFCInstance(error);
    case VQHOST_NFD:
      return unorm2_getNFDInstance(error);
    case VQHOST_NFKC:
      return unorm2_getNFKCInstance(error);
    case VQHOST_NFKD:
      return unorm2_getNFKDInstance(error);
    default:
      return nullptr;
  }
}

}  // namespace

VQStatus normalise(const char* text, uint64_t byteCount, uint32_t mode, uint32_t, char* target,
                   uint64_t capacity, uint64_t* length) {
  UErrorCode error = U_ZERO_ERROR;
  const UNormalizer2* normaliser = normaliserFor(mode, &error);
  if (const VQStatus status = statusOf(error); status != 0) return status;
  if (normaliser == nullptr) return VQSTATUS_BAD_ARGUMENT;
  std::u16string source;
  if (const VQStatus status = toUtf16(text, byteCount, source); status != 0) return status;

  // Most text is normalised already; the first try has room for that and a little more.
  std::u16string normal(source.size() + source.size() / 8 + 16, u'\0');
  for (bool isRetry = false;; isRetry = true) {
    error = U_ZERO_ERROR;
    const int32_t needed = unorm2_normalize(normaliser, source.data(), static_cast<int32_t>(source.size()),
                                            normal.data(), static_cast<int32_t>(normal.size()), &error);
    if (error == U_BUFFER_OVERFLOW_ERROR && !isRetry) {
      normal.resize(static_cast<size_t>(needed));
      continue;
    }
    if (const VQStatus status = statusOf(error); status != 0) return status;
    normal.resize(static_cast<size_t>(needed));
    break;
  }
  const uint64_t needed = transcode::utf8LengthOfUtf16(normal.data(), normal.size());
  *length = needed;
  if (needed > capacity || target == nullptr) return needed == 0 ? 0 : VQSTATUS_RETRY_LARGER;
  if (needed > INT32_MAX) return VQHOST_STATUS_TEXT_TOO_LONG;
  int32_t written = 0;
  u_strToUTF8(target, static_cast<int32_t>(needed), &written, normal.data(),
              static_cast<int32_t>(normal.size()), &error);
  return statusOf(error);
}

VQStatus compareNormalised(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes,
                           uint32_t options, int32_t* result) {
  std::u16string a;
  std::u16string b;
  if (const VQStatus status = toUtf16(first, firstBytes, a); status != 0) return status;
  if (const VQStatus status = toUtf16(second, secondBytes, b); status != 0) return status;
  uint32_t icuOptions = U_COMPARE_CODE_POINT_ORDER;
  if ((options & VQHOST_COMPARE_IGNORE_CASE) != 0) icuOptions |= U_COMPARE_IGNORE_CASE;
  UErrorCode error = U_ZERO_ERROR;
  *result = unorm_compare(a.data(), static_cast<int32_t>(a.size()), b.data(), static_cast<int32_t>(b.size()),
                          icuOptions, &error);
  return statusOf(error);
}

}  // namespace vq::host

// Unicode normalisation: only the way to the host's ICU. Nobody takes a lock on the way; the host bears two
// threads that load at the same moment.
#include "frame/handle.hpp"
#include "vqstring/host.h"
#include "vqstring/utf.h"

namespace {

// Null when ICU cannot be loaded.
VQIcu* icuOfHost() {
  VQNls* nls = Exported_VQHandle->kernelNls;
  if (nls == nullptr) return nullptr;
  VQIcu* icu = nls->nlsIcu;
  if (icu != nullptr) return icu;
  return nls->nlsLoadICU(nls, &icu, 0) == 0 ? icu : nullptr;
}

}  // namespace

VQStatus vqzsu8ICUNormalize(const char* text, uint64_t byteCount, uint32_t mode, uint32_t options,
                            char* target, uint64_t capacity, uint64_t* length) {
  VQIcu* icu = icuOfHost();
  if (icu == nullptr) return VQSTATUS_NO_MEMORY;
  return icu->normTable->icuNormalize(icu, text, byteCount, mode, options, target, capacity, length);
}

int32_t vqzsu8ICUNormCompare(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes,
                             uint32_t options, VQStatus* status) {
  int32_t result = 0;
  VQStatus answer = VQSTATUS_NO_MEMORY;
  if (VQIcu* icu = icuOfHost(); icu != nullptr) {
    answer = icu->normTable->icuNormCompare(icu, first, firstBytes, second, secondBytes, options, &result);
  }
  if (status != nullptr) *status = answer;
  return result;
}

uint32_t vqzsu8ICUNormEqual(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes,
                            uint32_t options, VQStatus* status) {
  VQStatus answer = 0;
  const int32_t result = vqzsu8ICUNormCompare(first, firstBytes, second, secondBytes, options, &answer);
  if (status != nullptr) *status = answer;
  return answer == 0 && result == 0;
}

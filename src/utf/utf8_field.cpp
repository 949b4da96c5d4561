// A text in a fixed field: cut at a whole character, the rest filled with blanks.
#include <algorithm>
#include <cstring>

#include "vqstring/utf.h"

uint64_t vqzsu8Copy(const char* source, uint64_t sourceBytes, char* target, uint64_t targetBytes) {
  if (targetBytes == 0) return 0;
  uint64_t kept = 0;
  if (source != nullptr) {
    kept = UTF8_BLENB(source, std::min(sourceBytes, targetBytes));
    std::memmove(target, source, kept);
  }
  std::memset(target + kept, ' ', targetBytes - kept);
  return kept;
}

uint64_t vqzsu8CopyText(const char* source, uint64_t sourceBytes, uint32_t, char* target,
                        uint64_t targetBytes) {
  return vqzsu8Copy(source, sourceBytes, target, targetBytes);
}

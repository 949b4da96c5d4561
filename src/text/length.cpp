// Lengths of zero-terminated texts.
#include "vqstring/text.h"

uint64_t mhStrLen(const char* text) {
  uint64_t length = 0;
  if (text != nullptr)
    while (text[length] != 0) ++length;
  return length;
}
uint64_t mhStrTLen(const VQChar* text) {
  uint64_t length = 0;
  if (text != nullptr)
    while (text[length] != 0) ++length;
  return length;
}

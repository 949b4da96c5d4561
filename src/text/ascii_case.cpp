// The case of ASCII letters among bytes; every other byte passes.
#include "vqstring/text.h"

void mhStrUp(char* buffer, uint64_t count) {
  for (uint64_t i = 0; i < count; ++i) {
    const auto c = static_cast<uint8_t>(buffer[i]);
    buffer[i] = static_cast<char>(c - (static_cast<uint8_t>(c - 'a') < 26 ? 0x20 : 0));
  }
}

void mhStrLow(char* buffer, uint64_t count) {
  for (uint64_t i = 0; i < count; ++i) {
    const auto c = static_cast<uint8_t>(buffer[i]);
    buffer[i] = static_cast<char>(c + (static_cast<uint8_t>(c - 'A') < 26 ? 0x20 : 0));
  }
}

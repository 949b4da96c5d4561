// Comparing UTF-8 by bytes, and asking about one character.
#include <algorithm>
#include <cstring>

#include "frame/handle.hpp"
#include "utf/utf8_bytes.hpp"
#include "utf/utf_steps.hpp"
#include "vqstring/host.h"
#include "vqstring/text.h"
#include "vqstring/utf.h"

namespace {

inline uint64_t wordAt(const char* at) {
  uint64_t bytes;
  std::memcpy(&bytes, at, sizeof bytes);
  return bytes;
}

// The order of 8 to 16 bytes: the first eight, then the last eight.
inline int32_t compareByWords(const char* first, const char* second, size_t byteCount) {
  const size_t last = byteCount - sizeof(uint64_t);
  uint64_t a = wordAt(first);
  uint64_t b = wordAt(second);
  if (a == b) {
    a = wordAt(first + last);
    b = wordAt(second + last);
    if (a == b) return 0;
  }
  return __builtin_bswap64(a) < __builtin_bswap64(b) ? -1 : 1;
}

inline int32_t compareBytes(const char* first, const char* second, size_t byteCount) {
  return byteCount - 8 <= 8 ? compareByWords(first, second, byteCount) : mhMemCmp(first, second, byteCount);
}

__attribute__((noinline)) int32_t compareUnequalLengths(const char* first, uint64_t firstBytes,
                                                        const char* second, uint64_t secondBytes) {
  const int32_t order = compareBytes(first, second, std::min(firstBytes, secondBytes));
  if (order != 0) return order;
  return firstBytes < secondBytes ? -1 : 1;
}

}  // namespace

int32_t vqzsu8Compare(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes) {
  // Equal lengths leave nothing to do behind the call: it is the last one, and no register is saved.
  if (firstBytes == secondBytes) return compareBytes(first, second, firstBytes);
  return compareUnequalLengths(first, firstBytes, second, secondBytes);
}

int32_t vqzsu8CompareText(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes,
                          uint32_t) {
  return vqzsu8Compare(first, firstBytes, second, secondBytes);
}

namespace {

VQChar characterAt(const char* character) {
  const uint8_t* bytes = vq::utf8::bytesOf(character);
  return vq::utf::decodeUtf8(bytes, vq::utf8::announcedLength(bytes[0])).codePoint;
}

}  // namespace

uint32_t _VQZSU8IsFunct(const char* character, uint32_t (*predicate)(VQChar)) {
  return predicate(characterAt(character));
}

uint32_t vqzsu8IsCombining(const char* character) {
  constexpr VQChar zeroWidthNonJoiner = 0x200C;
  constexpr VQChar zeroWidthJoiner = 0x200D;
  constexpr uint32_t marks = 0x38;  // Mn, Mc, Me
  const VQChar c = characterAt(character);
  if (c == zeroWidthNonJoiner || c == zeroWidthJoiner) return 1;
  VQNls* nls = Exported_VQHandle->kernelNls;
  return nls == nullptr ? 0 : nls->nlsClassify(nls, c, marks);
}

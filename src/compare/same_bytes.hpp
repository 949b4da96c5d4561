// Whether two runs hold the same bytes, and nothing else about them.
#pragma once

#include <cstdint>
#include <cstring>

namespace vq::matching {

template <class Block>
[[gnu::always_inline]] inline Block differenceAt(const char* first, const char* second, uint64_t offset) {
  Block a, b;
  std::memcpy(&a, first + offset, sizeof a);
  std::memcpy(&b, second + offset, sizeof b);
  return a ^ b;
}

inline constexpr uint64_t shortBytes = 64;

// Up to 64 bytes in a few blocks that overlap: most texts are so short that calling memcmp costs as much as
// the comparison.
inline bool sameShortBytes(const char* first, const char* second, uint64_t byteCount) {
  using Vector = uint64_t __attribute__((vector_size(16)));
  if (byteCount >= sizeof(Vector)) {
    const uint64_t last = byteCount - sizeof(Vector);
    const uint64_t step = last < sizeof(Vector) ? last : sizeof(Vector);
    const Vector difference =
        differenceAt<Vector>(first, second, 0) | differenceAt<Vector>(first, second, step) |
        differenceAt<Vector>(first, second, last - step) | differenceAt<Vector>(first, second, last);
    return (difference[0] | difference[1]) == 0;
  }
  if (byteCount >= 8) {
    return (differenceAt<uint64_t>(first, second, 0) |
            differenceAt<uint64_t>(first, second, byteCount - 8)) == 0;
  }
  if (byteCount >= 4) {
    return (differenceAt<uint32_t>(first, second, 0) |
            differenceAt<uint32_t>(first, second, byteCount - 4)) == 0;
  }
  uint64_t at = 0;
  while (at < byteCount && first[at] == second[at]) ++at;
  return at == byteCount;
}

// More than 64 bytes. Answers as the callers do, so that they call it last.
bool sameLongBytes(const char* first, const char* second, uint64_t byteCount);

inline bool sameBytes(const void* first, const void* second, uint64_t byteCount) {
  const auto* a = static_cast<const char*>(first);
  const auto* b = static_cast<const char*>(second);
  return byteCount <= shortBytes ? sameShortBytes(a, b, byteCount) : sameLongBytes(a, b, byteCount);
}

}  // namespace vq::matching

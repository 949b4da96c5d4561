// Moving runs of elements: what the strings do most.
//
// Most runs are short, and for them the call into libc costs more than the move. A short run is loaded whole
// by two overlapping chunks and then stored, so that source and target may overlap too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vq {

template <class Element>
void copyElements(Element* target, const Element* source, uint64_t count) {
  if (count != 0) std::memcpy(target, source, count * sizeof(Element));
}

template <class Element>
void moveElements(Element* target, const Element* source, uint64_t count) {
  if (count != 0) std::memmove(target, source, count * sizeof(Element));
}

// From sizeof(Chunk) to twice as many bytes.
template <class Chunk>
inline void moveByEnds(char* target, const char* source, size_t byteCount) {
  Chunk front, back;
  std::memcpy(&front, source, sizeof(Chunk));
  std::memcpy(&back, source + byteCount - sizeof(Chunk), sizeof(Chunk));
  std::memcpy(target, &front, sizeof(Chunk));
  std::memcpy(target + byteCount - sizeof(Chunk), &back, sizeof(Chunk));
}

// As moveElements, without a call for up to 64 bytes.
template <class Element>
inline void moveMostlyShort(Element* targetElements, const Element* sourceElements, uint64_t count) {
  using Vector16 [[gnu::vector_size(16)]] = char;
  using Vector32 [[gnu::vector_size(32)]] = char;
  auto* target = reinterpret_cast<char*>(targetElements);
  const auto* source = reinterpret_cast<const char*>(sourceElements);
  const size_t byteCount = count * sizeof(Element);
  if (byteCount > 64) {
    std::memmove(target, source, byteCount);
  } else if (byteCount >= 32) {
    moveByEnds<Vector32>(target, source, byteCount);
  } else if (byteCount >= 16) {
    moveByEnds<Vector16>(target, source, byteCount);
  } else if (byteCount >= 8) {
    moveByEnds<uint64_t>(target, source, byteCount);
  } else if (byteCount >= 4) {
    moveByEnds<uint32_t>(target, source, byteCount);
  } else if (byteCount >= 2) {
    moveByEnds<uint16_t>(target, source, byteCount);
  } else if (byteCount == 1) {
    *target = *source;
  }
}

}  // namespace vq

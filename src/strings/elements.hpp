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
template <class Chunk, class Element>
inline void moveByEnds(Element* target, const Element* source, uint64_t count) {
  auto* const targetEnd = reinterpret_cast<char*>(target + count);
  const auto* const sourceEnd = reinterpret_cast<const char*>(source + count);
  Chunk front, back;
  std::memcpy(&front, source, sizeof(Chunk));
  std::memcpy(&back, sourceEnd - sizeof(Chunk), sizeof(Chunk));
  std::memcpy(target, &front, sizeof(Chunk));
  std::memcpy(targetEnd - sizeof(Chunk), &back, sizeof(Chunk));
}

using Vector16 [[gnu::vector_size(16)]] = char;

// From 32 to 64 bytes. Four variables, since a wider one would take the way over the stack.
template <class Element>
inline void moveUpTo64(Element* target, const Element* source, uint64_t count) {
  auto* const targetEnd = reinterpret_cast<char*>(target + count);
  const auto* const sourceEnd = reinterpret_cast<const char*>(source + count);
  Vector16 first, second, third, last;
  std::memcpy(&first, source, 16);
  std::memcpy(&second, reinterpret_cast<const char*>(source) + 16, 16);
  std::memcpy(&third, sourceEnd - 32, 16);
  std::memcpy(&last, sourceEnd - 16, 16);
  std::memcpy(target, &first, 16);
  std::memcpy(reinterpret_cast<char*>(target) + 16, &second, 16);
  std::memcpy(targetEnd - 32, &third, 16);
  std::memcpy(targetEnd - 16, &last, 16);
}

// What moveShort moves.
inline constexpr uint64_t shortBytes = 64;

// As moveElements, for a count that is known to make no more than shortBytes.
template <class Element>
inline void moveShort(Element* target, const Element* source, uint64_t count) {
  constexpr uint64_t size = sizeof(Element);
  if (count >= 32 / size) [[likely]] {
    moveUpTo64(target, source, count);
  } else if (count >= 16 / size) {
    moveByEnds<Vector16>(target, source, count);
  } else if (count >= 8 / size) {
    moveByEnds<uint64_t>(target, source, count);
  } else if (size == 1 && count >= 4) {
    moveByEnds<uint32_t>(target, source, count);
  } else if (size == 1 && count >= 2) {
    moveByEnds<uint16_t>(target, source, count);
  } else if (count == 1) {
    *target = *source;
  }
}

// As moveElements, without a call for a short run.
template <class Element>
inline void moveMostlyShort(Element* target, const Element* source, uint64_t count) {
  if (count > shortBytes / sizeof(Element)) {
    std::memmove(target, source, count * sizeof(Element));
  } else {
    moveShort(target, source, count);
  }
}

}  // namespace vq

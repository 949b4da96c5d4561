// What the blocks of a pool have in front of them, for the two halves of the allocator.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "host/pool.hpp"

namespace vq::host {

// A block that is in use carries its pool's number, a large one the number's complement; the free ones carry
// none and are linked through the payload. Only small blocks have a class.
struct alignas(16) Pool::Header {
  uint32_t sizeClass;
  uint32_t reserved;
  uint64_t owner;

  void* payload() { return this + 1; }
  static Header* of(void* payload) { return static_cast<Header*>(payload) - 1; }
  Header*& next() { return *static_cast<Header**>(payload()); }
};

struct alignas(16) Pool::LargeBlock {
  LargeBlock* previous;
  LargeBlock* next;
  uint64_t byteCount;
  // What the caller wants of it.
  uint64_t asked;
  Header header;

  static LargeBlock* of(Header* header) {
    return reinterpret_cast<LargeBlock*>(reinterpret_cast<char*>(header) - offsetof(LargeBlock, header));
  }
};

// Under a sanitizer every block is malloc's own, so that it is watched.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool isWatched = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool isWatched = true;
#else
inline constexpr bool isWatched = false;
#endif
#else
inline constexpr bool isWatched = false;
#endif

// What a block that grows from `present` bytes is given. Who grows one once mostly does it again and by
// little: a multiple of the old size makes many growths few moves (appending up to a mebi of elements takes a
// third of the time of exact growth), and pages that nobody touches cost nothing. Below a page a move costs
// more than the room. A watched block gets what was asked, or the sanitizer would not see an access behind
// it.
inline uint64_t withSlack(uint64_t byteCount, uint64_t present) {
  constexpr uint64_t page = 4096;
  return isWatched ? byteCount : std::max(byteCount, present * (present <= page ? 4 : 2));
}

}  // namespace vq::host

// What the targets share: exact copies of pieces of an input, so that the sanitizer sees a read past either
// end, and the check that traps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "text/cpu.hpp"

namespace fuzz {

inline void expect(bool holds) {
  if (!holds) __builtin_trap();
}

// Bytes on the heap, with nothing behind them.
class Piece {
 public:
  Piece(const uint8_t* data, size_t size) : size_(size), bytes_(new uint8_t[size]) {
    if (size > 0) std::memcpy(bytes_.get(), data, size);
  }
  const uint8_t* data() const { return bytes_.get(); }
  const char* text() const { return reinterpret_cast<const char*>(bytes_.get()); }
  size_t size() const { return size_; }

 private:
  size_t size_;
  std::unique_ptr<uint8_t[]> bytes_;
};

// Runs `body` on the portable forms and on those that the processor has.
template <class Body>
void underEveryLevel(Body body) {
  for (const auto level : {vq::cpu::Level::portable, vq::cpu::Level::avx2, vq::cpu::Level::avx512}) {
    if (level > vq::cpu::detect()) break;
    vq::cpu::level = level;
    body();
  }
}

}  // namespace fuzz

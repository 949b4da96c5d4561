// What the format engine is made of: where the text goes, and one conversion as it is read from the format.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <string_view>

#include "vqstring/base.h"

namespace vq::host {

// A wide buffer that counts what it has no room for. Once full it stays full.
class WideOutput {
 public:
  WideOutput(VQChar* buffer, uint64_t capacity) : start_(buffer), next_(buffer), end_(buffer + capacity) {}

  uint64_t room() const { return static_cast<uint64_t>(end_ - next_); }
  uint64_t length() const { return static_cast<uint64_t>(next_ - start_) + beyond_; }
  bool isFull() const { return beyond_ != 0; }

  void put(VQChar c) {
    if (next_ != end_) {
      *next_++ = c;
    } else {
      ++beyond_;
    }
  }
  void fill(VQChar c, uint64_t count) {
    const uint64_t here = std::min(count, room());
    next_ = std::fill_n(next_, here, c);
    beyond_ += count - here;
  }
  // Bytes that are ASCII, or elements.
  template <class Element>
  void append(const Element* text, uint64_t count) {
    const uint64_t here = std::min(count, room());
    for (uint64_t i = 0; i < here; ++i) next_[i] = static_cast<VQChar>(text[i]);
    next_ += here;
    beyond_ += count - here;
  }
  void append(std::string_view ascii) { append(ascii.data(), ascii.size()); }

  // Room for `count` elements, which the caller fills; null when there is not that much.
  VQChar* take(uint64_t count) {
    if (room() < count) return nullptr;
    VQChar* here = next_;
    next_ += count;
    return here;
  }
  // For who writes by other means: where to, and how many elements came of it.
  VQChar* next() const { return next_; }
  void advance(uint64_t written, uint64_t withoutRoom) {
    next_ += written;
    beyond_ += withoutRoom;
  }

 private:
  VQChar* start_;
  VQChar* next_;
  VQChar* end_;
  uint64_t beyond_ = 0;
};

enum class ArgumentSize : uint8_t { plain, hh, h, l, ll, j, z, t, L };

// One conversion: %[flags][width][.precision][size]letter.
struct Conversion {
  bool isLeft = false;
  bool hasPlus = false;
  bool hasBlank = false;
  bool isAlternate = false;
  bool hasZeros = false;
  ArgumentSize size = ArgumentSize::plain;
  char letter = 0;
  int64_t width = 0;
  int64_t precision = -1;  // none

  // What stands in front of a number that is not negative: a sign, or nothing (0).
  char signFor(bool isNegative) const {
    if (isNegative) return '-';
    return hasPlus ? '+' : hasBlank ? ' ' : '\0';
  }
};

// A number in pieces, which the width holds together: blanks, sign, prefix, zeros, digits, blanks.
struct NumberPieces {
  char sign = 0;
  std::string_view prefix = {};
  uint64_t zeros = 0;  // that the precision asks for
  std::string_view digits = {};
  // Zeros inside or behind the digits that nobody wrote out, and what follows them.
  uint64_t innerZeros = 0;
  std::string_view tail = {};
  // Whether the flag 0 may fill the width.
  bool takesZeros = true;
};

void putNumber(WideOutput& out, const Conversion& conversion, NumberPieces pieces);

// The list is used up as the conversions ask for it.
struct Arguments {
  va_list list;
};

// Two decimal digits at a time.
struct DigitPair {
  VQChar tens, ones;
};
struct DigitPairs {
  DigitPair pairs[100];
  constexpr DigitPairs() : pairs{} {
    for (uint32_t i = 0; i < 100; ++i) pairs[i] = {U'0' + i / 10, U'0' + i % 10};
  }
};
inline constexpr DigitPairs digitPairs;

// The usual conversions of numbers: decimal, filled up to the width from the left.
void putDecimal(WideOutput& out, uint64_t magnitude, char sign, uint64_t width, VQChar filler);

void putInteger(WideOutput& out, const Conversion& conversion, Arguments& arguments);
void putFloat(WideOutput& out, const Conversion& conversion, Arguments& arguments);

}  // namespace vq::host

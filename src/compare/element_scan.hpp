// The first element of a run that is one of a few: what every search for a delimiter begins with.
#pragma once

#include <cstdint>

#include "vqstring/base.h"

namespace vq::tokens {

// The first position in [from, end) whose element is among the `count` elements of `set`, or `end`.
const VQChar* findAny(const VQChar* from, const VQChar* end, const VQChar* set, uint64_t count);
const char* findAny(const char* from, const char* end, const char* set, uint64_t count);

// Elements to look for, collected at the start of a call. A few are compared for as they are; of more, only
// the low 8 bits are looked at, so that an answer is a candidate that the caller verifies.
template <class Element>
class Candidates {
 public:
  void add(Element element) {
    if (count_ < fewLimit) few_[count_] = element;
    ++count_;
    const auto low = static_cast<uint8_t>(element);
    lowBits_[low >> 6] |= uint64_t{1} << (low & 63);
  }

  const Element* next(const Element* from, const Element* end) const {
    if (count_ <= fewLimit) return findAny(from, end, few_, count_);
    while (from != end && !mayHold(*from)) ++from;
    return from;
  }

 private:
  // One comparison for each of so many costs as much as a look-up of the low bits.
  static constexpr uint64_t fewLimit = 8;

  bool mayHold(Element element) const {
    const auto low = static_cast<uint8_t>(element);
    return (lowBits_[low >> 6] >> (low & 63)) & 1;
  }

  uint64_t lowBits_[4] = {};
  uint64_t count_ = 0;
  Element few_[fewLimit] = {};
};

}  // namespace vq::tokens

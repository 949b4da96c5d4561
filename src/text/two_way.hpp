// The search that stays linear on any needle: two-way string matching (Crochemore and Perrin, 1991), without
// memory of its own.
//
// The needle is cut at a critical place, where the repetition around the cut is as long as the needle's
// period. Its right part is compared first; a mismatch there moves on by the elements compared, a mismatch in
// the left part by the period. For a needle that repeats from its start, what is known to match after a move
// is not compared again.
#pragma once

#include "text/scan.hpp"
#include "vqstring/base.h"

namespace vq::text {

struct Cut {
  uint64_t place, period;
};

// The greatest suffix in the order of the elements, or in the opposite order: where it begins, and its
// period.
template <bool isReversed, class Element>
Cut greatestSuffix(const Element* needle, uint64_t length) {
  // Positions of candidates are one ahead of the suffix they stand for, so that none is negative.
  uint64_t best = 0, candidate = 1, matched = 0, period = 1;
  while (candidate + matched < length) {
    const Element a = needle[candidate + matched];
    const Element b = needle[best + matched];
    if (a == b) {
      if (++matched == period) {
        candidate += period;
        matched = 0;
      }
    } else if (isReversed ? a > b : a < b) {
      candidate += matched + 1;
      matched = 0;
      period = candidate - best;
    } else {
      best = candidate++;
      matched = 0;
      period = 1;
    }
  }
  return {best, period};
}

template <class Element>
int64_t findTwoWay(const Element* text, uint64_t length, const Element* needle, uint64_t needleLength) {
  const Cut forward = greatestSuffix<false>(needle, needleLength);
  const Cut reversed = greatestSuffix<true>(needle, needleLength);
  const Cut cut = forward.place > reversed.place ? forward : reversed;
  const bool isPeriodic = firstDifference(needle, needle + cut.period, cut.place) == cut.place;
  const uint64_t left = cut.place;
  const uint64_t move =
      isPeriodic ? cut.period : (left > needleLength - left ? left : needleLength - left) + 1;
  uint64_t known = 0;  // elements at the window's start that are known to match
  for (uint64_t at = 0; at + needleLength <= length;) {
    uint64_t i = left > known ? left : known;
    while (i < needleLength && needle[i] == text[at + i]) ++i;
    if (i < needleLength) {
      at += i - left + 1;
      known = 0;
      continue;
    }
    i = left;
    while (i > known && needle[i - 1] == text[at + i - 1]) --i;
    if (i <= known) return static_cast<int64_t>(at);
    at += move;
    known = isPeriodic ? needleLength - move : 0;
  }
  return -1;
}

}  // namespace vq::text

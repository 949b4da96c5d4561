// The search behind search.hpp.
//
// Places where the first element matches are candidates, and of these the ones where the last one does as
// well; a candidate is compared in full. While first elements are rare, their scan is all the work there is;
// once many have come to nothing, both ends are compared at every place. Comparing in full is paid from a
// budget that grows with the text passed; a needle that spends it, as one letter a thousand times over can,
// goes on by the search that is linear for certain.
#include "text/search.hpp"

#include "text/blocks.hpp"
#include "text/scan.hpp"
#include "text/two_way.hpp"
#include "text/wide_blocks.hpp"

namespace vq::text {

namespace {

template <class Element>
class Search {
 public:
  Search(const Element* text, uint64_t length, const Element* needle, uint64_t needleLength)
      : text_(text),
        needle_(needle),
        length_(length),
        needleLength_(needleLength),
        last_(needleLength - 1),
        limit_(length - needleLength + 1) {}

  // Each form answers the place, or -1.
  int64_t plain() { return conclude(plainFrom(0)); }
  VQ_INLINE_AVX2 int64_t byBlocks() {
    if (limit_ < lanes) return plain();
    return conclude(limit_ < step ? tryFewBlocks() : trySteps());
  }
  template <bool isNeedleShort>
  VQ_INLINE_AVX512 int64_t byWideBlocks() {
    return conclude(tryWideSteps<isNeedleShort>());
  }

 private:
  static constexpr uint64_t lanes = blockBytes / sizeof(Element);
  static constexpr uint64_t step = 4 * lanes;
  // Elements compared in full for each element passed, and what every search may spend beside that. Higher
  // and a hostile needle costs more, lower and a text of near misses leaves the vector code too early.
  static constexpr uint64_t spendingRate = 4;
  static constexpr uint64_t allowance = 4096;
  // The scan for first elements is left once more than one step in eight, and some at the start, came to
  // nothing: by then the branches cost more than a second comparison at every place.
  static constexpr uint64_t missesAtStart = 4;
  static constexpr uint64_t elementsPerMiss = 8 * step;

  VQ_INLINE int64_t conclude(uint64_t at) const {
    if (at != none || !isSpent_) return static_cast<int64_t>(at);
    const int64_t rest = findTwoWay(text_ + spentAt_, length_ - spentAt_, needle_, needleLength_);
    return rest < 0 ? -1 : rest + static_cast<int64_t>(spentAt_);
  }

  // Notes a comparison at a candidate that came to nothing after `same` elements.
  VQ_INLINE void spend(uint64_t same, uint64_t at) {
    spent_ += same;
    if (spent_ > allowance + spendingRate * at) {
      isSpent_ = true;
      spentAt_ = at + 1;
    }
  }

  static bool isTooMuch(uint64_t misses, uint64_t at) {
    return misses > missesAtStart + at / elementsPerMiss;
  }

  // Compares what lies between the ends, at a place where both match. Short needles are not worth a call.
  VQ_INLINE bool matches(uint64_t at) {
    constexpr uint64_t fewElements = 8;
    const Element* const text = text_ + at + 1;
    const Element* const needle = needle_ + 1;
    const uint64_t between = last_ - 1;
    uint64_t same = 0;
    if (between <= fewElements) {
      while (same < between && text[same] == needle[same]) ++same;
    } else {
      same = firstDifference(text, needle, between);
    }
    if (same == between) return true;
    spend(same, at);
    return false;
  }

  VQ_INLINE uint64_t plainFrom(uint64_t at) {
    for (; at < limit_; ++at) {
      if (text_[at] != needle_[0] || text_[at + last_] != needle_[last_]) continue;
      if (matches(at)) return at;
      if (isSpent_) return none;
    }
    return none;
  }

  // Tries the candidates of a mask, whose bits stand for bytes.
  VQ_INLINE uint64_t tryAll(uint64_t mask, uint64_t at) {
    constexpr uint64_t element = sizeof(Element) == 1 ? 1 : 0xf;
    while (mask != 0) {
      const auto bit = static_cast<uint64_t>(std::countr_zero(mask));
      const uint64_t candidate = at + bit / sizeof(Element);
      if (matches(candidate)) return candidate;
      if (isSpent_) return none;
      mask &= ~(element << bit);
    }
    return none;
  }

  VQ_INLINE_AVX2 __m256i endsMatch(const Element* at, __m256i first, __m256i last) const {
    return _mm256_and_si256(equalElements<Element>(loadBlock(at), first),
                            equalElements<Element>(loadBlock(at + last_), last));
  }

  // Four blocks at once; `none` with isSpent_ unset means to go on.
  VQ_INLINE_AVX2 uint64_t tryStep(const Element* at, __m256i first, __m256i last) {
    const __m256i a = endsMatch(at, first, last), b = endsMatch(at + lanes, first, last);
    const __m256i c = endsMatch(at + 2 * lanes, first, last), d = endsMatch(at + 3 * lanes, first, last);
    if (maskOf(anyOf(a, b, c, d)) == 0) [[likely]]
      return none;
    const auto place = static_cast<uint64_t>(at - text_);
    if (const uint64_t low = maskOf(a) | uint64_t{maskOf(b)} << 32) {
      const uint64_t found = tryAll(low, place);
      if (found != none || isSpent_) return found;
    }
    return tryAll(maskOf(c) | uint64_t{maskOf(d)} << 32, place + 2 * lanes);
  }

  VQ_INLINE_AVX2 static bool hasFirst(const Element* at, __m256i first) {
    return maskOf(anyOf(equalElements<Element>(loadBlock(at), first),
                        equalElements<Element>(loadBlock(at + lanes), first),
                        equalElements<Element>(loadBlock(at + 2 * lanes), first),
                        equalElements<Element>(loadBlock(at + 3 * lanes), first))) != 0;
  }

  // For at least a step.
  VQ_INLINE_AVX2 uint64_t trySteps() {
    const __m256i first = splat(needle_[0]), last = splat(needle_[last_]);
    const Element* at = text_;
    const Element* const end = text_ + limit_ - step;  // where the last step stands, over places tried before
    for (uint64_t misses = 0; at < end; at += step) {
      if (!hasFirst(at, first)) [[likely]]
        continue;
      const uint64_t found = tryStep(at, first, last);
      if (found != none || isSpent_) return found;
      if (isTooMuch(++misses, static_cast<uint64_t>(at - text_))) break;
    }
    for (; at < end; at += step) {
      const uint64_t found = tryStep(at, first, last);
      if (found != none || isSpent_) [[unlikely]]
        return found;
    }
    return hasFirst(end, first) ? tryStep(end, first, last) : none;
  }

  // Fewer places than a step has, at least a block of them.
  VQ_INLINE_AVX2 uint64_t tryFewBlocks() {
    const __m256i first = splat(needle_[0]), last = splat(needle_[last_]);
    for (uint64_t at = 0;; at += lanes) {
      // The last block reaches back over places that have been tried.
      const bool isLast = at + lanes >= limit_;
      if (isLast) at = limit_ - lanes;
      const uint64_t found = tryAll(maskOf(endsMatch(text_ + at, first, last)), at);
      if (found != none || isSpent_ || isLast) return found;
    }
  }

  static constexpr uint64_t wideBlock = wideLanes<Element>;
  static constexpr uint64_t wideStep = 4 * wideBlock;

  VQ_INLINE_AVX512 static bool hasFirst(const Element* at, __m512i first) {
    return hasEqual<Element>(loadWide(at), loadWide(at + wideBlock), loadWide(at + 2 * wideBlock),
                             loadWide(at + 3 * wideBlock), first);
  }

  VQ_INLINE_AVX512 uint64_t endsMatch(const Element* at, __m512i first, __m512i last) const {
    return equalLanes<Element>(equalLanes<Element>(loadWide(at), first), loadWide(at + last_), last);
  }
  VQ_INLINE_AVX512 bool hasEnds(const Element* at, __m512i first, __m512i last) const {
    return (endsMatch(at, first, last) | endsMatch(at + wideBlock, first, last) |
            endsMatch(at + 2 * wideBlock, first, last) | endsMatch(at + 3 * wideBlock, first, last)) != 0;
  }

  // The candidates among 64 places, or fewer by `run`, in one mask: without a branch to each block.
  VQ_INLINE_AVX512 uint64_t candidatesIn(uint64_t run, const Element* at, __m512i first, __m512i last) const {
    uint64_t candidates = 0;
#pragma GCC unroll 4
    for (uint64_t i = 0; i < 64; i += wideBlock) {
      const uint64_t part = run >> i;
      const uint64_t firsts = equalLanes<Element>(part, loadLanes(part, at + i), first);
      candidates |= equalLanes<Element>(firsts, loadLanes(part, at + i + last_), last) << i;
    }
    return candidates;
  }

  // Tries the places from `at` to `end`. A short needle is compared at a candidate by one mask, all of it but
  // the last element.
  template <bool isNeedleShort>
  VQ_INLINE_AVX512 uint64_t tryPlaces(uint64_t at, uint64_t end, __m512i first, __m512i last) {
    const uint64_t whole = isNeedleShort ? avx512::lowBits(last_) : 0;
    const __m512i needle = loadLanes(whole, needle_);
    for (; at < end; at += 64) {
      const uint64_t run = avx512::lowBits(end - at < 64 ? end - at : 64);
      for (uint64_t mask = candidatesIn(run, text_ + at, first, last); mask != 0; mask &= mask - 1) {
        const uint64_t candidate = at + static_cast<uint64_t>(std::countr_zero(mask));
        if constexpr (isNeedleShort) {
          const __m512i block = loadLanes(whole, text_ + candidate);
          if (differentLanes<Element>(whole, block, needle) == 0) return candidate;
        } else {
          if (matches(candidate)) return candidate;
          if (isSpent_) return none;
        }
      }
    }
    return none;
  }

  template <bool isNeedleShort>
  VQ_INLINE_AVX512 uint64_t tryWideSteps() {
    const __m512i first = splatWide(needle_[0]), last = splatWide(needle_[last_]);
    uint64_t misses = 0;
    bool isFirstRare = true;
    for (uint64_t at = 0;;) {
      for (; at + wideStep <= limit_; at += wideStep) {
        if (isFirstRare && !hasFirst(text_ + at, first)) [[likely]]
          continue;
        if (hasEnds(text_ + at, first, last)) break;
        isFirstRare = isFirstRare && !isTooMuch(++misses, at);
      }
      const uint64_t end = limit_ - at < wideStep ? limit_ : at + wideStep;
      const uint64_t found = tryPlaces<isNeedleShort>(at, end, first, last);
      if (found != none || isSpent_ || end == limit_) return found;
      isFirstRare = isFirstRare && !isTooMuch(++misses, at);
      at = end;
    }
  }

  const Element* const text_;
  const Element* const needle_;
  const uint64_t length_, needleLength_;
  const uint64_t last_;   // index of the needle's last element
  const uint64_t limit_;  // places where the needle could begin
  uint64_t spent_ = 0;
  bool isSpent_ = false;
  uint64_t spentAt_ = 0;  // nothing begins before this place
};

// A needle is short when all of it but one element fits a block: comparing it takes the same time at each
// candidate, so such a search is linear without a budget.
template <bool isNeedleShort, class Element>
VQ_TARGET_AVX512 int64_t findByWideBlocks(const Element* text, uint64_t length, const Element* needle,
                                          uint64_t needleLength) {
  return Search<Element>(text, length, needle, needleLength).template byWideBlocks<isNeedleShort>();
}
template <class Element>
VQ_TARGET_AVX2 int64_t findByBlocks(const Element* text, uint64_t length, const Element* needle,
                                    uint64_t needleLength) {
  return Search<Element>(text, length, needle, needleLength).byBlocks();
}

template <class Element>
int64_t find(const Element* text, uint64_t length, const Element* needle, uint64_t needleLength) {
  if (needleLength == 0) return 0;
  if (length < needleLength) return -1;
  if (needleLength == 1) {
    const uint64_t at = firstEqual(text, length, needle[0]);
    return at == length ? -1 : static_cast<int64_t>(at);
  }
  if (cpu::hasAvx512()) {
    if (needleLength - 1 <= wideLanes<Element>) [[likely]]
      return findByWideBlocks<true>(text, length, needle, needleLength);
    return findByWideBlocks<false>(text, length, needle, needleLength);
  }
  if (cpu::hasAvx2()) return findByBlocks(text, length, needle, needleLength);
  return Search<Element>(text, length, needle, needleLength).plain();
}

}  // namespace

int64_t findFirst(const uint8_t* text, uint64_t length, const uint8_t* needle, uint64_t needleLength) {
  return find(text, length, needle, needleLength);
}
int64_t findFirst(const VQChar* text, uint64_t length, const VQChar* needle, uint64_t needleLength) {
  return find(text, length, needle, needleLength);
}

}  // namespace vq::text

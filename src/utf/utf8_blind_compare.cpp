// Comparing UTF-8 without regard to case.
//
// The walks stay on bytes as long as they can: blocks that agree are skipped, ASCII folds by rule, and only
// characters that differ are decoded and folded by the host. What it says of a pair is remembered for the
// call.
#include <algorithm>
#include <cstring>

#include "text/case_map.hpp"
#include "text/cpu.hpp"
#include "text/scan.hpp"
#include "utf/utf8_alike.hpp"
#include "utf/utf8_bytes.hpp"
#include "utf/utf_steps.hpp"
#include "vqstring/utf.h"

namespace {

using vq::utf::Decoded;
using vq::utf::decodeUtf8;
using namespace vq::utf8;

// As vqzstlo lowers one element: below 0x80 by the table, whatever the host says. Beyond 0xFFFF the two
// agree.
struct ElementFold {
  HostFold host;

  VQChar operator()(VQChar c) const { return c < 0x80 ? vq::text::lowerByTable(c) : host(c); }
};

// A fold with what it answered in this call. Characters of one script seldom share a place.
template <class Fold>
class Remembered {
 public:
  VQChar operator()(VQChar c) {
    const size_t place = c % placeCount;
    Answer& answer = answers_[place];
    const uint64_t bit = uint64_t{1} << place % 64;
    if ((filled_[place / 64] & bit) != 0 && answer.character == c) return answer.folded;
    filled_[place / 64] |= bit;
    answer = {c, fold_(c)};
    return answer.folded;
  }

 private:
  static constexpr size_t placeCount = 256;
  struct Answer {
    VQChar character;
    VQChar folded;
  };
  Fold fold_;
  // Says which answers hold something, so that short calls need not clear them.
  uint64_t filled_[placeCount / 64] = {};
  Answer answers_[placeCount];
};

// Two texts walked side by side, each with its own place.
struct Pair {
  const uint8_t* first;
  size_t firstLeft;
  const uint8_t* second;
  size_t secondLeft;

  void advance(size_t inFirst, size_t inSecond) {
    first += inFirst;
    firstLeft -= inFirst;
    second += inSecond;
    secondLeft -= inSecond;
  }
};

// The bytes of the character at both places when they are the same, or 0. A character that the end of both
// texts cuts off alike is the same.
inline size_t sameCharacter(const Pair& at) {
  if (at.first[0] < 0x80) return at.first[0] == at.second[0] ? 1 : 0;
  if (at.first[0] != at.second[0]) return 0;
  const size_t length = blindStep(at.first, at.firstLeft);
  if (length != blindStep(at.second, at.secondLeft)) return 0;
  for (size_t i = 0; i < length; ++i) {
    if (at.first[i] != at.second[i]) return 0;
  }
  return length;
}

// Pairs of different characters of two bytes that have been found alike in this call. One look at the bytes
// of both texts goes by such a pair without decoding it.
class AlikePairs {
 public:
  bool has(uint16_t first, uint16_t second) const {
    const uint32_t both = join(first, second);
    return hasAny_ && pairs_[placeOf(both)] == both;
  }
  void add(uint16_t first, uint16_t second) {
    if (!hasAny_) std::fill(std::begin(pairs_), std::end(pairs_), 0);
    hasAny_ = true;
    const uint32_t both = join(first, second);
    pairs_[placeOf(both)] = both;
  }

 private:
  static uint32_t join(uint16_t first, uint16_t second) {
    return static_cast<uint32_t>(second) << 16 | first;
  }
  // The upper bits of a product with the golden ratio, as many as there are places.
  static size_t placeOf(uint32_t both) { return both * 0x9E3779B1u >> 24; }

  // Cleared with the first pair; no pair is 0.
  bool hasAny_ = false;
  uint32_t pairs_[256];
};

inline uint16_t twoBytesAt(const uint8_t* at) {
  uint16_t bytes;
  std::memcpy(&bytes, at, sizeof bytes);
  return bytes;
}

// Goes by what is alike and takes the same bytes in both texts: pairs that are known, and ASCII. Calls
// `onCase(isFirstSmaller)` for ASCII letters that differ in case.
template <class OnCase>
inline size_t alikeBytes(const Pair& at, size_t span, const AlikePairs& pairs, OnCase onCase) {
  size_t moved = 0;
  while (span - moved >= 2) {
    const uint8_t* a = at.first + moved;
    const uint8_t* b = at.second + moved;
    if (pairs.has(twoBytesAt(a), twoBytesAt(b))) {
      moved += 2;
    } else if ((*a | *b) < 0x80 && foldAscii(*a) == foldAscii(*b)) {
      if (*a != *b) onCase(*a < *b);
      ++moved;
    } else {
      break;
    }
  }
  return moved;
}

// Remembers a pair that has been found alike, when it is one of two characters of two bytes.
inline void remember(const Pair& at, const Decoded& first, const Decoded& second, AlikePairs& pairs) {
  if (first.consumed == 2 && second.consumed == 2 && first.status == 0 && second.status == 0) {
    pairs.add(twoBytesAt(at.first), twoBytesAt(at.second));
  }
}

// The last place, no further than `limit`, where a character begins whatever stands in front of it: no byte
// of the five before announces a length that reaches over it. 0 when none is near.
size_t boundaryBefore(const uint8_t* text, size_t limit) {
  constexpr size_t longestReach = 5;
  constexpr size_t near = 16;
  const auto isBoundary = [text](size_t place) {
    for (size_t back = 1; back <= longestReach && back <= place; ++back) {
      if (announcedLength(text[place - back]) > back) return false;
    }
    return true;
  };
  for (size_t place = limit; place > 0 && limit - place < near; --place) {
    if (isBoundary(place)) return place;
  }
  return 0;
}

// Skips by blocks where that pays: after a skip that brought little, a stretch is walked character by
// character before the next is tried.
class BlockSkips {
 public:
  bool isDue(size_t span) const { return span >= leastBytes_ && stretch_ == 0; }
  void countStep() {
    if (stretch_ > 0) --stretch_;
  }
  void report(size_t skipped) {
    if (skipped < blockBytes) stretch_ = stretchLength;
  }

  static constexpr size_t blockBytes = 32;

 private:
  static constexpr size_t stretchLength = 64;
  // Blocks under a mask may be short.
  size_t leastBytes_ = vq::cpu::hasAvx512() ? 1 : blockBytes;
  size_t stretch_ = 0;
};

// Goes on by ASCII and by bytes that are the same; ends on a whole character.
__attribute__((noinline)) void skipPlain(const Pair& at, size_t reach, bool findsDifference, AlikeRun& run) {
  const uint8_t* first = at.first + run.byteCount;
  const uint8_t* second = at.second + run.byteCount;
  const size_t left = reach - run.byteCount;
  const size_t ascii = asciiFoldedPrefix(first, second, left);
  if (findsDifference && run.firstDifference == AlikeRun::none) {
    const size_t exact = vq::text::firstDifference(first, second, ascii);
    if (exact < ascii) run.firstDifference = run.byteCount + exact;
  }
  const size_t same = vq::text::firstDifference(first + ascii, second + ascii, left - ascii);
  run.byteCount += ascii + boundaryBefore(first + ascii, same);
}

// What is alike in both texts from here, as far as blocks tell it. Says where the first bytes differ only
// when that is asked for.
inline AlikeRun skipBlocks(const Pair& at, size_t reach, PartnerTable& partners, bool findsDifference) {
  AlikeRun run;
  if (vq::cpu::hasAvx512()) avx512::alikeRun(at.first, at.second, reach, partners, run);
  if (run.order == 0 && reach - run.byteCount >= BlockSkips::blockBytes) {
    skipPlain(at, reach, findsDifference, run);
  }
  return run;
}

// The bytes at the beginning of two texts that are the same and that a case-blind walk need not see: all of
// both texts, or up to a place where a character begins in any case.
constexpr size_t wholeTexts = SIZE_MAX;

inline size_t sameFront(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes) {
  // What a walk passes over as fast.
  constexpr size_t little = 16;
  const size_t same =
      vq::text::firstDifference(bytesOf(first), bytesOf(second), std::min(firstBytes, secondBytes));
  if (same == firstBytes && same == secondBytes) return wholeTexts;
  return same <= little ? 0 : boundaryBefore(bytesOf(first), same);
}

// The walk behind both questions. `Walk` says how far it reaches, moves, notes which of two texts is smaller
// where nothing but case differs, takes two characters that are not the same, and ends; a result that is not
// 0 ends it early.
template <class Walk, class Fold>
class BlindWalk {
 public:
  int32_t run() {
    if (skips_.isDue(self().reach())) {
      if (const AlikeRun run = skip(); run.order != 0) return run.order;
    }
    return self().reach() == 0 ? self().end() : walk();
  }

 protected:
  // The first `same` bytes of both texts have been passed over.
  BlindWalk(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes, size_t same)
      : at_{bytesOf(first) + same, firstBytes - same, bytesOf(second) + same, secondBytes - same} {}

  Pair at_;

 private:
  Walk& self() { return static_cast<Walk&>(*this); }

  AlikeRun skip() {
    const AlikeRun run = skipBlocks(at_, self().reach(), partners_, self().isTied());
    if (run.firstDifference < run.byteCount) {
      self().noteCase(at_.first[run.firstDifference] < at_.second[run.firstDifference]);
    }
    self().advance(run.byteCount, run.byteCount);
    skips_.report(run.byteCount);
    return run;
  }

  // Text that is left by a first skip: short texts seldom come here.
  __attribute__((noinline)) int32_t walk() {
    Remembered<Fold> fold;
    AlikePairs pairs;
    while (self().reach() > 0) {
      if (skips_.isDue(self().reach())) {
        const AlikeRun run = skip();
        if (run.order != 0) return run.order;
        if (run.byteCount > 0) continue;
      }
      skips_.countStep();
      const size_t alike = alikeBytes(at_, self().reach(), pairs,
                                      [this](bool isFirstSmaller) { self().noteCase(isFirstSmaller); });
      self().advance(alike, alike);
      if (self().reach() == 0) break;
      if (const size_t same = sameCharacter(at_); same > 0) {
        self().advance(same, same);
      } else if (const int32_t order = self().step(fold, pairs); order != 0) {
        return order;
      }
    }
    return self().end();
  }

  BlockSkips skips_;
  PartnerTable partners_;
};

// Which of two texts comes first: `tie` is what decides when nothing but case differs.
class NormWalk : public BlindWalk<NormWalk, HostFold> {
 public:
  NormWalk(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes, size_t same)
      : BlindWalk(first, firstBytes, second, secondBytes, same),
        span_(std::min(firstBytes, secondBytes) - same) {}

 private:
  friend BlindWalk;

  size_t reach() const { return std::min(span_, at_.secondLeft); }

  // `span_` is what is left of the lesser length, measured on the first text.
  void advance(size_t inFirst, size_t inSecond) {
    at_.advance(inFirst, inSecond);
    span_ -= std::min(span_, inFirst);
  }

  bool isTied() const { return tie_ == 0; }
  void noteCase(bool isFirstSmaller) {
    if (tie_ == 0) tie_ = isFirstSmaller ? -1 : 1;
  }

  int32_t step(Remembered<HostFold>& fold, AlikePairs& pairs) {
    const uint8_t a = at_.first[0];
    const uint8_t b = at_.second[0];
    if ((a | b) < 0x80) {
      const uint8_t foldedA = foldAscii(a);
      const uint8_t foldedB = foldAscii(b);
      if (foldedA != foldedB) return foldedA < foldedB ? -2 : 2;
      noteCase(a < b);
      advance(1, 1);
      return 0;
    }
    const Decoded c = decodeUtf8(at_.first, at_.firstLeft);
    const Decoded d = decodeUtf8(at_.second, at_.secondLeft);
    noteCase(c.codePoint < d.codePoint);
    const VQChar foldedC = fold(c.codePoint);
    const VQChar foldedD = fold(d.codePoint);
    if (foldedC != foldedD) return orderOf(foldedC, foldedD);
    remember(at_, c, d, pairs);
    advance(c.consumed, d.consumed);
    return 0;
  }

  // The text with less left counts as filled with blanks.
  int32_t end() const {
    const auto isBlank = [](const uint8_t* tail, size_t byteCount) {
      return vq::text::firstOther(tail, byteCount, 0x20) == byteCount;
    };
    if (at_.firstLeft < at_.secondLeft) {
      return isBlank(at_.second, at_.secondLeft - at_.firstLeft) ? tie_ : -2;
    }
    if (at_.secondLeft < at_.firstLeft) {
      return isBlank(at_.first, at_.firstLeft - at_.secondLeft) ? tie_ : 2;
    }
    return tie_;
  }

  size_t span_;
  int32_t tie_ = 0;
};

// Whether two texts are alike: 0, or anything else.
class EqualWalk : public BlindWalk<EqualWalk, ElementFold> {
 public:
  EqualWalk(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes, size_t same)
      : BlindWalk(first, firstBytes, second, secondBytes, same) {}

 private:
  friend BlindWalk;

  size_t reach() const { return std::min(at_.firstLeft, at_.secondLeft); }
  void advance(size_t inFirst, size_t inSecond) { at_.advance(inFirst, inSecond); }
  bool isTied() const { return false; }
  void noteCase(bool) {}
  int32_t end() const { return at_.firstLeft == at_.secondLeft ? 0 : 1; }

  int32_t step(Remembered<ElementFold>& fold, AlikePairs& pairs) {
    // A byte below 0x80 folds by its table, whatever the host says.
    const auto foldOf = [&fold](uint8_t first, const Decoded& decoded) {
      return first < 0x80 ? foldAscii(first) : fold(decoded.codePoint);
    };
    const Decoded c = decodeUtf8(at_.first, at_.firstLeft);
    const Decoded d = decodeUtf8(at_.second, at_.secondLeft);
    if (foldOf(at_.first[0], c) != foldOf(at_.second[0], d)) return 1;
    remember(at_, c, d, pairs);
    advance(c.consumed, d.consumed);
    return 0;
  }
};

}  // namespace

int32_t vqzsu8NormCompare(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes) {
  const size_t same = sameFront(first, firstBytes, second, secondBytes);
  return same == wholeTexts ? 0 : NormWalk(first, firstBytes, second, secondBytes, same).run();
}

int32_t vqzsu8NormCompareText(const char* first, uint64_t firstBytes, const char* second,
                              uint64_t secondBytes, uint32_t) {
  return vqzsu8NormCompare(first, firstBytes, second, secondBytes);
}

uint32_t vqzsu8NormEqual(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes) {
  const size_t same = sameFront(first, firstBytes, second, secondBytes);
  return same == wholeTexts || EqualWalk(first, firstBytes, second, secondBytes, same).run() == 0;
}

uint32_t vqzsu8NormEqualText(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes,
                             uint32_t) {
  return vqzsu8NormEqual(first, firstBytes, second, secondBytes);
}

uint32_t vqzsu8NormASCIIEqual(const char* first, uint64_t firstBytes, const char* second,
                              uint64_t secondBytes) {
  return firstBytes == secondBytes && foldedPrefix(bytesOf(first), bytesOf(second), firstBytes) == firstBytes;
}

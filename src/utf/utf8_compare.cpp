// Comparing UTF-8 by bytes and without regard to case, and asking about one character.
//
// The case-blind walks stay on bytes as long as they can: blocks that agree are skipped, ASCII folds by rule,
// and only characters that differ are decoded and folded by the host. What it says of a pair is remembered
// for the call.
#include <algorithm>
#include <cstring>

#include "frame/handle.hpp"
#include "text/case_map.hpp"
#include "text/cpu.hpp"
#include "text/scan.hpp"
#include "utf/utf8_alike.hpp"
#include "utf/utf_steps.hpp"
#include "vqstring/host.h"
#include "vqstring/text.h"
#include "vqstring/utf.h"

namespace {

using vq::utf::Decoded;
using vq::utf::decodeUtf8;
using namespace vq::utf8;

const uint8_t* bytesOf(const char* text) {
  return reinterpret_cast<const uint8_t*>(text);
}

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

}  // namespace

namespace {

inline uint64_t wordAt(const char* at) {
  uint64_t bytes;
  std::memcpy(&bytes, at, sizeof bytes);
  return bytes;
}

// The order of 8 to 16 bytes: the first eight, then the last eight.
inline int32_t compareByWords(const char* first, const char* second, size_t byteCount) {
  const size_t last = byteCount - sizeof(uint64_t);
  uint64_t a = wordAt(first);
  uint64_t b = wordAt(second);
  if (a == b) {
    a = wordAt(first + last);
    b = wordAt(second + last);
    if (a == b) return 0;
  }
  return __builtin_bswap64(a) < __builtin_bswap64(b) ? -1 : 1;
}

inline int32_t compareBytes(const char* first, const char* second, size_t byteCount) {
  return byteCount - 8 <= 8 ? compareByWords(first, second, byteCount) : mhMemCmp(first, second, byteCount);
}

__attribute__((noinline)) int32_t compareUnequalLengths(const char* first, uint64_t firstBytes,
                                                        const char* second, uint64_t secondBytes) {
  const int32_t order = compareBytes(first, second, std::min(firstBytes, secondBytes));
  if (order != 0) return order;
  return firstBytes < secondBytes ? -1 : 1;
}

}  // namespace

int32_t vqzsu8Compare(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes) {
  // Equal lengths leave nothing to do behind the call: it is the last one, and no register is saved.
  if (firstBytes == secondBytes) return compareBytes(first, second, firstBytes);
  return compareUnequalLengths(first, firstBytes, second, secondBytes);
}

int32_t vqzsu8CompareText(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes,
                          uint32_t) {
  return vqzsu8Compare(first, firstBytes, second, secondBytes);
}

namespace {

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

// The walk of the case-blind comparison: `tie` is what decides when nothing but case differs.
class NormWalk {
 public:
  // The first `same` bytes of both texts have been passed over.
  NormWalk(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes, size_t same)
      : at_{bytesOf(first) + same, firstBytes - same, bytesOf(second) + same, secondBytes - same},
        span_(std::min(firstBytes, secondBytes) - same) {}

  int32_t run() {
    if (skips_.isDue(reach())) {
      if (const AlikeRun run = skip(); run.order != 0) return run.order;
    }
    return reach() == 0 ? compareTails() : walk();
  }

 private:
  // `span_` is what is left of the lesser length, measured on the first text.
  void advance(size_t inFirst, size_t inSecond) {
    at_.advance(inFirst, inSecond);
    span_ -= std::min(span_, inFirst);
  }

  void setTie(bool isFirstSmaller) {
    if (tie_ == 0) tie_ = isFirstSmaller ? -1 : 1;
  }

  // How far the walk can go in both texts.
  size_t reach() const { return std::min(span_, at_.secondLeft); }

  AlikeRun skip() {
    const AlikeRun run = skipBlocks(at_, reach(), partners_, tie_ == 0);
    if (run.firstDifference < run.byteCount) {
      setTie(at_.first[run.firstDifference] < at_.second[run.firstDifference]);
    }
    advance(run.byteCount, run.byteCount);
    skips_.report(run.byteCount);
    return run;
  }

  // Text that is left by a first skip: short texts seldom come here.
  __attribute__((noinline)) int32_t walk() {
    Remembered<HostFold> fold;
    AlikePairs pairs;
    while (reach() > 0) {
      if (skips_.isDue(reach())) {
        const AlikeRun run = skip();
        if (run.order != 0) return run.order;
        if (run.byteCount > 0) continue;
      }
      skips_.countStep();
      const size_t alike =
          alikeBytes(at_, reach(), pairs, [this](bool isFirstSmaller) { setTie(isFirstSmaller); });
      advance(alike, alike);
      if (reach() == 0) break;
      if (const int32_t order = step(fold, pairs); order != 0) return order;
    }
    return compareTails();
  }

  // One character of each text; the result when it is decided.
  int32_t step(Remembered<HostFold>& fold, AlikePairs& pairs) {
    const uint8_t a = at_.first[0];
    const uint8_t b = at_.second[0];
    if (const size_t same = sameCharacter(at_); same > 0) {
      advance(same, same);
      return 0;
    }
    if ((a | b) < 0x80) {
      const uint8_t foldedA = foldAscii(a);
      const uint8_t foldedB = foldAscii(b);
      if (foldedA != foldedB) return foldedA < foldedB ? -2 : 2;
      setTie(a < b);
      advance(1, 1);
      return 0;
    }
    const Decoded c = decodeUtf8(at_.first, at_.firstLeft);
    const Decoded d = decodeUtf8(at_.second, at_.secondLeft);
    setTie(c.codePoint < d.codePoint);
    const VQChar foldedC = fold(c.codePoint);
    const VQChar foldedD = fold(d.codePoint);
    if (foldedC != foldedD) return orderOf(foldedC, foldedD);
    remember(at_, c, d, pairs);
    advance(c.consumed, d.consumed);
    return 0;
  }

  // The text with less left counts as filled with blanks.
  int32_t compareTails() const {
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

  Pair at_;
  size_t span_;
  int32_t tie_ = 0;
  BlockSkips skips_;
  PartnerTable partners_;
};

// The walk that asks for equality alone.
class EqualWalk {
 public:
  EqualWalk(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes, size_t same)
      : at_{bytesOf(first) + same, firstBytes - same, bytesOf(second) + same, secondBytes - same} {}

  bool run() {
    if (skips_.isDue(reach()) && skip().order != 0) return false;
    return reach() == 0 ? at_.firstLeft == at_.secondLeft : walk();
  }

 private:
  size_t reach() const { return std::min(at_.firstLeft, at_.secondLeft); }

  AlikeRun skip() {
    const AlikeRun run = skipBlocks(at_, reach(), partners_, false);
    at_.advance(run.byteCount, run.byteCount);
    skips_.report(run.byteCount);
    return run;
  }

  __attribute__((noinline)) bool walk() {
    Remembered<ElementFold> fold;
    AlikePairs pairs;
    while (reach() > 0) {
      if (skips_.isDue(reach())) {
        const AlikeRun run = skip();
        if (run.order != 0) return false;
        if (run.byteCount > 0) continue;
      }
      skips_.countStep();
      const size_t alike = alikeBytes(at_, reach(), pairs, [](bool) {});
      at_.advance(alike, alike);
      if (reach() > 0 && !step(fold, pairs)) return false;
    }
    return at_.firstLeft == at_.secondLeft;
  }

  // One character of each text; whether they are alike.
  bool step(Remembered<ElementFold>& fold, AlikePairs& pairs) {
    if (const size_t same = sameCharacter(at_); same > 0) {
      at_.advance(same, same);
      return true;
    }
    // A byte below 0x80 folds by its table, whatever the host says.
    const auto foldOf = [&fold](uint8_t first, const Decoded& decoded) {
      return first < 0x80 ? foldAscii(first) : fold(decoded.codePoint);
    };
    const Decoded c = decodeUtf8(at_.first, at_.firstLeft);
    const Decoded d = decodeUtf8(at_.second, at_.secondLeft);
    if (foldOf(at_.first[0], c) != foldOf(at_.second[0], d)) return false;
    remember(at_, c, d, pairs);
    at_.advance(c.consumed, d.consumed);
    return true;
  }

  Pair at_;
  BlockSkips skips_;
  PartnerTable partners_;
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
  return same == wholeTexts || EqualWalk(first, firstBytes, second, secondBytes, same).run();
}

uint32_t vqzsu8NormEqualText(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes,
                             uint32_t) {
  return vqzsu8NormEqual(first, firstBytes, second, secondBytes);
}

uint32_t vqzsu8NormASCIIEqual(const char* first, uint64_t firstBytes, const char* second,
                              uint64_t secondBytes) {
  return firstBytes == secondBytes && foldedPrefix(bytesOf(first), bytesOf(second), firstBytes) == firstBytes;
}

namespace {

VQChar characterAt(const char* character) {
  const uint8_t* bytes = bytesOf(character);
  return decodeUtf8(bytes, announcedLength(bytes[0])).codePoint;
}

}  // namespace

uint32_t _VQZSU8IsFunct(const char* character, uint32_t (*predicate)(VQChar)) {
  return predicate(characterAt(character));
}

uint32_t vqzsu8IsCombining(const char* character) {
  constexpr VQChar zeroWidthNonJoiner = 0x200C;
  constexpr VQChar zeroWidthJoiner = 0x200D;
  constexpr uint32_t marks = 0x38;  // Mn, Mc, Me
  const VQChar c = characterAt(character);
  if (c == zeroWidthNonJoiner || c == zeroWidthJoiner) return 1;
  VQNls* nls = Exported_VQHandle->kernelNls;
  return nls == nullptr ? 0 : nls->nlsClassify(nls, c, marks);
}

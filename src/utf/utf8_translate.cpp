// Translation between UTF-8 and its relatives CESU-8 and modified UTF-8. Both translators validate as they go
// and replace what is broken; only a full target stops them. Text in which there is nothing to translate is
// carried over by blocks.
#include <algorithm>
#include <cstring>

#include "text/cpu.hpp"
#include "utf/utf8_bytes.hpp"
#include "utf/utf8_pairs_avx512.hpp"
#include "utf/utf8_plain.hpp"
#include "vqstring/utf.h"

namespace {

using namespace vq::utf8;

// The first byte is the lowest.
inline uint32_t loadFour(const uint8_t* bytes) {
  uint32_t four = 0;
  std::memcpy(&four, bytes, sizeof four);
  return four;
}

// Whole sequences, whatever they stand for.
inline bool isFourBytes(const uint8_t* bytes) {
  return (loadFour(bytes) & 0xC0C0C0F8) == 0x808080F0;
}
bool isSurrogate(const uint8_t* b) {
  return b[0] == 0xED && (b[1] & 0xE0) == 0xA0 && isContinuation(b[2]);
}

// The length of a sequence of two or three bytes that no translator changes, or 0.
inline size_t plainLength(const uint8_t* at, size_t byteCount) {
  if (at[0] < 0xC2 || at[0] >= 0xF0 || byteCount < 2 || !isContinuation(at[1])) return 0;
  if (at[0] < 0xE0) return 2;
  return byteCount < 3 || !isContinuation(at[2]) || isSurrogateStart(at[0], at[1]) ? 0 : 3;
}

// Puts the surrogate pair of a four-byte sequence, three bytes each, of which the first says nothing.
inline void splitSupplementary(const uint8_t* bytes, uint8_t* to) {
  const uint32_t four = loadFour(bytes);
  const uint32_t plane = (four & 7) << 2 | (four >> 12 & 3);
  const uint32_t high = ((plane + 0x7F) & 0xFF) | 0xA0;
  const uint32_t middle = (four & 0x0F00) << 2 | (four >> 12 & 0x0300) | 0x8000;
  const uint32_t low = 0xB0 | (four >> 16 & 0xFF0F);
  const uint64_t six = uint64_t{low} << 32 | 0xED000000 | (high | middle) << 8 | 0xED;
  std::memcpy(to, &six, 6);
}

// Puts the four-byte sequence of two surrogates, whichever is high or low.
inline void joinSurrogates(const uint8_t* p, const uint8_t* q, uint8_t* to) {
  const uint32_t plane = (p[1] & 0x0Fu) + 1;
  const uint32_t high = 0xF0 + (plane >> 2) + ((plane & 3) << 12) + 0x8000 + (p[2] << 6 & 0x0F00u);
  const uint32_t low = 0x80 + (p[2] << 4 & 0x30u) + (q[1] & 0x0Fu);
  const uint32_t four = high | low << 16 | uint32_t{q[2]} << 24;
  std::memcpy(to, &four, sizeof four);
}

// Eight bytes of ASCII, none of them below `least`, which is 0 or 1.
inline bool isAsciiWord(uint64_t bytes, uint8_t least) {
  constexpr uint64_t topBits = 0x8080808080808080;
  constexpr uint64_t ones = 0x0101010101010101;
  return ((bytes | (bytes - least * ones)) & topBits) == 0;
}

// The two buffers of a translation and what has happened so far.
class Translation {
 public:
  // The first `done` bytes have been carried over.
  Translation(const char* source, uint64_t sourceBytes, char* target, uint64_t targetBytes, size_t done)
      : source_(reinterpret_cast<const uint8_t*>(source)),
        sourceBytes_(sourceBytes),
        at_(done),
        target_(reinterpret_cast<uint8_t*>(target)),
        targetBytes_(targetBytes),
        written_(done) {}

  bool isAtEnd() const { return at_ == sourceBytes_; }
  const uint8_t* here() const { return source_ + at_; }
  size_t remaining() const { return sourceBytes_ - at_; }
  void advance(size_t byteCount) { at_ += byteCount; }

  // False when the target has no room; nothing of the bytes is stored then.
  bool emit(const uint8_t* bytes, size_t byteCount) {
    if (targetBytes_ - written_ < byteCount) return false;
    for (size_t i = 0; i < byteCount; ++i) target_[written_ + i] = bytes[i];
    written_ += byteCount;
    return true;
  }
  bool replace() {
    constexpr uint8_t replacement[] = {0xEF, 0xBF, 0xBD};
    if (!emit(replacement, sizeof replacement)) return false;
    hasReplaced_ = true;
    return true;
  }

  // Carries over what is plain as far as blocks reach it. Where that brought little, the next tries are left
  // out for a stretch.
  template <Plain plain>
  void copyPlain() {
    if (at_ < nextTry_) return;
    const size_t byteCount =
        vq::utf8::copyPlain<plain>(here(), remaining(), target_ + written_, targetBytes_ - written_);
    at_ += byteCount;
    written_ += byteCount;
    if (byteCount < blindBytes) nextTry_ = at_ + stretch;
  }

  // Carries over the characters that come next and are plain by every rule, of up to three bytes, as far as
  // they have room; with `stopsAtZero` not the zero byte.
  void copyCharacters(bool stopsAtZero) {
    const uint8_t* from = here();
    // No further than blocks are worth another try.
    const size_t reach = std::min({remaining(), targetBytes_ - written_, blindBytes});
    uint8_t* to = target_ + written_;
    size_t done = 0;
    for (uint64_t word; reach - done >= sizeof word; done += sizeof word) {
      std::memcpy(&word, from + done, sizeof word);
      if (!isAsciiWord(word, stopsAtZero ? 1 : 0)) break;
      std::memcpy(to + done, &word, sizeof word);
    }
    while (done < reach) {
      const uint8_t first = from[done];
      size_t length = 1;
      if (first >= 0x80) {
        length = plainLength(from + done, reach - done);
        if (length == 0) break;
      } else if (first == 0 && stopsAtZero) {
        break;
      }
      to[done] = first;
      if (length > 1) to[done + 1] = from[done + 1];
      if (length > 2) to[done + 2] = from[done + 2];
      done += length;
    }
    at_ += done;
    written_ += done;
  }

  // Translates the run of whole sequences of four bytes that comes next, as far as it has room.
  void splitRun() {
    const uint8_t* from = here();
    uint8_t* to = target_ + written_;
    size_t most = std::min(remaining() / 4, (targetBytes_ - written_) / 6);
    if (vq::cpu::hasAvx512() && most >= leastVector && isFourBytes(from)) {
      const size_t done = avx512::splitRun(from, most, to);
      most -= done;
      from += 4 * done;
      to += 6 * done;
    }
    for (; most > 0 && isFourBytes(from); --most, from += 4, to += 6) splitSupplementary(from, to);
    moveTo(from, to);
  }
  // The same for surrogates in pairs.
  void joinRun() {
    const uint8_t* from = here();
    uint8_t* to = target_ + written_;
    size_t most = std::min(remaining() / 6, (targetBytes_ - written_) / 4);
    if (vq::cpu::hasAvx512() && most >= leastVector && isSurrogate(from)) {
      const size_t done = avx512::joinRun(from, most, to);
      most -= done;
      from += 6 * done;
      to += 4 * done;
    }
    for (; most > 0 && isSurrogate(from) && isSurrogate(from + 3); --most, from += 6, to += 4) {
      joinSurrogates(from, from + 3, to);
    }
    moveTo(from, to);
  }

  VQStatus finish(uint64_t* written, bool isFull) const {
    if (written != nullptr) *written = written_;
    if (isFull) return VQSTATUS_TARGET_FULL;
    return hasReplaced_ ? VQSTATUS_BAD_SEQUENCE : 0;
  }

 private:
  // Less than this brought by blocks is little; nor are more looked at one by one in front of another try.
  static constexpr size_t blindBytes = 32;
  static constexpr size_t stretch = 64;
  // Characters in a run from which on vectors gain.
  static constexpr size_t leastVector = 8;

  void moveTo(const uint8_t* from, const uint8_t* to) {
    at_ = static_cast<size_t>(from - source_);
    written_ = static_cast<size_t>(to - target_);
  }

  const uint8_t* source_;
  size_t sourceBytes_;
  size_t at_;
  uint8_t* target_;
  size_t targetBytes_;
  size_t written_;
  bool hasReplaced_ = false;
  size_t nextTry_ = 0;
};

template <bool isModified>
constexpr Plain encodePlain = isModified ? Plain::toPairsWithoutZero : Plain::toPairs;

struct EncodeRules {
  bool splitsSupplementary;
  bool widensZero;
};

// One character; false when the target is full.
bool encodeCharacter(Translation& work, EncodeRules rules) {
  const uint8_t* at = work.here();
  const size_t length = _utf8_len[at[0]];
  const size_t whole = carefulStep(at, work.remaining());
  if (whole < length) {
    work.advance(whole);
    return work.replace();
  }
  work.advance(length);
  if (length == 4) {
    if (!rules.splitsSupplementary) return work.replace();
    uint8_t six[6];
    splitSupplementary(at, six);
    return work.emit(six, sizeof six);
  }
  if (at[0] == 0 && rules.widensZero) {
    constexpr uint8_t widened[] = {0xC0, 0x80};
    return work.emit(widened, sizeof widened);
  }
  if (length == 1 && at[0] >= 0x80) return work.replace();
  if (length == 3 && isSurrogateStart(at[0], at[1])) return work.replace();
  return work.emit(at, length);
}

// A surrogate that waits for its partner.
struct Pending {
  const uint8_t* bytes = nullptr;
  // False when a broken sequence stands behind it: then no partner is read, it stays alone.
  bool isAdjacent = true;
};

// One character; false when the target is full.
bool decodeCharacter(Translation& work, bool isModified, Pending& pending) {
  const uint8_t* at = work.here();
  const size_t length = _utf8_len[at[0]];
  const size_t whole = carefulStep(at, work.remaining());
  if (whole < length) {
    work.advance(whole);
    pending.isAdjacent = false;
    return work.replace();
  }
  work.advance(length);
  if (length == 3 && isSurrogateStart(at[0], at[1])) {
    const Pending first = pending;
    if (first.bytes != nullptr && first.isAdjacent) {
      pending = {};
      uint8_t four[4];
      joinSurrogates(first.bytes, at, four);
      return work.emit(four, sizeof four);
    }
    pending = {at};
    return first.bytes == nullptr || work.replace();
  }
  if (pending.bytes != nullptr) {
    pending = {};
    return work.replace() && work.emit(at, length);
  }
  if (isModified && at[0] == 0xC0 && at[1] == 0x80) {
    constexpr uint8_t zero = 0;
    return work.emit(&zero, 1);
  }
  if (!isValidFirst(at[0])) return work.replace();
  return work.emit(at, length);
}

// The translators behind the `done` bytes that have been carried over.
template <bool isModified>
[[gnu::noinline]] VQStatus encodeRest(const char* source, uint64_t sourceBytes, char* target,
                                      uint64_t targetBytes, uint64_t* written, uint32_t flags, size_t done) {
  const EncodeRules rules{isModified || (flags & U8_NO_PAIRS) == 0, isModified};
  Translation work(source, sourceBytes, target, targetBytes, done);
  for (;;) {
    if (rules.splitsSupplementary) work.splitRun();
    if (work.isAtEnd()) break;
    work.copyPlain<encodePlain<isModified>>();
    if (work.isAtEnd()) break;
    work.copyCharacters(isModified);
    if (rules.splitsSupplementary) work.splitRun();
    if (work.isAtEnd()) break;
    if (!encodeCharacter(work, rules)) return work.finish(written, true);
  }
  return work.finish(written, false);
}

[[gnu::noinline]] VQStatus decodeRest(const char* source, uint64_t sourceBytes, char* target,
                                      uint64_t targetBytes, uint64_t* written, uint32_t flags, size_t done) {
  const bool isModified = (flags & U8_MODIFIED) != 0;
  Translation work(source, sourceBytes, target, targetBytes, done);
  Pending pending;
  for (;;) {
    if (pending.bytes == nullptr) {
      work.joinRun();
      if (work.isAtEnd()) break;
      work.copyPlain<Plain::fromPairs>();
      if (work.isAtEnd()) break;
      work.copyCharacters(false);
      work.joinRun();
    }
    if (work.isAtEnd()) break;
    if (!decodeCharacter(work, isModified, pending)) return work.finish(written, true);
  }
  const bool isFull = pending.bytes != nullptr && !work.replace();
  return work.finish(written, isFull);
}

// Most texts are plain throughout and are spared the rest. One that begins with what has to be translated
// often goes on so.
template <Plain plain>
inline size_t copyFront(const char* source, uint64_t sourceBytes, char* target, uint64_t targetBytes) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(source);
  if (sourceBytes == 0 || (plain == Plain::fromPairs ? bytes[0] == 0xED : bytes[0] >= 0xF0)) return 0;
  return copyPlain<plain>(bytes, sourceBytes, reinterpret_cast<uint8_t*>(target), targetBytes);
}

inline VQStatus finishPlain(uint64_t* written, uint64_t byteCount) {
  if (written != nullptr) *written = byteCount;
  return 0;
}

template <bool isModified>
inline VQStatus encode(const char* source, uint64_t sourceBytes, char* target, uint64_t targetBytes,
                       uint64_t* written, uint32_t flags) {
  const size_t done = copyFront<encodePlain<isModified>>(source, sourceBytes, target, targetBytes);
  if (done == sourceBytes) return finishPlain(written, done);
  return encodeRest<isModified>(source, sourceBytes, target, targetBytes, written, flags, done);
}

}  // namespace

VQStatus vqzsu8Encode(const char* source, uint64_t sourceBytes, char* target, uint64_t targetBytes,
                      uint64_t* written, uint32_t flags) {
  const bool isModified = (flags & U8_MODIFIED) != 0;
  return isModified ? encode<true>(source, sourceBytes, target, targetBytes, written, flags)
                    : encode<false>(source, sourceBytes, target, targetBytes, written, flags);
}

VQStatus vqzsu8Decode(const char* source, uint64_t sourceBytes, char* target, uint64_t targetBytes,
                      uint64_t* written, uint32_t flags) {
  if ((flags & U8_MODIFIED) == 0 && (flags & U8_NO_PAIRS) != 0) {
    const uint64_t room = std::min(sourceBytes, targetBytes);
    const uint64_t copied = vqzsu8Copy(source, room, target, room);
    if (written != nullptr) *written = copied;
    return copied < sourceBytes ? VQSTATUS_TARGET_FULL : 0;
  }
  const size_t done = copyFront<Plain::fromPairs>(source, sourceBytes, target, targetBytes);
  if (done == sourceBytes) return finishPlain(written, done);
  return decodeRest(source, sourceBytes, target, targetBytes, written, flags, done);
}

// Translation between UTF-8 and its relatives CESU-8 and modified UTF-8. Both translators validate as they go
// and replace what is broken; only a full target stops them. Text in which there is nothing to translate is
// carried over by blocks.
#include <algorithm>
#include <cstring>

#include "utf/utf8_bytes.hpp"
#include "utf/utf8_regular.hpp"
#include "vqstring/utf.h"

namespace {

using namespace vq::utf8;

// The two buffers of a translation and what has happened so far.
class Translation {
 public:
  Translation(const char* source, uint64_t sourceBytes, char* target, uint64_t targetBytes)
      : source_(reinterpret_cast<const uint8_t*>(source)),
        sourceBytes_(sourceBytes),
        target_(reinterpret_cast<uint8_t*>(target)),
        targetBytes_(targetBytes) {}

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

  // Carries over what is plain, by whole blocks, as far as they have room. Where that brought nothing, the
  // next tries are left out for a stretch.
  void copyPlain(Plain plain) {
    if (at_ < nextTry_) return;
    const size_t within = std::min(sourceBytes_ - at_, targetBytes_ - written_);
    const size_t byteCount = plainPrefix(source_, at_, at_ + within, plain);
    if (byteCount == 0) {
      nextTry_ = at_ + stretch;
      return;
    }
    std::memcpy(target_ + written_, source_ + at_, byteCount);
    at_ += byteCount;
    written_ += byteCount;
  }

  // Carries over the ASCII bytes that come next, as far as they have room; with `stopsAtZero` not the zero
  // byte.
  void copyAscii(bool stopsAtZero) {
    const uint8_t least = stopsAtZero ? 1 : 0;
    // No further than blocks are worth another try.
    size_t left = std::min({sourceBytes_ - at_, targetBytes_ - written_, size_t{32}});
    for (; left > 0 && source_[at_] < 0x80 && source_[at_] >= least; --left)
      target_[written_++] = source_[at_++];
  }

  VQStatus finish(uint64_t* written, bool isFull) const {
    if (written != nullptr) *written = written_;
    if (isFull) return VQSTATUS_TARGET_FULL;
    return hasReplaced_ ? VQSTATUS_BAD_SEQUENCE : 0;
  }

 private:
  static constexpr size_t stretch = 64;

  const uint8_t* source_;
  size_t sourceBytes_;
  size_t at_ = 0;
  uint8_t* target_;
  size_t targetBytes_;
  size_t written_ = 0;
  bool hasReplaced_ = false;
  size_t nextTry_ = lookBack;
};

// The surrogate pair of a four-byte sequence, three bytes each.
struct SixBytes {
  uint8_t bytes[6];
};
SixBytes splitSupplementary(const uint8_t* b) {
  const unsigned plane = (b[0] & 7u) << 2 | (b[1] >> 4 & 3u);
  return {{0xED, static_cast<uint8_t>(((plane + 0x7F) & 0xFF) | 0xA0),
           static_cast<uint8_t>(0x80 + ((b[1] & 0x0F) << 2) + (b[2] >> 4 & 3)), 0xED,
           static_cast<uint8_t>(0xB0 + (b[2] & 0x0F)), b[3]}};
}

// The four-byte sequence of two surrogates, whichever is high or low.
struct FourBytes {
  uint8_t bytes[4];
};
FourBytes joinSurrogates(const uint8_t* p, const uint8_t* q) {
  const unsigned plane = (p[1] & 0x0Fu) + 1;
  return {{static_cast<uint8_t>(0xF0 + (plane >> 2)),
           static_cast<uint8_t>(0x80 + ((plane & 3) << 4 | (p[2] >> 2 & 0x0F))),
           static_cast<uint8_t>(0x80 + ((p[2] & 3) << 4 | (q[1] & 0x0F))), q[2]}};
}

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
    return rules.splitsSupplementary ? work.emit(splitSupplementary(at).bytes, 6) : work.replace();
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
      return work.emit(joinSurrogates(first.bytes, at).bytes, 4);
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

}  // namespace

VQStatus vqzsu8Encode(const char* source, uint64_t sourceBytes, char* target, uint64_t targetBytes,
                      uint64_t* written, uint32_t flags) {
  const EncodeRules rules{(flags & U8_MODIFIED) != 0 || (flags & U8_NO_PAIRS) == 0,
                          (flags & U8_MODIFIED) != 0};
  Translation work(source, sourceBytes, target, targetBytes);
  const Plain plain = rules.widensZero ? Plain::toPairsWithoutZero : Plain::toPairs;
  while (!work.isAtEnd()) {
    work.copyPlain(plain);
    work.copyAscii(rules.widensZero);
    if (!work.isAtEnd() && !encodeCharacter(work, rules)) return work.finish(written, true);
  }
  return work.finish(written, false);
}

VQStatus vqzsu8Decode(const char* source, uint64_t sourceBytes, char* target, uint64_t targetBytes,
                      uint64_t* written, uint32_t flags) {
  const bool isModified = (flags & U8_MODIFIED) != 0;
  if (!isModified && (flags & U8_NO_PAIRS) != 0) {
    const uint64_t room = std::min(sourceBytes, targetBytes);
    const uint64_t copied = vqzsu8Copy(source, room, target, room);
    if (written != nullptr) *written = copied;
    return copied < sourceBytes ? VQSTATUS_TARGET_FULL : 0;
  }
  Translation work(source, sourceBytes, target, targetBytes);
  Pending pending;
  while (!work.isAtEnd()) {
    if (pending.bytes == nullptr) {
      work.copyPlain(Plain::fromPairs);
      work.copyAscii(false);
    }
    if (!work.isAtEnd() && !decodeCharacter(work, isModified, pending)) return work.finish(written, true);
  }
  const bool isFull = pending.bytes != nullptr && !work.replace();
  return work.finish(written, isFull);
}

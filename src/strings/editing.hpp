// Edits of a string in place, for all kinds: every one is a splice.
//
//   old text   [ kept | removed | tail ]
//   new text   [ kept | source  | tail ] 0
//
// A copy removes everything, an append and an insertion nothing. The new text is put together where the old
// one stands if there is room, and otherwise in a larger block sized by the capacity rule. The operations
// differ in two points alone, which are parameters here: how much room they ask for (Room), and how the block
// is got (Growth). A borrowed string has capacity 0 and therefore never has room.
//
// An edit completes or leaves the string as it was. The old block goes last, so that a source inside it is
// read in time.
#pragma once

#include <algorithm>

#include "strings/storage.hpp"

namespace vq {

// When a new length counts as fitting.
enum class Room : uint8_t {
  tight,  // text and terminator
  spare,  // one element more
};

template <class Kind>
uint64_t lengthOf(const RecordOf<Kind>* string) {
  return static_cast<uint64_t>(string->length);
}

// What no length can be stands for a sum that does not fit: no room test passes it, no pool serves it.
inline uint64_t saturatedSum(uint64_t first, uint64_t second) {
  uint64_t sum = 0;
  return __builtin_add_overflow(first, second, &sum) ? UINT64_MAX : sum;
}

inline bool fits(uint64_t length, uint64_t capacity, Room room) {
  return length < capacity && (room == Room::tight || length + 1 < capacity);
}

template <class Kind>
void endText(RecordOf<Kind>* string, uint64_t length) {
  string->text[length] = 0;
  string->length = static_cast<typename Kind::Length>(length);
  assert(isSound<Kind>(string));
}

// A text that is to lose elements gets its terminator; one that keeps its length is not written, since
// nothing says that a borrowed or adopted text has an element behind it.
template <class Kind>
void shortenText(RecordOf<Kind>* string, uint64_t length) {
  if (length < lengthOf<Kind>(string)) endText<Kind>(string, length);
}

// The string leaves its storage for `block`, which it owns from now on.
template <class Kind>
void adoptBlock(RecordOf<Kind>* string, ElementOf<Kind>* block, uint64_t length, uint64_t capacity) {
  if (string->ownsBuffer == 1) string->pool->poolFree(string->pool, string->text);
  setText<Kind>(string, block, length, capacity, true);
  assert(isSound<Kind>(string));
}

template <class Kind>
ElementOf<Kind>* allocateFor(const RecordOf<Kind>* string, uint64_t capacity) {
  if (capacity == UINT64_MAX) return nullptr;
  return allocate<ElementOf<Kind>>(string->pool, capacity);
}

inline uint64_t addressOf(const void* pointer) {
  return reinterpret_cast<uintptr_t>(pointer);
}

// Bytes from the start of the text to a source inside it; anything beyond the text for a source elsewhere.
template <class Kind>
uint64_t byteOffsetIn(const RecordOf<Kind>* string, const ElementOf<Kind>* source) {
  return addressOf(source) - addressOf(string->text);
}

template <class Kind>
bool isInside(const RecordOf<Kind>* string, const ElementOf<Kind>* source) {
  return byteOffsetIn<Kind>(string, source) < lengthOf<Kind>(string) * sizeof(ElementOf<Kind>);
}

// Opens a gap at `position` and fills it. The part of a source inside the text that stood behind the
// position has moved with the tail.
template <class Kind>
void insertInPlace(RecordOf<Kind>* string, uint64_t position, const ElementOf<Kind>* source, uint64_t count) {
  using Element = ElementOf<Kind>;
  Element* gap = string->text + position;
  const bool isOwnText = isInside<Kind>(string, source);
  moveElements(gap + count, gap, lengthOf<Kind>(string) - position);
  if (!isOwnText) {
    moveMostlyShort(gap, source, count);
    return;
  }
  const uint64_t byteCount = count * sizeof(Element);
  const uint64_t from = addressOf(source);
  const uint64_t before = from < addressOf(gap) ? std::min(byteCount, addressOf(gap) - from) : 0;
  auto* target = reinterpret_cast<char*>(gap);
  const auto* bytes = reinterpret_cast<const char*>(source);
  std::memmove(target, bytes, before);
  std::memmove(target + before, bytes + before + byteCount, byteCount - before);
}

// The splice in a block of its own, `capacity` elements large.
template <class Kind>
[[gnu::noinline]] VQStatus spliceIntoBlock(RecordOf<Kind>* string, uint64_t position, uint64_t removed,
                                           const ElementOf<Kind>* source, uint64_t count) {
  const uint64_t oldLength = lengthOf<Kind>(string);
  const uint64_t length = saturatedSum(oldLength - removed, count);
  const uint64_t capacity = capacityFor(length);
  auto* block = allocateFor<Kind>(string, capacity);
  if (block == nullptr) return VQSTATUS_NO_MEMORY;
  copyElements(block, string->text, position);
  copyElements(block + position, source, count);
  const uint64_t tailStart = position + removed;
  if (tailStart < oldLength) {
    copyElements(block + position + count, string->text + tailStart, oldLength - tailStart);
  }
  block[length] = 0;
  adoptBlock<Kind>(string, block, length, capacity);
  return 0;
}

// An append whose text has a block that the pool may move or, better, extend where it stands.
template <class Kind>
[[gnu::noinline]] VQStatus appendReallocated(RecordOf<Kind>* string, const ElementOf<Kind>* source,
                                             uint64_t count) {
  using Element = ElementOf<Kind>;
  const uint64_t oldLength = lengthOf<Kind>(string);
  const uint64_t length = saturatedSum(oldLength, count);
  const uint64_t capacity = capacityFor(length);
  uint64_t byteCount = 0;
  if (capacity == UINT64_MAX || __builtin_mul_overflow(capacity, sizeof(Element), &byteCount)) {
    return VQSTATUS_NO_MEMORY;
  }
  const bool isOwnText = isInside<Kind>(string, source);
  const uint64_t offset = byteOffsetIn<Kind>(string, source);
  auto* block = static_cast<Element*>(string->pool->poolRealloc(string->pool, string->text, byteCount, 0));
  if (block == nullptr) return VQSTATUS_NO_MEMORY;
  if (isOwnText) source = reinterpret_cast<Element*>(reinterpret_cast<char*>(block) + offset);
  moveMostlyShort(block + oldLength, source, count);
  setText<Kind>(string, block, oldLength, capacity, true);
  endText<Kind>(string, length);
  return 0;
}

// ---- The edits. `source` may lie inside the string's own text. ----

template <class Kind>
VQStatus copyText(RecordOf<Kind>* string, const ElementOf<Kind>* source, uint64_t count, Room room) {
  if (!fits(count, static_cast<uint64_t>(string->capacity), room)) {
    return spliceIntoBlock<Kind>(string, 0, lengthOf<Kind>(string), source, count);
  }
  moveMostlyShort(string->text, source, count);
  endText<Kind>(string, count);
  return 0;
}

// An append that needs more than a few moves.
template <class Kind>
[[gnu::noinline]] VQStatus appendLong(RecordOf<Kind>* string, const ElementOf<Kind>* source, uint64_t count) {
  const uint64_t oldLength = lengthOf<Kind>(string);
  const uint64_t length = saturatedSum(oldLength, count);
  if (fits(length, static_cast<uint64_t>(string->capacity), Room::spare)) {
    moveElements(string->text + oldLength, source, count);
    endText<Kind>(string, length);
    return 0;
  }
  if (Kind::growth == Growth::reallocated && string->ownsBuffer == 1) {
    return appendReallocated<Kind>(string, source, count);
  }
  return spliceIntoBlock<Kind>(string, oldLength, 0, source, count);
}

// Most appends are short and find room: those cost no call and no frame. Where there is a capacity at all, a
// length and a few elements more do not overflow.
//
// A text that is longer than the first cache is written at its speed only if the lines are on their way
// before the elements come: the processor does not see a run of writes in one that pauses between calls.
template <class Kind>
inline VQStatus appendText(RecordOf<Kind>* string, const ElementOf<Kind>* source, uint64_t count) {
  constexpr uint64_t shortCount = shortBytes / sizeof(ElementOf<Kind>), ahead = 8 * shortCount;
  const uint64_t oldLength = lengthOf<Kind>(string), length = oldLength + count;
  ElementOf<Kind>* const text = string->text;
  if (count > shortCount || length + 1 >= static_cast<uint64_t>(string->capacity)) [[unlikely]] {
    return appendLong<Kind>(string, source, count);
  }
  moveShort(text + oldLength, source, count);
  text[length] = 0;
  __builtin_prefetch(text + length + ahead);
  string->length = static_cast<typename Kind::Length>(length);
  return 0;
}

// `position` is at most the length.
template <class Kind>
VQStatus insertText(RecordOf<Kind>* string, uint64_t position, const ElementOf<Kind>* source,
                    uint64_t count) {
  const uint64_t length = saturatedSum(lengthOf<Kind>(string), count);
  if (!fits(length, static_cast<uint64_t>(string->capacity), Room::tight)) {
    return spliceIntoBlock<Kind>(string, position, 0, source, count);
  }
  insertInPlace<Kind>(string, position, source, count);
  endText<Kind>(string, length);
  return 0;
}

// Puts `source` in the place of `removed` elements at `position`, which lie inside the text. The source lies
// outside.
template <class Kind>
VQStatus replaceText(RecordOf<Kind>* string, uint64_t position, uint64_t removed,
                     const ElementOf<Kind>* source, uint64_t count) {
  const uint64_t oldLength = lengthOf<Kind>(string);
  const uint64_t length = saturatedSum(oldLength - removed, count);
  if (!fits(length, static_cast<uint64_t>(string->capacity), Room::tight)) {
    return spliceIntoBlock<Kind>(string, position, removed, source, count);
  }
  auto* hole = string->text + position;
  moveElements(hole + count, hole + removed, oldLength - position - removed);
  copyElements(hole, source, count);
  endText<Kind>(string, length);
  return 0;
}

// Takes `front` elements off the start and leaves `length` of the rest.
template <class Kind>
void cutText(RecordOf<Kind>* string, uint64_t front, uint64_t length) {
  if (front != 0) moveElements(string->text, string->text + front, length);
  shortenText<Kind>(string, length);
}

}  // namespace vq

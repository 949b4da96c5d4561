// Room for a text that takes the place of a string's, as conversion and escaping need it.
#pragma once

#include "strings/storage.hpp"

namespace vq {

// Where the new text of a string goes: the string's own storage if that has room for a terminator too, else
// a new block. The string keeps its old text until the new one is settled, so that everything that can fail
// in front of the conversion leaves it whole, and so that the old text may be the source.
template <class Kind>
class Room {
 public:
  using Element = ElementOf<Kind>;

  Room(RecordOf<Kind>* string, uint64_t elementCount) : string_(string) {
    if (elementCount < static_cast<uint64_t>(string->capacity)) {
      text_ = string->text;
      capacity_ = static_cast<uint64_t>(string->capacity);
      return;
    }
    capacity_ = capacityFor(elementCount);
    block_ = PoolBlock<Element>(string->pool, allocate<Element>(string->pool, capacity_));
    text_ = block_.get();
  }

  explicit operator bool() const { return text_ != nullptr; }
  Element* text() const { return text_; }
  // What a converter may fill: the terminator has its place behind.
  uint64_t byteCount() const { return sizeof(Element) * (capacity_ - 1); }

  // The first `length` elements here become the string's text.
  void settle(uint64_t length) {
    if (block_) {
      if (string_->ownsBuffer == 1) string_->pool->poolFree(string_->pool, string_->text);
      setText<Kind>(string_, block_.release(), length, capacity_, true);
    }
    string_->length = static_cast<typename Kind::Length>(length);
    string_->text[length] = 0;
  }

 private:
  RecordOf<Kind>* string_;
  Element* text_ = nullptr;
  uint64_t capacity_ = 0;
  PoolBlock<Element> block_;
};

}  // namespace vq

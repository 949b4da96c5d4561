// New storage for a text that takes the place of a string's, as conversion and escaping need it.
#pragma once

#include "strings/editing.hpp"

namespace vq {

// Where the new text of a string goes: the string's own storage if that has room for a terminator too, else
// a new block. The string keeps its old text until the new one is settled, so that everything that can fail
// in front of that leaves it whole, and so that the old text may be the source.
template <class Kind>
class Refill {
 public:
  using Element = ElementOf<Kind>;

  Refill(RecordOf<Kind>* string, uint64_t elementCount) : string_(string) {
    capacity_ = static_cast<uint64_t>(string->capacity);
    if (fits(elementCount, capacity_, Room::tight)) {
      text_ = string->text;
      return;
    }
    capacity_ = capacityFor(elementCount);
    block_ = PoolBlock<Element>(string->pool, allocateFor<Kind>(string, capacity_));
    text_ = block_.get();
  }

  explicit operator bool() const { return text_ != nullptr; }
  Element* text() const { return text_; }
  // What a converter may fill: the terminator has its place behind.
  uint64_t elementCount() const { return capacity_ - 1; }
  uint64_t byteCount() const { return sizeof(Element) * elementCount(); }

  // The first `length` elements here become the string's text.
  void settle(uint64_t length) {
    if (block_) adoptBlock<Kind>(string_, block_.release(), length, capacity_);
    endText<Kind>(string_, length);
  }

 private:
  RecordOf<Kind>* string_;
  Element* text_ = nullptr;
  uint64_t capacity_ = 0;
  PoolBlock<Element> block_;
};

}  // namespace vq

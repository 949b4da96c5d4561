// The matchers of the tokeniser: a set of characters, a sequence, and a list of sequences, each for wide text
// and for UTF-8.
//
// Wide text is matched at any element. UTF-8 is matched where a character begins, and where that is, the walk
// from the start of the token by announced lengths decides: in ill-formed text a byte that looks like a
// delimiter may belong to the character in front of it.
#pragma once

#include <cstring>

#include "compare/element_scan.hpp"
#include "compare/tokens.hpp"
#include "text/search.hpp"
#include "utf/utf8_bytes.hpp"

namespace vq::tokens {

inline uint64_t announcedLength(const char* at) {
  return utf8::_utf8_len[static_cast<uint8_t>(*at)];
}

// Tells the positions where a character begins, asked in ascending order.
class CharacterStarts {
 public:
  explicit CharacterStarts(const char* start) : known_(start) {}

  bool contains(const char* position) {
    if (!isFree(position)) {
      while (known_ < position) known_ += announcedLength(known_);
      return known_ == position;
    }
    known_ = position;
    return true;
  }

  // The start that is known last: behind `position` when that one was inside a character.
  const char* known() const { return known_; }

 private:
  // No byte in front of the position announces a character that reaches it. In well-formed text this is all
  // that it takes, and the walk stays off.
  bool isFree(const char* position) const {
    constexpr int64_t longest = 6;
    for (int64_t distance = 1; distance < longest && position - distance >= known_; ++distance) {
      if (announcedLength(position - distance) > static_cast<uint64_t>(distance)) return false;
    }
    return true;
  }

  const char* known_;
};

// Any one of the elements.
struct WideSet {
  const VQChar* elements;
  uint64_t count;

  Match<VQChar> find(const Rest<VQChar>& rest) const {
    const VQChar* at = rest.end;
    if (count <= fewElements) {
      at = findAny(rest.start, rest.end, elements, count);
    } else {
      Candidates<VQChar> candidates;
      for (uint64_t i = 0; i < count; ++i) candidates.add(elements[i]);
      at = candidates.next(rest.start, rest.end);
      while (at != rest.end && !holds(*at)) at = candidates.next(at + 1, rest.end);
    }
    return at == rest.end ? Match<VQChar>{} : Match<VQChar>{at, 1};
  }

 private:
  // Up to here comparing a block with every element beats collecting the set anew on each call.
  static constexpr uint64_t fewElements = 16;

  bool holds(VQChar element) const { return findAny(&element, &element + 1, elements, count) == &element; }
};

// All the elements in order.
struct WideSequence {
  const VQChar* elements;
  uint64_t count;

  Match<VQChar> find(const Rest<VQChar>& rest) const {
    if (count == 0) return {};
    const int64_t index = text::findFirst(rest.start, rest.count(), elements, count);
    return index < 0 ? Match<VQChar>{} : Match<VQChar>{rest.start + index, count};
  }
};

// Any one of the characters of a UTF-8 text. A character that is cut off at the end of that text counts with
// the bytes that it has.
struct U8Set {
  const char* bytes;
  uint64_t byteCount;

  Match<char> find(const Rest<char>& rest) const {
    Candidates<char> firstBytes;
    for (uint64_t at = 0; at < byteCount; at += stepAt(at)) firstBytes.add(bytes[at]);
    CharacterStarts starts(rest.start);
    for (const char* from = rest.start; from < rest.end;) {
      const char* at = firstBytes.next(from, rest.end);
      if (at == rest.end) break;
      if (starts.contains(at)) {
        if (matchesAt(at, rest.end)) return {at, announcedLength(at)};
        from = at + 1;
      } else {
        from = starts.known();
      }
    }
    return {};
  }

 private:
  uint64_t stepAt(uint64_t at) const {
    return utf8::blindStep(reinterpret_cast<const uint8_t*>(bytes) + at, byteCount - at);
  }

  bool matchesAt(const char* position, const char* end) const {
    const uint64_t announced = announcedLength(position);
    const auto remaining = static_cast<uint64_t>(end - position);
    const uint64_t present = announced < remaining ? announced : remaining;
    for (uint64_t at = 0, step = 0; at < byteCount; at += step) {
      step = stepAt(at);
      if (step <= present && std::memcmp(bytes + at, position, step) == 0) return true;
    }
    return false;
  }
};

// All the bytes in order, where a character begins.
struct U8Sequence {
  const char* bytes;
  uint64_t byteCount;

  Match<char> find(const Rest<char>& rest) const {
    if (byteCount == 0) return {};
    const auto* needle = reinterpret_cast<const uint8_t*>(bytes);
    CharacterStarts starts(rest.start);
    for (const char* from = rest.start; from < rest.end;) {
      const int64_t index = text::findFirst(reinterpret_cast<const uint8_t*>(from),
                                            static_cast<uint64_t>(rest.end - from), needle, byteCount);
      if (index < 0) break;
      const char* at = from + index;
      if (starts.contains(at)) return {at, byteCount};
      from = starts.known();
    }
    return {};
  }
};

// The first of several texts, in their order, that stands at the leftmost place where any does.
template <class String>
struct List {
  using Element = std::remove_pointer_t<decltype(String::text)>;

  String* const* entries;
  int32_t count;

  Match<Element> find(const Rest<Element>& rest) const {
    Candidates<Element> firstElements;
    for (int32_t i = 0; i < count; ++i) {
      if (entries[i]->length != 0) firstElements.add(entries[i]->text[0]);
    }
    [[maybe_unused]] CharacterStarts starts(reinterpret_cast<const char*>(rest.start));
    for (const Element* from = rest.start; from < rest.end;) {
      const Element* at = firstElements.next(from, rest.end);
      if (at == rest.end) break;
      if constexpr (sizeof(Element) == 1) {
        if (!starts.contains(at)) {
          from = starts.known();
          continue;
        }
      }
      if (const Match<Element> match = matchAt(at, rest.end); match.at != nullptr) return match;
      from = at + 1;
    }
    return {};
  }

 private:
  Match<Element> matchAt(const Element* at, const Element* end) const {
    const auto remaining = static_cast<uint64_t>(end - at);
    for (int32_t i = 0; i < count; ++i) {
      const auto length = static_cast<uint64_t>(entries[i]->length);
      if (length == 0 || length > remaining) continue;
      if (std::memcmp(at, entries[i]->text, length * sizeof(Element)) == 0) return {at, length, i};
    }
    return {};
  }
};

}  // namespace vq::tokens

// Does a text stand in a string, as the whole of it, at its start or at its end: the one comparison behind
// all questions of this kind, for wide and UTF-8 strings.
//
// Three things vary, and each is a parameter: the kind of string, the anchor, and what makes two runs of
// elements the same. The exceptions for empty texts and empty strings belong to the single operations.
#pragma once

#include "compare/same_bytes.hpp"
#include "strings/conversion_pass.hpp"
#include "strings/kinds.hpp"
#include "vqstring/text.h"

namespace vq::matching {

enum class Anchor { whole, start, end };

// Exactly the same elements. A text without elements may be null.
struct Exact {
  template <class Element>
  static bool same(const Element* first, const Element* second, uint64_t count) {
    return sameBytes(first, second, count * sizeof(Element));
  }
};

// Each pair of elements folds alike by the fixed case tables.
struct Folded {
  static bool same(const VQChar* first, const VQChar* second, uint64_t count) {
    return vqzseqn(first, count, second, count) == 1;
  }
};

// No element is looked at unless the lengths allow a match.
template <Anchor anchor, class Sameness, class Record, class Element>
bool stands(const Record* string, const Element* text, uint64_t count) {
  const auto length = static_cast<uint64_t>(string->length);
  if (anchor == Anchor::whole ? count != length : count > length) return false;
  const uint64_t skipped = anchor == Anchor::end ? length - count : 0;
  return Sameness::same(string->text + skipped, text, count);
}

template <class Kind>
auto passTo(const typename Kind::Record* string, const void* text, int64_t length, uint32_t encoding) {
  if constexpr (Kind::encoding == ENC_WIDE) {
    return passToWide(string->service, string->pool, text, length, encoding);
  } else {
    return passToU8(string->service, string->pool, text, length, encoding);
  }
}

// With a text in any encoding, converted first where the host can. `*status` is 0 unless the conversion
// failed; the answer is false then.
template <class Kind, Anchor anchor, class Sameness = Exact>
bool standsConverted(const typename Kind::Record* string, const void* text, int64_t length, uint32_t encoding,
                     VQStatus* status) {
  const auto passed = passTo<Kind>(string, text, length, encoding);
  *status = passed.status;
  return passed.status == 0 && stands<anchor, Sameness>(string, passed.text, passed.elementCount);
}

}  // namespace vq::matching

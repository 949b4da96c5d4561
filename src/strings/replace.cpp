// Replacing occurrences of a wide needle: one, or all in one pass.
//
// A run over all occurrences stands for a series of single steps, each of which may grow the string by the
// capacity rule. Here the same text, offset and capacity come out of one pass, in time linear in the old and
// the new text. Only where the one large block cannot be had do the steps run singly, so that a growth that
// fails leaves what the steps before it made.
#include <algorithm>
#include <span>

#include "strings/conversion_pass.hpp"
#include "strings/editing.hpp"
#include "text/search.hpp"

using namespace vq;

namespace {

struct View {
  const VQChar* text;
  uint64_t length;
};

View viewOf(const VQString* string) {
  return {string->text, lengthOf<WideKind>(string)};
}

// A needle or replacement for the time of an edit: a copy if it lies where the edit writes.
class StableView {
 public:
  StableView(const VQString* edited, View view) : view_(view) {
    const uint64_t start = addressOf(edited->text), end = start + editedBytes(edited);
    const uint64_t from = addressOf(view.text), to = from + view.length * sizeof(VQChar);
    if (view.length == 0 || from >= end || to <= start) return;
    copy_ = PoolBlock<VQChar>(edited->pool, allocate<VQChar>(edited->pool, view.length));
    copyElements(copy_.get(), view.text, copy_ ? view.length : 0);
    view_.text = copy_.get();
  }
  bool hasNoMemory() const { return view_.length != 0 && view_.text == nullptr; }
  View view() const { return view_; }

 private:
  static uint64_t editedBytes(const VQString* edited) {
    return std::max(lengthOf<WideKind>(edited), static_cast<uint64_t>(edited->capacity)) * sizeof(VQChar);
  }

  View view_;
  PoolBlock<VQChar> copy_;
};

// The replacement as the edit inserts it: a host that converts even wide text into wide text is given the
// chance, as in every other insertion.
PassedText<VQChar> insertable(const VQString* string, View needle, View replacement) {
  PassedText<VQChar> passed;
  passed.text = replacement.text;
  passed.elementCount = replacement.length;
  if (replacement.length == 0 || replacement.length == needle.length ||
      !canConvert(string->service, ENC_WIDE, ENC_WIDE)) {
    return passed;
  }
  return convertToWide(string->service, string->pool, replacement.text, replacement.length * sizeof(VQChar),
                       ENC_WIDE);
}

int64_t findFrom(const VQString* string, uint64_t offset, View needle) {
  const uint64_t length = lengthOf<WideKind>(string);
  if (offset >= length || length - offset < needle.length) return -1;
  return text::findFirst(string->text + offset, length - offset, needle.text, needle.length);
}

void cutOut(VQString* string, uint64_t match, View needle) {
  VQChar* hole = string->text + match;
  const uint64_t length = lengthOf<WideKind>(string);
  moveElements(hole, hole + needle.length, length - match - needle.length);
  shortenText<WideKind>(string, length - needle.length);
}

// What a replacement leaves that found no memory: the match is overwritten by as much of a longer replacement
// as it holds, or cut out for a shorter one.
void leaveHalfReplaced(VQString* string, uint64_t match, View needle, View replacement) {
  if (replacement.length > needle.length) {
    copyElements(string->text + match, replacement.text, needle.length);
  } else {
    cutOut(string, match, needle);
  }
}

VQStatus replaceMatch(VQString* string, uint64_t match, View needle, View replacement) {
  if (replacement.length == needle.length) {
    moveMostlyShort(string->text + match, replacement.text, needle.length);
    return 0;
  }
  if (replacement.length == 0) {
    cutOut(string, match, needle);
    return 0;
  }
  const VQStatus status =
      replaceText<WideKind>(string, match, needle.length, replacement.text, replacement.length);
  if (status != 0) leaveHalfReplaced(string, match, needle, replacement);
  return status;
}

// One step from `*offset` on, which ends on the match or at the end of the text.
VQStatus replaceNext(VQString* string, View needle, View replacement, int64_t* offset) {
  const auto from = static_cast<uint64_t>(*offset);
  const int64_t found = findFrom(string, from, needle);
  if (found < 0) {
    *offset = string->length;
    return 0;
  }
  *offset += found;
  const auto match = static_cast<uint64_t>(*offset);
  const PassedText<VQChar> passed = insertable(string, needle, replacement);
  if (passed.status != 0) {
    leaveHalfReplaced(string, match, needle, replacement);
    return passed.status;
  }
  return replaceMatch(string, match, needle, {passed.text, passed.elementCount});
}

// ---- All occurrences. A match never begins inside another, nor inside a replacement. ----

// The next match of a run, by searching for it. A needle of one element tends to stand close, such as a blank
// between words, and is then found without a call.
struct SearchedMatches {
  View needle;
  int64_t next(const VQChar* rest, uint64_t length) const {
    constexpr uint64_t close = 16;
    uint64_t from = 0;
    if (needle.length == 1) {
      for (const uint64_t limit = std::min(length, close); from < limit; ++from) {
        if (rest[from] == needle.text[0]) return static_cast<int64_t>(from);
      }
      if (from == length) return -1;
    }
    const int64_t found = text::findFirst(rest + from, length - from, needle.text, needle.length);
    return found < 0 ? -1 : found + static_cast<int64_t>(from);
  }
};

// The matches of a run that was walked once before, to count them. The distances between the first ones are
// kept, so that a text with few matches is searched once; single elements are merely counted, which is faster
// than finding them.
class SurveyedMatches {
 public:
  SurveyedMatches(View needle, const VQChar* rest, uint64_t length) : search_{needle} {
    if (needle.length == 1) {
      areRemembered_ = false;
      count_ = static_cast<uint64_t>(std::count(rest, rest + length, needle.text[0]));
      return;
    }
    for (int64_t found; length != 0 && (found = search_.next(rest, length)) >= 0; ++count_) {
      if (count_ < remembered) distances_[count_] = found;
      const uint64_t passed = static_cast<uint64_t>(found) + needle.length;
      rest += passed;
      length -= passed;
    }
  }
  uint64_t count() const { return count_; }
  // Elements in front of each match since the match before it; empty if they were too many to keep.
  std::span<const int64_t> distances() const {
    return areRemembered_ && count_ <= remembered ? std::span(distances_, count_)
                                                  : std::span<const int64_t>();
  }
  int64_t next(const VQChar* rest, uint64_t length) {
    const uint64_t index = taken_++;
    if (index >= count_) return -1;
    return areRemembered_ && index < remembered ? distances_[index] : search_.next(rest, length);
  }

 private:
  static constexpr uint64_t remembered = 256;

  SearchedMatches search_;
  bool areRemembered_ = true;
  uint64_t count_ = 0, taken_ = 0;
  int64_t distances_[remembered];
};

struct Built {
  uint64_t length;
  // The last match was the end of the text.
  bool endsInMatch;
};

// Writes `source` with its matches replaced. Both may stand in the same memory as long as the target does not
// overtake the reading.
template <class Matches>
Built build(VQChar* target, const VQChar* source, uint64_t length, View needle, View replacement,
            Matches& matches) {
  VQChar* out = target;
  const VQChar* const end = source + length;
  while (source != end) {
    const auto rest = static_cast<uint64_t>(end - source);
    const int64_t found = matches.next(source, rest);
    const uint64_t kept = found < 0 ? rest : static_cast<uint64_t>(found);
    if (out != source) moveMostlyShort(out, source, kept);
    out += kept;
    if (found < 0) return {static_cast<uint64_t>(out - target), false};
    moveMostlyShort(out, replacement.text, replacement.length);
    out += replacement.length;
    source += kept + needle.length;
  }
  return {static_cast<uint64_t>(out - target), true};
}

// The same in place for matches that are known: the pieces between them move apart, the last one first, each
// straight to where it belongs.
Built spread(VQChar* text, uint64_t length, View needle, View replacement,
             std::span<const int64_t> distances) {
  const uint64_t growth = replacement.length - needle.length;
  uint64_t shift = growth * distances.size();
  // The piece that moves next, behind a match.
  uint64_t begin = needle.length * distances.size(), end = length;
  for (const int64_t distance : distances) begin += static_cast<uint64_t>(distance);
  const Built built = {length + shift, begin == length};
  for (size_t i = distances.size(); i-- > 0;) {
    moveElements(text + begin + shift, text + begin, end - begin);
    end = begin - needle.length;
    shift -= growth;
    moveMostlyShort(text + end + shift, replacement.text, replacement.length);
    begin = end - static_cast<uint64_t>(distances[i]);
  }
  return built;
}

// The capacity that `count` steps end with, each of which makes the text longer by `growth`.
uint64_t capacityAfterSteps(uint64_t capacity, uint64_t length, uint64_t growth, uint64_t count) {
  while (capacity != UINT64_MAX) {
    const uint64_t stepWithoutRoom = capacity <= length ? 1 : (capacity - length - 1) / growth + 1;
    if (stepWithoutRoom > count) break;
    capacity = capacityFor(length + stepWithoutRoom * growth);
  }
  return capacity;
}

VQStatus replaceStepwise(VQString* string, View needle, View replacement, int64_t* offset) {
  *offset = 0;
  while (*offset < string->length) {
    if (const VQStatus status = replaceNext(string, needle, replacement, offset); status != 0) return status;
    *offset += static_cast<int64_t>(replacement.length);
  }
  return 0;
}

// Where the run ends: behind the last replacement, or a replacement's length behind the end of the text when
// the last search found nothing.
int64_t finalOffset(uint64_t length, View replacement, bool endsInMatch) {
  return static_cast<int64_t>(endsInMatch ? length : length + replacement.length);
}

VQStatus replaceAllGrowing(VQString* string, uint64_t first, View needle, View replacement, int64_t* offset) {
  const uint64_t oldLength = lengthOf<WideKind>(string), rest = oldLength - first;
  const auto oldCapacity = static_cast<uint64_t>(string->capacity);
  const uint64_t growth = replacement.length - needle.length;
  SurveyedMatches matches(needle, string->text + first, rest);
  uint64_t added = 0, length = 0;
  if (__builtin_mul_overflow(matches.count(), growth, &added) ||
      __builtin_add_overflow(oldLength, added, &length)) {
    return replaceStepwise(string, needle, replacement, offset);
  }
  const uint64_t capacity = capacityAfterSteps(oldCapacity, oldLength, growth, matches.count());
  Built built;
  if (capacity == oldCapacity) {
    VQChar* start = string->text + first;
    if (const auto distances = matches.distances(); !distances.empty()) {
      built = spread(start, rest, needle, replacement, distances);
    } else {
      // The old text makes way at once for all that comes, and is then read behind the writing.
      moveElements(start + added, start, rest);
      built = build(start, start + added, rest, needle, replacement, matches);
    }
    endText<WideKind>(string, length);
  } else {
    VQChar* block = allocateFor<WideKind>(string, capacity);
    if (block == nullptr) return replaceStepwise(string, needle, replacement, offset);
    copyElements(block, string->text, first);
    built = build(block + first, string->text + first, rest, needle, replacement, matches);
    block[length] = 0;
    adoptBlock<WideKind>(string, block, length, capacity);
  }
  *offset = finalOffset(length, replacement, built.endsInMatch);
  return 0;
}

// Without growth no step can fail but the first of a borrowed text, which moves it to a block.
VQStatus replaceAllInPlace(VQString* string, uint64_t first, View needle, View replacement, int64_t* offset) {
  uint64_t from = first;
  if (string->capacity == 0 && replacement.length != 0 && replacement.length < needle.length) {
    if (const VQStatus status = replaceMatch(string, first, needle, replacement); status != 0) return status;
    from += replacement.length;
  }
  VQChar* start = string->text + from;
  SearchedMatches matches{needle};
  const Built built = build(start, start, lengthOf<WideKind>(string) - from, needle, replacement, matches);
  const uint64_t length = from + built.length;
  shortenText<WideKind>(string, length);
  *offset = finalOffset(length, replacement, built.endsInMatch);
  return 0;
}

VQStatus replaceAll(VQString* string, View needle, View replacement, int64_t* offset) {
  const int64_t found = findFrom(string, 0, needle);
  if (found < 0) {
    *offset = finalOffset(lengthOf<WideKind>(string), replacement, false);
    return 0;
  }
  const auto first = static_cast<uint64_t>(found);
  const PassedText<VQChar> passed = insertable(string, needle, replacement);
  if (passed.status != 0) {
    leaveHalfReplaced(string, first, needle, replacement);
    return passed.status;
  }
  const View inserted = {passed.text, passed.elementCount};
  return inserted.length > needle.length ? replaceAllGrowing(string, first, needle, inserted, offset)
                                         : replaceAllInPlace(string, first, needle, inserted, offset);
}

// The replacement as a wide string that the reference holds: itself, or a wide copy of a UTF-8 string.
VQStatus holdWide(VQString* string, VQInstance* replacement, Reference<VQString>* held) {
  if (replacement->instanceIsKindOf(replacement, WideKind::typeName)) {
    *held = Reference<VQString>::share(reinterpret_cast<VQString*>(replacement));
    return 0;
  }
  const auto* source = reinterpret_cast<const VQU8String*>(replacement);
  VQString* made = nullptr;
  VQStringService* service = string->service;
  const VQStatus status = service->vqStringEncode(service, &made, string->pool, source->text,
                                                  static_cast<int64_t>(source->length), ENC_UTF8);
  if (status == 0) *held = Reference<VQString>(made);
  return status;
}

VQStatus replace(VQString* string, View needle, View replacement, bool all, int64_t* offset) {
  const StableView sought(string, needle), inserted(string, replacement);
  if (sought.hasNoMemory() || inserted.hasNoMemory()) return VQSTATUS_NO_MEMORY;
  int64_t at = !all && offset != nullptr ? *offset : 0;
  const VQStatus status = all ? replaceAll(string, sought.view(), inserted.view(), &at)
                              : replaceNext(string, sought.view(), inserted.view(), &at);
  if (all && status != 0) return status;
  if (offset != nullptr) *offset = at;
  return status;
}

}  // namespace

VQStatus replaceSubstring(VQString* string, const VQString* needle, const VQString* replacement,
                          int64_t* offset) {
  const View inserted = replacement != nullptr ? viewOf(replacement) : View{nullptr, 0};
  return replace(string, viewOf(needle), inserted, false, offset);
}

VQStatus vqStringReplaceSubstring(VQString* string, const VQString* needle, VQInstance* replacement,
                                  uint8_t all, int64_t* offset) {
  if (string == nullptr) return VQSTATUS_BAD_ARGUMENT;
  // An empty needle would be found everywhere, for ever.
  if (string->length == 0 || needle->length == 0) return 0;
  Reference<VQString> wide;
  if (const VQStatus status = holdWide(string, replacement, &wide); status != 0) return status;
  return replace(string, viewOf(needle), viewOf(wide.get()), all != 0, offset);
}

VQStatus vqStringReplaceSubstringVQText(VQString* string, const VQChar* needle, int64_t needleLength,
                                        const VQChar* replacement, int64_t replacementLength, uint8_t all,
                                        int64_t* offset) {
  if (string == nullptr) return VQSTATUS_BAD_ARGUMENT;
  const View sought = {needle, needle == nullptr ? 0 : resolvedLength<WideKind>(needle, needleLength)};
  if (string->length == 0 || sought.length == 0) return 0;
  const View inserted = {
      replacement, replacement == nullptr ? 0 : resolvedLength<WideKind>(replacement, replacementLength)};
  return replace(string, sought, inserted, all != 0, offset);
}

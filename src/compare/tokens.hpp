// The tokeniser: what is left of the source, the token that a match ends, and where the walk goes on.
//
// How a delimiter is found is a matcher's business: anything with
//
//   Match find(const Rest<Element>&) const
//
// Everything else is common to all operations but for one question, what a delimiter at the very end of the
// source leaves behind, which `Ending` answers.
#pragma once

#include <cstdint>
#include <type_traits>

#include "vqstring/compare.h"
#include "vqstring/host.h"
#include "vqstring/strings.h"

namespace vq::tokens {

enum class Ending {
  emptyToken,  // one more token, empty and the last
  ends,        // nothing
};

// By operation. No rule connects them: callers rely on each as it stands.
inline constexpr Ending wideSet = Ending::emptyToken;
inline constexpr Ending wideSequence = Ending::ends;
inline constexpr Ending wideList = Ending::ends;
inline constexpr Ending u8Set = Ending::emptyToken;
inline constexpr Ending u8Sequence = Ending::emptyToken;
inline constexpr Ending u8List = Ending::ends;

// The part of the source that has not been handed out; `text` is where the whole source begins.
template <class Element>
struct Rest {
  const Element* text;
  const Element* start;
  const Element* end;

  uint64_t count() const { return static_cast<uint64_t>(end - start); }
};

// A delimiter in the source. Its length may reach beyond the end, where a character is cut off.
template <class Element>
struct Match {
  const Element* at = nullptr;  // null: none
  uint64_t length = 0;
  int32_t index = 0;  // which delimiter of a list
};

template <class Tokenizer>
auto restOf(const Tokenizer* tokenizer) {
  const auto* source = tokenizer->source;
  using Element = std::remove_pointer_t<decltype(source->text)>;
  return Rest<Element>{source->text, tokenizer->position, source->text + source->length};
}

// Points a token into the source. Its own block, if it has one, goes back first.
template <class Token, class Element>
void setToken(Token* token, const Element* text, uint64_t length) {
  if (token->ownsBuffer == 1) [[unlikely]] {
    token->pool->poolFree(token->pool, token->text);
    token->ownsBuffer = 0;
    token->capacity = 0;
  }
  token->text = const_cast<Element*>(text);
  token->length = static_cast<decltype(token->length)>(length);
}

// Hands out the token in front of `match` and moves the walk behind it, or ends the walk.
template <Ending ending, class Tokenizer, class Element, class Token>
[[gnu::always_inline]] inline int32_t handOut(Tokenizer* tokenizer, const Rest<Element>& rest,
                                              const Match<Element>& match, Token* token) {
  if (match.at == nullptr) {
    setToken(token, rest.start, rest.count());
    tokenizer->source = nullptr;
    return -1;
  }
  setToken(token, rest.start, static_cast<uint64_t>(match.at - rest.start));
  const auto remaining = static_cast<uint64_t>(rest.end - match.at);
  const bool goesOn = ending == Ending::emptyToken ? match.length <= remaining : match.length < remaining;
  if (goesOn) {
    tokenizer->position = const_cast<Element*>(match.at) + match.length;
  } else {
    tokenizer->source = nullptr;
  }
  return match.index;
}

// One call of a list operation: the index of the delimiter, -1 for the last token and for none. Out of line,
// so that an operation can choose between matchers before it needs a frame.
template <Ending ending, class Tokenizer, class Matcher, class Token>
[[gnu::noinline]] int32_t nextIndex(Tokenizer* tokenizer, const Matcher& matcher, Token* token) {
  if (tokenizer->source == nullptr) return -1;
  const auto rest = restOf(tokenizer);
  return handOut<ending>(tokenizer, rest, matcher.find(rest), token);
}

// One call of any other operation: the token, null when there is none.
template <Ending ending, class Tokenizer, class Matcher, class Token>
[[gnu::noinline]] Token* nextToken(Tokenizer* tokenizer, const Matcher& matcher, Token* token) {
  if (tokenizer->source == nullptr) return nullptr;
  const auto rest = restOf(tokenizer);
  handOut<ending>(tokenizer, rest, matcher.find(rest), token);
  return token;
}

}  // namespace vq::tokens

// Tokens between delimiters of one element, which is what most walks ask for: the same matches as the general
// matchers find, with less to do before the first element is looked at.
//
// A walk is a chain: where one token ends, the search for the next begins, and the record carries nothing but
// that position. So a whole block is compared at once, and neither a branch nor an address depends on where
// in it the delimiter stands; comparing one element after the other is faster only while the processor
// guesses the ends of the tokens, and takes twice the time where it does not.
//
// Where tokens are short, the block is loaded from where the token before the last one began, which the
// thread remembers: so the comparison for one token runs while the two before it are still being looked for,
// and what remains of the chain is the place in the block.
#pragma once

#include <immintrin.h>

#include <algorithm>
#include <bit>

#include "compare/delimiters.hpp"
#include "text/cpu.hpp"

namespace vq::tokens {

// An ASCII byte may belong to an ill-formed character in front of it.
inline bool beginsCharacter(const Rest<VQChar>&, const VQChar*) {
  return true;
}
inline bool beginsCharacter(const Rest<char>& rest, const char* position) {
  return CharacterStarts(rest.start).contains(position);
}

template <class Element>
auto generalMatcher(const Element* delimiter) {
  if constexpr (sizeof(Element) == sizeof(VQChar)) {
    return WideSet{delimiter, 1};
  } else {
    return U8Set{delimiter, 1};
  }
}

// What the short paths leave over, called last, so that they need no frame: tokens that own a block, the ends
// of the source, delimiters far away or inside another character.
template <Ending ending, class Tokenizer, class Element, class Token>
[[gnu::noinline]] Token* nextSearched(Tokenizer* tokenizer, Element delimiter, Token* token) {
  const auto rest = restOf(tokenizer);
  const Element* at = findAny(rest.start, rest.end, &delimiter, 1);
  if (at != rest.end && !beginsCharacter(rest, at)) {
    return nextToken<ending>(tokenizer, generalMatcher(&delimiter), token);
  }
  handOut<ending>(tokenizer, rest, at == rest.end ? Match<Element>{} : Match<Element>{at, 1}, token);
  return token;
}

// One comparison after the other. Each exit knows its distance as a constant, so that a guessed exit does not
// wait for the comparisons.
template <Ending ending, class Tokenizer, class Element, class Token>
[[gnu::noinline]] Token* nextStepwise(Tokenizer* tokenizer, Element delimiter, Token* token) {
  if (token->ownsBuffer == 1) [[unlikely]]
    return nextSearched<ending>(tokenizer, delimiter, token);
  const auto rest = restOf(tokenizer);
  const auto end = [&](const Element* at) {
    if (!beginsCharacter(rest, at)) return nextSearched<ending>(tokenizer, delimiter, token);
    handOut<ending>(tokenizer, rest, Match<Element>{at, 1}, token);
    return token;
  };
  const Element* at = rest.start;
  for (; rest.end - at >= 8; at += 8) {
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) {
      if (at[i] == delimiter) return end(at + i);
    }
  }
  for (; at != rest.end; ++at) {
    if (*at == delimiter) return end(at);
  }
  handOut<ending>(tokenizer, rest, Match<Element>{}, token);
  return token;
}

constexpr int64_t blockBytes = 2 * sizeof(__m256i);

// A bit for every byte of two vectors.
VQ_TARGET_AVX2 inline uint64_t bitsOf(__m256i low, __m256i high) {
  return static_cast<uint32_t>(_mm256_movemask_epi8(low)) |
         static_cast<uint64_t>(static_cast<uint32_t>(_mm256_movemask_epi8(high))) << 32;
}

VQ_TARGET_AVX2 inline uint64_t equalBits(__m256i low, __m256i high, VQChar element) {
  const __m256i wanted = _mm256_set1_epi32(static_cast<int>(element));
  return bitsOf(_mm256_cmpeq_epi32(low, wanted), _mm256_cmpeq_epi32(high, wanted));
}
VQ_TARGET_AVX2 inline uint64_t equalBits(__m256i low, __m256i high, char element) {
  const __m256i wanted = _mm256_set1_epi8(element);
  return bitsOf(_mm256_cmpeq_epi8(low, wanted), _mm256_cmpeq_epi8(high, wanted));
}

// Hands out the token in front of a delimiter that stands in the rest.
template <Ending ending, class Tokenizer, class Element, class Token>
[[gnu::always_inline]] inline void endToken(Tokenizer* tokenizer, const Rest<Element>& rest,
                                            const Element* delimiter, Token* token) {
  token->text = const_cast<Element*>(rest.start);
  token->length = delimiter - rest.start;
  if (ending == Ending::ends && delimiter + 1 == rest.end) [[unlikely]] {
    tokenizer->source = nullptr;
  } else {
    tokenizer->position = const_cast<Element*>(delimiter) + 1;
  }
}

// Looks at 64 bytes at once: those from the aligned address at or before the start, moved to where the source
// has them all; an aligned load saves a quarter of the time of a token. Sources of fewer bytes do not come
// here.
template <Ending ending, class Tokenizer, class Element, class Token>
[[gnu::noinline]] VQ_TARGET_AVX2 Token* nextInBlock(Tokenizer* tokenizer, Element delimiter, Token* token) {
  if (token->ownsBuffer == 1) [[unlikely]]
    return nextSearched<ending>(tokenizer, delimiter, token);
  const auto rest = restOf(tokenizer);
  const auto* start = reinterpret_cast<const char*>(rest.start);
  const auto* end = reinterpret_cast<const char*>(rest.end);
  const char* block = start - reinterpret_cast<uintptr_t>(start) % sizeof(__m256i);
  // Branches, not minimum and maximum: the next token waits for the address.
  if (block < reinterpret_cast<const char*>(rest.text)) [[unlikely]] {
    block = start;
  }
  if (end - block < blockBytes) [[unlikely]] {
    if (start == end) return nextSearched<ending>(tokenizer, delimiter, token);
    block = end - blockBytes;
  }
  const __m256i low = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(block));
  const __m256i high = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(block) + 1);
  const auto skipped = static_cast<uint64_t>(start - block);
  const uint64_t found = equalBits(low, high, delimiter) >> skipped;
  if (found == 0) [[unlikely]] {
    if (end - block != blockBytes) return nextSearched<ending>(tokenizer, delimiter, token);
    handOut<ending>(tokenizer, rest, Match<Element>{}, token);
    return token;
  }
  const auto* at = reinterpret_cast<const Element*>(start + std::countr_zero(found));
  if constexpr (sizeof(Element) == 1) {
    const uint64_t notAscii = bitsOf(low, high) >> skipped;
    if ((notAscii & (found ^ (found - 1))) != 0 && !beginsCharacter(rest, at)) [[unlikely]] {
      return nextSearched<ending>(tokenizer, delimiter, token);
    }
  }
  endToken<ending>(tokenizer, rest, at, token);
  return token;
}

// Where the token before the one that a token record holds began, if this thread walks one source with one
// record. It only says where to look first: the trail of another walk is seen to be one. A word is small
// enough for the room that the dynamic linker keeps for libraries that are loaded late.
inline thread_local constinit const void* trail __attribute__((tls_model("initial-exec"))) = nullptr;

// The rare ends of a search from the trail, called last, as nextSearched is: nothing found where the trail
// leads, and a delimiter behind bytes above ASCII.
template <Ending ending, class Tokenizer, class Element, class Token>
[[gnu::noinline]] Token* nextOffTrail(Tokenizer* tokenizer, const Element* delimiter, Token* token) {
  trail = tokenizer->position;
  constexpr auto blockElements = blockBytes / static_cast<int64_t>(sizeof(Element));
  const auto length = static_cast<int64_t>(tokenizer->source->length);
  return length >= blockElements && cpu::hasAvx2() ? nextInBlock<ending>(tokenizer, *delimiter, token)
                                                   : nextStepwise<ending>(tokenizer, *delimiter, token);
}
template <Ending ending, class Tokenizer, class Element, class Token>
[[gnu::noinline]] Token* nextUpTo(Tokenizer* tokenizer, const Element* delimiter, Token* token) {
  const auto rest = restOf(tokenizer);
  if (!beginsCharacter(rest, delimiter)) return nextSearched<ending>(tokenizer, *delimiter, token);
  endToken<ending>(tokenizer, rest, delimiter, token);
  return token;
}

// Elements that are looked at from the trail on.
template <class Element>
constexpr int64_t windowElements = sizeof(Element) == 1 ? 64 : 32;

struct Seen {
  uint64_t delimiters;  // a bit for each element that is one
  uint32_t notAscii;    // not 0 if there are bytes above ASCII
};

VQ_TARGET_AVX2 inline Seen lookAt(const char* from, char delimiter) {
  const __m256i low = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
  const __m256i high = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from) + 1);
  return {equalBits(low, high, delimiter),
          static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_or_si256(low, high)))};
}
VQ_TARGET_AVX2 inline Seen lookAt(const VQChar* from, VQChar delimiter) {
  const auto* blocks = reinterpret_cast<const __m256i*>(from);
  const __m256i wanted = _mm256_set1_epi32(static_cast<int>(delimiter));
  const __m256i low = _mm256_packs_epi32(_mm256_cmpeq_epi32(_mm256_loadu_si256(blocks), wanted),
                                         _mm256_cmpeq_epi32(_mm256_loadu_si256(blocks + 1), wanted));
  const __m256i high = _mm256_packs_epi32(_mm256_cmpeq_epi32(_mm256_loadu_si256(blocks + 2), wanted),
                                          _mm256_cmpeq_epi32(_mm256_loadu_si256(blocks + 3), wanted));
  // Packing leaves four elements of each vector in turn.
  const __m256i inOrder =
      _mm256_permutevar8x32_epi32(_mm256_packs_epi16(low, high), _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
  return {static_cast<uint32_t>(_mm256_movemask_epi8(inOrder)), 0};
}

// Looks from the trail on, as far as the source goes. All places are addresses, since neither the trail nor
// the token need point into the source, and the end may be closer to the null than the window is large.
template <Ending ending, class Tokenizer, class Element, class Token>
[[gnu::noinline]] VQ_TARGET_AVX2 Token* nextFromTrail(Tokenizer* tokenizer, const Element* delimiter,
                                                      Token* token) {
  if (tokenizer->source == nullptr) [[unlikely]]
    return nullptr;
  constexpr uint64_t elements = windowElements<Element>, bytes = elements * sizeof(Element);
  const auto rest = restOf(tokenizer);
  const auto start = reinterpret_cast<uintptr_t>(rest.start),
             last = reinterpret_cast<uintptr_t>(rest.end) - bytes;
  const uintptr_t window = std::min(reinterpret_cast<uintptr_t>(trail), last);
  // Many, if the trail is not that of whole elements here.
  const uint64_t skipped = std::rotr(start - window, sizeof(Element) == 1 ? 0 : 2);
  // Nothing was handed out yet at the start of a walk.
  if (skipped != 0) [[likely]]
    trail = token->text;
  if (window < reinterpret_cast<uintptr_t>(rest.text) || skipped >= elements || token->ownsBuffer == 1)
      [[unlikely]] {
    return nextOffTrail<ending>(tokenizer, delimiter, token);
  }
  const Seen seen = lookAt(reinterpret_cast<const Element*>(window), *delimiter);
  const uint64_t found = seen.delimiters >> skipped;
  if (found == 0) [[unlikely]]
    return nextOffTrail<ending>(tokenizer, delimiter, token);
  const Element* const at = rest.start + std::countr_zero(found);
  if (seen.notAscii != 0) [[unlikely]]
    return nextUpTo<ending>(tokenizer, at, token);
  endToken<ending>(tokenizer, rest, at, token);
  return token;
}

// One call of the operation with a delimiter of one element, in UTF-8 an ASCII byte.
template <Ending ending, class Tokenizer, class Element, class Token>
inline Token* nextBySingle(Tokenizer* tokenizer, const Element* delimiter, Token* token) {
  if (cpu::hasAvx2()) [[likely]]
    return nextFromTrail<ending>(tokenizer, delimiter, token);
  return tokenizer->source == nullptr ? nullptr : nextStepwise<ending>(tokenizer, *delimiter, token);
}

}  // namespace vq::tokens

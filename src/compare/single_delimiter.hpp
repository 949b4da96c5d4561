// Tokens between delimiters of one element, which is what most walks ask for: the same matches as the general
// matchers find, with less to do before the first element is looked at.
//
// A walk is a chain: where one token ends, the search for the next begins, and the record carries nothing but
// that position. So a whole block is compared at once, and neither a branch nor an address depends on where
// in it the delimiter stands; comparing one element after the other is faster only while the processor
// guesses the ends of the tokens, and takes twice the time where it does not. Loading the block from an
// aligned address saves a quarter of the time of a token.
#pragma once

#include <immintrin.h>

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

// Looks at 64 bytes at once: those from the aligned address at or before the start, moved to where the source
// has them all. Sources of fewer bytes do not come here.
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
  if (found == 0) [[unlikely]]
    return nextSearched<ending>(tokenizer, delimiter, token);
  const auto* at = reinterpret_cast<const Element*>(start + std::countr_zero(found));
  if constexpr (sizeof(Element) == 1) {
    const uint64_t notAscii = bitsOf(low, high) >> skipped;
    if ((notAscii & (found ^ (found - 1))) != 0 && !beginsCharacter(rest, at)) [[unlikely]] {
      return nextSearched<ending>(tokenizer, delimiter, token);
    }
  }
  handOut<ending>(tokenizer, rest, Match<Element>{at, 1}, token);
  return token;
}

// One call of the operation with a delimiter of one element, in UTF-8 an ASCII byte.
template <Ending ending, class Tokenizer, class Element, class Token>
Token* nextBySingle(Tokenizer* tokenizer, Element delimiter, Token* token) {
  if (tokenizer->source == nullptr) return nullptr;
  constexpr auto blockElements = blockBytes / static_cast<int64_t>(sizeof(Element));
  if (static_cast<int64_t>(tokenizer->source->length) >= blockElements && cpu::hasAvx2()) {
    return nextInBlock<ending>(tokenizer, delimiter, token);
  }
  return nextStepwise<ending>(tokenizer, delimiter, token);
}

}  // namespace vq::tokens

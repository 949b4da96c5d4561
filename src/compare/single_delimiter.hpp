// Tokens between delimiters of one element, which is what most walks ask for: the same matches as the general
// matchers find, with less to do before the first element is looked at.
//
// A walk is a chain: where one token ends, the search for the next begins, and the record carries nothing but
// that position. Two ways to keep the chain short were measured. Plain comparisons let the processor guess
// the ends of tokens, which is fastest as long as it guesses right, as in short texts that come again. In
// long texts it guesses wrong; there, a whole block is compared at once and no branch depends on where in
// it the delimiter stands. Loading the block from an aligned address takes a quarter off the time of a token.
#pragma once

#include <immintrin.h>

#include <bit>

#include "compare/delimiters.hpp"
#include "text/cpu.hpp"

namespace vq::tokens {

// The general matcher of a single delimiter.
inline Match<VQChar> findGeneral(const Rest<VQChar>& rest, const VQChar& delimiter) {
  return WideSet{&delimiter, 1}.find(rest);
}
[[gnu::noinline]] inline Match<char> findGeneral(const Rest<char>& rest, const char& delimiter) {
  return U8Set{&delimiter, 1}.find(rest);
}

// An ASCII byte may belong to an ill-formed character in front of it.
inline bool beginsCharacter(const Rest<VQChar>&, const VQChar*) {
  return true;
}
inline bool beginsCharacter(const Rest<char>& rest, const char* position) {
  return CharacterStarts(rest.start).contains(position);
}

// One comparison after the other. Each exit knows its distance as a constant, so that a guessed exit does not
// wait for the comparisons.
template <class Element>
[[gnu::always_inline]] inline Match<Element> findStepwise(const Rest<Element>& rest, Element delimiter) {
  const Element* at = rest.start;
  const auto found = [&](const Element* position) {
    return beginsCharacter(rest, position) ? Match<Element>{position, 1} : findGeneral(rest, delimiter);
  };
  for (; rest.end - at >= 8; at += 8) {
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) {
      if (at[i] == delimiter) return found(at + i);
    }
  }
  for (; at != rest.end; ++at) {
    if (*at == delimiter) return found(at);
  }
  return {};
}

// A bit for every byte of two vectors.
VQ_TARGET_AVX2 inline uint64_t bitsOf(__m256i low, __m256i high) {
  return static_cast<uint32_t>(_mm256_movemask_epi8(low)) |
         static_cast<uint64_t>(static_cast<uint32_t>(_mm256_movemask_epi8(high))) << 32;
}

// The 64 bytes from the vector that holds the start, if they lie inside the source; what is not found there
// goes to the general matcher.
template <class Element>
VQ_TARGET_AVX2 inline Match<Element> findInBlock(const Rest<Element>& rest, Element delimiter) {
  const auto skipped = reinterpret_cast<uintptr_t>(rest.start) % sizeof(__m256i);
  const auto* block = reinterpret_cast<const char*>(rest.start) - skipped;
  const auto* vectors = reinterpret_cast<const __m256i*>(block);
  if (block < reinterpret_cast<const char*>(rest.text) ||
      reinterpret_cast<const char*>(rest.end) - block < static_cast<int64_t>(2 * sizeof(__m256i))) {
    return findGeneral(rest, delimiter);
  }
  const __m256i low = _mm256_load_si256(vectors);
  const __m256i high = _mm256_load_si256(vectors + 1);
  uint64_t found = 0;
  uint64_t notAscii = 0;
  if constexpr (sizeof(Element) == sizeof(VQChar)) {
    const __m256i wanted = _mm256_set1_epi32(static_cast<int>(delimiter));
    found = bitsOf(_mm256_cmpeq_epi32(low, wanted), _mm256_cmpeq_epi32(high, wanted)) >> skipped;
  } else {
    const __m256i wanted = _mm256_set1_epi8(delimiter);
    found = bitsOf(_mm256_cmpeq_epi8(low, wanted), _mm256_cmpeq_epi8(high, wanted)) >> skipped;
    notAscii = bitsOf(low, high) >> skipped;
  }
  if (found == 0) return findGeneral(rest, delimiter);
  const Element* at = rest.start + static_cast<uint64_t>(std::countr_zero(found)) / sizeof(Element);
  const bool isAsciiUpToThere = (notAscii & (found ^ (found - 1))) == 0;
  if (!isAsciiUpToThere && !beginsCharacter(rest, at)) return findGeneral(rest, delimiter);
  return {at, 1};
}

template <Ending ending, class Tokenizer, class Element, class Token>
VQ_TARGET_AVX2 [[gnu::noinline]] Token* nextInBlock(Tokenizer* tokenizer, Element delimiter, Token* token) {
  const auto rest = restOf(tokenizer);
  handOut<ending>(tokenizer, rest, findInBlock(rest, delimiter), token);
  return token;
}

// One call of the operation with a delimiter of one element, in UTF-8 an ASCII byte.
template <Ending ending, class Tokenizer, class Element, class Token>
Token* nextBySingle(Tokenizer* tokenizer, Element delimiter, Token* token) {
  // Elements of a source that is walked stepwise.
  constexpr int64_t shortSource = 64;
  if (tokenizer->source == nullptr) return nullptr;
  if (static_cast<int64_t>(tokenizer->source->length) > shortSource && cpu::hasAvx2()) {
    return nextInBlock<ending>(tokenizer, delimiter, token);
  }
  const auto rest = restOf(tokenizer);
  handOut<ending>(tokenizer, rest, findStepwise(rest, delimiter), token);
  return token;
}

}  // namespace vq::tokens

// Comparing without regard to case with AVX-512.
//
// A block of both texts is walked at once: where the bytes differ, either both are ASCII letters of one kind
// or both belong to characters of two bytes in the same place. Those characters are drawn together and looked
// up in the table of what the host has answered. As nothing else may differ, both texts have the same shape,
// and judging one is enough.
//
// The host is called for the pairs of several blocks together: whether a pair is new is hard to guess for the
// processor, and so no branch asks that.
#include <bit>

#include "utf/utf8_alike.hpp"
#include "utf/utf8_blocks_avx512.hpp"

namespace vq::utf8::avx512 {

namespace {

VQ_TARGET_AVX512 inline __m512i foldAscii(__m512i bytes) {
  const __m512i place = _mm512_sub_epi8(bytes, splat8<'A'>());
  const __mmask64 isUpper = _mm512_cmplt_epu8_mask(place, splat8<26>());
  return _mm512_mask_add_epi8(bytes, isUpper, bytes, splat8<0x20>());
}

// First bytes of two, none of which begins an overlong form.
VQ_TARGET_AVX512 inline __mmask64 findFirstsOfTwo(__m512i bytes) {
  return _mm512_cmplt_epu8_mask(_mm512_sub_epi8(bytes, splat8<0xC2>()), splat8<0xE0 - 0xC2>());
}
VQ_TARGET_AVX512 inline __mmask64 findContinuations(__m512i bytes) {
  return _mm512_cmplt_epi8_mask(bytes, splat8<0xC0>());
}

// Characters of two bytes, drawn together.
VQ_TARGET_AVX512 inline __m512i charactersAt(__m512i bytes, uint64_t firsts) {
  constexpr int16_t base = 0xC0 * 64 + 0x80;
  const __m512i together = _mm512_maskz_compress_epi8(firsts | firsts << 1, bytes);
  const __m512i joined = _mm512_maddubs_epi16(together, _mm512_set1_epi16(0x0140));
  return _mm512_sub_epi16(joined, _mm512_set1_epi16(base));
}

// Pairs of characters of two bytes: the first of each, and what the table of partners has for the pair.
struct Pairs {
  __m512i characters;
  __m512i entries;
};
VQ_TARGET_AVX512 inline Pairs pairsAt(__m512i first, __m512i second, uint64_t firsts) {
  const __m512i characters = charactersAt(first, firsts);
  const __m512i rest = _mm512_slli_epi16(_mm512_srli_epi16(characters, 8), 11);
  return {characters, _mm512_or_si512(rest, charactersAt(second, firsts))};
}

// Which of the pairs are known to fold alike.
VQ_TARGET_AVX512 inline uint32_t findKnown(const Pairs& pairs, const PartnerTable& partners) {
  // A look-up takes six bits of the index and lets the upper ones go.
  const auto lookUp = [&partners, &pairs](size_t quarter) VQ_TARGET_AVX512 {
    const uint16_t* at = partners.entries + quarter * 64;
    return _mm512_permutex2var_epi16(_mm512_load_si512(at), pairs.characters, _mm512_load_si512(at + 32));
  };
  const __mmask32 isOdd = _mm512_test_epi16_mask(pairs.characters, _mm512_set1_epi16(0x40));
  const __mmask32 isUpper = _mm512_test_epi16_mask(pairs.characters, _mm512_set1_epi16(0x80));
  const __m512i lower = _mm512_mask_blend_epi16(isOdd, lookUp(0), lookUp(1));
  const __m512i upper = _mm512_mask_blend_epi16(isOdd, lookUp(2), lookUp(3));
  return _mm512_cmpeq_epi16_mask(_mm512_mask_blend_epi16(isUpper, lower, upper), pairs.entries);
}

// What ends regular text in a block that has other characters than those of one and two bytes.
VQ_TARGET_AVX512 inline uint64_t findIrregular(__m512i bytes) {
  return numberOf(_mm512_movepi8_mask(findMisplaced(bytes, beforeOpening(bytes))) |
                  _mm512_cmpge_epu8_mask(bytes, splat8<0xF8>()));
}

// Pairs of which nothing is known yet, in the order of the text, with room for two blocks.
struct OpenPairs {
  static constexpr size_t perBlock = blockBytes / 2;
  size_t count = 0;
  uint16_t characters[2 * perBlock];
  uint16_t entries[2 * perBlock];

  bool hasRoom() const { return count <= perBlock; }
  VQ_TARGET_AVX512 void append(const Pairs& pairs, uint32_t chosen) {
    _mm512_storeu_si512(characters + count, _mm512_maskz_compress_epi16(chosen, pairs.characters));
    _mm512_storeu_si512(entries + count, _mm512_maskz_compress_epi16(chosen, pairs.entries));
    count += countBits(chosen);
  }
};

// Goes on by what is alike if the pairs that it leaves open are. With some of them open it goes no further
// than `enough`. Whether it has come to the end.
[[gnu::noinline]] VQ_TARGET_AVX512 bool goByKnown(const uint8_t* first, const uint8_t* second,
                                                  size_t byteCount, const PartnerTable& partners,
                                                  size_t enough, AlikeRun& run, OpenPairs& open) {
  while (run.byteCount < byteCount) {
    const uint8_t* at = first + run.byteCount;
    const size_t left = byteCount - run.byteCount;
    const size_t length = left < blockBytes ? left : blockBytes;
    const __m512i a = loadSome(at, lowBits(length));
    const __m512i b = loadSome(second + run.byteCount, lowBits(length));
    const uint64_t differs = numberOf(_mm512_cmpneq_epi8_mask(a, b));
    if (differs == 0 && length == blockBytes) return true;
    const uint64_t unlike = numberOf(_mm512_cmpneq_epi8_mask(foldAscii(a), foldAscii(b)));
    const uint64_t notAscii = numberOf(_mm512_movepi8_mask(a));
    size_t end = length;
    bool isLast = false;
    bool isOpen = false;
    if ((unlike | notAscii) == 0) {
      if (length == blockBytes) return true;
    } else {
      const uint64_t firsts = numberOf(findFirstsOfTwo(a) & findFirstsOfTwo(b));
      uint64_t pairs = firsts & numberOf(findContinuations(a) & findContinuations(b)) >> 1;
      // The end of the block may cut off the last one.
      const uint64_t ofTwo = pairs | pairs << 1 | (firsts & uint64_t{1} << (length - 1));
      uint64_t stops = unlike & ~ofTwo;
      if (notAscii != ofTwo) [[unlikely]]
        stops |= findIrregular(a) & lowBits(length);
      if (stops != 0) [[unlikely]] {
        end = static_cast<size_t>(std::countr_zero(stops));
        isLast = true;
      }
      end -= unfinishedOfRegular(at + end, end);
      pairs &= (unlike | unlike >> 1) & lowBits(end);
      if (pairs != 0) {
        const Pairs drawn = pairsAt(a, b, pairs);
        uint32_t unknown = static_cast<uint32_t>(lowBits(countBits(pairs)));
        if (!partners.isEmpty) unknown &= ~findKnown(drawn, partners);
        isOpen = unknown != 0;
        if (isOpen) open.append(drawn, unknown);
      }
    }
    run.advance(end, differs & lowBits(end));
    // Only a character that the end of the block cuts off does not end the run.
    if (isLast || end == 0) return true;
    if (isOpen && (run.byteCount >= enough || !open.hasRoom())) return false;
  }
  return true;
}

VQ_TARGET_AVX512 inline void clear(PartnerTable& partners) {
  for (size_t i = 0; i < PartnerTable::entryCount; i += 32) {
    _mm512_store_si512(partners.entries + i, _mm512_setzero_si512());
  }
  partners.isEmpty = false;
}

// The host is asked for the open pairs in their order: 0, or the order of the first that do not fold alike.
// What is learnt before it is asked for does no harm, as such a pair ends the comparison.

inline int32_t orderAt(const OpenPairs& open, size_t i, HostFold fold) {
  const VQChar first = fold(open.characters[i]);
  const VQChar second = fold(open.entries[i] & 0x7FF);
  return first == second ? 0 : orderOf(first, second);
}

inline int32_t orderOfAll(const OpenPairs& open, PartnerTable& partners) {
  const HostFold fold;
  for (size_t i = 0; i < open.count; ++i) {
    partners.entryOf(open.characters[i]) = open.entries[i];
    if (const int32_t order = orderAt(open, i, fold); order != 0) return order;
  }
  return 0;
}

// Asks once for each pair.
[[gnu::noinline]] int32_t orderOfDistinct(const OpenPairs& open, PartnerTable& partners) {
  uint8_t distinct[2 * OpenPairs::perBlock];
  size_t count = 0;
  for (size_t i = 0; i < open.count; ++i) {
    uint16_t& entry = partners.entryOf(open.characters[i]);
    distinct[count] = static_cast<uint8_t>(i);
    count += entry != open.entries[i];
    entry = open.entries[i];
  }
  const HostFold fold;
  for (size_t i = 0; i < count; ++i) {
    if (const int32_t order = orderAt(open, distinct[i], fold); order != 0) return order;
  }
  return 0;
}

VQ_TARGET_AVX512 inline int32_t orderOfOpen(const OpenPairs& open, PartnerTable& partners) {
  // Among so few it costs less to ask for one twice than to look for those that repeat.
  constexpr size_t few = 16;
  if (partners.isEmpty) clear(partners);
  return open.count <= few ? orderOfAll(open, partners) : orderOfDistinct(open, partners);
}

}  // namespace

VQ_TARGET_AVX512 void alikeRun(const uint8_t* first, const uint8_t* second, size_t byteCount,
                               PartnerTable& partners, AlikeRun& run) {
  // The first block with open pairs is asked about alone: texts that are not alike mostly show it early.
  constexpr size_t lookAhead = 4 * blockBytes;
  size_t enough = 0;
  for (bool hasEnded = false; !hasEnded && run.order == 0;) {
    OpenPairs open;
    hasEnded = goByKnown(first, second, byteCount, partners, enough, run, open);
    if (open.count != 0) run.order = orderOfOpen(open, partners);
    enough = run.byteCount + lookAhead;
  }
}

}  // namespace vq::utf8::avx512

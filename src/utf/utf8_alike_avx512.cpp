// Comparing without regard to case with AVX-512.
//
// A block of both texts is walked at once: where the bytes differ, either both are ASCII letters of one kind
// or both belong to characters of two bytes in the same place. Those characters are drawn together, and a
// gather from the table of what the host has answered says whether they fold alike. As nothing else may
// differ, both texts have the same shape, and judging one is enough.
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

// Pairs of characters of two bytes as the table of partners has them.
struct Pairs {
  __m512i places;
  __m512i entries;
};
VQ_TARGET_AVX512 inline Pairs pairsAt(__m512i first, __m512i second, uint64_t firsts) {
  const __m512i characters = charactersAt(first, firsts);
  const __m512i rest = _mm512_slli_epi16(_mm512_srli_epi16(characters, 8), 11);
  return {_mm512_and_si512(characters, _mm512_set1_epi16(0xFF)),
          _mm512_or_si512(rest, charactersAt(second, firsts))};
}

// Which of the pairs are known to fold alike.
VQ_TARGET_AVX512 inline uint32_t findKnown(const Pairs& pairs, const PartnerTable& partners) {
  // A look-up takes six bits of the place.
  const auto lookUp = [&](size_t quarter) VQ_TARGET_AVX512 {
    const uint16_t* at = partners.entries + quarter * 64;
    return _mm512_permutex2var_epi16(_mm512_load_si512(at), pairs.places, _mm512_load_si512(at + 32));
  };
  const __mmask32 isOdd = _mm512_test_epi16_mask(pairs.places, _mm512_set1_epi16(0x40));
  const __mmask32 isUpper = _mm512_test_epi16_mask(pairs.places, _mm512_set1_epi16(0x80));
  const __m512i lower = _mm512_mask_blend_epi16(isOdd, lookUp(0), lookUp(1));
  const __m512i upper = _mm512_mask_blend_epi16(isOdd, lookUp(2), lookUp(3));
  return _mm512_cmpeq_epi16_mask(_mm512_mask_blend_epi16(isUpper, lower, upper), pairs.entries);
}

// What ends regular text in a block that has other characters than those of one and two bytes.
VQ_TARGET_AVX512 inline uint64_t findIrregular(__m512i bytes) {
  return numberOf(_mm512_movepi8_mask(findMisplaced(bytes, beforeOpening(bytes))) |
                  _mm512_cmpge_epu8_mask(bytes, splat8<0xF8>()));
}

// A block with pairs of characters of which nothing is known yet.
struct OpenBlock {
  // Where they begin in the block, and what they are.
  uint64_t open = 0;
  alignas(64) uint16_t places[blockBytes / 2];
  alignas(64) uint16_t entries[blockBytes / 2];
  // How far the block is alike if they are, and where its bytes differ.
  size_t end;
  uint64_t differs;
  bool isLast;
};

// Goes on by what is alike as far as that is known.
[[gnu::noinline]] VQ_TARGET_AVX512 void goByKnown(const uint8_t* first, const uint8_t* second,
                                                  size_t byteCount, const PartnerTable& partners,
                                                  AlikeRun& run, OpenBlock& block) {
  while (run.byteCount < byteCount) {
    const uint8_t* at = first + run.byteCount;
    const size_t left = byteCount - run.byteCount;
    const size_t length = left < blockBytes ? left : blockBytes;
    const __m512i a = loadSome(at, lowBits(length));
    const __m512i b = loadSome(second + run.byteCount, lowBits(length));
    const uint64_t differs = numberOf(_mm512_cmpneq_epi8_mask(a, b));
    if (differs == 0 && length == blockBytes) return;
    const uint64_t unlike = numberOf(_mm512_cmpneq_epi8_mask(foldAscii(a), foldAscii(b)));
    const uint64_t notAscii = numberOf(_mm512_movepi8_mask(a));
    size_t end = length;
    bool isLast = false;
    if ((unlike | notAscii) == 0) {
      if (length == blockBytes) return;
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
        uint64_t open = pairs;
        if (!partners.isEmpty) open &= ~_pdep_u64(findKnown(drawn, partners), pairs);
        if (open != 0) {
          const auto kept = static_cast<uint32_t>(_pext_u64(open, pairs));
          _mm512_store_si512(block.places, _mm512_maskz_compress_epi16(kept, drawn.places));
          _mm512_store_si512(block.entries, _mm512_maskz_compress_epi16(kept, drawn.entries));
          block.open = open;
          block.end = end;
          block.differs = differs;
          block.isLast = isLast;
          return;
        }
      }
    }
    run.advance(end, differs & lowBits(end));
    // Only a character that the end of the block cuts off does not end the run.
    if (isLast || end == 0) return;
  }
}

// Asks the host for the open pairs, once for each, and goes on by what is alike.
VQ_TARGET_AVX512 void goByOpen(const OpenBlock& block, PartnerTable& partners, const HostFold& fold,
                               AlikeRun& run) {
  if (partners.isEmpty) {
    for (size_t i = 0; i < PartnerTable::entryCount; i += 32) {
      _mm512_store_si512(partners.entries + i, _mm512_setzero_si512());
    }
    partners.isEmpty = false;
  }
  const size_t openCount = countBits(block.open);
  uint8_t asked[blockBytes / 2];
  size_t count = 0;
  for (size_t i = 0; i < openCount; ++i) {
    uint16_t& entry = partners.entries[block.places[i]];
    asked[count] = static_cast<uint8_t>(i);
    count += entry != block.entries[i];
    entry = block.entries[i];
  }
  for (size_t i = 0; i < count; ++i) {
    const uint16_t entry = block.entries[asked[i]];
    const VQChar first = fold((entry >> 11 << 8) | block.places[asked[i]]);
    const VQChar second = fold(entry & 0x7FF);
    if (first == second) continue;
    run.order = orderOf(first, second);
    const uint64_t before = _pdep_u64(uint64_t{1} << asked[i], block.open) - 1;
    run.advance(countBits(before), block.differs & before);
    return;
  }
  run.advance(block.end, block.differs & lowBits(block.end));
}

}  // namespace

VQ_TARGET_AVX512 void alikeRun(const uint8_t* first, const uint8_t* second, size_t byteCount,
                               PartnerTable& partners, AlikeRun& run) {
  const HostFold fold;
  for (bool isLast = false; !isLast && run.order == 0;) {
    OpenBlock block;
    goByKnown(first, second, byteCount, partners, run, block);
    if (block.open == 0) return;
    goByOpen(block, partners, fold, run);
    isLast = block.isLast;
  }
}

}  // namespace vq::utf8::avx512

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

// The first of the pairs of characters in `open`, given by the places of their first bytes, that do not fold
// alike, or `end`. Asks the host.
__attribute__((noinline)) size_t firstUnlike(uint64_t open, const uint8_t* first, const uint8_t* second,
                                             size_t end, PartnerTable& partners) {
  const auto bytesAt = [](const uint8_t* at) { return static_cast<uint16_t>(at[0] | at[1] << 8); };
  for (; open != 0; open &= open - 1) {
    const auto place = static_cast<size_t>(std::countr_zero(open));
    if (!partners.areAlike(bytesAt(first + place), bytesAt(second + place))) return place;
  }
  return end;
}

VQ_TARGET_AVX512 inline __m512i widen(__m512i bytes) {
  return _mm512_cvtepu8_epi16(_mm512_castsi512_si256(bytes));
}

// Of the pairs of characters that `pairs` tells by their first bytes, those that are known to fold alike.
VQ_TARGET_AVX512 inline uint64_t findKnown(const uint8_t* first, __m512i a, __m512i b, uint64_t pairs,
                                           const PartnerTable& partners) {
  const __m256i firsts = _mm512_castsi512_si256(_mm512_maskz_compress_epi8(pairs, a));
  // A look-up takes six bits of the index and lets the upper ones go.
  const __m512i index = widen(_mm512_maskz_compress_epi8(pairs << 1, a));
  const __m512i other =
      _mm512_or_si512(widen(_mm512_maskz_compress_epi8(pairs, b)),
                      _mm512_slli_epi16(widen(_mm512_maskz_compress_epi8(pairs << 1, b)), 8));
  uint32_t known = 0;
  // Page by page: a script has one or two.
  for (uint64_t left = pairs; left != 0;) {
    const uint8_t firstByte = first[std::countr_zero(left)];
    const uint32_t ofPage = _mm256_cmpeq_epi8_mask(firsts, _mm256_set1_epi8(static_cast<char>(firstByte)));
    left &= ~_pdep_u64(ofPage, pairs);
    if (const uint16_t* page = partners.pageOf(firstByte)) {
      const __m512i partner = _mm512_permutex2var_epi16(_mm512_load_si512(page), index,
                                                        _mm512_load_si512(page + PartnerTable::pageSize / 2));
      known |= _mm512_mask_cmpeq_epi16_mask(ofPage, partner, other);
    }
  }
  return _pdep_u64(known, pairs);
}

}  // namespace

VQ_TARGET_AVX512 AlikeRun alikeRun(const uint8_t* first, const uint8_t* second, size_t byteCount,
                                   PartnerTable& partners) {
  AlikeRun run;
  while (run.byteCount < byteCount) {
    const uint8_t* at = first + run.byteCount;
    const size_t left = byteCount - run.byteCount;
    const size_t length = left < blockBytes ? left : blockBytes;
    const __m512i a = loadSome(at, lowBits(length));
    const __m512i b = loadSome(second + run.byteCount, lowBits(length));
    const uint64_t differs = numberOf(_mm512_cmpneq_epi8_mask(a, b));
    if (differs == 0 && length == blockBytes) break;
    const uint64_t unlike = numberOf(_mm512_cmpneq_epi8_mask(foldAscii(a), foldAscii(b)));
    const uint64_t notAscii = numberOf(_mm512_movepi8_mask(a));
    if ((unlike | notAscii) == 0 && length == blockBytes) break;
    uint64_t pairs = 0;
    uint64_t stops = 0;
    if ((unlike | notAscii) != 0) {
      if (unlike != 0) {
        pairs = numberOf(findFirstsOfTwo(a) & findFirstsOfTwo(b)) &
                numberOf(findContinuations(a) & findContinuations(b)) >> 1;
      }
      const __mmask64 faults =
          _mm512_movepi8_mask(findMisplaced(a, beforeOpening(a))) | _mm512_cmpge_epu8_mask(a, splat8<0xF8>());
      stops = (numberOf(faults) & lowBits(length)) | (unlike & ~(pairs | pairs << 1));
    }
    size_t end = stops == 0 ? length : static_cast<size_t>(std::countr_zero(stops));
    end -= unfinishedOfRegular(at + end, end);
    pairs &= (unlike | unlike >> 1) & lowBits(end);
    size_t alike = end;
    if (pairs != 0) {
      const uint8_t* other = second + run.byteCount;
      const uint64_t open = partners.isEmpty() ? pairs : pairs & ~findKnown(at, a, b, pairs, partners);
      if (open != 0) alike = firstUnlike(open, at, other, end, partners);
    }
    const uint64_t different = differs & lowBits(alike);
    if (different != 0 && run.firstDifference == AlikeRun::none) {
      run.firstDifference = run.byteCount + static_cast<size_t>(std::countr_zero(different));
    }
    run.byteCount += alike;
    // Only a character that the end of the block cuts off does not end the run.
    if (stops != 0 || alike < end || alike == 0) break;
  }
  return run;
}

}  // namespace vq::utf8::avx512

// The comparison behind folded_compare.hpp.
//
// The meaning is lowerByTable on both sides, position by position. The vector form answers for pairs that are
// equal, and for the pairs of cases that most text consists of: letters 32 or 80 apart in ASCII, Latin-1,
// Greek and Cyrillic. It never looks the case up: two elements at such a distance are a pair exactly when the
// lower of the two is a capital of these ranges. What it cannot decide goes to the tables, one by one.
#include "text/folded_compare.hpp"

#include "text/blocks.hpp"
#include "text/case_map.hpp"
#include "text/wide_blocks.hpp"

namespace vq::text {

namespace {

constexpr uint64_t blockElements = blockBytes / sizeof(VQChar);

// Capitals whose lowercase lies at one distance above them, but for one place within their range.
struct Capitals {
  uint16_t first, last, without;
};
constexpr Capitals asciiBy32{'A', 'Z', 0};
constexpr Capitals latinBy32{0xc0, 0xde, 0xd7};
constexpr Capitals greekBy32{0x391, 0x3ab, 0x3a2};
constexpr Capitals cyrillicBy32{0x410, 0x42f, 0};
constexpr Capitals cyrillicBy80{0x401, 0x40f, 0x40d};

bool isSamePair(VQChar first, VQChar second) {
  return first == second || lowerByTable(first) == lowerByTable(second);
}

uint64_t plain(const VQChar* first, const VQChar* second, uint64_t count) {
  uint64_t i = 0;
  while (i < count && isSamePair(first[i], second[i])) ++i;
  return i;
}

VQ_INLINE_AVX2 __m256i is(__m256i lanes, uint16_t value) {
  return _mm256_cmpeq_epi16(lanes, _mm256_set1_epi16(static_cast<int16_t>(value)));
}
template <Capitals capitals>
VQ_INLINE_AVX2 __m256i isOneOf(__m256i lanes) {
  const __m256i offset = _mm256_sub_epi16(lanes, _mm256_set1_epi16(capitals.first));
  const __m256i lastOffset = _mm256_set1_epi16(capitals.last - capitals.first);
  const __m256i isWithin = _mm256_cmpeq_epi16(_mm256_min_epu16(offset, lastOffset), offset);
  return capitals.without == 0 ? isWithin : _mm256_andnot_si256(is(lanes, capitals.without), isWithin);
}

// A step of two blocks, the second `apart` elements behind the first: a bit for each position that is not
// known to be the same, those of the first block in front.
VQ_INLINE_AVX2 uint32_t undecided(const VQChar* first, const VQChar* second, uint64_t apart) {
  const __m256i a0 = loadBlock(first), a1 = loadBlock(first + apart);
  const __m256i b0 = loadBlock(second), b1 = loadBlock(second + apart);
  const __m256i equal0 = _mm256_cmpeq_epi32(a0, b0), equal1 = _mm256_cmpeq_epi32(a1, b1);
  if (isAllSet(_mm256_and_si256(equal0, equal1))) return 0;
  // Narrowed with saturation: an element above 0xffff becomes 0xffff or 0, which is no letter of the ranges
  // nor 32 or 80 above one.
  const __m256i a = _mm256_packus_epi32(a0, a1), b = _mm256_packus_epi32(b0, b1);
  const __m256i low = _mm256_min_epu16(a, b);
  const __m256i distance = _mm256_sub_epi16(_mm256_max_epu16(a, b), low);
  const __m256i apart32 = is(distance, 32);
  __m256i same = _mm256_packs_epi32(equal0, equal1);
  same = _mm256_or_si256(same, _mm256_and_si256(apart32, isOneOf<asciiBy32>(low)));
  if (isAllSet(same)) return 0;
  const __m256i isCapital = _mm256_or_si256(_mm256_or_si256(isOneOf<latinBy32>(low), isOneOf<greekBy32>(low)),
                                            isOneOf<cyrillicBy32>(low));
  same = _mm256_or_si256(same, _mm256_and_si256(apart32, isCapital));
  same = _mm256_or_si256(same, _mm256_and_si256(is(distance, 80), isOneOf<cyrillicBy80>(low)));
  if (isAllSet(same)) return 0;
  // Narrowing leaves the halves of the two blocks in turn; then two bits a position become one.
  const __m256i ordered = _mm256_permute4x64_epi64(same, 0xd8);
  return ~_pext_u32(maskOf(ordered), 0x55555555) & 0xffff;
}

// The first position of a step that differs, or `none`. Its blocks may overlap: what both hold is the same in
// both.
VQ_INLINE_AVX2 uint64_t differenceInStep(const VQChar* first, const VQChar* second, uint64_t apart) {
  for (uint32_t mask = undecided(first, second, apart); mask != 0; mask &= mask - 1) {
    const auto bit = static_cast<uint64_t>(std::countr_zero(mask));
    const uint64_t place = bit < blockElements ? bit : bit - blockElements + apart;
    if (!isSamePair(first[place], second[place])) return place;
  }
  return none;
}

// For at least a block.
VQ_TARGET_AVX2 uint64_t byBlocks(const VQChar* first, const VQChar* second, uint64_t count) {
  constexpr uint64_t stepElements = 2 * blockElements;
  uint64_t i = 0;
  for (; i + stepElements <= count; i += stepElements) {
    const uint64_t place = differenceInStep(first + i, second + i, blockElements);
    if (place != none) return i + place;
  }
  if (i == count) return count;
  // The rest, with as much in front of it as makes up a step.
  if (count >= stepElements) i = count - stepElements;
  const uint64_t place = differenceInStep(first + i, second + i, count - i - blockElements);
  return place != none ? i + place : count;
}

// A bit for each capital whose lowercase lies 32 above it, all of them between 0x40 and 0x440: a word for
// each 32 elements, in the place that the last five bits of the word's number give.
struct CapitalBits {
  alignas(wideBlockBytes) uint32_t words[32]{};
  constexpr CapitalBits() {
    const Capitals all[] = {asciiBy32, latinBy32, greekBy32, cyrillicBy32};
    for (const Capitals& capitals : all) {
      for (uint32_t c = capitals.first; c <= capitals.last; ++c) {
        if (c != capitals.without) words[c / 32 % 32] |= 1u << c % 32;
      }
    }
  }
};
constexpr CapitalBits capitalBits;

// The lanes of a mask whose elements are capitals with their lowercase 32 above them.
VQ_INLINE_AVX512 uint64_t capitalsBy32(uint64_t lanes, __m512i block) {
  const __m512i offset = _mm512_sub_epi32(block, splatWide(VQChar{0x40}));
  const uint64_t within =
      _mm512_mask_cmplt_epu32_mask(static_cast<__mmask16>(lanes), offset, splatWide(VQChar{0x400}));
  const __m512i number = _mm512_maskz_srli_epi32(0xffff, block, 5);
  const __m512i words =
      _mm512_permutex2var_epi32(loadWide(capitalBits.words), number, loadWide(capitalBits.words + 16));
  const __m512i bits = _mm512_maskz_rorv_epi32(0xffff, words, block);
  return _mm512_mask_test_epi32_mask(static_cast<__mmask16>(within), bits, splatWide(VQChar{1}));
}

VQ_INLINE_AVX512 uint64_t capitalsBy80(uint64_t lanes, __m512i block) {
  const __m512i offset = _mm512_sub_epi32(block, splatWide(VQChar{cyrillicBy80.first}));
  const __m512i lastOffset = splatWide(VQChar{cyrillicBy80.last - cyrillicBy80.first});
  const uint64_t within = _mm512_mask_cmple_epu32_mask(static_cast<__mmask16>(lanes), offset, lastOffset);
  return differentLanes<VQChar>(within, block, splatWide(VQChar{cyrillicBy80.without}));
}

// Among the positions of `run`, a bit for each that is not known to be the same.
VQ_INLINE_AVX512 uint64_t undecidedInWide(uint64_t run, const VQChar* first, const VQChar* second) {
  const __m512i a = loadLanes(run, first), b = loadLanes(run, second);
  const uint64_t different = differentLanes<VQChar>(a, b);
  if (different == 0) return 0;
  const __m512i low = leastWide<VQChar>(a, b);
  const __m512i distance = _mm512_sub_epi32(_mm512_maskz_max_epu32(0xffff, a, b), low);
  const uint64_t apart32 = equalLanes<VQChar>(distance, splatWide(VQChar{32}));
  const uint64_t undecided = different & ~capitalsBy32(apart32, low);
  if (undecided == 0) [[likely]]
    return 0;
  const uint64_t apart80 = equalLanes<VQChar>(undecided, distance, splatWide(VQChar{80}));
  return undecided & ~capitalsBy80(apart80, low);
}

// Positions of one block that are left to the tables.
struct Undecided {
  uint64_t block, mask;
};

// Those of the next block that has any, from `block` on; none have an empty mask.
VQ_INLINE_AVX512 Undecided nextUndecided(const VQChar* first, const VQChar* second, uint64_t block,
                                         uint64_t count) {
  constexpr uint64_t lanes = wideLanes<VQChar>;
  for (; block + lanes <= count; block += lanes) {
    const uint64_t mask = undecidedInWide(0xffff, first + block, second + block);
    if (mask != 0) return {block, mask};
  }
  if (block >= count) return {count, 0};
  return {block, undecidedInWide(avx512::lowBits(count - block), first + block, second + block)};
}

VQ_TARGET_AVX512 __attribute__((noinline)) Undecided nextUndecidedBehind(const VQChar* first,
                                                                         const VQChar* second, uint64_t block,
                                                                         uint64_t count) {
  return nextUndecided(first, second, block + wideLanes<VQChar>, count);
}

// Takes over from the vector form, which so needs no frame of its own for the many texts that never come
// here.
__attribute__((noinline)) uint64_t goOnByTables(const VQChar* first, const VQChar* second, uint64_t count,
                                                Undecided undecided) {
  while (undecided.mask != 0) {
    for (; undecided.mask != 0; undecided.mask &= undecided.mask - 1) {
      const uint64_t place = undecided.block + static_cast<uint64_t>(std::countr_zero(undecided.mask));
      if (!isSamePair(first[place], second[place])) return place;
    }
    undecided = nextUndecidedBehind(first, second, undecided.block, count);
  }
  return count;
}

VQ_TARGET_AVX512 uint64_t byWideBlocks(const VQChar* first, const VQChar* second, uint64_t count) {
  const Undecided undecided = nextUndecided(first, second, 0, count);
  return undecided.mask == 0 ? count : goOnByTables(first, second, count, undecided);
}

}  // namespace

uint64_t firstFoldedDifference(const VQChar* first, const VQChar* second, uint64_t count) {
  if (cpu::hasAvx512()) [[likely]]
    return byWideBlocks(first, second, count);
  if (count < blockElements || !cpu::hasAvx2()) return plain(first, second, count);
  return byBlocks(first, second, count);
}

}  // namespace vq::text

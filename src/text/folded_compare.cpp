// The comparison behind folded_compare.hpp.
//
// The meaning is lowerByTable on both sides, position by position. The vector form answers for pairs that are
// equal, and for the pairs of cases that most text consists of: letters 32 or 80 apart in ASCII, Latin-1,
// Greek and Cyrillic. It never looks the case up: two elements at such a distance are a pair exactly when the
// lower of the two is a capital of these ranges. What it cannot decide goes to the tables, one by one.
#include "text/folded_compare.hpp"

#include "text/blocks.hpp"
#include "text/case_map.hpp"

namespace vq::text {

namespace {

constexpr uint64_t blockElements = blockBytes / sizeof(VQChar);
constexpr uint64_t none = ~uint64_t{0};

bool isSamePair(VQChar first, VQChar second) {
  return first == second || lowerByTable(first) == lowerByTable(second);
}

uint64_t plain(const VQChar* first, const VQChar* second, uint64_t count) {
  uint64_t i = 0;
  while (i < count && isSamePair(first[i], second[i])) ++i;
  return i;
}

template <uint16_t first, uint16_t last>
VQ_INLINE_AVX2 __m256i isWithin(__m256i lanes) {
  const __m256i offset = _mm256_sub_epi16(lanes, _mm256_set1_epi16(first));
  return _mm256_cmpeq_epi16(_mm256_min_epu16(offset, _mm256_set1_epi16(last - first)), offset);
}
template <uint16_t value>
VQ_INLINE_AVX2 __m256i is(__m256i lanes) {
  return _mm256_cmpeq_epi16(lanes, _mm256_set1_epi16(value));
}
VQ_INLINE_AVX2 __m256i butNot(__m256i lanes, __m256i excluded) {
  return _mm256_andnot_si256(excluded, lanes);
}

// Capitals, beyond those of ASCII, whose lowercase lies 32 and 80 above them.
VQ_INLINE_AVX2 __m256i isCapital32(__m256i lanes) {
  const __m256i latin = butNot(isWithin<0xc0, 0xde>(lanes), is<0xd7>(lanes));
  const __m256i greek = butNot(isWithin<0x391, 0x3ab>(lanes), is<0x3a2>(lanes));
  return _mm256_or_si256(_mm256_or_si256(latin, greek), isWithin<0x410, 0x42f>(lanes));
}
VQ_INLINE_AVX2 __m256i isCapital80(__m256i lanes) {
  return butNot(isWithin<0x401, 0x40f>(lanes), is<0x40d>(lanes));
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
  const __m256i apart32 = is<32>(distance);
  __m256i same = _mm256_packs_epi32(equal0, equal1);
  same = _mm256_or_si256(same, _mm256_and_si256(apart32, isWithin<'A', 'Z'>(low)));
  if (isAllSet(same)) return 0;
  same = _mm256_or_si256(same, _mm256_and_si256(apart32, isCapital32(low)));
  same = _mm256_or_si256(same, _mm256_and_si256(is<80>(distance), isCapital80(low)));
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

}  // namespace

uint64_t firstFoldedDifference(const VQChar* first, const VQChar* second, uint64_t count) {
  if (count < blockElements || !cpu::hasAvx2()) return plain(first, second, count);
  return byBlocks(first, second, count);
}

}  // namespace vq::text

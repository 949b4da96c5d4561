// The case of ASCII letters among bytes; every other byte passes.
#include "text/blocks.hpp"
#include "vqstring/text.h"

namespace {

constexpr uint8_t caseBit = 0x20;
constexpr uint8_t letters = 26;

template <uint8_t firstLetter>
void turnPlain(uint8_t* bytes, uint64_t count) {
  for (uint64_t i = 0; i < count; ++i) {
    if (static_cast<uint8_t>(bytes[i] - firstLetter) < letters) bytes[i] ^= caseBit;
  }
}

template <uint8_t firstLetter>
VQ_INLINE_AVX2 void turnBlock(uint8_t* at) {
  using namespace vq::text;
  const __m256i block = loadBlock(at);
  const __m256i offset = _mm256_sub_epi8(block, splat(firstLetter));
  const __m256i last = splat(static_cast<uint8_t>(letters - 1));
  const __m256i isLetter = _mm256_cmpeq_epi8(_mm256_min_epu8(offset, last), offset);
  storeBlock(at, _mm256_xor_si256(block, _mm256_and_si256(isLetter, splat(caseBit))));
}

// For at least a block. A block that ends with the run turns no letter back: it has none left of the case.
template <uint8_t firstLetter>
VQ_TARGET_AVX2 void turnByBlocks(uint8_t* bytes, uint64_t count) {
  uint64_t i = 0;
  for (; i + vq::text::blockBytes <= count; i += vq::text::blockBytes) turnBlock<firstLetter>(bytes + i);
  if (i < count) turnBlock<firstLetter>(bytes + count - vq::text::blockBytes);
}

template <uint8_t firstLetter>
inline void turn(char* buffer, uint64_t count) {
  auto* const bytes = reinterpret_cast<uint8_t*>(buffer);
  if (count < vq::text::blockBytes || !vq::cpu::hasAvx2()) return turnPlain<firstLetter>(bytes, count);
  turnByBlocks<firstLetter>(bytes, count);
}

}  // namespace

void mhStrUp(char* buffer, uint64_t count) {
  turn<'a'>(buffer, count);
}

void mhStrLow(char* buffer, uint64_t count) {
  turn<'A'>(buffer, count);
}

// Change of case in place on counted wide text.
//
// A mapping answers for one element. Those that treat ASCII as plain letters of two cases also have a vector
// form: it turns the letters of a block at once and asks the mapping for the elements above ASCII alone.
#include "frame/handle.hpp"
#include "text/blocks.hpp"
#include "text/case_map.hpp"
#include "text/tables/extreme_case.hpp"
#include "vqstring/host.h"
#include "vqstring/text.h"

namespace vq::text {

namespace {

struct Lower {
  static constexpr VQChar firstLetter = 'A';
  VQNls* nls;
  VQChar operator()(VQChar c) const {
    return nls == nullptr || c < 0x80 ? lowerByTable(c) : nls->nlsToLower(nls, c, 1);
  }
};

struct Upper {
  static constexpr VQChar firstLetter = 'a';
  VQNls* nls;
  VQChar operator()(VQChar c) const {
    return nls == nullptr || c < 0x80 ? upperByTable(c) : nls->nlsToUpper(nls, c, 1);
  }
};

inline VQChar extreme(VQChar c, const int32_t* meta, const int32_t* shift) {
  if (c > 0xffff) return c;
  const int32_t start = meta[c >> 7];
  return start < 0 ? c : c + static_cast<VQChar>(shift[start + static_cast<int32_t>(c & 0x7f)]);
}

struct Minimum {
  static constexpr VQChar firstLetter = 'a';
  VQChar operator()(VQChar c) const { return extreme(c, minMeta, minShift); }
};

// Without a vector form: the highest of i, k and s lie above ASCII.
struct Maximum {
  VQChar operator()(VQChar c) const { return extreme(c, maxMeta, maxShift); }
};

template <class Mapping>
void mapPlain(VQChar* text, int64_t length, Mapping map) {
  for (int64_t i = 0; i < length; ++i) text[i] = map(text[i]);
}

constexpr int64_t blockElements = blockBytes / sizeof(VQChar);

template <class Mapping>
VQ_TARGET_AVX2 void mapByBlocks(VQChar* text, int64_t length, Mapping map) {
  const __m256i firstLetter = splat(Mapping::firstLetter), lastOffset = splat(VQChar{25});
  const __m256i caseBit = splat(VQChar{0x20}), aboveAscii = splat(VQChar{0xffffff80});
  int64_t i = 0;
  for (; i + blockElements <= length; i += blockElements) {
    const __m256i block = loadBlock(text + i);
    const __m256i offset = _mm256_sub_epi32(block, firstLetter);
    const __m256i isLetter = _mm256_cmpeq_epi32(_mm256_min_epu32(offset, lastOffset), offset);
    storeBlock(text + i, _mm256_xor_si256(block, _mm256_and_si256(isLetter, caseBit)));
    if (_mm256_testz_si256(block, aboveAscii)) continue;
    const __m256i isAscii = _mm256_cmpeq_epi32(_mm256_and_si256(block, aboveAscii), _mm256_setzero_si256());
    auto above = static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(isAscii))) ^ 0xff;
    for (; above != 0; above &= above - 1) {
      VQChar& element = text[i + std::countr_zero(above)];
      element = map(element);
    }
  }
  mapPlain(text + i, length - i, map);
}

template <class Mapping>
inline void mapText(VQChar* text, int64_t length, Mapping map) {
  if (length < blockElements || !cpu::hasAvx2()) return mapPlain(text, length, map);
  mapByBlocks(text, length, map);
}

}  // namespace

}  // namespace vq::text

void vqzstlo(VQChar* text, int64_t length) {
  if (length <= 0) return;
  vq::text::mapText(text, length, vq::text::Lower{Exported_VQHandle->kernelNls});
}

void vqzstup(VQChar* text, int64_t length) {
  if (length <= 0) return;
  vq::text::mapText(text, length, vq::text::Upper{Exported_VQHandle->kernelNls});
}

void vqzstmin(VQChar* text, int64_t length) {
  vq::text::mapText(text, length, vq::text::Minimum{});
}

void vqzstmax(VQChar* text, int64_t length) {
  vq::text::mapPlain(text, length, vq::text::Maximum{});
}

// Lengths of converted text with AVX2: comparisons give -1 in the lanes that count, and the lanes are added
// up in accumulators of their own width, emptied before they can overflow.
#include <immintrin.h>

#include <algorithm>

#include "text/cpu.hpp"
#include "utf/splat_avx2.hpp"
#include "utf/transcode_avx2.hpp"
#include "utf/transcode_portable.hpp"

namespace vq::transcode::avx2 {

namespace {

template <class Element>
VQ_TARGET_AVX2 inline __m256i loadAt(const Element* source) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source));
}

VQ_TARGET_AVX2 inline size_t sum64(__m256i lanes) {
  const __m128i pair = _mm_add_epi64(_mm256_castsi256_si128(lanes), _mm256_extracti128_si256(lanes, 1));
  return static_cast<size_t>(_mm_cvtsi128_si64(pair)) + static_cast<size_t>(_mm_extract_epi64(pair, 1));
}
VQ_TARGET_AVX2 inline size_t sum32(__m256i lanes) {
  const __m256i low = _mm256_and_si256(lanes, _mm256_set1_epi64x(0xFFFFFFFF));
  return sum64(_mm256_add_epi64(low, _mm256_srli_epi64(lanes, 32)));
}
// Lanes below 0x8000.
VQ_TARGET_AVX2 inline size_t sum16(__m256i lanes) {
  return sum32(_mm256_madd_epi16(lanes, splat16<1>()));
}

}  // namespace

VQ_TARGET_AVX2 size_t wideLengthOfUtf8(const uint8_t* source, size_t byteCount) {
  constexpr size_t stride = 128;
  // Each round adds up to four to a lane of eight bits.
  constexpr size_t mostRounds = 63;
  const __m256i lastContinuation = splat8<0xBF>();
  __m256i total = _mm256_setzero_si256();
  size_t at = 0;
  while (byteCount - at >= stride) {
    __m256i lanes = _mm256_setzero_si256();
    for (size_t rounds = std::min((byteCount - at) / stride, mostRounds); rounds > 0;
         --rounds, at += stride) {
      const __m256i a = _mm256_cmpgt_epi8(loadAt(source + at), lastContinuation);
      const __m256i b = _mm256_cmpgt_epi8(loadAt(source + at + 32), lastContinuation);
      const __m256i c = _mm256_cmpgt_epi8(loadAt(source + at + 64), lastContinuation);
      const __m256i d = _mm256_cmpgt_epi8(loadAt(source + at + 96), lastContinuation);
      lanes = _mm256_sub_epi8(lanes, _mm256_add_epi8(_mm256_add_epi8(a, b), _mm256_add_epi8(c, d)));
    }
    total = _mm256_add_epi64(total, _mm256_sad_epu8(lanes, _mm256_setzero_si256()));
  }
  return sum64(total) + portable::wideLengthOfUtf8(source + at, byteCount - at);
}

VQ_TARGET_AVX2 size_t utf8LengthOfWide(const VQChar* source, size_t elementCount) {
  constexpr size_t stride = 16;
  constexpr size_t mostRounds = size_t{1} << 28;
  size_t bytes = 0;
  size_t at = 0;
  while (elementCount - at >= stride) {
    __m256i lanes[2] = {_mm256_setzero_si256(), _mm256_setzero_si256()};
    for (size_t rounds = std::min((elementCount - at) / stride, mostRounds); rounds > 0;
         --rounds, at += stride) {
      for (size_t half = 0; half < 2; ++half) {
        // Compared as signed numbers once the values beyond are cut down.
        const __m256i c = _mm256_min_epu32(loadAt(source + at + 8 * half), splat32<0x10000>());
        const __m256i two = _mm256_cmpgt_epi32(c, splat32<0x7F>());
        const __m256i three = _mm256_cmpgt_epi32(c, splat32<0x7FF>());
        const __m256i four = _mm256_srli_epi32(c, 16);
        lanes[half] = _mm256_sub_epi32(_mm256_add_epi32(lanes[half], four), _mm256_add_epi32(two, three));
      }
    }
    bytes += sum32(lanes[0]) + sum32(lanes[1]);
  }
  return at + bytes + portable::utf8LengthOfWide(source + at, elementCount - at);
}

VQ_TARGET_AVX2 size_t utf8LengthOfUtf16(const char16_t* source, size_t unitCount) {
  constexpr size_t stride = 16;
  // Each round adds up to two to a lane, and the lanes are summed up as signed numbers.
  constexpr size_t mostRounds = 0x3FFF;
  const __m256i zero = _mm256_setzero_si256();
  size_t less = 0;
  size_t at = 0;
  while (unitCount - at >= stride) {
    __m256i lanes = zero;
    for (size_t rounds = std::min((unitCount - at) / stride, mostRounds); rounds > 0;
         --rounds, at += stride) {
      const __m256i units = loadAt(source + at);
      const __m256i top5 = _mm256_and_si256(units, splat16<0xF800>());
      const __m256i isSurrogate = _mm256_cmpeq_epi16(top5, splat16<0xD800>());
      const __m256i isShort = _mm256_cmpeq_epi16(top5, zero);
      const __m256i isAscii = _mm256_cmpeq_epi16(_mm256_and_si256(units, splat16<0xFF80>()), zero);
      // Surrogate and short exclude each other.
      lanes = _mm256_sub_epi16(lanes, _mm256_add_epi16(_mm256_or_si256(isSurrogate, isShort), isAscii));
    }
    less += sum16(lanes);
  }
  return 3 * at - less + portable::utf8LengthOfUtf16(source + at, unitCount - at);
}

VQ_TARGET_AVX2 size_t wideLengthOfUtf16(const char16_t* source, size_t unitCount) {
  constexpr size_t stride = 16;
  constexpr size_t mostRounds = 0x7FFF;
  size_t low = 0;
  size_t at = 0;
  while (unitCount - at >= stride) {
    __m256i lanes = _mm256_setzero_si256();
    for (size_t rounds = std::min((unitCount - at) / stride, mostRounds); rounds > 0;
         --rounds, at += stride) {
      const __m256i top6 = _mm256_and_si256(loadAt(source + at), splat16<0xFC00>());
      lanes = _mm256_sub_epi16(lanes, _mm256_cmpeq_epi16(top6, splat16<0xDC00>()));
    }
    low += sum16(lanes);
  }
  return at - low + portable::wideLengthOfUtf16(source + at, unitCount - at);
}

}  // namespace vq::transcode::avx2

// Well-formedness of UTF-8, 32 bytes at a time.
//
// Every fault of two neighbouring bytes shows in three half-bytes: both halves of the first and the upper
// half of the second. Three look-ups give, for each half, the set of faults it takes part in; a fault that
// all three have in common is there. What remains, the third and fourth bytes of long sequences, is a
// comparison with the bytes two and three places before. (Keiser and Lemire, Validating UTF-8 in less than
// one instruction per byte, 2021.)
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "text/cpu.hpp"
#include "utf/splat_avx2.hpp"
#include "utf/utf8_blocks_avx2.hpp"

namespace vq::utf8 {

namespace fault {
constexpr int tooShort = 1 << 0;      // a first byte, and none that continues it
constexpr int tooLong = 1 << 1;       // ASCII, and a byte that continues it
constexpr int overlong3 = 1 << 2;     // 0xE0, and a byte below 0xA0
constexpr int tooLarge = 1 << 3;      // 0xF4, and a byte from 0x90 up; 0xF5 and up
constexpr int surrogate = 1 << 4;     // 0xED, and a byte from 0xA0 up
constexpr int overlong2 = 1 << 5;     // 0xC0 or 0xC1
constexpr int tooLarge1000 = 1 << 6;  // 0xF5 and up, and a byte below 0x90
constexpr int overlong4 = 1 << 6;     // 0xF0, and a byte below 0x90
constexpr int twoContinue = 1 << 7;   // both continue: right only within a sequence of three or four
constexpr int carry = tooShort | tooLong | twoContinue;
}  // namespace fault

VQ_TARGET_AVX2 inline __m256i lookUpHalfBytes(__m256i halves, __m128i table) {
  return _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(table), halves);
}

// Non-zero where the bytes are no continuation of well-formed text.
VQ_TARGET_AVX2 inline __m256i findFaults(const Neighbours& bytes) {
  using namespace fault;
  const auto byte = [](int value) { return static_cast<char>(value); };
  const __m128i byFirstHigh = _mm_setr_epi8(
      tooLong, tooLong, tooLong, tooLong, tooLong, tooLong, tooLong, tooLong, byte(twoContinue),
      byte(twoContinue), byte(twoContinue), byte(twoContinue), byte(tooShort | overlong2), byte(tooShort),
      byte(tooShort | overlong3 | surrogate), byte(tooShort | tooLarge | tooLarge1000 | overlong4));
  const int large = carry | tooLarge | tooLarge1000;
  const __m128i byFirstLow = _mm_setr_epi8(
      byte(carry | overlong3 | overlong2 | overlong4), byte(carry | overlong2), byte(carry), byte(carry),
      byte(carry | tooLarge), byte(large), byte(large), byte(large), byte(large), byte(large), byte(large),
      byte(large), byte(large), byte(large | surrogate), byte(large), byte(large));
  const int continues = tooLong | overlong2 | twoContinue;
  const __m128i bySecondHigh =
      _mm_setr_epi8(tooShort, tooShort, tooShort, tooShort, tooShort, tooShort, tooShort, tooShort,
                    byte(continues | overlong3 | tooLarge1000 | overlong4),
                    byte(continues | overlong3 | tooLarge), byte(continues | surrogate | tooLarge),
                    byte(continues | surrogate | tooLarge), tooShort, tooShort, tooShort, tooShort);

  const __m256i lowHalf = splat8<0x0F>();
  const __m256i here = bytes.here;
  const __m256i before = bytes.before;
  const __m256i firstHigh =
      lookUpHalfBytes(_mm256_and_si256(_mm256_srli_epi16(before, 4), lowHalf), byFirstHigh);
  const __m256i firstLow = lookUpHalfBytes(_mm256_and_si256(before, lowHalf), byFirstLow);
  const __m256i secondHigh =
      lookUpHalfBytes(_mm256_and_si256(_mm256_srli_epi16(here, 4), lowHalf), bySecondHigh);
  const __m256i pairs = _mm256_and_si256(_mm256_and_si256(firstHigh, firstLow), secondHigh);
  // The top bit is set where the third byte of three or more, or the fourth of four, is due.
  const __m256i third = _mm256_subs_epu8(bytes.twoBefore, splat8<0xE0 - 0x80>());
  const __m256i fourth = _mm256_subs_epu8(bytes.threeBefore, splat8<0xF0 - 0x80>());
  const __m256i due = _mm256_and_si256(_mm256_or_si256(third, fourth), splat8<0x80>());
  return _mm256_xor_si256(due, pairs);
}

}  // namespace vq::utf8

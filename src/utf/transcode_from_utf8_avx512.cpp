// UTF-8 to wide text with AVX-512.
//
// The source is taken in blocks of up to 64 bytes that begin at a character; loads and stores under a mask
// let the last one be of any length. A block is judged by masks of one bit a byte; one with a fault goes to
// the portable form, which finds the place. Sixteen characters at a time are then spread, each to the upper
// end of a lane of its own, and their bytes are added up by weight. The markers are added too: as each length
// has its own sum of markers, the right one to take off is the one that leaves the least.
#ifndef __clang__
// GCC's own header leaves operands undefined on purpose and then warns of them.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

#include <bit>

#include "text/cpu.hpp"
#include "utf/transcode_avx512.hpp"
#include "utf/transcode_portable.hpp"

namespace vq::transcode::avx512 {

namespace {

constexpr size_t blockBytes = 64;
constexpr size_t groupSize = 16;
constexpr size_t asciiRun = 2 * blockBytes;

// The sums of the markers of the bytes of a character of two, three and four.
constexpr uint32_t markers2 = (0xC0 << 6) + 0x80;
constexpr uint32_t markers3 = (0xE0 << 12) + (0x80 << 6) + 0x80;
constexpr uint32_t markers4 = (0xF0 << 18) + (0x80 << 12) + (0x80 << 6) + 0x80;

VQ_TARGET_AVX512 inline uint64_t lowBits(size_t count) {
  return _bzhi_u64(~uint64_t{0}, static_cast<unsigned>(count));
}
VQ_TARGET_AVX512 inline __m512i splat8(uint8_t byte) {
  return _mm512_set1_epi8(static_cast<char>(byte));
}
VQ_TARGET_AVX512 inline __m512i splat32(uint32_t word) {
  return _mm512_set1_epi32(static_cast<int>(word));
}

VQ_TARGET_AVX512 inline void storeWhole(__m512i values, VQChar* target) {
  _mm512_storeu_si512(target, values);
}
VQ_TARGET_AVX512 inline void storeSome(__m512i values, size_t count, VQChar* target) {
  _mm512_mask_storeu_epi32(target, static_cast<__mmask16>(_bzhi_u32(0xFFFF, static_cast<unsigned>(count))),
                           values);
}

VQ_TARGET_AVX512 inline __m512i widen16(const uint8_t* source) {
  return _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(source)));
}

// The bytes of a run as elements, when all are ASCII.
VQ_TARGET_AVX512 inline bool widenRun(const uint8_t* source, VQChar* target) {
  const __m512i bytes = _mm512_or_si512(_mm512_loadu_si512(source), _mm512_loadu_si512(source + blockBytes));
  if (_mm512_movepi8_mask(bytes) != 0) return false;
  for (size_t i = 0; i < asciiRun; i += groupSize) storeWhole(widen16(source + i), target + i);
  return true;
}

// Up to a block.
VQ_TARGET_AVX512 inline void widenAscii(const uint8_t* source, size_t count, VQChar* target) {
  for (size_t i = 0; i < count; i += groupSize) {
    const size_t left = count - i < groupSize ? count - i : groupSize;
    const __m128i bytes = _mm_maskz_loadu_epi8(static_cast<__mmask16>(lowBits(left)), source + i);
    storeSome(_mm512_cvtepu8_epi32(bytes), left, target + i);
  }
}

// What is known of a block: a bit a byte.
struct BlockShape {
  uint64_t continuations;
  uint64_t longStarts;  // of three or four
  uint64_t fourStarts;
  uint64_t ends;     // the last bytes of the characters that are whole inside the block
  size_t byteCount;  // of these characters
  bool hasFault;     // among these characters
};

VQ_TARGET_AVX512 inline BlockShape shapeOf(__m512i bytes, uint64_t notAscii, size_t length) {
  BlockShape shape;
  // As signed numbers the continuation bytes are the ones below 0xC0.
  shape.continuations = _mm512_cmplt_epi8_mask(bytes, splat8(0xC0));
  // 0xC0 and 0xC1 begin nothing but overlong forms.
  const uint64_t starts = _mm512_cmpge_epu8_mask(bytes, splat8(0xC2));
  shape.longStarts = _mm512_cmpge_epu8_mask(bytes, splat8(0xE0));
  shape.fourStarts = 0;
  uint64_t due = starts << 1;
  uint64_t faults = notAscii & ~(shape.continuations | starts);
  const uint64_t last = uint64_t{1} << (length - 1);
  uint64_t cut = starts & last;
  if (shape.longStarts != 0) {
    // The second byte must not make an overlong form, a surrogate, or a value above U+10FFFF.
    const uint64_t belowA0 = _mm512_cmplt_epu8_mask(bytes, splat8(0xA0));
    faults |= (_mm512_cmpeq_epi8_mask(bytes, splat8(0xE0)) << 1 & belowA0) |
              (_mm512_cmpeq_epi8_mask(bytes, splat8(0xED)) << 1 & ~belowA0);
    due |= shape.longStarts << 2;
    cut |= shape.longStarts & last >> 1;
    shape.fourStarts = _mm512_cmpge_epu8_mask(bytes, splat8(0xF0));
    if (shape.fourStarts != 0) {
      const uint64_t below90 = _mm512_cmplt_epu8_mask(bytes, splat8(0x90));
      faults |= (_mm512_cmpeq_epi8_mask(bytes, splat8(0xF0)) << 1 & below90) |
                (_mm512_cmpeq_epi8_mask(bytes, splat8(0xF4)) << 1 & ~below90) |
                _mm512_cmpgt_epu8_mask(bytes, splat8(0xF4));
      due |= shape.fourStarts << 3;
      cut |= shape.fourStarts & last >> 2;
    }
  }
  faults |= due ^ shape.continuations;
  shape.byteCount = cut == 0 ? length : static_cast<size_t>(std::countr_zero(cut));
  // The byte behind the whole characters shows whether the last of them is.
  shape.hasFault = (faults & lowBits(shape.byteCount + 1)) != 0;
  shape.ends = (~shape.continuations >> 1 | uint64_t{1} << 63) & lowBits(shape.byteCount);
  return shape;
}

// The values of sixteen characters that lie at the upper ends of their lanes, first byte lowest.
template <int longest>
VQ_TARGET_AVX512 inline __m512i join(__m512i lanes) {
  const __m512i pairs = _mm512_maddubs_epi16(lanes, splat32(0x01400140));
  const __m512i sums = _mm512_madd_epi16(pairs, splat32(0x00011000));
  __m512i values = _mm512_min_epu32(sums, _mm512_sub_epi32(sums, splat32(markers2)));
  if constexpr (longest >= 3) {
    values = _mm512_min_epu32(values, _mm512_sub_epi32(sums, splat32(markers3)));
  }
  if constexpr (longest >= 4) {
    values = _mm512_min_epu32(values, _mm512_sub_epi32(sums, splat32(markers4)));
  }
  return values;
}

// Converts the whole characters of a block. Tight: the target may end with them.
template <int longest, bool isTight>
VQ_TARGET_AVX512 inline void convertGroups(const uint8_t* source, const BlockShape& shape, size_t characters,
                                           VQChar* target) {
  // A bit a character: whether it has a second byte from the end, a third, a fourth.
  uint64_t second = _pext_u64(shape.continuations, shape.ends);
  const uint64_t fourEnds = shape.fourStarts << 3;
  const uint64_t threeEnds = (shape.longStarts & ~shape.fourStarts) << 2;
  uint64_t third = longest >= 3 ? _pext_u64(threeEnds | fourEnds, shape.ends) : 0;
  uint64_t fourth = longest >= 4 ? _pext_u64(fourEnds, shape.ends) : 0;
  for (size_t done = 0;; done += groupSize) {
    uint64_t spread = 0x8888888888888888 | _pdep_u64(second, 0x4444444444444444);
    if constexpr (longest >= 3) spread |= _pdep_u64(third, 0x2222222222222222);
    if constexpr (longest >= 4) spread |= _pdep_u64(fourth, 0x1111111111111111);
    const size_t left = characters - done;
    if (left <= groupSize) {
      spread &= lowBits(4 * left);
      const __m512i values = join<longest>(_mm512_maskz_expandloadu_epi8(spread, source));
      if (isTight) {
        storeSome(values, left, target + done);
      } else {
        storeWhole(values, target + done);
      }
      return;
    }
    storeWhole(join<longest>(_mm512_maskz_expandloadu_epi8(spread, source)), target + done);
    source += std::popcount(spread);
    second >>= groupSize;
    third >>= groupSize;
    fourth >>= groupSize;
  }
}

// Characters of three bytes only.
VQ_TARGET_AVX512 inline void convertThrees(const uint8_t* source, size_t characters, VQChar* target) {
  constexpr uint64_t threeOfFour = 0xEEEEEEEEEEEEEEEE;
  const uint64_t first = threeOfFour & lowBits(4 * characters);
  storeSome(join<3>(_mm512_maskz_expandloadu_epi8(first, source)), characters, target);
  if (characters <= groupSize) return;
  const size_t left = characters - groupSize;
  const uint64_t second = threeOfFour & lowBits(4 * left);
  storeSome(join<3>(_mm512_maskz_expandloadu_epi8(second, source + 3 * groupSize)), left, target + groupSize);
}

template <bool isTight>
VQ_TARGET_AVX512 inline void convertBlock(const uint8_t* source, __m512i bytes, const BlockShape& shape,
                                          size_t characters, VQChar* target) {
  const uint64_t whole = lowBits(shape.byteCount);
  if (shape.longStarts == 0) {
    convertGroups<2, isTight>(source, shape, characters, target);
  } else if (shape.ends == (0x4924924924924924 & whole)) {
    convertThrees(source, characters, target);
  } else if (shape.fourStarts == 0) {
    convertGroups<3, isTight>(source, shape, characters, target);
  } else if (shape.ends == (0x8888888888888888 & whole)) {
    storeSome(join<4>(bytes), characters, target);
  } else {
    convertGroups<4, isTight>(source, shape, characters, target);
  }
}

}  // namespace

VQ_TARGET_AVX512 Result utf8ToWide(const uint8_t* source, size_t byteCount, VQChar* target, size_t capacity) {
  size_t at = 0;
  size_t written = 0;
  bool wasAscii = true;
  while (at < byteCount) {
    const size_t left = byteCount - at;
    const size_t room = capacity - written;
    if (wasAscii && left >= asciiRun && room >= asciiRun && widenRun(source + at, target + written)) {
      at += asciiRun;
      written += asciiRun;
      continue;
    }
    const size_t length = left < blockBytes ? left : blockBytes;
    const __m512i bytes = length == blockBytes ? _mm512_loadu_si512(source + at)
                                               : _mm512_maskz_loadu_epi8(lowBits(length), source + at);
    const uint64_t notAscii = _mm512_movepi8_mask(bytes);
    wasAscii = notAscii == 0;
    if (wasAscii) {
      if (room < length) break;
      widenAscii(source + at, length, target + written);
      at += length;
      written += length;
      continue;
    }
    const BlockShape shape = shapeOf(bytes, notAscii, length);
    const auto characters = static_cast<size_t>(std::popcount(shape.ends));
    if (shape.hasFault || characters == 0 || room < characters) break;
    if (room < blockBytes + groupSize) {
      convertBlock<true>(source + at, bytes, shape, characters, target + written);
    } else {
      convertBlock<false>(source + at, bytes, shape, characters, target + written);
    }
    at += shape.byteCount;
    written += characters;
  }
  if (at == byteCount) return {0, at, written};
  const Result rest = portable::utf8ToWide(source + at, byteCount - at, target + written, capacity - written);
  return {rest.status, at + rest.consumed, written + rest.written};
}

}  // namespace vq::transcode::avx512

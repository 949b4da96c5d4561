// UTF-8 to wide text with AVX-512.
//
// The source is taken in windows of 64 bytes, 61 bytes apart wherever the characters begin, so that no window
// waits for what the one before it found. A window converts the characters that begin in its first 61 bytes:
// the longest ends with its last. Windows under a mask do the rest of a text. A window is judged by masks of
// one bit a byte; one with a fault goes to the portable form, which finds the place.
//
// The bytes of sixteen characters, or of thirty-two that are short, are spread to the upper ends of lanes,
// one lane a character, and added up by weight. The markers are added too: as each length has its own sum of
// markers, the right one to take off is the one that leaves the least.
#include <bit>

#include "text/avx512.hpp"
#include "utf/transcode_avx512.hpp"
#include "utf/transcode_portable.hpp"
#include "utf/transcode_tiny_avx512.hpp"

namespace vq::transcode::avx512 {

namespace {

constexpr size_t windowBytes = 64;
constexpr size_t stride = windowBytes - 3;
constexpr size_t asciiRun = 2 * windowBytes;

VQ_TARGET_AVX512 inline void storeWhole(__m512i values, VQChar* target) {
  _mm512_storeu_si512(target, values);
}
// Tight: the target may end with the last of the characters.
template <bool isTight>
VQ_TARGET_AVX512 inline void store(__m512i values, size_t count, VQChar* target) {
  if constexpr (isTight) {
    storeSome(values, count, target);
  } else {
    storeWhole(values, target);
  }
}

VQ_TARGET_AVX512 inline __m512i widen16(const uint8_t* source) {
  return _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(source)));
}

VQ_TARGET_AVX512 inline void widenWindow(const uint8_t* source, VQChar* target) {
  for (size_t i = 0; i < windowBytes; i += groupSize) storeWhole(widen16(source + i), target + i);
}

// The bytes of a run as elements, when all are ASCII.
VQ_TARGET_AVX512 inline bool widenRun(const uint8_t* source, VQChar* target) {
  const __m512i bytes = _mm512_or_si512(_mm512_loadu_si512(source), _mm512_loadu_si512(source + windowBytes));
  if (_mm512_movepi8_mask(bytes) != 0) return false;
  widenWindow(source, target);
  widenWindow(source + windowBytes, target + windowBytes);
  return true;
}

// Up to a window.
VQ_TARGET_AVX512 inline void widenAscii(const uint8_t* source, size_t count, VQChar* target) {
  for (size_t i = 0; i < count; i += groupSize) {
    const size_t left = count - i < groupSize ? count - i : groupSize;
    const __m128i bytes = _mm_maskz_loadu_epi8(static_cast<__mmask16>(lowBits(left)), source + i);
    storeSome(_mm512_cvtepu8_epi32(bytes), left, target + i);
  }
}

// A window and the bytes one further on.
struct Window {
  __m512i bytes;
  __m512i next;
  uint64_t notAscii;
};

VQ_TARGET_AVX512 inline Window windowOf(__m512i bytes, __m512i next) {
  return {bytes, next, _mm512_movepi8_mask(bytes)};
}

// What is known of a window: a bit a byte.
struct Shape {
  uint64_t starts;      // the first bytes of its characters
  uint64_t longStarts;  // those of three or four
  uint64_t fourStarts;
  bool hasFault;
};

// The characters begin in the first `startBytes`. `known` are the bytes that the window before has judged:
// they may continue a character that began there.
VQ_TARGET_AVX512 inline Shape shapeOf(const Window& window, uint64_t known, size_t startBytes) {
  // As signed numbers the continuation bytes are the ones below 0xC0.
  const uint64_t continuations = _mm512_cmplt_epi8_mask(window.bytes, splat8(0xC0));
  const uint64_t longStarts = _mm512_cmpge_epu8_mask(window.bytes, splat8(0xE0));
  const uint64_t multiStarts = window.notAscii & ~continuations;
  uint64_t fourStarts = 0;
  uint64_t due = multiStarts << 1;
  bool hasFault;
  if (longStarts == 0) {
    // 0xC0 and 0xC1 begin nothing but overlong forms.
    hasFault = _mm512_mask_cmplt_epu8_mask(multiStarts, window.bytes, splat8(0xC2)) != 0;
  } else {
    fourStarts = _mm512_cmpge_epu8_mask(window.bytes, splat8(0xF0));
    due |= longStarts << 2 | fourStarts << 3;
    hasFault = hasWrongSecond(window.bytes, window.next, multiStarts);
  }
  hasFault |= ((due ^ continuations) & ~known) != 0;
  const uint64_t own = lowBits(startBytes);
  return {~continuations & own, longStarts & own, fourStarts & own, hasFault};
}

// Characters of one or two bytes, thirty-two at a time in lanes of 16 bits. `source` stands at the first.
template <bool isTight>
VQ_TARGET_AVX512 inline void convertShort(const uint8_t* source, uint64_t twos, size_t characters,
                                          VQChar* target) {
  constexpr size_t size = 2 * groupSize;
  for (size_t done = 0; done < characters; done += size) {
    const size_t left = characters - done;
    const uint64_t spread = (0xAAAAAAAAAAAAAAAA | _pdep_u64(twos, 0x5555555555555555)) & lowBits(2 * left);
    const __m512i lanes = _mm512_maskz_expandloadu_epi8(spread, source);
    const __m512i sums = _mm512_maddubs_epi16(lanes, splat32(0x01400140));
    const __m512i values =
        _mm512_min_epu16(sums, _mm512_sub_epi16(sums, _mm512_set1_epi16(static_cast<short>(markers2))));
    store<isTight>(_mm512_cvtepu16_epi32(_mm512_castsi512_si256(values)), left, target + done);
    if (left > groupSize) {
      store<isTight>(_mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(values, 1)), left - groupSize,
                     target + done + groupSize);
    }
    source += std::popcount(spread);
    twos >>= size;
  }
}

// Characters of one to three or four bytes: whether each has a second byte, a third, a fourth.
template <int longest, bool isTight>
VQ_TARGET_AVX512 inline void convertMixed(const uint8_t* source, uint64_t second, uint64_t third,
                                          uint64_t fourth, size_t characters, VQChar* target) {
  for (size_t done = 0; done < characters; done += groupSize) {
    const size_t left = characters - done;
    // From the last byte down, as the last is at the upper end.
    uint64_t spread =
        0x8888888888888888 | _pdep_u64(second, 0x4444444444444444) | _pdep_u64(third, 0x2222222222222222);
    if constexpr (longest == 4) spread |= _pdep_u64(fourth, 0x1111111111111111);
    spread &= lowBits(4 * left);
    store<isTight>(join<longest>(_mm512_maskz_expandloadu_epi8(spread, source)), left, target + done);
    source += std::popcount(spread);
    second >>= groupSize;
    third >>= groupSize;
    fourth >>= groupSize;
  }
}

// Characters of three bytes only, of which the first is `skipped` bytes from the beginning.
template <bool isTight>
VQ_TARGET_AVX512 inline void convertThrees(__m512i bytes, size_t skipped, size_t characters, VQChar* target) {
  const __m512i inOrder = _mm512_setr_epi32(
      0x02010000, 0x05040300, 0x08070600, 0x0B0A0900, 0x0E0D0C00, 0x11100F00, 0x14131200, 0x17161500,
      0x1A191800, 0x1D1C1B00, 0x201F1E00, 0x23222100, 0x26252400, 0x29282700, 0x2C2B2A00, 0x2F2E2D00);
  const __m512i places = _mm512_add_epi8(inOrder, splat8(static_cast<uint8_t>(skipped)));
  const auto values = [&](__m512i from) VQ_TARGET_AVX512 {
    const __m512i lanes = _mm512_maskz_permutexvar_epi8(0xEEEEEEEEEEEEEEEE, from, bytes);
    return _mm512_sub_epi32(weigh(lanes), splat32(markers3));
  };
  store<isTight>(values(places), characters, target);
  if (characters <= groupSize) return;
  store<isTight>(values(_mm512_add_epi8(places, splat8(3 * groupSize))), characters - groupSize,
                 target + groupSize);
}

// Converts the characters of a window.
template <bool isTight>
VQ_TARGET_AVX512 inline void convertWindow(const uint8_t* source, const Window& window, const Shape& shape,
                                           size_t characters, VQChar* target) {
  const auto skipped = static_cast<size_t>(std::countr_zero(shape.starts));
  source += skipped;
  if (shape.longStarts == 0) {
    convertShort<isTight>(source, _pext_u64(window.notAscii, shape.starts), characters, target);
  } else if (shape.fourStarts == 0) {
    if (shape.longStarts == shape.starts) {
      convertThrees<isTight>(window.bytes, skipped, characters, target);
    } else {
      convertMixed<3, isTight>(source, _pext_u64(window.notAscii, shape.starts),
                               _pext_u64(shape.longStarts, shape.starts), 0, characters, target);
    }
  } else if (shape.fourStarts == shape.starts) {
    const __m512i fours = _mm512_maskz_loadu_epi8(lowBits(4 * characters), source);
    store<isTight>(_mm512_sub_epi32(weigh(fours), splat32(markers4)), characters, target);
  } else {
    convertMixed<4, isTight>(source, _pext_u64(window.notAscii, shape.starts),
                             _pext_u64(shape.longStarts, shape.starts),
                             _pext_u64(shape.fourStarts, shape.starts), characters, target);
  }
}

// How far a conversion has come.
struct Place {
  size_t at;
  size_t written;
  // The bytes at `at` that are judged: the first of them may continue the last character that is written.
  uint64_t known;
};
constexpr uint64_t knownOfWindow = (uint64_t{1} << (windowBytes - stride)) - 1;

// The windows that have all their bytes, one more behind them, and room for as many characters.
[[gnu::noinline]] VQ_TARGET_AVX512 Place convertWhole(const uint8_t* source, size_t byteCount, VQChar* target,
                                                      size_t capacity) {
  const uint8_t* at = source;
  VQChar* out = target;
  const uint8_t* const end = source + byteCount;
  const VQChar* const outEnd = target + capacity;
  uint64_t known = 0;
  const auto widenRuns = [&]() VQ_TARGET_AVX512 {
    while (end - at >= static_cast<ptrdiff_t>(asciiRun) && outEnd - out >= static_cast<ptrdiff_t>(asciiRun) &&
           widenRun(at, out)) {
      at += asciiRun;
      out += asciiRun;
    }
  };
  widenRuns();
  while (end - at > static_cast<ptrdiff_t>(windowBytes) &&
         outEnd - out >= static_cast<ptrdiff_t>(windowBytes)) {
    const Window window = windowOf(_mm512_loadu_si512(at), _mm512_loadu_si512(at + 1));
    if (window.notAscii == 0) {
      widenWindow(at, out);
      at += windowBytes;
      out += windowBytes;
      known = 0;
      widenRuns();
      continue;
    }
    const Shape shape = shapeOf(window, known, stride);
    if (shape.hasFault) break;
    const auto characters = static_cast<size_t>(std::popcount(shape.starts));
    convertWindow<false>(at, window, shape, characters, out);
    at += stride;
    out += characters;
    known = knownOfWindow;
  }
  return {static_cast<size_t>(at - source), static_cast<size_t>(out - target), known};
}

// Back to where a character begins.
VQ_TARGET_AVX512 inline void stepBack(Place& place, const uint8_t* source) {
  const auto continues = [&] { return (source[place.at] & 0xC0) == 0x80; };
  if (place.known == 0 || !continues()) return;
  while (continues()) --place.at;
  --place.written;
}

// Out of line, so that a tiny text pays for no frame.
[[gnu::noinline]] VQ_TARGET_AVX512 Result convertLong(const uint8_t* source, size_t byteCount, VQChar* target,
                                                      size_t capacity) {
  Place place{0, 0, 0};
  if (byteCount > windowBytes) place = convertWhole(source, byteCount, target, capacity);
  while (place.at < byteCount) {
    const uint8_t* at = source + place.at;
    const size_t left = byteCount - place.at;
    const size_t room = capacity - place.written;
    const size_t length = left < windowBytes ? left : windowBytes;
    const Window window = windowOf(_mm512_maskz_loadu_epi8(lowBits(length), at),
                                   _mm512_maskz_loadu_epi8(lowBits(left - 1), at + 1));
    if (window.notAscii == 0) {
      if (room < length) break;
      widenAscii(at, length, target + place.written);
      place = {place.at + length, place.written + length, 0};
      continue;
    }
    const size_t startBytes = length < windowBytes ? length : stride;
    const Shape shape = shapeOf(window, place.known, startBytes);
    const auto characters = static_cast<size_t>(std::popcount(shape.starts));
    if (shape.hasFault || room < characters) break;
    convertWindow<true>(at, window, shape, characters, target + place.written);
    place = {place.at + startBytes, place.written + characters, knownOfWindow};
  }
  if (place.at == byteCount) return {0, place.at, place.written};
  stepBack(place, source);
  const Result rest = portable::utf8ToWide(source + place.at, byteCount - place.at, target + place.written,
                                           capacity - place.written);
  return {rest.status, place.at + rest.consumed, place.written + rest.written};
}

}  // namespace

VQ_TARGET_AVX512 Result utf8ToWide(const uint8_t* source, size_t byteCount, VQChar* target, size_t capacity) {
  if (byteCount > mostTiny) return convertLong(source, byteCount, target, capacity);
  const size_t characters = decodeTiny(source, byteCount, target, capacity);
  if (characters == notMade) return portable::utf8ToWide(source, byteCount, target, capacity);
  return {0, byteCount, characters};
}

}  // namespace vq::transcode::avx512

// Percent escaping in AVX-512: what a run of bytes could become is laid out in a vector, and what does not
// belong there is pressed out of it. Stores are cut to what there is to write, so that the target may be the
// source's own storage.
#include <algorithm>

#include "encodings/bytes_avx512.hpp"
#include "encodings/url_codec.hpp"

namespace vq::url::wide_vector {

namespace {

using namespace vq::avx512;

constexpr uint64_t stepElements = 64;
constexpr __mmask64 allBits = UINT64_MAX;

// By the ASCII character: the top bit, if it is escaped.
alignas(64) constexpr std::array<uint8_t, 128> escapeFlags = [] {
  std::array<uint8_t, 128> flags{};
  for (uint8_t c = 0; c < 128; ++c) flags[c] = isUnescaped(c) ? 0 : 0x80;
  return flags;
}();

// By the ASCII character, as digitValues.
alignas(64) constexpr std::array<uint8_t, 128> asciiDigitValues = [] {
  std::array<uint8_t, 128> values{};
  for (uint8_t c = 0; c < 128; ++c) values[c] = static_cast<uint8_t>(digitValues[c]);
  return values;
}();

// What a table of 128 says for each byte, not regarding its top bit.
VQ_INLINE_AVX512 __m512i lookUp(const std::array<uint8_t, 128>& table, __m512i bytes) {
  return _mm512_permutex2var_epi8(tableOf(table.data()), bytes, tableOf(table.data() + 64));
}

// The top bit of each byte that is escaped.
VQ_INLINE_AVX512 __m512i escapeFlagsOf(__m512i bytes) {
  return _mm512_or_si512(lookUp(escapeFlags, bytes), bytes);
}
VQ_INLINE_AVX512 uint64_t topBits(__m512i bytes) {
  return _cvtmask64_u64(_mm512_movepi8_mask(bytes));
}
VQ_INLINE_AVX512 uint64_t countOf(uint64_t bits) {
  return static_cast<uint64_t>(_mm_popcnt_u64(bits));
}

template <class Element>
VQ_TARGET_AVX512 uint64_t cleanLengthOf(const Element* text, uint64_t elementCount) {
  uint64_t at = 0;
  for (; elementCount - at >= 4 * stepElements; at += 4 * stepElements) {
    const Element* step = text + at;
    const __m512i front = _mm512_or_si512(escapeFlagsOf(load(step, allBits)),
                                          escapeFlagsOf(load(step + stepElements, allBits)));
    const __m512i back = _mm512_or_si512(escapeFlagsOf(load(step + 2 * stepElements, allBits)),
                                         escapeFlagsOf(load(step + 3 * stepElements, allBits)));
    if (topBits(_mm512_or_si512(front, back)) != 0) break;
  }
  while (at < elementCount) {
    const uint64_t count = std::min(elementCount - at, stepElements);
    const __mmask64 mask = lowBits(count);
    const uint64_t escaped = topBits(escapeFlagsOf(load(text + at, mask))) & _cvtmask64_u64(mask);
    if (escaped != 0) return at + _tzcnt_u64(escaped);
    at += count;
  }
  return elementCount;
}

// ---- Escaping ----

// A run of 21 bytes takes 63 places, three for each.
constexpr uint64_t runBytes = 21;
constexpr uint64_t stepBytes = 3 * runBytes;
constexpr uint64_t firstPlaces = 0x1249249249249249;

alignas(64) constexpr Places threefold = placesBy([](int i) { return i / 3; });
// By the low four bits.
alignas(64) constexpr Places digits = placesBy([](int i) { return "0123456789ABCDEF"[i % 16]; });

// What is to be written for up to 21 bytes of a vector, from byte `from` on, and how many elements that has.
struct Escaped {
  __m512i bytes;
  uint64_t length;
};
VQ_INLINE_AVX512 Escaped escapeRun(__m512i bytes, uint64_t escaped, uint64_t from, uint64_t count) {
  const __m512i order = _mm512_add_epi8(tableOf(threefold.data()), _mm512_set1_epi8(static_cast<char>(from)));
  const __m512i tripled = _mm512_permutexvar_epi8(order, bytes);
  const __m512i nibbles =
      _mm512_mask_blend_epi8(_cvtu64_mask64(firstPlaces << 1), tripled, _mm512_srli_epi16(tripled, 4));
  // The first place holds the byte itself or the percent sign.
  const uint64_t first = firstPlaces & _bzhi_u64(UINT64_MAX, static_cast<uint32_t>(3 * count));
  const uint64_t signs = _pdep_u64(escaped >> from, first);
  const __m512i withSigns = _mm512_mask_mov_epi8(tripled, _cvtu64_mask64(signs), _mm512_set1_epi8('%'));
  const __m512i all =
      _mm512_mask_permutexvar_epi8(withSigns, _cvtu64_mask64(~firstPlaces), nibbles, tableOf(digits.data()));
  const uint64_t kept = first | signs << 1 | signs << 2;
  return {_mm512_maskz_compress_epi8(_cvtu64_mask64(kept), all), countOf(kept)};
}

// For a text that is one run.
VQ_INLINE_AVX512 Escaped escapeRun(const char* text, uint64_t byteCount) {
  const __m512i bytes = loadShort(text, byteCount);
  return escapeRun(bytes, topBits(escapeFlagsOf(bytes)), 0, byteCount);
}

// `put` stores a number of the bytes that it is given. Out of line, so that a short text pays for no frame.
template <class Element, class Put>
[[gnu::noinline]] VQ_TARGET_AVX512 void escapeLong(const char* text, uint64_t byteCount, Element* target,
                                                   Put put) {
  for (uint64_t at = 0; at < byteCount;) {
    const uint64_t left = byteCount - at;
    const uint64_t loaded = std::min(left, stepElements);
    const __m512i bytes = load(text + at, lowBits(loaded));
    const uint64_t escaped = topBits(escapeFlagsOf(bytes)) & _cvtmask64_u64(lowBits(loaded));
    if (escaped == 0) {
      put(target, bytes, loaded);
      target += loaded;
      at += loaded;
      continue;
    }
    const uint64_t count = std::min(left, stepBytes);
    for (uint64_t from = 0; from < count; from += runBytes) {
      const Escaped run = escapeRun(bytes, escaped, from, std::min(count - from, runBytes));
      put(target, run.bytes, run.length);
      target += run.length;
    }
    at += count;
  }
}

struct PutExactly {
  VQ_INLINE_AVX512 void operator()(char* target, __m512i bytes, uint64_t count) const {
    store(target, bytes, count);
  }
};
// A whole vector takes less, where it finds room.
struct PutWidely {
  VQChar* targetEnd;
  VQ_INLINE_AVX512 void operator()(VQChar* target, __m512i bytes, uint64_t count) const {
    if (targetEnd - target >= static_cast<int64_t>(stepElements)) {
      store(target, bytes);
    } else {
      store(target, bytes, count);
    }
  }
};

// ---- Measuring ----

// The places that a sequence may reach behind its first byte: in a vector, and those behind it.
struct Reach {
  uint64_t within = 0;
  uint64_t behind = 0;
};
// A byte from 0xC0 on reaches one place further, from 0xE0 two, from 0xF0, 0xF8 and 0xFC more. That some of
// these bytes may stand inside a sequence themselves makes the reach too large, never too small.
VQ_INLINE_AVX512 Reach reachOf(__m512i bytes) {
  constexpr uint8_t firsts[5] = {0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
  Reach reach;
  for (uint32_t i = 0; i < 5; ++i) {
    const __m512i least = _mm512_set1_epi8(static_cast<char>(firsts[i]));
    const uint64_t reaching = _cvtmask64_u64(_mm512_cmpge_epu8_mask(bytes, least));
    if (reaching == 0) break;
    reach.within |= reaching << (i + 1);
    reach.behind |= reaching >> (63 - i);
  }
  return reach;
}

// More than one vector. Out of line, so that a short text does without its constants.
[[gnu::noinline]] VQ_TARGET_AVX512 Measure measureLong(const char* text, uint64_t byteCount) {
  uint64_t escapedBytes = 0, conflicts = 0;
  Reach reach;
  for (uint64_t at = 0; at < byteCount; at += stepElements) {
    const uint64_t present = _cvtmask64_u64(lowBits(std::min(byteCount - at, stepElements)));
    const __m512i bytes = load(text + at, _cvtu64_mask64(present));
    const uint64_t escaped = topBits(escapeFlagsOf(bytes)) & present;
    const uint64_t behind = reach.behind;
    reach = topBits(bytes) == 0 ? Reach{} : reachOf(bytes);
    escapedBytes += countOf(escaped);
    conflicts |= present & ~escaped & (reach.within | behind);
  }
  return conflicts == 0 ? Measure{escapedBytes, true} : measureSequences(text, byteCount);
}

// ---- Unescaping ----

// The values of digits, -1 for what is none.
VQ_INLINE_AVX512 __m512i digitValuesOf(__m512i bytes) {
  return _mm512_mask_mov_epi8(lookUp(asciiDigitValues, bytes), _mm512_movepi8_mask(bytes),
                              _mm512_set1_epi8(-1));
}

VQ_INLINE_AVX512 uint64_t placesOf(__m512i bytes, char byte) {
  return _cvtmask64_u64(_mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8(byte)));
}
VQ_INLINE_AVX512 __m512i withBlanks(__m512i bytes) {
  return _mm512_mask_mov_epi8(bytes, _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8('+')),
                              _mm512_set1_epi8(' '));
}

// The bytes to be kept, moved together, each percent sign being what the two bytes behind it stand for.
VQ_INLINE_AVX512 __m512i unescaped(__m512i bytes, uint64_t signs, __m512i first, __m512i second,
                                   uint64_t kept) {
  const __m512i high =
      _mm512_and_si512(_mm512_slli_epi16(digitValuesOf(first), 4), _mm512_set1_epi8(static_cast<char>(0xF0)));
  const __m512i values = _mm512_add_epi8(high, digitValuesOf(second));
  return _mm512_maskz_compress_epi8(_cvtu64_mask64(kept),
                                    _mm512_mask_mov_epi8(withBlanks(bytes), _cvtu64_mask64(signs), values));
}

// Up to a vector of elements.
VQ_INLINE_AVX512 __m512i loadSome(const VQChar* text, uint64_t elementCount) {
  if (elementCount >= stepElements) return load(text, allBits);
  return elementCount == 0 ? _mm512_setzero_si512() : load(text, lowBits(elementCount));
}

VQ_INLINE_AVX512 void prefetchStep(const VQChar* text) {
  for (uint64_t at = 0; at < stepElements; at += 16) _mm_prefetch(text + at, _MM_HINT_T0);
}

// Of two vectors, the bytes one further on and two.
alignas(64) constexpr Places oneOn = placesBy([](int i) { return i + 1; });
alignas(64) constexpr Places twoOn = placesBy([](int i) { return i + 2; });

// Whole steps at fixed distances, so that none waits for the one before to be read. Digits behind a step are
// left out of the next one. A whole vector is stored: what of it is too much lies in front of what is still
// to be read.
VQ_INLINE_AVX512 void unescapeSteps(char* text, uint64_t byteCount, uint64_t* at, uint64_t* written) {
  uint64_t behind = 0;
  for (; byteCount - *at >= stepElements + 2; *at += stepElements) {
    const char* source = text + *at;
    const __m512i bytes = load(source, allBits);
    const uint64_t signs = placesOf(bytes, '%');
    const uint64_t taken = signs << 1 | signs << 2 | behind;
    if ((signs | behind) == 0) {
      store(text + *written, withBlanks(bytes));
      *written += stepElements;
      continue;
    }
    if ((signs & taken) != 0) break;
    const __m512i first = load(source + 1, allBits), second = load(source + 2, allBits);
    store(text + *written, unescaped(bytes, signs, first, second, ~taken));
    *written += countOf(~taken);
    behind = signs >> 62 | signs >> 63;
  }
  *at += countOf(behind);
}

}  // namespace

VQ_TARGET_AVX512 uint64_t cleanLength(const char* text, uint64_t byteCount) {
  return cleanLengthOf(text, byteCount);
}

VQ_TARGET_AVX512 uint64_t cleanLength(const VQChar* text, uint64_t elementCount) {
  return cleanLengthOf(text, elementCount);
}

VQ_TARGET_AVX512 void escape(const char* text, uint64_t byteCount, char* target) {
  if (byteCount > runBytes) return escapeLong(text, byteCount, target, PutExactly{});
  const Escaped run = escapeRun(text, byteCount);
  store(target, run.bytes, run.length);
}

VQ_TARGET_AVX512 void escapeToWide(const char* text, uint64_t byteCount, VQChar* target,
                                   uint64_t targetLength) {
  if (byteCount > runBytes) return escapeLong(text, byteCount, target, PutWidely{target + targetLength});
  const Escaped run = escapeRun(text, byteCount);
  store(target, run.bytes, run.length);
}

VQ_TARGET_AVX512 Measure measure(const char* text, uint64_t byteCount) {
  if (byteCount > stepElements) return measureLong(text, byteCount);
  const uint64_t present = _cvtmask64_u64(lowBits(byteCount));
  const __m512i bytes = loadShort(text, byteCount);
  const uint64_t escaped = topBits(escapeFlagsOf(bytes)) & present;
  if (topBits(bytes) != 0 && (reachOf(bytes).within & present & ~escaped) != 0) {
    return measureSequences(text, byteCount);
  }
  return {countOf(escaped), true};
}

VQ_TARGET_AVX512 void unescape(char* text, uint64_t byteCount, uint64_t* at, uint64_t* written) {
  unescapeSteps(text, byteCount, at, written);
  while (*at < byteCount) {
    const char* source = text + *at;
    const uint64_t left = byteCount - *at;
    const uint64_t loaded = std::min(left, stepElements);
    const __m512i bytes = load(source, lowBits(loaded));
    const uint64_t signs = placesOf(bytes, '%');
    // A '%' in the place of a digit is none, which goes from one to the next, and at the end of the text one
    // takes what there is.
    const uint64_t taken = signs << 1 | signs << 2;
    const uint64_t whole = left < 2 ? 0 : std::min(left - 2, stepElements);
    if ((signs & taken) != 0 || (signs & ~_cvtmask64_u64(lowBits(whole))) != 0) return;
    const __m512i first = load(source + 1, lowBits(std::min(left - 1, stepElements)));
    const __m512i second = load(source + 2, lowBits(whole));
    const uint64_t kept = ~taken & _cvtmask64_u64(lowBits(loaded));
    const uint64_t length = countOf(kept);
    store(text + *written, unescaped(bytes, signs, first, second, kept), length);
    // Digits of the last two places stand behind the step.
    *at += loaded + (signs >> 62);
    *written += length;
  }
}

VQ_TARGET_AVX512 uint64_t unescape(const VQChar* text, uint64_t elementCount, char* target, uint64_t room) {
  // A text from memory comes at two thirds of the time when its lines are asked for a page ahead: where a
  // page ends, the processor does not see by itself what follows.
  constexpr uint64_t ahead = 1024;
  uint64_t written = 0, behind = 0, left = elementCount;
  __m512i bytes = loadSome(text, left);
  for (;;) {
    const uint64_t present = _cvtmask64_u64(lowBits(std::min(left, stepElements)));
    left -= std::min(left, stepElements);
    text += stepElements;
    if (left > ahead) prefetchStep(text + ahead);
    const __m512i following = loadSome(text, left);
    // What is no byte, or none of ASCII, has been made 0 or negative. A character 0 is left to others too.
    const uint64_t ascii = _cvtmask64_u64(_mm512_cmpgt_epi8_mask(bytes, _mm512_setzero_si512()));
    const uint64_t signs = placesOf(bytes, '%');
    const uint64_t taken = signs << 1 | signs << 2 | behind;
    if (ascii != present || (taken & (signs | ~present)) != 0) return notAscii;
    const uint64_t kept = present & ~taken;
    __m512i made = withBlanks(bytes);
    if ((signs | behind) != 0) {
      const __m512i first = _mm512_permutex2var_epi8(bytes, tableOf(oneOn.data()), following);
      const __m512i second = _mm512_permutex2var_epi8(bytes, tableOf(twoOn.data()), following);
      made = unescaped(bytes, signs, first, second, kept);
    }
    storeShort(target + written, made, countOf(kept), room - written);
    written += countOf(kept);
    behind = signs >> 62 | signs >> 63;
    if (left == 0) return behind == 0 ? written : notAscii;
    bytes = following;
  }
}

}  // namespace vq::url::wide_vector

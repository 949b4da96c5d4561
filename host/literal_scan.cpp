// The search for a required literal: the anchor character by vectors, the characters round it one by one.
#include <immintrin.h>

#include "host/required_literals.hpp"
#include "text/cpu.hpp"

namespace vq::host {

namespace {

template <class Element>
struct Scan {
  const Element* text;
  size_t size;
  std::string_view literal;
  size_t anchor;
  bool ignoresCase;
  Element lower;
  Element upper;

  Scan(const RequiredLiteral& required, std::span<const Element> subject)
      : text(subject.data()),
        size(subject.size()),
        literal(required.text),
        anchor(required.anchor),
        ignoresCase(required.ignoresCase),
        lower(static_cast<Element>(literal[anchor])),
        upper(lower) {
    if (ignoresCase && lower >= 'a' && lower <= 'z') upper = static_cast<Element>(lower - 32);
  }

  enum class Neighbour { same, different, anything };

  Neighbour compare(Element c, char wanted) const {
    const auto expected = static_cast<Element>(wanted);
    if (c == expected) return Neighbour::same;
    if (!ignoresCase) return Neighbour::different;
    if (c >= 0x80) return Neighbour::anything;
    return c >= 'A' && c <= 'Z' && c + 32 == expected ? Neighbour::same : Neighbour::different;
  }

  // The anchor stands at `position`: whether the literal may stand round it.
  bool fits(size_t position) const {
    for (size_t i = anchor + 1, at = position + 1; i < literal.size(); ++i, ++at) {
      if (at >= size) return false;
      const Neighbour neighbour = compare(text[at], literal[i]);
      if (neighbour == Neighbour::different) return false;
      if (neighbour == Neighbour::anything) break;
    }
    for (size_t i = anchor, at = position; i > 0; --i, --at) {
      if (at == 0) return false;
      const Neighbour neighbour = compare(text[at - 1], literal[i - 1]);
      if (neighbour == Neighbour::different) return false;
      if (neighbour == Neighbour::anything) break;
    }
    return true;
  }

  static constexpr Element plainEnd = sizeof(Element) == 1 ? 0x80 : 0xD800;

  ScanAnswer one() const {
    Element largest = 0;
    for (size_t i = 0; i < size; ++i) {
      largest = text[i] > largest ? text[i] : largest;
      if ((text[i] == lower || text[i] == upper) && fits(i)) return {true, false};
    }
    return {false, largest < plainEnd};
  }
};

// Bit i * sizeof(Element) of the mask: the anchor stands at base + i.
template <class Element>
bool anyFits(const Scan<Element>& scan, size_t base, uint32_t mask) {
  while (mask != 0) {
    const auto bit = static_cast<size_t>(__builtin_ctz(mask));
    if (scan.fits(base + bit / sizeof(Element))) return true;
    mask &= mask - 1;
    if constexpr (sizeof(Element) == 4) mask &= ~(0xEu << bit);
  }
  return false;
}

VQ_TARGET_AVX2 inline __m256i load(const void* from) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

VQ_TARGET_AVX2 ScanAnswer scanAvx2(const Scan<VQChar>& scan) {
  constexpr size_t lanes = 8;
  const __m256i lower = _mm256_set1_epi32(static_cast<int>(scan.lower));
  const __m256i upper = _mm256_set1_epi32(static_cast<int>(scan.upper));
  __m256i largest = _mm256_setzero_si256();
  const auto hits = [&](__m256i v) VQ_TARGET_AVX2 {
    return _mm256_or_si256(_mm256_cmpeq_epi32(v, lower), _mm256_cmpeq_epi32(v, upper));
  };
  const auto step = [&](size_t base) VQ_TARGET_AVX2 {
    const __m256i v = load(scan.text + base);
    largest = _mm256_max_epu32(largest, v);
    const auto mask = static_cast<uint32_t>(_mm256_movemask_epi8(hits(v)));
    return mask != 0 && anyFits(scan, base, mask);
  };
  size_t base = 0;
  for (; base + 4 * lanes <= scan.size; base += 4 * lanes) {
    const __m256i a = load(scan.text + base);
    const __m256i b = load(scan.text + base + lanes);
    const __m256i c = load(scan.text + base + 2 * lanes);
    const __m256i d = load(scan.text + base + 3 * lanes);
    const __m256i any = _mm256_or_si256(_mm256_or_si256(hits(a), hits(b)), _mm256_or_si256(hits(c), hits(d)));
    largest = _mm256_max_epu32(largest, _mm256_max_epu32(_mm256_max_epu32(a, b), _mm256_max_epu32(c, d)));
    if (_mm256_testz_si256(any, any)) continue;
    for (size_t part = 0; part < 4 * lanes; part += lanes) {
      if (step(base + part)) return {true, false};
    }
  }
  for (; base + lanes <= scan.size; base += lanes) {
    if (step(base)) return {true, false};
  }
  // The last vector overlaps the one before it.
  if (base < scan.size && step(scan.size - lanes)) return {true, false};
  const __m256i plainEnd = _mm256_set1_epi32(static_cast<int>(Scan<VQChar>::plainEnd));
  const __m256i isBeyond = _mm256_cmpeq_epi32(_mm256_max_epu32(largest, plainEnd), largest);
  return {false, _mm256_testz_si256(isBeyond, isBeyond) != 0};
}

VQ_TARGET_AVX2 ScanAnswer scanAvx2(const Scan<uint8_t>& scan) {
  constexpr size_t lanes = 32;
  const __m256i lower = _mm256_set1_epi8(static_cast<char>(scan.lower));
  const __m256i upper = _mm256_set1_epi8(static_cast<char>(scan.upper));
  __m256i all = _mm256_setzero_si256();
  const auto step = [&](size_t base) VQ_TARGET_AVX2 {
    const __m256i v = load(scan.text + base);
    all = _mm256_or_si256(all, v);
    const __m256i hit = _mm256_or_si256(_mm256_cmpeq_epi8(v, lower), _mm256_cmpeq_epi8(v, upper));
    const auto mask = static_cast<uint32_t>(_mm256_movemask_epi8(hit));
    return mask != 0 && anyFits(scan, base, mask);
  };
  size_t base = 0;
  for (; base + lanes <= scan.size; base += lanes) {
    if (step(base)) return {true, false};
  }
  if (base < scan.size && step(scan.size - lanes)) return {true, false};
  return {false, _mm256_movemask_epi8(all) == 0};
}

}  // namespace

ScanAnswer scanFor(const RequiredLiteral& literal, std::span<const uint8_t> text) noexcept {
  const Scan<uint8_t> scan(literal, text);
  return text.size() >= 32 && cpu::hasAvx2() ? scanAvx2(scan) : scan.one();
}

ScanAnswer scanFor(const RequiredLiteral& literal, std::span<const VQChar> text) noexcept {
  const Scan<VQChar> scan(literal, text);
  return text.size() >= 8 && cpu::hasAvx2() ? scanAvx2(scan) : scan.one();
}

}  // namespace vq::host

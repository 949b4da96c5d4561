// How far two byte texts go together apart from case: the block scans under the comparisons.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "frame/handle.hpp"
#include "text/case_map.hpp"
#include "vqstring/host.h"

namespace vq::utf8 {

// The table `ansi_lowcasetable` as a rule: ASCII letters fold to lower case, every other byte to itself.
constexpr uint8_t foldAscii(uint8_t byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<uint8_t>(byte + 0x20) : byte;
}

// The bytes in front of the first difference that remains when ASCII letters are folded; the second form also
// ends in front of the first byte from 0x80 up, in either text.
size_t foldedPrefix(const uint8_t* first, const uint8_t* second, size_t byteCount);
size_t asciiFoldedPrefix(const uint8_t* first, const uint8_t* second, size_t byteCount);

// The order of two characters that do not fold alike: what the host answers is compared by signed numbers.
inline int32_t orderOf(VQChar first, VQChar second) {
  return static_cast<int32_t>(first) < static_cast<int32_t>(second) ? -2 : 2;
}

// The host's lower case, or the library's own where there is no host to ask. Found once for a comparison: it
// is asked often.
class HostFold {
 public:
  VQChar operator()(VQChar c) const { return toLower_(nls_, c, 1); }

 private:
  using ToLower = decltype(VQNls::nlsToLower);
  static VQChar lowerWithoutHost(VQNls*, VQChar c, uint64_t) { return vq::text::lowerByTable(c); }

  VQNls* nls_ = Exported_VQHandle == nullptr ? nullptr : Exported_VQHandle->kernelNls;
  ToLower toLower_ = nls_ == nullptr ? lowerWithoutHost : nls_->nlsToLower;
};

// For each character of two bytes the last other one that was found to fold alike in this call, in a place
// that the last eight bits of the character tell: those of one script seldom share one. An entry is the rest
// of the character above the eleven bits of the other, never 0.
struct PartnerTable {
  static constexpr size_t entryCount = 256;
  // Nothing is known, and the entries are still to be cleared.
  bool isEmpty = true;
  alignas(64) uint16_t entries[entryCount];

  uint16_t& entryOf(uint16_t character) { return entries[character % entryCount]; }
};

// Text that is alike, and where in it the first bytes differ, if any do.
struct AlikeRun {
  static constexpr size_t none = SIZE_MAX;
  size_t byteCount = 0;
  size_t firstDifference = none;
  // -2 or 2 when a character in it folds to less or more than the other: then nothing else counts.
  int32_t order = 0;

  // `differs` has a bit for each of the bytes that differ.
  void advance(size_t more, uint64_t differs) {
    if (differs != 0 && firstDifference == none) {
      firstDifference = byteCount + static_cast<size_t>(std::countr_zero(differs));
    }
    byteCount += more;
  }
};

namespace avx512 {
// Goes on over the whole characters in front of the first that do not fold alike, as far as that can be told
// by blocks: characters of one and two bytes may differ, others must be the same. It also ends in front of a
// block of 64 bytes that are all the same or all ASCII that folds alike, which other scans skip faster.
void alikeRun(const uint8_t* first, const uint8_t* second, size_t byteCount, PartnerTable& partners,
              AlikeRun& run);
}  // namespace avx512

}  // namespace vq::utf8

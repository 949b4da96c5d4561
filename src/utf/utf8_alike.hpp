// How far two byte texts go together apart from case: the block scans under the comparisons.
#pragma once

#include <algorithm>
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

// The host's lower case, or the library's own where there is no host to ask.
struct HostFold {
  VQNls* nls = Exported_VQHandle == nullptr ? nullptr : Exported_VQHandle->kernelNls;

  VQChar operator()(VQChar c) const {
    return nls == nullptr ? vq::text::lowerByTable(c) : nls->nlsToLower(nls, c, 1);
  }
};

// For each character of two bytes the last other one that was found to fold alike in this call. It has a page
// for each first byte, cleared when the first character of it is learnt: short calls need few.
class PartnerTable {
 public:
  static constexpr size_t pageSize = 64;

  bool isEmpty() const { return known_ == 0; }
  // The partners by second byte, without its upper bits, each as its two bytes in memory. Null when nothing
  // is known of characters with this first byte; no partner is 0.
  const uint16_t* pageOf(uint8_t first) const {
    return (known_ >> first % pageCount & 1) != 0 ? partners_[first % pageCount] : nullptr;
  }
  // Whether two characters, given as their two bytes in memory, fold alike.
  bool areAlike(uint16_t first, uint16_t second) {
    if (const uint16_t* page = pageOf(first & 0xFF); page != nullptr && page[indexOf(first)] == second) {
      return true;
    }
    if (fold_(characterOf(first)) != fold_(characterOf(second))) return false;
    learn(first, second);
    return true;
  }

 private:
  static constexpr size_t pageCount = 32;

  static size_t indexOf(uint16_t bytes) { return bytes >> 8 & 0x3F; }
  static VQChar characterOf(uint16_t bytes) {
    return (bytes & 0x1Fu) << 6 | static_cast<VQChar>(indexOf(bytes));
  }
  void learn(uint16_t first, uint16_t second) {
    const size_t page = first % pageCount;
    if ((known_ >> page & 1) == 0) std::fill_n(partners_[page], pageSize, uint16_t{0});
    known_ |= 1u << page;
    partners_[page][indexOf(first)] = second;
  }

  HostFold fold_;
  // A bit for each page.
  uint32_t known_ = 0;
  alignas(64) uint16_t partners_[pageCount][pageSize];
};

// Text that is alike, and where in it the first bytes differ, if any do.
struct AlikeRun {
  static constexpr size_t none = SIZE_MAX;
  size_t byteCount = 0;
  size_t firstDifference = none;
};

namespace avx512 {
// The whole characters in front of the first that do not fold alike, as far as that can be told by blocks:
// characters of one and two bytes may differ, others must be the same. It also ends in front of a block of 64
// bytes that are all the same or all ASCII that folds alike, which other scans skip faster.
AlikeRun alikeRun(const uint8_t* first, const uint8_t* second, size_t byteCount, PartnerTable& partners);
}  // namespace avx512

}  // namespace vq::utf8

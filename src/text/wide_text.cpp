// Comparison and search on counted wide text.
#include "text/case_map.hpp"
#include "text/folded_compare.hpp"
#include "text/scan.hpp"
#include "text/search.hpp"
#include "vqstring/text.h"

namespace vq::text {

namespace {

int32_t order(VQChar first, VQChar second) {
  return static_cast<int32_t>(first) < static_cast<int32_t>(second) ? -1 : 1;
}

}  // namespace

}  // namespace vq::text

using namespace vq::text;

uint32_t vqzseqn(const VQChar* first, uint64_t firstLength, const VQChar* second, uint64_t secondLength) {
  return firstLength == secondLength && firstFoldedDifference(first, second, firstLength) == firstLength;
}

int32_t vqzsncmp(const VQChar* first, int64_t firstLength, const VQChar* second, int64_t secondLength) {
  const int64_t shorter = firstLength < secondLength ? firstLength : secondLength;
  const uint64_t common = shorter > 0 ? static_cast<uint64_t>(shorter) : 0;
  int32_t tie = 0;
  const uint64_t different = firstDifference(first, second, common);
  if (different < common) {
    tie = order(first[different], second[different]);
    // From the block of that difference, so that a short text is still worth a vector.
    const uint64_t from = different & ~uint64_t{7};
    const uint64_t at = from + firstFoldedDifference(first + from, second + from, common - from);
    if (at < common) return 2 * order(lowerByTable(first[at]), lowerByTable(second[at]));
  }
  if (firstLength == secondLength) return tie;
  const bool isFirstShorter = firstLength < secondLength;
  const int64_t longer = isFirstShorter ? secondLength : firstLength;
  const uint64_t excess = longer > 0 ? static_cast<uint64_t>(longer) - common : 0;
  if (firstOther((isFirstShorter ? second : first) + common, excess, U' ') == excess) return tie;
  return isFirstShorter ? -2 : 2;
}

int64_t vqzsndx(const VQChar* text, int64_t length, const VQChar* sought, int64_t soughtLength) {
  if (soughtLength <= 0) return 0;
  if (length < soughtLength) return -1;
  return findFirst(text, static_cast<uint64_t>(length), sought, static_cast<uint64_t>(soughtLength));
}

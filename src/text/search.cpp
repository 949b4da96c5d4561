// The search behind search.hpp.
#include "text/search.hpp"

#include "text/scan.hpp"

namespace vq::text {

namespace {

template <class Element>
int64_t find(const Element* text, uint64_t length, const Element* needle, uint64_t needleLength) {
  if (needleLength == 0) return 0;
  if (length < needleLength) return -1;
  const uint64_t limit = length - needleLength + 1;
  for (uint64_t i = 0; i < limit; ++i) {
    i += firstEqual(text + i, limit - i, needle[0]);
    if (i == limit) return -1;
    if (firstDifference(text + i, needle, needleLength) == needleLength) return static_cast<int64_t>(i);
  }
  return -1;
}

}  // namespace

int64_t findFirst(const uint8_t* text, uint64_t length, const uint8_t* needle, uint64_t needleLength) {
  return find(text, length, needle, needleLength);
}
int64_t findFirst(const VQChar* text, uint64_t length, const VQChar* needle, uint64_t needleLength) {
  return find(text, length, needle, needleLength);
}

}  // namespace vq::text

// Scans over bytes and wide elements.
#include "text/scan.hpp"

#include "vqstring/text.h"

namespace vq::text {

namespace {

template <class Element>
uint64_t scanEqual(const Element* buffer, uint64_t count, Element value) {
  uint64_t i = 0;
  while (i < count && buffer[i] != value) ++i;
  return i;
}

template <class Element>
uint64_t scanOther(const Element* buffer, uint64_t count, Element value) {
  uint64_t i = 0;
  while (i < count && buffer[i] == value) ++i;
  return i;
}

template <class Element>
uint64_t scanDifference(const Element* first, const Element* second, uint64_t count) {
  uint64_t i = 0;
  while (i < count && first[i] == second[i]) ++i;
  return i;
}

int64_t indexOrNone(uint64_t index, uint64_t count) {
  return index == count ? -1 : static_cast<int64_t>(index);
}

}  // namespace

uint64_t firstEqual(const uint8_t* buffer, uint64_t count, uint8_t value) {
  return scanEqual(buffer, count, value);
}
uint64_t firstEqual(const VQChar* buffer, uint64_t count, VQChar value) {
  return scanEqual(buffer, count, value);
}
uint64_t firstOther(const uint8_t* buffer, uint64_t count, uint8_t value) {
  return scanOther(buffer, count, value);
}
uint64_t firstOther(const VQChar* buffer, uint64_t count, VQChar value) {
  return scanOther(buffer, count, value);
}
uint64_t firstDifference(const uint8_t* first, const uint8_t* second, uint64_t count) {
  return scanDifference(first, second, count);
}
uint64_t firstDifference(const VQChar* first, const VQChar* second, uint64_t count) {
  return scanDifference(first, second, count);
}

}  // namespace vq::text

using vq::text::firstDifference;
using vq::text::firstEqual;
using vq::text::firstOther;
using vq::text::indexOrNone;

uint32_t mhMemNot(uint32_t value, const void* buffer, uint64_t count) {
  return firstOther(static_cast<const uint8_t*>(buffer), count, static_cast<uint8_t>(value)) == count;
}

uint32_t mhMemTNot(VQChar value, const VQChar* buffer, uint64_t count) {
  return firstOther(buffer, count, value) == count;
}

int64_t mhMemScan(const void* buffer, uint64_t count, uint32_t value) {
  if (buffer == nullptr) return -1;
  return indexOrNone(firstEqual(static_cast<const uint8_t*>(buffer), count, static_cast<uint8_t>(value)),
                     count);
}

int64_t mhMemNScan(const void* buffer, uint64_t count, uint32_t value) {
  if (buffer == nullptr) return -1;
  return indexOrNone(firstOther(static_cast<const uint8_t*>(buffer), count, static_cast<uint8_t>(value)),
                     count);
}

int64_t mhMemTNScan(const VQChar* buffer, uint64_t count, VQChar value) {
  if (buffer == nullptr) return -1;
  return indexOrNone(firstOther(buffer, count, value), count);
}

int32_t mhMemCmp(const void* first, const void* second, uint64_t count) {
  const auto* a = static_cast<const uint8_t*>(first);
  const auto* b = static_cast<const uint8_t*>(second);
  const uint64_t at = firstDifference(a, b, count);
  if (at == count) return 0;
  return a[at] < b[at] ? -1 : 1;
}

int32_t mhWMemCmp(const VQChar* first, const VQChar* second, uint64_t count) {
  const uint64_t at = firstDifference(first, second, count);
  if (at == count) return 0;
  return static_cast<int32_t>(first[at] - second[at]) < 0 ? -1 : 1;
}

uint32_t mhMissArray(const double* array, uint64_t count) {
  for (uint64_t i = 0; i < count; ++i) {
    if (array[i] != array[i]) return 1;
  }
  return 0;
}

int64_t mhStrLen(const char* text) {
  if (text == nullptr) return 0;
  int64_t length = 0;
  while (text[length] != 0) ++length;
  return length;
}

int64_t mhStrTLen(const VQChar* text) {
  if (text == nullptr) return 0;
  int64_t length = 0;
  while (text[length] != 0) ++length;
  return length;
}

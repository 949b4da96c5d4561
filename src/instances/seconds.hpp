// Doubles cut to whole numbers, without the mathematical library and without undefined behaviour: a value
// that does not fit, not a number among them, counts as 0.
#pragma once

#include <cstdint>

namespace vq {

inline constexpr int64_t secondsPerDay = 86400;

// Towards zero.
constexpr int32_t cutToInt32(double value) {
  return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int32_t>(value) : 0;
}

constexpr int64_t cutToInt64(double value) {
  return value > -9.2e18 && value < 9.2e18 ? static_cast<int64_t>(value) : 0;
}

// Towards minus infinity.
constexpr int64_t floorToInt64(double value) {
  const int64_t cut = cutToInt64(value);
  return static_cast<double>(cut) > value ? cut - 1 : cut;
}

}  // namespace vq

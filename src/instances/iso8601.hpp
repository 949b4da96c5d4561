// The ISO 8601 shapes of times and date-times, as formats for the kernel's engine.
//
// The two families differ in how they write a zone offset: a time always with a colon and minutes (+05:00), a
// date-time without a colon, and with minutes only where there are some (+05, +0530).
#pragma once

#include <cstdint>
#include <cstdlib>

#include "instances/seconds.hpp"
#include "vqstring/instances.h"

namespace vq::iso8601 {

// A format with its length in elements.
struct Format {
  template <size_t size>
  constexpr Format(const VQChar (&literal)[size]) : text(literal), length(size - 1) {}

  const VQChar* text;
  int64_t length;
};

inline constexpr Format date = U"%d-%02d-%02d";

// By milliseconds (none, some), then by offset (none, present).
inline constexpr Format time[2][2] = {
    {U"%02d:%02d:%02d", U"%02d:%02d:%02d%c%02d:%02d"},
    {U"%02d:%02d:%02d.%03d", U"%02d:%02d:%02d.%03d%c%02d:%02d"},
};

// By milliseconds (none, some), then by offset (none, whole hours, with minutes).
inline constexpr Format dateTime[2][3] = {
    {U"%d-%02d-%02dT%02d:%02d:%02d", U"%d-%02d-%02dT%02d:%02d:%02d%c%02d",
     U"%d-%02d-%02dT%02d:%02d:%02d%c%02d%02d"},
    {U"%d-%02d-%02dT%02d:%02d:%02d.%03d", U"%d-%02d-%02dT%02d:%02d:%02d.%03d%c%02d",
     U"%d-%02d-%02dT%02d:%02d:%02d.%03d%c%02d%02d"},
};

// A zone offset as it is printed; its seconds are dropped.
struct Offset {
  bool isPresent = false;
  int32_t sign = '+';
  int32_t hours = 0;
  int32_t minutes = 0;

  Offset(double seconds, uint8_t flag) : isPresent(flag != 0) {
    if (!isPresent) return;
    // The sign is that of the whole offset: half an hour behind has no hours, and a minus.
    if (seconds < 0.0) sign = '-';
    vqzdhms(&hours, &minutes, nullptr, std::abs(cutToInt32(seconds)));
  }
};

}  // namespace vq::iso8601

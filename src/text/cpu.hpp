// Which vector code this processor may run: the one place where a kernel asks.
//
// A family of kernels is written in a portable form, always compiled, and in faster forms that carry
// __attribute__((target(...))). The exported function tests `cpu::level` and branches; the branch is always
// predicted, and short texts can be handled in front of it. Tests lower the level to run every form on the
// same cases.
#pragma once

#include <cstdint>

namespace vq::cpu {

enum class Level : uint8_t {
  portable,  // what every x86-64 has
  avx2,      // AVX2, BMI1, BMI2, POPCNT, LZCNT: Haswell, Zen
  avx512,    // AVX-512 F, CD, BW, VL, DQ, VBMI, VBMI2: Ice Lake, Zen 4
};

// Set once when the library is loaded, before any other code of it runs. Hidden: no exported function has to
// look up where it lies.
__attribute__((visibility("hidden"))) extern Level level;

inline bool hasAvx2() {
  return level >= Level::avx2;
}
inline bool hasAvx512() {
  return level >= Level::avx512;
}

// The level that the processor allows, whatever `level` says.
Level detect();

}  // namespace vq::cpu

#define VQ_TARGET_AVX2 __attribute__((target("avx2,bmi,bmi2,popcnt,lzcnt")))
#define VQ_TARGET_AVX512 \
  __attribute__((target( \
      "avx2,bmi,bmi2,popcnt,lzcnt,avx512f,avx512cd,avx512bw,avx512vl,avx512dq,avx512vbmi,avx512vbmi2")))

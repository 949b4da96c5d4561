// Detection of the processor at load time.
#include "text/cpu.hpp"

namespace vq::cpu {

Level detect() {
  __builtin_cpu_init();
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("bmi") || !__builtin_cpu_supports("bmi2") ||
      !__builtin_cpu_supports("popcnt")) {
    return Level::portable;
  }
  const bool isAvx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512cd") &&
                        __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
                        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vbmi") &&
                        __builtin_cpu_supports("avx512vbmi2");
  return isAvx512 ? Level::avx512 : Level::avx2;
}

Level level = Level::portable;

namespace {

// Ahead of the constructors of any program that links the library statically.
__attribute__((constructor(101))) void chooseLevel() {
  level = detect();
}

}  // namespace

}  // namespace vq::cpu

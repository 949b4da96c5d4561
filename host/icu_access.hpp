// The ICU access object: what the kernel hands out after nlsLoadICU.
#pragma once

#include "host/kernel.hpp"
#include "host/regex_pattern.hpp"

namespace vq::host {

struct IcuAccess : VQIcu {
  explicit IcuAccess(Kernel& owner);

  static IcuAccess& of(VQIcu* icu) { return *static_cast<IcuAccess*>(icu); }

  Kernel& kernel;
  PatternCache patterns;
};

}  // namespace vq::host

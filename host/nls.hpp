// National language support: encodings, case and character classes, and the door to ICU.
#pragma once

#include <memory>

#include "host/icu_access.hpp"
#include "host/kernel.hpp"

namespace vq::host {

struct Locale;

struct Nls : VQNls {
  explicit Nls(Kernel& owner);
  ~Nls();

  static Nls& of(VQNls* nls) { return *static_cast<Nls*>(nls); }

  Kernel& kernel;
  IcuAccess icu;
  std::unique_ptr<Locale> defaultLocale;
};

std::unique_ptr<Nls> createNls(Kernel& kernel);

}  // namespace vq::host

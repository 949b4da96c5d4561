// National language support: encodings, case and character classes, and the door to ICU.
#pragma once

#include <array>
#include <memory>

#include "host/icu_access.hpp"
#include "host/kernel.hpp"

namespace vq::host {

struct Locale;

// ICU's answers for the characters of up to two bytes of UTF-8, which are asked for most: a look-up instead
// of a call. All of them have 16 bits.
struct CaseAnswers {
  static constexpr VQChar end = 0x800;
  std::array<uint16_t, end> lower;
  std::array<uint16_t, end> upper;
  CaseAnswers();
};

struct Nls : VQNls {
  explicit Nls(Kernel& owner);
  ~Nls();

  static Nls& of(VQNls* nls) { return *static_cast<Nls*>(nls); }

  Kernel& kernel;
  IcuAccess icu;
  const CaseAnswers caseAnswers;
  std::unique_ptr<Locale> defaultLocale;
};

std::unique_ptr<Nls> createNls(Kernel& kernel);

}  // namespace vq::host

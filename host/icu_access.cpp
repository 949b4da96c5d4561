// The two tables of the ICU access object. The option word of a pattern asks for literal blanks, which is how
// every pattern is compiled here, so it is not looked at.
#include "host/icu_access.hpp"

#include "host/normalise.hpp"
#include "host/regex_engine.hpp"

namespace vq::host {

namespace {

VQStatus createRegex(VQIcu* icu, uint32_t encoding, const void* pattern, uint64_t patternBytes,
                     const uint32_t*, VQRegexEngine** engine) noexcept {
  return guarded(
      [&] { return createRegexEngine(IcuAccess::of(icu).kernel, encoding, pattern, patternBytes, engine); });
}

VQStatus normaliseText(VQIcu*, const char* text, uint64_t byteCount, uint32_t mode, uint32_t options,
                       char* target, uint64_t capacity, uint64_t* length) noexcept {
  return guarded([&] { return normalise(text, byteCount, mode, options, target, capacity, length); });
}

VQStatus compareTexts(VQIcu*, const char* first, uint64_t firstBytes, const char* second,
                      uint64_t secondBytes, uint32_t options, int32_t* result) noexcept {
  return guarded([&] { return compareNormalised(first, firstBytes, second, secondBytes, options, result); });
}

constexpr VQIcuRegexTable regexOperations{createRegex};
constexpr VQIcuNormTable normOperations{normaliseText, compareTexts};

}  // namespace

IcuAccess::IcuAccess(Kernel& owner)
    : VQIcu{&regexOperations, &normOperations}, kernel(owner), patterns(owner.settings.regexCacheEntries) {}

}  // namespace vq::host

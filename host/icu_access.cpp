// The two tables of the ICU access object.
#include "host/icu_access.hpp"

namespace vq::host {

namespace {

VQStatus createRegex(VQIcu*, uint32_t, const void*, uint64_t, const uint32_t*, VQRegexEngine**) noexcept {
  return VQSTATUS_UNSUPPORTED;
}
VQStatus normalize(VQIcu*, const char*, uint64_t, uint32_t, uint32_t, char*, uint64_t, uint64_t*) noexcept {
  return VQSTATUS_UNSUPPORTED;
}
VQStatus normCompare(VQIcu*, const char*, uint64_t, const char*, uint64_t, uint32_t, int32_t*) noexcept {
  return VQSTATUS_UNSUPPORTED;
}

constexpr VQIcuRegexTable regexOperations{createRegex};
constexpr VQIcuNormTable normOperations{normalize, normCompare};

}  // namespace

IcuAccess::IcuAccess(Kernel& owner) : VQIcu{&regexOperations, &normOperations}, kernel(owner) {}

}  // namespace vq::host

// The encodings that the host knows, by number and by name.
#pragma once

#include "host/kernel.hpp"

namespace vq::host {

// All numbers are below.
inline constexpr uint32_t encodingLimit = 127;

// Null when the number is not given out.
const VQHostEncoding* encodingOf(uint32_t encoding) noexcept;
const VQEncodingInfo* encodingInfoOf(uint32_t encoding) noexcept;

}  // namespace vq::host

// Regular-expression engines: the records that icuRegexCreate hands out.
#pragma once

#include "host/kernel.hpp"
#include "host/regex_pattern.hpp"

namespace vq::host {

// Stores an engine for texts in the pattern's encoding, ENC_UTF8 or ENC_WIDE.
VQStatus createRegexEngine(Kernel& kernel, uint32_t encoding, const void* pattern, uint64_t patternBytes,
                           VQRegexEngine** engine);

}  // namespace vq::host

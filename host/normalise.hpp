// Unicode normalisation of UTF-8 texts by ICU.
#pragma once

#include "host/kernel.hpp"

namespace vq::host {

VQStatus normalise(const char* text, uint64_t byteCount, uint32_t mode, uint32_t options, char* target,
                   uint64_t capacity, uint64_t* length);

VQStatus compareNormalised(const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes,
                           uint32_t options, int32_t* result);

}  // namespace vq::host

// The real host and the library on it, opened by the first benchmark that asks and kept to the end.
#pragma once

#include "vqhost.h"
#include "vqstring/service.h"

namespace bench {

inline VQStringService* service() {
  static VQStringService* const made = [] {
    VQKernel* kernel = nullptr;
    vqhostOpen(nullptr, &kernel);
    uint64_t first = 0;
    uint64_t second = 0;
    vqextver(kernel, &first, &second);
    return vqstring(kernel);
  }();
  return made;
}

}  // namespace bench

// The library on the real host, for benchmarks: one kernel, one service and one pool for the whole run.
#pragma once

#include "vqhost.h"
#include "vqstring.h"

namespace bench {

struct Service {
  VQKernel* kernel = nullptr;
  VQStringService* strings = nullptr;
  VQPool* pool = nullptr;

  static Service& get() {
    static Service service;
    return service;
  }

 private:
  Service() {
    uint64_t first = 0, second = 0;
    vqhostOpen(nullptr, &kernel);
    vqextver(kernel, &first, &second);
    strings = vqstring(kernel);
    vqhostCreatePool(kernel, "bench", &pool);
  }
};

}  // namespace bench

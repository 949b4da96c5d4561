// One run of the tool: the kernel of the host, the string service loaded into it and a pool, opened when
// first asked for, so that --help and wrong arguments cost nothing, and ended in the right order.
#pragma once

#include <memory>
#include <string>

#include "command.hpp"
#include "output.hpp"
#include "vqhost.h"
#include "vqstring.h"

namespace vqs {

class Session {
 public:
  Session() { hostOptions.size = sizeof hostOptions; }
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Each opens what it needs; InputOutputFailure when that fails.
  VQKernel* kernel();
  VQStringService* service();
  // Serves the main thread.
  VQPool* pool();
  VQNls* nls() { return kernel()->kernelNls; }

  // What a status means, in words, or its number when the host has no words for it.
  std::string statusText(VQStatus status);

  // The options of the kernel; changes count until the kernel is opened.
  VQHostOptions hostOptions{};
  // What the command ended with.
  int exitCode = ExitFine;
  Output out{1, "standard output"};

 private:
  VQKernel* kernel_ = nullptr;
  VQStringService* service_ = nullptr;
  VQPool* pool_ = nullptr;
};

// Gives an instance back at the end of a scope.
struct InstanceRelease {
  template <class Instance>
  void operator()(Instance* instance) const {
    auto* header = reinterpret_cast<VQInstance*>(instance);
    header->instanceRelease(header);
  }
};
template <class Instance>
using InstancePointer = std::unique_ptr<Instance, InstanceRelease>;

}  // namespace vqs

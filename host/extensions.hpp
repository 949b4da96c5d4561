// Loading of extensions: shared objects by name, and the built-in "vqinstance".
#pragma once

#include <map>
#include <mutex>
#include <string>

#include "host/kernel.hpp"

namespace vq::host {

// The first seven words of an extension's record: all that the host touches of one it did not make. The
// second reserved word is the host's place for the operation that releases the extension.
struct ExtensionHead {
  uint64_t signature;
  uint64_t reserved;
  void (*extensionRelease)(ExtensionHead* record);
  VQStatus (*extensionGetReqVersion)(ExtensionHead* record, uint64_t*, uint64_t*, uint64_t*);
  VQStatus (*extensionGetVersion)(ExtensionHead* record, uint64_t*, uint64_t*, uint64_t*);
  uint64_t reservedBeforeDestroy;
  VQStatus (*extensionRealDestroy)(ExtensionHead* record);
};

class Extensions {
 public:
  explicit Extensions(Kernel& kernel) : kernel_(kernel) {}
  ~Extensions();

  VQStatus load(const std::string& name, const char* path, void** record);
  // False when the record is none of this kernel's.
  bool release(void* record);

 private:
  struct Loaded {
    void* library = nullptr;
    ExtensionHead* record = nullptr;
    uint64_t loads = 0;
  };

  VQStatus open(const std::string& name, const char* path, Loaded& loaded);

  Kernel& kernel_;
  std::mutex mutex_;
  std::map<std::string, Loaded> loaded_;
};

// kernelLoadExtension.
void* loadExtensionFor(VQKernel* kernel, const VQChar* name, int64_t nameLength, uint64_t zero) noexcept;

}  // namespace vq::host

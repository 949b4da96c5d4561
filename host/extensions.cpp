// Extensions are shared objects: vqextver takes the kernel and tells which version of the kernel's interface
// the extension was built for, then the function that bears the extension's name makes its record. Objects
// stay open until the kernel closes, so that code which is still on a stack is not unmapped.
#include "host/extensions.hpp"

#include <dlfcn.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "host/instance_extension.hpp"

namespace vq::host {

namespace {

// The interface that this host offers; an extension may ask for an older minor version.
constexpr uint64_t interfaceMajor = 9;
constexpr uint64_t interfaceMinor = 1;

constexpr std::string_view builtInName = "vqinstance";

using VersionFunction = VQStatus (*)(VQKernel*, uint64_t*, uint64_t*);
using EntryFunction = ExtensionHead* (*)(VQKernel*);

// A record does not know its kernel, so the operation in its release word finds the kernel here.
struct Owners {
  std::mutex mutex;
  std::map<void*, Kernel*> kernels;
};
Owners& owners() {
  static Owners all;
  return all;
}

void releaseRecord(ExtensionHead* record) noexcept {
  Kernel* kernel = nullptr;
  {
    const std::lock_guard hold(owners().mutex);
    const auto found = owners().kernels.find(record);
    if (found != owners().kernels.end()) kernel = found->second;
  }
  if (kernel != nullptr) kernel->extensions->release(record);
}

}  // namespace

Extensions::~Extensions() {
  for (auto& [name, loaded] : loaded_) {
    if (loaded.record != nullptr && loaded.library != nullptr) {
      const std::lock_guard hold(owners().mutex);
      owners().kernels.erase(loaded.record);
    }
    if (loaded.library != nullptr) dlclose(loaded.library);
  }
}

VQStatus Extensions::open(const std::string& name, const char* path, Loaded& loaded) {
  std::vector<std::string> candidates{"lib" + name + ".so.2", "lib" + name + ".so"};
  if (path != nullptr) candidates = {path};
  for (const std::string& candidate : candidates) {
    if (loaded.library == nullptr) loaded.library = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL);
  }
  if (loaded.library == nullptr) return VQHOST_STATUS_EXTENSION;
  const auto version = reinterpret_cast<VersionFunction>(dlsym(loaded.library, "vqextver"));
  const auto entry = reinterpret_cast<EntryFunction>(dlsym(loaded.library, name.c_str()));
  if (version == nullptr || entry == nullptr) return VQHOST_STATUS_EXTENSION;
  uint64_t major = 0;
  uint64_t minor = 0;
  if (const VQStatus status = version(&kernel_, &major, &minor); status != 0) return status;
  if (major != interfaceMajor || minor > interfaceMinor) return VQHOST_STATUS_EXTENSION_VERSION;
  loaded.record = entry(&kernel_);
  return loaded.record != nullptr ? 0 : VQHOST_STATUS_EXTENSION;
}

VQStatus Extensions::load(const std::string& name, const char* path, void** record) {
  if (name == builtInName) {
    *record = kernel_.instanceExtension.get();
    kernel_.liveObjects.add(1);
    return 0;
  }
  {
    const std::lock_guard hold(mutex_);
    const auto found = loaded_.find(name);
    if (found != loaded_.end() && found->second.record != nullptr) {
      ++found->second.loads;
      kernel_.liveObjects.add(1);
      *record = found->second.record;
      return 0;
    }
  }
  // The entry function loads extensions of its own, so no lock is held around it. An object whose record has
  // ended is still open and starts anew.
  Loaded loaded;
  {
    const std::lock_guard hold(mutex_);
    if (const auto found = loaded_.find(name); found != loaded_.end()) loaded = found->second;
  }
  const bool isOpen = loaded.library != nullptr;
  if (const VQStatus status = open(name, path, loaded); status != 0) {
    if (loaded.library != nullptr && !isOpen) dlclose(loaded.library);
    return status;
  }
  if (loaded.record->extensionRelease == nullptr) loaded.record->extensionRelease = releaseRecord;
  loaded.loads = 1;
  {
    const std::lock_guard hold(owners().mutex);
    owners().kernels[loaded.record] = &kernel_;
  }
  const std::lock_guard hold(mutex_);
  loaded_[name] = loaded;
  kernel_.liveObjects.add(1);
  *record = loaded.record;
  return 0;
}

bool Extensions::release(void* record) {
  ExtensionHead* ending = nullptr;
  {
    const std::lock_guard hold(mutex_);
    const auto found = std::find_if(loaded_.begin(), loaded_.end(),
                                    [&](const auto& entry) { return entry.second.record == record; });
    if (found == loaded_.end()) return false;
    kernel_.liveObjects.add(-1);
    if (--found->second.loads != 0) return true;
    ending = std::exchange(found->second.record, nullptr);
  }
  {
    const std::lock_guard hold(owners().mutex);
    owners().kernels.erase(ending);
  }
  if (ending->extensionRealDestroy != nullptr) ending->extensionRealDestroy(ending);
  return true;
}

void* loadExtensionFor(VQKernel* kernel, const VQChar* name, int64_t nameLength, uint64_t) noexcept {
  void* record = nullptr;
  const VQStatus status = guarded([&]() -> VQStatus {
    std::string narrow;
    for (const VQChar c : wideView(name, nameLength)) {
      // A name is looked up as a symbol, and symbols are ASCII.
      if (c == 0 || c > 0x7F || c == U'/') return VQHOST_STATUS_EXTENSION;
      narrow += static_cast<char>(c);
    }
    return Kernel::of(kernel).extensions->load(narrow, nullptr, &record);
  });
  return status == 0 ? record : nullptr;
}

}  // namespace vq::host

using vq::host::Kernel;

VQStatus vqhostLoadExtension(VQKernel* kernel, const char* name, const char* path, void** record) {
  return vq::host::guarded([&] { return Kernel::of(kernel).extensions->load(name, path, record); });
}

void vqhostReleaseExtension(VQKernel* kernel, void* record) {
  if (record == nullptr) return;
  auto* builtIn = Kernel::of(kernel).instanceExtension.get();
  if (record == builtIn) {
    builtIn->extensionRelease(builtIn);
  } else {
    Kernel::of(kernel).extensions->release(record);
  }
}

VQStatus vqhostLoadStrings(VQKernel* kernel, const char* path, VQStringService** service) {
  void* record = nullptr;
  const VQStatus status = vqhostLoadExtension(kernel, "vqstring", path, &record);
  if (status == 0) *service = static_cast<VQStringService*>(record);
  return status;
}

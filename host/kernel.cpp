// The kernel itself: opening and closing, locks, and the operations that lead to the other parts of the host.
#include "host/kernel.hpp"

#include <algorithm>

#include "host/extensions.hpp"
#include "host/format_engine.hpp"
#include "host/instance_extension.hpp"
#include "host/named_values.hpp"
#include "host/nls.hpp"
#include "host/pool.hpp"
#include "host/status_texts.hpp"

namespace vq::host {

std::u32string_view wideView(const VQChar* text, int64_t length) {
  if (text == nullptr) return {};
  return length < 0 ? std::u32string_view(text) : std::u32string_view(text, static_cast<size_t>(length));
}

namespace {

// The lock parameters and the two words of lockAcquire are the kernel family's business; this host has one
// kind of lock.
struct Lock : VQLock {
  explicit Lock(Kernel& owner) : VQLock{destroy, acquire, release}, kernel(owner) {
    kernel.liveObjects.add(1);
  }
  ~Lock() { kernel.liveObjects.add(-1); }

  static void destroy(VQLock* lock) noexcept { delete static_cast<Lock*>(lock); }
  static VQStatus acquire(VQLock* lock, uint64_t, uint64_t) noexcept {
    static_cast<Lock*>(lock)->mutex.lock();
    return 0;
  }
  static void release(VQLock* lock) noexcept { static_cast<Lock*>(lock)->mutex.unlock(); }

  Kernel& kernel;
  std::mutex mutex;
};

VQLock* createLock(VQKernel* kernel, const void*, uint64_t, const char*) noexcept {
  return new (std::nothrow) Lock(Kernel::of(kernel));
}

VQPool* createNamedPool(VQKernel* kernel, const void*, uint64_t, const char* name) noexcept {
  VQPool* pool = nullptr;
  return vqhostCreatePool(kernel, name, &pool) == 0 ? pool : nullptr;
}

// A caller that was compiled against an older header gives a smaller record: what it lacks is default.
Settings settingsFrom(const VQHostOptions* options) {
  VQHostOptions given{};
  if (options != nullptr) {
    std::copy_n(reinterpret_cast<const unsigned char*>(options),
                std::min<uint64_t>(options->size, sizeof(given)), reinterpret_cast<unsigned char*>(&given));
  }
  Settings settings;
  // ICU takes both as signed numbers.
  constexpr uint32_t largest = INT32_MAX;
  if (given.regexTimeLimit != 0) settings.regexTimeLimit = std::min(given.regexTimeLimit, largest);
  if (given.regexStackLimit != 0) settings.regexStackLimit = std::min(given.regexStackLimit, largest);
  if (given.regexCacheEntries != 0) settings.regexCacheEntries = given.regexCacheEntries;
  if (given.localeName != nullptr) settings.localeName = given.localeName;
  return settings;
}

}  // namespace

Kernel::Kernel(const Settings& chosen) : VQKernel{}, settings(chosen) {
  kernelCreateLock = createLock;
  kernelCreatePool = createNamedPool;
  installNamedValues(*this);
  contextOwner.kernel = this;
  context.owner = &contextOwner;
  currentContext = &context;
  kernelCurrentContext = &currentContext;
  installFormatEngine(*this);
  nls = createNls(*this);
  kernelNls = nls.get();
  instanceExtension = std::make_unique<InstanceExtension>(*this);
  extensions = std::make_unique<Extensions>(*this);
  kernelLoadExtension = loadExtensionFor;
  instancePool = createPool(*this, "instances");
}

Kernel::~Kernel() {
  extensions.reset();
  nls.reset();
  while (!pools.empty()) delete *pools.begin();
}

}  // namespace vq::host

VQStatus vqhostOpen(const VQHostOptions* options, VQKernel** kernel) {
  return vq::host::guarded([&] {
    *kernel = new vq::host::Kernel(vq::host::settingsFrom(options));
    return VQStatus{0};
  });
}

void vqhostClose(VQKernel* kernel) {
  if (kernel != nullptr) delete &vq::host::Kernel::of(kernel);
}

uint64_t vqhostLiveObjects(VQKernel* handle) {
  vq::host::Kernel& kernel = vq::host::Kernel::of(handle);
  uint64_t count = kernel.liveObjects.total();
  const std::lock_guard hold(kernel.poolsMutex);
  for (const vq::host::Pool* pool : kernel.pools) count += pool->liveBlocks();
  return count;
}

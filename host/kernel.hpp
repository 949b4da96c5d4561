// The kernel behind the C record: what all parts of the host share.
//
// Every object of the host is a C++ type that derives from its C record, so that the pointer the library
// holds is the object itself. Functions of a record are static members or free functions, marked noexcept:
// memory that runs out inside is answered as the record's contract says, and no exception crosses.
#pragma once

#include <memory>
#include <mutex>
#include <set>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "host/live_count.hpp"
#include "vqhost.h"
#include "vqstring/host.h"

namespace vq::host {

class Extensions;
class StatusTexts;
struct InstanceExtension;
struct Nls;
struct Pool;

struct Settings {
  uint32_t regexTimeLimit = 500;
  uint32_t regexStackLimit = 8'000'000;
  uint32_t regexCacheEntries = 256;
  std::string localeName;
};

struct Kernel : VQKernel {
  explicit Kernel(const Settings& chosen);
  ~Kernel();
  Kernel(const Kernel&) = delete;
  Kernel& operator=(const Kernel&) = delete;

  static Kernel& of(VQKernel* kernel) { return *static_cast<Kernel*>(kernel); }

  Settings settings;
  // Everything but the blocks of pools, which each pool counts itself.
  LiveCount liveObjects;

  // The context that status texts are rendered for: the kernel's own, never null.
  VQFormatContextOwner contextOwner{};
  VQFormatContext context{};
  VQFormatContext* currentContext = nullptr;
  std::unique_ptr<StatusTexts> statusTexts;

  std::mutex poolsMutex;
  std::set<Pool*> pools;
  // Where instances go that are made without a pool.
  Pool* instancePool = nullptr;

  std::shared_mutex namesMutex;
  std::unordered_map<std::u32string, std::u32string> namedValues;

  std::unique_ptr<Extensions> extensions;
  std::unique_ptr<InstanceExtension> instanceExtension;
  std::unique_ptr<Nls> nls;
};

// A text with a length, -1 for one that ends at its first zero element.
std::u32string_view wideView(const VQChar* text, int64_t length);

// Runs `body`, whose exceptions can only mean that memory ran out.
template <class Body>
VQStatus guarded(Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return VQSTATUS_NO_MEMORY;
  }
}

}  // namespace vq::host

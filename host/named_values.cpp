// The store of named values: wide texts under wide names, replaced as a whole.
#include "host/named_values.hpp"

#include <cstring>

namespace vq::host {

namespace {

uint8_t nameExists(VQKernel* handle, const VQChar* name, int64_t nameLength) noexcept {
  Kernel& kernel = Kernel::of(handle);
  const std::shared_lock hold(kernel.namesMutex);
  try {
    return kernel.namedValues.contains(std::u32string(wideView(name, nameLength))) ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

VQStatus getNameValue(VQKernel* handle, const VQChar* name, int64_t nameLength, uint64_t, void* buffer,
                      uint64_t* size) noexcept {
  return guarded([&]() -> VQStatus {
    Kernel& kernel = Kernel::of(handle);
    const std::shared_lock hold(kernel.namesMutex);
    const auto found = kernel.namedValues.find(std::u32string(wideView(name, nameLength)));
    if (found == kernel.namedValues.end()) return VQSTATUS_NAME_NOT_FOUND;
    const uint64_t room = *size;
    *size = found->second.size() * sizeof(VQChar);
    if (*size == 0) return 0;
    if (buffer == nullptr || room < *size) return VQSTATUS_VALUE_TOO_LONG;
    std::memcpy(buffer, found->second.data(), *size);
    return 0;
  });
}

}  // namespace

void installNamedValues(Kernel& kernel) {
  kernel.kernelNameExists = nameExists;
  kernel.kernelGetNameValue = getNameValue;
}

}  // namespace vq::host

using vq::host::Kernel;
using vq::host::wideView;

VQStatus vqhostSetNamedValue(VQKernel* handle, const VQChar* name, int64_t nameLength, const VQChar* value,
                             int64_t valueLength) {
  return vq::host::guarded([&] {
    Kernel& kernel = Kernel::of(handle);
    std::u32string key(wideView(name, nameLength));
    std::u32string text(wideView(value, valueLength));
    const std::unique_lock hold(kernel.namesMutex);
    kernel.namedValues.insert_or_assign(std::move(key), std::move(text));
    return VQStatus{0};
  });
}

VQStatus vqhostRemoveNamedValue(VQKernel* handle, const VQChar* name, int64_t nameLength) {
  return vq::host::guarded([&]() -> VQStatus {
    Kernel& kernel = Kernel::of(handle);
    const std::u32string key(wideView(name, nameLength));
    const std::unique_lock hold(kernel.namesMutex);
    return kernel.namedValues.erase(key) != 0 ? 0 : VQSTATUS_NAME_NOT_FOUND;
  });
}

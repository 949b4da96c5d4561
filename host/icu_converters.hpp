// ICU's converters, kept ready by every thread: opening one costs more than converting a short text.
#pragma once

#include <unicode/ucnv.h>

#include <cstdint>
#include <utility>

namespace vq::host {

// A converter for one conversion at a time, in its initial state; it stops at what it cannot convert. Goes
// back to the thread that ends the lease.
class ConverterLease {
 public:
  ConverterLease() = default;
  // Empty when the encoding has no converter or ICU refuses it.
  explicit ConverterLease(uint32_t encoding) noexcept;
  ~ConverterLease();
  ConverterLease(ConverterLease&& other) noexcept
      : encoding_(other.encoding_), converter_(std::exchange(other.converter_, nullptr)) {}
  ConverterLease& operator=(ConverterLease&& other) noexcept {
    std::swap(encoding_, other.encoding_);
    std::swap(converter_, other.converter_);
    return *this;
  }

  UConverter* get() const { return converter_; }

 private:
  uint32_t encoding_ = 0;
  UConverter* converter_ = nullptr;
};

}  // namespace vq::host

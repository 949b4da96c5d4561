// The thread's shelf of converters: one of each encoding that the thread has used.
#include "host/icu_converters.hpp"

#include <new>

#include "host/encodings.hpp"

namespace vq::host {

namespace {

struct Shelf {
  UConverter* idle[encodingLimit] = {};

  ~Shelf() {
    for (UConverter* converter : idle) {
      if (converter != nullptr) ucnv_close(converter);
    }
  }
};

// Set while the thread has a shelf, so that a lease which outlives it closes its converter instead.
thread_local constinit Shelf* shelf = nullptr;
thread_local constinit bool isShelfGone = false;

Shelf* shelfOfThread() {
  struct Owner {
    Shelf* own = new (std::nothrow) Shelf;
    ~Owner() {
      shelf = nullptr;
      isShelfGone = true;
      delete own;
    }
  };
  if (shelf == nullptr && !isShelfGone) {
    thread_local Owner owner;
    shelf = owner.own;
  }
  return shelf;
}

// Leaves the error as it is. ICU's own stopping call-back lets characters pass that are ignorable by default.
void stopFromUnicode(const void*, UConverterFromUnicodeArgs*, const UChar*, int32_t, UChar32,
                     UConverterCallbackReason, UErrorCode*) {}

UConverter* open(const char* icuName) {
  UErrorCode error = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(icuName, &error);
  if (U_FAILURE(error)) return nullptr;
  ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
  ucnv_setFromUCallBack(converter, stopFromUnicode, nullptr, nullptr, nullptr, &error);
  // A character that only resembles the source's would come back as another one.
  ucnv_setFallback(converter, false);
  return converter;
}

}  // namespace

ConverterLease::ConverterLease(uint32_t encoding) noexcept : encoding_(encoding) {
  const VQHostEncoding* found = encodingOf(encoding);
  if (found == nullptr || found->icuName == nullptr) return;
  if (Shelf* mine = shelfOfThread()) converter_ = std::exchange(mine->idle[encoding], nullptr);
  if (converter_ == nullptr) converter_ = open(found->icuName);
}

ConverterLease::~ConverterLease() {
  if (converter_ == nullptr) return;
  Shelf* mine = shelfOfThread();
  if (mine != nullptr && mine->idle[encoding_] == nullptr) {
    ucnv_reset(converter_);
    mine->idle[encoding_] = converter_;
  } else {
    ucnv_close(converter_);
  }
}

}  // namespace vq::host

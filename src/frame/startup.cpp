// How the library comes to life and ends: the handle, the service record, and their exact unwinding.
#include "frame/handle.hpp"
#include "frame/slots.hpp"
#include "vqstring/service.h"

VQKernel* Exported_VQHandle;

namespace vq {

namespace {

// A service under construction. Whatever start-up has taken when it fails is given back newest first, which
// is the order in which the members end.
class Building {
 public:
  explicit Building(VQKernel* kernel) : kernel_(kernel) {}
  Building(const Building&) = delete;
  Building& operator=(const Building&) = delete;
  ~Building() {
    if (extension_ != nullptr) extension_->extensionRelease(extension_);
    if (service_ != nullptr) {
      if (service_->wideToUtf8 != nullptr) destroyTranscoder(service_->wideToUtf8);
      if (service_->utf8ToWide != nullptr) destroyTranscoder(service_->utf8ToWide);
      pool_->poolFree(pool_, service_);
    }
    if (pool_ != nullptr) pool_->poolDestroy(pool_);
  }

  bool takePool() {
    // Through the handle: this pool outlives the argument in the eyes of code that has no service at hand.
    uint64_t parameters[3] = {};
    VQKernel* kernel = Exported_VQHandle;
    pool_ = kernel->kernelCreatePool(kernel, parameters, 0, "vqstring pool");
    return pool_ != nullptr;
  }

  bool takeRecord() {
    service_ =
        static_cast<VQStringService*>(pool_->poolAlloc(pool_, sizeof(VQStringService), VQ_POOL_ZERO_FILL));
    return service_ != nullptr;
  }

  // A host without the conversion is no failure; one that promises and does not deliver is.
  bool takeTranscoder(uint32_t source, uint32_t target, VQTranscoder** transcoder) {
    VQNls* nls = kernel_->kernelNls;
    if (nls->nlsCanConvert(nls, source, target, 0) != 1) return true;
    *transcoder = nls->nlsCreateTranscoder(nls, source, target, 0, 0);
    return *transcoder != nullptr;
  }

  bool takeTranscoders() {
    return takeTranscoder(ENC_UTF8, ENC_WIDE, &service_->utf8ToWide) &&
           takeTranscoder(ENC_WIDE, ENC_UTF8, &service_->wideToUtf8);
  }

  bool takeExtension() {
    static constexpr VQChar name[] = U"vqinstance";
    constexpr int64_t nameLength = 10;
    extension_ =
        static_cast<VQInstanceExtension*>(kernel_->kernelLoadExtension(kernel_, name, nameLength, 0));
    return extension_ != nullptr;
  }

  bool takeLock() {
    uint8_t parameters[24] = {};
    parameters[1] = 1;
    service_->icuLoadLock = kernel_->kernelCreateLock(kernel_, parameters, 0, "vqstringIcuLoadLock");
    return service_->icuLoadLock != nullptr;
  }

  VQStringService* finish() {
    VQStringService* service = service_;
    fillSlots(service);
    service->pool = pool_;
    service->nls = kernel_->kernelNls;
    service->instanceExtensionRecord = extension_;
    service->signature = VQ_SIGNATURE;
    service_ = nullptr;
    pool_ = nullptr;
    extension_ = nullptr;
    return service;
  }

 private:
  static void destroyTranscoder(VQTranscoder* transcoder) { transcoder->transcoderDestroy(transcoder); }

  VQKernel* kernel_;
  VQPool* pool_ = nullptr;
  VQStringService* service_ = nullptr;
  VQInstanceExtension* extension_ = nullptr;
};

}  // namespace

}  // namespace vq

VQStatus vqextent(VQKernel* kernel) {
  Exported_VQHandle = kernel;
  return 0;
}

VQStringService* vqstring(VQKernel* kernel) {
  if (kernel->kernelNls == nullptr) return nullptr;
  vq::Building building(kernel);
  const bool isComplete = building.takePool() && building.takeRecord() && building.takeTranscoders() &&
                          building.takeExtension() && building.takeLock();
  return isComplete ? building.finish() : nullptr;
}

VQStatus vqStringRealDestroy(VQStringService* service) {
  VQPool* pool = service->pool;
  if (VQTranscoder* transcoder = service->utf8ToWide) transcoder->transcoderDestroy(transcoder);
  if (VQTranscoder* transcoder = service->wideToUtf8) transcoder->transcoderDestroy(transcoder);
  service->icuLoadLock->lockDestroy(service->icuLoadLock);
  VQInstanceExtension* extension = service->instanceExtensionRecord;
  extension->extensionRelease(extension);
  pool->poolFree(pool, service);
  pool->poolDestroy(pool);
  return 0;
}

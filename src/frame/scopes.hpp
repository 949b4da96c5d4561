// Scope types for what the host lends: each gives its object back when the scope ends, on every path.
//
// With them a failure is `return status;` and nothing else. All are movable where a function hands one out,
// none can be copied.
#pragma once

#include <cstdint>
#include <type_traits>

#include "vqstring/host.h"
#include "vqstring/instance.h"

namespace vq {

// A block of `count` elements, or null when there is no memory or the size overflows.
template <class Element>
Element* allocate(VQPool* pool, uint64_t count) {
  uint64_t byteCount = 0;
  if (__builtin_mul_overflow(count, sizeof(Element), &byteCount)) return nullptr;
  return static_cast<Element*>(pool->poolAlloc(pool, byteCount, 0));
}

// Owns one block of a pool.
template <class Element>
class PoolBlock {
 public:
  PoolBlock() = default;
  PoolBlock(VQPool* pool, Element* block) : pool_(pool), block_(block) {}
  PoolBlock(PoolBlock&& other) noexcept : pool_(other.pool_), block_(other.release()) {}
  PoolBlock& operator=(PoolBlock&& other) noexcept {
    reset();
    pool_ = other.pool_;
    block_ = other.release();
    return *this;
  }
  PoolBlock(const PoolBlock&) = delete;
  PoolBlock& operator=(const PoolBlock&) = delete;
  ~PoolBlock() { reset(); }

  explicit operator bool() const { return block_ != nullptr; }
  Element* get() const { return block_; }
  // Hands the block to somebody who frees it.
  Element* release() {
    Element* block = block_;
    block_ = nullptr;
    return block;
  }
  void reset() {
    if (block_ != nullptr) pool_->poolFree(pool_, release());
  }

 private:
  VQPool* pool_ = nullptr;
  Element* block_ = nullptr;
};

// A transcoder that may be shared: only one made for this call is destroyed.
class CallTranscoder {
 public:
  static CallTranscoder shared(VQTranscoder* transcoder) { return {transcoder, false}; }
  static CallTranscoder own(VQTranscoder* transcoder) { return {transcoder, true}; }
  CallTranscoder(const CallTranscoder&) = delete;
  CallTranscoder& operator=(const CallTranscoder&) = delete;
  ~CallTranscoder() {
    if (isOwn_ && transcoder_ != nullptr) transcoder_->transcoderDestroy(transcoder_);
  }

  explicit operator bool() const { return transcoder_ != nullptr; }
  VQStatus convert(const void* source, uint64_t sourceBytes, void* target, uint64_t targetBytes,
                   uint64_t* converted) const {
    return transcoder_->transcoderConvert(transcoder_, source, sourceBytes, target, targetBytes, converted,
                                          0);
  }

 private:
  CallTranscoder(VQTranscoder* transcoder, bool isOwn) : transcoder_(transcoder), isOwn_(isOwn) {}

  VQTranscoder* transcoder_;
  bool isOwn_;
};

// Holds a lock while it lives, if `status` is 0.
class HeldLock {
 public:
  explicit HeldLock(VQLock* lock) : lock_(lock), status_(lock->lockAcquire(lock, 1, 1)) {}
  HeldLock(const HeldLock&) = delete;
  HeldLock& operator=(const HeldLock&) = delete;
  ~HeldLock() {
    if (status_ == 0) lock_->lockRelease(lock_);
  }

  VQStatus status() const { return status_; }

 private:
  VQLock* lock_;
  VQStatus status_;
};

// Owns one reference to an instance: a record that begins with a VQInstance header.
template <class Record>
class Reference {
 public:
  Reference() = default;
  explicit Reference(Record* record) : record_(record) {}
  // Takes a further reference on an instance that somebody else holds.
  static Reference share(Record* record) {
    __atomic_add_fetch(&headerOf(record)->refCount, 1, __ATOMIC_RELAXED);
    return Reference(record);
  }
  Reference(Reference&& other) noexcept : record_(other.release()) {}
  Reference& operator=(Reference&& other) noexcept {
    reset();
    record_ = other.release();
    return *this;
  }
  Reference(const Reference&) = delete;
  Reference& operator=(const Reference&) = delete;
  ~Reference() { reset(); }

  explicit operator bool() const { return record_ != nullptr; }
  Record* get() const { return record_; }
  Record* operator->() const { return record_; }
  Record* release() {
    Record* record = record_;
    record_ = nullptr;
    return record;
  }
  void reset() {
    if (record_ == nullptr) return;
    VQInstance* header = headerOf(record_);
    record_ = nullptr;
    header->instanceRelease(header);
  }

 private:
  static VQInstance* headerOf(Record* record) {
    if constexpr (std::is_same_v<Record, VQInstance>) {
      return record;
    } else {
      return &record->header;
    }
  }

  Record* record_ = nullptr;
};

}  // namespace vq

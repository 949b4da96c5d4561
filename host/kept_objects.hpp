// Objects that are dear to make and that one thread at a time may use: each is made on demand, lent, and kept
// for the next who asks.
#pragma once

#include <array>
#include <atomic>
#include <memory>

namespace vq::host {

template <class Object>
class KeptObjects {
 public:
  // An object on loan; the scope gives it back.
  class Loan {
   public:
    Loan(KeptObjects& home, std::unique_ptr<Object> object) : home_(home), object_(std::move(object)) {}
    Loan(const Loan&) = delete;
    ~Loan() {
      if (object_ != nullptr) home_.keep(std::move(object_));
    }
    explicit operator bool() const { return object_ != nullptr; }
    Object& operator*() const { return *object_; }
    Object* operator->() const { return object_.get(); }

   private:
    KeptObjects& home_;
    std::unique_ptr<Object> object_;
  };

  KeptObjects() = default;
  KeptObjects(const KeptObjects&) = delete;
  ~KeptObjects() {
    for (std::atomic<Object*>& place : places_) delete place.load();
  }

  // One that was kept, or what `make` answers, which may be null.
  template <class Make>
  Loan borrow(Make make) {
    for (std::atomic<Object*>& place : places_) {
      if (place.load(std::memory_order_relaxed) == nullptr) continue;
      if (Object* object = place.exchange(nullptr, std::memory_order_acquire)) {
        return Loan(*this, std::unique_ptr<Object>(object));
      }
    }
    return Loan(*this, make());
  }

 private:
  // Beyond as many as this, objects of so many threads at once are made and ended each time.
  static constexpr size_t placeCount = 16;

  void keep(std::unique_ptr<Object> object) {
    for (std::atomic<Object*>& place : places_) {
      Object* none = nullptr;
      if (place.load(std::memory_order_relaxed) != nullptr) continue;
      if (place.compare_exchange_strong(none, object.get(), std::memory_order_release,
                                        std::memory_order_relaxed)) {
        object.release();
        return;
      }
    }
  }

  std::array<std::atomic<Object*>, placeCount> places_{};
};

}  // namespace vq::host

// Host calls that fail on demand: a kernel that forwards everything to a real one, but answers the k-th call
// of chosen sorts with null or a status.
//
//   class ConvertFaults : public test::FaultTest {};
//   TEST_F(ConvertFaults, Encode) {
//     forEveryFault([&] { ... return status; },
//                   [&](VQStatus status, const test::Fault& fault) { EXPECT_EQ(status, ...); });
//   }
//
// The operation runs with the first call failing, then the second, and so on until it meets no fault. What it
// makes it also gives back: after each run the live objects must be as many as before.
#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "support/host_fixture.hpp"

namespace test {

// Sorts of host calls; a set of them is their sum.
enum HostCall : uint32_t {
  poolAlloc = 1u << 0,
  poolRealloc = 1u << 1,
  poolFree = 1u << 2,  // a run in which it fails may leave the block behind
  createPool = 1u << 3,
  createLock = 1u << 4,
  loadExtension = 1u << 5,
  nameExists = 1u << 6,
  getNameValue = 1u << 7,
  measureConversion = 1u << 8,
  encodingInfo = 1u << 9,
  createTranscoder = 1u << 10,  // transcoders, decoders and encoders
  convert = 1u << 11,
  lockAcquire = 1u << 12,
  loadIcu = 1u << 13,
  regexCreate = 1u << 14,
  regexSetText = 1u << 15,
  regexFind = 1u << 16,   // the first search and all later ones
  regexMatch = 1u << 17,  // start and end of a match
  normalise = 1u << 18,
  formatBuff = 1u << 19,
  statusBuff = 1u << 20,
};
inline constexpr uint32_t everyCall = 0x1FFFFF & ~static_cast<uint32_t>(poolFree);

struct Fault {
  HostCall call;
  // Which call it was, counted from 1.
  int number;
};

// What a faulty call answers where it answers a status.
inline constexpr VQStatus injectedStatus = 0x80DEAD01;

class FaultInjector : public VQKernel {
 public:
  explicit FaultInjector(VQKernel* real) : VQKernel(*real), real_(real), nls_(*this, real->kernelNls) {
    kernelCreateLock = [](VQKernel* kernel, const void* parameters, uint64_t zero,
                          const char* name) -> VQLock* {
      FaultInjector& self = of(kernel);
      if (self.fails(createLock)) return nullptr;
      VQLock* lock = self.real_->kernelCreateLock(self.real_, parameters, zero, name);
      return lock == nullptr ? nullptr : new Lock(self, lock);
    };
    kernelCreatePool = [](VQKernel* kernel, const void* parameters, uint64_t zero,
                          const char* name) -> VQPool* {
      FaultInjector& self = of(kernel);
      if (self.fails(createPool)) return nullptr;
      VQPool* pool = self.real_->kernelCreatePool(self.real_, parameters, zero, name);
      return pool == nullptr ? nullptr : new Pool(self, pool);
    };
    kernelLoadExtension = [](VQKernel* kernel, const VQChar* name, int64_t length, uint64_t zero) -> void* {
      FaultInjector& self = of(kernel);
      return self.fails(loadExtension) ? nullptr
                                       : self.real_->kernelLoadExtension(self.real_, name, length, zero);
    };
    kernelNameExists = [](VQKernel* kernel, const VQChar* name, int64_t length) -> uint8_t {
      FaultInjector& self = of(kernel);
      return self.fails(nameExists) ? 0 : self.real_->kernelNameExists(self.real_, name, length);
    };
    kernelGetNameValue = [](VQKernel* kernel, const VQChar* name, int64_t length, uint64_t four, void* buffer,
                            uint64_t* size) -> VQStatus {
      FaultInjector& self = of(kernel);
      if (self.fails(getNameValue)) return injectedStatus;
      return self.real_->kernelGetNameValue(self.real_, name, length, four, buffer, size);
    };
    kernelCapture = [](VQKernel* kernel, uint64_t a, uint64_t b, va_list list) {
      return of(kernel).real_->kernelCapture(of(kernel).real_, a, b, list);
    };
    kernelFormatBuff = [](VQKernel* kernel, VQFormatRecord* record, const VQChar* format,
                          int64_t formatLength, VQChar* buffer, int64_t capacity, int64_t* length,
                          uint64_t zero, va_list list) -> VQStatus {
      FaultInjector& self = of(kernel);
      if (self.fails(formatBuff)) return injectedStatus;
      return self.real_->kernelFormatBuff(self.real_, record, format, formatLength, buffer, capacity, length,
                                          zero, list);
    };
    kernelRender = [](VQKernel* kernel, VQFormatRecord* record, uint64_t a, uint64_t b) {
      return of(kernel).real_->kernelRender(of(kernel).real_, record, a, b);
    };
    kernelRenderFmt = [](VQKernel* kernel, VQFormatRecord* record, uint64_t a, uint64_t b, uint64_t c,
                         va_list list) {
      return of(kernel).real_->kernelRenderFmt(of(kernel).real_, record, a, b, c, list);
    };
    kernelStatusBuff = [](VQKernel* kernel, VQFormatRecord* record, VQStatus status, VQChar* buffer,
                          int64_t capacity, int64_t* length, va_list list) -> VQStatus {
      FaultInjector& self = of(kernel);
      if (self.fails(statusBuff)) return injectedStatus;
      return self.real_->kernelStatusBuff(self.real_, record, status, buffer, capacity, length, list);
    };
    kernelNls = &nls_;
  }
  FaultInjector(const FaultInjector&) = delete;

  // Lets the `number`-th call (from 1) among `calls` fail. One fault a run.
  void arm(uint32_t calls, int number) {
    calls_ = calls;
    number_ = number;
    seen_ = 0;
    fault_.reset();
  }
  // Ends the run and tells which call failed, if any did.
  std::optional<Fault> disarm() {
    calls_ = 0;
    return std::exchange(fault_, std::nullopt);
  }

  // A wrapper around a pool of the real kernel; both end with poolDestroy.
  VQPool* wrap(VQPool* pool) { return new Pool(*this, pool); }
  VQKernel* real() const { return real_; }

 private:
  static FaultInjector& of(VQKernel* kernel) { return *static_cast<FaultInjector*>(kernel); }

  bool fails(HostCall call) {
    if ((calls_ & call) == 0 || ++seen_ != number_) return false;
    fault_ = Fault{call, number_};
    return true;
  }

  struct Pool : VQPool {
    Pool(FaultInjector& injector, VQPool* pool) : owner(injector), real(pool) {
      poolDestroy = [](VQPool* wrapper) {
        Pool* self = static_cast<Pool*>(wrapper);
        self->real->poolDestroy(self->real);
        delete self;
      };
      poolAlloc = [](VQPool* wrapper, uint64_t byteCount, uint32_t flags) -> void* {
        Pool* self = static_cast<Pool*>(wrapper);
        if (self->owner.fails(test::poolAlloc)) return nullptr;
        return self->real->poolAlloc(self->real, byteCount, flags);
      };
      poolFree = [](VQPool* wrapper, void* block) -> VQStatus {
        Pool* self = static_cast<Pool*>(wrapper);
        if (self->owner.fails(test::poolFree)) return injectedStatus;
        return self->real->poolFree(self->real, block);
      };
      poolRealloc = [](VQPool* wrapper, void* block, uint64_t byteCount, uint64_t zero) -> void* {
        Pool* self = static_cast<Pool*>(wrapper);
        if (self->owner.fails(test::poolRealloc)) return nullptr;
        return self->real->poolRealloc(self->real, block, byteCount, zero);
      };
    }
    FaultInjector& owner;
    VQPool* real;
  };

  struct Lock : VQLock {
    Lock(FaultInjector& injector, VQLock* lock) : owner(injector), real(lock) {
      lockDestroy = [](VQLock* wrapper) {
        Lock* self = static_cast<Lock*>(wrapper);
        self->real->lockDestroy(self->real);
        delete self;
      };
      lockAcquire = [](VQLock* wrapper, uint64_t one1, uint64_t one2) -> VQStatus {
        Lock* self = static_cast<Lock*>(wrapper);
        if (self->owner.fails(test::lockAcquire)) return injectedStatus;
        return self->real->lockAcquire(self->real, one1, one2);
      };
      lockRelease = [](VQLock* wrapper) {
        Lock* self = static_cast<Lock*>(wrapper);
        self->real->lockRelease(self->real);
      };
    }
    FaultInjector& owner;
    VQLock* real;
  };

  struct Transcoder : VQTranscoder {
    Transcoder(FaultInjector& injector, VQTranscoder* transcoder) : owner(injector), real(transcoder) {
      transcoderDestroy = [](VQTranscoder* wrapper) {
        Transcoder* self = static_cast<Transcoder*>(wrapper);
        self->real->transcoderDestroy(self->real);
        delete self;
      };
      transcoderConvert = [](VQTranscoder* wrapper, const void* source, uint64_t sourceBytes, void* target,
                             uint64_t targetBytes, uint64_t* converted, uint64_t zero) -> VQStatus {
        Transcoder* self = static_cast<Transcoder*>(wrapper);
        if (self->owner.fails(convert)) return injectedStatus;
        return self->real->transcoderConvert(self->real, source, sourceBytes, target, targetBytes, converted,
                                             zero);
      };
    }
    FaultInjector& owner;
    VQTranscoder* real;
  };

  struct Engine : VQRegexEngine {
    Engine(FaultInjector& injector, VQRegexEngine* engine) : owner(injector), real(engine) {
      regexDestroy = [](VQRegexEngine* wrapper) {
        Engine* self = static_cast<Engine*>(wrapper);
        self->real->regexDestroy(self->real);
        delete self;
      };
      regexSetText = [](VQRegexEngine* wrapper, const void* text, uint64_t byteCount) -> VQStatus {
        Engine* self = static_cast<Engine*>(wrapper);
        if (self->owner.fails(test::regexSetText)) return injectedStatus;
        return self->real->regexSetText(self->real, text, byteCount);
      };
      regexFind = [](VQRegexEngine* wrapper, uint64_t zero, uint8_t* found) -> VQStatus {
        Engine* self = static_cast<Engine*>(wrapper);
        if (self->owner.fails(test::regexFind)) return injectedStatus;
        return self->real->regexFind(self->real, zero, found);
      };
      regexFindNext = [](VQRegexEngine* wrapper, uint8_t* found) -> VQStatus {
        Engine* self = static_cast<Engine*>(wrapper);
        if (self->owner.fails(test::regexFind)) return injectedStatus;
        return self->real->regexFindNext(self->real, found);
      };
      regexMatchStart = [](VQRegexEngine* wrapper, uint64_t zero, int32_t* offset) -> VQStatus {
        Engine* self = static_cast<Engine*>(wrapper);
        if (self->owner.fails(regexMatch)) return injectedStatus;
        return self->real->regexMatchStart(self->real, zero, offset);
      };
      regexMatchEnd = [](VQRegexEngine* wrapper, uint64_t zero, int32_t* offset) -> VQStatus {
        Engine* self = static_cast<Engine*>(wrapper);
        if (self->owner.fails(regexMatch)) return injectedStatus;
        return self->real->regexMatchEnd(self->real, zero, offset);
      };
    }
    FaultInjector& owner;
    VQRegexEngine* real;
  };

  struct Icu : VQIcu {
    explicit Icu(FaultInjector& injector) : VQIcu{&regexOperations, &normOperations}, owner(injector) {}

    FaultInjector& owner;
    VQIcu* real = nullptr;
    VQIcuRegexTable regexOperations{[](VQIcu* wrapper, uint32_t encoding, const void* pattern,
                                       uint64_t byteCount, const uint32_t* options,
                                       VQRegexEngine** engine) -> VQStatus {
      Icu* self = static_cast<Icu*>(wrapper);
      if (self->owner.fails(regexCreate)) return injectedStatus;
      VQRegexEngine* made = nullptr;
      const VQStatus status =
          self->real->regexTable->icuRegexCreate(self->real, encoding, pattern, byteCount, options, &made);
      if (status == 0) *engine = new Engine(self->owner, made);
      return status;
    }};
    VQIcuNormTable normOperations{
        [](VQIcu* wrapper, const char* text, uint64_t byteCount, uint32_t mode, uint32_t options,
           char* target, uint64_t capacity, uint64_t* length) -> VQStatus {
          Icu* self = static_cast<Icu*>(wrapper);
          if (self->owner.fails(normalise)) return injectedStatus;
          return self->real->normTable->icuNormalize(self->real, text, byteCount, mode, options, target,
                                                     capacity, length);
        },
        [](VQIcu* wrapper, const char* first, uint64_t firstBytes, const char* second, uint64_t secondBytes,
           uint32_t options, int32_t* result) -> VQStatus {
          Icu* self = static_cast<Icu*>(wrapper);
          if (self->owner.fails(normalise)) return injectedStatus;
          return self->real->normTable->icuNormCompare(self->real, first, firstBytes, second, secondBytes,
                                                       options, result);
        }};
  };

  struct Nls : VQNls {
    Nls(FaultInjector& injector, VQNls* nls) : owner(injector), real(nls), icu(injector) {
      nlsMeasureConversion = [](VQNls* wrapper, uint32_t source, const void* text, uint64_t byteCount,
                                uint32_t target, uint64_t* targetBytes) -> VQStatus {
        Nls* self = static_cast<Nls*>(wrapper);
        if (self->owner.fails(measureConversion)) return injectedStatus;
        return self->real->nlsMeasureConversion(self->real, source, text, byteCount, target, targetBytes);
      };
      nlsCanConvert = [](VQNls* wrapper, uint32_t source, uint32_t target, uint64_t zero) -> uint8_t {
        Nls* self = static_cast<Nls*>(wrapper);
        return self->real->nlsCanConvert(self->real, source, target, zero);
      };
      nlsEncodingInfo = [](VQNls* wrapper, uint32_t encoding, const VQEncodingInfo** info) -> VQStatus {
        Nls* self = static_cast<Nls*>(wrapper);
        if (self->owner.fails(encodingInfo)) return injectedStatus;
        return self->real->nlsEncodingInfo(self->real, encoding, info);
      };
      nlsCreateTranscoder = [](VQNls* wrapper, uint32_t source, uint32_t target, uint64_t a, uint64_t b) {
        Nls* self = static_cast<Nls*>(wrapper);
        return self->wrapped(
            [&] { return self->real->nlsCreateTranscoder(self->real, source, target, a, b); });
      };
      nlsCreateDecoder = [](VQNls* wrapper, uint32_t source, uint64_t a, uint64_t b) {
        Nls* self = static_cast<Nls*>(wrapper);
        return self->wrapped([&] { return self->real->nlsCreateDecoder(self->real, source, a, b); });
      };
      nlsCreateEncoder = [](VQNls* wrapper, uint32_t target, uint64_t a, uint64_t b) {
        Nls* self = static_cast<Nls*>(wrapper);
        return self->wrapped([&] { return self->real->nlsCreateEncoder(self->real, target, a, b); });
      };
      nlsToUpper = [](VQNls* wrapper, VQChar c, uint64_t one) {
        Nls* self = static_cast<Nls*>(wrapper);
        return self->real->nlsToUpper(self->real, c, one);
      };
      nlsToLower = [](VQNls* wrapper, VQChar c, uint64_t one) {
        Nls* self = static_cast<Nls*>(wrapper);
        return self->real->nlsToLower(self->real, c, one);
      };
      nlsLoadICU = [](VQNls* wrapper, VQIcu** access, uint64_t zero) -> VQStatus {
        Nls* self = static_cast<Nls*>(wrapper);
        if (self->owner.fails(loadIcu)) return injectedStatus;
        const VQStatus status = self->real->nlsLoadICU(self->real, &self->icu.real, zero);
        if (status == 0) *access = self->nlsIcu = &self->icu;
        return status;
      };
      nlsClassify = [](VQNls* wrapper, VQChar c, uint32_t classMask) {
        Nls* self = static_cast<Nls*>(wrapper);
        return self->real->nlsClassify(self->real, c, classMask);
      };
      nlsIcu = nullptr;
      nlsDefaultLocale = [](VQNls* wrapper) {
        Nls* self = static_cast<Nls*>(wrapper);
        return self->real->nlsDefaultLocale(self->real);
      };
    }

    template <class Make>
    VQTranscoder* wrapped(Make make) {
      if (owner.fails(createTranscoder)) return nullptr;
      VQTranscoder* transcoder = make();
      return transcoder == nullptr ? nullptr : new Transcoder(owner, transcoder);
    }

    FaultInjector& owner;
    VQNls* real;
    Icu icu;
  };

  VQKernel* real_;
  Nls nls_;
  uint32_t calls_ = 0;
  int number_ = 0;
  int seen_ = 0;
  std::optional<Fault> fault_;
};

// The library on a faulty kernel.
class FaultTest : public HostTest {
 protected:
  VQKernel* kernel() override {
    if (injector_ == nullptr) injector_ = std::make_unique<FaultInjector>(host());
    return injector_.get();
  }
  FaultInjector& injector() { return *injector_; }

  // A faulty pool for the objects of the test.
  VQPool* faultyPool() const { return faultyPool_; }

  void SetUp() override {
    HostTest::SetUp();
    VQPool* real = nullptr;
    ASSERT_EQ(vqhostCreatePool(host(), "faulty", &real), 0u);
    faultyPool_ = injector_->wrap(real);
  }
  void TearDown() override {
    if (faultyPool_ != nullptr) faultyPool_->poolDestroy(faultyPool_);
    HostTest::TearDown();
  }

  // Runs `operation` with every one of its host calls failing in turn and hands each result, with the fault
  // that it met, to `check`. Answers the result of the last run, which met none.
  template <class Operation, class Check>
  auto forEveryFault(Operation operation, Check check, uint32_t calls = everyCall) {
    for (int number = 1;; ++number) {
      const uint64_t liveBefore = vqhostLiveObjects(host());
      injector().arm(calls, number);
      auto result = operation();
      const std::optional<Fault> fault = injector().disarm();
      if (fault) {
        SCOPED_TRACE(testing::Message() << "host call " << number << " failed, sort " << fault->call);
        check(result, *fault);
        if (fault->call != poolFree) {
          EXPECT_EQ(vqhostLiveObjects(host()), liveBefore) << "left alive";
        }
      }
      if (!fault || number == 10'000) {
        EXPECT_FALSE(fault.has_value()) << "the operation never came to an end of its host calls";
        return result;
      }
    }
  }

 private:
  std::unique_ptr<FaultInjector> injector_;
  VQPool* faultyPool_ = nullptr;
};

}  // namespace test

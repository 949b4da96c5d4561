// Pools of the host beside malloc and the allocator libraries, as pairs of calls and as whole strings, from
// one thread and from two at once.
//
// The libraries are opened late and by name: linked, they would replace malloc for every other row. Their
// rows are missing where they are not installed or cannot be opened late.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "samples.hpp"
#include "vqhost.h"
#include "vqstring/service.h"
#include "vqstring/strings.h"

namespace {

// Opened once, and kept: the rows run on several threads.
struct Setting {
  VQKernel* kernel = nullptr;
  VQPool* pool = nullptr;
  VQStringService* service = nullptr;
  Setting() {
    vqhostOpen(nullptr, &kernel);
    vqhostCreatePool(kernel, "bench", &pool);
    uint64_t first = 0;
    uint64_t second = 0;
    vqextver(kernel, &first, &second);
    service = vqstring(kernel);
  }
};
Setting& setting() {
  static Setting one;
  return one;
}

struct HostPool {
  static constexpr bool isThere() { return true; }
  VQPool* pool = setting().pool;
  void* take(size_t byteCount) { return pool->poolAlloc(pool, byteCount, 0); }
  void give(void* block) { pool->poolFree(pool, block); }
};

struct Malloc {
  static constexpr bool isThere() { return true; }
  void* take(size_t byteCount) { return std::malloc(byteCount); }
  void give(void* block) { std::free(block); }
};

template <class Function>
Function symbol(const char* library, const char* name) {
  void* handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
  return handle == nullptr ? nullptr : reinterpret_cast<Function>(dlsym(handle, name));
}

// mi_malloc alone: a heap that could be destroyed as a whole serves one thread only.
struct Mimalloc {
  using Take = void* (*)(size_t);
  using Give = void (*)(void*);
  static inline const Take takeBlock = symbol<Take>("libmimalloc.so.2", "mi_malloc");
  static inline const Give giveBlock = symbol<Give>("libmimalloc.so.2", "mi_free");
  static bool isThere() { return takeBlock != nullptr; }
  void* take(size_t byteCount) { return takeBlock(byteCount); }
  void give(void* block) { giveBlock(block); }
};

// An arena of its own with the thread's cache: what would end as a whole.
struct JemallocArena {
  using Control = int (*)(const char*, void*, size_t*, void*, size_t);
  using Take = void* (*)(size_t, int);
  using Give = void (*)(void*, int);
  static inline const Control control = symbol<Control>("libjemalloc.so.2", "mallctl");
  static inline const Take takeBlock = symbol<Take>("libjemalloc.so.2", "mallocx");
  static inline const Give giveBlock = symbol<Give>("libjemalloc.so.2", "dallocx");
  static bool isThere() { return control != nullptr; }
  static int newArena() {
    unsigned arena = 0;
    size_t size = sizeof(arena);
    control("arenas.create", &arena, &size, nullptr, 0);
    return static_cast<int>(arena);
  }
  static int newCache() {
    unsigned cache = 0;
    size_t size = sizeof(cache);
    control("tcache.create", &cache, &size, nullptr, 0);
    return static_cast<int>(cache);
  }
  static int sharedArena() {
    static const int arena = newArena();
    return arena;
  }
  // MALLOCX_ARENA and MALLOCX_TCACHE of jemalloc's header.
  int flags = (sharedArena() + 1) << 20 | (newCache() + 2) << 8;
  void* take(size_t byteCount) { return takeBlock(byteCount, flags); }
  void give(void* block) { giveBlock(block, flags); }
};

// Blocks live in groups, as the objects of a request do.
template <class Allocator>
void pairs(benchmark::State& state) {
  Allocator allocator;
  const auto byteCount = static_cast<size_t>(state.range(0));
  constexpr size_t group = 8;
  void* blocks[group];
  for (auto _ : state) {
    for (void*& block : blocks) {
      block = allocator.take(byteCount);
      benchmark::DoNotOptimize(std::memset(block, 1, 8));
    }
    for (void* block : blocks) allocator.give(block);
  }
  state.SetItemsProcessed(state.iterations() * group);
}

void vqString(benchmark::State& state) {
  VQStringService* service = setting().service;
  VQPool* pool = setting().pool;
  const std::u32string text = bench::wideSample("ASCII", static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    VQString* string = vqStringCreate(service, pool, text.data(), static_cast<int64_t>(text.size()), 1);
    benchmark::DoNotOptimize(string);
    vqStringDestroy(string);
  }
}

void u32string(benchmark::State& state) {
  const std::u32string text = bench::wideSample("ASCII", static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    auto* string = new std::u32string(text.data(), text.size());
    benchmark::DoNotOptimize(string->data());
    delete string;
  }
}

void u32stringInPlace(benchmark::State& state) {
  const std::u32string text = bench::wideSample("ASCII", static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    std::u32string string(text.data(), text.size());
    benchmark::DoNotOptimize(string.data());
  }
}

template <class Allocator>
void registerPairs(const char* name) {
  if (!Allocator::isThere()) return;
  for (const int threads : {1, 2}) {
    for (const int64_t byteCount : {40, 400, 8000}) {
      benchmark::RegisterBenchmark(
          (std::string("pool/") + name + "/" + std::to_string(byteCount) + "B").c_str(), pairs<Allocator>)
          ->Arg(byteCount)
          ->Threads(threads);
    }
  }
}

const bool registered = [] {
  registerPairs<HostPool>("vq");
  registerPairs<Malloc>("malloc");
  registerPairs<Mimalloc>("mimalloc");
  registerPairs<JemallocArena>("jemalloc_arena");
  for (const int threads : {1, 2}) {
    for (const int64_t elements : {10, 100, 2000}) {
      benchmark::RegisterBenchmark("make_string/vq", vqString)->Arg(elements)->Threads(threads);
      benchmark::RegisterBenchmark("make_string/u32string", u32stringInPlace)
          ->Arg(elements)
          ->Threads(threads);
      benchmark::RegisterBenchmark("make_string/new_u32string", u32string)->Arg(elements)->Threads(threads);
    }
  }
  return true;
}();

}  // namespace

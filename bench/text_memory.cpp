// Memory primitives beside libc's: whole runs without a hit, at five lengths in elements.
//
// On a processor with AVX-512 both sides take forms made for it. There (Emerald Rapids, g++ 12, glibc 2.36,
// medians of a busy machine) ours run at these shares of libc's speed, over the five lengths:
// - memScan 1.0 to 1.8, memCmp .9 to 1.9, wMemCmp .9 to 1.6, strLen .9 to 1.4, strTLen .9 to 1.4;
// - memCpy and memSCpy .9 to 2.0, also with the target 16 bytes past the source;
// - memSet and memTSet .9 to 1.6;
// - memNScan, memTNScan, memNot, memTNot, missArray .8 to 3 of a read-only sum.
// What lies below 1 moves from run to run, and a single run goes lower: 1 Mi elements beyond the second cache
// go at the speed of the memory, and short fills and copies are the same few stores on both sides.
//
// AVX2 beside AVX2 (GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX512F,-AVX512VL,-AVX512BW, and cpu::level lowered) the
// shares are .9 to 1.5, but for
// - memScan of 8 bytes, .8 to .9: libc reads a whole block, past the run, where ours covers it by two pieces;
// - strTLen of 8 elements and memSet of 64 bytes, .8 to .9: so little work that the test of the level and the
//   jump behind it show.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "vqstring/text.h"

namespace {

struct Length {
  const char* name;
  size_t count;
};
constexpr Length lengths[] = {{"8", 8}, {"64", 64}, {"200", 200}, {"1Ki", 1 << 10}, {"1Mi", 1 << 20}};

// A subject under one implementation: `prepare` gives the operation on `count` elements.
template <class Operation>
void add(const std::string& subject, const std::string& implementation, Operation operation) {
  for (const Length& length : lengths) {
    benchmark::RegisterBenchmark(
        (subject + "/" + implementation + "/" + length.name).c_str(),
        [operation, count = length.count](benchmark::State& state) { operation(state, count); });
  }
}

// Two runs of elements, equal and without a zero, whose places differ by `bytesApart` modulo the page. They
// are the same memory for every implementation, since the pages that one happens to get decide much.
template <class Element>
struct Runs {
  Runs(size_t count, size_t bytesApart) {
    static std::vector<char> room(2 * (sizeof(double) << 20) + 4 * 4096);
    const auto begin = reinterpret_cast<uintptr_t>(room.data());
    char* const page = room.data() + (4096 - begin % 4096);
    first = reinterpret_cast<Element*>(page);
    second = reinterpret_cast<Element*>(page + (count * sizeof(Element) + 4095) / 4096 * 4096 + bytesApart);
    std::fill(first, first + count, Element{7});
    std::fill(second, second + count, Element{7});
  }
  Element *first, *second;
};

// Measures call(first, second, count) over two runs; what it returns, and memory, count as used.
template <class Element, class Call>
auto over(Call call, size_t bytesApart = 64) {
  return [call, bytesApart](benchmark::State& state, size_t count) {
    Runs<Element> runs(count + 1, bytesApart);
    runs.first[count] = runs.second[count] = 0;
    for (auto _ : state) {
      auto *first = runs.first, *second = runs.second;
      benchmark::DoNotOptimize(first);
      benchmark::DoNotOptimize(second);
      benchmark::DoNotOptimize(count);
      if constexpr (std::is_void_v<decltype(call(first, second, count))>) {
        call(first, second, count);
      } else {
        benchmark::DoNotOptimize(call(first, second, count));
      }
      benchmark::ClobberMemory();
    }
  };
}

// The limit of anything that reads a run once.
template <class Element>
__attribute__((noinline, target("avx2"), optimize("O3"))) uint64_t sumOf(const Element* first, size_t count) {
  using Words = uint64_t __attribute__((vector_size(32), aligned(1), may_alias));
  const auto* words = reinterpret_cast<const Words*>(first);
  const size_t wordCount = count * sizeof(Element) / sizeof(Words);
  Words a{}, b{}, c{}, d{};
  size_t i = 0;
  for (; i + 4 <= wordCount; i += 4) {
    a += words[i];
    b += words[i + 1];
    c += words[i + 2];
    d += words[i + 3];
  }
  for (; i < wordCount; ++i) a += words[i];
  a += b + c + d;
  uint64_t sum = a[0] + a[1] + a[2] + a[3];
  for (size_t j = wordCount * sizeof(Words) / sizeof(Element); j < count; ++j) {
    sum += static_cast<uint64_t>(first[j]);
  }
  return sum;
}

template <class Element>
void addSum(const std::string& subject) {
  add(subject, "sum", over<Element>([](Element* a, Element*, size_t n) { return sumOf(a, n); }));
}

using B = uint8_t;
using W = VQChar;

wchar_t* wide(W* text) {
  return reinterpret_cast<wchar_t*>(text);
}

void scans() {
  add("memScan", "vq", over<B>([](B* a, B*, size_t n) { return mhMemScan(a, n, 9); }));
  add("memScan", "memchr", over<B>([](B* a, B*, size_t n) { return memchr(a, 9, n); }));
  addSum<B>("memScan");
  add("memNScan", "vq", over<B>([](B* a, B*, size_t n) { return mhMemNScan(a, n, 7); }));
  addSum<B>("memNScan");
  add("memTNScan", "vq", over<W>([](W* a, W*, size_t n) { return mhMemTNScan(a, n, 7); }));
  addSum<W>("memTNScan");
  add("memNot", "vq", over<B>([](B* a, B*, size_t n) { return mhMemNot(7, a, n); }));
  addSum<B>("memNot");
  add("memTNot", "vq", over<W>([](W* a, W*, size_t n) { return mhMemTNot(7, a, n); }));
  addSum<W>("memTNot");
  add("missArray", "vq", over<double>([](double* a, double*, size_t n) { return mhMissArray(a, n); }));
  addSum<double>("missArray");
  add("strLen", "vq", over<char>([](char* a, char*, size_t) { return mhStrLen(a); }));
  add("strLen", "strlen", over<char>([](char* a, char*, size_t) { return strlen(a); }));
  add("strTLen", "vq", over<W>([](W* a, W*, size_t) { return mhStrTLen(a); }));
  add("strTLen", "wcslen", over<W>([](W* a, W*, size_t) { return wcslen(wide(a)); }));
}

void comparisons() {
  add("memCmp", "vq", over<B>([](B* a, B* b, size_t n) { return mhMemCmp(a, b, n); }));
  add("memCmp", "memcmp", over<B>([](B* a, B* b, size_t n) { return memcmp(a, b, n); }));
  add("wMemCmp", "vq", over<W>([](W* a, W* b, size_t n) { return mhWMemCmp(a, b, n); }));
  add("wMemCmp", "wmemcmp", over<W>([](W* a, W* b, size_t n) { return wmemcmp(wide(a), wide(b), n); }));
}

// "16 past" is a target 16 bytes past the source modulo 4096, where libc's copies fall.
void copies() {
  for (size_t apart : {64, 16}) {
    const std::string past = apart == 16 ? " 16 past" : "";
    add("memCpy" + past, "vq", over<B>([](B* a, B* b, size_t n) { return mhMemCpy(a, b, n); }, apart));
    add("memCpy" + past, "memcpy", over<B>([](B* a, B* b, size_t n) { return memcpy(b, a, n); }, apart));
    add("memSCpy" + past, "vq", over<B>([](B* a, B* b, size_t n) { mhMemSCpy(a, b, n); }, apart));
    add("memSCpy" + past, "memmove", over<B>([](B* a, B* b, size_t n) { return memmove(b, a, n); }, apart));
  }
  add("memSet", "vq", over<B>([](B* a, B*, size_t n) { mhMemSet(a, 5, n); }));
  add("memSet", "memset", over<B>([](B* a, B*, size_t n) { return memset(a, 5, n); }));
  add("memTSet", "vq", over<W>([](W* a, W*, size_t n) { mhMemTSet(a, 5, n); }));
  add("memTSet", "wmemset", over<W>([](W* a, W*, size_t n) { return wmemset(wide(a), 5, n); }));
}

const bool isRegistered = [] {
  scans();
  comparisons();
  copies();
  return true;
}();

}  // namespace

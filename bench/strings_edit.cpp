// Appending to, cutting and comparing wide strings, beside std::u32string.
//
// Appending pieces of 16 elements: 3.5 times the peer's speed up to 1 Mi elements, twice up to 65536, level
// with it up to 4096 and less. There three quarters of the time are the 256 calls, 2.2 ns each: a length that
// lives in the record is stored by one call and loaded by the next, which takes 1.7 ns whatever else is done,
// while the peer's loop is compiled into the benchmark and keeps its length in a register. The rest are the
// 15 growths that the capacity rule asks for, each a mispredicted branch. In append_text every call also asks
// the host whether it converts wide text, which makes a call 3.4 ns.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "samples.hpp"
#include "strings_service.hpp"

namespace {

using bench::Service;

// ---- Appending 16 elements until there are so many ----

template <class Append>
void appendVq(benchmark::State& state, Append append) {
  const std::u32string piece = bench::wideSample("Latin", 16);
  auto& service = Service::get();
  VQString source;
  vqStringInitStatic(service.strings, &source, service.pool, piece.data(), 16);
  for (auto _ : state) {
    VQString* string = vqStringCreate(service.strings, service.pool, nullptr, 0, 1);
    while (string->length < state.range(0)) append(string, &source);
    benchmark::DoNotOptimize(string->text);
    vqStringDestroy(string);
  }
}

void appendString(benchmark::State& state) {
  appendVq(state, [](VQString* string, const VQString* source) { vqStringConcat(string, source); });
}

void appendText(benchmark::State& state) {
  appendVq(state, [](VQString* string, const VQString* source) {
    vqStringConcatText(string, source->text, source->length, ENC_WIDE);
  });
}

void appendStd(benchmark::State& state) {
  const std::u32string piece = bench::wideSample("Latin", 16);
  for (auto _ : state) {
    std::u32string string;
    while (static_cast<int64_t>(string.size()) < state.range(0)) string.append(piece.data(), 16);
    benchmark::DoNotOptimize(string.data());
  }
}

BENCHMARK(appendString)->Name("append/vq")->Arg(256)->Arg(4096)->Arg(65536)->Arg(1 << 20);
BENCHMARK(appendStd)->Name("append/u32string")->Arg(256)->Arg(4096)->Arg(65536)->Arg(1 << 20);
BENCHMARK(appendText)->Name("append_text/vq")->Arg(256)->Arg(4096)->Arg(65536)->Arg(1 << 20);
BENCHMARK(appendStd)->Name("append_text/u32string")->Arg(256)->Arg(4096)->Arg(65536)->Arg(1 << 20);

// ---- Trimming four blanks off each end; both sides copy the text first ----

std::u32string blanksAround(int64_t elementCount) {
  return U" \t\u00a0 " + bench::wideSample("Latin", static_cast<size_t>(elementCount)) + U" \u2003 \n";
}

void trimVq(benchmark::State& state) {
  const std::u32string text = blanksAround(state.range(0));
  auto& service = Service::get();
  VQString* string =
      vqStringCreate(service.strings, service.pool, text.data(), static_cast<int64_t>(text.size()), 1);
  VQString source;
  vqStringInitStatic(service.strings, &source, service.pool, text.data(), static_cast<int64_t>(text.size()));
  for (auto _ : state) {
    vqStringCopy(string, &source);
    vqStringTrimWhitespace(string);
    benchmark::DoNotOptimize(string->length);
    benchmark::ClobberMemory();
  }
  vqStringDestroy(string);
}

void trimStd(benchmark::State& state) {
  static constexpr std::u32string_view blanks =
      U" \t\n\v\f\r\u0085\u00a0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200a\u2028"
      U"\u2029"
      U"\u202f\u205f\u3000";
  const std::u32string text = blanksAround(state.range(0));
  std::u32string string = text;
  for (auto _ : state) {
    string = text;
    string.erase(string.find_last_not_of(blanks) + 1);
    string.erase(0, string.find_first_not_of(blanks));
    benchmark::DoNotOptimize(string.size());
    benchmark::ClobberMemory();
  }
}

BENCHMARK(trimVq)->Name("trim/vq")->Arg(16)->Arg(256)->Arg(4096)->Arg(1 << 20);
BENCHMARK(trimStd)->Name("trim/u32string")->Arg(16)->Arg(256)->Arg(4096)->Arg(1 << 20);

// ---- The middle half of a text as a string of its own ----

void substringVq(benchmark::State& state) {
  const std::u32string text = bench::wideSample("Latin", static_cast<size_t>(state.range(0)));
  auto& service = Service::get();
  VQString source;
  vqStringInitStatic(service.strings, &source, service.pool, text.data(), state.range(0));
  for (auto _ : state) {
    VQStatus status = 0;
    VQString* part = vqStringSubstring(&source, state.range(0) / 4, state.range(0) / 2, &status);
    benchmark::DoNotOptimize(part);
    vqStringDestroy(part);
  }
}

void substringStd(benchmark::State& state) {
  const std::u32string text = bench::wideSample("Latin", static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    std::u32string part = text.substr(text.size() / 4, text.size() / 2);
    benchmark::DoNotOptimize(part.data());
  }
}

BENCHMARK(substringVq)->Name("substring/vq")->Arg(16)->Arg(256)->Arg(4096)->Arg(1 << 20);
BENCHMARK(substringStd)->Name("substring/u32string")->Arg(16)->Arg(256)->Arg(4096)->Arg(1 << 20);

// ---- Equality of two equal texts ----

template <class Equal>
void equality(benchmark::State& state, Equal equal) {
  const std::u32string text = bench::wideSample("Latin", static_cast<size_t>(state.range(0))), same = text;
  auto& service = Service::get();
  VQString first, second;
  vqStringInitStatic(service.strings, &first, service.pool, text.data(), state.range(0));
  vqStringInitStatic(service.strings, &second, service.pool, same.data(), state.range(0));
  for (auto _ : state) {
    benchmark::ClobberMemory();
    benchmark::DoNotOptimize(equal(first, second));
  }
}

void equalVq(benchmark::State& state) {
  equality(state, [](const VQString& a, const VQString& b) { return vqStringEqual(&a, &b); });
}
void equalMemcmp(benchmark::State& state) {
  equality(state, [](const VQString& a, const VQString& b) {
    return std::memcmp(a.text, b.text, static_cast<size_t>(a.length) * sizeof(VQChar)) == 0;
  });
}

BENCHMARK(equalVq)->Name("string_equal/vq")->Arg(16)->Arg(256)->Arg(4096)->Arg(1 << 18);
BENCHMARK(equalMemcmp)->Name("string_equal/memcmp")->Arg(16)->Arg(256)->Arg(4096)->Arg(1 << 18);

}  // namespace

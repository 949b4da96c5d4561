// Equality and prefixes beside memcmp and std::u32string_view, and the index of a text beside
// std::u32string_view::find: a needle that is rare, one whose first element is everywhere, and one made
// to trip searches that begin again from every start.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <string_view>

#include "samples.hpp"
#include "vqstring.h"

namespace {

VQString over(const std::u32string& text) {
  VQString string{};
  string.text = const_cast<VQChar*>(text.data());
  string.length = static_cast<int64_t>(text.size());
  return string;
}

// A text as both sides have it; the string is made once.
struct Sample {
  explicit Sample(const std::u32string& contents) : text(contents) {}
  Sample(const Sample& other) : Sample(other.text) {}
  std::u32string text;
  VQString string = over(text);
};

bool vqEqual(const Sample& first, const Sample& second) {
  return vqStringEqual(&first.string, &second.string) != 0;
}
bool vqStarts(const Sample& first, const Sample& second) {
  return vqStringStartsWithVQText(&first.string, second.text.data(), second.string.length) != 0;
}
bool memcmpEqual(const Sample& first, const Sample& second) {
  return first.text.size() == second.text.size() &&
         std::memcmp(first.text.data(), second.text.data(), first.text.size() * sizeof(char32_t)) == 0;
}
bool viewEqual(const Sample& first, const Sample& second) {
  return std::u32string_view(first.text) == std::u32string_view(second.text);
}

int64_t vqIndex(const Sample& text, const Sample& needle) {
  VQStatus status = 0;
  return vqStringIndexOfText(&text.string, needle.text.data(), needle.string.length, ENC_WIDE, &status);
}
int64_t viewIndex(const Sample& text, const Sample& needle) {
  return static_cast<int64_t>(std::u32string_view(text.text).find(needle.text));
}

template <class Function>
void add(const std::string& name, const std::u32string& first, const std::u32string& second,
         Function function) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [=, a = Sample(first), b = Sample(second)](benchmark::State& state) {
                                 for (auto _ : state) {
                                   benchmark::ClobberMemory();
                                   benchmark::DoNotOptimize(function(a, b));
                                 }
                               });
}

[[maybe_unused]] const bool registered = [] {
  const struct {
    const char* name;
    size_t elementCount;
  } sizes[] = {{"4", 4}, {"16", 16}, {"64", 64}, {"4KiB", 1024}, {"1MiB", 1 << 18}};
  for (const auto& size : sizes) {
    const std::u32string text = bench::wideSample("Cyrillic", size.elementCount);
    add(std::string("equal/vq/") + size.name, text, text, vqEqual);
    add(std::string("equal/memcmp/") + size.name, text, text, memcmpEqual);
    add(std::string("equal/u32string_view/") + size.name, text, text, viewEqual);
    add(std::string("starts/vq/") + size.name, text, text, vqStarts);
    add(std::string("starts/memcmp/") + size.name, text, text, memcmpEqual);
  }
  for (const auto& size : {sizes[2], sizes[3], sizes[4]}) {
    const std::u32string text = bench::wideSample("ASCII", size.elementCount);
    const std::u32string run(size.elementCount, U'a');
    const struct {
      const char* name;
      std::u32string text, needle;
    } cases[] = {{"rare", text, U"Xylophone"},
                 {"common", text, U"e of the q"},
                 {"run", run, std::u32string(31, U'a') + U'b'}};
    for (const auto& which : cases) {
      const std::string row = std::string(which.name) + "/" + size.name;
      add("index/vq/" + row, which.text, which.needle, vqIndex);
      add("index/u32string_view/" + row, which.text, which.needle, viewIndex);
    }
  }
  return true;
}();

}  // namespace

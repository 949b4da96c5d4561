// The host's regular expressions beside ICU's own: making an engine beside compiling and cloning, searches
// that the required literals spare and searches that they cannot, and many matches in one text.
#include <benchmark/benchmark.h>
#include <unicode/uregex.h>
#include <unicode/ustring.h>

#include <string>

#include "samples.hpp"
#include "vqhost.h"

namespace {

VQIcu* access() {
  static VQIcu* icu = [] {
    VQKernel* kernel = nullptr;
    VQIcu* loaded = nullptr;
    vqhostOpen(nullptr, &kernel);
    kernel->kernelNls->nlsLoadICU(kernel->kernelNls, &loaded, 0);
    return loaded;
  }();
  return icu;
}

VQRegexEngine* create(std::string_view pattern) {
  const uint32_t options = VQ_REGEX_OPTIONS;
  VQRegexEngine* engine = nullptr;
  access()->regexTable->icuRegexCreate(access(), ENC_UTF8, pattern.data(), pattern.size(), &options, &engine);
  return engine;
}

void ourMake(benchmark::State& state) {
  for (auto _ : state) {
    VQRegexEngine* engine = create("(?i)javascript:");
    benchmark::DoNotOptimize(engine);
    engine->regexDestroy(engine);
  }
}

void ourRefusal(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(create("alert *("));
}

void icuClone(benchmark::State& state) {
  UErrorCode error = U_ZERO_ERROR;
  URegularExpression* compiled = uregex_openC("(?i)javascript:", 0, nullptr, &error);
  for (auto _ : state) {
    URegularExpression* matcher = uregex_clone(compiled, &error);
    benchmark::DoNotOptimize(matcher);
    uregex_close(matcher);
  }
  uregex_close(compiled);
}

void icuCompile(benchmark::State& state) {
  UErrorCode error = U_ZERO_ERROR;
  for (auto _ : state) uregex_close(uregex_openC("(?i)javascript:", 0, nullptr, &error));
}

size_t countWithOurs(std::string_view pattern, const std::string& text) {
  VQRegexEngine* engine = create(pattern);
  engine->regexSetText(engine, text.data(), text.size());
  uint8_t found = 0;
  size_t count = 0;
  for (engine->regexFind(engine, 0, &found); found != 0; engine->regexFindNext(engine, &found)) {
    int32_t start = 0;
    engine->regexMatchStart(engine, 0, &start);
    benchmark::DoNotOptimize(start);
    ++count;
  }
  engine->regexDestroy(engine);
  return count;
}

// A program that keeps its matcher and its buffer, and is content with positions in UTF-16.
void registerSearch(const std::string& name, const char* pattern, const std::string& text) {
  benchmark::RegisterBenchmark(("regex/vq/" + name).c_str(), [=](benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(countWithOurs(pattern, text));
  });
  benchmark::RegisterBenchmark(("regex/icu/" + name).c_str(), [=](benchmark::State& state) {
    UErrorCode error = U_ZERO_ERROR;
    URegularExpression* matcher = uregex_openC(pattern, 0, nullptr, &error);
    std::u16string units(text.size(), u'\0');
    for (auto _ : state) {
      int32_t length = 0;
      u_strFromUTF8(units.data(), static_cast<int32_t>(units.size()), &length, text.data(),
                    static_cast<int32_t>(text.size()), &error);
      uregex_setText(matcher, units.data(), length, &error);
      size_t count = 0;
      while (uregex_findNext(matcher, &error)) ++count;
      benchmark::DoNotOptimize(count);
    }
    uregex_close(matcher);
  });
}

const bool registered = [] {
  benchmark::RegisterBenchmark("regex_make/vq/javascript", ourMake);
  benchmark::RegisterBenchmark("regex_make/icu_clone/javascript", icuClone);
  benchmark::RegisterBenchmark("regex_make/icu_compile/javascript", icuCompile);
  benchmark::RegisterBenchmark("regex_make/vq/refused", ourRefusal);
  for (const size_t byteCount : {30, 200, 4096}) {
    const std::string size = std::to_string(byteCount) + "B";
    registerSearch("spared/" + size, "(?i)<script>", bench::utf8Sample("Latin", byteCount));
    registerSearch("not_spared/" + size, "[0-9]{4}", bench::utf8Sample("Latin", byteCount));
  }
  registerSearch("every_word/64KiB", "\\w+", bench::utf8Sample("Cyrillic", 65536));
  return true;
}();

}  // namespace

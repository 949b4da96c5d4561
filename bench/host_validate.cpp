// Validation of one UTF-8 value with a null constraint, beside a plain program that converts the value once
// to UTF-16 and searches it with four ready-compiled matchers: the built-in patterns that compile.
#include <benchmark/benchmark.h>
#include <unicode/uregex.h>
#include <unicode/ustring.h>

#include <string>
#include <vector>

#include "samples.hpp"
#include "vqhost.h"
#include "vqstring/service.h"
#include "vqstring/strings.h"

namespace {

// Benign prose with the punctuation of comments and links.
std::string value(size_t byteCount) {
  const std::string sample =
      "Thanks for the quick reply! I'd prefer the 2nd option (see https://example.org/list?id=7), but a < b "
      "is not what the manual says; could you alert the others, please? ";
  std::string text;
  while (text.size() < byteCount) text += sample;
  text.resize(byteCount);
  return text;
}

struct Setting {
  VQKernel* kernel = nullptr;
  VQStringService* service = nullptr;
  Setting() {
    vqhostOpen(nullptr, &kernel);
    uint64_t first = 0;
    uint64_t second = 0;
    vqextver(kernel, &first, &second);
    service = vqstring(kernel);
  }
};

void ours(benchmark::State& state, const std::string& text) {
  static Setting setting;
  VQU8String* string = nullptr;
  vqU8StringCreate(setting.service, &string, nullptr, text.data(), static_cast<int64_t>(text.size()), 1);
  auto* instance = reinterpret_cast<VQInstance*>(string);
  uint32_t verdict = 1;
  for (auto _ : state) {
    if (instance->instanceValidate(instance, nullptr, &verdict) != 0 || verdict != 0) {
      state.SkipWithError("refused");
      break;
    }
  }
  vqU8StringDestroy(string);
}

void plainIcu(benchmark::State& state, const std::string& text) {
  std::vector<URegularExpression*> matchers;
  UErrorCode error = U_ZERO_ERROR;
  for (const char* pattern : {"(?i)<script>", "(?i)</script>", "(?i)javascript:", "(?i)< */? *script *>"}) {
    matchers.push_back(uregex_openC(pattern, 0, nullptr, &error));
  }
  std::u16string units(text.size(), u'\0');
  for (auto _ : state) {
    int32_t length = 0;
    u_strFromUTF8(units.data(), static_cast<int32_t>(units.size()), &length, text.data(),
                  static_cast<int32_t>(text.size()), &error);
    bool isFound = false;
    for (URegularExpression* matcher : matchers) {
      uregex_setText(matcher, units.data(), length, &error);
      isFound |= uregex_find(matcher, 0, &error) != 0;
    }
    benchmark::DoNotOptimize(isFound);
  }
  for (URegularExpression* matcher : matchers) uregex_close(matcher);
}

const bool registered = [] {
  for (const size_t byteCount : {30, 200, 4096}) {
    const std::string suffix = std::string("/").append(std::to_string(byteCount)).append("B");
    benchmark::RegisterBenchmark(("validate/vq" + suffix).c_str(),
                                 [text = value(byteCount)](benchmark::State& state) { ours(state, text); });
    benchmark::RegisterBenchmark(
        ("validate/icu" + suffix).c_str(),
        [text = value(byteCount)](benchmark::State& state) { plainIcu(state, text); });
  }
  for (const std::string_view script : bench::scripts) {
    const std::string suffix = std::string("/").append(script).append("/4096B");
    const std::string text = bench::utf8Sample(script, 4096);
    benchmark::RegisterBenchmark(("validate/vq" + suffix).c_str(),
                                 [text](benchmark::State& state) { ours(state, text); });
    benchmark::RegisterBenchmark(("validate/icu" + suffix).c_str(),
                                 [text](benchmark::State& state) { plainIcu(state, text); });
  }
  return true;
}();

}  // namespace

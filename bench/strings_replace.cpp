// Replacing all occurrences, beside abseil on the same text in bytes, a quarter of the memory.
//
// Both sides edit a string in place; where that changes the text, both copy it back before each run.
//
// A text that holds no needle shows what the four times as many bytes cost: "memchr_of_wide" reads the wide
// text once and does nothing else, and ours takes the same time where the text is long. Only wide strings can
// be edited so; the library replaces nothing in UTF-8 strings, so there is no row in bytes for both sides.
#include <absl/strings/str_replace.h>
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "samples.hpp"
#include "strings_service.hpp"

namespace {

using bench::Service;

struct Job {
  const char* name;
  std::string needle, with;
  // Whether the text holds the needle, and must be brought back before each run.
  bool changes;
};

// Blanks stand at every sixth character; a word of three letters is rare.
const Job jobs[] = {{"blanks grow", " ", "%20", true},
                    {"blanks stay", " ", "_", true},
                    {"blanks go", " ", "", true},
                    {"rare grows", "qzx", "qzxx", true},
                    {"none", "QZX", "12", false}};

std::u32string widened(const std::string& text) {
  return {text.begin(), text.end()};
}

void replaceVq(benchmark::State& state, const Job& job, size_t length) {
  const std::u32string text = bench::wideSample("ASCII", length);
  const std::u32string needle = widened(job.needle), with = widened(job.with);
  auto& service = Service::get();
  const auto elementCount = static_cast<int64_t>(text.size());
  VQString* string = vqStringCreate(service.strings, service.pool, text.data(), elementCount, 1);
  for (auto _ : state) {
    if (job.changes) vqStringCopyText(string, text.data(), elementCount, ENC_WIDE);
    vqStringReplaceSubstringVQText(string, needle.data(), static_cast<int64_t>(needle.size()), with.data(),
                                   static_cast<int64_t>(with.size()), 1, nullptr);
    benchmark::DoNotOptimize(string->text);
    benchmark::ClobberMemory();
  }
  vqStringDestroy(string);
}

void replaceAbseil(benchmark::State& state, const Job& job, size_t length) {
  const std::string text = bench::utf8Sample("ASCII", length);
  std::string target = text;
  for (auto _ : state) {
    if (job.changes) target.assign(text);
    absl::StrReplaceAll({{job.needle, job.with}}, &target);
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
}

// One reading of the wide text, for a byte that is not in it.
void readWide(benchmark::State& state, size_t length) {
  const std::u32string text = bench::wideSample("ASCII", length);
  for (auto _ : state) {
    benchmark::ClobberMemory();
    benchmark::DoNotOptimize(std::memchr(text.data(), 0xFE, text.size() * sizeof(char32_t)));
  }
}

// The same out of a text that has no room, as every first growth is: ours from a borrowed text into a block,
// abseil's from a constant text into a new string.
void replaceVqFresh(benchmark::State& state, const Job& job, size_t length) {
  const std::u32string text = bench::wideSample("ASCII", length);
  const std::u32string needle = widened(job.needle), with = widened(job.with);
  auto& service = Service::get();
  for (auto _ : state) {
    VQString string;
    vqStringInitStatic(service.strings, &string, service.pool, text.data(),
                       static_cast<int64_t>(text.size()));
    vqStringReplaceSubstringVQText(&string, needle.data(), static_cast<int64_t>(needle.size()), with.data(),
                                   static_cast<int64_t>(with.size()), 1, nullptr);
    benchmark::DoNotOptimize(string.text);
    vqStringDestroy(&string);
  }
}

void replaceAbseilFresh(benchmark::State& state, const Job& job, size_t length) {
  const std::string text = bench::utf8Sample("ASCII", length);
  for (auto _ : state) {
    std::string made = absl::StrReplaceAll(text, {{job.needle, job.with}});
    benchmark::DoNotOptimize(made.data());
  }
}

const bool registered = [] {
  for (const Job& job : jobs) {
    for (const size_t length : {32, 256, 4096, 1 << 20}) {
      const std::string which = std::string(job.name) + "/" + std::to_string(length);
      benchmark::RegisterBenchmark(("replace_all/vq/" + which).c_str(), replaceVq, job, length);
      benchmark::RegisterBenchmark(("replace_all/abseil/" + which).c_str(), replaceAbseil, job, length);
      if (!job.changes) {
        benchmark::RegisterBenchmark(("replace_all/memchr_of_wide/" + which).c_str(), readWide, length);
      }
      if (job.with.size() <= job.needle.size()) continue;
      benchmark::RegisterBenchmark(("replace_fresh/vq/" + which).c_str(), replaceVqFresh, job, length);
      benchmark::RegisterBenchmark(("replace_fresh/abseil/" + which).c_str(), replaceAbseilFresh, job,
                                   length);
    }
  }
  return true;
}();

}  // namespace

// Tokens on a comma, beside std::views::split and a loop over memchr or wmemchr. The time of a row is that of
// a whole text; "ns/token" is beside it.
//
// A text that is walked again and again lets the processor learn where its tokens end. In the rows "fresh"
// each walk takes another of many texts, as a program does that reads records.
//
// Where it has learned them, the peer's loop runs ahead of its own comparisons and takes 9 cycles a token.
// Ours takes 12 wherever the tokens end: to store the position and load it again in the next call, and to
// find the place in the mask. A walk of 200 bytes pays some 15 ns more for the guess that goes wrong at its
// end.
#include <benchmark/benchmark.h>

#include <cstring>
#include <cwchar>
#include <ranges>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "samples.hpp"
#include "vqstring.h"

namespace {

constexpr size_t freshTexts = 2048;

template <class Element>
std::vector<std::basic_string<Element>> commaTexts(size_t count, size_t elementCount) {
  const std::u32string words = bench::wideSample("ASCII", count * elementCount);
  std::vector<std::basic_string<Element>> texts;
  for (size_t i = 0; i < count; ++i) {
    std::basic_string<Element> text;
    for (size_t at = 0; at < elementCount; ++at) {
      const char32_t c = words[i * elementCount + at];
      text += static_cast<Element>(c == U' ' ? U',' : c);
    }
    texts.push_back(text);
  }
  return texts;
}

// Strings over the texts are made beforehand, as a program has them.
template <class Element>
struct Sample {
  using String = std::conditional_t<sizeof(Element) == 1, VQU8String, VQString>;

  explicit Sample(std::basic_string<Element> contents) : text(std::move(contents)) {}
  // In its place for good: the string borrows the text.
  void borrow() {
    string.text = text.data();
    string.length = static_cast<decltype(string.length)>(text.size());
  }

  std::basic_string<Element> text;
  String string{};
};

// `walk` answers the number of tokens of one text.
template <class Element, class Walk>
void measure(benchmark::State& state, size_t textCount, size_t elementCount, Walk walk) {
  std::vector<Sample<Element>> samples;
  for (auto& text : commaTexts<Element>(textCount, elementCount)) samples.emplace_back(text);
  for (auto& sample : samples) sample.borrow();
  size_t next = 0, tokens = 0;
  for (auto _ : state) {
    tokens += walk(samples[next]);
    if (++next == samples.size()) next = 0;
  }
  state.counters["ns/token"] = benchmark::Counter(static_cast<double>(tokens) * 1e-9,
                                                  benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

size_t wideTokens(Sample<char32_t>& sample) {
  static VQString token;
  VQTokenizer walk;
  vqStringTokenizeStart(&sample.string, &walk);
  const VQChar comma = U',';
  size_t count = 0;
  for (; walk.tokenizeText(&walk, &comma, 1, &token) != nullptr; ++count) {
    benchmark::DoNotOptimize(token.length);
  }
  return count;
}

size_t u8Tokens(Sample<char>& sample) {
  static VQU8String token;
  VQU8Tokenizer walk;
  vqU8StringTokenizeStart(&sample.string, &walk);
  size_t count = 0;
  for (; walk.tokenizeU8(&walk, ",", 1, &token) != nullptr; ++count) benchmark::DoNotOptimize(token.length);
  return count;
}

template <class Element>
size_t splitTokens(Sample<Element>& sample) {
  size_t count = 0;
  for (auto part :
       std::views::split(std::basic_string_view<Element>(sample.text), static_cast<Element>(','))) {
    benchmark::DoNotOptimize(std::ranges::distance(part));
    ++count;
  }
  return count;
}

size_t wmemchrTokens(Sample<char32_t>& sample) {
  const std::u32string& text = sample.text;
  const auto* at = reinterpret_cast<const wchar_t*>(text.data());
  const wchar_t* const end = at + text.size();
  size_t count = 0;
  while (at != nullptr) {
    const wchar_t* comma = std::wmemchr(at, L',', static_cast<size_t>(end - at));
    benchmark::DoNotOptimize((comma == nullptr ? end : comma) - at);
    at = comma == nullptr ? nullptr : comma + 1;
    ++count;
  }
  return count;
}

size_t memchrTokens(Sample<char>& sample) {
  const std::string& text = sample.text;
  const char* at = text.data();
  const char* const end = at + text.size();
  size_t count = 0;
  while (at != nullptr) {
    const auto* comma = static_cast<const char*>(std::memchr(at, ',', static_cast<size_t>(end - at)));
    benchmark::DoNotOptimize((comma == nullptr ? end : comma) - at);
    at = comma == nullptr ? nullptr : comma + 1;
    ++count;
  }
  return count;
}

template <class Element, class Walk>
void add(const std::string& subject, const std::string& peer, Walk walk) {
  const struct {
    const char* name;
    size_t textCount, byteCount;
  } cases[] = {{"200B", 1, 200},
               {"200B-fresh", freshTexts, 200},
               {"4KiB", 1, 4096},
               {"4KiB-fresh", freshTexts / 16, 4096},
               {"1MiB", 1, 1 << 20}};
  for (const auto& which : cases) {
    benchmark::RegisterBenchmark(
        (subject + "/" + peer + "/" + which.name).c_str(), [walk, which](benchmark::State& state) {
          measure<Element>(state, which.textCount, which.byteCount / sizeof(Element), walk);
        });
  }
}

[[maybe_unused]] const bool registered = [] {
  add<char32_t>("tokens-wide", "vq", wideTokens);
  add<char32_t>("tokens-wide", "views::split", splitTokens<char32_t>);
  add<char32_t>("tokens-wide", "wmemchr", wmemchrTokens);
  add<char>("tokens-u8", "vq", u8Tokens);
  add<char>("tokens-u8", "views::split", splitTokens<char>);
  add<char>("tokens-u8", "memchr", memchrTokens);
  return true;
}();

}  // namespace

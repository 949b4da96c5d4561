// Counting characters and lengths, beside a sum that only reads, a plain loop and the library that a program
// would use instead.
//
// At 16 B the counting forms are as fast as the plain loop or faster, but for 10 to 13 ns against 10 on
// Latin; UTF8_SLEN looks for the terminator first and stays behind it on most scripts.
#include <glib.h>

#include <cstring>

#include "utf_samples.hpp"
#include "vqstring/utf.h"

namespace {

using bench::Text;

// What reading costs: one addition a word.
template <class Word>
uint64_t sumOf(const void* data, size_t bytes) {
  uint64_t sum = 0;
  const auto* at = static_cast<const unsigned char*>(data);
  for (size_t i = 0; i + sizeof(Word) <= bytes; i += sizeof(Word)) {
    Word word;
    std::memcpy(&word, at + i, sizeof word);
    sum += word;
  }
  return sum;
}

uint64_t plainCount(const uint8_t* text, size_t bytes) {
  uint64_t count = 0;
  for (size_t at = 0; at < bytes; ++count) {
    const uint8_t first = text[at++];
    if (first < 0xC0) continue;
    const size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    for (size_t i = 1; i < length && at < bytes && (text[at] & 0xC0) == 0x80; ++i) ++at;
  }
  return count;
}

uint64_t plainLength(const char32_t* text, size_t count) {
  uint64_t bytes = 0;
  for (size_t i = 0; i < count; ++i)
    bytes += text[i] < 0x80 ? 1 : text[i] < 0x800 ? 2 : text[i] < 0x10000 ? 3 : 4;
  return bytes;
}

template <class Count>
void measure(benchmark::State& state, Count count) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(count());
    benchmark::ClobberMemory();
  }
}

template <class Count>
auto over(Count count) {
  return [count](benchmark::State& state, const Text& text) { measure(state, [&] { return count(text); }); };
}

const bench::Register rows([] {
  const auto sum = over([](const Text& t) { return sumOf<uint64_t>(t.utf8.data(), t.utf8.size()); });
  const auto plain = over([](const Text& t) { return plainCount(t.bytes(), t.utf8.size()); });
  bench::overTexts("vqzsu8NumChars", "vq",
                   over([](const Text& t) { return vqzsu8NumChars(t.utf8.data(), t.utf8.size()); }));
  bench::overTexts("vqzsu8NumChars", "sum", sum);
  bench::overTexts("vqzsu8NumChars", "plain", plain);
  bench::overTexts("vqzsu8NumChars", "glib", over([](const Text& t) {
                     return g_utf8_strlen(t.utf8.data(), static_cast<gssize>(t.utf8.size()));
                   }));
  bench::overTexts("UTF8_SLEN", "vq", over([](const Text& t) { return UTF8_SLEN(t.utf8.c_str()); }));
  bench::overTexts("UTF8_SLEN", "sum", sum);
  bench::overTexts("UTF8_SLEN", "glib",
                   over([](const Text& t) { return g_utf8_strlen(t.utf8.c_str(), -1); }));
  bench::overTexts("utf8Length", "vq",
                   over([](const Text& t) { return utf8Length(t.utf8.data(), t.utf8.size()); }));
  bench::overTexts("utf8Length", "sum", sum);
  bench::overTexts("utf8LengthOfWide", "vq", over([](const Text& t) {
                     return GET_UTF8_LEN_FROM_VQCHAR(t.wide.data(), t.wide.size());
                   }));
  bench::overTexts("utf8LengthOfWide", "sum",
                   over([](const Text& t) { return sumOf<uint64_t>(t.wide.data(), 4 * t.wide.size()); }));
  bench::overTexts("utf8LengthOfWide", "plain",
                   over([](const Text& t) { return plainLength(t.wide.data(), t.wide.size()); }));
});

}  // namespace

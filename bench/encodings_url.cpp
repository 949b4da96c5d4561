// Percent escapes: strings escaped and taken back in place, beside GLib on the same UTF-8.
//
// Speed over GLib's at 16 / 256 / 4096 / 1 Mi characters, on an Emerald Rapids Xeon in AVX-512:
//
//   escaping UTF-8     ASCII 2 to 3 / 7 / 9 / 16     Latin 2.9 / 8 / 15 / 25   CJK 7 / 11 / 15 / 14
//   escaping wide      ASCII .7 to .9 / 3 / 6 / 5    Latin 1 / 4.8 / 6 / 7     CJK 3 / 7 / 7 / 2.6
//   unescaping bytes   ASCII 4 / 13 / 32 / 20        Latin 4 / 14 / 40 / 23    CJK 6 / 13 / 10 / 9
//   unescaping wide    ASCII .9 / 3.7 / 12 / 7       Latin .8 / 3.5 / 12 / 9   CJK 1.8 / 6 / 5.6 / 3
//
// A clean text of 4096 and more bytes is passed over at .4 to .8 of memchr's speed. What stays behind: texts
// of 16 characters. A UTF-8 string is made, escaped and ended in 350 instructions, most of them for its
// record and its block: 25 ns on a quiet machine. A wide one takes 1000, with three more blocks of the pool
// and one or two conversions by the host: 75 to 80 ns. 1 Mi of CJK is 38 MB in wide text, which is read or
// written at the speed of memory.
#include <benchmark/benchmark.h>
#include <glib.h>

#include <cstring>
#include <string>

#include "encodings/url_codec.hpp"
#include "host_service.hpp"
#include "samples.hpp"
#include "vqstring.h"

namespace {

// "clean": nothing to escape. Otherwise words of a script with blanks between them.
std::u32string wideText(const std::string& kind, size_t elementCount) {
  return kind == "clean" ? std::u32string(elementCount, U'k') : bench::wideSample(kind, elementCount);
}

std::string utf8Text(const std::string& kind, size_t elementCount) {
  std::string utf8;
  for (const char32_t c : wideText(kind, elementCount)) bench::appendUtf8(utf8, c);
  return utf8;
}

std::string escapedText(const std::string& kind, size_t elementCount) {
  gchar* escaped = g_uri_escape_string(utf8Text(kind, elementCount).c_str(), nullptr, FALSE);
  std::string copy(escaped);
  g_free(escaped);
  return copy;
}

void escapeGlib(benchmark::State& state, const std::string& kind, size_t elementCount) {
  const std::string text = utf8Text(kind, elementCount);
  for (auto _ : state) {
    gchar* escaped = g_uri_escape_string(text.c_str(), nullptr, FALSE);
    benchmark::DoNotOptimize(escaped);
    g_free(escaped);
  }
}

// As with GLib, a string is made of the text and ended.
void escapeU8(benchmark::State& state, const std::string& kind, size_t elementCount) {
  const std::string text = utf8Text(kind, elementCount);
  VQStringService* service = bench::service();
  for (auto _ : state) {
    VQU8String* string = nullptr;
    vqU8StringCreate(service, &string, nullptr, text.data(), static_cast<int64_t>(text.size()), 0);
    vqU8StringURLEncode(string);
    benchmark::DoNotOptimize(string->text);
    vqU8StringDestroy(string);
  }
}

void escapeWide(benchmark::State& state, const std::string& kind, size_t elementCount) {
  const std::u32string text = wideText(kind, elementCount);
  VQStringService* service = bench::service();
  for (auto _ : state) {
    VQString* string = vqStringCreate(service, nullptr, text.data(), static_cast<int64_t>(text.size()), 0);
    vqStringURLEncode(string);
    benchmark::DoNotOptimize(string->text);
    vqStringDestroy(string);
  }
}

// The limit for a clean text: a look at every byte.
void scanMemchr(benchmark::State& state, const std::string& kind, size_t elementCount) {
  const std::string text = utf8Text(kind, elementCount);
  for (auto _ : state) benchmark::DoNotOptimize(std::memchr(text.data(), '%', text.size()));
}

void unescapeGlib(benchmark::State& state, const std::string& kind, size_t elementCount) {
  const std::string text = escapedText(kind, elementCount);
  for (auto _ : state) {
    gchar* plain = g_uri_unescape_string(text.c_str(), nullptr);
    benchmark::DoNotOptimize(plain);
    g_free(plain);
  }
}

void unescapeWide(benchmark::State& state, const std::string& kind, size_t elementCount) {
  const std::string utf8 = escapedText(kind, elementCount);
  const std::u32string text(utf8.begin(), utf8.end());
  VQStringService* service = bench::service();
  for (auto _ : state) {
    VQString* string = vqStringCreate(service, nullptr, text.data(), static_cast<int64_t>(text.size()), 0);
    vqStringURLDecode(string);
    benchmark::DoNotOptimize(string->text);
    vqStringDestroy(string);
  }
}

// The bytes alone; they are put back in front of each run.
void unescapeCodec(benchmark::State& state, const std::string& kind, size_t elementCount) {
  const std::string text = escapedText(kind, elementCount);
  std::string buffer = text;
  for (auto _ : state) {
    std::memcpy(buffer.data(), text.data(), text.size());
    benchmark::DoNotOptimize(vq::url::unescape(buffer.data(), buffer.size()));
    benchmark::ClobberMemory();
  }
}

const bool registered = [] {
  for (const char* const kind : {"clean", "ASCII", "Latin", "CJK"}) {
    for (const size_t size : {16u, 256u, 4096u, 1u << 20}) {
      const auto add = [&](const std::string& name, auto function) {
        const std::string full = name + "/" + kind + "/" + std::to_string(size);
        benchmark::RegisterBenchmark(full.c_str(), [=, kind = std::string(kind)](benchmark::State& state) {
          function(state, kind, size);
        });
      };
      add("url_escape/vq", escapeU8);
      add("url_escape/glib", escapeGlib);
      add("url_escape/memchr", scanMemchr);
      add("url_escape_wide/vq", escapeWide);
      add("url_escape_wide/glib", escapeGlib);
      add("url_unescape_codec/vq", unescapeCodec);
      add("url_unescape_codec/glib", unescapeGlib);
      add("url_unescape_wide/vq", unescapeWide);
      add("url_unescape_wide/glib", unescapeGlib);
    }
  }
  return true;
}();

}  // namespace

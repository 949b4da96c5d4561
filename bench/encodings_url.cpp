// Percent escapes: strings escaped and taken back in place, beside GLib on the same UTF-8.
//
// Speed over GLib's at 16 / 256 / 4096 / 1 Mi characters, on an Emerald Rapids Xeon in AVX-512:
//
//   escaping UTF-8     ASCII 2.6 / 7 / 9 / 20     Latin 1.3 / 6 / 14 / 22   CJK 6 / 9 / 11 / 17
//   escaping wide      ASCII .7 / 3 / 5 / 5       Latin .6 / 4.6 / 6 / 6    CJK 1.5 / 5 / 6 / 1.3 to 2
//   unescaping bytes   ASCII 4.8 / 8 / 32 / 21    Latin 4 / 18 / 34 / 20    CJK 4 / 14 / 11 / 7
//   unescaping wide    ASCII .8 / 3 / 13 / 6      Latin .5 / 2.5 / 10 / 7   CJK 1.4 / 5 / 4 / 1.9
//
// A clean text of 4096 and more bytes is passed over at .4 to .8 of memchr's speed. What stays behind: a
// short text, whose record and block take 20 of the 40 ns, and a short wide one, which is converted by the
// host there and, in unescaping, back, with a record and a block for its UTF-8 form: 100 ns, whatever is in
// it. 1 Mi of CJK is 38 MB in wide text: unescaping reads them at the speed of memory, and escaping writes
// them into fresh pages each time, since no allocator keeps so large a block.
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

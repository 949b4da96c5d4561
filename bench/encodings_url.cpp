// Percent escapes: strings escaped and taken back in place, beside GLib on the same UTF-8.
//
// Speed over GLib's at 16 / 256 / 4096 / 1 Mi characters, on an Emerald Rapids Xeon in AVX-512:
//
//   escaping UTF-8     ASCII 1.5 / 6 / 9 / 16     Latin 1.6 / 6 / 10 / 23   CJK 5 / 10 / 11 / 10
//   escaping wide      ASCII .6 / 2.5 / 4 / 3.4   Latin .7 / 2.2 / 4 / 4    CJK 2 / 6 / 5 / .8
//   unescaping bytes   ASCII 3.5 / 8 / 30 / 19    Latin 4 / 10 / 39 / 20    CJK 5 / 12 / 10 / 7
//   unescaping wide    ASCII .6 / 2.7 / 15 / 5    Latin .7 / 2.8 / 10 / 6   CJK 1.3 / 4 / 4 / 1.8
//
// A clean text of 4096 and more bytes is passed over at half to three quarters of memchr's speed. What stays
// behind: a short wide text, which is converted by the host there and, in unescaping, back, with a record and
// a block for its UTF-8 form: 110 ns, whatever is in it. Unescaping 1 Mi of CJK reads 38 MB once, at the
// speed of memory. Escaping it writes as much into a block that malloc takes from the system and gives back
// each time, whose page faults are more than half of the time; with huge pages for such blocks it is 1.5.
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

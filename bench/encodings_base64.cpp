// Base64: the codec and the whole operations beside GLib, and beside a memcpy of the input as the limit.
//
// The figure to look at is the share of the copy, here at 256 B / 4 KiB / 1 MiB on an Emerald Rapids Xeon,
// whose copy moves 50 bytes a cycle within the first cache. Ranges are medians of several runs, the better
// end from when the machine was quiet.
//
// The codec encodes at .40-.53 / .38-.45 / .62-.71 and decodes at .42 / .31 / 1.0 in AVX-512, where a step
// takes as long as its two to four permutations, and at .19 / .15 / .5 and .2 / .16 / .6 in AVX2. The whole
// operations encode at .13-.19 / .28-.36 / .59-.71 and decode at .17 / .25 / 1.0: making and ending a string
// or block takes some 15 ns, which is three copies of 256 B; and 1 MiB with what it becomes is more than the
// second cache holds: a bare loop that loads and stores as much takes 56 to 64 us, the codec 59 to 67 at its
// best. Against GLib that is 10-11 / 34-46 / 15-18 and 12 / 32 / 24 times the speed, wrapped 8-10 / 21-24 /
// 11 and 7 / 18 / 12 times.
//
// Wide text has four bytes for a character. Beside a copy of it ("memcpy_wide"), it is encoded at
// .13-.15 / .6-.8 / 1.7 and decoded at .17 / .7 / 1.9; beside a copy of the bytes, encoded at
// .05 / .12-.16 / .18-.20 and decoded at .1 / .17 / .2. At 4 KiB a loop of nothing but such stores takes
// 114 ns, and 200 to 230 us at 1 MiB. Of short texts the temporary, the record, the block and the five calls
// of the host that belong to a wide result take 45 ns or more; at 16 B GLib is up to twice as fast.
#include <benchmark/benchmark.h>
#include <glib.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "encodings/base64_codec.hpp"
#include "host_service.hpp"
#include "vqstring.h"

namespace {

std::vector<uint8_t> sample(size_t byteCount) {
  std::mt19937 random(4648);
  std::vector<uint8_t> bytes(byteCount);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
  return bytes;
}

// Padded, or as one that a decoder's codec takes whole.
std::string encodedSample(size_t byteCount) {
  const std::vector<uint8_t> bytes = sample(byteCount);
  gchar* text = g_base64_encode(bytes.data(), bytes.size());
  std::string copy(text);
  g_free(text);
  return copy;
}

void copyOf(benchmark::State& state, const void* source, size_t byteCount) {
  std::vector<uint8_t> target(byteCount);
  for (auto _ : state) {
    std::memcpy(target.data(), source, byteCount);
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
}

// ---- Encoding `byteCount` bytes ----

void encodeMemcpy(benchmark::State& state, size_t byteCount) {
  const auto bytes = sample(byteCount);
  copyOf(state, bytes.data(), byteCount);
}
void encodeGlib(benchmark::State& state, size_t byteCount) {
  const auto bytes = sample(byteCount);
  for (auto _ : state) {
    gchar* text = g_base64_encode(bytes.data(), byteCount);
    benchmark::DoNotOptimize(text);
    g_free(text);
  }
}
void encodeCodec(benchmark::State& state, size_t byteCount) {
  const auto bytes = sample(byteCount);
  std::vector<char> text(byteCount * 2);
  for (auto _ : state) {
    vq::base64::encodeGroups(vq::base64::standard, bytes.data(), byteCount / 3, text.data());
    benchmark::DoNotOptimize(text.data());
    benchmark::ClobberMemory();
  }
}
void encodeU8(benchmark::State& state, size_t byteCount, uint8_t wrap) {
  const auto bytes = sample(byteCount);
  VQStringService* service = bench::service();
  for (auto _ : state) {
    VQU8String* text = nullptr;
    vqU8StringEncodeBase64(service, bytes.data(), byteCount, nullptr, &text, 1, wrap);
    benchmark::DoNotOptimize(text);
    vqU8StringDestroy(text);
  }
}
void encodeWide(benchmark::State& state, size_t byteCount) {
  const auto bytes = sample(byteCount);
  VQStringService* service = bench::service();
  for (auto _ : state) {
    VQString* text = nullptr;
    vqStringEncodeBase64(service, bytes.data(), byteCount, nullptr, &text, 1, 0);
    benchmark::DoNotOptimize(text);
    vqStringDestroy(text);
  }
}

// ---- Decoding a text of `length` characters ----

void decodeMemcpy(benchmark::State& state, size_t length) {
  const std::string text = encodedSample(length / 4 * 3 - 1);
  copyOf(state, text.data(), text.size());
}
// The wide form of such a text: the input of the wide decoder, the output of the wide encoder.
void wideMemcpy(benchmark::State& state, size_t length) {
  const std::u32string text(length, U'A');
  copyOf(state, text.data(), 4 * text.size());
}
void decodeGlib(benchmark::State& state, size_t length) {
  const std::string text = encodedSample(length / 4 * 3 - 1);
  for (auto _ : state) {
    gsize size = 0;
    guchar* bytes = g_base64_decode(text.c_str(), &size);
    benchmark::DoNotOptimize(bytes);
    g_free(bytes);
  }
}
void decodeCodec(benchmark::State& state, size_t length) {
  const std::string text = encodedSample(length / 4 * 3);
  std::vector<uint8_t> bytes(length);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        vq::base64::decodeGroups(vq::base64::standard, text.data(), text.size() / 4, bytes.data()));
    benchmark::ClobberMemory();
  }
}
void decodeU8(benchmark::State& state, size_t length, bool isWrapped) {
  VQStringService* service = bench::service();
  const auto bytes = sample(length / 4 * 3 - (isWrapped ? 0 : 1));
  VQU8String* text = nullptr;
  vqU8StringEncodeBase64(service, bytes.data(), bytes.size(), nullptr, &text, 1, isWrapped);
  for (auto _ : state) {
    uint8_t* decoded = nullptr;
    uint64_t count = 0;
    vqU8StringDecodeBase64(text, service->pool, &decoded, &count);
    benchmark::DoNotOptimize(decoded);
    service->pool->poolFree(service->pool, decoded);
  }
  vqU8StringDestroy(text);
}
void decodeWide(benchmark::State& state, size_t length) {
  VQStringService* service = bench::service();
  const auto bytes = sample(length / 4 * 3 - 1);
  VQString* text = nullptr;
  vqStringEncodeBase64(service, bytes.data(), bytes.size(), nullptr, &text, 1, 0);
  for (auto _ : state) {
    uint8_t* decoded = nullptr;
    uint64_t count = 0;
    vqStringDecodeBase64(text, service->pool, &decoded, &count);
    benchmark::DoNotOptimize(decoded);
    service->pool->poolFree(service->pool, decoded);
  }
  vqStringDestroy(text);
}

const bool registered = [] {
  for (const size_t size : {16u, 256u, 4096u, 1u << 20}) {
    const auto add = [&](const std::string& name, auto function, auto... arguments) {
      benchmark::RegisterBenchmark((name + "/" + std::to_string(size)).c_str(),
                                   [=](benchmark::State& state) { function(state, size, arguments...); });
    };
    add("base64_encode_codec/vq", encodeCodec);
    add("base64_encode_codec/memcpy", encodeMemcpy);
    add("base64_encode/vq", encodeU8, uint8_t{0});
    add("base64_encode/glib", encodeGlib);
    add("base64_encode/memcpy", encodeMemcpy);
    add("base64_encode_wrapped/vq", encodeU8, uint8_t{1});
    add("base64_encode_wrapped/glib", encodeGlib);
    add("base64_encode_wide/vq", encodeWide);
    add("base64_encode_wide/glib", encodeGlib);
    add("base64_encode_wide/memcpy", encodeMemcpy);
    add("base64_encode_wide/memcpy_wide",
        [](benchmark::State& state, size_t byteCount) { wideMemcpy(state, (byteCount + 2) / 3 * 4); });
    add("base64_decode_codec/vq", decodeCodec);
    add("base64_decode_codec/memcpy", decodeMemcpy);
    add("base64_decode/vq", decodeU8, false);
    add("base64_decode/glib", decodeGlib);
    add("base64_decode/memcpy", decodeMemcpy);
    add("base64_decode_wrapped/vq", decodeU8, true);
    add("base64_decode_wrapped/glib", decodeGlib);
    add("base64_decode_wide/vq", decodeWide);
    add("base64_decode_wide/glib", decodeGlib);
    add("base64_decode_wide/memcpy", decodeMemcpy);
    add("base64_decode_wide/memcpy_wide", wideMemcpy);
  }
  return true;
}();

}  // namespace

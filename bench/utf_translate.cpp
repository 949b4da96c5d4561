// The translators on text without supplementary characters, beside a copy and a plain loop; on emoji every
// character is translated.
//
// Where memcpy moves 64 bytes at once, as on an Emerald Rapids Xeon, plain text reaches of it, quiet machine
// first and busy one behind:
//
//                      256 B                4 KiB
//   ASCII              .37 to .65           .5 to .66
//   to CESU-8          .35 to .42, .25      .29 to .36, .26
//   to modified UTF-8  .34 to .37, .30      .27 to .33, .22
//   from it            .32 to .37, .25      .26 to .31, .19
//
// with CJK at the lower end: a check takes 5 to 8 vector operations for each block that a copy moves in 2. At
// 1 MiB all reach .63 to 1.0. 16 B take 7 to 10 ns, and four emoji to pairs 13, each faster than the loop.
#include <cstring>

#include "utf_samples.hpp"
#include "vqstring/utf.h"

namespace {

using bench::Target;
using bench::Text;

using Translator = VQStatus (*)(const char*, uint64_t, char*, uint64_t, uint64_t*, uint32_t);

template <Translator translator, uint32_t flags>
void translate(benchmark::State& state, const Text& text) {
  const size_t room = 2 * text.utf8.size();
  const Target<char> target(room);
  uint64_t written = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        translator(text.utf8.data(), text.utf8.size(), target.data(), room, &written, flags));
    benchmark::ClobberMemory();
  }
}

void copy(benchmark::State& state, const Text& text) {
  const Target<char> target(text.utf8.size());
  for (auto _ : state) {
    std::memcpy(target.data(), text.utf8.data(), text.utf8.size());
    benchmark::ClobberMemory();
  }
}

// What the translators do with text of their kind, as a plain loop; anything else ends it.
template <bool isModified>
size_t encodePlainly(const uint8_t* at, size_t left, uint8_t* to, size_t room) {
  const uint8_t* const start = to;
  while (left > 0 && room >= 6) {
    const size_t length = at[0] < 0xC0 ? 1 : at[0] < 0xE0 ? 2 : at[0] < 0xF0 ? 3 : 4;
    if (left < length) break;
    for (size_t i = 1; i < length; ++i) {
      if ((at[i] & 0xC0) != 0x80) return static_cast<size_t>(to - start);
    }
    uint8_t* const before = to;
    if (length == 4) {
      const unsigned value = (at[0] & 7u) << 18 | (at[1] & 63u) << 12 | (at[2] & 63u) << 6 | (at[3] & 63u);
      const unsigned high = 0xD800 + ((value - 0x10000) >> 10);
      const unsigned low = 0xDC00 + (value & 0x3FF);
      for (const unsigned half : {high, low}) {
        *to++ = 0xED;
        *to++ = static_cast<uint8_t>(0x80 | (half >> 6 & 63));
        *to++ = static_cast<uint8_t>(0x80 | (half & 63));
      }
    } else if (isModified && at[0] == 0) {
      *to++ = 0xC0;
      *to++ = 0x80;
    } else {
      if (length == 3 && at[0] == 0xED && at[1] >= 0xA0) break;
      for (size_t i = 0; i < length; ++i) *to++ = at[i];
    }
    at += length;
    left -= length;
    room -= static_cast<size_t>(to - before);
  }
  return static_cast<size_t>(to - start);
}

size_t decodePlainly(const uint8_t* at, size_t left, uint8_t* to, size_t room) {
  const uint8_t* const start = to;
  for (; left > 0 && room >= 4;) {
    size_t length = at[0] < 0xC0 ? 1 : at[0] < 0xE0 ? 2 : at[0] < 0xF0 ? 3 : 4;
    if (left < length) break;
    for (size_t i = 1; i < length; ++i) {
      if ((at[i] & 0xC0) != 0x80) return static_cast<size_t>(to - start);
    }
    uint8_t* const before = to;
    if (length == 3 && at[0] == 0xED && at[1] >= 0xA0) {
      if (left < 6 || at[3] != 0xED) break;
      length = 6;
      const unsigned value =
          0x10000 + ((at[1] & 15u) << 16 | (at[2] & 63u) << 10 | (at[4] & 15u) << 6 | (at[5] & 63u));
      *to++ = static_cast<uint8_t>(0xF0 | value >> 18);
      *to++ = static_cast<uint8_t>(0x80 | (value >> 12 & 63));
      *to++ = static_cast<uint8_t>(0x80 | (value >> 6 & 63));
      *to++ = static_cast<uint8_t>(0x80 | (value & 63));
    } else if (at[0] == 0xC0 && at[1] == 0x80) {
      *to++ = 0;
    } else {
      for (size_t i = 0; i < length; ++i) *to++ = at[i];
    }
    at += length;
    left -= length;
    room -= static_cast<size_t>(to - before);
  }
  return static_cast<size_t>(to - start);
}

template <size_t (*loop)(const uint8_t*, size_t, uint8_t*, size_t)>
void translatePlainly(benchmark::State& state, const Text& text) {
  const size_t room = 2 * text.utf8.size();
  const Target<uint8_t> target(room);
  for (auto _ : state) {
    benchmark::DoNotOptimize(loop(text.bytes(), text.utf8.size(), target.data(), room));
    benchmark::ClobberMemory();
  }
}

const bench::Register rows([] {
  bench::overTexts("toCesu8", "vq", translate<vqzsu8Encode, 0>);
  bench::overTexts("toCesu8", "memcpy", copy);
  bench::overTexts("toCesu8", "plain", translatePlainly<encodePlainly<false>>);
  bench::overTexts("toModifiedUtf8", "vq", translate<vqzsu8Encode, U8_MODIFIED>);
  bench::overTexts("toModifiedUtf8", "memcpy", copy);
  bench::overTexts("toModifiedUtf8", "plain", translatePlainly<encodePlainly<true>>);
  bench::overTexts("fromModifiedUtf8", "vq", translate<vqzsu8Decode, U8_MODIFIED>);
  bench::overTexts("fromModifiedUtf8", "memcpy", copy);
  bench::overTexts("fromModifiedUtf8", "plain", translatePlainly<decodePlainly>);
});

}  // namespace

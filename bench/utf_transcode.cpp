// Transcoding whole texts: the kernels and the fused drivers, beside a copy of the wide size, plain loops and
// the libraries that a program would use instead.
//
// The figure to look at is the share of the copy. On an Emerald Rapids Xeon, whose copy moves some 40 bytes a
// cycle within the first cache, the AVX-512 forms reach at 256 B / 4 KiB / 1 MiB, from UTF-8: ASCII
// .5 / .8 / 1.6, Latin .14 / .18 / 1.2, Cyrillic and Greek .10 / .11 / .9, CJK .09 / .10 / .7,
// emoji .09 / .09 / .3; to UTF-8: ASCII .5 / .6 / 1.6, Latin .19 / .21 / 1.4, Cyrillic and Greek
// .23 / .24 / 1.4, CJK .22 / .20 / 1.2, emoji .3 / .3 / .8. The forms for AVX2 reach there at 256 B / 4 KiB,
// from UTF-8: ASCII .6 / .6, Latin .14 / .11, Cyrillic and Greek .10 / .07, CJK .08 / .05, emoji .06 / .05;
// to UTF-8: ASCII .5 / .5, Latin .15 / .12, Cyrillic and Greek .15 / .12, CJK .13 / .10, emoji .08 / .06. At
// 16 B the plain loop meets the same characters again and again, so that all its branches are foreseen: 8 to
// 11 ns. The AVX-512 forms take 4 to 10 there, the drivers, which have them compiled in, up to 2 more; the
// portable form that AVX2 machines use takes 7 to 20.
#include <glib.h>
#include <locale.h>
#include <unicode/ustring.h>
#include <wchar.h>

#include <cstring>

#include "utf/transcode.hpp"
#include "utf_samples.hpp"
#include "vqstring/utf.h"

namespace {

using bench::Target;
using bench::Text;

// Validating, as one would write it.
size_t plainToWide(const uint8_t* s, size_t n, char32_t* out) {
  size_t written = 0;
  for (size_t i = 0; i < n;) {
    const uint8_t b = s[i];
    if (b < 0x80) {
      out[written++] = b;
      ++i;
    } else if (b < 0xE0) {
      if (b < 0xC2 || i + 1 >= n || (s[i + 1] & 0xC0) != 0x80) break;
      out[written++] = (b & 0x1Fu) << 6 | (s[i + 1] & 0x3Fu);
      i += 2;
    } else if (b < 0xF0) {
      if (i + 2 >= n || (s[i + 1] & 0xC0) != 0x80 || (s[i + 2] & 0xC0) != 0x80) break;
      const char32_t c = (b & 0xFu) << 12 | (s[i + 1] & 0x3Fu) << 6 | (s[i + 2] & 0x3Fu);
      if (c < 0x800 || (c & 0xFFFFF800) == 0xD800) break;
      out[written++] = c;
      i += 3;
    } else {
      if (i + 3 >= n || (s[i + 1] & 0xC0) != 0x80 || (s[i + 2] & 0xC0) != 0x80 || (s[i + 3] & 0xC0) != 0x80)
        break;
      const char32_t c =
          (b & 7u) << 18 | (s[i + 1] & 0x3Fu) << 12 | (s[i + 2] & 0x3Fu) << 6 | (s[i + 3] & 0x3Fu);
      if (c < 0x10000 || c > 0x10FFFF) break;
      out[written++] = c;
      i += 4;
    }
  }
  return written;
}

size_t plainToUtf8(const char32_t* s, size_t n, uint8_t* out) {
  uint8_t* at = out;
  for (size_t i = 0; i < n; ++i) {
    const char32_t c = s[i];
    if (c < 0x80) {
      *at++ = static_cast<uint8_t>(c);
    } else if (c < 0x800) {
      *at++ = static_cast<uint8_t>(0xC0 | c >> 6);
      *at++ = static_cast<uint8_t>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      if ((c & 0xFFFFF800) == 0xD800) break;
      *at++ = static_cast<uint8_t>(0xE0 | c >> 12);
      *at++ = static_cast<uint8_t>(0x80 | (c >> 6 & 0x3F));
      *at++ = static_cast<uint8_t>(0x80 | (c & 0x3F));
    } else {
      if (c > 0x10FFFF) break;
      *at++ = static_cast<uint8_t>(0xF0 | c >> 18);
      *at++ = static_cast<uint8_t>(0x80 | (c >> 12 & 0x3F));
      *at++ = static_cast<uint8_t>(0x80 | (c >> 6 & 0x3F));
      *at++ = static_cast<uint8_t>(0x80 | (c & 0x3F));
    }
  }
  return static_cast<size_t>(at - out);
}

void copyWide(benchmark::State& state, const Text& text) {
  const Target<char32_t> target(text.wide.size());
  for (auto _ : state) {
    std::memcpy(target.data(), text.wide.data(), 4 * text.wide.size());
    benchmark::ClobberMemory();
  }
}

// Runs `convert(target)` into a target of exactly the size that is needed.
template <class Element, class Convert>
void into(benchmark::State& state, size_t count, Convert convert) {
  const Target<Element> target(count);
  for (auto _ : state) {
    benchmark::DoNotOptimize(convert(target.data()));
    benchmark::ClobberMemory();
  }
}

void registerToWide() {
  const std::string subject = "utf8ToWide";
  bench::overTexts(subject, "vq", [](benchmark::State& state, const Text& text) {
    into<char32_t>(state, text.wide.size(), [&](char32_t* target) {
      return vq::transcode::utf8ToWide(text.bytes(), text.utf8.size(), target, text.wide.size()).written;
    });
  });
  bench::overTexts(subject, "driver", [](benchmark::State& state, const Text& text) {
    into<char32_t>(state, text.wide.size(), [&](char32_t* target) {
      uint64_t written = 0;
      ConvertToUTF32(text.bytes(), text.utf8.size(), reinterpret_cast<uint8_t*>(target), 4 * text.wide.size(),
                     &written, UTF8_UTF32, COPY_UTF32_SWAP);
      return written;
    });
  });
  bench::overTexts(subject, "plain", [](benchmark::State& state, const Text& text) {
    into<char32_t>(state, text.wide.size(),
                   [&](char32_t* target) { return plainToWide(text.bytes(), text.utf8.size(), target); });
  });
  bench::overTexts(subject, "memcpy", copyWide);
  bench::overTexts(subject, "glib", [](benchmark::State& state, const Text& text) {
    for (auto _ : state) {
      gunichar* wide =
          g_utf8_to_ucs4(text.utf8.data(), static_cast<glong>(text.utf8.size()), nullptr, nullptr, nullptr);
      benchmark::DoNotOptimize(wide);
      g_free(wide);
    }
  });
  bench::overTexts(subject, "mbsnrtowcs", [](benchmark::State& state, const Text& text) {
    setlocale(LC_CTYPE, "C.UTF-8");
    into<wchar_t>(state, text.wide.size(), [&](wchar_t* target) {
      const char* source = text.utf8.data();
      mbstate_t shift{};
      return mbsnrtowcs(target, &source, text.utf8.size(), text.wide.size(), &shift);
    });
  });
}

void registerToUtf8() {
  const std::string subject = "wideToUtf8";
  bench::overTexts(subject, "vq", [](benchmark::State& state, const Text& text) {
    into<uint8_t>(state, text.utf8.size(), [&](uint8_t* target) {
      return vq::transcode::wideToUtf8(text.wide.data(), text.wide.size(), target, text.utf8.size()).written;
    });
  });
  bench::overTexts(subject, "driver", [](benchmark::State& state, const Text& text) {
    into<uint8_t>(state, text.utf8.size(), [&](uint8_t* target) {
      uint64_t written = 0;
      ConvertFromUTF32(reinterpret_cast<const uint8_t*>(text.wide.data()), 4 * text.wide.size(), target,
                       text.utf8.size(), &written, UTF32_UTF8, COPY_UTF32b_SWAP);
      return written;
    });
  });
  bench::overTexts(subject, "plain", [](benchmark::State& state, const Text& text) {
    into<uint8_t>(state, text.utf8.size(),
                  [&](uint8_t* target) { return plainToUtf8(text.wide.data(), text.wide.size(), target); });
  });
  bench::overTexts(subject, "memcpy", copyWide);
  bench::overTexts(subject, "glib", [](benchmark::State& state, const Text& text) {
    for (auto _ : state) {
      gchar* bytes = g_ucs4_to_utf8(reinterpret_cast<const gunichar*>(text.wide.data()),
                                    static_cast<glong>(text.wide.size()), nullptr, nullptr, nullptr);
      benchmark::DoNotOptimize(bytes);
      g_free(bytes);
    }
  });
}

void registerToUtf16() {
  bench::overTexts("utf8ToUtf16", "vq", [](benchmark::State& state, const Text& text) {
    into<char16_t>(state, text.utf8.size(), [&](char16_t* target) {
      return vq::transcode::utf8ToUtf16(text.bytes(), text.utf8.size(), target, text.utf8.size()).written;
    });
  });
  bench::overTexts("utf8ToUtf16", "icu", [](benchmark::State& state, const Text& text) {
    into<char16_t>(state, text.utf8.size(), [&](char16_t* target) {
      UErrorCode status = U_ZERO_ERROR;
      int32_t length = 0;
      u_strFromUTF8(target, static_cast<int32_t>(text.utf8.size()), &length, text.utf8.data(),
                    static_cast<int32_t>(text.utf8.size()), &status);
      return length;
    });
  });
  bench::overTexts("wideToUtf16", "vq", [](benchmark::State& state, const Text& text) {
    into<char16_t>(state, 2 * text.wide.size(), [&](char16_t* target) {
      return vq::transcode::wideToUtf16(text.wide.data(), text.wide.size(), target, 2 * text.wide.size())
          .written;
    });
  });
  bench::overTexts("wideToUtf16", "icu", [](benchmark::State& state, const Text& text) {
    into<char16_t>(state, 2 * text.wide.size(), [&](char16_t* target) {
      UErrorCode status = U_ZERO_ERROR;
      int32_t length = 0;
      u_strFromUTF32(target, static_cast<int32_t>(2 * text.wide.size()), &length,
                     reinterpret_cast<const UChar32*>(text.wide.data()),
                     static_cast<int32_t>(text.wide.size()), &status);
      return length;
    });
  });
}

const bench::Register rows([] {
  registerToWide();
  registerToUtf8();
  registerToUtf16();
});

}  // namespace

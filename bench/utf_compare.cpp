// Comparing UTF-8: the same text twice, and the text beside itself with every letter's case changed. The
// lower case is the real host's.
//
// Flipped Cyrillic goes at 1.3 to 2 code points a nanosecond from 4 KiB on and at .33 to .53 at 256 B, by how
// much else the machine does; at 16 B it takes .5 to .75 of the time of ICU's own loop. In a short text
// nearly every letter is new and the host is called for it: half of the time at 256 B are its 64 answers for
// 32 pairs. What the host answers is not kept beyond a comparison: a program may put another host, or other
// case rules, at the same address, and nothing tells the library.
//
// What is the same in both texts is passed over at the speed of memcmp, up to the whole of them; text that
// differs in case alone takes longer even in ASCII, 5 to 7 code points a nanosecond at 256 B.
//
// Flipped Greek ends at the first final sigma, within the first block: its capital folds to the other one.
#include <glib.h>
#include <strings.h>
#include <unicode/ucasemap.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <cstring>

#include "host_service.hpp"
#include "utf_samples.hpp"
#include "vqstring/utf.h"

namespace {

using bench::Text;

std::string flipped(const Text& text) {
  std::string out;
  for (const char32_t c : text.wide) {
    const auto each = static_cast<UChar32>(c);
    bench::appendUtf8(out, static_cast<char32_t>(u_islower(each) ? u_toupper(each) : u_tolower(each)));
  }
  return out;
}

// `compare(first, second)` on a text and a copy of it, or its flipped form.
template <class Compare>
auto beside(bool isFlipped, Compare compare) {
  return [isFlipped, compare](benchmark::State& state, const Text& text) {
    bench::service();
    const std::string other = isFlipped ? flipped(text) : std::string(text.utf8);
    for (auto _ : state) {
      benchmark::DoNotOptimize(compare(text.utf8, other));
      benchmark::ClobberMemory();
    }
    state.counters["code points/ns"] = benchmark::Counter(static_cast<double>(text.wide.size()) / 1e9,
                                                          benchmark::Counter::kIsIterationInvariantRate);
  };
}

const bench::Register rows([] {
  bench::overTexts("vqzsu8Compare", "vq", beside(false, [](const std::string& a, const std::string& b) {
                     return vqzsu8Compare(a.data(), a.size(), b.data(), b.size());
                   }));
  bench::overTexts("vqzsu8Compare", "memcmp", beside(false, [](const std::string& a, const std::string& b) {
                     return std::memcmp(a.data(), b.data(), a.size());
                   }));
  bench::overTexts("vqzsu8Compare", "plain", beside(false, [](const std::string& a, const std::string& b) {
                     size_t i = 0;
                     while (i < a.size() && a[i] == b[i]) ++i;
                     return i;
                   }));
  for (const bool isFlipped : {false, true}) {
    const std::string subject = isFlipped ? "vqzsu8NormCompareFlipped" : "vqzsu8NormCompareSame";
    bench::overTexts(subject, "vq", beside(isFlipped, [](const std::string& a, const std::string& b) {
                       return vqzsu8NormCompare(a.data(), a.size(), b.data(), b.size());
                     }));
    bench::overTexts(subject, "equal", beside(isFlipped, [](const std::string& a, const std::string& b) {
                       return vqzsu8NormEqual(a.data(), a.size(), b.data(), b.size());
                     }));
    // Sees ASCII alone: on other scripts it stops at once.
    bench::overTexts(subject, "strcasecmp", beside(isFlipped, [](const std::string& a, const std::string& b) {
                       return strncasecmp(a.data(), b.data(), a.size());
                     }));
    bench::overTexts(subject, "icu", beside(isFlipped, [](const std::string& a, const std::string& b) {
                       // The same walk over ICU's decoder and fold.
                       int32_t i = 0;
                       int32_t k = 0;
                       const auto n = static_cast<int32_t>(std::min(a.size(), b.size()));
                       while (i < n && k < n) {
                         UChar32 c = 0;
                         UChar32 d = 0;
                         U8_NEXT(a.data(), i, n, c);
                         U8_NEXT(b.data(), k, n, d);
                         if (c != d && u_tolower(c) != u_tolower(d)) break;
                       }
                       return i;
                     }));
  }
});

}  // namespace

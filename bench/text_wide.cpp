// Search, case-blind comparison and classification of wide text.
//
// Measured on a processor with AVX-512 (Emerald Rapids, g++ 12, medians of a busy machine):
// - A rare first element: .75 to 1.1 of a wmemchr loop on 64 elements, .9 to 1.3 on 1 Ki, .95 on 1 Mi, which
//   goes at the speed of the memory. A common one: 5.5 to 8 times u32string_view on 64, 12 and 18 times on
//   the others.
// - Case-blind comparison: 5 to 6 elements a ns in every script from 64 elements on, 12 to 20 where the texts
//   are equal. 8 elements take 4.3 ns to tell whether they are equal and 8.7 ns to order, since the order
//   needs the first difference as well, a second walk with a call of its own.
// - The predicates cost little more than a call: 1.0 ns for one that asks nothing ("call"), 1.1 to 1.35 ns
//   for ours, and half as much again for both while the other thread of the core is busy.
// With cpu::level lowered to AVX2: .75 to .9 of the wmemchr loop up to 1 Ki elements, 4 to 5 times
// u32string_view with a common first element on 64; comparison at 7 elements a ns on ASCII, 2 on other
// scripts, and .5 to 1 on 8 elements, which do not fill a step.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <cwchar>
#include <cwctype>
#include <string>
#include <string_view>

#include "frame/handle.hpp"
#include "samples.hpp"
#include "vqstring/host.h"
#include "vqstring/text.h"

namespace {

using Wide = std::u32string;

void add(const std::string& name, auto body) {
  benchmark::RegisterBenchmark(name.c_str(), [body](benchmark::State& state) {
    for (auto _ : state) {
      benchmark::DoNotOptimize(body());
      benchmark::ClobberMemory();
    }
  });
}

struct Length {
  const char* name;
  size_t count;
};
constexpr Length lengths[] = {{"8", 8}, {"64", 64}, {"1Ki", 1 << 10}, {"1Mi", 1 << 20}};

int64_t findByWmemchr(const Wide& text, const Wide& needle) {
  const auto* const begin = reinterpret_cast<const wchar_t*>(text.data());
  const wchar_t* at = begin;
  const wchar_t* const end = begin + text.size() - needle.size() + 1;
  while (at < end && (at = wmemchr(at, static_cast<wchar_t>(needle[0]), static_cast<size_t>(end - at)))) {
    if (wmemcmp(at, reinterpret_cast<const wchar_t*>(needle.data()), needle.size()) == 0) return at - begin;
    ++at;
  }
  return -1;
}

// A needle that ends the text. The rare first element stands nowhere else; the common one is every sixth.
void search(const char* which, char32_t firstElement) {
  for (const Length& length : lengths) {
    if (length.count < 64) continue;
    Wide text = bench::wideSample("ASCII", length.count);
    const Wide needle = Wide(1, firstElement) + U"needle#";
    text.replace(text.size() - needle.size(), needle.size(), needle);
    const std::string rest = std::string("/") + which + " " + length.name;
    add("sndx/vq" + rest, [=] {
      return vqzsndx(text.data(), static_cast<int64_t>(text.size()), needle.data(),
                     static_cast<int64_t>(needle.size()));
    });
    add("sndx/u32string_view" + rest, [=] { return std::u32string_view(text).find(needle); });
    add("sndx/wmemchr" + rest, [=] { return findByWmemchr(text, needle); });
  }
}

// Needles that make a plain search quadratic, here on 64 Ki elements.
void hostileSearch() {
  const Wide text(1 << 16, U'a');
  const Wide halves[] = {Wide(1 << 15, U'a'), Wide(1 << 15, U'a')};
  const Wide needles[] = {U"b" + halves[0], halves[0] + U"b",
                          Wide(1 << 14, U'a') + U"b" + Wide(1 << 14, U'a')};
  const char* const names[] = {"b first", "b last", "b in the middle"};
  for (int i = 0; i < 3; ++i) {
    const Wide& needle = needles[i];
    add(std::string("sndx/vq/hostile, ") + names[i], [=] {
      return vqzsndx(text.data(), static_cast<int64_t>(text.size()), needle.data(),
                     static_cast<int64_t>(needle.size()));
    });
  }
}

std::u16string utf16Of(const Wide& text) {
  std::u16string out;
  for (char32_t c : text) out += static_cast<char16_t>(c);
  return out;
}

// A text beside itself with every second letter in the other case.
void comparisons() {
  for (const char* script : {"ASCII", "Latin", "Greek", "Cyrillic", "CJK"}) {
    for (const Length& length : lengths) {
      Wide first = bench::wideSample(script, length.count);
      Wide second = first;
      size_t letters = 0;
      for (char32_t& c : second) {
        VQChar upper = c;
        vqzstup(&upper, 1);
        if (upper != c && ++letters % 2 == 0) c = upper;
      }
      const std::string rest = std::string("/") + script + " " + length.name;
      add("seqn/vq" + rest,
          [=] { return vqzseqn(first.data(), first.size(), second.data(), second.size()); });
      add("sncmp/vq" + rest, [=] {
        return vqzsncmp(first.data(), static_cast<int64_t>(first.size()), second.data(),
                        static_cast<int64_t>(second.size()));
      });
      for (const char* subject : {"seqn", "sncmp"}) {
        add(std::string(subject) + "/icu" + rest, [a = utf16Of(first), b = utf16Of(second)] {
          UErrorCode error = U_ZERO_ERROR;
          return u_strCaseCompare(a.data(), static_cast<int32_t>(a.size()), b.data(),
                                  static_cast<int32_t>(b.size()), U_FOLD_CASE_DEFAULT, &error);
        });
      }
    }
  }
}

// What a call costs that asks nothing: the floor of every predicate.
__attribute__((noinline)) uint32_t callAlone(VQChar c) {
  asm volatile("");
  return c;
}

// Members among 4096 characters of all scripts in turn, so the time is for 4096 questions.
void classification() {
  static VQKernel kernel{};
  Exported_VQHandle = &kernel;
  Wide mixed;
  for (size_t i = 0; mixed.size() < 4096; ++i) {
    mixed += bench::wideSample(bench::scripts[i % std::size(bench::scripts)], 24 + i);
  }
  mixed.resize(4096);
  const auto counted = [mixed](auto ask) {
    return [mixed, ask] {
      uint32_t members = 0;
      for (char32_t c : mixed) members += ask(c) != 0;
      return members;
    };
  };
  add("isalpha/vq/mixed 4096", counted([](char32_t c) { return vqnlsisalpha(c); }));
  add("isalpha/call/mixed 4096", counted([](char32_t c) { return callAlone(c); }));
  add("isalpha/icu/mixed 4096", counted([](char32_t c) { return u_isalpha(static_cast<UChar32>(c)); }));
  add("isalpha/glib/mixed 4096", counted([](char32_t c) { return g_unichar_isalpha(c); }));
  add("isalnum/vq/mixed 4096", counted([](char32_t c) { return vqnlsisalnum(c); }));
  add("isalnum/icu/mixed 4096", counted([](char32_t c) { return u_isalnum(static_cast<UChar32>(c)); }));
  add("isalnum/glib/mixed 4096", counted([](char32_t c) { return g_unichar_isalnum(c); }));
  add("isupper/vq/mixed 4096", counted([](char32_t c) { return vqnlsisupper(c); }));
  add("isupper/icu/mixed 4096", counted([](char32_t c) { return u_isupper(static_cast<UChar32>(c)); }));
  add("isprint/vq/mixed 4096", counted([](char32_t c) { return vqnlsisprint(c); }));
  add("isprint/icu/mixed 4096", counted([](char32_t c) { return u_isprint(static_cast<UChar32>(c)); }));
  add("isxdigit/vq/mixed 4096", counted([](char32_t c) { return vqnlsisxdigit(c); }));
  add("isxdigit/icu/mixed 4096", counted([](char32_t c) { return u_isxdigit(static_cast<UChar32>(c)); }));
  add("isspace/vq/mixed 4096", counted([](char32_t c) { return vqnlsisspace(c); }));
  add("isspace/icu/mixed 4096", counted([](char32_t c) { return u_isspace(static_cast<UChar32>(c)); }));
  add("isspace/iswspace/mixed 4096", counted([](char32_t c) { return iswspace(static_cast<wint_t>(c)); }));
}

const bool isRegistered = [] {
  classification();
  search("rare first", U'#');
  search("common first", U' ');
  hostileSearch();
  comparisons();
  return true;
}();

}  // namespace

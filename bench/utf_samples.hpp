// What the UTF benchmarks share: texts with their sizes, targets that do not collide with their sources,
// plain loops as a peer, and the registration of rows over scripts and lengths.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "samples.hpp"
#include "vqstring/base.h"

namespace bench {

// A text in both forms; `byteCount` is the size that the row names, in UTF-8.
struct Text {
  std::string utf8;
  std::u32string wide;
  const uint8_t* bytes() const { return reinterpret_cast<const uint8_t*>(utf8.data()); }
};

inline Text textOf(std::string_view script, size_t byteCount) {
  Text text{utf8Sample(script, byteCount), {}};
  const std::u32string wide = wideSample(script, byteCount);
  size_t characters = 0;
  for (const char byte : text.utf8) characters += (byte & 0xC0) != 0x80;
  text.wide = wide.substr(0, characters);
  return text;
}

// Room whose place in a page is not that of any source, so that no copy suffers from addresses that look
// alike.
template <class Element>
class Target {
 public:
  explicit Target(size_t count) : bytes_(new std::byte[count * sizeof(Element) + 8192]) {
    const auto address = reinterpret_cast<uintptr_t>(bytes_.get());
    data_ = reinterpret_cast<Element*>((address + 4095) / 4096 * 4096 + 1024);
  }
  Element* data() const { return data_; }

 private:
  std::unique_ptr<std::byte[]> bytes_;
  Element* data_;
};

inline constexpr size_t lengths[] = {16, 256, 4096, 1 << 20};

// Registers "subject/implementation/script/length" for every script and length; `run(state, text)` is the
// row.
template <class Run>
void overTexts(const std::string& subject, const std::string& implementation, Run run) {
  for (const std::string_view script : scripts) {
    for (const size_t length : lengths) {
      const std::string name =
          subject + "/" + implementation + "/" + std::string(script) + "/" + std::to_string(length);
      benchmark::RegisterBenchmark(name.c_str(), [run, script, length](benchmark::State& state) {
        const Text text = textOf(script, length);
        run(state, text);
      });
    }
  }
}

// Runs registrations before main.
struct Register {
  template <class Body>
  explicit Register(Body body) {
    body();
  }
};

}  // namespace bench

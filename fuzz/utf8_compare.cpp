// The comparisons: the same at every level, reversed when the texts are exchanged, and in agreement with each
// other. The first byte says where the input is cut in two.
#include "frame/handle.hpp"
#include "fuzz_input.hpp"
#include "vqstring/host.h"
#include "vqstring/utf.h"

using fuzz::expect;

namespace {

VQChar lower(VQNls*, VQChar c, uint64_t) {
  const bool isUpper = (c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE) || (c >= 0x410 && c <= 0x42F);
  return isUpper ? c + 0x20 : c == 0x212A ? U'k' : c;
}

struct Verdicts {
  int32_t bytes, blind;
  uint32_t equal, asciiEqual;
  bool operator==(const Verdicts&) const = default;
};

Verdicts compare(const fuzz::Piece& a, const fuzz::Piece& b) {
  return {vqzsu8Compare(a.text(), a.size(), b.text(), b.size()),
          vqzsu8NormCompare(a.text(), a.size(), b.text(), b.size()),
          vqzsu8NormEqual(a.text(), a.size(), b.text(), b.size()),
          vqzsu8NormASCIIEqual(a.text(), a.size(), b.text(), b.size())};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  static VQNls nls{};
  static VQKernel kernel{};
  nls.nlsToLower = lower;
  kernel.kernelNls = &nls;
  Exported_VQHandle = &kernel;

  const size_t cut = (size - 1) * data[0] / 255;
  const fuzz::Piece a(data + 1, cut);
  const fuzz::Piece b(data + 1 + cut, size - 1 - cut);
  Verdicts there{};
  bool isFirst = true;
  fuzz::underEveryLevel([&] {
    const Verdicts made = compare(a, b);
    if (isFirst) there = made;
    isFirst = false;
    expect(made == there);
    expect(compare(a, a).bytes == 0 && compare(a, a).blind == 0 && compare(a, a).equal == 1);
  });
  const Verdicts back = compare(b, a);
  expect(there.bytes == -back.bytes);
  expect(there.asciiEqual == back.asciiEqual && there.equal == back.equal);
  // What is the same apart from ASCII case is the same by every other measure.
  if (there.asciiEqual != 0 && there.bytes == 0) expect(there.equal == 1 && there.blind == 0);
  return 0;
}

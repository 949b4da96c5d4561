// Escaping and unescaping beside the rules, on every level, with the source apart from the target and in it.
#include <algorithm>

#include "../tests/encodings/url_rules.hpp"
#include "encodings/url_codec.hpp"
#include "fuzz_input.hpp"

using fuzz::expect;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const fuzz::Piece piece(data, size);
  const std::string text(piece.text(), size);
  const std::string escaped = test::naiveEscaped(text), unescaped = test::naiveUnescaped(text);
  fuzz::underEveryLevel([&] {
    const vq::url::Measure measure = vq::url::measure(piece.text(), size);
    expect(measure.length(size) == escaped.size());
    std::unique_ptr<char[]> target(new char[escaped.size()]);
    vq::url::escape(piece.text(), size, measure.isRegular, target.get(), escaped.size());
    expect(std::string_view(target.get(), escaped.size()) == escaped);
    char* moved = target.get() + escaped.size() - size;
    if (size > 0) std::memcpy(moved, piece.text(), size);
    vq::url::escape(moved, size, measure.isRegular, target.get(), escaped.size());
    expect(std::string_view(target.get(), escaped.size()) == escaped);
    if (measure.isRegular) {
      std::unique_ptr<VQChar[]> wide(new VQChar[escaped.size()]);
      vq::url::escapeToWide(piece.text(), size, wide.get(), escaped.size());
      for (size_t i = 0; i < escaped.size(); ++i) expect(wide[i] == static_cast<uint8_t>(escaped[i]));
    }
    const fuzz::Piece copy(data, size);
    char* bytes = const_cast<char*>(copy.text());
    expect(std::string_view(bytes, vq::url::unescape(bytes, size)) == unescaped);
    std::unique_ptr<VQChar[]> wideText(new VQChar[size]);
    for (size_t i = 0; i < size; ++i) wideText[i] = data[i];
    std::unique_ptr<char[]> made(new char[size]);
    const uint64_t length = vq::url::unescape(wideText.get(), size, made.get(), size);
    const bool isAscii = std::all_of(data, data + size, [](uint8_t byte) { return byte < 0x80; });
    expect(length == (isAscii ? unescaped.size() : vq::url::notAscii));
    if (isAscii) expect(std::string_view(made.get(), length) == unescaped);
  });
  return 0;
}

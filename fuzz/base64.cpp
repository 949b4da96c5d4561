// Both decoders beside the rules, on every level; what decodes is encoded and decoded again.
#include <cstdlib>

#include "../tests/encodings/base64_rules.hpp"
#include "encodings/base64_codec.hpp"
#include "fuzz_input.hpp"
#include "vqstring.h"

using fuzz::expect;
using test::Bytes;

namespace {

// Blocks of exactly the size asked for.
VQPool makePool() {
  VQPool pool{};
  pool.poolAlloc = [](VQPool*, uint64_t byteCount, uint32_t flags) {
    return flags == VQ_POOL_ZERO_FILL ? std::calloc(1, byteCount) : std::malloc(byteCount);
  };
  pool.poolFree = [](VQPool*, void* block) -> VQStatus {
    std::free(block);
    return 0;
  };
  return pool;
}

template <class String, class Decode>
std::optional<Bytes> decoded(String& string, Decode decode) {
  VQPool pool = makePool();
  uint8_t* bytes = nullptr;
  uint64_t count = 0;
  const VQStatus status = decode(&string, &pool, &bytes, &count);
  expect(status == 0 || (status == VQSTATUS_BAD_ARGUMENT && bytes == nullptr));
  if (status != 0) return std::nullopt;
  Bytes result(bytes, bytes + count);
  std::free(bytes);
  return result;
}

}  // namespace

// The first byte chooses the alphabet, and what every element of the wide text gets on top.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const bool isUrl = (data[0] & 1) != 0;
  const char32_t high = data[0] >= 0xF0 ? static_cast<char32_t>(data[0]) << 24 : 0;
  const fuzz::Piece piece(data + 1, size - 1);
  const std::string text(piece.text(), piece.size());
  std::unique_ptr<char32_t[]> elements(new char32_t[piece.size()]);
  for (size_t i = 0; i < piece.size(); ++i) elements[i] = piece.data()[i] | (i % 7 == 6 ? high : 0);
  const std::u32string wideText(elements.get(), piece.size());

  VQU8String narrow{};
  narrow.text = const_cast<char*>(piece.text());
  narrow.length = piece.size();
  VQString wide{};
  wide.text = elements.get();
  wide.length = static_cast<int64_t>(piece.size());
  const std::optional<Bytes> narrowExpected = test::naiveU8(text, isUrl);
  const std::optional<Bytes> wideExpected = test::naiveWide(wideText, isUrl);
  fuzz::underEveryLevel([&] {
    const auto narrowBytes = decoded(narrow, isUrl ? vqU8StringDecodeBase64URL : vqU8StringDecodeBase64);
    expect(narrowBytes == narrowExpected);
    expect(decoded(wide, isUrl ? vqStringDecodeBase64URL : vqStringDecodeBase64) == wideExpected);

    const size_t groups = piece.size() / 3;
    std::string encoded(4 * groups, 0);
    vq::base64::encodeGroups(isUrl ? vq::base64::urlSafe : vq::base64::standard, piece.data(), groups,
                             encoded.data());
    expect(encoded ==
           test::naiveEncoded(Bytes(piece.data(), piece.data() + 3 * groups), isUrl, false, false));
  });
  return 0;
}

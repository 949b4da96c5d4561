// Both drivers with this library's steps beside the same steps behind a pointer that they cannot know. The
// first byte chooses the pair, the second the room.
#include "fuzz_input.hpp"
#include "vqstring/utf.h"

using fuzz::expect;

namespace {

constexpr VQDecodeStep decoders[] = {UTF8_UTF32, UTF16_UTF32, UTF16_UTF32_SWAP, COPY_UTF32b,
                                     COPY_UTF32b_SWAP};
constexpr VQEncodeStep encoders[] = {UTF32_UTF8,  UTF16_UTF8,       COPY_UTF32,   COPY_UTF32_SWAP,
                                     UTF32_UTF16, UTF32_UTF16_SWAP, UTF32_UTF16s, UTF32_UTF16s_SWAP};

VQDecodeStep chosenDecoder;
VQEncodeStep chosenEncoder;

VQStatus foreignDecoder(const uint8_t* source, uint64_t byteCount, VQChar* codePoint, uint64_t* consumed) {
  return chosenDecoder(source, byteCount, codePoint, consumed);
}
VQStatus foreignEncoder(VQChar codePoint, uint8_t* target, uint64_t room, uint64_t* written) {
  return chosenEncoder(codePoint, target, room, written);
}

template <class Driver, class First, class Second>
void compare(Driver driver, const fuzz::Piece& source, size_t room, First own1, Second own2, First foreign1,
             Second foreign2) {
  std::unique_ptr<uint8_t[]> expected(new uint8_t[room]);
  uint64_t expectedBytes = 0;
  const VQStatus status =
      driver(source.data(), source.size(), expected.get(), room, &expectedBytes, foreign1, foreign2);
  fuzz::underEveryLevel([&] {
    std::unique_ptr<uint8_t[]> made(new uint8_t[room]);
    uint64_t bytes = 0;
    expect(driver(source.data(), source.size(), made.get(), room, &bytes, own1, own2) == status);
    expect(bytes == expectedBytes && std::memcmp(made.get(), expected.get(), bytes) == 0);
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const size_t d = data[0] % std::size(decoders);
  const size_t e = data[0] / std::size(decoders) % std::size(encoders);
  chosenDecoder = decoders[d];
  chosenEncoder = encoders[e];
  const size_t ample = 4 * size;
  const size_t room = data[1] == 0xFF ? ample : ample * data[1] / 256;
  data += 2;
  size -= 2;
  // Whole units, as the decoders of UTF-16 and UTF-32 want them.
  const size_t unit = d == 0 ? 1 : d <= 2 ? 2 : 4;
  if (chosenEncoder == COPY_UTF32 || chosenEncoder == COPY_UTF32_SWAP) {
    const fuzz::Piece source(data, size / unit * unit);
    compare(ConvertToUTF32, source, room, chosenDecoder, chosenEncoder, foreignDecoder, foreignEncoder);
  }
  if (unit == 4) {
    const fuzz::Piece source(data, size);
    compare(ConvertFromUTF32, source, room, chosenEncoder, chosenDecoder, foreignEncoder, foreignDecoder);
  }
  return 0;
}

// The translators: every level gives the same, a broken source becomes one that survives the round trip. The
// first byte chooses the flags, the second the room.
#include "fuzz_input.hpp"
#include "vqstring/utf.h"

using fuzz::expect;

namespace {

using Translator = VQStatus (*)(const char*, uint64_t, char*, uint64_t, uint64_t*, uint32_t);

struct Translated {
  VQStatus status;
  uint64_t written;
  std::unique_ptr<char[]> bytes;
};

Translated translate(Translator translator, const char* source, size_t size, size_t room, uint32_t flags) {
  Translated first{0, 0, nullptr};
  fuzz::underEveryLevel([&] {
    Translated made{0, 0, std::unique_ptr<char[]>(new char[room])};
    made.status = translator(source, size, made.bytes.get(), room, &made.written, flags);
    expect(made.written <= room);
    if (first.bytes == nullptr) {
      first = std::move(made);
    } else {
      expect(made.status == first.status && made.written == first.written);
      expect(std::memcmp(made.bytes.get(), first.bytes.get(), made.written) == 0);
    }
  });
  return first;
}

// Sequences of four bytes from 0xF4 0x90 up are carried over, those from 0xF5 on behind a lone surrogate,
// where nothing is tested; and a pair of surrogates has no room for their values.
bool hasValueBeyondPairs(const char* bytes, size_t size) {
  for (size_t i = 0; i + 1 < size; ++i) {
    const auto first = static_cast<uint8_t>(bytes[i]), second = static_cast<uint8_t>(bytes[i + 1]);
    if (first == 0xF4 ? second >= 0x90 : first > 0xF4 && first < 0xF8) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const uint32_t flags = data[0] & (U8_MODIFIED | U8_NO_PAIRS);
  const fuzz::Piece source(data + 2, size - 2);
  // Nothing grows by more than three.
  const size_t ample = 3 * source.size();
  const size_t room = ample * data[1] / 255;
  translate(vqzsu8Encode, source.text(), source.size(), room, flags);
  translate(vqzsu8Decode, source.text(), source.size(), room, flags);

  const Translated decoded = translate(vqzsu8Decode, source.text(), source.size(), ample, U8_MODIFIED);
  expect(decoded.status != VQSTATUS_TARGET_FULL);
  if (hasValueBeyondPairs(decoded.bytes.get(), decoded.written)) return 0;
  const Translated encoded =
      translate(vqzsu8Encode, decoded.bytes.get(), decoded.written, 3 * decoded.written, U8_MODIFIED);
  if (encoded.status != 0) return 0;
  // What encodes without a replacement comes back; 0xC0 and 0xC1 are carried over on the way there alone.
  const Translated back =
      translate(vqzsu8Decode, encoded.bytes.get(), encoded.written, 3 * encoded.written, U8_MODIFIED);
  if (back.status != 0) return 0;
  const Translated again =
      translate(vqzsu8Encode, back.bytes.get(), back.written, 3 * back.written, U8_MODIFIED);
  expect(again.status == 0 && again.written == encoded.written);
  expect(std::memcmp(again.bytes.get(), encoded.bytes.get(), again.written) == 0);
  return 0;
}

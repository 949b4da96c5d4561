// Counting and cutting beside single steps.
#include "fuzz_input.hpp"
#include "vqstring/utf.h"

using fuzz::expect;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const fuzz::Piece piece(data, size);
  const char* text = piece.text();
  uint64_t blind = 0;
  for (size_t at = 0; at < size; at += utf8_len(text + at)) ++blind;
  uint64_t careful = 0;
  for (size_t at = 0; at < size; ++careful) {
    const size_t end = at + utf8_len(text + at);
    for (++at; at < end && at < size && (data[at] & 0xC0) == 0x80;) ++at;
  }
  fuzz::underEveryLevel([&] {
    expect(UTF8_SLENB(text, size) == blind);
    expect(vqzsu8NumChars(text, size) == careful);
    expect(vqzsu8ByteLength(text, 0) == 0);
  });
  expect(UTF8_BLENB(text, size) <= size);
  for (const uint32_t mode : {0u, 1u, 2u}) expect(vqzsu8StripBlanks(text, size, mode) <= size);

  // With a terminator: the text in front of the first zero byte.
  std::unique_ptr<char[]> terminated(new char[size + 1]);
  if (size > 0) std::memcpy(terminated.get(), data, size);
  terminated[size] = 0;
  const size_t visible = std::strlen(terminated.get());
  fuzz::underEveryLevel([&] {
    uint64_t characters = 0;
    uint64_t bytes = 0;
    vqzsu8Lengths(terminated.get(), &characters, &bytes);
    expect(bytes == visible && characters == vqzsu8NumChars(terminated.get(), visible));
    expect(UTF8_SLEN(terminated.get()) == UTF8_SLENB(terminated.get(), visible));
    expect(vqzsu8ByteLength(terminated.get(), characters) == visible);
  });
  size_t walked = 0;
  while (walked < visible) {
    uint8_t valid = 0;
    const uint64_t step = vqzsu8CharSize(terminated.get() + walked, &valid);
    expect(step >= 1 && step <= 6);
    walked += step;
  }
  expect(walked == visible);
  return 0;
}

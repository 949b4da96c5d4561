// Base64 on plain memory: the portable form of encoding, and the choice between the forms.
#include "encodings/base64_codec.hpp"

namespace vq::base64 {

void portable::encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount,
                            char* target) {
  for (; groupCount != 0; --groupCount, bytes += 3, target += 4) {
    target[0] = alphabet.characters[bytes[0] >> 2];
    target[1] = alphabet.characters[(bytes[0] & 0x03) << 4 | bytes[1] >> 4];
    target[2] = alphabet.characters[(bytes[1] & 0x0F) << 2 | bytes[2] >> 6];
    target[3] = alphabet.characters[bytes[2] & 0x3F];
  }
}

void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount, char* target) {
  if (groupCount < vector::vectorGroups || !cpu::hasAvx2()) {
    portable::encodeGroups(alphabet, bytes, groupCount, target);
  } else if (cpu::hasAvx512()) {
    wide_vector::encodeGroups(alphabet, bytes, groupCount, target);
  } else {
    vector::encodeGroups(alphabet, bytes, groupCount, target);
  }
}

namespace {

template <class Element>
uint64_t decode(const Alphabet& alphabet, const Element* text, uint64_t groupCount, uint8_t* target) {
  if (groupCount < vector::vectorGroups || !cpu::hasAvx2()) {
    return portable::decodeGroups(alphabet, text, groupCount, target);
  }
  return cpu::hasAvx512() ? wide_vector::decodeGroups(alphabet, text, groupCount, target)
                          : vector::decodeGroups(alphabet, text, groupCount, target);
}

}  // namespace

uint64_t decodeGroups(const Alphabet& alphabet, const char* text, uint64_t groupCount, uint8_t* target) {
  return decode(alphabet, text, groupCount, target);
}

uint64_t decodeGroups(const Alphabet& alphabet, const VQChar* text, uint64_t groupCount, uint8_t* target) {
  return decode(alphabet, text, groupCount, target);
}

}  // namespace vq::base64

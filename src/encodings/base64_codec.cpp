// Base64 on plain memory: the choice between the forms.
#include "encodings/base64_codec.hpp"

namespace vq::base64 {

namespace {

template <class Element>
void encode(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount, Element* target) {
  if (cpu::hasAvx512()) {
    wide_vector::encodeGroups(alphabet, bytes, groupCount, target);
  } else if (groupCount >= vector::vectorGroups && cpu::hasAvx2()) {
    vector::encodeGroups(alphabet, bytes, groupCount, target);
  } else {
    portable::encodeGroups(alphabet, bytes, groupCount, target);
  }
}

template <class Element>
void encodeEachLine(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount, Element* target) {
  if (cpu::hasAvx512()) {
    wide_vector::encodeLines(alphabet, bytes, lineCount, target);
  } else if (cpu::hasAvx2()) {
    vector::encodeLines(alphabet, bytes, lineCount, target);
  } else {
    portable::encodeLines(alphabet, bytes, lineCount, target);
  }
}

template <class Element>
uint64_t decode(const Alphabet& alphabet, const Element* text, uint64_t groupCount, uint8_t* target) {
  if (cpu::hasAvx512()) return wide_vector::decodeGroups(alphabet, text, groupCount, target);
  return groupCount >= vector::vectorGroups && cpu::hasAvx2()
             ? vector::decodeGroups(alphabet, text, groupCount, target)
             : portable::decodeGroups(alphabet, text, groupCount, target);
}

template <class Element>
uint64_t decodeEachLine(const Alphabet& alphabet, const Element* text, uint64_t lineCount, uint8_t* target) {
  if (cpu::hasAvx512()) return wide_vector::decodeLines(alphabet, text, lineCount, target);
  return cpu::hasAvx2() ? vector::decodeLines(alphabet, text, lineCount, target)
                        : portable::decodeLines(alphabet, text, lineCount, target);
}

}  // namespace

void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount, char* target) {
  encode(alphabet, bytes, groupCount, target);
}

void encodeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount, VQChar* target) {
  encode(alphabet, bytes, groupCount, target);
}

void encodeLines(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount, char* target) {
  encodeEachLine(alphabet, bytes, lineCount, target);
}

void encodeLines(const Alphabet& alphabet, const uint8_t* bytes, uint64_t lineCount, VQChar* target) {
  encodeEachLine(alphabet, bytes, lineCount, target);
}

uint64_t decodeGroups(const Alphabet& alphabet, const char* text, uint64_t groupCount, uint8_t* target) {
  return decode(alphabet, text, groupCount, target);
}

uint64_t decodeGroups(const Alphabet& alphabet, const VQChar* text, uint64_t groupCount, uint8_t* target) {
  return decode(alphabet, text, groupCount, target);
}

uint64_t decodeLines(const Alphabet& alphabet, const char* text, uint64_t lineCount, uint8_t* target) {
  return decodeEachLine(alphabet, text, lineCount, target);
}

uint64_t decodeLines(const Alphabet& alphabet, const VQChar* text, uint64_t lineCount, uint8_t* target) {
  return decodeEachLine(alphabet, text, lineCount, target);
}

}  // namespace vq::base64

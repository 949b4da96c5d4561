// The Base64 operations of strings: wrapped and padded output, and the two families of decoders.
//
// The decoders of the two kinds share the walk over a group, four values into three bytes, and differ in what
// they pass over, in what padding means to them, and in where a group may begin: that is what their readers
// are. In front of every group the reader takes as many whole clean groups as there are at the speed of the
// codec; the walk itself meets only what is not clean.
#include <algorithm>

#include "encodings/base64_codec.hpp"
#include "encodings/conversion_steps.hpp"
#include "vqstring/encodings.h"

using namespace vq;

namespace {

using base64::Alphabet;

// ---- Encoding ----

// Whole groups, in lines or without an end.
template <class Element>
Element* writeGroups(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount, bool wrap,
                     Element* target) {
  if (wrap) {
    const uint64_t lineCount = groupCount / base64::groupsPerLine;
    base64::encodeLines(alphabet, bytes, lineCount, target);
    bytes += 3 * base64::groupsPerLine * lineCount;
    target += (4 * base64::groupsPerLine + 1) * lineCount;
    groupCount -= base64::groupsPerLine * lineCount;
  }
  base64::encodeGroups(alphabet, bytes, groupCount, target);
  return target + 4 * groupCount;
}

// The one or two bytes of the last group.
template <class Element>
Element* writeRest(const Alphabet& alphabet, const uint8_t* bytes, uint64_t byteCount, bool pad,
                   Element* target) {
  const uint8_t group[3] = {bytes[0], byteCount > 1 ? bytes[1] : uint8_t{0}, 0};
  Element characters[4];
  base64::portable::encodeGroups(alphabet, group, 1, characters);
  *target++ = characters[0];
  *target++ = characters[1];
  if (byteCount > 1) *target++ = characters[2];
  if (pad) {
    if (byteCount == 1) *target++ = '=';
    *target++ = '=';
  }
  return target;
}

// The encoded form of some bytes, without a terminator. Answers its end.
template <class Element>
Element* writeText(const Alphabet& alphabet, const uint8_t* bytes, uint64_t byteCount, bool pad, bool wrap,
                   Element* target) {
  const uint64_t groupCount = byteCount / 3, restBytes = byteCount % 3;
  Element* end = writeGroups(alphabet, bytes, groupCount, wrap, target);
  if (restBytes == 0) return end;
  end = writeRest(alphabet, bytes + 3 * groupCount, restBytes, pad, end);
  // A shortened group counts as a whole one on its line.
  if (wrap && (groupCount + 1) % base64::groupsPerLine == 0) *end++ = '\n';
  return end;
}

// The room for the encoded text: a third more, the line feeds, and something for the last group. False when
// no length can count it.
bool encodedCapacity(uint64_t byteCount, bool wrap, int64_t* capacity) {
  uint64_t sum = 0;
  if (__builtin_add_overflow(byteCount, byteCount / 3 + byteCount / 76 + 11, &sum)) return false;
  if (wrap) {
    // Above some 1800 bytes the line feeds alone outgrow that sum: there is one for 57 bytes.
    const uint64_t groupCount = byteCount / 3 + 1;
    uint64_t exact = 0;
    if (__builtin_mul_overflow(groupCount, 4, &exact) ||
        __builtin_add_overflow(exact, groupCount / base64::groupsPerLine, &exact)) {
      return false;
    }
    sum = std::max(sum, exact);
  }
  *capacity = static_cast<int64_t>(sum);
  return *capacity > 0;
}

// What is to be encoded, and how.
struct Encoding {
  const Alphabet& alphabet;
  const uint8_t* bytes;
  uint64_t byteCount;
  bool isPadded;
  bool isWrapped;

  Encoding(const Alphabet& chosen, const void* source, uint64_t count, uint8_t pad, uint8_t wrap)
      : alphabet(chosen),
        bytes(static_cast<const uint8_t*>(source)),
        byteCount(count),
        isPadded(pad == 1),
        isWrapped(wrap == 1) {}

  // Writes the encoded form without a terminator and answers its length.
  template <class Element>
  uint64_t writeTo(Element* target) const {
    return static_cast<uint64_t>(writeText(alphabet, bytes, byteCount, isPadded, isWrapped, target) - target);
  }
  // The length for one byte at least.
  uint64_t length() const {
    const uint64_t groupCount = (byteCount + 2) / 3, missing = 3 * groupCount - byteCount;
    const uint64_t lineFeeds = isWrapped ? groupCount / base64::groupsPerLine : 0;
    return 4 * groupCount + lineFeeds - (isPadded ? 0 : missing);
  }
};

// An empty string with room for the encoded form.
VQStatus createForEncoding(const Encoding& encoding, VQStringService* service, VQPool* pool,
                           VQU8String** string) {
  int64_t capacity = 0;
  if (encoding.byteCount != 0 && !encodedCapacity(encoding.byteCount, encoding.isWrapped, &capacity)) {
    return VQSTATUS_NO_MEMORY;
  }
  return vqU8StringCreateSized(service, string, pool, nullptr, 0, capacity);
}

void fillEncoded(const Encoding& encoding, VQU8String* string) {
  string->length = encoding.writeTo(string->text);
  string->text[string->length] = 0;
  assert(string->length <= string->capacity);
}

VQStatus encode(const Encoding& encoding, VQStringService* service, VQPool* pool, VQU8String** target) {
  VQU8String* string = nullptr;
  if (const VQStatus status = createForEncoding(encoding, service, pool, &string); status != 0) return status;
  if (encoding.byteCount != 0) fillEncoded(encoding, string);
  *target = string;
  return 0;
}

// Makes a string with the wide form at once, or none if that does not do. The temporary serves for the front
// that the host converts.
VQStatus fillWide(const Encoding& encoding, VQStringService* service, VQU8String* temporary, VQPool* pool,
                  VQString** target, bool* isFilled) {
  if (!ensureTarget<WideKind>(service, target, pool != nullptr ? pool : service->pool)) {
    return VQSTATUS_NO_MEMORY;
  }
  base64::portable::encodeGroups(encoding.alphabet, encoding.bytes, 1, temporary->text);
  const VQStatus status = fillAscii<WideKind>(
      *target, service, temporary->text, 4, encoding.length(),
      [&](VQChar* text, uint64_t) {
        encoding.writeTo(text);
        return true;
      },
      isFilled);
  if (status == 0 && *isFilled) return 0;
  vqStringDestroy(*target);
  *target = nullptr;
  return status;
}

VQStatus encodeWide(const Encoding& encoding, VQStringService* service, VQPool* pool, VQString** target) {
  VQU8String* temporary = nullptr;
  VQStatus status = createForEncoding(encoding, service, pool, &temporary);
  if (status != 0) return status;
  *target = nullptr;
  bool isFilled = false;
  // The front is a whole group.
  if (encoding.byteCount >= 3) {
    status = fillWide(encoding, service, temporary, pool, target, &isFilled);
  }
  if (status == 0 && !isFilled) {
    if (encoding.byteCount != 0) fillEncoded(encoding, temporary);
    status = vqStringEncode(service, target, pool, temporary->text, static_cast<int64_t>(temporary->length),
                            ENC_UTF8);
  }
  vqU8StringDestroy(temporary);
  return status;
}

// ---- Decoding ----

// The elements of a line of wrapped text with its line feed.
constexpr uint64_t lineElements = 4 * base64::groupsPerLine + 1;

// What a reader answers when it is asked for the next value of a group.
enum class Next : uint8_t { value, end, invalid };

// Wide text: TAB, line feed and blank are passed over anywhere, and '=' ends the text wherever it stands.
class WideReader {
 public:
  using Kind = WideKind;

  WideReader(const Alphabet& alphabet, const VQString* string)
      : alphabet_(alphabet), at_(string->text), end_(string->text + string->length) {}

  // Decodes clean groups and answers their number.
  uint64_t takeGroups(uint8_t* target) {
    uint64_t total = 0;
    for (;;) {
      // A padded end is not tried: the vectors would fail on it and leave the groups before it to the walk.
      const uint64_t left = static_cast<uint64_t>(end_ - at_);
      const uint64_t clean = left != 0 && end_[-1] == U'=' ? left - 1 : left;
      const uint64_t count = base64::decodeGroups(alphabet_, at_, clean / 4, target + 3 * total);
      at_ += 4 * count;
      total += count;
      const VQChar* before = at_;
      const uint64_t lineCount =
          base64::decodeLines(alphabet_, at_, (clean - 4 * count) / lineElements, target + 3 * total);
      at_ += lineElements * lineCount;
      total += base64::groupsPerLine * lineCount;
      passOver();
      if (at_ == before) return total;
    }
  }
  Next beginGroup() { return Next::value; }
  Next read(uint8_t* value) {
    passOver();
    if (at_ == end_ || *at_ == U'=') return Next::end;
    *value = valueOf(alphabet_, *at_++);
    return *value == base64::invalid ? Next::invalid : Next::value;
  }

 private:
  void passOver() {
    while (at_ < end_ && (*at_ == U'\t' || *at_ == U'\n' || *at_ == U' ')) ++at_;
  }

  const Alphabet& alphabet_;
  const VQChar* at_;
  const VQChar* end_;
};

// UTF-8 text: line feeds alone are passed over, and '=' may stand at the end of the last four bytes alone.
class U8Reader {
 public:
  using Kind = U8Kind;

  U8Reader(const Alphabet& alphabet, const VQU8String* string)
      : alphabet_(alphabet), at_(string->text), left_(string->length) {}

  uint64_t takeGroups(uint8_t* target) {
    uint64_t total = takeClean(target);
    // A line feed where a group begins, with a whole clean group behind it: the look at the next four bytes
    // finds no '=' there, and the feed is passed over in front of the first value.
    while (left_ > 4 && *at_ == '\n') {
      const uint64_t lineCount =
          base64::decodeLines(alphabet_, at_, left_ / lineElements, target + 3 * total);
      skip(static_cast<int64_t>(lineElements * lineCount));
      total += base64::groupsPerLine * lineCount;
      if (left_ <= 4 || *at_ != '\n') break;
      skip(1);
      const uint64_t count = takeClean(target + 3 * total);
      if (count == 0) {
        skip(-1);
        break;
      }
      total += count;
    }
    return total;
  }
  // A group may hold '=' only if it is the last four bytes of the text, which it then shortens.
  Next beginGroup() {
    if (left_ == 0) return Next::end;
    if (left_ < 4) return Next::value;
    const int64_t padding = std::count(at_, at_ + 4, '=');
    if (left_ > 4) return padding == 0 ? Next::value : Next::invalid;
    left_ -= static_cast<uint64_t>(padding);
    return left_ == 0 ? Next::end : Next::value;
  }
  Next read(uint8_t* value) {
    while (left_ != 0 && *at_ == '\n') skip(1);
    if (left_ == 0) return Next::end;
    *value = valueOf(alphabet_, *at_);
    skip(1);
    return *value == base64::invalid ? Next::invalid : Next::value;
  }

 private:
  uint64_t takeClean(uint8_t* target) {
    const uint64_t clean = left_ != 0 && at_[left_ - 1] == '=' ? left_ - 1 : left_;
    const uint64_t count = base64::decodeGroups(alphabet_, at_, clean / 4, target);
    skip(static_cast<int64_t>(4 * count));
    return count;
  }
  void skip(int64_t byteCount) {
    at_ += byteCount;
    left_ -= static_cast<uint64_t>(byteCount);
  }

  const Alphabet& alphabet_;
  const char* at_;
  uint64_t left_;
};

// One group: each value is written as it comes, so that a group that ends early leaves what it has. Adds the
// bytes that the group finished; of a single value that is the byte with the value at its top.
template <class Reader>
Next takeGroup(Reader& reader, uint8_t* target, uint64_t* byteCount) {
  if (const Next next = reader.beginGroup(); next != Next::value) return next;
  uint8_t value = 0;
  Next next = reader.read(&value);
  if (next != Next::value) return next;
  target[0] = static_cast<uint8_t>(value << 2);
  *byteCount += 1;
  if (next = reader.read(&value); next != Next::value) return next;
  target[0] |= value >> 4;
  target[1] = static_cast<uint8_t>(value << 4);
  if (next = reader.read(&value); next != Next::value) return next;
  target[1] |= value >> 2;
  target[2] = static_cast<uint8_t>(value << 6);
  *byteCount += 1;
  if (next = reader.read(&value); next != Next::value) return next;
  target[2] |= value;
  *byteCount += 1;
  return Next::value;
}

// False when the text is invalid.
template <class Reader>
bool decodeText(Reader reader, uint8_t* target, uint64_t* byteCount) {
  *byteCount = 0;
  for (;;) {
    *byteCount += 3 * reader.takeGroups(target + *byteCount);
    const Next next = takeGroup(reader, target + *byteCount, byteCount);
    if (next != Next::value) return next == Next::end;
  }
}

// Decodes into a block of three bytes for four elements, rounded up, and `spareBytes` more.
template <class Reader>
VQStatus decode(const Alphabet& alphabet, const RecordOf<typename Reader::Kind>* string, VQPool* pool,
                uint64_t spareBytes, uint32_t flags, uint8_t** bytes, uint64_t* byteCount) {
  const auto length = static_cast<uint64_t>(string->length);
  if (length == 0) {
    *bytes = nullptr;
    *byteCount = 0;
    return 0;
  }
  const uint64_t decodedBytes = length / 4 * 3 + (length % 4 * 3 + 3) / 4;
  *bytes = static_cast<uint8_t*>(pool->poolAlloc(pool, decodedBytes + spareBytes, flags));
  if (*bytes == nullptr) return VQSTATUS_NO_MEMORY;
  if (decodeText(Reader(alphabet, string), *bytes, byteCount)) return 0;
  pool->poolFree(pool, *bytes);
  *bytes = nullptr;
  return VQSTATUS_BAD_ARGUMENT;
}

VQStatus decodeWide(const Alphabet& alphabet, const VQString* string, VQPool* pool, uint8_t** bytes,
                    uint64_t* byteCount) {
  return decode<WideReader>(alphabet, string, pool, 0, VQ_POOL_ZERO_FILL, bytes, byteCount);
}

VQStatus decodeU8(const Alphabet& alphabet, const VQU8String* string, VQPool* pool, uint8_t** bytes,
                  uint64_t* byteCount) {
  return decode<U8Reader>(alphabet, string, pool, 1, 0, bytes, byteCount);
}

}  // namespace

VQStatus vqU8StringEncodeBase64(VQStringService* service, const void* bytes, uint64_t byteCount, VQPool* pool,
                                VQU8String** target, uint8_t pad, uint8_t wrap) {
  return encode({base64::standard, bytes, byteCount, pad, wrap}, service, pool, target);
}

VQStatus vqU8StringEncodeBase64URL(VQStringService* service, const void* bytes, uint64_t byteCount,
                                   VQPool* pool, VQU8String** target, uint8_t pad, uint8_t wrap) {
  return encode({base64::urlSafe, bytes, byteCount, pad, wrap}, service, pool, target);
}

VQStatus vqStringEncodeBase64(VQStringService* service, const void* bytes, uint64_t byteCount, VQPool* pool,
                              VQString** target, uint8_t pad, uint8_t wrap) {
  return encodeWide({base64::standard, bytes, byteCount, pad, wrap}, service, pool, target);
}

VQStatus vqStringEncodeBase64URL(VQStringService* service, const void* bytes, uint64_t byteCount,
                                 VQPool* pool, VQString** target, uint8_t pad, uint8_t wrap) {
  return encodeWide({base64::urlSafe, bytes, byteCount, pad, wrap}, service, pool, target);
}

VQStatus vqStringDecodeBase64(const VQString* string, VQPool* pool, uint8_t** bytes, uint64_t* byteCount) {
  return decodeWide(base64::standard, string, pool, bytes, byteCount);
}

VQStatus vqStringDecodeBase64URL(const VQString* string, VQPool* pool, uint8_t** bytes, uint64_t* byteCount) {
  return decodeWide(base64::urlSafe, string, pool, bytes, byteCount);
}

VQStatus vqU8StringDecodeBase64(const VQU8String* string, VQPool* pool, uint8_t** bytes,
                                uint64_t* byteCount) {
  return decodeU8(base64::standard, string, pool, bytes, byteCount);
}

VQStatus vqU8StringDecodeBase64URL(const VQU8String* string, VQPool* pool, uint8_t** bytes,
                                   uint64_t* byteCount) {
  return decodeU8(base64::urlSafe, string, pool, bytes, byteCount);
}

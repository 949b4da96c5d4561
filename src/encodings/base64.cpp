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

// Whole groups in lines, and behind them those that make no line.
template <class Element>
[[gnu::noinline]] void writeLines(const Alphabet& alphabet, const uint8_t* bytes, uint64_t groupCount,
                                  Element* target) {
  const uint64_t lineCount = groupCount / base64::groupsPerLine;
  base64::encodeLines(alphabet, bytes, lineCount, target);
  base64::encodeGroups(alphabet, bytes + 3 * base64::groupsPerLine * lineCount,
                       groupCount % base64::groupsPerLine,
                       target + (4 * base64::groupsPerLine + 1) * lineCount);
}

// The one or two bytes of the last group. Answers its end.
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

  // Writes the encoded form without a terminator. The end comes first: then nothing of it has to be kept over
  // the call that does the work.
  template <class Element>
  void writeTo(Element* target) const {
    const uint64_t groupCount = byteCount / 3, restBytes = byteCount % 3;
    if (restBytes != 0) {
      const uint64_t lineFeeds = isWrapped ? groupCount / base64::groupsPerLine : 0;
      Element* end = writeRest(alphabet, bytes + 3 * groupCount, restBytes, isPadded,
                               target + 4 * groupCount + lineFeeds);
      // A shortened group counts as a whole one on its line.
      if (isWrapped && (groupCount + 1) % base64::groupsPerLine == 0) *end = '\n';
    }
    if (isWrapped) {
      writeLines(alphabet, bytes, groupCount, target);
    } else {
      base64::encodeGroups(alphabet, bytes, groupCount, target);
    }
  }
  // The length for one byte at least.
  uint64_t length() const {
    const uint64_t groupCount = (byteCount + 2) / 3, missing = 3 * groupCount - byteCount;
    const uint64_t lineFeeds = isWrapped ? groupCount / base64::groupsPerLine : 0;
    return 4 * groupCount + lineFeeds - (isPadded ? 0 : missing);
  }
};

// An empty string with room for the encoded form, or null.
VQU8String* createForEncoding(const Encoding& encoding, VQStringService* service, VQPool* pool) {
  int64_t capacity = 0;
  if (encoding.byteCount != 0 && !encodedCapacity(encoding.byteCount, encoding.isWrapped, &capacity)) {
    return nullptr;
  }
  return createSized<U8Kind>(service, pool != nullptr ? pool : service->pool, nullptr, 0,
                             static_cast<uint64_t>(capacity));
}

void fillEncoded(const Encoding& encoding, VQU8String* string) {
  if (encoding.byteCount == 0) return;
  const uint64_t length = encoding.length();
  assert(length <= string->capacity);
  string->length = length;
  string->text[length] = 0;
  encoding.writeTo(string->text);
}

VQStatus encode(const Encoding& encoding, VQStringService* service, VQPool* pool, VQU8String** target) {
  VQU8String* string = createForEncoding(encoding, service, pool);
  if (string == nullptr) return VQSTATUS_NO_MEMORY;
  fillEncoded(encoding, string);
  *target = string;
  return 0;
}

// Makes a string with the wide form at once, or none if that does not do. The front that the host converts is
// the first character, which stands in the alphabet.
VQStatus fillWide(const Encoding& encoding, VQStringService* service, VQPool* pool, VQString** target,
                  bool* isFilled) {
  if (!ensureTarget<WideKind>(service, target, pool != nullptr ? pool : service->pool)) {
    return VQSTATUS_NO_MEMORY;
  }
  const VQStatus status = fillAscii<WideKind>(
      *target, service, &encoding.alphabet.characters[encoding.bytes[0] >> 2], 1, encoding.length(),
      [&](VQChar* text, uint64_t) {
        encoding.writeTo(text);
        return true;
      },
      isFilled);
  if (status == 0 && *isFilled) return 0;
  destroy<WideKind>(*target);
  *target = nullptr;
  return status;
}

VQStatus encodeWide(const Encoding& encoding, VQStringService* service, VQPool* pool, VQString** target) {
  VQU8String* temporary = createForEncoding(encoding, service, pool);
  if (temporary == nullptr) return VQSTATUS_NO_MEMORY;
  *target = nullptr;
  VQStatus status = 0;
  bool isFilled = false;
  if (encoding.byteCount != 0) status = fillWide(encoding, service, pool, target, &isFilled);
  if (status == 0 && !isFilled) {
    fillEncoded(encoding, temporary);
    status = vqStringEncode(service, target, pool, temporary->text, static_cast<int64_t>(temporary->length),
                            ENC_UTF8);
  }
  destroy<U8Kind>(temporary);
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

// The two halves of a conversion and the loop that runs them in turn; between UTF-8 and wide text the kernels
// of the library do both at once, as far as the text is well-formed.
#include "host/conversion.hpp"

#include <unicode/utf16.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "utf/transcode.hpp"

namespace vq::host {

namespace {

bool isDirect(uint32_t encoding) {
  return encoding == ENC_UTF8 || encoding == ENC_WIDE;
}

// The bytes of an ill-formed sequence at the start of a text: the longest beginning of a well-formed one, or
// one byte.
size_t illFormedLength(const uint8_t* bytes, size_t byteCount) {
  const uint8_t lead = bytes[0];
  if (byteCount == 1 || lead < 0xC2 || lead > 0xF4) return 1;
  uint8_t low = 0x80;
  uint8_t high = 0xBF;
  if (lead == 0xE0) low = 0xA0;
  if (lead == 0xED) high = 0x9F;
  if (lead == 0xF0) low = 0x90;
  if (lead == 0xF4) high = 0x8F;
  const size_t whole = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  size_t length = 1;
  for (; length < std::min(whole, byteCount); ++length) {
    if (bytes[length] < low || bytes[length] > high) break;
    low = 0x80;
    high = 0xBF;
  }
  return length;
}

struct Widened {
  size_t unitCount;
  size_t elementCount;
};

// Puts units together to characters, up to the first half of a pair that stands alone.
Widened widen(const char16_t* units, size_t unitCount, VQChar* elements) {
  constexpr size_t block = 16;
  size_t at = 0, made = 0;
  while (at < unitCount) {
    const size_t stop = std::min(unitCount, at + block);
    bool hasHalves = false;
    for (size_t i = at; i < stop; ++i) hasHalves |= U16_IS_SURROGATE(units[i]);
    if (!hasHalves) {
      made = static_cast<size_t>(std::copy(units + at, units + stop, elements + made) - elements);
      at = stop;
    }
    while (at < stop) {
      size_t next = at;
      UChar32 c = 0;
      U16_NEXT(units, next, unitCount, c);
      if (U16_IS_SURROGATE(c)) return {at, made};
      elements[made++] = static_cast<VQChar>(c);
      at = next;
    }
  }
  return {at, made};
}

}  // namespace

Conversion::Conversion(uint32_t source, uint32_t target) noexcept : source_(source), target_(target) {
  if (!isDirect(source_)) decoder_ = ConverterLease(source_);
  if (!isDirect(target_)) encoder_ = ConverterLease(target_);
}

bool Conversion::isReady() const {
  return (isDirect(source_) || decoder_.get() != nullptr) && (isDirect(target_) || encoder_.get() != nullptr);
}

Conversion::Outcome Conversion::push(const uint8_t* source, size_t byteCount, bool isFinal, uint8_t* target,
                                     size_t capacity) noexcept {
  Input input{source, source + byteCount, isFinal};
  Output output{target, target + capacity};
  reported_ = {};
  const VQStatus status = run(input, output);
  return {status, byteCount - input.size(), capacity - output.room(), reported_.offset, reported_.length};
}

VQStatus Conversion::run(Input& input, Output& output) {
  for (;;) {
    if (const VQStatus status = encode(output); status != 0) return status;
    if (found_.status != 0) {
      reported_ = std::exchange(found_, {});
      return reported_.status;
    }
    if (isDirect(source_) && isDirect(target_) && carriedCount_ == 0) convertDirectly(input, output);
    if (input.size() == 0 && !input.isFinal) return 0;
    if (isDrained_) return encodeEnd(output);
    decode(input);
  }
}

size_t Conversion::substitute(uint8_t* target, size_t capacity) noexcept {
  if (capacity < substituteRoom) return 0;
  constexpr UChar candidates[] = {0xFFFD, u'?'};
  if (isDirect(target_)) {
    const VQChar replacement = candidates[0];
    Output output{target, target + capacity};
    putElements(&replacement, 1, output);
    return capacity - output.room();
  }
  for (const UChar& candidate : candidates) {
    auto* to = reinterpret_cast<char*>(target);
    const UChar* from = &candidate;
    UErrorCode error = U_ZERO_ERROR;
    ucnv_fromUnicode(encoder_.get(), &to, to + capacity, &from, &candidate + 1, nullptr, false, &error);
    if (U_SUCCESS(error)) return static_cast<size_t>(to - reinterpret_cast<char*>(target));
  }
  return 0;
}

// ---- from the source to the target at once ----

void Conversion::convertDirectly(Input& input, Output& output) {
  while (input.size() != 0) {
    const Progress moved = convertRun(input, output);
    if (moved.consumed == 0) return;
    input.at += moved.consumed;
    output.at += moved.written;
    position_ += moved.consumed;
  }
}

Conversion::Progress Conversion::convertRun(const Input& input, const Output& output) {
  if (source_ == ENC_UTF8 && target_ == ENC_WIDE) {
    const size_t room = std::min(output.room() / sizeof(VQChar), unitCapacity);
    const transcode::Result made = transcode::utf8ToWide(input.at, input.size(), elements_, room);
    std::memcpy(output.at, elements_, made.written * sizeof(VQChar));
    return {made.consumed, made.written * sizeof(VQChar)};
  }
  if (source_ == ENC_UTF8) {
    // The same bytes, once they are known to be text.
    const size_t byteCount = std::min(input.size(), output.room());
    const size_t length = transcode::utf8ToWide(input.at, byteCount, elements_, unitCapacity).consumed;
    std::memcpy(output.at, input.at, length);
    return {length, length};
  }
  if (target_ == ENC_WIDE) return {0, 0};
  const size_t count = std::min(input.size() / sizeof(VQChar), unitCapacity);
  std::memcpy(elements_, input.at, count * sizeof(VQChar));
  const transcode::Result made = transcode::wideToUtf8(elements_, count, output.at, output.room());
  return {made.consumed * sizeof(VQChar), made.written};
}

// ---- from the source to units ----

void Conversion::decode(Input& input) {
  if (!isDirect(source_)) {
    decodeByIcu(input);
  } else if (carriedCount_ != 0) {
    decodeCarried(input);
  } else {
    decodeDirectly(input);
  }
}

void Conversion::decodeByIcu(Input& input) {
  UErrorCode ignored = U_ZERO_ERROR;
  const auto pending = static_cast<uint64_t>(ucnv_toUCountPending(decoder_.get(), &ignored));
  // Units without an offset come from bytes that ICU had taken in before.
  if (begin_ < count_) {
    // A high surrogate waits for its other half.
    runStart_ = sourceOffset(begin_);
    units_[0] = units_[begin_];
    pieceOffsets_[0] = -1;
    count_ = 1;
  } else {
    runStart_ = isOverflowing_ && count_ != 0 ? sourceOffset(count_ - 1) : position_ - pending;
    count_ = 0;
  }
  begin_ = 0;
  pieceStart_ = position_;

  // ICU's offsets are 32-bit numbers, and not to be relied on in a piece that begins inside a character: that
  // one is completed byte by byte.
  const size_t byteCount = std::min(input.size(), pending != 0 ? size_t{1} : size_t{1} << 30);
  const bool isLast = input.isFinal && byteCount == input.size();
  const auto* piece = reinterpret_cast<const char*>(input.at);
  const char* from = piece;
  UChar* to = units_ + count_;
  UErrorCode error = U_ZERO_ERROR;
  ucnv_toUnicode(decoder_.get(), &to, units_ + unitCapacity, &from, piece + byteCount, pieceOffsets_ + count_,
                 isLast, &error);
  if (pending != 0) std::fill(pieceOffsets_ + count_, pieceOffsets_ + (to - units_), -1);
  count_ = static_cast<size_t>(to - units_);
  input.at += from - piece;
  position_ += static_cast<uint64_t>(from - piece);
  isOverflowing_ = error == U_BUFFER_OVERFLOW_ERROR;
  if (U_FAILURE(error) && !isOverflowing_) {
    char invalid[32];
    int8_t length = sizeof(invalid);
    ignored = U_ZERO_ERROR;
    ucnv_getInvalidChars(decoder_.get(), invalid, &length, &ignored);
    const uint64_t bytes = U_SUCCESS(ignored) && length > 0 ? static_cast<uint64_t>(length) : 1;
    found_ = {error == U_TRUNCATED_CHAR_FOUND ? VQSTATUS_SHORT_SEQUENCE : VQSTATUS_BAD_SEQUENCE,
              position_ - bytes, bytes};
    runEnd_ = found_.offset;
    return;
  }
  runEnd_ = position_ - static_cast<uint64_t>(ucnv_toUCountPending(decoder_.get(), &ignored));
  isDrained_ = isLast && input.size() == 0 && !isOverflowing_;
}

size_t Conversion::decodeRun(const uint8_t* bytes, size_t byteCount, uint64_t offset, VQStatus* status) {
  runStart_ = offset;
  size_t consumed = 0;
  transcode::Result result{};
  if (source_ == ENC_UTF8) {
    result = transcode::utf8ToUtf16(bytes, byteCount, units_, unitCapacity);
    consumed = result.consumed;
  } else {
    // No more than their units have room.
    const size_t count = std::min(byteCount / sizeof(VQChar), unitCapacity / 2);
    std::memcpy(elements_, bytes, count * sizeof(VQChar));
    result = transcode::wideToUtf16(elements_, count, units_, unitCapacity);
    consumed = result.consumed * sizeof(VQChar);
    if (result.status == 0 && byteCount - consumed < sizeof(VQChar) && byteCount != consumed) {
      result.status = VQSTATUS_SHORT_SEQUENCE;
    }
  }
  begin_ = 0;
  count_ = result.written;
  runEnd_ = offset + consumed;
  *status = result.status == VQSTATUS_TARGET_FULL ? 0 : result.status;
  return consumed;
}

void Conversion::decodeDirectly(Input& input) {
  VQStatus status = 0;
  const size_t consumed = decodeRun(input.at, input.size(), position_, &status);
  input.at += consumed;
  position_ += consumed;
  const size_t rest = input.size();
  if (status == 0) {
    isDrained_ = input.isFinal && rest == 0;
    return;
  }
  if (status == VQSTATUS_SHORT_SEQUENCE && !input.isFinal) {
    std::copy(input.at, input.end, carried_);
    carriedCount_ = rest;
    input.at = input.end;
    position_ += rest;
    return;
  }
  size_t length = rest;
  if (status == VQSTATUS_BAD_SEQUENCE)
    length = source_ == ENC_UTF8 ? illFormedLength(input.at, rest) : sizeof(VQChar);
  found_ = {status, position_, length};
  input.at += length;
  position_ += length;
}

// A character that began in an earlier piece takes one byte after the other until it is whole or broken.
void Conversion::decodeCarried(Input& input) {
  const uint64_t start = position_ - carriedCount_;
  for (;;) {
    if (input.at == input.end) {
      if (!input.isFinal) return;
      found_ = {VQSTATUS_SHORT_SEQUENCE, start, carriedCount_};
      break;
    }
    carried_[carriedCount_++] = *input.at++;
    ++position_;
    VQStatus status = 0;
    decodeRun(carried_, carriedCount_, start, &status);
    if (status == 0) break;
    if (status == VQSTATUS_SHORT_SEQUENCE) continue;
    found_ = {status, start, carriedCount_};
    if (source_ == ENC_UTF8) {
      // The byte that broke it begins something else.
      const size_t length = illFormedLength(carried_, carriedCount_);
      const size_t excess = carriedCount_ - length;
      input.at -= excess;
      position_ -= excess;
      found_.length = length;
    }
    break;
  }
  carriedCount_ = 0;
}

// ---- from units to the target ----

uint64_t Conversion::sourceOffset(size_t unit) const {
  if (unit >= count_) return runEnd_;
  if (source_ == ENC_UTF8) return runStart_ + transcode::utf8LengthOfUtf16(units_, unit);
  if (source_ == ENC_WIDE) return runStart_ + transcode::wideLengthOfUtf16(units_, unit) * sizeof(VQChar);
  return pieceOffsets_[unit] < 0 ? runStart_ : pieceStart_ + static_cast<uint64_t>(pieceOffsets_[unit]);
}

VQStatus Conversion::reportUnits(size_t unit, size_t unitCount) {
  const uint64_t offset = sourceOffset(unit);
  reported_ = {VQSTATUS_BAD_SEQUENCE, offset, std::max(sourceOffset(unit + unitCount), offset) - offset};
  return VQSTATUS_BAD_SEQUENCE;
}

VQStatus Conversion::encode(Output& output) {
  const char16_t* end = units_ + count_;
  // The other half comes with the next run, unless what follows is a defect.
  if (begin_ < count_ && U16_IS_LEAD(end[-1]) && found_.status == 0) --end;
  return isDirect(target_) ? encodeDirectly(output, end) : encodeByIcu(output, end, false);
}

VQStatus Conversion::encodeEnd(Output& output) {
  if (begin_ < count_) return reportUnits(begin_++, 1);
  if (isFlushed_ || isDirect(target_)) return 0;
  const VQStatus status = encodeByIcu(output, units_ + count_, true);
  isFlushed_ = status == 0;
  return status;
}

size_t Conversion::putElements(const VQChar* elements, size_t count, Output& output) const {
  if (target_ == ENC_UTF8) {
    const transcode::Result made = transcode::wideToUtf8(elements, count, output.at, output.room());
    output.at += made.written;
    return made.consumed;
  }
  const size_t put = std::min(count, output.room() / sizeof(VQChar));
  std::memcpy(output.at, elements, put * sizeof(VQChar));
  output.at += put * sizeof(VQChar);
  return put;
}

VQStatus Conversion::encodeDirectly(Output& output, const char16_t* end) {
  const auto last = static_cast<size_t>(end - units_);
  const Widened wide = widen(units_ + begin_, last - begin_, elements_);
  const size_t put = putElements(elements_, wide.elementCount, output);
  if (put < wide.elementCount) {
    begin_ += put + static_cast<size_t>(
                        std::count_if(elements_, elements_ + put, [](VQChar c) { return c > 0xFFFF; }));
    return VQSTATUS_TARGET_FULL;
  }
  begin_ += wide.unitCount;
  return begin_ < last ? reportUnits(begin_++, 1) : 0;
}

VQStatus Conversion::encodeByIcu(Output& output, const char16_t* end, bool isFlush) {
  auto* to = reinterpret_cast<char*>(output.at);
  const UChar* from = units_ + begin_;
  UErrorCode error = U_ZERO_ERROR;
  ucnv_fromUnicode(encoder_.get(), &to, reinterpret_cast<char*>(output.end), &from, end, nullptr, isFlush,
                   &error);
  output.at = reinterpret_cast<uint8_t*>(to);
  begin_ = static_cast<size_t>(from - units_);
  if (error == U_BUFFER_OVERFLOW_ERROR) return VQSTATUS_TARGET_FULL;
  if (U_SUCCESS(error)) return 0;
  UChar invalid[16];
  int8_t length = 16;
  UErrorCode ignored = U_ZERO_ERROR;
  ucnv_getInvalidUChars(encoder_.get(), invalid, &length, &ignored);
  const size_t count = std::min(begin_, U_SUCCESS(ignored) ? static_cast<size_t>(length) : size_t{1});
  return reportUnits(begin_ - count, count);
}

}  // namespace vq::host

// The walk over a format: literal text, and one conversion after the other. Numbers have a file of their own.
#include "host/wide_printf.hpp"

#include <cstddef>
#include <cstring>
#include <iterator>

#include "host/printf_parts.hpp"
#include "utf/transcode.hpp"
#include "vqhost.h"

namespace vq::host {

namespace {

// Reads conversions; a format that ends too early, or a number too large for an int, is no conversion.
class Reader {
 public:
  Reader(const VQChar* format, uint64_t length) : next_(format), end_(format + length) {}

  bool isAtEnd() const { return next_ == end_; }

  // Writes literal text and small numbers, %d with a width of one digit at most, perhaps filled with zeros:
  // that is what dates are made of, and most formats. Everything is held in registers meanwhile. Stops at the
  // first conversion of another kind, and where there might be no room.
  void writeSimplePart(WideOutput& out, Arguments& arguments) {
    const VQChar* format = next_;
    VQChar* target = out.next();
    VQChar* const last = target + out.room();
    // Room for the widest, and for a sign.
    constexpr std::ptrdiff_t widest = 10;
    while (format != end_ && last - target >= widest) {
      if (*format != '%') {
        *target++ = *format++;
        continue;
      }
      const VQChar* ahead = format + 1;
      const bool hasZeros = ahead != end_ && *ahead == '0';
      if (hasZeros) ++ahead;
      std::ptrdiff_t width = 0;
      if (ahead != end_ && *ahead >= '1' && *ahead <= '9')
        width = static_cast<std::ptrdiff_t>(*ahead++ - '0');
      if (ahead == end_ || *ahead != 'd') break;
      format = ahead + 1;
      const int value = va_arg(arguments.list, int);
      const VQChar filler = hasZeros ? '0' : ' ';
      if (value < 0 || value > 9999) {
        out.advance(static_cast<uint64_t>(target - out.next()), 0);
        const auto wide = static_cast<int64_t>(value);
        putDecimal(out, static_cast<uint64_t>(wide < 0 ? -wide : wide), wide < 0 ? '-' : '\0',
                   static_cast<uint64_t>(width), filler);
        target = out.next();
        continue;
      }
      const auto number = static_cast<unsigned>(value);
      // How many digits a number has is anybody's guess, so the two of dates are written without asking.
      if (hasZeros && width == 2 && number < 100) {
        *target++ = digitPairs.pairs[number].tens;
        *target++ = digitPairs.pairs[number].ones;
        continue;
      }
      const std::ptrdiff_t digits = number < 10 ? 1 : number < 100 ? 2 : number < 1000 ? 3 : 4;
      for (; width > digits; --width) *target++ = filler;
      const DigitPair high = digitPairs.pairs[number / 100], low = digitPairs.pairs[number % 100];
      if (digits > 3) *target++ = high.tens;
      if (digits > 2) *target++ = high.ones;
      if (digits > 1) *target++ = low.tens;
      *target++ = low.ones;
    }
    next_ = format;
    out.advance(static_cast<uint64_t>(target - out.next()), 0);
  }

  // The text up to the next percent sign.
  void writeLiteral(WideOutput& out) {
    for (; next_ != end_ && *next_ != '%'; ++next_) out.put(*next_);
  }

  // The conversion at the percent sign where the reader stands.
  bool read(Conversion& conversion, Arguments& arguments) {
    ++next_;
    readFlags(conversion);
    int64_t width = 0;
    if (!readCount(width, arguments)) return false;
    if (width < 0) {
      conversion.isLeft = true;
      width = -width;
    }
    conversion.width = width;
    if (next_ != end_ && *next_ == '.') {
      ++next_;
      conversion.precision = 0;
      if (!readCount(conversion.precision, arguments)) return false;
      if (conversion.precision < 0) conversion.precision = -1;
    }
    readSize(conversion);
    if (next_ == end_ || *next_ >= 0x80) return false;
    conversion.letter = static_cast<char>(*next_++);
    return true;
  }

 private:
  void readFlags(Conversion& conversion) {
    for (; next_ != end_; ++next_) {
      switch (*next_) {
        case '-':
          conversion.isLeft = true;
          break;
        case '+':
          conversion.hasPlus = true;
          break;
        case ' ':
          conversion.hasBlank = true;
          break;
        case '#':
          conversion.isAlternate = true;
          break;
        case '0':
          conversion.hasZeros = true;
          break;
        default:
          return;
      }
    }
  }

  // A number or a star; `count` stays as it is when there is neither.
  bool readCount(int64_t& count, Arguments& arguments) {
    if (next_ != end_ && *next_ == '*') {
      ++next_;
      count = va_arg(arguments.list, int);
      return true;
    }
    int64_t number = 0;
    for (; next_ != end_ && *next_ >= '0' && *next_ <= '9'; ++next_) {
      number = number * 10 + static_cast<int64_t>(*next_ - '0');
      if (number > INT32_MAX) return false;
    }
    if (number != 0) count = number;
    return true;
  }

  bool take(VQChar letter) {
    if (next_ == end_ || *next_ != letter) return false;
    ++next_;
    return true;
  }

  void readSize(Conversion& conversion) {
    if (take('l')) {
      conversion.size = take('l') ? ArgumentSize::ll : ArgumentSize::l;
    } else if (take('h')) {
      conversion.size = take('h') ? ArgumentSize::hh : ArgumentSize::h;
    } else if (take('j')) {
      conversion.size = ArgumentSize::j;
    } else if (take('z')) {
      conversion.size = ArgumentSize::z;
    } else if (take('t')) {
      conversion.size = ArgumentSize::t;
    } else if (take('L')) {
      conversion.size = ArgumentSize::L;
    }
  }

  const VQChar* next_;
  const VQChar* end_;
};

// Text of `count` elements between the blanks that the width asks for.
template <class Write>
void putPadded(WideOutput& out, const Conversion& conversion, uint64_t count, Write write) {
  const auto width = static_cast<uint64_t>(conversion.width);
  const uint64_t padding = width > count ? width - count : 0;
  if (!conversion.isLeft) out.fill(' ', padding);
  write();
  if (conversion.isLeft) out.fill(' ', padding);
}

// The precision bounds what is read: a text that it cuts short needs no terminator.
void putWideText(WideOutput& out, const Conversion& conversion, const VQChar* text) {
  const auto limit = static_cast<uint64_t>(conversion.precision);
  uint64_t count = 0;
  while (count < limit && text[count] != 0) ++count;
  putPadded(out, conversion, count, [&] { out.append(text, count); });
}

VQStatus putUtf8Text(WideOutput& out, const Conversion& conversion, const char* text) {
  uint64_t byteCount = 0;
  if (conversion.precision < 0) {
    byteCount = std::strlen(text);
  } else {
    // Up to the byte that begins one character too many.
    auto left = static_cast<uint64_t>(conversion.precision);
    for (; text[byteCount] != 0; ++byteCount) {
      const bool continues = (static_cast<unsigned char>(text[byteCount]) & 0xC0) == 0x80;
      if (!continues && left-- == 0) break;
    }
  }
  const auto* bytes = reinterpret_cast<const uint8_t*>(text);
  const uint64_t count = transcode::wideLengthOfUtf8(bytes, byteCount);
  VQStatus status = 0;
  putPadded(out, conversion, count, [&] {
    transcode::Result result = transcode::utf8ToWide(bytes, byteCount, out.next(), out.room());
    out.advance(result.written, count - result.written);
    // What has no room is judged all the same: measuring must not promise a text that there is none of.
    while (result.status == VQSTATUS_TARGET_FULL) {
      bytes += result.consumed;
      byteCount -= result.consumed;
      VQChar judged[64];
      result = transcode::utf8ToWide(bytes, byteCount, judged, std::size(judged));
    }
    status = result.status;
  });
  return status;
}

VQStatus putText(WideOutput& out, const Conversion& conversion, Arguments& arguments) {
  const bool isWide = conversion.letter == 'S' || conversion.size == ArgumentSize::l;
  const void* text = va_arg(arguments.list, const void*);
  if (text == nullptr) {
    putWideText(out, conversion, U"(null)");
    return 0;
  }
  if (!isWide) return putUtf8Text(out, conversion, static_cast<const char*>(text));
  putWideText(out, conversion, static_cast<const VQChar*>(text));
  return 0;
}

void putPointer(WideOutput& out, const Conversion& conversion, Arguments& arguments) {
  const auto address = reinterpret_cast<uintptr_t>(va_arg(arguments.list, void*));
  constexpr std::string_view nothing = "(nil)";
  if (address == 0) {
    putPadded(out, conversion, nothing.size(), [&] { out.append(nothing); });
    return;
  }
  char digits[2 * sizeof address];
  size_t first = sizeof digits;
  for (uintptr_t rest = address; rest != 0; rest >>= 4) digits[--first] = "0123456789abcdef"[rest & 0xF];
  NumberPieces pieces;
  pieces.prefix = "0x";
  pieces.digits = {digits + first, sizeof digits - first};
  putNumber(out, conversion, pieces);
}

// Which sizes go with a letter; a mask of ArgumentSize.
constexpr uint32_t with(ArgumentSize size) {
  return 1u << static_cast<unsigned>(size);
}
constexpr uint32_t integerSizes = with(ArgumentSize::L) - 1;
constexpr uint32_t floatSizes = with(ArgumentSize::plain) | with(ArgumentSize::l) | with(ArgumentSize::L);

VQStatus put(WideOutput& out, const Conversion& conversion, Arguments& arguments) {
  const auto takes = [&](uint32_t sizes) { return (sizes & with(conversion.size)) != 0; };
  switch (conversion.letter) {
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X':
      if (!takes(integerSizes)) break;
      putInteger(out, conversion, arguments);
      return 0;
    case 'f':
    case 'e':
    case 'g':
    case 'a':
    case 'F':
    case 'E':
    case 'G':
    case 'A':
      if (!takes(floatSizes)) break;
      putFloat(out, conversion, arguments);
      return 0;
    case 'c':
      if (!takes(with(ArgumentSize::plain) | with(ArgumentSize::l))) break;
      putPadded(out, conversion, 1, [&] { out.put(static_cast<VQChar>(va_arg(arguments.list, int))); });
      return 0;
    case 's':
      if (!takes(with(ArgumentSize::plain) | with(ArgumentSize::h) | with(ArgumentSize::l))) break;
      return putText(out, conversion, arguments);
    case 'S':
      if (!takes(with(ArgumentSize::plain))) break;
      return putText(out, conversion, arguments);
    case 'p':
      if (!takes(with(ArgumentSize::plain))) break;
      putPointer(out, conversion, arguments);
      return 0;
    default:
      break;
  }
  return VQHOST_STATUS_FORMAT;
}

}  // namespace

VQStatus formatWide(const VQChar* format, uint64_t formatLength, VQChar* buffer, int64_t capacity,
                    int64_t* length, va_list list) {
  WideOutput out(buffer, capacity > 0 ? static_cast<uint64_t>(capacity) : 0);
  Reader reader(format, formatLength);
  Arguments arguments;
  va_copy(arguments.list, list);
  VQStatus status = 0;
  while (status == 0) {
    reader.writeSimplePart(out, arguments);
    reader.writeLiteral(out);
    if (reader.isAtEnd()) break;
    Conversion conversion;
    if (!reader.read(conversion, arguments)) {
      status = VQHOST_STATUS_FORMAT;
    } else if (conversion.letter == '%') {
      out.put('%');
    } else {
      status = put(out, conversion, arguments);
    }
  }
  va_end(arguments.list);
  if (status != 0) return status;
  *length = static_cast<int64_t>(out.length());
  return out.isFull() ? VQSTATUS_RETRY_LARGER : 0;
}

}  // namespace vq::host

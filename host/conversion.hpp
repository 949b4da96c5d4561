// One conversion between two encodings, fed piece by piece.
//
// The pivot is UTF-16, which is what ICU's converters speak: a decoder fills a small buffer of units, an
// encoder empties it. UTF-8 and wide text have legs of their own on both sides, and between the two nothing
// but what is broken or cut takes the way over units. Every unit can be traced back to the source byte that
// its character began at, so that what cannot be converted is reported by its place.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/icu_converters.hpp"
#include "vqstring/base.h"

namespace vq::host {

class Conversion {
 public:
  Conversion(uint32_t source, uint32_t target) noexcept;

  // False when ICU has no converter for one of the sides.
  bool isReady() const;

  struct Outcome {
    // 0: all of the piece is taken in. VQSTATUS_TARGET_FULL: go on with more room. VQSTATUS_BAD_SEQUENCE,
    // VQSTATUS_SHORT_SEQUENCE: `length` bytes at `offset` of the whole source cannot be converted; all before
    // them is written, and the next piece goes on behind them.
    VQStatus status = 0;
    size_t consumed = 0;
    size_t written = 0;
    uint64_t offset = 0;
    uint64_t length = 0;
  };
  // With `isFinal` the source ends behind this piece; a character that is cut by the end of any other piece
  // is kept for the next.
  Outcome push(const uint8_t* source, size_t byteCount, bool isFinal, uint8_t* target,
               size_t capacity) noexcept;

  // Writes U+FFFD, or a question mark where the target has none; 0 when `capacity` is below substituteRoom.
  static constexpr size_t substituteRoom = 16;
  size_t substitute(uint8_t* target, size_t capacity) noexcept;

 private:
  struct Defect {
    VQStatus status = 0;
    uint64_t offset = 0;
    uint64_t length = 0;
  };
  struct Input {
    const uint8_t* at;
    const uint8_t* end;
    bool isFinal;
    size_t size() const { return static_cast<size_t>(end - at); }
  };
  struct Output {
    uint8_t* at;
    uint8_t* end;
    size_t room() const { return static_cast<size_t>(end - at); }
  };

  struct Progress {
    size_t consumed;
    size_t written;
  };

  VQStatus run(Input& input, Output& output);

  // Between texts that both have legs of their own, with no unit waiting: stops in front of what is not
  // well-formed, not whole or without room, which goes by way of the units.
  void convertDirectly(Input& input, Output& output);
  Progress convertRun(const Input& input, const Output& output);

  // Each fills the units; `isDrained_` tells that a final piece has come to its end.
  void decode(Input& input);
  void decodeByIcu(Input& input);
  void decodeDirectly(Input& input);
  void decodeCarried(Input& input);
  // Decodes whole characters from bytes that begin at `offset` of the source; answers the bytes consumed.
  size_t decodeRun(const uint8_t* bytes, size_t byteCount, uint64_t offset, VQStatus* status);

  // These answer 0, VQSTATUS_TARGET_FULL, or the status of the defect that they report.
  VQStatus encode(Output& output);
  VQStatus encodeEnd(Output& output);
  VQStatus encodeByIcu(Output& output, const char16_t* end, bool isFlush);
  VQStatus encodeDirectly(Output& output, const char16_t* end);
  // Puts scalar values as far as there is room, to UTF-8 or wide text, and answers how many.
  size_t putElements(const VQChar* elements, size_t count, Output& output) const;
  VQStatus reportUnits(size_t unit, size_t unitCount);
  uint64_t sourceOffset(size_t unit) const;

  static constexpr size_t unitCapacity = 1024;

  const uint32_t source_;
  const uint32_t target_;
  ConverterLease decoder_;
  ConverterLease encoder_;

  char16_t units_[unitCapacity];
  // Wide text for the kernels: in a stream of bytes it may lie anywhere.
  VQChar elements_[unitCapacity];
  // ICU's account: the offset of every unit within the piece it came from, -1 for bytes before the piece.
  int32_t pieceOffsets_[unitCapacity];
  size_t begin_ = 0;
  size_t count_ = 0;
  // Offsets in the whole source: of the first unit, of the piece that the units came from, of the end.
  uint64_t runStart_ = 0;
  uint64_t pieceStart_ = 0;
  uint64_t runEnd_ = 0;
  bool isOverflowing_ = false;
  // Source bytes taken in so far.
  uint64_t position_ = 0;
  uint8_t carried_[4];
  size_t carriedCount_ = 0;
  bool isDrained_ = false;
  bool isFlushed_ = false;
  // Found in the source behind the units that are waiting.
  Defect found_;
  Defect reported_;
};

}  // namespace vq::host

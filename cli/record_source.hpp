// Input as records: the values that a command works on, one a line or, with -0, one between NUL characters.
//
// Files are read in blocks of whole records, so memory stays bounded by the block size and the longest
// record. A block knows where it stands in its file, so that blocks can be handed to threads. Lines are found
// in the encoding of the input: the separator is what the newline is in that encoding, at the right
// alignment. One carriage return before a newline belongs to the line's end.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "input_file.hpp"
#include "session.hpp"

namespace vqs {

// How records are told apart in an encoding.
struct RecordFormat {
  // What the records come in. UTF-16 and UTF-32 of either order come with the high byte first: the source
  // turns files round whose mark says so.
  uint32_t encoding = ENC_UTF8;
  // In the encoding of the input: 1, 2 or 4 bytes.
  std::string separator = "\n";
  // What one separator may have before it; empty for NUL-separated input.
  std::string carriageReturn = "\r";
  // Skipped at the start of a file; empty when the encoding has none.
  std::string byteOrderMark;
  // The mark of a file in the other order; empty when the order is given.
  std::string foreignMark;
};

// The format for an encoding by number; `isNulSeparated` for -0.
RecordFormat recordFormat(Session& session, uint32_t encoding, bool isNulSeparated);

// `bytes` begin at a multiple of the separator's width in their file.
uint64_t countSeparators(std::string_view bytes, const RecordFormat& format);

struct Record {
  std::string_view bytes;
  // From 1.
  uint64_t line;
  // Of the first byte in its file, from 0.
  uint64_t offset;
};

// Whole records of one file.
struct RecordBlock {
  size_t fileIndex = 0;
  uint64_t firstLine = 1;
  uint64_t offset = 0;
  std::string bytes;
};

class RecordSource {
 public:
  // Small enough that many blocks are at work at once in a few megabytes, large enough that the work on a
  // block outweighs handing it round.
  static constexpr size_t blockBytes = 256 * 1024;

  // `files` by path, "-" and an empty list standing for standard input. Not found is told by next().
  RecordSource(std::vector<std::string> files, RecordFormat format);

  // Fills `block` with the next records; false at the end. InputOutputFailure when a file cannot be read.
  // One thread at a time.
  bool next(RecordBlock& block);

  // The name to show.
  const std::string& fileName(size_t index) const { return files_[index]; }
  const RecordFormat& format() const { return format_; }
  uint64_t bytesTotal() const { return bytesOfFiles(files_); }
  // The input comes from a pipe or a terminal, where somebody may be waiting for each answer: blocks then end
  // where the writer paused.
  bool isLive() const { return isLive_; }

 private:
  bool openNext();
  size_t readInto(std::string& bytes, size_t end, bool& isAtEnd);
  void turnUnits(std::string& bytes, size_t from, size_t end) const;
  size_t endOfLastRecord(std::string_view bytes, size_t from) const;

  std::vector<std::string> files_;
  RecordFormat format_;
  size_t nextFile_ = 0;
  std::optional<InputFile> file_;
  std::atomic<bool> isLive_ = false;
  bool isTurned_ = false;
  uint64_t line_ = 1;
  uint64_t offset_ = 0;
  // The beginning of a record whose end has not been read.
  std::string carry_;
};

// Takes the records of a block apart, in order.
class RecordWalk {
 public:
  RecordWalk(const RecordBlock& block, const RecordFormat& format)
      : rest_(block.bytes), format_(format), line_(block.firstLine), offset_(block.offset) {}
  // False behind the last record.
  bool next(Record& record);

 private:
  std::string_view rest_;
  const RecordFormat& format_;
  uint64_t line_;
  uint64_t offset_;
};

}  // namespace vqs

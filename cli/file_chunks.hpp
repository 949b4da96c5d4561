// A file as chunks of bytes, for commands that work on whole files in bounded memory: what a command cannot
// use yet it leaves for the next chunk.
#pragma once

#include <string>
#include <string_view>

#include "input_file.hpp"

namespace vqs {

class FileChunks {
 public:
  explicit FileChunks(const std::string& path) : file_(path) {}

  // Reads on; false when nothing is left to do. The chunk is full or the last one.
  bool next() {
    if (isLast_) return false;
    offset_ += taken_;
    bytes_.erase(0, taken_);
    taken_ = bytes_.size();
    size_t size = bytes_.size();
    bytes_.resize(size + chunkBytes);
    while (size < bytes_.size()) {
      const size_t count = file_.read(bytes_.data() + size, bytes_.size() - size);
      if (count == 0) {
        isLast_ = true;
        break;
      }
      size += count;
    }
    bytes_.resize(size);
    taken_ = size;
    return true;
  }
  std::string_view bytes() const { return bytes_; }
  // Of the first byte in the file.
  uint64_t offset() const { return offset_; }
  bool isLast() const { return isLast_; }
  // Only the first `count` bytes are done with.
  void take(size_t count) { taken_ = count; }

 private:
  // A multiple of a line of Base64 and of what it stands for, 76 and 57 bytes.
  static constexpr size_t chunkBytes = 228 * 288;

  InputFile file_;
  std::string bytes_;
  uint64_t offset_ = 0;
  size_t taken_ = 0;
  bool isLast_ = false;
};

}  // namespace vqs

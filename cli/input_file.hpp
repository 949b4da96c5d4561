// A file or standard input, read by its descriptor.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vqs {

class InputFile {
 public:
  // "-" is standard input. InputOutputFailure when the file cannot be opened.
  explicit InputFile(const std::string& path);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // What is there, at most `room` bytes; 0 at the end alone. InputOutputFailure when reading fails.
  size_t read(char* target, size_t room);
  // Not a regular file: somebody may be waiting for each answer.
  bool isLive() const { return isLive_; }

 private:
  std::string path_;
  int descriptor_;
  bool isLive_ = false;
};

// Bytes of all files; 0 when not all are regular files.
uint64_t bytesOfFiles(const std::vector<std::string>& paths);

}  // namespace vqs

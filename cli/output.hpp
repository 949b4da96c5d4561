// Where results go: a file descriptor with a buffer, whose faults are never lost. A full disk is an
// InputOutputFailure; a reader that went away, as head does, is OutputClosed and ends the run without a word.
#pragma once

#include <string>
#include <string_view>

namespace vqs {

class Output {
 public:
  // `name` is for messages. The descriptor is not closed.
  Output(int descriptor, std::string name) : descriptor_(descriptor), name_(std::move(name)) {}
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  void write(std::string_view bytes);
  // What is not flushed at the end is lost: the last flush must be able to fail.
  void flush();

 private:
  void writeThrough(std::string_view bytes);

  int descriptor_;
  std::string name_;
  std::string buffer_;
};

}  // namespace vqs

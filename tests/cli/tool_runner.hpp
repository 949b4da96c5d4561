// Runs the built tool as a user would: arguments or a line of shell, standard input, and what came of it.
#pragma once

#include <string>
#include <vector>

namespace cli_test {

struct Outcome {
  int exitCode;
  std::string out;
  std::string err;
  // The most memory that the process held at once, in KiB.
  long peakKib;
};

// A sanitizer keeps freed memory back, which says nothing about the tool.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool peakIsTheToolsOwn = false;
#else
constexpr bool peakIsTheToolsOwn = true;
#endif

Outcome runTool(std::vector<std::string> arguments, const std::string& input = "");
// `script` finds the tool as $VQS.
Outcome runShell(const std::string& script, const std::string& input = "");

// A file that goes with the test.
class ScratchFile {
 public:
  explicit ScratchFile(const std::string& contents = "");
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  const std::string& path() const { return path_; }
  std::string contents() const;

 private:
  std::string path_;
};

}  // namespace cli_test

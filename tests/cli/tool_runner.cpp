#include "tool_runner.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace cli_test {
namespace {

// Standard streams are files, so nothing can wait for anything.
Outcome run(std::vector<std::string> arguments, const std::string& input) {
  const ScratchFile in(input), out, err;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, in.path().c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out.path().c_str(), O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, err.path().c_str(), O_WRONLY, 0);
  std::vector<char*> words;
  for (std::string& argument : arguments) words.push_back(argument.data());
  words.push_back(nullptr);
  pid_t process = 0;
  const int failure = posix_spawn(&process, words[0], &actions, nullptr, words.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failure) return {-1, "", "cannot be started", 0};
  int status = 0;
  rusage usage{};
  wait4(process, &status, 0, &usage);
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return {code, out.contents(), err.contents(), usage.ru_maxrss};
}

}  // namespace

Outcome runTool(std::vector<std::string> arguments, const std::string& input) {
  arguments.insert(arguments.begin(), VQS_PROGRAM);
  return run(std::move(arguments), input);
}

Outcome runShell(const std::string& script, const std::string& input) {
  return run({"/bin/sh", "-c", "VQS='" VQS_PROGRAM "'; " + script}, input);
}

ScratchFile::ScratchFile(const std::string& contents) {
  const char* folder = std::getenv("TMPDIR");
  path_ = std::string(folder ? folder : "/tmp") + "/vqs-test-XXXXXX";
  const int descriptor = mkstemp(path_.data());
  if (descriptor >= 0) ::close(descriptor);
  std::ofstream(path_, std::ios::binary) << contents;
}

ScratchFile::~ScratchFile() {
  ::unlink(path_.c_str());
}

std::string ScratchFile::contents() const {
  std::ifstream file(path_, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace cli_test

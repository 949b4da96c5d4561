// What a family of commands is to the tool: a function that adds its subcommands to the argument parser and
// leaves the answer in the session. main.cpp lists the families; each lives in files of its own.
//
//   void addGreet(CLI::App& app, Session& session) {
//     CLI::App* command = app.add_subcommand("greet", "Say hello");
//     command->final_callback([&session] { session.exitCode = greet(session); });
//   }
//
// A command that cannot go on throws a Failure; main says it and ends with its exit code.
#pragma once

#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace vqs {

class Session;

// What the tool ends with. Scripts rely on these numbers.
enum ExitCode : int {
  ExitFine = 0,
  ExitFindings = 1,     // a value was rejected or ill-formed
  ExitUsage = 2,        // wrong arguments, or a constraint that does not compile
  ExitInputOutput = 3,  // a file or a pipe that cannot be read or written, or the service does not start
};

class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), exitCode(code) {}
  const ExitCode exitCode;
};

struct UsageFailure : Failure {
  explicit UsageFailure(const std::string& message) : Failure(ExitUsage, message) {}
};

struct InputOutputFailure : Failure {
  explicit InputOutputFailure(const std::string& message) : Failure(ExitInputOutput, message) {}
};

// The reader of our output has gone away, which is no fault worth a word.
struct OutputClosed {};

void addBase64(CLI::App& app, Session& session);
void addCheck(CLI::App& app, Session& session);
void addCompare(CLI::App& app, Session& session);
void addConvert(CLI::App& app, Session& session);
void addEncodings(CLI::App& app, Session& session);
void addFind(CLI::App& app, Session& session);
void addName(CLI::App& app, Session& session);
void addReplace(CLI::App& app, Session& session);
void addSummaryCommand(CLI::App& app, Session& session);
void addTokens(CLI::App& app, Session& session);
void addTrim(CLI::App& app, Session& session);
void addUrl(CLI::App& app, Session& session);

}  // namespace vqs

// The command line: arguments to a family of commands, failures to a sentence and an exit code.
#include <csignal>
#include <cstdio>

#include <CLI/CLI.hpp>

#include "command.hpp"
#include "escape.hpp"
#include "help_formatter.hpp"
#include "session.hpp"

namespace {

// One a line and in the order of --help, so that a new family is a new line.
constexpr auto families = {
    vqs::addCheck,           //
    vqs::addSummaryCommand,  //
    vqs::addFind,            //
    vqs::addReplace,         //
    vqs::addTrim,            //
    vqs::addTokens,          //
    vqs::addCompare,         //
    vqs::addConvert,         //
    vqs::addUrl,             //
    vqs::addBase64,          //
    vqs::addName,            //
    vqs::addRender,          //
    vqs::addFormat,          //
    vqs::addStatus,          //
    vqs::addEncodings,       //
};

const char* const introduction =
    "Checks, converts and rewrites text by way of the vqstring service.\n"
    "Start with:  printf 'hello\\n<script>\\n' | vqs check\n"
    "Then:        vqs check --help";

const char* const exitCodes =
    "Exit codes: 0 all fine, 1 findings, 2 wrong usage or a constraint that does not compile,\n"
    "3 input or output error.";

std::string versionText() {
  VQStamp stamp{};
  vqstamp1(&stamp);
  uint64_t major = 0, minor = 0, patch = 0;
  vqStringGetVersion(nullptr, &major, &minor, &patch);
  return "vqs " VQS_VERSION "\nlibvqstring " + std::to_string(major) + "." + std::to_string(minor) + "." +
         std::to_string(patch) + ", built " + stamp.buildDate;
}

int run(CLI::App& app, vqs::Session& session, int argc, char** argv) {
  try {
    const auto isCalled = [argv](const CLI::App* command) { return command->check_name(argv[1]); };
    if (argc > 1 && argv[1][0] != '-' && app.get_subcommands(isCalled).empty())
      throw vqs::UsageFailure("no command is called \"" + std::string(argv[1]) + "\"; vqs --help lists them");
    app.parse(argc, argv);
    session.out.flush();
    return session.exitCode;
  } catch (const CLI::Success& success) {
    return app.exit(success);
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "vqs: %s\n", vqs::escapedUtf8(error.what()).c_str());
    std::fprintf(stderr, "Try: vqs --help, or vqs COMMAND --help\n");
    return vqs::ExitUsage;
  } catch (const vqs::Failure& failure) {
    std::fprintf(stderr, "vqs: %s\n", vqs::escapedUtf8(failure.what()).c_str());
    return failure.exitCode;
  } catch (const vqs::OutputClosed&) {
    return vqs::ExitInputOutput;
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "vqs: out of memory\n");
    return vqs::ExitInputOutput;
  }
}

}  // namespace

int main(int argc, char** argv) {
  // A write to a closed pipe comes back as an error, so that everything is given back on the way out.
  std::signal(SIGPIPE, SIG_IGN);
  CLI::App app{introduction, "vqs"};
  app.formatter(std::make_shared<vqs::HelpFormatter>());
  app.set_version_flag("--version", versionText);
  app.set_help_all_flag("--help-all", "Print the help of every command");
  app.footer(exitCodes);
  app.require_subcommand(1);
  vqs::Session session;
  for (auto add : families) add(app, session);
  return run(app, session, argc, argv);
}

// vqs name: the host's named values, as the string service hands them out.
#include <cstdio>
#include <memory>

#include <CLI/CLI.hpp>

#include "escape.hpp"
#include "session.hpp"

namespace vqs {
namespace {

struct NameOptions {
  std::vector<std::string> names;
  std::vector<std::string> settings;
  bool isNulSeparated = false;
};

const char* const explanation =
    "Print named values, one a line. A fresh kernel knows none: --set gives it some, as a program that "
    "embeds "
    "the service does.";

using WideText = InstancePointer<VQString>;

// A word of the command line as wide text.
WideText wideText(Session& session, std::string_view word) {
  VQString* made = nullptr;
  if (VQStatus status = vqStringEncode(session.service(), &made, session.pool(), word.data(),
                                       static_cast<int64_t>(word.size()), ENC_UTF8))
    throw UsageFailure("\"" + std::string(word) + "\": " + session.statusText(status));
  return WideText(made);
}

void setValue(Session& session, const std::string& setting) {
  const size_t sign = setting.find('=');
  if (sign == std::string::npos) throw UsageFailure("--set wants NAME=VALUE, not \"" + setting + "\"");
  const WideText name = wideText(session, std::string_view(setting).substr(0, sign));
  const WideText value = wideText(session, std::string_view(setting).substr(sign + 1));
  if (VQStatus status =
          vqhostSetNamedValue(session.kernel(), name->text, name->length, value->text, value->length))
    throw InputOutputFailure("\"" + setting + "\": " + session.statusText(status));
}

int printValues(Session& session, const NameOptions& options) {
  for (const std::string& setting : options.settings) setValue(session, setting);
  int exitCode = ExitFine;
  for (const std::string& word : options.names) {
    const WideText name = wideText(session, word);
    VQU8String* made = nullptr;
    const VQStatus status =
        vqU8StringGetVQName(session.service(), session.pool(), name->text, name->length, &made);
    const InstancePointer<VQU8String> value(made);
    if (status == VQSTATUS_NAME_NOT_FOUND) {
      std::fprintf(stderr, "vqs: %s: %s\n", escapedUtf8(word).c_str(), session.statusText(status).c_str());
      exitCode = ExitFindings;
      continue;
    }
    if (status != 0) throw InputOutputFailure(word + ": " + session.statusText(status));
    session.out.write({value->text, value->length});
    session.out.write(options.isNulSeparated ? std::string_view("\0", 1) : "\n");
  }
  return exitCode;
}

}  // namespace

void addName(CLI::App& app, Session& session) {
  CLI::App* command = app.add_subcommand("name", "Print named values");
  command->description(explanation);
  command->footer(
      "Example:\n  vqs name --set greeting=hello greeting\n"
      "Exit codes: 0 all found, 1 a name without a value, 2 wrong usage, 3 input or output error.");
  auto options = std::make_shared<NameOptions>();
  command->add_option("NAME", options->names, "Names to look up")->type_name("")->required();
  command->add_option("-s,--set", options->settings, "Set a value first; may be repeated")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
  command->add_flag("-0,--null", options->isNulSeparated, "End each value with a NUL character");
  command->final_callback([&session, options] { session.exitCode = printValues(session, *options); });
}

}  // namespace vqs

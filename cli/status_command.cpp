// vqs status: what a status code means.
#include <charconv>
#include <memory>

#include <CLI/CLI.hpp>

#include "session.hpp"

namespace vqs {
namespace {

struct StatusOptions {
  std::vector<std::string> codes;
};

VQStatus codeOf(const std::string& text) {
  const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
  const char* first = text.data() + (isHexadecimal ? 2 : 0);
  const char* end = text.data() + text.size();
  VQStatus code = 0;
  const auto [next, error] = std::from_chars(first, end, code, isHexadecimal ? 16 : 10);
  if (error != std::errc() || next != end || first == end)
    throw UsageFailure("\"" + text + "\" is no status code, such as 0x803fc002");
  return code;
}

int tell(Session& session, const StatusOptions& options) {
  std::vector<VQStatus> codes;
  for (const std::string& text : options.codes) codes.push_back(codeOf(text));
  VQStringService* service = session.service();
  int exitCode = ExitFine;
  for (const VQStatus code : codes) {
    VQString* message = nullptr;
    if (const VQStatus status = service->vqStringWithStatus(service, &message, session.pool(), nullptr, code))
      throw InputOutputFailure(session.statusText(status));
    const InstancePointer<VQString> held(message);
    if (message->length == 0) exitCode = ExitFindings;
    session.out.write(session.statusText(code) + "\n");
  }
  return exitCode;
}

}  // namespace

void addStatus(CLI::App& app, Session& session) {
  auto options = std::make_shared<StatusOptions>();
  CLI::App* command = app.add_subcommand("status", "Tell what a status code means");
  command->footer(
      "Examples:\n"
      "  vqs status 0x803fe808\n"
      "Exit codes: 0 all fine, 1 a code without a text, 2 wrong usage, 3 output error.");
  command->add_option("CODE", options->codes, "Status codes, hexadecimal behind 0x")->required();
  command->final_callback([&session, options] { session.exitCode = tell(session, *options); });
}

}  // namespace vqs

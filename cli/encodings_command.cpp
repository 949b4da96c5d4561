// vqs encodings: what the host can convert.
#include <cstdio>

#include <CLI/CLI.hpp>

#include "session.hpp"

namespace vqs {
namespace {

const char* className(uint32_t encodingClass) {
  switch (encodingClass) {
    case 0: return "single byte";
    case 1: return "multi-byte, extends ASCII";
    default: return "other";
  }
}

int listEncodings(Session& session, bool withHeading) {
  if (withHeading) session.out.write("number  name              class                      other names\n");
  for (uint32_t index = 0; const VQHostEncoding* encoding = vqhostEncodingAt(index); ++index) {
    char columns[128];
    std::snprintf(columns, sizeof columns, "%6u  %-16s  %-25s", encoding->number, encoding->name,
                  className(encoding->encodingClass));
    session.out.write(columns);
    for (const char* const* alias = encoding->aliases; alias && *alias; ++alias) {
      session.out.write(alias == encoding->aliases ? "  " : ", ");
      session.out.write(*alias);
    }
    session.out.write("\n");
  }
  return ExitFine;
}

}  // namespace

void addEncodings(CLI::App& app, Session& session) {
  CLI::App* command = app.add_subcommand("encodings", "List the encodings by number, name and class");
  auto noHeading = std::make_shared<bool>(false);
  command->add_flag("--no-heading", *noHeading, "Leave the first line out");
  command->final_callback(
      [&session, noHeading] { session.exitCode = listEncodings(session, !*noHeading); });
}

}  // namespace vqs

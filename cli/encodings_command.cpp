// vqs encodings: what the host can convert.
#include <cstdio>

#include <CLI/CLI.hpp>

#include "session.hpp"

namespace vqs {
namespace {

const char* className(uint32_t encodingClass) {
  switch (encodingClass) {
    case 0:
      return "single byte";
    case 1:
      return "multi-byte, extends ASCII";
    default:
      return "other";
  }
}

// Where the heading has "other names".
constexpr size_t aliasColumn = 58;

int listEncodings(Session& session, bool withHeading) {
  if (withHeading)
    session.out.write("number  name                   class                      other names\n");
  for (uint32_t index = 0; const VQHostEncoding* encoding = vqhostEncodingAt(index); ++index) {
    char columns[128];
    std::snprintf(columns, sizeof columns, "%6u  %-21s  %s", encoding->number, encoding->name,
                  className(encoding->encodingClass));
    std::string line = columns;
    for (const char* const* alias = encoding->aliases; alias && *alias; ++alias) {
      if (alias == encoding->aliases) line.resize(aliasColumn, ' ');
      line += alias == encoding->aliases ? "" : ", ";
      line += *alias;
    }
    session.out.write(line + "\n");
  }
  return ExitFine;
}

}  // namespace

void addEncodings(CLI::App& app, Session& session) {
  CLI::App* command = app.add_subcommand("encodings", "List the encodings by number, name and class");
  auto noHeading = std::make_shared<bool>(false);
  command->add_flag("--no-heading", *noHeading, "Leave the first line out");
  command->final_callback([&session, noHeading] { session.exitCode = listEncodings(session, !*noHeading); });
}

}  // namespace vqs

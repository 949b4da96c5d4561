// vqs trim: whitespace off both ends of every record.
#include <memory>

#include <CLI/CLI.hpp>

#include "record_work.hpp"

namespace vqs {
namespace {

const char* const explanation =
    "Take the whitespace off both ends of every line: blanks and control characters of Unicode alike, not "
    "those of ASCII alone.";

const char* const examples =
    "Examples:\n"
    "  vqs trim names.txt\n"
    "  vqs trim --encoding windows-1252 export.csv | sort -u\n"
    "Exit codes: 0 all fine, 1 ill-formed lines, left as they were, 2 wrong usage, 3 input or output error.";

int trim(Session& session, const RecordOptions& options) {
  const auto make = [](TextCodec& codec) -> RecordFunction {
    return [&codec](const TextRecord& record, std::string& out) {
      const int64_t before = record.text->length;
      codec.service()->vqStringTrimWhitespace(record.text);
      codec.encode(out, record.text->text, record.text->length);
      out += record.lineEnd;
      return record.text->length != before;
    };
  };
  return workOnRecords(session, options, IllFormed::PassThrough, make).illFormed ? ExitFindings : ExitFine;
}

}  // namespace

void addTrim(CLI::App& app, Session& session) {
  auto options = std::make_shared<RecordOptions>();
  CLI::App* command = app.add_subcommand("trim", "Take whitespace off both ends of every line");
  command->description(explanation);
  command->footer(examples);
  addFileArguments(*command, *options);
  addRecordOptions(*command, *options);
  command->final_callback([&session, options] { session.exitCode = trim(session, *options); });
}

}  // namespace vqs

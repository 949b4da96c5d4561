// vqs replace: one text by another, in every record.
#include <memory>

#include <CLI/CLI.hpp>

#include "record_work.hpp"
#include "text_argument.hpp"

namespace vqs {
namespace {

struct ReplaceOptions : RecordOptions {
  std::string sought;
  std::string replacement;
  bool isFirstOnly = false;
  bool isChangedOnly = false;
};

const char* const explanation =
    "Replace a text by another in every line. Both are taken literally: no pattern, no special character. "
    "What was put in is not searched again.";

const char* const examples =
    "Examples:\n"
    "  vqs replace 'https://old.example/' 'https://new.example/' links.txt\n"
    "  vqs replace -e '\\t' ', ' table.tsv\n"
    "  vqs replace --changed ' - ' ' \xE2\x80\x93 ' --encoding windows-1252 letter.txt\n"
    "Exit codes: 0 all fine, 1 ill-formed lines, left as they were, 2 wrong usage, 3 input or output error.";

int replace(Session& session, const ReplaceOptions& options) {
  const std::u32string sought = textArgument(session, "TEXT", options.sought, options.hasEscapes);
  const std::u32string replacement =
      textArgument(session, "REPLACEMENT", options.replacement, options.hasEscapes);
  if (sought.empty()) throw UsageFailure("TEXT: nothing to look for");
  const auto make = [&](TextCodec& codec) -> RecordFunction {
    return [&](const TextRecord& record, std::string& out) {
      VQString* text = record.text;
      VQStatus ignored = 0;
      const bool isFound =
          codec.service()->vqStringIndexOfText(text, sought.data(), static_cast<int64_t>(sought.size()),
                                               ENC_WIDE, &ignored) >= 0;
      if (!isFound && options.isChangedOnly) return false;
      int64_t offset = 0;
      if (isFound && codec.service()->vqStringReplaceSubstringVQText(
                         text, sought.data(), static_cast<int64_t>(sought.size()), replacement.data(),
                         static_cast<int64_t>(replacement.size()), !options.isFirstOnly, &offset))
        throw std::bad_alloc();
      codec.encode(out, text->text, text->length);
      out += record.lineEnd;
      return isFound;
    };
  };
  return workOnRecords(session, options, IllFormed::PassThrough, make).illFormed ? ExitFindings : ExitFine;
}

}  // namespace

void addReplace(CLI::App& app, Session& session) {
  auto options = std::make_shared<ReplaceOptions>();
  CLI::App* command = app.add_subcommand("replace", "Replace a text in every line");
  command->description(explanation);
  command->footer(examples);
  command->add_option("TEXT", options->sought, "What to look for")->required()->type_name("");
  command->add_option("REPLACEMENT", options->replacement, "What to put in its place")
      ->required()
      ->type_name("");
  addFileArguments(*command, *options);
  command->add_flag("--first", options->isFirstOnly, "Only the first occurrence in each line");
  command->add_flag("--changed", options->isChangedOnly, "Print only the lines in which the text was found");
  addEscapeOption(*command, *options);
  addRecordOptions(*command, *options);
  command->final_callback([&session, options] { session.exitCode = replace(session, *options); });
}

}  // namespace vqs

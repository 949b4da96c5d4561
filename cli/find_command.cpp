// vqs find: the records that hold a text.
#include <memory>

#include <CLI/CLI.hpp>

#include "options.hpp"
#include "record_work.hpp"
#include "text_argument.hpp"

namespace vqs {
namespace {

enum class At { Anywhere, Start, End, Whole };

struct FindOptions : RecordOptions {
  std::string sought;
  At at = At::Anywhere;
  bool isCaseBlind = false;
  bool isInverted = false;
  bool hasLineNumbers = false;
  bool hasIndexes = false;
  bool isCounting = false;
  bool isQuiet = false;
  bool hasNoNames = false;
};

const char* const explanation =
    "Print the lines that hold a text, which is taken literally. Like grep -F, with the text compared by "
    "characters of any encoding: a line in windows-1251 is found by a text typed in UTF-8.";

const char* const examples =
    "Examples:\n"
    "  vqs find 'naïve' essay.txt\n"
    "  vqs find -i --at start 'subject:' mail.txt\n"
    "  vqs find -c --encoding windows-1251 'итого' *.csv\n"
    "Exit codes: 0 something found, 1 nothing found, or ill-formed lines, 2 wrong usage,\n"
    "3 input or output error.";

// Whether and where one text stands in another.
class Finder {
 public:
  Finder(VQStringService* service, const std::u32string& sought, At at)
      : service_(service), sought_(sought), at_(at) {}

  // -1 when the text does not stand where it is wanted.
  int64_t indexIn(const VQString* text) const {
    const auto length = static_cast<int64_t>(sought_.size());
    VQStatus ignored = 0;
    switch (at_) {
      case At::Anywhere:
        return service_->vqStringIndexOfText(text, sought_.data(), length, ENC_WIDE, &ignored);
      case At::Start:
        return service_->vqStringStartsWithVQText(text, sought_.data(), length) ? 0 : -1;
      case At::End:
        return service_->vqStringEndsWithVQText(text, sought_.data(), length) ? text->length - length : -1;
      case At::Whole:
        return service_->vqStringEqualText(text, sought_.data(), length, ENC_WIDE, &ignored) ? 0 : -1;
    }
    return -1;
  }

 private:
  VQStringService* service_;
  const std::u32string& sought_;
  At at_;
};

// Characters that differ in case alone become one and the same; none becomes longer.
void foldCase(VQChar* text, int64_t length) {
  vqzstmin(text, length);
}

RecordFunctionMaker finderOf(const FindOptions& options, const std::u32string& sought, bool hasNames,
                             const std::string& separator) {
  return [&options, &sought, &separator, hasNames](TextCodec& codec) -> RecordFunction {
    const Finder finder(codec.service(), sought, options.at);
    return [&options, &separator, hasNames, finder](const TextRecord& record, std::string& out) {
      if (options.isCaseBlind) foldCase(record.text->text, record.text->length);
      const int64_t index = finder.indexIn(record.text);
      if ((index >= 0) == options.isInverted) return false;
      if (options.isQuiet || options.isCounting) return true;
      if (hasNames) out += record.fileName + ":";
      if (options.hasLineNumbers) out += std::to_string(record.record.line) + ":";
      if (options.hasIndexes) out += std::to_string(index + 1) + ":";
      out.append(record.record.bytes).append(record.lineEnd.empty() ? separator : record.lineEnd);
      return true;
    };
  };
}

int find(Session& session, const FindOptions& options) {
  std::u32string sought = textArgument(session, "TEXT", options.sought, options.hasEscapes);
  if (options.isCaseBlind) foldCase(sought.data(), static_cast<int64_t>(sought.size()));
  if (options.hasIndexes && options.isInverted)
    throw UsageFailure("--index: there is no index in a line without the text");
  const bool hasNames = options.files.size() > 1 && !options.hasNoNames;
  const std::string separator = recordSeparator(session, options);
  const auto showCount = [&](const std::string& fileName, uint64_t count) {
    if (options.isQuiet) return;
    session.out.write((hasNames ? fileName + ":" : "") + std::to_string(count) + "\n");
  };
  const RecordTotals totals =
      workOnRecords(session, options, IllFormed::LeaveOut, finderOf(options, sought, hasNames, separator),
                    options.isCounting ? showCount : std::function<void(const std::string&, uint64_t)>());
  return totals.counted == 0 || totals.illFormed != 0 ? ExitFindings : ExitFine;
}

}  // namespace

void addFind(CLI::App& app, Session& session) {
  auto options = std::make_shared<FindOptions>();
  CLI::App* command = app.add_subcommand("find", "Print the lines that hold a text");
  command->description(explanation);
  command->footer(examples);
  command->add_option("TEXT", options->sought, "What to look for")->required()->type_name("");
  addFileArguments(*command, *options);
  addChoice(*command, "--at", options->at,
            {{"anywhere", At::Anywhere}, {"start", At::Start}, {"end", At::End}, {"whole", At::Whole}},
            "Where in the line (default anywhere)");
  command->add_flag("-i,--ignore-case", options->isCaseBlind, "Upper and lower case are the same");
  command->add_flag("-v,--invert-match", options->isInverted, "Print the lines without the text");
  command->add_flag("-n,--line-number", options->hasLineNumbers, "Print the number of the line before it");
  command->add_flag("--index", options->hasIndexes,
                    "Print where the text begins before the line, in characters from 1");
  command->add_flag("-c,--count", options->isCounting, "Print only the number of lines, by file");
  command->add_flag("-q,--quiet", options->isQuiet, "Print nothing: the exit code says it all");
  command->add_flag("--no-filename", options->hasNoNames, "Leave out the names of several files");
  addEscapeOption(*command, *options);
  addRecordOptions(*command, *options);
  command->final_callback([&session, options] { session.exitCode = find(session, *options); });
}

}  // namespace vqs

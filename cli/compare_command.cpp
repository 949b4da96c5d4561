// vqs compare: two files, record by record, each in an encoding of its own.
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include "encoding_option.hpp"
#include "escape.hpp"
#include "record_work.hpp"

namespace vqs {
namespace {

struct CompareOptions : RecordOptions {
  std::string first, second;
  std::string secondEncodingName;
  bool isCaseBlind = false;
  bool showsAll = false;
  bool isQuiet = false;
};

const char* const explanation =
    "Compare two files line by line, as text: files in different encodings are the same when their lines "
    "have the same characters. The kind of line end does not count. Tells the first line that differs.";

const char* const examples =
    "Examples:\n"
    "  vqs compare old.txt new.txt\n"
    "  vqs compare --encoding windows-1252 old.txt --second-encoding UTF-8 new.txt\n"
    "  vqs compare -i -a names.txt NAMES.TXT\n"
    "Exit codes: 0 the same, 1 different or ill-formed, 2 wrong usage, 3 input or output error.";

// The records of one file, one at a time.
class RecordReader {
 public:
  RecordReader(Session& session, const std::string& file, uint32_t encoding, bool isNulSeparated)
      : source_({file}, recordFormat(session, encoding, isNulSeparated)) {}

  const Record* next() {
    while (!walk_ || !walk_->next(record_)) {
      if (!source_.next(block_)) return nullptr;
      walk_.emplace(block_, source_.format());
    }
    return &record_;
  }

 private:
  RecordSource source_;
  RecordBlock block_;
  std::optional<RecordWalk> walk_;
  Record record_{};
};

class Comparison {
 public:
  Comparison(Session& session, const CompareOptions& options)
      : session_(session),
        options_(options),
        firstEncoding_(*encodingNamed("--encoding", options.encodingName)),
        secondEncoding_(options.secondEncodingName.empty()
                            ? firstEncoding_
                            : *encodingNamed("--second-encoding", options.secondEncodingName)),
        first_(session, options.first, firstEncoding_.number, options.isNulSeparated),
        second_(session, options.second, secondEncoding_.number, options.isNulSeparated),
        codec_(session, firstEncoding_.number),
        text_(codec_.newString()) {}

  int run() {
    uint64_t differences = 0;
    for (uint64_t line = 1;; ++line) {
      const Record* first = first_.next();
      const Record* second = second_.next();
      if (!first && !second) break;
      if (!first || !second) {
        tell((first ? options_.second : options_.first) + " ends before line " + std::to_string(line));
        ++differences;
        break;
      }
      const std::string difference = differenceOf(*first, *second);
      if (difference.empty()) continue;
      tell("line " + std::to_string(line) + ": " + difference);
      ++differences;
      if (!options_.showsAll) break;
    }
    return differences ? ExitFindings : ExitFine;
  }

 private:
  // Empty when the two are the same text.
  std::string differenceOf(const Record& first, const Record& second) {
    if (codec_.decode(first.bytes, text_))
      return "ill-formed " + std::string(firstEncoding_.name) + " in " + options_.first;
    const size_t unit = secondEncoding_.number == ENC_WIDE ? sizeof(VQChar) : 1;
    const auto ask =
        options_.isCaseBlind ? codec_.service()->vqStringCaseEqualText : codec_.service()->vqStringEqualText;
    VQStatus status = second.bytes.size() % unit ? VQSTATUS_SHORT_SEQUENCE : 0;
    const bool isSame =
        status == 0 && ask(text_, second.bytes.data(), static_cast<int64_t>(second.bytes.size() / unit),
                           secondEncoding_.number, &status);
    if (status == VQSTATUS_NO_MEMORY) throw std::bad_alloc();
    if (status) return "ill-formed " + std::string(secondEncoding_.name) + " in " + options_.second;
    return isSame ? "" : "differs";
  }

  void tell(const std::string& what) {
    if (options_.isQuiet) return;
    std::string text;
    appendEscapedUtf8(text, options_.first + " " + options_.second + ": " + what);
    session_.out.write(text + "\n");
  }

  Session& session_;
  const CompareOptions& options_;
  const VQHostEncoding& firstEncoding_;
  const VQHostEncoding& secondEncoding_;
  RecordReader first_;
  RecordReader second_;
  TextCodec codec_;
  VQString* text_;
};

}  // namespace

void addCompare(CLI::App& app, Session& session) {
  auto options = std::make_shared<CompareOptions>();
  CLI::App* command = app.add_subcommand("compare", "Compare two files line by line, as text");
  command->description(explanation);
  command->footer(examples);
  command->add_option("FIRST", options->first, "A file, or - for standard input")->required()->type_name("");
  command->add_option("SECOND", options->second, "The file to compare it with")->required()->type_name("");
  command->add_option("--encoding", options->encodingName, "Of the first file; vqs encodings lists the names")
      ->type_name("NAME");
  command
      ->add_option("--second-encoding", options->secondEncodingName, "Of the second file; default: the same")
      ->type_name("NAME");
  command->add_flag("-0,--null", options->isNulSeparated,
                    "Records end with a NUL character instead of a line's end");
  command->add_flag("-i,--ignore-case", options->isCaseBlind, "Upper and lower case are the same");
  command->add_flag("-a,--all", options->showsAll, "Tell every line that differs");
  command->add_flag("-q,--quiet", options->isQuiet, "Print nothing: the exit code says it all");
  command->final_callback([&session, options] {
    if (options->first == "-" && options->second == "-")
      throw UsageFailure("only one file can be standard input");
    session.exitCode = Comparison(session, *options).run();
  });
}

}  // namespace vqs

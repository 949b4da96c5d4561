// vqs check: every record of the input is one value, checked by the service against one constraint.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include "encoding_option.hpp"
#include "options.hpp"
#include "ordered_work.hpp"
#include "progress.hpp"
#include "report.hpp"
#include "session.hpp"
#include "tally.hpp"

namespace vqs {
namespace {

enum class Print { Rejected, Accepted, All, None };

struct CheckOptions {
  ConstraintOptions constraint;
  std::vector<std::string> files;
  std::string encodingName = "UTF-8";
  bool isNulSeparated = false;
  unsigned jobs = 0;
  Print print = Print::Rejected;
  Format format = Format::Text;
  std::string summaryFile;
  std::optional<bool> progress;
  bool isQuiet = false;
  unsigned timeLimit = 0;
};

const char* const explanation =
    "Check every line of files against a constraint. Each line is one value. A value passes when its length "
    "is within the bounds, when it "
    "equals "
    "one of the values or matches one of the patterns (if any are given), and when no built-in pattern "
    "against script injection is found in it. A pattern has to match at the start of the value; end it with "
    "$ "
    "to have it match to the end. Patterns are ICU regular expressions.";

const char* const examples =
    "Examples:\n"
    "  vqs check comments.txt\n"
    "  vqs check --max-length 40 --pattern '[\\p{L} .-]+$' names.txt\n"
    "  find . -print0 | vqs check -0 --max-length 255 --unit bytes\n"
    "  vqs check --encoding windows-1251 --format json --print all export.txt > verdicts.jsonl\n"
    "Exit codes: 0 all accepted, 1 something rejected, 2 wrong usage or a constraint that does not compile, "
    "3 input or output error.";

struct BlockResult {
  std::string lines;
  Tally tally;
};

// What one thread needs for itself: a pool, so that threads do not meet in one, and a validator in it.
class BlockChecker {
 public:
  BlockChecker(Session& session, const CheckOptions& options, const RecordSource& source,
               const Reporter& reporter)
      : options_(options), source_(source), reporter_(reporter) {
    VQPool* pool = nullptr;
    if (vqhostCreatePool(session.kernel(), "vqs check", &pool)) throw std::bad_alloc();
    pool_.reset(pool);
    validator_.emplace(session, pool, options.constraint, source.format().encoding);
  }

  BlockResult operator()(RecordBlock& block) {
    BlockResult result;
    RecordWalk walk(block, source_.format());
    for (Record record; walk.next(record);) {
      const Verdict verdict = validator_->check(record.bytes);
      result.tally.count(verdict);
      if (!isPrinted(verdict)) continue;
      const std::string_view text =
          verdict.reason == Reason::IllFormed ? record.bytes : validator_->textInUtf8(record.bytes);
      reporter_.append(result.lines, {source_.fileName(block.fileIndex), record, verdict, text});
    }
    result.tally.bytes = block.bytes.size();
    return result;
  }

 private:
  struct PoolEnd {
    void operator()(VQPool* pool) const { pool->poolDestroy(pool); }
  };

  bool isPrinted(const Verdict& verdict) const {
    switch (options_.print) {
      case Print::Rejected:
        return verdict.reason != Reason::Accepted;
      case Print::Accepted:
        return verdict.reason == Reason::Accepted;
      case Print::All:
        return true;
      case Print::None:
        return false;
    }
    return false;
  }

  const CheckOptions& options_;
  const RecordSource& source_;
  const Reporter& reporter_;
  std::unique_ptr<VQPool, PoolEnd> pool_;
  // Ends before the pool.
  std::optional<Validator> validator_;
};

// Opened before the run, so that a long one does not end in vain.
class SummaryFile {
 public:
  explicit SummaryFile(const std::string& path) : path_(path) {
    if (path.empty()) return;
    descriptor_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor_ < 0) throw InputOutputFailure(path + ": " + std::strerror(errno));
  }
  ~SummaryFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  SummaryFile(const SummaryFile&) = delete;
  SummaryFile& operator=(const SummaryFile&) = delete;

  void write(const Tally& tally, double seconds) {
    if (descriptor_ < 0) return;
    Output out(descriptor_, path_);
    out.write(summaryJson(tally, seconds).dump(2) + "\n");
    out.flush();
  }

 private:
  std::string path_;
  int descriptor_ = -1;
};

void writeSummary(Session& session, const CheckOptions& options, const Tally& tally, double seconds) {
  if (options.isQuiet || tally.records == 0) return;
  const std::string text = summaryText(tally, seconds);
  // Beside a table or JSON lines it would be a foreign body.
  if (options.format == Format::Text) {
    session.out.write(text);
  } else {
    session.out.flush();
    std::fputs(text.c_str(), stderr);
  }
}

int check(Session& session, const CheckOptions& options) {
  const VQHostEncoding& encoding = *encodingNamed("--encoding", options.encodingName);
  session.hostOptions.regexTimeLimit = options.timeLimit;
  if (!options.constraint.hasBuiltin) session.service()->vqStringSetValidateOpt(session.service(), 1);
  RecordSource source(options.files, recordFormat(session, encoding.number, options.isNulSeparated));
  const Reporter reporter(session, options.format, options.constraint, encoding);
  SummaryFile summaryFile(options.summaryFile);

  std::vector<OrderedWork<BlockResult>::Worker> workers;
  for (unsigned count = usefulJobs(options.jobs, source); count > 0; --count) {
    auto checker = std::make_shared<BlockChecker>(session, options, source, reporter);
    workers.emplace_back([checker](RecordBlock& block) { return (*checker)(block); });
  }

  Tally tally;
  Progress progress(options.progress.value_or(isatty(2)), source.bytesTotal());
  const bool sharesTerminal = isatty(1);
  OrderedWork<BlockResult> work(source, [&](BlockResult& result) {
    if (tally.records == 0) session.out.write(reporter.heading());
    tally.add(result.tally);
    if (sharesTerminal && !result.lines.empty()) progress.erase();
    session.out.write(result.lines);
    if (source.isLive() || sharesTerminal) session.out.flush();
    progress.update(tally.bytes);
  });
  try {
    work.run(std::move(workers));
  } catch (const InputOutputFailure&) {
    // What was found before a file that cannot be read is still worth having.
    session.out.flush();
    throw;
  }
  progress.erase();
  writeSummary(session, options, tally, progress.seconds());
  summaryFile.write(tally, progress.seconds());
  return tally.rejected() ? ExitFindings : ExitFine;
}

void addConstraintOptions(CLI::App& command, ConstraintOptions& options) {
  // One argument an option: patterns and values look like anything, brackets and commas among them.
  const auto addList = [&](const char* name, std::vector<std::string>& list, const char* help) {
    return command.add_option(name, list, help)->allow_extra_args(false)->group("What is allowed");
  };
  addCount(command, "--min-length", options.minLength, "The least length that passes")
      ->group("What is allowed");
  addCount(command, "--max-length", options.maxLength, "The greatest length that passes")
      ->group("What is allowed");
  addChoice(command, "--unit", options.unit, {{"characters", Unit::Characters}, {"bytes", Unit::Bytes}},
            "What lengths count: characters (default), or bytes of the value in UTF-8")
      ->group("What is allowed");
  addList("--value", options.values, "A value that passes; may be repeated")->type_name("TEXT");
  addList("--values-from", options.valueFiles, "A file with such values, one a line")->type_name("FILE");
  addList("--pattern", options.patterns,
          "A pattern whose match at the start lets a value pass; may be repeated")
      ->type_name("REGEX");
  addList("--patterns-from", options.patternFiles, "A file with such patterns, one a line")
      ->type_name("FILE");
  command
      .add_flag_callback(
          "--no-builtin", [&options] { options.hasBuiltin = false; },
          "Leave out the built-in patterns against script injection")
      ->group("What is allowed");
}

void addInputOptions(CLI::App& command, CheckOptions& options) {
  addFiles(command, options.files);
  command.add_option("--encoding", options.encodingName, "Of the input; vqs encodings lists the names")
      ->type_name("NAME")
      ->group("Input");
  command
      .add_flag("-0,--null", options.isNulSeparated,
                "Values end with a NUL character instead of a line's end")
      ->group("Input");
  command.add_option("-j,--jobs", options.jobs, "Threads; default: one a processor")
      ->type_name("N")
      ->check(CLI::Range(1, 1024))
      ->group("Input");
  command
      .add_option("--time-limit", options.timeLimit,
                  "The longest that one pattern may search in one value, in milliseconds or so; default 500")
      ->type_name("MS")
      ->check(CLI::Range(1, 3600000))
      ->group("Input");
}

void addOutputOptions(CLI::App& command, CheckOptions& options) {
  addChoice(command, "--print", options.print,
            {{"rejected", Print::Rejected},
             {"accepted", Print::Accepted},
             {"all", Print::All},
             {"none", Print::None}},
            "Which values are listed (default rejected)")
      ->group("Output");
  addChoice(command, "--format", options.format,
            {{"text", Format::Text}, {"tsv", Format::Tsv}, {"json", Format::Json}},
            "How: lines for people (default), a table, JSON lines")
      ->group("Output");
  command.add_option("--summary", options.summaryFile, "Write the counts as JSON; vqs summary adds them up")
      ->type_name("FILE")
      ->group("Output");
  addProgressOption(command, options.progress)->group("Output");
  command.add_flag("-q,--quiet", options.isQuiet, "No list and no summary: the exit code says it all")
      ->group("Output");
}

}  // namespace

void addCheck(CLI::App& app, Session& session) {
  auto options = std::make_shared<CheckOptions>();
  CLI::App* command = app.add_subcommand("check", explanation);
  command->footer(examples);
  addConstraintOptions(*command, options->constraint);
  addInputOptions(*command, *options);
  addOutputOptions(*command, *options);
  command->final_callback([&session, options] {
    if (options->isQuiet) options->print = Print::None;
    session.exitCode = check(session, *options);
  });
}

}  // namespace vqs

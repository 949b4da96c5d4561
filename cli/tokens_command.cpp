// vqs tokens: every record cut at delimiters.
#include <algorithm>
#include <charconv>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include "record_work.hpp"
#include "text_argument.hpp"

namespace vqs {
namespace {

struct TokensOptions : RecordOptions {
  std::string set;
  std::vector<std::string> delimiters;
  std::string fields;
  std::optional<std::string> join;
  bool skipsEmpty = false;
};

const char* const explanation =
    "Cut every line at delimiters and print each piece on a line of its own, or with --join on one. Two "
    "delimiters in a row have an empty piece between them. Behind a delimiter at the end of a line an empty "
    "piece follows with --set, and none with --delimiter.";

const char* const examples =
    "Examples:\n"
    "  vqs tokens --set ',;' list.txt\n"
    "  vqs tokens --delimiter ' -- ' --delimiter ' - ' titles.txt\n"
    "  vqs tokens --set : --fields 1,6- --join : /etc/passwd\n"
    "Exit codes: 0 all fine, 1 ill-formed lines, left as they were, 2 wrong usage, 3 input or output error.";

// Numbers of pieces, as cut has them: 3, 2-5, -4, 7- between commas.
class FieldList {
 public:
  explicit FieldList(const std::string& list) {
    for (size_t at = 0; at < list.size();) {
      const size_t end = std::min(list.find(',', at), list.size());
      ranges_.push_back(parse(std::string_view(list).substr(at, end - at)));
      at = end + 1;
    }
  }
  bool has(uint64_t number) const {
    return ranges_.empty() || std::ranges::any_of(ranges_, [&](const Range& range) {
             return number >= range.first && number <= range.last;
           });
  }

 private:
  struct Range {
    uint64_t first, last;
  };

  static Range parse(std::string_view text) {
    const size_t dash = text.find('-');
    const std::string_view first = text.substr(0, dash);
    const std::string_view last = dash == text.npos ? first : text.substr(dash + 1);
    const Range range{first.empty() ? 1 : number(first), last.empty() ? UINT64_MAX : number(last)};
    if ((first.empty() && last.empty()) || range.first == 0 || range.last < range.first) fail();
    return range;
  }
  static uint64_t number(std::string_view text) {
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) fail();
    return value;
  }
  [[noreturn]] static void fail() {
    throw UsageFailure("--fields: give numbers from 1 and ranges such as 2-5, -3 or 7-, with commas between");
  }

  std::vector<Range> ranges_;
};

// What ends a token: a set, a sequence, or a list of sequences.
struct Delimiters {
  std::u32string set;
  std::vector<std::u32string> sequences;
};

// Walks through the tokens of one record after the other; one thread's.
class TokenWalk {
 public:
  TokenWalk(TextCodec& codec, const Delimiters& delimiters)
      : service_(codec.service()), delimiters_(delimiters) {
    service_->vqStringInitStatic(service_, &token_, codec.pool(), nullptr, 0);
    for (const std::u32string& sequence : delimiters.sequences) {
      VQString* string = codec.newString();
      if (service_->vqStringCopyText(string, sequence.data(), static_cast<int64_t>(sequence.size()),
                                     ENC_WIDE))
        throw std::bad_alloc();
      list_.push_back(string);
    }
  }

  void start(VQString* text) { service_->vqStringTokenizeStart(text, &walk_); }

  const VQString* next() {
    if (!walk_.source) return nullptr;
    if (list_.empty())
      return walk_.tokenizeText(&walk_, delimiters_.set.data(), static_cast<int64_t>(delimiters_.set.size()),
                                &token_);
    if (list_.size() == 1) return walk_.tokenizeLong(&walk_, list_[0], &token_);
    walk_.tokenizeList(&walk_, list_.data(), static_cast<int32_t>(list_.size()), &token_);
    return &token_;
  }

 private:
  VQStringService* service_;
  const Delimiters& delimiters_;
  std::vector<VQString*> list_;
  VQTokenizer walk_{};
  VQString token_;
};

Delimiters delimitersOf(Session& session, const TokensOptions& options) {
  Delimiters delimiters;
  delimiters.set = textArgument(session, "--set", options.set, options.hasEscapes);
  for (const std::string& text : options.delimiters) {
    delimiters.sequences.push_back(textArgument(session, "--delimiter", text, options.hasEscapes));
    if (delimiters.sequences.back().empty()) throw UsageFailure("--delimiter: the text is empty");
  }
  if (!delimiters.set.empty() && !delimiters.sequences.empty())
    throw UsageFailure("--set and --delimiter exclude each other");
  if (delimiters.set.empty() && delimiters.sequences.empty()) delimiters.set = U"\t";
  return delimiters;
}

int cutIntoTokens(Session& session, const TokensOptions& options) {
  const Delimiters delimiters = delimitersOf(session, options);
  const FieldList fields(options.fields);
  const std::string separator = recordSeparator(session, options);
  std::u32string join;
  if (options.join) join = textArgument(session, "--join", *options.join, options.hasEscapes);
  const auto make = [&](TextCodec& codec) -> RecordFunction {
    auto walk = std::make_shared<TokenWalk>(codec, delimiters);
    return [&, walk](const TextRecord& record, std::string& out) {
      uint64_t number = 0, printed = 0;
      walk->start(record.text);
      while (const VQString* token = walk->next()) {
        if (options.skipsEmpty && token->length == 0) continue;
        if (!fields.has(++number)) continue;
        if (options.join && printed != 0) codec.encode(out, join.data(), static_cast<int64_t>(join.size()));
        codec.encode(out, token->text, token->length);
        if (!options.join) out += separator;
        ++printed;
      }
      if (options.join) out += record.lineEnd.empty() ? separator : record.lineEnd;
      return true;
    };
  };
  return workOnRecords(session, options, IllFormed::PassThrough, make).illFormed ? ExitFindings : ExitFine;
}

}  // namespace

void addTokens(CLI::App& app, Session& session) {
  auto options = std::make_shared<TokensOptions>();
  CLI::App* command = app.add_subcommand("tokens", "Cut every line at delimiters");
  command->description(explanation);
  command->footer(examples);
  addFileArguments(*command, *options);
  command->add_option("-s,--set", options->set, "Any one of these characters is a delimiter; default: a tab")
      ->type_name("CHARACTERS");
  command
      ->add_option("-d,--delimiter", options->delimiters,
                   "This whole text is a delimiter; of several, the first that fits is taken")
      ->allow_extra_args(false)
      ->type_name("TEXT");
  command->add_option("-f,--fields", options->fields, "Only these pieces, such as 1,3-5,7-")
      ->type_name("LIST");
  command
      ->add_option("--join", options->join, "Print the pieces of a line on one line, with this text between")
      ->type_name("TEXT");
  command->add_flag("--skip-empty", options->skipsEmpty,
                    "Leave out empty pieces, also in the count of --fields");
  addEscapeOption(*command, *options);
  addRecordOptions(*command, *options);
  command->final_callback([&session, options] { session.exitCode = cutIntoTokens(session, *options); });
}

}  // namespace vqs

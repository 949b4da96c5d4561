// vqs convert: whole files from one encoding to another, piece by piece, so that memory does not grow with
// them.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include "encoding_option.hpp"
#include "escape.hpp"
#include "options.hpp"
#include "progress.hpp"
#include "record_source.hpp"
#include "session.hpp"

namespace vqs {
namespace {

enum class OnError { Stop, Replace, Skip };

struct ConvertOptions {
  std::string from;
  std::string to;
  std::vector<std::string> files;
  OnError onError = OnError::Stop;
  std::string output;
  std::optional<bool> progress;
};

const char* const explanation =
    "Convert files from one encoding to another, to standard output. Where the input is ill-formed, or a "
    "character has no place in the target encoding, the line and the byte are told, and --on-error says what "
    "becomes of it.";

const char* const examples =
    "Examples:\n"
    "  vqs convert --from windows-1252 --to UTF-8 old.txt > new.txt\n"
    "  vqs convert --from UTF-8 --to Shift_JIS --on-error replace -o notes.sjis notes.txt\n"
    "Exit codes: 0 all converted, 1 something could not be (whatever was done about it), 2 wrong usage,\n"
    "3 input or output error.";

struct CloseConverter {
  void operator()(VQHostConverter* converter) const { vqhostConverterClose(converter); }
};
using ConverterPointer = std::unique_ptr<VQHostConverter, CloseConverter>;

ConverterPointer openConverter(Session& session, uint32_t source, uint32_t target) {
  VQHostConverter* converter = nullptr;
  if (VQStatus status = vqhostConverterOpen(session.kernel(), source, target, &converter))
    throw InputOutputFailure("no such conversion: " + session.statusText(status));
  return ConverterPointer(converter);
}

// The pieces of a file. Each begins at a multiple of four bytes, so that the units of every encoding stand
// whole in one; what stood before it can still be seen, for a sequence that two pieces share.
class PieceReader {
 public:
  explicit PieceReader(const std::string& path) : file_(path) {}

  // False when the file ended before; the last piece may be empty.
  bool next() {
    if (isLast_) return false;
    offset_ += size_;
    std::memmove(bytes_.data(), bytes_.data() + size_, historyBytes);
    size_ = 0;
    while (!isLast_ && (size_ == 0 || size_ % 4 != 0)) {
      const size_t count = file_.read(start() + size_, pieceBytes - size_);
      isLast_ = count == 0;
      size_ += count;
    }
    return true;
  }
  std::string_view bytes() const { return {bytes_.data() + historyBytes, size_}; }
  uint64_t offset() const { return offset_; }
  bool isLast() const { return isLast_; }

  // Bytes of the file from `offset` on, which stands in this piece or shortly before it.
  std::string_view at(uint64_t offset, uint64_t length) const {
    const char* from = bytes_.data() + historyBytes + static_cast<int64_t>(offset - offset_);
    return {from, length};
  }

 private:
  // No sequence of any encoding is longer.
  static constexpr size_t historyBytes = 64;
  static constexpr size_t pieceBytes = 64 * 1024;

  char* start() { return bytes_.data() + historyBytes; }

  InputFile file_;
  uint64_t offset_ = 0;
  size_t size_ = 0;
  bool isLast_ = false;
  std::array<char, historyBytes + pieceBytes> bytes_{};
};

// The sequences of one file that could not be converted: how many, and where the first stands.
struct Faults {
  uint64_t count = 0;
  uint64_t line = 0;
  uint64_t offset = 0;
  std::string what;
};

class Conversion {
 public:
  Conversion(Session& session, const ConvertOptions& options, Output& out)
      : session_(session),
        options_(options),
        from_(*encodingNamed("--from", options.from)),
        to_(*encodingNamed("--to", options.to)),
        format_(recordFormat(session, from_.number, false)),
        out_(out),
        progress_(options.progress.value_or(isatty(STDERR_FILENO)), bytesOfFiles(options.files)) {}

  Faults convert(const std::string& path) {
    Faults faults;
    PieceReader reader(path);
    const ConverterPointer converter = openConverter(session_, from_.number, to_.number);
    RecordFormat format = format_;
    for (uint64_t line = 1; reader.next(); line += countSeparators(reader.bytes(), format)) {
      if (reader.offset() == 0 && !format.foreignMark.empty() &&
          reader.bytes().starts_with(format.foreignMark))
        std::ranges::reverse(format.separator);
      if (!push(*converter, reader, format, line, faults)) break;
      bytesDone_ += reader.bytes().size();
      progress_.update(bytesDone_);
    }
    progress_.erase();
    return faults;
  }

 private:
  // False when the conversion stops in this piece.
  bool push(VQHostConverter& converter, const PieceReader& reader, const RecordFormat& format, uint64_t line,
            Faults& faults) {
    std::string_view rest = reader.bytes();
    while (true) {
      VQHostProgress progress{};
      const VQStatus status = vqhostConverterPush(&converter, rest.data(), rest.size(), reader.isLast(),
                                                  target_.data(), target_.size(), &progress);
      out_.write({target_.data(), progress.written});
      rest.remove_prefix(progress.consumed);
      if (status == 0) return true;
      if (status == VQSTATUS_TARGET_FULL) continue;
      if (status != VQSTATUS_BAD_SEQUENCE && status != VQSTATUS_SHORT_SEQUENCE)
        throw InputOutputFailure("the conversion fails: " + session_.statusText(status));
      if (faults.count++ == 0) note(status, progress, reader, format, line, faults);
      if (options_.onError == OnError::Stop) return false;
      if (options_.onError == OnError::Replace)
        out_.write({target_.data(), vqhostConverterReplace(&converter, target_.data(), target_.size())});
    }
  }

  void note(VQStatus status, const VQHostProgress& progress, const PieceReader& reader,
            const RecordFormat& format, uint64_t line, Faults& faults) {
    faults.offset = progress.offset;
    // A sequence that began in the piece before has no line's end in it.
    const uint64_t inPiece = progress.offset > reader.offset() ? progress.offset - reader.offset() : 0;
    faults.line = line + countSeparators(reader.bytes().substr(0, inPiece), format);
    std::string sequence(reader.at(progress.offset, progress.length));
    const bool isTurned = format.separator != format_.separator;
    faults.what = describe(status, sequence, isTurned ? format_.foreignMark : format_.byteOrderMark);
  }

  // A sequence that is well-formed by itself has no place in the target. What escapes have selected does not
  // show in the sequence, so for encodings with escapes it stays open which of the two it was.
  std::string describe(VQStatus status, const std::string& sequence, const std::string& mark) {
    std::string bytes;
    for (const char byte : sequence) {
      char hex[4];
      std::snprintf(hex, sizeof hex, " %02x", static_cast<uint8_t>(byte));
      bytes += hex;
    }
    if (status == VQSTATUS_SHORT_SEQUENCE) return std::string("incomplete ") + from_.name + ":" + bytes;
    const bool hasEscapes = from_.encodingClass > 1 && format_.separator.size() == 1;
    if (hasEscapes) return "ill-formed, or without a place in " + std::string(to_.name) + ":" + bytes;
    const ConverterPointer converter = openConverter(session_, from_.number, ENC_UTF8);
    std::array<char, 256> text;
    VQHostProgress progress{};
    // By itself the sequence does not tell its order where a mark did.
    const std::string whole = format_.foreignMark.empty() ? sequence : mark + sequence;
    if (vqhostConverterPush(converter.get(), whole.data(), whole.size(), 1, text.data(), text.size(),
                            &progress))
      return std::string("ill-formed ") + from_.name + ":" + bytes;
    return "no place in " + std::string(to_.name) + " for " + escapedUtf8({text.data(), progress.written});
  }

  Session& session_;
  const ConvertOptions& options_;
  const VQHostEncoding& from_;
  const VQHostEncoding& to_;
  const RecordFormat format_;
  Output& out_;
  Progress progress_;
  uint64_t bytesDone_ = 0;
  std::array<char, 64 * 1024> target_;
};

void tell(const std::string& path, const Faults& faults, OnError onError) {
  std::fprintf(stderr, "vqs: %s:%llu: byte %llu: %s\n", escapedUtf8(path).c_str(),
               static_cast<unsigned long long>(faults.line), static_cast<unsigned long long>(faults.offset),
               faults.what.c_str());
  if (onError == OnError::Stop) return;
  std::fprintf(stderr, "vqs: %s: %llu %s, this was the first\n", escapedUtf8(path).c_str(),
               static_cast<unsigned long long>(faults.count),
               onError == OnError::Replace ? "replaced" : "skipped");
}

// Standard output, or the file of --output.
class Target {
 public:
  Target(Session& session, const std::string& path) {
    if (path.empty()) {
      out_ = &session.out;
      return;
    }
    descriptor_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor_ < 0) throw InputOutputFailure(path + ": " + std::strerror(errno));
    file_.emplace(descriptor_, path);
    out_ = &*file_;
  }
  ~Target() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;
  Output& out() { return *out_; }

 private:
  int descriptor_ = -1;
  std::optional<Output> file_;
  Output* out_ = nullptr;
};

int convert(Session& session, const ConvertOptions& options) {
  Target target(session, options.output);
  auto conversion = std::make_unique<Conversion>(session, options, target.out());
  int exitCode = ExitFine;
  for (const std::string& path : options.files) {
    const Faults faults = conversion->convert(path);
    target.out().flush();
    if (!faults.count) continue;
    tell(path, faults, options.onError);
    exitCode = ExitFindings;
    if (options.onError == OnError::Stop) break;
  }
  return exitCode;
}

}  // namespace

void addConvert(CLI::App& app, Session& session) {
  auto options = std::make_shared<ConvertOptions>();
  CLI::App* command = app.add_subcommand("convert", explanation);
  command->footer(examples);
  addFiles(*command, options->files);
  command->add_option("-f,--from", options->from, "Encoding of the input; vqs encodings lists the names")
      ->type_name("NAME")
      ->required();
  command->add_option("-t,--to", options->to, "Encoding of the output")->type_name("NAME")->required();
  addChoice(*command, "--on-error", options->onError,
            {{"stop", OnError::Stop}, {"replace", OnError::Replace}, {"skip", OnError::Skip}},
            "At what cannot be converted: stop (default), write U+FFFD or a question mark, leave it out");
  command->add_option("-o,--output", options->output, "Write to a file")->type_name("FILE");
  addProgressOption(*command, options->progress);
  command->final_callback([&session, options] {
    if (options->files.empty()) options->files.push_back("-");
    session.exitCode = convert(session, *options);
  });
}

}  // namespace vqs

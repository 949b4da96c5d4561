#include "record_work.hpp"

#include <cstdio>
#include <memory>

#include <unistd.h>

#include <CLI/CLI.hpp>

#include "encoding_option.hpp"
#include "escape.hpp"
#include "ordered_work.hpp"

namespace vqs {

void addRecordOptions(CLI::App& command, RecordOptions& options) {
  command
      .add_option("--encoding", options.encodingName,
                  "Of the input and of what is printed; vqs encodings lists the names")
      ->type_name("NAME")
      ->group("Input");
  command
      .add_flag("-0,--null", options.isNulSeparated,
                "Records end with a NUL character instead of a line's end")
      ->group("Input");
  command.add_option("-j,--jobs", options.jobs, "Threads; default: one a processor")
      ->type_name("N")
      ->check(CLI::Range(1, 1024))
      ->group("Input");
}

void addFileArguments(CLI::App& command, RecordOptions& options) {
  command.add_option("FILE", options.files, "Files to read; none or -: standard input")->type_name("");
}

void addEscapeOption(CLI::App& command, RecordOptions& options) {
  command.add_flag("-e,--escapes", options.hasEscapes,
                   "In the texts of this command line \\t \\n \\r \\0 \\\\ and \\u{HEX} are characters");
}

TextCodec::TextCodec(Session& session, uint32_t encoding)
    : session_(session), service_(session.service()), encoding_(encoding) {
  if (vqhostCreatePool(session.kernel(), "vqs records", &pool_)) throw std::bad_alloc();
  if (encoding == ENC_WIDE) return;
  encoder_ = session.nls()->nlsCreateTranscoder(session.nls(), ENC_WIDE, encoding, 0, 0);
  if (!encoder_) {
    pool_->poolDestroy(pool_);
    throw InputOutputFailure("the host has no transcoder for the encoding");
  }
}

TextCodec::~TextCodec() {
  for (VQString* string : strings_) service_->vqStringDestroy(string);
  if (encoder_) encoder_->transcoderDestroy(encoder_);
  pool_->poolDestroy(pool_);
}

VQString* TextCodec::newString() {
  VQString* string = service_->vqStringCreate(service_, pool_, nullptr, 0, 1);
  if (!string) throw std::bad_alloc();
  strings_.push_back(string);
  return string;
}

VQStatus TextCodec::decode(std::string_view bytes, VQString* string) const {
  const size_t unit = encoding_ == ENC_WIDE ? sizeof(VQChar) : 1;
  if (bytes.size() % unit != 0) return VQSTATUS_SHORT_SEQUENCE;
  const VQStatus status =
      service_->vqStringCopyText(string, bytes.data(), static_cast<int64_t>(bytes.size() / unit), encoding_);
  if (status == VQSTATUS_NO_MEMORY) throw std::bad_alloc();
  return status;
}

void TextCodec::encode(std::string& target, const VQChar* text, int64_t length) {
  if (length == 0) return;
  const auto byteCount = static_cast<size_t>(length) * sizeof(VQChar);
  if (!encoder_) {
    target.append(reinterpret_cast<const char*>(text), byteCount);
    return;
  }
  const size_t before = target.size();
  // Four bytes hold a character in nearly every encoding; those with escapes may ask for more.
  size_t room = byteCount + 16;
  while (true) {
    target.resize(before + room);
    uint64_t written = 0;
    const VQStatus status =
        encoder_->transcoderConvert(encoder_, text, byteCount, target.data() + before, room, &written, 0);
    target.resize(before + (status ? 0 : written));
    if (status == 0) return;
    if (status != VQSTATUS_TARGET_FULL)
      throw UsageFailure("the encoding of the input cannot hold the result: " + session_.statusText(status));
    room *= 2;
  }
}

namespace {

struct BlockResult {
  size_t fileIndex = 0;
  std::string out;
  RecordTotals totals;
  uint64_t firstIllFormedLine = 0;
};

// What stands behind a record in its block.
std::string_view lineEndOf(const Record& record, const RecordBlock& block, const RecordFormat& format) {
  const char* end = record.bytes.data() + record.bytes.size();
  const std::string_view rest(end, static_cast<size_t>(block.bytes.data() + block.bytes.size() - end));
  const size_t mark = rest.starts_with(format.separator) ? 0 : format.carriageReturn.size();
  return rest.substr(0, rest.empty() ? 0 : mark + format.separator.size());
}

// What one thread needs for itself.
class BlockWorker {
 public:
  BlockWorker(Session& session, uint32_t encoding, IllFormed illFormed, const RecordSource& source,
              const RecordFunctionMaker& make)
      : codec_(session, encoding),
        text_(codec_.newString()),
        function_(make(codec_)),
        illFormed_(illFormed),
        source_(source) {}

  BlockResult operator()(RecordBlock& block) {
    BlockResult result;
    result.fileIndex = block.fileIndex;
    RecordWalk walk(block, source_.format());
    for (Record record; walk.next(record);) {
      const std::string_view lineEnd = lineEndOf(record, block, source_.format());
      if (codec_.decode(record.bytes, text_) == 0) {
        const TextRecord text{source_.fileName(block.fileIndex), record, lineEnd, text_};
        result.totals.counted += function_(text, result.out);
        continue;
      }
      if (result.totals.illFormed++ == 0) result.firstIllFormedLine = record.line;
      if (illFormed_ == IllFormed::PassThrough) result.out.append(record.bytes).append(lineEnd);
    }
    return result;
  }

 private:
  TextCodec codec_;
  VQString* text_;
  RecordFunction function_;
  IllFormed illFormed_;
  const RecordSource& source_;
};

void tellIllFormed(const VQHostEncoding& encoding, uint64_t count, const std::string& first,
                   IllFormed illFormed) {
  std::fprintf(stderr, "vqs: %s: ill-formed %s, %s\n", escapedUtf8(first).c_str(), encoding.name,
               illFormed == IllFormed::PassThrough ? "left as it is" : "left out");
  if (count > 1)
    std::fprintf(stderr, "vqs: %llu ill-formed records, this was the first\n",
                 static_cast<unsigned long long>(count));
}

}  // namespace

RecordTotals workOnRecords(
    Session& session, const RecordOptions& options, IllFormed illFormed, const RecordFunctionMaker& make,
    const std::function<void(const std::string& fileName, uint64_t counted)>& perFile) {
  const VQHostEncoding& encoding = *encodingNamed("--encoding", options.encodingName);
  RecordSource source(options.files, recordFormat(session, encoding.number, options.isNulSeparated));
  std::vector<OrderedWork<BlockResult>::Worker> workers;
  for (unsigned count = usefulJobs(options.jobs, source); count > 0; --count) {
    auto worker = std::make_shared<BlockWorker>(session, encoding.number, illFormed, source, make);
    workers.emplace_back([worker](RecordBlock& block) { return (*worker)(block); });
  }

  RecordTotals totals;
  std::string firstIllFormed;
  std::vector<uint64_t> counted(options.files.empty() ? 1 : options.files.size());
  const bool isWatched = isatty(STDOUT_FILENO);
  OrderedWork<BlockResult> work(source, [&](BlockResult& result) {
    if (totals.illFormed == 0 && result.totals.illFormed != 0)
      firstIllFormed = source.fileName(result.fileIndex) + ":" + std::to_string(result.firstIllFormedLine);
    totals.illFormed += result.totals.illFormed;
    totals.counted += result.totals.counted;
    counted[result.fileIndex] += result.totals.counted;
    session.out.write(result.out);
    if (isWatched || source.isLive()) session.out.flush();
  });
  try {
    work.run(std::move(workers));
  } catch (const InputOutputFailure&) {
    session.out.flush();
    throw;
  }
  for (size_t index = 0; perFile && index < counted.size(); ++index)
    perFile(source.fileName(index), counted[index]);
  session.out.flush();
  if (totals.illFormed != 0) tellIllFormed(encoding, totals.illFormed, firstIllFormed, illFormed);
  return totals;
}

std::string recordSeparator(Session& session, const RecordOptions& options) {
  return recordFormat(session, encodingNamed("--encoding", options.encodingName)->number,
                      options.isNulSeparated)
      .separator;
}

}  // namespace vqs

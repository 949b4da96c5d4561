// What the commands that look at records as text have in common: the options of the input, every record as
// a string of the service, and the way back into the encoding of the input.
//
// A command supplies a function that is called for each record of one thread, in order, and appends what is
// to be printed. A record that is ill-formed in its encoding never gets there: it is told on standard error,
// and the command says whether it goes through as it stands or is left out.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "record_source.hpp"
#include "session.hpp"

namespace CLI {
class App;
}

namespace vqs {

struct RecordOptions {
  std::vector<std::string> files;
  std::string encodingName = "UTF-8";
  bool isNulSeparated = false;
  unsigned jobs = 0;
  bool hasEscapes = false;
};

// --encoding, -0 and -j; the files, unless the command takes them in a way of its own.
void addRecordOptions(CLI::App& command, RecordOptions& options);
void addFileArguments(CLI::App& command, RecordOptions& options);
// -e; for commands with texts among their arguments.
void addEscapeOption(CLI::App& command, RecordOptions& options);

// Bytes of an encoding into strings of the service, and wide text back. One thread's.
class TextCodec {
 public:
  TextCodec(Session& session, uint32_t encoding);
  ~TextCodec();
  TextCodec(const TextCodec&) = delete;
  TextCodec& operator=(const TextCodec&) = delete;

  // Refills `string`; the status of the host for ill-formed bytes.
  VQStatus decode(std::string_view bytes, VQString* string) const;
  void encode(std::string& target, const VQChar* text, int64_t length);

  VQStringService* service() const { return service_; }
  VQPool* pool() const { return pool_; }
  // A string without text in the codec's pool, which the codec gives back.
  VQString* newString();

 private:
  Session& session_;
  VQStringService* service_;
  VQPool* pool_ = nullptr;
  uint32_t encoding_;
  VQTranscoder* encoder_ = nullptr;
  std::vector<VQString*> strings_;
};

// One record at the moment when a command works on it.
struct TextRecord {
  const std::string& fileName;
  const Record& record;
  // What stood behind the record: empty at the end of a file without one.
  std::string_view lineEnd;
  // The record's text; the command may edit it.
  VQString* text;
};

// Appends what is to be printed; true counts the record.
using RecordFunction = std::function<bool(const TextRecord& record, std::string& out)>;
// Makes the function of one thread, which may keep strings of the codec.
using RecordFunctionMaker = std::function<RecordFunction(TextCodec& codec)>;

struct RecordTotals {
  uint64_t counted = 0;
  uint64_t illFormed = 0;
};

enum class IllFormed { PassThrough, LeaveOut };

// Prints in the order of the input. `perFile`, if given, is called with each file's number of counted records
// once the file is done.
RecordTotals workOnRecords(
    Session& session, const RecordOptions& options, IllFormed illFormed, const RecordFunctionMaker& make,
    const std::function<void(const std::string& fileName, uint64_t counted)>& perFile = {});

// The separator of the records, for commands that print records of their own.
std::string recordSeparator(Session& session, const RecordOptions& options);

}  // namespace vqs

// vqs base64: whole files as Base64 text and back.
#include <cstdio>
#include <memory>

#include <CLI/CLI.hpp>

#include "escape.hpp"
#include "file_chunks.hpp"
#include "options.hpp"
#include "session.hpp"

namespace vqs {
namespace {

struct Base64Options {
  std::vector<std::string> files;
  bool isUrl = false;
  bool isWrapped = false;
  bool isUnpadded = false;
};

const char* const encodeExplanation =
    "Write the bytes of files as Base64 text (RFC 4648), each file as a text of its own that ends with a "
    "newline.";

const char* const decodeExplanation =
    "Write the bytes that Base64 texts stand for. Tabs, newlines and blanks are passed over, \"=\" ends a "
    "text, and padding may be missing.";

// Lines of 57 bytes: a chunk of whole lines is encoded as it stands, and padding comes at the end alone.
constexpr size_t lineBytes = 57;

void encodeFile(Session& session, const Base64Options& options, const std::string& path) {
  const auto encode = options.isUrl ? vqU8StringEncodeBase64URL : vqU8StringEncodeBase64;
  FileChunks chunks(path);
  bool endsInNewline = true;
  while (chunks.next()) {
    std::string_view bytes = chunks.bytes();
    if (!chunks.isLast()) bytes = bytes.substr(0, bytes.size() / lineBytes * lineBytes);
    chunks.take(bytes.size());
    VQU8String* made = nullptr;
    if (VQStatus status = encode(session.service(), bytes.data(), bytes.size(), session.pool(), &made,
                                 !options.isUnpadded, options.isWrapped))
      throw InputOutputFailure(path + ": " + session.statusText(status));
    const InstancePointer<VQU8String> text(made);
    const std::string_view characters(text->text, text->length);
    session.out.write(characters);
    if (!characters.empty()) endsInNewline = characters.back() == '\n';
  }
  if (!endsInNewline) session.out.write("\n");
}

// What may stand in a text beside padding.
std::string allowedCharacters(bool isUrl) {
  return std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789") +
         (isUrl ? "-_" : "+/") + "\t\n =";
}

// Adds the characters that count, by lines: blanks and tabs are rare within one.
void appendCounting(std::string& text, std::string_view characters) {
  const bool hasBlanks = characters.find(' ') != std::string_view::npos ||  //
                         characters.find('\t') != std::string_view::npos;
  while (!characters.empty()) {
    const std::string_view line = characters.substr(0, characters.find('\n'));
    text += line;
    characters.remove_prefix(std::min(line.size() + 1, characters.size()));
  }
  if (hasBlanks) std::erase_if(text, [](char character) { return character == ' ' || character == '\t'; });
}

int decodeFile(Session& session, const Base64Options& options, const std::string& path) {
  const auto decode = options.isUrl ? vqU8StringDecodeBase64URL : vqU8StringDecodeBase64;
  FileChunks chunks(path);
  // The characters that count, of which whole groups are decoded and up to three wait.
  std::string text;
  for (bool isEnded = false; !isEnded && chunks.next();) {
    const size_t end = chunks.bytes().find('=');
    isEnded = end != std::string_view::npos || chunks.isLast();
    appendCounting(text, chunks.bytes().substr(0, end));
    const size_t length = isEnded ? text.size() : text.size() / 4 * 4;
    VQU8String string;
    vqU8StringInitStatic(session.service(), &string, session.pool(), text.data(),
                         static_cast<int64_t>(length));
    uint8_t* bytes = nullptr;
    uint64_t byteCount = 0;
    const VQStatus status = decode(&string, session.pool(), &bytes, &byteCount);
    if (status == VQSTATUS_BAD_ARGUMENT) {
      const size_t place = chunks.bytes().find_first_not_of(allowedCharacters(options.isUrl));
      const uint64_t offset = chunks.offset() + (place == std::string_view::npos ? 0 : place);
      std::fprintf(stderr, "vqs: %s: byte %llu: no character of Base64\n", escapedUtf8(path).c_str(),
                   static_cast<unsigned long long>(offset));
      return ExitFindings;
    }
    if (status != 0) throw InputOutputFailure(path + ": " + session.statusText(status));
    session.out.write({reinterpret_cast<const char*>(bytes), byteCount});
    if (bytes != nullptr) session.pool()->poolFree(session.pool(), bytes);
    text.erase(0, length);
  }
  return ExitFine;
}

int encodeFiles(Session& session, const Base64Options& options) {
  for (const std::string& path : options.files) encodeFile(session, options, path);
  return ExitFine;
}

int decodeFiles(Session& session, const Base64Options& options) {
  int exitCode = ExitFine;
  for (const std::string& path : options.files)
    exitCode = std::max(exitCode, decodeFile(session, options, path));
  return exitCode;
}

}  // namespace

void addBase64(CLI::App& app, Session& session) {
  CLI::App* family = app.add_subcommand("base64", "Write files as Base64 text, or read them back");
  family->require_subcommand(1);
  auto options = std::make_shared<Base64Options>();
  const auto add = [&](const char* name, const char* explanation,
                       int (*run)(Session&, const Base64Options&)) {
    CLI::App* command = family->add_subcommand(name, explanation);
    addFiles(*command, options->files);
    command->add_flag("-u,--url", options->isUrl,
                      "The alphabet that is safe in URLs and file names: - and _");
    command->final_callback([&session, options, run] {
      if (options->files.empty()) options->files.push_back("-");
      session.exitCode = run(session, *options);
    });
    return command;
  };
  CLI::App* encode = add("encode", encodeExplanation, encodeFiles);
  encode->add_flag("-w,--wrap", options->isWrapped, "Begin a new line after every 76 characters");
  encode->add_flag("--no-pad", options->isUnpadded, "Leave out the \"=\" at the end");
  encode->footer("Example:\n  vqs base64 encode --wrap picture.png > picture.txt");
  add("decode", decodeExplanation, decodeFiles)
      ->footer(
          "Example:\n  vqs base64 decode picture.txt > picture.png\n"
          "Exit codes: 0 all decoded, 1 something was no Base64, 2 wrong usage, 3 input or output error.");
}

}  // namespace vqs

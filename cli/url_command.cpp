// vqs url: percent escapes for whole files.
#include <cstdio>
#include <memory>

#include <CLI/CLI.hpp>

#include "escape.hpp"
#include "file_chunks.hpp"
#include "options.hpp"
#include "session.hpp"

namespace vqs {
namespace {

const char* const encodeExplanation =
    "Write files with percent escapes: all but ASCII letters, digits and the full stop becomes %XX, newlines "
    "too.";

const char* const decodeExplanation =
    "Take percent escapes out of files of UTF-8; a plus sign becomes a blank. What comes out must be UTF-8.";

// The bytes in front of a last sequence that goes on in the next chunk.
size_t endOfSequences(std::string_view bytes) {
  constexpr size_t longestSequence = 6;
  for (size_t back = 1; back < longestSequence && back <= bytes.size(); ++back) {
    const size_t at = bytes.size() - back;
    if (utf8_len(bytes.data() + at) > back) return at;
  }
  return bytes.size();
}

void encodeFile(Session& session, const std::string& path) {
  FileChunks chunks(path);
  while (chunks.next()) {
    const size_t length = chunks.isLast() ? chunks.bytes().size() : endOfSequences(chunks.bytes());
    chunks.take(length);
    VQU8String string;
    vqU8StringInitStatic(session.service(), &string, session.pool(), chunks.bytes().data(),
                         static_cast<int64_t>(length));
    if (VQStatus status = vqU8StringURLEncode(&string))
      throw InputOutputFailure(path + ": " + session.statusText(status));
    session.out.write({string.text, string.length});
    vqU8StringDestroy(&string);
  }
}

// Whether the byte in front of which a text is cut, or the one that the escape there stands for, goes on
// with a sequence.
bool isContinuation(std::string_view bytes, size_t at) {
  const char first = bytes[at] == '%' ? bytes[at + 1] : '\0';
  return bytes[at] == '%' ? first == '8' || first == '9' || (first | 0x20) == 'a' || (first | 0x20) == 'b'
                          : (bytes[at] & 0xC0) == 0x80;
}

// The bytes in front of the last character, so that no escape and no sequence of escapes is cut. At most six
// escapes of three bytes make a character; without a boundary among them the text is broken anyway.
size_t endOfCharacters(std::string_view bytes) {
  constexpr size_t longestCharacter = 6 * 3;
  if (bytes.size() < 2 * longestCharacter) return 0;
  size_t end = bytes.size() - longestCharacter;
  for (size_t at = bytes.size() - 2; at > bytes.size() - longestCharacter; --at) {
    const bool isInEscape = bytes[at - 1] == '%' || bytes[at - 2] == '%';
    if (!isInEscape && !isContinuation(bytes, at)) {
      end = at;
      break;
    }
  }
  return end;
}

int decodeFile(Session& session, const std::string& path) {
  FileChunks chunks(path);
  while (chunks.next()) {
    const size_t length = chunks.isLast() ? chunks.bytes().size() : endOfCharacters(chunks.bytes());
    chunks.take(length);
    VQString* made = nullptr;
    VQStatus status = vqStringEncode(session.service(), &made, session.pool(), chunks.bytes().data(),
                                     static_cast<int64_t>(length), ENC_UTF8);
    const InstancePointer<VQString> string(made);
    if (status == 0) status = vqStringURLDecode(string.get());
    VQU8String* utf8 = nullptr;
    if (status == 0) status = vqStringGetU8String(string.get(), &utf8, session.pool());
    if (status == VQSTATUS_NO_MEMORY) throw InputOutputFailure(path + ": " + session.statusText(status));
    if (status != 0) {
      std::fprintf(stderr, "vqs: %s: no UTF-8 comes out between byte %llu and byte %llu: %s\n",
                   escapedUtf8(path).c_str(), static_cast<unsigned long long>(chunks.offset()),
                   static_cast<unsigned long long>(chunks.offset() + length),
                   session.statusText(status).c_str());
      return ExitFindings;
    }
    const InstancePointer<VQU8String> text(utf8);
    session.out.write({text->text, text->length});
  }
  return ExitFine;
}

}  // namespace

void addUrl(CLI::App& app, Session& session) {
  CLI::App* family = app.add_subcommand("url", "Write percent escapes, or take them out");
  family->require_subcommand(1);
  auto files = std::make_shared<std::vector<std::string>>();
  const auto add = [&](const char* name, const char* explanation, auto run) {
    CLI::App* command = family->add_subcommand(name, explanation);
    addFiles(*command, *files);
    command->final_callback([&session, files, run] {
      if (files->empty()) files->push_back("-");
      for (const std::string& path : *files)
        session.exitCode = std::max<int>(session.exitCode, run(session, path));
    });
    return command;
  };
  add("encode", encodeExplanation, [](Session& running, const std::string& path) {
    encodeFile(running, path);
    return ExitFine;
  })->footer("Example:\n  printf 'a b&c' | vqs url encode");
  add("decode", decodeExplanation, decodeFile)
      ->footer(
          "Example:\n  printf 'a%%20b' | vqs url decode\n"
          "Exit codes: 0 all decoded, 1 something was no UTF-8, 2 wrong usage, 3 input or output error.");
}

}  // namespace vqs

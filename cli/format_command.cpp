// vqs format: printf with the arguments of the command line.
//
// The arguments of a format are of many types, and a list of them cannot be put together at run time: the
// format is cut behind each conversion, and the pieces are appended one by one with the argument of their
// own.
#include <charconv>
#include <memory>
#include <string_view>

#include <CLI/CLI.hpp>

#include "session.hpp"
#include "text_argument.hpp"

namespace vqs {
namespace {

struct FormatOptions {
  std::string format;
  std::vector<std::string> arguments;
};

const char* const examples =
    "Conversions: %d %i %u %o %x %X (sizes hh h l ll j z t), %f %e %g %a (size L), %c, %s, %ls, %p, %%;\n"
    "flags - + blank # 0, a width and a precision, each also by * and an argument of its own.\n"
    "Backslash escapes in the format: \\t \\n \\\\ \\u{HEX}.\n"
    "Examples:\n"
    "  vqs format '%05d|%-8s|%.3f' 42 name 2.71828\n"
    "  vqs format '%*s' 20 right\n"
    "Exit codes: 0 all fine, 2 wrong usage, a wrong format among it, 3 output error.";

class Formatter {
 public:
  Formatter(Session& session, const FormatOptions& options)
      : session_(session),
        arguments_(options.arguments),
        format_(textArgument(session, "FORMAT", options.format, true)) {
    VQStringService* service = session.service();
    VQString* string = service->vqStringCreate(service, session.pool(), nullptr, 0, 1);
    if (!string) throw std::bad_alloc();
    out_.reset(string);
  }

  std::string run() {
    for (size_t at = 0; at < format_.size();) {
      const size_t percent = std::min(format_.find(U'%', at), format_.size());
      append(format_.substr(at, percent - at));
      at = percent == format_.size() ? percent : convert(percent);
    }
    if (used_ != arguments_.size()) throw UsageFailure("the format takes fewer arguments than were given");
    char* bytes = nullptr;
    uint64_t count = 0;
    check(session_.service()->vqStringGetU8Bytes(out_.get(), session_.pool(), &bytes, &count));
    std::string text(bytes, count);
    session_.pool()->poolFree(session_.pool(), bytes);
    return text;
  }

 private:
  // One conversion; answers where the format goes on behind it.
  size_t convert(size_t start) {
    std::u32string piece = U"%";
    bool isLongText = false, isWide64 = false, isLongDouble = false;
    for (size_t at = start + 1; at < format_.size(); ++at) {
      const char32_t c = format_[at];
      if (c == U'*') {
        const std::string count = std::to_string(number<int>());
        piece.append(count.begin(), count.end());
        continue;
      }
      piece += c;
      isLongText = isLongText || c == U'l';
      isWide64 = isWide64 || c == U'l' || c == U'j' || c == U'z' || c == U't';
      isLongDouble = isLongDouble || c == U'L';
      if (std::u32string_view(U"-+ #0123456789.hljztL").find(c) != std::u32string_view::npos) continue;
      convertOne(piece, c, isLongText, isWide64, isLongDouble);
      return at + 1;
    }
    throw UsageFailure("the format ends inside a conversion");
  }

  void convertOne(const std::u32string& piece, char32_t letter, bool isLongText, bool isWide64,
                  bool isLongDouble) {
    switch (letter) {
      case U'%':
        append(piece);
        return;
      case U'd':
      case U'i':
        isWide64 ? append(piece, number<int64_t>()) : append(piece, number<int>());
        return;
      case U'u':
      case U'o':
      case U'x':
      case U'X':
        isWide64 ? append(piece, number<uint64_t>()) : append(piece, number<unsigned>());
        return;
      case U's':
      case U'S':
        appendText(piece, letter == U'S' || isLongText);
        return;
      case U'c':
        appendCharacter(piece);
        return;
      case U'p':
        append(piece, reinterpret_cast<void*>(number<uint64_t>()));
        return;
      default:
        break;
    }
    if (std::u32string_view(U"fegaFEGA").find(letter) != std::u32string_view::npos) {
      isLongDouble ? append(piece, static_cast<long double>(number<double>()))
                   : append(piece, number<double>());
      return;
    }
    // Not among them, and refused by the service: %n takes no argument here.
    append(piece);
  }

  void appendText(const std::u32string& piece, bool isWide) {
    const std::string& bytes = next();
    if (isWide) {
      append(piece, textArgument(session_, "the argument of %ls", bytes, false).c_str());
    } else {
      append(piece, bytes.c_str());
    }
  }

  void appendCharacter(const std::u32string& piece) {
    const std::u32string text = textArgument(session_, "the argument of %c", next(), false);
    if (text.size() != 1) throw UsageFailure("%c takes one character");
    append(piece, static_cast<int>(text[0]));
  }

  template <class... Argument>
  void append(const std::u32string& piece, Argument... argument) {
    check(session_.service()->vqStringConcatFormat(out_.get(), nullptr, piece.data(),
                                                   static_cast<int64_t>(piece.size()), argument...));
  }

  void check(VQStatus status) {
    if (status == VQSTATUS_NO_MEMORY) throw std::bad_alloc();
    if (status) throw UsageFailure(session_.statusText(status));
  }

  const std::string& next() {
    if (used_ == arguments_.size()) throw UsageFailure("the format takes more arguments than were given");
    return arguments_[used_++];
  }

  template <class Number>
  Number number() {
    const std::string& text = next();
    Number value{};
    const char* end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || last != end)
      throw UsageFailure("\"" + text + "\" is no number of the conversion's type");
    return value;
  }

  Session& session_;
  const std::vector<std::string>& arguments_;
  const std::u32string format_;
  size_t used_ = 0;
  InstancePointer<VQString> out_;
};

}  // namespace

void addFormat(CLI::App& app, Session& session) {
  auto options = std::make_shared<FormatOptions>();
  CLI::App* command = app.add_subcommand("format", "Format arguments as printf does");
  command->footer(examples);
  command->add_option("FORMAT", options->format, "The format")->required();
  command->add_option("ARGUMENT", options->arguments, "What its conversions take");
  command->final_callback([&session, options] {
    session.out.write(Formatter(session, *options).run() + "\n");
    session.exitCode = ExitFine;
  });
}

}  // namespace vqs

// vqs convert: what comes out, and what is told about the first sequence that cannot be converted.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tool_runner.hpp"

namespace {

using cli_test::Outcome;
using cli_test::runTool;
using cli_test::ScratchFile;
using namespace std::string_literals;

Outcome convert(const std::string& from, const std::string& to, const std::string& onError,
                const std::string& input) {
  return runTool({"convert", "--from", from, "--to", to, "--on-error", onError}, input);
}

TEST(Convert, WritesTheTargetAndTellsTheFirstFault) {
  const struct {
    const char* from;
    const char* to;
    const char* onError;
    std::string input;
    std::string out;
    std::string message;  // empty: all converted
  } cases[] = {
      {"UTF-8", "UTF-16LE", "stop", "a\xe2\x82\xac\n", "a\0\xac\x20\n\0"s, ""},
      {"windows-1251", "UTF-8", "stop", "\xc4\xe0", "\xd0\x94\xd0\xb0", ""},
      {"UTF-8", "UTF-8", "stop", "", "", ""},
      {"UTF-8", "UTF-8", "stop", "ok\nb\xff\xfe!\n", "ok\nb", "-:2: byte 4: ill-formed UTF-8: ff"},
      {"UTF-8", "UTF-8", "skip", "ok\nb\xff\xfe!\n", "ok\nb!\n", "-: 2 skipped"},
      {"UTF-8", "UTF-8", "replace", "ok\nb\xff!\n", "ok\nb\xef\xbf\xbd!\n", "-: 1 replaced"},
      {"UTF-8", "ISO-8859-1", "replace", "\xc3\xa9\n\xe2\x82\xac.", "\xe9\n?.",
       "-:2: byte 3: no place in ISO-8859-1 for \xe2\x82\xac\n"},
      {"UTF-8", "UTF-16BE", "stop", "a\nb\n\xe2\x82", "\0a\0\n\0b\0\n"s,
       "-:3: byte 4: incomplete UTF-8: e2 82"},
      {"UTF-16LE", "UTF-8", "stop", "\n\0\n\n\n\0\x00\xdc"s, "\n\xe0\xa8\x8a\n",
       "-:3: byte 6: ill-formed UTF-16LE"},
      {"UTF-16LE", "UTF-8", "skip", "a\0b"s, "a", "-:1: byte 2: incomplete UTF-16LE: 62"},
      {"UTF-16", "UTF-8", "stop", "\xff\xfe\n\0\x00\xdc"s, "\n", "-:2: byte 4: ill-formed UTF-16"},
      {"Shift_JIS", "UTF-8", "stop", "\x93\x8c\n\x81\x01", "\xe6\x9d\xb1\n",
       "-:2: byte 3: ill-formed Shift_JIS"},
  };
  for (const auto& [from, to, onError, input, out, message] : cases) {
    const Outcome run = convert(from, to, onError, input);
    EXPECT_EQ(run.exitCode, message.empty() ? 0 : 1) << from << input;
    EXPECT_EQ(run.out, out) << from << input;
    EXPECT_THAT(run.err, testing::HasSubstr(message)) << from << input;
  }
}

// Three-byte characters stand across the edges of every piece that is read.
TEST(Convert, CharactersAcrossPiecesStayWhole) {
  std::string text = "x";
  for (int line = 0; line < 3000; ++line) {
    for (int count = 0; count < 40; ++count) text += "\xe6\x9d\xb1";
    text += '\n';
  }
  const Outcome there = convert("UTF-8", "UTF-16BE", "stop", text);
  EXPECT_EQ(there.exitCode, 0);
  EXPECT_EQ(there.out.size(), 2u + 3000 * 82);
  EXPECT_TRUE(convert("UTF-16BE", "UTF-8", "stop", there.out).out == text);

  for (const size_t at : {65535u, 65536u, 131070u, 131071u, 131072u, 131073u}) {
    std::string broken = text;
    // The first byte of the character that stands at `at`.
    size_t lead = at;
    while ((broken[lead] & 0xc0) == 0x80 || broken[lead] == '\n') --lead;
    broken.erase(lead + 1, 1);
    const auto line = 1 + std::count(broken.begin(), broken.begin() + static_cast<ptrdiff_t>(lead), '\n');
    const Outcome run = convert("UTF-8", "UTF-16BE", "stop", broken);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, testing::HasSubstr("-:" + std::to_string(line) + ": byte " + std::to_string(lead) +
                                            ": ill-formed UTF-8: e6"));
  }
}

TEST(Convert, EachFileBeginsAfresh) {
  const ScratchFile first("a\xe2\x82"), second("b\n\xff");
  const ScratchFile target;
  const Outcome run = runTool({"convert", "-f", "UTF-8", "-t", "UTF-8", "--on-error", "skip", "-o",
                               target.path(), first.path(), second.path()});
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(target.contents(), "ab\n");
  EXPECT_THAT(run.err, testing::HasSubstr(first.path() + ":1: byte 1: incomplete"));
  EXPECT_THAT(run.err, testing::HasSubstr(second.path() + ":2: byte 2: ill-formed"));
}

}  // namespace

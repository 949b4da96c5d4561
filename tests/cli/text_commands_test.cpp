// The commands that rewrite and search text: tokens, find, replace, trim, compare.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tool_runner.hpp"

namespace {

using cli_test::Outcome;
using cli_test::runTool;
using cli_test::ScratchFile;
using testing::HasSubstr;

struct Case {
  std::vector<std::string> arguments;
  std::string input;
  std::string output;
  int exitCode;
};

void expectAll(const std::vector<Case>& cases) {
  for (const Case& row : cases) {
    std::string shown;
    for (const std::string& argument : row.arguments) shown += " " + argument;
    SCOPED_TRACE(shown);
    const auto run = runTool(row.arguments, row.input);
    EXPECT_EQ(run.out, row.output);
    EXPECT_EQ(run.exitCode, row.exitCode) << run.err;
  }
}

TEST(TokensCommand, CutsAsAsked) {
  using namespace std::string_literals;
  expectAll({
      {{"tokens"}, "a\tb\n", "a\nb\n", 0},
      {{"tokens", "-s", ",;"}, "a,b;c,\n\nd", "a\nb\nc\n\nd\n", 0},
      // A sequence at the end leaves nothing behind, a set an empty piece.
      {{"tokens", "-d", "--"}, "a--b-c--\n", "a\nb-c\n", 0},
      {{"tokens", "-d", "-", "-d", "--"}, "a--b\n", "a\n\nb\n", 0},
      {{"tokens", "-d", "--", "-d", "-"}, "a--b-c\n", "a\nb\nc\n", 0},
      {{"tokens", "-s", ":", "-f", "2,4-", "--join", "+"}, "a:b:c:d:e\r\nf\n", "b+d+e\r\n\n", 0},
      {{"tokens", "-s", " ", "--skip-empty", "-f", "2"}, "a   b c\n", "b\n", 0},
      {{"tokens", "-e", "-s", "\\t\\u{2013}", "--join", "\\\\"}, "a\tb\xE2\x80\x93"s + "c\n", "a\\b\\c\n", 0},
      {{"tokens", "-0", "-s", ","}, "a,b\0c\n"s, "a\0b\0c\n\0"s, 0},
      {{"tokens", "--encoding", "windows-1251", "-s", "\xD1\x8F"}, "\xE0\xFF\xE1\n", "\xE0\n\xE1\n", 0},
      {{"tokens", "--encoding", "UTF-16LE", "-s", ","}, "a\0,\0b\0\n\0"s, "a\0\n\0b\0\n\0"s, 0},
      {{"tokens", "-f", "0"}, "", "", 2},
      {{"tokens", "-f", "3-2"}, "", "", 2},
      {{"tokens", "-s", ",", "-d", ","}, "", "", 2},
      {{"tokens", "-e", "-s", "\\u{110000}"}, "", "", 2},
      {{"tokens", "-s", "\xFF"}, "", "", 2},
  });
}

TEST(FindCommand, PrintsWhatHoldsTheText) {
  const std::string input = "Abc\nxabc\n\xC3\x84-a\nabc";
  expectAll({
      {{"find", "abc"}, input, "xabc\nabc\n", 0},
      {{"find", "-i", "ABC", "-n"}, input, "1:Abc\n2:xabc\n4:abc\n", 0},
      {{"find", "-i", "\xC3\xA4-A"}, input, "\xC3\x84-a\n", 0},
      {{"find", "-v", "abc"}, input, "Abc\n\xC3\x84-a\n", 0},
      {{"find", "-c", "abc"}, input, "2\n", 0},
      {{"find", "-q", "abc"}, input, "", 0},
      {{"find", "--at", "start", "abc"}, input, "abc\n", 0},
      {{"find", "--at", "end", "bc", "--index"}, input, "2:Abc\n3:xabc\n2:abc\n", 0},
      {{"find", "--at", "whole", "-i", "abc"}, input, "Abc\nabc\n", 0},
      {{"find", "--index", "a"}, input, "2:xabc\n3:\xC3\x84-a\n1:abc\n", 0},
      {{"find", "."}, input, "", 1},
      {{"find", "-c", "."}, input, "0\n", 1},
      {{"find", "--encoding", "windows-1251", "\xD1\x8F"}, "\xFF!\r\n\xE0\n", "\xFF!\r\n", 0},
      {{"find", "x", "/nowhere/at/all"}, "", "", 3},
      {{"find", "--encoding", "no such thing", "x"}, "", "", 2},
  });
  const ScratchFile one("abc\n"), two("xyz\nabcd\n");
  EXPECT_EQ(runTool({"find", "c", one.path(), two.path()}).out,
            one.path() + ":abc\n" + two.path() + ":abcd\n");
  EXPECT_EQ(runTool({"find", "-c", "z", one.path(), two.path()}).out,
            one.path() + ":0\n" + two.path() + ":1\n");
}

TEST(ReplaceCommand, ReplacesLiterally) {
  expectAll({
      {{"replace", "a", "aa"}, "banana\r\nxyz\na", "baanaanaa\r\nxyz\naa", 0},
      {{"replace", "--first", "a", ""}, "banana\n", "bnana\n", 0},
      {{"replace", "--changed", ".", "!"}, "a.b\nab\n", "a!b\n", 0},
      {{"replace", "-e", "\\t", "\\u{20AC}"},
       "a\tb\n",
       "a\xE2\x82\xAC"
       "b\n",
       0},
      {{"replace", "--", "-a", "b"}, "x-a\n", "xb\n", 0},
      {{"replace", "--encoding", "windows-1252", "-", "\xE2\x82\xAC"}, "a-\xE9\n", "a\x80\xE9\n", 0},
      // The encoding of the input cannot hold what is put in.
      {{"replace", "--encoding", "ISO-8859-1", "-", "\xE2\x82\xAC"}, "a-\n", "", 2},
      {{"replace", "", "x"}, "a\n", "", 2},
      {{"replace", "x"}, "a\n", "", 2},
  });
}

TEST(TrimCommand, TakesTheWhitespaceOfUnicode) {
  expectAll({
      {{"trim"}, " \t a b \n\xC2\xA0\xE3\x80\x80x\xE2\x80\xA8\n\n   \nlast ", "a b\nx\n\n\nlast", 0},
      {{"trim", "--encoding", "windows-1252"}, "\xA0\xE9\xA0\r\n", "\xE9\r\n", 0},
  });
}

// Ill-formed lines are told once, go through an edit as they stand, and are never found.
TEST(TextCommands, TellIllFormedLines) {
  const std::string input = " ok \n \xFF \n \xC3\n ok ";
  for (const Case& row :
       {Case{{"trim"}, input, "ok\n \xFF \n \xC3\nok", 1}, Case{{"find", "ok"}, input, " ok \n ok \n", 1}}) {
    const auto run = runTool(row.arguments, row.input);
    EXPECT_EQ(run.out, row.output);
    EXPECT_EQ(run.exitCode, row.exitCode);
    EXPECT_THAT(run.err, HasSubstr("-:2: ill-formed UTF-8"));
    EXPECT_THAT(run.err, HasSubstr("2 ill-formed records"));
  }
}

// More than one block and several threads: the order stays.
TEST(TextCommands, KeepTheOrderOfLargeInput) {
  std::string input, expected, found;
  for (int line = 0; line < 100'000; ++line) {
    const std::string number = std::to_string(line);
    input += " " + number + " \n";
    expected += number + "\n";
    if (number.ends_with("77")) found += std::to_string(line + 1) + ": " + number + " \n";
  }
  EXPECT_EQ(runTool({"trim", "-j", "4"}, input).out, expected);
  EXPECT_EQ(runTool({"find", "-n", "-j", "4", "--at", "end", "77 "}, input).out, found);
}

TEST(CompareCommand, ComparesTextNotBytes) {
  const ScratchFile utf8("\xC3\xA9t\xC3\xA9\nzwei\n"), latin("\xE9t\xE9\r\nzwei"),
      capital("\xC3\x89T\xC3\x89\nZWEI\n"), longer("\xC3\xA9t\xC3\xA9\nzwei\ndrei\n"), broken("\xFF\nzwei\n");
  const struct {
    std::vector<std::string> options;
    const ScratchFile& other;
    int exitCode;
    std::string said;
  } rows[] = {
      {{}, utf8, 0, ""},
      {{"--second-encoding", "ISO-8859-1"}, latin, 0, ""},
      {{}, capital, 1, "line 1: differs"},
      {{"-a"}, capital, 1, "line 2: differs"},
      {{"-i"}, capital, 0, ""},
      {{}, longer, 1, utf8.path() + " ends before line 3"},
      {{}, broken, 1, "line 1: ill-formed UTF-8 in " + broken.path()},
      {{"-q"}, longer, 1, ""},
  };
  for (const auto& row : rows) {
    std::vector<std::string> arguments{"compare"};
    arguments.insert(arguments.end(), row.options.begin(), row.options.end());
    arguments.insert(arguments.end(), {utf8.path(), row.other.path()});
    const auto run = runTool(arguments);
    SCOPED_TRACE(run.out + run.err);
    EXPECT_EQ(run.exitCode, row.exitCode);
    if (row.said.empty()) {
      EXPECT_EQ(run.out, "");
    } else {
      EXPECT_THAT(run.out, HasSubstr(row.said));
    }
  }
  EXPECT_EQ(runTool({"compare", utf8.path(), "/nowhere/at/all"}).exitCode, 3);
  EXPECT_EQ(runTool({"compare", "-", "-"}).exitCode, 2);
}

}  // namespace

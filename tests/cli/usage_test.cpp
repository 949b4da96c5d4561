// What the tool says and ends with when it is called in a wrong way, or cannot read or write.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tool_runner.hpp"

namespace {

using cli_test::Outcome;
using cli_test::runShell;
using cli_test::runTool;
using cli_test::ScratchFile;
using testing::HasSubstr;

TEST(Usage, WrongArgumentsEndWithTwo) {
  const ScratchFile badPatterns("fine\na(\n");
  const struct {
    std::vector<std::string> arguments;
    const char* message;
  } cases[] = {
      {{}, "subcommand is required"},
      {{"frobnicate"}, "no command is called \"frobnicate\""},
      {{"check", "--bogus"}, "--bogus"},
      {{"check", "--min-length", "-1"}, "no count"},
      {{"check", "--max-length", "18446744073709551616"}, "no count"},
      {{"check", "--min-length", "4", "--max-length", "3"}, "no value could pass"},
      {{"check", "--unit", "words"}, "bytes|characters"},
      {{"check", "--encoding", "no-such"}, "no encoding is called \"no-such\""},
      {{"check", "--jobs", "0"}, "--jobs"},
      {{"check", "--value", "\xff"}, "not UTF-8"},
      {{"check", "--pattern", "a("}, "\"a(\" does not compile"},
      {{"check", "--patterns-from", badPatterns.path()}, ":2: \"a(\" does not compile"},
      {{"convert", "--from", "UTF-8"}, "--to is required"},
      {{"convert", "--from", "UTF-8", "--to", "nowhere"}, "no encoding is called \"nowhere\""},
      {{"summary", "/dev/null"}, "not a summary"},
  };
  for (const auto& [arguments, message] : cases) {
    const Outcome run = runTool(arguments, "value\n");
    EXPECT_EQ(run.exitCode, 2) << message;
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr(message));
  }
}

TEST(Usage, ConstraintIsJudgedBeforeAnyInputIsOpened) {
  EXPECT_EQ(runTool({"check", "--pattern", "a(", "/no/such/file"}).exitCode, 2);
}

TEST(Usage, InputAndOutputErrorsEndWithThree) {
  const ScratchFile bad("<script>\n");
  const struct {
    std::string script;
    const char* message;
  } cases[] = {
      {"$VQS check /no/such/file", "/no/such/file: No such file"},
      {"$VQS check /", "/: Is a directory"},
      {"$VQS check --values-from /no/such/file", "/no/such/file: No such file"},
      {"$VQS check --summary /no/such/folder/x", "/no/such/folder/x: No such file"},
      {"$VQS check " + bad.path() + " >/dev/full", "No space left"},
      {"$VQS check --print none --summary /dev/full " + bad.path(), "No space left"},
      {"$VQS convert -f UTF-8 -t UTF-16LE " + bad.path() + " >/dev/full", "No space left"},
      {"$VQS convert -f UTF-8 -t UTF-16LE /no/such/file", "/no/such/file: No such file"},
  };
  for (const auto& [script, message] : cases) {
    const Outcome run = runShell(script, "value\n");
    EXPECT_EQ(run.exitCode, 3) << script;
    EXPECT_THAT(run.err, HasSubstr(message)) << script;
  }
}

TEST(Usage, WhatWasFoundBeforeAMissingFileIsWritten) {
  const ScratchFile bad("<script>\n");
  const Outcome run = runTool({"check", bad.path(), "/no/such/file"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.out, HasSubstr("forbidden pattern"));
}

TEST(Usage, AReaderThatGoesAwayIsNoFault) {
  const Outcome run = runShell("yes '<script>' | head -n 200000 | $VQS check | head -n 1");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("-:1: byte 0:"));
  EXPECT_EQ(run.err, "");
}

TEST(Usage, HelpAndVersionNameWhatThereIs) {
  EXPECT_THAT(runTool({"--version"}).out, HasSubstr("libvqstring 2.0.0"));
  EXPECT_THAT(runTool({"check", "--help"}).out, HasSubstr("--patterns-from"));
  EXPECT_THAT(runTool({"encodings"}).out, HasSubstr("    20  UTF-8   "));
}

}  // namespace

// vqs render, status and format: typed values, codes and arguments as text.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tool_runner.hpp"

namespace {

using cli_test::Outcome;
using cli_test::runTool;
using testing::HasSubstr;

TEST(Render, ValuesByFormAndLocale) {
  const struct {
    std::vector<std::string> arguments;
    std::string out;
  } cases[] = {
      {{"--iso", "string", "h\u00E9"}, "h\u00E9\n"},
      {{"--iso", "boolean", "true", "false"}, "true\nfalse\n"},
      {{"--iso", "int32", "--", "-17"}, "-17\n"},
      {{"--iso", "uint64", "18446744073709551615"}, "18446744073709551615\n"},
      {{"--locale", "de_DE", "double", "1234567.25"}, "1.234.567,25\n"},
      {{"--locale", "de_DE", "date", "2024-02-09"}, "09.02.2024\n"},
      {{"--iso", "date", "2024-02-09"}, "2024-02-09\n"},
      {{"--iso", "time", "13:05:09.250+05:30"}, "13:05:09.250+05:30\n"},
      {{"--locale", "de_DE", "time", "13:05:09+01"}, "14:05:09\n"},
      {{"--iso", "datetime", "2000000000"}, "2023-05-18T03:33:20\n"},
      {{"--iso", "datetime", "2024-02-09T13:05:09.250-0330"}, "2024-02-09T13:05:09.250-0330\n"},
      {{"--iso", "datetime", "1601-01-01T00:00:01"}, "1601-01-01T00:00:01\n"},
      {{"--iso", "calendar-datetime", "2024-13-09T13:05:09"}, "2024-13-09T13:05:09\n"},
  };
  for (const auto& row : cases) {
    std::vector<std::string> arguments = row.arguments;
    arguments.insert(arguments.begin(), "render");
    const Outcome run = runTool(arguments);
    EXPECT_EQ(run.out, row.out) << run.err;
    EXPECT_EQ(run.exitCode, 0);
  }
  // A date that the locale cannot show does not hide the next one.
  const Outcome run = runTool({"render", "--locale", "de_DE", "date", "2024-02-30", "2024-03-01"});
  EXPECT_EQ(run.out, "01.03.2024\n");
  EXPECT_THAT(run.err, HasSubstr("2024-02-30"));
  EXPECT_EQ(run.exitCode, 1);
}

TEST(Status, CodesInWords) {
  const Outcome known = runTool({"status", "0x803fe808", "2151661570"});
  EXPECT_EQ(known.out,
            "The text contains a sequence that its encoding does not allow (0x803fe808)\n"
            "Out of memory (0x803fc002)\n");
  EXPECT_EQ(known.exitCode, 0);
  EXPECT_EQ(runTool({"status", "0x1234"}).exitCode, 1);
}

TEST(Format, ArgumentsOfTheCommandLine) {
  const struct {
    std::vector<std::string> arguments;
    std::string out;
  } cases[] = {
      {{"%05d|%-8s|%.3f", "42", "h\u00E9", "2.71828"}, "00042|h\u00E9      |2.718\n"},
      {{"%*s%%%lld", "6", "ab", "9000000000"}, "    ab%9000000000\n"},
      {{"%c%ls\\u{1f600}", "\u20AC", "x"}, "\u20ACx\U0001F600\n"},
      {{"%#x %g %Lg", "255", "1e300", "0.5"}, "0xff 1e+300 0.5\n"},
      {{"plain"}, "plain\n"},
  };
  for (const auto& row : cases) {
    std::vector<std::string> arguments = row.arguments;
    arguments.insert(arguments.begin(), "format");
    const Outcome run = runTool(arguments);
    EXPECT_EQ(run.out, row.out) << run.err;
  }
}

TEST(RenderStatusFormat, WrongArgumentsEndWithTwo) {
  const struct {
    std::vector<std::string> arguments;
    const char* message;
  } cases[] = {
      {{"render", "--iso", "colour", "red"}, "no type is called"},
      {{"render", "--iso", "int32", "2147483648"}, "is no int32"},
      {{"render", "--iso", "date", "2024-02"}, "is no date"},
      {{"render", "--iso", "--locale", "de", "int32", "1"}, "excludes"},
      {{"status", "wrong"}, "is no status code"},
      {{"format", "%d"}, "more arguments than were given"},
      {{"format", "%d", "1", "2"}, "fewer arguments than were given"},
      {{"format", "%n"}, "conversion"},
      {{"format", "%d", "x"}, "is no number"},
      {{"format", "%5"}, "ends inside a conversion"},
  };
  for (const auto& [arguments, message] : cases) {
    const Outcome run = runTool(arguments);
    EXPECT_EQ(run.exitCode, 2) << message;
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr(message));
  }
}

}  // namespace

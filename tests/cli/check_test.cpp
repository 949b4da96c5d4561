// vqs check: which values are rejected, for what reason, and how that is told.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tool_runner.hpp"

namespace {

using cli_test::Outcome;
using cli_test::runShell;
using cli_test::runTool;
using cli_test::ScratchFile;
using testing::HasSubstr;
using Json = nlohmann::json;

std::vector<std::string> check(std::vector<std::string> more) {
  more.insert(more.begin(), "check");
  return more;
}

std::vector<Json> verdicts(std::vector<std::string> arguments, const std::string& input) {
  for (const char* more : {"--format", "json", "--print", "all"}) arguments.push_back(more);
  std::vector<Json> lines;
  std::istringstream out(runTool(check(arguments), input).out);
  for (std::string line; std::getline(out, line);) lines.push_back(Json::parse(line));
  return lines;
}

TEST(Check, TellsTheReasonInWords) {
  const ScratchFile values("red\nblue\n");
  const ScratchFile patterns("[0-9]+$\n");
  const struct {
    std::vector<std::string> arguments;
    std::string value;
    std::string detail;  // empty: accepted
  } cases[] = {
      {{}, "plain", ""},
      {{}, "a <script>", "contains the forbidden pattern (?i)<script> at character 3"},
      {{},
       "\xf0\x9f\x98\x80\xf0\x9f\x98\x80JavaScript:x",
       "contains the forbidden pattern (?i)javascript: at character 3"},
      {{"--unit", "bytes"},
       "\xc3\xa9< script >",
       "contains the forbidden pattern (?i)< */? *script *> at character 2"},
      {{"--no-builtin"}, "<script>", ""},
      {{"--min-length", "3"}, "\xc3\xa9", "too short: 1 character, at least 3 wanted"},
      {{"--min-length", "3"}, "abc", ""},
      {{"--max-length", "3"}, "abcd", "too long: 4 characters, at most 3 allowed"},
      {{"--max-length", "3"}, "\xe6\x9d\xb1\xe4\xba\xac!", ""},
      {{"--max-length", "3", "--unit", "bytes"}, "\xe6\x9d\xb1!", "too long: 4 bytes, at most 3 allowed"},
      {{"--value", "a", "--value", "b"}, "b", ""},
      {{"--value", "a", "--value", "b"}, "c", "not one of the allowed values"},
      {{"--value", "[a,b]"}, "[a,b]", ""},
      {{"--values-from", values.path()}, "blue", ""},
      {{"--values-from", values.path()}, "green", "not one of the allowed values"},
      {{"--values-from", "/dev/null"}, "", "not one of the allowed values"},
      {{"--pattern", "[a,b]+$"}, "a,b", ""},
      {{"--pattern", "b"}, "ab", "no pattern matches"},
      {{"--pattern", "\xc3\xa9", "--unit", "bytes"}, "\xc3\xa9t\xc3\xa9", ""},
      {{"--patterns-from", patterns.path(), "--value", "x"}, "42", ""},
      {{"--patterns-from", patterns.path(), "--value", "x"},
       "y",
       "not one of the allowed values, and no pattern matches"},
      {{"--value", "<script>"}, "<script>", "contains the forbidden pattern (?i)<script> at character 1"},
      {{"--pattern", "(a+)+$", "--time-limit", "20"}, std::string(60, 'a') + "b", "could not be checked: "},
      {{}, "ab\xff", "ill-formed UTF-8 at byte 2"},
      {{"--unit", "bytes"}, "ab\xed\xa0\x80", "ill-formed UTF-8 at byte 2"},
      {{}, "ab\xe6\x9d", "incomplete UTF-8 at byte 2"},
      {{"--encoding", "Shift_JIS"}, "\x93\x8c\xff", "ill-formed Shift_JIS at byte 2"},
  };
  for (const auto& [arguments, value, detail] : cases) {
    const std::vector<Json> lines = verdicts(arguments, value + "\n");
    ASSERT_EQ(lines.size(), 1u) << value;
    EXPECT_EQ(lines[0]["verdict"], detail.empty() ? "accepted" : "rejected") << value;
    EXPECT_THAT(lines[0].value("detail", ""), testing::StartsWith(detail)) << value;
  }
}

TEST(Check, FindingsAreLinesForPeople) {
  const Outcome run = runTool(check({"--max-length", "5"}),
                              "fine\nab\xff\x0a"
                              "too long\n");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.out,
              testing::StartsWith("-:2: byte 5: ill-formed UTF-8 at byte 7: ab\\xff\n"
                                  "-:3: byte 9: too long: 8 characters, at most 5 allowed: too long\n"
                                  "3 checked (18 bytes in "));
  EXPECT_THAT(run.out, HasSubstr(" s): 1 accepted, 2 rejected\n"));
}

TEST(Check, TextIsSafeForATerminal) {
  const Outcome run = runTool(check({"--print", "all"}),
                              "\x1b[31m\t\\\xc2\x9b\xe2\x80\xae"
                              "\xef\xbb\xbf\xf3\xa0\x80\xa0 \xf0\x9f\x98\x80\xc3\xa9\n");
  EXPECT_THAT(run.out, HasSubstr("accepted: \\u{1b}[31m\\t\\\\\\u{9b}\\u{202e}\\u{feff}\\u{e0020} "
                                 "\xf0\x9f\x98\x80\xc3\xa9\n"));
  const Outcome missing = runTool(check({"/no/\x1b[2J"}));
  EXPECT_THAT(missing.err, HasSubstr("/no/\\u{1b}[2J"));
}

TEST(Check, TablesKeepOneRowARecord) {
  const Outcome run =
      runTool(check({"-0", "--print", "all", "--format", "tsv"}), std::string("a\tb\nc\\\0<script>", 15));
  EXPECT_EQ(
      run.out,
      "file\tline\toffset\tverdict\treason\tdetail\ttext\n"
      "-\t1\t0\taccepted\t\t\ta\\tb\\nc\\\\\n"
      "-\t2\t7\trejected\tforbidden\tcontains the forbidden pattern (?i)<script> at character 1\t<script>\n");
}

TEST(Check, PrintChoosesWhatIsListed) {
  const struct {
    const char* print;
    const char* out;
  } cases[] = {{"rejected", "<script>\n"}, {"accepted", "fine\n"}, {"all", "fine\n<script>\n"}, {"none", ""}};
  for (const auto& [print, out] : cases) {
    const Outcome run = runShell(
        "$VQS check --format tsv --print " + std::string(print) + " 2>/dev/null | tail -n +2 | cut -f7",
        "fine\n<script>\n");
    EXPECT_EQ(run.out, out);
  }
  const Outcome quiet = runTool(check({"--quiet"}), "<script>\n");
  EXPECT_EQ(quiet.exitCode, 1);
  EXPECT_EQ(quiet.out + quiet.err, "");
}

TEST(Check, EmptyInputPrintsNothing) {
  for (const char* format : {"text", "tsv", "json"}) {
    const Outcome run = runTool(check({"--format", format, "--print", "all"}));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out + run.err, "") << format;
  }
}

TEST(Check, AnswersWhileThePipeIsStillOpen) {
  // The writer waits for the answer to its first line; a tool that waits for the end would wait for ever.
  const Outcome run = runShell(
      "folder=$(mktemp -d); mkfifo $folder/gate; "
      "{ echo '<script>'; timeout 20 cat $folder/gate; } | $VQS check |"
      "{ read -r line; echo \"got $line\"; timeout 20 sh -c \"echo more >$folder/gate\"; cat >/dev/null; }; "
      "rm -r $folder");
  EXPECT_THAT(run.out, testing::StartsWith("got -:1: byte 0: contains"));
}

TEST(Check, SummariesAddUp) {
  const std::string first = "fine\n<script>\n\xff\n";
  const std::string second = "far too long\nJAVASCRIPT:\nok\n";
  const auto summaryOf = [](const std::string& input) {
    const ScratchFile file;
    runTool(check({"--max-length", "11", "--summary", file.path()}), input);
    return file.contents();
  };
  const ScratchFile one(summaryOf(first)), two(summaryOf(second));
  Json sum = Json::parse(runTool({"summary", one.path(), two.path()}).out);
  Json whole = Json::parse(summaryOf(first + second));
  EXPECT_EQ(whole["records"], 6);
  EXPECT_EQ(whole["accepted"], 2);
  EXPECT_EQ(whole["reasons"]["too-long"], 1);
  EXPECT_EQ(whole["reasons"]["ill-formed"], 1);
  EXPECT_EQ(whole["forbidden"]["(?i)<script>"], 1);
  EXPECT_EQ(whole["bytes"], first.size() + second.size());
  EXPECT_EQ(sum["runs"], 2);
  EXPECT_GT(sum["seconds"], 0.0);
  for (Json* summary : {&sum, &whole}) {
    summary->erase("runs");
    summary->erase("seconds");
  }
  EXPECT_EQ(sum, whole);
}

}  // namespace

// How input becomes records: line ends, encodings, blocks, threads, memory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "tool_runner.hpp"

namespace {

using cli_test::Outcome;
using cli_test::runShell;
using cli_test::runTool;
using cli_test::ScratchFile;

// line, offset and text of every record, as "1:0:text" with blanks between.
std::string records(std::vector<std::string> arguments, const std::string& input) {
  for (const char* word : {"tsv", "--format", "all", "--print", "--no-builtin", "check"})
    arguments.insert(arguments.begin(), word);
  std::istringstream out(runTool(arguments, input).out);
  std::string line, result;
  std::getline(out, line);
  while (std::getline(out, line)) {
    std::vector<std::string> columns;
    std::istringstream row(line);
    for (std::string column; std::getline(row, column, '\t');) columns.push_back(column);
    columns.resize(7);
    result += (result.empty() ? "" : " ") + columns[1] + ":" + columns[2] + ":" + columns[6];
  }
  return result;
}

TEST(Records, AreFoundInEveryEncoding) {
  using namespace std::string_literals;
  const struct {
    std::vector<std::string> arguments;
    std::string input;
    std::string expected;
  } cases[] = {
      {{}, "a\nb\n", "1:0:a 2:2:b"},
      {{}, "a\nb", "1:0:a 2:2:b"},
      {{}, "\n\na\n", "1:0: 2:1: 3:2:a"},
      {{}, "a\r\nb\r\r\nc\r", "1:0:a 2:3:b\\r 3:7:c\\r"},
      {{},
       "\xef\xbb\xbf"
       "a\nb",
       "1:3:a 2:5:b"},
      {{}, "\xef\xbb\xbf", ""},
      {{"-0"}, "a\0b\nc\0\0d\r\0"s, "1:0:a 2:2:b\\nc 3:6: 4:7:d\\r"},
      {{"--encoding", "UTF-16LE"},
       "\xff\xfe"
       "a\0\r\0\n\0\x0a\x0a\n\0b\0"s,
       "1:2:a 2:8:\xe0\xa8\x8a 3:12:b"},
      {{"--encoding", "UTF-16BE"}, "\x0a\0\0\n\0b"s, "1:0:\xe0\xa8\x80 2:4:b"},
      {{"--encoding", "UTF-16"},
       "\xff\xfe"
       "a\0\r\0\n\0b\0"s,
       "1:2:a 2:8:b"},
      {{"--encoding", "UTF-16"}, "\xfe\xff\0a\0\n\0b"s, "1:2:a 2:6:b"},
      {{"--encoding", "UTF-16"}, "\0a\0\n\0b"s, "1:0:a 2:4:b"},
      {{"--encoding", "UTF-32"}, "\xff\xfe\0\0a\0\0\0\n\0\0\0b\0\0\0"s, "1:4:a 2:12:b"},
      {{"--encoding", "UTF-32BE"}, "\0\0\0a\0\0\0\n\0\0\0b"s, "1:0:a 2:8:b"},
      {{"--encoding", "IBM500"}, "\x81\x25\x82", "1:0:a 2:2:b"},
      {{"--encoding", "KOI8-R"}, "\xc1\n\xc2", "1:0:\xd0\xb0 2:2:\xd0\xb1"},
      {{"--encoding", "Shift_JIS"}, "\x93\x8c\n\x8b\x9e\r\n", "1:0:\xe6\x9d\xb1 2:3:\xe4\xba\xac"},
      {{"--encoding", "windows-1252", "--unit", "bytes"}, "\x80\n", "1:0:\xe2\x82\xac"},
  };
  for (const auto& [arguments, input, expected] : cases)
    EXPECT_EQ(records(arguments, input), expected) << testing::PrintToString(arguments);
}

// Lines of all lengths, some of them longer than a block, most line ends far from its edge, some on it.
std::string manyLines() {
  std::mt19937 random(7);
  std::string text;
  const size_t sizes[] = {0, 1, 7, 60, 300, 5000, 262143, 262144, 700000};
  for (size_t index = 0; text.size() < 6'000'000; ++index) {
    text.append(sizes[index % 40 == 39 ? random() % std::size(sizes) : random() % 6], "ab<c> "[random() % 6]);
    if (random() % 50 == 0) text += "<script>";
    text += random() % 3 ? "\n" : "\r\n";
  }
  return text;
}

TEST(Records, BlocksAndThreadsDoNotShow) {
  const ScratchFile first(manyLines()), second("x\n<script>");
  std::string expected;
  size_t line = 0;
  const std::string text = first.contents();
  for (size_t at = 0; at < text.size();) {
    const size_t end = text.find('\n', at);
    std::string value = text.substr(at, end - at);
    if (value.ends_with('\r')) value.pop_back();
    expected +=
        first.path() + '\t' + std::to_string(++line) + '\t' + std::to_string(at) + '\t' + value + '\n';
    at = end + 1;
  }
  expected += second.path() + "\t1\t0\tx\n" + second.path() + "\t2\t2\t<script>\n";
  const std::string files = first.path() + " " + second.path();
  for (const char* how : {"--jobs 1", "--jobs 4", "--jobs 2 --unit bytes"}) {
    const Outcome run = runShell("$VQS check --format tsv --print all " + std::string(how) + " " + files +
                                 " 2>/dev/null | tail -n +2 | cut -f1-3,7");
    EXPECT_TRUE(run.out == expected) << how;
  }
  const Outcome piped =
      runShell("cat " + first.path() + " | $VQS check --format tsv --print all --jobs 3 - " + second.path() +
               " 2>/dev/null | tail -n +2 | cut -f2-3,7");
  EXPECT_EQ(std::ranges::count(piped.out, '\n'), std::ranges::count(expected, '\n'));
}

TEST(Records, MemoryDoesNotGrowWithTheFile) {
  if (!cli_test::peakIsTheToolsOwn) GTEST_SKIP();
  std::string line(79, 'x');
  line += '\n';
  std::string text;
  for (int count = 0; count < 300'000; ++count) text += line;
  const ScratchFile large(text), small(text.substr(0, 2'000'000));
  for (const std::vector<std::string>& how :
       {std::vector<std::string>{"check", "--jobs", "2"}, {"convert", "-f", "UTF-8", "-t", "UTF-16LE"}}) {
    const auto peak = [&](const ScratchFile& file) {
      std::vector<std::string> arguments = how;
      arguments.push_back(file.path());
      return runTool(arguments).peakKib;
    };
    EXPECT_LT(peak(large), peak(small) + 4096) << how[0];
  }
}

}  // namespace

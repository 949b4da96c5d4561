// vqs base64, url and name: whole files and back, across the pieces in which they are read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "tool_runner.hpp"

namespace {

using cli_test::Outcome;
using cli_test::runTool;
using cli_test::ScratchFile;
using testing::HasSubstr;

std::string randomBytes(size_t count) {
  std::mt19937 random(4648);
  std::string bytes(count, 0);
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

// Characters of one to four bytes, most of them escaped, so that pieces end inside escapes and characters.
std::string randomText(size_t characterCount) {
  const std::string some[] = {"a", "+", "%", " ", "\n", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"};
  std::mt19937 random(3986);
  std::string text;
  for (size_t i = 0; i < characterCount; ++i) text += some[random() % std::size(some)];
  return text;
}

TEST(Base64Command, FilesComeBack) {
  const std::vector<std::vector<std::string>> forms = {
      {}, {"--wrap"}, {"--no-pad"}, {"--url", "--wrap", "--no-pad"}};
  for (const size_t size : {0u, 1u, 57u, 65'664u, 65'665u, 300'001u}) {
    const std::string bytes = randomBytes(size);
    const ScratchFile file(bytes);
    for (const auto& form : forms) {
      std::vector<std::string> encode = {"base64", "encode", file.path()}, decode = {"base64", "decode"};
      encode.insert(encode.end(), form.begin(), form.end());
      if (form.size() == 3) decode.push_back("--url");
      const Outcome encoded = runTool(encode);
      EXPECT_EQ(encoded.exitCode, 0);
      // One newline ends the text, however long its last line.
      EXPECT_TRUE(size == 0 ? encoded.out.empty() : encoded.out.back() == '\n');
      EXPECT_EQ(encoded.out.find("\n\n"), std::string::npos);
      const Outcome decoded = runTool(decode, encoded.out);
      EXPECT_EQ(decoded.exitCode, 0) << decoded.err;
      EXPECT_TRUE(decoded.out == bytes) << size;
    }
  }
}

TEST(Base64Command, TextsAndRefusals) {
  const struct {
    std::vector<std::string> arguments;
    std::string input, out;
    int exitCode;
  } cases[] = {
      {{"encode"}, "foobar", "Zm9vYmFy\n", 0},
      {{"encode", "--no-pad"}, "f", "Zg\n", 0},
      {{"encode", "--url"}, "\xFB\xFF", "-_8=\n", 0},
      {{"decode"}, " Zm9v\tYm\nFy ", "foobar", 0},
      {{"decode"}, "Zg==???", "f", 0},
      {{"decode"}, "Zm9vYm", "foob", 0},
      {{"decode"}, "Zm9v-", "", 1},
      {{"decode", "--url"}, "Zm9v+", "", 1},
      {{"decode", "--wrap"}, "", "", 2},
  };
  for (const auto& [arguments, input, out, exitCode] : cases) {
    std::vector<std::string> all = {"base64"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const Outcome outcome = runTool(all, input);
    EXPECT_EQ(outcome.exitCode, exitCode) << input;
    EXPECT_EQ(outcome.out, out) << input;
  }
  EXPECT_THAT(runTool({"base64", "decode"}, "Zm9v\nZ!").err, HasSubstr("byte 6"));
}

TEST(UrlCommand, FilesComeBack) {
  for (const size_t size : {0u, 1u, 20'000u, 200'000u}) {
    const std::string text = randomText(size);
    const Outcome escaped = runTool({"url", "encode"}, text);
    EXPECT_EQ(escaped.exitCode, 0);
    EXPECT_EQ(escaped.out.find_first_not_of("0123456789ABCDEFa%"), std::string::npos);
    const Outcome plain = runTool({"url", "decode"}, escaped.out);
    EXPECT_EQ(plain.exitCode, 0) << plain.err;
    EXPECT_TRUE(plain.out == text) << size;
  }
}

TEST(UrlCommand, EscapesAndRefusals) {
  EXPECT_EQ(runTool({"url", "encode"}, "a b\n~").out, "a%20b%0A%7E");
  EXPECT_EQ(runTool({"url", "decode"}, "a+b%2b%2541%").out, "a b+%41%");
  const Outcome broken = runTool({"url", "decode"}, "x%FF");
  EXPECT_EQ(broken.exitCode, 1);
  EXPECT_EQ(broken.out, "");
  EXPECT_THAT(broken.err, HasSubstr("no UTF-8"));
}

TEST(NameCommand, PrintsValues) {
  const Outcome found = runTool({"name", "--set", "a=h\xC3\xA9", "--set", "b=", "a", "b"});
  EXPECT_EQ(found.exitCode, 0);
  EXPECT_EQ(found.out, "h\xC3\xA9\n\n");
  const Outcome missing = runTool({"name", "-0", "-s", "a=x=y", "nothing", "a"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_EQ(missing.out, std::string("x=y\0", 4));
  EXPECT_THAT(missing.err, HasSubstr("nothing"));
  EXPECT_EQ(runTool({"name", "--set", "novalue", "a"}).exitCode, 2);
}

// The memory does not grow with the file.
TEST(Base64Command, MemoryIsBounded) {
  if (!cli_test::peakIsTheToolsOwn) GTEST_SKIP();
  const ScratchFile small(randomBytes(1000)), large(randomBytes(16'000'000));
  const Outcome first = runTool({"base64", "encode", small.path()});
  const Outcome second = runTool({"base64", "encode", large.path()});
  EXPECT_LT(second.peakKib, first.peakKib + 4096);
}

}  // namespace

// Options that several commands have in the same form: one of a few words, a count, files, progress or not.
#pragma once

#include <charconv>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace vqs {

template <class Choice>
CLI::Option* addChoice(CLI::App& command, const std::string& name, Choice& choice,
                       const std::map<std::string, Choice>& words, const std::string& help) {
  std::string list;
  for (const auto& [word, value] : words) list += (list.empty() ? "" : "|") + word;
  const auto choose = [&choice, words, list, name](const CLI::results_t& results) {
    const auto found = words.find(results.back());
    if (found == words.end())
      throw CLI::ValidationError(name, "\"" + results.back() + "\" is none of " + list);
    choice = found->second;
    return true;
  };
  return command.add_option(name, choose, help)->type_name(list);
}

// A number of 64 bits without sign. CLI11 by itself takes -1 for the greatest number.
inline CLI::Option* addCount(CLI::App& command, const std::string& name, std::optional<uint64_t>& count,
                             const std::string& help) {
  const auto read = [&count, name](const CLI::results_t& results) {
    const std::string& text = results.back();
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size())
      throw CLI::ValidationError(name, "\"" + text + "\" is no count");
    count = value;
    return true;
  };
  return command.add_option(name, read, help)->type_name("N");
}

// The files that a command reads; none stands for standard input.
inline CLI::Option* addFiles(CLI::App& command, std::vector<std::string>& files) {
  return command.add_option("FILE", files, "Files to read; none or -: standard input")->type_name("");
}

// `progress` stays empty when neither flag is given.
inline CLI::Option* addProgressOption(CLI::App& command, std::optional<bool>& progress) {
  command.add_flag_callback("--no-progress", [&progress] { progress = false; })->group("");
  return command.add_flag_callback(
      "--progress", [&progress] { progress = true; },
      "Show progress; default on a terminal, --no-progress is against it");
}

}  // namespace vqs

// Options that several commands have in the same form: one of a few words, progress or not.
#pragma once

#include <map>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

namespace vqs {

template <class Choice>
CLI::Option* addChoice(CLI::App& command, const std::string& name, Choice& choice,
                       const std::map<std::string, Choice>& words, const std::string& help) {
  std::string list;
  for (const auto& [word, value] : words) list += (list.empty() ? "" : "|") + word;
  const auto choose = [&choice, words, list](const CLI::results_t& results) {
    const auto found = words.find(results.back());
    if (found == words.end()) throw CLI::ValidationError("\"" + results.back() + "\" is none of " + list);
    choice = found->second;
    return true;
  };
  return command.add_option(name, choose, help)->type_name(list);
}

// `progress` stays empty when neither flag is given.
inline CLI::Option* addProgressOption(CLI::App& command, std::optional<bool>& progress) {
  command.add_flag_callback("--no-progress", [&progress] { progress = false; })->group("");
  return command.add_flag_callback(
      "--progress", [&progress] { progress = true; },
      "Show progress; default on a terminal, --no-progress is against it");
}

}  // namespace vqs

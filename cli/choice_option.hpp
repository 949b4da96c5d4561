// An option that takes one of a few words.
#pragma once

#include <map>
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

}  // namespace vqs

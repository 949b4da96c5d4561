// How help looks: the list of commands has the first sentence of each description, a command's own help all
// of it, wrapped.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace vqs {

class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_description(const CLI::App* app) const override;
  std::string make_subcommand(const CLI::App* command) const override;
};

}  // namespace vqs

#include "help_formatter.hpp"

#include <sstream>

namespace vqs {
namespace {

constexpr size_t lineWidth = 90;

// Breaks at blanks; line ends of the text stay.
std::string wrapped(const std::string& text) {
  std::string result;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line); result += '\n') {
    while (line.size() > lineWidth) {
      const size_t blank = line.rfind(' ', lineWidth);
      if (blank == std::string::npos || blank == 0) break;
      result += line.substr(0, blank) + '\n';
      line.erase(0, blank + 1);
    }
    result += line;
  }
  return result;
}

}  // namespace

std::string HelpFormatter::make_description(const CLI::App* app) const {
  return wrapped(CLI::Formatter::make_description(app));
}

std::string HelpFormatter::make_subcommand(const CLI::App* command) const {
  const std::string& whole = command->get_description();
  std::string sentence = whole.substr(0, whole.find(". "));
  if (sentence.ends_with('.')) sentence.pop_back();
  std::ostringstream line;
  CLI::detail::format_help(line, command->get_display_name(true), sentence, column_width_);
  return line.str();
}

}  // namespace vqs

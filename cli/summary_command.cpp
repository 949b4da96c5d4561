// vqs summary: adds up what `vqs check --summary` wrote.
#include <cerrno>
#include <cstring>
#include <fstream>

#include <CLI/CLI.hpp>

#include "session.hpp"
#include "tally.hpp"

namespace vqs {
namespace {

using Json = nlohmann::ordered_json;

Json readSummary(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw InputOutputFailure(path + ": " + std::strerror(errno));
  Json summary = Json::parse(file, nullptr, false);
  if (!summary.is_object() || summary.value("summary", "") != "vqs check")
    throw UsageFailure(path + ": not a summary of vqs check");
  return summary;
}

int addUp(Session& session, const std::vector<std::string>& files) {
  Json total;
  for (const std::string& path : files) addSummary(total, readSummary(path));
  session.out.write(total.dump(2) + "\n");
  return ExitFine;
}

}  // namespace

void addSummaryCommand(CLI::App& app, Session& session) {
  auto files = std::make_shared<std::vector<std::string>>();
  CLI::App* command = app.add_subcommand("summary", "Add up the summaries of several checks");
  command->add_option("FILE", *files, "What vqs check --summary wrote")->required()->type_name("");
  command->final_callback([&session, files] { session.exitCode = addUp(session, *files); });
}

}  // namespace vqs

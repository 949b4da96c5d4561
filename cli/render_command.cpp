// vqs render: typed values as text, by a locale or in ISO 8601.
#include <memory>

#include <CLI/CLI.hpp>

#include "escape.hpp"
#include "typed_value.hpp"

namespace vqs {
namespace {

struct RenderOptions {
  std::string type;
  std::vector<std::string> values;
  std::string localeName;
  bool isIso = false;
};

const char* const explanation =
    "Write typed values as text, one a line: by the locale of the environment, by another one, or in ISO "
    "8601 "
    "form.";

const char* const examples =
    "Examples:\n"
    "  vqs render --locale de_DE double 1234567.25\n"
    "  vqs render --iso datetime 2000000000 2024-02-09T13:05:09.250-03:30\n"
    "  vqs render --locale ja_JP date 2024-02-09\n"
    "Exit codes: 0 all fine, 1 a value that the locale cannot show, 2 wrong usage, 3 output error.";

struct LocaleEnd {
  void operator()(VQLocale* locale) const { vqhostDestroyLocale(locale); }
};

std::string utf8Of(Session& session, VQString* string) {
  char* bytes = nullptr;
  uint64_t count = 0;
  const VQStatus status = session.service()->vqStringGetU8Bytes(string, session.pool(), &bytes, &count);
  if (status) throw InputOutputFailure(session.statusText(status));
  std::string text(bytes, count);
  session.pool()->poolFree(session.pool(), bytes);
  return text;
}

int render(Session& session, const RenderOptions& options) {
  VQStringService* service = session.service();
  std::unique_ptr<VQLocale, LocaleEnd> locale;
  if (!options.localeName.empty()) {
    VQLocale* made = nullptr;
    if (vqhostCreateLocale(session.kernel(), options.localeName.c_str(), &made))
      throw UsageFailure("no locale is called \"" + options.localeName + "\"");
    locale.reset(made);
  }
  int exitCode = ExitFine;
  for (const std::string& value : options.values) {
    const InstancePointer<VQInstance> instance = typedValue(session, options.type, value);
    VQString* out = nullptr;
    const VQStatus status =
        options.isIso ? service->vqInstanceIsoToString(service, session.pool(), instance.get(), 0, &out)
                      : service->vqInstanceLocaleToString(service, session.pool(), locale.get(),
                                                          instance.get(), 0, &out);
    if (status) {
      session.out.flush();
      std::fprintf(stderr, "vqs: %s: %s\n", escapedUtf8(value).c_str(), session.statusText(status).c_str());
      exitCode = ExitFindings;
      continue;
    }
    const InstancePointer<VQString> text(out);
    session.out.write(utf8Of(session, text.get()) + "\n");
  }
  return exitCode;
}

}  // namespace

void addRender(CLI::App& app, Session& session) {
  auto options = std::make_shared<RenderOptions>();
  CLI::App* command = app.add_subcommand("render", "Write typed values as text");
  command->description(explanation);
  command->footer(std::string(typedValueHelp) + examples);
  command->add_option("TYPE", options->type, "What the values are")->required();
  command->add_option("VALUE", options->values, "The values, each rendered on a line")->required();
  CLI::Option* locale = command->add_option("--locale", options->localeName, "An ICU locale, such as de_CH");
  command->add_flag("--iso", options->isIso, "Dates and times in ISO 8601 form")->excludes(locale);
  command->final_callback([&session, options] { session.exitCode = render(session, *options); });
}

}  // namespace vqs

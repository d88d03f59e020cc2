#include "command_line.h"

#include <glib.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <vector>

#include "text.h"
#include "verbs.h"

namespace {

Report UsageError(const std::string& verb, const std::string& message) {
  Report report;
  report.verb = verb;
  report.outcome = Outcome::kUsage;
  report.error = Printable(message) + " (see nuvctl" + (verb.empty() ? "" : " " + verb) + " --help)";
  return report;
}

void AddCommonOptions(CLI::App& app, Options& options) {
  app.add_flag("--json", options.json, "Answer with one JSON object, errors included");
  app.add_flag("-v,--verbose", options.verbose, "Show the library's log on the standard error stream");
}

void AddVerbs(CLI::App& app, Options& options) {
  for (const Verb& verb : Verbs()) {
    CLI::App* command = app.add_subcommand(verb.name, verb.summary);
    verb.add_arguments(*command, options);
    AddCommonOptions(*command, options);
    command->footer(ExitStatusHelp());
  }
}

const Verb* ChosenVerb(const CLI::App& app) {
  for (const Verb& verb : Verbs()) {
    if (app.got_subcommand(verb.name)) return &verb;
  }
  return nullptr;
}

// What the parser says of a line without a verb is about "subcommands".
std::string NoVerb(const CLI::App& app) {
  std::string verbs;
  for (const Verb& verb : Verbs()) verbs += (verbs.empty() ? "" : ", ") + std::string(verb.name);
  const std::vector<std::string> unknown = app.remaining();
  if (unknown.empty()) return "a verb is needed: " + verbs;
  const bool option = unknown.front().rfind('-', 0) == 0;
  return std::string("no such ") + (option ? "option" : "verb") + ": " + unknown.front() + "; the verbs are " + verbs;
}

// Text that is not UTF-8 cannot travel on the bus.
std::optional<Report> RefuseInvalidText(const std::vector<std::string>& arguments) {
  for (const std::string& argument : arguments) {
    if (!g_utf8_validate(argument.data(), static_cast<gssize>(argument.size()), nullptr)) {
      return UsageError("", "not valid UTF-8: " + argument);
    }
  }
  return std::nullopt;
}

ParsedCommandLine Parse(CLI::App& app, std::vector<std::string> arguments, const Options& options) {
  try {
    std::reverse(arguments.begin(), arguments.end());  // the order the parser takes them in
    app.parse(std::move(arguments));
  } catch (const CLI::CallForHelp&) {
    return app.help();
  } catch (const CLI::CallForVersion& version) {
    return std::string(version.what()) + "\n";
  } catch (const CLI::ParseError& error) {
    const Verb* verb = ChosenVerb(app);
    return verb != nullptr ? UsageError(verb->name, error.what()) : UsageError("", NoVerb(app));
  }
  return Command{ChosenVerb(app), options};
}

}  // namespace

ParsedCommandLine ParseCommandLine(int argc, const char* const* argv) {
  std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
  if (auto refused = RefuseInvalidText(arguments)) return *refused;
  CLI::App app("Launches applications through the Nuv service and talks to it.", "nuvctl");
  Options options;
  app.set_version_flag("--version", std::string("nuvctl ") + NUVCTL_VERSION, "Show the version and exit");
  app.set_help_flag("-h,--help", "Show this help and exit");
  app.require_subcommand(1);
  app.get_formatter()->label("SUBCOMMAND", "VERB");
  app.get_formatter()->label("Subcommands", "Verbs");
  app.footer(ExitStatusHelp());
  AddCommonOptions(app, options);
  AddVerbs(app, options);
  return Parse(app, std::move(arguments), options);
}

bool AsksForJson(int argc, const char* const* argv) {
  return std::any_of(argv, argv + argc, [](const char* argument) { return std::string(argument) == "--json"; });
}

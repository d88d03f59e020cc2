#include "options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "failure.h"
#include "sessions.h"

namespace session {
namespace {

std::string CheckName(const std::string& text) {
  return IsSessionName(text) ? "" : "a name has 1 to 32 letters, digits and _ . - and starts with a letter or digit";
}

class Help : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App*, std::string name) const override {
    return "Usage: " + name + " [OPTIONS] [--] [COMMAND [ARGUMENT...]]\n";
  }
};

void Describe(CLI::App& app, Options& options) {
  app.add_option("--seed", options.seed, "Catalogue of applications; without it, the sample catalogue")
      ->option_text("FILE");
  app.add_option("--scenario", options.scenario, "Let the service misbehave as this file says")->option_text("FILE");
  app.add_option("--pin-answer", options.pin_answer, "Answer to the PIN dialog: right, wrong, cancelled or silent")
      ->option_text("ANSWER");
  app.add_option("--state", options.state, "Work in this state directory, and leave it")->option_text("DIRECTORY");
  app.add_flag("--keep", options.keep, "Leave the state and the logs, and say where");
  app.add_flag_callback(
      "--policy", [&] { options.policy = true; }, "Let the bus refuse what a TV's would; the default");
  app.add_flag_callback(
      "--no-policy", [&] { options.policy = false; }, "Let the bus refuse nothing");
  app.add_option("--name", options.name, "Name of the session; default: a number")
      ->check(CLI::Validator(CheckName, ""))
      ->option_text("NAME");
  app.add_option("--attach", options.attach, "Run the command in this running session")
      ->check(CLI::Validator(CheckName, ""))
      ->option_text("NAME");
  app.add_option("--start-limit", options.start_limit_s, "Until bus and service have to be ready; default: 30")
      ->check(CLI::Range(1, 3600))
      ->option_text("SECONDS");
  app.set_version_flag("--version", "nuv-session " NUV_VERSION, "Print the version");
  app.footer(
      "The command is the user's shell where none is given. Its exit status is returned. 125: there is no session,\n"
      "126: the command cannot be run, 127: it is not found.");
}

// Options that make a session cannot go with --attach, and --keep not with --state: a directory that is named stays
// anyway.
void RefuseContradictions(const CLI::App& app) {
  if (app.count("--keep") != 0 && app.count("--state") != 0) throw CLI::ExcludesError("--keep", "--state");
  if (app.count("--policy") != 0 && app.count("--no-policy") != 0) throw CLI::ExcludesError("--policy", "--no-policy");
  if (app.count("--attach") == 0) return;
  for (const char* option : {"--seed", "--scenario", "--pin-answer", "--state", "--keep", "--policy", "--no-policy",
                             "--name", "--start-limit"}) {
    if (app.count(option) != 0) throw CLI::ExcludesError("--attach", option);
  }
}

// What follows the first word that is no option is the command's own.
std::vector<std::string> CommandOf(const CLI::App& app, int argc, char** dashes, char** end) {
  std::vector<std::string> command = app.remaining();
  if (dashes == end || argc == 0) return command;
  if (!command.empty()) command.emplace_back(*dashes);
  command.insert(command.end(), dashes + 1, end);
  return command;
}

}  // namespace

std::optional<Options> ParseOptions(int argc, char** argv, int* exit_status) {
  Options options;
  CLI::App app(
      "Runs a command, or a shell, with a private TV: a bus, the Nuv service and a state directory of its own.",
      "nuv-session");
  app.prefix_command();
  app.formatter(std::make_shared<Help>());
  Describe(app, options);
  char** const end = argv + argc;
  char** const dashes = std::find(argv, end, std::string("--"));
  try {
    app.parse(static_cast<int>(dashes - argv), argv);
    RefuseContradictions(app);
    options.command = CommandOf(app, argc, dashes, end);
    if (!app.remaining().empty() && options.command[0][0] == '-') throw CLI::ExtrasError({options.command[0]});
    if (dashes != end && options.command.empty()) throw CLI::ParseError("no COMMAND after --", kOwnFailure);
  } catch (const CLI::ParseError& error) {
    *exit_status = app.exit(error) == 0 ? 0 : kOwnFailure;
    return std::nullopt;
  }
  return options;
}

}  // namespace session

#include "options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "failure.h"
#include "sessions.h"

namespace session {
namespace {

constexpr char kFile[] = "FILE";
constexpr char kDirectory[] = "DIRECTORY";
constexpr char kAnswer[] = "ANSWER";
constexpr char kAttach[] = "--attach";
constexpr const char* kPinAnswers[] = {"right", "wrong", "cancelled", "silent"};

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
      ->option_text(kFile);
  app.add_option("--scenario", options.scenario, "Let the service misbehave as this file says")->option_text(kFile);
  app.add_option("--pin-answer", options.pin_answer, "Answer to the PIN dialog: right, wrong, cancelled or silent")
      ->option_text(kAnswer);
  app.add_option("--state", options.state, "Work in this state directory, and leave it")->option_text(kDirectory);
  app.add_flag("--keep", options.keep, "Leave the state and the logs, and say where");
  app.add_flag_callback(
      "--policy", [&] { options.policy = true; }, "Let the bus refuse what a TV's would; the default");
  app.add_flag_callback(
      "--no-policy", [&] { options.policy = false; }, "Let the bus refuse nothing");
  app.add_flag("--home", options.home, "Show the TV's home screen to a browser, and say at which address");
  app.add_option("--name", options.name, "Name of the session; default: a number")
      ->check(CLI::Validator(CheckName, ""))
      ->option_text("NAME");
  app.add_option(kAttach, options.attach, "Run the command in this running session")
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
constexpr const char* kContradictions[][2] = {
    {"--keep", "--state"},     {"--policy", "--no-policy"}, {kAttach, "--seed"}, {kAttach, "--scenario"},
    {kAttach, "--pin-answer"}, {kAttach, "--state"},        {kAttach, "--keep"}, {kAttach, "--policy"},
    {kAttach, "--no-policy"},  {kAttach, "--home"},         {kAttach, "--name"}, {kAttach, "--start-limit"},
};

void RefuseContradictions(const CLI::App& app) {
  for (const auto& [one, other] : kContradictions) {
    if (app.count(one) != 0 && app.count(other) != 0) throw CLI::ExcludesError(one, other);
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

namespace {

using completion::Candidates;

// The long name of an option, with its dashes.
std::string NameOf(const CLI::Option& option) {
  return "--" + option.get_lnames().at(0);
}

bool Contradicts(const std::string& option, const std::vector<std::string>& given) {
  const auto is_given = [&](const char* name) { return std::find(given.begin(), given.end(), name) != given.end(); };
  const auto contradicts = [&](const char* const(&pair)[2]) {
    return (option == pair[0] && is_given(pair[1])) || (option == pair[1] && is_given(pair[0]));
  };
  return is_given(option.c_str()) || std::any_of(std::begin(kContradictions), std::end(kContradictions), contradicts);
}

Candidates ValuesOf(const std::string& option, const std::string& kind, const std::string& before) {
  Candidates values;
  if (kind == kFile) values.kind = Candidates::Kind::kFiles;
  if (kind == kDirectory) values.kind = Candidates::Kind::kDirectories;
  std::vector<std::string> words;
  if (kind == kAnswer) words.assign(std::begin(kPinAnswers), std::end(kPinAnswers));
  if (option == kAttach) words = RunningSessions();
  for (const std::string& word : words) values.words.push_back({before + word});
  return values;
}

Candidates OptionsBehind(const CLI::App& app, const std::vector<std::string>& given) {
  Candidates options;
  for (const CLI::Option* option : app.get_options()) {
    if (!Contradicts(NameOf(*option), given)) options.words.push_back({NameOf(*option), option->get_description()});
  }
  return options;
}

bool TakesValue(const CLI::Option& option) {
  return option.get_expected_max() > 0;
}

Candidates CommandAt(std::size_t place) {
  Candidates command;
  command.kind = Candidates::Kind::kCommand;
  command.command = place;
  return command;
}

}  // namespace

Candidates CompleteLine(const std::vector<std::string>& words) {
  Options options;
  CLI::App app;
  app.set_help_flag("-h,--help", "Print this help message and exit");
  Describe(app, options);
  const std::size_t last = words.size() - 1;
  std::vector<std::string> given;
  for (std::size_t i = 0; i <= last; ++i) {
    const std::string& word = words[i];
    if (word == "--" && i < last) return CommandAt(i + 1);
    if (word.rfind('-', 0) != 0) return CommandAt(i);
    const std::size_t equals = word.find('=');
    const CLI::Option* option = app.get_option_no_throw(word.substr(0, equals));
    const bool has_value = option != nullptr && TakesValue(*option);
    if (i == last) {
      if (equals == std::string::npos || !has_value) break;
      return ValuesOf(NameOf(*option), option->get_option_text(), word.substr(0, equals + 1));
    }
    if (option != nullptr) given.push_back(NameOf(*option));
    if (!has_value || equals != std::string::npos) continue;
    if (++i == last) return ValuesOf(NameOf(*option), option->get_option_text(), "");
  }
  return OptionsBehind(app, given);
}

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

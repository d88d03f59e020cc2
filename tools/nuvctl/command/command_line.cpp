#include "command/command_line.h"

#include <glib.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>
#include <utility>

#include "command/guard.h"
#include "command/help_text.h"
#include "report/did_you_mean.h"
#include "report/text.h"
#include "service/simulator_state.h"

namespace {

constexpr double kMostSeconds = 1e6;
constexpr double kLeastFactor = 0.001;

// More than a command line can hold.
constexpr int kMostValues = 1 << 24;

Report UsageError(const std::string& verb, const std::string& message) {
  Report report;
  report.verb = verb;
  report.outcome = Outcome::kUsage;
  report.error = Printable(message) + " (see nuvctl" + (verb.empty() ? "" : " " + verb) + " --help)";
  return report;
}

// A fraction is allowed; what does not fit a timer is refused.
std::string CheckSeconds(const std::string& text) {
  double seconds = 0;
  const bool number = CLI::detail::lexical_cast(text, seconds);
  if (number && seconds > 0 && seconds <= kMostSeconds) return "";
  return "not a number of seconds above 0 and up to " + std::to_string(std::lround(kMostSeconds)) + ": " + text;
}

std::string CheckFactor(const std::string& text) {
  double factor = 0;
  const bool number = CLI::detail::lexical_cast(text, factor);
  if (number && (factor == 0 || (factor >= kLeastFactor && factor <= kMostSeconds))) return "";
  return "neither 0 nor a number from 0.001 to " + std::to_string(std::lround(kMostSeconds)) + ": " + text;
}

// An argument with what the parser has read for it.
struct Slot {
  const Argument* argument;
  CLI::Option* option = nullptr;
  bool flag = false;
  int number = 0;
  double decimal = 0;
  std::string text = {};

  Value Result() const;
};

Value Slot::Result() const {
  if (argument->kind == Argument::Kind::kFlag) return flag;
  if (option == nullptr) return text.empty() ? Value() : Value(text);  // it stands with several verbs
  if (option->empty()) return nullptr;
  switch (argument->type) {
    case Argument::Type::kText:
      return text;
    case Argument::Type::kTexts:
      return ListOf(option->results());
    case Argument::Type::kNumber:
      return number;
    case Argument::Type::kSeconds:
    case Argument::Type::kFactor:
      return static_cast<int>(decimal * 1000);
  }
  return nullptr;
}

// The values are taken from the parser as they were written: of an option that may have several values it would cut
// "[a,b]" into two, and a text that is also a verb would end the values. So it is told that it may expect as many as
// there are, and to join what it need not.
CLI::Option* AddMany(CLI::App& app, const Argument& argument) {
  auto* option = app.add_option(argument.name, argument.meaning)->multi_option_policy(CLI::MultiOptionPolicy::Join);
  option->expected(kMostValues, CLI::detail::expected_max_vector_size)->allow_extra_args(false);
  return option->type_name("")->option_text("...");
}

CLI::Option* AddValue(CLI::App& app, Slot& slot) {
  const Argument& argument = *slot.argument;
  switch (argument.type) {
    case Argument::Type::kTexts:
      return AddMany(app, argument);
    case Argument::Type::kNumber:
      return app.add_option(argument.name, slot.number, argument.meaning);
    case Argument::Type::kSeconds:
      return app.add_option(argument.name, slot.decimal, argument.meaning)->check(CLI::Validator(CheckSeconds, ""));
    case Argument::Type::kFactor:
      return app.add_option(argument.name, slot.decimal, argument.meaning)->check(CLI::Validator(CheckFactor, ""));
    default:
      return app.add_option(argument.name, slot.text, argument.meaning);
  }
}

CLI::Option* Add(CLI::App& app, Slot& slot) {
  const Argument& argument = *slot.argument;
  if (argument.kind == Argument::Kind::kFlag) return app.add_flag(argument.name, slot.flag, argument.meaning);
  CLI::Option* option = AddValue(app, slot);
  if (argument.least) option->check(CLI::Range(*argument.least, std::numeric_limits<int>::max()));
  if (argument.read != nullptr) option->transform(CLI::Validator(argument.read, ""));
  if (argument.kind == Argument::Kind::kOption || argument.read != nullptr) option->type_name(argument.value_name);
  return option->required(argument.required);
}

std::vector<std::string> VerbNames() {
  std::vector<std::string> names;
  for (const Verb& verb : Verbs()) names.emplace_back(verb.name);
  return names;
}

std::string NoSuchVerb(const std::string& name) {
  return "no such verb: " + name + DidYouMean(name, VerbNames()) + "; the verbs are " + Joined(VerbNames());
}

// The long names of options and flags.
std::vector<std::string> OptionNames(const std::vector<Argument>& arguments) {
  std::vector<std::string> names;
  for (const Argument& argument : arguments) {
    const std::string name = argument.name;
    if (argument.kind != Argument::Kind::kPosition) names.push_back(name.substr(name.find(',') + 1));
  }
  return names;
}

// The command line, and what the user has given on it.
class Line {
 public:
  Line();

  ParsedCommandLine Parse(std::vector<std::string> arguments);

 private:
  // A verb as it stands on the line.
  struct Place {
    const Verb* named;   // by the first word
    const Verb* chosen;  // the verb itself, or one of its own
    CLI::App* app;
    std::deque<Slot> slots;  // the parser fills them where they are
  };

  void AddCommonFlags(CLI::App& app);
  CLI::App* AddVerb(CLI::App& parent, const Verb& named, const Verb& verb);
  void AddArguments(Place& place);
  void Check(const Place& place) const;
  Values ValuesOf(const Place& place) const;
  const Place* Reached() const;
  std::string NoVerb() const;
  std::string MeantOption(const Place& place) const;

  CLI::App app_{"Launches applications through the Nuv service and talks to it.", "nuvctl"};
  std::deque<Slot> common_;
  std::deque<Place> places_;  // a verb comes before its own verbs
};

Line::Line() {
  for (const Argument& flag : CommonFlags()) common_.push_back({&flag});
  app_.set_version_flag("--version", std::string("nuvctl ") + NUVCTL_VERSION, kVersionMeaning);
  app_.set_help_flag("-h,--help", kHelpMeaning);
  app_.require_subcommand(1);
  app_.get_formatter()->label("SUBCOMMAND", "VERB");
  app_.footer("nuvctl help VERB tells more of a verb.\n\n" + ExitStatusHelp());
  AddCommonFlags(app_);
  for (const Verb& verb : Verbs()) {
    CLI::App* app = AddVerb(app_, verb, verb);
    AddCommonFlags(*app);
    app->group(HeadingOf(verb.group));
    app->footer(ExitStatusHelp());
  }
}

void Line::AddCommonFlags(CLI::App& app) {
  for (Slot& slot : common_) Add(app, slot);
}

CLI::App* Line::AddVerb(CLI::App& parent, const Verb& named, const Verb& verb) {
  CLI::App* app = parent.add_subcommand(verb.name, verb.summary);
  Place& place = places_.emplace_back(Place{&named, &verb, app, {}});
  AddArguments(place);
  if (!verb.verbs.empty()) app->require_subcommand(1);
  for (const Verb& own : verb.verbs) AddVerb(*app, named, own)->fallthrough();
  app->callback([this, &place] { Check(place); });
  return app;
}

void Line::AddArguments(Place& place) {
  for (const Argument& argument : place.chosen->arguments) {
    Slot& slot = place.slots.emplace_back(Slot{&argument});
    slot.option = Add(*place.app, slot);
  }
  for (const Slot& slot : place.slots) {
    for (const char* other : slot.argument->excludes) slot.option->excludes(place.app->get_option(other));
    if (slot.argument->needs != nullptr) slot.option->needs(place.app->get_option(slot.argument->needs));
  }
}

void Line::Check(const Place& place) const {
  const Verb& verb = *place.chosen;
  const Values values = ValuesOf(place);
  const auto given = [&values](const char* name) { return values.Given(name); };
  if (!verb.one_of.empty() && std::none_of(verb.one_of.begin(), verb.one_of.end(), given)) {
    throw CLI::RequiredError(EitherOf({verb.one_of.begin(), verb.one_of.end()}));
  }
  const std::string wrong = verb.check != nullptr ? verb.check(values) : "";
  if (!wrong.empty()) throw CLI::ValidationError(wrong);
}

Values Line::ValuesOf(const Place& place) const {
  Values values;
  for (const Slot& slot : place.slots) values.Set(slot.argument->name, slot.Result());
  for (const Slot& slot : common_) values.Set(slot.argument->name, slot.Result());
  return values;
}

// The innermost verb that the parser has come to.
const Line::Place* Line::Reached() const {
  const Place* reached = nullptr;
  for (const Place& place : places_) {
    if (place.app->parsed()) reached = &place;
  }
  return reached;
}

// What the parser says of a line without a verb is about "subcommands".
std::string Line::NoVerb() const {
  const std::string verbs = Joined(VerbNames());
  const std::vector<std::string> unknown = app_.remaining();
  if (unknown.empty()) return "a verb is needed: " + verbs;
  const bool option = unknown.front().rfind('-', 0) == 0;
  if (!option) return NoSuchVerb(unknown.front());
  return "no such option: " + unknown.front() + DidYouMean(unknown.front(), OptionNames(CommonFlags())) +
         "; the verbs are " + verbs;
}

// For the first option that the verb does not have: it may lie with the verb that the verb belongs to.
std::string Line::MeantOption(const Place& place) const {
  std::vector<std::string> names = OptionNames(CommonFlags());
  for (std::string& name : OptionNames(place.chosen->arguments)) names.push_back(std::move(name));
  for (const std::string& unknown : app_.remaining(true)) {
    if (unknown.rfind("--", 0) == 0) return DidYouMean(unknown.substr(0, unknown.find('=')), names);
  }
  return "";
}

ParsedCommandLine Line::Parse(std::vector<std::string> arguments) {
  try {
    std::reverse(arguments.begin(), arguments.end());  // the order the parser takes them in
    app_.parse(std::move(arguments));
  } catch (const CLI::CallForHelp&) {
    return FittedHelp(app_.help());
  } catch (const CLI::CallForVersion& version) {
    return std::string(version.what()) + "\n";
  } catch (const CLI::ParseError& error) {
    const Place* place = Reached();
    if (place == nullptr) return UsageError("", NoVerb());
    return UsageError(place->named->name, error.what() + MeantOption(*place));
  }
  const Place& place = *Reached();
  return Command{place.named, place.chosen, ValuesOf(place)};
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

// Where the bus or the service is gone, nobody is there to differ from.
bool ServiceAnswers(Outcome outcome) {
  return outcome != Outcome::kUsage && outcome != Outcome::kServiceGone && outcome != Outcome::kBusGone &&
         outcome != Outcome::kInterrupted;
}

Report RunVerb(const Verb& verb, const Values& values) {
  Report report = verb.run(values);
  if (verb.sides == Sides::kOne || !ServiceAnswers(report.outcome)) return report;
  if (const std::string why = WhyOtherDirectory(); !why.empty()) report.warnings.push_back(why);
  return report;
}

}  // namespace

Report Command::Run() const {
  // The work has its own copy of all that it needs: it may go on when nobody waits for it any more.
  Report report = RunGuarded([verb = chosen, given = values] { return RunVerb(*verb, given); });
  report.verb = named->name;
  return report;
}

ParsedCommandLine ParseCommandLine(int argc, const char* const* argv) {
  std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
  if (auto refused = RefuseInvalidText(arguments)) return *refused;
  if (!arguments.empty() && arguments.front() == kHelpVerb) {
    const std::vector<std::string> names = VerbNames();
    const bool known = arguments.size() == 1 || std::find(names.begin(), names.end(), arguments[1]) != names.end();
    if (!known) return UsageError("", NoSuchVerb(arguments[1]));
    arguments.erase(arguments.begin());
    arguments.emplace_back("--help");
  }
  return Line().Parse(std::move(arguments));
}

bool AsksForJson(int argc, const char* const* argv) {
  const auto is = [](const char* option) { return [option](const char* text) { return std::string(text) == option; }; };
  // Behind it are the words of another command.
  const char* const* const end = std::find_if(argv, argv + argc, is("--"));
  return std::any_of(argv, end, is("--json"));
}

std::optional<int> ReadNumber(const std::string& text) {
  int number = 0;
  return CLI::detail::lexical_cast(text, number) ? std::optional(number) : std::nullopt;
}

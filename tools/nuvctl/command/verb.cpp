#include "command/verb.h"

#include <algorithm>
#include <iterator>

namespace {

// The order that people know. A verb that is not here comes behind these, by its name.
constexpr const char* kKnownOrder[] = {
    "launch", "kpi",     "popup",         "android-status", "terminate", "terminate-all", "extra-app", "list",
    "show",   "locked",  "uninstallable", "group",          "explain",   "inner",         "used",      "set",
    "count",  "version", "command",       "status",         "showing",   "preload",       "pin",       "watch",
};

auto PlaceOf(const Verb& verb) {
  return std::pair(std::find(std::begin(kKnownOrder), std::end(kKnownOrder), verb.name), verb.name);
}

std::vector<Verb>& Registered() {
  static std::vector<Verb> verbs;
  return verbs;
}

std::vector<Verb> InOrder(std::vector<Verb> verbs) {
  std::sort(verbs.begin(), verbs.end(),
            [](const Verb& left, const Verb& right) { return PlaceOf(left) < PlaceOf(right); });
  return verbs;
}

}  // namespace

Argument Position(const std::string& name, const std::string& meaning) {
  return {Argument::Kind::kPosition, name, "", meaning};
}

Argument Option(const std::string& name, const std::string& value_name, const std::string& meaning) {
  return {Argument::Kind::kOption, name, value_name, meaning};
}

Argument Flag(const std::string& name, const std::string& meaning) {
  return {Argument::Kind::kFlag, name, "", meaning};
}

Argument AppPosition(const std::string& meaning) {
  return Position("ID", meaning).From(Live::kAppIds);
}

Argument TitleOption() {
  return Option("--title", "RUNTITLE", "Name the application by its run title instead").From(Live::kRunTitles);
}

const std::vector<Argument>& CommonFlags() {
  static const std::vector<Argument> flags = {
      Flag("--json", "Answer with one JSON object, errors included"),
      Flag("-v,--verbose", "Show the library's log on the standard error stream"),
  };
  return flags;
}

bool Values::Given(const std::string& name) const {
  return !std::holds_alternative<std::nullptr_t>(values_.at(name));
}

std::vector<std::string> Values::Texts(const std::string& name) const {
  std::vector<std::string> texts;
  for (const Value& text : Get(name, List())) texts.push_back(std::get<std::string>(text));
  return texts;
}

RegisteredVerb::RegisteredVerb(Verb verb) {
  Registered().push_back(std::move(verb));
}

const std::vector<Verb>& Verbs() {
  static const std::vector<Verb> verbs = InOrder(Registered());
  return verbs;
}

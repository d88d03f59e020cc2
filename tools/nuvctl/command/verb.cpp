#include "command/verb.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

namespace {

// The order of a group is this one. A verb that is not here comes behind these, by its name.
constexpr const char* kKnownOrder[] = {
    "launch",    "preload",     "pin",  "terminate", "terminate-all", "ps",      "status", "showing", "android-status",
    "extra-app", "list",        "show", "locked",    "uninstallable", "group",   "inner",  "used",    "set",
    "count",     "set-version", "kpi",  "popup",     "command",       "explain", "watch",  "ping",
};

auto PlaceOf(const Verb& verb) {
  const std::string name = verb.name;
  return std::tuple(verb.group, std::find(std::begin(kKnownOrder), std::end(kKnownOrder), name), name);
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

Argument& Argument::Required() {
  required = true;
  return *this;
}

Argument& Argument::Number() {
  type = Type::kNumber;
  return *this;
}

Argument& Argument::NumberFrom(int first) {
  least = first;
  return Number();
}

Argument& Argument::Seconds() {
  type = Type::kSeconds;
  return *this;
}

Argument& Argument::Factor() {
  type = Type::kFactor;
  return *this;
}

Argument& Argument::Many() {
  type = Type::kTexts;
  return *this;
}

Argument& Argument::Words(std::vector<std::string> allowed, Read reads) {
  words = std::move(allowed);
  read = reads;
  return *this;
}

Argument& Argument::List(std::vector<std::string> allowed, Read reads) {
  list = true;
  return Words(std::move(allowed), reads);
}

Argument& Argument::Suggested(Suggest suggests) {
  suggest = suggests;
  return *this;
}

Argument& Argument::From(Live source) {
  live = source;
  return *this;
}

Argument& Argument::Excludes(std::vector<const char*> others) {
  excludes = std::move(others);
  return *this;
}

Argument& Argument::Needs(const char* other) {
  needs = other;
  return *this;
}

Argument Position(const char* name, std::string meaning) {
  return {Argument::Kind::kPosition, name, "", std::move(meaning)};
}

Argument Option(const char* name, const char* value_name, std::string meaning) {
  return {Argument::Kind::kOption, name, value_name, std::move(meaning)};
}

Argument Flag(const char* name, std::string meaning) {
  return {Argument::Kind::kFlag, name, "", std::move(meaning)};
}

Argument AppPosition(std::string meaning) {
  return Position("ID", std::move(meaning)).From(Live::kAppIds);
}

Argument TitleOption() {
  return Option("--title", "RUNTITLE", "Name the application by its run title instead").From(Live::kRunTitles);
}

Argument TimeoutOption() {
  return Option("--timeout", "SECONDS", "Give the service so long to answer (default: the library's limit)").Seconds();
}

namespace {

std::string ReadWhen(std::string& when) {
  const bool known = when == "auto" || when == "always" || when == "never";
  return known ? "" : "not one of auto, always, never: " + when;
}

}  // namespace

const std::vector<Argument>& CommonFlags() {
  static const std::vector<Argument> flags = {
      Flag("--json", "Answer with one JSON object, errors included"),
      Flag("-v,--verbose", "Show the library's log on the standard error stream"),
      Option("--color", "WHEN", "Colour of states: auto (default), always, never")
          .Words({"auto", "always", "never"}, ReadWhen),
  };
  return flags;
}

template <typename T>
std::optional<T> Values::Get(const char* name) const {
  const T* value = std::get_if<T>(&values_.at(name));
  return value != nullptr ? std::optional<T>(*value) : std::nullopt;
}

void Values::Set(const char* name, Value value) {
  values_[name] = std::move(value);
}

bool Values::Given(const char* name) const {
  return !std::holds_alternative<std::nullptr_t>(values_.at(name));
}

bool Values::Flag(const char* name) const {
  return Get<bool>(name).value_or(false);
}

std::string Values::Text(const char* name, const char* otherwise) const {
  return Get<std::string>(name).value_or(otherwise);
}

std::optional<std::string> Values::MaybeText(const char* name) const {
  return Get<std::string>(name);
}

std::vector<std::string> Values::Texts(const char* name) const {
  std::vector<std::string> texts;
  for (const Value& text : Get<List>(name).value_or(List())) texts.push_back(std::get<std::string>(text));
  return texts;
}

int Values::Number(const char* name, int otherwise) const {
  return Get<int>(name).value_or(otherwise);
}

std::optional<unsigned> Values::Milliseconds(const char* name) const {
  return Get<int>(name);
}

std::optional<double> Values::Factor(const char* name) const {
  const auto thousandths = Get<int>(name);
  return thousandths ? std::optional<double>(*thousandths / 1000.0) : std::nullopt;
}

RegisteredVerb::RegisteredVerb(Verb verb, Sides sides) {
  verb.sides = sides;
  Registered().push_back(std::move(verb));
}

const char* HeadingOf(Group group) {
  constexpr const char* kHeadings[] = {"Applications", "Running", "Catalogue", "Service", "Diagnosis"};
  return kHeadings[static_cast<int>(group)];
}

const std::vector<Verb>& Verbs() {
  static const std::vector<Verb> verbs = InOrder(Registered());
  return verbs;
}

// What a verb of nuvctl is: data that the parser, the help and the tests of the man page read, and a function from what
// the user gave to a report.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "report/report.h"

// Where a shell can ask for the values that an argument may have at the moment.
enum class Live { kNone, kAppIds, kPlatformIds, kRunTitles, kGroups, kFiles };

// A position, an option with a value, or a flag.
struct Argument {
  enum class Kind { kPosition, kOption, kFlag };
  enum class Type { kText, kTexts, kNumber, kSeconds };
  // Says what is wrong with a value, or nothing; may put in its place what the type is to be read from.
  using Read = std::string (*)(std::string& text);

  Kind kind;
  std::string name;        // "ID", "--title"
  std::string value_name;  // of an option
  std::string meaning;
  Type type = Type::kText;
  std::optional<int> least = {};        // of a number
  std::vector<std::string> words = {};  // that the value may be
  Read read = nullptr;                  // of words
  Live live = Live::kNone;              // where else to look for values
  bool required = false;
  std::vector<std::string> excludes = {};  // other arguments, which then exclude this one
  std::string needs = {};                  // another argument

  Argument Required() const { return With(&Argument::required, true); }
  Argument Number() const { return With(&Argument::type, Type::kNumber); }
  Argument NumberFrom(int first) const { return Number().With(&Argument::least, std::optional(first)); }
  Argument Seconds() const { return With(&Argument::type, Type::kSeconds); }
  Argument Many() const { return With(&Argument::type, Type::kTexts); }
  Argument Words(const std::vector<std::string>& allowed, Read reads) const {
    return With(&Argument::words, allowed).With(&Argument::read, reads);
  }
  Argument From(Live source) const { return With(&Argument::live, source); }
  Argument Excludes(const std::vector<std::string>& others) const { return With(&Argument::excludes, others); }
  Argument Needs(const std::string& other) const { return With(&Argument::needs, other); }

  template <typename T>
  Argument With(T Argument::*member, const T& value) const {
    Argument changed = *this;
    changed.*member = value;
    return changed;
  }
};

Argument Position(const std::string& name, const std::string& meaning);
Argument Option(const std::string& name, const std::string& value_name, const std::string& meaning);
Argument Flag(const std::string& name, const std::string& meaning);

// "ID" of an application, and "--title" in its place.
Argument AppPosition(const std::string& meaning);
Argument TitleOption();

// "--json" and "--verbose", which go with every verb.
const std::vector<Argument>& CommonFlags();

// What the user gave for each of a verb's arguments. Asking for another one is a fault of the program.
class Values {
 public:
  void Set(const std::string& name, Value value) { values_[name] = std::move(value); }

  bool Given(const std::string& name) const;
  bool Flag(const std::string& name) const { return Get(name, false); }
  std::string Text(const std::string& name, const std::string& otherwise = "") const { return Get(name, otherwise); }
  std::optional<std::string> MaybeText(const std::string& name) const { return MaybeGet<std::string>(name); }
  std::vector<std::string> Texts(const std::string& name) const;
  int Number(const std::string& name, int otherwise = 0) const { return Get(name, otherwise); }
  std::optional<unsigned> Milliseconds(const std::string& name) const { return MaybeGet<int>(name); }

 private:
  template <typename T>
  std::optional<T> MaybeGet(const std::string& name) const {
    const T* value = std::get_if<T>(&values_.at(name));
    return value != nullptr ? std::optional<T>(*value) : std::nullopt;
  }
  template <typename T>
  T Get(const std::string& name, const T& otherwise) const {
    return MaybeGet<T>(name).value_or(otherwise);
  }

  std::map<std::string, Value> values_;  // null where the user gave none
};

// What belongs together in the man page.
enum class Group { kLaunching, kRunning, kService, kCatalogue, kInner };

struct Verb {
  std::string name;
  Group group;
  std::string summary;
  std::vector<Argument> arguments;
  Report (*run)(const Values& values);            // sets all of the report but the verb
  std::vector<std::string> one_of = {};           // arguments of which one is needed
  std::string (*check)(const Values&) = nullptr;  // says what does not go together, or nothing
  std::vector<Verb> verbs = {};                   // of which one is needed; in place of arguments
};

// Puts a verb into the table: the one thing that a source of verbs/ is for.
struct RegisteredVerb {
  explicit RegisteredVerb(Verb verb);
};

const std::vector<Verb>& Verbs();

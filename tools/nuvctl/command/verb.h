// What a verb of nuvctl is: data that the parser, the help and the tests of the man page read, and a function from what
// the user gave to a report.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "report/report.h"

// Where a shell can ask for the values that an argument may have at the moment.
enum class Live { kNone, kAppIds, kRunningIds, kPlatformIds, kRunTitles, kFiles };

class Values;

// A position, an option with a value, or a flag.
struct Argument {
  enum class Kind { kPosition, kOption, kFlag };
  enum class Type { kText, kTexts, kNumber, kSeconds, kFactor };
  // Says what is wrong with a value, or nothing; may put in its place what the type is to be read from.
  using Read = std::string (*)(std::string& text);
  // Words that the value may be, too, with what else is given.
  using Suggest = std::vector<std::string> (*)(const Values& given);

  Kind kind;
  const char* name;        // "ID", "--title"
  const char* value_name;  // of an option
  std::string meaning;
  Type type = Type::kText;
  std::optional<int> least = {};        // of a number
  std::vector<std::string> words = {};  // that the value may be
  Read read = nullptr;                  // of words
  bool list = false;                    // several of the words, with commas between them
  Suggest suggest = nullptr;
  Live live = Live::kNone;  // where else to look for values
  bool required = false;
  std::vector<const char*> excludes = {};  // other arguments, which then exclude this one
  const char* needs = nullptr;             // another argument

  Argument& Required();
  Argument& Number();
  Argument& NumberFrom(int first);
  Argument& Seconds();
  Argument& Factor();
  Argument& Many();
  Argument& Words(std::vector<std::string> allowed, Read reads);
  Argument& List(std::vector<std::string> allowed, Read reads);
  Argument& Suggested(Suggest suggests);
  Argument& From(Live source);
  Argument& Excludes(std::vector<const char*> others);
  Argument& Needs(const char* other);
};

Argument Position(const char* name, std::string meaning);
Argument Option(const char* name, const char* value_name, std::string meaning);
Argument Flag(const char* name, std::string meaning);

// "ID" of an application, and "--title" in its place.
Argument AppPosition(std::string meaning);
Argument TitleOption();

// "--timeout", of every verb that calls the service.
Argument TimeoutOption();

// What is no verb, and no option of any, but of the command line.
constexpr char kHelpVerb[] = "help";
constexpr char kHelpMeaning[] = "Show this help and exit";
constexpr char kVersionMeaning[] = "Show the version and exit";

// "--json", "--verbose" and "--color", which go with every verb.
const std::vector<Argument>& CommonFlags();

// What the user gave for each of a verb's arguments. Asking for another one is a fault of the program.
class Values {
 public:
  void Set(const char* name, Value value);

  bool Given(const char* name) const;
  bool Flag(const char* name) const;
  std::string Text(const char* name, const char* otherwise = "") const;
  std::optional<std::string> MaybeText(const char* name) const;
  std::vector<std::string> Texts(const char* name) const;
  int Number(const char* name, int otherwise = 0) const;
  std::optional<unsigned> Milliseconds(const char* name) const;
  std::optional<double> Factor(const char* name) const;

 private:
  template <typename T>
  std::optional<T> Get(const char* name) const;

  Fields values_;  // null where the user gave none
};

// What belongs together in the help and in the man page.
enum class Group { kApplications, kRunning, kCatalogue, kService, kDiagnosis };

const char* HeadingOf(Group group);

// Whether the answer of a verb, or what it asks for, rests on the service and on the state directory.
enum class Sides { kOne, kBoth };

struct Verb {
  const char* name;
  Group group;
  const char* summary;
  std::vector<Argument> arguments;
  Report (*run)(const Values& values);            // sets all of the report but the verb
  std::vector<const char*> one_of = {};           // arguments of which one is needed
  std::string (*check)(const Values&) = nullptr;  // says what does not go together, or nothing
  std::vector<Verb> verbs = {};                   // of which one is needed; in place of arguments
  Sides sides = Sides::kOne;
};

// Puts a verb into the table: the one thing that a source of verbs/ is for.
struct RegisteredVerb {
  explicit RegisteredVerb(Verb verb, Sides sides = Sides::kOne);
};

const std::vector<Verb>& Verbs();

// What a verb has to say, and how it is said: as text for people or as one JSON object for programs.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <variant>
#include <vector>

struct Field;
struct Value;
using List = std::vector<Value>;

// Values under their keys, in the order in which they came.
class Fields {
 public:
  Fields() = default;
  Fields(std::initializer_list<Field> fields);

  Value& operator[](const std::string& key);  // null where the key is new
  const Value& at(const std::string& key) const;
  void Update(const Fields& others);  // a key that is there keeps its place

  size_t size() const { return fields_.size(); }
  std::vector<Field>::const_iterator begin() const { return fields_.begin(); }
  std::vector<Field>::const_iterator end() const { return fields_.end(); }

 private:
  std::vector<Field> fields_;
};

// Texts are bytes, which need not be UTF-8.
struct Value : std::variant<std::nullptr_t, bool, int, std::int64_t, std::string, List, Fields> {
  using variant::variant;
};

struct Field {
  std::string key;
  Value value;
};

List ListOf(const std::vector<std::string>& texts);

// What a verb ended in.
enum class Outcome {
  kDone,
  kAccepted,
  kLaunched,
  kFailed,
  kUsage,
  kNotFound,
  kTimedOut,
  kServiceGone,
  kBusGone,
  kInterrupted
};

int ExitStatusOf(Outcome outcome);
const char* WordOf(Outcome outcome);

// The exit statuses and their meanings, a line each.
std::string ExitStatusHelp();

struct Report {
  std::string verb;  // empty when the command line names none
  Outcome outcome = Outcome::kDone;
  std::string text;                   // the answer in words; may be empty
  std::string error;                  // why it did not work; said where there is no text
  std::vector<std::string> warnings;  // what may make the answer another one than the user thinks
  Fields details;                     // the verb's own keys
  std::optional<int> status;          // in place of the outcome's: of a command that was run
};

// The object, on one line, in ASCII.
std::string ToJson(const Fields& fields);
std::string ToJson(const Report& report);

// Writes the report and returns the exit status.
int Print(const Report& report, bool as_json);

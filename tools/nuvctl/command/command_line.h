// What the user asked for: the data of the verbs made into a command line and its help.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "command/verb.h"

struct Command {
  const Verb* named;   // by the first word
  const Verb* chosen;  // the verb itself, or one of its own
  Values values;

  Report Run() const;
};

// A command, or the text that was asked for instead (help, version), or what is wrong.
using ParsedCommandLine = std::variant<Command, std::string, Report>;

ParsedCommandLine ParseCommandLine(int argc, const char* const* argv);

// Whether the arguments ask for JSON, however wrong the rest of them is.
bool AsksForJson(int argc, const char* const* argv);

// A number as the command line takes it, where the text is one.
std::optional<int> ReadNumber(const std::string& text);

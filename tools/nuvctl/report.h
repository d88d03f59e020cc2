// What a verb has to say, and how it is said: as text for people or as one JSON object for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "exit_status.h"

struct Report {
  std::string verb;  // empty when the command line names none
  Outcome outcome = Outcome::kDone;
  std::string text;   // the answer in words; may be empty
  std::string error;  // why it did not work; said where there is no text
  nlohmann::ordered_json details = nlohmann::ordered_json::object();  // the verb's own keys
};

// The object, on one line, in ASCII.
std::string ToJson(const Report& report);

// Writes the report and returns the exit status.
int Print(const Report& report, bool as_json);

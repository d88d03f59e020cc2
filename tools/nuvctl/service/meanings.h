// Names and meanings of the numbers that the service reports, and what they say about a launch.
#pragma once

#include <nuv/nuv_launch_names.h>

#include <map>
#include <optional>
#include <string>

#include "report/report.h"

// Which of the library's two callbacks a launch function takes.
enum class CallbackShape { kWebApp, kPlain };

// A row of the library's table of numbers.
using Meaning = nuv_number_s;

// Null for a number that has no name. Events, status numbers and result codes do not overlap.
const Meaning* FindMeaning(int number);

// One call of a launch callback.
struct LaunchReport {
  CallbackShape shape;
  std::string app_id;
  int event = 0;   // web-app shape only
  int result = 0;  // status number of the event, or the plain shape's result code
};

struct Verdict {
  Outcome outcome;
  int code;  // the number that says it best
};

// What the report says about the launch; nothing where the launch is still undecided after it.
std::optional<Verdict> Judge(const LaunchReport& report);

// The kinds of an error popup, by their names.
const std::map<std::string, int>& PopupKinds();

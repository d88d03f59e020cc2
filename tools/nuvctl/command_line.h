// What the user asked for.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "inner_choice.h"
#include "launch_functions.h"
#include "list_choice.h"
#include "pin_choice.h"
#include "report.h"

struct Options {
  bool json = false;
  bool verbose = false;
  std::string app_id;
  std::optional<std::string> run_title;  // in place of the id
  std::optional<std::string> caller_id;

  LaunchChoice launch;
  std::optional<std::string> payload;
  std::optional<double> wait_seconds;

  int kpi_type = 0;
  int preload_type = 0;
  std::string kpi_text;

  int popup_kind = 0;
  std::string reason;

  std::optional<std::string> new_extra_app;

  int terminate_option = 0;

  ListChoice list;
  bool service_record = false;
  std::vector<std::string> app_ids;
  std::string group;

  InnerChoice inner;
  std::optional<std::string> request_file;
  PinChoice pin;
  std::optional<double> watch_seconds;
};

struct Verb;

struct Command {
  const Verb* verb;
  Options options;
};

// A command, or the text that was asked for instead (help, version), or what is wrong.
using ParsedCommandLine = std::variant<Command, std::string, Report>;

ParsedCommandLine ParseCommandLine(int argc, const char* const* argv);

// Whether the arguments ask for JSON, however wrong the rest of them is.
bool AsksForJson(int argc, const char* const* argv);

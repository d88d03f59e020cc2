#include "seconds_option.h"

#include <CLI/CLI.hpp>
#include <cmath>

namespace {

constexpr double kMostSeconds = 1e6;

std::string CheckSeconds(const std::string& text) {
  double seconds = 0;
  const bool number = CLI::detail::lexical_cast(text, seconds);
  if (number && seconds > 0 && seconds <= kMostSeconds) return "";
  return "not a number of seconds above 0 and up to " + std::to_string(std::lround(kMostSeconds)) + ": " + text;
}

}  // namespace

CLI::Option* AddSecondsOption(CLI::App& command, const char* name, std::optional<double>& seconds,
                              const char* purpose) {
  return command.add_option(name, seconds, purpose)->type_name("SECONDS")->check(CLI::Validator(CheckSeconds, ""));
}

#include "options.h"

#include <glib.h>

#include <CLI/CLI.hpp>

namespace simulator {
namespace {

constexpr int kUsageError = 2;
constexpr std::size_t kLongestPin = 16;

std::string Environment(const char* name) {
  const char* value = g_getenv(name);
  return value == nullptr ? "" : value;
}

std::string DefaultDirectory() {
  if (std::string directory = Environment("NUV_HOST_DIR"); !directory.empty()) return directory;
  if (const std::string state = Environment("XDG_STATE_HOME"); !state.empty()) return state + "/nuv";
  return std::string(g_get_home_dir()) + "/.local/state/nuv";
}

// Why the text is no PIN; empty when it is one.
std::string IsPin(const std::string& text) {
  const bool digits = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
  return digits && text.size() <= kLongestPin ? "" : "a PIN has 1 to 16 digits";
}

void Describe(CLI::App& app, Options& options) {
  app.add_option("--dir", options.directory, "State directory")->capture_default_str();
  app.add_option("--seed", options.seed, "Load this catalogue into the application database");
  app.add_option("--scenario", options.scenario, "Misbehave as this file says; it is read again when it changes");
  auto* replay = app.add_option("--replay", options.replay, "Answer as the service of this recording did");
  for (const char* other : {"--seed", "--scenario"}) replay->excludes(app.get_option(other));
  app.add_option("--speed", options.speed, "Replay so many times as fast as recorded; 0: without delays")
      ->check(CLI::Range(0.0, 1e6))
      ->needs(replay)
      ->capture_default_str();
  app.add_option("--settle", options.settle_ms, "Milliseconds that a program has to live before it counts as started")
      ->check(CLI::Range(0, 600000))
      ->capture_default_str();
  app.add_option("--pin", options.pin, "PIN of the locked applications, digits")
      ->check(CLI::Validator(IsPin, "DIGITS"))
      ->capture_default_str();
  app.add_option_function<std::string>(
         "--pin-answer", [&options](const std::string& name) { options.pin_answer = ParsePinAnswer(name); },
         "Answer for the user when the PIN is asked for")
      ->check(CLI::IsMember(PinAnswerNames()));
  app.add_flag_function(
      "--no-stand-ins", [&options](std::int64_t) { options.stand_ins = false; },
      "Fail the launch of an application that has no program");
  app.add_flag("--reconnect", options.reconnect, "Wait for the bus instead of ending without it");
  app.add_flag("--print-ready", options.print_ready, "Print \"ready\" when the service can be called");
  app.add_option("--ready-fd", options.ready_fd, "Write \"ready\" to this open file when the service can be called")
      ->check(CLI::NonNegativeNumber);
  app.add_flag("-q,--quiet", options.quiet,
               "Do not say at the start where the service is; errors and warnings still come");
  app.add_flag("-v,--verbose", options.verbose, "Print a line per request, reply, result, start and stop");
  app.set_version_flag("--version", "nuv-simulator " NUV_VERSION);
}

}  // namespace

std::optional<Options> ParseOptions(int argc, char** argv, int* exit_status) {
  Options options;
  options.directory = DefaultDirectory();
  CLI::App app("Reference Nuv service: answers its calls on the system bus and runs applications.", "nuv-simulator");
  Describe(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    *exit_status = app.exit(error) == 0 ? 0 : kUsageError;
    return std::nullopt;
  }
  return options;
}

}  // namespace simulator

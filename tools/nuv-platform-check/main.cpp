// nuv-platform-check: does a platform library keep what the launcher library relies on?
#include <glib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "check.h"
#include "platform_calls.h"
#include "trial.h"

namespace {

using platform_check::Check;
using platform_check::Cost;
using platform_check::Outcome;
using Clock = std::chrono::steady_clock;

constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr double kLimitSeconds = 10;
constexpr double kMostSeconds = 3600;
constexpr int kRepeats = 200;

struct Arguments {
  std::vector<std::string> libraries;
  double limit_s = kLimitSeconds;
  bool version = false;
};

template <auto Release>
struct Releaser {
  template <typename T>
  void operator()(T* object) const {
    Release(object);
  }
};

// What is wrong with the command line; empty where nothing is.
std::string Parse(int argc, char** argv, Arguments& arguments) {
  gchar* setting = nullptr;
  gchar* application = nullptr;
  gchar** libraries = nullptr;
  gboolean version = FALSE;
  const GOptionEntry entries[] = {
      {"setting", 0, 0, G_OPTION_ARG_STRING, &setting, "Write to this setting, and leave it changed", "KEY"},
      {"launch", 0, 0, G_OPTION_ARG_STRING, &application, "Launch this application, twice", "APP_ID"},
      {"limit", 0, 0, G_OPTION_ARG_DOUBLE, &arguments.limit_s, "Until a check has failed; default: 10", "SECONDS"},
      {"version", 0, 0, G_OPTION_ARG_NONE, &version, "Print the version", nullptr},
      {G_OPTION_REMAINING, 0, 0, G_OPTION_ARG_FILENAME_ARRAY, &libraries, nullptr, nullptr},
      {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
  const std::unique_ptr<GOptionContext, Releaser<g_option_context_free>> context(
      g_option_context_new("LIBRARY... - check the platform calls of these libraries"));
  g_option_context_set_description(context.get(),
                                   "Prints a report in the Test Anything Protocol. The exit status is 0 where all\n"
                                   "holds, 1 where something does not, 2 where nothing could be checked.\n");
  g_option_context_add_main_entries(context.get(), entries, nullptr);
  GError* failed = nullptr;
  g_option_context_parse(context.get(), &argc, &argv, &failed);
  const std::unique_ptr<GError, Releaser<g_error_free>> error(failed);
  const std::unique_ptr<gchar*, Releaser<g_strfreev>> libraries_owner(libraries);
  const std::unique_ptr<gchar, Releaser<g_free>> setting_owner(setting);
  const std::unique_ptr<gchar, Releaser<g_free>> application_owner(application);
  if (error != nullptr) return error->message;
  for (gchar** library = libraries; library != nullptr && *library != nullptr; ++library) {
    arguments.libraries.emplace_back(*library);
  }
  if (setting != nullptr) platform_check::allowed.setting = setting;
  if (application != nullptr) platform_check::allowed.application = application;
  arguments.version = version != FALSE;
  if (!(arguments.limit_s > 0 && arguments.limit_s <= kMostSeconds)) return "--limit is no time from 0 to 3600 seconds";
  return arguments.libraries.empty() && !arguments.version ? "no LIBRARY is given (see --help)" : "";
}

std::string Find(const Check& check) {
  return check.find().value_or("");
}

bool Report(std::size_t number, const Check& check, std::chrono::milliseconds limit) {
  const Outcome outcome = platform_check::Try([&check] { return Find(check); }, limit);
  const bool holds = outcome.done && outcome.said.empty();
  std::printf("%s %zu - %s: %s\n", holds ? "ok" : "not ok", number, check.call, check.holds);
  if (!holds) std::printf("# %s\n", outcome.said.c_str());
  return holds;
}

// The middle of several, in microseconds; the slowest counts, too: it holds a launch up.
std::string Measure(const Cost& cost) {
  std::vector<double> times(kRepeats);
  for (double& time : times) {
    const auto start = Clock::now();
    cost.run();
    time = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
  }
  std::sort(times.begin(), times.end());
  char text[64];
  std::snprintf(text, sizeof text, "%.2f us, at most %.2f us", times[times.size() / 2], times.back());
  return text;
}

int CheckAll(std::chrono::milliseconds limit) {
  const std::vector<Check>& checks = platform_check::Checks();
  std::printf("TAP version 13\n1..%zu\n", checks.size());
  bool all = true;
  for (std::size_t i = 0; i < checks.size(); ++i) all = Report(i + 1, checks[i], limit) && all;
  for (const Cost& cost : platform_check::Costs()) {
    const Outcome outcome = platform_check::Try([&cost] { return Measure(cost); }, limit);
    std::printf("# cost of %s: %s\n", cost.call, outcome.said.c_str());
  }
  return all ? 0 : kFailed;
}

int Run(int argc, char** argv) {
  Arguments arguments;
  if (const std::string wrong = Parse(argc, argv, arguments); !wrong.empty()) {
    std::fprintf(stderr, "nuv-platform-check: %s\n", wrong.c_str());
    return kUsage;
  }
  if (arguments.version) {
    std::puts("nuv-platform-check " NUV_VERSION);
    return 0;
  }
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  std::vector<std::string> missing;
  if (const std::string why = platform_check::Load(arguments.libraries, missing); !why.empty()) {
    std::fprintf(stderr, "nuv-platform-check: %s\n", why.c_str());
    return kUsage;
  }
  if (missing.empty()) return CheckAll(std::chrono::milliseconds(static_cast<int>(arguments.limit_s * 1000)));
  for (const std::string& name : missing) std::printf("Bail out! %s() is missing\n", name.c_str());
  return kFailed;
}

}  // namespace

int main(int argc, char** argv) try { return Run(argc, argv); } catch (const std::exception& error) {
  std::fprintf(stderr, "nuv-platform-check: %s\n", error.what());
  return kUsage;
}

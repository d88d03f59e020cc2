#include "launch_verb.h"

#include <CLI/CLI.hpp>
#include <utility>

#include "app_choice.h"
#include "launch_functions.h"
#include "launch_run.h"
#include "request_launch.h"

namespace {

Report NoSuchLaunch() {
  Report report;
  report.outcome = Outcome::kUsage;
  report.error = "the library has no such launch; it has: " + LaunchCombinations();
  return report;
}

LaunchArguments ArgumentsOf(const Options& options) {
  LaunchArguments arguments;
  arguments.app = options.run_title.value_or(options.app_id);
  arguments.payload = options.payload;
  arguments.caller_id = options.caller_id;
  return arguments;
}

// A title that is not found is no request.
Diagnosis DiagnoseLaunch(const LaunchFunction& function, const std::string& app) {
  const auto not_found = function.choice.by_title ? WhyTitleNotFound(app) : std::nullopt;
  return not_found ? *not_found : DiagnoseFailure();
}

LaunchTask TaskOf(const LaunchFunction& function, const LaunchArguments& arguments) {
  LaunchTask task;
  task.call = [&function, arguments](const LaunchCallbacks& callbacks) {
    LaunchArguments with_callbacks = arguments;
    with_callbacks.on_event = callbacks.on_event;
    with_callbacks.on_result = callbacks.on_result;
    with_callbacks.user_data = callbacks.user_data;
    return function.call(with_callbacks);
  };
  task.diagnose = [&function, app = arguments.app] { return DiagnoseLaunch(function, app); };
  return task;
}

}  // namespace

void AddLaunchArguments(CLI::App& command, Options& options) {
  AddAppChoice(command, options, "Application to launch");
  AddPayloadArgument(command, options);
  AddCallerArgument(command, options);
  command.add_flag("--force", options.launch.force, "Launch where the service would otherwise decline");
  command.add_flag("--background", options.launch.background, "Leave the current application in front");
  command.add_flag("--deep-link", options.launch.deep_link, "Launch as a deep link (always forces)");
  auto* webapp = command.add_flag_callback(
      "--webapp", [&options] { options.launch.shape = CallbackShape::kWebApp; },
      "Use the web-application functions (default)");
  auto* plain = command.add_flag_callback(
      "--plain", [&options] { options.launch.shape = CallbackShape::kPlain; }, "Use the nuv_launch_app functions");
  plain->excludes(webapp);
  AddRequestArgument(command, options);  // goes with what follows only
  AddWaitArgument(command, options);
}

Report RunLaunch(const Options& options) {
  if (options.request_file) return RunRequestLaunch(options);
  LaunchChoice choice = options.launch;
  choice.by_title = options.run_title.has_value();
  const LaunchFunction* function = FindLaunchFunction(choice, options.caller_id.has_value());
  if (function == nullptr) return NoSuchLaunch();
  nlohmann::ordered_json details = AppChoiceJson(options);
  details["function"] = function->name;
  return RunLaunchTask(options, TaskOf(*function, ArgumentsOf(options)), std::move(details));
}

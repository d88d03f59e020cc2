// nuvctl launch: by options, or by an app-control request from a file.
#include <nuv/nuv_launch_codes.h>
#include <nuv_platform/platform_app_control.h>

#include <memory>
#include <new>
#include <utility>

#include "launch/launch_functions.h"
#include "launch/launch_run.h"
#include "launch/request_file.h"

namespace launch_verb {
namespace {

Report WrongUsage(const std::string& what) {
  Report report;
  report.outcome = Outcome::kUsage;
  report.error = what;
  return report;
}

using ControlOwner = std::shared_ptr<app_control_s>;

// The platform refuses no text that the file may contain, so what fails here is memory.
void Check(int result) {
  if (result != 0) throw std::bad_alloc();
}

ControlOwner MakeControl(const AppRequest& request) {
  app_control_h created = nullptr;
  Check(app_control_create(&created));
  ControlOwner control(created, app_control_destroy);
  Check(app_control_set_app_id(created, request.app_id.c_str()));
  if (request.operation) Check(app_control_set_operation(created, request.operation->c_str()));
  if (request.uri) Check(app_control_set_uri(created, request.uri->c_str()));
  for (const auto& [key, value] : request.extra_data) {
    Check(app_control_add_extra_data(created, key.c_str(), value.c_str()));
  }
  return control;
}

Report LaunchRequest(const Values& values, const std::string& path) {
  const auto read = ReadRequestFile(path);
  if (const auto* error = std::get_if<RequestError>(&read)) return WrongUsage(error->message);
  const auto& request = std::get<AppRequest>(read);
  LaunchTask task;
  task.call = [control = MakeControl(request)](const LaunchCallbacks& callbacks) {
    return nuv_launch_app_ex(control.get(), callbacks.on_event, callbacks.user_data);
  };
  return RunLaunchTask(values, std::move(task), {{"app", request.app_id}, {"function", "nuv_launch_app_ex"}});
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

LaunchChoice ChoiceOf(const Values& values) {
  LaunchChoice choice;
  choice.shape = values.Flag("--plain") ? CallbackShape::kPlain : CallbackShape::kWebApp;
  choice.force = values.Flag("--force");
  choice.background = values.Flag("--background");
  choice.deep_link = values.Flag("--deep-link");
  choice.by_title = values.Given("--title");
  return choice;
}

bool IsUnknownApp(const Value& code) {
  const int* number = std::get_if<int>(&code);
  return number != nullptr && (*number == NUV_LAUNCH_STATUS_UNKNOWN_APP || *number == NUV_LAUNCH_RESULT_UNKNOWN_APP);
}

Report Launch(const Values& values) {
  if (const auto path = values.MaybeText("--request")) return LaunchRequest(values, *path);
  const AppName app = {values.Text("ID"), values.MaybeText("--title")};
  LaunchArguments arguments;
  arguments.app = app.run_title ? *app.run_title : IdOf(app.id);
  arguments.payload = values.MaybeText("--payload");
  arguments.caller_id = values.MaybeText("--caller");
  const LaunchFunction* function = FindLaunchFunction(ChoiceOf(values), arguments.caller_id.has_value());
  if (function == nullptr) return WrongUsage("the library has no such launch; it has: " + LaunchCombinations());
  Fields details = FieldsOf(app);
  details["function"] = function->name;
  Report report = RunLaunchTask(values, TaskOf(*function, arguments), std::move(details));
  if (!app.run_title && IsUnknownApp(report.details.at("code"))) report.error += MeantApp(app.id);
  return report;
}

const RegisteredVerb kLaunch(
    {"launch",
     Group::kApplications,
     "Launch an application",
     {AppPosition("Application to launch: its id, kelvo id, package name or run title"), TitleOption().Excludes({"ID"}),
      PayloadOption(), LaunchCallerOption(), Flag("--force", "Launch where the service would otherwise decline"),
      Flag("--background", "Leave the current application in front"),
      Flag("--deep-link", "Launch as a deep link (always forces)"),
      Flag("--webapp", "Use the web-application functions (default)"),
      Flag("--plain", "Use the nuv_launch_app functions").Excludes({"--webapp"}),
      Option("--request", "FILE", "Launch what the JSON file says, or the standard input stream for \"-\"")
          .From(Live::kFiles)
          .Excludes({"ID", "--title", "--payload", "--caller", "--force", "--background", "--deep-link", "--webapp",
                     "--plain"}),
      WaitOption(), NoWaitFlag(), TimeoutOption()},
     Launch,
     {"--request", "ID", "--title"}},
    Sides::kBoth);

}  // namespace
}  // namespace launch_verb

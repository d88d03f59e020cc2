#include "request_launch.h"

#include <nuv_platform/platform_app_control.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <new>
#include <utility>

#include "launch_run.h"
#include "request_file.h"

namespace {

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

Report WrongFile(const RequestError& error) {
  Report report;
  report.outcome = Outcome::kUsage;
  report.error = error.message;
  return report;
}

}  // namespace

void AddRequestArgument(CLI::App& command, Options& options) {
  const std::vector<CLI::Option*> others = command.get_options(
      [](const CLI::Option* option) { return !option->check_name("--help") && !option->check_name("-h"); });
  auto* request = command.add_option("--request", options.request_file,
                                     "Launch what the JSON file says, or the standard input stream for \"-\"");
  request->type_name("FILE");
  for (CLI::Option* other : others) request->excludes(other);
  const CLI::Option* id = command.get_option("ID");
  const CLI::Option* title = command.get_option("--title");
  command.callback([id, title, request] {
    if (id->empty() && title->empty() && request->empty()) throw CLI::RequiredError("--request, ID or --title");
  });
}

Report RunRequestLaunch(const Options& options) {
  const auto read = ReadRequestFile(*options.request_file);
  if (const auto* error = std::get_if<RequestError>(&read)) return WrongFile(*error);
  const auto& request = std::get<AppRequest>(read);
  LaunchTask task;
  task.call = [control = MakeControl(request)](const LaunchCallbacks& callbacks) {
    return nuv_launch_app_ex(control.get(), callbacks.on_event, callbacks.user_data);
  };
  return RunLaunchTask(options, std::move(task), {{"app", request.app_id}, {"function", "nuv_launch_app_ex"}});
}

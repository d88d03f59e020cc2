#include "preload_verb.h"

#include <CLI/CLI.hpp>
#include <utility>

#include "app_choice.h"
#include "launch_run.h"

void AddPreloadArguments(CLI::App& command, Options& options) {
  command.add_option("ID", options.app_id, "Application to start: its id, kelvo id or package name")->required();
  AddPayloadArgument(command, options);
  AddWaitArgument(command, options);
}

// The function takes a caller, and does nothing with it.
Report RunPreload(const Options& options) {
  LaunchTask task;
  task.call = [app = options.app_id, payload = options.payload.value_or("")](const LaunchCallbacks& callbacks) {
    return nuv_launch_webapp_for_preload(app.c_str(), payload.c_str(), "", callbacks.on_event, callbacks.user_data);
  };
  task.diagnose = [options] { return DiagnoseAppCall(options); };
  return RunLaunchTask(options, std::move(task),
                       {{"app", options.app_id}, {"function", "nuv_launch_webapp_for_preload"}});
}

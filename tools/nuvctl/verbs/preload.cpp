// nuvctl preload
#include <utility>

#include "launch/launch_run.h"

namespace preload_verb {
namespace {

// The function takes a caller, and does nothing with it.
Report Preload(const Values& values) {
  const std::string app_id = values.Text("ID");
  LaunchTask task;
  task.call = [app_id = IdOf(app_id), payload = values.Text("--payload")](const LaunchCallbacks& callbacks) {
    return nuv_launch_webapp_for_preload(app_id.c_str(), payload.c_str(), "", callbacks.on_event, callbacks.user_data);
  };
  task.diagnose = [app_id] { return DiagnoseAppCall({app_id, {}}); };
  return RunLaunchTask(values, std::move(task), {{"app", app_id}, {"function", "nuv_launch_webapp_for_preload"}});
}

const RegisteredVerb kPreload(
    {"preload",
     Group::kApplications,
     "Start an application without showing it",
     {AppPosition("Application to start: its id, kelvo id, package name or run title").Required(), PayloadOption(),
      WaitOption(), NoWaitFlag(), TimeoutOption()},
     Preload},
    Sides::kBoth);

}  // namespace
}  // namespace preload_verb

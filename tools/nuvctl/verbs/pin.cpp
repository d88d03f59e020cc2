// nuvctl pin
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_service_launch.h>

#include "launch/launch_run.h"

namespace pin_verb {
namespace {

constexpr int kReserved = 0;
constexpr unsigned kWaitForUserMs = 60000;

_NUV_LAUNCHER_DATA MakeRecord(const Values& values, const char* app_id) {
  _NUV_LAUNCHER_DATA record;
  record.appId = app_id;
  record.payload = values.Text("--payload");
  record.callerId = values.Text("--caller");
  record.uri = values.Text("--uri");
  record.entry = values.Text("--entry");
  record.relocateBelowApp = values.Text("--below");
  record.launchRequestor = values.Text("--requestor");
  record.bForceLaunch = values.Flag("--force");
  record.bBackground = values.Flag("--background");
  record.bDeepLink = values.Flag("--deep-link");
  return record;
}

Diagnosis DiagnosePin() {
  Diagnosis diagnosis = DiagnoseFailure();
  if (diagnosis.outcome == Outcome::kFailed) {
    diagnosis.message = "the common-UI application, which shows the PIN dialog, was not started";
  }
  return diagnosis;
}

LaunchTask TaskOf(const Values& values, const nuv_app_info_s& app) {
  LaunchTask task;
  task.call = [record = MakeRecord(values, app.app_id), type = app.app_type](const LaunchCallbacks& callbacks) mutable {
    record.callback = reinterpret_cast<uintptr_t>(callbacks.on_event);
    record.userData = callbacks.user_data;
    return nuv_launch_Pin_Popup(kReserved, type, record);
  };
  task.diagnose = DiagnosePin;
  task.wait_ms = kWaitForUserMs;
  return task;
}

Report Pin(const Values& values) {
  const std::string app_id = values.Text("ID");
  const Fields details = {{"app", app_id}, {"function", "nuv_launch_Pin_Popup"}};
  nuv_app_info_s app = {};
  const int lookup = m_nuv_get_app_info(IdOf(app_id).c_str(), &app);
  if (lookup != 0) return ReportOf(DiagnoseLookup(lookup, {app_id, {}}), details);
  return RunLaunchTask(values, TaskOf(values, app), details);
}

const RegisteredVerb kPin(
    {"pin",
     Group::kApplications,
     "Have the user asked for the PIN before a launch",
     {AppPosition("Application to launch: its id, kelvo id, package name or run title").Required(), PayloadOption(),
      LaunchCallerOption(), Option("--uri", "URI", "URI of the launch"),
      Option("--entry", "TEXT", "Entry of the launch"),
      Option("--below", "ID", "Application below which it is to be placed").From(Live::kAppIds),
      Option("--requestor", "TEXT", "Requesting component"),
      Flag("--force", "Launch where the service would otherwise decline"),
      Flag("--background", "Leave the current application in front"), Flag("--deep-link", "Launch as a deep link"),
      WaitOption("60"), NoWaitFlag(), TimeoutOption()},
     Pin},
    Sides::kBoth);

}  // namespace
}  // namespace pin_verb

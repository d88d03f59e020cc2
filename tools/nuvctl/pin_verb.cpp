#include "pin_verb.h"

#include <nuv/nuv_app_database.h>
#include <nuv/nuv_service_launch.h>

#include <CLI/CLI.hpp>
#include <optional>
#include <utility>

#include "app_choice.h"
#include "launch_run.h"

namespace {

constexpr int kReserved = 0;

_NUV_LAUNCHER_DATA MakeRecord(const Options& options, const char* app_id) {
  _NUV_LAUNCHER_DATA record;
  record.appId = app_id;
  record.payload = options.payload.value_or("");
  record.callerId = options.caller_id.value_or("");
  record.uri = options.pin.uri;
  record.entry = options.pin.entry;
  record.relocateBelowApp = options.pin.below;
  record.launchRequestor = options.pin.requestor;
  record.bForceLaunch = options.pin.force;
  record.bBackground = options.pin.background;
  record.bDeepLink = options.pin.deep_link;
  return record;
}

Diagnosis DiagnosePin() {
  Diagnosis diagnosis = DiagnoseFailure();
  if (diagnosis.outcome == Outcome::kFailed) {
    diagnosis.message = "the common-UI application, which shows the PIN dialog, was not started";
  }
  return diagnosis;
}

LaunchTask TaskOf(const Options& options, const nuv_app_info_s& app) {
  LaunchTask task;
  task.call = [record = MakeRecord(options, app.app_id),
               type = app.app_type](const LaunchCallbacks& callbacks) mutable {
    record.callback = reinterpret_cast<uintptr_t>(callbacks.on_event);
    record.userData = callbacks.user_data;
    return nuv_launch_Pin_Popup(kReserved, type, record);
  };
  task.diagnose = DiagnosePin;
  return task;
}

}  // namespace

void AddPinArguments(CLI::App& command, Options& options) {
  command.add_option("ID", options.app_id, "Application to launch: its id, kelvo id or package name")->required();
  AddPayloadArgument(command, options);
  AddCallerArgument(command, options);
  command.add_option("--uri", options.pin.uri, "URI of the launch")->type_name("URI");
  command.add_option("--entry", options.pin.entry, "Entry of the launch")->type_name("TEXT");
  command.add_option("--below", options.pin.below, "Application below which it is to be placed")->type_name("ID");
  command.add_option("--requestor", options.pin.requestor, "Requesting component")->type_name("TEXT");
  command.add_flag("--force", options.pin.force, "Launch where the service would otherwise decline");
  command.add_flag("--background", options.pin.background, "Leave the current application in front");
  command.add_flag("--deep-link", options.pin.deep_link, "Launch as a deep link");
  AddWaitArgument(command, options);
}

Report RunPin(const Options& options) {
  nlohmann::ordered_json details = {{"app", options.app_id}, {"function", "nuv_launch_Pin_Popup"}};
  nuv_app_info_s app = {};
  const int lookup = m_nuv_get_app_info(options.app_id.c_str(), &app);
  if (lookup != 0) return ReportOf(DiagnoseLookup(lookup, options), std::move(details));
  return RunLaunchTask(options, TaskOf(options, app), std::move(details));
}

#include "service_verbs.h"

#include <nuv/nuv_service_api.h>

#include <CLI/CLI.hpp>
#include <map>
#include <vector>

#include "app_choice.h"
#include "diagnose.h"
#include "text.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr char kDefaultCaller[] = "nuvctl";
constexpr char kDefaultReason[] = "user request";

const std::map<std::string, int>& PopupKinds() {
  static const std::map<std::string, int> kinds = {
      {"unknown-title", LAUNCH_ERROR_POPUP_UNKNOWN_TITLE},
      {"type-1", LAUNCH_ERROR_POPUP_TYPE_1},
      {"type-2", LAUNCH_ERROR_POPUP_TYPE_2},
      {"type-3", LAUNCH_ERROR_POPUP_TYPE_3},
      {"no-app-id", LAUNCH_ERROR_POPUP_NO_APP_ID},
  };
  return kinds;
}

// A kind is given by its name or as any number.
std::string PopupKindNumber(std::string& text) {
  int number = 0;
  const auto named = PopupKinds().find(text);
  if (named != PopupKinds().end()) {
    text = std::to_string(named->second);
  } else if (!CLI::detail::lexical_cast(text, number)) {
    std::string names;
    for (const auto& [name, kind] : PopupKinds()) names += (names.empty() ? "" : ", ") + name;
    return "no kind of popup: " + text + "; the kinds are a number or one of " + names;
  }
  return "";
}

// The report of a call that gave the result, with the reason where it failed.
Report ReportOf(int result, Json details = Json::object()) {
  if (result != 0) return ReportOf(DiagnoseFailure(), std::move(details));
  Report report;
  report.details = std::move(details);
  return report;
}

// Who terminates, and why.
std::vector<CLI::Option*> AddOriginArguments(CLI::App& command, Options& options) {
  options.reason = kDefaultReason;
  return {command.add_option("--caller", options.caller_id, "Id of the caller (default \"nuvctl\")")->type_name("ID"),
          command.add_option("--reason", options.reason, "Why (default \"user request\")")->type_name("TEXT")};
}

Report ShowExtraApp() {
  std::string app_id;
  Report report = ReportOf(nuv_get_extra_app(app_id), {{"app", nullptr}});
  if (report.outcome != Outcome::kDone) return report;
  if (app_id.empty()) {
    report.outcome = Outcome::kNotFound;
    report.error = "there is no extra application";
    return report;
  }
  report.details["app"] = app_id;
  report.text = Printable(app_id);
  return report;
}

}  // namespace

void AddKpiArguments(CLI::App& command, Options& options) {
  command.add_option("--type", options.kpi_type, "The service's log type")->type_name("N")->required();
  command.add_option("--app", options.app_id, "Application that the event is about")->type_name("ID")->required();
  command.add_option("--caller", options.caller_id, "Id of who started it")->type_name("ID");
  command.add_option("--preload-type", options.preload_type, "The service's preload type (default 0)")->type_name("N");
  command.add_option("--text", options.kpi_text, "The service's event text")->type_name("TEXT");
}

void AddPopupArguments(CLI::App& command, Options& options) {
  command
      .add_option("KIND", options.popup_kind, "Kind of popup: unknown-title, type-1 to type-3, no-app-id or a number")
      ->transform(CLI::Validator(PopupKindNumber, ""))
      ->type_name("")
      ->required();
}

void AddAndroidStatusArguments(CLI::App& command, Options& options) {
  command.add_option("ID", options.app_id, "Application to ask about")->required();
}

void AddTerminateArguments(CLI::App& command, Options& options) {
  CLI::Option* title = AddAppChoice(command, options, "Application to terminate: its id, kelvo id or package name");
  std::vector<CLI::Option*> rest = AddOriginArguments(command, options);
  rest.push_back(command.add_option("--option", options.terminate_option, "The service's terminate option (default 0)")
                     ->type_name("N"));
  for (CLI::Option* option : rest) title->excludes(option);
}

void AddTerminateAllArguments(CLI::App& command, Options& options) {
  AddOriginArguments(command, options);
}

void AddExtraAppArguments(CLI::App& command, Options& options) {
  command.add_option("--set", options.new_extra_app, "Announce that this is the extra application now")
      ->type_name("ID");
}

Report RunKpi(const Options& options) {
  const char* caller = options.caller_id ? options.caller_id->c_str() : nullptr;
  return ReportOf(nuv_send_appexec_kpi_client(options.kpi_type, options.app_id.c_str(), caller, options.preload_type,
                                              options.kpi_text.c_str()),
                  {{"app", options.app_id}});
}

Report RunPopup(const Options& options) {
  return ReportOf(nuv_launch_systempopup_client(static_cast<LAUNCH_ERROR_POPUP_TYPE>(options.popup_kind)),
                  {{"kind", options.popup_kind}});
}

Report RunAndroidStatus(const Options& options) {
  int state = 0;
  Report report = ReportOf(nuv_get_android_app_status_client(options.app_id.c_str(), state),
                           {{"app", options.app_id}, {"state", nullptr}});
  if (report.outcome != Outcome::kDone) return report;
  report.details["state"] = state;
  report.text = std::to_string(state);
  return report;
}

Report RunTerminate(const Options& options) {
  const int result = options.run_title
                         ? nuv_terminate_app_by_runtitle_client(options.run_title->c_str())
                         : nuv_terminate_app_client(options.app_id.c_str(), options.terminate_option,
                                                    options.caller_id.value_or(kDefaultCaller), options.reason);
  return ReportOfAppCall(result, options);
}

Report RunTerminateAll(const Options& options) {
  return ReportOf(nuv_terminate_allApps_internal(options.caller_id.value_or(kDefaultCaller), options.reason));
}

Report RunExtraApp(const Options& options) {
  if (!options.new_extra_app) return ShowExtraApp();
  return ReportOf(nuv_notify_extra_app_changed(*options.new_extra_app), {{"app", *options.new_extra_app}});
}

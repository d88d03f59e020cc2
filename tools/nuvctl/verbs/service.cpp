// nuvctl kpi, popup, android-status, extra-app: one call of the service each.
#include <nuv/nuv_service_api.h>

#include "command/command_line.h"
#include "obstacles/obstacles.h"
#include "report/text.h"
#include "service/meanings.h"

namespace service_verb {
namespace {

Report Kpi(const Values& values) {
  const ServiceCall call(values);
  const std::string app_id = values.Text("--app");
  const std::optional<std::string> caller = values.MaybeText("--caller");
  return ReportOfCall(
      nuv_send_appexec_kpi_client(values.Number("--type"), app_id.c_str(), caller ? caller->c_str() : nullptr,
                                  values.Number("--preload-type"), values.Text("--text").c_str()),
      {{"app", app_id}});
}

const RegisteredVerb kKpi({"kpi",
                           Group::kService,
                           "Report an application-execution event",
                           {Option("--type", "N", "The service's log type").Number().Required(),
                            Option("--app", "ID", "Application that the event is about").From(Live::kAppIds).Required(),
                            Option("--caller", "ID", "Id of who started it").From(Live::kAppIds),
                            Option("--preload-type", "N", "The service's preload type (default 0)").Number(),
                            Option("--text", "TEXT", "The service's event text"), TimeoutOption()},
                           Kpi});

std::vector<std::string> PopupNames() {
  std::vector<std::string> names;
  for (const auto& [name, kind] : PopupKinds()) names.push_back(name);
  return names;
}

// A kind is given by its name or as any number.
std::string ReadPopupKind(std::string& text) {
  const auto named = PopupKinds().find(text);
  if (named != PopupKinds().end()) {
    text = std::to_string(named->second);
  } else if (!ReadNumber(text)) {
    return "no kind of popup: " + text + "; the kinds are a number or one of " + Joined(PopupNames());
  }
  return "";
}

Report Popup(const Values& values) {
  const ServiceCall call(values);
  const int kind = values.Number("KIND");
  return ReportOfCall(nuv_launch_systempopup_client(static_cast<LAUNCH_ERROR_POPUP_TYPE>(kind)), {{"kind", kind}});
}

const RegisteredVerb kPopup({"popup",
                             Group::kService,
                             "Show a system error popup",
                             {Position("KIND", "Kind of popup: unknown-title, type-1 to type-3, no-app-id or a number")
                                  .Number()
                                  .Words(PopupNames(), ReadPopupKind)
                                  .Required(),
                              TimeoutOption()},
                             Popup});

Report AndroidStatus(const Values& values) {
  const std::string app_id = values.Text("ID");
  if (const auto unknown = WhyUnknown(app_id)) return ReportOf(*unknown, {{"app", app_id}, {"state", nullptr}});
  const ServiceCall call(values);
  int state = 0;
  Report report =
      ReportOfCall(nuv_get_android_app_status_client(app_id.c_str(), state), {{"app", app_id}, {"state", nullptr}});
  if (report.outcome != Outcome::kDone) return report;
  report.details["state"] = state;
  report.text = std::to_string(state);
  return report;
}

const RegisteredVerb kAndroidStatus({"android-status",
                                     Group::kRunning,
                                     "Show the running state of an Android application",
                                     {AppPosition("Application to ask about").Required(), TimeoutOption()},
                                     AndroidStatus});

Report ShowExtraApp() {
  std::string app_id;
  Report report = ReportOfCall(nuv_get_extra_app(app_id), {{"app", nullptr}});
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

Report ExtraApp(const Values& values) {
  const ServiceCall call(values);
  const std::optional<std::string> app_id = values.MaybeText("--set");
  if (!app_id) return ShowExtraApp();
  return ReportOfCall(nuv_notify_extra_app_changed(*app_id), {{"app", *app_id}});
}

const RegisteredVerb kExtraApp(
    {"extra-app",
     Group::kRunning,
     "Show or announce the extra application",
     {Option("--set", "ID", "Announce that this is the extra application now").From(Live::kAppIds), TimeoutOption()},
     ExtraApp});

}  // namespace
}  // namespace service_verb

// nuvctl status, showing: whether an application runs, and which one is on the screen.
#include <nuv/nuv_inner_database.h>
#include <nuv/nuv_launcher_api.h>
#include <nuv_platform/platform_aul.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "command/verb.h"
#include "obstacles/obstacles.h"
#include "report/text.h"
#include "service/simulator_state.h"

namespace {

constexpr int kAndroidApp = 8;

struct Free {
  void operator()(char* text) const { std::free(text); }
};

Report NotKnown(int result, const std::string& app_id) {
  return ReportOf(DiagnoseInner(
      result,
      {Outcome::kNotFound, "the catalogue has no usable application with the id or run title " + Printable(app_id)}));
}

// Of an Android application the number is the service's own.
std::string InWords(int state, int app_type) {
  if (app_type == kAndroidApp) return std::to_string(state);
  return state != 0 ? "running" : "stopped";
}

// What runs in place of an application that has no program on this machine does nothing.
void MarkStandIn(const std::string& app_id, bool running, Report& report) {
  const std::optional<bool> stand_in = running ? IsStandIn(app_id) : std::nullopt;
  report.details["stand_in"] = stand_in ? Value(*stand_in) : Value();
  if (stand_in.value_or(false)) report.text += " (stand-in)";
}

Report AskForStatus(const std::string& app_id, const _APPSINFO_T& record) {
  int state = 0;
  if (nuv_get_app_status(app_id.c_str(), &state) != 0) return ReportOf(DiagnoseFailure());
  Report report;
  report.text = InWords(state, record.app_type);
  report.details["state"] = state;
  if (record.app_type != kAndroidApp) report.details["running"] = state != 0;
  MarkStandIn(record.id, state != 0, report);
  return report;
}

bool AnythingIsVisible() {
  bool visible = false;
  aul_app_get_running_app_info(
      [](const aul_app_info* info, void* found) {
        *static_cast<bool*>(found) |= info->status == NUV_AUL_STATUS_VISIBLE;
        return 0;
      },
      &visible);
  return visible;
}

// An application that the catalogue does not know shows to nobody.
Diagnosis WhyNothingShows() {
  if (!AnythingIsVisible()) return {Outcome::kNotFound, "no application is showing"};
  return DiagnoseInner(-1, {Outcome::kNotFound, "no application is showing that the catalogue knows"});
}

Report Status(const Values& values) {
  const std::string app_id = values.Text("ID");
  _APPSINFO_T record;
  const int lookup = nuv_inner_get_app_info_by_id(app_id, record, true);
  const Report answer = lookup == 0 ? AskForStatus(app_id, record) : NotKnown(lookup, app_id);
  Report report = answer;
  report.details = {{"app", app_id}, {"state", nullptr}, {"running", nullptr}, {"stand_in", nullptr}};
  report.details.Update(answer.details);
  return report;
}

Report Showing(const Values&) {
  char* text = nullptr;
  if (nuv_get_current_showing_app(&text) != 0) throw std::bad_alloc();
  const std::unique_ptr<char, Free> app_id(text);
  if (*app_id == '\0') return ReportOf(WhyNothingShows(), {{"app", nullptr}, {"stand_in", nullptr}});
  Report report;
  report.text = Printable(app_id.get());
  report.details["app"] = app_id.get();
  MarkStandIn(app_id.get(), true, report);
  return report;
}

const RegisteredVerb kStatus({"status",
                              Group::kRunning,
                              "Tell whether an application runs",
                              {AppPosition("Application to ask about: its id, kelvo id or run title").Required()},
                              Status},
                             Sides::kBoth);

const RegisteredVerb kShowing({"showing", Group::kRunning, "Show the application that is on the screen", {}, Showing},
                              Sides::kBoth);

}  // namespace

// nuvctl status, showing: whether an application runs, and which one is on the screen.
#include <nuv/nuv_inner_database.h>
#include <nuv/nuv_launcher_api.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

#include "command/verb.h"
#include "obstacles/obstacles.h"
#include "report/terminal.h"
#include "report/text.h"
#include "service/running_apps.h"
#include "service/simulator_state.h"

namespace running_verb {
namespace {

constexpr int kAndroidApp = 8;

struct Free {
  void operator()(char* text) const { std::free(text); }
};

Report NotKnown(int result, const std::string& app_id) {
  const Diagnosis unknown = {Outcome::kNotFound,
                             "the catalogue has no usable application with the id or run title " + Printable(app_id)};
  return ReportOf(Suggesting(DiagnoseInner(result, unknown), MeantApp, app_id));
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

// Only of an Android application the service is asked.
int CallForStatus(const std::string& app_id, const _APPSINFO_T& record, const Values& values, int& state) {
  std::optional<ServiceCall> call;
  if (record.app_type == kAndroidApp) call.emplace(values);
  return nuv_get_app_status(app_id.c_str(), &state);
}

Report AskForStatus(const std::string& app_id, const _APPSINFO_T& record, const Values& values) {
  int state = 0;
  if (CallForStatus(app_id, record, values, state) != 0) return ReportOf(DiagnoseFailure());
  Report report;
  report.text = InWords(state, record.app_type);
  report.details["state"] = state;
  if (record.app_type != kAndroidApp) report.details["running"] = state != 0;
  MarkStandIn(record.id, state != 0, report);
  return report;
}

bool AnythingIsVisible() {
  const std::vector<RunningApp> apps = RunningApps();
  return std::any_of(apps.begin(), apps.end(), [](const RunningApp& app) { return app.visible; });
}

// An application that the catalogue does not know shows to nobody.
Diagnosis WhyNothingShows() {
  if (!AnythingIsVisible()) return {Outcome::kNotFound, "no application is showing"};
  return DiagnoseInner(-1, {Outcome::kNotFound, "no application is showing that the catalogue knows"});
}

Report StatusOf(const std::string& app_id, const Values& values) {
  _APPSINFO_T record;
  const std::string own_id = IdOf(app_id);
  const int lookup = nuv_inner_get_app_info_by_id(own_id, record, true);
  const Report answer = lookup == 0 ? AskForStatus(own_id, record, values) : NotKnown(lookup, app_id);
  Report report = answer;
  report.details = {{"app", app_id}, {"state", nullptr}, {"running", nullptr}, {"stand_in", nullptr}};
  report.details.Update(answer.details);
  return report;
}

// A line and an object for each; the first that failed decides what all of them end in.
Report StatusOfAll(const std::vector<std::string>& app_ids, const Values& values) {
  Report all;
  List apps;
  std::vector<std::vector<std::string>> rows;
  for (const std::string& app_id : app_ids) {
    const Report one = StatusOf(app_id, values);
    Fields fields = one.details;
    fields["outcome"] = WordOf(one.outcome);
    apps.emplace_back(fields);
    rows.push_back({app_id, one.outcome == Outcome::kDone ? one.text : WordOf(one.outcome)});
    if (all.outcome != Outcome::kDone || one.outcome == Outcome::kDone) continue;
    all.outcome = one.outcome;
    all.error = one.error;
  }
  all.text =
      FormatTable(rows, [](size_t column, const std::string& cell) { return column == 1 ? PaintedState(cell) : cell; });
  all.details["apps"] = apps;
  return all;
}

Report Status(const Values& values) {
  const std::vector<std::string> app_ids = values.Texts("ID");
  if (app_ids.size() > 1) return StatusOfAll(app_ids, values);
  Report report = StatusOf(app_ids.front(), values);
  report.text = PaintedState(report.text);
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

const RegisteredVerb kStatus(
    {"status",
     Group::kRunning,
     "Tell whether applications run",
     {AppPosition("Applications to ask about: id, kelvo id, package name or run title").Many().Required(),
      TimeoutOption()},
     Status},
    Sides::kBoth);

const RegisteredVerb kShowing({"showing", Group::kRunning, "Show the application that is on the screen", {}, Showing},
                              Sides::kBoth);

}  // namespace
}  // namespace running_verb

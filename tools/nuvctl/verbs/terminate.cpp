// nuvctl terminate, terminate-all
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_inner_database.h>
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_api.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <thread>
#include <utility>

#include "command/verb.h"
#include "obstacles/obstacles.h"
#include "report/text.h"
#include "service/running_apps.h"

namespace terminate_verb {
namespace {

constexpr int kAndroidApp = 8;
constexpr unsigned kDefaultWaitMs = 5000;
constexpr std::chrono::milliseconds kBetweenLooks(20);

// Who terminates, and why.
Argument CallerOption() {
  return Option("--caller", "ID", "Id of the caller (default \"nuvctl\")").From(Live::kAppIds);
}

Argument ReasonOption() {
  return Option("--reason", "TEXT", "Why (default \"user request\")");
}

Argument GoneOption() {
  return Option("--wait", "SECONDS", "Wait until it has gone, so long at most (default 5)").Seconds();
}

Argument NoWaitFlag() {
  return Flag("--no-wait", "End as soon as the service has accepted the request").Excludes({"--wait"});
}

std::string Caller(const Values& values) {
  return values.Text("--caller", "nuvctl");
}

std::string Reason(const Values& values) {
  return values.Text("--reason", "user request");
}

using Texts = std::vector<std::string>;

// Those of the applications that still run when the time is over; the service answers before they have gone.
Texts StillRunningAfter(unsigned limit_ms, const std::function<Texts()>& look) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limit_ms);
  Texts running = look();
  while (!running.empty() && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(kBetweenLooks);
    running = look();
  }
  return running;
}

// What the termination came to once the service has accepted it.
Report WaitUntilGone(const Values& values, const std::function<Texts()>& look, Fields details) {
  details["gone"] = nullptr;
  if (values.Flag("--no-wait")) return ReportOfCall(0, std::move(details));
  const unsigned limit_ms = values.Milliseconds("--wait").value_or(kDefaultWaitMs);
  const Texts running = StillRunningAfter(limit_ms, look);
  details["gone"] = running.empty();
  if (running.empty()) return ReportOfCall(0, std::move(details));
  std::ostringstream why;
  why << Printable(Joined(running)) << " still runs after " << limit_ms / 1000.0 << " s";
  return ReportOf({Outcome::kTimedOut, why.str()}, std::move(details));
}

// The application's own id while it runs. Whether one of Android does is a number of the service's own.
Texts RunningOf(const nuv_app_info_s& app) {
  int state = 0;
  const bool runs = app.app_type != kAndroidApp && nuv_get_app_status(app.app_id, &state) == 0 && state != 0;
  return runs ? Texts{app.app_id} : Texts();
}

int LookUp(const AppName& app, nuv_app_info_s& record) {
  return app.run_title ? nuv_get_app_info_by_runtitle(app.run_title->c_str(), &record)
                       : m_nuv_get_app_info(app.id.c_str(), &record);
}

int CallTerminate(const AppName& app, const Values& values) {
  const ServiceCall call(values);
  return app.run_title
             ? nuv_terminate_app_by_runtitle_client(app.run_title->c_str())
             : nuv_terminate_app_client(app.id.c_str(), values.Number("--option"), Caller(values), Reason(values));
}

Report Terminate(const Values& values) {
  const AppName app = {values.Text("ID"), values.MaybeText("--title")};
  Fields details = FieldsOf(app);
  details["gone"] = nullptr;
  nuv_app_info_s record = {};
  const AppName found = {IdOf(app.id), app.run_title};
  const int lookup = LookUp(found, record);
  if (lookup != 0) return ReportOf(DiagnoseLookup(lookup, app), details);
  if (CallTerminate(found, values) != 0) return ReportOf(DiagnoseAppCall(found), details);
  return WaitUntilGone(
      values, [&record] { return RunningOf(record); }, details);
}

// Of the running applications those that the catalogue has: a TV runs others, which nobody terminates.
Texts RunningOfCatalogue() {
  _APPSINFO_T* list = nullptr;
  int count = 0;
  const int result = nuv_inner_get_all_app_list(&list, &count);
  const std::unique_ptr<_APPSINFO_T[]> owned(list);
  std::set<std::string> known;
  for (int i = 0; result == 0 && list != nullptr && i < count; ++i) known.insert(list[i].kelvo_id);
  Texts running;
  for (const RunningApp& app : RunningApps()) {
    if (known.count(app.platform_id) != 0) running.push_back(app.platform_id);
  }
  return running;
}

int CallTerminateAll(const Values& values) {
  const ServiceCall call(values);
  return nuv_terminate_allApps_internal(Caller(values), Reason(values));
}

Report TerminateAll(const Values& values) {
  if (CallTerminateAll(values) != 0) return ReportOf(DiagnoseFailure(), {{"gone", nullptr}});
  return WaitUntilGone(values, RunningOfCatalogue, {});
}

const RegisteredVerb kTerminate(
    {"terminate",
     Group::kApplications,
     "Terminate an application",
     {AppPosition("Application to terminate: its id, kelvo id, package name or run title").From(Live::kRunningIds),
      TitleOption().Excludes({"ID", "--caller", "--reason", "--option"}), CallerOption(), ReasonOption(),
      Option("--option", "N", "The service's terminate option (default 0)").Number(), GoneOption(), NoWaitFlag(),
      TimeoutOption()},
     Terminate,
     {"ID", "--title"}},
    Sides::kBoth);

const RegisteredVerb kTerminateAll({"terminate-all",
                                    Group::kApplications,
                                    "Terminate all running applications",
                                    {CallerOption(), ReasonOption(), GoneOption(), NoWaitFlag(), TimeoutOption()},
                                    TerminateAll});

}  // namespace
}  // namespace terminate_verb

// nuvctl terminate, terminate-all
#include <nuv/nuv_service_api.h>

#include "command/verb.h"
#include "obstacles/obstacles.h"

namespace {

// Who terminates, and why.
Argument CallerOption() {
  return Option("--caller", "ID", "Id of the caller (default \"nuvctl\")").From(Live::kAppIds);
}

Argument ReasonOption() {
  return Option("--reason", "TEXT", "Why (default \"user request\")");
}

std::string Caller(const Values& values) {
  return values.Text("--caller", "nuvctl");
}

std::string Reason(const Values& values) {
  return values.Text("--reason", "user request");
}

Report Terminate(const Values& values) {
  const AppName app = {values.Text("ID"), values.MaybeText("--title")};
  const int result = app.run_title ? nuv_terminate_app_by_runtitle_client(app.run_title->c_str())
                                   : nuv_terminate_app_client(app.id.c_str(), values.Number("--option"), Caller(values),
                                                              Reason(values));
  Report report;
  if (result != 0) report = ReportOf(DiagnoseAppCall(app));
  report.details = FieldsOf(app);
  return report;
}

Report TerminateAll(const Values& values) {
  return ReportOfCall(nuv_terminate_allApps_internal(Caller(values), Reason(values)));
}

const RegisteredVerb kTerminate({"terminate",
                                 Group::kService,
                                 "Terminate an application",
                                 {AppPosition("Application to terminate: its id, kelvo id or package name"),
                                  TitleOption().Excludes({"ID", "--caller", "--reason", "--option"}), CallerOption(),
                                  ReasonOption(),
                                  Option("--option", "N", "The service's terminate option (default 0)").Number()},
                                 Terminate,
                                 {"ID", "--title"}},
                                Sides::kBoth);

const RegisteredVerb kTerminateAll({"terminate-all",
                                    Group::kService,
                                    "Terminate all running applications",
                                    {CallerOption(), ReasonOption()},
                                    TerminateAll});

}  // namespace

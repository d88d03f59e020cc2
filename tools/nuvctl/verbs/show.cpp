// nuvctl show
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>

#include "command/verb.h"
#include "obstacles/obstacles.h"
#include "records/record_fields.h"

namespace show_verb {
namespace {

struct Lookup {
  int result;
  Fields record;
};

template <typename Record>
Lookup MakeLookup(int result, const Record& record) {
  return {result, result == 0 ? FieldsOf(record) : Fields()};
}

Lookup LookUpForService(const std::string& app_id) {
  _APPS_INNER_INFO_T record;
  const int result = GetAppInnerInfo(app_id, &record) == 0 ? 0 : GetAppInnerInfo(IdOf(app_id), &record);
  return MakeLookup(result, record);
}

// A short text of a record is complete only where the record was cleared beforehand.
Lookup LookUp(const AppName& app) {
  nuv_app_info_s record = {};
  const int result = app.run_title ? nuv_get_app_info_by_runtitle(app.run_title->c_str(), &record)
                                   : m_nuv_get_app_info(IdOf(app.id).c_str(), &record);
  return MakeLookup(result, record);
}

Report Show(const Values& values) {
  const AppName app = {values.Text("ID"), values.MaybeText("--title")};
  const Lookup lookup = values.Flag("--service") ? LookUpForService(app.id) : LookUp(app);
  Report report;
  if (lookup.result != 0) report = ReportOf(DiagnoseLookup(lookup.result, app));
  report.details = FieldsOf(app);
  report.details["record"] = lookup.result == 0 ? Value(lookup.record) : Value();
  if (lookup.result == 0) report.text = RecordSheet(lookup.record);
  return report;
}

const RegisteredVerb kShow({"show",
                            Group::kCatalogue,
                            "Show all that the catalogue says of an application",
                            {AppPosition("Application to show: its id, kelvo id, package name or run title"),
                             TitleOption().Excludes({"ID", "--service"}),
                             Flag("--service",
                                  "Show the service's record, whose texts are whole; also finds a hybrid application")},
                            Show,
                            {"ID", "--title"}});

}  // namespace
}  // namespace show_verb

// nuvctl inner, used: what the inner side of the database says.
#include <nuv/nuv_inner_database.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "command/verb.h"
#include "obstacles/obstacles.h"
#include "records/record_fields.h"
#include "report/text.h"

namespace inner_verb {
namespace {

constexpr size_t kWidestTitle = 32;
constexpr size_t kWhole = FieldColumn::kUnlimited;

const std::vector<FieldColumn>& Columns() {
  static const std::vector<FieldColumn> columns = {{"ID", "id"},
                                                   {"TITLE", "title", kWidestTitle, 0, true},
                                                   {"VERSION", "version", kWhole, 6},
                                                   {"TYPE", "app_type", kWhole, 1},
                                                   {"INDEX", "app_index", kWhole, 2},
                                                   {"USED", "use_count", kWhole, 4},
                                                   {"LAST", "launch_date", kWhole, 5},
                                                   {"LOCKED", "is_lock", kWhole, 7},
                                                   {"HIDDEN", "is_hidden", kWhole, 3}};
  return columns;
}

struct Record {
  int result;
  _APPSINFO_T info;
};

Record LookUp(const Values& values) {
  Record record;
  const bool installed_only = !values.Flag("--any-state");
  if (const auto title = values.MaybeText("--title")) {
    record.result = nuv_inner_get_app_info_by_runtitle(*title, record.info, installed_only);
  } else if (const auto platform_id = values.MaybeText("--platform-id")) {
    record.result = nuv_inner_get_app_info_by_kelvoid(*platform_id, record.info, installed_only);
  } else {
    record.result = nuv_inner_get_app_info_by_id(values.Text("ID"), record.info, installed_only);
  }
  return record;
}

std::string WordsFor(const Values& values) {
  if (const auto title = values.MaybeText("--title")) return "run title " + Printable(*title);
  if (const auto platform_id = values.MaybeText("--platform-id")) return "platform id " + Printable(*platform_id);
  return "id, platform id or run title " + Printable(values.Text("ID"));
}

Report Show(const Values& values) {
  const Record record = LookUp(values);
  if (record.result != 0) {
    const std::string which = values.Flag("--any-state") ? "application" : "installed application";
    const Diagnosis unknown = {Outcome::kNotFound, "the database has no " + which + " with the " + WordsFor(values)};
    return ReportOf(DiagnoseInner(record.result, unknown), {{"record", nullptr}});
  }
  Report report;
  report.text = RecordSheet(FieldsOf(record.info));
  report.details["record"] = FieldsOf(record.info);
  return report;
}

using Apps = std::vector<const _APPSINFO_T*>;

// All installed applications, or why not.
struct AllApps {
  int result = -1;
  std::unique_ptr<_APPSINFO_T[]> block = nullptr;  // has the applications
  Apps apps = {};
};

AllApps ReadAll() {
  _APPSINFO_T* list = nullptr;
  int count = 0;
  AllApps all;
  all.result = nuv_inner_get_all_app_list(&list, &count);
  all.block.reset(list);
  for (int i = 0; all.result == 0 && list != nullptr && i < count; ++i) all.apps.push_back(list + i);
  return all;
}

List FieldsOfAll(const Apps& apps) {
  List records;
  for (const _APPSINFO_T* app : apps) records.emplace_back(FieldsOf(*app));
  return records;
}

Report WhyNoList(int result) {
  return ReportOf(DiagnoseInner(result, {Outcome::kFailed, "the list could not be read"}), {{"records", nullptr}});
}

std::vector<std::string> ColumnsOf(const Values&) {
  return ColumnNames(Columns(), FieldsOf(_APPSINFO_T()));
}

Report ShowAll(const Values& values) {
  const AllApps all = ReadAll();
  if (all.result != 0) return WhyNoList(all.result);
  const List records = FieldsOfAll(all.apps);
  const ChosenTable table = TableOf(records, Columns(), FieldsOf(_APPSINFO_T()), values);
  if (!table.error.empty()) return WrongColumns(table);
  Report report;
  report.text = table.text;
  report.details["records"] = records;
  return report;
}

// One of the library's questions about an application's use.
struct UsageQuestion {
  const char* key;
  const char* heading;
  int (*ask)(const std::string& app_id);
  bool (*before)(const _APPSINFO_T* left, const _APPSINFO_T* right);
};

const UsageQuestion kUsage[] = {
    {"most_used", "MOST USED", nuv_inner_check_most_used_app,
     [](const _APPSINFO_T* left, const _APPSINFO_T* right) { return left->use_count > right->use_count; }},
    {"recently_used", "RECENTLY USED", nuv_inner_check_recently_used_app,
     [](const _APPSINFO_T* left, const _APPSINFO_T* right) { return left->launch_date > right->launch_date; }},
};

// Those of the applications for which the library says yes, in their order.
Apps UsedApps(const UsageQuestion& question, const Apps& apps) {
  Apps used;
  for (const _APPSINFO_T* app : apps) {
    if (question.ask(app->id) == 1) used.push_back(app);
  }
  std::stable_sort(used.begin(), used.end(), question.before);
  return used;
}

Report ShowUsed() {
  const AllApps all = ReadAll();
  if (all.result != 0) return WhyNoList(all.result);
  Report report;
  for (const UsageQuestion& question : kUsage) {
    const List records = FieldsOfAll(UsedApps(question, all.apps));
    report.details[question.key] = records;
    if (!report.text.empty()) report.text += "\n\n";
    report.text += std::string(question.heading) + "\n" +
                   RecordTable(records, {{"ID", "id"}, {"USED", "use_count"}, {"LAST", "launch_date"}});
  }
  return report;
}

Report CheckUsed(const std::string& app_id) {
  if (const auto unknown = WhyUnknown(app_id)) return ReportOf(*unknown, {{"app", app_id}});
  Report report;
  report.details["app"] = app_id;
  for (const UsageQuestion& question : kUsage) {
    const int answer = question.ask(app_id);
    if (answer < 0) {
      return ReportOf(DiagnoseInner(answer, {Outcome::kFailed, "the database could not be asked"}), {{"app", app_id}});
    }
    report.details[question.key] = answer == 1;
    report.text +=
        (report.text.empty() ? "" : "\n") + std::string(question.heading) + ": " + (answer == 1 ? "yes" : "no");
  }
  return report;
}

Report Used(const Values& values) {
  const std::optional<std::string> app_id = values.MaybeText("--check");
  return app_id ? CheckUsed(*app_id) : ShowUsed();
}

const RegisteredVerb kInner(
    {"inner",
     Group::kCatalogue,
     "Show what the inner side of the database says",
     {},
     nullptr,
     {},
     nullptr,
     {{"show",
       Group::kCatalogue,
       "Show one application, with all that the database says about it",
       {AppPosition("Its id, platform id or run title"),
        Option("--platform-id", "ID", "Name it by its platform id instead")
            .From(Live::kPlatformIds)
            .Excludes({"ID", "--title"}),
        Option("--title", "RUNTITLE", "Name it by its run title instead").From(Live::kRunTitles).Excludes({"ID"}),
        Flag("--any-state", "Also when it is not installed")},
       Show,
       {"ID", "--platform-id", "--title"}},
      {"list",
       Group::kCatalogue,
       "List all installed applications",
       {ColumnsOption(ColumnsOf), WideFlag()},
       ShowAll}}});

const RegisteredVerb kUsed(
    {"used",
     Group::kCatalogue,
     "Show the most and the recently used applications",
     {Option("--check", "ID", "Only tell whether this application is among them").From(Live::kAppIds)},
     Used});

}  // namespace
}  // namespace inner_verb

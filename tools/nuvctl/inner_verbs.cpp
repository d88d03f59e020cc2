#include "inner_verbs.h"

#include <nuv/nuv_inner_database.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <vector>

#include "inner_state.h"
#include "record_fields.h"
#include "text.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kWidestTitle = 32;

const std::vector<FieldColumn>& Columns() {
  static const std::vector<FieldColumn> columns = {{"ID", "id"},
                                                   {"TITLE", "title", kWidestTitle},
                                                   {"VERSION", "version"},
                                                   {"TYPE", "app_type"},
                                                   {"INDEX", "app_index"},
                                                   {"USED", "use_count"},
                                                   {"LAST", "launch_date"},
                                                   {"LOCKED", "is_lock"},
                                                   {"HIDDEN", "is_hidden"}};
  return columns;
}

struct Record {
  int result;
  _APPSINFO_T info;
};

Record LookUp(const Options& options) {
  Record record;
  const bool installed_only = !options.inner.any_state;
  if (options.run_title) {
    record.result = nuv_inner_get_app_info_by_runtitle(*options.run_title, record.info, installed_only);
  } else if (options.inner.platform_id) {
    record.result = nuv_inner_get_app_info_by_kelvoid(*options.inner.platform_id, record.info, installed_only);
  } else {
    record.result = nuv_inner_get_app_info_by_id(options.app_id, record.info, installed_only);
  }
  return record;
}

std::string WordsFor(const Options& options) {
  if (options.run_title) return "run title " + Printable(*options.run_title);
  if (options.inner.platform_id) return "platform id " + Printable(*options.inner.platform_id);
  return "id, platform id or run title " + Printable(options.app_id);
}

Report Show(const Options& options) {
  const Record record = LookUp(options);
  Report report;
  if (record.result != 0) {
    const std::string which = options.inner.any_state ? "application" : "installed application";
    report = ReportOf(DiagnoseInner(
        record.result, {Outcome::kNotFound, "the database has no " + which + " with the " + WordsFor(options)}));
  }
  const Json fields = record.result == 0 ? FieldsOf(record.info) : Json();
  report.details["record"] = fields;
  if (record.result == 0) report.text = RecordSheet(fields);
  return report;
}

// All installed applications, or why not.
struct AllApps {
  int result = -1;
  std::vector<_APPSINFO_T> apps;
};

AllApps ReadAll() {
  _APPSINFO_T* list = nullptr;
  int count = 0;
  AllApps all;
  all.result = nuv_inner_get_all_app_list(&list, &count);
  const std::unique_ptr<_APPSINFO_T[]> owned(list);
  if (all.result == 0 && list != nullptr) all.apps.assign(list, list + count);
  return all;
}

Json FieldsOfAll(const std::vector<_APPSINFO_T>& apps) {
  Json records = Json::array();
  for (const _APPSINFO_T& app : apps) records.push_back(FieldsOf(app));
  return records;
}

Report WhyNoList(int result) {
  return ReportOf(DiagnoseInner(result, {Outcome::kFailed, "the list could not be read"}), {{"records", nullptr}});
}

Report List() {
  const AllApps all = ReadAll();
  if (all.result != 0) return WhyNoList(all.result);
  Report report;
  report.details["records"] = FieldsOfAll(all.apps);
  report.text = RecordTable(report.details["records"], Columns());
  return report;
}

// One of the library's questions about an application's use.
struct UsageQuestion {
  const char* key;
  const char* heading;
  int (*ask)(const std::string& app_id);
  bool (*before)(const _APPSINFO_T& left, const _APPSINFO_T& right);
};

const UsageQuestion kUsage[] = {
    {"most_used", "MOST USED", nuv_inner_check_most_used_app,
     [](const _APPSINFO_T& left, const _APPSINFO_T& right) { return left.use_count > right.use_count; }},
    {"recently_used", "RECENTLY USED", nuv_inner_check_recently_used_app,
     [](const _APPSINFO_T& left, const _APPSINFO_T& right) { return left.launch_date > right.launch_date; }},
};

// Those of the applications for which the library says yes, in their order.
std::vector<_APPSINFO_T> UsedApps(const UsageQuestion& question, const std::vector<_APPSINFO_T>& apps) {
  std::vector<_APPSINFO_T> used;
  for (const _APPSINFO_T& app : apps) {
    if (question.ask(app.id) == 1) used.push_back(app);
  }
  std::stable_sort(used.begin(), used.end(), question.before);
  return used;
}

Report ShowUsed() {
  const AllApps all = ReadAll();
  if (all.result != 0) return WhyNoList(all.result);
  Report report;
  for (const UsageQuestion& question : kUsage) {
    const Json records = FieldsOfAll(UsedApps(question, all.apps));
    report.details[question.key] = records;
    if (!report.text.empty()) report.text += "\n\n";
    report.text += std::string(question.heading) + "\n" +
                   RecordTable(records, {{"ID", "id"}, {"USED", "use_count"}, {"LAST", "launch_date"}});
  }
  return report;
}

Report CheckUsed(const std::string& app_id) {
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

void AddInnerShow(CLI::App& inner, Options& options) {
  auto* show = inner.add_subcommand("show", "Show one application, with all that the database says about it");
  auto* id = show->add_option("ID", options.app_id, "Its id, platform id or run title");
  auto* platform = show->add_option("--platform-id", options.inner.platform_id, "Name it by its platform id instead")
                       ->type_name("ID");
  auto* title =
      show->add_option("--title", options.run_title, "Name it by its run title instead")->type_name("RUNTITLE");
  show->add_flag("--any-state", options.inner.any_state, "Also when it is not installed");
  platform->excludes(id)->excludes(title);
  title->excludes(id);
  show->callback([id, platform, title] {
    if (id->empty() && platform->empty() && title->empty()) throw CLI::RequiredError("ID, --platform-id or --title");
  });
  show->fallthrough();
}

void AddInnerList(CLI::App& inner, Options& options) {
  auto* list = inner.add_subcommand("list", "List all installed applications");
  list->callback([&options] { options.inner.list = true; });
  list->fallthrough();
}

}  // namespace

void AddInnerArguments(CLI::App& command, Options& options) {
  command.require_subcommand(1);
  AddInnerShow(command, options);
  AddInnerList(command, options);
}

void AddUsedArguments(CLI::App& command, Options& options) {
  command.add_option("--check", options.inner.check, "Only tell whether this application is among them")
      ->type_name("ID");
}

Report RunInner(const Options& options) {
  return options.inner.list ? List() : Show(options);
}

Report RunUsed(const Options& options) {
  return options.inner.check ? CheckUsed(*options.inner.check) : ShowUsed();
}

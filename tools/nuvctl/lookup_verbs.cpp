#include "lookup_verbs.h"

#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>

#include <CLI/CLI.hpp>

#include "app_choice.h"
#include "catalogue_state.h"
#include "record_fields.h"
#include "text.h"

namespace {

using Json = nlohmann::ordered_json;

struct Lookup {
  int result;
  Json record;
};

template <typename Record>
Lookup MakeLookup(int result, const Record& record) {
  return {result, result == 0 ? FieldsOf(record) : Json()};
}

// A short text of a record is complete only where the record was cleared beforehand.
Lookup LookUp(const Options& options) {
  if (options.service_record) {
    _APPS_INNER_INFO_T record;
    const int result = GetAppInnerInfo(options.app_id, &record);
    return MakeLookup(result, record);
  }
  nuv_app_info_s record = {};
  const int result = options.run_title ? nuv_get_app_info_by_runtitle(options.run_title->c_str(), &record)
                                       : m_nuv_get_app_info(options.app_id.c_str(), &record);
  return MakeLookup(result, record);
}

// More than a command line can hold.
constexpr int kMostIds = 1 << 24;

struct YesNoQuestion {
  int (*ask)(const char* quoted_ids);
  const char* key;
  const char* no;
};

constexpr YesNoQuestion kLocked = {nuv_check_app_is_locked, "locked",
                                   "the catalogue has no usable application with these ids that is locked"};
constexpr YesNoQuestion kUninstallable = {
    nuv_check_app_is_need_uninstall, "uninstallable",
    "the catalogue has no usable application with these ids that needs uninstalling"};

Report Ask(const YesNoQuestion& question, const std::vector<std::string>& ids) {
  const int result = question.ask(SqlList(ids).c_str());
  Report report;
  if (result != 0) report = ReportOf(DiagnoseCatalogue(result, {Outcome::kNotFound, question.no}));
  report.details = {{"apps", ids}, {question.key, nullptr}};
  if (report.outcome != Outcome::kDone && report.outcome != Outcome::kNotFound) return report;
  report.details[question.key] = result == 0;
  report.text = result == 0 ? "yes" : "no";
  return report;
}

// The configuration is read whatever the guards say.
Diagnosis WhyNoGroup(const std::string& group) {
  const std::optional<Obstacle> database = DatabaseObstacle();
  return database ? database->why : Diagnosis{Outcome::kNotFound, "there is no group " + Printable(group)};
}

Diagnosis WhyNotUsable(const std::string& group, const std::string& app_id) {
  return DiagnoseCatalogue(-1, {Outcome::kNotFound, "the group " + Printable(group) + " stands for " +
                                                        Printable(app_id) + ", which is not installed"});
}

}  // namespace

void AddShowArguments(CLI::App& command, Options& options) {
  CLI::Option* title = AddAppChoice(command, options, "Application to show: its id, kelvo id or package name");
  command
      .add_flag("--service", options.service_record,
                "Show the service's record, whose texts are whole; also finds a hybrid application")
      ->excludes(title);
}

// The ids are taken from the parser as they were written: of an option that may have several values it would cut
// "[a,b]" into two, and a text that is also a verb would end the ids. So it is told that it may expect as many as there
// are, and to join what it need not.
void AddIdsArguments(CLI::App& command, Options& options) {
  auto* ids = command.add_option("ID", "Ids of the applications, of which one is enough")->required();
  ids->multi_option_policy(CLI::MultiOptionPolicy::Join)->expected(kMostIds, CLI::detail::expected_max_vector_size);
  ids->allow_extra_args(false)->type_name("")->option_text("...");
  command.callback([ids, &options] { options.app_ids = ids->results(); });
}

void AddGroupArguments(CLI::App& command, Options& options) {
  command.add_option("KEY", options.group, "Name of the group")->required();
}

Report RunShow(const Options& options) {
  const Lookup lookup = LookUp(options);
  Report report;
  if (lookup.result != 0) report = ReportOf(DiagnoseLookup(lookup.result, options));
  report.details = AppChoiceJson(options);
  report.details["record"] = lookup.record;
  if (lookup.result == 0) report.text = RecordSheet(lookup.record);
  return report;
}

Report RunLocked(const Options& options) {
  return Ask(kLocked, options.app_ids);
}

Report RunUninstallable(const Options& options) {
  return Ask(kUninstallable, options.app_ids);
}

Report RunGroup(const Options& options) {
  enum { kUsable = 0, kNotUsable = 1, kNoGroup = 3 };
  std::string app_id;
  int result = kNoGroup;
  GetAppIDFromAppGroupList(options.group, app_id, result);
  Report report;
  if (result == kNoGroup) report = ReportOf(WhyNoGroup(options.group));
  if (result == kNotUsable) report = ReportOf(WhyNotUsable(options.group, app_id));
  report.details = {{"group", options.group}, {"app", result == kNoGroup ? Json() : Json(app_id)}};
  if (result == kUsable) report.text = Printable(app_id);
  return report;
}

std::string SqlList(const std::vector<std::string>& ids) {
  std::string list;
  for (const std::string& id : ids) {
    list += list.empty() ? "'" : ",'";
    for (const char c : id) list.append(c == '\'' ? 2 : 1, c);
    list += '\'';
  }
  return list;
}

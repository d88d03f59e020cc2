#include "change_verbs.h"

#include <nuv/nuv_inner_database.h>

#include <CLI/CLI.hpp>

#include "catalogue_state.h"
#include "inner_state.h"
#include "text.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr int kNotForwarded = -1;

struct Field {
  const char* name;
  APPSINFO_UPDATE_KEY_e key;
};

constexpr Field kFields[] = {
    {"is_updated", APPSINFO_UPDATE_IS_UPDATED},   {"ait_ids", APPSINFO_UPDATE_AIT_IDS},
    {"cp_name", APPSINFO_UPDATE_CP_NAME},         {"version", APPSINFO_UPDATE_VERSION},
    {"is_ispbound", APPSINFO_UPDATE_IS_ISPBOUND}, {"is_hybrid_tv", APPSINFO_UPDATE_IS_HYBRID_TV},
    {"is_lock", APPSINFO_UPDATE_IS_LOCK},         {"run_title", APPSINFO_UPDATE_RUN_TITLE},
};

const Field* FindField(const std::string& name) {
  for (const Field& field : kFields) {
    if (name == field.name) return &field;
  }
  return nullptr;
}

std::string FieldNames() {
  std::string names;
  for (const Field& field : kFields) names += (names.empty() ? "" : ", ") + std::string(field.name);
  return names;
}

std::string CheckField(const std::string& name) {
  return FindField(name) != nullptr ? "" : "no such field: " + name + "; the fields are " + FieldNames();
}

// Who made a change, and with which result.
struct Change {
  const char* by;
  int result;
};

// What nuv_inner_update_app_by_key() and nuv_inner_update_app_count() do, in their steps, because their result does not
// tell who made the change.
template <typename Forward, typename Local>
Change ForwardOrWrite(Forward forward, Local local) {
  nuv_db_ro_exchange();
  const int answer = forward();
  if (answer != kNotForwarded) return {"service", answer};
  nuv_db_rw_exchange();
  return {"library", local()};
}

Change SetField(const Field& field, const std::string& app_id, const std::string& value) {
  if (field.key != APPSINFO_UPDATE_IS_UPDATED) {
    return {"library", nuv_inner_update_app_by_key_value(app_id, field.key, value)};
  }
  return ForwardOrWrite([&] { return nuv_dbus_update_app_by_key(app_id, field.key); },
                        [&] { return nuv_db_update_app_by_key(app_id, field.key); });
}

Change CountLaunch(const std::string& app_id) {
  return ForwardOrWrite([&] { return nuv_dbus_update_app_count(app_id); },
                        [&] { return nuv_db_update_app_count(app_id); });
}

Diagnosis WhyNotChanged(const Change& change) {
  if (change.by == std::string("service")) {
    return {Outcome::kFailed, "the service answered " + std::to_string(change.result)};
  }
  return DiagnoseInner(change.result, {Outcome::kFailed, "the database could not be written"});
}

// Finds the application's row, makes the change under the row's own id, and says who made it.
template <typename Make>
Report ReportChange(const Options& options, Make make) {
  Json details;
  details["app"] = options.app_id;
  details["by"] = nullptr;
  if (const std::optional<Obstacle> repair = RepairObstacle()) return ReportOf(repair->why, details);
  _APPSINFO_T record;
  const int found = nuv_inner_get_app_info_by_id(options.app_id, record, false);
  if (found != 0) {
    const Diagnosis unknown = {Outcome::kNotFound, "the database has no application " + Printable(options.app_id)};
    return ReportOf(DiagnoseInner(found, unknown), details);
  }
  const Change change = make(record.id);
  details["app"] = record.id;
  details["by"] = change.by;
  details["result"] = change.result;
  if (change.result != 0) return ReportOf(WhyNotChanged(change), details);
  Report report;
  report.details = details;
  report.text = std::string("changed by the ") + change.by;
  return report;
}

}  // namespace

void AddSetArguments(CLI::App& command, Options& options) {
  command.add_option("ID", options.app_id, "Application to change: its id, platform id or run title")->required();
  command.add_option("FIELD", options.inner.field, "Field to set: " + FieldNames())
      ->check(CLI::Validator(CheckField, ""))
      ->type_name("")
      ->required();
  auto* value = command.add_option("VALUE", options.inner.value,
                                   "Its new value; for ait_ids two with a comma between; none or 0 for is_updated");
  command.callback([&options, value] {
    const Field* field = FindField(options.inner.field);
    if (field == nullptr) return;
    const bool cleared = field->key == APPSINFO_UPDATE_IS_UPDATED;
    if (cleared && !value->empty() && options.inner.value != "0") {
      throw CLI::ValidationError("VALUE", "is_updated can only be set to 0");
    }
    if (!cleared && value->empty()) throw CLI::RequiredError("VALUE");
  });
}

void AddCountArguments(CLI::App& command, Options& options) {
  command.add_option("ID", options.app_id, "Application that was launched: its id, platform id or run title")
      ->required();
}

void AddVersionArguments(CLI::App& command, Options& options) {
  command.add_option("ID", options.app_id, "Application to change: its id, platform id or run title")->required();
  command.add_option("VERSION", options.inner.version, "Its new version")->required();
}

void AddCommandArguments(CLI::App& command, Options& options) {
  command.add_option("N", options.inner.command, "The service's number of the command")->required();
  command.add_option("ID", options.app_id, "Application that it is about (default none)");
  command.add_option("PATH", options.inner.package_path, "Package that it is about (default none)");
  command.add_option("DATA", options.inner.data, "What else the service is to know (default nothing)");
}

Report RunSet(const Options& options) {
  const Field& field = *FindField(options.inner.field);
  return ReportChange(options, [&](const std::string& id) { return SetField(field, id, options.inner.value); });
}

Report RunCount(const Options& options) {
  return ReportChange(options, CountLaunch);
}

Report RunVersion(const Options& options) {
  Report report = ReportChange(options, [&](const std::string& id) {
    return Change{"service", nuv_inner_update_app_version(id, options.inner.version)};
  });
  if (report.outcome != Outcome::kFailed || report.details.value("result", 0) != kNotForwarded) return report;
  return ReportOf(DiagnoseFailure(), {{"app", report.details["app"]}, {"by", nullptr}});
}

// The library says only whether a command could be sent, and the bus takes it even where nobody is there to read it.
Report RunCommandVerb(const Options& options) {
  const Json details = {{"command", options.inner.command}, {"app", options.app_id}};
  const int sent =
      nuv_inner_nuv_command(options.inner.command, options.app_id, options.inner.package_path, options.inner.data);
  if (sent != 0) {
    const std::optional<Obstacle> repair = RepairObstacle();
    return ReportOf(repair ? repair->why : DiagnoseFailure(), details);
  }
  if (const std::optional<Diagnosis> out_of_reach = WhyOutOfReach()) return ReportOf(*out_of_reach, details);
  Report report;
  report.details = details;
  return report;
}

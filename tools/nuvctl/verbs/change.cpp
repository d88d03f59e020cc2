// nuvctl set, count, set-version, command: change an application's row, or have the service do it.
#include <nuv/nuv_inner_database.h>

#include <utility>

#include "bus/service_talk.h"
#include "command/verb.h"
#include "obstacles/obstacles.h"
#include "report/did_you_mean.h"
#include "report/text.h"

namespace change_verb {
namespace {

constexpr int kNotForwarded = -1;

// Says what is wrong with a value, or nothing, and puts what the database has for it in its place. The database itself
// takes any text for any field.
using ReadValue = const char* (*)(std::string& value);

const char* ReadFlag(std::string& value) {
  constexpr std::pair<const char*, const char*> kWords[] = {{"true", "1"}, {"1", "1"}, {"false", "0"}, {"0", "0"}};
  for (const auto& [word, number] : kWords) {
    if (value != word) continue;
    value = number;
    return nullptr;
  }
  return "is a flag: true, false, 1 or 0";
}

const char* ReadCleared(std::string& value) {
  return ReadFlag(value) == nullptr && value == "0" ? nullptr : "can only be set to 0";
}

const char* ReadPair(std::string& value) {
  const size_t comma = value.find(',');
  const bool two = comma != std::string::npos && comma > 0 && comma + 1 < value.size();
  return two && value.find(',', comma + 1) == std::string::npos ? nullptr : "is two ids with a comma between them";
}

const char* ReadText(std::string&) {
  return nullptr;
}

// Words that a value can be, where there are some.
using ValueWords = const char* [2];

constexpr ValueWords kNoWords = {};

struct UpdateField {
  const char* name;
  APPSINFO_UPDATE_KEY_e key;
  ReadValue read;
  ValueWords words = {};
};

constexpr UpdateField kFields[] = {
    {"is_updated", APPSINFO_UPDATE_IS_UPDATED, ReadCleared, {"0"}},
    {"ait_ids", APPSINFO_UPDATE_AIT_IDS, ReadPair},
    {"cp_name", APPSINFO_UPDATE_CP_NAME, ReadText},
    {"version", APPSINFO_UPDATE_VERSION, ReadText},
    {"is_ispbound", APPSINFO_UPDATE_IS_ISPBOUND, ReadFlag, {"true", "false"}},
    {"is_hybrid_tv", APPSINFO_UPDATE_IS_HYBRID_TV, ReadFlag, {"true", "false"}},
    {"is_lock", APPSINFO_UPDATE_IS_LOCK, ReadFlag, {"true", "false"}},
    {"run_title", APPSINFO_UPDATE_RUN_TITLE, ReadText},
};

const UpdateField* FindField(const std::string& name) {
  for (const UpdateField& field : kFields) {
    if (name == field.name) return &field;
  }
  return nullptr;
}

std::vector<std::string> FieldNames() {
  std::vector<std::string> names;
  for (const UpdateField& field : kFields) names.emplace_back(field.name);
  return names;
}

std::string ReadField(std::string& name) {
  return FindField(name) != nullptr
             ? ""
             : "no such field: " + name + DidYouMean(name, FieldNames()) + "; the fields are " + Joined(FieldNames());
}

std::vector<std::string> ValuesOfField(const Values& given) {
  const UpdateField* field = FindField(given.Text("FIELD"));
  std::vector<std::string> words;
  for (const char* word : field != nullptr ? field->words : kNoWords) {
    if (word != nullptr) words.emplace_back(word);
  }
  return words;
}

// A field is set to a value, but for the one that can only be cleared.
std::string CheckValue(const Values& values) {
  const UpdateField& field = *FindField(values.Text("FIELD"));
  const bool cleared = field.key == APPSINFO_UPDATE_IS_UPDATED;
  if (!cleared && !values.Given("VALUE")) return "VALUE is required";
  const std::string given = values.Text("VALUE", "0");
  std::string value = given;
  const char* wrong = field.read(value);
  return wrong != nullptr ? std::string("VALUE: ") + field.name + " " + wrong + ": " + given : "";
}

// Who made a change, null where nobody did, and with which result.
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

Change SetField(const UpdateField& field, const std::string& app_id, const std::string& value) {
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
Report ReportChange(const std::string& app_id, Make make) {
  Fields details = {{"app", app_id}, {"by", nullptr}};
  if (const std::optional<Obstacle> repair = RepairObstacle()) return ReportOf(repair->why, details);
  _APPSINFO_T record;
  const int found = nuv_inner_get_app_info_by_id(app_id, record, false);
  if (found != 0) {
    const Diagnosis unknown = {Outcome::kNotFound, "the database has no application " + Printable(app_id)};
    return ReportOf(Suggesting(DiagnoseInner(found, unknown), MeantApp, app_id), details);
  }
  const Change change = make(record.id);
  details["app"] = record.id;
  if (change.by == nullptr) return ReportOf(DiagnoseFailure(), details);
  details["by"] = change.by;
  details["result"] = change.result;
  if (change.result != 0) return ReportOf(WhyNotChanged(change), details);
  Report report;
  report.details = details;
  report.text = std::string("changed by the ") + change.by;
  return report;
}

Argument ChangedApp() {
  return AppPosition("Application to change: its id, platform id or run title").Required();
}

Report Set(const Values& values) {
  const ServiceCall call(values);
  const UpdateField& field = *FindField(values.Text("FIELD"));
  std::string value = values.Text("VALUE", "0");
  field.read(value);
  return ReportChange(values.Text("ID"), [&](const std::string& id) { return SetField(field, id, value); });
}

const RegisteredVerb kSet(
    {"set",
     Group::kCatalogue,
     "Set a field of an application",
     {ChangedApp(),
      Position("FIELD", "Field to set: " + Joined(FieldNames())).Words(FieldNames(), ReadField).Required(),
      Position("VALUE",
               "Its new value: true or false of a flag, two with a comma between for ait_ids; none or 0 for is_updated")
          .Suggested(ValuesOfField),
      TimeoutOption()},
     Set,
     {},
     CheckValue},
    Sides::kBoth);

Report Count(const Values& values) {
  const ServiceCall call(values);
  return ReportChange(values.Text("ID"), CountLaunch);
}

const RegisteredVerb kCount({"count",
                             Group::kCatalogue,
                             "Count one more launch of an application",
                             {AppPosition("Application that was launched: its id, platform id or run title").Required(),
                              TimeoutOption()},
                             Count},
                            Sides::kBoth);

Report Version(const Values& values) {
  const ServiceCall call(values);
  return ReportChange(values.Text("ID"), [&](const std::string& id) {
    const int answer = nuv_inner_update_app_version(id, values.Text("VERSION"));
    return Change{answer != kNotForwarded ? "service" : nullptr, answer};
  });
}

const RegisteredVerb kVersion({"set-version",
                               Group::kCatalogue,
                               "Have the service set an application's version",
                               {ChangedApp(), Position("VERSION", "Its new version").Required(), TimeoutOption()},
                               Version},
                              Sides::kBoth);

// The library says only whether a command could be sent, and the bus takes it even where nobody is there to read it.
Report SendCommand(const Values& values) {
  const ServiceCall call(values);
  const int number = values.Number("N");
  const std::string app_id = values.Text("ID");
  const Fields details = {{"command", number}, {"app", app_id}};
  if (nuv_inner_nuv_command(number, app_id, values.Text("PATH"), values.Text("DATA")) != 0) {
    const std::optional<Obstacle> repair = RepairObstacle();
    return ReportOf(repair ? repair->why : DiagnoseFailure(), details);
  }
  if (LastCallError() || CallIsUnanswered()) return ReportOf(DiagnoseFailure(), details);
  if (const std::optional<Diagnosis> out_of_reach = WhyOutOfReach()) return ReportOf(*out_of_reach, details);
  Report report;
  report.details = details;
  return report;
}

const RegisteredVerb kCommand({"command",
                               Group::kService,
                               "Send the service a command",
                               {Position("N", "The service's number of the command").Number().Required(),
                                AppPosition("Application that it is about (default none)"),
                                Position("PATH", "Package that it is about (default none)").From(Live::kFiles),
                                Position("DATA", "What else the service is to know (default nothing)"),
                                TimeoutOption()},
                               SendCommand});

}  // namespace
}  // namespace change_verb

// nuvctl ps
#include <nuv/nuv_inner_database.h>
#include <nuv/nuv_launcher_api.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <unordered_map>

#include "command/verb.h"
#include "obstacles/obstacles.h"
#include "records/record_fields.h"
#include "service/running_apps.h"
#include "service/simulator_state.h"

namespace ps_verb {
namespace {

struct Free {
  void operator()(char* text) const { std::free(text); }
};

constexpr size_t kWidestPayload = 32;
constexpr int kMinute = 60;
constexpr int kHour = 60 * kMinute;

// Ids in the catalogue by those of the platform. An application that the catalogue does not have runs all the same.
std::unordered_map<std::string, std::string> CatalogueIds() {
  _APPSINFO_T* list = nullptr;
  int count = 0;
  const int result = nuv_inner_get_all_app_list(&list, &count);
  const std::unique_ptr<_APPSINFO_T[]> owned(list);
  std::unordered_map<std::string, std::string> ids;
  for (int i = 0; result == 0 && list != nullptr && i < count; ++i) ids[list[i].kelvo_id] = list[i].id;
  return ids;
}

std::string ShowingApp() {
  char* text = nullptr;
  if (nuv_get_current_showing_app(&text) != 0) throw std::bad_alloc();
  return std::unique_ptr<char, Free>(text).get();
}

// "7s", "3m07s", "2h05m"
std::string Duration(int seconds) {
  const auto two = [](int number) { return (number < 10 ? "0" : "") + std::to_string(number); };
  if (seconds < kMinute) return std::to_string(seconds) + "s";
  if (seconds < kHour) return std::to_string(seconds / kMinute) + "m" + two(seconds % kMinute) + "s";
  return std::to_string(seconds / kHour) + "h" + two(seconds % kHour / kMinute) + "m";
}

template <typename T>
Value OrNull(const std::optional<T>& value) {
  return value ? Value(*value) : Value();
}

// What is asked once for all applications.
struct Surroundings {
  std::unordered_map<std::string, std::string> ids = CatalogueIds();
  std::string showing = ShowingApp();
  std::optional<std::vector<std::string>> stand_ins = StandIns();
  std::map<int, std::string> payloads = LastPayloads();
};

// What it was started with where the service does not say what it was told since.
Value PayloadOf(const RunningApp& app, const Surroundings& around) {
  const auto told = around.payloads.find(app.pid);
  return told != around.payloads.end() ? Value(told->second) : OrNull(StartPayloadOf(app.pid));
}

Fields FieldsOf(const RunningApp& app, const Surroundings& around) {
  const auto known = around.ids.find(app.platform_id);
  const std::string id = known != around.ids.end() ? known->second : app.platform_id;
  const bool in_front = app.visible && (around.showing == id || around.showing == app.platform_id);
  return {{"app", id},
          {"platform_id", app.platform_id},
          {"pid", app.pid},
          {"state", app.visible ? "visible" : "background"},
          {"front", in_front},
          {"stand_in", around.stand_ins ? Value(Contains(*around.stand_ins, id)) : Value()},
          {"uptime", OrNull(UptimeOf(app.pid))},
          {"payload", PayloadOf(app, around)}};
}

std::string ProgramWord(const Value& stand_in) {
  const bool* known = std::get_if<bool>(&stand_in);
  if (known == nullptr) return "?";
  return *known ? "stand-in" : "program";
}

// The same for people.
Fields RowOf(const Fields& app) {
  const int* uptime = std::get_if<int>(&app.at("uptime"));
  const std::string* payload = std::get_if<std::string>(&app.at("payload"));
  const bool in_front = std::get<bool>(app.at("front"));
  return {{"app", app.at("app")},
          {"pid", app.at("pid")},
          {"state", in_front ? Value("front") : app.at("state")},
          {"program", ProgramWord(app.at("stand_in"))},
          {"uptime", uptime != nullptr ? Duration(*uptime) : "?"},
          {"payload", payload != nullptr ? *payload : "?"}};
}

const std::vector<FieldColumn>& Columns() {
  constexpr size_t kWhole = FieldColumn::kUnlimited;
  static const std::vector<FieldColumn> columns = {{"ID", "app"},
                                                   {"PID", "pid", kWhole, 3},
                                                   {"STATE", "state", kWhole, 0, false, true},
                                                   {"PROGRAM", "program", kWhole, 2},
                                                   {"UPTIME", "uptime", kWhole, 1},
                                                   {"PAYLOAD", "payload", kWidestPayload, 4, true}};
  return columns;
}

std::vector<std::string> ColumnsOf(const Values&) {
  return ColumnNames(Columns(), {});
}

Report ShowRunning(const Values& values) {
  const Surroundings around;
  List apps;
  List rows;
  for (const RunningApp& app : RunningApps()) {
    const Fields fields = FieldsOf(app, around);
    rows.emplace_back(RowOf(fields));
    apps.emplace_back(fields);
  }
  const ChosenTable table = TableOf(rows, Columns(), {}, values);
  if (!table.error.empty()) return WrongColumns(table);
  Report report;
  report.text = table.text;
  report.details["apps"] = apps;
  return report;
}

const RegisteredVerb kPs(
    {"ps", Group::kRunning, "Show the applications that run", {ColumnsOption(ColumnsOf), WideFlag()}, ShowRunning},
    Sides::kBoth);

}  // namespace
}  // namespace ps_verb

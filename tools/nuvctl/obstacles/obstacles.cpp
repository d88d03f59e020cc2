#include "obstacles/obstacles.h"

#include <fcntl.h>
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <nuv/nuv_inner_database.h>
#include <nuv_platform/platform_path.h>
#include <nuv_platform/platform_settings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <memory>
#include <utility>

#include "bus/bus_daemon.h"
#include "bus/service_talk.h"
#include "bus/system_bus.h"
#include "report/did_you_mean.h"
#include "report/text.h"

const char kRepairMarker[] = "/opt/dbspace/pkgreinstall";

namespace {

constexpr unsigned kConnectLimitMs = 3000;
constexpr unsigned kCallLimitMs = 2000;

Diagnosis BusGone(const std::string& what) {
  const TextOwner address = SystemBusAddress();
  const std::string where = address ? " (" + Printable(address.get()) + ")" : "";
  return {Outcome::kBusGone, "the system bus " + what + where};
}

struct ServiceState {
  bool runs = false;  // otherwise it can be started, if it is within reach
  std::optional<Diagnosis> out_of_reach;
};

ServiceState AskForService() {
  const ConnectionOwner bus = ConnectToSystemBus(kConnectLimitMs);
  if (bus == nullptr) return {false, BusUnreachable()};
  const std::optional<bool> owned = HasOwner(bus.get(), ServiceName(), kCallLimitMs);
  const std::optional<bool> activatable = IsActivatable(bus.get(), ServiceName(), kCallLimitMs);
  if (!owned || !activatable) return {false, BusGone("does not answer")};
  if (*owned || *activatable) return {*owned, std::nullopt};
  const std::string gone = "the service does not run (" + ServiceName() + " has no owner)";
  return {false, Diagnosis{Outcome::kServiceGone, gone}};
}

// What the bus itself answers in place of a service.
bool IsOutOfReach(const std::string& error) {
  constexpr const char* kErrors[] = {"org.freedesktop.DBus.Error.AccessDenied", "org.freedesktop.DBus.Error.NoReply",
                                     "org.freedesktop.DBus.Error.NameHasNoOwner",
                                     "org.freedesktop.DBus.Error.ServiceUnknown",
                                     "org.freedesktop.DBus.Error.Disconnected"};
  constexpr char kSpawn[] = "org.freedesktop.DBus.Error.Spawn.";
  return std::find(std::begin(kErrors), std::end(kErrors), error) != std::end(kErrors) || error.rfind(kSpawn, 0) == 0;
}

constexpr int kBusy = -2;
constexpr char kFactoryResetKey[] = "db/nuv/factory_reset";

// The two states in which the setting says that a reset is running.
std::optional<int> RunningFactoryReset() {
  int state = 0;
  if (vconf_get_int(kFactoryResetKey, &state) != 0 || (state != 1 && state != 2)) return std::nullopt;
  return state;
}

bool RepairIsRunning() {
  struct stat marker = {};
  return stat(kRepairMarker, &marker) == 0;
}

std::string DatabasePath() {
  const char* directory = nuv_platform_get_path(NUV_PATH_APP_DATABASE_DIR);
  return directory != nullptr ? std::string(directory) + "/.corvane.db" : "";
}

// Why the file at the path is no database to read.
std::string WhyUnreadable(const std::string& path) {
  struct stat file = {};
  if (path.empty()) return "the platform names no directory for it";
  if (stat(path.c_str(), &file) != 0 || access(path.c_str(), R_OK) != 0) return std::strerror(errno);
  if (!S_ISREG(file.st_mode)) return "not a file";
  return "not a database with a table of applications";
}

Obstacle DatabaseIsUnreadable() {
  const std::string path = DatabasePath();
  return {"database-unreadable",
          {Outcome::kFailed,
           "the database cannot be read (" + Printable(path) + (path.empty() ? "" : ": ") + WhyUnreadable(path) + ")"}};
}

// What a guard says, else the database, else the caller.
Diagnosis Diagnose(int result, std::vector<Obstacle> (*ask_guards)(), const Diagnosis& otherwise) {
  if (result == kBusy) return DatabaseIsBusy().why;
  const std::vector<Obstacle> guards = ask_guards();
  if (!guards.empty()) return guards.front().why;
  const std::optional<Obstacle> database = DatabaseObstacle();
  return database ? database->why : otherwise;
}

// A factory reset does not stop the inner side.
std::vector<Obstacle> InnerGuardObstacles() {
  const std::optional<Obstacle> repair = RepairObstacle();
  return repair ? std::vector<Obstacle>{*repair} : std::vector<Obstacle>();
}

// Those that are installed; none where they cannot be read.
std::vector<_APPSINFO_T> AllApps() {
  _APPSINFO_T* list = nullptr;
  int count = 0;
  const int result = nuv_inner_get_all_app_list(&list, &count);
  const std::unique_ptr<_APPSINFO_T[]> owned(list);
  return result == 0 && list != nullptr ? std::vector<_APPSINFO_T>(list, list + count) : std::vector<_APPSINFO_T>();
}

int LookUp(const AppName& app) {
  nuv_app_info_s record = {};
  return app.run_title ? nuv_get_app_info_by_runtitle(app.run_title->c_str(), &record)
                       : m_nuv_get_app_info(app.id.c_str(), &record);
}

}  // namespace

Report ReportOf(const Diagnosis& diagnosis, Fields details) {
  Report report;
  report.outcome = diagnosis.outcome;
  report.error = WordOf(diagnosis.outcome) + (": " + diagnosis.message);
  report.details = std::move(details);
  return report;
}

Diagnosis BusUnreachable() {
  return BusGone("cannot be reached");
}

std::optional<Diagnosis> WhyOutOfReach() {
  return AskForService().out_of_reach;
}

Diagnosis DiagnoseFailure() {
  const std::optional<CallError> error = LastCallError();
  const bool unanswered = CallIsUnanswered();
  const ServiceState service = AskForService();
  const std::string reason = error ? " (" + Printable(error->name + ": " + error->text) + ")" : "";
  if (service.out_of_reach) return {service.out_of_reach->outcome, service.out_of_reach->message + reason};
  if (unanswered) return {Outcome::kTimedOut, "the service did not answer in time"};
  if (!service.runs) return {Outcome::kServiceGone, "the service does not run and could not be started" + reason};
  if (error && IsOutOfReach(error->name)) return {Outcome::kServiceGone, "the service is not to be reached" + reason};
  return {Outcome::kFailed, "the service did not carry out the request" + reason};
}

ServiceCall::ServiceCall(const Values& values) : limit_(values.Milliseconds("--timeout")) {
  ListenToServiceTalk();
}

Report ReportOfCall(int result, Fields details) {
  if (result != 0) return ReportOf(DiagnoseFailure(), std::move(details));
  Report report;
  report.details = std::move(details);
  return report;
}

std::vector<Obstacle> GuardObstacles() {
  std::vector<Obstacle> obstacles;
  if (const auto state = RunningFactoryReset()) {
    obstacles.push_back({"factory-reset",
                         {Outcome::kFailed, std::string("a factory reset is running (setting ") + kFactoryResetKey +
                                                " is " + std::to_string(*state) + ")"}});
  }
  if (const auto repair = RepairObstacle()) obstacles.push_back(*repair);
  return obstacles;
}

std::optional<Obstacle> RepairObstacle() {
  if (!RepairIsRunning()) return std::nullopt;
  return Obstacle{"repair",
                  {Outcome::kFailed, std::string("packages are being repaired (") + kRepairMarker + " exists)"}};
}

Obstacle DatabaseIsBusy() {
  return {"database-busy", {Outcome::kTimedOut, "the database stayed busy"}};
}

std::optional<Obstacle> DatabaseObstacle() {
  int count = 0;
  const int result = GetAppsTableCount(&count, "", 0, {});
  if (result == 0) return std::nullopt;
  return result == kBusy ? DatabaseIsBusy() : DatabaseIsUnreadable();
}

Diagnosis DiagnoseCatalogue(int result, const Diagnosis& otherwise) {
  return Diagnose(result, GuardObstacles, otherwise);
}

Diagnosis DiagnoseInner(int result, const Diagnosis& otherwise) {
  return Diagnose(result, InnerGuardObstacles, otherwise);
}

Fields FieldsOf(const AppName& app) {
  if (app.run_title) return {{"title", *app.run_title}};
  return {{"app", app.id}};
}

std::string IdOf(const std::string& name) {
  nuv_app_info_s record = {};
  int result = m_nuv_get_app_info(name.c_str(), &record);
  if (result != 0 && result != kBusy) result = nuv_get_app_info_by_runtitle(name.c_str(), &record);
  const std::string id = record.app_id;
  const bool cut = id.size() + 1 == sizeof record.app_id;
  return result == 0 && !cut ? id : name;
}

std::string MeantApp(const std::string& name) {
  std::vector<std::string> names;
  for (const _APPSINFO_T& app : AllApps()) {
    for (const std::string& text : {app.id, app.kelvo_id, app.pkgname, app.run_title}) {
      if (!text.empty() && std::find(names.begin(), names.end(), text) == names.end()) names.push_back(text);
    }
  }
  return DidYouMean(name, names);
}

std::string MeantTitle(const std::string& run_title) {
  std::vector<std::string> titles;
  for (const _APPSINFO_T& app : AllApps()) {
    if (app.title == run_title && !app.run_title.empty()) {
      return "; the application with this title has the run title " + Printable(app.run_title);
    }
    titles.push_back(app.run_title);
  }
  return DidYouMean(run_title, titles);
}

Diagnosis Suggesting(Diagnosis diagnosis, std::string (*meant)(const std::string&), const std::string& name) {
  if (diagnosis.outcome == Outcome::kNotFound) diagnosis.message += meant(name);
  return diagnosis;
}

Diagnosis DiagnoseLookup(int result, const AppName& app) {
  const std::string name = app.run_title ? "run title " + Printable(*app.run_title) : "id " + Printable(app.id);
  const Diagnosis why =
      DiagnoseCatalogue(result, {Outcome::kNotFound, "the catalogue has no usable application with the " + name});
  return app.run_title ? Suggesting(why, MeantTitle, *app.run_title) : Suggesting(why, MeantApp, app.id);
}

std::optional<Diagnosis> WhyUnknown(const std::string& app_id) {
  _APPSINFO_T record;
  if (nuv_inner_get_app_info_by_id(app_id, record, false) == 0 || RepairIsRunning() || DatabaseObstacle()) {
    return std::nullopt;
  }
  return Diagnosis{Outcome::kNotFound, "the catalogue has no application with the id, platform id or run title " +
                                           Printable(app_id) + MeantApp(app_id)};
}

std::optional<Diagnosis> WhyTitleNotFound(const std::string& run_title) {
  const AppName app = {"", run_title};
  const int result = LookUp(app);
  if (result == 0) return std::nullopt;
  return DiagnoseLookup(result, app);
}

Diagnosis DiagnoseAppCall(const AppName& app) {
  const int lookup = LookUp(app);
  return lookup != 0 ? DiagnoseLookup(lookup, app) : DiagnoseFailure();
}

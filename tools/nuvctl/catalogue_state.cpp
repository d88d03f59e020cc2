#include "catalogue_state.h"

#include <fcntl.h>
#include <nuv/nuv_app_records.h>
#include <nuv_platform/platform_path.h>
#include <nuv_platform/platform_settings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "text.h"

namespace {

constexpr int kBusy = -2;
constexpr char kFactoryResetKey[] = "db/nuv/factory_reset";
constexpr char kRepairMarker[] = "/opt/dbspace/pkgreinstall";

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

}  // namespace

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
  if (result == kBusy) return DatabaseIsBusy().why;
  const std::vector<Obstacle> guards = GuardObstacles();
  if (!guards.empty()) return guards.front().why;
  const std::optional<Obstacle> database = DatabaseObstacle();
  return database ? database->why : otherwise;
}

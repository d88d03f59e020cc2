#include "scenario_file.h"

#include <utility>

#include "journal.h"

namespace simulator {
namespace {

Scenario ReadScenario(const std::string& path) {
  return path.empty() ? Scenario() : Scenario(Json::ReadFile(path, "rules"));
}

}  // namespace

// The stamp is taken before the file is read: a change in between is seen the next time.
ScenarioFile::ScenarioFile(const std::string& path) : path_(path), stamp_(ReadStamp()), scenario_(ReadScenario(path)) {}

bool ScenarioFile::Stamp::operator==(const Stamp& other) const {
  return exists == other.exists && device == other.device && inode == other.inode && size == other.size &&
         changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
}

ScenarioFile::Stamp ScenarioFile::ReadStamp() const {
  struct stat file {};
  if (path_.empty() || stat(path_.c_str(), &file) != 0) return {};
  return {true, file.st_dev, file.st_ino, file.st_size, file.st_ctim};
}

Scenario& ScenarioFile::Current() {
  if (path_.empty()) return scenario_;
  const Stamp now = ReadStamp();
  if (now == std::exchange(stamp_, now)) return scenario_;
  try {
    scenario_ = ReadScenario(path_);
  } catch (const JsonError& error) {
    Warn(std::string(error.what()) + "; the scenario from before stays");
  }
  return scenario_;
}

}  // namespace simulator

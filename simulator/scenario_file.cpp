#include "scenario_file.h"

#include <utility>

#include "journal.h"

namespace simulator {
namespace {

Scenario ReadScenario(const std::string& path, const Scenario::IsMethod& is_method) {
  return path.empty() ? Scenario() : Scenario(Json::ReadFile(path, "rules"), is_method);
}

}  // namespace

// The stamp is taken before the file is read: a change in between is seen the next time.
ScenarioFile::ScenarioFile(const std::string& path, Scenario::IsMethod is_method)
    : path_(path), is_method_(std::move(is_method)), stamp_(ReadStamp()), scenario_(ReadScenario(path, is_method_)) {}

void ScenarioFile::OnRead(std::function<void(const Scenario&)> read) {
  read_ = std::move(read);
  read_(scenario_);
}

void ScenarioFile::End() {
  if (done_) done_(scenario_);
}

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
    Scenario next = ReadScenario(path_, is_method_);
    End();
    scenario_ = std::move(next);
    if (read_) read_(scenario_);
  } catch (const JsonError& error) {
    Warn(std::string(error.what()) + "; the scenario from before stays");
  }
  return scenario_;
}

void ScenarioFile::Give(const std::string& rules) {
  given_ = Scenario(Json::ReadText(rules, "given rules"), is_method_);
}

Rule ScenarioFile::Match(const std::string& method, const std::string& app) {
  Scenario& of_file = Current();
  const Rule given = given_.Match(method, app);
  return given.place.empty() ? of_file.Match(method, app) : given;
}

std::optional<PinScript> ScenarioFile::MatchPin(const std::string& app) {
  Scenario& of_file = Current();
  auto given = given_.MatchPin(app);
  return given ? given : of_file.MatchPin(app);
}

bool ScenarioFile::AnswersPins() {
  return Current().AnswersPins();
}

}  // namespace simulator

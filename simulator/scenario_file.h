// The scenario of a file, read again when the file changes.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "scenario.h"

namespace simulator {

class ScenarioFile {
 public:
  // An empty path is a scenario without rules. Throws JsonError.
  explicit ScenarioFile(const std::string& path, Scenario::IsMethod is_method = nullptr);

  // To be called with the scenario, and with each that takes its place.
  void OnRead(std::function<void(const Scenario&)> read);
  // To be called with a scenario that another takes the place of, and with the last one.
  void OnDone(std::function<void(const Scenario&)> done) { done_ = std::move(done); }
  void End();

  // Rules that come before those of the file, a list in JSON, in place of those that were given before. Throws
  // JsonError.
  void Give(const std::string& rules);

  // As of the rules of now: those that were given, and then those of the file. A changed file that cannot be used is
  // reported, and the rules from before stay.
  Rule Match(const std::string& method, const std::string& app);
  std::optional<PinScript> MatchPin(const std::string& app);
  bool AnswersPins();

  // The rules of the file.
  Scenario& Current();

 private:
  struct Stamp {
    bool exists = false;
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec changed{};
    bool operator==(const Stamp& other) const;
  };
  Stamp ReadStamp() const;

  std::string path_;
  Scenario::IsMethod is_method_;
  std::function<void(const Scenario&)> read_;
  std::function<void(const Scenario&)> done_;
  Stamp stamp_;
  Scenario scenario_;
  Scenario given_;
};

}  // namespace simulator

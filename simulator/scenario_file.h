// The scenario of a file, read again when the file changes.
#pragma once

#include <sys/stat.h>

#include <string>

#include "scenario.h"

namespace simulator {

class ScenarioFile {
 public:
  // An empty path is a scenario without rules. Throws JsonError.
  explicit ScenarioFile(const std::string& path);

  // The scenario of now. A changed file that cannot be used is reported, and the rules from before stay.
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
  Stamp stamp_;
  Scenario scenario_;
};

}  // namespace simulator

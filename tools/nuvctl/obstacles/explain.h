// Why a lookup or a launch of an application would fail, as far as the guards, the database and the bus tell.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "obstacles/obstacles.h"

// One thing that is in the way.
struct Reason {
  Obstacle obstacle;
  bool stops_lookup = false;
  bool stops_launch = false;
  bool stops_list = false;  // a lookup and a launch go on; lists for callers leave the application out
};

struct Explanation {
  std::vector<Reason> reasons;  // in the order in which they are met
  bool lookup_finds = false;
  std::optional<bool> launch_goes_ahead;  // nothing where only the service can know
};

// By an application's id, kelvo id or package name.
Explanation Explain(const std::string& app_id);

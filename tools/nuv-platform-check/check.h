// A check of a platform library: what has to hold, and how it is found out.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace platform_check {

// What is wrong; nothing where it holds.
using Finding = std::optional<std::string>;

struct Check {
  const char* call;  // the one that it is about
  const char* holds;
  Finding (*find)();
};

// What a call costs: run once for each time that it is to be measured.
struct Cost {
  const char* call;
  void (*run)();
};

// What the user allows to be tried, because it leaves something behind; empty where he does not.
struct Allowed {
  std::string setting;      // a key whose value may be overwritten
  std::string application;  // one that may be launched
};

extern Allowed allowed;

const std::vector<Check>& Checks();
const std::vector<Cost>& Costs();

}  // namespace platform_check

// What each method of the Nuv service does.
#pragma once

#include <string>

#include "applications.h"
#include "catalogue/catalogue_db.h"
#include "launcher.h"
#include "options.h"
#include "pin/pin_gate.h"
#include "scenario_file.h"

namespace simulator {

// The parts that the methods work on.
struct Service {
  Service(const Options& options, RunningFiles& files, ScenarioFile& scenario, const Journal& journal);

  const Journal& journal;
  CatalogueDb catalogue;
  std::string extra_app;
  Applications applications;
  PinGate pin_gate;
  Launcher launcher;
};

struct ServiceMethod {
  const char* name;
  int app_argument;     // position of the text that says which application; -1 for none
  int caller_argument;  // position of the caller id; -1 for none
  // Carries the call out. The floating reply tuple, or null for an empty one.
  GVariant* (*run)(Service& service, GVariant* arguments);
};

inline constexpr const char* kLaunchMethod = "launch_app";

// Null for an unknown name.
const ServiceMethod* FindServiceMethod(const std::string& name);

}  // namespace simulator

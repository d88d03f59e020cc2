// What nuv-simulator says of itself, beside the service that it stands in for.
#pragma once

#include <optional>
#include <string>

struct SimulatorState {
  std::string directory;  // that it works in; empty where it does not say
};

// Nothing where the service does not run, or is none that says so, such as a TV's. Waits a moment only.
std::optional<SimulatorState> AskSimulator();

// Why what this program reads is not what the service writes; empty where both work in one directory, or where the
// service does not tell.
std::string WhyOtherDirectory();

// What runs for an application that has no program on this machine: it does nothing until it is told to end.
#pragma once

#include <string>
#include <vector>

namespace simulator {

// File to execute, then its arguments from argument 0 on.
std::vector<std::string> StandInCommand(const std::string& app_id);

bool IsStandIn(int argc, char** argv);
int RunStandIn();

}  // namespace simulator

// nuvctl launch
#pragma once

#include "command_line.h"

namespace CLI {
class App;
}

void AddLaunchArguments(CLI::App& command, Options& options);
Report RunLaunch(const Options& options);

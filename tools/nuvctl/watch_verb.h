// nuvctl watch
#pragma once

#include "command_line.h"

namespace CLI {
class App;
}

void AddWatchArguments(CLI::App& command, Options& options);
Report RunWatch(const Options& options);

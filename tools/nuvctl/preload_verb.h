// nuvctl preload
#pragma once

#include "command_line.h"

namespace CLI {
class App;
}

void AddPreloadArguments(CLI::App& command, Options& options);
Report RunPreload(const Options& options);

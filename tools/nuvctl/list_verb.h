// nuvctl list
#pragma once

#include "command_line.h"

namespace CLI {
class App;
}

void AddListArguments(CLI::App& command, Options& options);
Report RunList(const Options& options);

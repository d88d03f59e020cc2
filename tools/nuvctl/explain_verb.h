// nuvctl explain
#pragma once

#include "command_line.h"

namespace CLI {
class App;
}

void AddExplainArguments(CLI::App& command, Options& options);
Report RunExplain(const Options& options);

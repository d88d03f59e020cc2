// The verbs about the applications that run: whether one does, and which one shows.
#pragma once

#include "command_line.h"

namespace CLI {
class App;
}

void AddStatusArguments(CLI::App& command, Options& options);
void AddShowingArguments(CLI::App& command, Options& options);

Report RunStatus(const Options& options);
Report RunShowing(const Options& options);

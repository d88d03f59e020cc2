// The verbs that change an application's row, or have the service do it.
#pragma once

#include "command_line.h"

namespace CLI {
class App;
}

void AddSetArguments(CLI::App& command, Options& options);
void AddCountArguments(CLI::App& command, Options& options);
void AddVersionArguments(CLI::App& command, Options& options);
void AddCommandArguments(CLI::App& command, Options& options);

Report RunSet(const Options& options);
Report RunCount(const Options& options);
Report RunVersion(const Options& options);
Report RunCommandVerb(const Options& options);

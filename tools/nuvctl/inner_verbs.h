// The verbs that read the inner side of the database: records in full detail, and what is used most and last.
#pragma once

#include "command_line.h"

namespace CLI {
class App;
}

void AddInnerArguments(CLI::App& command, Options& options);
void AddUsedArguments(CLI::App& command, Options& options);

Report RunInner(const Options& options);
Report RunUsed(const Options& options);

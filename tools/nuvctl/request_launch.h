// nuvctl launch --request
#pragma once

#include "command_line.h"

namespace CLI {
class App;
}

// Goes with none of the options that the command has so far: what they say is in the request.
void AddRequestArgument(CLI::App& command, Options& options);

Report RunRequestLaunch(const Options& options);

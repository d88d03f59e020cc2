// nuvctl pin
#pragma once

#include "command_line.h"

namespace CLI {
class App;
}

void AddPinArguments(CLI::App& command, Options& options);
Report RunPin(const Options& options);

// A launch from the command line: carried out, waited for where that was asked for, and described.
#pragma once

#include "command_line.h"
#include "launch_task.h"

namespace CLI {
class App;
}

// "--payload" and "--caller".
void AddPayloadArgument(CLI::App& command, Options& options);
void AddCallerArgument(CLI::App& command, Options& options);

// "--wait"
void AddWaitArgument(CLI::App& command, Options& options);

// The details are the keys of the answer that come before those of the outcome.
Report RunLaunchTask(const Options& options, LaunchTask task, nlohmann::ordered_json details);

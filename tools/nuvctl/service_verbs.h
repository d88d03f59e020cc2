// The verbs that are one call of the service.
#pragma once

#include "command_line.h"

namespace CLI {
class App;
}

void AddKpiArguments(CLI::App& command, Options& options);
void AddPopupArguments(CLI::App& command, Options& options);
void AddAndroidStatusArguments(CLI::App& command, Options& options);
void AddTerminateArguments(CLI::App& command, Options& options);
void AddTerminateAllArguments(CLI::App& command, Options& options);
void AddExtraAppArguments(CLI::App& command, Options& options);

Report RunKpi(const Options& options);
Report RunPopup(const Options& options);
Report RunAndroidStatus(const Options& options);
Report RunTerminate(const Options& options);
Report RunTerminateAll(const Options& options);
Report RunExtraApp(const Options& options);

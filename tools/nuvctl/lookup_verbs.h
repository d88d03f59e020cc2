// The verbs that ask the catalogue about applications by name: one record, yes or no, a group.
#pragma once

#include "command_line.h"

namespace CLI {
class App;
}

void AddShowArguments(CLI::App& command, Options& options);
void AddIdsArguments(CLI::App& command, Options& options);
void AddGroupArguments(CLI::App& command, Options& options);

Report RunShow(const Options& options);
Report RunLocked(const Options& options);
Report RunUninstallable(const Options& options);
Report RunGroup(const Options& options);

// The ids as a list for a statement: each in single quotes, with a single quote inside doubled.
std::string SqlList(const std::vector<std::string>& ids);

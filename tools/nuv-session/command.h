// The command that is run in a session.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "child.h"
#include "signals.h"

namespace session {

// Throws Failure, with the exit status for it, when there is no such program: before anything is made for it.
void CheckCommand(const std::vector<std::string>& command);

struct CommandEvents {
  std::function<void(pid_t)> started;
  int file = -1;                   // what is heard while the command runs
  std::function<bool()> readable;  // false: nothing more will be
};

// Runs it to its end, passes signals on, and returns its exit status. Throws Failure when it cannot be run.
int RunCommand(const Program& program, const Signals& signals, const CommandEvents& events);

}  // namespace session

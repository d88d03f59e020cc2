// Programs that are started.
#pragma once

#include <signal.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace session {

struct Program {
  std::vector<std::string> arguments;    // the first is looked for in PATH
  std::vector<std::string> environment;  // "NAME=VALUE"
  sigset_t signal_mask{};
  int output = -1;       // an open file for standard output and error; standard input is empty then
  int kept = -1;         // an open file that the program gets
  int death_signal = 0;  // what it is sent when this process ends
};

struct Started {
  pid_t pid = -1;
  int error = 0;  // number of the error because of which the program does not run
};

// Returns when the program runs, or cannot.
Started Start(const Program& program);

// Exit status as a shell has it.
int ExitStatusOf(int wait_status);
// "status 3", "signal 9 (Killed)"
std::string Describe(int wait_status);

// This process's own environment, with these in place of what has their names.
std::vector<std::string> EnvironmentWith(const std::vector<std::string>& variables);

}  // namespace session

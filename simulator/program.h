// The program of an application: found, described and started.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "launch_request.h"

namespace simulator {

// What a started program is told, as NUV_ variables of its environment.
struct ProgramInput {
  std::string app_id;
  std::string payload;
  std::string caller_id;
  std::string operation;
  std::string uri;
  ExtraData extra_data;

  std::vector<std::pair<std::string, std::string>> variables;  // of the environment, beyond these

  // What to run where there is no program; empty: the stand-in. It is started with SIGTERM blocked, and waits for it.
  std::vector<std::string> built_in;
  bool on_terminal = false;  // in the foreground of this process's terminal, if it has one
};

// The install path where it is a file, or bin/<app id> or bin/run below it; empty when there is none of these and the
// stand-in has to do.
std::string FindProgram(const std::string& install_path, const std::string& app_id);

// Why there is none, for the user.
std::string WhyNoProgram(const std::string& install_path);

// Starts the program in a process group of its own that ends with this process. 0 and *error when it cannot be run.
pid_t StartProgram(const std::string& path, const ProgramInput& input, std::string* error);

}  // namespace simulator

// The user's shell in a session.
#pragma once

#include <string>
#include <vector>

namespace session {

struct Shell {
  std::vector<std::string> command;
  std::vector<std::string> variables;
};

// Its prompt names the session. Writes into the session's directory.
Shell UserShell(const std::string& name, const std::string& directory);

// Two lines about what there is, where somebody sits in front of the shell.
void PrintHelp(const std::string& name);

}  // namespace session

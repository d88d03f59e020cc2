// Where everything of a session is.
#pragma once

#include <string>
#include <vector>

#include "options.h"

namespace session {

struct Layout {
  std::string name;
  std::string directory;  // the session's own
  std::string state;
  std::string logs;
  std::string kept;     // what stays when the session has ended, empty where nothing does
  std::string mark;     // variable of the environment that all processes of the session have
  std::string address;  // of the bus
  std::string home;     // where a browser finds the home screen, empty where there is none

  std::string Socket() const { return directory + "/bus"; }
  std::string BusConfigFile() const { return directory + "/bus.conf"; }
  std::string EnvironmentFile() const { return directory + "/environment"; }
  std::string BusLog() const { return logs + "/bus.log"; }
  std::string HomeLog() const { return logs + "/home.log"; }
  std::string ServiceLog() const { return logs + "/simulator.log"; }
};

// Makes what is to be kept. Throws Failure when something cannot be used as a place.
Layout LayOut(const std::string& name, const std::string& directory, const Options& options);

// What the programs of a session find in their environment.
std::vector<std::string> VariablesOf(const Layout& layout);

// PATH, with the other tools in it.
std::string PathWithTools();

// The folder of this program, in which the other tools are.
std::string ToolsDirectory();

}  // namespace session

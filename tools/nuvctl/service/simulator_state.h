// What nuv-simulator says of itself, beside the service that it stands in for.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

struct SimulatorState {
  std::string directory;      // that it works in; empty where it does not say
  bool has_stand_ins = true;  // for applications without a program
};

// Nothing where the service does not run, or is none that says so, such as a TV's. Waits a moment only.
std::optional<SimulatorState> AskSimulator();

// The running applications that are stand-ins; nothing where the service does not say.
std::optional<std::vector<std::string>> StandIns();

// By its process id, the payload that each running application was told last; none where the service does not tell.
std::map<int, std::string> LastPayloads();

bool Contains(const std::vector<std::string>& ids, const std::string& id);

// Whether the running application is a stand-in that does nothing; nothing where the service does not say.
std::optional<bool> IsStandIn(const std::string& app_id);

// Why what this program reads is not what the service writes; empty where both work in one directory, or where the
// service does not tell.
std::string WhyOtherDirectory();

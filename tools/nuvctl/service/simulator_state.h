// What nuv-simulator says of itself, beside the service that it stands in for.
#pragma once

#include <gio/gio.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

struct SimulatorState {
  std::string directory;      // that it works in; empty where it does not say
  std::string version;        // empty where it does not say
  bool has_stand_ins = true;  // for applications without a program
};

// Nothing where the service does not run, or is none that says so, such as a TV's. Waits a moment only.
std::optional<SimulatorState> AskSimulator();
// The same over a connection that is there, and with a limit of the caller's.
std::optional<SimulatorState> AskSimulator(GDBusConnection* bus, unsigned limit_ms);

// Who answers when the PIN of a locked application is asked for, the first one first; nothing where the service does
// not say.
std::optional<std::vector<std::string>> PinSources(GDBusConnection* bus, unsigned limit_ms);

// The running applications that are stand-ins; nothing where the service does not say.
std::optional<std::vector<std::string>> StandIns();

// By its process id, the payload that each running application was told last; none where the service does not tell.
std::map<int, std::string> LastPayloads();

bool Contains(const std::vector<std::string>& ids, const std::string& id);

// Whether the running application is a stand-in that does nothing; nothing where the service does not say.
std::optional<bool> IsStandIn(const std::string& app_id);

// One directory may have several paths.
bool SameDirectory(const std::string& one, const std::string& other);

// Why what this program reads is not what the service writes; empty where both work in one directory, or where the
// service does not tell.
std::string WhyOtherDirectory();

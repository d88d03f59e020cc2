// The processes of the machine, as /proc tells of them.
#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <utility>

namespace simulator {

struct ProcessEntry {
  pid_t pid = 0;
  pid_t parent = 0;
  pid_t group = 0;
  bool ended = false;            // and not waited for
  unsigned long long start = 0;  // clock ticks since boot

  // Tells it from a later process of the same number.
  std::pair<pid_t, unsigned long long> Identity() const { return {pid, start}; }
};
using ProcessTable = std::map<pid_t, ProcessEntry>;

std::optional<ProcessEntry> ReadProcess(pid_t pid);
ProcessTable ReadProcesses();

// A variable of the environment that its program was started with. Empty where there is none, or none to be seen.
std::string ReadVariable(pid_t pid, const std::string& name);

// Reaches that process, and no later one of the same number.
void SignalProcess(const ProcessEntry& process, int signal);

}  // namespace simulator

// The processes of the machine, as /proc tells of them.
#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace session {

struct ProcessEntry {
  pid_t pid = 0;
  pid_t parent = 0;
  bool ended = false;            // and not waited for
  unsigned long long start = 0;  // clock ticks since boot
  std::string name;

  // Tells it from a later process of the same number.
  std::pair<pid_t, unsigned long long> Identity() const { return {pid, start}; }
};
using ProcessTable = std::map<pid_t, ProcessEntry>;

ProcessTable ReadProcesses();

// Whether the process was started with this variable in its environment ("NAME=VALUE").
bool HasVariable(pid_t pid, const std::string& variable);

// Whether one of the processes that lead to this one is such a one.
bool DescendsFrom(const ProcessEntry& process, const ProcessTable& table,
                  const std::function<bool(const ProcessEntry&)>& is_ancestor);

// Asks those that are found to end, each once, and kills what is left two seconds later. It is looked for again and
// again, because they may start others meanwhile; tick is called between two looks.
void EndProcesses(const std::function<std::vector<ProcessEntry>()>& find, const std::function<void()>& tick);

}  // namespace session

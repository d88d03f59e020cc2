#include "belongings.h"

namespace session {

Identity IdentityOf(pid_t pid) {
  const ProcessTable table = ReadProcesses();
  const auto found = table.find(pid);
  return found == table.end() ? Identity() : found->second.Identity();
}

std::vector<ProcessEntry> Belongings::Find() const {
  const ProcessTable table = ReadProcesses();
  const auto is_keeper = [](const ProcessEntry& process) { return process.name == kKeeperName; };
  const auto is_root = [this](const ProcessEntry& process) {
    return process.Identity() == front || process.Identity() == command;
  };
  std::vector<ProcessEntry> found;
  for (const auto& [pid, process] : table) {
    if (process.ended || process.Identity() == front || is_keeper(process)) continue;
    if (DescendsFrom(process, table, is_keeper)) continue;
    if (is_root(process) || DescendsFrom(process, table, is_root) || HasVariable(pid, mark)) found.push_back(process);
  }
  return found;
}

}  // namespace session

#include "processes.h"

#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <thread>

namespace session {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPatience = std::chrono::seconds(2);
constexpr auto kLookEvery = std::chrono::milliseconds(10);

// What a process is sent that is still there. A stopped one listens to nothing, an interactive shell to SIGHUP only.
struct Step {
  std::chrono::milliseconds after;
  std::vector<int> signals;
};
struct Asked {
  Clock::time_point first;
  std::size_t steps = 0;
};
const Step kSteps[] = {
    {std::chrono::milliseconds(0), {SIGTERM, SIGCONT}},
    {std::chrono::milliseconds(300), {SIGHUP}},
    {kPatience, {SIGKILL}},
};

std::string ReadProcFile(pid_t pid, const char* name) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/" + name, std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

std::optional<ProcessEntry> ReadProcess(pid_t pid) {
  const std::string stat = ReadProcFile(pid, "stat");
  const std::size_t name_start = stat.find('(');
  const std::size_t name_end = stat.rfind(')');  // the name may hold anything
  if (name_start == std::string::npos || name_end == std::string::npos) return std::nullopt;
  std::istringstream fields(stat.substr(name_end + 1));
  ProcessEntry entry;
  entry.pid = pid;
  entry.name = stat.substr(name_start + 1, name_end - name_start - 1);
  char state = 0;
  fields >> state >> entry.parent;
  entry.ended = state == 'Z' || state == 'X';
  constexpr int kFieldsBetween = 17;  // the parent is field 4, the start time field 22
  std::string skipped;
  for (int i = 0; i < kFieldsBetween; ++i) fields >> skipped;
  fields >> entry.start;
  if (!fields) return std::nullopt;
  return entry;
}

// The number may have gone to another process since the look.
void Signal(const ProcessEntry& process, const std::vector<int>& signals) {
  const auto now = ReadProcess(process.pid);
  if (!now || now->Identity() != process.Identity()) return;
  for (const int signal : signals) kill(process.pid, signal);
}

}  // namespace

ProcessTable ReadProcesses() {
  ProcessTable table;
  std::error_code error;
  for (std::filesystem::directory_iterator at("/proc", error), end; !error && at != end; at.increment(error)) {
    const auto pid = static_cast<pid_t>(std::strtol(at->path().filename().c_str(), nullptr, 10));
    if (pid <= 0) continue;
    if (const auto process = ReadProcess(pid)) table[pid] = *process;
  }
  return table;
}

bool HasVariable(pid_t pid, const std::string& variable) {
  const std::string environment = '\0' + ReadProcFile(pid, "environ") + '\0';
  return environment.find('\0' + variable + '\0') != std::string::npos;
}

// The table is not of one moment, so its parents may go round in circles.
bool DescendsFrom(const ProcessEntry& process, const ProcessTable& table,
                  const std::function<bool(const ProcessEntry&)>& is_ancestor) {
  auto at = table.find(process.parent);
  for (std::size_t steps = 0; at != table.end() && steps < table.size(); ++steps) {
    if (is_ancestor(at->second)) return true;
    at = table.find(at->second.parent);
  }
  return false;
}

void EndProcesses(const std::function<std::vector<ProcessEntry>()>& find, const std::function<void()>& tick) {
  std::map<std::pair<pid_t, unsigned long long>, Asked> asked;
  const auto start = Clock::now();
  for (auto left = find(); !left.empty() && Clock::now() < start + 2 * kPatience; left = find()) {
    for (const ProcessEntry& process : left) {
      // From when it was asked first, however long the look took.
      Asked& past = asked.insert({process.Identity(), {Clock::now(), 0}}).first->second;
      if (past.steps == std::size(kSteps) || Clock::now() < past.first + kSteps[past.steps].after) continue;
      Signal(process, kSteps[past.steps++].signals);
    }
    tick();
    std::this_thread::sleep_for(kLookEvery);
  }
}

}  // namespace session

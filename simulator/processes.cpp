#include "processes.h"

#include <dirent.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

namespace simulator {
namespace {

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

std::string ReadProcFile(pid_t pid, const char* name) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/" + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

int OpenProcess(pid_t pid) {
#ifdef SYS_pidfd_open
  return static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
#else
  errno = ENOSYS;
  return -1;
#endif
}

bool SignalOpenProcess([[maybe_unused]] int process, [[maybe_unused]] int signal) {
#ifdef SYS_pidfd_send_signal
  return syscall(SYS_pidfd_send_signal, process, signal, nullptr, 0) == 0;
#else
  return false;
#endif
}

}  // namespace

std::optional<ProcessEntry> ReadProcess(pid_t pid) {
  const std::string stat = ReadProcFile(pid, "stat");
  const std::size_t name_end = stat.rfind(')');  // the name may hold anything
  if (name_end == std::string::npos) return std::nullopt;
  std::istringstream fields(stat.substr(name_end + 1));
  ProcessEntry entry;
  entry.pid = pid;
  char state = 0;
  fields >> state >> entry.parent >> entry.group;
  entry.ended = state == 'Z' || state == 'X';
  constexpr int kFieldsBetween = 16;  // the group is field 5, the start time field 22
  std::string skipped;
  for (int i = 0; i < kFieldsBetween; ++i) fields >> skipped;
  fields >> entry.start;
  if (!fields) return std::nullopt;
  return entry;
}

ProcessTable ReadProcesses() {
  ProcessTable table;
  const std::unique_ptr<DIR, CloseDirectory> directory(opendir("/proc"));
  if (directory == nullptr) return table;
  while (const dirent* entry = readdir(directory.get())) {
    const auto pid = static_cast<pid_t>(std::strtol(entry->d_name, nullptr, 10));
    if (pid <= 0) continue;
    if (const auto process = ReadProcess(pid)) table[pid] = *process;
  }
  return table;
}

std::string ReadVariable(pid_t pid, const std::string& name) {
  const std::string environment = '\0' + ReadProcFile(pid, "environ");
  const std::string start = '\0' + name + "=";
  const std::size_t found = environment.find(start);
  if (found == std::string::npos) return "";
  return environment.c_str() + found + start.size();  // up to the NUL
}

// What is open stays the process that had the number before the second look. Older kernels and sandboxes do not open
// processes; there the time between look and signal is short.
void SignalProcess(const ProcessEntry& process, int signal) {
  const int open = OpenProcess(process.pid);
  const auto now = ReadProcess(process.pid);
  if (now && now->Identity() == process.Identity()) {
    if (open < 0 || !SignalOpenProcess(open, signal)) kill(process.pid, signal);
  }
  if (open >= 0) close(open);
}

}  // namespace simulator

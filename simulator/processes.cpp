#include "processes.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>

#include "file.h"

namespace simulator {
namespace {

// Empty when the process ends, before it is opened or while it is read: a stream would throw then.
std::string ReadProcFile(pid_t pid, const char* name) {
  const std::string path = "/proc/" + std::to_string(pid) + "/" + name;
  const File file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  std::string content;
  return file && ReadToEnd(file, content) ? content : "";
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
  const DirectoryPtr directory(opendir("/proc"));
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

// An open descriptor stays with the process that had the number when it was opened, and the second look tells whether
// that is the one that is meant. Where the kernel or a sandbox opens no processes, the time between look and signal is
// short.
void SignalProcess(const ProcessEntry& process, int signal) {
  const File opened(OpenProcess(process.pid));
  const auto now = ReadProcess(process.pid);
  if (now && now->Identity() == process.Identity()) {
    if (!opened || !SignalOpenProcess(opened.get(), signal)) kill(process.pid, signal);
  }
}

}  // namespace simulator

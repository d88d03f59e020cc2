#include "command.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <sstream>

#include "failure.h"
#include "file.h"

namespace session {
namespace {

Failure CannotRun(const std::string& name, int error) {
  return Failure("cannot run " + name + ": " + std::strerror(error), error == ENOENT ? kNotFound : kCannotRun);
}

// 0, or why it cannot be run.
int ErrorOfProgram(const std::string& path) {
  struct stat entry {};
  if (stat(path.c_str(), &entry) != 0) return errno;
  if (S_ISDIR(entry.st_mode)) return EISDIR;
  return access(path.c_str(), X_OK) == 0 ? 0 : errno;
}

// Gives the terminal back as it was before the command: a command that is killed may leave one of its other process
// groups in the foreground.
class Terminal {
 public:
  Terminal() : file_(open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC)), own_(IsOurs()) {}
  ~Terminal() {
    if (!own_ || IsOurs()) return;
    sigset_t mask;
    sigset_t before;
    sigemptyset(&mask);
    sigaddset(&mask, SIGTTOU);
    sigprocmask(SIG_BLOCK, &mask, &before);
    tcsetpgrp(file_.get(), getpgrp());
    sigprocmask(SIG_SETMASK, &before, nullptr);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

 private:
  bool IsOurs() const { return file_ && tcgetpgrp(file_.get()) == getpgrp(); }
  File file_;
  bool own_;
};

// The command's wait status once it has ended. Other children are processes that the command has left behind.
std::optional<int> Reap(pid_t command) {
  std::optional<int> end;
  int status = 0;
  for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;) {
    if (pid == command) end = status;
  }
  return end;
}

std::optional<int> PassSignals(pid_t command, const Signals& signals) {
  std::optional<int> end;
  while (const auto signal = signals.Next()) {
    if (signal->ssi_signo == SIGCHLD) {
      if (const auto status = Reap(command)) end = status;
    } else if (!end && !IsTerminals(*signal)) {
      kill(command, static_cast<int>(signal->ssi_signo));
    }
  }
  return end;
}

}  // namespace

void CheckCommand(const std::vector<std::string>& command) {
  const std::string& name = command[0];
  if (name.find('/') != std::string::npos) {
    const int error = ErrorOfProgram(name);
    if (error != 0) throw CannotRun(name, error);
    return;
  }
  int worst = ENOENT;
  const char* path = getenv("PATH");
  std::istringstream directories(path == nullptr ? "" : path);
  for (std::string directory; !name.empty() && std::getline(directories, directory, ':');) {
    const int error = ErrorOfProgram((directory.empty() ? "." : directory) + "/" + name);
    if (error == 0) return;
    if (error == EACCES) worst = error;
  }
  throw CannotRun(name.empty() ? "a command without a name" : name, worst);
}

int RunCommand(const Program& program, const Signals& signals, const CommandEvents& events) {
  const Terminal terminal;
  // As subreaper, this process becomes the parent of what the command leaves behind, so the keeper finds it below this
  // one.
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  const Started started = Start(program);
  if (started.error != 0) throw CannotRun(program.arguments[0], started.error);
  events.started(started.pid);
  int file = events.file;
  for (;;) {
    pollfd watched[] = {{signals.get(), POLLIN, 0}, {file, POLLIN, 0}};
    poll(watched, std::size(watched), -1);
    if (const auto end = PassSignals(started.pid, signals)) return ExitStatusOf(*end);
    if (watched[1].revents != 0 && !events.readable()) file = -1;
  }
}

}  // namespace session

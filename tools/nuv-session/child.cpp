#include "child.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "failure.h"
#include "file.h"

namespace session {
namespace {

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

// The number that it may be given anew, without the mark that closes it.
void Keep(int file) {
  if (file >= 0) fcntl(file, F_SETFD, 0);
}

void Redirect(int output) {
  if (output < 0) return;
  dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
}

[[noreturn]] void Become(const Program& program, pid_t parent, int report) {
  if (program.death_signal != 0) prctl(PR_SET_PDEATHSIG, program.death_signal);
  if (program.death_signal != 0 && getppid() != parent) _exit(kOwnFailure);
  Redirect(program.output);
  Keep(program.kept);
  std::vector<char*> environment = Pointers(program.environment);
  const std::vector<char*> arguments = Pointers(program.arguments);
  environ = environment.data();
  sigprocmask(SIG_SETMASK, &program.signal_mask, nullptr);
  execvp(arguments[0], arguments.data());
  const int error = errno;
  [[maybe_unused]] const ssize_t written = write(report, &error, sizeof error);
  _exit(kOwnFailure);
}

}  // namespace

Pipe::Pipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw SystemFailure("cannot make a pipe");
  out = File(ends[0]);
  in = File(ends[1]);
}

Started Start(const Program& program) {
  Pipe report;
  const pid_t parent = getpid();
  Started started;
  started.pid = fork();
  if (started.pid < 0) throw SystemFailure("cannot start a process");
  if (started.pid == 0) Become(program, parent, report.in.get());
  report.in.Close();
  ssize_t size = 0;
  do {
    size = read(report.out.get(), &started.error, sizeof started.error);
  } while (size < 0 && errno == EINTR);
  if (size != static_cast<ssize_t>(sizeof started.error)) {
    started.error = 0;
    return started;
  }
  waitpid(started.pid, nullptr, 0);
  return started;
}

int ExitStatusOf(int wait_status) {
  return WIFSIGNALED(wait_status) ? kSignalled + WTERMSIG(wait_status) : WEXITSTATUS(wait_status);
}

std::string Describe(int wait_status) {
  if (!WIFSIGNALED(wait_status)) return "status " + std::to_string(WEXITSTATUS(wait_status));
  const int signal = WTERMSIG(wait_status);
  return "signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
}

std::vector<std::string> EnvironmentWith(const std::vector<std::string>& variables) {
  std::vector<std::string> all = variables;
  for (char** own = environ; *own != nullptr; ++own) {
    const std::string variable = *own;
    const std::string name = variable.substr(0, variable.find('=') + 1);
    const bool replaced = std::any_of(variables.begin(), variables.end(),
                                      [&](const std::string& other) { return other.rfind(name, 0) == 0; });
    if (!replaced) all.push_back(variable);
  }
  return all;
}

}  // namespace session

#include "monitor/child_command.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr int kSignalled = 128;

// This process reads the signals that end it; the command is to be ended by them.
sigset_t MaskOfCommand() {
  sigset_t mask;
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  sigdelset(&mask, SIGINT);
  sigdelset(&mask, SIGTERM);
  return mask;
}

int Spawn(pid_t& pid, const std::vector<std::string>& arguments) {
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  const sigset_t mask = MaskOfCommand();
  posix_spawnattr_setsigmask(&attributes, &mask);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  const int error = posix_spawnp(&pid, pointers[0], nullptr, &attributes, pointers.data(), environ);
  posix_spawnattr_destroy(&attributes);
  return error;
}

}  // namespace

ChildCommand::~ChildCommand() {
  if (waiter_.joinable()) waiter_.join();
}

int ChildCommand::Start(const std::vector<std::string>& arguments) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const int error = Spawn(pid_, arguments);
  if (error == 0) waiter_ = std::thread([this] { WaitForEnd(); });
  if (error != 0) pid_ = -1;
  return error;
}

void ChildCommand::Send(int signal) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (pid_ > 0) kill(pid_, signal);
}

int ChildCommand::Wait() {
  if (waiter_.joinable()) waiter_.join();
  return status_;
}

// Its number is given back under the lock only, so that no signal goes to another process.
void ChildCommand::WaitForEnd() {
  pid_t pid = -1;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    pid = pid_;
  }
  siginfo_t end = {};
  while (waitid(P_PID, static_cast<id_t>(pid), &end, WEXITED | WNOWAIT) != 0 && errno == EINTR) continue;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    int status = 0;
    if (waitpid(pid, &status, 0) == pid) {
      status_ = WIFSIGNALED(status) ? kSignalled + WTERMSIG(status) : WEXITSTATUS(status);
    }
    pid_ = -1;
  }
  on_end_();
}

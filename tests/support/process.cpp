#include "process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "temp_dir.h"

extern "C" __attribute__((weak)) void nuv_dump_coverage();

namespace {

[[noreturn]] void RunChild(const std::vector<std::string>& arguments, const std::string& output,
                           const std::string& errors, const Process::Environment& extra, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(127);
  for (const auto& [name, value] : extra) setenv(name.c_str(), value.c_str(), 1);
  dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
  dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
  dup2(open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  execvp(argv[0], argv.data());
  _exit(127);
}

}  // namespace

bool WaitUntil(const std::function<bool()>& condition, Milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(Milliseconds(2));
  }
  return true;
}

int InChild(const std::function<int()>& body, Milliseconds limit) {
  const pid_t child = fork();
  if (child == 0) {
    const int result = body();
    if (nuv_dump_coverage != nullptr) nuv_dump_coverage();
    _exit(result);
  }
  int status = 0;
  pid_t ended = 0;
  WaitUntil([&] { return (ended = waitpid(child, &status, WNOHANG)) != 0; }, limit);
  if (ended == 0) {
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return -1;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

Process::Process(const std::vector<std::string>& arguments, const std::string& directory, const Environment& extra) {
  static std::atomic<int> next{0};
  const std::string base = directory + "/process" + std::to_string(next++);
  output_path_ = base + ".out";
  errors_path_ = base + ".err";
  const pid_t parent = getpid();
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("fork");
  if (pid_ == 0) RunChild(arguments, output_path_, errors_path_, extra, parent);
}

Process::~Process() {
  KillAndWait();
}

void Process::Reap(int options) {
  int status = 0;
  if (!status_ && waitpid(pid_, &status, options) == pid_) {
    status_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  }
}

bool Process::Running() {
  Reap(WNOHANG);
  return !status_;
}

std::optional<int> Process::Wait(Milliseconds limit) {
  WaitUntil([this] { return !Running(); }, limit);
  return status_;
}

void Process::Signal(int number) const {
  if (!status_) kill(pid_, number);
}

void Process::KillAndWait() {
  if (!Running()) return;
  kill(pid_, SIGKILL);
  Reap(0);
}

std::string Process::Output() const {
  return ReadFile(output_path_);
}
std::string Process::Errors() const {
  return ReadFile(errors_path_);
}

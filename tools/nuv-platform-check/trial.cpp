#include "trial.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <system_error>

namespace platform_check {
namespace {

using Clock = std::chrono::steady_clock;

constexpr char kDone = '.';

void WriteAll(int fd, const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t written = write(fd, text.data() + done, text.size() - done);
    if (written < 0 && errno != EINTR) return;
    done += static_cast<std::size_t>(written > 0 ? written : 0);
  }
}

// A platform's log may go there.
void HideStandardError() {
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere >= 0) dup2(nowhere, STDERR_FILENO);
}

[[noreturn]] void Work(const std::function<std::string()>& work, int answer) {
  signal(SIGPIPE, SIG_DFL);
  HideStandardError();
  std::string said;
  try {
    said = work();
  } catch (const std::exception& error) {
    said = std::string("an exception came out: ") + error.what();
  } catch (...) {
    said = "an exception came out";
  }
  WriteAll(answer, kDone + said);
  _exit(0);
}

// What comes until the end of it, or until the time is over.
bool ReadUntil(int fd, Clock::time_point limit, std::string& text) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now()).count();
    if (left <= 0) return false;
    pollfd source = {fd, POLLIN, 0};
    if (poll(&source, 1, static_cast<int>(left)) <= 0) continue;
    std::array<char, 4096> block;
    const ssize_t got = read(fd, block.data(), block.size());
    if (got == 0 || (got < 0 && errno != EINTR)) return true;
    text.append(block.data(), static_cast<std::size_t>(got > 0 ? got : 0));
  }
}

std::string EndOf(int status) {
  if (WIFSIGNALED(status)) return std::string("ended by a signal: ") + strsignal(WTERMSIG(status));
  return "ended the process with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

Outcome Try(const std::function<std::string()>& work, std::chrono::milliseconds limit) {
  std::array<int, 2> pipe_ends;
  if (pipe2(pipe_ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  const pid_t child = fork();
  if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (child == 0) {
    close(pipe_ends[0]);
    Work(work, pipe_ends[1]);
  }
  close(pipe_ends[1]);
  std::string said;
  const bool ended = ReadUntil(pipe_ends[0], Clock::now() + limit, said);
  close(pipe_ends[0]);
  if (!ended) kill(child, SIGKILL);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!ended) return {false, "not done after " + std::to_string(limit.count()) + " ms"};
  if (said.empty() || said.front() != kDone) return {false, EndOf(status)};
  return {true, said.substr(1)};
}

}  // namespace platform_check

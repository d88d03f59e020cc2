// A program on a terminal of its own.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "process.h"

// A terminal with a program in its foreground, as a session of its own.
class TerminalSession {
 public:
  explicit TerminalSession(const std::vector<std::string>& command) {
    int inner = -1;
    if (openpty(&outer_, &inner, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("openpty");
    // The other end is the test's alone.
    fcntl(outer_, F_SETFD, FD_CLOEXEC);
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ == 0) Run(command, inner, parent);
    close(inner);
    fcntl(outer_, F_SETFL, O_NONBLOCK);
  }
  ~TerminalSession() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    if (outer_ >= 0) close(outer_);
  }

  pid_t pid() const { return pid_; }
  void Type(const std::string& text) const {
    ASSERT_EQ(write(outer_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  // Waits for a text on the screen, so many times.
  bool Shows(const std::string& text, std::size_t times = 1) {
    return WaitUntil([&] {
      Read();
      std::size_t count = 0;
      for (std::size_t at = 0; (at = screen_.find(text, at)) != std::string::npos; ++at) ++count;
      return count >= times;
    });
  }
  const std::string& screen() const { return screen_; }
  bool Echoes() const {
    termios settings{};
    tcgetattr(outer_, &settings);
    return (settings.c_lflag & ECHO) != 0;
  }
  bool Ends(int status) const {
    siginfo_t end{};
    const auto ended = [&] {
      return waitid(P_PID, static_cast<id_t>(pid_), &end, WEXITED | WNOHANG | WNOWAIT) == 0 && end.si_pid != 0;
    };
    return WaitUntil(ended) && end.si_code == CLD_EXITED && end.si_status == status;
  }
  pid_t Foreground() const { return tcgetpgrp(outer_); }
  // The terminal goes away.
  void HangUp() { close(std::exchange(outer_, -1)); }

 private:
  [[noreturn]] static void Run(const std::vector<std::string>& command, int terminal, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(127);
    setsid();
    ioctl(terminal, TIOCSCTTY, 0);
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(terminal, file);
    std::vector<char*> argv;
    for (const std::string& word : command) argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    execvp(argv[0], argv.data());
    _exit(127);
  }
  void Read() {
    char buffer[4096];
    for (ssize_t size; (size = read(outer_, buffer, sizeof buffer)) > 0;) {
      screen_.append(buffer, static_cast<std::size_t>(size));
    }
  }

  int outer_ = -1;
  pid_t pid_ = -1;
  std::string screen_;
};

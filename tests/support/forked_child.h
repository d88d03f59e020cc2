// A forked child that has not exec'ed.
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "process.h"

// Runs the body in a forked child; its exit status, or -1 when it does not end within the limit.
inline int InChild(const std::function<int()>& body, Milliseconds limit = Milliseconds(5000)) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
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

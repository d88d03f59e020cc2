#include "pin/signal_file.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace simulator {

SignalFile::SignalFile() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  file_ = signalfd(-1, &signals, SFD_CLOEXEC);
}

SignalFile::~SignalFile() {
  close(file_);
}

SignalFile::Event SignalFile::WaitWith(int file, int milliseconds) {
  pollfd files[] = {{file_, POLLIN, 0}, {file, POLLIN, 0}};
  if (poll(files, 2, milliseconds) <= 0) return kNothing;
  if (files[0].revents == 0) return kReadable;
  signalfd_siginfo info{};
  if (read(file_, &info, sizeof info) == sizeof info) last_ = static_cast<int>(info.ssi_signo);
  return kSignal;
}

}  // namespace simulator

#include "signals.h"

#include "failure.h"

namespace session {

Signals::Signals() {
  // A process that ignores SIGCHLD, as it may have inherited, gets no exit status of its children.
  signal(SIGCHLD, SIG_DFL);
  sigset_t mask;
  sigemptyset(&mask);
  for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGCHLD}) sigaddset(&mask, number);
  sigprocmask(SIG_BLOCK, &mask, &mask_before_);
  file_ = File(signalfd(-1, &mask, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!file_) throw SystemFailure("cannot read signals");
}

std::optional<signalfd_siginfo> Signals::Next() const {
  signalfd_siginfo info{};
  if (read(file_.get(), &info, sizeof info) != static_cast<ssize_t>(sizeof info)) return std::nullopt;
  return info;
}

bool IsEnding(const signalfd_siginfo& signal) {
  return signal.ssi_signo != SIGCHLD;
}

// The kernel sends SIGHUP to the leader of the terminal's session only, so it is passed on; a second one does no harm.
bool IsTerminals(const signalfd_siginfo& signal) {
  return signal.ssi_code > 0 && (signal.ssi_signo == SIGINT || signal.ssi_signo == SIGQUIT);
}

}  // namespace session

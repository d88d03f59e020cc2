#include "pin/terminal.h"

#include <signal.h>
#include <unistd.h>

#include <utility>

namespace simulator {

bool Terminal::Available() const {
  if (isatty(STDIN_FILENO) == 0) return false;
  const pid_t foreground = tcgetpgrp(STDIN_FILENO);
  return foreground == getpgrp() || (borrower_ != 0 && foreground == borrower_);
}

void Terminal::Lend() {
  tcgetattr(STDIN_FILENO, &settings_);
}

// Somebody else who has taken the foreground meanwhile keeps it.
void Terminal::TakeBack() {
  const pid_t borrower = std::exchange(borrower_, 0);
  if (borrower == 0 || tcgetpgrp(STDIN_FILENO) != borrower) return;
  ComeToForeground(STDIN_FILENO);
  tcsetattr(STDIN_FILENO, TCSADRAIN, &settings_);
}

// Whoever is in the background is stopped by SIGTTOU for trying, unless the signal is blocked.
void ComeToForeground(int terminal) {
  sigset_t attempt;
  sigset_t before;
  sigemptyset(&attempt);
  sigaddset(&attempt, SIGTTOU);
  sigprocmask(SIG_BLOCK, &attempt, &before);
  tcsetpgrp(terminal, getpgrp());
  sigprocmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace simulator

// The signals of this process, read one after the other instead of being handled at any moment.
#pragma once

#include <signal.h>
#include <sys/signalfd.h>

#include <optional>

#include "file.h"

namespace session {

class Signals {
 public:
  // Those that end a program, those that it may use as it likes, and SIGCHLD. One that is ignored stays so.
  Signals();
  int get() const { return file_.get(); }
  std::optional<signalfd_siginfo> Next() const;
  // For programs that are started.
  const sigset_t& mask_before() const { return mask_before_; }

 private:
  sigset_t mask_before_{};
  File file_;
};

// Asks to end.
bool IsEnding(const signalfd_siginfo& signal);
// The terminal sends it to all of its foreground, so the command has it already.
bool IsTerminals(const signalfd_siginfo& signal);

}  // namespace session

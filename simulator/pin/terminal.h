// The terminal that this program was started on, lent to one program at a time.
#pragma once

#include <sys/types.h>
#include <termios.h>

namespace simulator {

class Terminal {
 public:
  // Whether the user sits in front of this program: standard input is a terminal, and in its foreground is this
  // program or who has borrowed the terminal from it.
  bool Available() const;

  // The borrower puts itself in the foreground. Its process id is that of its group.
  void Lend();
  void LentTo(pid_t borrower) { borrower_ = borrower; }
  // With the settings from before, whatever the borrower did to them.
  void TakeBack();

 private:
  pid_t borrower_ = 0;
  termios settings_{};
};

// Puts the calling process's group in the foreground of its terminal, from wherever it is. Async-signal-safe.
void ComeToForeground(int terminal);

}  // namespace simulator

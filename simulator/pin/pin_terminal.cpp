#include "pin/pin_terminal.h"

#include <fcntl.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

namespace simulator {
namespace {

constexpr std::size_t kLongestLine = 256;

// Switches the echo off for as long as it lives, and drops what was typed ahead.
class NoEcho {
 public:
  explicit NoEcho(int terminal) : terminal_(terminal) {
    tcgetattr(terminal_, &before_);
    termios quiet = before_;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    quiet.c_lflag |= ICANON | ISIG;
    tcsetattr(terminal_, TCSAFLUSH, &quiet);
  }
  ~NoEcho() { tcsetattr(terminal_, TCSAFLUSH, &before_); }
  NoEcho(const NoEcho&) = delete;
  NoEcho& operator=(const NoEcho&) = delete;

 private:
  int terminal_;
  termios before_{};
};

}  // namespace

// A dialog that is stopped from the keyboard would keep the terminal from everybody; one that has its answer writes
// from the background.
PinTerminal::PinTerminal() : terminal_(open("/dev/tty", O_RDWR | O_CLOEXEC)) {
  signal(SIGTSTP, SIG_IGN);
  signal(SIGTTOU, SIG_IGN);
}

void PinTerminal::Write(const std::string& text) const {
  if (write(terminal_.get(), text.data(), text.size()) < 0) return;  // nobody reads it, then
}

std::optional<std::string> PinTerminal::Read(const std::string& prompt, SignalFile& signals) const {
  if (!terminal_) return std::nullopt;
  ssize_t length = 0;
  char line[kLongestLine];
  {
    const NoEcho quiet(terminal_.get());
    Write(prompt);
    if (signals.WaitWith(terminal_.get(), -1) == SignalFile::kReadable)
      length = read(terminal_.get(), line, sizeof line);
  }
  Write("\n");
  std::string pin(line, length > 0 ? static_cast<std::size_t>(length) : 0);
  pin.erase(pin.find_last_not_of("\r\n") + 1);
  if (pin.empty()) return std::nullopt;
  return pin;
}

}  // namespace simulator

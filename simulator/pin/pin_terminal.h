// The user's terminal, while the PIN is typed: nothing of it shows.
#pragma once

#include <optional>
#include <string>

#include "file.h"
#include "pin/signal_file.h"

namespace simulator {

class PinTerminal {
 public:
  PinTerminal();

  // The line that the user types; nothing when it is empty, the input ends, or a signal comes.
  std::optional<std::string> Read(const std::string& prompt, SignalFile& signals) const;
  void Write(const std::string& text) const;

 private:
  File terminal_;
};

}  // namespace simulator

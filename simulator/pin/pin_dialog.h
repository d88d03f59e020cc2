// The PIN dialog of the common-UI application: a process that asks on the terminal, or answers as it is told to.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace simulator {

// What a dialog is told, as variables of its environment.
struct DialogTask {
  enum Action { kAsk, kEnter, kCancel, kNothing };

  Action action = kAsk;
  unsigned question = 0;  // to be named in the answer
  std::string app_id;     // of the launch
  std::string pin;        // to enter
  int delay_ms = 0;       // before that
};

std::vector<std::pair<std::string, std::string>> Pack(const DialogTask& task);

// File to execute, then its arguments from argument 0 on.
std::vector<std::string> PinDialogCommand();

bool IsPinDialog(int argc, char** argv);
int RunPinDialog();

}  // namespace simulator

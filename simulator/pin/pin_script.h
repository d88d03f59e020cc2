// What is to be answered in place of the user when a launch asks for the PIN.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace simulator {

enum class PinAnswer { kRight, kWrong, kCancelled, kSilent };

struct PinScript {
  PinAnswer answer = PinAnswer::kSilent;
  int delay_ms = 0;
  std::string place = {};  // of the rule that says so, if one does
};

// The answers as scenarios and options name them.
const std::vector<std::string>& PinAnswerNames();
std::optional<PinAnswer> ParsePinAnswer(const std::string& name);

}  // namespace simulator

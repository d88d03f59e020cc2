#include "pin/pin_script.h"

#include <algorithm>

namespace simulator {

// In the order of the enumeration.
const std::vector<std::string>& PinAnswerNames() {
  static const std::vector<std::string> names = {"right", "wrong", "cancelled", "silent"};
  return names;
}

std::optional<PinAnswer> ParsePinAnswer(const std::string& name) {
  const std::vector<std::string>& names = PinAnswerNames();
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) return std::nullopt;
  return static_cast<PinAnswer>(found - names.begin());
}

}  // namespace simulator

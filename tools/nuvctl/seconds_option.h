// An option that is a length of time.
#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
class Option;
}  // namespace CLI

// A fraction is allowed; what does not fit a timer is refused.
CLI::Option* AddSecondsOption(CLI::App& command, const char* name, std::optional<double>& seconds, const char* purpose);

inline unsigned Milliseconds(double seconds) {
  return static_cast<unsigned>(seconds * 1000);
}

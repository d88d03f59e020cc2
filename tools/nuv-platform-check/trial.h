// One check or measurement in a process of its own, so that what it breaks is told and nothing else ends.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace platform_check {

struct Outcome {
  bool done = false;  // it came to its end
  std::string said;   // what it returned, or how it ended
};

// Runs it in a child process, whose standard error is hidden, for at most so long.
Outcome Try(const std::function<std::string()>& work, std::chrono::milliseconds limit);

}  // namespace platform_check

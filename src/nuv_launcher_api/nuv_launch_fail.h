// The text that records the last launch failure.
#pragma once

#include <string>

enum class LaunchFailReason { kUnknownApp = 100, kNoAppId = 101, kNoLink = 102, kCallFailed = 103 };

inline std::string LaunchFailText(const std::string& app, LaunchFailReason reason) {
  return app + ":" + std::to_string(static_cast<int>(reason));
}

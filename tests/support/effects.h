// The effects of a call, for a comparison of their whole order.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "fake_platform.h"

using Effects = std::vector<std::string>;

// All effects; of the log lines, which LogAsEffects() makes effects, only those that a named source file wrote.
inline Effects EffectsWithLogOf(const std::vector<std::string>& files) {
  std::set<std::string> wanted;
  for (const fake_platform::LogLine& line : fake_platform::Log()) {
    for (const std::string& file : files) {
      if (line.prefix.rfind("NuvClient " + file + ":", 0) != 0) continue;
      wanted.insert("log " + std::to_string(line.priority) + " " + line.text);
    }
  }
  Effects result;
  for (const std::string& effect : fake_platform::Effects()) {
    if (effect.rfind("log ", 0) != 0 || wanted.count(effect) != 0) result.push_back(effect);
  }
  return result;
}

// The buffers of the log lines with the text, in order: 0 main, 2 system.
inline std::vector<int> LogBuffers(const std::string& text) {
  std::vector<int> buffers;
  for (const fake_platform::LogLine& line : fake_platform::Log()) {
    if (line.text == text) buffers.push_back(line.buffer);
  }
  return buffers;
}

inline std::string LogEffect(int priority, const std::string& text) {
  return "log " + std::to_string(priority) + " " + text;
}
inline std::string Red(const std::string& text) {
  return "\033[0;31m" + text + "\033[0;m";
}
inline std::string Green(const std::string& text) {
  return "\033[0;32m" + text + "\033[0;m";
}
inline std::string Yellow(const std::string& text) {
  return "\033[0;33m" + text + "\033[0;m";
}

// The effects of a call, for a comparison of their whole order.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "log_notation.h"

using Effects = std::vector<std::string>;

// All effects; of the log lines, which LogAsEffects() makes effects, only those that a named source file wrote.
inline Effects EffectsWithLogOf(const std::vector<std::string>& files) {
  std::set<std::string> wanted;
  for (const fake_platform::LogLine& line : fake_platform::Log()) {
    for (const std::string& file : files) {
      if (line.prefix.rfind("NuvClient " + file + ":", 0) != 0) continue;
      wanted.insert("log " + LogText(line));
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

inline std::string LogEffect(char kind, const std::string& text) {
  return std::string("log ") + kind + " " + text;
}

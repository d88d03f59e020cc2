// How tests write a log line: "I text" (info), "W text" (warning), "E text" (error) or "S text" (info, system log
// buffer), with a coloured text as Red("text"), Green("text") or Yellow("text").
#pragma once

#include <nuv_platform/platform_log.h>

#include <string>

#include "fake_platform.h"

constexpr const char* kEndOfColour = "\033[0;m";

inline std::string Red(const std::string& text) {
  return "\033[0;31m" + text + kEndOfColour;
}
inline std::string Green(const std::string& text) {
  return "\033[0;32m" + text + kEndOfColour;
}
inline std::string Yellow(const std::string& text) {
  return "\033[0;33m" + text + kEndOfColour;
}
// The beginning of a coloured text that goes on.
inline std::string OpenEnded(const std::string& coloured) {
  return coloured.substr(0, coloured.rfind(kEndOfColour));
}

inline char KindOf(const fake_platform::LogLine& line) {
  if (line.buffer == NUV_LOG_BUFFER_SYSTEM) return line.priority == NUV_LOG_PRIORITY_INFO ? 'S' : '?';
  if (line.buffer != NUV_LOG_BUFFER_MAIN) return '?';
  switch (line.priority) {
    case NUV_LOG_PRIORITY_INFO:
      return 'I';
    case NUV_LOG_PRIORITY_WARNING:
      return 'W';
    case NUV_LOG_PRIORITY_ERROR:
      return 'E';
    default:
      return '?';
  }
}

inline std::string LogText(const fake_platform::LogLine& line) {
  return KindOf(line) + (" " + line.text);
}

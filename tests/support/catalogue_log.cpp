#include "catalogue_log.h"

#include <nuv_platform/platform_log.h>

#include "fake_platform.h"

namespace {

char KindOf(const fake_platform::LogLine& line) {
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

constexpr int kTries = 50;

}  // namespace

std::string Coloured(const char* colour, const std::string& text) {
  return colour + text + "\033[0;m";
}

LogLines LogOf(const std::function<void()>& call) {
  fake_platform::Clear();
  call();
  LogLines lines;
  for (const auto& line : fake_platform::Log()) lines.push_back(KindOf(line) + (" " + line.text));
  return lines;
}

LogLines Join(std::initializer_list<LogLines> parts) {
  LogLines whole;
  for (const LogLines& part : parts) whole.insert(whole.end(), part.begin(), part.end());
  return whole;
}

LogLines Times(int count, const LogLines& lines) {
  LogLines whole;
  for (int i = 0; i < count; ++i) whole.insert(whole.end(), lines.begin(), lines.end());
  return whole;
}

LogLines GuardLines() {
  return {"S " + Coloured(kGreen, "CkeckIsFactoryReset"), "I " + Coloured(kGreen, "CheckPkgmgrRecovering end"),
          "S " + Coloured(kGreen, "CheckPkgmgrRecovering"), "I " + Coloured(kGreen, "CheckPkgmgrRecovering false")};
}

LogLines OpenedLines(const std::string& path) {
  return {"I Connecting to DB start: " + path, "I Connected to DB"};
}

LogLines ConnectedLines(const std::string& path) {
  return {"I Connecting to DB start: " + path, "I Data base already connected"};
}

LogLines PreparedLine(int result) {
  return {"S " + Coloured(kGreen, "End,ret = " + std::to_string(result))};
}

LogLines PrepareLines(const std::string& path) {
  return Join({ConnectedLines(path), PreparedLine(0)});
}

LogLines RowLines() {
  return {"I Step start ", "I SQLITE_ROW : has another row ready"};
}

LogLines DoneLines() {
  return {"I Step start ", "I SQLITE_DONE : has finished executing", "I finalize g_pStmt"};
}

LogLines BusyPrepareLines() {
  return Join({Times(kTries - 1, {"I prepare return SQLITE_BUSY", "I " + Coloured(kYellow, "retry prepare")}),
               {"I prepare return SQLITE_BUSY", "I prepare retry is up to MAX_RETRY_COUNT"}});
}

LogLines BusyStepLines() {
  return Join({{"I Step start "},
               Times(kTries - 1, {"I step return SQLITE_BUSY", "I " + Coloured(kYellow, "retry step")}),
               {"I step return SQLITE_BUSY", "I step retry is up to MAX_RETRY_COUNT", "I finalize g_pStmt"}});
}

LogLines FailedStepLines(int code, const std::string& message) {
  return {"I Step start ", "I unknown type " + std::to_string(code), "E " + Coloured(kRed, "SQLite: " + message),
          "I finalize g_pStmt"};
}

#include "catalogue_log.h"

#include "fake_platform.h"

namespace {

constexpr int kTries = 50;

}  // namespace

LogLines LogOf(const std::function<void()>& call) {
  fake_platform::Clear();
  call();
  LogLines lines;
  for (const auto& line : fake_platform::Log()) lines.push_back(LogText(line));
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
  return {"S " + Green("CkeckIsFactoryReset"), "I " + Green("CheckPkgmgrRecovering end"),
          "S " + Green("CheckPkgmgrRecovering"), "I " + Green("CheckPkgmgrRecovering false")};
}

LogLines OpenedLines(const std::string& path) {
  return {"I Connecting to DB start: " + path, "I Connected to DB"};
}

LogLines ConnectedLines(const std::string& path) {
  return {"I Connecting to DB start: " + path, "I Data base already connected"};
}

LogLines PreparedLine(int result) {
  return {"S " + Green("End,ret = " + std::to_string(result))};
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
  return Join({Times(kTries - 1, {"I prepare return SQLITE_BUSY", "I " + Yellow("retry prepare")}),
               {"I prepare return SQLITE_BUSY", "I prepare retry is up to MAX_RETRY_COUNT"}});
}

LogLines BusyStepLines() {
  return Join({{"I Step start "},
               Times(kTries - 1, {"I step return SQLITE_BUSY", "I " + Yellow("retry step")}),
               {"I step return SQLITE_BUSY", "I step retry is up to MAX_RETRY_COUNT", "I finalize g_pStmt"}});
}

LogLines FailedStepLines(int code, const std::string& message) {
  return {"I Step start ", "I unknown type " + std::to_string(code), "E " + Red("SQLite: " + message),
          "I finalize g_pStmt"};
}

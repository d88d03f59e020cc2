// The inner side of the application database under test: a real file, and what its tests look at.
#pragma once

#include <nuv/nuv_inner_database.h>
#include <nuv_common/nuv_lock.h>

#include <atomic>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "database_test.h"
#include "held_mutex.h"
#include "nuv_inner_db_api/nuv_db_connection.h"
#include "private_bus.h"
#include "recording_service.h"

using Lines = std::vector<std::string>;

inline std::string Red(const std::string& text) {
  return "\033[0;31m" + text + "\033[0;m";
}
inline std::string Yellow(const std::string& text) {
  return "\033[0;33m" + text + "\033[0;m";
}
inline std::string Green(const std::string& text) {
  return "\033[0;32m" + text + "\033[0;m";
}

inline Lines Join(std::initializer_list<Lines> parts) {
  Lines whole;
  for (const Lines& part : parts) whole.insert(whole.end(), part.begin(), part.end());
  return whole;
}

inline Lines Times(int count, const Lines& lines) {
  Lines whole;
  for (int i = 0; i < count; ++i) whole.insert(whole.end(), lines.begin(), lines.end());
  return whole;
}

// The library's log since it was last cleared: "6 text"; a line outside the main buffer shows that, too. What the link
// to the service logs about itself is left out.
inline Lines LogLines() {
  Lines lines;
  for (const fake_platform::LogLine& line : fake_platform::Log()) {
    const std::string file = line.prefix.substr(0, line.prefix.find(':'));
    if (file == "NuvClient nuv_proxy.cpp" || file == "NuvClient nuv_bus_call.cpp" ||
        file == "NuvClient nuv_listener.cpp") {
      continue;
    }
    lines.push_back((line.buffer == 0 ? "" : "buffer " + std::to_string(line.buffer) + " ") +
                    std::to_string(line.priority) + " " + line.text);
  }
  return lines;
}

// Lines that the parts of a statement's cycle log.
inline const Lines kConnected = {"4 Connected to DB"};
inline const Lines kAlreadyConnected = {"4 Data base already connected"};
inline const Lines kPrepared = {"6 " + Yellow("End,ret = 0")};
inline const Lines kRow = {"4 Step start ", "4 SQLITE_ROW : has another row ready"};
inline const Lines kDone = {"4 Step start ", "4 SQLITE_DONE : has finished executing", "4 finalize g_pStmt_Inner"};
inline const Lines kRecovering = {"6 " + Red("Pkgmgr is recovering")};
inline const Lines kFailedToPrepare = {"6 " + Red("Failed to prepare")};
inline const Lines kStepBusy =
    Join({{"4 Step start "},
          Times(49, {"4 step return SQLITE_BUSY", "4 " + Yellow("retry step")}),
          {"4 step return SQLITE_BUSY", "4 step retry is up to MAX_RETRY_COUNT", "4 finalize g_pStmt_Inner"}});
inline const Lines kPrepareBusy =
    Join({Times(49, {"4 prepare return SQLITE_BUSY", "4 " + Yellow("retry prepare")}),
          {"4 prepare return SQLITE_BUSY", "4 prepare retry is up to MAX_RETRY_COUNT", "6 " + Yellow("End,ret = -2")}});

inline std::string CannotOpen(const std::string& path) {
  return "6 " + Red("cannot open " + path + ": unable to open database file");
}

// A step, or a prepare, that stayed busy for all its tries.
inline const std::deque<int> kBusyForGood(50, SQLITE_BUSY);
inline const std::vector<std::string> kAllSleeps(49, "sleep 1");

constexpr int kFlagsReadOnly = 0x48001;
constexpr int kFlagsReadWrite = 0x48002;

// A statement with its "?" replaced by the values, which are separated by blanks.
inline std::string Fill(std::string statement, const std::string& values) {
  std::istringstream rest(values);
  for (std::string value; rest >> value;) statement.replace(statement.find('?'), 1, value);
  return statement;
}

class InnerTest : public DatabaseTest {
 protected:
  // Flags of the library's openings, in their order.
  static std::vector<int> Flags() {
    std::vector<int> flags;
    for (const auto& opening : sqlite_faults::Openings()) flags.push_back(opening.flags);
    return flags;
  }

  // The inner connection as SQLite has it.
  static std::string Mode() {
    if (g_pConnection_Inner == nullptr) return "closed";
    return sqlite3_db_readonly(g_pConnection_Inner, "main") == 1 ? "read-only" : "read-write";
  }

  static void Forget() {
    fake_platform::Clear();
    sqlite_faults::Forget();
  }
};

// The same with a service on a private bus.
class InnerBusTest : public InnerTest {
 protected:
  void StartService() {
    service_ = std::make_unique<RecordingService>(bus_.address());
    for (const char* method : {"nuv_update_app_count", "nuv_update_app_version", "nuv_update_app_by_key"}) {
      service_->AnswerTo(method, {RecordingService::Answer::kReply, "(0,)"});
    }
  }

  // The link is up; effects, calls and openings so far are forgotten.
  void WarmUp() {
    StartService();
    ASSERT_EQ(0, nuv_dbus_nuv_command(0, "", "", ""));
    ASSERT_TRUE(fake_platform::WaitForOwnName());
    service_->Forget();
    Forget();
  }

  PrivateBus bus_;
  std::unique_ptr<RecordingService> service_;
};

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

#include "catalogue_log.h"
#include "database_test.h"
#include "exported_functions.h"
#include "held_mutex.h"
#include "nuv_inner_db_api/nuv_db_connection.h"
#include "private_bus.h"
#include "recording_service.h"

// The library's log since it was last cleared. What the link to the service logs about itself is left out.
inline LogLines LogSoFar() {
  LogLines lines;
  for (const fake_platform::LogLine& line : fake_platform::Log()) {
    const std::string file = line.prefix.substr(0, line.prefix.find(':'));
    if (file == "NuvClient nuv_proxy.cpp" || file == "NuvClient nuv_bus_call.cpp" ||
        file == "NuvClient nuv_listener.cpp") {
      continue;
    }
    lines.push_back(LogText(line));
  }
  return lines;
}

// Lines that the parts of a statement's cycle log.
inline const LogLines kConnected = {"I Connected to DB"};
inline const LogLines kAlreadyConnected = {"I Data base already connected"};
inline const LogLines kPrepared = {"E " + Yellow("End,ret = 0")};
inline const LogLines kRow = {"I Step start ", "I SQLITE_ROW : has another row ready"};
inline const LogLines kDone = {"I Step start ", "I SQLITE_DONE : has finished executing", "I finalize g_pStmt_Inner"};
inline const LogLines kRecovering = {"E " + Red("Pkgmgr is recovering")};
inline const LogLines kFailedToPrepare = {"E " + Red("Failed to prepare")};
inline const LogLines kStepBusy =
    Join({{"I Step start "},
          Times(49, {"I step return SQLITE_BUSY", "I " + Yellow("retry step")}),
          {"I step return SQLITE_BUSY", "I step retry is up to MAX_RETRY_COUNT", "I finalize g_pStmt_Inner"}});
inline const LogLines kPrepareBusy =
    Join({Times(49, {"I prepare return SQLITE_BUSY", "I " + Yellow("retry prepare")}),
          {"I prepare return SQLITE_BUSY", "I prepare retry is up to MAX_RETRY_COUNT", "E " + Yellow("End,ret = -2")}});

inline std::string CannotOpen(const std::string& path) {
  return "E " + Red("cannot open " + path + ": unable to open database file");
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

// Whether another thread could take its turn at the connection now.
inline bool TurnIsFree() {
  bool free = false;
  std::thread([&free] {
    free = innerSide.turn.try_lock();
    if (free) innerSide.turn.unlock();
  }).join();
  return free;
}

// Whether the calling thread, in a function that has taken the turn, would still hold the turn after that function.
inline bool TurnGoesOn() {
  pthread_mutex_t& turn = innerSide.turn;
  if (pthread_mutex_unlock(&turn) != 0) return false;
  const bool goes_on = !TurnIsFree();
  pthread_mutex_lock(&turn);
  return goes_on;
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

  // What holds when the call logs the line, once for each time that it does.
  static std::vector<bool> AtLine(const std::string& text, bool (*holds)(), const std::function<void()>& call) {
    std::vector<bool> answers;
    fake_platform::OnLogLine([&] {
      if (LogText(fake_platform::Log().back()) == text) answers.push_back(holds());
    });
    call();
    fake_platform::OnLogLine(nullptr);
    return answers;
  }
};

// The same with a service on a private bus.
class InnerBusTest : public InnerTest {
 protected:
  void StartService() {
    service_ = std::make_unique<RecordingService>(bus_.address());
    AnswerChangesWith(*service_, "(0,)");
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

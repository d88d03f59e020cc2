// The fixture of tests that disturb every exported function in turn, and look at what comes of it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "fake_platform.h"
#include "left_behind.h"
#include "log_notation.h"
#include "nuv_db_api/nuv_db_statement.h"
#include "nuv_inner_db_api/nuv_db_connection.h"
#include "nuv_launcher_api/nuv_launch_callbacks.h"
#include "sqlite_faults.h"
#include "world.h"

struct Outcome {
  std::optional<int> result;  // nothing: std::bad_alloc
  std::string handed_out;
  std::vector<std::string> asked;     // of the service
  std::vector<std::string> executed;  // by SQLite; may be less where the service is asked, too

  bool operator==(const Outcome& other) const {
    return result == other.result && handed_out == other.handed_out && asked == other.asked;
  }
  bool operator!=(const Outcome& other) const { return !(*this == other); }
};

inline std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  out << (outcome.result ? std::to_string(*outcome.result) : "std::bad_alloc") << " and what has the hash "
      << std::hash<std::string>()(outcome.handed_out);
  for (const std::string& asked : outcome.asked) out << ", asked " << asked;
  return out;
}

// Whether each lending of the CPU priority, and each trace, was ended. Where an exception has left a launch, one
// lending may last.
inline bool Balanced(const std::vector<std::string>& effects, bool exception) {
  int lent = 0;
  int traces = 0;
  for (const std::string& effect : effects) {
    if (effect.rfind("cpu set", 0) == 0) ++lent;
    if (effect.rfind("cpu clear", 0) == 0) --lent;
    if (effect.rfind("trace_begin", 0) == 0) ++traces;
    if (effect.rfind("trace_end", 0) == 0) --traces;
  }
  return (lent == 0 || (exception && lent == 1)) && traces == 0;
}

class ExportedCallsTest : public ::testing::Test {
 protected:
  // Puts both sides into their state before the process's first query.
  static void CloseDatabases() {
    EXPECT_EQ(SQLITE_OK, sqlite3_close(g_pConnection));
    EXPECT_EQ(SQLITE_OK, sqlite3_close(g_pConnection_Inner));
    g_pConnection = nullptr;
    g_pConnection_Inner = nullptr;
    g_db_type = kReadWrite;
  }

  // Makes the call through disturbed(body): the body is the call and nothing else.
  template <typename Disturbed>
  Outcome Run(const ExportedCall& call, Disturbed disturbed) {
    world_.Renew();
    if (cold_) CloseDatabases();
    if (call.before != nullptr) call.before(world_.service());
    fake_platform::Clear();
    sqlite_faults::Forget();
    Outcome outcome;
    first_event_ = TakeLaunchEvent();
    try {
      disturbed([&] { outcome.result = call.call(*world_.arguments); });
    } catch (const std::bad_alloc&) {
    }
    if (outcome.result != 0) ExpectNoCallbackKept();
    exception_ = !outcome.result;
    outcome.handed_out = world_.HandedOut();
    outcome.asked = world_.Asked();
    outcome.executed = sqlite_faults::Executed();
    return outcome;
  }
  Outcome RunUndisturbed(const ExportedCall& call) {
    return Run(call, [](const auto& body) { body(); });
  }

  // A request that was not accepted has no result, and its callback is forgotten.
  void ExpectNoCallbackKept() const {
    const int32_t end = TakeLaunchEvent();
    for (int32_t event = first_event_; event < end; ++event) EXPECT_EQ(0u, FindLaunchCallback(event).callback);
  }

  // A change that cannot be asked of the service is made in the database. A call that has but the database to ask has
  // not succeeded where it did not.
  static bool HasSucceeded(const ExportedCall& call, const Outcome& outcome, const Outcome& success) {
    if (!call.Needs(kLauncherLink | kInnerLink) && outcome.executed != success.executed) return false;
    Outcome locally = success;
    if (call.Needs(kInnerLink) && call.Needs(kInnerSide)) locally.asked.clear();
    return outcome == success || outcome == locally;
  }

  static bool HasFailed(const ExportedCall& call, const Outcome& outcome) {
    if (!outcome.result) return call.Throws();
    if (*outcome.result == call.results.failure) return true;
    // "No" is the answer, too, where the database could not be asked, and the log says so.
    const bool says_so = *outcome.result != 0 || !outcome.executed.empty() || LogsAnError();
    return *outcome.result == call.results.other_failure && says_so;
  }

  static bool LogsAnError() {
    const std::vector<fake_platform::LogLine> log = fake_platform::Log();
    return std::any_of(log.begin(), log.end(), [](const auto& line) { return LogText(line).rfind("E ", 0) == 0; });
  }

  // What a call left behind. Where each call is to open the databases anew, their connections do not count.
  std::vector<std::string> Left(const LeftBehind& before) {
    EXPECT_EQ(0, sqlite_faults::LiveStatements());
    EXPECT_TRUE(Balanced(fake_platform::Effects(), exception_));
    if (cold_) CloseDatabases();
    return before.Now();
  }

  World world_;
  bool cold_ = false;
  bool exception_ = false;  // of the last call
  int32_t first_event_ = 0;
  int failed_ = 0;  // calls or requests that were let fail
};

// Every function, with every call of SQLite, of GIO and of the system that it makes, and that can fail, failing in
// turn.
#include <gio/gio.h>
#include <nuv/nuv_service_api.h>

#include <algorithm>
#include <numeric>
#include <set>

#include "exported_calls_test.h"
#include "faults.h"
#include "nuv_launcher_api/nuv_launcher_client.h"

namespace {

// SQLite's primary result codes but 0, and some extended ones, which are codes of their own for the library.
std::vector<int> Codes() {
  std::vector<int> codes(28);
  std::iota(codes.begin(), codes.end(), 1);
  codes.insert(codes.end(), {SQLITE_ROW, SQLITE_DONE, SQLITE_IOERR_READ, SQLITE_IOERR_SHORT_READ, SQLITE_CANTOPEN_ISDIR,
                             SQLITE_BUSY_RECOVERY, SQLITE_BUSY_SNAPSHOT, SQLITE_LOCKED_SHAREDCACHE,
                             SQLITE_READONLY_DBMOVED, SQLITE_CORRUPT_INDEX});
  return codes;
}

// The undisturbed walk over the running applications ends with -1, too.
bool FailsAnyhow(const ExportedCall& call, const Outcome& success) {
  return success.result < 0 && std::string(call.function) != "nuv_get_running_appIter_func";
}

class DatabaseCallFailure : public ExportedCallsTest {
 protected:
  // Makes the call with the nth call of SQLite's function giving the code; nothing where there are fewer of them.
  std::optional<Outcome> RunFailing(const ExportedCall& call, std::deque<int>& codes, size_t nth, int code) {
    const Outcome outcome = Run(call, [&](const auto& body) {
      codes.assign(nth, 0);
      codes.back() = code;
      body();
    });
    const bool reached = codes.empty();
    codes.clear();
    return reached ? std::optional<Outcome>(outcome) : std::nullopt;
  }

  // check(call, success, outcome, nth, code) looks at each outcome. The number of the calls that were disturbed.
  template <typename Check>
  size_t FailEach(std::deque<int>& codes, Check check) {
    std::set<std::string> disturbed;
    for (const ExportedCall& call : ExportedCalls()) {
      if (!call.Needs(kReadSide | kInnerSide)) continue;
      SCOPED_TRACE(NameOf(call));
      const Outcome success = RunUndisturbed(call);
      if (cold_) CloseDatabases();
      const LeftBehind before;
      bool reached = true;
      for (size_t nth = 1; reached; ++nth) {
        for (const int code : Codes()) {
          SCOPED_TRACE("code " + std::to_string(code) + " of call " + std::to_string(nth));
          const auto outcome = RunFailing(call, codes, nth, code);
          reached = outcome.has_value();
          if (!reached) break;
          ++failed_;
          disturbed.insert(call.function);
          check(call, success, *outcome, nth, code);
          EXPECT_EQ(std::vector<std::string>{}, Left(before));
        }
        EXPECT_EQ(success, RunUndisturbed(call));
      }
    }
    RecordProperty("failed_calls", failed_);
    return disturbed.size();
  }

  // Calls whose success does not need the database: a change that the service makes, and what fails anyhow.
  static bool CanDoWithout(const ExportedCall& call, const Outcome& success) {
    return FailsAnyhow(call, success) || std::string(call.what) == "that the service makes";
  }

  // Calls for which a row that cannot be read is none, but a statement that cannot be made is a failure.
  static bool LeavesRowsOut(const ExportedCall& call) {
    const std::set<std::string> functions = {"GetNUVAppList", "nuv_inner_check_most_used_app",
                                             "nuv_inner_check_recently_used_app"};
    return functions.count(call.function) != 0;
  }

  static void ExpectFailure(const ExportedCall& call, const Outcome& success, const Outcome& outcome) {
    if (CanDoWithout(call, success)) {
      EXPECT_EQ(success.result, outcome.result);
    } else {
      EXPECT_TRUE(HasFailed(call, outcome)) << outcome << " instead of " << success;
      EXPECT_NE(success, outcome);
    }
  }
};

TEST_F(DatabaseCallFailure, AnyCodeOfAnOpeningGivesTheDocumentedResult) {
  cold_ = true;
  const size_t functions = FailEach(sqlite_faults::open_codes, [](const ExportedCall& call, const Outcome& success,
                                                                  const Outcome& outcome, size_t nth, int) {
    // What comes next may open the database after all: another lookup, or the switch to writing.
    const bool opens_again = std::string(call.function).find("showing") != std::string::npos ||
                             std::string(call.what) == "that is made locally";
    if (nth == 1 && !opens_again) {
      ExpectFailure(call, success, outcome);
    }
  });
  EXPECT_EQ(45u, functions);
}

TEST_F(DatabaseCallFailure, AnyCodeOfAPrepareGivesTheDocumentedResult) {
  const size_t functions = FailEach(sqlite_faults::prepare_codes, [](const ExportedCall& call, const Outcome& success,
                                                                     const Outcome& outcome, size_t, int code) {
    if (code == SQLITE_BUSY) {
      EXPECT_EQ(success, outcome) << "the second try succeeds";
    } else {
      ExpectFailure(call, success, outcome);
      if (LeavesRowsOut(call)) {
        EXPECT_EQ(-1, outcome.result);
      }
    }
  });
  EXPECT_EQ(45u, functions);
}

// Once a row was read, what follows it counts for less: the record stands, a list is complete as far as it was read.
TEST_F(DatabaseCallFailure, AnyCodeOfAStepGivesTheDocumentedResult) {
  const size_t functions = FailEach(sqlite_faults::step_codes, [](const ExportedCall& call, const Outcome& success,
                                                                  const Outcome& outcome, size_t nth, int code) {
    if (code == SQLITE_BUSY) {
      EXPECT_EQ(success, outcome) << "the second try succeeds";
    } else if (nth == 1 && code != SQLITE_ROW && code != SQLITE_DONE) {
      ExpectFailure(call, success, outcome);
    } else {
      EXPECT_TRUE(outcome.result == 0 || outcome.result == success.result || HasFailed(call, outcome)) << outcome;
    }
  });
  EXPECT_EQ(45u, functions);
}

std::vector<faults::Fault> Errors(const char* function) {
  std::vector<faults::Fault> errors;
  for (int code = G_DBUS_ERROR_FAILED; code <= G_DBUS_ERROR_PROPERTY_READ_ONLY; ++code) {
    errors.push_back({function, 1, G_DBUS_ERROR, code});
  }
  for (const int code : {G_IO_ERROR_FAILED, G_IO_ERROR_CLOSED, G_IO_ERROR_CANCELLED, G_IO_ERROR_NO_SPACE,
                         G_IO_ERROR_TIMED_OUT, G_IO_ERROR_CONNECTION_REFUSED, G_IO_ERROR_DBUS_ERROR}) {
    errors.push_back({function, 1, static_cast<unsigned>(G_IO_ERROR), code});
  }
  return errors;
}

class BusCallFailure : public ExportedCallsTest {
 protected:
  void TearDown() override { RecordProperty("failed_calls", failed_); }
  // Makes the call under the fault; nothing where the call that is to fail is not made.
  std::optional<Outcome> RunUnder(const ExportedCall& call, const faults::Fault& fault) {
    bool reached = false;
    const Outcome outcome = Run(call, [&](const auto& body) {
      faults::Plan(fault);
      body();
      reached = faults::TakePlanned();
    });
    if (reached) ++failed_;
    return reached ? std::optional<Outcome>(outcome) : std::nullopt;
  }

  static bool Has(const std::vector<std::string>& effects, const std::string& part) {
    return std::any_of(effects.begin(), effects.end(),
                       [&](const std::string& effect) { return effect.find(part) != std::string::npos; });
  }
  // What is changed on the inner side is then written there, and a command is not waited for.
  static bool CanDoWithout(const ExportedCall& call, const Outcome& success) {
    return FailsAnyhow(call, success) || call.DoesWithoutService();
  }

  void GiveLinkBack() { get_launcher_proxy()->GiveProxy(); }
};

TEST_F(BusCallFailure, AnyErrorOfACallGivesTheDocumentedResult) {
  std::set<std::string> functions;
  for (const ExportedCall& call : ExportedCalls()) {
    if (!call.Needs(kLauncherLink | kInnerLink)) continue;
    SCOPED_TRACE(NameOf(call));
    const Outcome success = RunUndisturbed(call);
    const LeftBehind before;
    for (const faults::Fault& fault : Errors("g_dbus_connection_call_sync")) {
      SCOPED_TRACE("error " + std::to_string(fault.code));
      const auto outcome = RunUnder(call, fault);
      if (!outcome) break;
      functions.insert(call.function);
      if (CanDoWithout(call, success)) {
        EXPECT_EQ(success.result, outcome->result);
      } else {
        EXPECT_TRUE(HasFailed(call, *outcome)) << *outcome;
      }
      if (call.IsLaunch()) {
        EXPECT_EQ(1, world_.failures_told);
        EXPECT_TRUE(Has(fake_platform::Effects(), "launch_fail=org.kelvo.application.number.one:103"));
      }
      EXPECT_EQ(std::vector<std::string>{}, Left(before));
    }
    EXPECT_EQ(success, RunUndisturbed(call));
  }
  EXPECT_EQ(38u, functions.size());
}

TEST_F(BusCallFailure, AnyErrorOfAProbeLeavesALinkUsable) {
  const LeftBehind before;
  for (const ExportedCall& call : ExportedCalls()) {
    if (!call.Needs(kLauncherLink)) continue;
    SCOPED_TRACE(NameOf(call));
    const Outcome success = RunUndisturbed(call);
    for (const faults::Fault& fault :
         {faults::Fault{"heartbeat", 1, G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN},
          faults::Fault{"heartbeat", 1, static_cast<unsigned>(G_IO_ERROR), G_IO_ERROR_TIMED_OUT}}) {
      GiveLinkBack();
      RunUndisturbed(call);  // makes the link
      const auto outcome = RunUnder(call, fault);
      if (!outcome) break;
      EXPECT_EQ(success, *outcome);
      EXPECT_EQ(success, RunUndisturbed(call));
    }
  }
}

TEST_F(BusCallFailure, OfTheMakingOfALinkGivesTheDocumentedResult) {
  const auto io_error = static_cast<unsigned>(G_IO_ERROR);
  const std::vector<faults::Fault> faults = {
      {"g_bus_get_sync", 1, io_error, G_IO_ERROR_CONNECTION_REFUSED},
      {"g_bus_get_sync", 1, io_error, G_IO_ERROR_NOT_FOUND},
      {"g_bus_get_sync", 1, G_DBUS_ERROR, G_DBUS_ERROR_NO_SERVER},
      {"g_bus_get_sync", 1, G_DBUS_ERROR, G_DBUS_ERROR_LIMITS_EXCEEDED},
      {"g_bus_get_sync", 1, 0, 0},
      {"pthread_create", 1, 0, EAGAIN},
      {"pthread_create", 1, 0, EPERM},
      {"pthread_create", 1, 0, ENOMEM},
  };
  std::set<std::string> functions;
  for (const ExportedCall& call : ExportedCalls()) {
    if (!call.Needs(kLauncherLink)) continue;
    SCOPED_TRACE(NameOf(call));
    const Outcome success = RunUndisturbed(call);
    GiveLinkBack();
    const LeftBehind before;
    for (const faults::Fault& fault : faults) {
      SCOPED_TRACE(std::string(fault.function) + " " + std::to_string(fault.code));
      const auto outcome = RunUnder(call, fault);
      ASSERT_TRUE(outcome) << "not called";
      functions.insert(call.function);
      EXPECT_EQ(-1, outcome->result);
      if (call.IsLaunch()) {
        EXPECT_EQ(0, world_.failures_told);
        EXPECT_TRUE(Has(fake_platform::Effects(), "launch_fail=org.kelvo.application.number.one:102"));
      }
      EXPECT_EQ(std::vector<std::string>{}, Left(before));
    }
    EXPECT_EQ(success, RunUndisturbed(call));
  }
  EXPECT_EQ(31u, functions.size());
}

class LostLinkCallFailure : public BusCallFailure {
 protected:
  void FailEachOf(const ExportedCall& call) {
    const auto io_error = static_cast<unsigned>(G_IO_ERROR);
    const Outcome success = RunUndisturbed(call);
    for (const faults::Fault& fault :
         {faults::Fault{"g_bus_get_sync", 1, io_error, G_IO_ERROR_CONNECTION_REFUSED},
          faults::Fault{"g_dbus_address_get_for_bus_sync", 1, io_error, G_IO_ERROR_INVALID_ARGUMENT},
          faults::Fault{"g_dbus_connection_new_for_address_sync", 1, io_error, G_IO_ERROR_CONNECTION_REFUSED},
          faults::Fault{"g_dbus_connection_new_for_address_sync", 1, 0, 0},
          faults::Fault{"pthread_create", 1, 0, EAGAIN}}) {
      SCOPED_TRACE(fault.function);
      world_.LoseBus();
      const auto outcome = RunUnder(call, fault);
      ASSERT_TRUE(outcome) << "not called";
      EXPECT_EQ(-1, outcome->result);
      EXPECT_EQ(success, RunUndisturbed(call));
      EXPECT_EQ(std::vector<std::string>{}, LeftBehind().Now());  // locks
    }
  }
};

TEST_F(LostLinkCallFailure, OfTheLauncherGivesTheDocumentedResult) {
  FailEachOf(CallOf("nuv_launch_systempopup_client"));
}

TEST_F(LostLinkCallFailure, OfTheInnerSideGivesTheDocumentedResult) {
  FailEachOf(CallOf("nuv_dbus_update_app_count"));
}

// A link whose listener cannot serve its object carries calls, but no results.
TEST_F(BusCallFailure, OnTheListenerLeavesALinkUsable) {
  const ExportedCall& call = CallOf("nuv_launch_systempopup_client");
  faults::condition_waits_are_short = true;
  const Outcome success = RunUndisturbed(call);
  GiveLinkBack();
  const LeftBehind before;
  for (const faults::Fault& fault :
       {faults::Fault{"g_dbus_node_info_new_for_xml", 1, 0, 0},
        faults::Fault{"g_dbus_node_info_new_for_xml", 1, static_cast<unsigned>(G_MARKUP_ERROR), G_MARKUP_ERROR_PARSE},
        faults::Fault{"g_dbus_connection_register_object", 1, 0, 0},
        faults::Fault{"g_dbus_connection_register_object", 1, static_cast<unsigned>(G_IO_ERROR), G_IO_ERROR_EXISTS}}) {
    SCOPED_TRACE(fault.function);
    Run(call, [&](const auto& body) {
      faults::Plan(fault);
      body();
    });
    EXPECT_EQ(success, RunUndisturbed(call));
    GiveLinkBack();  // joins the listener
    EXPECT_TRUE(faults::TakePlanned()) << "not called";
    EXPECT_EQ(std::vector<std::string>{}, Left(before));
  }
}

TEST_F(BusCallFailure, OfTheEndOfAListenerIsOnlyLogged) {
  const ExportedCall& call = CallOf("nuv_launch_systempopup_client");
  const Outcome success = RunUndisturbed(call);
  faults::Plan({"pthread_join", 1, 0, ESRCH});
  GiveLinkBack();
  EXPECT_TRUE(faults::TakePlanned());
  EXPECT_TRUE(fake_platform::Logged("failed to pthread_join"));
  EXPECT_EQ(success, RunUndisturbed(call));
}

TEST_F(BusCallFailure, OfTheLookAtTheProcessesNameLeavesALinkUsable) {
  for (const int code : {ENOENT, EACCES, ENOMEM}) {
    faults::Plan({"readlink", 1, 0, code});
    EXPECT_EQ("", getProcessName());
    EXPECT_TRUE(faults::TakePlanned());
  }
  const ExportedCall& call = CallOf("nuv_launch_systempopup_client");
  const auto outcome = RunUnder(call, {"readlink", 1, 0, EACCES});
  ASSERT_TRUE(outcome) << "not called";
  EXPECT_EQ(0, outcome->result);
}

}  // namespace

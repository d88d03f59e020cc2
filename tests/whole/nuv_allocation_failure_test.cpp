// Every function, with every request of memory failing in turn: the library's own (new, malloc(), calloc(), strdup())
// and SQLite's.
//
// GLib's requests are left out: g_malloc() and everything made with it end the process when there is no memory, by
// GLib's design. In the library these are the calls that make a GVariant (g_variant_new_*), a connection, a main
// context or loop, a source, an owner of a name, a registered object or a parsed interface, and whatever GIO does
// within g_bus_get_sync(), g_dbus_connection_new_for_address_sync() and g_dbus_connection_call_sync().
#include <nuv/nuv_launcher_api.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <set>

#include "exported_calls_test.h"
#include "faults.h"
#include "hosts_connection.h"
#include "log_notation.h"
#include "memory_faults.h"
#include "nuv_launcher_api/nuv_launcher_client.h"

namespace {

using memory_faults::FailNth;

class AllocationFailure : public ExportedCallsTest {
 protected:
  Outcome RunFailing(const ExportedCall& call, long nth, FailNth::Extent extent) {
    return Run(call, [&](const auto& body) {
      const FailNth failing(nth, extent);
      body();
    });
  }

  // Requests of which every one fails alone. Of the others, of which SQLite makes hundreds, the runs in which all later
  // requests fail, too, and the undisturbed ones in between take samples.
  static constexpr long kFirst = 32;
  static constexpr long kSample = 8;

  // Lets every request of the call fail in turn.
  void FailEach(const ExportedCall& call, FailNth::Extent extent, const Outcome& success, const LeftBehind& before) {
    for (long nth = 1;; nth += extent == FailNth::kOnlyThat || nth < kFirst ? 1 : kSample, ++failed_) {
      const Outcome outcome = RunFailing(call, nth, extent);
      if (!FailNth::Reached()) return;
      if (!outcome.result) ++exceptions_;
      SCOPED_TRACE("request " + std::to_string(nth) + (extent == FailNth::kOnlyThat ? "" : " and all later ones"));
      EXPECT_TRUE(HasSucceeded(call, outcome, success) || HasFailed(call, outcome))
          << outcome << " instead of " << success;
      EXPECT_GE(1, world_.failures_told);
      if (outcome.result == -1) {
        EXPECT_TRUE(world_.arguments->HandedOutNoBlock());
      }
      EXPECT_EQ(std::vector<std::string>{}, Left(before));
      if (nth <= kFirst || nth % kSample == 0) {
        EXPECT_EQ(success, RunUndisturbed(call));
      }
    }
  }

  void FailEachOf(const std::function<bool(const ExportedCall&)>& wanted) {
    for (const ExportedCall& call : ExportedCalls()) {
      if (!wanted(call)) continue;
      SCOPED_TRACE(NameOf(call));
      const Outcome success = RunUndisturbed(call);
      if (cold_) CloseDatabases();
      const LeftBehind before;
      exceptions_ = 0;
      for (const auto extent : {FailNth::kOnlyThat, FailNth::kThatAndAllLater}) {
        FailEach(call, extent, success, before);
      }
      EXPECT_EQ(call.Throws(), exceptions_ != 0);
      EXPECT_EQ(success, RunUndisturbed(call));
    }
    RecordProperty("failed_requests", failed_);
  }

  int exceptions_ = 0;  // that passed the call under test
};

TEST_F(AllocationFailure, CoversEveryExportedFunction) {
  EXPECT_EQ(std::vector<std::string>{}, TableMistakes());
  EXPECT_EQ(76u, PlainCalls().size());
}

// A call that failed anyhow would show little.
TEST_F(AllocationFailure, EachCallSucceedsUndisturbed) {
  for (const ExportedCall& call : ExportedCalls()) {
    EXPECT_EQ(call.results.success, RunUndisturbed(call).result) << NameOf(call);
  }
}

TEST_F(AllocationFailure, WithoutDatabaseAndLinkGivesTheDocumentedResult) {
  FailEachOf([](const ExportedCall& call) { return call.needs == kNothing; });
}

TEST_F(AllocationFailure, OfTheReadSideGivesTheDocumentedResult) {
  FailEachOf([](const ExportedCall& call) { return call.needs == kReadSide; });
}

TEST_F(AllocationFailure, OfTheInnerSideGivesTheDocumentedResult) {
  FailEachOf([](const ExportedCall& call) { return call.needs == kInnerSide; });
}

// The opening, and the reading of the schema behind it, are the same for every call.
TEST_F(AllocationFailure, WhileADatabaseIsOpenedGivesTheDocumentedResult) {
  cold_ = true;
  const std::set<std::string> some = {"m_nuv_get_app_info", "GetAppsTableCount", "nuv_inner_db_init",
                                      "nuv_inner_get_appid_by_title", "nuv_inner_update_app_by_key_value"};
  FailEachOf([&](const ExportedCall& call) { return some.count(call.function) != 0; });
}

TEST_F(AllocationFailure, WhileARowIsCopiedComesBetweenTheLinesAroundIt) {
  const auto lines = [](const char* text) {
    const auto log = fake_platform::Log();
    return std::count_if(log.begin(), log.end(), [&](const auto& line) { return line.text == Green(text); });
  };
  const ExportedCall& call = CallOf("nuv_inner_get_all_app_list");
  RunUndisturbed(call);
  int copies = 0;
  for (long nth = 1;; ++nth) {
    RunFailing(call, nth, FailNth::kOnlyThat);
    if (!FailNth::Reached()) break;
    if (lines("begin to set app_info") == lines("set app_info success!") + 1) ++copies;
  }
  EXPECT_LT(0, copies);
}

TEST_F(AllocationFailure, OfTheLauncherLinkGivesTheDocumentedResult) {
  FailEachOf([](const ExportedCall& call) { return call.needs == kLauncherLink; });
}

// The same lookups as those of the read side, where each of SQLite's requests fails.
TEST_F(AllocationFailure, OfALookupBeforeALaunchGivesTheDocumentedResult) {
  memory_faults::CountOfSqliteEach(8);
  FailEachOf([](const ExportedCall& call) { return call.Needs(kLauncherLink) && call.Needs(kReadSide | kInnerSide); });
}

TEST_F(AllocationFailure, OfTheInnerLinkGivesTheDocumentedResult) {
  FailEachOf([](const ExportedCall& call) { return call.Needs(kInnerLink); });
}

class LinkAllocationFailure : public AllocationFailure {
 protected:
  static void GiveLinkBack() { get_launcher_proxy()->GiveProxy(); }

  const ExportedCall& popup_ = CallOf("nuv_launch_systempopup_client");
};

// Each try goes on where the one before it failed.
TEST_F(LinkAllocationFailure, WhileTheFirstLinkOfAProcessIsMadeGivesTheDocumentedResult) {
  for (const char* function : {"nuv_launch_systempopup_client", "nuv_dbus_update_app_count"}) {
    const ExportedCall& call = CallOf(function);
    long nth = 1;
    for (;; ++nth) {
      const Outcome outcome = RunFailing(call, nth, FailNth::kOnlyThat);
      if (!FailNth::Reached()) break;
      EXPECT_EQ(-1, outcome.result) << function << ", request " << nth;
    }
    EXPECT_LT(5, nth) << function;
    EXPECT_EQ(0, RunUndisturbed(call).result) << function;
  }
}

TEST_F(LinkAllocationFailure, WhileALinkIsMadeAnewGivesTheDocumentedResult) {
  const HostsConnection hosts;
  const Outcome success = RunUndisturbed(popup_);
  GiveLinkBack();
  ASSERT_TRUE(hosts.IsLetGo());
  const LeftBehind before;
  for (const auto extent : {FailNth::kOnlyThat, FailNth::kThatAndAllLater}) {
    long nth = 1;
    for (;; ++nth) {
      const Outcome outcome = RunFailing(popup_, nth, extent);
      if (!FailNth::Reached()) break;
      EXPECT_EQ(-1, outcome.result) << "request " << nth;
      EXPECT_EQ(success, RunUndisturbed(popup_)) << "request " << nth;
      GiveLinkBack();
      EXPECT_TRUE(hosts.IsLetGo()) << "request " << nth;
      EXPECT_EQ(std::vector<std::string>{}, Left(before)) << "request " << nth;
    }
    EXPECT_LT(1, nth);
    GiveLinkBack();
  }
}

// A lost bus: the ended listener is kept until it can be joined, and the connection is a private one.
TEST_F(LinkAllocationFailure, WhileALostLinkIsMadeAnewGivesTheDocumentedResult) {
  const Outcome success = RunUndisturbed(popup_);
  long nth = 1;
  for (;; ++nth) {
    world_.LoseBus();
    const Outcome outcome = RunFailing(popup_, nth, FailNth::kOnlyThat);
    const bool reached = FailNth::Reached();
    EXPECT_EQ(reached ? -1 : 0, outcome.result) << "request " << nth;
    EXPECT_EQ(success, RunUndisturbed(popup_)) << "request " << nth;
    if (!reached) break;
  }
  EXPECT_LT(2, nth);
}

// A listener that has ended is made again by the next call.
TEST_F(LinkAllocationFailure, OnTheListenerLeavesALinkThatCarriesCalls) {
  static std::atomic<long> nth{1};
  static std::atomic<bool> reached{true};
  const auto fail_in_thread = [] {
    // Lives as long as the thread, and tells at its end.
    static thread_local struct Failing {
      ~Failing() {
        if (FailNth::Reached()) reached = true;
      }
      FailNth fail{nth, FailNth::kOnlyThat};
    } in_this_thread;
  };
  faults::condition_waits_are_short = true;
  const HostsConnection hosts;
  const Outcome success = RunUndisturbed(popup_);
  GiveLinkBack();
  ASSERT_TRUE(hosts.IsLetGo());
  const LeftBehind before;
  for (; reached; ++nth) {
    reached = false;
    faults::at_start_of_thread = fail_in_thread;
    EXPECT_EQ(success, RunUndisturbed(popup_)) << "request " << nth;
    faults::at_start_of_thread = nullptr;
    GiveLinkBack();  // joins the listener
    EXPECT_TRUE(hosts.IsLetGo()) << "request " << nth;
    EXPECT_EQ(std::vector<std::string>{}, Left(before)) << "request " << nth;
  }
  EXPECT_LT(1, nth);
}

// The callback of the first result makes the next one, of a request that nobody has made, find no memory.
TEST_F(LinkAllocationFailure, OfAResultIsAnsweredAllTheSame) {
  static std::unique_ptr<FailNth> failing;
  static std::atomic<int> heard{0};
  const auto on_result = [](const char*, nuv_notify_event_e, int, int, void*) {
    failing = failing == nullptr ? std::make_unique<FailNth>(1, FailNth::kThatAndAllLater) : nullptr;
    ++heard;
  };
  ASSERT_EQ(0, nuv_launch_webapp("an.application", "", "", on_result, nullptr));
  const LaunchRequest launch = world_.service().Launches().at(0);
  EXPECT_TRUE(world_.service().SendResult(launch, {}));
  ASSERT_TRUE(WaitUntil([] { return heard == 1; }));
  SentResult of_nobody;
  of_nobody.event_offset = 1000;
  EXPECT_TRUE(world_.service().SendResult(launch, of_nobody));
  EXPECT_TRUE(WaitUntil([] { return fake_platform::Logged(Red("out of memory")); }));
  EXPECT_TRUE(world_.service().SendResult(launch, {}));
  EXPECT_TRUE(WaitUntil([] { return heard == 2; })) << "the listener has ended";
}

}  // namespace

// The outcome of a launch, and its way to the caller.
#include <gmock/gmock.h>
#include <nuv/nuv_launch_codes.h>

#include "simulator_fixture.h"

namespace {

using ::testing::HasSubstr;
using Outcome = std::pair<int, int>;

constexpr const char* kCatalogue = R"({"apps": [
  {"id": "plain.app", "kelvo_id": "kelvo.plain", "pkgname": "pkg.plain"},
  {"id": "other.app"},
  {"id": "absent.app", "install_state": 2},
  {"id": "gone.app", "is_app_available": 0},
  {"id": "reset.app", "is_need_reset": 1},
  {"id": "locked.app", "is_lock": 1}
]})";

class SimulatorLaunchTest : public SimulatorTest {
 protected:
  void SetUp() override { Start({}, kCatalogue); }
};

TEST_F(SimulatorLaunchTest, AnApplicationIsKnownByEachOfItsIds) {
  EXPECT_EQ(OutcomeOf({"plain.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  EXPECT_EQ(OutcomeOf({"kelvo.plain"}), Outcome(NUV_NOTIFY_BROUGHT_TO_FRONT, 0));
  EXPECT_EQ(OutcomeOf({"pkg.plain"}), Outcome(NUV_NOTIFY_BROUGHT_TO_FRONT, 0));
}

TEST_F(SimulatorLaunchTest, AResultEchoesWhatTheCallerSent) {
  const ResultObject object(bus_, "obj4711");
  Launch launch{"kelvo.plain", "obj4711"};
  launch.thread_id = -77;
  launch.event_index = 2147483647;
  launch.cb_type = 0;
  ASSERT_TRUE(SendLaunch(launch));
  ASSERT_TRUE(object.WaitFor(1));
  const ReceivedResult& result = object.results()[0];
  EXPECT_EQ(result.thread_id, -77);
  EXPECT_EQ(result.app_id, "kelvo.plain");
  EXPECT_EQ(result.data, 0);
  EXPECT_EQ(result.event_index, 2147483647);
  EXPECT_EQ(result.method_call, "nuv_launch_app");
  EXPECT_EQ(result.cb_type, 0);
}

struct Refusal {
  const char* app;
  int status;
};

TEST_F(SimulatorLaunchTest, WhatCannotBeLaunchedIsRefusedWithTheReason) {
  constexpr Refusal kRefusals[] = {
      {"no.app", NUV_LAUNCH_STATUS_UNKNOWN_APP},       {"", NUV_LAUNCH_STATUS_UNKNOWN_APP},
      {"absent.app", NUV_LAUNCH_STATUS_NOT_INSTALLED}, {"gone.app", NUV_LAUNCH_STATUS_NOT_INSTALLED},
      {"reset.app", NUV_LAUNCH_STATUS_NOT_INSTALLED},  {"locked.app", NUV_LAUNCH_STATUS_REFUSED}};
  for (const Refusal& refusal : kRefusals) {
    EXPECT_EQ(OutcomeOf({refusal.app}), Outcome(NUV_NOTIFY_LAUNCH_FAILED, refusal.status)) << refusal.app;
    Launch preload{refusal.app};
    preload.preload = 1;
    EXPECT_EQ(OutcomeOf(preload), Outcome(NUV_NOTIFY_PRELOAD_FAILED, refusal.status)) << refusal.app;
    Launch deep_link{refusal.app};
    deep_link.deep_link = 1;
    EXPECT_EQ(OutcomeOf(deep_link), Outcome(NUV_NOTIFY_DEEPLINK_FAILED, refusal.status)) << refusal.app;
  }
}

TEST_F(SimulatorLaunchTest, ALockedApplicationStartsWhenThePinIsSkipped) {
  Launch launch{"locked.app"};
  launch.skip_pin = 1;
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_LAUNCHED, 0));
}

TEST_F(SimulatorLaunchTest, APreloadStartsWithoutShowing) {
  Launch launch{"plain.app"};
  launch.preload = 1;
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_PRELOADED, 0));
  EXPECT_EQ(RunningNumber("kelvo.plain", "status"), 4);
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_PRELOADED, 0));
  EXPECT_EQ(RunningNumber("kelvo.plain", "status"), 4);
  EXPECT_EQ(OutcomeOf({"plain.app"}), Outcome(NUV_NOTIFY_BROUGHT_TO_FRONT, 0));
  EXPECT_EQ(RunningNumber("kelvo.plain", "status"), 3);
}

TEST_F(SimulatorLaunchTest, ABackgroundLaunchStaysBehindTheCurrentApplication) {
  EXPECT_EQ(OutcomeOf({"other.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  Launch launch{"plain.app"};
  launch.background = 1;
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_STARTED_IN_BACKGROUND, 0));
  EXPECT_EQ(RunningNumber("kelvo.plain", "status"), 5);
  EXPECT_EQ(RunningNumber("other.app", "status"), 3);
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_STARTED_IN_BACKGROUND, 0));
  EXPECT_EQ(RunningNumber("other.app", "status"), 3);
}

TEST_F(SimulatorLaunchTest, ABackgroundLaunchLeavesAPreloadedApplicationInTheBackground) {
  Launch launch{"plain.app"};
  launch.preload = 1;
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_PRELOADED, 0));
  launch.preload = 0;
  launch.background = 1;
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_STARTED_IN_BACKGROUND, 0));
  EXPECT_EQ(RunningNumber("kelvo.plain", "status"), 5);
  launch.preload = 1;
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_PRELOADED, 0));
  EXPECT_EQ(RunningNumber("kelvo.plain", "status"), 5);
}

TEST_F(SimulatorLaunchTest, WhatIsCoveredKeepsItsPlaceThroughABackgroundLaunch) {
  EXPECT_EQ(OutcomeOf({"plain.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  EXPECT_EQ(OutcomeOf({"other.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  Launch launch{"plain.app"};
  launch.background = 1;
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_STARTED_IN_BACKGROUND, 0));
  EXPECT_EQ(RunningNumber("kelvo.plain", "status"), 4);
  Call("terminate_app", g_variant_new("(siss)", "other.app", 0, "", ""));
  EXPECT_TRUE(WaitUntil([&] { return RunningNumber("kelvo.plain", "status") == 3; }));
}

TEST_F(SimulatorLaunchTest, ADeepLinkIsDeliveredToANewAndToARunningApplication) {
  Launch launch{"plain.app"};
  launch.deep_link = 1;
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_DEEPLINK_DELIVERED, 0));
  EXPECT_EQ(OutcomeOf({"other.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_DEEPLINK_DELIVERED, 0));
  EXPECT_EQ(RunningNumber("kelvo.plain", "status"), 3);
}

TEST_F(SimulatorLaunchTest, ADeepLinkInTheBackgroundLeavesTheFrontAlone) {
  EXPECT_EQ(OutcomeOf({"other.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  Launch launch{"plain.app"};
  launch.deep_link = 1;
  launch.background = 1;
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_DEEPLINK_DELIVERED, 0));
  EXPECT_EQ(RunningNumber("other.app", "status"), 3);
  EXPECT_EQ(RunningNumber("kelvo.plain", "status"), 5);
}

TEST_F(SimulatorLaunchTest, ALaunchIsCountedAndAPreloadIsNot) {
  Launch preload{"plain.app"};
  preload.preload = 1;
  OutcomeOf(preload);
  EXPECT_EQ(Query("select use_count || launch_date from widgetinfo where id = 'plain.app'"), "0");
  OutcomeOf({"plain.app"});
  OutcomeOf({"plain.app"});
  EXPECT_EQ(Query("select use_count from widgetinfo where id = 'plain.app'"), "2");
  EXPECT_EQ(
      Query("select launch_date between datetime('now', 'localtime', '-1 minute') and datetime('now', 'localtime')"
            " from widgetinfo where id = 'plain.app'"),
      "1");
}

TEST_F(SimulatorLaunchTest, AResultWaitsForAClientThatIsAMomentLate) {
  ResultObject late(bus_, "obj9", false);
  ASSERT_TRUE(SendLaunch({"no.app", "obj9"}));
  // The first try fails for certain: the answer to a later call comes after it.
  EXPECT_EQ(Call("heartbeat").Text(), "()");
  EXPECT_THAT(simulator_->Output(), ::testing::Not(HasSubstr("result ")));
  late.Appear();
  EXPECT_EQ(late.Outcome(), Outcome(NUV_NOTIFY_LAUNCH_FAILED, NUV_LAUNCH_STATUS_UNKNOWN_APP));
  EXPECT_EQ(late.results().size(), 1U);
}

TEST_F(SimulatorLaunchTest, AResultThatNobodyTakesIsReportedLost) {
  ASSERT_TRUE(SendLaunch({"no.app", "obj10"}));
  EXPECT_TRUE(WaitForOutput("lost: "));
}

TEST_F(SimulatorLaunchTest, ANameThatCannotBeAClientIsReportedLost) {
  for (const std::string name : {"", "a b", "/", "..", "1", "\xC3\xA4"}) ASSERT_TRUE(SendLaunch({"no.app", name}));
  EXPECT_TRUE(WaitForOutput("names no client object"));
  EXPECT_EQ(Call("heartbeat").Text(), "()");
}

TEST_F(SimulatorLaunchTest, ManyLaunchesAtOnceEachGetTheirOwnResult) {
  const ResultObject object(bus_, "obj1");
  constexpr int kLaunches = 200;
  for (int i = 0; i < kLaunches; ++i) {
    Launch launch{i % 2 == 0 ? "plain.app" : "no.app"};
    launch.event_index = i;
    ASSERT_TRUE(SendLaunch(launch));
  }
  ASSERT_TRUE(object.WaitFor(kLaunches));
  std::vector<int> indices;
  for (const ReceivedResult& result : object.results()) indices.push_back(result.event_index);
  std::sort(indices.begin(), indices.end());
  for (int i = 0; i < kLaunches; ++i) EXPECT_EQ(indices[i], i);
}

}  // namespace

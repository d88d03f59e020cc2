// Applications without a program: where they show, and what a simulator without stand-ins makes of them.
#include <gmock/gmock.h>
#include <nuv/nuv_launch_codes.h>

#include "simulator_fixture.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using Outcome = std::pair<int, int>;

class SimulatorStandInTest : public SimulatorTest {
 protected:
  void StartApps(const std::vector<std::string>& options = {}) {
    Start(options, R"({"apps": [{"id": "real.app", "install_path": ")" + WriteScript("real", "exec sleep 1000\n") +
                       R"("}, {"id": "gone.app", "install_path": "/no/such/place"}, {"id": "none.app"}]})");
  }
};

TEST_F(SimulatorStandInTest, TheLineOfAStandInSaysSoAndThatOfAProgramDoesNot) {
  StartApps();
  for (const char* app : {"gone.app", "none.app", "real.app"}) {
    EXPECT_EQ(OutcomeOf({app}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
    const std::string line = std::string("started ") + app + " pid=" + std::to_string(RunningNumber(app, "pid"));
    const bool real = app == std::string("real.app");
    EXPECT_THAT(simulator_->Output(), HasSubstr(line + (real ? "\n" : " stand-in\n")));
  }
  EXPECT_EQ(CallControl("StandIns", nullptr).Text(), "(['gone.app', 'none.app'],)");
}

TEST_F(SimulatorStandInTest, ADialogThatAnswersForTheUserIsNone) {
  Start({"--pin-answer", "silent"}, R"({"apps": [{"id": "locked.app", "is_lock": 1}]})");
  ASSERT_TRUE(SendLaunch({"locked.app"}));
  ASSERT_TRUE(WaitForOutput("pin     asked for locked.app"));
  EXPECT_EQ(CallControl("StandIns", nullptr).Text(), "([],)");
}

TEST_F(SimulatorStandInTest, WithoutStandInsALaunchFailsAndTheReasonIsNamed) {
  StartApps({"--no-stand-ins"});
  EXPECT_EQ(OutcomeOf({"real.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  const Outcome failed(NUV_NOTIFY_LAUNCH_FAILED, NUV_LAUNCH_STATUS_FAILED);
  EXPECT_EQ(OutcomeOf({"gone.app"}), failed);
  EXPECT_THAT(simulator_->Errors(),
              HasSubstr("gone.app: it has no program: none is in its install_path /no/such/place"));
  EXPECT_EQ(OutcomeOf({"none.app"}), failed);
  EXPECT_THAT(simulator_->Errors(), HasSubstr("none.app: it has no program: the catalogue gives no install_path\n"));
  const Reply reply = CallControl("LaunchRequest", g_variant_new_parsed("('none.app', '', '', @a(ss) [])"));
  EXPECT_EQ(reply.message, "none.app: it has no program: the catalogue gives no install_path");
}

TEST_F(SimulatorStandInTest, ASeedWithPathsThatHoldNoProgramWarnsOnceWithTheirNumber) {
  StartApps();
  EXPECT_EQ(simulator_->Errors(),
            "nuv-simulator: " + (files_ / "catalogue.json") + ": 1 application has no program in the install_path\n");
  EXPECT_THAT(simulator_->Output(), HasSubstr("missing gone.app has no program in /no/such/place\n"));
  EXPECT_THAT(simulator_->Output(), Not(HasSubstr("missing none.app")));
}

TEST_F(SimulatorStandInTest, TheSampleCatalogueDoesNotWarn) {
  StartPlain();
  ASSERT_TRUE(WaitForOutput("ready\n"));
  EXPECT_EQ(simulator_->Errors(), "");
}

}  // namespace

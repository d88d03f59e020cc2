// The requests to the common-UI application.
#include "nuv_launcher_api/IAAul.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "common_ui.h"
#include "fake_apps.h"

namespace {

const std::string kAlreadyKilled = LogEffect('W', Green("commui already killed!"));

std::string FirstLine(const std::string& app, const std::string& pid, const std::string& thread_id) {
  return LogEffect(
      'I', Yellow("Launch commui app.app id [" + app + "],ProcessId [" + pid + "],ThreadId [" + thread_id + "]"));
}
const std::string kNothingLine = FirstLine("(null)", "(null)", "(null)");

class CommonUi : public ::testing::Test {
 protected:
  void SetUp() override { fake_platform::LogAsEffects(true); }
  static bool Close() { return ICAul::AulLaunchPINPopup(nullptr, nullptr, nullptr, "kill", nullptr, 0, nullptr); }
  _NUV_LAUNCHER_COMMUI_DATA data_;
};

TEST_F(CommonUi, NeedsNoClosingWhenItDoesNotRun) {
  EXPECT_TRUE(Close());
  EXPECT_EQ((Effects{kNothingLine, kRunning, kAlreadyKilled}), fake_platform::Effects());
  fake_platform::Clear();
  EXPECT_TRUE(ICAul::AulLaunchPINPopup("kill", data_));
  EXPECT_EQ((Effects{kRunning, kAlreadyKilled}), fake_platform::Effects());
  fake_platform::LetLaunchRequestsFail(true);
  EXPECT_TRUE(Close());
}

TEST_F(CommonUi, IsClosedByARequestThatLeavesOutWhatIsNull) {
  fake_platform::SetCommonUiRunning(true);
  EXPECT_TRUE(Close());
  EXPECT_EQ((Effects{kNothingLine, kRunning, kDefaultOperation, "extra MethodName=kill", "extra UIType=0",
                     "extra Index=0", kSent, kDestroyed, kSuccess}),
            fake_platform::Effects());
}

TEST_F(CommonUi, IsClosedByTheLongRequestToo) {
  fake_platform::SetCommonUiRunning(true);
  EXPECT_TRUE(ICAul::AulLaunchPINPopup("kill", data_));
  // The three borrowed texts are null.
  EXPECT_EQ((Effects{kRunning, kDefaultOperation, "extra MethodName=kill", "extra AppId=", "extra AppPayload=",
                     "extra AppUri=", "extra AppCallerid=", "extra cbType=-1", "extra ForceLaunch=0", "extra Index=-1",
                     "extra UIType=0", "extra Deeplink=0", "extra Background=0", "extra Entry=",
                     "extra RelocateBelowApp=", "extra __K_EX_LAUNCH_REQUESTOR=", kSent, kDestroyed, kSuccess}),
            fake_platform::Effects());
}

TEST_F(CommonUi, GetsTheDataOfTheShortRequestInTheirOrder) {
  EXPECT_TRUE(ICAul::AulLaunchPINPopup("app", "12", "-34", "method", "api", -5, "8"));
  EXPECT_EQ((Effects{FirstLine("app", "12", "-34"), kRunning, kDefaultOperation, "extra Pid=12", "extra ThreadId=-34",
                     "extra AppId=app", "extra ApiName=api", "extra MethodName=method", "extra AppType=8",
                     "extra UIType=0", "extra Index=-5", kSent, kDestroyed, kSuccess}),
            fake_platform::Effects());
}

TEST_F(CommonUi, IsStartedWhetherOrNotItRuns) {
  for (const bool runs : {false, true}) {
    fake_platform::SetCommonUiRunning(runs);
    fake_platform::Clear();
    for (const char* method : {"", "Kill", "kill ", "Launch_pin_code_opr_result"}) {
      EXPECT_TRUE(ICAul::AulLaunchPINPopup(method, data_)) << method;
      EXPECT_EQ(kSuccess, fake_platform::Effects().back()) << method;
    }
    EXPECT_FALSE(fake_platform::Logged(Green("commui already killed!")));
  }
}

TEST_F(CommonUi, ReportsAStartThatThePlatformRefuses) {
  fake_platform::LetLaunchRequestsFail(true);
  fake_platform::SetCommonUiRunning(true);
  for (const bool long_request : {false, true}) {
    fake_platform::Clear();
    EXPECT_FALSE(long_request ? ICAul::AulLaunchPINPopup("method", data_) : Close());
    const Effects effects = fake_platform::Effects();
    ASSERT_LT(3u, effects.size());
    EXPECT_EQ((Effects{kSent, kFailure, kDestroyed}), Effects(effects.end() - 3, effects.end()));
  }
}

TEST_F(CommonUi, ThrowsForANullMethodBeforeThePlatformIsAsked) {
  EXPECT_THROW(ICAul::AulLaunchPINPopup(nullptr, data_), std::logic_error);
  EXPECT_TRUE(fake_platform::Effects().empty());
  EXPECT_THROW(ICAul::AulLaunchPINPopup("a", "b", "c", nullptr, "d", 0, "e"), std::logic_error);
  EXPECT_EQ(Effects{FirstLine("a", "b", "c")}, fake_platform::Effects());
}

TEST_F(CommonUi, HasItsLinesInTheMainBuffer) {
  EXPECT_TRUE(Close());
  fake_platform::SetCommonUiRunning(true);
  EXPECT_TRUE(Close());
  fake_platform::LetLaunchRequestsFail(true);
  EXPECT_FALSE(Close());
  for (const fake_platform::LogLine& line : fake_platform::Log()) EXPECT_EQ(0, line.buffer) << line.text;
}

TEST_F(CommonUi, RunningIsWhateverIsNotZeroForThePlatform) {
  fake_platform::SetRunningApps({{"org.kelvo.one", 3}});
  EXPECT_TRUE(ICAul::AulAppIsRunning("org.kelvo.one"));
  EXPECT_FALSE(ICAul::AulAppIsRunning("org.kelvo.two"));
  EXPECT_EQ((Effects{"running? org.kelvo.one", "running? org.kelvo.two"}), fake_platform::Effects());
}

}  // namespace

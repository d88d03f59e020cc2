// The library in a process of its own and the simulator: what a developer of a client sees.
#include <gmock/gmock.h>
#include <signal.h>

#include <algorithm>

#include "simulator_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr const char* kDialog = "org.kelvo.corvane-commui";

class SimulatorClientTest : public SimulatorTest {
 protected:
  void StartWith(const std::vector<std::string>& options) {
    Start(options, R"({"apps": [
        {"id": "a.app", "title": "A", "kelvo_id": "kelvo.a"},
        {"id": "b.app", "title": "B", "kelvo_id": "kelvo.b", "hybrid_app": "native.b"},
        {"id": "tv.app", "title": "TV", "kelvo_id": "hbbtv.1.2", "app_type": 16, "hbbTV": "1"},
        {"id": "droid.app", "title": "Droid", "kelvo_id": "kelvo.droid", "app_type": 8},
        {"id": "locked.app", "title": "Locked", "kelvo_id": "kelvo.locked", "is_lock": 1}]})");
  }
  std::unique_ptr<Process> StartClient(std::vector<std::string> words) {
    words.insert(words.begin(), NUV_TEST_DIR "/launch_client");
    return std::make_unique<Process>(words, files_.path(), Process::Environment{{"NUV_HOST_DIR", directory_.path()}});
  }
  // The lines that a client prints.
  std::vector<std::string> Run(const std::vector<std::string>& words) {
    const auto client = StartClient(words);
    EXPECT_EQ(client->Wait(), 0) << client->Errors() << simulator_->Output();
    return Lines(client->Output());
  }
  static std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
      lines.push_back(text.substr(start, end - start));
    }
    return lines;
  }
  bool Ended(const std::string& app, int status) const {
    return WaitForOutput("stopped " + app) && WaitUntil([&] {
             const std::string output = simulator_->Output();
             const std::size_t at = output.find("stopped " + app);
             return output.find(" status=" + std::to_string(status) + "\n", at) != std::string::npos;
           });
  }
  std::size_t DialogRequests() const {
    const std::string output = simulator_->Output();
    std::size_t count = 0;
    for (std::size_t at = 0; (at = output.find("request LaunchRequest", at)) != std::string::npos; ++at) ++count;
    return count;
  }
};

TEST_F(SimulatorClientTest, AnOrdinaryLaunchOfALockedApplicationAsksForThePin) {
  StartWith({"--pin-answer", "right"});
  EXPECT_THAT(Run({"launch", "locked.app", "webapp", "locked.app"}),
              ElementsAre("result locked.app 600", "notified locked.app 901 0"));
}

TEST_F(SimulatorClientTest, TheLibraryClosesTheDialogOfALaunchThatWasNotAllowed) {
  StartWith({"--pin-answer", "cancelled"});
  const auto client = StartClient({"webapp", "locked.app", "pause"});
  ASSERT_TRUE(WaitForOutput("request LaunchRequest app=\"org.kelvo.corvane-commui\""));
  EXPECT_TRUE(Ended(kDialog, 0));
  EXPECT_THAT(client->Output(), HasSubstr("notified locked.app 903 405\n"));
}

TEST_F(SimulatorClientTest, WrongPinAndCancelHaveTheirOwnResults) {
  WriteFile(files_ / "scenario.json", R"x([{"method": "pin_dialog", "pin": "wrong", "count": 1},
                                           {"method": "pin_dialog", "pin": "cancelled", "delay_ms": 50}])x");
  StartWith({"--scenario", files_ / "scenario.json"});
  EXPECT_THAT(Run({"launch", "locked.app", "launch", "locked.app"}),
              ElementsAre("result locked.app 609", "result locked.app 611"));
}

TEST_F(SimulatorClientTest, ALaunchMaySkipThePin) {
  StartWith({"--pin-answer", "wrong"});
  EXPECT_THAT(Run({"skip_pin", "locked.app"}), ElementsAre("notified locked.app 900 0"));
}

TEST_F(SimulatorClientTest, APinPopupLaunchesWithTheRightPin) {
  StartWith({"--pin-answer", "right"});
  EXPECT_THAT(Run({"pin", "a.app", "pin_notify", "b.app", "showing"}),
              ElementsAre("result a.app 600", "notified b.app 900 0", "showing [b.app]"));
}

TEST_F(SimulatorClientTest, APinPopupIsRefusedWithAWrongPinAndClosedByTheLibrary) {
  StartWith({"--pin-answer", "wrong"});
  const auto client = StartClient({"pin_notify", "a.app", "pause"});
  ASSERT_TRUE(Ended(kDialog, 0));
  EXPECT_THAT(client->Output(), HasSubstr("notified a.app 903 403\n"));
  EXPECT_EQ(DialogRequests(), 2U) << "to show it, and to close it";
}

TEST_F(SimulatorClientTest, APinPopupIsCancelled) {
  StartWith({"--pin-answer", "cancelled"});
  EXPECT_THAT(Run({"pin", "a.app"}), ElementsAre("result a.app 611"));
}

TEST_F(SimulatorClientTest, APinPopupThatNobodyCanAnswerFails) {
  StartWith({});
  EXPECT_THAT(Run({"pin", "a.app", "launch", "locked.app"}), ElementsAre("pin a.app failed", "result locked.app 609"));
}

TEST_F(SimulatorClientTest, ADialogThatIsKilledByHandCancelsAndNeedsNoClosing) {
  StartWith({"--pin-answer", "silent"});
  const auto client = StartClient({"pin_notify", "a.app", "launch", "b.app"});
  ASSERT_TRUE(WaitUntil([&] { return RunningNumber(kDialog, "pid") > 0; }));
  kill(RunningNumber(kDialog, "pid"), SIGKILL);
  EXPECT_EQ(client->Wait(), 0);
  // The library has looked for the dialog before it hears of the next launch.
  EXPECT_EQ(client->Output(), "notified a.app 903 405\nresult b.app 600\n");
  EXPECT_EQ(DialogRequests(), 1U);
}

TEST_F(SimulatorClientTest, SeveralPinsAreAskedForOneAfterTheOther) {
  WriteFile(files_ / "scenario.json", R"x([{"method": "pin_dialog", "app": "a.app", "pin": "wrong", "delay_ms": 100},
                                           {"method": "pin_dialog", "pin": "right"}])x");
  StartWith({"--scenario", files_ / "scenario.json"});
  EXPECT_THAT(Run({"pin_notify&", "a.app", "pin_notify&", "b.app", "webapp&", "locked.app", "wait"}),
              ElementsAre("notified a.app 903 403", "notified b.app 900 0", "notified locked.app 900 0"));
}

TEST_F(SimulatorClientTest, TheOutcomeForAClientThatWasKilledIsLost) {
  StartWith({"--pin-answer", "silent"});
  const auto client = StartClient({"pin", "a.app"});
  ASSERT_TRUE(WaitForOutput("question=1\n"));
  client->KillAndWait();
  EXPECT_EQ(CallControl("EnterPin", g_variant_new("(us)", 1U, "0000")).Text(), "(true,)");
  EXPECT_TRUE(WaitForOutput("index=0 lost: "));
}

TEST_F(SimulatorClientTest, TheDialogShowsWhileItAsks) {
  StartPlain({"--pin-answer", "silent"});  // with the sample catalogue
  ASSERT_TRUE(WaitForOutput("ready\n"));
  const auto client = StartClient({"pin", "org.kelvo.app.clock"});
  ASSERT_TRUE(WaitForOutput("question=1\n"));
  EXPECT_THAT(Run({"showing", "status", kDialog}),
              ElementsAre("showing [org.kelvo.corvane-commui]", "status org.kelvo.corvane-commui 1"));
}

TEST_F(SimulatorClientTest, TheStatusAndWhatShowsFollowLaunchCoverAndEnd) {
  StartWith({});
  EXPECT_THAT(
      Run({"showing", "status", "a.app", "launch", "a.app", "showing", "launch", "b.app", "showing", "status", "a.app",
           "status", "b.app", "launch", "a.app", "showing"}),
      ElementsAre("showing []", "status a.app 0", "result a.app 600", "showing [a.app]", "result b.app 600",
                  "showing [b.app]", "status a.app 1", "status b.app 1", "result a.app 601", "showing [a.app]"));
  EXPECT_EQ(RunningNumber("native.b", "status"), 4);
  EXPECT_THAT(Run({"terminate", "a.app"}), ElementsAre("terminate 0"));
  ASSERT_TRUE(WaitForOutput("stopped a.app"));
  EXPECT_THAT(Run({"status", "a.app", "showing", "terminate", "b.app"}),
              ElementsAre("status a.app 0", "showing [b.app]", "terminate 0"));
  ASSERT_TRUE(WaitForOutput("stopped b.app"));
  EXPECT_THAT(Run({"status", "b.app", "showing"}), ElementsAre("status b.app 0", "showing []"));
}

TEST_F(SimulatorClientTest, APreloadRunsWithoutShowing) {
  StartWith({});
  EXPECT_THAT(
      Run({"preload", "a.app", "status", "a.app", "showing", "launch", "a.app", "showing"}),
      ElementsAre("notified a.app 904 0", "status a.app 1", "showing []", "result a.app 601", "showing [a.app]"));
}

TEST_F(SimulatorClientTest, ABackgroundLaunchShowsNothing) {
  StartWith({});
  EXPECT_THAT(Run({"launch", "b.app", "background", "a.app", "status", "a.app", "showing"}),
              ElementsAre("result b.app 600", "notified a.app 902 0", "status a.app 1", "showing [b.app]"));
  EXPECT_EQ(RunningNumber("kelvo.a", "status"), 5);
}

TEST_F(SimulatorClientTest, ADeepLinkBringsARunningApplicationToTheFront) {
  StartWith({});
  EXPECT_THAT(Run({"launch", "a.app", "launch", "b.app", "deeplink", "a.app", "showing", "deeplink", "locked.app"}),
              ElementsAre("result a.app 600", "result b.app 600", "notified a.app 906 0", "showing [a.app]",
                          "notified locked.app 907 403"));
}

TEST_F(SimulatorClientTest, AnHbbtvApplicationShowsUnderThePlatformsName) {
  StartWith({});
  EXPECT_THAT(Run({"launch", "a.app", "launch", "tv.app", "showing", "launch", "a.app", "showing", "status", "tv.app"}),
              ElementsAre("result a.app 600", "result tv.app 600", "showing [hbbtv.1.2]", "result a.app 601",
                          "showing [a.app]", "status tv.app 1"));
  EXPECT_THAT(Run({"launch", "tv.app", "terminate", "tv.app"}), ElementsAre("result tv.app 601", "terminate 0"));
  ASSERT_TRUE(WaitForOutput("stopped tv.app"));
  EXPECT_THAT(Run({"showing", "status", "tv.app"}), ElementsAre("showing [a.app]", "status tv.app 0"));
}

TEST_F(SimulatorClientTest, AnAndroidApplicationsStatusIsTheServices) {
  StartWith({});
  EXPECT_THAT(Run({"status", "droid.app", "launch", "droid.app", "status", "droid.app", "status", "no.app"}),
              ElementsAre("status droid.app 0", "result droid.app 600", "status droid.app 1", "status no.app failed"));
}

TEST_F(SimulatorClientTest, TwoProcessesUpdatingARowBesideItLoseNothing) {
  Start({}, R"({"apps": [{"id": "app", "use_count": 0}]})");
  constexpr int kTimes = 40;
  const std::vector<std::string> forwards = {NUV_TEST_DIR "/inner_writer", std::to_string(kTimes), "forward"};
  const std::vector<std::string> writes = {NUV_TEST_DIR "/inner_writer", std::to_string(kTimes)};
  const Process::Environment environment = {{"NUV_HOST_DIR", directory_.path()}};
  TempDir other;
  Process first(forwards, files_.path(), environment);
  Process second(writes, other.path(), environment);
  ASSERT_EQ(first.Wait(Milliseconds(60000)), 0) << first.Errors();
  ASSERT_EQ(second.Wait(Milliseconds(60000)), 0) << second.Errors();
  const std::string results = first.Output() + second.Output();
  EXPECT_EQ(std::count(results.begin(), results.end(), '.'), 2 * kTimes) << results;
  EXPECT_EQ(Query("select use_count from widgetinfo"), std::to_string(2 * kTimes));
  EXPECT_EQ(Query("pragma integrity_check"), "ok");
}

}  // namespace

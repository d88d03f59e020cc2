// The program of an application: where it is found, what it is told, and how it may fail.
#include <gmock/gmock.h>
#include <nuv/nuv_launch_codes.h>
#include <sys/stat.h>

#include "simulator_fixture.h"

namespace {

using ::testing::HasSubstr;
using Outcome = std::pair<int, int>;

class SimulatorProgramTest : public SimulatorTest {
 protected:
  void StartWithProgram(const std::string& install_path, const std::vector<std::string>& options = {}) {
    Start(options, R"({"apps": [{"id": "the.app", "install_path": ")" + install_path + R"("}, {"id": "none.app"}]})");
  }
  // Waits for the line that a script writes.
  bool Wrote(const std::string& file, const std::string& text) const {
    return WaitUntil([&] { return ReadFile(files_ / file).find(text) != std::string::npos; });
  }
};

TEST_F(SimulatorProgramTest, AnApplicationWithoutAProgramGetsAStandInThatShowsItsId) {
  Start({}, R"({"apps": [{"id": "the.app", "install_path": "/no/such/place"}]})");
  EXPECT_EQ(OutcomeOf({"the.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  const int pid = RunningNumber("the.app", "pid");
  ASSERT_GT(pid, 0);
  EXPECT_THAT(ReadFile("/proc/" + std::to_string(pid) + "/cmdline"), HasSubstr("the.app"));
}

TEST_F(SimulatorProgramTest, AProgramFileRunsAsItsInstallPathSays) {
  StartWithProgram(WriteScript("program", "echo started > " + (files_ / "out") + "; exec sleep 1000\n"));
  EXPECT_EQ(OutcomeOf({"the.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  EXPECT_TRUE(Wrote("out", "started"));
}

TEST_F(SimulatorProgramTest, AProgramInADirectoryIsFoundByTheIdOrTheNameRun) {
  mkdir((files_ / "package").c_str(), 0755);
  mkdir((files_ / "package/bin").c_str(), 0755);
  WriteScript("package/bin/run", "echo run >> " + (files_ / "out") + "; exec sleep 1000\n");
  StartWithProgram(files_ / "package");
  EXPECT_EQ(OutcomeOf({"the.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  EXPECT_TRUE(Wrote("out", "run"));
  Call("terminate_app", g_variant_new("(siss)", "the.app", 0, "", ""));
  ASSERT_TRUE(WaitUntil([&] { return RunningFile("the.app").empty(); }));

  WriteScript("package/bin/the.app", "echo by id >> " + (files_ / "out") + "; exec sleep 1000\n");
  EXPECT_EQ(OutcomeOf({"the.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  EXPECT_TRUE(Wrote("out", "by id"));
}

TEST_F(SimulatorProgramTest, AProgramIsToldAboutTheLaunchInItsEnvironment) {
  StartWithProgram(WriteScript("program", "env | grep ^NUV_ > " + (files_ / "new") + "; mv " + (files_ / "new") + " " +
                                              (files_ / "out") + "; exec sleep 1000\n"));
  Launch launch{"the.app"};
  launch.payload = "{\"a\": \"b c\"}";
  launch.caller = "the.caller";
  launch.uri = "http://x/y?z";
  launch.blocks = {ExtraBlock("key 1", "value \"1\""), ExtraBlock("", "no key"), "short", ExtraBlock("key 1", "again")};
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  ASSERT_TRUE(Wrote("out", "NUV_EXTRA_DATA"));
  const std::string told = ReadFile(files_ / "out");
  EXPECT_THAT(told, HasSubstr("NUV_APP_ID=the.app\n"));
  EXPECT_THAT(told, HasSubstr("NUV_PAYLOAD={\"a\": \"b c\"}\n"));
  EXPECT_THAT(told, HasSubstr("NUV_CALLER_ID=the.caller\n"));
  EXPECT_THAT(told, HasSubstr("NUV_URI=http://x/y?z\n"));
  EXPECT_THAT(told, HasSubstr("NUV_EXTRA_DATA={\"key 1\":\"again\",\"\":\"no key\"}\n"));
}

TEST_F(SimulatorProgramTest, ExtraDataArriveWholeAndCutTextIsMended) {
  StartWithProgram(WriteScript("program", "printf %s \"$NUV_EXTRA_DATA\" > " + (files_ / "new") + "; mv " +
                                              (files_ / "new") + " " + (files_ / "out") + "; exec sleep 1000\n"));
  const std::string half(511, 'x');
  Launch launch{"the.app"};
  launch.blocks = {ExtraBlock(half, half), ExtraBlock("cut", "\xEC\x84"), std::string(1024, 'k')};
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  ASSERT_TRUE(Wrote("out", "}"));
  EXPECT_EQ(ReadFile(files_ / "out"), "{\"" + half + "\":\"" + half + "\",\"cut\":\"\xEF\xBF\xBD\",\"" +
                                          std::string(512, 'k') + "\":\"" + std::string(512, 'k') + "\"}");
}

TEST_F(SimulatorProgramTest, APayloadThatNoEnvironmentTakesIsLeftOut) {
  StartWithProgram(WriteScript("program", "echo size ${#NUV_PAYLOAD} > " + (files_ / "out") + "; exec sleep 1000\n"));
  Launch launch{"the.app"};
  launch.payload.assign(300000, 'p');
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  EXPECT_TRUE(Wrote("out", "size 0"));
  EXPECT_THAT(simulator_->Errors(), HasSubstr("NUV_PAYLOAD of 300000 bytes is too long"));
}

TEST_F(SimulatorProgramTest, AProgramThatCannotBeRunFailsTheLaunch) {
  WriteFile(files_ / "text", "no program");
  StartWithProgram(files_ / "text");
  EXPECT_EQ(OutcomeOf({"the.app"}), Outcome(NUV_NOTIFY_LAUNCH_FAILED, NUV_LAUNCH_STATUS_FAILED));
  EXPECT_EQ(RunningFile("the.app"), "");
  EXPECT_THAT(simulator_->Errors(), HasSubstr("the.app: "));
  EXPECT_EQ(Query("select use_count from widgetinfo where id = 'the.app'"), "0");
}

TEST_F(SimulatorProgramTest, AProgramThatFailsWithinTheSettleTimeHasCrashed) {
  StartWithProgram(WriteScript("program", "exit 3\n"), {"--settle", "20000"});
  EXPECT_EQ(OutcomeOf({"the.app"}), Outcome(NUV_NOTIFY_LAUNCH_FAILED, NUV_LAUNCH_STATUS_CRASHED));
  Launch preload{"the.app"};
  preload.preload = 1;
  EXPECT_EQ(OutcomeOf(preload), Outcome(NUV_NOTIFY_PRELOAD_FAILED, NUV_LAUNCH_STATUS_CRASHED));
  Launch deep_link{"the.app"};
  deep_link.deep_link = 1;
  EXPECT_EQ(OutcomeOf(deep_link), Outcome(NUV_NOTIFY_DEEPLINK_FAILED, NUV_LAUNCH_STATUS_CRASHED));
  EXPECT_EQ(RunningFile("the.app"), "");
}

TEST_F(SimulatorProgramTest, AProgramThatIsKilledWithinTheSettleTimeHasCrashed) {
  StartWithProgram(WriteScript("program", "kill -SEGV $$\n"), {"--settle", "20000"});
  EXPECT_EQ(OutcomeOf({"the.app"}), Outcome(NUV_NOTIFY_LAUNCH_FAILED, NUV_LAUNCH_STATUS_CRASHED));
}

TEST_F(SimulatorProgramTest, AProgramThatEndsWellWithinTheSettleTimeWasLaunched) {
  StartWithProgram(WriteScript("program", "exit 0\n"), {"--settle", "20000"});
  EXPECT_EQ(OutcomeOf({"the.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
}

TEST_F(SimulatorProgramTest, WithoutASettleTimeALaterCrashIsNoFailedLaunch) {
  StartWithProgram(WriteScript("program", "exit 3\n"), {"--settle", "0"});
  EXPECT_EQ(OutcomeOf({"the.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  EXPECT_TRUE(WaitUntil([&] { return RunningFile("the.app").empty(); }));
}

TEST_F(SimulatorProgramTest, AProgramThatFailsGivesTheScreenBack) {
  StartWithProgram(WriteScript("program", "exit 3\n"), {"--settle", "20000"});
  ASSERT_TRUE(SendLaunch({"none.app"}));
  ASSERT_TRUE(WaitForOutput("front   none.app"));
  EXPECT_EQ(OutcomeOf({"the.app"}), Outcome(NUV_NOTIFY_LAUNCH_FAILED, NUV_LAUNCH_STATUS_CRASHED));
  EXPECT_EQ(RunningNumber("none.app", "status"), 3);
}

}  // namespace

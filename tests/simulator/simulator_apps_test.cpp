// Running applications: their processes, their files, and which of them is in front.
#include <gmock/gmock.h>
#include <nuv/nuv_launch_codes.h>
#include <signal.h>
#include <sys/stat.h>

#include <filesystem>

#include "simulator_fixture.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Outcome = std::pair<int, int>;

class SimulatorAppsTest : public SimulatorTest {
 protected:
  void StartApps(const std::vector<std::string>& options = {}) {
    Start(options,
          R"({"apps": [
      {"id": "a.app", "run_title": "First App"},
      {"id": "b.app", "kelvo_id": "kelvo.b"},
      {"id": "hybrid.app", "kelvo_id": "kelvo.h", "hybrid_app": "native.h"},
      {"id": "hbbtv.app", "kelvo_id": "hbbtv.1.2", "app_type": 16},
      {"id": "android.app", "app_type": 8},
      {"id": "slash.app", "kelvo_id": "../evil"},
      {"id": "stubborn.app", "install_path": ")" +
              WriteScript("stubborn", "trap '' TERM\necho > " + (files_ / "deaf") + "\nwhile :; do sleep 1; done\n") +
              R"("},
      {"id": "org.kelvo.corvane-commui"}]})");
  }
  bool StopsRunning(const std::string& platform_id) const {
    return WaitUntil([&] { return RunningFile(platform_id).empty(); });
  }
  bool Ended(int pid) const {
    return WaitUntil([&] { return !ProcessExists(pid); });
  }
};

TEST_F(SimulatorAppsTest, ARunningFileTellsTheProcessItsStatusAndItsStartTime) {
  StartApps();
  EXPECT_EQ(OutcomeOf({"a.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  const int pid = RunningNumber("a.app", "pid");
  ASSERT_GT(pid, 0);
  EXPECT_TRUE(ProcessExists(pid));
  EXPECT_EQ(RunningNumber("a.app", "status"), 3);
  const std::string stat = ReadFile("/proc/" + std::to_string(pid) + "/stat");
  EXPECT_THAT(stat, HasSubstr(" " + std::to_string(RunningNumber("a.app", "starttime")) + " "));
  EXPECT_GT(RunningNumber("a.app", "starttime"), 0);
}

TEST_F(SimulatorAppsTest, ARunningFileHasThePlatformsNameOfTheApplication) {
  StartApps();
  OutcomeOf({"b.app"});
  OutcomeOf({"hybrid.app"});
  EXPECT_GT(RunningNumber("kelvo.b", "pid"), 0);
  EXPECT_GT(RunningNumber("native.h", "pid"), 0);
  EXPECT_EQ(RunningFile("b.app"), "");
}

TEST_F(SimulatorAppsTest, AnIdThatIsNoFileNameRunsWithoutAFile) {
  StartApps();
  EXPECT_EQ(OutcomeOf({"slash.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  EXPECT_FALSE(std::filesystem::exists(directory_ / "evil"));
  EXPECT_THAT(simulator_->Errors(), HasSubstr("cannot be a file name"));
}

TEST_F(SimulatorAppsTest, OneApplicationIsInFrontAndTheOneBeforeItIsHidden) {
  StartApps();
  OutcomeOf({"a.app"});
  OutcomeOf({"b.app"});
  EXPECT_EQ(RunningNumber("a.app", "status"), 4);
  EXPECT_EQ(RunningNumber("kelvo.b", "status"), 3);
  OutcomeOf({"a.app"});
  EXPECT_EQ(RunningNumber("a.app", "status"), 3);
  EXPECT_EQ(RunningNumber("kelvo.b", "status"), 4);
}

TEST_F(SimulatorAppsTest, WhenTheFrontEndsTheOneBehindItShowsAgain) {
  StartApps();
  OutcomeOf({"a.app"});
  OutcomeOf({"b.app"});
  Call("terminate_app", g_variant_new("(siss)", "b.app", 0, "", ""));
  ASSERT_TRUE(StopsRunning("kelvo.b"));
  EXPECT_TRUE(WaitUntil([&] { return RunningNumber("a.app", "status") == 3; }));
}

TEST_F(SimulatorAppsTest, TheHbbtvFileNamesTheHbbtvApplicationInFront) {
  StartApps();
  OutcomeOf({"hbbtv.app"});
  EXPECT_EQ(ReadFile(directory_ / "hbbtv"), "hbbtv.1.2\n");
  OutcomeOf({"a.app"});
  EXPECT_FALSE(std::filesystem::exists(directory_ / "hbbtv"));
  OutcomeOf({"hbbtv.app"});
  Call("terminate_app", g_variant_new("(siss)", "hbbtv.app", 0, "", ""));
  EXPECT_TRUE(WaitUntil([&] { return !std::filesystem::exists(directory_ / "hbbtv"); }));
}

TEST_F(SimulatorAppsTest, TerminateEndsTheProcessAndRemovesItsFile) {
  StartApps();
  OutcomeOf({"a.app"});
  const int pid = RunningNumber("a.app", "pid");
  EXPECT_EQ(Call("terminate_app", g_variant_new("(siss)", "a.app", 0, "caller", "reason")).Text(), "()");
  EXPECT_TRUE(Ended(pid));
  EXPECT_TRUE(StopsRunning("a.app"));
}

TEST_F(SimulatorAppsTest, TerminateByRunTitleEndsTheApplication) {
  StartApps();
  OutcomeOf({"a.app"});
  EXPECT_EQ(Call("terminate_app_by_runtitle", g_variant_new("(s)", "First App")).Text(), "()");
  EXPECT_TRUE(StopsRunning("a.app"));
}

TEST_F(SimulatorAppsTest, TerminateAllEndsAll) {
  StartApps();
  OutcomeOf({"a.app"});
  OutcomeOf({"b.app"});
  EXPECT_EQ(Call("terminate_allapp", g_variant_new("(ss)", "caller", "reason")).Text(), "()");
  EXPECT_TRUE(StopsRunning("a.app"));
  EXPECT_TRUE(StopsRunning("kelvo.b"));
}

TEST_F(SimulatorAppsTest, AnApplicationThatIgnoresTheRequestIsKilled) {
  StartApps();
  OutcomeOf({"stubborn.app"});
  ASSERT_TRUE(WaitUntil([&] { return std::filesystem::exists(files_ / "deaf"); }));
  const int pid = RunningNumber("stubborn.app", "pid");
  Call("terminate_app", g_variant_new("(siss)", "stubborn.app", 0, "", ""));
  EXPECT_TRUE(Ended(pid));
  EXPECT_TRUE(WaitForOutput("stopped stubborn.app pid=" + std::to_string(pid) + " status=137"));
}

TEST_F(SimulatorAppsTest, AnApplicationThatIsEndingIsStartedAnew) {
  StartApps();
  OutcomeOf({"stubborn.app"});
  ASSERT_TRUE(WaitUntil([&] { return std::filesystem::exists(files_ / "deaf"); }));
  const int first = RunningNumber("stubborn.app", "pid");
  Call("terminate_app", g_variant_new("(siss)", "stubborn.app", 0, "", ""));
  EXPECT_EQ(OutcomeOf({"stubborn.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  const int second = RunningNumber("stubborn.app", "pid");
  EXPECT_NE(second, first);
  EXPECT_TRUE(Ended(first));
  EXPECT_TRUE(WaitForOutput("stopped stubborn.app pid=" + std::to_string(first)));
  EXPECT_EQ(RunningNumber("stubborn.app", "pid"), second);
}

TEST_F(SimulatorAppsTest, TheAndroidStatusSaysWhetherTheApplicationRuns) {
  StartApps();
  EXPECT_EQ(Call("get_android_app_status", g_variant_new("(s)", "android.app")).Text(), "(0,)");
  OutcomeOf({"android.app"});
  EXPECT_EQ(Call("get_android_app_status", g_variant_new("(s)", "android.app")).Text(), "(1,)");
}

TEST_F(SimulatorAppsTest, AnApplicationThatEndsByItselfIsNoticed) {
  StartApps();
  OutcomeOf({"a.app"});
  kill(RunningNumber("a.app", "pid"), SIGKILL);
  EXPECT_TRUE(StopsRunning("a.app"));
  EXPECT_EQ(OutcomeOf({"a.app"}), Outcome(NUV_NOTIFY_LAUNCHED, 0));
}

TEST_F(SimulatorAppsTest, AtItsEndItTakesItsApplicationsAndFilesAlong) {
  StartApps();
  OutcomeOf({"a.app"});
  OutcomeOf({"stubborn.app"});
  OutcomeOf({"hbbtv.app"});
  const int pid = RunningNumber("a.app", "pid");
  const int stubborn = RunningNumber("stubborn.app", "pid");
  EXPECT_EQ(End(), 0);
  EXPECT_FALSE(ProcessExists(pid));
  EXPECT_FALSE(ProcessExists(stubborn));
  EXPECT_TRUE(std::filesystem::is_empty(directory_ / "running"));
  EXPECT_FALSE(std::filesystem::exists(directory_ / "hbbtv"));
}

TEST_F(SimulatorAppsTest, ItsApplicationsDoNotOutliveItEvenWhenItIsKilled) {
  StartApps();
  OutcomeOf({"a.app"});
  const int pid = RunningNumber("a.app", "pid");
  simulator_->KillAndWait();
  EXPECT_TRUE(WaitUntil([&] {
    const std::string stat = ReadFile("/proc/" + std::to_string(pid) + "/stat");
    return stat.empty() || stat.find(") Z ") != std::string::npos;
  }));
}

TEST_F(SimulatorAppsTest, WhatAnEarlierRunLeftBehindIsRemoved) {
  mkdir((directory_ / "running").c_str(), 0755);
  WriteFile(directory_ / "running/stale.app", "pid 1\nstatus 3\nstarttime 1\n");
  WriteFile(directory_ / "hbbtv", "stale.hbbtv\n");
  StartApps();
  EXPECT_TRUE(std::filesystem::is_empty(directory_ / "running"));
  EXPECT_FALSE(std::filesystem::exists(directory_ / "hbbtv"));
}

GVariant* PlainRequest(const char* app_id, const char* extra_data) {
  return g_variant_new("(sss@a(ss))", app_id, "operation", "the:uri", g_variant_new_parsed(extra_data));
}

TEST_F(SimulatorAppsTest, APlainLaunchRequestStartsTheApplicationAndTellsItsProcess) {
  StartApps();
  const Reply reply = CallControl("LaunchRequest", PlainRequest("kelvo.b", "[('key', 'value')]"));
  ASSERT_TRUE(reply.value) << reply.message;
  int pid = 0;
  g_variant_get(reply.value.get(), "(i)", &pid);
  EXPECT_EQ(RunningNumber("kelvo.b", "pid"), pid);
  const std::string environment = ReadFile("/proc/" + std::to_string(pid) + "/environ");
  EXPECT_THAT(environment, HasSubstr("NUV_EXTRA_DATA={\"key\":\"value\"}"));
  EXPECT_THAT(environment, HasSubstr("NUV_APP_ID=b.app"));
  EXPECT_THAT(environment, HasSubstr("NUV_URI=the:uri"));
  EXPECT_THAT(environment, HasSubstr("NUV_OPERATION=operation"));
  EXPECT_EQ(CallControl("LaunchRequest", PlainRequest("b.app", "@a(ss) []")).Text(), "(" + std::to_string(pid) + ",)");
}

TEST_F(SimulatorAppsTest, APlainLaunchRequestForAnUnknownApplicationIsAnError) {
  StartApps();
  const Reply reply = CallControl("LaunchRequest", PlainRequest("no.app", "@a(ss) []"));
  EXPECT_EQ(reply.error, "org.kelvo.tv.NuvSimulator1.Error.NotLaunched");
  EXPECT_THAT(reply.message, StartsWith("no.app"));
}

TEST_F(SimulatorAppsTest, TheCommonUiEndsWhenItIsTold) {
  StartApps();
  CallControl("LaunchRequest", PlainRequest("org.kelvo.corvane-commui", "[('MethodName', 'Launch')]"));
  EXPECT_GT(RunningNumber("org.kelvo.corvane-commui", "pid"), 0);
  CallControl("LaunchRequest", PlainRequest("org.kelvo.corvane-commui", "[('MethodName', 'kill')]"));
  EXPECT_TRUE(StopsRunning("org.kelvo.corvane-commui"));
}

TEST_F(SimulatorAppsTest, RunningAppsListsIdsProcessesAndStatuses) {
  StartApps();
  EXPECT_EQ(CallControl("RunningApps", nullptr).Text(), "([],)");
  OutcomeOf({"b.app"});
  const std::string pid = std::to_string(RunningNumber("kelvo.b", "pid"));
  EXPECT_EQ(CallControl("RunningApps", nullptr).Text(), "([('b.app', " + pid + ", 3)],)");
}

TEST_F(SimulatorAppsTest, PayloadsAreThoseOfTheLastLaunch) {
  StartApps();
  EXPECT_EQ(CallControl("Payloads", nullptr).Text(), "({},)");
  Launch launch("b.app");
  launch.payload = "first=1";
  OutcomeOf(launch);
  const std::string pid = std::to_string(RunningNumber("kelvo.b", "pid"));
  EXPECT_EQ(CallControl("Payloads", nullptr).Text(), "({" + pid + ": 'first=1'},)");
  launch.payload = "last=1";
  launch.event_index = 2;
  OutcomeOf(launch);
  EXPECT_EQ(CallControl("Payloads", nullptr).Text(), "({" + pid + ": 'last=1'},)");
}

}  // namespace

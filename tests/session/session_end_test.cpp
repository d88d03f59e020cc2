// However a session ends, nothing of it is left.
#include <signal.h>
#include <sys/prctl.h>

#include <filesystem>

#include "session_fixture.h"

namespace {

using testing::HasSubstr;

using SessionEndTest = SessionTest;

TEST_F(SessionEndTest, TheSessionEndsWithItsCommand) {
  const SessionRun run = RunScript("nuvctl launch org.kelvo.app.clock --wait 20");
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_TRUE(NothingIsLeft());
}

TEST_F(SessionEndTest, WhatTheCommandLeavesInTheBackgroundEndsWithIt) {
  const SessionRun run = RunScript("sleep 1000 & setsid sleep 1000 & (trap '' HUP TERM; sleep 1000) & exit 3");
  EXPECT_EQ(run.status, 3);
  EXPECT_TRUE(NothingIsLeft());
}

// Known by its descent alone. Whoever is left to the test would not be waited for.
TEST_F(SessionEndTest, WhatClearsItsEnvironmentEndsWithTheCommand) {
  ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
  const std::string file = files_ / "pid";
  const std::string wait = "; while [ ! -s " + file + " ]; do sleep 0.05; done";
  const SessionRun run = RunScript("setsid env -i sh -c 'echo $$ >" + file + "; exec sleep 1000' &" + wait.substr(1));
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(kill(std::stoi(ReadFile(file)), 0), 0);
}

TEST_F(SessionEndTest, WhatTheCommandLeavesCanTidyUp) {
  const std::string told = files_ / "told";
  const SessionRun run =
      RunScript("sh -c 'trap \"echo tidy >" + told + "; exit\" TERM; echo >" + told +
                ".on; while :; do sleep 0.05; done' & while [ ! -e " + told + ".on ]; do sleep 0.05; done");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(ReadFile(told), "tidy\n");
}

TEST_F(SessionEndTest, ASessionThatIsKilledLeavesNeitherProcessNorDirectory) {
  const auto session =
      Start({"--", "sh", "-c", "nuvctl launch org.kelvo.app.clock --wait 20; setsid sleep 1000 & sleep 1000"});
  ASSERT_TRUE(WaitForText(*session, "launched")) << session->Errors();
  ASSERT_TRUE(WaitUntil([this] { return Processes("sleep 1000").size() >= 4; }));
  ASSERT_FALSE(Processes("--stand-in").empty());
  session->KillAndWait();
  EXPECT_TRUE(WaitUntil([this] { return NothingIsLeft(); }, Milliseconds(30000)));
}

TEST_F(SessionEndTest, ASessionThatIsKilledWhileItStartsLeavesNothing) {
  WriteScript(files_ / "dbus-daemon", "exec sleep 1000");
  const auto session = Start({"--start-limit", "600", "true"}, {{"PATH", files_.path() + ":/usr/bin:/bin"}});
  ASSERT_TRUE(WaitUntil([this] { return !Processes("sleep 1000").empty(); }));
  session->KillAndWait();
  EXPECT_TRUE(WaitUntil([this] { return NothingIsLeft(); }, Milliseconds(30000)));
}

TEST_F(SessionEndTest, ASignalWhileItStartsEndsIt) {
  WriteScript(files_ / "dbus-daemon", "exec sleep 1000");
  const auto session = Start({"--start-limit", "600", "true"}, {{"PATH", files_.path() + ":/usr/bin:/bin"}});
  ASSERT_TRUE(WaitUntil([this] { return !Processes("sleep 1000").empty(); }));
  session->Signal(SIGINT);
  EXPECT_EQ(Finish(*session).status, 128 + SIGINT);
  EXPECT_TRUE(NothingIsLeft());
}

TEST_F(SessionEndTest, WhereItsKeeperIsKilledTheSessionEndsItself) {
  const auto session = StartWaiting();
  const pid_t keeper = Keeper();
  ASSERT_NE(keeper, 0);
  kill(keeper, SIGKILL);
  const SessionRun run = Finish(*session);
  EXPECT_EQ(run.status, 125);
  EXPECT_THAT(run.errors, HasSubstr("was killed"));
  EXPECT_TRUE(NothingIsLeft());
}

TEST_F(SessionEndTest, WhereTheKeeperIsAskedToEndTheSessionDoes) {
  const auto session = StartWaiting();
  kill(Keeper(), SIGTERM);
  // SIGHUP follows soon, and overtakes it where the command gets no time.
  EXPECT_THAT(Finish(*session).status, testing::AnyOf(128 + SIGTERM, 128 + SIGHUP));
  EXPECT_TRUE(NothingIsLeft());
}

// Nobody is left to tidy up but the next one.
TEST_F(SessionEndTest, WhatWasKilledWithItsKeeperIsTakenAwayByTheNextSession) {
  const auto session = StartWaiting({"--name", "again"});
  const pid_t keeper = Keeper();
  kill(keeper, SIGKILL);
  kill(session->pid(), SIGSTOP);
  session->KillAndWait();
  ASSERT_TRUE(WaitUntil([this] { return Processes("dbus-daemon").empty() && Processes("nuv-simulator").empty(); }));
  if (std::filesystem::exists(Sessions() + "/again")) {
    WriteFile(Sessions() + "/again/left", "over");
  }
  const SessionRun next = RunScript("! test -e $(dirname $NUV_SESSION_LOG)/left", {"--name", "again"});
  EXPECT_EQ(next.status, 0) << next.errors;
  for (const pid_t pid : Processes()) kill(pid, SIGKILL);
}

TEST_F(SessionEndTest, AServiceThatDiesIsToldOfAtTheEnd) {
  WriteFile(files_ / "scenario.json", R"([{"method": "launch_app", "answer": "exit"}])");
  const SessionRun run =
      RunScript("nuvctl launch org.kelvo.app.clock --wait 20; exit 6", {"--scenario", files_ / "scenario.json"});
  EXPECT_EQ(run.status, 6);
  EXPECT_THAT(run.errors, HasSubstr("nuv-session: nuv-simulator ended before the command did, with status 70"));
}

TEST_F(SessionEndTest, AServiceWhoseDeathIsHeardOfAfterTheCommandsEndIsToldOf) {
  const auto session = StartWaiting();
  const pid_t keeper = Keeper();
  ASSERT_NE(keeper, 0);
  kill(keeper, SIGSTOP);
  for (const pid_t pid : Processes("nuv-simulator")) kill(pid, SIGKILL);
  session->Signal(SIGTERM);
  // Left are nuv-session and its keeper, which have the words of the command as well.
  EXPECT_TRUE(WaitUntil([this] { return Processes("echo ready").size() == 2; }));
  kill(keeper, SIGCONT);
  const SessionRun run = Finish(*session);
  EXPECT_EQ(run.status, 128 + SIGTERM);
  EXPECT_THAT(run.errors, HasSubstr("nuv-session: nuv-simulator ended before the command did, with signal 9"));
}

// It has left the bus, which the command may see, and is not over before it is asked to end.
TEST_F(SessionEndTest, AServiceThatDiesWhileTheSessionEndsIsToldOf) {
  std::filesystem::copy_file(kSession, files_ / "nuv-session");
  WriteScript(files_ / "nuv-simulator",
              "trap 'kill $!; wait; exit 70' TERM\n" NUV_BIN_DIR "/nuv-simulator \"$@\" &\nwait");
  Process session({files_ / "nuv-session", "true"}, files_.path(), {{"XDG_RUNTIME_DIR", runtime_.path()}});
  const SessionRun run = Finish(session);
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.errors, HasSubstr("nuv-session: nuv-simulator ended before the command did, with status 70"));
}

TEST_F(SessionEndTest, TwoSessionsAtOnceAreTwoTelevisions) {
  const auto one = StartWaiting({"--name", "one"});
  const std::string other =
      "nuvctl launch org.kelvo.app.clock --wait 20 && nuvctl status org.kelvo.app.clock && echo $NUV_HOST_DIR";
  const SessionRun two = RunScript(other);
  EXPECT_EQ(two.status, 0) << two.errors;
  EXPECT_THAT(two.output, HasSubstr(Sessions() + "/1/state"));
  EXPECT_TRUE(std::filesystem::is_empty(Sessions() + "/one/state/running"));
  EXPECT_TRUE(one->Running());
  one->Signal(SIGTERM);
  EXPECT_EQ(Finish(*one).status, 128 + SIGTERM);
}

TEST_F(SessionEndTest, ASessionWithinASessionEndsAlone) {
  const SessionRun run =
      RunScript(std::string(kSession) +
                " sh -c 'echo $NUV_SESSION; exit 3'; echo $? $NUV_SESSION; nuvctl list --count 1 >/dev/null");
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output, "2\n3 1\n");
}

// A keeper ends its own session, for which it needs longer than it is given to those that are ended.
TEST_F(SessionEndTest, ASessionWithinASessionThatIsKilledLeavesNothing) {
  const auto outer =
      Start({"--", kSession, "--", "sh", "-c", "trap '' TERM HUP; echo ready; while :; do sleep 0.05; done"});
  ASSERT_TRUE(WaitForText(*outer, "ready")) << outer->Errors();
  outer->KillAndWait();
  EXPECT_TRUE(WaitUntil([this] { return NothingIsLeft(); }, Milliseconds(30000)));
}

TEST_F(SessionEndTest, ManySessionsAtOnceComeAndGo) {
  std::vector<std::unique_ptr<Process>> sessions;
  for (int i = 0; i < 6; ++i)
    sessions.push_back(Start({"sh", "-c", "nuvctl list --count 1 >/dev/null && echo $NUV_SESSION"}));
  std::vector<std::string> names;
  for (const auto& session : sessions) {
    const SessionRun run = Finish(*session);
    EXPECT_EQ(run.status, 0) << run.errors;
  }
  EXPECT_TRUE(NothingIsLeft());
}

}  // namespace

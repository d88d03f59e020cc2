// The command in a session: what it finds, its exit status, the signals that reach it.
#include <signal.h>
#include <unistd.h>

#include "session_fixture.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using SessionCommandTest = SessionTest;

TEST_F(SessionCommandTest, TheStatusOfTheCommandIsReturned) {
  EXPECT_EQ(Run({"true"}).status, 0);
  EXPECT_EQ(RunScript("exit 7").status, 7);
  EXPECT_EQ(RunScript("exit 255").status, 255);
}

TEST_F(SessionCommandTest, ACommandThatASignalEndsHasTheStatusOfAShell) {
  EXPECT_EQ(RunScript("kill -KILL $$").status, 128 + SIGKILL);
  EXPECT_EQ(RunScript("kill -TERM $$").status, 128 + SIGTERM);
}

TEST_F(SessionCommandTest, ACommandThatIsNotThereIs127AndStartsNothing) {
  const SessionRun run = Run({"--state", files_ / "state", "--", "no-such-command"});
  EXPECT_EQ(run.status, 127);
  EXPECT_EQ(run.errors, "nuv-session: cannot run no-such-command: No such file or directory\n");
  EXPECT_EQ(run.output, "");
  EXPECT_NE(access((files_ / "state").c_str(), F_OK), 0);
  EXPECT_EQ(Run({"--", "/no/such/command"}).status, 127);
  EXPECT_EQ(Run({"--", ""}).status, 127);
}

TEST_F(SessionCommandTest, ACommandThatCannotBeExecutedIs126AndStartsNothing) {
  const std::string file = files_ / "not executable";
  WriteFile(file, "text");
  const SessionRun run = Run({"--state", files_ / "state", "--", file});
  EXPECT_EQ(run.status, 126);
  EXPECT_EQ(run.errors, "nuv-session: cannot run " + file + ": Permission denied\n");
  EXPECT_NE(access((files_ / "state").c_str(), F_OK), 0);
  EXPECT_EQ(Run({"--", files_.path()}).status, 126);
  EXPECT_EQ(Run({"--", "not executable"}, {{"PATH", files_.path() + ":/usr/bin:/bin"}}).status, 126);
}

TEST_F(SessionCommandTest, ACommandWhoseInterpreterIsNotThereIs127) {
  const std::string file = WriteScript(files_ / "script", "");
  WriteFile(file, "#!/no/such/interpreter\n");
  const SessionRun run = Run({"--", file});
  EXPECT_EQ(run.status, 127);
  EXPECT_THAT(run.errors, HasSubstr("cannot run " + file));
}

TEST_F(SessionCommandTest, TheCommandFindsBusStateAndToolsInItsEnvironment) {
  const SessionRun run =
      RunScript("echo $DBUS_SYSTEM_BUS_ADDRESS; echo $NUV_HOST_DIR; command -v nuvctl; echo $NUV_SESSION");
  const std::string directory = Sessions() + "/1";
  EXPECT_EQ(run.output, "unix:path=" + directory + "/bus\n" + directory + "/state\n" NUV_BIN_DIR "/nuvctl\n1\n");
  EXPECT_EQ(run.errors, "");
}

TEST_F(SessionCommandTest, TheOrderOfPathStaysWhereTheToolsAreFoundInIt) {
  const std::string path = files_.path() + ":" NUV_BIN_DIR ":/usr/bin:/bin";
  EXPECT_EQ(Run({"sh", "-c", "echo $PATH"}, {{"PATH", path}}).output, path + "\n");
  EXPECT_EQ(Run({"sh", "-c", "echo $PATH"}, {{"PATH", "/usr/bin:/bin"}}).output, NUV_BIN_DIR ":/usr/bin:/bin\n");
}

TEST_F(SessionCommandTest, TheCommandWorksWithTheSampleCatalogueAndLaunchesApplications) {
  const SessionRun run =
      RunScript("nuvctl launch org.kelvo.app.clock --wait 20 && nuvctl list --count 1 && cat $NUV_HOST_DIR/running/*");
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("launched: 900"));
  EXPECT_THAT(run.output, HasSubstr("Clock"));
  EXPECT_THAT(run.output, HasSubstr("pid "));
}

TEST_F(SessionCommandTest, SeedScenarioAndPinAnswerReachTheService) {
  WriteFile(files_ / "it's a seed.json", R"({"apps": [{"id": "an.app", "is_lock": 1}, {"id": "other.app"}]})");
  WriteFile(files_ / "a \"scenario\".json",
            R"([{"method": "launch_app", "app": "other.app", "results": [{"event": 903, "res": 404}]}])");
  const SessionRun run = RunScript(
      "nuvctl list --json; nuvctl launch an.app --wait 20; nuvctl launch other.app --wait 20",
      {"--seed", files_ / "it's a seed.json", "--scenario", files_ / "a \"scenario\".json", "--pin-answer", "right"});
  EXPECT_THAT(run.output, HasSubstr("an.app"));
  EXPECT_THAT(run.output, Not(HasSubstr("clock")));
  EXPECT_THAT(run.output, HasSubstr("launched: 900"));
  EXPECT_THAT(run.output + run.errors, HasSubstr("404"));
}

// Waiting for the service must not use up what a rule counts.
TEST_F(SessionCommandTest, TheScenariosFirstCallIsTheCommands) {
  WriteFile(files_ / "scenario.json", R"([{"count": 1, "answer": "error", "error_name": "an.error"}])");
  const SessionRun run = RunScript(
      "dbus-send --system --print-reply --dest=org.kelvo.tv.corvane.server /org/kelvo/tv/corvane/server"
      " org.kelvo.tv.corvane.server.interface.heartbeat",
      {"--scenario", files_ / "scenario.json"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, HasSubstr("an.error"));
}

TEST_F(SessionCommandTest, StandardStreamsAreTheCommands) {
  const auto shell = files_ / "commands";
  WriteFile(shell, "echo from $NUV_SESSION; echo error >&2; exit 5\n");
  const std::string line = std::string(kSession) + " --name piped <" + shell;
  const Process::Environment environment = {{"XDG_RUNTIME_DIR", runtime_.path()}, {"SHELL", "/bin/sh"}};
  Process session({"sh", "-c", line}, files_.path(), environment);
  const SessionRun run = Finish(session);
  EXPECT_EQ(run.status, 5);
  EXPECT_EQ(run.output, "from piped\n");
  EXPECT_EQ(run.errors, "error\n");
}

TEST_F(SessionCommandTest, ArgumentsPassAsTheyAre) {
  EXPECT_EQ(Run({"printf", "%s|", "--name", "two words", "it's", "--", ""}).output, "--name|two words|it's|--||");
  EXPECT_EQ(Run({"--", "printf", "%s|", "--name"}).output, "--name|");
}

class SignalTest : public SessionTest, public testing::WithParamInterface<int> {};

TEST_P(SignalTest, IsPassedOnToTheCommandWhoseStatusCounts) {
  const std::string number = std::to_string(GetParam());
  const auto session =
      Start({"--", "sh", "-c", "trap 'echo heard; exit 9' " + number + "; echo ready; while :; do sleep 0.05; done"});
  ASSERT_TRUE(WaitForText(*session, "ready")) << session->Errors();
  session->Signal(GetParam());
  EXPECT_EQ(Finish(*session).status, 9);
  EXPECT_THAT(session->Output(), HasSubstr("heard"));
}
INSTANTIATE_TEST_SUITE_P(SessionCommandTest, SignalTest,
                         testing::Values(SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2));

TEST_F(SessionCommandTest, ASignalThatIsIgnoredStaysSo) {
  Process session({"sh", "-c", "trap '' HUP; exec " + std::string(kSession) + " sh -c 'kill -HUP $$; exit 3'"},
                  files_.path(), {{"XDG_RUNTIME_DIR", runtime_.path()}});
  EXPECT_EQ(Finish(session).status, 3);
}

TEST_F(SessionCommandTest, TheCommandsSignalsAreNotBlocked) {
  EXPECT_THAT(Run({"grep", "SigBlk", "/proc/self/status"}).output, HasSubstr("0000000000000000"));
}

// What the session opens is not taken for a stream of its own, or of its keeper: its lock was lost so.
TEST_F(SessionCommandTest, AClosedStandardStreamTakesNobodysPlace) {
  const std::string file = files_ / "on";
  const std::string script = "'echo >" + file + "; while [ -e " + file + " ]; do sleep 0.05; done; exit 4'";
  Process session({"sh", "-c", std::string(kSession) + " --name tv sh -c " + script + " <&- >&- 2>&-"}, files_.path(),
                  {{"XDG_RUNTIME_DIR", runtime_.path()}});
  ASSERT_TRUE(WaitUntil([&] { return access(file.c_str(), F_OK) == 0; }));
  EXPECT_EQ(Run({"--name", "tv", "true"}).status, 125);
  unlink(file.c_str());
  EXPECT_EQ(Finish(session).status, 4);
}

}  // namespace

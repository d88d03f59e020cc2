// What stands in the way of a session is said, with the end of the log, and nothing is left.
#include <signal.h>

#include <filesystem>

#include "session_fixture.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// A directory of programs that takes the place of the system's.
class SessionStartTest : public SessionTest {
 protected:
  SessionRun RunWithDaemon(const std::string& script, const Arguments& options = {}) const {
    std::filesystem::create_directory(files_ / "programs");
    WriteScript(files_ / "programs/dbus-daemon", script);
    Arguments arguments = options;
    arguments.insert(arguments.end(), {"--", "touch", files_ / "run"});
    return Run(arguments, {{"PATH", files_ / "programs" + ":/usr/bin:/bin"}});
  }
  void ExpectNoSession(const SessionRun& run) const {
    EXPECT_EQ(run.status, 125) << run.errors;
    EXPECT_THAT(run.errors, StartsWith("nuv-session: "));
    EXPECT_FALSE(std::filesystem::exists(files_ / "run"));
    EXPECT_TRUE(NothingIsLeft());
  }
};

TEST_F(SessionStartTest, ADaemonThatIsNotInstalledIsSaid) {
  std::filesystem::create_directory(files_ / "programs");
  std::filesystem::create_symlink("/bin/sh", files_ / "programs/sh");
  const SessionRun run = Run({"--", "sh", "-c", "true"}, {{"PATH", files_ / "programs"}});
  ExpectNoSession(run);
  EXPECT_THAT(run.errors, HasSubstr("dbus-daemon cannot be started: No such file or directory: is it installed?"));
}

TEST_F(SessionStartTest, ADaemonThatEndsIsSaidWithItsLog) {
  const SessionRun run = RunWithDaemon("echo first; echo the last words >&2; exit 3");
  ExpectNoSession(run);
  EXPECT_EQ(run.errors,
            "nuv-session: dbus-daemon did not start: it ended with status 3; its log ends with:\n"
            "  first\n  the last words\n");
}

// Whatever is heard of first: that its output is closed, or that it has ended.
TEST_F(SessionStartTest, ADaemonThatEndsIsNotedAtOnce) {
  WriteScript(files_ / "dbus-daemon",
              "echo on >" + (files_ / "on") + "; while [ -e " + (files_ / "on") + " ]; do sleep 0.02; done; exit 3");
  const auto session = Start({"--start-limit", "600", "true"}, {{"PATH", files_.path() + ":/usr/bin:/bin"}});
  ASSERT_TRUE(WaitUntil([this] { return std::filesystem::exists(files_ / "on"); }));
  const pid_t keeper = Keeper();
  ASSERT_NE(keeper, 0);
  kill(keeper, SIGSTOP);
  std::filesystem::remove(files_ / "on");
  EXPECT_TRUE(WaitUntil([this] { return Processes("/dbus-daemon --nofork").empty(); }));
  kill(keeper, SIGCONT);
  EXPECT_EQ(session->Wait(Milliseconds(20000)), 125);
}

TEST_F(SessionStartTest, ALogShowsOnlyItsEndAndNothingThatATerminalActsUpon) {
  const SessionRun run = RunWithDaemon("for i in $(seq 30); do echo line $i; done; printf '\\033[2J\\n'; exit 3");
  ExpectNoSession(run);
  EXPECT_THAT(run.errors, AllOf(HasSubstr("  line 20\n"), HasSubstr("line 30\n  ?[2J\n")));
  EXPECT_THAT(run.errors, Not(HasSubstr("line 19\n")));
}

TEST_F(SessionStartTest, ADaemonThatDoesNotGetReadyIsGivenUp) {
  const SessionRun run = RunWithDaemon("echo waiting; exec sleep 1000", {"--start-limit", "1"});
  ExpectNoSession(run);
  EXPECT_THAT(run.errors, HasSubstr("dbus-daemon did not get ready within 1 s"));
  EXPECT_THAT(run.errors, HasSubstr("  waiting\n"));
}

TEST_F(SessionStartTest, ABusThatIsNoneIsNotTakenForOne) {
  const SessionRun run = RunWithDaemon(
      "for option; do case $option in --print-address=*) eval \"echo unix:path=/x >&${option#*=}\";; esac; done;"
      "exec sleep 1000");
  ExpectNoSession(run);
  EXPECT_THAT(run.errors, HasSubstr("nuv-simulator did not start: it ended with status 1"));
}

TEST_F(SessionStartTest, ASeedThatIsWrongIsSaid) {
  WriteFile(files_ / "seed.json", "{\"apps\": [{}]}");
  const SessionRun run =
      Run({"--state", files_ / "state", "--seed", files_ / "seed.json", "--", "touch", files_ / "run"});
  ExpectNoSession(run);
  EXPECT_THAT(run.errors, HasSubstr("nuv-simulator did not start: it ended with status 2"));
  EXPECT_THAT(run.errors, HasSubstr(files_ / "seed.json"));
  EXPECT_FALSE(std::filesystem::exists(files_ / "state"));
}

TEST_F(SessionStartTest, AnAnswerThatTheServiceDoesNotKnowIsSaid) {
  const SessionRun run = Run({"--pin-answer", "maybe", "--", "touch", files_ / "run"});
  ExpectNoSession(run);
  EXPECT_THAT(run.errors, HasSubstr("maybe"));
}

TEST_F(SessionStartTest, WordsThatItDoesNotKnowAreRefused) {
  for (const Arguments& arguments : {Arguments{"--sede", "x", "true"},
                                     {"--name", "a/b", "true"},
                                     {"--name", "..", "true"},
                                     {"--name", "", "true"},
                                     {"--keep", "--state", "x", "true"},
                                     {"--attach", "x", "--seed", "y", "true"},
                                     {"--attach", "x", "--no-policy", "true"},
                                     {"--start-limit", "0", "true"},
                                     {"--"}}) {
    EXPECT_EQ(Run(arguments).status, 125) << arguments[0];
  }
  EXPECT_EQ(Run({"--help"}).status, 0);
  EXPECT_EQ(Run({"--version"}).status, 0);
}

TEST_F(SessionStartTest, ANameThatIsInUseIsRefusedAndItsSessionGoesOn) {
  const auto first = StartWaiting({"--name", "tv"});
  const SessionRun run = Run({"--name", "tv", "--", "touch", files_ / "run"});
  EXPECT_EQ(run.status, 125);
  EXPECT_THAT(run.errors, HasSubstr("a session with the name tv runs already"));
  EXPECT_FALSE(std::filesystem::exists(files_ / "run"));
  EXPECT_TRUE(first->Running());
  EXPECT_EQ(Run({"--attach", "tv", "--", "nuvctl", "list", "--count", "1"}).status, 0);
  first->Signal(SIGTERM);
  Finish(*first);
}

}  // namespace

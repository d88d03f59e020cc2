// A session on a terminal: the user's shell, its jobs, and a terminal that goes away.
#include <signal.h>

#include "session_fixture.h"
#include "terminal_session.h"

namespace {

using testing::HasSubstr;

class SessionTerminalTest : public SessionTest {
 protected:
  // With a home of its own.
  Arguments Command(const Arguments& options, const Arguments& variables = {"SHELL=/bin/bash"}) const {
    Arguments command = {"env", "XDG_RUNTIME_DIR=" + runtime_.path(), "HOME=" + files_.path(), "TERM=dumb"};
    command.insert(command.end(), variables.begin(), variables.end());
    command.push_back(kSession);
    command.insert(command.end(), options.begin(), options.end());
    return command;
  }
};

TEST_F(SessionTerminalTest, TheShellHasTwoLinesOfHelpAndAMarkInItsPrompt) {
  WriteFile(files_ / ".bashrc", "PS1='mine> '\n");
  TerminalSession terminal(Command({}));
  ASSERT_TRUE(terminal.Shows("(nuv 1) mine> ")) << terminal.screen();
  EXPECT_THAT(terminal.screen(), HasSubstr("A private TV until you exit"));
  EXPECT_THAT(terminal.screen(), HasSubstr("nuv-session --attach 1\r\n"));
  terminal.Type("nuvctl list --count 1 | wc -l\n");
  EXPECT_TRUE(terminal.Shows("\n2\r\n")) << terminal.screen();
  terminal.Type("exit 6\n");
  EXPECT_TRUE(terminal.Ends(6)) << terminal.screen();
}

TEST_F(SessionTerminalTest, AnyOtherShellHasTheMarkToo) {
  TerminalSession terminal(Command({"--name", "tv"}, {"SHELL=/bin/dash"}));
  ASSERT_TRUE(terminal.Shows("(nuv tv) ")) << terminal.screen();
  terminal.Type("exit 3\n");
  EXPECT_TRUE(terminal.Ends(3));
}

TEST_F(SessionTerminalTest, AShellThatIsNotThereIsReplaced) {
  TerminalSession terminal(Command({}, {"SHELL=/no/such/shell"}));
  ASSERT_TRUE(terminal.Shows("(nuv 1) ")) << terminal.screen();
  terminal.Type("exit 4\n");
  EXPECT_TRUE(terminal.Ends(4));
}

TEST_F(SessionTerminalTest, JobsOfTheShellStopAndGoOn) {
  TerminalSession terminal(Command({}));
  ASSERT_TRUE(terminal.Shows("(nuv 1) "));
  terminal.Type("cat\n");
  ASSERT_TRUE(WaitUntil([&] { return !Processes("cat").empty() && terminal.Foreground() == Processes("cat")[0]; }));
  terminal.Type("\032");
  ASSERT_TRUE(terminal.Shows("Stopped")) << terminal.screen();
  terminal.Type("fg\n");
  ASSERT_TRUE(WaitUntil([&] { return terminal.Foreground() == Processes("cat")[0]; }));
  terminal.Type("\003");
  ASSERT_TRUE(terminal.Shows("(nuv 1) ", 3));
  terminal.Type("echo status $?\n");
  EXPECT_TRUE(terminal.Shows("status 130\r\n")) << terminal.screen();
  terminal.Type("exit\n");
  EXPECT_TRUE(terminal.Ends(0));
}

TEST_F(SessionTerminalTest, AnInterruptIsTheCommandsToDecideAbout) {
  TerminalSession terminal(
      Command({"--", "sh", "-c", "trap 'echo heard' INT; echo ready; while :; do sleep 0.05; done"}));
  ASSERT_TRUE(terminal.Shows("ready"));
  terminal.Type("\003");
  ASSERT_TRUE(terminal.Shows("heard"));
  terminal.Type("\003");
  ASSERT_TRUE(terminal.Shows("heard", 2)) << terminal.screen();
  kill(terminal.pid(), SIGTERM);
  EXPECT_TRUE(terminal.Ends(128 + SIGTERM));
}

// Stopped, the session hears of the interrupt only when the command has handled it. What it passes on, it does in
// order.
TEST_F(SessionTerminalTest, AnInterruptOfTheTerminalIsNotPassedOnASecondTime) {
  TerminalSession terminal(Command({"--", "bash", "-c",
                                    "trap 'echo heard $((++n))' INT; trap 'echo other' USR1; echo ready;"
                                    "while :; do sleep 0.05; done"}));
  ASSERT_TRUE(terminal.Shows("ready"));
  kill(terminal.pid(), SIGSTOP);
  terminal.Type("\003");
  ASSERT_TRUE(terminal.Shows("heard 1"));
  kill(terminal.pid(), SIGUSR1);
  kill(terminal.pid(), SIGCONT);
  ASSERT_TRUE(terminal.Shows("other"));
  EXPECT_EQ(terminal.screen().find("heard 2"), std::string::npos) << terminal.screen();
  kill(terminal.pid(), SIGTERM);
  EXPECT_TRUE(terminal.Ends(128 + SIGTERM));
}

TEST_F(SessionTerminalTest, TheWholeSessionStopsAndGoesOnAsAJob) {
  TerminalSession terminal({"bash", "--norc", "-i"});
  terminal.Type("export XDG_RUNTIME_DIR=" + runtime_.path() + " PS1='outer> '; " + kSession + " cat\n");
  ASSERT_TRUE(WaitUntil([&] { return Processes("cat").size() >= 2; }));
  terminal.Type("one\n");
  ASSERT_TRUE(terminal.Shows("one\r\n", 2));
  terminal.Type("\032");
  ASSERT_TRUE(terminal.Shows("Stopped")) << terminal.screen();
  terminal.Type("fg\n");
  ASSERT_TRUE(WaitUntil([&] { return terminal.Foreground() != terminal.pid(); }));
  terminal.Type("two\n");
  ASSERT_TRUE(terminal.Shows("two\r\n", 2)) << terminal.screen();
  terminal.Type("\004");
  ASSERT_TRUE(terminal.Shows("outer> ", 3)) << terminal.screen();
  terminal.Type("echo status $?\n");
  EXPECT_TRUE(terminal.Shows("status 0\r\n")) << terminal.screen();
  terminal.Type("exit\n");
  EXPECT_TRUE(terminal.Ends(0));
}

TEST_F(SessionTerminalTest, ATerminalThatGoesAwayEndsTheSession) {
  TerminalSession terminal(Command({}));
  ASSERT_TRUE(terminal.Shows("(nuv 1) "));
  terminal.Type("nuvctl launch org.kelvo.app.clock --wait 20; (trap '' HUP; sleep 1000) &\n");
  ASSERT_TRUE(terminal.Shows("launched"));
  terminal.HangUp();
  EXPECT_TRUE(WaitUntil([this] { return NothingIsLeft(); }, Milliseconds(30000)));
}

TEST_F(SessionTerminalTest, TheTerminalIsGivenBackWhenAShellIsKilled) {
  TerminalSession terminal({"sh", "-c",
                            "XDG_RUNTIME_DIR=" + runtime_.path() + " HOME=" + files_.path() + " SHELL=/bin/bash " +
                                kSession + "; echo status $?; read line; echo got $line"});
  ASSERT_TRUE(terminal.Shows("(nuv 1) ")) << terminal.screen();
  terminal.Type("kill -KILL $$\n");
  ASSERT_TRUE(terminal.Shows("status 137")) << terminal.screen();
  terminal.Type("on\n");
  EXPECT_TRUE(terminal.Shows("got on")) << terminal.screen();
}

TEST_F(SessionTerminalTest, ASecondTerminalHasAShellInTheSession) {
  TerminalSession first(Command({"--name", "tv"}));
  ASSERT_TRUE(first.Shows("(nuv tv) "));
  TerminalSession second(Command({"--attach", "tv"}));
  ASSERT_TRUE(second.Shows("(nuv tv) ")) << second.screen();
  second.Type("nuvctl launch org.kelvo.app.clock --wait 20\n");
  ASSERT_TRUE(second.Shows("launched")) << second.screen();
  first.Type("nuvctl status org.kelvo.app.clock\n");
  EXPECT_TRUE(first.Shows("running")) << first.screen();
  first.Type("exit\n");
  EXPECT_TRUE(first.Ends(0));
  EXPECT_TRUE(second.Shows("the session tv has ended")) << second.screen();
}

}  // namespace

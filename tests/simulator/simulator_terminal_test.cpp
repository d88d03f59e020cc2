// The PIN, typed on a terminal in front of which the simulator runs.
#include <gmock/gmock.h>
#include <nuv/nuv_launch_codes.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include "simulator_fixture.h"
#include "terminal_session.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using Outcome = std::pair<int, int>;

constexpr const char* kDialog = "org.kelvo.corvane-commui";
constexpr const char* kPrompt = "PIN for locked.app: ";
const Outcome kLaunched(NUV_NOTIFY_LAUNCHED, 0);
const Outcome kWrongPin(NUV_NOTIFY_LAUNCH_FAILED, NUV_LAUNCH_STATUS_REFUSED);
const Outcome kCancelled(NUV_NOTIFY_LAUNCH_FAILED, NUV_LAUNCH_STATUS_CANCELLED);

class SimulatorTerminalTest : public SimulatorTest {
 protected:
  void StartOnTerminal(const std::string& before = "exec ", const std::string& after = "") {
    WriteFile(files_ / "catalogue.json", R"({"apps": [{"id": "locked.app", "is_lock": 1}]})");
    const std::string command = before + NUV_BIN_DIR "/nuv-simulator --print-ready -v --pin 2468 --dir " +
                                directory_.path() + " --seed " + (files_ / "catalogue.json") + after;
    session_ = std::make_unique<TerminalSession>(std::vector<std::string>{"sh", "-c", command});
    ASSERT_TRUE(session_->Shows("ready"));
  }
  void AskOnTerminal() {
    StartOnTerminal();
    ASSERT_TRUE(SendLaunch({"locked.app"}));
    ASSERT_TRUE(session_->Shows(kPrompt));
  }
  int DialogPid() const { return RunningNumber(kDialog, "pid"); }
  // The simulator has its terminal back, as it was.
  bool TerminalIsBack() const {
    return WaitUntil([&] { return session_->Foreground() == session_->pid() && session_->Echoes(); });
  }
  std::unique_ptr<TerminalSession> session_;
  ResultObject object_{bus_, "obj1"};
};

TEST_F(SimulatorTerminalTest, TheRightPinIsTypedUnseen) {
  AskOnTerminal();
  EXPECT_FALSE(session_->Echoes());
  EXPECT_EQ(session_->Foreground(), DialogPid());
  session_->Type("2468\n");
  EXPECT_EQ(object_.Outcome(), kLaunched);
  EXPECT_TRUE(TerminalIsBack());
  EXPECT_TRUE(session_->Shows("stopped org.kelvo.corvane-commui"));
  EXPECT_THAT(session_->screen(), Not(HasSubstr("2468")));
}

TEST_F(SimulatorTerminalTest, AWrongPinIsSaidToBeWrong) {
  AskOnTerminal();
  session_->Type("24680\n");
  EXPECT_EQ(object_.Outcome(), kWrongPin);
  EXPECT_TRUE(session_->Shows("Wrong PIN."));
  EXPECT_TRUE(TerminalIsBack());
}

TEST_F(SimulatorTerminalTest, WhatIsNoTextIsAWrongPin) {
  AskOnTerminal();
  session_->Type("\xff\xc3\n");
  EXPECT_EQ(object_.Outcome(), kWrongPin);
}

TEST_F(SimulatorTerminalTest, TheTerminalIsTheSimulatorsAsSoonAsTheAnswerIsThere) {
  AskOnTerminal();
  session_->Type("1\n");
  EXPECT_EQ(object_.Outcome(), kWrongPin);
  EXPECT_EQ(session_->Foreground(), session_->pid());
  session_->Type("\x03");
  EXPECT_TRUE(session_->Ends(0));
}

TEST_F(SimulatorTerminalTest, TheNameOfAnApplicationDoesNotControlTheTerminal) {
  StartOnTerminal();
  const char* request =
      "[('MethodName', 'Launch_pin_code_opr_result'), ('AppId', 'a\\u001b[2J\\u009b\\u202eb'), ('Pid', '1'), "
      "('ThreadId', '1'), "
      "('Index', '1'), ('cbType', '1')]";
  CallControl("LaunchRequest", g_variant_new("(sss@a(ss))", kDialog, "", "", g_variant_new_parsed(request)));
  EXPECT_TRUE(session_->Shows("PIN for a\\u001b[2J\\u009b\\u202eb: "));
}

TEST_F(SimulatorTerminalTest, AnEmptyLineTheEndOfTheInputAndAnInterruptCancel) {
  StartOnTerminal();
  std::size_t times = 0;
  for (const char* typed : {"\n", "\x04", "\x03"}) {
    ASSERT_TRUE(SendLaunch({"locked.app"}));
    ASSERT_TRUE(session_->Shows(kPrompt, ++times));
    session_->Type(typed);
    ASSERT_TRUE(object_.WaitFor(times));
    EXPECT_EQ(object_.results().back().result, NUV_LAUNCH_STATUS_CANCELLED);
    EXPECT_TRUE(session_->Shows("stopped org.kelvo.corvane-commui", times));
    EXPECT_TRUE(TerminalIsBack());
  }
  EXPECT_EQ(Call("heartbeat").Text(), "()");
}

TEST_F(SimulatorTerminalTest, ADialogThatIsKilledLeavesTheTerminalAsItWas) {
  AskOnTerminal();
  ASSERT_FALSE(session_->Echoes());
  kill(DialogPid(), SIGKILL);
  EXPECT_EQ(object_.Outcome(), kCancelled);
  EXPECT_TRUE(TerminalIsBack());
}

TEST_F(SimulatorTerminalTest, ADialogThatIsToldToEndGivesTheTerminalBack) {
  AskOnTerminal();
  CallControl("LaunchRequest",
              g_variant_new("(sss@a(ss))", kDialog, "", "", g_variant_new_parsed("[('MethodName', 'kill')]")));
  EXPECT_EQ(object_.Outcome(), kCancelled);
  EXPECT_TRUE(session_->Shows(" status=0"));
  EXPECT_TRUE(TerminalIsBack());
}

TEST_F(SimulatorTerminalTest, ASecondQuestionWaitsForTheFirst) {
  AskOnTerminal();
  ASSERT_TRUE(SendLaunch({"locked.app"}));
  session_->Type("2468\n");
  ASSERT_TRUE(object_.WaitFor(1));
  ASSERT_TRUE(session_->Shows(kPrompt, 2));
  session_->Type("2468\n");
  ASSERT_TRUE(object_.WaitFor(2));
  EXPECT_EQ(object_.results()[0].event, NUV_NOTIFY_LAUNCHED);
  EXPECT_EQ(object_.results()[1].event, NUV_NOTIFY_BROUGHT_TO_FRONT);
  EXPECT_TRUE(TerminalIsBack());
}

TEST_F(SimulatorTerminalTest, AnInterruptWithoutADialogEndsTheSimulator) {
  StartOnTerminal();
  session_->Type("\x03");
  EXPECT_TRUE(session_->Ends(0));
  EXPECT_FALSE(bus_.NameHasOwner("org.kelvo.tv.corvane.server"));
}

TEST_F(SimulatorTerminalTest, InTheBackgroundOfATerminalItAsksNobody) {
  StartOnTerminal("set -m; ", " & wait");
  ASSERT_TRUE(SendLaunch({"locked.app"}));
  EXPECT_EQ(object_.Outcome(), kWrongPin);
  EXPECT_THAT(session_->screen(), Not(HasSubstr(kPrompt)));
}

}  // namespace

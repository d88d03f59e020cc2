// nuvctl launch when the service, the bus or the user is in the way.
#include <gmock/gmock.h>
#include <signal.h>

#include <chrono>
#include <filesystem>

#include "nuvctl_run.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr char kAcceptsAndReportsNothing[] = R"([{"method": "launch_app", "start": false, "results": []}])";
constexpr char kDoesNotAnswer[] = R"([{"method": "launch_app", "answer": "none"}])";
constexpr char kAccepted[] = "reply   launch_app";
constexpr char kAsked[] = "request launch_app";

constexpr char kRefuseClientName[] =
    "<policy context=\"mandatory\"><deny own_prefix=\"org.kelvo.tv.corvane.launcherclient\"/></policy>";

class Stopwatch {
 public:
  double Seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count(); }

 private:
  const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

}  // namespace

class NuvctlFaults : public NuvctlOnBusTest {
 protected:
  // A launch that waits, up to the moment in which the simulator's output has the text.
  std::unique_ptr<Process> LaunchUntil(const std::string& simulator_says, const Arguments& more = {}) {
    Arguments arguments = {"launch", kApp, "--wait", "60"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    auto nuvctl = Start(arguments);
    EXPECT_TRUE(WaitUntil([&] { return SimulatorSaid(simulator_says); }));
    return nuvctl;
  }
};

TEST_F(NuvctlFaults, AServiceThatReportsNothingIsATimeout) {
  StartSimulator(kAcceptsAndReportsNothing);
  for (const char* shape : {"--webapp", "--plain"}) {
    const Stopwatch stopwatch;
    const NuvctlRun run = Run({"launch", kApp, shape, "--wait", "0.5"});
    EXPECT_EQ(run.status, 4);
    EXPECT_EQ(run.errors, "nuvctl: timed out: the service accepted the launch and reported no result in time\n");
    EXPECT_GE(stopwatch.Seconds(), 0.5);
    EXPECT_LT(stopwatch.Seconds(), 5);
  }
}

TEST_F(NuvctlFaults, AServiceThatDoesNotAnswerDoesNotHoldUpTheDeadline) {
  StartSimulator(kDoesNotAnswer);
  const Stopwatch stopwatch;
  const NuvctlRun run = Run({"launch", kApp, "--wait", "1", "--json"});
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.Json()["outcome"], "timed out");
  EXPECT_LT(stopwatch.Seconds(), 8);
}

TEST_F(NuvctlFaults, ABusThatDoesNotAnswerDoesNotHoldUpTheDeadline) {
  StartSimulator();
  bus_.Pause();
  const Stopwatch stopwatch;
  const NuvctlRun run = Run({"launch", kApp, "--wait", "1"});
  bus_.Resume();
  EXPECT_EQ(run.status, 4);
  EXPECT_LT(stopwatch.Seconds(), 8);
}

TEST_F(NuvctlFaults, ARequestThatRunsOutOfTimeIsATimeout) {
  StartSimulator(kDoesNotAnswer);
  Process nuvctl({NUV_TEST_DIR "/hurried_nuvctl", "launch", kApp, "--no-wait", "--json"}, directory_.path(),
                 {{"NUV_HOST_DIR", directory_ / "client"}});
  const NuvctlRun run = Finish(nuvctl);
  EXPECT_THAT(run.errors, HasSubstr("launch_app within 15000 ms\n"));
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.Json()["name"], "NUV_LAUNCH_STATUS_TIMED_OUT");
}

TEST_F(NuvctlFaults, AServiceThatDiesDuringTheRequestIsGone) {
  StartSimulator(R"([{"method": "launch_app", "answer": "exit"}])");
  const NuvctlRun run = Run({"launch", kApp, "--wait", "20"});
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.errors, StartsWith("nuvctl: service gone: "));
}

TEST_F(NuvctlFaults, AServiceThatDiesRightAfterItsAnswerIsGone) {
  StartSimulator(R"([{"method": "launch_app", "answer": "exit_after_reply", "results": []}])");
  const NuvctlRun run = Run({"launch", kApp, "--wait", "20", "--plain"});
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.errors, StartsWith("nuvctl: service gone: "));
}

TEST_F(NuvctlFaults, AServiceThatIsKilledDuringTheRequestIsGone) {
  StartSimulator(kDoesNotAnswer);
  const auto nuvctl = LaunchUntil(kAsked);
  simulator().KillAndWait();
  EXPECT_EQ(Finish(*nuvctl, Milliseconds(10000)).status, 5);
}

TEST_F(NuvctlFaults, AServiceThatIsKilledDuringTheWaitIsGone) {
  StartSimulator(kAcceptsAndReportsNothing);
  const auto nuvctl = LaunchUntil(kAccepted, {"--json"});
  simulator().KillAndWait();
  const NuvctlRun run = Finish(*nuvctl, Milliseconds(10000));
  EXPECT_EQ(run.status, 5);
  EXPECT_EQ(run.Json()["outcome"], "service gone");
}

TEST_F(NuvctlFaults, AServiceThatIsReplacedDuringTheWaitIsGone) {
  StartSimulator(kAcceptsAndReportsNothing);
  const auto nuvctl = LaunchUntil(kAccepted);
  simulator().KillAndWait();
  StartSimulator(kAcceptsAndReportsNothing);
  EXPECT_EQ(Finish(*nuvctl, Milliseconds(10000)).status, 5);
}

TEST_F(NuvctlFaults, AServiceThatIsReplacedBeforeItsAcceptanceIsKnownIsGone) {
  StartSimulator(kAcceptsAndReportsNothing);
  const std::string release = directory_ / "release";
  Process nuvctl({NUV_TEST_DIR "/held_nuvctl", "launch", kApp, "--wait", "60"}, directory_.path(),
                 {{"NUV_HOST_DIR", directory_ / "client"}, {"NUV_HELD_UNTIL", release}});
  ASSERT_TRUE(WaitUntil([this] { return SimulatorSaid(kAccepted); }));
  simulator().KillAndWait();
  StartSimulator(kAcceptsAndReportsNothing);
  WriteFile(release, "");
  EXPECT_EQ(Finish(nuvctl, Milliseconds(10000)).status, 5);
}

TEST_F(NuvctlFaults, ABusThatIsKilledDuringTheRequestIsGone) {
  StartSimulator(kDoesNotAnswer);
  const auto nuvctl = LaunchUntil(kAsked);
  bus_.Kill();
  EXPECT_EQ(Finish(*nuvctl, Milliseconds(10000)).status, 6);
}

TEST_F(NuvctlFaults, ABusThatIsKilledDuringTheWaitIsGone) {
  StartSimulator(kAcceptsAndReportsNothing);
  const auto nuvctl = LaunchUntil(kAccepted, {"--json"});
  bus_.Kill();
  const NuvctlRun run = Finish(*nuvctl, Milliseconds(10000));
  EXPECT_EQ(run.status, 6);
  EXPECT_EQ(run.Json()["outcome"], "bus gone");
}

TEST_F(NuvctlFaults, AnInterruptEndsTheWait) {
  StartSimulator(kAcceptsAndReportsNothing);
  const auto nuvctl = LaunchUntil(kAccepted, {"--json"});
  nuvctl->Signal(SIGINT);
  const NuvctlRun run = Finish(*nuvctl, Milliseconds(5000));
  EXPECT_EQ(run.status, 130);
  EXPECT_EQ(run.Json()["outcome"], "interrupted");
}

TEST_F(NuvctlFaults, AnInterruptEndsARequestThatIsNotAnswered) {
  StartSimulator(kDoesNotAnswer);
  const auto nuvctl = LaunchUntil(kAsked);
  nuvctl->Signal(SIGINT);
  const NuvctlRun run = Finish(*nuvctl, Milliseconds(5000));
  EXPECT_EQ(run.status, 130);
  EXPECT_EQ(run.errors, "nuvctl: interrupted\n");
}

TEST_F(NuvctlFaults, AProgramOfTheLightweightServiceWatchesTheFullService) {
  StartSimulator(kAcceptsAndReportsNothing);
  const std::string home = directory_ / "litecorvane";
  std::filesystem::create_directory(home);
  std::filesystem::copy_file(NUV_BIN_DIR "/nuvctl", home + "/nuvctl");
  Process nuvctl({home + "/nuvctl", "launch", kApp, "--wait", "60"}, directory_.path());
  ASSERT_TRUE(WaitUntil([&] { return SimulatorSaid(kAccepted); }));
  simulator().KillAndWait();
  EXPECT_EQ(Finish(nuvctl, Milliseconds(10000)).status, 5);
}

// A bus that does not let clients own the name that receives the results.
class NuvctlWithoutResultPath : public NuvctlTest {
 protected:
  PrivateBus bus_{kRefuseClientName};
};

// Four seconds are waited for: a busy machine has to come to the first look long before them.
TEST_F(NuvctlWithoutResultPath, SaysSoLongBeforeTheDeadlineAndTimesOut) {
  StartSimulator();
  const auto nuvctl = Start({"launch", kApp, "--wait", "4", "--json"});
  EXPECT_TRUE(WaitUntil([&] { return nuvctl->Errors().find("no result can arrive: ") != std::string::npos; }));
  EXPECT_TRUE(nuvctl->Running());
  const NuvctlRun run = Finish(*nuvctl);
  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(run.Json()["error"]["message"].get<std::string>(), HasSubstr("timed out: no result can arrive: "));
}

TEST_F(NuvctlWithoutResultPath, SaysSoAtADeadlineThatComesFirst) {
  StartSimulator();
  const NuvctlRun run = Run({"launch", kApp, "--wait", "0.7"});
  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(run.errors, HasSubstr("timed out: no result can arrive: "));
}

// A bus that could start the service, and a service that cannot be started.
class NuvctlWithBrokenActivation : public NuvctlTest {
 protected:
  NuvctlWithBrokenActivation() {
    WriteFile(directory_ / "service.service",
              "[D-BUS Service]\nName=org.kelvo.tv.litecorvane.server\nExec=/bin/false\n");
  }
  void StartBus() { bus_ = std::make_unique<PrivateBus>("", directory_.path()); }

  std::unique_ptr<PrivateBus> bus_;
};

TEST_F(NuvctlWithBrokenActivation, TheRequestFailed) {
  StartBus();
  const NuvctlRun run = Run({"launch", kApp, "--wait", "20"});
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.errors, StartsWith("nuvctl: service gone: the service does not run and could not be started "
                                     "(org.freedesktop.DBus.Error.Spawn.ChildExited: "));
}

// nuvctl ping: heartbeats, and what they took.
#include <gmock/gmock.h>
#include <signal.h>

#include "nuvctl_run.h"
#include "recording_service.h"

using testing::HasSubstr;
using testing::MatchesRegex;

class NuvctlPing : public NuvctlOnBusTest {
 protected:
  size_t Heartbeats() const { return service_.CallsOf("heartbeat").size(); }

  RecordingService service_{bus_.address()};
};

TEST_F(NuvctlPing, SendsSoManyHeartbeatsAndSumsThemUp) {
  const NuvctlRun run = Run({"ping", "-c", "3", "-i", "0.01"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(Heartbeats(), 3u);
  EXPECT_THAT(run.output, MatchesRegex("heartbeat 1: time=[0-9]+\\.[0-9]+ ms\n"
                                       "heartbeat 2: time=[0-9]+\\.[0-9]+ ms\n"
                                       "heartbeat 3: time=[0-9]+\\.[0-9]+ ms\n"
                                       "--- org\\.kelvo\\.tv\\.litecorvane\\.server ---\n"
                                       "3 sent, 3 answered, 0 lost\n"
                                       "round trip min/median/p99/max = [0-9./]+ ms\n"));
}

TEST_F(NuvctlPing, IsOneObjectInJson) {
  const nlohmann::json json = Run({"ping", "--count", "5", "--interval", "0.01", "--json"}).Json();
  EXPECT_EQ(json["sent"], 5);
  EXPECT_EQ(json["answered"], 5);
  EXPECT_GT(json["min_us"], 0);
  EXPECT_LE(json["min_us"], json["median_us"]);
  EXPECT_LE(json["median_us"], json["p99_us"]);
  EXPECT_LE(json["p99_us"], json["max_us"]);
}

TEST_F(NuvctlPing, GoesOnUntilItIsInterruptedAndThenSumsUp) {
  for (const int number : {SIGINT, SIGTERM}) {
    service_.Forget();
    const auto nuvctl = Start({"ping", "-i", "0.01"});
    EXPECT_TRUE(WaitUntil([this] { return Heartbeats() >= 5; }));
    nuvctl->Signal(number);
    const NuvctlRun run = Finish(*nuvctl, Milliseconds(5000));
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.output, HasSubstr(" answered, 0 lost\nround trip "));
  }
}

// The interval is an hour: only the signal can end the pause.
TEST_F(NuvctlPing, APauseEndsWithTheInterrupt) {
  const auto nuvctl = Start({"ping", "-i", "3600"});
  EXPECT_TRUE(WaitUntil([&nuvctl] { return nuvctl->Output().find("heartbeat 1: time=") != std::string::npos; }));
  nuvctl->Signal(SIGINT);
  EXPECT_EQ(Finish(*nuvctl, Milliseconds(5000)).status, 0);
}

TEST_F(NuvctlPing, AHeartbeatWithoutAnAnswerIsLostAndTheOthersCount) {
  service_.Before("heartbeat", [this](const RecordedCall&) {
    if (Heartbeats() == 2) service_.FallSilent();
  });
  const NuvctlRun run = Run({"ping", "-c", "3", "-i", "0.01", "--timeout", "0.2", "--json"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.Json()["sent"], 3);
  EXPECT_LT(run.Json()["answered"], 3);
  EXPECT_GT(run.Json()["answered"], 0);
}

TEST_F(NuvctlPing, AServiceThatIsSilentIsATimeout) {
  service_.FallSilent();
  const NuvctlRun run = Run({"ping", "-c", "1", "--timeout", "0.2"});
  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(run.output, HasSubstr("heartbeat 1: the service did not answer within 0.2 s\n"));
  EXPECT_THAT(run.output, HasSubstr("1 sent, 0 answered, 1 lost\n"));
}

TEST_F(NuvctlPing, ARefusalIsAFailureWithItsNameAndText) {
  service_.AnswerTo("heartbeat", {RecordingService::Answer::kError, "ill", "org.kelvo.Error.Ill"});
  const NuvctlRun run = Run({"ping", "-c", "1"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "nuvctl: failed: org.kelvo.Error.Ill: ill\n");
}

class NuvctlPingNobody : public NuvctlOnBusTest {};

TEST_F(NuvctlPingNobody, AServiceThatIsNotThereIsGone) {
  const NuvctlRun run = Run({"ping", "-c", "2", "-i", "0.01"});
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.errors, HasSubstr("service gone: org.freedesktop.DBus.Error."));
  EXPECT_EQ(Run({"ping", "-c", "1", "--json"}).Json()["median_us"], nullptr);
}

TEST_F(NuvctlPingNobody, ABusThatIsNotThereIsGone) {
  bus_.Kill();
  EXPECT_EQ(Run({"ping", "-c", "1"}).status, 6);
}

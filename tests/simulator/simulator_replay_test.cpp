// nuv-simulator --replay: a service that answers as a recorded one did.
#include <gmock/gmock.h>
#include <signal.h>

#include <chrono>
#include <filesystem>

#include "bus_recorder.h"
#include "made_recording.h"
#include "simulator_fixture.h"

namespace {

using ::testing::HasSubstr;
using Clock = std::chrono::steady_clock;

constexpr const char* kNotInRecording = "org.kelvo.tv.NuvSimulator1.Error.NotInRecording";
constexpr const char* kClient = ":1.7";
constexpr std::int64_t kHour = 3600000000;

class SimulatorReplayTest : public SimulatorTest {
 protected:
  std::string File() const { return files_ / "then.nuvrec"; }

  // What the body does against a service with this scenario is recorded.
  void Record(const std::string& scenario, const std::function<void()>& body) {
    WriteFile(files_ / "scenario.json", scenario);
    Start({"--scenario", files_ / "scenario.json"}, R"({"apps": [{"id": "a.app"}, {"id": "b.app"}]})");
    BusRecorder recorder(bus_, File());
    body();
    recorder.End();
    EXPECT_EQ(End(), 0);
    std::filesystem::remove_all(directory_.path());
  }

  void StartReplay(std::vector<std::string> options = {"--speed", "0"}) {
    options.insert(options.begin(), {"--replay", File()});
    StartPlain(options);
    ASSERT_TRUE(WaitForOutput("ready\n")) << simulator_->Errors();
  }

  // What the service says where it ends before it asks anything of the bus.
  std::string Refusal() {
    bus_.Pause();
    StartPlain({"--replay", File()});
    EXPECT_EQ(simulator_->Wait(), 2);
    bus_.Resume();
    EXPECT_EQ(simulator_->Output(), "");
    return simulator_->Errors();
  }

  static Launch LaunchOf(const std::string& object, int thread_id, int event_index) {
    Launch launch("a.app", object);
    launch.thread_id = thread_id;
    launch.event_index = event_index;
    return launch;
  }
};

}  // namespace

TEST_F(SimulatorReplayTest, AnswersEachCallAsItWasAnsweredThen) {
  using Ask = std::function<std::string()>;
  std::vector<std::pair<Ask, std::string>> calls = {
      {[this] { return Call("get_android_app_status", g_variant_new("(s)", "a.app")).Text(); }, "(0,)"},
      {[this] { return Call("get_android_app_status", g_variant_new("(s)", "b.app")).Text(); }, "(77,)"},
      {[this] { return CallCorvane("nuv_update_app_count", g_variant_new("(s)", "nobody")).Text(); }, "(-2,)"},
      {[this] { return Call("launch_systempopup", g_variant_new("(i)", 4)).message; }, "odd"},
      {[this] { return Call("launch_systempopup", g_variant_new("(i)", 4)).error; }, "org.example.Odd"},
      {[this] { return Call("get_extra_app").Text(); }, "('x', 5)"},
  };
  const auto ask_all = [&calls] {
    for (const auto& [ask, answer] : calls) EXPECT_EQ(ask(), answer);
  };
  Record(R"rules([
      {"method": "get_android_app_status", "app": "b.app", "reply": "(77,)"},
      {"method": "launch_systempopup", "answer": "error", "error_name": "org.example.Odd", "error_message": "odd"},
      {"method": "get_extra_app", "reply": "('x', 5)"}])rules",
         ask_all);
  StartReplay();
  std::reverse(calls.begin(), calls.end());
  ask_all();
}

TEST_F(SimulatorReplayTest, GivesTheAnswersToOneCallInTheirOrder) {
  const auto ask = [this] { return Call("get_extra_app").Text(); };
  Record("[]", [&] {
    EXPECT_EQ(ask(), "('',)");
    EXPECT_EQ(Call("notify_extra_app_changed", g_variant_new("(s)", "x.app")).Text(), "()");
    EXPECT_EQ(ask(), "('x.app',)");
  });
  StartReplay();
  EXPECT_EQ(ask(), "('',)");
  EXPECT_EQ(ask(), "('x.app',)");
  const Reply third = Call("get_extra_app");
  EXPECT_EQ(third.error, kNotInRecording);
  EXPECT_EQ(third.message, "no more such calls in the recording: get_extra_app ()");
}

TEST_F(SimulatorReplayTest, SendsResultsToTheClientThatLaunchesNow) {
  Record("[]", [&] { EXPECT_EQ(OutcomeOf(LaunchOf("obj1", 111, 5)), std::make_pair(900, 0)); });
  StartReplay();
  const ResultObject object(bus_, "obj22");
  ASSERT_TRUE(SendLaunch(LaunchOf("obj22", 222, 9)));
  ASSERT_TRUE(object.WaitFor(1));
  EXPECT_EQ(object.results()[0].app_id, "a.app");
  EXPECT_EQ(object.results()[0].event, 900);
  EXPECT_EQ(object.results()[0].thread_id, 222);
  EXPECT_EQ(object.results()[0].event_index, 9);
  EXPECT_EQ(object.results()[0].method_call, "nuv_launch_app");
  EXPECT_EQ(object.results()[0].cb_type, 1);
}

TEST_F(SimulatorReplayTest, SendsEveryResultOfALaunchInItsOrder) {
  const std::string rules = R"([{"method": "launch_app", "start": false, "results": [
      {"event": 902, "res": 0}, {"event": 903, "res": 405, "delay_ms": 20}]}])";
  Record(rules, [&] {
    const ResultObject object(bus_, "obj1");
    ASSERT_TRUE(SendLaunch(LaunchOf("obj1", 1, 1)));
    ASSERT_TRUE(object.WaitFor(2));
  });
  StartReplay();
  const ResultObject object(bus_, "obj2");
  ASSERT_TRUE(SendLaunch(LaunchOf("obj2", 2, 2)));
  ASSERT_TRUE(object.WaitFor(2));
  EXPECT_EQ(object.results()[0].event, 902);
  EXPECT_EQ(object.results()[1].event, 903);
  EXPECT_EQ(object.results()[1].result, 405);
}

TEST_F(SimulatorReplayTest, AResultThatWasOffStaysAsFarOff) {
  const std::string rules = R"([{"method": "launch_app", "start": false, "results": [
      {"event": 900, "res": 0, "thread_id_offset": 3, "event_index_offset": -2}]}])";
  Record(rules, [&] {
    const ResultObject object(bus_, "obj1");
    ASSERT_TRUE(SendLaunch(LaunchOf("obj1", 100, 10)));
    ASSERT_TRUE(object.WaitFor(1));
  });
  StartReplay();
  const ResultObject object(bus_, "obj2");
  ASSERT_TRUE(SendLaunch(LaunchOf("obj2", 200, 20)));
  ASSERT_TRUE(object.WaitFor(1));
  EXPECT_EQ(object.results()[0].thread_id, 203);
  EXPECT_EQ(object.results()[0].event_index, 18);
}

TEST_F(SimulatorReplayTest, AResultThatAClientWasTooLateForIsSentOnce) {
  MadeRecording made(File());
  Launch launch = LaunchOf("obj1", 1, 1);
  const guint32 call = made.Call(kClient, "launch_app", launch.Arguments());
  made.Reply(kClient, call);
  for (int i = 0; i < 3; ++i) {
    const guint32 early = made.Result("obj1", ResultArguments(1, "a.app", 0, 902, 1));
    made.Error(MadeRecording::kService, early, "org.freedesktop.DBus.Error.ServiceUnknown", "no",
               "org.freedesktop.DBus");
  }
  made.Acknowledge(kClient, made.Result("obj1", ResultArguments(1, "a.app", 0, 902, 1)));
  made.Acknowledge(kClient, made.Result("obj1", ResultArguments(1, "a.app", 0, 900, 1)));
  made.End();
  StartReplay();
  const ResultObject object(bus_, "obj1");
  ASSERT_TRUE(SendLaunch(launch));
  ASSERT_TRUE(object.WaitFor(2));
  EXPECT_EQ(object.results()[0].event, 902);
  EXPECT_EQ(object.results()[1].event, 900);
}

TEST_F(SimulatorReplayTest, ACallThatGotNoAnswerGetsNone) {
  MadeRecording made(File());
  made.Call(kClient, "get_extra_app");
  made.Reply(kClient, made.Call(kClient, "get_extra_app"), g_variant_new("(s)", "second"));
  made.End();
  StartReplay();
  EXPECT_EQ(Call("get_extra_app", nullptr, 300).error, "local");
  EXPECT_EQ(Call("get_extra_app").Text(), "('second',)");
  EXPECT_THAT(simulator_->Output(), HasSubstr("reply   get_extra_app app=\"\" none\n"));
}

TEST_F(SimulatorReplayTest, TakesItsTimeAsRecorded) {
  MadeRecording made(File());
  const guint32 call = made.Call(kClient, "get_extra_app");
  made.At(700000).Reply(kClient, call, g_variant_new("(s)", "late"));
  made.End();
  for (const auto& [speed, least_ms] : {std::pair("1", 700), std::pair("2", 350)}) {
    StartReplay({"--speed", speed});
    const auto begin = Clock::now();
    EXPECT_EQ(Call("get_extra_app").Text(), "('late',)");
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(least_ms)) << speed;
    EXPECT_EQ(End(), 0);
  }
}

TEST_F(SimulatorReplayTest, MayLeaveDelaysOutOrShortenThem) {
  MadeRecording made(File());
  const guint32 call = made.Call(kClient, "get_extra_app");
  made.At(kHour).Reply(kClient, call, g_variant_new("(s)", "late"));
  made.End();
  for (const char* speed : {"0", "100000"}) {
    StartReplay({"--speed", speed});
    EXPECT_EQ(Call("get_extra_app").Text(), "('late',)") << speed;
    EXPECT_EQ(End(), 0);
  }
}

TEST_F(SimulatorReplayTest, ACallThatIsNotInTheRecordingIsRefusedAndNamed) {
  Record("[]", [&] { Call("terminate_app", g_variant_new("(siss)", "a.app", 0, "", "")); });
  StartReplay();
  const Reply reply = Call("terminate_app", g_variant_new("(siss)", "b.app", 0, "", ""));
  EXPECT_EQ(reply.error, kNotInRecording);
  EXPECT_EQ(reply.message, "not in the recording: terminate_app app=\"b.app\"");
  EXPECT_THAT(simulator_->Errors(), HasSubstr("nuv-simulator: not in the recording: terminate_app app=\"b.app\"\n"));
  EXPECT_EQ(Call("terminate_app", g_variant_new("(siss)", "a.app", 1, "", "")).error, kNotInRecording);
  EXPECT_EQ(Call("terminate_app", g_variant_new("(siss)", "a.app", 0, "", "")).Text(), "()");
}

TEST_F(SimulatorReplayTest, AnswersHeartbeatsThatAreNotInTheRecording) {
  Record("[]", [&] { Call("get_extra_app"); });
  StartReplay();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Call("heartbeat").Text(), "()");
  EXPECT_EQ(End(), 0);
  EXPECT_THAT(simulator_->Output(), HasSubstr("unmatched 0\n"));
}

TEST_F(SimulatorReplayTest, SaysAtItsEndWhatWasUsedAndBeforeWhenItIsAsked) {
  Record("[]", [&] {
    Call("get_extra_app");
    Call("get_extra_app");
    Call("terminate_allapp", g_variant_new("(ss)", "me", "why"));
  });
  StartReplay();
  Call("get_extra_app");
  Call("launch_systempopup", g_variant_new("(i)", 4));
  simulator_->Signal(SIGUSR1);
  ASSERT_TRUE(WaitForOutput("unused "));
  const std::string use =
      "matched   1: get_extra_app 1\nunmatched 1: launch_systempopup 1\n"
      "unused    2: get_extra_app 1, terminate_allapp 1\n";
  ASSERT_TRUE(WaitForOutput(use)) << simulator_->Output();
  Call("terminate_allapp", g_variant_new("(ss)", "me", "why"));
  EXPECT_EQ(End(), 0);
  EXPECT_THAT(simulator_->Output(), HasSubstr("matched   2: get_extra_app 1, terminate_allapp 1\n"
                                              "unmatched 1: launch_systempopup 1\nunused    1: get_extra_app 1\n"));
}

TEST_F(SimulatorReplayTest, TouchesNoStateAndStartsNoProgram) {
  Record("[]", [&] { EXPECT_EQ(OutcomeOf(Launch("a.app")).first, 900); });
  StartReplay();
  EXPECT_EQ(OutcomeOf(Launch("a.app")).first, 900);
  EXPECT_THAT(simulator_->Output(), Not(HasSubstr("started ")));
  EXPECT_EQ(End(), 0);
  EXPECT_FALSE(std::filesystem::exists(directory_.path()));
}

TEST_F(SimulatorReplayTest, SaysAtItsStartWhatItReplays) {
  Record("[]", [&] { Call("get_extra_app"); });
  simulator_ = std::make_unique<Process>(
      std::vector<std::string>{NUV_BIN_DIR "/nuv-simulator", "--replay", File(), "--print-ready", "--speed", "2.5"},
      files_.path());
  ASSERT_TRUE(WaitForOutput("ready\n"));
  EXPECT_EQ(simulator_->Errors(),
            "nuv-simulator: on " + bus_.address() + ", from " + File() + ": 1 recorded call, 2.5 times as fast\n");
}

TEST_F(SimulatorReplayTest, ACutRecordingIsReplayedWithAWarning) {
  {
    MadeRecording made(File());
    made.Reply(kClient, made.Call(kClient, "get_extra_app"), g_variant_new("(s)", "x"));
  }
  StartReplay();
  EXPECT_EQ(simulator_->Errors(),
            "nuv-simulator: " + File() + ": the recording was cut short; what is there is replayed\n");
  EXPECT_EQ(Call("get_extra_app").Text(), "('x',)");
}

TEST_F(SimulatorReplayTest, WarnsOfMessagesThatAreMissing) {
  MadeRecording made(File());
  made.Reply(kClient, made.Call(kClient, "get_extra_app"), g_variant_new("(s)", "x"));
  made.Lost(3);
  made.End();
  StartReplay();
  EXPECT_EQ(simulator_->Errors(), "nuv-simulator: " + File() + ": 3 messages are missing from the recording\n");
}

TEST_F(SimulatorReplayTest, KeepsOfALargeRecordingOnlyWhatItAnswersWith) {
  constexpr int kCalls = 1600;
  MadeRecording made(File());
  const auto text = [](int i) { return std::to_string(i) + std::string(48000, 'x'); };
  for (int i = 0; i < kCalls; ++i) {
    made.Reply(kClient, made.Call(kClient, "notify_special_app", g_variant_new("(s)", text(i).c_str())));
  }
  made.End();
  ASSERT_GT(std::filesystem::file_size(File()), 100000000u);
  simulator_ = std::make_unique<Process>(
      std::vector<std::string>{NUV_BIN_DIR "/nuv-simulator", "--replay", File(), "--print-ready"}, files_.path());
  ASSERT_TRUE(WaitUntil([this] { return simulator_->Output() == "ready\n"; }, Milliseconds(100000)));
  EXPECT_EQ(Call("notify_special_app", g_variant_new("(s)", text(kCalls - 1).c_str())).Text(), "()");
  const std::string status = ReadFile("/proc/" + std::to_string(simulator_->pid()) + "/status");
  const std::size_t at = status.find("VmHWM:");
  ASSERT_NE(at, std::string::npos);
  EXPECT_LT(std::stol(status.substr(at + 6)), kBoundedKib);
}

TEST_F(SimulatorReplayTest, ARecordingOfAnotherVersionIsRefused) {
  WriteFile(File(), R"({"format":"nuv-recording","version":2,"library":"9","service":null,"bus":"x",)"
                    R"("started":"2024-02-29T12:00:00.000001Z","redacted":false})"
                    "\n");
  EXPECT_THAT(Refusal(), HasSubstr(File() + ":1: "));
}

TEST_F(SimulatorReplayTest, WhatIsNoRecordingIsRefused) {
  WriteFile(File(), "[]\n");
  EXPECT_THAT(Refusal(), HasSubstr(File() + ":1: "));
  std::filesystem::remove(File());
  EXPECT_THAT(Refusal(), HasSubstr(File()));
}

TEST_F(SimulatorReplayTest, ARecordingThatWasEditedByHandIsRefusedWithTheLine) {
  MadeRecording made(File());
  made.Reply(kClient, made.Call(kClient, "get_extra_app"), g_variant_new("(s)", "x"));
  made.End();
  const std::string whole = ReadFile(File());
  WriteFile(File(), whole.substr(0, whole.rfind("{\"t\"")) + "{\"t\":0,\"type\":\"reply\",\"bytes\":\"bm8=\"}\n");
  EXPECT_EQ(Refusal(), "nuv-simulator: " + File() + ":5: the bytes are no message of the bus\n");
  WriteFile(File(), whole.substr(0, whole.rfind("{\"t\"")) + "{\"t\":0,\n");
  EXPECT_THAT(Refusal(), HasSubstr(File() + ":5: "));
}

TEST_F(SimulatorReplayTest, ARedactedRecordingIsRefused) {
  MadeRecording made(File(), true);
  made.Reply(kClient, made.Call(kClient, "get_extra_app"), g_variant_new("(s)", "x"));
  made.End();
  EXPECT_EQ(Refusal(), "nuv-simulator: " + File() +
                           ": a redacted recording cannot be replayed: the texts to compare are not in it\n");
}

TEST_F(SimulatorReplayTest, ARecordingWithoutCallsIsRefused) {
  MadeRecording made(File());
  made.End();
  EXPECT_EQ(Refusal(), "nuv-simulator: " + File() + ": the recording has no calls of the service\n");
}

TEST_F(SimulatorReplayTest, GoesWithNothingThatAServiceOfItsOwnWouldNeed) {
  MadeRecording made(File());
  made.Call(kClient, "get_extra_app");
  made.End();
  for (const std::vector<std::string>& wrong : {std::vector<std::string>{"--replay", File(), "--seed", File()},
                                                {"--replay", File(), "--scenario", File()},
                                                {"--speed", "2"},
                                                {"--replay", File(), "--speed", "-1"}}) {
    StartPlain(wrong);
    EXPECT_EQ(simulator_->Wait(), 2) << wrong.back();
    EXPECT_THAT(simulator_->Errors(), HasSubstr(wrong[wrong.size() - 2])) << wrong.back();
  }
}

// nuvctl replay: a recording's calls sent again, and what is answered otherwise.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>

#include <chrono>
#include <filesystem>
#include <set>

#include "bus_recorder.h"
#include "made_recording.h"
#include "nuvctl_run.h"
#include "recording/reader.h"
#include "simulator_fixture.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using Clock = std::chrono::steady_clock;
using Json = nlohmann::json;

namespace {

constexpr const char* kClient = ":1.7";
constexpr const char* kOther = ":1.8";
constexpr int kThread = 0x12345;
constexpr std::int64_t kHour = 3600000000;

class NuvctlReplay : public NuvctlOnBusTest {
 protected:
  std::string File() const { return directory_ / "then.nuvrec"; }

  NuvctlRun Replay(const Arguments& more = {}) const { return Finish(*StartReplay(more), Milliseconds(100000)); }

  std::unique_ptr<Process> StartReplay(const Arguments& more = {}) const {
    Arguments arguments = {"replay", File()};
    if (more.empty() || more[0] != "--speed") arguments.insert(arguments.end(), {"--speed", "0"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Start(arguments);
  }

  // A client that gets what the simulator does not answer.
  void MakeOtherAnswer() const {
    MadeRecording made(File());
    made.Reply(kClient, made.Call(kClient, "get_extra_app"), g_variant_new("(s)", "x.app"));
    made.End();
  }

  static GVariant* LaunchArguments(const std::string& object = "obj1", int event_index = 1) {
    Launch launch(kApp, object);
    launch.event_index = event_index;
    return launch.Arguments();
  }

  // A launch by obj1 with these results: event and status.
  static void MakeLaunch(MadeRecording& made, const std::vector<std::pair<int, int>>& results) {
    made.Reply(kClient, made.Call(kClient, "launch_app", LaunchArguments()));
    for (const auto& [event, status] : results) {
      made.Acknowledge(kClient, made.Result("obj1", ResultArguments(kThread, kApp, status, event, 1)));
    }
  }

  void MakeLaunchRecording(const std::vector<std::pair<int, int>>& results) const {
    MadeRecording made(File());
    MakeLaunch(made, results);
    made.End();
  }

  // The client was gone when its result came.
  void MakeResultToNobody(int event, int status) const {
    MadeRecording made(File());
    const guint32 call = made.Call(kClient, "launch_app", LaunchArguments());
    const guint32 result = made.Result("obj1", ResultArguments(kThread, kApp, status, event, 1));
    made.Error(MadeRecording::kService, result, "org.freedesktop.DBus.Error.ServiceUnknown", "no",
               "org.freedesktop.DBus");
    made.Reply(kClient, call);
    made.End();
  }

  std::string Hunk(int line, const std::string& call) const {
    return "@@ " + File() + ":" + std::to_string(line) + ", " + kClient + ": " + call + " @@\n";
  }
  std::string Head() const { return "--- " + File() + "\n+++ now\n"; }
  static std::string ResultWords(const std::string& event, const std::string& status) {
    return "result app=\"org.example.player\" event=" + event + " result=" + status +
           " data=0 index=1 method=\"nuv_launch_app\" cbtype=1 thread=74565\n";
  }

  std::string FirstOf(const std::string& text) const { return text.substr(0, text.find('\n')); }
};

constexpr char kLaunchCall[] = "launch_app app=\"org.example.player\"";
constexpr char kResultFirst[] = R"([{"method": "launch_app", "start": false, "results": [
    {"event": 900, "res": 0, "before_reply": true}]}])";
constexpr char kLaunched[] = "900 (NUV_NOTIFY_LAUNCHED)";
constexpr char kFailed[] = "903 (NUV_NOTIFY_LAUNCH_FAILED)";
constexpr char kRefused[] = "403 (NUV_LAUNCH_STATUS_REFUSED)";

}  // namespace

TEST_F(NuvctlReplay, AServiceThatDoesAsBeforeIsTheSame) {
  StartSimulator();
  {
    BusRecorder recorder(bus_, File());
    EXPECT_EQ(Run({"launch", kApp, "--wait", "20"}).status, 0);
    EXPECT_EQ(Run({"launch", kApp, "--wait", "20"}).status, 0);
    EXPECT_EQ(Run({"terminate-all"}).status, 0);
    EXPECT_EQ(Run({"extra-app"}).status, 3);  // there is none
    recorder.End();
  }
  simulator().Signal(SIGTERM);
  ASSERT_EQ(simulator().Wait(), 0);
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 0) << run.output << run.errors;
  EXPECT_THAT(run.output, AllOf(StartsWith("as recorded: "), HasSubstr(" 2 results, 4 clients\n")));
  EXPECT_TRUE(WaitUntil([this] { return SimulatorSaid("stopped " + std::string(kApp)); }));
}

TEST_F(NuvctlReplay, ShowsAReplyThatIsAnotherOne) {
  MakeOtherAnswer();
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, Head() + Hunk(4, "get_extra_app ()") + "-reply ('x.app')\n+reply ('')\n");
  EXPECT_EQ(run.errors, "nuvctl: not as recorded: 1 difference\n");
}

TEST_F(NuvctlReplay, ShowsAResultThatIsAnotherOne) {
  MakeLaunchRecording({{900, 0}});
  StartSimulator(R"([{"method": "launch_app", "start": false, "results": [{"event": 903, "res": 403}]}])");
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output,
            Head() + Hunk(5, kLaunchCall) + "-" + ResultWords(kLaunched, "0") + "+" + ResultWords(kFailed, kRefused));
}

TEST_F(NuvctlReplay, ShowsAnErrorInPlaceOfAReply) {
  MadeRecording made(File());
  made.Reply(kClient, made.Call(kClient, "heartbeat"));
  made.Error(kClient, made.Call(kClient, "get_extra_app"), "org.example.Odd", "odd");
  made.End();
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, Head() + Hunk(6, "get_extra_app ()") + "-error org.example.Odd ('odd')\n+reply ('')\n");
}

TEST_F(NuvctlReplay, ShowsAResultThatDoesNotCome) {
  MakeLaunchRecording({{902, 0}, {900, 0}});
  StartSimulator(R"([{"method": "launch_app", "start": false, "results": [{"event": 902, "res": 0}]}])");
  const NuvctlRun run = Replay({"--timeout", "1"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, Head() + Hunk(7, kLaunchCall) + "-" + ResultWords(kLaunched, "0"));
}

TEST_F(NuvctlReplay, ShowsAResultThatIsNew) {
  MakeLaunchRecording({{900, 0}});
  StartSimulator(R"([{"method": "launch_app", "start": false, "results": [
      {"event": 900, "res": 0}, {"event": 903, "res": 403}]}])");
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output,
            Head() + "@@ " + File() + ", " + kClient + ": " + kLaunchCall + " @@\n+" + ResultWords(kFailed, kRefused));
}

TEST_F(NuvctlReplay, ShowsWhatComesInAnotherOrder) {
  MadeRecording made(File());
  const guint32 call = made.Call(kClient, "launch_app", LaunchArguments());
  made.Acknowledge(kClient, made.Result("obj1", ResultArguments(kThread, kApp, 0, 900, 1)));
  made.Reply(kClient, call);
  made.End();
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, Head() + Hunk(6, kLaunchCall) + "-reply ()\n+reply () (in another order)\n");
}

TEST_F(NuvctlReplay, SendsWhatCameAfterAResultOnlyAfterIt) {
  MadeRecording made(File());
  MakeLaunch(made, {{900, 0}});
  made.Reply(kClient, made.Call(kClient, "launch_systempopup", g_variant_new("(i)", 4)));
  made.End();
  StartSimulator(
      R"([{"method": "launch_app", "start": false, "results": [{"event": 900, "res": 0, "delay_ms": 400}]}])");
  EXPECT_EQ(Replay().status, 0);
  const std::string said = simulator().Output();
  EXPECT_LT(said.find("result  "), said.find("request launch_systempopup"));
}

TEST_F(NuvctlReplay, AClientThatWasTooLateForAResultIsNoDifference) {
  MadeRecording made(File());
  made.Reply(kClient, made.Call(kClient, "launch_app", LaunchArguments()));
  const guint32 early = made.Result("obj1", ResultArguments(kThread, kApp, 0, 900, 1));
  made.Error(MadeRecording::kService, early, "org.freedesktop.DBus.Error.ServiceUnknown", "no", "org.freedesktop.DBus");
  made.Acknowledge(kClient, made.Result("obj1", ResultArguments(kThread, kApp, 0, 900, 1)));
  made.End();
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_EQ(run.output, "as recorded: 1 call, 1 answer, 1 result, 1 client\n");
}

TEST_F(NuvctlReplay, AResultThatCameToNobodyMayComeNow) {
  MakeResultToNobody(900, 0);
  StartSimulator(kResultFirst);
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_EQ(run.output, "as recorded: 1 call, 1 answer, 0 results, 1 client\n");
}

TEST_F(NuvctlReplay, ShowsAResultThatIsAnotherOneThanCameToNobody) {
  MakeResultToNobody(903, 403);
  StartSimulator(kResultFirst);
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output,
            Head() + "@@ " + File() + ", " + kClient + ": " + kLaunchCall + " @@\n+" + ResultWords(kLaunched, "0"));
}

TEST_F(NuvctlReplay, AReplyThatTheClientDidNotWaitForMayComeNow) {
  MadeRecording made(File());
  made.Call(kClient, "get_extra_app");
  made.At(100).Left(kClient);
  made.At(10000000).End();
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_EQ(run.output, "as recorded: 1 call, 0 answers, 0 results, 1 client\n");
}

TEST_F(NuvctlReplay, AReplyAfterTheEndOfTheRecordingMayComeNow) {
  MadeRecording made(File());
  made.Call(kClient, "get_extra_app");
  made.At(100).End();
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 0) << run.output;
}

TEST_F(NuvctlReplay, ShowsAReplyThatWasWaitedForInVain) {
  MadeRecording made(File());
  made.Call(kClient, "get_extra_app");
  made.At(3000000).Left(kClient);
  made.End();
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, AllOf(HasSubstr("get_extra_app ()"), HasSubstr("\n+reply ")));
}

TEST_F(NuvctlReplay, ShowsAReplyToACallWhoseNumberWasGivenOutAgain) {
  MadeRecording made(File());
  made.Call(kClient, "get_extra_app");
  made.Lost(0);
  made.NumbersBeginAnew();
  made.Reply(kClient, made.Call(kClient, "get_extra_app"), g_variant_new("(s)", ""));
  made.End();
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 1) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("\n+reply "));
  EXPECT_THAT(run.errors, HasSubstr("not as recorded: 1 difference"));
}

TEST_F(NuvctlReplay, AResultThatNobodyAcknowledgedIsComparedToo) {
  MadeRecording made(File());
  made.Reply(kClient, made.Call(kClient, "launch_app", LaunchArguments()));
  made.Result("obj1", ResultArguments(kThread, kApp, 403, 903, 1));
  made.End();
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output,
              AllOf(HasSubstr("-" + ResultWords(kFailed, kRefused)), HasSubstr("+" + ResultWords(kLaunched, "0"))));
}

TEST_F(NuvctlReplay, EachRecordedClientHasAConnectionOfItsOwn) {
  {
    MadeRecording made(File());
    for (const char* client : {kClient, kOther, kClient}) {
      made.Reply(client, made.Call(client, "get_extra_app"), g_variant_new("(s)", ""));
    }
    made.End();
  }
  StartSimulator();
  BusRecorder recorder(bus_, directory_ / "now.nuvrec");
  EXPECT_EQ(Replay().status, 0);
  recorder.End();
  recording::Reader reader(directory_ / "now.nuvrec");
  recording::Header header;
  ASSERT_TRUE(reader.Open(header));
  std::vector<std::string> senders;
  recording::Entry entry;
  while (reader.Next(entry) == recording::Reader::What::kEntry) {
    if (entry.kind == recording::Kind::kCall && entry.member == "get_extra_app") senders.push_back(entry.sender);
  }
  ASSERT_EQ(senders.size(), 3u);
  EXPECT_EQ(senders[0], senders[2]);
  EXPECT_NE(senders[0], senders[1]);
}

TEST_F(NuvctlReplay, HasMoreClientsThanItMayHaveConnections) {
  MadeRecording made(File());
  for (int i = 0; i < 300; ++i) {
    const std::string client = ":1." + std::to_string(100 + i);
    made.Reply(client, made.Call(client, "get_extra_app"), g_variant_new("(s)", ""));
  }
  made.End();
  StartSimulator();
  Process nuvctl(
      {"/bin/sh", "-c", "ulimit -n 300; exec \"$@\"", "sh", NUV_BIN_DIR "/nuvctl", "replay", File(), "--speed", "0"},
      directory_.path(), {{"NUV_HOST_DIR", directory_ / "client"}});
  const NuvctlRun run = Finish(nuvctl, Milliseconds(100000));
  EXPECT_EQ(run.output, "as recorded: 300 calls, 300 answers, 0 results, 300 clients\n") << run.errors;
}

TEST_F(NuvctlReplay, AProcessIdIsNoDifference) {
  MadeRecording made(File());
  made.Reply(kClient, made.CallControl(kClient, "LaunchRequest", g_variant_new_parsed("(%s, '', '', @a(ss) [])", kApp)),
             g_variant_new("(i)", 1));
  made.Reply(kClient, made.CallControl(kClient, "RunningApps"), g_variant_new_parsed("([(%s, 1, 3)],)", kApp));
  made.Reply(kClient, made.CallControl(kClient, "Payloads"), g_variant_new_parsed("({1: ''},)"));
  made.Reply(kClient, made.CallControl(kClient, "StandIns"), g_variant_new_parsed("(['another'],)"));
  made.End();
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.output, Head() + Hunk(10, "StandIns ()") + "-reply (['another'])\n+reply (['org.example.player'])\n");
}

TEST_F(NuvctlReplay, KeepsTheRecordedPauses) {
  MadeRecording made(File());
  made.Reply(kClient, made.Call(kClient, "get_extra_app"), g_variant_new("(s)", ""));
  made.At(700000).Reply(kClient, made.Call(kClient, "heartbeat"));
  made.End();
  StartSimulator();
  for (const auto& [speed, least_ms] : {std::pair("1", 700), std::pair("2", 350)}) {
    const auto begin = Clock::now();
    EXPECT_EQ(Replay({"--speed", speed}).status, 0);
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(least_ms)) << speed;
  }
}

TEST_F(NuvctlReplay, MayLeavePausesOutOrShortenThem) {
  MadeRecording made(File());
  made.Reply(kClient, made.Call(kClient, "get_extra_app"), g_variant_new("(s)", ""));
  made.At(kHour).Reply(kClient, made.Call(kClient, "heartbeat"));
  made.End();
  StartSimulator();
  for (const char* speed : {"0", "100000"}) {
    const NuvctlRun run = Replay({"--speed", speed});
    EXPECT_EQ(run.status, 0) << speed;
    EXPECT_EQ(run.output, "as recorded: 2 calls, 2 answers, 0 results, 1 client\n");
  }
}

TEST_F(NuvctlReplay, SaysThatTheNameForTheResultsIsTaken) {
  MakeLaunchRecording({{900, 0}});
  StartSimulator();
  const ResultObject taken(bus_, "obj1");
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.errors, "nuvctl: " + File() +
                            ":3: the results' name of this client, "
                            "org.kelvo.tv.corvane.launcherclient.obj1, is taken on this bus\n");
}

TEST_F(NuvctlReplay, ClientsOfOneProcessTakeTheNameOverFromEachOther) {
  MadeRecording made(File());
  MakeLaunch(made, {{900, 0}});
  made.Reply(kOther, made.Call(kOther, "launch_app", LaunchArguments("obj1", 2)));
  made.Acknowledge(kOther, made.Result("obj1", ResultArguments(kThread, kApp, 0, 901, 2)));
  made.End();
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 0) << run.output << run.errors;
}

TEST_F(NuvctlReplay, TellsProgramsInOneObject) {
  MakeOtherAnswer();
  StartSimulator();
  const Json json = Replay({"--json"}).Json();
  EXPECT_EQ(json["verb"], "replay");
  EXPECT_EQ(json["outcome"], "failed");
  EXPECT_EQ(json["calls"], 1);
  EXPECT_EQ(json["answers"], 1);
  EXPECT_EQ(json["results"], 0);
  EXPECT_EQ(json["clients"], 1);
  EXPECT_EQ(json["differences"], 1);
  EXPECT_EQ(json["different"], Json::array({{{"place", File() + ":4"},
                                             {"client", kClient},
                                             {"call", "get_extra_app ()"},
                                             {"recorded", "reply ('x.app')"},
                                             {"now", "reply ('')"}}}));
}

TEST_F(NuvctlReplay, ACutRecordingIsReplayedWithAWarning) {
  {
    MadeRecording made(File());
    made.Reply(kClient, made.Call(kClient, "get_extra_app"), g_variant_new("(s)", ""));
  }
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "as recorded: 1 call, 1 answer, 0 results, 1 client\n");
  EXPECT_THAT(run.errors, HasSubstr(File() + ": the recording was cut short; what is there was replayed"));
}

TEST_F(NuvctlReplay, RefusesWhatIsNoRecordingOrOfAnotherVersion) {
  StartSimulator();
  for (const char* text : {"[]\n", "",
                           R"({"format":"nuv-recording","version":2,"library":"9","service":null,"bus":"x",)"
                           R"("started":"2024-02-29T12:00:00.000001Z","redacted":false})"
                           "\n"}) {
    WriteFile(File(), text);
    const NuvctlRun run = Replay();
    EXPECT_EQ(run.status, 2) << text;
    EXPECT_THAT(run.errors, HasSubstr(File() + ":1: ")) << text;
  }
  std::filesystem::remove(File());
  EXPECT_EQ(Replay().status, 2);
}

TEST_F(NuvctlReplay, RefusesARedactedRecording) {
  MadeRecording made(File(), true);
  made.Reply(kClient, made.Call(kClient, "get_extra_app"), g_variant_new("(s)", ""));
  made.End();
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.errors, "nuvctl: " + File() + ": a redacted recording cannot be replayed\n");
  EXPECT_FALSE(SimulatorSaid("get_extra_app"));
}

TEST_F(NuvctlReplay, RefusesARecordingWithoutCalls) {
  MadeRecording made(File());
  made.End();
  StartSimulator();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.errors, "nuvctl: " + File() + ": the recording has no calls of the service\n");
}

TEST_F(NuvctlReplay, ShowsWhatCameBeforeALineThatWasEditedByHand) {
  MakeOtherAnswer();
  const std::string whole = ReadFile(File());
  const std::string before = whole.substr(0, whole.rfind("{\"t\""));
  StartSimulator();
  for (const char* line : {"{\"t\":0,\"type\":\"reply\",\"bytes\":\"bm8=\"}\n", "{\"t\":0,\n"}) {
    WriteFile(File(), before + line);
    const NuvctlRun run = Replay();
    EXPECT_EQ(run.status, 2) << line;
    EXPECT_THAT(run.output, HasSubstr("-reply ('x.app')\n")) << line;
    EXPECT_THAT(run.errors, HasSubstr(File() + ":5: ")) << line;
  }
}

TEST_F(NuvctlReplay, ReadsALargeRecordingALineAtATime) {
  MadeRecording made(File());
  for (int i = 0; i < 1600; ++i) {
    made.Signal(48000);
    if (i % 100 == 0) made.Reply(kClient, made.Call(kClient, "get_extra_app"), g_variant_new("(s)", ""));
  }
  made.End();
  ASSERT_GT(std::filesystem::file_size(File()), 100000000u);
  StartSimulator();
  const auto nuvctl = Start({"replay", File(), "--speed", "0"});
  const NuvctlRun run = Finish(*nuvctl, Milliseconds(100000));
  EXPECT_EQ(run.output, "as recorded: 16 calls, 16 answers, 0 results, 1 client\n") << run.errors;
  rusage used = {};
  getrusage(RUSAGE_CHILDREN, &used);
  EXPECT_LT(used.ru_maxrss, kBoundedKib);
}

TEST_F(NuvctlReplay, SaysThatThereIsNoService) {
  MakeOtherAnswer();
  const NuvctlRun run = Replay();
  EXPECT_EQ(run.status, 5);
  EXPECT_EQ(run.output, "");
}

TEST_F(NuvctlReplay, SaysThatThereIsNoBus) {
  MakeOtherAnswer();
  bus_.Kill();
  EXPECT_EQ(Replay().status, 6);
}

TEST_F(NuvctlReplay, SaysThatTheBusIsGone) {
  MakeLaunchRecording({{900, 0}});
  StartSimulator(R"([{"method": "launch_app", "start": false, "results": []}])");
  const auto replay = StartReplay({"--timeout", "1000"});
  ASSERT_TRUE(WaitUntil([this] { return SimulatorSaid("reply   launch_app"); }));
  bus_.Kill();
  EXPECT_EQ(Finish(*replay).status, 6);
}

TEST_F(NuvctlReplay, EndsWhenItIsInterrupted) {
  MakeLaunchRecording({{900, 0}});
  for (const int signal : {SIGINT, SIGTERM}) {
    StartSimulator(R"([{"method": "launch_app", "start": false, "results": []}])");
    const auto replay = StartReplay({"--timeout", "1000", "--json"});
    ASSERT_TRUE(WaitUntil([this] { return SimulatorSaid("reply   launch_app"); }));
    replay->Signal(signal);
    const Json json = Finish(*replay).Json();
    EXPECT_EQ(json["status"], 130);
    EXPECT_EQ(json["calls"], 1);
    simulator().KillAndWait();
  }
}

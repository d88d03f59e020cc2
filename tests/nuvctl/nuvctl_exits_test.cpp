// The exit status of each verb of nuvctl in each of the situations that can end it.
#include <gmock/gmock.h>
#include <signal.h>

#include <future>
#include <regex>
#include <set>
#include <sstream>

#include "nuvctl_host_test.h"
#include "recording_service.h"

using testing::HasSubstr;
using testing::StartsWith;
using Answer = RecordingService::Answer;

namespace {

constexpr char kCatalogue[] = R"({"config": {"RESERVED_27": "play:org.example.player"}, "apps": [
    {"id": "org.example.player", "kelvo_id": "kv.player", "run_title": "Player", "is_lock": 0},
    {"id": "org.example.locked", "is_lock": 1, "is_need_update": 1},
    {"id": "org.example.android", "app_type": 8}]})";

constexpr char kPlayer[] = "org.example.player";
constexpr char kAndroid[] = "org.example.android";
constexpr char kNoSuch[] = "org.example.nosuch";
constexpr char kRecording[] = NUV_SOURCE_DIR "/data/sample.nuvrec";

// A verb that calls the service: the method, a good reply, and one that is a failure.
struct Caller {
  std::vector<std::string> line;
  const char* method;
  Answer good;
  Answer bad;
  bool needs_service;  // otherwise the library does the work itself where the service cannot
  std::string verb() const { return line.front(); }
};

Answer Reply(const char* text) {
  return {Answer::kReply, text, ""};
}

const Answer kRefusal = {Answer::kError, "not today", "org.kelvo.Error.Refused"};

const Caller kCallers[] = {
    {{"launch", kPlayer, "--no-wait"}, "launch_app", Reply("()"), kRefusal, true},
    {{"preload", kPlayer, "--no-wait"}, "launch_app", Reply("()"), kRefusal, true},
    {{"pin", kPlayer, "--no-wait"}, "LaunchRequest", Reply("(77,)"), kRefusal, true},
    {{"kpi", "--type", "1", "--app", kPlayer}, "send_appexec_kpi", Reply("()"), kRefusal, true},
    {{"popup", "4"}, "launch_systempopup", Reply("()"), kRefusal, true},
    {{"android-status", kAndroid}, "get_android_app_status", Reply("(1,)"), kRefusal, true},
    {{"status", kAndroid}, "get_android_app_status", Reply("(1,)"), kRefusal, true},
    {{"terminate", kPlayer}, "terminate_app", Reply("()"), kRefusal, true},
    {{"terminate-all"}, "terminate_allapp", Reply("()"), kRefusal, true},
    {{"extra-app"}, "get_extra_app", Reply("('x',)"), kRefusal, true},
    {{"set-version", kPlayer, "2.0"}, "nuv_update_app_version", Reply("(0,)"), kRefusal, true},
    {{"command", "1"}, "nuv_command", Reply("()"), kRefusal, true},
    {{"set", kPlayer, "is_updated"}, "nuv_update_app_by_key", Reply("(0,)"), Reply("(7,)"), false},
    {{"count", kPlayer}, "nuv_update_app_count", Reply("(0,)"), Reply("(7,)"), false},
};

// A verb that reads only: a line that is answered, one that asks for what is not there, and whether it reads the
// catalogue, so that there is no answer without one.
struct Reader {
  std::vector<std::string> found;
  std::vector<std::string> not_found;
  bool reads_catalogue;
};

const Reader kReaders[] = {
    {{"list"}, {"list", "--index", "99"}, true},
    {{"show", kPlayer}, {"show", kNoSuch}, true},
    {{"locked", kPlayer}, {"locked", kNoSuch}, true},
    {{"uninstallable", kPlayer}, {"uninstallable", kNoSuch}, true},
    {{"group", "play"}, {"group", "nosuch"}, true},
    {{"explain", kPlayer}, {"explain", kNoSuch}, true},
    {{"inner", "show", kPlayer}, {"inner", "show", kNoSuch}, true},
    {{"used"}, {"used", "--check", kNoSuch}, true},
    {{"status", kPlayer}, {"status", kPlayer, kNoSuch}, true},
    {{}, {"android-status", kNoSuch}, false},
    {{}, {"terminate", kNoSuch}, true},
    {{}, {"preload", kNoSuch}, true},
    {{}, {"pin", kNoSuch}, true},
    {{}, {"set", kNoSuch, "version", "1"}, true},
    {{}, {"count", kNoSuch}, true},
    {{}, {"set-version", kNoSuch, "1"}, true},
    {{}, {"launch", "--title", "No Such"}, true},
    {{}, {"showing"}, false},
    {{"ps"}, {}, false},
    {{"ping", "-c", "1"}, {}, false},
    {{"watch", "--for", "0.1"}, {}, false},
    {{"timeline", kRecording}, {}, false},
    {{"record", "/dev/null", "--force", "--for", "0.1"}, {}, false},
    {{"show-recording", kRecording}, {}, false},
    {{"doctor"}, {}, false},
};

// A recording that a service answers as recorded, or otherwise, is made where it is replayed: nuvctl_replay_test.cpp
// has each of its ends.
constexpr char kReplay[] = "replay";

std::vector<std::string> With(std::vector<std::string> line, const std::vector<std::string>& more) {
  line.insert(line.end(), more.begin(), more.end());
  return line;
}

std::set<std::string> VerbsOfManPage() {
  std::set<std::string> verbs;
  std::istringstream page(ReadFile(NUV_SOURCE_DIR "/doc/nuvctl.1.scd"));
  const std::regex synopsis(R"(^\*nuvctl ([a-z-]+)\*.*)");
  std::smatch match;
  for (std::string line; std::getline(page, line);) {
    if (std::regex_match(line, match, synopsis)) verbs.insert(match[1]);
  }
  return verbs;
}

}  // namespace

// The catalogue is the simulator's; the service is the test's own where one is needed.
class NuvctlExits : public NuvctlHostTest {
 protected:
  void SetUp() override {
    StartHost(kCatalogue);
    StopHost();
  }
  void StartService() { service_ = std::make_unique<RecordingService>(bus_.address()); }

  void ExpectEnd(const Arguments& line, int status, const std::string& outcome) const {
    const std::string text = testing::PrintToString(line);
    const NuvctlRun plain = Run(line);
    EXPECT_EQ(plain.status, status) << text << plain.errors;
    const NuvctlRun as_json = Run(With(line, {"--json"}));
    EXPECT_EQ(as_json.Json()["outcome"], outcome) << text;
    EXPECT_EQ(as_json.Json()["verb"], line.front());
    EXPECT_EQ(as_json.status, status) << text;
  }

  std::unique_ptr<RecordingService> service_;
};

TEST_F(NuvctlExits, EachVerbIsInATable) {
  std::set<std::string> driven = {kReplay};
  for (const Caller& caller : kCallers) driven.insert(caller.verb());
  for (const Reader& reader : kReaders) {
    for (const auto& line : {reader.found, reader.not_found}) {
      if (!line.empty()) driven.insert(line.front());
    }
  }
  EXPECT_EQ(driven, VerbsOfManPage());
}

TEST_F(NuvctlExits, WhatIsDoneEndsInStatus0) {
  StartService();
  for (const Caller& caller : kCallers) {
    service_->AnswerTo(caller.method, caller.good);
    EXPECT_EQ(Run(caller.line).status, 0) << caller.verb();
  }
  for (const Reader& reader : kReaders) {
    if (reader.found.empty()) continue;
    EXPECT_EQ(Run(reader.found).status, 0) << testing::PrintToString(reader.found);
  }
}

TEST_F(NuvctlExits, ARefusalOfTheServiceEndsInStatus1WithItsNameAndText) {
  StartService();
  for (const Caller& caller : kCallers) {
    service_->AnswerTo(caller.method, caller.bad);
    ExpectEnd(caller.line, 1, "failed");
    if (caller.bad.kind != Answer::kError || caller.verb() == "pin") continue;
    EXPECT_THAT(Run(caller.line).errors, HasSubstr("(org.kelvo.Error.Refused: not today)")) << caller.verb();
  }
}

TEST_F(NuvctlExits, ADatabaseThatCannotBeReadEndsInStatus1) {
  StartService();
  WriteFile(state() + "/.corvane.db", std::string(4096, 'x'));
  for (const Reader& reader : kReaders) {
    const auto& line = reader.not_found;
    if (reader.reads_catalogue) ExpectEnd(line, 1, "failed");
  }
}

TEST_F(NuvctlExits, AWrongCommandLineEndsInStatus2) {
  for (const std::string& verb : VerbsOfManPage()) ExpectEnd({verb, "--no-such-option"}, 2, "usage error");
}

TEST_F(NuvctlExits, WhatIsNotThereEndsInStatus3) {
  StartService();
  for (const Reader& reader : kReaders) {
    if (!reader.not_found.empty()) ExpectEnd(reader.not_found, 3, "not found");
  }
  service_->AnswerTo("get_extra_app", Reply("('',)"));
  ExpectEnd({"extra-app"}, 3, "not found");
}

TEST_F(NuvctlExits, AServiceThatIsSilentEndsInStatus4WhenItsTimeIsOver) {
  StartService();
  service_->FallSilent();
  for (const Caller& caller : kCallers) {
    ExpectEnd(With(caller.line, {"--timeout", "0.3"}), 4, "timed out");
    EXPECT_THAT(Run(With(caller.line, {"--timeout", "0.3"})).errors, HasSubstr("did not answer")) << caller.verb();
  }
}

TEST_F(NuvctlExits, AServiceThatIsNotThereEndsInStatus5) {
  for (const Caller& caller : kCallers) {
    if (caller.needs_service) ExpectEnd(caller.line, 5, "service gone");
  }
}

TEST_F(NuvctlExits, ABusThatIsNotThereEndsInStatus6) {
  bus_.Kill();
  for (const Caller& caller : kCallers) {
    if (caller.needs_service) ExpectEnd(caller.line, 6, "bus gone");
  }
  ExpectEnd({"watch"}, 6, "bus gone");
  ExpectEnd({"record", "/dev/null", "--force"}, 6, "bus gone");
}

TEST_F(NuvctlExits, ASignalEndsAnyVerbInStatus130WithAnAnswerInJson) {
  StartService();
  service_->FallSilent();
  for (const int number : {SIGINT, SIGTERM}) {
    for (const Caller& caller : kCallers) {
      service_->Forget();
      const auto nuvctl = Start(With(caller.line, {"--json"}));
      ASSERT_TRUE(WaitUntil([&] { return !service_->CallsOf(caller.method).empty(); })) << caller.verb();
      nuvctl->Signal(number);
      const NuvctlRun run = Finish(*nuvctl, Milliseconds(9000));
      EXPECT_EQ(run.status, 130) << caller.verb();
      EXPECT_EQ(run.Json()["outcome"], "interrupted") << caller.verb();
      EXPECT_EQ(run.Json()["verb"], caller.verb());
    }
  }
}

// A shell starts what it runs in the background so. The signal is there before the answer.
TEST_F(NuvctlExits, AnInterruptThatTheProcessWasStartedToIgnoreIsIgnored) {
  StartService();
  std::promise<pid_t> pid;
  service_->Before("launch_systempopup", [&pid](const RecordedCall&) { kill(pid.get_future().get(), SIGINT); });
  Process nuvctl({"sh", "-c", "trap '' INT; exec " NUV_BIN_DIR "/nuvctl popup 4"}, directory_.path());
  pid.set_value(nuvctl.pid());
  EXPECT_EQ(nuvctl.Wait(), 0);
  EXPECT_EQ(nuvctl.Errors(), "");
}

// A bus whose policy does not let the request pass.
class NuvctlNotAllowed : public NuvctlTest {
 protected:
  PrivateBus bus_{R"(<policy context="mandatory"><deny send_interface="org.kelvo.tv.litecorvane.server.interface"/>
                     </policy>)"};
};

TEST_F(NuvctlNotAllowed, ARequestThatTheBusRefusesEndsInStatus5WithTheReason) {
  const RecordingService service(bus_.address());
  const NuvctlRun run = Run({"popup", "4"});
  EXPECT_EQ(run.status, 5) << run.errors;
  EXPECT_THAT(run.errors, StartsWith("nuvctl: service gone: the service is not to be reached "
                                     "(org.freedesktop.DBus.Error.AccessDenied: "));
}

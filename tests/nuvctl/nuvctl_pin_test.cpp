// nuvctl pin: what the common-UI application is given, and what becomes of the launch behind the PIN dialog.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <map>

#include "nuvctl_host_test.h"
#include "recording_service.h"

using testing::HasSubstr;
using testing::StartsWith;
using Json = nlohmann::json;

namespace {

constexpr char kCatalogue[] = R"({"apps": [
    {"id": "org.example.player", "kelvo_id": "kv.player", "is_lock": 1, "app_type": 4}]})";

struct SentRequest {
  std::string app_id;
  std::map<std::string, std::string> extra_data;
};

SentRequest Unpack(const RecordedCall& call) {
  SentRequest request;
  const char* app_id = nullptr;
  GVariantIter* pairs = nullptr;
  g_variant_get(call.body.get(), "(&sssa(ss))", &app_id, nullptr, nullptr, &pairs);
  request.app_id = app_id;
  const char* key = nullptr;
  const char* value = nullptr;
  while (g_variant_iter_next(pairs, "(&s&s)", &key, &value)) request.extra_data[key] = value;
  g_variant_iter_free(pairs);
  return request;
}

}  // namespace

// The service is the test's own: what it starts for a PIN dialog, and what the user does there, is as the test has it.
class NuvctlPin : public NuvctlHostTest {
 protected:
  void SetUp() override {
    StartHost(kCatalogue);
    StopHost();
    service_ = std::make_unique<RecordingService>(bus_.address());
    service_->AnswerTo("LaunchRequest", {RecordingService::Answer::kReply, "(77,)", ""});
  }

  std::vector<RecordedCall> Dialogs() const { return service_->CallsOf("LaunchRequest"); }

  SentRequest Request(Arguments arguments) const {
    service_->Forget();
    arguments.insert(arguments.begin(), {"pin", "--no-wait"});
    const NuvctlRun run = Run(arguments);
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "accepted\n");
    EXPECT_EQ(Dialogs().size(), 1u);
    return Dialogs().empty() ? SentRequest() : Unpack(Dialogs().front());
  }

  // What nuvctl makes of the result that comes when the user is through with the dialog.
  NuvctlRun RunUntilResult(const SentResult& result, Arguments arguments = {"pin", "kv.player", "--wait", "30"}) const {
    const auto nuvctl = Start(arguments);
    EXPECT_TRUE(WaitUntil([this] { return !Dialogs().empty(); }));
    if (Dialogs().empty()) return Finish(*nuvctl);
    SentRequest request = Unpack(Dialogs().front());
    LaunchRequest launch;
    launch.object_name = "obj" + request.extra_data["Pid"];
    launch.thread_id = std::stoi(request.extra_data["ThreadId"]);
    launch.texts = std::vector<std::string>(7);
    launch.texts[0] = request.extra_data["AppId"];
    launch.event = std::stoi(request.extra_data["Index"]);
    launch.method_call = request.extra_data["MethodName"];
    launch.flags = std::vector<int32_t>(11);
    // The result may come before the one who hears it is noted, and is then lost.
    EXPECT_TRUE(WaitUntil([&] { return !service_->SendResult(launch, result) || !nuvctl->Running(); }));
    return Finish(*nuvctl);
  }

  std::unique_ptr<RecordingService> service_;
};

TEST_F(NuvctlPin, HandsTheLaunchToTheCommonUiApplication) {
  SentRequest request = Request({"kv.player", "--payload", "[x]=\"1\"&y=ä", "--caller", "me", "--uri", "player://1",
                                 "--entry", "e", "--below", "org.example.below", "--requestor", "r"});
  EXPECT_EQ(request.app_id, "org.kelvo.corvane-commui");
  auto& extra = request.extra_data;
  EXPECT_EQ(extra["MethodName"], "Launch_pin_code_opr_result");
  EXPECT_EQ(extra["AppId"], "org.example.player");
  EXPECT_EQ(extra["AppType"], "4");
  EXPECT_EQ(extra["AppPayload"], "[x]=\"1\"&y=ä");
  EXPECT_EQ(extra["AppCallerid"], "me");
  EXPECT_EQ(extra["AppUri"], "player://1");
  EXPECT_EQ(extra["Entry"], "e");
  EXPECT_EQ(extra["RelocateBelowApp"], "org.example.below");
  EXPECT_EQ(extra["__K_EX_LAUNCH_REQUESTOR"], "r");
  EXPECT_EQ(extra["cbType"], "1");
}

TEST_F(NuvctlPin, LeavesOutWhatIsNotGiven) {
  SentRequest request = Request({"org.example.player"});
  for (const char* key :
       {"AppPayload", "AppCallerid", "AppUri", "Entry", "RelocateBelowApp", "__K_EX_LAUNCH_REQUESTOR"}) {
    EXPECT_EQ(request.extra_data[key], "") << key;
  }
}

TEST_F(NuvctlPin, HasTheOptionsThatWereChosen) {
  const auto flags = [this](const Arguments& arguments) {
    auto extra = Request(arguments).extra_data;
    return extra["ForceLaunch"] + extra["Background"] + extra["Deeplink"];
  };
  EXPECT_EQ(flags({"org.example.player"}), "000");
  EXPECT_EQ(flags({"org.example.player", "--force"}), "100");
  EXPECT_EQ(flags({"org.example.player", "--background"}), "010");
  EXPECT_EQ(flags({"org.example.player", "--deep-link"}), "001");
}

TEST_F(NuvctlPin, EndsInLaunchedWhenTheUserKnowsThePin) {
  const NuvctlRun run = RunUntilResult({900});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output, "launched: 900 NUV_NOTIFY_LAUNCHED: the application was started\n");
}

TEST_F(NuvctlPin, EndsInFailedWhenTheUserCancels) {
  const NuvctlRun run = RunUntilResult({903, 405}, {"pin", "kv.player", "--wait", "30", "--json"});
  EXPECT_EQ(run.status, 1);
  const Json json = run.Json();
  EXPECT_EQ(json["app"], "kv.player");
  EXPECT_EQ(json["function"], "nuv_launch_Pin_Popup");
  EXPECT_EQ(json["name"], "NUV_LAUNCH_STATUS_CANCELLED");
  EXPECT_EQ(json["events"].size(), 1u);
}

TEST_F(NuvctlPin, AUserWhoDoesNothingIsATimeout) {
  const NuvctlRun run = Run({"pin", "kv.player", "--wait", "0.5"});
  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(run.errors, StartsWith("nuvctl: timed out: "));
}

TEST_F(NuvctlPin, ADialogThatIsNotStartedIsAFailure) {
  service_->AnswerTo("LaunchRequest", {RecordingService::Answer::kError, "no", "org.kelvo.Error.Refused"});
  for (const Arguments& arguments : {Arguments{"pin", "kv.player"}, {"pin", "kv.player", "--wait", "20"}}) {
    const NuvctlRun run = Run(arguments);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "nuvctl: failed: the common-UI application, which shows the PIN dialog, was not started\n");
  }
}

TEST_F(NuvctlPin, AnApplicationThatTheCatalogueDoesNotHaveIsNotFound) {
  const NuvctlRun run = Run({"pin", "\x1b[2Jx", "--wait", "20"});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.errors, "nuvctl: not found: the catalogue has no usable application with the id \\u001b[2Jx\n");
  EXPECT_EQ(Run({"pin", "org.example.nosuch", "--json"}).Json()["function"], "nuv_launch_Pin_Popup");
  EXPECT_TRUE(Dialogs().empty());
}

TEST_F(NuvctlPin, WithoutServiceOrBusItSaysWhichIsGone) {
  service_.reset();
  EXPECT_EQ(Run({"pin", "kv.player"}).status, 5);
  EXPECT_EQ(Run({"pin", "kv.player", "--wait", "20", "--json"}).Json()["outcome"], "service gone");
  bus_.Kill();
  EXPECT_EQ(Run({"pin", "kv.player"}).status, 6);
  EXPECT_EQ(Run({"pin", "kv.player", "--wait", "20"}).status, 6);
}

TEST_F(NuvctlPin, RefusesAWrongCommandLine) {
  for (const Arguments& wrong :
       {Arguments{"pin"}, {"pin", "a", "--plain"}, {"pin", "a", "--wait", "soon"}, {"pin", "a", "b"}}) {
    EXPECT_EQ(Run(wrong).status, 2) << wrong.back();
  }
}

// The simulator starts what its catalogue has for the common-UI application.
class NuvctlPinOnHost : public NuvctlHostTest {};

TEST_F(NuvctlPinOnHost, StartsTheCommonUiApplicationOfTheCatalogue) {
  const std::string program = directory_ / "dialog";
  WriteFile(program, "#!/bin/sh\nprintf %s \"$NUV_EXTRA_DATA\" > \"$0.new\" && mv \"$0.new\" \"$0.data\"\nsleep 60\n");
  ASSERT_EQ(chmod(program.c_str(), 0755), 0);
  StartHost(R"({"apps": [{"id": "org.example.player", "is_lock": 1},
                         {"id": "org.kelvo.corvane-commui", "app_type": 4, "install_path": ")" +
            program + R"("}]})");
  const NuvctlRun run = Run({"pin", "org.example.player", "--no-wait", "--caller", "me"});
  EXPECT_EQ(run.status, 0) << run.errors;
  ASSERT_TRUE(WaitUntil([&] { return !ReadFile(program + ".data").empty(); }));
  const Json given = Json::parse(ReadFile(program + ".data"));
  EXPECT_EQ(given["AppId"], "org.example.player");
  EXPECT_EQ(given["AppCallerid"], "me");
  EXPECT_EQ(given["MethodName"], "Launch_pin_code_opr_result");
}

// nuvctl launch: the request it makes, and each outcome that the service reports.
#include <gmock/gmock.h>

#include "nuvctl_run.h"
#include "recording_service.h"

using testing::ElementsAre;
using testing::HasSubstr;
using Json = nlohmann::json;

// The request, as a service sees it.
class NuvctlLaunchRequest : public NuvctlOnBusTest {
 protected:
  struct Flags {
    int force, shape, deep_link, background;
    bool operator==(const Flags& other) const {
      return force == other.force && shape == other.shape && deep_link == other.deep_link &&
             background == other.background;
    }
  };

  LaunchRequest Request(Arguments arguments) {
    service_.Forget();
    arguments.insert(arguments.begin(), {"launch", "--no-wait"});
    const NuvctlRun run = Run(arguments);
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "accepted\n");
    EXPECT_EQ(run.errors, "");
    const auto launches = service_.Launches();
    EXPECT_EQ(launches.size(), 1u);
    return launches.empty() ? LaunchRequest{"", 0, std::vector<std::string>(7), 0, "", std::vector<int32_t>(11), {}}
                            : launches.front();
  }

  Flags FlagsOf(const Arguments& arguments) {
    const auto flags = Request(arguments).flags;
    return {flags[0], flags[6], flags[7], flags[9]};
  }

  RecordingService service_{bus_.address()};
};

TEST_F(NuvctlLaunchRequest, CarriesTheTexts) {
  const LaunchRequest request = Request({"a.b", "--payload", "[x]=\"1\"&y=ä", "--caller", "me"});
  EXPECT_EQ(request.texts[0], "a.b");
  EXPECT_THAT(request.texts[1], testing::StartsWith("[x]=\"1\"&y=ä"));
  EXPECT_EQ(request.texts[3], "me");
}

TEST_F(NuvctlLaunchRequest, TakesTheCallerFromThePayloadWhereNoneIsGiven) {
  EXPECT_EQ(Request({"a.b", "--payload", "x=1&callerid=other"}).texts[3], "other");
  EXPECT_EQ(Request({"a.b", "--plain", "--payload", "x=1&callerid=other"}).texts[3], "other");
  EXPECT_EQ(Request({"a.b", "--plain", "--payload", "x=1&callerid=other", "--caller", "me"}).texts[3], "me");
}

TEST_F(NuvctlLaunchRequest, TakesAnyTextAsApplication) {
  EXPECT_EQ(Request({"popup"}).texts[0], "popup");
  EXPECT_EQ(Request({""}).texts[0], "");
  EXPECT_EQ(Request({"--", "--plain"}).texts[0], "--plain");
}

TEST_F(NuvctlLaunchRequest, HasTheOptionsThatWereChosen) {
  EXPECT_EQ(FlagsOf({"a"}), (Flags{0, 1, 0, 0}));
  EXPECT_EQ(FlagsOf({"a", "--webapp", "--force"}), (Flags{1, 1, 0, 0}));
  EXPECT_EQ(FlagsOf({"a", "--background"}), (Flags{0, 1, 0, 1}));
  EXPECT_EQ(FlagsOf({"a", "--deep-link"}), (Flags{1, 1, 1, 0}));
  EXPECT_EQ(FlagsOf({"a", "--deep-link", "--force", "--background"}), (Flags{1, 1, 1, 1}));
  EXPECT_EQ(FlagsOf({"a", "--plain"}), (Flags{0, 0, 0, 0}));
  EXPECT_EQ(FlagsOf({"a", "--plain", "--force", "--caller", "me"}), (Flags{1, 0, 0, 0}));
}

// The outcome, from the reference service.
class NuvctlLaunch : public NuvctlOnBusTest {
 protected:
  NuvctlRun Launch(Arguments arguments) {
    arguments.insert(arguments.begin(), "launch");
    arguments.insert(arguments.end(), {"--wait", "20"});
    return Run(arguments);
  }
  Json LaunchJson(Arguments arguments) {
    arguments.push_back("--json");
    return Launch(arguments).Json();
  }
};

TEST_F(NuvctlLaunch, EndsInLaunched) {
  StartSimulator();
  const NuvctlRun run = Launch({kApp});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "launched: 900 NUV_NOTIFY_LAUNCHED: the application was started\n");
  EXPECT_EQ(run.errors, "");
}

TEST_F(NuvctlLaunch, IsDescribedInJson) {
  StartSimulator();
  EXPECT_EQ(LaunchJson({kApp}), Json::parse(R"({
      "verb": "launch", "outcome": "launched", "status": 0, "app": "org.example.player",
      "function": "nuv_launch_webapp", "code": 900, "name": "NUV_NOTIFY_LAUNCHED",
      "meaning": "the application was started",
      "events": [{"app": "org.example.player", "code": 900, "name": "NUV_NOTIFY_LAUNCHED",
                  "meaning": "the application was started", "result": 0}]})"));
  const Json plain = LaunchJson({kApp, "--plain"});
  EXPECT_EQ(plain["function"], "nuv_launch_app");
  EXPECT_EQ(plain["code"], 601);
  EXPECT_EQ(plain["events"][0]["result"], nullptr);
}

TEST_F(NuvctlLaunch, AcceptanceInJsonHasTheSameKeys) {
  StartSimulator();
  const NuvctlRun run = Run({"launch", kApp, "--no-wait", "--json"});
  EXPECT_EQ(run.Json(), Json::parse(R"({
      "verb": "launch", "outcome": "accepted", "status": 0, "app": "org.example.player",
      "function": "nuv_launch_webapp", "code": null, "name": null, "meaning": null, "events": []})"));
}

TEST_F(NuvctlLaunch, EachKindOfSuccessIsLaunched) {
  StartSimulator();
  EXPECT_EQ(LaunchJson({kApp})["code"], 900);
  EXPECT_EQ(LaunchJson({kApp})["code"], 901);
  EXPECT_EQ(LaunchJson({kApp, "--background"})["code"], 902);
  EXPECT_EQ(LaunchJson({kApp, "--deep-link"})["code"], 906);
  EXPECT_EQ(LaunchJson({kApp, "--deep-link", "--background"})["code"], 906);
  EXPECT_EQ(LaunchJson({kApp, "--plain", "--force"})["code"], 601);
}

TEST_F(NuvctlLaunch, AnUnknownApplicationIsAFailureWithItsReason) {
  StartSimulator();
  const NuvctlRun run = Launch({"org.example.nosuch"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.errors,
            "nuvctl: failed: 400 NUV_LAUNCH_STATUS_UNKNOWN_APP: the catalogue does not know the application\n");
  const Json json = LaunchJson({"org.example.nosuch", "--plain"});
  EXPECT_EQ(json["outcome"], "failed");
  EXPECT_EQ(json["status"], 1);
  EXPECT_EQ(json["code"], 604);
  EXPECT_EQ(json["name"], "NUV_LAUNCH_RESULT_UNKNOWN_APP");
  EXPECT_EQ(json["meaning"], "the catalogue does not know the application");
  EXPECT_THAT(json["error"]["message"].get<std::string>(), HasSubstr("604"));
}

TEST_F(NuvctlLaunch, ARequestThatTheServiceRefusesIsAFailure) {
  StartSimulator(R"([{"method": "launch_app", "answer": "error"}])");
  for (const char* shape : {"--webapp", "--plain"}) {
    const NuvctlRun run = Launch({kApp, shape});
    EXPECT_EQ(run.status, 1) << shape;
    EXPECT_EQ(run.errors,
              "nuvctl: failed: the service did not carry out the request "
              "(org.freedesktop.DBus.Error.Failed: The scenario says so)\n");
    EXPECT_EQ(Run({"launch", kApp, shape}).status, 1) << shape;
  }
}

TEST_F(NuvctlLaunch, AResultBeforeTheReplyIsNotLost) {
  StartSimulator(R"([{"method": "launch_app", "delay_ms": 300, "results": [{"event": 900, "before_reply": true}]}])");
  for (const char* shape : {"--webapp", "--plain"}) {
    const NuvctlRun run = Launch({kApp, shape});
    EXPECT_EQ(run.status, 0) << shape << run.errors;
    EXPECT_THAT(run.output, testing::StartsWith("launched: "));
  }
}

TEST_F(NuvctlLaunch, AResultThatComesTwiceCountsOnce) {
  StartSimulator(R"([{"method": "launch_app", "results": [{"event": 900, "times": 2}]}])");
  const NuvctlRun run = Launch({kApp});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "launched: 900 NUV_NOTIFY_LAUNCHED: the application was started\n");
}

TEST_F(NuvctlLaunch, AnUnknownEventIsShownAndTheWaitGoesOn) {
  StartSimulator(R"([{"method": "launch_app", "results": [{"event": 950, "res": 7},
                                                          {"event": 901, "delay_ms": 200}]}])");
  const NuvctlRun run = Launch({kApp});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output,
            "event 950 (a number without a name), status 7 (a number without a name)\n"
            "launched: 901 NUV_NOTIFY_BROUGHT_TO_FRONT: the application ran already and came to the front\n");
  const Json json = LaunchJson({kApp});
  EXPECT_EQ(json["events"].size(), 2u);
  EXPECT_EQ(json["events"][0], Json::parse(R"({"app": "org.example.player", "code": 950, "name": null,
                                               "meaning": null, "result": 7})"));
}

TEST_F(NuvctlLaunch, AFailureThatIsNotDecidedYetIsShownAndTheWaitGoesOn) {
  StartSimulator(R"([{"method": "launch_app", "results": [{"event": 903, "res": 402},
                                                          {"event": 903, "res": 405, "delay_ms": 200}]}])");
  const NuvctlRun run = Launch({kApp});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, HasSubstr("NUV_LAUNCH_STATUS_PENDING"));
  EXPECT_THAT(run.errors, HasSubstr("405 NUV_LAUNCH_STATUS_CANCELLED"));
}

TEST_F(NuvctlLaunch, AFailureWithAStatusThatHasNoNameIsAFailure) {
  StartSimulator(R"([{"method": "launch_app", "results": [{"event": 907, "res": 499}]}])");
  const Json json = LaunchJson({kApp});
  EXPECT_EQ(json["status"], 1);
  EXPECT_EQ(json["code"], 499);
  EXPECT_EQ(json["name"], nullptr);
}

// What a client leaves unanswered reads like a fault in the log of the service. The answer leaves nuvctl late, and the
// result itself has told it that the launch is over.
TEST_F(NuvctlLaunchRequest, TheResultIsAnsweredBeforeItGoes) {
  const auto nuvctl = Start({"launch", kApp, "--wait", "20"}, {{"LD_PRELOAD", SLOW_ANSWERS}});
  ASSERT_TRUE(WaitUntil([this] { return service_.Launches().size() == 1; }));
  EXPECT_TRUE(service_.SendResult(service_.Launches().front(), SentResult()));
  EXPECT_EQ(Finish(*nuvctl).status, 0);
}

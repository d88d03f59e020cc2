// Launching by run title, and terminating: what nuvctl asks of the service, and what it makes of the answer.
#include <gmock/gmock.h>

#include "nuvctl_catalogue.h"
#include "recording_service.h"

using testing::HasSubstr;
using Json = nlohmann::json;

class NuvctlByName : public NuvctlCatalogueTest {
 protected:
  NuvctlByName() { database_.Add("a.b", {{"kelvo_id", "k"}, {"pkgname", "p"}, {"run_title", "Run"}}); }

  // The arguments of the only call of the method.
  std::string Asked(const std::string& method) {
    const auto calls = service_.CallsOf(method);
    EXPECT_EQ(calls.size(), 1u) << method;
    const std::string asked = calls.empty() ? "" : calls.front().Text();
    service_.Forget();
    return asked;
  }

  void ExpectQuietSuccess(const Arguments& arguments) const {
    const NuvctlRun run = Ask(arguments);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output + run.errors, "");
  }

  LaunchRequest Request(const Arguments& given) {
    service_.Forget();
    Arguments arguments = given;
    arguments.emplace_back("--no-wait");
    const NuvctlRun run = Ask(arguments);
    EXPECT_EQ(run.output, "accepted\n") << run.errors;
    const auto launches = service_.Launches();
    EXPECT_EQ(launches.size(), 1u);
    return launches.empty() ? LaunchRequest{"", 0, std::vector<std::string>(7), 0, "", std::vector<int32_t>(11), {}}
                            : launches.front();
  }

  RecordingService service_{bus_.address()};
};

TEST_F(NuvctlByName, ALaunchByTitleIsOneOfTheApplication) {
  const LaunchRequest request = Request({"launch", "--title", "Run", "--payload", "x=1", "--caller", "me"});
  EXPECT_EQ(request.texts[0], "a.b");
  EXPECT_THAT(request.texts[1], testing::StartsWith("x=1"));
  EXPECT_EQ(request.texts[3], "me");
  EXPECT_EQ(request.flags[6], 1);
}

TEST_F(NuvctlByName, ALaunchByTitleHasThePlainShapeToo) {
  const LaunchRequest with_caller = Request({"launch", "--title", "Run", "--plain", "--caller", "me"});
  EXPECT_EQ(with_caller.texts[0], "a.b");
  EXPECT_EQ(with_caller.texts[3], "me");
  EXPECT_EQ(with_caller.flags[6], 0);
  EXPECT_EQ(Request({"launch", "--title", "Run", "--plain", "--payload", "callerid=x"}).texts[0], "a.b");
}

TEST_F(NuvctlByName, ALaunchByTitleNamesItsFunction) {
  const Json json = AskJson({"launch", "--no-wait", "--title", "Run"});
  EXPECT_EQ(json["title"], "Run");
  EXPECT_FALSE(json.contains("app"));
  EXPECT_EQ(json["function"], "nuv_launch_webapp_by_runtitle");
  EXPECT_EQ(AskJson({"launch", "--no-wait", "--title", "Run", "--plain"})["function"], "nuv_launch_app_by_runtitle");
  EXPECT_EQ(AskJson({"launch", "--no-wait", "--title", "Run", "--plain", "--caller", "x"})["function"],
            "nuv_launch_app_by_runtitle_with_param");
}

TEST_F(NuvctlByName, ALaunchOfAnUnknownTitleIsNotFound) {
  for (const char* shape : {"--webapp", "--plain"}) {
    ExpectFailure({"launch", "--title", "a.b", shape, "--wait", "20"}, 3,
                  "not found: the catalogue has no usable application with the run title a.b");
    EXPECT_TRUE(service_.Launches().empty());
  }
}

TEST_F(NuvctlByName, ALaunchByTitleThatTheServiceRefusesIsAFailure) {
  service_.AnswerTo("launch_app", {RecordingService::Answer::kError, "no", "org.kelvo.Error.Refused"});
  ExpectFailure({"launch", "--title", "Run"}, 1,
                "failed: the service did not carry out the request (org.kelvo.Error.Refused: no)");
}

TEST_F(NuvctlByName, ALaunchByTitleForcesAndHidesNothing) {
  for (const char* option : {"--force", "--background", "--deep-link"}) {
    for (const char* shape : {"--webapp", "--plain"}) {
      const NuvctlRun run = Ask({"launch", "--title", "Run", shape, option});
      EXPECT_EQ(run.status, 2) << option;
      EXPECT_THAT(run.errors, HasSubstr("--plain --title, --webapp --title"));
    }
  }
  EXPECT_EQ(Ask({"launch", "a.b", "--title", "Run"}).status, 2);
  EXPECT_EQ(Ask({"launch", "", "--title", "Run"}).status, 2);
  EXPECT_TRUE(service_.Launches().empty());
}

TEST_F(NuvctlByName, TerminateSendsTheIdOfTheCatalogue) {
  for (const char* name : {"a.b", "k", "p"}) {
    ExpectQuietSuccess({"terminate", name});
    EXPECT_EQ(Asked("terminate_app"), "('a.b', 0, 'nuvctl', 'user request')");
  }
}

TEST_F(NuvctlByName, TerminateTakesOptionCallerAndReason) {
  ExpectQuietSuccess({"terminate", "a.b", "--option", "-3", "--caller", "me", "--reason", "because"});
  EXPECT_EQ(Asked("terminate_app"), "('a.b', -3, 'me', 'because')");
  ExpectQuietSuccess({"terminate", "a.b", "--caller", "", "--reason", ""});
  EXPECT_EQ(Asked("terminate_app"), "('a.b', 0, '', '')");
  EXPECT_EQ(AskJson({"terminate", "k"}), Json::parse(R"({"verb": "terminate", "outcome": "done", "status": 0,
                                                         "app": "k", "gone": true})"));
}

TEST_F(NuvctlByName, TerminateSendsTheRunTitleAsItIs) {
  ExpectQuietSuccess({"terminate", "--title", "Run"});
  EXPECT_EQ(Asked("terminate_app_by_runtitle"), "('Run',)");
  EXPECT_EQ(AskJson({"terminate", "--title", "Run"})["title"], "Run");
}

TEST_F(NuvctlByName, TerminateOfAnUnknownApplicationIsNotFound) {
  ExpectFailure({"terminate", "x"}, 3, "not found: the catalogue has no usable application with the id x");
  ExpectFailure({"terminate", "--title", "x"}, 3,
                "not found: the catalogue has no usable application with the run title x");
  ExpectFailure({"terminate", ""}, 3, "not found: the catalogue has no usable application with the id ");
  EXPECT_TRUE(service_.CallsOf("terminate_app").empty());
}

TEST_F(NuvctlByName, ATerminationThatTheServiceRefusesIsAFailure) {
  for (const char* method : {"terminate_app", "terminate_app_by_runtitle"}) {
    service_.AnswerTo(method, {RecordingService::Answer::kError, "no", "org.kelvo.Error.Refused"});
  }
  ExpectFailure({"terminate", "a.b"}, 1,
                "failed: the service did not carry out the request (org.kelvo.Error.Refused: no)");
  ExpectFailure({"terminate", "--title", "Run"}, 1,
                "failed: the service did not carry out the request (org.kelvo.Error.Refused: no)");
}

TEST_F(NuvctlByName, TerminateRefusesWhatItsFunctionsCannotDo) {
  for (const Arguments& wrong : std::vector<Arguments>{{"terminate"},
                                                       {"terminate", "a.b", "--title", "Run"},
                                                       {"terminate", "--title", "Run", "--option", "1"},
                                                       {"terminate", "--title", "Run", "--caller", "me"},
                                                       {"terminate", "--title", "Run", "--reason", "x"},
                                                       {"terminate", "a.b", "--option", "one"},
                                                       {"terminate", "a.b", "c.d"}}) {
    EXPECT_EQ(Ask(wrong).status, 2);
  }
  EXPECT_TRUE(service_.CallsOf("terminate_app").empty());
}

// Without a service on the bus, and without a bus.
class NuvctlByNameAlone : public NuvctlCatalogueTest {
 protected:
  NuvctlByNameAlone() { database_.Add("a.b", {{"run_title", "Run"}}); }

  void ExpectEachEndsIn(int status, const std::string& outcome) const {
    for (const Arguments& verb : std::vector<Arguments>{{"launch", "--title", "Run"},
                                                        {"launch", "--title", "Run", "--plain", "--wait", "20"},
                                                        {"terminate", "a.b"},
                                                        {"terminate", "--title", "Run"}}) {
      const NuvctlRun run = Ask(verb);
      EXPECT_EQ(run.status, status) << verb.front();
      EXPECT_THAT(run.errors, testing::StartsWith("nuvctl: " + outcome + ": ")) << verb.front();
    }
  }
};

TEST_F(NuvctlByNameAlone, EachVerbEndsInServiceGone) {
  ExpectEachEndsIn(5, "service gone");
}

TEST_F(NuvctlByNameAlone, EachVerbEndsInBusGoneWithoutABus) {
  bus_.Kill();
  ExpectEachEndsIn(6, "bus gone");
}

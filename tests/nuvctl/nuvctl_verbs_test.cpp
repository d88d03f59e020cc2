// Each verb of nuvctl: what it asks of the service, and what it makes of the answer.
#include <gmock/gmock.h>

#include "nuvctl_run.h"
#include "recording_service.h"

using testing::HasSubstr;
using Json = nlohmann::json;

class NuvctlVerbs : public NuvctlOnBusTest {
 protected:
  // The arguments of the only call of the method.
  std::string Asked(const std::string& method) const {
    const auto calls = service_.CallsOf(method);
    EXPECT_EQ(calls.size(), 1u) << method;
    return calls.empty() ? "" : calls.front().Text();
  }

  void ExpectQuietSuccess(const Arguments& arguments) const {
    const NuvctlRun run = Run(arguments);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "");
  }

  RecordingService service_{bus_.address()};
};

TEST_F(NuvctlVerbs, KpiSendsItsFiveArguments) {
  ExpectQuietSuccess(
      {"kpi", "--type", "-3", "--app", "a.b", "--caller", "c", "--preload-type", "7", "--text", "[x,y]"});
  EXPECT_EQ(Asked("send_appexec_kpi"), "(-3, 'a.b', 'c', 7, '[x,y]')");
}

TEST_F(NuvctlVerbs, KpiLeavesOutWhatIsNotGiven) {
  ExpectQuietSuccess({"kpi", "--type", "3", "--app", "a.b"});
  EXPECT_EQ(Asked("send_appexec_kpi"), "(3, 'a.b', '', 0, '')");
}

TEST_F(NuvctlVerbs, PopupTakesNamesAndNumbers) {
  const std::pair<const char*, const char*> kinds[] = {
      {"unknown-title", "(0,)"}, {"type-1", "(1,)"}, {"type-2", "(2,)"}, {"type-3", "(3,)"},
      {"no-app-id", "(4,)"},     {"0", "(0,)"},      {"77", "(77,)"},
  };
  for (const auto& [kind, asked] : kinds) {
    service_.Forget();
    ExpectQuietSuccess({"popup", kind});
    EXPECT_EQ(Asked("launch_systempopup"), asked);
  }
  service_.Forget();
  ExpectQuietSuccess({"popup", "--", "-5"});
  EXPECT_EQ(Asked("launch_systempopup"), "(-5,)");
}

TEST_F(NuvctlVerbs, AndroidStatusShowsTheServicesNumber) {
  service_.AnswerTo("get_android_app_status", {RecordingService::Answer::kReply, "(-7,)", ""});
  const NuvctlRun run = Run({"android-status", "a.b"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "-7\n");
  EXPECT_EQ(Asked("get_android_app_status"), "('a.b',)");
  const NuvctlRun as_json = Run({"android-status", "a.b", "--json"});
  EXPECT_EQ(as_json.Json(), Json::parse(R"({"verb":"android-status","outcome":"done","status":0,"app":"a.b",
                                            "state":-7})"));
}

TEST_F(NuvctlVerbs, TerminateAllNamesCallerAndReason) {
  ExpectQuietSuccess({"terminate-all", "--caller", "me", "--reason", "because"});
  EXPECT_EQ(Asked("terminate_allapp"), "('me', 'because')");
  service_.Forget();
  ExpectQuietSuccess({"terminate-all"});
  EXPECT_EQ(Asked("terminate_allapp"), "('nuvctl', 'user request')");
}

TEST_F(NuvctlVerbs, ExtraAppShowsTheApplication) {
  service_.AnswerTo("get_extra_app", {RecordingService::Answer::kReply, "('a.b',)", ""});
  const NuvctlRun run = Run({"extra-app"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "a.b\n");
  EXPECT_EQ(Run({"--json", "extra-app"}).Json()["app"], "a.b");
}

TEST_F(NuvctlVerbs, ExtraAppWithoutOneIsNotFound) {
  service_.AnswerTo("get_extra_app", {RecordingService::Answer::kReply, "('',)", ""});
  const NuvctlRun run = Run({"extra-app"});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.errors, "nuvctl: there is no extra application\n");
  const NuvctlRun as_json = Run({"--json", "extra-app"});
  EXPECT_EQ(as_json.status, 3);
  EXPECT_EQ(as_json.Json()["app"], nullptr);
}

TEST_F(NuvctlVerbs, ExtraAppSetsTheApplication) {
  ExpectQuietSuccess({"extra-app", "--set", "c.d"});
  EXPECT_EQ(Asked("notify_extra_app_changed"), "('c.d',)");
  service_.Forget();
  ExpectQuietSuccess({"extra-app", "--set", ""});
  EXPECT_EQ(Asked("notify_extra_app_changed"), "('',)");
}

TEST_F(NuvctlVerbs, WhatTheServiceSaysCannotControlTheTerminal) {
  service_.AnswerTo("get_extra_app", {RecordingService::Answer::kReply, "('\\u001b[2Jx',)", ""});
  EXPECT_EQ(Run({"extra-app"}).output, "\\u001b[2Jx\n");
  EXPECT_EQ(Run({"extra-app", "--json"}).Json()["app"], "\x1b[2Jx");
}

TEST_F(NuvctlVerbs, ARefusalOfTheServiceIsAFailure) {
  service_.AnswerTo("launch_systempopup", {RecordingService::Answer::kError, "no", "org.kelvo.Error.Refused"});
  const NuvctlRun run = Run({"popup", "4"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.errors, "nuvctl: failed: the service did not carry out the request (org.kelvo.Error.Refused: no)\n");
}

TEST_F(NuvctlVerbs, AnAnswerOfAnotherTypeIsAFailure) {
  service_.AnswerTo("get_android_app_status", {RecordingService::Answer::kReply, "('text',)", ""});
  const NuvctlRun run = Run({"--json", "android-status", "a.b"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.Json()["state"], nullptr);
}

TEST_F(NuvctlVerbs, VerboseShowsTheLibrarysLog) {
  const NuvctlRun verbose = Run({"-v", "popup", "4"});
  EXPECT_EQ(verbose.status, 0);
  EXPECT_EQ(verbose.output, "");
  EXPECT_THAT(verbose.errors, HasSubstr("Call success"));
}

TEST_F(NuvctlVerbs, TheLogIsOffUnlessTheUserSetItUp) {
  Process plain({"env", "-u", "NUV_LOG", NUV_BIN_DIR "/nuvctl", "popup", "4"}, directory_.path());
  EXPECT_EQ(plain.Wait(), 0);
  EXPECT_EQ(plain.Errors(), "");
  const NuvctlRun set_up = Run({"popup", "4"}, {{"NUV_LOG", "stderr"}, {"NUV_LOG_LEVEL", "info"}});
  EXPECT_THAT(set_up.errors, HasSubstr("Call success"));
}

// What every verb has in common when the service cannot be asked.
class NuvctlWithoutService : public NuvctlOnBusTest {
 protected:
  const std::vector<Arguments> verbs_ = {
      {"launch", "a.b"},
      {"launch", "a.b", "--plain", "--wait", "20"},
      {"popup", "4"},
      {"kpi", "--type", "1", "--app", "a.b"},
      {"android-status", "a.b"},
      {"terminate-all"},
      {"extra-app"},
      {"extra-app", "--set", "c.d"},
  };

  void ExpectEachEndsIn(int status, const std::string& outcome) const {
    for (const Arguments& verb : verbs_) {
      const NuvctlRun run = Run(verb);
      EXPECT_EQ(run.status, status) << verb.front();
      EXPECT_EQ(run.output, "");
      EXPECT_THAT(run.errors, testing::StartsWith("nuvctl: " + outcome)) << verb.front();
      Arguments with_json = verb;
      with_json.push_back("--json");
      const NuvctlRun as_json = Run(with_json);
      EXPECT_EQ(as_json.status, status) << verb.front();
      EXPECT_EQ(as_json.Json()["verb"], verb.front());
      EXPECT_EQ(as_json.Json()["outcome"], outcome);
      EXPECT_EQ(as_json.errors, "");
    }
  }
};

TEST_F(NuvctlWithoutService, EachVerbEndsInServiceGone) {
  ExpectEachEndsIn(5, "service gone");
}

TEST_F(NuvctlWithoutService, EachVerbEndsInBusGoneWithoutABus) {
  bus_.Kill();
  ExpectEachEndsIn(6, "bus gone");
}

TEST_F(NuvctlWithoutService, EachVerbEndsInBusGoneWithAnAddressThatIsNone) {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "\x1b[31mnonsense", 1);
  ExpectEachEndsIn(6, "bus gone");
  EXPECT_EQ(Run({"popup", "4"}).errors.find('\x1b'), std::string::npos);
}

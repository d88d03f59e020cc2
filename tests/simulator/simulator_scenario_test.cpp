// Misbehaviour on request.
#include <gmock/gmock.h>

#include <chrono>

#include "simulator_fixture.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using Clock = std::chrono::steady_clock;
using Outcome = std::pair<int, int>;

class SimulatorScenarioTest : public SimulatorTest {
 protected:
  void StartScenario(const std::string& rules) {
    WriteFile(files_ / "scenario.json", rules);
    Start({"--scenario", files_ / "scenario.json"}, R"({"apps": [{"id": "a.app"}, {"id": "b.app"}]})");
  }
  void Replace(const std::string& rules) {
    WriteFile(files_ / "scenario.new", rules);
    rename((files_ / "scenario.new").c_str(), (files_ / "scenario.json").c_str());
  }
  bool Runs(const std::string& app) const { return !RunningFile(app).empty(); }
};

TEST_F(SimulatorScenarioTest, AnEmptyScenarioChangesNothing) {
  StartScenario("[]");
  EXPECT_EQ(OutcomeOf({"a.app"}), Outcome(900, 0));
}

TEST_F(SimulatorScenarioTest, ADelayHoldsTheReplyBack) {
  StartScenario(R"x([{"method": "heartbeat", "delay_ms": 150}])x");
  const auto start = Clock::now();
  EXPECT_EQ(Call("heartbeat").Text(), "()");
  EXPECT_GE(Clock::now() - start, Milliseconds(150));
  EXPECT_EQ(Call("get_extra_app").Text(), "('',)");
}

TEST_F(SimulatorScenarioTest, OtherCallsAreAnsweredDuringADelay) {
  StartScenario(R"x([{"method": "heartbeat", "delay_ms": 60000}])x");
  EXPECT_EQ(Call("heartbeat", nullptr, 50).error, "local");
  EXPECT_EQ(Call("get_extra_app").Text(), "('',)");
}

TEST_F(SimulatorScenarioTest, ASilentMethodIsNeverAnsweredAndTakesNoEffect) {
  StartScenario(R"x([{"method": "launch_app", "answer": "none"}])x");
  const ResultObject object(bus_, "obj1");
  EXPECT_EQ(Call("launch_app", Launch{"a.app"}.Arguments(), 200).error, "local");
  EXPECT_TRUE(WaitForOutput("reply   launch_app app=\"a.app\" none"));
  EXPECT_EQ(Call("heartbeat").Text(), "()");
  EXPECT_FALSE(Runs("a.app"));
}

TEST_F(SimulatorScenarioTest, AnErrorHasTheGivenNameAndText) {
  StartScenario(R"x([{"method": "launch_app", "answer": "error", "error_name": "com.example.Broken",
                     "error_message": "quite broken"},
                    {"method": "heartbeat", "answer": "error"}])x");
  const Reply reply = Call("launch_app", Launch{"a.app"}.Arguments());
  EXPECT_EQ(reply.error, "com.example.Broken");
  EXPECT_EQ(reply.message, "quite broken");
  EXPECT_FALSE(Runs("a.app"));
  EXPECT_EQ(Call("heartbeat").error, "org.freedesktop.DBus.Error.Failed");
}

TEST_F(SimulatorScenarioTest, AnExitLeavesTheCallWithoutAReply) {
  StartScenario(R"x([{"method": "launch_app", "answer": "exit"}])x");
  EXPECT_EQ(Call("launch_app", Launch{"a.app"}.Arguments()).error, "org.freedesktop.DBus.Error.NoReply");
  EXPECT_EQ(simulator_->Wait(), 70);
}

TEST_F(SimulatorScenarioTest, AnExitAfterTheReplyLosesTheResult) {
  StartScenario(R"x([{"method": "launch_app", "answer": "exit_after_reply"}])x");
  const ResultObject object(bus_, "obj1");
  EXPECT_EQ(Call("launch_app", Launch{"a.app"}.Arguments()).Text(), "()");
  EXPECT_EQ(simulator_->Wait(), 70);
  EXPECT_TRUE(object.results().empty());
}

TEST_F(SimulatorScenarioTest, AReplyMayHaveAnyType) {
  StartScenario(R"x([{"method": "get_extra_app", "reply": "('x', 5)", "count": 1},
                    {"method": "get_extra_app", "reply": "()", "count": 1},
                    {"method": "nuv_update_app_count", "reply": "(-1,)"},
                    {"method": "heartbeat", "reply": "(@aay [], <uint32 7>)"}])x");
  EXPECT_EQ(Call("get_extra_app").Text(), "('x', 5)");
  EXPECT_EQ(Call("get_extra_app").Text(), "()");
  EXPECT_EQ(Call("get_extra_app").Text(), "('',)");
  EXPECT_EQ(Call("nuv_update_app_count", g_variant_new("(s)", "no.app")).Text(), "(-1,)");
  EXPECT_EQ(Call("heartbeat").Text(), "([], <uint32 7>)");
}

TEST_F(SimulatorScenarioTest, TheFirstRuleThatMatchesMethodAndAppDecides) {
  StartScenario(R"x([{"method": "launch_app", "app": "b.app", "answer": "error", "error_name": "com.example.B"},
                    {"app": "a.app", "answer": "error", "error_name": "com.example.A"},
                    {"method": "launch_app", "answer": "error", "error_name": "com.example.Launch"}])x");
  EXPECT_EQ(Call("launch_app", Launch{"b.app"}.Arguments()).error, "com.example.B");
  EXPECT_EQ(Call("launch_app", Launch{"a.app"}.Arguments()).error, "com.example.A");
  EXPECT_EQ(Call("terminate_app", g_variant_new("(siss)", "a.app", 0, "", "")).error, "com.example.A");
  EXPECT_EQ(Call("launch_app", Launch{"c.app"}.Arguments()).error, "com.example.Launch");
  EXPECT_EQ(Call("terminate_app", g_variant_new("(siss)", "b.app", 0, "", "")).Text(), "()");
}

TEST_F(SimulatorScenarioTest, ACountedRuleWearsOff) {
  StartScenario(R"x([{"method": "heartbeat", "answer": "error", "count": 2}])x");
  EXPECT_NE(Call("heartbeat").error, "");
  EXPECT_NE(Call("heartbeat").error, "");
  EXPECT_EQ(Call("heartbeat").Text(), "()");
}

TEST_F(SimulatorScenarioTest, ScriptedResultsReplaceTheRealOne) {
  StartScenario(R"x([{"method": "launch_app", "results": [
      {"event": 903, "res": 405, "times": 2},
      {"event": 908, "res": -5, "delay_ms": 100, "thread_id_offset": 1, "event_index_offset": -3, "cbtype": 9}]}])x");
  const ResultObject object(bus_, "obj1");
  Launch launch{"a.app"};
  launch.event_index = 10;
  ASSERT_TRUE(SendLaunch(launch));
  ASSERT_TRUE(object.WaitFor(3));
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(object.results()[i].event, 903);
    EXPECT_EQ(object.results()[i].result, 405);
    EXPECT_EQ(object.results()[i].thread_id, 0x12345);
    EXPECT_EQ(object.results()[i].event_index, 10);
    EXPECT_EQ(object.results()[i].cb_type, 1);
  }
  EXPECT_EQ(object.results()[2].event, 908);
  EXPECT_EQ(object.results()[2].result, -5);
  EXPECT_EQ(object.results()[2].thread_id, 0x12346);
  EXPECT_EQ(object.results()[2].event_index, 7);
  EXPECT_EQ(object.results()[2].cb_type, 9);
  EXPECT_TRUE(Runs("a.app")) << "the launch itself is real";
}

TEST_F(SimulatorScenarioTest, AResultMayComeBeforeTheReply) {
  StartScenario(R"x([{"method": "launch_app", "delay_ms": 300, "results": [
      {"event": 900, "before_reply": true}, {"event": 901}]}])x");
  const ResultObject object(bus_, "obj1");
  bool replied = false;
  g_dbus_connection_call(
      connection_.get(), "org.kelvo.tv.litecorvane.server", "/org/kelvo/tv/litecorvane/server",
      "org.kelvo.tv.litecorvane.server.interface", "launch_app", Launch{"a.app"}.Arguments(), nullptr,
      G_DBUS_CALL_FLAGS_NONE, 5000, nullptr,
      [](GObject* source, GAsyncResult* result, gpointer flag) {
        const Variant reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr));
        *static_cast<bool*>(flag) = true;
      },
      &replied);
  ASSERT_TRUE(object.WaitFor(1));
  EXPECT_FALSE(replied);
  EXPECT_EQ(object.results()[0].event, 900);
  ASSERT_TRUE(object.WaitFor(2));
  EXPECT_TRUE(RunUntil([&] { return replied; }));
  EXPECT_EQ(object.results()[1].event, 901);
}

TEST_F(SimulatorScenarioTest, NoResultIsAnEmptyList) {
  StartScenario(R"x([{"method": "launch_app", "app": "a.app", "results": []}])x");
  const ResultObject object(bus_, "obj1");
  ASSERT_TRUE(SendLaunch({"a.app"}));
  ASSERT_TRUE(WaitForOutput("started a.app"));
  ASSERT_TRUE(SendLaunch({"b.app"}));
  ASSERT_TRUE(object.WaitFor(1));
  EXPECT_EQ(object.results()[0].app_id, "b.app");
  EXPECT_EQ(object.results().size(), 1U);
}

TEST_F(SimulatorScenarioTest, AnAcceptedLaunchNeedNotStartAnything) {
  StartScenario(R"x([{"method": "launch_app", "start": false, "results": [{"event": 900}]}])x");
  EXPECT_EQ(OutcomeOf({"a.app"}), Outcome(900, 0));
  EXPECT_FALSE(Runs("a.app"));
}

TEST_F(SimulatorScenarioTest, ARefusedCallMayStillStartTheApplication) {
  StartScenario(R"x([{"method": "launch_app", "answer": "error", "start": true}])x");
  const ResultObject object(bus_, "obj1");
  EXPECT_NE(Call("launch_app", Launch{"a.app"}.Arguments()).error, "");
  EXPECT_EQ(object.Outcome(), Outcome(900, 0));
}

TEST_F(SimulatorScenarioTest, AChangedFileCountsFromTheNextCallOn) {
  StartScenario(R"x([{"method": "heartbeat", "answer": "error"}])x");
  EXPECT_NE(Call("heartbeat").error, "");
  Replace("[]");
  EXPECT_EQ(Call("heartbeat").Text(), "()");
  WriteFile(files_ / "scenario.json", R"x([{"method": "heartbeat", "reply": "('in place',)"}])x");
  EXPECT_EQ(Call("heartbeat").Text(), "('in place',)");
}

TEST_F(SimulatorScenarioTest, AChangeThatCannotBeUsedKeepsTheRulesFromBefore) {
  StartScenario(R"x([{"method": "heartbeat", "answer": "error", "error_name": "com.example.Kept"}])x");
  Replace(R"x([{"answer": "maybe"}])x");
  EXPECT_EQ(Call("heartbeat").error, "com.example.Kept");
  EXPECT_THAT(simulator_->Errors(), HasSubstr("rules[0].answer has to be one of"));
  EXPECT_THAT(simulator_->Errors(), HasSubstr("the scenario from before stays"));
  unlink((files_ / "scenario.json").c_str());
  EXPECT_EQ(Call("heartbeat").error, "com.example.Kept");
  Replace("[]");
  EXPECT_EQ(Call("heartbeat").Text(), "()");
}

struct BadScenario {
  const char* text;
  const char* complaint;
};

TEST_F(SimulatorScenarioTest, ABadScenarioIsRefusedWithThePlace) {
  constexpr BadScenario kBad[] = {
      {"[", ".json: parse error at line 1"},
      {"{}", "rules has to be a list"},
      {"[1]", "rules[0] has to be an object"},
      {R"x([{}, {"metod": "x"}])x", "rules[1].metod: there is no such key"},
      {R"x([{"method": 5}])x", "rules[0].method has to be a text"},
      {R"x([{}, {"method": "lanch_app"}])x", "rules[1].method: the service has no method \"lanch_app\""},
      {R"x([{"app": null}])x", "rules[0].app has to be a text"},
      {R"x([{"count": -1}])x", "rules[0].count has to be an integer from 0"},
      {R"x([{"delay_ms": 1.5}])x", "rules[0].delay_ms has to be an integer"},
      {R"x([{"delay_ms": 18446744073709551615}])x", "rules[0].delay_ms has to be an integer"},
      {R"x([{"answer": "maybe"}])x", "rules[0].answer has to be one of normal"},
      {R"x([{"error_name": "not a name"}])x", "rules[0].error_name has to be a D-Bus error name"},
      {R"x([{"reply": "('x'"}])x", "rules[0].reply is no GVariant text"},
      {R"x([{"reply": "5"}])x", "rules[0].reply has to be a tuple"},
      {R"x([{"start": 1}])x", "rules[0].start has to be true or false"},
      {R"x([{"results": {}}])x", "rules[0].results has to be a list"},
      {R"x([{"results": [{}, {"evnt": 1}]}])x", "rules[0].results[1].evnt: there is no such key"},
      {R"x([{"results": [{"event": "900"}]}])x", "rules[0].results[0].event has to be an integer"},
      {R"x([{"results": [{"times": 10001}]}])x", "rules[0].results[0].times has to be an integer from 0 to 10000"},
      {R"x([{"method": "pin_dialog", "pin": "maybe"}])x",
       "rules[0].pin has to be one of right, wrong, cancelled, silent"},
      {R"x([{}, {"pin": "right"}])x", "rules[1].pin belongs to the method pin_dialog"},
      {R"x([{"method": "pin_dialog"}])x", "rules[0].pin belongs to the method pin_dialog"},
  };
  for (const BadScenario& bad : kBad) {
    WriteFile(files_ / "bad.json", bad.text);
    StartPlain({"--scenario", files_ / "bad.json"});
    EXPECT_EQ(simulator_->Wait(), 2) << bad.text;
    EXPECT_THAT(simulator_->Errors(), HasSubstr(bad.complaint));
    EXPECT_THAT(simulator_->Errors(), HasSubstr("bad.json: "));
  }
  StartPlain({"--scenario", files_ / "missing.json"});
  EXPECT_EQ(simulator_->Wait(), 2);
  EXPECT_THAT(simulator_->Errors(), HasSubstr("missing.json: No such file"));
}

TEST_F(SimulatorScenarioTest, AMethodThatThereIsNotLeavesTheScenarioFromBefore) {
  StartScenario(R"x([{"method": "heartbeat", "answer": "error", "error_name": "com.example.Kept"}])x");
  Replace(R"x([{"method": "hartbeat"}])x");
  EXPECT_EQ(Call("heartbeat").error, "com.example.Kept");
  EXPECT_THAT(simulator_->Errors(), HasSubstr("rules[0].method: the service has no method \"hartbeat\""));
}

TEST_F(SimulatorScenarioTest, AnApplicationThatTheCatalogueDoesNotHaveIsAWarningAtEachReading) {
  StartScenario(R"x([{"app": "a.app"}, {"app": ""}, {"method": "launch_app", "app": "c.app"}])x");
  const std::string file = "nuv-simulator: " + (files_ / "scenario.json") + ": ";
  const std::string first = file + "rules[2].app: the catalogue has no application \"c.app\"\n";
  EXPECT_EQ(simulator_->Errors(), first);
  Replace(R"x([{"app": "d.app"}])x");
  EXPECT_EQ(Call("heartbeat").Text(), "()");
  EXPECT_EQ(simulator_->Errors(), first + file + "rules[0].app: the catalogue has no application \"d.app\"\n");
}

TEST_F(SimulatorScenarioTest, SaysWhichRuleMatchedWhichCallAndWhichNeverDid) {
  StartScenario(R"x([{"method": "launch_app", "app": "b.app"}, {"method": "launch_app", "app": "a.app"},
                     {"method": "pin_dialog", "pin": "right"}])x");
  EXPECT_EQ(OutcomeOf({"a.app"}), Outcome(900, 0));
  const std::string file = (files_ / "scenario.json") + ": ";
  EXPECT_THAT(simulator_->Output(), HasSubstr("rule    " + file + "rules[1] matches launch_app app=\"a.app\"\n"));
  EXPECT_THAT(simulator_->Output(), Not(HasSubstr("rules[0]")));
  EXPECT_EQ(End(), 0);
  EXPECT_THAT(simulator_->Output(), HasSubstr("unused  " + file + "rules[0] matched no call\n"));
  EXPECT_THAT(simulator_->Output(), HasSubstr("unused  " + file + "rules[2] matched no call\n"));
  EXPECT_THAT(simulator_->Output(), Not(HasSubstr("rules[1] matched no call")));
}

TEST_F(SimulatorScenarioTest, SaysWhichRulesNeverMatchedBeforeItDiesOfOne) {
  StartScenario(R"x([{"method": "get_extra_app"}, {"method": "heartbeat", "answer": "exit"}])x");
  Call("heartbeat");
  EXPECT_EQ(simulator_->Wait(), 70);
  EXPECT_THAT(simulator_->Output(), HasSubstr("rules[0] matched no call\n"));
}

TEST_F(SimulatorScenarioTest, SaysWhichRuleAnswersTheDialog) {
  WriteFile(files_ / "scenario.json", R"x([{"method": "pin_dialog", "pin": "right"}])x");
  Start({"--scenario", files_ / "scenario.json"}, R"({"apps": [{"id": "locked.app", "is_lock": 1}]})");
  EXPECT_EQ(OutcomeOf({"locked.app"}), Outcome(900, 0));
  EXPECT_THAT(simulator_->Output(), HasSubstr("rules[0] matches pin_dialog app=\"locked.app\"\n"));
}

}  // namespace

// Launches that need the user's PIN first: the dialog, its answers, and what becomes of the launch.
#include <gmock/gmock.h>
#include <nuv/nuv_launch_codes.h>
#include <signal.h>

#include "simulator_fixture.h"

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using Outcome = std::pair<int, int>;

constexpr const char* kDialog = "org.kelvo.corvane-commui";
const Outcome kLaunched(NUV_NOTIFY_LAUNCHED, 0);
const Outcome kWrongPin(NUV_NOTIFY_LAUNCH_FAILED, NUV_LAUNCH_STATUS_REFUSED);
const Outcome kCancelled(NUV_NOTIFY_LAUNCH_FAILED, NUV_LAUNCH_STATUS_CANCELLED);

GVariant* DialogRequest(const std::string& extra_data) {
  return g_variant_new("(sss@a(ss))", kDialog, "operation", "", g_variant_new_parsed(extra_data.c_str()));
}

// What the library sends for a launch; the numbers as texts.
GVariant* PopupRequest(const std::string& app, const std::string& index = "5", const std::string& pid = "4711") {
  return DialogRequest("[('own key', 'own value'), ('Pid', '" + pid + "'), ('ThreadId', '-9'), " +
                       "('MethodName', 'Launch_pin_code_opr_result'), ('AppType', '2'), ('AppId', '" + app +
                       "'), ('AppPayload', 'the payload'), ('AppUri', ''), ('AppCallerid', 'me'), ('cbType', '0'), " +
                       "('ForceLaunch', '0'), ('Index', '" + index + "'), ('UIType', '0'), ('Deeplink', '0'), " +
                       "('Background', '0'), ('Entry', ''), ('RelocateBelowApp', '')]");
}

class SimulatorPinTest : public SimulatorTest {
 protected:
  void StartWith(const std::vector<std::string>& options) {
    Start(options, R"({"apps": [{"id": "open.app"}, {"id": "locked.app", "is_lock": 1},
                                {"id": "other.app", "is_lock": 1}]})");
  }
  void StartScenario(const std::string& rules, std::vector<std::string> options = {}) {
    WriteFile(files_ / "scenario.json", rules);
    options.insert(options.end(), {"--scenario", files_ / "scenario.json"});
    StartWith(options);
  }
  int DialogPid() const { return RunningNumber(kDialog, "pid"); }
  // The number of the question that a dialog asks is in what it was told.
  bool Asks(guint question) const { return WaitForOutput("question=" + std::to_string(question) + "\n"); }
  bool DialogEnds(int pid, int status) const {
    return WaitForOutput("stopped " + std::string(kDialog) + " pid=" + std::to_string(pid) +
                         " status=" + std::to_string(status));
  }
  Reply Kill() const { return CallControl("LaunchRequest", DialogRequest("[('MethodName', 'kill')]")); }
  Reply Enter(guint question, const char* pin) const {
    return CallControl("EnterPin", g_variant_new("(us)", question, pin));
  }
};

TEST_F(SimulatorPinTest, TheRightPinLaunchesAndTheDialogGoes) {
  StartWith({"--pin-answer", "right"});
  EXPECT_EQ(OutcomeOf({"locked.app"}), kLaunched);
  EXPECT_EQ(RunningNumber("locked.app", "status"), 3);
  EXPECT_TRUE(WaitForOutput("stopped org.kelvo.corvane-commui"));
  EXPECT_EQ(RunningNumber("locked.app", "status"), 3);
  EXPECT_THAT(simulator_->Output(), HasSubstr("pin     locked.app right\n"));
}

TEST_F(SimulatorPinTest, AWrongPinRefusesTheLaunch) {
  StartWith({"--pin-answer", "wrong", "--pin", "999"});
  EXPECT_EQ(OutcomeOf({"locked.app"}), kWrongPin);
  EXPECT_EQ(RunningFile("locked.app"), "");
}

TEST_F(SimulatorPinTest, ACancelledDialogCancelsTheLaunch) {
  StartWith({"--pin-answer", "cancelled"});
  EXPECT_EQ(OutcomeOf({"locked.app"}), kCancelled);
  Launch deep_link{"locked.app"};
  deep_link.deep_link = 1;
  EXPECT_EQ(OutcomeOf(deep_link), Outcome(NUV_NOTIFY_DEEPLINK_FAILED, NUV_LAUNCH_STATUS_CANCELLED));
}

TEST_F(SimulatorPinTest, OnlyALockedApplicationIsAskedFor) {
  StartWith({"--pin-answer", "wrong"});
  EXPECT_EQ(OutcomeOf({"open.app"}), kLaunched);
  Launch skipping{"locked.app"};
  skipping.skip_pin = 1;
  EXPECT_EQ(OutcomeOf(skipping), kLaunched);
  EXPECT_THAT(simulator_->Output(), Not(HasSubstr("pin     ")));
}

TEST_F(SimulatorPinTest, APreloadOfALockedApplicationIsRefusedWithoutAQuestion) {
  StartWith({"--pin-answer", "right"});
  Launch preload{"locked.app"};
  preload.preload = 1;
  EXPECT_EQ(OutcomeOf(preload), Outcome(NUV_NOTIFY_PRELOAD_FAILED, NUV_LAUNCH_STATUS_REFUSED));
  EXPECT_THAT(simulator_->Output(), Not(HasSubstr("pin     ")));
}

TEST_F(SimulatorPinTest, WhereNobodyCanBeAskedTheLaunchIsRefusedAtOnce) {
  StartWith({});
  EXPECT_EQ(OutcomeOf({"locked.app"}), kWrongPin);
  const Reply popup = CallControl("LaunchRequest", PopupRequest("locked.app"));
  EXPECT_EQ(popup.error, "org.kelvo.tv.NuvSimulator1.Error.NotLaunched");
  EXPECT_THAT(popup.message, HasSubstr("nobody to ask"));
  EXPECT_THAT(simulator_->Output(), Not(HasSubstr(std::string("started ") + kDialog)));
}

TEST_F(SimulatorPinTest, AScenarioAnswersPerApplicationAndOnlySoOften) {
  StartScenario(R"x([{"delay_ms": 1},
                     {"method": "pin_dialog", "app": "other.app", "pin": "cancelled"},
                     {"method": "pin_dialog", "pin": "wrong", "count": 1}])x",
                {"--pin-answer", "right"});
  EXPECT_EQ(OutcomeOf({"other.app"}), kCancelled);
  EXPECT_EQ(OutcomeOf({"locked.app"}), kWrongPin);
  EXPECT_EQ(OutcomeOf({"locked.app"}), kLaunched);
}

TEST_F(SimulatorPinTest, AnAnswerMayTakeItsTime) {
  StartScenario(R"x([{"method": "pin_dialog", "pin": "right", "delay_ms": 300}])x");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(OutcomeOf({"locked.app"}), kLaunched);
  EXPECT_GE(std::chrono::steady_clock::now() - start, Milliseconds(300));
}

TEST_F(SimulatorPinTest, ADialogIsToldAboutTheLaunch) {
  StartWith({"--pin-answer", "silent"});
  Launch launch{"locked.app", "obj4712"};
  launch.thread_id = -77;
  launch.event_index = 31;
  launch.payload = "the payload";
  launch.caller = "the.caller";
  launch.background = 1;
  launch.blocks = {ExtraBlock("AppId", "replaced"), ExtraBlock("own", "datum")};
  ASSERT_TRUE(SendLaunch(launch));
  ASSERT_TRUE(Asks(1));
  const std::string told = ReadFile("/proc/" + std::to_string(DialogPid()) + "/environ");
  for (const char* datum :
       {R"("Pid":"4712")", R"("ThreadId":"-77")", R"("MethodName":"Launch_pin_code_opr_result")", R"("AppType":"2")",
        R"("AppId":"locked.app")", R"("AppPayload":"the payload")", R"("AppCallerid":"the.caller")", R"("cbType":"1")",
        R"("ForceLaunch":"0")", R"("Index":"31")", R"("UIType":"0")", R"("Deeplink":"0")", R"("Background":"1")",
        R"("Entry":"entry")", R"("RelocateBelowApp":"below")", R"("__K_EX_LAUNCH_REQUESTOR":"requestor")",
        R"("own":"datum")"}) {
    EXPECT_THAT(told, HasSubstr(datum));
  }
  EXPECT_THAT(told, Not(HasSubstr("replaced")));
}

TEST_F(SimulatorPinTest, ASilentDialogShowsUntilItIsAnsweredOverTheBus) {
  StartWith({"--pin-answer", "silent", "--pin", "1234"});
  const ResultObject object(bus_, "obj1");
  ASSERT_TRUE(SendLaunch({"locked.app"}));
  ASSERT_TRUE(Asks(1));
  EXPECT_EQ(RunningNumber(kDialog, "status"), 3);
  EXPECT_EQ(Enter(2, "1234").error, "org.kelvo.tv.NuvSimulator1.Error.NoSuchQuestion");
  EXPECT_EQ(Enter(1, "1234").Text(), "(true,)");
  EXPECT_EQ(object.Outcome(), kLaunched);
  EXPECT_EQ(Enter(1, "1234").error, "org.kelvo.tv.NuvSimulator1.Error.NoSuchQuestion");
  EXPECT_EQ(CallControl("CancelPin", g_variant_new("(u)", 1U)).error,
            "org.kelvo.tv.NuvSimulator1.Error.NoSuchQuestion");
}

TEST_F(SimulatorPinTest, ADialogThatIsKilledCancelsTheLaunch) {
  StartWith({"--pin-answer", "silent"});
  const ResultObject object(bus_, "obj1");
  ASSERT_TRUE(SendLaunch({"locked.app"}));
  ASSERT_TRUE(Asks(1));
  kill(DialogPid(), SIGKILL);
  EXPECT_EQ(object.Outcome(), kCancelled);
}

TEST_F(SimulatorPinTest, ADialogThatIsTerminatedLikeAnyApplicationCancelsTheLaunch) {
  StartWith({"--pin-answer", "silent"});
  const ResultObject object(bus_, "obj1");
  ASSERT_TRUE(SendLaunch({"locked.app"}));
  ASSERT_TRUE(Asks(1));
  Call("terminate_allapp", g_variant_new("(ss)", "", ""));
  EXPECT_EQ(object.Outcome(), kCancelled);
}

TEST_F(SimulatorPinTest, TheOutcomeOfARequestForTheDialogGoesToTheClientThatItNames) {
  StartWith({"--pin-answer", "right"});
  const ResultObject object(bus_, "obj4711");
  const Reply reply = CallControl("LaunchRequest", PopupRequest("locked.app"));
  ASSERT_TRUE(reply.value) << reply.message;
  ASSERT_EQ(object.Outcome(), kLaunched);
  const ReceivedResult& result = object.results()[0];
  EXPECT_EQ(result.thread_id, -9);
  EXPECT_EQ(result.event_index, 5);
  EXPECT_EQ(result.cb_type, 0);
  EXPECT_EQ(result.app_id, "locked.app");
  const std::string told = ReadFile("/proc/" + std::to_string(RunningNumber("locked.app", "pid")) + "/environ");
  EXPECT_THAT(told, HasSubstr("NUV_PAYLOAD=the payload"));
  EXPECT_THAT(told, HasSubstr("NUV_CALLER_ID=me"));
  EXPECT_THAT(told, HasSubstr("NUV_EXTRA_DATA={\"own key\":\"own value\"}"));
}

TEST_F(SimulatorPinTest, ADialogThatIsAskedForIsShownWhateverTheApplication) {
  StartWith({"--pin-answer", "wrong"});
  const ResultObject object(bus_, "obj4711");
  EXPECT_EQ(CallControl("LaunchRequest", PopupRequest("open.app")).error, "");
  EXPECT_EQ(object.Outcome(), kWrongPin);
}

TEST_F(SimulatorPinTest, TheRightPinDoesNotMakeAnUnknownApplicationKnown) {
  StartWith({"--pin-answer", "right"});
  const ResultObject object(bus_, "obj4711");
  EXPECT_EQ(CallControl("LaunchRequest", PopupRequest("no.app")).error, "");
  EXPECT_EQ(object.Outcome(), Outcome(NUV_NOTIFY_LAUNCH_FAILED, NUV_LAUNCH_STATUS_UNKNOWN_APP));
}

TEST_F(SimulatorPinTest, ARequestForTheDialogWithoutItsNumbersIsAnError) {
  StartWith({"--pin-answer", "right"});
  for (const char* bad : {"", "x", "12x", "99999999999"}) {
    const Reply reply = CallControl("LaunchRequest", PopupRequest("locked.app", bad));
    EXPECT_EQ(reply.error, "org.kelvo.tv.NuvSimulator1.Error.NotLaunched") << bad;
    EXPECT_THAT(reply.message, HasSubstr("\"Index\" of the request is no number"));
  }
  EXPECT_THAT(simulator_->Output(), Not(HasSubstr("pin     ")));
}

TEST_F(SimulatorPinTest, OneDialogShowsAtATimeAndTheOthersWait) {
  StartWith({"--pin-answer", "silent"});
  const ResultObject object(bus_, "obj1");
  Launch other{"other.app"};
  other.event_index = 2;
  ASSERT_TRUE(SendLaunch({"locked.app"}));
  ASSERT_TRUE(Asks(1));
  const int first = DialogPid();
  ASSERT_TRUE(SendLaunch(other));
  EXPECT_EQ(CallControl("LaunchRequest", PopupRequest("open.app")).Text(), "(" + std::to_string(first) + ",)");
  EXPECT_EQ(Enter(2, "0000").error, "org.kelvo.tv.NuvSimulator1.Error.NoSuchQuestion");
  EXPECT_EQ(Enter(1, "0000").Text(), "(true,)");
  ASSERT_TRUE(object.WaitFor(1));
  ASSERT_TRUE(Asks(2));
  EXPECT_EQ(Enter(2, "1").Text(), "(false,)");
  ASSERT_TRUE(object.WaitFor(2));
  EXPECT_EQ(object.results()[0].app_id, "locked.app");
  EXPECT_EQ(object.results()[0].event, NUV_NOTIFY_LAUNCHED);
  EXPECT_EQ(object.results()[1].app_id, "other.app");
  EXPECT_EQ(object.results()[1].result, NUV_LAUNCH_STATUS_REFUSED);
  EXPECT_TRUE(Asks(3));
}

TEST_F(SimulatorPinTest, AQuestionThatNobodyCanAnswerDoesNotWaitForAnother) {
  StartScenario(R"x([{"method": "pin_dialog", "app": "locked.app", "pin": "silent"}])x");
  ASSERT_TRUE(SendLaunch({"locked.app", "obj2"}));
  ASSERT_TRUE(Asks(1));
  EXPECT_EQ(OutcomeOf({"other.app"}), kWrongPin);
  EXPECT_EQ(CallControl("LaunchRequest", PopupRequest("open.app")).error,
            "org.kelvo.tv.NuvSimulator1.Error.NotLaunched");
}

TEST_F(SimulatorPinTest, TheDialogOfARefusedLaunchEndsWhenItIsToldTo) {
  StartWith({"--pin-answer", "wrong"});
  EXPECT_EQ(OutcomeOf({"locked.app"}), kWrongPin);
  const int pid = DialogPid();
  ASSERT_GT(pid, 0);
  EXPECT_EQ(Kill().Text(), "(" + std::to_string(pid) + ",)");
  EXPECT_TRUE(DialogEnds(pid, 0));
  EXPECT_EQ(Kill().Text(), "(" + std::to_string(pid) + ",)") << "gone already";
  EXPECT_EQ(CallControl("RunningApps", nullptr).Text(), "([],)");
}

TEST_F(SimulatorPinTest, TheDialogOfARefusedLaunchDoesNotWaitForAClientForLong) {
  StartWith({"--pin-answer", "wrong"});
  EXPECT_EQ(OutcomeOf({"locked.app"}), kWrongPin);
  EXPECT_TRUE(DialogEnds(DialogPid(), 0));
}

TEST_F(SimulatorPinTest, AnOpenDialogThatIsToldToEndCancelsTheLaunch) {
  StartWith({"--pin-answer", "silent"});
  const ResultObject object(bus_, "obj1");
  ASSERT_TRUE(SendLaunch({"locked.app"}));
  ASSERT_TRUE(Asks(1));
  const int pid = DialogPid();
  Kill();
  EXPECT_EQ(object.Outcome(), kCancelled);
  EXPECT_TRUE(DialogEnds(pid, 0));
}

TEST_F(SimulatorPinTest, AnEndWithoutADialogIsAnError) {
  StartWith({});
  EXPECT_EQ(Kill().error, "org.kelvo.tv.NuvSimulator1.Error.NotLaunched");
}

TEST_F(SimulatorPinTest, TheOutcomeForAClientThatHasGoneIsLost) {
  StartWith({"--pin-answer", "silent"});
  {
    const ResultObject object(bus_, "obj1");
    ASSERT_TRUE(SendLaunch({"locked.app"}));
  }
  ASSERT_TRUE(Asks(1));
  EXPECT_EQ(Enter(1, "0000").Text(), "(true,)");
  EXPECT_TRUE(WaitForOutput("result  app=\"locked.app\" event=900 result=0 index=1 lost: "));
  EXPECT_EQ(Call("heartbeat").Text(), "()");
}

TEST_F(SimulatorPinTest, TheEndOfTheSimulatorEndsTheDialogAndAllThatWait) {
  StartWith({"--pin-answer", "silent"});
  ASSERT_TRUE(SendLaunch({"locked.app"}));
  ASSERT_TRUE(Asks(1));
  const int pid = DialogPid();
  ASSERT_TRUE(SendLaunch({"other.app"}));
  EXPECT_EQ(End(), 0);
  EXPECT_FALSE(ProcessExists(pid));
  EXPECT_THAT(simulator_->Errors(), ::testing::StrEq(""));
}

TEST_F(SimulatorPinTest, AProgramOfTheCatalogueAsksInItsOwnWay) {
  const std::string program =
      WriteScript("dialog",
                  "exec gdbus call --system -d org.kelvo.tv.corvane.server -o /org/kelvo/tv/NuvSimulator "
                  "-m org.kelvo.tv.NuvSimulator1.EnterPin \"$NUV_PIN_QUESTION\" 4321 > " +
                      (files_ / "answer") + "\n");
  Start({"--pin", "4321"}, R"({"apps": [{"id": "locked.app", "is_lock": 1},
      {"id": "org.kelvo.corvane-commui", "install_path": ")" +
                               program + R"("}]})");
  EXPECT_EQ(OutcomeOf({"locked.app"}), kLaunched);
}

TEST_F(SimulatorPinTest, TheSampleCatalogueHasTheCommonUiAndHidesIt) {
  StartPlain({"--pin-answer", "silent"});
  ASSERT_TRUE(WaitForOutput("ready"));
  EXPECT_EQ(Query("select is_hidden from widgetinfo where id = 'org.kelvo.corvane-commui'"), "1");
  const std::string locked = Query("select id from widgetinfo where is_lock = 1 limit 1");
  ASSERT_TRUE(SendLaunch({locked}));
  EXPECT_TRUE(WaitForOutput("pin     asked for " + locked));
}

TEST_F(SimulatorPinTest, AWrongOptionIsAUsageError) {
  const std::vector<std::vector<std::string>> kWrong = {
      {"--pin", ""}, {"--pin", "12x4"}, {"--pin", "12345678901234567"}, {"--pin-answer", "maybe"}};
  for (const auto& options : kWrong) {
    StartPlain(options);
    EXPECT_EQ(simulator_->Wait(), 2) << options[1];
    EXPECT_THAT(simulator_->Errors(), HasSubstr(options[0]));
  }
}

// A client on a connection of its own that asks the user, and what it was told.
class Asker {
 public:
  explicit Asker(const PrivateBus& bus) : connection_(ConnectTo(bus)) {
    g_dbus_connection_signal_subscribe(
        connection_.get(), nullptr, kInterface, nullptr, kPath, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char* signal, GVariant* arguments,
           gpointer told) {
          const std::unique_ptr<char, decltype(&g_free)> text(g_variant_print(arguments, FALSE), g_free);
          static_cast<std::vector<std::string>*>(told)->push_back(std::string(signal) + text.get());
        },
        &told_, nullptr);
  }
  ~Asker() { Leave(); }
  Asker(const Asker&) = delete;
  Asker& operator=(const Asker&) = delete;

  void Ask(bool ask) const {
    Variant(g_dbus_connection_call_sync(connection_.get(), "org.kelvo.tv.corvane.server", kPath, kInterface,
                                        "AskForPins", g_variant_new("(b)", ask ? TRUE : FALSE), nullptr,
                                        G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr));
  }
  void Leave() { g_dbus_connection_close_sync(connection_.get(), nullptr, nullptr); }
  bool WasTold(const std::string& text) const {
    return RunUntil([&] { return std::find(told_.begin(), told_.end(), text) != told_.end(); });
  }

 private:
  static constexpr const char* kPath = "/org/kelvo/tv/NuvSimulator";
  static constexpr const char* kInterface = "org.kelvo.tv.NuvSimulator1";
  std::vector<std::string> told_;
  Connection connection_;
};

TEST_F(SimulatorPinTest, AClientThatAsksIsToldAndAnswers) {
  StartWith({});
  const Asker asker(bus_);
  asker.Ask(true);
  EXPECT_EQ(CallControl("PinSources", nullptr).Text(), "(['a client that asks for it'],)");
  ResultObject object(bus_, "obj1");
  ASSERT_TRUE(SendLaunch({"locked.app"}));
  EXPECT_TRUE(asker.WasTold("PinAsked(1, 'locked.app')"));
  EXPECT_EQ(Enter(1, "0000").Text(), "(true,)");
  EXPECT_EQ(object.Outcome(), kLaunched);
  EXPECT_TRUE(asker.WasTold("PinClosed(1,)"));
}

TEST_F(SimulatorPinTest, AClientThatAskedAndLeavesCancels) {
  StartWith({});
  Asker asker(bus_);
  asker.Ask(true);
  ResultObject object(bus_, "obj1");
  ASSERT_TRUE(SendLaunch({"locked.app"}));
  ASSERT_TRUE(asker.WasTold("PinAsked(1, 'locked.app')"));
  asker.Leave();
  EXPECT_EQ(object.Outcome(), kCancelled);
  EXPECT_TRUE(WaitUntil([&] { return CallControl("PinSources", nullptr).Text() == "([],)"; }));
}

TEST_F(SimulatorPinTest, AClientThatAsksNoMoreIsNotAsked) {
  StartWith({});
  const Asker asker(bus_);
  asker.Ask(true);
  asker.Ask(false);
  EXPECT_EQ(CallControl("PinSources", nullptr).Text(), "([],)");
  EXPECT_EQ(OutcomeOf({"locked.app"}), kWrongPin);
}

TEST_F(SimulatorPinTest, AnAnswerThatIsScriptedComesBeforeAClient) {
  StartWith({"--pin-answer", "right"});
  const Asker asker(bus_);
  asker.Ask(true);
  EXPECT_EQ(OutcomeOf({"locked.app"}), kLaunched);
}

TEST_F(SimulatorPinTest, GivenRulesComeBeforeThoseOfTheScenario) {
  StartScenario(R"([{"method": "pin_dialog", "pin": "wrong"}, {"method": "launch_app", "answer": "error"}])");
  const auto give = [this](const char* rules) { return CallControl("SetRules", g_variant_new("(s)", rules)); };
  EXPECT_EQ(give(R"([{"method": "launch_app"}, {"method": "pin_dialog", "pin": "right", "count": 1}])").Text(), "()");
  EXPECT_EQ(OutcomeOf({"locked.app"}), kLaunched);
  EXPECT_EQ(OutcomeOf({"other.app"}), kWrongPin);
  EXPECT_EQ(give("[]").Text(), "()");
  EXPECT_FALSE(SendLaunch({"open.app"}));
}

TEST_F(SimulatorPinTest, GivenRulesThatAreNoneAreRefusedAndThoseFromBeforeStay) {
  StartWith({});
  const auto give = [this](const char* rules) { return CallControl("SetRules", g_variant_new("(s)", rules)); };
  ASSERT_EQ(give(R"([{"method": "launch_app", "answer": "error"}])").Text(), "()");
  for (const char* wrong : {"", "{", "{}", R"([{"method": "nothing"}])", R"([{"answer": "maybe"}])"}) {
    const Reply reply = give(wrong);
    EXPECT_EQ(reply.error, "org.kelvo.tv.NuvSimulator1.Error.NoRules") << wrong;
    EXPECT_THAT(reply.message, HasSubstr("given rules")) << wrong;
  }
  EXPECT_FALSE(SendLaunch({"open.app"}));
}

}  // namespace

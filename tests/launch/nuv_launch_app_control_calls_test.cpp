// Launching from an app-control request: the order of everything, failures, callbacks that call again, and threads.
#include <nuv/nuv_launcher_api.h>
#include <nuv_common/nuv_lock.h>

#include <atomic>
#include <set>
#include <stdexcept>

#include "effects.h"
#include "fake_apps.h"
#include "held_mutex.h"
#include "launch_test.h"
#include "nuv_launcher_api/nuv_launch_callbacks.h"

namespace {

using fake_platform::AppControlHandle;
using fake_platform::MakeAppControl;
using Answer = RecordingService::Answer;

const std::string kLaunchFail = "vconf rtc/litenuv/webapp/launch_fail=";
const Effects kRefusal = {"cpu set self litecorvane -1",  LogEffect('E', Red("launch data is NULL!!!")),
                          "call launch_systempopup (4,)", "callback notify null 903 0 404",
                          kLaunchFail + "NULL:101",       "cpu clear self litecorvane"};

AppControlHandle SimpleRequest(const std::string& app = "app") {
  return MakeAppControl({app, {}, {}, {}});
}

// Without the arguments of a launch.
Effects Shortened(Effects effects) {
  for (std::string& effect : effects) {
    if (effect.rfind("call launch_app", 0) == 0) effect = "call launch_app";
  }
  return effects;
}

class AppControlCall : public LaunchTest {
 protected:
  void SetUp() override {
    WarmUp();
    CallsAsEffects();
    fake_platform::LogAsEffects(true);
  }
  static Effects OwnEffects() { return Shortened(EffectsWithLogOf({"nuv_launch_app_control.cpp"})); }
  int Launch(const AppControlHandle& request, nuv_launch_notify_cb callback = OnNotify) {
    return nuv_launch_app_ex(request.get(), callback, &heard_);
  }
  // A request that the service or the bus does not take.
  void ExpectFailedCall(const std::string& app, const std::string& status) {
    const Effects expected = {
        "cpu set self litecorvane -1",
        LogEffect('E', "Launch app[" + app + "], isTimeOutError[" + (status == "412" ? "1" : "0") + "] error"),
        kLaunchFail + app + ":103", "callback notify " + app + " 903 0 " + status, "cpu clear self litecorvane"};
    Effects effects = EffectsWithLogOf({"nuv_launcher_client.cpp"});
    effects.erase(std::remove_if(effects.begin(), effects.end(),
                                 [](const std::string& effect) { return effect.rfind("call ", 0) == 0; }),
                  effects.end());
    EXPECT_EQ(expected, effects);
    EXPECT_EQ(std::this_thread::get_id(), heard_.Threads().at(0));
  }
};

TEST_F(AppControlCall, OrdersTheEffectsOfALaunch) {
  const AppControlHandle request = MakeAppControl({"app",
                                                   "view",
                                                   "http://uri",
                                                   {{"SkipPIN", "true"},
                                                    {"Entry", "e"},
                                                    {"none", std::nullopt},
                                                    {"__K_EX_LAUNCH_REQUESTOR", "r"},
                                                    {"RelocateBelowApp", "b"},
                                                    {"Operation", "PreLoad"},
                                                    {"CallerId", "c"},
                                                    {"PayLoad", "p"}}});
  ASSERT_EQ(0, Launch(request));
  const auto collected = [](const std::string& key, const std::string& value) {
    return LogEffect('I', "app_control_foreach_extra_data -> key:" + key + ", value:" + value);
  };
  const auto applied = [](const std::string& text) { return LogEffect('I', Yellow(text)); };
  EXPECT_EQ((Effects{"cpu set self litecorvane -1",
                     applied("get app info for app id [app] success."),
                     "extra AC_Operation=view",
                     collected("SkipPIN", "true"),
                     collected("Entry", "e"),
                     collected("__K_EX_LAUNCH_REQUESTOR", "r"),
                     collected("RelocateBelowApp", "b"),
                     collected("Operation", "PreLoad"),
                     collected("CallerId", "c"),
                     collected("PayLoad", "p"),
                     collected("AC_Operation", "view"),
                     applied("deeplink uri [http://uri]."),
                     applied("payload [p]."),
                     applied("callerid [c]."),
                     applied("operation [PreLoad]."),
                     applied("entry [e]."),
                     applied("relocate_below_app [b]."),
                     applied("Skip PIN [true]."),
                     applied("launch_requestor [r]."),
                     "call launch_app",
                     "cpu clear self litecorvane"}),
            OwnEffects());
}

TEST_F(AppControlCall, WritesItsLinesToTheMainBufferAndTheAcceptanceToTheSystemBuffer) {
  ASSERT_EQ(0, Launch(SimpleRequest()));
  EXPECT_EQ(std::vector<int>{0}, LogBuffers(Yellow("get app info for app id [app] success.")));
  EXPECT_EQ(std::vector<int>{2}, LogBuffers("Call launch app [app] success"));
  ASSERT_EQ(-1, nuv_launch_app_ex(nullptr, nullptr, nullptr));
  EXPECT_EQ(std::vector<int>{0}, LogBuffers(Red("launch data is NULL!!!")));
}

TEST_F(AppControlCall, LeavesNoTraceMarker) {
  ASSERT_EQ(0, Launch(SimpleRequest()));
  for (const std::string& effect : fake_platform::Effects()) {
    EXPECT_NE(0u, effect.rfind("marker", 0)) << effect;
    EXPECT_NE(0u, effect.rfind("trace", 0)) << effect;
  }
}

TEST_F(AppControlCall, TellsTheCallbackEveryResultOnTheListenerThread) {
  ASSERT_EQ(0, Launch(SimpleRequest()));
  ASSERT_TRUE(service_->SendResult(service_->Launches().at(0), {902, 0}));
  ASSERT_TRUE(service_->SendResult(service_->Launches().at(0), {903, 404}));
  ASSERT_TRUE(heard_.WaitFor(2));
  EXPECT_EQ((Effects{"notify app 902 0 0", "notify app 903 0 404"}), heard_.Texts());
  EXPECT_NE(std::this_thread::get_id(), heard_.Threads().at(0));
}

TEST_F(AppControlCall, RefusesANullRequest) {
  ASSERT_EQ(-1, nuv_launch_app_ex(nullptr, OnNotify, &heard_));
  EXPECT_EQ(kRefusal, OwnEffects());
  EXPECT_EQ(std::this_thread::get_id(), heard_.Threads().at(0));
}

TEST_F(AppControlCall, RefusesARequestWithoutAnApplicationIdLikeANullRequest) {
  ASSERT_EQ(-1, Launch(MakeAppControl({{}, "operation", "uri", {{"PayLoad", "p"}}})));
  EXPECT_EQ(kRefusal, OwnEffects());
}

TEST_F(AppControlCall, CallsNobodyForANullRequestWithoutACallback) {
  ASSERT_EQ(-1, nuv_launch_app_ex(nullptr, nullptr, &heard_));
  Effects expected = kRefusal;
  expected.erase(expected.begin() + 3);
  EXPECT_EQ(expected, OwnEffects());
}

TEST_F(AppControlCall, RefusesANullRequestAlsoWhereThePopupCannotBeRaisedAndNothingRecorded) {
  fake_platform::LetSettingsFail(true);
  bus_.Kill();
  ASSERT_EQ(-1, nuv_launch_app_ex(nullptr, OnNotify, &heard_));
  EXPECT_EQ(std::vector<std::string>{"notify null 903 0 404"}, heard_.Texts());
  EXPECT_EQ("cpu clear self litecorvane", fake_platform::Effects().back());
  EXPECT_EQ(6, fake_platform::LogPriority("set vconf of VCONF_WEBAPP_LAUNCHFAIL failed."));
}

TEST_F(AppControlCall, TellsARefusalOfTheServiceAtOnce) {
  service_->AnswerTo("launch_app", {Answer::kError, "no"});
  ASSERT_EQ(-1, Launch(SimpleRequest()));
  ExpectFailedCall("app", "404");
}

TEST_F(AppControlCall, TellsATimeOutThatTheServiceRelays) {
  service_->AnswerTo("launch_app", {Answer::kError, "Timeout was reached"});
  ASSERT_EQ(-1, Launch(SimpleRequest()));
  ExpectFailedCall("app", "412");
}

TEST_F(AppControlCall, FailsForAnIdThatIsNotUtf8) {
  ASSERT_EQ(-1, Launch(SimpleRequest("caf\xc3")));
  EXPECT_TRUE(service_->Launches().empty());
  EXPECT_EQ(std::vector<std::string>{"notify caf\xc3 903 0 404"}, heard_.Texts());
  EXPECT_EQ("cpu clear self litecorvane", fake_platform::Effects().back());
}

TEST_F(AppControlCall, RecordsAnUnusableLinkWithoutCallingBack) {
  bus_.Kill();
  ASSERT_EQ(-1, Launch(SimpleRequest()));
  const Effects expected = {"cpu set self litecorvane -1", LogEffect('E', "get_launcher_proxy() error"),
                            kLaunchFail + "app:102", "cpu clear self litecorvane"};
  EXPECT_EQ(expected, EffectsWithLogOf({"nuv_launcher_client.cpp"}));
  EXPECT_TRUE(heard_.Texts().empty());
}

TEST_F(AppControlCall, ForgetsTheCallbackOfAFailedCallAndSpendsItsNumber) {
  ASSERT_EQ(0, Launch(SimpleRequest()));
  service_->AnswerTo("launch_app", {Answer::kError, "no"});
  ASSERT_EQ(-1, Launch(SimpleRequest()));
  service_->AnswerTo("launch_app", {});
  ASSERT_EQ(0, Launch(SimpleRequest()));
  const auto launches = service_->Launches();
  ASSERT_EQ(3u, launches.size());
  EXPECT_EQ(launches[0].event + 1, launches[1].event);
  EXPECT_EQ(launches[0].event + 2, launches[2].event);
  EXPECT_NE(0u, FindLaunchCallback(launches[0].event).callback);
  EXPECT_EQ(0u, FindLaunchCallback(launches[1].event).callback);
}

void LaunchAgain(const char* app_id, nuv_notify_event_e event, int reserved, int result, void* heard) {
  OnNotify(app_id, event, reserved, result, heard);
  EXPECT_EQ(0, nuv_launch_app_ex(SimpleRequest("second").get(), nullptr, nullptr));
  EXPECT_EQ(0, nuv_launch_app("third", nullptr, nullptr, nullptr));
}

TEST_F(AppControlCall, ACallbackOfARefusalMayLaunch) {
  ASSERT_EQ(-1, nuv_launch_app_ex(nullptr, LaunchAgain, &heard_));
  ASSERT_EQ(2u, service_->Launches().size());
  EXPECT_EQ("second", service_->Launches()[0].texts[0]);
  EXPECT_EQ("third", service_->Launches()[1].texts[0]);
  // The refusal goes on where it was.
  const Effects effects = fake_platform::Effects();
  EXPECT_EQ("cpu clear self litecorvane", effects.back());
  EXPECT_EQ(kLaunchFail + "NULL:101", effects.at(effects.size() - 2));
}

TEST_F(AppControlCall, ACallbackOfAFailedCallMayLaunch) {
  service_->AnswerTo("launch_app", {Answer::kError, "no"});
  service_->OnCall([this](const RecordedCall& call) {
    // Only the first one is refused; the answer was taken before this is told.
    if (call.method == "launch_app") service_->AnswerTo("launch_app", {});
  });
  ASSERT_EQ(-1, Launch(SimpleRequest("first"), LaunchAgain));
  ASSERT_EQ(3u, service_->Launches().size());
  EXPECT_EQ("second", service_->Launches()[1].texts[0]);
  EXPECT_EQ("third", service_->Launches()[2].texts[0]);
}

void Throw(const char*, nuv_notify_event_e, int, int, void*) {
  throw std::runtime_error("from a callback");
}

TEST_F(AppControlCall, EndsAnExceptionOfACallbackAtTheEdge) {
  ASSERT_EQ(-1, nuv_launch_app_ex(nullptr, Throw, nullptr));
  EXPECT_EQ(6, fake_platform::LogPriority("a callback threw: from a callback"));
  const Effects effects = fake_platform::Effects();
  EXPECT_EQ(kLaunchFail + "NULL:101", effects.at(effects.size() - 2));
  EXPECT_EQ("cpu clear self litecorvane", effects.back());
}

TEST_F(AppControlCall, DoesNotWaitForALaunchOfAnotherThread) {
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [this] { EXPECT_EQ(0, Launch(SimpleRequest())); }));
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [] { EXPECT_EQ(-1, nuv_launch_app_ex(nullptr, nullptr, nullptr)); }));
}

TEST_F(AppControlCall, TwoThreadsMayBeInItAtOnce) {
  std::atomic<int> inside{0};
  fake_platform::OnEffect([&](const std::string& effect) {
    if (effect.rfind("cpu set", 0) != 0) return;
    ++inside;
    EXPECT_TRUE(WaitUntil([&] { return inside == 2; }));
  });
  std::thread other([this] { EXPECT_EQ(0, Launch(SimpleRequest("other"))); });
  EXPECT_EQ(0, Launch(SimpleRequest("app")));
  other.join();
  fake_platform::OnEffect(nullptr);
  EXPECT_EQ(2u, service_->Launches().size());
}

TEST_F(AppControlCall, GivesEveryLaunchOfManyThreadsItsOwnNumberAndCallback) {
  constexpr int kThreads = 4;
  constexpr int kLaunches = 25;
  std::vector<Heard> heard(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      const std::string app = "app" + std::to_string(t);
      const AppControlHandle request = MakeAppControl({app, "view", "uri", {{"PayLoad", app}, {"k", app}}});
      for (int n = 0; n < kLaunches; ++n) EXPECT_EQ(0, nuv_launch_app_ex(request.get(), OnNotify, &heard[t]));
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<int32_t> events;
  for (const LaunchRequest& launch : service_->Launches()) {
    EXPECT_EQ(launch.texts[0], launch.texts[1]);
    EXPECT_EQ(3u, launch.extra_datas.size());
    events.insert(launch.event);
    ASSERT_TRUE(service_->SendResult(launch, {900, launch.event}));
  }
  EXPECT_EQ(static_cast<size_t>(kThreads * kLaunches), events.size());
  for (int t = 0; t < kThreads; ++t) {
    ASSERT_TRUE(heard[t].WaitFor(kLaunches));
    for (const std::string& text : heard[t].Texts()) EXPECT_EQ(0u, text.rfind("notify app" + std::to_string(t), 0));
  }
}

}  // namespace

// A launch that needs the user's PIN first: what the common-UI application is told, and who hears the outcome.
#include <nuv/nuv_service_launch.h>
#include <nuv_common/nuv_lock.h>
#include <nuv_common/nuv_proxy.h>
#include <unistd.h>

#include <climits>

#include "common_ui.h"
#include "fake_apps.h"
#include "held_mutex.h"
#include "launch_test.h"
#include "negative_threads.h"
#include "nuv_launcher_api/nuv_launch_callbacks.h"
#include "nuv_launcher_api/nuv_launcher_client.h"

namespace {

class PinPopup : public LaunchTest {
 protected:
  void SetUp() override {
    WarmUp();
    fake_platform::LogAsEffects(true);
  }

  _NUV_LAUNCHER_DATA Record(int32_t shape = 1) {
    _NUV_LAUNCHER_DATA record;
    record.appId = "app";
    record.payload = "p";
    record.uri = "u";
    record.callerId = "c";
    record.entry = "e";
    record.relocateBelowApp = "b";
    record.launchRequestor = "r";
    record.bForceLaunch = 1;
    record.bBackground = 1;
    record.cbType = shape;
    record.callback = shape == 1 ? reinterpret_cast<uintptr_t>(&OnNotify) : reinterpret_cast<uintptr_t>(&OnResult);
    record.userData = &heard_;
    return record;
  }

  static Effects OwnEffects() { return EffectsWithLogOf({"nuv_pin_popup.cpp", "IAAul.cpp"}); }

  static std::string Sent(const std::string& key) {
    const auto requests = fake_platform::SentRequests();
    if (requests.empty()) return "(no request)";
    for (const auto& [name, value] : requests.back().extra_data) {
      if (name == key) return *value;
    }
    return "(absent)";
  }

  // What the service answers to, taken from the request to the common-UI application.
  static LaunchRequest SentLaunch() {
    LaunchRequest launch;
    launch.object_name = "obj" + Sent("Pid");
    launch.thread_id = std::stoi(Sent("ThreadId"));
    launch.event = std::stoi(Sent("Index"));
    launch.texts = {Sent("AppId")};
    return launch;
  }
};

TEST_F(PinPopup, OrdersTheEffects) {
  const int32_t event = TakeLaunchEvent() + 1;
  const std::string pid = std::to_string(getpid());
  const std::string thread_id = std::to_string(get_launcher_proxy()->ListenerId());
  _NUV_LAUNCHER_DATA record = Record();
  record.extraDatas = {{"k2", "v2"}, {"k1", ""}};
  ASSERT_EQ(0, nuv_launch_Pin_Popup(7, 2, record));
  const auto own = [](const std::string& key, const std::string& value) {
    return LogEffect('I', Yellow("NUV_LAUNCHER_COMMUI_DATA extraDatas key: " + key + ", value: " + value));
  };
  EXPECT_EQ((Effects{LogEffect('I', Yellow("ProcessId [" + pid + "],ThreadId [" + thread_id + "]")),
                     LogEffect('S', Green("Send: App id [app],callerid [c],payload [p],entry [e],relocateBelowApp[b],"
                                          "bForceLaunch [1],bBackground [1]")),
                     kRunning,
                     own("k2", "v2"),
                     "extra k2=v2",
                     own("k1", ""),
                     "extra k1=",
                     kDefaultOperation,
                     "extra Pid=" + pid,
                     "extra ThreadId=" + thread_id,
                     "extra MethodName=Launch_pin_code_opr_result",
                     "extra AppType=2",
                     "extra AppId=app",
                     "extra AppPayload=p",
                     "extra AppUri=u",
                     "extra AppCallerid=c",
                     "extra cbType=1",
                     "extra ForceLaunch=1",
                     "extra Index=" + std::to_string(event),
                     "extra UIType=0",
                     "extra Deeplink=0",
                     "extra Background=1",
                     "extra Entry=e",
                     "extra RelocateBelowApp=b",
                     "extra __K_EX_LAUNCH_REQUESTOR=r",
                     kSent,
                     kDestroyed,
                     kSuccess}),
            OwnEffects());
  EXPECT_TRUE(service_->CallsOf("launch_app").empty());
}

TEST_F(PinPopup, LogsWhatItSendsToTheSystemBuffer) {
  _NUV_LAUNCHER_DATA record;
  ASSERT_EQ(0, nuv_launch_Pin_Popup(0, 2, record));
  EXPECT_EQ(std::vector<int>{2}, LogBuffers(Green("Send: App id [],callerid [],payload [],entry [],"
                                                  "relocateBelowApp[],bForceLaunch [0],bBackground [0]")));
  EXPECT_EQ(std::vector<int>{0}, LogBuffers(Yellow("launch commui App success")));
}

TEST_F(PinPopup, WritesNumbersAsDecimalTexts) {
  for (const int type : {0, -1, 8, INT_MAX, INT_MIN}) {
    for (const int flag : {0, 1, 255}) {
      _NUV_LAUNCHER_DATA record = Record(type);
      record.bForceLaunch = 0;
      record.bBackground = 0;
      record.bDeepLink = static_cast<uint8_t>(flag);
      ASSERT_EQ(0, nuv_launch_Pin_Popup(INT_MIN, type, record));
      EXPECT_EQ(std::to_string(type), Sent("AppType"));
      EXPECT_EQ(std::to_string(type), Sent("cbType"));
      EXPECT_EQ(std::to_string(flag), Sent("Deeplink"));
      EXPECT_EQ("0", Sent("ForceLaunch"));
      EXPECT_EQ("0", Sent("Background"));
    }
  }
}

TEST_F(PinPopup, NamesAListenerWhoseIdIsNegativeAsTheLaunchRequestDoes) {
  const StacksOfNegativeThreads stacks;
  for (int i = 0; i < 8 && get_launcher_proxy()->ListenerId() >= 0; ++i) {
    get_launcher_proxy()->GiveProxy();
    KeepFreeStack();
    ASSERT_NE(nullptr, UsableLauncherProxy());
  }
  _NUV_LAUNCHER_DATA record = Record();
  ASSERT_EQ(0, nuv_launch_Pin_Popup(0, 2, record));
  EXPECT_EQ('-', Sent("ThreadId").front());
  ASSERT_EQ(0, nuv_launch_app("app", nullptr, nullptr, nullptr));
  EXPECT_EQ(std::to_string(service_->Launches().at(0).thread_id), Sent("ThreadId"));
  ASSERT_TRUE(service_->SendResult(SentLaunch(), {900, 0}));
  EXPECT_TRUE(heard_.WaitFor(1));
}

TEST_F(PinPopup, ReplacesTheLaunchsOwnDataOfTheSameKeys) {
  const char* const keys[] = {"Pid",
                              "ThreadId",
                              "MethodName",
                              "AppType",
                              "AppId",
                              "AppPayload",
                              "AppUri",
                              "AppCallerid",
                              "cbType",
                              "ForceLaunch",
                              "Index",
                              "UIType",
                              "Deeplink",
                              "Background",
                              "Entry",
                              "RelocateBelowApp",
                              "__K_EX_LAUNCH_REQUESTOR"};
  _NUV_LAUNCHER_DATA record = Record();
  for (const char* key : keys) record.extraDatas.emplace_back(key, "own");
  record.extraDatas.emplace_back("mine", "own");
  ASSERT_EQ(0, nuv_launch_Pin_Popup(0, 2, record));
  for (const char* key : keys) EXPECT_NE("own", Sent(key)) << key;
  EXPECT_EQ("own", Sent("mine"));
  EXPECT_EQ("app", Sent("AppId"));
  EXPECT_EQ(std::size(keys) + 1, fake_platform::SentRequests().back().extra_data.size());
  const Effects effects = fake_platform::Effects();
  for (const char* key : keys)
    EXPECT_EQ(1, std::count(effects.begin(), effects.end(), "extra " + std::string(key) + "=own")) << key;
}

TEST_F(PinPopup, SendsEmptyTextsAsTheyAre) {
  _NUV_LAUNCHER_DATA record;
  ASSERT_EQ(0, nuv_launch_Pin_Popup(0, 0, record));
  for (const char* key :
       {"AppId", "AppPayload", "AppUri", "AppCallerid", "Entry", "RelocateBelowApp", "__K_EX_LAUNCH_REQUESTOR"}) {
    EXPECT_EQ("", Sent(key)) << key;
  }
}

TEST_F(PinPopup, DeliversTheResultToTheRecordsCallback) {
  _NUV_LAUNCHER_DATA record = Record();
  ASSERT_EQ(0, nuv_launch_Pin_Popup(0, 2, record));
  const LaunchRequest launch = SentLaunch();
  fake_platform::SetCommonUiRunning(true);
  fake_platform::Clear();
  ASSERT_TRUE(service_->SendResult(launch, {903, 403}));
  ASSERT_TRUE(WaitUntil([] { return fake_platform::Logged(Yellow("launch commui App success")); }));
  EXPECT_EQ((Effects{"callback notify app 903 0 403",
                     LogEffect('I', Yellow("Launch commui app.app id [(null)],ProcessId [(null)],ThreadId [(null)]")),
                     kRunning, kDefaultOperation, "extra MethodName=kill", "extra UIType=0", "extra Index=0", kSent,
                     kDestroyed, kSuccess}),
            OwnEffects());
  EXPECT_NE(std::this_thread::get_id(), heard_.Threads().at(0));
}

TEST_F(PinPopup, DeliversTheResultInTheRecordsShape) {
  _NUV_LAUNCHER_DATA record = Record(0);
  ASSERT_EQ(0, nuv_launch_Pin_Popup(0, 2, record));
  EXPECT_EQ("0", Sent("cbType"));
  ASSERT_TRUE(service_->SendResult(SentLaunch(), {903, 404, 0}));
  ASSERT_TRUE(heard_.WaitFor(1));
  EXPECT_EQ(std::vector<std::string>{"result 0 app 610"}, heard_.Texts());
}

TEST_F(PinPopup, DeliversAResultThatComesBeforeTheStartIsAnswered) {
  fake_platform::OnEffect([this](const std::string& effect) {
    if (effect != kSent) return;
    service_->SendToClient(SentLaunch(), {900, 0});
    EXPECT_TRUE(heard_.WaitFor(1));
  });
  _NUV_LAUNCHER_DATA record = Record();
  ASSERT_EQ(0, nuv_launch_Pin_Popup(0, 2, record));
  fake_platform::OnEffect(nullptr);
  EXPECT_EQ(std::vector<std::string>{"notify app 900 0 0"}, heard_.Texts());
}

TEST_F(PinPopup, TakesTheNextEventAndReplacesACallbackUnderIt) {
  const int32_t event = TakeLaunchEvent() + 1;
  KeepLaunchCallback(event, {1, nullptr});
  _NUV_LAUNCHER_DATA record = Record();
  ASSERT_EQ(0, nuv_launch_Pin_Popup(0, 2, record));
  EXPECT_EQ(std::to_string(event), Sent("Index"));
  EXPECT_EQ(record.callback, FindLaunchCallback(event).callback);
  EXPECT_EQ(&heard_, FindLaunchCallback(event).userData);
  EXPECT_EQ(event + 1, TakeLaunchEvent());
}

TEST_F(PinPopup, ThatCannotBeStartedKeepsNoCallbackButSpendsTheEvent) {
  const int32_t event = TakeLaunchEvent() + 1;
  KeepLaunchCallback(event + 1, {1, &heard_});
  fake_platform::LetLaunchRequestsFail(true);
  fake_platform::Clear();
  _NUV_LAUNCHER_DATA record = Record();
  ASSERT_EQ(-1, nuv_launch_Pin_Popup(0, 2, record));
  const Effects effects = OwnEffects();
  ASSERT_LT(4u, effects.size());
  EXPECT_EQ((Effects{kSent, kFailure, kDestroyed, LogEffect('E', Red("Call AulLaunchPINPopup failed error"))}),
            Effects(effects.end() - 4, effects.end()));
  EXPECT_EQ(0u, FindLaunchCallback(event).callback);
  EXPECT_EQ(1u, FindLaunchCallback(event + 1).callback);
  EXPECT_EQ(event + 1, TakeLaunchEvent());
  ASSERT_TRUE(service_->SendResult(SentLaunch(), {900, 0}));
  ASSERT_TRUE(service_->SendResult(SentLaunch(), {900, 0, 1, 1}));
  ASSERT_TRUE(WaitUntil([] { return fake_platform::Logged("thread != manager_thread_id"); }));
  EXPECT_TRUE(heard_.Texts().empty());
}

TEST_F(PinPopup, WithoutABusSendsAndSpendsNothing) {
  bus_.Kill();
  fake_platform::Clear();
  const int32_t event = TakeLaunchEvent() + 1;
  _NUV_LAUNCHER_DATA record = Record();
  EXPECT_EQ(-1, nuv_launch_Pin_Popup(0, 2, record));
  EXPECT_EQ(Effects{LogEffect('E', Red("get_launcher_proxy() error."))}, OwnEffects());
  EXPECT_EQ(0u, FindLaunchCallback(event).callback);
  EXPECT_EQ(event, TakeLaunchEvent());
  EXPECT_TRUE(heard_.Texts().empty());
}

TEST_F(PinPopup, DoesNotWaitForALaunchOfAnotherThread) {
  _NUV_LAUNCHER_DATA record = Record();
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [&] { EXPECT_EQ(0, nuv_launch_Pin_Popup(0, 2, record)); }));
}

TEST_F(PinPopup, MayBeAskedForByManyThreads) {
  std::vector<std::thread> threads;
  const int32_t first = TakeLaunchEvent() + 1;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([this] {
      for (int n = 0; n < 25; ++n) {
        _NUV_LAUNCHER_DATA record = Record();
        EXPECT_EQ(0, nuv_launch_Pin_Popup(0, 2, record));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(first + 100, TakeLaunchEvent());
  for (int32_t event = first; event < first + 100; ++event) EXPECT_NE(0u, FindLaunchCallback(event).callback) << event;
}

}  // namespace

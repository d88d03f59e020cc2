// The launch request: what travels, and what a request that fails leaves behind.
#include "nuv_launcher_api/nuv_launch_request.h"

#include <unistd.h>

#include <atomic>
#include <cstring>
#include <stdexcept>

#include "faults.h"
#include "launch_test.h"
#include "nuv_launcher_api/nuv_launch_callbacks.h"
#include "nuv_launcher_api/nuv_launcher_client.h"

namespace {

using Answer = RecordingService::Answer;

const std::string kInvalid = "caf\xc3";  // cut in the middle of a character

_NUV_LAUNCHER_DATA FullRecord(Heard* heard) {
  _NUV_LAUNCHER_DATA data;
  data.appId = "app";
  data.payload = "payload";
  data.uri = "uri";
  data.callerId = "caller";
  data.entry = "entry";
  data.relocateBelowApp = "below";
  data.launchRequestor = "requestor";
  data.callback = reinterpret_cast<uintptr_t>(&OnNotify);
  data.userData = heard;
  data.bReady = 9;
  data.reservedText = "never sent";
  data.nReserved = 99;
  return data;
}

class LaunchRequestTest : public LaunchTest {
 protected:
  LaunchRequest Send(_NUV_LAUNCHER_DATA data) {
    service_->Forget();
    EXPECT_EQ(0, nuv_launch_app_client(data));
    return service_->Launches().at(0);
  }
  void ExpectFailedCall(const std::string& app, const std::string& status) {
    const std::vector<std::string> expected = {"vconf rtc/litenuv/webapp/launch_fail=" + app + ":103",
                                               "callback notify " + app + " 903 0 " + status};
    EXPECT_EQ(expected, fake_platform::Effects());
  }
};

TEST_F(LaunchRequestTest, CarriesEveryTextInItsPlace) {
  WarmUp();
  const LaunchRequest request = Send(FullRecord(&heard_));
  EXPECT_EQ("obj" + std::to_string(getpid()), request.object_name);
  EXPECT_EQ(get_launcher_proxy()->ListenerId(), request.thread_id);
  EXPECT_NE(0, request.thread_id);
  EXPECT_EQ((std::vector<std::string>{"app", "payload", "uri", "caller", "entry", "below", "requestor"}),
            request.texts);
  EXPECT_EQ("nuv_launch_app", request.method_call);
  EXPECT_EQ("(sisssssssisiiiiiiiiiiiaay)", service_->CallsOf("launch_app").front().Signature());
}

TEST_F(LaunchRequestTest, CarriesEveryFlagInItsPlace) {
  WarmUp();
  uint8_t _NUV_LAUNCHER_DATA::*const flags[] = {
      &_NUV_LAUNCHER_DATA::bForceLaunch,
      &_NUV_LAUNCHER_DATA::bPreLoad,
      &_NUV_LAUNCHER_DATA::bOption1,
      &_NUV_LAUNCHER_DATA::bOption2,
      &_NUV_LAUNCHER_DATA::bOption3,
      &_NUV_LAUNCHER_DATA::bOption4,
      nullptr,
      &_NUV_LAUNCHER_DATA::bDeepLink,
      &_NUV_LAUNCHER_DATA::bExtraOption,
      &_NUV_LAUNCHER_DATA::bBackground,
      &_NUV_LAUNCHER_DATA::bSkipPIN,
  };
  for (size_t i = 0; i < std::size(flags); ++i) {
    _NUV_LAUNCHER_DATA data;
    data.appId = "app";
    data.bOption2 = 0;
    data.bOption3 = 0;
    data.cbType = 0;
    std::vector<int32_t> expected(std::size(flags), 0);
    if (flags[i] == nullptr) {
      data.cbType = -5;
      expected[i] = -5;
    } else {
      data.*flags[i] = 200;
      expected[i] = 200;
    }
    EXPECT_EQ(expected, Send(data).flags) << i;
  }
}

TEST_F(LaunchRequestTest, StartsFromTheDocumentedRecord) {
  const _NUV_LAUNCHER_DATA data;
  EXPECT_EQ(1, data.bReady);
  EXPECT_EQ(-1, data.nReserved);
  EXPECT_EQ(1, data.cbType);
  WarmUp();
  EXPECT_EQ((std::vector<int32_t>{0, 0, 0, 1, 1, 0, 1, 0, 0, 0, 0}), Send(data).flags);
}

std::string Block(const std::string& key, const std::string& value) {
  std::string block(1024, '\0');
  block.replace(0, key.size(), key);
  block.replace(512, value.size(), value);
  return block;
}

TEST_F(LaunchRequestTest, CarriesExtraDataAsFixedBlocksInOrder) {
  WarmUp();
  _NUV_LAUNCHER_DATA data = FullRecord(&heard_);
  data.extraDatas = {{"b", "2"}, {"a", "1"}, {"", ""}, {"b", "3"}};
  EXPECT_EQ((std::vector<std::string>{Block("b", "2"), Block("a", "1"), Block("", ""), Block("b", "3")}),
            Send(data).extra_datas);
  EXPECT_EQ(4, fake_platform::LogPriority("[nuv_launch_app_client],extraDatas: size=4"));
  EXPECT_EQ(4, fake_platform::LogPriority("extraDatas,key: b, value: 2"));
  EXPECT_EQ(4, fake_platform::LogPriority("test,fixed array idx:4"));
  EXPECT_EQ(4, fake_platform::LogPriority("g_variant_new_tuple finish."));
}

TEST_F(LaunchRequestTest, CutsLongExtraDataAt511Characters) {
  WarmUp();
  _NUV_LAUNCHER_DATA data = FullRecord(&heard_);
  data.extraDatas = {{std::string(511, 'k'), std::string(511, 'v')},
                     {std::string(512, 'k'), std::string(512, 'v')},
                     {std::string(600, 'k'), std::string(10000, 'v')}};
  const std::string whole = Block(std::string(511, 'k'), std::string(511, 'v'));
  EXPECT_EQ((std::vector<std::string>{whole, whole, whole}), Send(data).extra_datas);
}

TEST_F(LaunchRequestTest, CarriesAnEmptyArrayWithoutExtraData) {
  WarmUp();
  EXPECT_TRUE(Send(FullRecord(&heard_)).extra_datas.empty());
  EXPECT_EQ(4, fake_platform::LogPriority("[nuv_launch_app_client],extraDatas: size=0"));
  EXPECT_EQ(6, fake_platform::LogPriority("extraDatas is empty."));
}

TEST_F(LaunchRequestTest, AcceptedIsAMilestone) {
  WarmUp();
  Send(FullRecord(&heard_));
  for (const fake_platform::LogLine& line : fake_platform::Log()) {
    if (line.text == "Call launch app [app] success") {
      EXPECT_EQ(2, line.buffer);
      EXPECT_EQ(4, line.priority);
      return;
    }
  }
  FAIL() << "not logged";
}

TEST_F(LaunchRequestTest, AcceptsAReplyOfAnyType) {
  WarmUp();
  for (const char* reply : {"()", "(1,)", "('x', [1,2])"}) {
    service_->AnswerTo("launch_app", {Answer::kReply, reply});
    _NUV_LAUNCHER_DATA data = FullRecord(&heard_);
    EXPECT_EQ(0, nuv_launch_app_client(data)) << reply;
  }
  EXPECT_TRUE(heard_.Texts().empty());
}

TEST_F(LaunchRequestTest, WithoutALinkFailsWithoutACallback) {
  bus_.Kill();
  _NUV_LAUNCHER_DATA data = FullRecord(&heard_);
  EXPECT_EQ(-1, nuv_launch_app_client(data));
  EXPECT_EQ(std::vector<std::string>{"vconf rtc/litenuv/webapp/launch_fail=app:102"}, fake_platform::Effects());
  EXPECT_EQ(6, fake_platform::LogPriority("get_launcher_proxy() error"));
}

TEST_F(LaunchRequestTest, ARefusedCallIsToldAtOnce) {
  WarmUp();
  service_->AnswerTo("launch_app", {Answer::kError, "no"});
  _NUV_LAUNCHER_DATA data = FullRecord(&heard_);
  EXPECT_EQ(-1, nuv_launch_app_client(data));
  ExpectFailedCall("app", "404");
  EXPECT_EQ(6, fake_platform::LogPriority("Launch app[app], isTimeOutError[0] error"));
  EXPECT_EQ(std::this_thread::get_id(), heard_.Threads().front());
}

TEST_F(LaunchRequestTest, ACallThatRunsOutOfTimeIsToldWith412) {
  WarmUp();
  service_->AnswerTo("launch_app", {Answer::kSilence, ""});
  _NUV_LAUNCHER_DATA data = FullRecord(&heard_);
  faults::hurried_method = "launch_app";
  faults::TakeBusCalls();
  EXPECT_EQ(-1, nuv_launch_app_client(data));
  EXPECT_EQ((std::vector<faults::BusCall>{{"heartbeat", 10000}, {"launch_app", 15000}}), faults::TakeBusCalls());
  ExpectFailedCall("app", "412");
  EXPECT_EQ(6, fake_platform::LogPriority("Launch app[app], isTimeOutError[1] error"));
}

// The order of arguments is that of a notify callback whatever the caller's shape: deliberate.
void OnResultSeesNotifyOrder(void* first, int second, const char* third, int fourth) {
  fake_platform::AddEffect(std::string(static_cast<const char*>(first)) + " " + std::to_string(second) + " " +
                           (third == nullptr ? "0" : "?") + " " + std::to_string(fourth));
}

TEST_F(LaunchRequestTest, AFailedCallReachesAResultCallbackInNotifyOrder) {
  WarmUp();
  service_->AnswerTo("launch_app", {Answer::kError, "no"});
  EXPECT_EQ(-1, nuv_launch_app("app", nullptr, OnResultSeesNotifyOrder, nullptr));
  const std::vector<std::string> effects = fake_platform::Effects();
  ASSERT_GE(effects.size(), 2u);
  EXPECT_EQ("app 903 0 404", effects[effects.size() - 2]);
}

TEST_F(LaunchRequestTest, FailsQuietlyWithoutACallback) {
  WarmUp();
  service_->AnswerTo("launch_app", {Answer::kError, "no"});
  _NUV_LAUNCHER_DATA data = FullRecord(nullptr);
  data.callback = 0;
  EXPECT_EQ(-1, nuv_launch_app_client(data));
  EXPECT_EQ(1u, fake_platform::Effects().size());
}

TEST_F(LaunchRequestTest, LogsBeforeItRecordsAndRecordsBeforeItCalls) {
  WarmUp();
  fake_platform::LogAsEffects(true);
  service_->AnswerTo("launch_app", {Answer::kError, "no"});
  _NUV_LAUNCHER_DATA data = FullRecord(&heard_);
  EXPECT_EQ(-1, nuv_launch_app_client(data));
  const std::vector<std::string> effects = fake_platform::Effects();
  ASSERT_GE(effects.size(), 3u);
  EXPECT_EQ((std::vector<std::string>{"log E Launch app[app], isTimeOutError[0] error",
                                      "vconf rtc/litenuv/webapp/launch_fail=app:103", "callback notify app 903 0 404"}),
            std::vector<std::string>(effects.end() - 3, effects.end()));
}

TEST_F(LaunchRequestTest, AFailedRequestLeavesNoCallbackBehind) {
  WarmUp();
  service_->AnswerTo("launch_app", {Answer::kError, "no"});
  _NUV_LAUNCHER_DATA data = FullRecord(&heard_);
  EXPECT_EQ(-1, nuv_launch_app_client(data));
  const LaunchRequest request = service_->Launches().front();
  EXPECT_EQ(0u, FindLaunchCallback(request.event).callback);
  EXPECT_TRUE(service_->SendResult(request, {900, 0}));
  EXPECT_EQ(1u, heard_.Texts().size());
}

TEST_F(LaunchRequestTest, NumbersEventsInARowEvenWithoutALink) {
  bus_.Kill();
  _NUV_LAUNCHER_DATA data = FullRecord(&heard_);
  EXPECT_EQ(-1, nuv_launch_app_client(data));
  bus_.Start();
  StartService();
  EXPECT_EQ(0, nuv_launch_app_client(data));
  EXPECT_EQ(0, nuv_launch_app_client(data));
  EXPECT_EQ(1, service_->Launches().at(0).event);
  EXPECT_EQ(2, service_->Launches().at(1).event);
}

TEST_F(LaunchRequestTest, NeverGivesTwoThreadsTheSameEvent) {
  std::vector<std::vector<int32_t>> events(8);
  std::vector<std::thread> threads;
  for (auto& mine : events) {
    threads.emplace_back([&mine] {
      for (int i = 0; i < 20000; ++i) mine.push_back(TakeLaunchEvent());
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::vector<int32_t> all;
  for (const auto& mine : events) all.insert(all.end(), mine.begin(), mine.end());
  std::sort(all.begin(), all.end());
  EXPECT_EQ(all.end(), std::adjacent_find(all.begin(), all.end()));
  EXPECT_EQ(0, all.front());
  EXPECT_EQ(8 * 20000 - 1, all.back());
}

struct TextCase {
  const char* name;
  std::string _NUV_LAUNCHER_DATA::*member;
};
void PrintTo(const TextCase& text, std::ostream* out) {
  *out << text.name;
}
class InvalidText : public LaunchRequestTest, public ::testing::WithParamInterface<TextCase> {};

TEST_P(InvalidText, MakesAFailedCall) {
  WarmUp();
  _NUV_LAUNCHER_DATA data = FullRecord(&heard_);
  data.*GetParam().member = kInvalid;
  EXPECT_EQ(-1, nuv_launch_app_client(data));
  EXPECT_TRUE(service_->Launches().empty());
  ExpectFailedCall(data.appId, "404");
  EXPECT_EQ(6, fake_platform::LogPriority("launch_app: a text is null or not valid UTF-8"));
  data = FullRecord(&heard_);
  EXPECT_EQ(0, nuv_launch_app_client(data));
}

INSTANTIATE_TEST_SUITE_P(EachText, InvalidText,
                         ::testing::Values(TextCase{"appId", &_NUV_LAUNCHER_DATA::appId},
                                           TextCase{"payload", &_NUV_LAUNCHER_DATA::payload},
                                           TextCase{"uri", &_NUV_LAUNCHER_DATA::uri},
                                           TextCase{"callerId", &_NUV_LAUNCHER_DATA::callerId},
                                           TextCase{"entry", &_NUV_LAUNCHER_DATA::entry},
                                           TextCase{"relocateBelowApp", &_NUV_LAUNCHER_DATA::relocateBelowApp},
                                           TextCase{"launchRequestor", &_NUV_LAUNCHER_DATA::launchRequestor}),
                         [](const auto& row) { return std::string(row.param.name); });

// The bus would close the connection, which the host may use as well.
TEST_F(LaunchRequestTest, IsRefusedBeforeItIsSentWhereItIsLongerThanTheBusTakes) {
  WarmUp();
  const GConnectionHandle shared(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
  _NUV_LAUNCHER_DATA data = FullRecord(&heard_);
  data.payload.assign(size_t{33} << 20, 'p');
  EXPECT_EQ(-1, nuv_launch_app_client(data));
  ExpectFailedCall("app", "404");
  EXPECT_EQ(6, fake_platform::LogPriority("launch_app: the arguments are longer than the bus takes"));
  EXPECT_EQ(-1, nuv_terminate_allApps_internal("me", data.payload));
  EXPECT_EQ(6, fake_platform::LogPriority("terminate_allapp: the arguments are longer than the bus takes"));
  data.payload.clear();
  data.extraDatas.assign(33 << 10, {"key", "value"});
  EXPECT_EQ(-1, nuv_launch_app_client(data));
  EXPECT_FALSE(g_dbus_connection_is_closed(shared.get()));
  EXPECT_TRUE(service_->Launches().empty());
  data.extraDatas.clear();
  data.payload.assign((size_t{32} << 20) - 8192, 'p');  // the longest that fits
  EXPECT_EQ(data.payload.size(), Send(data).texts[1].size());
  EXPECT_FALSE(g_dbus_connection_is_closed(shared.get()));
}

// A launch whose thread can be cancelled at one point, and whether it was.
class CancelledLaunch {
 public:
  CancelledLaunch() {
    pthread_create(
        &thread_, nullptr,
        [](void*) -> void* {
          nuv_launch_webapp("cancelled", nullptr, nullptr, nullptr, nullptr);
          pthread_testcancel();
          return nullptr;
        },
        nullptr);
  }
  void Cancel() const { pthread_cancel(thread_); }
  bool WasCancelled() const {
    void* result = nullptr;
    pthread_join(thread_, &result);
    return result == PTHREAD_CANCELED;
  }

 private:
  pthread_t thread_{};
};

TEST_F(LaunchRequestTest, AThreadThatIsCancelledInsideLeavesNobodyWaiting) {
  WarmUp();
  std::atomic<int> arrived{0};
  std::atomic<int> answered{0};
  service_->Before("launch_app", [&](const RecordedCall& call) {
    if (UnpackLaunch(call).texts[0] != "cancelled") return;
    const int number = ++arrived;
    WaitUntil([&] { return answered == number; });
  });
  for (int i = 1; i <= 20; ++i) {
    const CancelledLaunch launch;
    ASSERT_TRUE(WaitUntil([&] { return arrived == i; }));
    launch.Cancel();
    answered = i;
    EXPECT_TRUE(launch.WasCancelled());
    ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  }
  ASSERT_TRUE(service_->SendResult(service_->Launches().back(), {900, 0}));
  EXPECT_TRUE(heard_.WaitFor(1));
}

TEST_F(LaunchRequestTest, AThreadThatIsCancelledWhileItConnectsLeavesNobodyWaiting) {
  bus_.Pause();
  const CancelledLaunch launch;
  ASSERT_TRUE(WaitUntil([] { return fake_platform::Logged("getting gdus connection."); }));
  launch.Cancel();
  bus_.Resume();
  EXPECT_TRUE(launch.WasCancelled());
  StartService();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  ASSERT_TRUE(service_->SendResult(service_->Launches().back(), {900, 0}));
  EXPECT_TRUE(heard_.WaitFor(1));
}

TEST_F(LaunchRequestTest, DeliversPayloadsOfMegabytesAndSurvivesWhatTheBusRefuses) {
  WarmUp();
  _NUV_LAUNCHER_DATA data = FullRecord(&heard_);
  for (const size_t size : {size_t{1} << 20, size_t{16} << 20}) {
    data.payload.assign(size, 'p');
    EXPECT_EQ(size, Send(data).texts[1].size());
  }
  fake_platform::Clear();
  data.payload.assign(size_t{140} << 20, 'p');
  EXPECT_EQ(-1, nuv_launch_app_client(data));
  ExpectFailedCall("app", "404");
  data.payload = "small";
  service_->Forget();
  EXPECT_EQ(0, nuv_launch_app_client(data));
  ASSERT_TRUE(service_->SendResult(service_->Launches().at(0), {900, 0}));
  EXPECT_TRUE(heard_.WaitFor(2));
}

TEST(MemoryHelpers, LogAndIgnoreNull) {
  char buffer[4] = "abc";
  EXPECT_EQ(nullptr, NUVMem::Set(nullptr, 0, 4));
  EXPECT_EQ(6, fake_platform::LogPriority("dest is false"));
  fake_platform::Clear();
  EXPECT_EQ(nullptr, NUVString::Copy(nullptr, "x", 1));
  EXPECT_EQ(6, fake_platform::LogPriority("dest is false"));
  EXPECT_EQ(buffer, NUVString::Copy(buffer, nullptr, 1));
  EXPECT_EQ(6, fake_platform::LogPriority("source is false"));
  EXPECT_STREQ("abc", buffer);
  EXPECT_EQ(buffer, NUVString::Copy(buffer, "xyz", 2));
  EXPECT_STREQ("xyc", buffer);
  EXPECT_EQ(buffer, NUVMem::Set(buffer, 'q', 3));
  EXPECT_STREQ("qqq", buffer);
}

}  // namespace

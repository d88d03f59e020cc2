// Launching on the service's side, and starting an application without showing it.
#include <nuv/nuv_service_launch.h>
#include <nuv_common/nuv_lock.h>

#include <ostream>
#include <stdexcept>

#include "effects.h"
#include "held_mutex.h"
#include "launch_database_test.h"

namespace {

using Answer = RecordingService::Answer;
using ::testing::ValuesIn;
using ::testing::WithParamInterface;

const std::string kLaunchFail = "vconf rtc/litenuv/webapp/launch_fail=";

// The start line, the trace marker, and what comes after them.
Effects Begun(const std::string& start, const Effects& rest = {}) {
  Effects effects = {start, "marker 12 [BEGIN]start", "trace_begin [BEGIN]start", "trace_end"};
  effects.insert(effects.end(), rest.begin(), rest.end());
  return effects;
}

std::string Pointer(const void* pointer) {
  char text[32];
  snprintf(text, sizeof text, "%p", pointer);
  return text;
}

class InternalLaunch : public LaunchDatabaseTest {
 protected:
  void SetUp() override {
    LaunchDatabaseTest::SetUp();
    CallsAsEffects();
    database_.Add("org.kelvo.app", {{"kelvo_id", "kelvo.app"}, {"pkgname", "package"}, {"run_title", "title"}});
  }
  int Launch(const char* id, nuv_launch_notify_cb callback = OnNotify) {
    return nuv_launch_app_internal(id, "payload", callback, &heard_, opinion_);
  }
  std::string Start(const char* id, const char* payload, nuv_launch_notify_cb callback) const {
    return LogEffect('E',
                     Yellow("Start: app id:[" + std::string(id) + "], payload:[" + payload + "], cb [" +
                            Pointer(reinterpret_cast<void*>(callback)) + "],user_data:[" + Pointer(&heard_) + "]."));
  }
  static Effects OwnEffects() {
    Effects effects = EffectsWithLogOf({"nuv_launcher_api_NUV.cpp", "nuv_launcher_client.cpp"});
    for (std::string& effect : effects) {
      if (effect.rfind("call launch_app", 0) == 0) effect = "call launch_app";
    }
    return effects;
  }
  Effects UnknownApp(const std::string& id) const {
    return {"callback notify " + id + " 903 0 400", LogEffect('E', Red("get app info by app id [" + id + "] failed.")),
            kLaunchFail + id + ":100"};
  }

  Launch_Opinion opinion_;
};

TEST_F(InternalLaunch, OrdersTheEffects) {
  ASSERT_EQ(0, Launch("kelvo.app"));
  EXPECT_EQ(Begun(Start("kelvo.app", "payload", OnNotify),
                  {LogEffect('I', Yellow("get app info for app id [org.kelvo.app] success.")), "call launch_app",
                   LogEffect('S', "Call launch app [org.kelvo.app] success")}),
            OwnEffects());
}

TEST_F(InternalLaunch, LaunchesTheIdThatTheDatabaseHas) {
  for (const char* id : {"org.kelvo.app", "kelvo.app", "package"}) {
    service_->Forget();
    ASSERT_EQ(0, Launch(id)) << id;
    EXPECT_EQ((std::vector<std::string>{"org.kelvo.app", "payload", "", "", "", "", ""}),
              service_->Launches().at(0).texts);
  }
  EXPECT_EQ(-1, Launch("title"));
}

TEST_F(InternalLaunch, SendsTheDefaultsOfItsOptions) {
  ASSERT_EQ(0, Launch("package"));
  EXPECT_EQ((std::vector<int32_t>{0, 0, 0, 1, 1, 0, 1, 0, 0, 0, 0}), service_->Launches().at(0).flags);
  EXPECT_TRUE(service_->Launches().at(0).extra_datas.empty());
}

struct OptionRow {
  const char* name;
  uint8_t Launch_Opinion::*option;
  size_t flag;
};
void PrintTo(const OptionRow& row, std::ostream* out) {
  *out << row.name;
}
const OptionRow kOptions[] = {{"bPreLoad", &Launch_Opinion::bPreLoad, 1},
                              {"bOption1", &Launch_Opinion::bOption1, 2},
                              {"bOption2", &Launch_Opinion::bOption2, 3},
                              {"bOption3", &Launch_Opinion::bOption3, 4},
                              {"bOption4", &Launch_Opinion::bOption4, 5}};
class InternalLaunchOption : public InternalLaunch, public WithParamInterface<OptionRow> {};

TEST_P(InternalLaunchOption, TravelsInItsPlace) {
  for (const int value : {0, 1, 2, 255}) {
    service_->Forget();
    opinion_ = {0, 0, 0, 0, 0, {}};
    opinion_.*GetParam().option = static_cast<uint8_t>(value);
    ASSERT_EQ(0, Launch("package"));
    std::vector<int32_t> flags = {0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0};
    flags[GetParam().flag] = value;
    EXPECT_EQ(flags, service_->Launches().at(0).flags);
  }
}

INSTANTIATE_TEST_SUITE_P(Options, InternalLaunchOption, ValuesIn(kOptions),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(InternalLaunch, SendsTheCallerIdOfItsOptionsBesideWhateverThePayloadNames) {
  opinion_.callerId = "caller";
  ASSERT_EQ(0, nuv_launch_app_internal("package", "a&callerid=other", nullptr, nullptr, opinion_));
  EXPECT_EQ("a&callerid=other", service_->Launches().at(0).texts[1]);
  EXPECT_EQ("caller", service_->Launches().at(0).texts[3]);
  EXPECT_EQ("caller", opinion_.callerId);
}

TEST_F(InternalLaunch, TakesANullPayloadForAnEmptyOne) {
  ASSERT_EQ(0, nuv_launch_app_internal("package", nullptr, nullptr, &heard_, opinion_));
  EXPECT_EQ("", service_->Launches().at(0).texts[1]);
  EXPECT_EQ(Start("package", "(null)", nullptr), fake_platform::Effects().front());
}

TEST_F(InternalLaunch, RefusesANullIdWithoutCallingBackOrAsking) {
  ASSERT_EQ(-1, Launch(nullptr));
  EXPECT_EQ(
      Begun(Start("(null)", "payload", OnNotify), {LogEffect('E', Red("App_id == NULL")), kLaunchFail + "NULL:101"}),
      OwnEffects());
  EXPECT_TRUE(service_->Calls().empty());
}

TEST_F(InternalLaunch, TellsTheCallbackAtOnceOfAnUnknownId) {
  ASSERT_EQ(-1, Launch("nobody"));
  EXPECT_EQ(Begun(Start("nobody", "payload", OnNotify), UnknownApp("nobody")), OwnEffects());
  EXPECT_EQ(std::this_thread::get_id(), heard_.Threads().at(0));
  EXPECT_TRUE(service_->Calls().empty());
}

TEST_F(InternalLaunch, CallsNobodyForAnUnknownIdWithoutACallback) {
  ASSERT_EQ(-1, Launch("nobody", nullptr));
  Effects expected = UnknownApp("nobody");
  expected.erase(expected.begin());
  EXPECT_EQ(Begun(Start("nobody", "payload", nullptr), expected), OwnEffects());
}

TEST_F(InternalLaunch, DoesNotKnowAnEmptyIdOrAnApplicationThatIsNotUsable) {
  database_.Add("not.installed", {{"install_state", 2}});
  database_.Add("not.available", {{"is_app_available", 0}});
  database_.Add("needs.reset", {{"is_need_reset", 1}});
  for (const std::string id : {"", "not.installed", "not.available", "needs.reset"}) {
    fake_platform::Clear();
    ASSERT_EQ(-1, Launch(id.c_str())) << id;
    EXPECT_EQ(kLaunchFail + id + ":100", fake_platform::Effects().back());
  }
  EXPECT_EQ(4u, heard_.Texts().size());
}

TEST_F(InternalLaunch, TakesABusyDatabaseAndAFactoryResetForAnUnknownId) {
  fake_platform::SetFactoryReset(1);
  EXPECT_EQ(-1, Launch("package"));
  fake_platform::SetFactoryReset(0);
  LetDatabaseBeBusy();
  EXPECT_EQ(-1, Launch("package"));
  EXPECT_EQ((Effects{"notify package 903 0 400", "notify package 903 0 400"}), heard_.Texts());
  EXPECT_EQ(0, Launch("package"));
}

TEST_F(InternalLaunch, TellsAFailedCallUnderTheIdOfTheDatabase) {
  const std::pair<const char*, const char*> rows[] = {{"no", "404"}, {"Timeout was reached", "412"}};
  for (const auto& [message, status] : rows) {
    fake_platform::Clear();
    service_->AnswerTo("launch_app", {Answer::kError, message});
    ASSERT_EQ(-1, Launch("package"));
    const std::string flag = std::string(status) == "412" ? "1" : "0";
    const Effects effects = OwnEffects();
    ASSERT_LT(3u, effects.size());
    EXPECT_EQ(
        (Effects{LogEffect('E', "Launch app[org.kelvo.app], isTimeOutError[" + flag + "] error"),
                 kLaunchFail + "org.kelvo.app:103", "callback notify org.kelvo.app 903 0 " + std::string(status)}),
        Effects(effects.end() - 3, effects.end()));
  }
}

TEST_F(InternalLaunch, RecordsAnUnusableLinkWithoutCallingBack) {
  bus_.Kill();
  ASSERT_EQ(-1, Launch("package"));
  EXPECT_EQ(kLaunchFail + "org.kelvo.app:102", fake_platform::Effects().back());
  EXPECT_TRUE(heard_.Texts().empty());
}

void LaunchAgain(const char* app_id, nuv_notify_event_e event, int reserved, int result, void* heard) {
  OnNotify(app_id, event, reserved, result, heard);
  Launch_Opinion opinion;
  EXPECT_EQ(0, nuv_launch_app_internal("package", "again", nullptr, nullptr, opinion));
  EXPECT_EQ(0, nuv_launch_app("other", nullptr, nullptr, nullptr));
}

TEST_F(InternalLaunch, ACallbackOfAnUnknownIdMayLaunch) {
  ASSERT_EQ(-1, Launch("nobody", LaunchAgain));
  ASSERT_EQ(2u, service_->Launches().size());
  EXPECT_EQ("again", service_->Launches()[0].texts[1]);
  EXPECT_EQ(kLaunchFail + "nobody:100", fake_platform::Effects().back());
}

void Throw(const char*, nuv_notify_event_e, int, int, void*) {
  throw std::runtime_error("from a callback");
}

TEST_F(InternalLaunch, EndsAnExceptionOfACallbackAtTheEdge) {
  ASSERT_EQ(-1, Launch("nobody", Throw));
  EXPECT_EQ(6, fake_platform::LogPriority("a callback threw: from a callback"));
  EXPECT_EQ(kLaunchFail + "nobody:100", fake_platform::Effects().back());
}

TEST_F(InternalLaunch, TellsTheCallbackTheResultAsANotification) {
  ASSERT_EQ(0, Launch("package"));
  ASSERT_TRUE(service_->SendResult(service_->Launches().at(0), {904, 0}));
  ASSERT_TRUE(heard_.WaitFor(1));
  EXPECT_EQ(Effects{"notify org.kelvo.app 904 0 0"}, heard_.Texts());
}

TEST_F(InternalLaunch, DoesNotWaitForALaunchOfAnotherThread) {
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [this] {
    EXPECT_EQ(0, Launch("package"));
    EXPECT_EQ(-1, Launch("nobody"));
  }));
}

TEST_F(InternalLaunch, PreloadsWithFixedOptionsAndDropsTheCallerId) {
  ASSERT_EQ(0, nuv_launch_webapp_for_preload("kelvo.app", "payload", "caller", OnNotify, &heard_));
  const LaunchRequest launch = service_->Launches().at(0);
  EXPECT_EQ((std::vector<std::string>{"org.kelvo.app", "payload", "", "", "", "", ""}), launch.texts);
  EXPECT_EQ((std::vector<int32_t>{0, 1, 0, 1, 1, 0, 1, 0, 0, 0, 0}), launch.flags);
  Effects effects = OwnEffects();
  effects.resize(4);
  EXPECT_EQ(Begun(Start("kelvo.app", "payload", OnNotify)), effects);
}

TEST_F(InternalLaunch, PreloadsNothingWithoutAKnownId) {
  EXPECT_EQ(-1, nuv_launch_webapp_for_preload(nullptr, "payload", nullptr, OnNotify, &heard_));
  EXPECT_TRUE(heard_.Texts().empty());
  EXPECT_EQ(kLaunchFail + "NULL:101", fake_platform::Effects().back());
  fake_platform::Clear();
  EXPECT_EQ(-1, nuv_launch_webapp_for_preload("nobody", "payload", nullptr, OnNotify, &heard_));
  EXPECT_EQ(Begun(Start("nobody", "payload", OnNotify), UnknownApp("nobody")), OwnEffects());
}

}  // namespace

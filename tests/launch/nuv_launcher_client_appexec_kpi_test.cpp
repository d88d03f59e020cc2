// The report of an application-execution event.
#include <nuv/nuv_launcher_api.h>
#include <nuv_common/nuv_lock.h>

#include "effects.h"
#include "held_mutex.h"
#include "launch_database_test.h"

namespace {

using Answer = RecordingService::Answer;

const std::string kSet = "cpu set self litecorvane -1";
const std::string kClear = "cpu clear self litecorvane";

std::string Start(const std::string& app, const std::string& caller, const std::string& pt = "pt") {
  return LogEffect('E', Yellow("Start: send appexec kpi,logType[-1], appid:[" + app + "],callerid [" + caller +
                               "], preloadtype:[2], pt:[" + pt + "]."));
}
const std::string kClientStart = LogEffect('I', "send appexec kpi log with param");

Effects Unknown(const std::string& app) {
  return {kSet, LogEffect('E', Red("Fail to get app info by [" + app + "].")), kClear};
}

class KpiTest : public LaunchDatabaseTest {
 protected:
  void SetUp() override {
    LaunchDatabaseTest::SetUp();
    CallsAsEffects();
    database_.Add("org.kelvo.app", {{"kelvo_id", "kelvo.app"}, {"pkgname", "package"}, {"run_title", "title"}});
  }
  static int Send(const char* app, const char* caller = "caller", const char* pt = "pt") {
    return nuv_send_appexec_kpi(-1, app, caller, 2, pt);
  }
  static Effects OwnEffects() { return EffectsWithLogOf({"nuv_launcher_api.cpp", "nuv_launcher_client.cpp"}); }
};

TEST_F(KpiTest, OrdersTheEffects) {
  ASSERT_EQ(0, Send("org.kelvo.app"));
  EXPECT_EQ((Effects{kSet, Start("org.kelvo.app", "caller"), kClientStart,
                     "call send_appexec_kpi (-1, 'org.kelvo.app', 'caller', 2, 'pt')", kClear}),
            OwnEffects());
  EXPECT_EQ(4, fake_platform::LogPriority("Call success "));
  EXPECT_EQ("(issis)", service_->CallsOf("send_appexec_kpi").at(0).Signature());
}

TEST_F(KpiTest, SendsTheIdThatTheDatabaseHas) {
  for (const char* id : {"kelvo.app", "package"}) {
    fake_platform::Clear();
    ASSERT_EQ(0, Send(id));
    EXPECT_EQ((Effects{kSet, Start(id, "caller"), kClientStart,
                       "call send_appexec_kpi (-1, 'org.kelvo.app', 'caller', 2, 'pt')", kClear}),
              OwnEffects());
  }
}

TEST_F(KpiTest, SendsANullCallerIdAsAnEmptyText) {
  ASSERT_EQ(0, Send("package", nullptr));
  EXPECT_EQ((Effects{kSet, Start("package", ""), kClientStart,
                     "call send_appexec_kpi (-1, 'org.kelvo.app', '', 2, 'pt')", kClear}),
            OwnEffects());
}

TEST_F(KpiTest, RefusesANullOrUnknownId) {
  EXPECT_EQ(-1, Send(nullptr));
  EXPECT_EQ(Unknown("NULL"), OwnEffects());
  for (const char* id : {"nobody", "", "title"}) {
    fake_platform::Clear();
    EXPECT_EQ(-1, Send(id));
    EXPECT_EQ(Unknown(id), OwnEffects());
  }
  EXPECT_TRUE(service_->Calls().empty());
}

TEST_F(KpiTest, RefusesWhileTheGuardsRefuse) {
  fake_platform::SetFactoryReset(2);
  EXPECT_EQ(-1, Send("package"));
  fake_platform::SetFactoryReset(0);
  fake_platform::SetRepairMarker(true);
  EXPECT_EQ(-1, Send("package"));
  fake_platform::SetRepairMarker(false);
  EXPECT_EQ(0, Send("package"));
}

TEST_F(KpiTest, ABusyDatabaseIsNoFailure) {
  LetDatabaseBeBusy();
  EXPECT_EQ(0, Send("package"));
  EXPECT_EQ("(-1, '', 'caller', 2, 'pt')", service_->CallsOf("send_appexec_kpi").at(0).Text());
}

TEST_F(KpiTest, ADatabaseThatBecomesBusyBehindTheRowHasGivenTheId) {
  LetDatabaseBeBusy();
  sqlite_faults::step_codes.push_front(0);  // reaches the row
  EXPECT_EQ(0, Send("package"));
  EXPECT_EQ("(-1, 'org.kelvo.app', 'caller', 2, 'pt')", service_->CallsOf("send_appexec_kpi").at(0).Text());
}

TEST_F(KpiTest, ReportsAnEventTextThatCannotTravel) {
  EXPECT_EQ(-1, Send("package", "caller", nullptr));
  EXPECT_EQ(-1, Send("package", "caller", "caf\xc3"));
  EXPECT_EQ(-1, Send("package", "caf\xc3"));
  EXPECT_TRUE(service_->CallsOf("send_appexec_kpi").empty());
  EXPECT_EQ(kClear, fake_platform::Effects().at(fake_platform::Effects().size() - 1));
  EXPECT_EQ(6, fake_platform::LogPriority("Call failed"));
}

TEST_F(KpiTest, ReportsARefusalOfTheServiceAndAnUnusableLink) {
  service_->AnswerTo("send_appexec_kpi", {Answer::kError, "no"});
  EXPECT_EQ(-1, Send("package"));
  EXPECT_EQ(6, fake_platform::LogPriority("Call failed"));
  EXPECT_EQ(kClear, fake_platform::Effects().back());
  bus_.Kill();
  fake_platform::Clear();
  EXPECT_EQ(-1, Send("package"));
  EXPECT_EQ(
      (Effects{kSet, Start("package", "caller"), kClientStart, LogEffect('E', "get_launcher_proxy() error"), kClear}),
      OwnEffects());
}

TEST_F(KpiTest, DoesNotWaitForALaunchOfAnotherThread) {
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [] { EXPECT_EQ(0, Send("package")); }));
}

}  // namespace

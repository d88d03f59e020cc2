// Whether an application runs, and which one shows.
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_launch.h>
#include <nuv_common/nuv_lock.h>

#include <stdexcept>

#include "effects.h"
#include "fake_apps.h"
#include "held_mutex.h"
#include "launch_database_test.h"

namespace {

using Answer = RecordingService::Answer;

const std::string kInfoFail = LogEffect('E', Red("get app info fail."));
const std::string kNullParameter = LogEffect('E', Red("in param is NULL"));

class StatusTest : public LaunchDatabaseTest {
 protected:
  void SetUp() override {
    LaunchDatabaseTest::SetUp();
    CallsAsEffects();
    database_.Add("web", {{"kelvo_id", "kelvo.web"}, {"run_title", "title"}, {"hybrid_app", nullptr}});
    database_.Add("hybrid", {{"kelvo_id", "kelvo.hybrid"}, {"hybrid_app", "native.hybrid"}});
    database_.Add("android", {{"kelvo_id", "kelvo.android"}, {"hybrid_app", "native.android"}, {"app_type", 8}});
  }
  static Effects OwnEffects() { return EffectsWithLogOf({"nuv_app_status.cpp"}); }

  int status_ = -77;
};

TEST_F(StatusTest, AsksThePlatformByTheKelvoId) {
  fake_platform::SetRunningApps({{"other", 3}, {"kelvo.web", 1}});
  for (const std::string id : {"web", "kelvo.web", "title"}) {
    fake_platform::Clear();
    ASSERT_EQ(0, nuv_get_app_status(id.c_str(), &status_));
    EXPECT_EQ(1, status_);
    EXPECT_EQ((Effects{"running? kelvo.web", LogEffect('I', Yellow("App [" + id + "] is running."))}), OwnEffects());
  }
  fake_platform::SetRunningApps({{"web", 3}});
  fake_platform::Clear();
  ASSERT_EQ(0, nuv_get_app_status("web", &status_));
  EXPECT_EQ(0, status_);
  EXPECT_EQ((Effects{"running? kelvo.web", LogEffect('I', Yellow("App [web] is stopped."))}), OwnEffects());
}

TEST_F(StatusTest, AsksThePlatformByTheNativeIdOfAHybridApplication) {
  const std::string notice = LogEffect('I', Yellow("hybrid is hybrid app:native.hybrid."));
  fake_platform::SetRunningApps({{"native.hybrid", 1}});
  ASSERT_EQ(0, nuv_get_app_status("hybrid", &status_));
  EXPECT_EQ(1, status_);
  EXPECT_EQ((Effects{notice, "running? native.hybrid", LogEffect('I', Yellow("App [hybrid] is running."))}),
            OwnEffects());
  fake_platform::SetRunningApps({{"kelvo.hybrid", 1}});
  fake_platform::Clear();
  ASSERT_EQ(0, nuv_get_app_status("hybrid", &status_));
  EXPECT_EQ(0, status_);
  EXPECT_EQ((Effects{notice, "running? native.hybrid", LogEffect('I', Yellow("App [hybrid] is stopped."))}),
            OwnEffects());
}

TEST_F(StatusTest, AsksTheServiceAboutAnAndroidApplication) {
  fake_platform::SetRunningApps({{"kelvo.android", 3}, {"native.android", 3}});
  for (const std::string value : {"0", "1", "5", "-9"}) {
    fake_platform::Clear();
    service_->AnswerTo("get_android_app_status", {Answer::kReply, "(" + value + ",)"});
    // By the name that was given, also where the catalogue has another.
    ASSERT_EQ(0, nuv_get_app_status("kelvo.android", &status_));
    EXPECT_EQ(value, std::to_string(status_));
    EXPECT_EQ((Effects{LogEffect('I', Yellow("Get android app [kelvo.android] status.")),
                       "call get_android_app_status ('kelvo.android',)",
                       LogEffect('I', Yellow("kelvo.android running status:" + value + "."))}),
              OwnEffects());
  }
}

TEST_F(StatusTest, LeavesTheStatusAloneWhereTheServiceCannotTell) {
  const Effects expected = {LogEffect('I', Yellow("Get android app [android] status.")),
                            "call get_android_app_status ('android',)",
                            LogEffect('E', Red("get android app status fail."))};
  for (const Answer& answer : {Answer{Answer::kError, "no"}, Answer{Answer::kReply, "('text',)"}, Answer{}}) {
    service_->AnswerTo("get_android_app_status", answer);
    fake_platform::Clear();
    EXPECT_EQ(-1, nuv_get_app_status("android", &status_));
    EXPECT_EQ(expected, OwnEffects());
  }
  bus_.Kill();
  EXPECT_EQ(-1, nuv_get_app_status("android", &status_));
  EXPECT_EQ(-77, status_);
}

TEST_F(StatusTest, FailsForAnUnknownIdAndANullStatus) {
  database_.Add("removed", {{"install_state", 2}});
  for (const char* id : {"nobody", "", "removed"}) {
    fake_platform::Clear();
    EXPECT_EQ(-1, nuv_get_app_status(id, &status_));
    EXPECT_EQ(Effects{kInfoFail}, OwnEffects());
  }
  for (const char* id : {"web", "android", "nobody"}) {
    fake_platform::Clear();
    EXPECT_EQ(-1, nuv_get_app_status(id, nullptr));
    EXPECT_EQ(Effects{kInfoFail}, OwnEffects());
  }
  EXPECT_EQ(-77, status_);
  EXPECT_TRUE(service_->Calls().empty());
}

TEST_F(StatusTest, ThrowsForANullId) {
  EXPECT_THROW(nuv_get_app_status(nullptr, &status_), std::logic_error);
}

TEST_F(StatusTest, FailsWhileTheDatabaseIsBusy) {
  LetDatabaseBeBusy();
  EXPECT_EQ(-1, nuv_get_app_status("web", &status_));
  EXPECT_EQ(kInfoFail, OwnEffects().back());
  EXPECT_EQ(0, nuv_get_app_status("web", &status_));
}

TEST_F(StatusTest, AsksForAnAndroidApplicationByItself) {
  service_->AnswerTo("get_android_app_status", {Answer::kReply, "(4,)"});
  EXPECT_EQ(0, nuv_get_android_app_status_internal("anything", status_));
  EXPECT_EQ(4, status_);
  EXPECT_EQ(Effects{"call get_android_app_status ('anything',)"}, OwnEffects());
  fake_platform::Clear();
  EXPECT_EQ(-1, nuv_get_android_app_status_internal(nullptr, status_));
  EXPECT_EQ(Effects{kNullParameter}, OwnEffects());
  EXPECT_EQ(4, status_);
}

TEST_F(StatusTest, TakesTheLockOfTheInnerSideOnly) {
  const auto ask = [this] { EXPECT_EQ(0, nuv_get_app_status("web", &status_)); };
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, ask));
  EXPECT_TRUE(TakesMutex(g_inner_Mute, ask));
}

TEST_F(StatusTest, AnswersManyThreads) {
  fake_platform::SetRunningApps({{"kelvo.web", 3}});
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int n = 0; n < 10; ++n) {
        int status = 0;
        EXPECT_EQ(0, nuv_get_app_status("web", &status));
        EXPECT_EQ(1, status);
        EXPECT_EQ("web", nuv_get_showing_appid());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace

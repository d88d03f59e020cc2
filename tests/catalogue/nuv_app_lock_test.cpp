// Which functions of the catalogue wait for a launch that another thread has in flight.
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>

#include <atomic>
#include <functional>
#include <future>

#include "app_database.h"
#include "held_mutex.h"
#include "launch_test.h"

namespace {

class LookupDuringLaunch : public LaunchTest {
 protected:
  void SetUp() override {
    fake_platform::SetDatabaseDirectory(database_.directory());
    database_.Add("app", {{"run_title", "clock"}, {"is_lock", 1}, {"reserved_tinyint_1", 0}});
    database_.AddConfig("RESERVED_27", "group:app");
    WarmUp();
    service_->Before("launch_app", [this](const RecordedCall&) {
      in_flight_ = true;
      WaitUntil([this] { return answer_.load(); });
    });
    launch_ = std::async(std::launch::async, [] { return nuv_launch_app("app", nullptr, nullptr, nullptr); });
    ASSERT_TRUE(WaitUntil([this] { return in_flight_.load(); }));
  }

  void TearDown() override { EndLaunch(); }

  void EndLaunch() {
    answer_ = true;
    if (launch_.valid()) {
      EXPECT_EQ(0, launch_.get());
    }
  }

  // The result of the call, which is to end before the launch does.
  int AtOnce(const std::function<int()>& call) {
    auto result = std::async(std::launch::async, call);
    const bool ended = result.wait_for(Milliseconds(5000)) == std::future_status::ready;
    EXPECT_TRUE(ended);
    EXPECT_FALSE(answer_);
    if (!ended) EndLaunch();
    return result.get();
  }

  // The result of the call, which is to end only after the launch.
  int AfterLaunch(const std::function<int()>& call) {
    auto result = std::async(std::launch::async, call);
    EXPECT_TRUE(WaitUntil([] { return IsWaitedFor(g_Mute); }));
    EndLaunch();
    return result.get();
  }

  AppDatabase database_;
  std::atomic<bool> in_flight_{false};
  std::atomic<bool> answer_{false};
  std::future<int> launch_;
  nuv_app_info_s info_ = {};
};

TEST_F(LookupDuringLaunch, ByIdDoesNotWait) {
  EXPECT_EQ(0, AtOnce([this] { return m_nuv_get_app_info("app", &info_); }));
}

TEST_F(LookupDuringLaunch, ByRunTitleOfTheServiceSideDoesNotWait) {
  EXPECT_EQ(0, AtOnce([this] { return GetAppInfoByRuntitle(&info_, "clock"); }));
}

TEST_F(LookupDuringLaunch, ByGroupDoesNotWait) {
  EXPECT_EQ(0, AtOnce([] {
              std::string app;
              int result = 99;
              GetAppIDFromAppGroupList("group", app, result);
              return result;
            }));
}

TEST_F(LookupDuringLaunch, CountsDoNotWait) {
  int count = 0;
  EXPECT_EQ(0, AtOnce([&] { return GetAppsTableCount(&count, "", 0, {}); }));
  EXPECT_EQ(1, count);
}

TEST_F(LookupDuringLaunch, ByRunTitleWaits) {
  EXPECT_EQ(0, AfterLaunch([this] { return nuv_get_app_info_by_runtitle("clock", &info_); }));
}

TEST_F(LookupDuringLaunch, OfTheStringTypedRecordWaits) {
  EXPECT_EQ(0, AfterLaunch([] {
              _APPS_INNER_INFO_T info;
              return GetAppInnerInfo("app", &info);
            }));
}

TEST_F(LookupDuringLaunch, ChecksWait) {
  EXPECT_EQ(0, AfterLaunch([] { return nuv_check_app_is_locked("'app'") + nuv_check_app_is_need_uninstall("'app'"); }));
}

}  // namespace

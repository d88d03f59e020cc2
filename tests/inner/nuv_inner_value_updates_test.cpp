// Setting a field by key and value: always written here, on a connection that is opened anew.
#include "inner_test.h"

namespace {

constexpr auto kVersion = static_cast<APPSINFO_UPDATE_KEY_e>(3);
const Lines kStart = {"4 [inner db] Update app [app] by key 3,value [2.0]"};

Lines End(int result) {
  return {"4 [inner db] Update DB success, ret = " + std::to_string(result)};
}

class InnerValueUpdate : public InnerTest {
 protected:
  void SetUp() override {
    InnerTest::SetUp();
    database_.Add("app", {{"version", "1.0"}});
  }
  std::string Version() { return database_.Ask("select version from widgetinfo where id = 'app'"); }
};

TEST_F(InnerValueUpdate, OpensForWritingAndWrites) {
  EXPECT_EQ(0, nuv_inner_update_app_by_key_value("app", kVersion, "2.0"));
  EXPECT_EQ("2.0", Version());
  EXPECT_EQ("read-write", Mode());
  EXPECT_EQ(Join({kStart, kConnected, {"4 Start"}, kAlreadyConnected, kPrepared, kDone, End(0)}), LogLines());
}

TEST_F(InnerValueUpdate, OpensAnewWhateverTheModeWas) {
  nuv_db_ro_exchange();
  Forget();
  EXPECT_EQ(0, nuv_inner_update_app_by_key_value("app", kVersion, "2.0"));
  EXPECT_EQ(1, g_db_type);
  EXPECT_EQ(0, nuv_inner_update_app_by_key_value("app", kVersion, "3.0"));
  EXPECT_EQ("3.0", Version());
  EXPECT_EQ((std::vector<int>{kFlagsReadWrite, kFlagsReadWrite}), Flags());
  EXPECT_EQ(1, sqlite_faults::LiveConnections());
}

TEST_F(InnerValueUpdate, IsRefusedWhilePackagesAreRepaired) {
  fake_platform::SetRepairMarker(true);
  EXPECT_EQ(-1, nuv_inner_update_app_by_key_value("app", kVersion, "2.0"));
  EXPECT_EQ(Join({kStart, kRecovering}), LogLines());
  EXPECT_TRUE(Flags().empty());
}

TEST_F(InnerValueUpdate, NeedsAnId) {
  EXPECT_EQ(-1, nuv_inner_update_app_by_key_value("", kVersion, "2.0"));
  EXPECT_EQ((Lines{"4 [inner db] Update app [] by key 3,value [2.0]", "6 " + Red("Appid is empty")}), LogLines());
  EXPECT_TRUE(Flags().empty());
}

TEST_F(InnerValueUpdate, TextsEndAtTheirFirstZeroByte) {
  EXPECT_EQ(-1, nuv_inner_update_app_by_key_value(std::string("\0z", 2), kVersion, "2.0"));
  EXPECT_EQ((Lines{"4 [inner db] Update app [] by key 3,value [2.0]", "6 " + Red("Appid is empty")}), LogLines());
  EXPECT_TRUE(Flags().empty());
  constexpr auto kAitIds = static_cast<APPSINFO_UPDATE_KEY_e>(1);
  EXPECT_EQ(0, nuv_inner_update_app_by_key_value(std::string("app\0z", 5), kAitIds, std::string("12\0,34", 6)));
  EXPECT_EQ("12 12", database_.Ask("select ait_appid || ' ' || ait_orgid from widgetinfo where id = 'app'"));
}

TEST_F(InnerValueUpdate, AnUnknownKeyFailsAfterTheReopening) {
  EXPECT_EQ(-1, nuv_inner_update_app_by_key_value("app", static_cast<APPSINFO_UPDATE_KEY_e>(8), "x"));
  EXPECT_EQ(Join({{"4 [inner db] Update app [app] by key 8,value [x]"},
                  kConnected,
                  {"4 Start", "6 " + Red("unknown key 8")},
                  End(-1)}),
            LogLines());
}

TEST_F(InnerValueUpdate, AnOpeningThatFailsIsTriedOnceMoreForReading) {
  fake_platform::SetDatabaseDirectory(directory_.path());
  EXPECT_EQ(-1, nuv_inner_update_app_by_key_value("app", kVersion, "2.0"));
  const Lines failed = {"4 Failed to connect to DB : unable to open database file",
                        CannotOpen(directory_.path() + "/.corvane.db"), "4 Close DB "};
  EXPECT_EQ(Join({kStart, failed, {"4 Start"}, failed, kFailedToPrepare, End(-1)}), LogLines());
  EXPECT_EQ((std::vector<int>{kFlagsReadWrite, kFlagsReadOnly}), Flags());
  EXPECT_EQ(0, g_db_type);
}

TEST_F(InnerValueUpdate, ABusyDatabaseGivesMinusTwo) {
  const auto locker = LockDatabase();
  EXPECT_EQ(-2, nuv_inner_update_app_by_key_value("app", kVersion, "2.0"));
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
  EXPECT_EQ(End(-2), Lines{LogLines().back()});
}

TEST_F(InnerValueUpdate, ReopensBeforeItWaitsForTheMutex) {
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [] { nuv_inner_update_app_by_key_value("app", kVersion, "1.5"); }));
  Forget();
  std::atomic<bool> ended{false};
  g_inner_Mute.lock();
  std::thread thread([&] {
    EXPECT_EQ(0, nuv_inner_update_app_by_key_value("app", kVersion, "2.0"));
    ended = true;
  });
  EXPECT_TRUE(WaitUntil([] { return LogLines() == Join({kStart, kConnected, {"4 Start"}}); }));
  EXPECT_FALSE(WaitUntil([&] { return ended.load(); }, Milliseconds(100)));
  EXPECT_EQ("1.5", Version());
  g_inner_Mute.unlock();
  thread.join();
  EXPECT_EQ("2.0", Version());
}

TEST_F(InnerValueUpdate, WritesAlthoughAnotherThreadSwitchedBackWhileItWaitedForTheMutex) {
  int result = -1;
  g_inner_Mute.lock();
  std::thread thread([&] { result = nuv_inner_update_app_by_key_value("app", kVersion, "2.0"); });
  EXPECT_TRUE(WaitUntil([] { return LogLines() == Join({kStart, kConnected, {"4 Start"}}); }));
  nuv_db_ro_exchange();
  Forget();
  g_inner_Mute.unlock();
  thread.join();
  EXPECT_EQ(0, result);
  EXPECT_EQ("2.0", Version());
  EXPECT_EQ(1, g_db_type);
  EXPECT_EQ(Join({kConnected, {"4 " + Yellow("[inner db]connect rw db")}, kAlreadyConnected, kPrepared, kDone, End(0)}),
            LogLines());
}

}  // namespace

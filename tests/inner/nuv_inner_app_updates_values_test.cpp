// Setting a field by key and value: always written here, on a connection that is opened anew.
#include "inner_test.h"

namespace {

constexpr auto kVersion = static_cast<APPSINFO_UPDATE_KEY_e>(3);
const LogLines kStart = {"I [inner db] Update app [app] by key 3,value [2.0]"};

LogLines End(int result) {
  return {"I [inner db] Update DB success, ret = " + std::to_string(result)};
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
  EXPECT_EQ(Join({kStart, kConnected, {"I Start"}, kAlreadyConnected, kPrepared, kDone, End(0)}), LogSoFar());
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
  EXPECT_EQ(Join({kStart, kRecovering}), LogSoFar());
  EXPECT_TRUE(Flags().empty());
}

TEST_F(InnerValueUpdate, NeedsAnId) {
  EXPECT_EQ(-1, nuv_inner_update_app_by_key_value("", kVersion, "2.0"));
  EXPECT_EQ((LogLines{"I [inner db] Update app [] by key 3,value [2.0]", "E " + Red("Appid is empty")}), LogSoFar());
  EXPECT_TRUE(Flags().empty());
}

TEST_F(InnerValueUpdate, TextsEndAtTheirFirstZeroByte) {
  EXPECT_EQ(-1, nuv_inner_update_app_by_key_value(std::string("\0z", 2), kVersion, "2.0"));
  EXPECT_EQ((LogLines{"I [inner db] Update app [] by key 3,value [2.0]", "E " + Red("Appid is empty")}), LogSoFar());
  EXPECT_TRUE(Flags().empty());
  constexpr auto kAitIds = static_cast<APPSINFO_UPDATE_KEY_e>(1);
  EXPECT_EQ(0, nuv_inner_update_app_by_key_value(std::string("app\0z", 5), kAitIds, std::string("12\0,34", 6)));
  EXPECT_EQ("12 12", database_.Ask("select ait_appid || ' ' || ait_orgid from widgetinfo where id = 'app'"));
}

TEST_F(InnerValueUpdate, AnUnknownKeyFailsAfterTheReopening) {
  EXPECT_EQ(-1, nuv_inner_update_app_by_key_value("app", static_cast<APPSINFO_UPDATE_KEY_e>(8), "x"));
  EXPECT_EQ(Join({{"I [inner db] Update app [app] by key 8,value [x]"},
                  kConnected,
                  {"I Start", "E " + Red("unknown key 8")},
                  End(-1)}),
            LogSoFar());
}

TEST_F(InnerValueUpdate, AnOpeningThatFailsIsTriedOnceMoreForReading) {
  fake_platform::SetDatabaseDirectory(directory_.path());
  EXPECT_EQ(-1, nuv_inner_update_app_by_key_value("app", kVersion, "2.0"));
  const LogLines failed = {"I Failed to connect to DB : unable to open database file",
                           CannotOpen(directory_.path() + "/.corvane.db"), "I Close DB "};
  EXPECT_EQ(Join({kStart, failed, {"I Start"}, failed, kFailedToPrepare, End(-1)}), LogSoFar());
  EXPECT_EQ((std::vector<int>{kFlagsReadWrite, kFlagsReadOnly}), Flags());
  EXPECT_EQ(0, g_db_type);
}

TEST_F(InnerValueUpdate, ABusyDatabaseGivesMinusTwo) {
  const auto locker = LockDatabase();
  EXPECT_EQ(-2, nuv_inner_update_app_by_key_value("app", kVersion, "2.0"));
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
  EXPECT_EQ(End(-2), LogLines{LogSoFar().back()});
}

TEST_F(InnerValueUpdate, ReopensBeforeItWaitsForTheMutex) {
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [] { nuv_inner_update_app_by_key_value("app", kVersion, "1.5"); }));
  Forget();
  g_inner_Mute.lock();
  std::thread thread([] { EXPECT_EQ(0, nuv_inner_update_app_by_key_value("app", kVersion, "2.0")); });
  EXPECT_TRUE(WaitUntil([] { return IsWaitedFor(g_inner_Mute); }));
  EXPECT_EQ(Join({kStart, kConnected, {"I Start"}}), LogSoFar());
  EXPECT_EQ("1.5", Version());
  g_inner_Mute.unlock();
  thread.join();
  EXPECT_EQ("2.0", Version());
}

TEST_F(InnerValueUpdate, WritesAlthoughAnotherThreadSwitchedBackWhileItWaitedForTheMutex) {
  int result = -1;
  g_inner_Mute.lock();
  std::thread thread([&] { result = nuv_inner_update_app_by_key_value("app", kVersion, "2.0"); });
  EXPECT_TRUE(WaitUntil([] { return LogSoFar() == Join({kStart, kConnected, {"I Start"}}); }));
  nuv_db_ro_exchange();
  Forget();
  g_inner_Mute.unlock();
  thread.join();
  EXPECT_EQ(0, result);
  EXPECT_EQ("2.0", Version());
  EXPECT_EQ(1, g_db_type);
  EXPECT_EQ(Join({kConnected, {"I " + Yellow("[inner db]connect rw db")}, kAlreadyConnected, kPrepared, kDone, End(0)}),
            LogSoFar());
}

TEST_F(InnerValueUpdate, OpensAnewInATurn) {
  EXPECT_EQ(std::vector<bool>{false}, AtLine(kConnected.front(), TurnIsFree, [] {
              EXPECT_EQ(0, nuv_inner_update_app_by_key_value("app", kVersion, "2.0"));
            }));
  EXPECT_TRUE(TurnIsFree());
}

// Another thread has switched back in the meantime; none could do so again before the write.
TEST_F(InnerValueUpdate, SwitchesAndWritesInOneTurn) {
  g_inner_Mute.lock();
  std::thread thread([] {
    EXPECT_EQ(std::vector<bool>{true}, AtLine("I " + Yellow("[inner db]connect rw db"), TurnGoesOn, [] {
                EXPECT_EQ(0, nuv_inner_update_app_by_key_value("app", kVersion, "2.0"));
              }));
  });
  EXPECT_TRUE(WaitUntil([] { return LogSoFar() == Join({kStart, kConnected, {"I Start"}}); }));
  nuv_db_ro_exchange();
  g_inner_Mute.unlock();
  thread.join();
  EXPECT_EQ("2.0", Version());
}

}  // namespace

// Opening the inner side's connection and switching it, as callers see it.
#include "nuv_inner_db_api/nuv_inner_db.h"

#include "inner_test.h"

namespace {

const LogLines kToReadWrite = {"I " + Yellow("[inner db]connect rw db")};
const LogLines kToReadOnly = {"I " + Yellow("[inner db]connect ro db")};
const LogLines kIsReadWrite = {"I " + Yellow("[inner db]connected ro db")};
const LogLines kIsReadOnly = {"I " + Yellow("[inner db]connected rw db")};

class InnerDb : public InnerTest {
 protected:
  void LoseFile() { fake_platform::SetDatabaseDirectory(directory_.path()); }
  LogLines FailedOpening() {
    return {"I Failed to connect to DB : unable to open database file", CannotOpen(directory_.path() + "/.corvane.db"),
            "I Close DB "};
  }
  void RestoreFile() { fake_platform::SetDatabaseDirectory(database_.directory()); }
};

TEST_F(InnerDb, InitOpensForReadingAndWriting) {
  EXPECT_EQ(0, nuv_inner_db_init());
  EXPECT_EQ("read-write", Mode());
  EXPECT_EQ(1, g_db_type);
  EXPECT_EQ(std::vector<int>{kFlagsReadWrite}, Flags());
  EXPECT_FALSE(sqlite_faults::Openings()[0].with_vfs);
  EXPECT_EQ(Join({{"I DB init"}, kConnected, {"E " + Yellow("success to open nuv db")}}), LogSoFar());
  EXPECT_EQ(0u, fake_platform::Log()[0].prefix.find("NuvClient nuv_inner_db.cpp: nuv_inner_db_init("));
}

TEST_F(InnerDb, InitFailsWithoutAFile) {
  LoseFile();
  EXPECT_EQ(-1, nuv_inner_db_init());
  EXPECT_EQ("closed", Mode());
  EXPECT_EQ(Join({{"I DB init"}, FailedOpening(), {"E " + Red("Failed to open nuv db")}}), LogSoFar());
  RestoreFile();
  EXPECT_EQ(0, nuv_inner_db_init());
}

TEST_F(InnerDb, InitLeavesAnOpenConnectionAsItIs) {
  nuv_db_ro_exchange();
  Forget();
  EXPECT_EQ(0, nuv_inner_db_init());
  EXPECT_EQ("read-only", Mode());
  EXPECT_EQ(0, g_db_type);
  EXPECT_TRUE(Flags().empty());
  EXPECT_EQ(Join({{"I DB init"}, kAlreadyConnected, {"E " + Yellow("success to open nuv db")}}), LogSoFar());
}

TEST_F(InnerDb, InitAndTheExchangesDoNotAskForTheRepairMarker) {
  fake_platform::SetRepairMarker(true);
  EXPECT_EQ(0, nuv_inner_db_init());
  nuv_db_ro_exchange();
  EXPECT_EQ("read-only", Mode());
  nuv_db_rw_exchange();
  EXPECT_EQ("read-write", Mode());
}

TEST_F(InnerDb, TheRepairMarkerIsAFile) {
  EXPECT_FALSE(InnerCheckPkgmgrRecovering());
  fake_platform::SetRepairMarker(true);
  EXPECT_TRUE(InnerCheckPkgmgrRecovering());
}

TEST_F(InnerDb, BeforeAnyOpeningOnlyTheReadOnlyExchangeOpens) {
  nuv_db_rw_exchange();
  EXPECT_EQ("closed", Mode());
  EXPECT_EQ(kIsReadWrite, LogSoFar());
  Forget();
  nuv_db_ro_exchange();
  EXPECT_EQ("read-only", Mode());
  EXPECT_EQ(0, g_db_type);
  EXPECT_EQ(Join({kConnected, kToReadOnly}), LogSoFar());
  EXPECT_EQ(std::vector<int>{kFlagsReadOnly}, Flags());
}

TEST_F(InnerDb, AfterAReadWriteExchangeThatDidNothingAQueryOpensInItsOwnMode) {
  nuv_db_rw_exchange();
  _APPSINFO_T info;
  EXPECT_EQ(-1, nuv_inner_get_app_info_by_id("none", info, false));
  EXPECT_EQ("read-only", Mode());
  EXPECT_EQ(0, g_db_type);
}

TEST_F(InnerDb, ExchangingTwiceReopensOnce) {
  nuv_db_ro_exchange();
  Forget();
  nuv_db_rw_exchange();
  EXPECT_EQ(Join({kConnected, kToReadWrite}), LogSoFar());
  nuv_db_rw_exchange();
  EXPECT_EQ(Join({kConnected, kToReadWrite, kIsReadWrite}), LogSoFar());
  EXPECT_EQ(std::vector<int>{kFlagsReadWrite}, Flags());
  EXPECT_EQ("read-write", Mode());
  Forget();
  nuv_db_ro_exchange();
  nuv_db_ro_exchange();
  EXPECT_EQ(Join({kConnected, kToReadOnly, kIsReadOnly}), LogSoFar());
  EXPECT_EQ(std::vector<int>{kFlagsReadOnly}, Flags());
  EXPECT_EQ(1, sqlite_faults::LiveConnections());
}

TEST_F(InnerDb, AnExchangeThatCannotOpenKeepsTheModeItTried) {
  ASSERT_EQ(0, nuv_inner_db_init());
  LoseFile();
  Forget();
  nuv_db_ro_exchange();
  EXPECT_EQ("closed", Mode());
  EXPECT_EQ(0, g_db_type);
  EXPECT_EQ(Join({FailedOpening(), kToReadOnly}), LogSoFar()) << "the result is ignored";
  Forget();
  nuv_db_rw_exchange();
  EXPECT_EQ("closed", Mode());
  EXPECT_EQ(1, g_db_type);
  EXPECT_EQ(Join({FailedOpening(), kToReadWrite}), LogSoFar());
  RestoreFile();
  nuv_db_rw_exchange();
  EXPECT_EQ("closed", Mode()) << "the mode is read-write already";
  EXPECT_EQ(0, sqlite_faults::LiveConnections());
}

TEST_F(InnerDb, AQueryTriesAgainAfterAFailedOpening) {
  database_.Add("org.kelvo.clock");
  LoseFile();
  nuv_db_ro_exchange();
  _APPSINFO_T info;
  EXPECT_EQ(-1, nuv_inner_get_app_info_by_id("org.kelvo.clock", info, false));
  RestoreFile();
  EXPECT_EQ(0, nuv_inner_get_app_info_by_id("org.kelvo.clock", info, false));
  EXPECT_EQ("read-only", Mode());
}

TEST_F(InnerDb, InitSaysThatItBeginsBeforeItWaitsForTheMutex) {
  g_inner_Mute.lock();
  std::thread thread([] { EXPECT_EQ(0, nuv_inner_db_init()); });
  EXPECT_TRUE(WaitUntil([] { return IsWaitedFor(g_inner_Mute); }));
  EXPECT_EQ(LogLines{"I DB init"}, LogSoFar());
  g_inner_Mute.unlock();
  thread.join();
}

TEST_F(InnerDb, InitWaitsForTheInnerMutexAndTheExchangesDoNot) {
  EXPECT_TRUE(TakesMutex(g_inner_Mute, [] { nuv_inner_db_init(); }));
  EXPECT_TRUE(LeavesMutexAlone(g_inner_Mute, [] {
    nuv_db_ro_exchange();
    nuv_db_rw_exchange();
  }));
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [] {
    nuv_inner_db_init();
    nuv_db_ro_exchange();
    nuv_db_rw_exchange();
  }));
}

}  // namespace

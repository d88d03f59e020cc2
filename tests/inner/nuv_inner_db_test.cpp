// Opening the inner side's connection and switching it, as callers see it.
#include "nuv_inner_db_api/nuv_inner_db.h"

#include "inner_test.h"

namespace {

const Lines kToReadWrite = {"4 " + Yellow("[inner db]connect rw db")};
const Lines kToReadOnly = {"4 " + Yellow("[inner db]connect ro db")};
const Lines kIsReadWrite = {"4 " + Yellow("[inner db]connected ro db")};
const Lines kIsReadOnly = {"4 " + Yellow("[inner db]connected rw db")};

class InnerDb : public InnerTest {
 protected:
  void LoseFile() { fake_platform::SetDatabaseDirectory(directory_.path()); }
  Lines FailedOpening() {
    return {"4 Failed to connect to DB : unable to open database file", CannotOpen(directory_.path() + "/.corvane.db"),
            "4 Close DB "};
  }
  void RestoreFile() { fake_platform::SetDatabaseDirectory(database_.directory()); }
};

TEST_F(InnerDb, InitOpensForReadingAndWriting) {
  EXPECT_EQ(0, nuv_inner_db_init());
  EXPECT_EQ("read-write", Mode());
  EXPECT_EQ(1, g_db_type);
  EXPECT_EQ(std::vector<int>{kFlagsReadWrite}, Flags());
  EXPECT_FALSE(sqlite_faults::Openings()[0].with_vfs);
  EXPECT_EQ(Join({{"4 DB init"}, kConnected, {"6 " + Yellow("success to open nuv db")}}), LogLines());
  EXPECT_EQ(0u, fake_platform::Log()[0].prefix.find("NuvClient nuv_inner_db.cpp: nuv_inner_db_init("));
}

TEST_F(InnerDb, InitFailsWithoutAFile) {
  LoseFile();
  EXPECT_EQ(-1, nuv_inner_db_init());
  EXPECT_EQ("closed", Mode());
  EXPECT_EQ(Join({{"4 DB init"}, FailedOpening(), {"6 " + Red("Failed to open nuv db")}}), LogLines());
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
  EXPECT_EQ(Join({{"4 DB init"}, kAlreadyConnected, {"6 " + Yellow("success to open nuv db")}}), LogLines());
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
  EXPECT_EQ(kIsReadWrite, LogLines());
  Forget();
  nuv_db_ro_exchange();
  EXPECT_EQ("read-only", Mode());
  EXPECT_EQ(0, g_db_type);
  EXPECT_EQ(Join({kConnected, kToReadOnly}), LogLines());
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
  EXPECT_EQ(Join({kConnected, kToReadWrite}), LogLines());
  nuv_db_rw_exchange();
  EXPECT_EQ(Join({kConnected, kToReadWrite, kIsReadWrite}), LogLines());
  EXPECT_EQ(std::vector<int>{kFlagsReadWrite}, Flags());
  EXPECT_EQ("read-write", Mode());
  Forget();
  nuv_db_ro_exchange();
  nuv_db_ro_exchange();
  EXPECT_EQ(Join({kConnected, kToReadOnly, kIsReadOnly}), LogLines());
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
  EXPECT_EQ(Join({FailedOpening(), kToReadOnly}), LogLines()) << "the result is ignored";
  Forget();
  nuv_db_rw_exchange();
  EXPECT_EQ("closed", Mode());
  EXPECT_EQ(1, g_db_type);
  EXPECT_EQ(Join({FailedOpening(), kToReadWrite}), LogLines());
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

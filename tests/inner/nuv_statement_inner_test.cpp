// The inner side's one statement: prepare, step, and the values that go in and out of it.
#include "inner_test.h"

namespace {

class InnerStatements : public InnerTest {
 protected:
  static void Finish() {
    while (g_pStmt_Inner != nullptr && Step_Inner() == SQLITE_ROW) {
    }
  }
};

TEST_F(InnerStatements, PreparingOpensInTheModeAskedFor) {
  for (const DB_OPEN_TYPE mode : {kReadWrite, kReadOnly}) {
    Forget();
    EXPECT_EQ(0, Prepare_Inner("select id from widgetinfo", mode));
    EXPECT_NE(nullptr, g_pStmt_Inner);
    EXPECT_EQ(mode == kReadWrite ? "read-write" : "read-only", Mode());
    EXPECT_EQ(Join({kConnected, kPrepared}), LogSoFar());
    EXPECT_EQ(LogLines{"select id from widgetinfo"}, sqlite_faults::Prepared());
    Finish();
    DisConnect_Inner();
  }
}

TEST_F(InnerStatements, PreparingKeepsTheModeOfAnOpenConnection) {
  ASSERT_EQ(0, Connect_Inner(kReadWrite));
  Forget();
  EXPECT_EQ(0, Prepare_Inner("select id from widgetinfo", kReadOnly));
  EXPECT_EQ("read-write", Mode());
  EXPECT_EQ(1, g_db_type);
  EXPECT_TRUE(Flags().empty());
  EXPECT_EQ(Join({kAlreadyConnected, kPrepared}), LogSoFar());
  Finish();
}

TEST_F(InnerStatements, PreparingDropsWhatTheStatementWas) {
  ASSERT_EQ(0, Prepare_Inner("select id from widgetinfo", kReadOnly));
  sqlite3_stmt* dropped = g_pStmt_Inner;
  ASSERT_EQ(0, Prepare_Inner("select title from widgetinfo", kReadOnly));
  EXPECT_NE(dropped, g_pStmt_Inner);
  EXPECT_EQ(2, sqlite_faults::LiveStatements()) << "it is not finalized";
  sqlite3_finalize(dropped);
  Finish();
}

TEST_F(InnerStatements, PreparingFailsWhereOpeningFails) {
  fake_platform::SetDatabaseDirectory(directory_.path());
  EXPECT_EQ(-1, Prepare_Inner("select id from widgetinfo", kReadWrite));
  EXPECT_EQ(nullptr, g_pStmt_Inner);
  EXPECT_TRUE(sqlite_faults::Prepared().empty());
  EXPECT_EQ((LogLines{"I Failed to connect to DB : unable to open database file",
                      CannotOpen(directory_.path() + "/.corvane.db"), "I Close DB "}),
            LogSoFar());
}

TEST_F(InnerStatements, AWrongStatementIsAnError) {
  EXPECT_EQ(-1, Prepare_Inner("select id from nowhere", kReadOnly));
  EXPECT_EQ(nullptr, g_pStmt_Inner);
  EXPECT_EQ(Join({kConnected,
                  {"I unknow type 1", "E " + Red("SQLite: no such table: nowhere"), "E " + Yellow("End,ret = -1")}}),
            LogSoFar());
}

TEST_F(InnerStatements, ABusyPrepareIsTriedFiftyTimes) {
  sqlite_faults::prepare_codes = kBusyForGood;
  EXPECT_EQ(-2, Prepare_Inner("select id from widgetinfo", kReadOnly));
  EXPECT_EQ(nullptr, g_pStmt_Inner);
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
  EXPECT_EQ(50u, sqlite_faults::Prepared().size());
  EXPECT_EQ(Join({kConnected, kPrepareBusy}), LogSoFar());
}

TEST_F(InnerStatements, TheFiftiethPrepareMaySucceed) {
  sqlite_faults::prepare_codes = std::deque<int>(49, SQLITE_BUSY);
  EXPECT_EQ(0, Prepare_Inner("select id from widgetinfo", kReadOnly));
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
  Finish();
}

TEST_F(InnerStatements, ALockOfAnotherProcessKeepsAPrepareBusy) {
  const auto locker = LockDatabase();
  EXPECT_EQ(-2, Prepare_Inner("select id from widgetinfo", kReadOnly));
  EXPECT_EQ(nullptr, g_pStmt_Inner);
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
  EXPECT_EQ(50u, sqlite_faults::Prepared().size());
}

TEST_F(InnerStatements, ALockOfAnotherProcessKeepsAStepBusy) {
  ASSERT_EQ(0, Prepare_Inner("select id from widgetinfo", kReadOnly));
  const auto locker = LockDatabase();
  Forget();
  EXPECT_EQ(SQLITE_BUSY, Step_Inner());
  EXPECT_EQ(nullptr, g_pStmt_Inner);
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
  EXPECT_EQ(kStepBusy, LogSoFar());
}

TEST_F(InnerStatements, TheWaitEndsWithTheLock) {
  ASSERT_EQ(0, Prepare_Inner("select id from widgetinfo", kReadOnly));
  const auto locker = LockDatabase();
  fake_platform::OnEffect([&](const std::string&) {
    if (fake_platform::Effects().size() == 3) locker->KillAndWait();
  });
  EXPECT_EQ(SQLITE_DONE, Step_Inner());
  fake_platform::OnEffect(nullptr);
  EXPECT_EQ((LogLines{"sleep 1", "sleep 1", "sleep 1"}), fake_platform::Effects());
}

TEST_F(InnerStatements, AStatementThatVanishesDuringTheWaitEndsIt) {
  ASSERT_EQ(0, Prepare_Inner("select id from widgetinfo", kReadOnly));
  sqlite_faults::step_codes = kBusyForGood;
  fake_platform::OnEffect([](const std::string&) {
    sqlite3_finalize(g_pStmt_Inner);
    g_pStmt_Inner = nullptr;
  });
  fake_platform::Clear();
  EXPECT_EQ(SQLITE_BUSY, Step_Inner());
  fake_platform::OnEffect(nullptr);
  EXPECT_EQ((LogLines{"I Step start ", "I step return SQLITE_BUSY", "I " + Yellow("retry step"),
                      "E " + Red("g_pStmt_Inner is NULL")}),
            LogSoFar());
}

TEST_F(InnerStatements, SteppingNeedsAStatement) {
  EXPECT_EQ(1, Step_Inner());
  EXPECT_EQ((LogLines{"I Step start ", "E " + Red("g_pStmt_Inner is NULL")}), LogSoFar());
}

TEST_F(InnerStatements, StepsToTheEndAndFinalizes) {
  database_.AddMany(2);
  ASSERT_EQ(0, Prepare_Inner("select id from widgetinfo", kReadOnly));
  Forget();
  EXPECT_EQ(100, Step_Inner());
  EXPECT_NE(nullptr, g_pStmt_Inner);
  EXPECT_EQ(100, Step_Inner());
  EXPECT_EQ(101, Step_Inner());
  EXPECT_EQ(nullptr, g_pStmt_Inner);
  EXPECT_EQ(Join({kRow, kRow, kDone}), LogSoFar());
}

TEST_F(InnerStatements, AnyOtherCodeEndsTheStatement) {
  ASSERT_EQ(0, Connect_Inner(kReadOnly));
  ASSERT_EQ(0, Prepare_Inner("update widgetinfo set title = 'x'", kReadOnly));
  Forget();
  EXPECT_EQ(SQLITE_READONLY, Step_Inner());
  EXPECT_EQ(nullptr, g_pStmt_Inner);
  EXPECT_EQ((LogLines{"I Step start ", "I unknown type 8", "E " + Red("SQLite: attempt to write a readonly database"),
                      "I finalize g_pStmt_Inner"}),
            LogSoFar());
}

TEST_F(InnerStatements, BindsByPositionAndType) {
  std::vector<_NUVDB_INNER_BIND_T> binds;
  save_inner_db_bind(binds, std::string("text"));
  save_inner_db_bind(binds, -7);
  ASSERT_EQ(2u, binds.size());
  EXPECT_EQ(1, binds[0].type);
  EXPECT_EQ("text", binds[0].text);
  EXPECT_EQ(0, binds[0].value);
  EXPECT_EQ(2, binds[1].type);
  EXPECT_EQ("", binds[1].text);
  EXPECT_EQ(-7, binds[1].value);
  for (const int type : {0, 3, -1}) binds.push_back({type, "x", 5});
  save_inner_db_bind(binds, std::string());
  ASSERT_EQ(
      0, Prepare_Inner("select typeof(?1)||?1, typeof(?2)||?2, coalesce(?3,?4,?5,'null'), typeof(?6)||?6", kReadOnly));
  nuv_inner_bind_db(binds);
  ASSERT_EQ(SQLITE_ROW, Step_Inner());
  std::string out;
  unsigned column = 0;
  for (const char* expected : {"texttext", "integer-7", "null", "text"}) {
    GetValueByPosition(column++, out);
    EXPECT_EQ(expected, out);
  }
  Finish();
}

TEST_F(InnerStatements, ReadsTextsNumbersAndFlags) {
  ASSERT_EQ(0, Prepare_Inner("select 'text', null, -12, 2, 0, -1, ''", kReadOnly));
  ASSERT_EQ(SQLITE_ROW, Step_Inner());
  std::string text = "before";
  GetValueByPosition(0u, text);
  EXPECT_EQ("text", text);
  for (const unsigned column : {1u, 6u}) {
    text = "before";
    GetValueByPosition(column, text);
    EXPECT_EQ("", text);
  }
  int number = 5;
  GetValueByPosition(2u, number);
  EXPECT_EQ(-12, number);
  GetValueByPosition(1u, number);
  EXPECT_EQ(0, number);
  const bool expected[] = {true, false, true};
  for (unsigned i = 0; i < 3; ++i) {
    bool flag = !expected[i];
    GetValueByPosition(3 + i, flag);
    EXPECT_EQ(expected[i], flag);
  }
  Finish();
}

}  // namespace

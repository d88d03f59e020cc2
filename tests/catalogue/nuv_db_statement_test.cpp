// The one connection and the making of the current statement.
#include "nuv_db_api/nuv_db_statement.h"

#include <unistd.h>

#include <chrono>

#include "catalogue_log.h"
#include "database_test.h"
#include "nuv_db_common/nuv_statement.h"

namespace {

using sqlite_faults::LiveConnections;
using sqlite_faults::LiveStatements;
using sqlite_faults::Openings;
using sqlite_faults::Prepared;

std::string CannotOpen(const std::string& path, const std::string& words = "unable to open database file") {
  return "E " + Red("cannot open " + path + ": " + words);
}

class Connection : public DatabaseTest {};

TEST_F(Connection, IsOpenedReadOnlyWithoutMutexAndByTheDefaultVfs) {
  EXPECT_EQ(OpenedLines(database_.path()), LogOf([&] { EXPECT_EQ(0, Connect(database_.path())); }));
  ASSERT_EQ(1u, Openings().size());
  EXPECT_EQ(database_.path(), Openings()[0].path);
  EXPECT_EQ(0x48001, Openings()[0].flags);
  EXPECT_FALSE(Openings()[0].with_vfs);
  EXPECT_EQ(1, sqlite3_db_readonly(g_pConnection, "main"));
}

TEST_F(Connection, IsKeptWhateverTheNextPath) {
  ASSERT_EQ(0, Connect(database_.path()));
  sqlite3* const first = g_pConnection;
  const AppDatabase other;
  EXPECT_EQ(ConnectedLines(other.path()), LogOf([&] { EXPECT_EQ(0, Connect(other.path())); }));
  EXPECT_EQ(ConnectedLines("nowhere"), LogOf([&] { EXPECT_EQ(0, Connect("nowhere")); }));
  EXPECT_EQ(first, g_pConnection);
  EXPECT_EQ(database_.path(), sqlite3_db_filename(g_pConnection, "main"));
  EXPECT_EQ(1u, Openings().size());
}

TEST_F(Connection, NeitherCreatesAFileNorStaysHalfOpen) {
  const std::string missing = directory_ / "missing.db";
  const LogLines failed = {"I Connecting to DB start: " + missing,
                           "I Failed to connect to DB : unable to open database file", CannotOpen(missing),
                           "I Close DB "};
  EXPECT_EQ(failed, LogOf([&] { EXPECT_EQ(-1, Connect(missing)); }));
  EXPECT_NE(0, access(missing.c_str(), F_OK));
  EXPECT_EQ(nullptr, g_pConnection);
  EXPECT_EQ(0, LiveConnections());
}

TEST_F(Connection, IsTriedAgainAfterAFailure) {
  ASSERT_EQ(-1, Connect(directory_ / "missing.db"));
  EXPECT_EQ(OpenedLines(database_.path()), LogOf([&] { EXPECT_EQ(0, Connect(database_.path())); }));
  EXPECT_EQ(1, LiveConnections());
}

TEST_F(Connection, AFailureWithoutAHandleClosesNothing) {
  sqlite_faults::open_codes = {SQLITE_NOMEM};
  EXPECT_EQ((LogLines{"I Connecting to DB start: " + database_.path(), "I Failed to connect to DB : out of memory",
                      CannotOpen(database_.path(), "out of memory")}),
            LogOf([&] { EXPECT_EQ(-1, Connect(database_.path())); }));
}

TEST_F(Connection, AFailureEndsTheCurrentStatement) {
  sqlite3* own = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open(":memory:", &own));
  ASSERT_EQ(SQLITE_OK, sqlite3_prepare_v2(own, "select 1", -1, &g_pStmt, nullptr));
  const std::string missing = directory_ / "missing.db";
  EXPECT_EQ(
      (LogLines{"I Connecting to DB start: " + missing, "I Failed to connect to DB : unable to open database file",
                CannotOpen(missing), "I finalize g_pStmt ", "I Close DB "}),
      LogOf([&] { EXPECT_EQ(-1, Connect(missing)); }));
  EXPECT_EQ(nullptr, g_pStmt);
  EXPECT_EQ(nullptr, sqlite3_next_stmt(own, nullptr));
  EXPECT_EQ(SQLITE_OK, sqlite3_close(own));
}

class Preparing : public DatabaseTest {
 protected:
  void TearDown() override {
    sqlite3_finalize(g_pStmt);
    DatabaseTest::TearDown();
  }
};

TEST_F(Preparing, ConnectsFirstAndLogsItsResultAsAMilestone) {
  EXPECT_EQ(Join({OpenedLines(database_.path()), PreparedLine(0)}),
            LogOf([] { EXPECT_EQ(0, Prepare("select id from widgetinfo")); }));
  EXPECT_NE(nullptr, g_pStmt);
  EXPECT_EQ(std::vector<std::string>{"select id from widgetinfo"}, Prepared());
}

TEST_F(Preparing, MakesThePathAnewEachTime) {
  ASSERT_EQ(0, Prepare("select 1"));
  sqlite3_finalize(g_pStmt);
  fake_platform::SetDatabaseDirectory("/elsewhere/");
  EXPECT_EQ(PrepareLines("/elsewhere//.corvane.db"), LogOf([] { EXPECT_EQ(0, Prepare("select 1")); }));
}

TEST_F(Preparing, FailsWithoutALineOfItsOwnWhereTheConnectionFails) {
  fake_platform::SetDatabaseDirectory(directory_.path());
  EXPECT_EQ((LogLines{"I Connecting to DB start: " + directory_.path() + "/.corvane.db",
                      "I Failed to connect to DB : unable to open database file",
                      CannotOpen(directory_.path() + "/.corvane.db"), "I Close DB "}),
            LogOf([] { EXPECT_EQ(-1, Prepare("select 1")); }));
  EXPECT_EQ(nullptr, g_pStmt);
}

TEST_F(Preparing, FailsWhereThePlatformKnowsNoDirectory) {
  fake_platform::SetDatabaseDirectory(std::nullopt);
  EXPECT_EQ(LogLines{"E " + Red("path variable 24 has no value")}, LogOf([] { EXPECT_EQ(-1, Prepare("select 1")); }));
  EXPECT_TRUE(Openings().empty());
}

TEST_F(Preparing, DropsALiveStatementWithoutFinalizingIt) {
  ASSERT_EQ(0, Prepare("select 1"));
  sqlite3_stmt* const first = g_pStmt;
  EXPECT_EQ(PrepareLines(database_.path()), LogOf([] { EXPECT_EQ(0, Prepare("select 2")); }));
  EXPECT_NE(first, g_pStmt);
  EXPECT_EQ(2, LiveStatements());
  sqlite3_finalize(first);
}

TEST_F(Preparing, AFailureDropsALiveStatementToo) {
  ASSERT_EQ(0, Prepare("select 1"));
  sqlite3_stmt* const first = g_pStmt;
  EXPECT_EQ(-1, Prepare("no statement"));
  EXPECT_EQ(nullptr, g_pStmt);
  EXPECT_EQ(1, LiveStatements());
  sqlite3_finalize(first);
}

TEST_F(Preparing, AnErrorIsLoggedWithItsNumberAndWithSqlitesMessage) {
  ASSERT_EQ(0, Connect(database_.path()));
  EXPECT_EQ(Join({ConnectedLines(database_.path()),
                  {"I unknow type 1", "E " + Red("SQLite: no such table: nowhere")},
                  PreparedLine(-1)}),
            LogOf([] { EXPECT_EQ(-1, Prepare("select 1 from nowhere")); }));
  EXPECT_EQ(nullptr, g_pStmt);
}

TEST_F(Preparing, AFailureEndsTheStatementThatItLeft) {
  ASSERT_EQ(0, Prepare("select 1"));
  DatabaseSide side = {"g_pStmt", [] {}, g_pConnection, g_pStmt};
  sqlite_faults::prepare_codes = {SQLITE_CORRUPT};
  EXPECT_EQ((LogLines{"I unknow type 11", "E " + Red("SQLite: not an error"), "I finalize m_pStmt"}),
            LogOf([&] { EXPECT_EQ(-1, PrepareWithRetry(side, "select 2")); }));
  EXPECT_EQ(nullptr, g_pStmt);
  EXPECT_EQ(0, LiveStatements());

  ASSERT_EQ(0, Prepare("select 1"));
  sqlite_faults::prepare_codes = std::deque<int>(50, SQLITE_BUSY);
  EXPECT_EQ(Join({BusyPrepareLines(), {"I finalize m_pStmt"}}),
            LogOf([&] { EXPECT_EQ(-2, PrepareWithRetry(side, "select 2")); }));
  EXPECT_EQ(nullptr, g_pStmt);
}

TEST_F(Preparing, GivesUpAfterFiftyBusyAnswersAndFortyNineSleeps) {
  const auto locker = LockDatabase();
  EXPECT_EQ(Join({OpenedLines(database_.path()), BusyPrepareLines(), PreparedLine(-2)}),
            LogOf([] { EXPECT_EQ(-2, Prepare("select id from widgetinfo")); }));
  EXPECT_EQ(std::vector<std::string>(50, "select id from widgetinfo"), Prepared());
  EXPECT_EQ(std::vector<std::string>(49, "usleep 10000"), fake_platform::Effects());
  EXPECT_EQ(nullptr, g_pStmt);
}

TEST_F(Preparing, TakesAFiftiethAnswerThatIsNotBusy) {
  ASSERT_EQ(0, Connect(database_.path()));
  sqlite_faults::prepare_codes = std::deque<int>(49, SQLITE_BUSY);
  EXPECT_EQ(Join({ConnectedLines(database_.path()),
                  Times(49, {"I prepare return SQLITE_BUSY", "I " + Yellow("retry prepare")}), PreparedLine(0)}),
            LogOf([] { EXPECT_EQ(0, Prepare("select 1")); }));
  EXPECT_EQ(50u, Prepared().size());
  EXPECT_EQ(49u, fake_platform::Effects().size());
}

TEST_F(Preparing, AnErrorEndsTheTries) {
  ASSERT_EQ(0, Connect(database_.path()));
  sqlite_faults::prepare_codes = {SQLITE_BUSY, SQLITE_BUSY, SQLITE_IOERR};
  EXPECT_EQ(Join({ConnectedLines(database_.path()),
                  Times(2, {"I prepare return SQLITE_BUSY", "I " + Yellow("retry prepare")}),
                  {"I unknow type 10", "E " + Red("SQLite: not an error")},
                  PreparedLine(-1)}),
            LogOf([] { EXPECT_EQ(-1, Prepare("select 1")); }));
  EXPECT_EQ(2u, fake_platform::Effects().size());
}

TEST_F(Preparing, SucceedsOnceTheWriterIsDone) {
  const auto locker = LockDatabase();
  int sleeps = 0;
  fake_platform::OnEffect([&](const std::string&) {
    if (++sleeps == 7) locker->KillAndWait();
  });
  EXPECT_EQ(0, Prepare("select id from widgetinfo"));
  EXPECT_EQ(7, sleeps);
}

TEST_F(Preparing, WaitsForAboutHalfASecondInAll) {
  const auto locker = LockDatabase();
  fake_platform::LetSleeps(fake_platform::Sleeps::kWait);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(-2, Prepare("select id from widgetinfo"));
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, Milliseconds(490));
  EXPECT_LT(waited, Milliseconds(5000));
}

}  // namespace

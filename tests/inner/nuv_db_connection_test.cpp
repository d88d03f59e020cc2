// Opening and closing the inner side's connection.
#include <unistd.h>

#include <cstdlib>

#include "inner_test.h"

namespace {

std::atomic<bool> path_buffer_fails{false};

}  // namespace

extern "C" {

void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size) {
  if (path_buffer_fails && count * size == 128) return nullptr;
  return __real_calloc(count, size);
}

}  // extern "C"

namespace {

class InnerConnection : public InnerTest {
 protected:
  void FileMissing() {
    database_.Close();
    ASSERT_EQ(0, rename(database_.path().c_str(), (database_.path() + ".away").c_str()));
  }
};

TEST_F(InnerConnection, BeforeTheFirstOpeningTheModeIsReadWriteAndNothingIsOpen) {
  EXPECT_EQ(nullptr, g_pConnection_Inner);
  EXPECT_EQ(nullptr, g_pStmt_Inner);
  EXPECT_EQ(1, g_db_type);
}

TEST_F(InnerConnection, OpensForReadingOnly) {
  EXPECT_EQ(0, Connect_Inner(static_cast<DB_OPEN_TYPE>(0)));
  EXPECT_EQ(0, g_db_type);
  EXPECT_EQ("read-only", Mode());
  ASSERT_EQ(1u, sqlite_faults::Openings().size());
  EXPECT_EQ(database_.path(), sqlite_faults::Openings()[0].path);
  EXPECT_EQ(kFlagsReadOnly, sqlite_faults::Openings()[0].flags);
  EXPECT_FALSE(sqlite_faults::Openings()[0].with_vfs);
  EXPECT_EQ(kConnected, LogSoFar());
  EXPECT_EQ(0u, fake_platform::Log()[0].prefix.find("NuvClient nuv_db_connection.cpp: Connect_Inner("));
}

TEST_F(InnerConnection, OpensForReadingAndWriting) {
  EXPECT_EQ(0, Connect_Inner(static_cast<DB_OPEN_TYPE>(1)));
  EXPECT_EQ(1, g_db_type);
  EXPECT_EQ("read-write", Mode());
  ASSERT_EQ(1u, sqlite_faults::Openings().size());
  EXPECT_EQ(kFlagsReadWrite, sqlite_faults::Openings()[0].flags);
  EXPECT_FALSE(sqlite_faults::Openings()[0].with_vfs);
  EXPECT_EQ(kConnected, LogSoFar());
}

TEST_F(InnerConnection, AnyOtherModeIsReadOnly) {
  for (const int mode : {2, -1, 0x7fffffff}) {
    EXPECT_EQ(0, Connect_Inner(static_cast<DB_OPEN_TYPE>(mode)));
    EXPECT_EQ(0, g_db_type);
    EXPECT_EQ("read-only", Mode());
    DisConnect_Inner();
  }
  EXPECT_EQ((std::vector<int>{kFlagsReadOnly, kFlagsReadOnly, kFlagsReadOnly}), Flags());
}

TEST_F(InnerConnection, AnOpenConnectionKeepsItsMode) {
  ASSERT_EQ(0, Connect_Inner(kReadWrite));
  Forget();
  EXPECT_EQ(0, Connect_Inner(kReadOnly));
  EXPECT_EQ("read-write", Mode());
  EXPECT_EQ(1, g_db_type);
  EXPECT_EQ(kAlreadyConnected, LogSoFar());
  DisConnect_Inner();
  ASSERT_EQ(0, Connect_Inner(kReadOnly));
  EXPECT_EQ(0, Connect_Inner(kReadWrite));
  EXPECT_EQ("read-only", Mode());
  EXPECT_EQ(0, g_db_type);
}

TEST_F(InnerConnection, AMissingFileIsNeverCreated) {
  FileMissing();
  for (const DB_OPEN_TYPE mode : {kReadOnly, kReadWrite}) {
    fake_platform::Clear();
    EXPECT_EQ(-1, Connect_Inner(mode));
    EXPECT_EQ(mode, g_db_type);
    EXPECT_EQ("closed", Mode());
    EXPECT_NE(0, access(database_.path().c_str(), F_OK));
    EXPECT_EQ((LogLines{"I Failed to connect to DB : unable to open database file", CannotOpen(database_.path()),
                        "I Close DB "}),
              LogSoFar());
  }
  EXPECT_EQ(0, sqlite_faults::LiveConnections());
  EXPECT_EQ((std::vector<int>{kFlagsReadOnly, kFlagsReadWrite}), Flags());
}

TEST_F(InnerConnection, AFailedOpeningFinalizesTheStatementThatWasLeft) {
  ASSERT_EQ(0, Prepare_Inner("select id from widgetinfo", kReadOnly));
  sqlite3* left = g_pConnection_Inner;
  EXPECT_EQ(0, DisConnect_Inner());
  EXPECT_EQ(nullptr, g_pConnection_Inner);
  EXPECT_NE(nullptr, g_pStmt_Inner) << "closing finalizes nothing";
  FileMissing();
  fake_platform::Clear();
  EXPECT_EQ(-1, Connect_Inner(kReadWrite));
  EXPECT_EQ(nullptr, g_pStmt_Inner);
  EXPECT_EQ((LogLines{"I Failed to connect to DB : unable to open database file", CannotOpen(database_.path()),
                      "I finalize g_pStmt_Inner ", "I Close DB "}),
            LogSoFar());
  EXPECT_EQ(SQLITE_OK, sqlite3_close(left)) << "no statement of it is live";
}

TEST_F(InnerConnection, PreparingDropsTheStatementThatWasLeft) {
  ASSERT_EQ(0, Prepare_Inner("select id from widgetinfo", kReadOnly));
  sqlite3* left = g_pConnection_Inner;
  sqlite3_stmt* statement = g_pStmt_Inner;
  DisConnect_Inner();
  FileMissing();
  EXPECT_EQ(-1, Prepare_Inner("select id from widgetinfo", kReadOnly));
  EXPECT_EQ(nullptr, g_pStmt_Inner);
  EXPECT_EQ(statement, sqlite3_next_stmt(left, nullptr)) << "it was finalized";
  sqlite3_finalize(statement);
  EXPECT_EQ(SQLITE_OK, sqlite3_close(left));
}

TEST_F(InnerConnection, ThePathIsCutAt127CharactersWithANotice) {
  for (const size_t length : {128u, 132u}) {
    Forget();
    const std::string path = "/" + std::string(length - 13, 'd') + "/.corvane.db";
    fake_platform::SetDatabaseDirectory(path.substr(0, length - 12));
    EXPECT_EQ(-1, Connect_Inner(kReadOnly));
    const std::string cut = path.substr(0, 127);
    ASSERT_EQ(1u, sqlite_faults::Openings().size());
    EXPECT_EQ(cut, sqlite_faults::Openings()[0].path);
    EXPECT_EQ((LogLines{"E " + Red("the path of the database is cut at 127 characters: " + cut),
                        "I Failed to connect to DB : unable to open database file", CannotOpen(cut), "I Close DB "}),
              LogSoFar());
  }
}

TEST_F(InnerConnection, APathOf127CharactersIsWhole) {
  const std::string directory = "/" + std::string(114, 'd');
  fake_platform::SetDatabaseDirectory(directory);
  EXPECT_EQ(-1, Connect_Inner(kReadOnly));
  ASSERT_EQ(1u, sqlite_faults::Openings().size());
  EXPECT_EQ(directory + "/.corvane.db", sqlite_faults::Openings()[0].path);
  EXPECT_EQ((LogLines{"I Failed to connect to DB : unable to open database file",
                      CannotOpen(directory + "/.corvane.db"), "I Close DB "}),
            LogSoFar());
}

TEST_F(InnerConnection, WithoutAPathVariableNothingIsOpened) {
  fake_platform::SetDatabaseDirectory(std::nullopt);
  EXPECT_EQ(-1, Connect_Inner(kReadOnly));
  EXPECT_TRUE(sqlite_faults::Openings().empty());
  EXPECT_EQ(1, g_db_type);
  EXPECT_EQ((LogLines{"E " + Red("path variable 24 has no value")}), LogSoFar());
}

TEST_F(InnerConnection, WithoutMemoryForThePathNothingIsOpened) {
  path_buffer_fails = true;
  EXPECT_EQ(-1, Connect_Inner(kReadOnly));
  path_buffer_fails = false;
  EXPECT_TRUE(sqlite_faults::Openings().empty());
  EXPECT_EQ(1, g_db_type);
  EXPECT_EQ((LogLines{"E " + Red("malloc error")}), LogSoFar());
  EXPECT_EQ(0, Connect_Inner(kReadOnly));
}

TEST_F(InnerConnection, ClosingIsAlwaysASuccess) {
  EXPECT_EQ(0, DisConnect_Inner());
  ASSERT_EQ(0, Connect_Inner(kReadOnly));
  EXPECT_EQ(0, DisConnect_Inner());
  EXPECT_EQ("closed", Mode());
  EXPECT_EQ(0, g_db_type) << "the mode is kept";
  EXPECT_EQ(0, sqlite_faults::LiveConnections());
  EXPECT_EQ(0, DisConnect_Inner());
}

}  // namespace

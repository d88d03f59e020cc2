// Databases that are not as they should be: every call fails as documented, says why, and changes nothing.
#include <fcntl.h>
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <nuv/nuv_inner_database.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "catalogue_log.h"
#include "database_test.h"
#include "process.h"

namespace {

constexpr uid_t kNobody = 65534;

int Find(const std::string& id) {
  nuv_app_info_s info = {};
  return m_nuv_get_app_info(id.c_str(), &info);
}

int FindOnInnerSide(const std::string& id) {
  _APPSINFO_T info;
  return nuv_inner_get_app_info_by_id(id, info, true);
}

bool LoggedSqlite(const std::string& message) {
  return fake_platform::LogPriority(Red("SQLite: " + message)) == 6;
}

bool LoggedAnySqliteMessage() {
  const auto log = fake_platform::Log();
  return std::any_of(log.begin(), log.end(), [](const fake_platform::LogLine& line) {
    return line.priority == 6 && line.text.find("SQLite: ") != std::string::npos;
  });
}

class Damage : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    database_.AddMany(200);
    database_.Close();
    good_ = ReadFile(database_.path());
  }

  // Writes into the file that is there, which keeps its identity.
  void WriteInPlace(const std::string& content) const { WriteFile(database_.path(), content); }
  void TakeAway() const { ASSERT_EQ(0, rename(database_.path().c_str(), (directory_ / "kept.db").c_str())); }
  void PutBack() const { ASSERT_EQ(0, rename((directory_ / "kept.db").c_str(), database_.path().c_str())); }

  std::string good_;
};

TEST_F(Damage, AMissingFileIsNotMadeAndIsFoundOnceItIsThere) {
  TakeAway();
  EXPECT_EQ(-1, Find("app1"));
  EXPECT_EQ(4, fake_platform::LogPriority("Failed to connect to DB : unable to open database file"));
  EXPECT_NE(0, access(database_.path().c_str(), F_OK));
  PutBack();
  EXPECT_EQ(0, Find("app1"));
  EXPECT_EQ(2u, sqlite_faults::Openings().size());
}

TEST_F(Damage, AnEmptyFileHasNoTableUntilItIsFilled) {
  WriteInPlace("");
  EXPECT_EQ(-1, Find("app1"));
  EXPECT_TRUE(LoggedSqlite("no such table: widgetinfo"));
  EXPECT_EQ("", ReadFile(database_.path()));
  WriteInPlace(good_);
  EXPECT_EQ(0, Find("app1"));
}

TEST_F(Damage, ADirectoryIsNotOpenedAndTheFileInItsPlaceIs) {
  TakeAway();
  ASSERT_EQ(0, mkdir(database_.path().c_str(), 0700));
  EXPECT_EQ(-1, Find("app1"));
  EXPECT_TRUE(fake_platform::Logged("Failed to connect to DB : disk I/O error"));
  ASSERT_EQ(0, rmdir(database_.path().c_str()));
  PutBack();
  EXPECT_EQ(0, Find("app1"));
}

// A pipe would be waited for until somebody writes into it.
TEST_F(Damage, WhatIsNoFileIsNotOpenedAndTheFileInItsPlaceIs) {
  TakeAway();
  const std::string& path = database_.path();
  const std::map<std::string, std::function<int()>> things = {
      {"pipe", [&] { return mkfifo(path.c_str(), 0600); }},
      {"device", [&] { return symlink("/dev/null", path.c_str()); }},
      {"socket", [&] { return mknod(path.c_str(), S_IFSOCK | 0600, 0); }},
  };
  for (const auto& [name, make] : things) {
    SCOPED_TRACE(name);
    ASSERT_EQ(0, make());
    EXPECT_EQ(0, InChild([&] {
                if (Find("app1") != -1) return 1;
                if (fake_platform::LogPriority("Failed to connect to DB : unable to open database file") != 4) return 2;
                if (fake_platform::LogPriority(Red("cannot open " + path + ": not a regular file")) != 6) return 3;
                fake_platform::Clear();
                if (nuv_inner_db_init() != -1) return 4;
                return fake_platform::LogPriority(Red("cannot open " + path + ": not a regular file")) == 6 ? 0 : 5;
              }));
    ASSERT_EQ(0, unlink(path.c_str()));
  }
  PutBack();
  EXPECT_EQ(0, Find("app1"));
}

TEST_F(Damage, AFailedOpeningIsAnErrorWithThePathAndSqlitesWords) {
  TakeAway();
  const std::string line = Red("cannot open " + database_.path() + ": unable to open database file");
  for (int call = 0; call < 2; ++call) {
    fake_platform::Clear();
    EXPECT_EQ(-1, Find("app1"));
    const auto log = fake_platform::Log();
    EXPECT_EQ(1,
              std::count_if(log.begin(), log.end(), [&](const auto& l) { return l.priority == 6 && l.text == line; }));
  }
}

TEST_F(Damage, AnUnreadableFileIsReadOnceItMayBe) {
  ASSERT_EQ(0, chmod(database_.directory().c_str(), 0755));
  ASSERT_EQ(0, chmod(database_.path().c_str(), 0));
  const uid_t user = geteuid();
  ASSERT_EQ(0, seteuid(user == 0 ? kNobody : user));
  const bool directory_open = faccessat(AT_FDCWD, database_.directory().c_str(), X_OK, AT_EACCESS) == 0;
  const bool file_open = faccessat(AT_FDCWD, database_.path().c_str(), R_OK, AT_EACCESS) == 0;
  const int result = Find("app1");
  ASSERT_EQ(0, seteuid(user));
  if (!directory_open || file_open) GTEST_SKIP() << "nobody may not enter the directory, or may read everything";
  EXPECT_EQ(-1, result);
  EXPECT_TRUE(fake_platform::Logged("Failed to connect to DB : unable to open database file"));
  ASSERT_EQ(0, chmod(database_.path().c_str(), 0600));
  EXPECT_EQ(0, Find("app1"));
}

TEST_F(Damage, ATruncatedFileIsMalformedUntilItIsWhole) {
  for (const size_t size : {size_t{1}, size_t{100}, size_t{4096}, good_.size() / 2}) {
    SCOPED_TRACE(size);
    const std::string part = good_.substr(0, size);
    WriteInPlace(part);
    fake_platform::Clear();
    EXPECT_EQ(-1, Find("none"));
    EXPECT_TRUE(LoggedAnySqliteMessage());
    EXPECT_EQ(part, ReadFile(database_.path()));
    WriteInPlace(good_);
    EXPECT_EQ(0, Find("app1"));
  }
}

TEST_F(Damage, AFileOfSomethingElseIsNoDatabaseUntilItIsReplaced) {
  const std::string garbage(8192, 'x');
  WriteInPlace(garbage);
  EXPECT_EQ(-1, Find("app1"));
  EXPECT_TRUE(LoggedSqlite("file is not a database"));
  EXPECT_EQ(garbage, ReadFile(database_.path()));
  WriteInPlace(good_);
  EXPECT_EQ(0, Find("app1"));
}

TEST_F(Damage, AMalformedPageEndsAListAndALookup) {
  std::string bad = good_;
  bad.replace(bad.size() / 2, bad.size() - bad.size() / 2, bad.size() - bad.size() / 2, '\xff');
  WriteInPlace(bad);
  EXPECT_EQ(-1, Find("none"));
  EXPECT_TRUE(LoggedSqlite("database disk image is malformed"));
  int count = 5;
  nuv_app_info_s* list = nullptr;
  EXPECT_EQ(-1, nuv_get_key_list("is_app_available", 0, &list, &count));
  EXPECT_EQ(nullptr, list);
  EXPECT_EQ(bad, ReadFile(database_.path()));
}

TEST_F(Damage, AnOlderSchemaAnswersWhatItCan) {
  database_.Run("alter table widgetinfo drop column reserved_string_20; update widgetinfo set is_lock = 1");
  database_.Close();
  EXPECT_EQ(-1, Find("app1"));
  EXPECT_TRUE(LoggedSqlite("no such column: reserved_string_20"));
  EXPECT_EQ(0, nuv_check_app_is_locked("'app1'"));
  database_.Run("alter table widgetinfo add column reserved_string_20 text");
  EXPECT_EQ(0, Find("app1"));
}

TEST_F(Damage, ASchemaThatChangesBetweenTwoQueriesIsFollowed) {
  EXPECT_EQ(0, Find("app1"));
  database_.Run("alter table widgetinfo rename to elsewhere");
  EXPECT_EQ(-1, Find("app1"));
  EXPECT_TRUE(LoggedSqlite("no such table: widgetinfo"));
  database_.Run("alter table elsewhere rename to widgetinfo");
  EXPECT_EQ(0, Find("app1"));
}

TEST_F(Damage, AConnectionFollowsItsFileAndNotTheName) {
  EXPECT_EQ(0, Find("app1"));
  TakeAway();
  AppDatabase other;
  other.Add("new");
  other.Close();
  WriteInPlace(ReadFile(other.path()));
  EXPECT_EQ(0, Find("app1"));
  EXPECT_EQ(-1, Find("new"));
  EXPECT_EQ(0, InChild([] { return Find("new"); }));
}

TEST_F(Damage, AFileThatIsReplacedInPlaceIsReadAnew) {
  EXPECT_EQ(0, Find("app1"));
  AppDatabase other;
  other.Add("new");
  other.Close();
  WriteInPlace(ReadFile(other.path()));
  EXPECT_EQ(-1, Find("app1"));
  EXPECT_EQ(0, Find("new"));
}

// The same bytes, so that SQLite's count of changes is the same, too: what was seen in between must not stay.
TEST_F(Damage, AFileThatIsRestoredByACopyIsReadAgainWhateverWasSeenInBetween) {
  ASSERT_EQ(0, Find("app1"));
  ASSERT_EQ(0, FindOnInnerSide("app1"));
  for (const size_t size :
       {size_t{0}, size_t{1}, size_t{100}, size_t{1024}, size_t{4096}, size_t{8192}, good_.size() / 2}) {
    for (const int looks : {1, 2, 3}) {
      SCOPED_TRACE(std::to_string(size) + " bytes, seen so often: " + std::to_string(looks));
      WriteInPlace(good_.substr(0, size));
      for (int look = 0; look < looks; ++look) {
        EXPECT_EQ(-1, Find("none"));
        EXPECT_EQ(-1, FindOnInnerSide("none"));
      }
      WriteInPlace(good_);
      EXPECT_EQ(0, Find("app1"));
      EXPECT_EQ(0, FindOnInnerSide("app1"));
      EXPECT_EQ(2, sqlite_faults::LiveConnections()) << "no connection is closed for that";
    }
  }
}

TEST_F(Damage, ADeletedFileStaysReadable) {
  EXPECT_EQ(0, Find("app1"));
  ASSERT_EQ(0, unlink(database_.path().c_str()));
  EXPECT_EQ(0, Find("app1"));
}

TEST_F(Damage, AWriterThatDiedInATransactionIsNotRolledBackByReading) {
  database_.Run("pragma cache_size = 2; begin; update widgetinfo set title = id || 'a text that fills the pages'");
  const std::string half = ReadFile(database_.path());
  const std::string journal = ReadFile(database_.path() + "-journal");
  ASSERT_NE(good_, half);
  ASSERT_FALSE(journal.empty());
  TempDir crashed;
  WriteFile(crashed / ".corvane.db", half);
  WriteFile(crashed / ".corvane.db-journal", journal);
  fake_platform::SetDatabaseDirectory(crashed.path());
  EXPECT_EQ(-1, Find("app1"));
  EXPECT_TRUE(LoggedSqlite("attempt to write a readonly database"));
  EXPECT_EQ(half, ReadFile(crashed / ".corvane.db"));
  EXPECT_EQ(journal, ReadFile(crashed / ".corvane.db-journal"));

  sqlite3* service = nullptr;  // rolls back
  ASSERT_EQ(SQLITE_OK, sqlite3_open((crashed / ".corvane.db").c_str(), &service));
  EXPECT_EQ(SQLITE_OK, sqlite3_exec(service, "select * from widgetinfo", nullptr, nullptr, nullptr));
  sqlite3_close(service);
  EXPECT_EQ(0, Find("app1"));
}

class WriteAheadLog : public Damage {
 protected:
  void SetUp() override {
    Damage::SetUp();
    database_.Add("pair", {{"title", "0"}});
    database_.Close();
    writer_ = std::make_unique<Process>(
        std::vector<std::string>{NUV_TEST_DIR "/catalogue_writer", database_.path(), "wal"}, directory_.path());
    ASSERT_TRUE(WaitUntil([&] { return writer_->Output() == "writing\n"; })) << writer_->Errors();
  }

  std::string Title() {
    nuv_app_info_s info = {};
    EXPECT_EQ(0, m_nuv_get_app_info("pair", &info));
    return info.app_title;
  }

  std::unique_ptr<Process> writer_;
};

TEST_F(WriteAheadLog, IsReadWhileItIsWritten) {
  const std::string first = Title();
  EXPECT_NE("0", first);
  EXPECT_TRUE(WaitUntil([&] { return Title() != first; }));
  EXPECT_EQ(std::vector<std::string>(), fake_platform::Effects());
}

// SQLite sleeps by itself meanwhile, for a little longer each time.
TEST_F(WriteAheadLog, IsReadOnceItsIndexHasBeenWritten) {
  Title();
  writer_->KillAndWait();
  const auto locker = LockDatabase();
  const int index = open((database_.path() + "-shm").c_str(), O_RDWR | O_CLOEXEC);
  constexpr off_t kInFirstCopy = 8;  // of the header, which has two
  char byte = 0;
  ASSERT_EQ(1, pread(index, &byte, 1, kInFirstCopy));
  const char half_written = static_cast<char>(byte + 1);
  ASSERT_EQ(1, pwrite(index, &half_written, 1, kInFirstCopy));
  std::thread writing([&] {
    std::this_thread::sleep_for(std::chrono::seconds(1));
    EXPECT_EQ(1, pwrite(index, &byte, 1, kInFirstCopy));
  });
  EXPECT_NE("0", Title());
  writing.join();
  close(index);
}

TEST_F(WriteAheadLog, OfAWriterThatDiedIsReadAndKept) {
  writer_->KillAndWait();
  const std::string database = ReadFile(database_.path());
  const std::string log = ReadFile(database_.path() + "-wal");
  ASSERT_FALSE(log.empty());
  EXPECT_NE("0", Title());
  EXPECT_EQ(database, ReadFile(database_.path()));
  EXPECT_EQ(log, ReadFile(database_.path() + "-wal"));
}

}  // namespace

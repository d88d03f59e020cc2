// Databases that cannot be written, or read: the documented results, and nothing made worse.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <random>

#include "inner_test.h"
#include "scratch_mount.h"

namespace {

constexpr auto kTitle = static_cast<APPSINFO_UPDATE_KEY_e>(7);
const std::string kLargeText(200000, 'x');

class InnerDamage : public InnerTest {
 protected:
  void SetUp() override {
    InnerTest::SetUp();
    database_.Add("app", {{"use_count", 1}, {"run_title", "title"}});
  }

  // Puts the database on a file system of its own; its problem, if any.
  std::string MoveTo(std::unique_ptr<ScratchMount>& mounted, const std::string& size) {
    database_.Close();
    const std::string content = ReadFile(database_.path());
    mounted = std::make_unique<ScratchMount>(database_.directory(), size);
    if (mounted->Problem().empty()) WriteFile(database_.path(), content);
    return mounted->Problem();
  }

  std::string State() {
    return database_.Ask("select use_count || ' ' || substr(run_title, 1, 5) from widgetinfo where id = 'app'");
  }
  void ExpectUnharmed() {
    EXPECT_EQ("ok", database_.Ask("pragma integrity_check"));
    EXPECT_EQ("1 title", State());
  }

  static int Lookup() {
    _APPSINFO_T info;
    return nuv_inner_get_app_info_by_id("app", info, true);
  }

  // In a process of its own. Every write fails with the code, reading goes on: 0.
  static int OnlyReads(int code) {
    if (nuv_inner_db_init() != 0) return 1;
    fake_platform::Clear();
    if (nuv_db_update_app_by_key_value("app", kTitle, kLargeText) != -1) return 2;
    if (!fake_platform::Logged("unknown type " + std::to_string(code))) return 3;
    if (!fake_platform::Logged(Red("update app info fail"))) return 4;
    if (Lookup() != 0) return 5;
    return g_pStmt_Inner == nullptr ? 0 : 6;
  }

  std::unique_ptr<ScratchMount> mount_;  // goes before the directory that it covers
};

TEST_F(InnerDamage, AFileThatMayNotBeWrittenIsReadAndNothingElse) {
  database_.Close();
  ASSERT_EQ(0, chmod(database_.directory().c_str(), 0755));
  ASSERT_EQ(0, chmod(database_.path().c_str(), 0444));
  const int status = InChild([this] {
    // File modes do not bind the superuser.
    if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0) return 100;
    if (access(database_.path().c_str(), W_OK) == 0) return 100;
    return OnlyReads(SQLITE_READONLY);
  });
  ASSERT_EQ(0, chmod(database_.path().c_str(), 0644));
  if (status == 100) GTEST_SKIP() << "this user cannot become one that file modes bind";
  EXPECT_EQ(0, status);
  ExpectUnharmed();
}

TEST_F(InnerDamage, AReadOnlyFileSystemIsReadAndNothingElse) {
  const std::string problem = MoveTo(mount_, "1m");
  if (!problem.empty()) GTEST_SKIP() << problem;
  ASSERT_TRUE(mount_->ReadOnly(true));
  EXPECT_EQ(0, OnlyReads(SQLITE_READONLY));
  EXPECT_EQ("read-only", Mode());
  EXPECT_EQ(1, g_db_type) << "what was asked for";
  ASSERT_TRUE(mount_->ReadOnly(false));
  ExpectUnharmed();
}

TEST_F(InnerDamage, AFullDiskFailsTheWriteAndLosesNothing) {
  const std::string problem = MoveTo(mount_, "256k");
  if (!problem.empty()) GTEST_SKIP() << problem;
  const std::string filler = database_.directory() + "/filler";
  WriteFile(filler, std::string(1 << 20, 'f'));  // as far as it goes
  EXPECT_EQ(0, OnlyReads(SQLITE_FULL));
  EXPECT_EQ(-1, nuv_db_update_app_count("app"));
  EXPECT_TRUE(fake_platform::Logged(Red("SQLite: database or disk is full")));
  ASSERT_EQ(0, unlink(filler.c_str()));
  ExpectUnharmed();
  EXPECT_EQ(0, nuv_db_update_app_count("app")) << "the connection recovers by itself";
  EXPECT_EQ("2 title", State());
}

TEST_F(InnerDamage, AFileThatMayNotGrowFailsTheWriteAndLosesNothing) {
  database_.Close();
  struct stat file = {};
  ASSERT_EQ(0, stat((database_.directory() + "/.corvane.db").c_str(), &file));
  EXPECT_EQ(0, InChild([&] {
              signal(SIGXFSZ, SIG_IGN);
              const rlimit limit = {static_cast<rlim_t>(file.st_size), static_cast<rlim_t>(file.st_size)};
              if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 100;
              return OnlyReads(SQLITE_IOERR);
            }));
  ExpectUnharmed();
  ASSERT_EQ(0, nuv_inner_db_init());
  EXPECT_EQ(0, nuv_db_update_app_count("app"));
  EXPECT_EQ("2 title", State());
}

TEST_F(InnerDamage, ALockHeldForLongerThanTheTriesLosesNothing) {
  ASSERT_EQ(0, nuv_inner_db_init());
  auto locker = LockDatabase();
  EXPECT_EQ(-2, Lookup());
  EXPECT_EQ(-2, nuv_db_update_app_count("app"));
  EXPECT_EQ(-2, nuv_inner_update_app_by_key_value("app", kTitle, "other"));
  EXPECT_EQ(3 * kAllSleeps.size(), fake_platform::Effects().size());
  locker.reset();
  ExpectUnharmed();
  EXPECT_EQ(0, nuv_db_update_app_count("app"));
  EXPECT_EQ("2 title", State());
}

TEST_F(InnerDamage, AReaderThatStaysFailsTheWriteAndLosesNothing) {
  ASSERT_EQ(0, nuv_inner_db_init());
  database_.Run("begin; select count(*) from widgetinfo");
  EXPECT_EQ(-2, nuv_db_update_app_count("app"));
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
  EXPECT_EQ(1, sqlite3_get_autocommit(g_pConnection_Inner)) << "no change is left half made";
  database_.Run("commit");
  ExpectUnharmed();
}

TEST_F(InnerDamage, AWriteThatWaitedForAReaderIsMadeOnce) {
  ASSERT_EQ(0, nuv_inner_db_init());
  database_.Run("begin; select count(*) from widgetinfo");
  fake_platform::OnEffect([this](const std::string&) {
    if (fake_platform::Effects().size() == 5) database_.Run("commit");
  });
  EXPECT_EQ(0, nuv_db_update_app_count("app"));
  fake_platform::OnEffect(nullptr);
  EXPECT_EQ(5u, fake_platform::Effects().size());
  EXPECT_EQ("2 title", State());
}

TEST_F(InnerDamage, AFileThatIsNoDatabaseFailsEverything) {
  database_.Close();
  const std::string whole = ReadFile(database_.path());
  WriteFile(database_.path(), std::string(8192, 'x'));
  EXPECT_EQ(0, nuv_inner_db_init()) << "SQLite looks at the file only when it is read";
  EXPECT_EQ(-1, Lookup());
  EXPECT_TRUE(fake_platform::Logged("unknow type 26"));
  EXPECT_TRUE(fake_platform::Logged(Red("SQLite: file is not a database")));
  EXPECT_EQ(-1, nuv_db_update_app_count("app"));
  EXPECT_EQ(std::string(8192, 'x'), ReadFile(database_.path()));
  WriteFile(database_.path(), whole);
  EXPECT_EQ(0, Lookup());
  ExpectUnharmed();
}

TEST_F(InnerDamage, AnEmptyFileStaysEmpty) {
  database_.Close();
  WriteFile(database_.path(), "");
  ASSERT_EQ(0, nuv_inner_db_init());
  EXPECT_EQ(-1, Lookup());
  EXPECT_EQ(-1, nuv_inner_update_app_by_key_value("app", kTitle, "other"));
  EXPECT_EQ("", ReadFile(database_.path()));
}

TEST_F(InnerDamage, ADirectoryInItsPlaceCannotBeOpened) {
  database_.Close();
  ASSERT_EQ(0, unlink(database_.path().c_str()));
  ASSERT_EQ(0, mkdir(database_.path().c_str(), 0700));
  EXPECT_EQ(-1, nuv_inner_db_init());
  EXPECT_EQ(-1, Lookup());
  EXPECT_EQ("closed", Mode());
}

// Whatever the bytes of the file are, each function has one of its documented results and leaves no statement.
TEST_F(InnerDamage, WrongBytesInTheFileGiveDocumentedResults) {
  constexpr unsigned kSeed = 4711;
  constexpr int kFiles = 150;
  database_.AddMany(30);
  database_.Close();
  const std::string whole = ReadFile(database_.path());
  std::mt19937 random(kSeed);
  int failures = 0;
  for (int i = 0; i < kFiles && !HasFailure(); ++i) {
    SCOPED_TRACE("seed " + std::to_string(kSeed) + ", file " + std::to_string(i));
    std::string damaged = whole;
    for (int n = 0; n < 40; ++n) damaged[random() % damaged.size()] = static_cast<char>(random());
    if (i % 3 == 0) damaged.resize(random() % damaged.size());
    WriteFile(database_.path(), damaged);
    EXPECT_EQ(0, nuv_inner_db_init());
    const int looked_up = Lookup();
    EXPECT_TRUE(looked_up == 0 || looked_up == -1) << looked_up;
    _APPSINFO_T* list = nullptr;
    int count = 0;
    const int listed = nuv_inner_get_all_app_list(&list, &count);
    EXPECT_TRUE(listed == 0 || listed == -1) << listed;
    EXPECT_TRUE(listed == 0 || (list == nullptr && count == 0));
    delete[] list;
    const int counted = nuv_db_update_app_count("app7");
    EXPECT_TRUE(counted == 0 || counted == -1) << counted;
    failures += looked_up != 0 || listed != 0 || counted != 0 ? 1 : 0;
    EXPECT_EQ(0, sqlite_faults::LiveStatements());
    DisConnect_Inner();
    unlink((database_.path() + "-journal").c_str());
  }
  EXPECT_LT(10, failures) << "damage was met";
}

}  // namespace

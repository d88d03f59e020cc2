// Changes that the library writes into the database itself.
#include <ctime>

#include "faults.h"
#include "inner_test.h"

namespace {

constexpr APPSINFO_UPDATE_KEY_e Key(int value) {
  return static_cast<APPSINFO_UPDATE_KEY_e>(value);
}

const LogLines kStart = {"I Start"};
const LogLines kFail = {"E " + Red("update app info fail")};
const LogLines kSqlBusy = {"E " + Red("update app info fail:sql busy")};
const LogLines kReadOnlyError = {"I Step start ", "I unknown type 8",
                                 "E " + Red("SQLite: attempt to write a readonly database"),
                                 "I finalize g_pStmt_Inner"};

// One of the local writes of a whole row condition.
struct Write {
  const char* name;
  std::function<int(const std::string& id)> call;
  LogLines start;  // logged before the statement is prepared
  bool locks;
};
void PrintTo(const Write& write, std::ostream* out) {
  *out << write.name;
}

constexpr time_t kMarch = 1741338303;  // 2025-03-07 09:05:03 UTC

const Write kWrites[] = {
    {"ByKey", [](const std::string& id) { return nuv_db_update_app_by_key(id, Key(0)); }, {}, false},
    {"ByKeyValue", [](const std::string& id) { return nuv_db_update_app_by_key_value(id, Key(3), "2.0"); }, kStart,
     true},
    {"Count", nuv_db_update_app_count, {"I " + Yellow("time is 2025-03-07 09:05:03")}, false},
};

class InnerWrite : public InnerTest, public ::testing::WithParamInterface<Write> {
 protected:
  void SetUp() override {
    InnerTest::SetUp();
    setenv("TZ", "UTC0", 1);
    tzset();
    faults::fixed_time = kMarch;
    database_.Add("app", {{"is_updated", 1}, {"version", "1.0"}, {"use_count", 4}});
    database_.Add("other", {{"is_updated", 1}, {"version", "1.0"}, {"use_count", 4}});
  }
  std::string State(const std::string& id) {
    return database_.Ask("select is_updated || ' ' || version || ' ' || use_count from widgetinfo where id = '" + id +
                         "'");
  }
  void ExpectUnchanged() {
    EXPECT_EQ("1 1.0 4", State("app"));
    EXPECT_EQ("1 1.0 4", State("other"));
  }
};

TEST_P(InnerWrite, ChangesOneApplication) {
  ASSERT_EQ(0, nuv_inner_db_init());
  Forget();
  EXPECT_EQ(0, GetParam().call("app"));
  EXPECT_NE("1 1.0 4", State("app"));
  EXPECT_EQ("1 1.0 4", State("other"));
  EXPECT_EQ(Join({GetParam().start, kAlreadyConnected, kPrepared, kDone}), LogSoFar());
}

TEST_P(InnerWrite, NoSuchApplicationIsASuccess) {
  ASSERT_EQ(0, nuv_inner_db_init());
  EXPECT_EQ(0, GetParam().call("none"));
  EXPECT_EQ(0, GetParam().call(""));
  ExpectUnchanged();
}

TEST_P(InnerWrite, OpensForReadingOnlyWhereNothingIsOpenAndFails) {
  EXPECT_EQ(-1, GetParam().call("app"));
  EXPECT_EQ(std::vector<int>{kFlagsReadOnly}, Flags());
  EXPECT_EQ(Join({GetParam().start, kConnected, kPrepared, kReadOnlyError, kFail}), LogSoFar());
  ExpectUnchanged();
}

TEST_P(InnerWrite, FailsWhereTheDatabaseCannotBeOpened) {
  fake_platform::SetDatabaseDirectory(directory_.path());
  EXPECT_EQ(-1, GetParam().call("app"));
  EXPECT_EQ(Join({GetParam().start,
                  {"I Failed to connect to DB : unable to open database file",
                   CannotOpen(directory_.path() + "/.corvane.db"), "I Close DB "},
                  kFailedToPrepare}),
            LogSoFar());
}

TEST_P(InnerWrite, ALockOfAnotherProcessMakesThePrepareBusy) {
  ASSERT_EQ(0, nuv_inner_db_init());
  auto locker = LockDatabase();
  Forget();
  EXPECT_EQ(-2, GetParam().call("app"));
  EXPECT_EQ(Join({GetParam().start, kAlreadyConnected, kPrepareBusy, kFailedToPrepare}), LogSoFar());
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
  locker.reset();
  ExpectUnchanged();
}

TEST_P(InnerWrite, ALockOfAnotherProcessMakesTheStepBusy) {
  ASSERT_EQ(0, nuv_inner_db_init());
  ASSERT_EQ(0, GetParam().call("none"));
  auto locker = LockDatabase();
  Forget();
  EXPECT_EQ(-2, GetParam().call("app"));
  EXPECT_EQ(Join({GetParam().start, kAlreadyConnected, kPrepared, kStepBusy, kSqlBusy}), LogSoFar());
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
  locker.reset();
  ExpectUnchanged();
}

TEST_P(InnerWrite, AConstraintIsAFailure) {
  ASSERT_EQ(0, nuv_inner_db_init());
  database_.Run("create trigger refuse before update on widgetinfo begin select raise(abort, 'refused'); end");
  Forget();
  EXPECT_EQ(-1, GetParam().call("app"));
  EXPECT_EQ(Join({GetParam().start,
                  kAlreadyConnected,
                  kPrepared,
                  {"I Step start ", "I unknown type 19", "E " + Red("SQLite: refused"), "I finalize g_pStmt_Inner"},
                  kFail}),
            LogSoFar());
  ExpectUnchanged();
}

TEST_P(InnerWrite, OnlyTheWriteOfAValueLocksAndAsksForTheRepairMarker) {
  const auto call = [] { GetParam().call("app"); };
  EXPECT_EQ(GetParam().locks, TakesMutex(g_inner_Mute, call));
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, call));
  DisConnect_Inner();
  ASSERT_EQ(0, nuv_inner_db_init());
  fake_platform::SetRepairMarker(true);
  Forget();
  if (GetParam().locks) {
    EXPECT_EQ(-1, GetParam().call("app"));
    EXPECT_EQ(Join({kStart, kRecovering}), LogSoFar());
    ExpectUnchanged();
  } else {
    EXPECT_EQ(0, GetParam().call("app"));
  }
}

INSTANTIATE_TEST_SUITE_P(All, InnerWrite, ::testing::ValuesIn(kWrites),
                         [](const auto& row) { return std::string(row.param.name); });

class InnerWrites : public InnerTest {
 protected:
  void SetUp() override {
    InnerTest::SetUp();
    database_.Add("app", {{"is_updated", 1}, {"use_count", 4}});
    ASSERT_EQ(0, nuv_inner_db_init());
    Forget();
  }
  std::string Field(const std::string& column) {
    return database_.Ask("select " + column + " from widgetinfo where id = 'app'");
  }
};

TEST_F(InnerWrites, KeyZeroMarksTheUpdateAsHandled) {
  EXPECT_EQ(0, nuv_db_update_app_by_key("app", Key(0)));
  EXPECT_EQ(LogLines{"update widgetinfo set is_updated = ?  where id = ?"}, sqlite_faults::Prepared());
  EXPECT_EQ(LogLines{"update widgetinfo set is_updated = 0  where id = 'app'"}, sqlite_faults::Executed());
  EXPECT_EQ("0", Field("is_updated"));
}

TEST_F(InnerWrites, OtherKeysNeedAValue) {
  for (const int key : {1, 2, 3, 4, 5, 6, 7, 8, -1, 0x7fffffff}) {
    Forget();
    EXPECT_EQ(-1, nuv_db_update_app_by_key("app", Key(key)));
    EXPECT_EQ(LogLines{"E " + Red("unknown key " + std::to_string(key))}, LogSoFar());
    EXPECT_TRUE(sqlite_faults::Prepared().empty());
  }
}

TEST_F(InnerWrites, KeyZeroAndUnknownKeysTakeNoValue) {
  for (const int key : {0, 8, -1, 0x7fffffff}) {
    Forget();
    EXPECT_EQ(-1, nuv_db_update_app_by_key_value("app", Key(key), "1"));
    EXPECT_EQ(Join({kStart, {"E " + Red("unknown key " + std::to_string(key))}}), LogSoFar());
    EXPECT_TRUE(sqlite_faults::Prepared().empty());
  }
  EXPECT_EQ(0, nuv_db_update_app_by_key_value("app", Key(2), "1")) << "the lock was given back";
}

TEST_F(InnerWrites, KeysTwoToSevenTakeOneText) {
  const std::pair<int, std::string> fields[] = {{2, "cp_name"},      {3, "version"}, {4, "is_ispbound"},
                                                {5, "is_hybrid_tv"}, {6, "is_lock"}, {7, "run_title"}};
  for (const auto& [key, column] : fields) {
    Forget();
    EXPECT_EQ(0, nuv_db_update_app_by_key_value("app", Key(key), "1"));
    EXPECT_EQ(LogLines{"update widgetinfo set " + column + " = ?  where id = ? "}, sqlite_faults::Prepared());
    EXPECT_EQ(LogLines{"update widgetinfo set " + column + " = '1'  where id = 'app' "}, sqlite_faults::Executed());
    EXPECT_EQ("1", Field(column));
    EXPECT_EQ(0, nuv_db_update_app_by_key_value("app", Key(key), "it's, \"two\""));
    EXPECT_EQ("it's, \"two\"", Field(column));
  }
}

// Whichever of the two functions writes it.
TEST_F(InnerWrites, AValueIsLoggedUnderOneName) {
  ASSERT_EQ(0, nuv_inner_db_init());
  for (const auto write : {nuv_db_update_app_by_key_value, nuv_inner_update_app_by_key_value}) {
    Forget();
    EXPECT_EQ(0, write("app", Key(3), "2.0"));
    const auto log = fake_platform::Log();
    const auto start = std::find_if(log.begin(), log.end(), [](const auto& line) { return line.text == "Start"; });
    ASSERT_NE(log.end(), start);
    EXPECT_EQ(0u, start->prefix.find("NuvClient nuv_inner_app_updates.cpp: nuv_db_update_app_by_key_value("))
        << start->prefix;
  }
}

TEST_F(InnerWrites, KeyOneIsCutAtTheFirstComma) {
  const std::string values[][3] = {{"1234,5678", "1234", "5678"},
                                   {"abc", "abc", "abc"},
                                   {"a,b,c", "a", "b,c"},
                                   {",x", "", "x"},
                                   {"x,", "x", ""},
                                   {"", "", ""}};
  for (const auto& [value, app, org] : values) {
    Forget();
    EXPECT_EQ(0, nuv_db_update_app_by_key_value("app", Key(1), value));
    EXPECT_EQ(LogLines{"update widgetinfo set ait_appid = ? , ait_orgid = ?  where id = ? "},
              sqlite_faults::Prepared());
    EXPECT_EQ(
        LogLines{"update widgetinfo set ait_appid = '" + app + "' , ait_orgid = '" + org + "'  where id = 'app' "},
        sqlite_faults::Executed());
    EXPECT_EQ(app, Field("ait_appid"));
    EXPECT_EQ(org, Field("ait_orgid"));
  }
}

TEST_F(InnerWrites, ALaunchIsCountedWithItsLocalTime) {
  setenv("TZ", "EAST-5:30", 1);
  tzset();
  faults::fixed_time = kMarch - (5 * 60 + 30) * 60;
  EXPECT_EQ(0, nuv_db_update_app_count("app"));
  EXPECT_EQ("5", Field("use_count"));
  EXPECT_EQ("2025-03-07 09:05:03", Field("launch_date"));
  const std::string head =
      "update widgetinfo set use_count =  use_count+1, launch_date = '2025-03-07 09:05:03' where id = ";
  EXPECT_EQ(LogLines{head + "?"}, sqlite_faults::Prepared());
  EXPECT_EQ(LogLines{head + "'app'"}, sqlite_faults::Executed());
  EXPECT_EQ(4, fake_platform::LogPriority(Yellow("time is 2025-03-07 09:05:03")));
}

TEST_F(InnerWrites, TheTimeIsThatOfTheCall) {
  setenv("TZ", "WEST7", 1);
  tzset();
  const auto now = [] {
    const time_t seconds = time(nullptr);
    tm local = {};
    localtime_r(&seconds, &local);
    char text[64];
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return std::string(text);
  };
  const std::string before = now();
  EXPECT_EQ(0, nuv_db_update_app_count("app"));
  const std::string after = now();
  EXPECT_LE(before, Field("launch_date"));
  EXPECT_GE(after, Field("launch_date"));
}

TEST_F(InnerWrites, CheckingForAnInstallationIsWithdrawn) {
  EXPECT_EQ(-1, nuv_inner_check_app_installing("app"));
  EXPECT_EQ(
      LogLines{"W " + Green("DEPRECATION WARNING: nuv_inner_check_app_installing() is deprecated and will be removed "
                            "from next release.")},
      LogSoFar());
}

}  // namespace

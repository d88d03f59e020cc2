// Questions about applications: the two checks with lists of ids, and the workers that a statement of the caller
// answers.
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <nuv_common/nuv_lock.h>

#include "catalogue_log.h"
#include "database_test.h"
#include "held_mutex.h"

namespace {

using Binds = std::vector<_NUVDB_BIND_T>;

class IdLists : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    database_.Add("open", {{"is_lock", 0}, {"reserved_tinyint_1", 1}});
    database_.Add("shut", {{"is_lock", 1}, {"reserved_tinyint_1", 0}});
    database_.Add("it's 100%", {{"is_lock", 1}, {"reserved_tinyint_1", 0}});
    database_.Add("old", {{"is_lock", 1}, {"reserved_tinyint_1", 0}, {"install_state", 2}});
    database_.Add("odd", {{"is_lock", 2}, {"reserved_tinyint_1", 2}});
    database_.Add("null", {{"is_lock", nullptr}, {"reserved_tinyint_1", nullptr}});
  }
};

class Checks : public IdLists, public ::testing::WithParamInterface<int (*)(const char*)> {};

INSTANTIATE_TEST_SUITE_P(Both, Checks, ::testing::Values(nuv_check_app_is_locked, nuv_check_app_is_need_uninstall),
                         [](const auto& check) { return check.index == 0 ? "Locked" : "NeedUninstall"; });

TEST_P(Checks, AnswerForAListOfQuotedIds) {
  EXPECT_EQ(0, GetParam()("'shut'"));
  EXPECT_EQ(-1, GetParam()("'open'"));
  EXPECT_EQ(0, GetParam()("'open','shut'"));
  EXPECT_EQ(0, GetParam()("'shut', 'unknown'"));
  EXPECT_EQ(-1, GetParam()("'open','unknown'"));
  EXPECT_EQ(0, GetParam()("'it''s 100%'"));
  EXPECT_TRUE(fake_platform::Logged("strValue =it's 100%"));
}

TEST_P(Checks, AnswerNoForApplicationsThatCannotBeUsedOrAreInAnotherState) {
  EXPECT_EQ(-1, GetParam()("'old'"));
  EXPECT_EQ(-1, GetParam()("'odd'"));
  EXPECT_EQ(-1, GetParam()("'null'"));
  EXPECT_EQ(-1, GetParam()("'SHUT'"));
}

TEST_P(Checks, FailForAnIdThatIsNotQuoted) {
  EXPECT_EQ(-1, GetParam()("shut"));
  EXPECT_EQ(6, fake_platform::LogPriority(Red("SQLite: no such column: shut")));
  EXPECT_EQ(-1, GetParam()("org.kelvo.shut"));
  EXPECT_EQ(-1, GetParam()("'it's 100%'"));
}

TEST_P(Checks, PutTheListIntoTheStatementAsItIs) {
  EXPECT_EQ(-1, GetParam()("'a' /* ? 100%s */"));
  EXPECT_NE(std::string::npos, sqlite_faults::Prepared().back().find(" where id in('a' /* ? 100%s */) and "));
  EXPECT_EQ(0, GetParam()("select id from widgetinfo"));
}

TEST_P(Checks, TakeAnIdOfAnyLength) {
  EXPECT_EQ(-1, GetParam()(("'" + std::string(100000, 'x') + "'").c_str()));
  EXPECT_EQ(0, GetParam()(("'" + std::string(100000, 'x') + "','shut'").c_str()));
}

const std::string kUsed = "select id from widgetinfo where app_index < ? order by app_index";

class UsedApps : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    database_.AddMany(4);
    EXPECT_EQ(-1, CheckIsRecentlyOrMostUsedApp("none", kUsed, binds_));  // connects
  }

  LogLines Run(const std::string& id, const std::string& sql = kUsed) {
    return LogOf([&] { result_ = CheckIsRecentlyOrMostUsedApp(id, sql, binds_); });
  }
  LogLines Start(const std::string& id, const std::string& sql = kUsed) const {
    return {"I app id:" + id + ", strSql:" + sql};
  }
  LogLines Prepared() const { return PrepareLines(database_.path()); }
  static LogLines Match(const std::string& id) { return {"I " + Yellow("[" + id + "] is recently(or most) used app")}; }
  static LogLines End(const std::string& id, int found) {
    return {"I " + Yellow("[" + id + "] check db finish, result [" + std::to_string(found) + "]")};
  }

  Binds binds_ = {{2, "", 3}};
  int result_ = 99;
  const LogLines busy_ = {"E " + Red("get app info fail:sql busy")};
};

TEST_F(UsedApps, AMatchIsLoggedOnceAndTheOtherRowsAreReadPast) {
  database_.Run("update widgetinfo set id = 'app1' where app_index = 2");
  const LogLines log = Run("app1");
  EXPECT_EQ(0, result_);
  EXPECT_EQ(
      Join({Start("app1"), Prepared(), RowLines(), RowLines(), Match("app1"), RowLines(), DoneLines(), End("app1", 1)}),
      log);
  EXPECT_EQ(kUsed, sqlite_faults::Prepared().back());
}

TEST_F(UsedApps, NoMatchIsMinusOneAndLoggedAsZero) {
  const LogLines log = Run("app3");
  EXPECT_EQ(-1, result_);
  EXPECT_EQ(Join({Start("app3"), Prepared(), Times(3, RowLines()), DoneLines(), End("app3", 0)}), log);
}

TEST_F(UsedApps, AreComparedByteForByte) {
  database_.Add("100%s it's\n", {{"app_index", -1}});
  for (const char* id : {"APP1", "app1 ", " app1", "app", "app11", ""}) {
    Run(id);
    EXPECT_EQ(-1, result_) << id;
  }
  Run("100%s it's\n");
  EXPECT_EQ(0, result_);
}

TEST_F(UsedApps, AnEmptyIdMatchesAnEmptyOrNullColumn) {
  Run("", "select null where ? = 3");
  EXPECT_EQ(0, result_);
  Run("", "select '' where ? = 3");
  EXPECT_EQ(0, result_);
}

TEST_F(UsedApps, AFailedPrepareIsLoggedAndHandedOn) {
  const LogLines log = Run("app1", "nonsense");
  EXPECT_EQ(-1, result_);
  EXPECT_EQ(Join({Start("app1", "nonsense"),
                  ConnectedLines(database_.path()),
                  {"I unknow type 1", "E " + Red("SQLite: near \"nonsense\": syntax error")},
                  PreparedLine(-1),
                  {"E " + Red("Failed to prepare")}}),
            log);
}

TEST_F(UsedApps, ABusyPrepareIsLoggedAndHandedOn) {
  sqlite_faults::prepare_codes = std::deque<int>(50, SQLITE_BUSY);
  const LogLines log = Run("app1");
  EXPECT_EQ(-2, result_);
  EXPECT_EQ(Join({Start("app1"),
                  ConnectedLines(database_.path()),
                  BusyPrepareLines(),
                  PreparedLine(-2),
                  {"E " + Red("Failed to prepare")}}),
            log);
}

TEST_F(UsedApps, AreBusyBeforeAndAfterTheMatch) {
  sqlite_faults::step_codes = std::deque<int>(50, SQLITE_BUSY);
  LogLines log = Run("app1");
  EXPECT_EQ(-2, result_);
  EXPECT_EQ(Join({Start("app1"), Prepared(), BusyStepLines(), busy_}), log);
  sqlite_faults::step_codes = std::deque<int>(51, SQLITE_BUSY);
  sqlite_faults::step_codes.front() = 0;
  log = Run("app0");
  EXPECT_EQ(-2, result_);
  EXPECT_EQ(Join({Start("app0"), Prepared(), RowLines(), Match("app0"), BusyStepLines(), busy_}), log);
}

TEST_F(UsedApps, AnErrorEndsTheRows) {
  sqlite_faults::step_codes = {0, SQLITE_IOERR};
  LogLines log = Run("app0");
  EXPECT_EQ(0, result_);
  EXPECT_EQ(Join({Start("app0"), Prepared(), RowLines(), Match("app0"), FailedStepLines(10, "another row available"),
                  End("app0", 1)}),
            log);
  sqlite_faults::step_codes = {0, SQLITE_IOERR};
  log = Run("app1");
  EXPECT_EQ(-1, result_);
  EXPECT_EQ(Join({Start("app1"), Prepared(), RowLines(), FailedStepLines(10, "another row available"), End("app1", 0)}),
            log);
}

TEST_F(UsedApps, CannotChangeTheDatabase) {
  Run("app1", "delete from widgetinfo where app_index < ?");
  EXPECT_EQ(-1, result_);
  EXPECT_EQ("4", database_.Ask("select count(*) from widgetinfo"));
}

TEST_F(UsedApps, AskNoGuardAndTakeNoMutex) {
  fake_platform::SetFactoryReset(1);
  fake_platform::SetRepairMarker(true);
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [this] { Run("app1"); }));
  EXPECT_EQ(0, result_);
}

class Counting : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    database_.AddMany(4);
    int count = 0;
    ASSERT_EQ(0, GetAppsTableCount(&count, "", 0, {}));  // connects
  }

  LogLines Run(const std::string& clause = "", const Binds& binds = {}) {
    return LogOf([&] { result_ = GetAppsTableCount(&count_, clause, 9, binds); });
  }
  static LogLines Start(const std::string& clause = "") { return {"I Start:strParam:[" + clause + "],tableType:[9]"}; }
  LogLines Prepared() const { return PrepareLines(database_.path()); }

  int count_ = -7;
  int result_ = 99;
};

TEST_F(Counting, CountsTheRowsOfAClause) {
  const std::string clause = " where app_index < ?";
  EXPECT_EQ(Join({Start(clause), Prepared(), RowLines(), DoneLines()}), Run(clause, {{2, "", 3}}));
  EXPECT_EQ(0, result_);
  EXPECT_EQ(3, count_);
  EXPECT_EQ("select count(id) from widgetinfo where app_index < ?", sqlite_faults::Prepared().back());
}

TEST_F(Counting, NothingIsZero) {
  Run(" where id = 'it''s 100%s'");
  EXPECT_EQ(0, result_);
  EXPECT_EQ(0, count_);
}

TEST_F(Counting, WithoutAnyRowIsZeroAndInOrder) {
  EXPECT_EQ(Join({Start(" group by id having id = ''"), Prepared(), DoneLines()}), Run(" group by id having id = ''"));
  EXPECT_EQ(0, result_);
  EXPECT_EQ(0, count_);
}

TEST_F(Counting, NeedsAPlaceForTheCount) {
  sqlite_faults::Forget();
  EXPECT_EQ((LogLines{"I Start:strParam:[],tableType:[9]", "E " + Red("in param is NULL ")}),
            LogOf([] { EXPECT_EQ(-1, GetAppsTableCount(nullptr, "", 9, {})); }));
  EXPECT_TRUE(sqlite_faults::Prepared().empty());
}

TEST_F(Counting, TheLastRowCounts) {
  Run(" group by app_index > 0 order by app_index desc");
  EXPECT_EQ(0, result_);
  EXPECT_EQ(1, count_);
}

TEST_F(Counting, AFailedOrBusyPrepareLeavesTheCountAlone) {
  EXPECT_EQ(Join({Start(" nonsense ("),
                  ConnectedLines(database_.path()),
                  {"I unknow type 1", "E " + Red("SQLite: near \"(\": syntax error")},
                  PreparedLine(-1)}),
            Run(" nonsense ("));
  EXPECT_EQ(-1, result_);
  sqlite_faults::prepare_codes = std::deque<int>(50, SQLITE_BUSY);
  EXPECT_EQ(Join({Start(), ConnectedLines(database_.path()), BusyPrepareLines(), PreparedLine(-2)}), Run());
  EXPECT_EQ(-2, result_);
  EXPECT_EQ(-7, count_);
}

TEST_F(Counting, IsBusyWithTheCountThatWasRead) {
  sqlite_faults::step_codes = std::deque<int>(50, SQLITE_BUSY);
  EXPECT_EQ(Join({Start(), Prepared(), BusyStepLines(), {"E Get DB fail:sql busy"}}), Run());
  EXPECT_EQ(-2, result_);
  EXPECT_EQ(0, count_);
  sqlite_faults::step_codes = std::deque<int>(51, SQLITE_BUSY);
  sqlite_faults::step_codes.front() = 0;
  Run();
  EXPECT_EQ(-2, result_);
  EXPECT_EQ(4, count_);
}

TEST_F(Counting, AnErrorFailsOnlyBeforeTheFirstRow) {
  sqlite_faults::step_codes = {SQLITE_CORRUPT};
  EXPECT_EQ(Join({Start(), Prepared(), FailedStepLines(11, "not an error")}), Run());
  EXPECT_EQ(-1, result_);
  EXPECT_EQ(0, count_);
  sqlite_faults::step_codes = {0, SQLITE_CORRUPT};
  Run();
  EXPECT_EQ(0, result_);
  EXPECT_EQ(4, count_);
}

TEST_F(Counting, AsksNoGuardAndTakesNoMutex) {
  fake_platform::SetFactoryReset(1);
  fake_platform::SetRepairMarker(true);
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [this] { Run(); }));
  EXPECT_EQ(0, result_);
}

}  // namespace

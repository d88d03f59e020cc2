// Parameters, rows and values of the current statement.
#include <climits>

#include "catalogue_log.h"
#include "database_test.h"
#include "nuv_db_api/nuv_db_statement.h"

namespace {

class Stepping : public DatabaseTest {
 protected:
  void TearDown() override {
    sqlite3_finalize(g_pStmt);
    DatabaseTest::TearDown();
  }

  void PrepareAll() { ASSERT_EQ(0, Prepare("select id from widgetinfo")); }
};

TEST_F(Stepping, ReadsRowsUntilTheEndAndEndsTheStatement) {
  database_.AddMany(2);
  PrepareAll();
  EXPECT_EQ(RowLines(), LogOf([] { EXPECT_EQ(100, Step()); }));
  EXPECT_STREQ("app0", GetStringFromResult(0));
  EXPECT_EQ(1, sqlite_faults::LiveStatements());
  EXPECT_EQ(RowLines(), LogOf([] { EXPECT_EQ(100, Step()); }));
  EXPECT_STREQ("app1", GetStringFromResult(0));
  EXPECT_EQ(DoneLines(), LogOf([] { EXPECT_EQ(101, Step()); }));
  EXPECT_EQ(nullptr, g_pStmt);
  EXPECT_EQ(0, sqlite_faults::LiveStatements());
}

TEST_F(Stepping, WithoutAStatementIsAnError) {
  const LogLines lines = {"I Step start ", "E " + Red("g_pStmt is NULL")};
  EXPECT_EQ(lines, LogOf([] { EXPECT_EQ(1, Step()); }));
  PrepareAll();
  EXPECT_EQ(101, Step());
  EXPECT_EQ(lines, LogOf([] { EXPECT_EQ(1, Step()); }));
  EXPECT_EQ(lines, LogOf([] { EXPECT_EQ(1, Step()); }));
}

TEST_F(Stepping, GivesUpAfterFiftyBusyAnswersAndFortyNineSleeps) {
  PrepareAll();
  const auto locker = LockDatabase();
  EXPECT_EQ(BusyStepLines(), LogOf([] { EXPECT_EQ(5, Step()); }));
  EXPECT_EQ(std::vector<std::string>(49, "usleep 10000"), fake_platform::Effects());
  EXPECT_EQ(nullptr, g_pStmt);
}

TEST_F(Stepping, TakesAFiftiethAnswerThatIsNotBusy) {
  database_.Add("app");
  PrepareAll();
  sqlite_faults::step_codes = std::deque<int>(49, SQLITE_BUSY);
  EXPECT_EQ(Join({{"I Step start "},
                  Times(49, {"I step return SQLITE_BUSY", "I " + Yellow("retry step")}),
                  {"I SQLITE_ROW : has another row ready"}}),
            LogOf([] { EXPECT_EQ(100, Step()); }));
  EXPECT_EQ(49u, fake_platform::Effects().size());
}

TEST_F(Stepping, CountsTheTriesOfEachStepAnew) {
  database_.Add("app");
  PrepareAll();
  sqlite_faults::step_codes = std::deque<int>(49, SQLITE_BUSY);
  EXPECT_EQ(100, Step());
  sqlite_faults::step_codes = std::deque<int>(49, SQLITE_BUSY);
  EXPECT_EQ(101, Step());
}

TEST_F(Stepping, GoesOnOnceTheWriterIsDone) {
  database_.Add("app");
  PrepareAll();
  const auto locker = LockDatabase();
  fake_platform::OnEffect([&](const std::string&) {
    if (fake_platform::Effects().size() == 20) locker->KillAndWait();
  });
  EXPECT_EQ(100, Step());
  EXPECT_EQ(20u, fake_platform::Effects().size());
}

TEST_F(Stepping, EndsBusyWhereTheStatementVanishesDuringTheWait) {
  PrepareAll();
  sqlite_faults::step_codes = {SQLITE_BUSY};
  fake_platform::OnEffect([](const std::string&) {
    sqlite3_finalize(g_pStmt);
    g_pStmt = nullptr;
  });
  EXPECT_EQ((LogLines{"I Step start ", "I step return SQLITE_BUSY", "I " + Yellow("retry step"),
                      "E " + Red("g_pStmt is NULL")}),
            LogOf([] { EXPECT_EQ(5, Step()); }));
}

TEST_F(Stepping, AnErrorIsHandedOnAndLoggedWithSqlitesMessage) {
  ASSERT_EQ(0, Prepare("select abs(-9223372036854775807 - 1)"));
  EXPECT_EQ(FailedStepLines(1, "integer overflow"), LogOf([] { EXPECT_EQ(1, Step()); }));
  EXPECT_EQ(nullptr, g_pStmt);
}

TEST_F(Stepping, AnyCodeOfSqliteIsHandedOnUnchanged) {
  for (const int code : {SQLITE_LOCKED, SQLITE_IOERR, SQLITE_CORRUPT, SQLITE_NOTADB}) {
    PrepareAll();
    sqlite_faults::step_codes = {SQLITE_BUSY, code};
    EXPECT_EQ(code, Step());
    EXPECT_EQ(nullptr, g_pStmt);
  }
}

class Parameters : public Stepping {
 protected:
  // The types of the parameters as SQLite has them, joined by blanks.
  std::string TypesOf(const std::vector<_NUVDB_BIND_T>& binds) {
    EXPECT_EQ(0, Prepare("select typeof(?) || ' ' || typeof(?) || ' ' || typeof(?) || ' ' || typeof(?)"));
    nuvdb_bind(binds);
    EXPECT_EQ(100, Step());
    const std::string types = GetStringFromResult(0);
    EXPECT_EQ(101, Step());
    return types;
  }
};

TEST_F(Parameters, AreCollectedInOrder) {
  std::vector<_NUVDB_BIND_T> binds;
  save_db_bind(binds, std::string("text"));
  save_db_bind(binds, 7);
  ASSERT_EQ(2u, binds.size());
  EXPECT_EQ(1, binds[0].type);
  EXPECT_EQ("text", binds[0].text);
  EXPECT_EQ(2, binds[1].type);
  EXPECT_EQ("", binds[1].text);
  EXPECT_EQ(7, binds[1].value);
}

TEST_F(Parameters, OfOtherTypesStayNullAndUseTheirPositionUp) {
  EXPECT_EQ("null text null integer", TypesOf({{0, "zero", 1}, {1, "one", 1}, {3, "three", 3}, {2, "two", 2}}));
  EXPECT_EQ("null null null null", TypesOf({{-1, "a", 1}, {3, "b", 1}, {2147483647, "c", 1}, {INT_MIN, "d", 1}}));
}

TEST_F(Parameters, ThatAreNotGivenStayNull) {
  EXPECT_EQ("null null null null", TypesOf({}));
  EXPECT_EQ("integer null null null", TypesOf({{2, "", 1}}));
}

TEST_F(Parameters, BeyondTheLastAreIgnored) {
  EXPECT_EQ("integer text integer text",
            TypesOf({{2, "", 1}, {1, "", 1}, {2, "", 1}, {1, "x", 1}, {1, "five", 1}, {2, "", 6}}));
}

TEST_F(Parameters, KeepTheirValues) {
  const std::vector<_NUVDB_BIND_T> binds = {{1, "it's 100%s \"é\"\n", 0}, {2, "", INT_MIN}, {2, "", INT_MAX}};
  ASSERT_EQ(0, Prepare("select ?, ?, ?"));
  nuvdb_bind(binds);
  ASSERT_EQ(100, Step());
  EXPECT_STREQ("it's 100%s \"é\"\n", GetStringFromResult(0));
  EXPECT_EQ(INT_MIN, GetIntegerFromResult(1));
  EXPECT_EQ(INT_MAX, GetIntegerFromResult(2));
}

TEST_F(Parameters, AreNotCopied) {
  std::vector<_NUVDB_BIND_T> binds = {{1, std::string(100, 'a'), 0}};
  ASSERT_EQ(0, Prepare("select ?"));
  nuvdb_bind(binds);
  binds[0].text[0] = 'b';
  ASSERT_EQ(100, Step());
  EXPECT_EQ('b', GetStringFromResult(0)[0]);
}

class Values : public Stepping {
 protected:
  void Select(const std::string& values) {
    ASSERT_EQ(0, Prepare("select " + values));
    ASSERT_EQ(100, Step());
  }
};

TEST_F(Values, NullTextIsEmpty) {
  Select("null, 'text', ''");
  std::string out = "before";
  EXPECT_STREQ("", GetStringFromResult(0));
  GetValueByDBPosition(0, out);
  EXPECT_EQ("", out);
  GetValueByDBPosition(1, out);
  EXPECT_EQ("text", out);
  GetValueByDBPosition(2, out);
  EXPECT_EQ("", out);
  EXPECT_EQ(0, GetIntegerFromResult(0));
}

TEST_F(Values, AreConvertedLikeSqliteDoes) {
  Select("42, '17 apples', 'none', 4294967297, 2.9, x'6162'");
  EXPECT_STREQ("42", GetStringFromResult(0));
  EXPECT_EQ(17, GetIntegerFromResult(1));
  EXPECT_EQ(0, GetIntegerFromResult(2));
  EXPECT_EQ(1, GetIntegerFromResult(3));
  EXPECT_EQ(2, GetIntegerFromResult(4));
  EXPECT_STREQ("ab", GetStringFromResult(5));
}

TEST_F(Values, OfColumnsThatAreNotThereAreEmpty) {
  Select("1");
  std::string out = "before";
  EXPECT_STREQ("", GetStringFromResult(1));
  EXPECT_STREQ("", GetStringFromResult(4294967295U));
  EXPECT_EQ(0, GetIntegerFromResult(1));
  GetValueByDBPosition(1, out);
  EXPECT_EQ("", out);
}

}  // namespace

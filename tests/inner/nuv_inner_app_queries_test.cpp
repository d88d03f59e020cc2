// Looking applications up on the inner side.
#include "inner_test.h"
#include "nuv_inner_db_api/nuv_inner_app_columns.h"

namespace {

std::string FullRow() {
  return std::string(InnerAppColumns::Select());
}

constexpr const char* kUsageText =
    "select id from widgetinfo where is_need_reset = ? and is_app_available = ? and install_state = ? and is_hidden = "
    "? and use_count > ?  order by ";

// One of the functions, as far as they are alike.
struct Query {
  const char* name;
  std::function<int(const std::string& key)> call;
  std::string clause;  // behind the full row; a whole statement where the function reads ids
  std::string values;  // of its parameters, for the key "none"
  std::string start;   // log lines, with % for the key
  std::string end;
  std::string empty;
  int none;  // result without a match
  bool locks;
};
void PrintTo(const Query& query, std::ostream* out) {
  *out << query.name;
}

_APPSINFO_T found;
std::string found_id;

using RecordLookup = int(const std::string&, _APPSINFO_T&, bool);
auto Record(RecordLookup* lookup, bool installed_only) {
  return [=](const std::string& key) { return lookup(key, found, installed_only); };
}
using IdLookup = int(const std::string&, std::string&);
auto Id(IdLookup* lookup) {
  return [=](const std::string& key) { return lookup(key, found_id); };
}

const std::string kEmptyAppId = "E [inner db] app id is empty";

const Query kQueries[] = {
    {"ById", Record(nuv_inner_get_app_info_by_id, false),
     FullRow() + " where (id = ? or kelvo_id = ? or run_title = ?)", "'none' 'none' 'none'",
     "[inner db] get app info by app id [%]", "[inner db] get app info by app id [%] success", kEmptyAppId, -1, true},
    {"ByIdInstalled", Record(nuv_inner_get_app_info_by_id, true),
     FullRow() + " where (id = ? or kelvo_id = ? or run_title = ?) and install_state = ? and is_need_reset = ? and "
                 "is_app_available = ?",
     "'none' 'none' 'none' 3 0 1", "[inner db] get app info by app id [%]",
     "[inner db] get app info by app id [%] success", kEmptyAppId, -1, true},
    {"ByKelvoId", Record(nuv_inner_get_app_info_by_kelvoid, false), FullRow() + " where kelvo_id = ?", "'none'",
     "[inner db] get app info by kelvo id [%]", "[inner db] get app info by kelvo id [%] success", kEmptyAppId, -1,
     true},
    {"ByKelvoIdInstalled", Record(nuv_inner_get_app_info_by_kelvoid, true),
     FullRow() + " where kelvo_id = ? and install_state = ? and is_need_reset = ? and is_app_available = ? ",
     "'none' 3 0 1", "[inner db] get app info by kelvo id [%]", "[inner db] get app info by kelvo id [%] success",
     kEmptyAppId, -1, true},
    {"ByRunTitle", Record(nuv_inner_get_app_info_by_runtitle, false), FullRow() + " where run_title = ?", "'none'",
     "[inner db] get app info by kelvo runtitle [%]", "[inner db] get app info by kelvo runtitle [%] success",
     kEmptyAppId, -1, false},
    {"ByRunTitleInstalled", Record(nuv_inner_get_app_info_by_runtitle, true),
     FullRow() +
         " where run_title = ? and install_state = ? and is_need_reset = ? and is_app_available = ? and is_hidden = ?",
     "'none' 3 0 1 0", "[inner db] get app info by kelvo runtitle [%]",
     "[inner db] get app info by kelvo runtitle [%] success", kEmptyAppId, -1, false},
    {"IdByTitle", Id(nuv_inner_get_appid_by_title), "select id from widgetinfo where title = ?", "'none'",
     "[inner db] get app id by title [%]", "[inner db] get app id by title [%] success", kEmptyAppId, -1, true},
    {"IdByKelvoOrNativeId", Id(nuv_inner_get_appid_by_kelvoid_or_nativeid),
     "select id from widgetinfo where (kelvo_id = ? or hybrid_app = ?)", "'none' 'none'",
     "[inner db] get app id by kelvo id or native id [%]", "[inner db] get app id by kelvo id or native id [%] success",
     "E [inner db] id is empty", -1, true},
    {"MostUsed", nuv_inner_check_most_used_app, std::string(kUsageText) + "use_count desc limit ?", "0 1 3 0 0 3",
     "[inner db] check [%] is most used app or not", Yellow("[inner db] [%] get db finish, result [0]"), kEmptyAppId, 0,
     true},
    {"RecentlyUsed", nuv_inner_check_recently_used_app, std::string(kUsageText) + "launch_date desc limit ?",
     "0 1 3 0 0 3", "[inner db] check [%] is recently used app or not",
     Yellow("[inner db] [%] check db finish, result [0]"), kEmptyAppId, 0, true},
};

std::string With(std::string line, const std::string& key) {
  return "I " + line.replace(line.find('%'), 1, key);
}

class InnerQuery : public InnerTest, public ::testing::WithParamInterface<Query> {
 protected:
  void SetUp() override {
    InnerTest::SetUp();
    found = {};
    found.title = "untouched";
    found_id = "untouched";
  }

  void ExpectUntouched() {
    EXPECT_EQ("untouched", found.title);
    EXPECT_EQ("untouched", found_id);
  }

  static std::string Start(const std::string& key) { return With(GetParam().start, key); }
};

TEST_P(InnerQuery, WithoutAMatchReadsToTheEnd) {
  EXPECT_EQ(GetParam().none, GetParam().call("none"));
  EXPECT_EQ(LogLines{GetParam().clause}, sqlite_faults::Prepared());
  EXPECT_EQ(Join({{Start("none")}, kConnected, kPrepared, kDone, {With(GetParam().end, "none")}}), LogSoFar());
  EXPECT_EQ(std::vector<int>{kFlagsReadOnly}, Flags());
  ExpectUntouched();
}

TEST_P(InnerQuery, BindsTextsAndIntegersInTheirOrder) {
  ASSERT_EQ(0, nuv_inner_db_init());
  EXPECT_EQ(GetParam().none, GetParam().call("none"));
  EXPECT_EQ(LogLines{Fill(GetParam().clause, GetParam().values)}, sqlite_faults::Executed());
}

TEST_P(InnerQuery, UsesAnOpenConnectionAsItIs) {
  ASSERT_EQ(0, nuv_inner_db_init());
  EXPECT_EQ(GetParam().none, GetParam().call("none"));
  EXPECT_EQ("read-write", Mode());
  EXPECT_EQ(std::vector<int>{kFlagsReadWrite}, Flags());
}

TEST_P(InnerQuery, IsRefusedWhilePackagesAreRepaired) {
  fake_platform::SetRepairMarker(true);
  EXPECT_EQ(-1, GetParam().call("key"));
  EXPECT_EQ(Join({{Start("key")}, kRecovering}), LogSoFar());
  fake_platform::Clear();
  EXPECT_EQ(-1, GetParam().call(""));
  EXPECT_EQ(Join({{Start("")}, kRecovering}), LogSoFar()) << "the marker is asked for first";
  EXPECT_TRUE(Flags().empty());
  ExpectUntouched();
}

TEST_P(InnerQuery, NeedsAKey) {
  EXPECT_EQ(-1, GetParam().call(""));
  EXPECT_EQ((LogLines{Start(""), GetParam().empty}), LogSoFar());
  EXPECT_TRUE(Flags().empty());
}

TEST_P(InnerQuery, AKeyEndsAtItsFirstZeroByte) {
  using std::string_literals::operator""s;
  EXPECT_EQ(-1, GetParam().call("\0z"s));
  EXPECT_EQ((LogLines{Start(""), GetParam().empty}), LogSoFar());
  EXPECT_TRUE(Flags().empty());
  ASSERT_EQ(0, nuv_inner_db_init());
  EXPECT_EQ(GetParam().none, GetParam().call("none\0z"s));
  EXPECT_EQ(LogLines{Fill(GetParam().clause, GetParam().values)}, sqlite_faults::Executed());
}

TEST_P(InnerQuery, FailsWhereTheDatabaseCannotBeOpened) {
  fake_platform::SetDatabaseDirectory(directory_.path());
  EXPECT_EQ(-1, GetParam().call("key"));
  EXPECT_EQ(Join({{Start("key"), "I Failed to connect to DB : unable to open database file",
                   CannotOpen(directory_.path() + "/.corvane.db"), "I Close DB "},
                  kFailedToPrepare}),
            LogSoFar());
  ExpectUntouched();
}

TEST_P(InnerQuery, FailsWhereTheStatementDoesNotCompile) {
  database_.Run("drop table widgetinfo");
  EXPECT_EQ(-1, GetParam().call("key"));
  EXPECT_EQ(Join({{Start("key")},
                  kConnected,
                  {"I unknow type 1", "E " + Red("SQLite: no such table: widgetinfo"), "E " + Yellow("End,ret = -1")},
                  kFailedToPrepare}),
            LogSoFar());
}

TEST_P(InnerQuery, ALockOfAnotherProcessMakesThePrepareBusy) {
  const auto locker = LockDatabase();
  EXPECT_EQ(-2, GetParam().call("key"));
  EXPECT_EQ(Join({{Start("key")}, kConnected, kPrepareBusy, kFailedToPrepare}), LogSoFar());
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
}

TEST_P(InnerQuery, ALockOfAnotherProcessMakesTheStepBusy) {
  ASSERT_EQ(GetParam().none, GetParam().call("none"));
  const auto locker = LockDatabase();
  Forget();
  EXPECT_EQ(-2, GetParam().call("key"));
  EXPECT_EQ(Join({{Start("key")}, kAlreadyConnected, kPrepared, kStepBusy, {"E " + Red("get app info fail:sql busy")}}),
            LogSoFar());
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
  ExpectUntouched();
}

TEST_P(InnerQuery, AnyOtherStepResultEndsIt) {
  ASSERT_EQ(GetParam().none, GetParam().call("none"));
  sqlite_faults::step_codes = {SQLITE_IOERR};
  EXPECT_EQ(GetParam().none, GetParam().call("none"));
  EXPECT_TRUE(fake_platform::Logged("unknown type 10"));
  EXPECT_EQ(nullptr, g_pStmt_Inner);
}

TEST_P(InnerQuery, TakesTheInnerMutexOrNoneAndNeverTheOther) {
  const auto call = [] { EXPECT_EQ(GetParam().none, GetParam().call("none")); };
  if (GetParam().locks) {
    EXPECT_TRUE(TakesMutex(g_inner_Mute, call));
  } else {
    EXPECT_TRUE(LeavesMutexAlone(g_inner_Mute, call));
  }
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, call));
}

INSTANTIATE_TEST_SUITE_P(All, InnerQuery, ::testing::ValuesIn(kQueries),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace

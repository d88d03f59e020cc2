// The list of all installed applications.
#include <memory>

#include "inner_test.h"
#include "memory_faults.h"
#include "nuv_inner_db_api/nuv_inner_app_columns.h"

namespace {

constexpr const char* kCount =
    "select count(id) from widgetinfo where is_need_reset = ? and is_app_available = ? and install_state = ? ";
constexpr const char* kWhere =
    " where is_need_reset = ? and is_app_available = ? and install_state = ?  order by app_index asc ";
const LogLines kStart = {"I " + Green("[inner db] Start")};
const LogLines kNoCount = {"E " + Red("[inner db] get DB fail ")};
const LogLines kNoList = {"E " + Red("failed to get app list")};
const LogLines kSqlBusy = {"E " + Red("get app info fail:sql busy")};
const LogLines kMapped = {"I " + Green("begin to set app_info"), "I " + Green("set app_info success!")};

LogLines Counted(int total) {
  return Join({kPrepared, kRow, kDone, {"I " + Yellow("[inner db] num: " + std::to_string(total) + " end")}});
}
LogLines Result(int code) {
  return {"I " + Green("iResult:[" + std::to_string(code) + "]")};
}

int invented_total = 0;

class InnerAppList : public InnerTest {
 protected:
  // Calls the function with a list and a count that show whether they were touched.
  int Get() {
    _APPSINFO_T* list = &untouched_;
    count_ = 77;
    const int result = nuv_inner_get_all_app_list(&list, &count_);
    list_is_untouched_ = list == &untouched_;
    list_.reset(list_is_untouched_ ? nullptr : list);
    return result;
  }

  std::string Ids() const {
    std::string ids;
    for (int i = 0; i < count_; ++i) ids += (ids.empty() ? "" : " ") + list_[i].id;
    return ids;
  }

  // Makes the connection count wrongly: as if the table changed between the two statements.
  static void Invent(int total) {
    ASSERT_EQ(0, nuv_inner_db_init());
    invented_total = total;
    sqlite3_create_function(
        g_pConnection_Inner, "count", 1, SQLITE_UTF8, nullptr, nullptr, [](sqlite3_context*, int, sqlite3_value**) {},
        [](sqlite3_context* context) { sqlite3_result_int(context, invented_total); });
    Forget();
  }

  _APPSINFO_T untouched_;
  std::unique_ptr<_APPSINFO_T[]> list_;
  int count_ = 77;
  bool list_is_untouched_ = true;
};

TEST_F(InnerAppList, ListsByIndexWithAllLines) {
  database_.Add("c", {{"app_index", 30}, {"title", "C"}});
  database_.Add("a", {{"app_index", -1}});
  EXPECT_EQ(0, Get());
  ASSERT_EQ(2, count_);
  EXPECT_EQ("a c", Ids());
  EXPECT_EQ("C", list_[1].title);
  EXPECT_EQ(30, list_[1].app_index);
  EXPECT_EQ((LogLines{kCount, std::string(InnerAppColumns::Select()) + kWhere}), sqlite_faults::Prepared());
  EXPECT_EQ(std::vector<int>{kFlagsReadOnly}, Flags());
  EXPECT_EQ(
      Join({kStart,
            kConnected,
            Counted(2),
            kAlreadyConnected,
            kPrepared,
            kRow,
            Result(100),
            kMapped,
            kRow,
            Result(100),
            kMapped,
            kDone,
            Result(101),
            {"I " + Green("app_id =a"), "I " + Green("app_id =c"), "I " + Green("[inner db]Finish,real_count:[2]")}}),
      LogSoFar());
}

TEST_F(InnerAppList, BindsIntegers) {
  database_.Add("a");
  ASSERT_EQ(0, nuv_inner_db_init());
  EXPECT_EQ(0, Get());
  EXPECT_EQ((LogLines{Fill(kCount, "0 1 3"), Fill(std::string(InnerAppColumns::Select()) + kWhere, "0 1 3")}),
            sqlite_faults::Executed());
}

TEST_F(InnerAppList, LeavesOutWhatCannotBeUsedButNotTheHidden) {
  database_.Add("hidden", {{"is_hidden", 1}});
  database_.Add("state", {{"install_state", 2}});
  database_.Add("reset", {{"is_need_reset", 1}});
  database_.Add("unavailable", {{"is_app_available", 0}});
  EXPECT_EQ(0, Get());
  EXPECT_EQ("hidden", Ids());
}

TEST_F(InnerAppList, NoApplicationIsASuccess) {
  EXPECT_EQ(0, Get());
  EXPECT_EQ(0, count_);
  EXPECT_TRUE(list_is_untouched_);
  EXPECT_EQ(Join({kStart, kConnected, Counted(0), {"I [inner db]real_count is 0 "}}), LogSoFar());
}

TEST_F(InnerAppList, ANegativeTotalIsAFailure) {
  Invent(-3);
  EXPECT_EQ(-1, Get());
  EXPECT_EQ(-3, count_);
  EXPECT_TRUE(list_is_untouched_);
  EXPECT_EQ(Join({kStart, kAlreadyConnected, Counted(-3), {"E " + Red("[inner db] real_count<0,it's wrong ")}}),
            LogSoFar());
}

TEST_F(InnerAppList, RowsBeyondTheTotalAreSkipped) {
  for (const int index : {6, 5, 4, 3, 2, 1}) database_.Add("app" + std::to_string(index), {{"app_index", index}});
  Invent(5);
  EXPECT_EQ(0, Get());
  ASSERT_EQ(5, count_);
  EXPECT_EQ("app1 app2 app3 app4 app5", Ids());
  const LogLines rows = Times(5, Join({kRow, Result(100), kMapped}));
  LogLines ids;
  for (int i = 1; i <= 5; ++i) ids.push_back("I " + Green("app_id =app" + std::to_string(i)));
  EXPECT_EQ(Join({kStart,
                  kAlreadyConnected,
                  Counted(5),
                  kAlreadyConnected,
                  kPrepared,
                  rows,
                  kRow,
                  Result(100),
                  kDone,
                  Result(101),
                  ids,
                  {"I " + Green("[inner db]Finish,real_count:[5]")}}),
            LogSoFar());
}

TEST_F(InnerAppList, RecordsThatNoRowFillsKeepTheirDefaults) {
  database_.Add("only", {{"app_index", 9}});
  Invent(3);
  EXPECT_EQ(0, Get());
  ASSERT_EQ(3, count_);
  EXPECT_EQ("only  ", Ids());
  EXPECT_EQ(9, list_[0].app_index);
  EXPECT_EQ(-1, list_[2].app_index);
  EXPECT_TRUE(fake_platform::Logged(Green("app_id =")));
}

TEST_F(InnerAppList, NoRowWhereThereShouldBeOneIsAFailure) {
  Invent(2);
  EXPECT_EQ(-1, Get());
  EXPECT_EQ(0, count_);
  EXPECT_FALSE(list_is_untouched_);
  EXPECT_EQ(nullptr, list_);
  EXPECT_EQ(Join({kStart, kAlreadyConnected, Counted(2), kAlreadyConnected, kPrepared, kDone, Result(101), kNoList}),
            LogSoFar());
}

TEST_F(InnerAppList, ABusyFillIsAFailureEvenAfterRows) {
  database_.AddMany(2);
  sqlite_faults::step_codes = {0, 0, 0};
  sqlite_faults::step_codes.insert(sqlite_faults::step_codes.end(), 50, SQLITE_BUSY);
  EXPECT_EQ(-2, Get());
  EXPECT_EQ(0, count_);
  EXPECT_FALSE(list_is_untouched_);
  EXPECT_EQ(nullptr, list_);
  EXPECT_EQ(Join({kStart, kConnected, Counted(2), kAlreadyConnected, kPrepared, kRow, Result(100), kMapped, kStepBusy,
                  Result(5), kSqlBusy, kNoList}),
            LogSoFar());
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
}

TEST_F(InnerAppList, AFillThatCannotBePreparedIsAFailure) {
  database_.AddMany(2);
  sqlite_faults::prepare_codes = {0, SQLITE_ERROR};
  EXPECT_EQ(-1, Get());
  EXPECT_EQ(0, count_);
  EXPECT_FALSE(list_is_untouched_);
  EXPECT_EQ(nullptr, list_);
  EXPECT_EQ("E " + Red("Failed to prepare"), LogSoFar().back());
  sqlite_faults::prepare_codes = {0};
  sqlite_faults::prepare_codes.insert(sqlite_faults::prepare_codes.end(), 50, SQLITE_BUSY);
  EXPECT_EQ(-2, Get());
  EXPECT_EQ(nullptr, list_);
  EXPECT_EQ(0, count_);
}

// The caller would give back, a second time, what it had there before.
TEST_F(InnerAppList, MemoryThatRunsOutOnceTheArrayWasAskedForLeavesNoList) {
  database_.Add("an id that is too long for a string without memory of its own", {{"title", "and so is this title"}});
  ASSERT_EQ(0, Get());
  int after_the_count = 0;
  for (long nth = 1; nth < 1000; ++nth) {
    SCOPED_TRACE("request " + std::to_string(nth));
    Forget();
    int result = 0;
    {
      const memory_faults::FailNth failing(nth, memory_faults::FailNth::kOnlyThat);
      result = Get();
      if (!memory_faults::FailNth::Reached()) break;
    }
    EXPECT_EQ(-1, result);
    EXPECT_EQ(0, count_);
    EXPECT_EQ(nullptr, list_);
    const bool counted = fake_platform::Logged(Yellow("[inner db] num: 1 end"));
    EXPECT_EQ(!counted, list_is_untouched_);
    after_the_count += counted ? 1 : 0;
  }
  EXPECT_LT(3, after_the_count) << "the array, the statement and the texts of the record";
  EXPECT_EQ(0, Get());
}

TEST_F(InnerAppList, ACountThatFailsIsAFailure) {
  database_.Run("drop table widgetinfo");
  EXPECT_EQ(-1, Get());
  EXPECT_EQ(0, count_);
  EXPECT_TRUE(list_is_untouched_);
  EXPECT_EQ(Join({kStart,
                  kConnected,
                  {"I unknow type 1", "E " + Red("SQLite: no such table: widgetinfo"), "E " + Yellow("End,ret = -1")},
                  kFailedToPrepare,
                  kNoCount}),
            LogSoFar());
}

TEST_F(InnerAppList, ALockOfAnotherProcessMakesTheCountBusy) {
  const auto locker = LockDatabase();
  EXPECT_EQ(-2, Get());
  EXPECT_EQ(0, count_);
  EXPECT_TRUE(list_is_untouched_);
  EXPECT_EQ(Join({kStart, kConnected, kPrepareBusy, kFailedToPrepare, kNoCount}), LogSoFar());
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
}

TEST_F(InnerAppList, ALockAtTheStepOfTheCountMakesItBusy) {
  ASSERT_EQ(0, Get());
  const auto locker = LockDatabase();
  Forget();
  EXPECT_EQ(-2, Get());
  EXPECT_EQ(Join({kStart, kAlreadyConnected, kPrepared, kStepBusy, kSqlBusy, kNoCount}), LogSoFar());
}

TEST_F(InnerAppList, IsRefusedWhilePackagesAreRepaired) {
  fake_platform::SetRepairMarker(true);
  EXPECT_EQ(-1, Get());
  EXPECT_EQ(77, count_);
  EXPECT_EQ(-1, nuv_inner_get_all_app_list(nullptr, nullptr));
  EXPECT_EQ(Times(2, Join({kStart, kRecovering})), LogSoFar());
  EXPECT_TRUE(Flags().empty());
}

TEST_F(InnerAppList, NeedsPlacesForItsResults) {
  _APPSINFO_T* list = nullptr;
  EXPECT_EQ(-1, nuv_inner_get_all_app_list(nullptr, &count_));
  EXPECT_EQ(-1, nuv_inner_get_all_app_list(&list, nullptr));
  EXPECT_EQ(Times(2, Join({kStart, {"E " + Red("[inner db] in param is NULL ")}})), LogSoFar());
  EXPECT_EQ(77, count_);
  EXPECT_TRUE(Flags().empty());
}

TEST_F(InnerAppList, TakesTheInnerMutexOnly) {
  EXPECT_TRUE(TakesMutex(g_inner_Mute, [this] { Get(); }));
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [this] { Get(); }));
}

}  // namespace

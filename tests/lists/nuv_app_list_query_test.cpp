// The workers that read a list into an array of the caller.
#include "nuv_db_api/nuv_app_list_query.h"

#include <algorithm>
#include <functional>

#include "app_list_test.h"
#include "nuv_db_api/nuv_db_statement.h"

namespace {

const std::string kByIndex = " order by app_index asc ";

template <typename Record>
std::vector<std::string> IdsOf(const std::vector<Record>& records) {
  std::vector<std::string> ids;
  for (const Record& record : records) ids.emplace_back(record.app_id, strnlen(record.app_id, sizeof record.app_id));
  return ids;
}

// Records that are not zero anywhere.
template <typename Record>
std::vector<Record> Dirty(size_t count) {
  std::vector<Record> records(count);
  if (count > 0) memset(static_cast<void*>(records.data()), 'x', count * sizeof(Record));
  return records;
}

template <typename Record>
bool AllBytesAre(const Record& record, char byte) {
  const char* bytes = reinterpret_cast<const char*>(&record);
  return std::all_of(bytes, bytes + sizeof record, [byte](char value) { return value == byte; });
}

int Read(std::vector<nuv_app_info_s>& list, int real_count, const std::string& clause = kByIndex,
         const std::vector<_NUVDB_BIND_T>& binds = {}, bool last_download = false) {
  return GetAppsTableList(list.data(), real_count, clause, 0, binds, last_download);
}

int Read(std::vector<nuv_app_ms_s>& list, int real_count, const std::string& clause = kByIndex,
         const std::vector<_NUVDB_BIND_T>& binds = {}) {
  return GetAppsMSList(list.data(), real_count, clause, binds);
}

// What both workers have in common.
template <typename Record>
class ListWorker : public AppListTest {};

using RecordTypes = ::testing::Types<nuv_app_info_s, nuv_app_ms_s>;
class RecordNames {
 public:
  template <typename Record>
  static std::string GetName(int) {
    return sizeof(Record) == sizeof(nuv_app_ms_s) ? "MultiScreen" : "Full";
  }
};
TYPED_TEST_SUITE(ListWorker, RecordTypes, RecordNames);

TYPED_TEST(ListWorker, StoresTheRowsInTheirOrder) {
  this->database_.AddMany(3);
  auto list = Dirty<TypeParam>(3);
  EXPECT_EQ(0, Read(list, 3, " order by app_index desc "));
  EXPECT_EQ((std::vector<std::string>{"app2", "app1", "app0"}), IdsOf(list));
}

TYPED_TEST(ListWorker, LeavesMissingRecordsZero) {
  this->database_.AddMany(1);
  auto list = Dirty<TypeParam>(4);
  EXPECT_EQ(0, Read(list, 3));
  EXPECT_STREQ("app0", list[0].app_id);
  EXPECT_TRUE(AllBytesAre(list[1], '\0'));
  EXPECT_TRUE(AllBytesAre(list[2], '\0'));
  EXPECT_TRUE(AllBytesAre(list[3], 'x'));  // not the worker's
}

TYPED_TEST(ListWorker, ReadsPastTheRowsBeyondTheArray) {
  this->database_.AddMany(5);
  auto list = Dirty<TypeParam>(3);
  EXPECT_EQ(0, Read(list, 2));
  EXPECT_EQ((std::vector<std::string>{"app0", "app1"}), (std::vector<std::string>{list[0].app_id, list[1].app_id}));
  EXPECT_TRUE(AllBytesAre(list[2], 'x'));
  const auto steps = this->LogOf("Step");
  EXPECT_EQ(5, std::count(steps.begin(), steps.end(), "I SQLITE_ROW : has another row ready"));
}

TYPED_TEST(ListWorker, StoresNothingInAnArrayOfNone) {
  this->database_.AddMany(2);
  for (const int none : {0, -1, -1000}) {
    auto list = Dirty<TypeParam>(1);
    EXPECT_EQ(-1, Read(list, none)) << none;
    EXPECT_TRUE(AllBytesAre(list[0], 'x')) << none;
  }
  EXPECT_EQ(3u, sqlite_faults::Executed().size());
}

TYPED_TEST(ListWorker, NeedsNoArrayWhereThereIsNoRecord) {
  this->database_.AddMany(2);
  std::vector<TypeParam> none;
  EXPECT_EQ(-1, Read(none, 0));
}

TYPED_TEST(ListWorker, NoRowGivesMinusOneAndAClearedArray) {
  auto list = Dirty<TypeParam>(2);
  EXPECT_EQ(-1, Read(list, 2));
  EXPECT_TRUE(AllBytesAre(list[0], '\0'));
  EXPECT_TRUE(AllBytesAre(list[1], '\0'));
}

std::string CachePages() {
  std::string pages;
  sqlite3_stmt* statement = nullptr;
  EXPECT_EQ(SQLITE_OK, sqlite3_prepare_v2(g_pConnection, "pragma cache_size", -1, &statement, nullptr));
  if (sqlite3_step(statement) == SQLITE_ROW) pages = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
  sqlite3_finalize(statement);
  return pages;
}

// What the cache is like at each row of a list whose clause has "seen()"; each row then does what the test wants.
std::vector<std::string> seen_caches;
std::function<void(sqlite3_context*)> at_row;
void NoteCaches() {
  seen_caches.clear();
  at_row = nullptr;
  sqlite3_create_function(
      g_pConnection, "seen", 0, SQLITE_UTF8, nullptr,
      [](sqlite3_context* context, int, sqlite3_value**) {
        seen_caches.push_back(CachePages());
        sqlite3_result_int(context, 1);
        if (at_row) at_row(context);
      },
      nullptr, nullptr);
}

TYPED_TEST(ListWorker, ALongListKeepsLessInTheCacheWhileItIsRead) {
  this->database_.AddMany(1);
  auto list = Dirty<TypeParam>(2001);
  ASSERT_EQ(0, Read(list, 2000));
  NoteCaches();
  EXPECT_EQ(0, Read(list, 2000, " where seen()"));
  EXPECT_EQ(0, Read(list, 2001, " where seen()"));
  EXPECT_EQ((std::vector<std::string>{"-2000", "-1000"}), seen_caches);  // the first is SQLite's own
  EXPECT_EQ("-2000", CachePages());
}

TYPED_TEST(ListWorker, TheCacheHasItsSizeBackHoweverALongListEnds) {
  this->database_.AddMany(3);
  auto list = Dirty<TypeParam>(2001);
  ASSERT_EQ(0, Read(list, 3));
  sqlite3_stmt* statement = nullptr;  // a size that a build of SQLite may have for its own
  ASSERT_EQ(SQLITE_OK, sqlite3_prepare_v2(g_pConnection, "pragma cache_size = -1500", -1, &statement, nullptr));
  sqlite3_step(statement);
  sqlite3_finalize(statement);
  NoteCaches();
  at_row = [](sqlite3_context*) { sqlite_faults::step_codes.assign(50, SQLITE_BUSY); };
  EXPECT_EQ(-2, Read(list, 2001, " where seen()"));
  EXPECT_EQ("-1500", CachePages()) << "busy behind a row";
  at_row = [](sqlite3_context* context) { sqlite3_result_error(context, "planted", -1); };
  EXPECT_EQ(-1, Read(list, 2001, " where seen()"));
  EXPECT_EQ("-1500", CachePages()) << "an error";
  EXPECT_EQ(-1, Read(list, 2001, " where no_such_column"));
  EXPECT_EQ("-1500", CachePages()) << "a statement that cannot be made";
  at_row = [](sqlite3_context* context) { sqlite3_result_error_nomem(context); };
  EXPECT_EQ(-1, Read(list, 2001, " where seen()"));
  EXPECT_EQ("-1500", CachePages()) << "no memory";
  EXPECT_EQ((std::vector<std::string>{"-1000", "-1000", "-1000"}), seen_caches);
}

// Where there is no memory for that either, the next query does it.
TYPED_TEST(ListWorker, TheCacheHasItsSizeBackWithTheNextQueryWhereItCouldNotHaveItAtOnce) {
  this->database_.AddMany(1);
  auto list = Dirty<TypeParam>(2001);
  ASSERT_EQ(0, Read(list, 1));
  NoteCaches();
  at_row = [](sqlite3_context*) { sqlite_faults::prepare_codes = {SQLITE_NOMEM}; };
  EXPECT_EQ(0, Read(list, 2001, " where seen()"));
  EXPECT_TRUE(sqlite_faults::prepare_codes.empty());
  EXPECT_EQ("-1000", CachePages());
  EXPECT_EQ(0, Read(list, 1));
  EXPECT_EQ("-2000", CachePages());
}

TYPED_TEST(ListWorker, AFailedPrepareLeavesTheArrayAlone) {
  this->database_.AddMany(1);
  auto list = Dirty<TypeParam>(1);
  EXPECT_EQ(-1, Read(list, 1, " where no_such_column = 1"));
  EXPECT_TRUE(AllBytesAre(list[0], 'x'));
  sqlite_faults::prepare_codes.assign(50, SQLITE_BUSY);
  EXPECT_EQ(-2, Read(list, 1));
  EXPECT_TRUE(AllBytesAre(list[0], 'x'));
  EXPECT_FALSE(fake_platform::Logged("Get DB finish"));
  EXPECT_FALSE(fake_platform::Logged("Get DB fail:sql busy"));
}

TYPED_TEST(ListWorker, ABusyStepGivesMinusTwo) {
  this->database_.AddMany(3);
  for (const int rows : {0, 1, 2}) {
    fake_platform::Clear();
    sqlite_faults::step_codes.assign(rows, 0);
    sqlite_faults::step_codes.insert(sqlite_faults::step_codes.end(), 50, SQLITE_BUSY);
    auto list = Dirty<TypeParam>(3);
    EXPECT_EQ(-2, Read(list, 3)) << rows;
    EXPECT_TRUE(sqlite_faults::step_codes.empty());
    EXPECT_EQ(6, fake_platform::LogPriority("Get DB fail:sql busy"));
    EXPECT_EQ("Get DB finish", fake_platform::Log().at(fake_platform::Log().size() - 1).text);
    EXPECT_EQ(nullptr, g_pStmt);
  }
}

TYPED_TEST(ListWorker, AnotherErrorEndsTheListWithWhatWasRead) {
  this->database_.AddMany(3);
  auto list = Dirty<TypeParam>(3);
  sqlite_faults::step_codes = {0, SQLITE_IOERR};
  EXPECT_EQ(0, Read(list, 3));
  EXPECT_EQ((std::vector<std::string>{"app0", "", ""}), IdsOf(list));
  sqlite_faults::step_codes = {SQLITE_IOERR};
  EXPECT_EQ(-1, Read(list, 3));
  EXPECT_EQ(nullptr, g_pStmt);
}

TYPED_TEST(ListWorker, TakesNoNamedLock) {
  this->database_.AddMany(1);
  bool free = false;
  sqlite_faults::before_prepare = [&free](const std::string&) { free = LockIsFree(); };
  auto list = Dirty<TypeParam>(1);
  EXPECT_EQ(0, Read(list, 1));
  EXPECT_TRUE(free);
}

TYPED_TEST(ListWorker, BindsItsParametersInTheirOrder) {
  this->database_.AddMany(4);
  std::vector<_NUVDB_BIND_T> binds;
  save_db_bind(binds, 1);
  save_db_bind(binds, std::string("app3"));
  auto list = Dirty<TypeParam>(2);
  EXPECT_EQ(0, Read(list, 2, " where app_index > ? and id <> ? order by app_index", binds));
  EXPECT_STREQ("app2", list[0].app_id);
  const std::string executed = sqlite_faults::Executed().at(0);
  EXPECT_NE(std::string::npos, executed.find(" from widgetinfo where app_index > 1 and id <> 'app3' order by"));
}

class FullListWorker : public AppListTest {};
class MultiScreenListWorker : public AppListTest {};

TEST_F(FullListWorker, SelectsAllColumns) {
  database_.AddMany(1);
  std::vector<nuv_app_info_s> list(1);
  EXPECT_EQ(0, Read(list, 1, " where app_index = 0"));
  EXPECT_EQ((std::vector<std::string>{AppDatabase::FullRowSelect() + " where app_index = 0"}),
            sqlite_faults::Prepared());
}

TEST_F(FullListWorker, LogsItsWay) {
  database_.AddMany(2);
  std::vector<nuv_app_info_s> list(2);
  EXPECT_EQ(0, GetAppsTableList(list.data(), 2, kByIndex, 7, {}, false));
  const auto lines = LogOf("GetAppsTableList");
  ASSERT_EQ(7u, lines.size());
  EXPECT_EQ("I Start : real_count:[2],strParam:[ order by app_index asc ],tableType:[7] ", lines[0]);
  EXPECT_EQ("I " + Yellow("sizeof(Column)/30-1 = 64"), lines[1]);
  EXPECT_EQ("I set app_info success", lines[2]);
  EXPECT_EQ("I set app_info success", lines[3]);
  EXPECT_EQ(0u, lines[4].rfind("I " + OpenEnded(Green("app_id = app0,app_index = 0,app_title = ,")), 0));
  EXPECT_EQ(0u, lines[5].rfind("I " + OpenEnded(Green("app_id = app1,app_index = 1,app_title = ,")), 0));
  EXPECT_EQ("I Get DB finish", lines[6]);
}

TEST_F(FullListWorker, ListsNoRecordInTheLogAfterAFailure) {
  std::vector<nuv_app_info_s> list(2);
  EXPECT_EQ(-1, Read(list, 2));
  EXPECT_EQ((std::vector<std::string>{"I Start : real_count:[2],strParam:[ order by app_index asc ],tableType:[0] ",
                                      "I " + Yellow("sizeof(Column)/30-1 = 64"), "I Get DB finish"}),
            LogOf("GetAppsTableList"));
}

TEST_F(FullListWorker, BringsDownloadsForwardWhenAsked) {
  for (const int index : {1, 2, 300, 301}) database_.Add("app" + std::to_string(index), {{"app_index", index}});
  std::vector<nuv_app_info_s> list(4);
  EXPECT_EQ(0, Read(list, 4, kByIndex, {}, true));
  EXPECT_EQ((std::vector<std::string>{"app301", "app300", "app1", "app2"}), IdsOf(list));
  const auto lines = LogOf("GetAppsTableList");
  EXPECT_EQ("I " + Green("view mode : last download"), lines.at(6));
  EXPECT_EQ(0u, lines.at(7).rfind("I " + OpenEnded(Green("app_id = app301,")),
                                  0));  // the records are listed in the new order
}

TEST_F(FullListWorker, OrdersEvenWhatABusyDatabaseLeft) {
  for (const int index : {1, 300, 301}) database_.Add("app" + std::to_string(index), {{"app_index", index}});
  sqlite_faults::step_codes.assign(3, 0);
  sqlite_faults::step_codes.insert(sqlite_faults::step_codes.end(), 50, SQLITE_BUSY);
  std::vector<nuv_app_info_s> list(3);
  EXPECT_EQ(-2, Read(list, 3, kByIndex, {}, true));
  EXPECT_EQ((std::vector<std::string>{"app301", "app300", "app1"}), IdsOf(list));
  const auto lines = LogOf("GetAppsTableList");
  EXPECT_EQ((std::vector<std::string>{"E Get DB fail:sql busy", "I " + Green("view mode : last download"),
                                      "I Get DB finish"}),
            std::vector<std::string>(lines.end() - 3, lines.end()));
}

TEST_F(FullListWorker, MissingRecordsEndTheRunOfDownloads) {
  for (const int index : {1, 300}) database_.Add("app" + std::to_string(index), {{"app_index", index}});
  std::vector<nuv_app_info_s> list(3);
  EXPECT_EQ(0, Read(list, 3, kByIndex, {}, true));
  EXPECT_EQ((std::vector<std::string>{"app1", "app300", ""}), IdsOf(list));
}

TEST_F(MultiScreenListWorker, SelectsIdAndFlag) {
  database_.Add("one", {{"is_multi_screen2", 1}});
  database_.Add("seven", {{"is_multi_screen2", 7}});
  database_.Add("none", {{"is_multi_screen2", nullptr}});
  std::vector<nuv_app_ms_s> list(3);
  EXPECT_EQ(0, Read(list, 3, " order by rowid"));
  EXPECT_EQ((std::vector<std::string>{"select id,is_multi_screen2 from widgetinfo order by rowid"}),
            sqlite_faults::Prepared());
  EXPECT_EQ((std::vector<std::string>{"one", "seven", "none"}), IdsOf(list));
  EXPECT_EQ((std::vector<int>{1, 7, 0}),
            (std::vector<int>{list[0].is_multi_screen2, list[1].is_multi_screen2, list[2].is_multi_screen2}));
}

TEST_F(MultiScreenListWorker, CutsAnIdAt127Bytes) {
  const std::string id(200, 'i');
  database_.Add(id);
  auto list = Dirty<nuv_app_ms_s>(1);
  EXPECT_EQ(0, Read(list, 1));
  EXPECT_EQ(id.substr(0, 127), list[0].app_id);
}

TEST_F(MultiScreenListWorker, LogsItsWay) {
  database_.Add("one", {{"is_multi_screen2", 1}});
  std::vector<nuv_app_ms_s> list(2);
  EXPECT_EQ(0, Read(list, 2, " order by rowid"));
  EXPECT_EQ((std::vector<std::string>{"I Start : strParam:[ order by rowid],real_count:[2] ",
                                      "I sql:select id,is_multi_screen2 from widgetinfo order by rowid",
                                      "I begin to set app_info ", "I set app_info success",
                                      "I " + Green("appindex = 0, app_id =one, is_multi_screen2 =1"),
                                      "I " + Green("appindex = 1, app_id =, is_multi_screen2 =0"), "I Get DB finish"}),
            LogOf("GetAppsMSList"));
}

}  // namespace

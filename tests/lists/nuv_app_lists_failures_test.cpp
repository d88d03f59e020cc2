// What GetAppList() leaves behind when it fails: its result, the caller's variables, the memory, the log.
#include "app_list_test.h"
#include "nuv_db_api/nuv_app_columns.h"

namespace {

const std::string kStart = "I " + Green("Start");
const std::string kFactoryReset = "I " + Green("FactoryReset is true");
const std::string kRecovering = "E " + Red("Pkgmgr is recovering");
const std::string kNullParameter = "E " + Red("in param is NULL ");
const std::string kCountFailed = "E " + Red("get app count fail");
const std::string kOutOfMemory = "E " + Red("out of memory");

const ListAnswer kRefused = {-1, kCountBefore, Handed::kUntouched, {}};

// The same for both kinds of records.
class AppListFailure : public AppListTest, public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    AppListTest::SetUp();
    database_.AddMany(3);
  }
  void TearDown() override {
    EXPECT_EQ(0, memory_faults::LiveBlocks(3 * RecordSize()));
    EXPECT_TRUE(sqlite_faults::step_codes.empty());
    EXPECT_TRUE(sqlite_faults::prepare_codes.empty());
    AppListTest::TearDown();
  }

  static size_t RecordSize() { return GetParam() ? sizeof(nuv_app_ms_s) : sizeof(nuv_app_info_s); }
  static std::string ReadFailed() {
    return GetParam() ? "E " + Red("failed to get app list ms") : "E " + Red("failed to get app list");
  }
  static ListAnswer GetAll() {
    ListCall call;
    call.ms = GetParam();
    return Get(call);
  }
  // The same where there is no block of so many bytes for a text.
  static ListAnswer GetAllWithout(size_t bytes) {
    memory_faults::FailNew(bytes);
    const ListAnswer answer = GetAll();
    memory_faults::FailNew(0);
    return answer;
  }
  // A failure before there was an array.
  static void ExpectCountFailed(int result, const ListAnswer& answer) {
    EXPECT_EQ((ListAnswer{result, 0, Handed::kUntouched, {}}), answer);
    EXPECT_EQ(kCountFailed, LogOf("GetAppList").back());
  }
  // A failure after there was one.
  static void ExpectReadFailed(int result) {
    EXPECT_EQ((ListAnswer{result, 0, Handed::kNull, {}}), GetAll());
    const auto lines = LogOf("GetAppList");
    EXPECT_EQ(ReadFailed(), lines.back());
    EXPECT_EQ("I after set,real_count: 3", lines.at(lines.size() - 2));
  }
  static void ExpectUntouchedDatabase() {
    EXPECT_TRUE(sqlite_faults::Openings().empty());
    EXPECT_TRUE(sqlite_faults::Prepared().empty());
    EXPECT_TRUE(fake_platform::Effects().empty());
  }
};

INSTANTIATE_TEST_SUITE_P(Records, AppListFailure, ::testing::Bool(),
                         [](const auto& kind) { return kind.param ? "MultiScreen" : "Full"; });

TEST_P(AppListFailure, FactoryResetLeavesTheDatabaseAlone) {
  for (const int state : {1, 2}) {
    fake_platform::Clear();
    fake_platform::SetFactoryReset(state);
    EXPECT_EQ(kRefused, GetAll());
    EXPECT_EQ((std::vector<std::string>{kStart, kFactoryReset}), LogOf("GetAppList"));
    EXPECT_TRUE(LogOf("CheckPkgmgrRecovering").empty());
  }
  ExpectUntouchedDatabase();
  for (const int state : {0, 3, -1}) {
    fake_platform::SetFactoryReset(state);
    EXPECT_EQ(0, GetAll().result) << state;
  }
}

TEST_P(AppListFailure, RepairLeavesTheDatabaseAlone) {
  fake_platform::SetRepairMarker(true);
  EXPECT_EQ(kRefused, GetAll());
  EXPECT_EQ((std::vector<std::string>{kStart, kRecovering}), LogOf("GetAppList"));
  ExpectUntouchedDatabase();
  fake_platform::SetFactoryReset(1);
  EXPECT_EQ(kRefused, GetAll());
  EXPECT_EQ(kFactoryReset, LogOf("GetAppList").back());
}

TEST_P(AppListFailure, NeedsThePointersOfItsKind) {
  const nuv_app_filter_s any = {NUV_APP_FILTER_ANY, 0, NUV_APP_FILTER_ANY};
  const auto get = [any](int* real_count, nuv_app_info_s** list, nuv_app_ms_s** ms_list) {
    return GetAppList(any, NUV_APP_VIEWMODE_INDEX, 0, 0, GetParam(), real_count, list, ms_list);
  };
  int real_count = kCountBefore;
  nuv_app_info_s* list = nullptr;
  nuv_app_ms_s* ms_list = nullptr;
  EXPECT_EQ(-1, get(&real_count, GetParam() ? &list : nullptr, GetParam() ? nullptr : &ms_list));
  EXPECT_EQ(-1, get(nullptr, &list, &ms_list));
  EXPECT_EQ(-1, get(nullptr, nullptr, nullptr));
  EXPECT_EQ(kCountBefore, real_count);
  EXPECT_EQ((std::vector<std::string>{kStart, kNullParameter, kStart, kNullParameter, kStart, kNullParameter}),
            LogOf("GetAppList"));
  ExpectUntouchedDatabase();
  fake_platform::SetFactoryReset(1);  // the guards are asked first
  EXPECT_EQ(-1, get(nullptr, nullptr, nullptr));
  EXPECT_EQ(kFactoryReset, LogOf("GetAppList").back());
}

TEST_P(AppListFailure, NullPointersAreSeenBeforeAWrongType) {
  EXPECT_EQ(-1, GetAppList({1, 0, 256}, NUV_APP_VIEWMODE_INDEX, 0, 0, GetParam(), nullptr, nullptr, nullptr));
  EXPECT_EQ((std::vector<std::string>{kStart, kNullParameter}), LogOf("GetAppList"));
}

TEST_P(AppListFailure, BusyAtThePrepareOfTheCount) {
  sqlite_faults::prepare_codes.assign(50, SQLITE_BUSY);
  ExpectCountFailed(-2, GetAll());
  EXPECT_EQ(std::vector<std::string>(49, "usleep 10000"), fake_platform::Effects());
  EXPECT_EQ(50u, sqlite_faults::Prepared().size());
}

TEST_P(AppListFailure, BusyAtTheCount) {
  sqlite_faults::step_codes.assign(50, SQLITE_BUSY);
  ExpectCountFailed(-2, GetAll());
  EXPECT_EQ(std::vector<std::string>(49, "usleep 10000"), fake_platform::Effects());
  EXPECT_EQ(6, fake_platform::LogPriority("Get DB fail:sql busy"));
  EXPECT_EQ(1u, sqlite_faults::Prepared().size());
}

TEST_P(AppListFailure, BusyDatabaseOfAnotherProcess) {
  const auto locker = LockDatabase();
  ExpectCountFailed(-2, GetAll());
}

TEST_P(AppListFailure, ErrorAtTheCount) {
  sqlite_faults::prepare_codes = {SQLITE_CORRUPT};
  ExpectCountFailed(-1, GetAll());
  sqlite_faults::step_codes = {SQLITE_IOERR};
  ExpectCountFailed(-1, GetAll());
}

TEST_P(AppListFailure, NoDatabase) {
  fake_platform::SetDatabaseDirectory(directory_.path());
  ExpectCountFailed(-1, GetAll());
  EXPECT_EQ(0, sqlite_faults::LiveConnections());
}

TEST_P(AppListFailure, BusyAtThePrepareOfTheList) {
  sqlite_faults::prepare_codes.assign(51, SQLITE_BUSY);
  sqlite_faults::prepare_codes.front() = 0;
  ExpectReadFailed(-2);
  EXPECT_EQ(std::vector<std::string>(49, "usleep 10000"), fake_platform::Effects());
}

TEST_P(AppListFailure, ErrorAtThePrepareOfTheList) {
  sqlite_faults::prepare_codes = {0, SQLITE_NOMEM};
  ExpectReadFailed(-1);
}

TEST_P(AppListFailure, BusyAnywhereInTheList) {
  for (const int rows : {0, 1, 2, 3}) {
    SCOPED_TRACE(rows);
    fake_platform::Clear();
    LetSecondStatementBeBusy(rows);
    ExpectReadFailed(-2);
    EXPECT_EQ(std::vector<std::string>(49, "usleep 10000"), fake_platform::Effects());
    const auto lines = LogOf(GetParam() ? "GetAppsMSList" : "GetAppsTableList");
    EXPECT_EQ((std::vector<std::string>{"E Get DB fail:sql busy", "I Get DB finish"}),
              std::vector<std::string>(lines.end() - 2, lines.end()));
  }
}

TEST_P(AppListFailure, ErrorAtTheFirstRowOfTheList) {
  sqlite_faults::step_codes = {0, 0, SQLITE_IOERR};
  ExpectReadFailed(-1);
}

TEST_P(AppListFailure, ErrorAfterTheFirstRowLeavesRecordsZero) {
  sqlite_faults::step_codes = {0, 0, 0, SQLITE_IOERR};
  EXPECT_EQ(Array({"app0", "", ""}), GetAll());
}

TEST_P(AppListFailure, AllRowsGoBetweenCountAndList) {
  BeforeSecondStatement([this] { database_.Run("delete from widgetinfo"); });
  ExpectReadFailed(-1);
}

TEST_P(AppListFailure, ARowGoesBetweenCountAndList) {
  BeforeSecondStatement([this] { database_.Run("delete from widgetinfo where id = 'app1'"); });
  EXPECT_EQ(Array({"app0", "app2", ""}), GetAll());
}

TEST_P(AppListFailure, ARowComesBetweenCountAndList) {
  BeforeSecondStatement([this] { database_.Add("app", {{"app_index", -1}}); });
  EXPECT_EQ(Array({"app", "app0", "app1"}), GetAll());
}

TEST_P(AppListFailure, NoMemoryForTheArray) {
  memory_faults::FailMalloc(3 * RecordSize());
  EXPECT_EQ((ListAnswer{-1, 3, Handed::kNull, {}}), GetAll());
  EXPECT_EQ(GetParam() ? "E " + Red("failed to malloc app_list_ms") : "E " + Red("failed to malloc app_list"),
            LogOf("GetAppList").back());
  EXPECT_EQ(1u, sqlite_faults::Prepared().size());
  memory_faults::FailMalloc(0);
  EXPECT_EQ(3, GetAll().real_count);
}

TEST_P(AppListFailure, NoMemoryForTheStatementOfTheCount) {
  EXPECT_EQ(3, GetAll().real_count);
  ExpectCountFailed(-1, GetAllWithout(sqlite_faults::Prepared().at(0).size() + 1));
  EXPECT_EQ(kOutOfMemory, LogOf("GetAppsTableCount").back());
  EXPECT_EQ(3, GetAll().real_count);
}

TEST_P(AppListFailure, NoMemoryForTheStatementOfTheList) {
  EXPECT_EQ(3, GetAll().real_count);
  const size_t first_part = GetParam() ? sqlite_faults::Prepared().at(1).size() : AppColumns::Select().size();
  EXPECT_EQ((ListAnswer{-1, 0, Handed::kNull, {}}), GetAllWithout(first_part + 1));
  EXPECT_EQ(kOutOfMemory, LogOf("GetAppList").back());
  EXPECT_EQ(3u, sqlite_faults::Prepared().size());
  EXPECT_EQ(3, GetAll().real_count);
}

}  // namespace

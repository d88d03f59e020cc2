// Lists of the applications whose flag is set: nuv_get_key_list() and the two lists of a fixed flag.
#include <climits>
#include <functional>

#include "app_list_test.h"
#include "nuv_db_api/nuv_app_columns.h"

namespace {

const std::string kFactoryReset = "I " + Yellow("FactoryReset is true");
const std::string kRecovering = "E " + Red("Pkgmgr is recovering");
const std::string kNullParameter = "E " + Red("in param is NULL ");
const std::string kReadFailed = "E " + Red("get app list fail ");
const std::string kCountFailed = "E " + Red("failed to get AppsTable Count ");

const ListAnswer kRefused = {-1, kCountBefore, Handed::kUntouched, {}};

// Where the array goes, and the number of its records.
using Call = std::function<int(nuv_app_info_s** list, int* real_count)>;

ListAnswer Answer(const Call& call) {
  static nuv_app_info_s before = {};
  nuv_app_info_s* list = &before;
  int real_count = kCountBefore;
  const int result = call(&list, &real_count);
  return ReadAnswer(result, real_count, list, &before);
}

ListAnswer Locked(int count = 0) {
  return Answer(
      [count](nuv_app_info_s** list, int* real_count) { return nuv_get_key_list("is_lock", count, list, real_count); });
}

class KeyList : public AppListTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(0, memory_faults::LiveBlocks(3 * sizeof(nuv_app_info_s)));
    AppListTest::TearDown();
  }
  // Three applications with the flag, whose order in the database is not that of their index.
  void AddThree(const char* key) {
    database_.Add("second", {{key, 1}, {"app_index", 2}});
    database_.Add("none", {{key, 0}, {"app_index", 0}});
    database_.Add("third", {{key, 1}, {"app_index", 3}});
    database_.Add("first", {{key, 1}, {"app_index", 1}});
  }
  static ListAnswer Three() { return Array({"second", "third", "first"}); }
  static void ExpectFailed(const ListAnswer& answer, int result, Handed handed, const std::string& line) {
    EXPECT_EQ((ListAnswer{result, 0, handed, {}}), answer);
    EXPECT_EQ(line, LogOf("nuv_get_key_list").back());
  }
};

TEST_F(KeyList, HoldsFlaggedApplicationsInDatabaseOrder) {
  AddThree("is_lock");
  EXPECT_EQ(Three(), Locked());
  const std::string where =
      "  where install_state = ? and is_app_available = ? and is_lock = ? and is_need_reset = ?  ";
  EXPECT_EQ(
      (std::vector<std::string>{"select count(id) from widgetinfo" + where, std::string(AppColumns::Select()) + where}),
      sqlite_faults::Prepared());
  EXPECT_EQ(
      "select count(id) from widgetinfo  where install_state = 3 and is_app_available = 1 and is_lock = 1 and "
      "is_need_reset = 0  ",
      sqlite_faults::Executed().at(0));
}

TEST_F(KeyList, BringsNoDownloadForward) {
  database_.Add("old", {{"is_lock", 1}, {"app_index", 300}});
  database_.Add("new", {{"is_lock", 1}, {"app_index", 301}});
  EXPECT_EQ(Array({"old", "new"}), Locked());
}

TEST_F(KeyList, HiddenOnesCountUnusableOnesDoNot) {
  database_.Add("hidden", {{"is_lock", 1}, {"is_hidden", 1}});
  database_.Add("to be reset", {{"is_lock", 1}, {"is_need_reset", 1}});
  database_.Add("not available", {{"is_lock", 1}, {"is_app_available", 0}});
  database_.Add("half installed", {{"is_lock", 1}, {"install_state", 2}});
  database_.Add("flagged otherwise", {{"is_lock", 2}});
  EXPECT_EQ(Array({"hidden"}), Locked());
}

TEST_F(KeyList, CountCapsTheList) {
  AddThree("is_lock");
  EXPECT_EQ(Array({"second"}), Locked(1));
  EXPECT_EQ(Array({"second", "third"}), Locked(2));
  for (const int all : {3, 4, INT_MAX, 0, -1, INT_MIN}) EXPECT_EQ(Three(), Locked(all)) << all;
}

TEST_F(KeyList, LogsItsWay) {
  AddThree("is_lock");
  Locked(2);
  EXPECT_EQ((std::vector<std::string>{
                "I " + Green("Start,count:[2], key:[is_lock]"),
                "I param:  where install_state = ? and is_app_available = ? and is_lock = ? and is_need_reset = ?  ",
                "I before set,in_param count: 2,real_count:3", "I in_param count: 2", "I after set,real_count: 2",
                "I " + Green("Finish:real_count:[2]")}),
            LogOf("nuv_get_key_list"));
  EXPECT_NE(std::string::npos, LogOf("GetAppsTableCount").front().find("],tableType:[1]"));
  EXPECT_EQ(0u, LogOf("GetAppsTableList").front().rfind("I Start : real_count:[2],strParam:[  where install_state", 0));
  EXPECT_NE(std::string::npos, LogOf("GetAppsTableList").front().find("],tableType:[1] "));
  EXPECT_TRUE(fake_platform::Effects().empty());
}

TEST_F(KeyList, NothingFlaggedIsASuccessWithoutAnArray) {
  database_.AddMany(2);
  EXPECT_EQ((ListAnswer{0, 0, Handed::kUntouched, {}}), Locked());
  EXPECT_EQ("I real_count is 0 ", LogOf("nuv_get_key_list").back());
  EXPECT_EQ(1u, sqlite_faults::Prepared().size());
}

TEST_F(KeyList, GuardsLeaveTheDatabaseAlone) {
  fake_platform::SetRepairMarker(true);
  EXPECT_EQ(kRefused, Locked());
  EXPECT_EQ(kRecovering, LogOf("nuv_get_key_list").back());
  for (const int state : {1, 2}) {
    fake_platform::Clear();
    fake_platform::SetFactoryReset(state);
    EXPECT_EQ(kRefused, Locked());
    EXPECT_EQ((std::vector<std::string>{"I " + Green("Start,count:[0], key:[is_lock]"), kFactoryReset}),
              LogOf("nuv_get_key_list"));
  }
  EXPECT_TRUE(sqlite_faults::Openings().empty());
}

// The rest of the condition would otherwise be cut off together with what is behind the zero byte.
TEST_F(KeyList, AKeyEndsAtItsFirstZeroByte) {
  database_.Add("locked", {{"is_lock", 1}});
  database_.Add("reset", {{"is_lock", 1}, {"is_need_reset", 1}});
  int real_count = 0;
  nuv_app_info_s* list = nullptr;
  EXPECT_EQ(0, nuv_get_key_list(std::string("is_lock\0z", 9), 0, &list, &real_count));
  ASSERT_EQ(1, real_count);
  EXPECT_STREQ("locked", list[0].app_id);
  free(list);
}

TEST_F(KeyList, NeedsBothPointers) {
  int real_count = kCountBefore;
  nuv_app_info_s* list = nullptr;
  EXPECT_EQ(-1, nuv_get_key_list("is_lock", 0, nullptr, &real_count));
  EXPECT_EQ(-1, nuv_get_key_list("is_lock", 0, &list, nullptr));
  EXPECT_EQ(kCountBefore, real_count);
  EXPECT_EQ(kNullParameter, LogOf("nuv_get_key_list").back());
  EXPECT_EQ(6, fake_platform::LogPriority(kNullParameter.substr(2)));
  EXPECT_TRUE(sqlite_faults::Openings().empty());
}

TEST_F(KeyList, CountThatFailsLeavesThePointerAlone) {
  AddThree("is_lock");
  sqlite_faults::step_codes.assign(50, SQLITE_BUSY);
  ExpectFailed(Locked(), -2, Handed::kUntouched, kCountFailed);
  sqlite_faults::step_codes = {SQLITE_IOERR};
  ExpectFailed(Locked(), -1, Handed::kUntouched, kCountFailed);
}

// The count is written once its statement stands.
TEST_F(KeyList, CountThatCannotBePreparedLeavesEverythingAlone) {
  AddThree("is_lock");
  sqlite_faults::prepare_codes.assign(50, SQLITE_BUSY);
  EXPECT_EQ((ListAnswer{-2, kCountBefore, Handed::kUntouched, {}}), Locked());
  EXPECT_EQ(kCountFailed, LogOf("nuv_get_key_list").back());
  EXPECT_EQ(kRefused, Answer([](nuv_app_info_s** list, int* real_count) {
              return nuv_get_key_list("no_such_column", 0, list, real_count);
            }));
  EXPECT_EQ(kCountFailed, LogOf("nuv_get_key_list").back());
}

TEST_F(KeyList, BusyAnywhereInTheList) {
  AddThree("is_lock");
  for (const int rows : {0, 1, 3}) {
    LetSecondStatementBeBusy(rows);
    ExpectFailed(Locked(), -2, Handed::kNull, kReadFailed);
  }
  sqlite_faults::prepare_codes.assign(51, SQLITE_BUSY);
  sqlite_faults::prepare_codes.front() = 0;
  ExpectFailed(Locked(), -2, Handed::kNull, kReadFailed);
}

TEST_F(KeyList, RowsThatGoBetweenCountAndList) {
  AddThree("is_lock");
  BeforeSecondStatement([this] { database_.Run("delete from widgetinfo where id = 'third'"); });
  EXPECT_EQ(Array({"second", "first", ""}), Locked());
  BeforeSecondStatement([this] { database_.Run("delete from widgetinfo"); });
  ExpectFailed(Locked(), -1, Handed::kNull, kReadFailed);
}

TEST_F(KeyList, NoMemoryForTheArray) {
  AddThree("is_lock");
  memory_faults::FailMalloc(3 * sizeof(nuv_app_info_s));
  EXPECT_EQ((ListAnswer{-1, 3, Handed::kNull, {}}), Locked());
  EXPECT_EQ("E " + Red("Failed to malloc app_list"), LogOf("nuv_get_key_list").back());
  EXPECT_EQ(1u, sqlite_faults::Prepared().size());
}

TEST_F(KeyList, NoMemoryForTheStatement) {
  AddThree("is_lock");
  const ListAnswer answer = Answer([](nuv_app_info_s** list, int* real_count) {
    memory_faults::FailNew(AppColumns::Select().size() + 1);
    const int result = nuv_get_key_list("is_lock", 0, list, real_count);
    memory_faults::FailNew(0);
    return result;
  });
  ExpectFailed(answer, -1, Handed::kNull, "E " + Red("out of memory"));
}

TEST_F(KeyList, HoldsTheNamedLockAtEveryStatement) {
  AddThree("is_lock");
  std::vector<bool> free;
  sqlite_faults::before_prepare = [&free](const std::string&) { free.push_back(LockIsFree()); };
  EXPECT_EQ(Three(), Locked());
  EXPECT_EQ((std::vector<bool>{false, false}), free);
}

struct FixedList {
  const char* function;
  Call call;
  const char* column;
  const char* key;
};

const FixedList kFixed[] = {
    {"nuv_get_isp_bound_widget_list", nuv_get_isp_bound_widget_list, "is_ispbound", "is_ispbound "},
    {"nuv_get_hybrid_widget_list", nuv_get_hybrid_widget_list, "is_hybrid_tv", "is_hybrid_tv"},
};
void PrintTo(const FixedList& list, std::ostream* out) {
  *out << list.function;
}

class FixedKeyList : public KeyList, public ::testing::WithParamInterface<FixedList> {};

INSTANTIATE_TEST_SUITE_P(All, FixedKeyList, ::testing::ValuesIn(kFixed),
                         [](const auto& row) { return std::string(row.param.column); });

TEST_P(FixedKeyList, HoldsFlaggedApplicationsInDatabaseOrder) {
  AddThree(GetParam().column);
  database_.Add("other flags", {{"is_lock", 1}, {"is_ispbound", 0}, {"is_hybrid_tv", 0}});
  EXPECT_EQ(Three(), Answer(GetParam().call));
  EXPECT_EQ((std::vector<std::string>{"E " + Yellow("IN")}), LogOf(GetParam().function));
  EXPECT_EQ("I " + Green(std::string("Start,count:[0], key:[") + GetParam().key + "]"),
            LogOf("nuv_get_key_list").front());
  EXPECT_NE(std::string::npos,
            sqlite_faults::Prepared().at(0).find(std::string(" and ") + GetParam().key + " = ? and is_need_reset"));
}

TEST_P(FixedKeyList, PassesFailuresOn) {
  AddThree(GetParam().column);
  LetSecondStatementBeBusy(1);
  ExpectFailed(Answer(GetParam().call), -2, Handed::kNull, kReadFailed);
  EXPECT_EQ(-1, GetParam().call(nullptr, nullptr));
  EXPECT_EQ(kNullParameter, LogOf("nuv_get_key_list").back());
}

TEST_P(FixedKeyList, AnnouncesItselfEvenWhenRefused) {
  fake_platform::SetFactoryReset(1);
  EXPECT_EQ(kRefused, Answer(GetParam().call));
  EXPECT_EQ((std::vector<std::string>{"E " + Yellow("IN")}), LogOf(GetParam().function));
  EXPECT_EQ(kFactoryReset, LogOf("nuv_get_key_list").back());
}

}  // namespace

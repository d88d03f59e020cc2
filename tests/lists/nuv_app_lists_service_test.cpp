// The service's variant of the list, and the marks of the type filter.
#include <nuv/nuv_app_records.h>

#include <climits>

#include "app_list_test.h"
#include "nuv_db_api/nuv_app_columns.h"

namespace {

using Ids = std::vector<std::string>;

struct ServiceAnswer {
  int result;
  Ids ids;

  bool operator==(const ServiceAnswer& other) const { return result == other.result && ids == other.ids; }
};
void PrintTo(const ServiceAnswer& answer, std::ostream* out) {
  *out << "result " << answer.result << ", ids " << ::testing::PrintToString(answer.ids);
}

ServiceAnswer Get(const std::string& featured, const std::string& view_mode = "1", bool with_hidden = false) {
  std::vector<_APPS_INNER_INFO_T> list;
  const int result = GetNUVAppList(featured, view_mode, with_hidden, list);
  Ids ids;
  for (const _APPS_INNER_INFO_T& info : list) ids.push_back(info.id);
  return {result, ids};
}

class ServiceList : public AppListTest {
 protected:
  // What follows the table's name, with its parameters.
  static std::string Clause() {
    const std::string executed = sqlite_faults::Executed().at(0);
    return executed.substr(AppColumns::Select().size());
  }
};

const std::string kStart = " where install_state = 3 and is_app_available = 1 and is_need_reset = 0 ";
const std::string kByIndex = " order by app_index asc ";

TEST_F(ServiceList, ReadsWholeTexts) {
  const std::string title(200, 't');
  database_.Add("app", {{"title", title}, {"app_index", 5}, {"reserved_tinyint_10", 1}, {"version", nullptr}});
  std::vector<_APPS_INNER_INFO_T> list;
  EXPECT_EQ(0, GetNUVAppList("65535", "1", false, list));
  ASSERT_EQ(1u, list.size());
  EXPECT_EQ(title, list[0].title);
  EXPECT_EQ("", list[0].version);
  EXPECT_EQ(5, list[0].app_index);
  EXPECT_TRUE(list[0].reserved_tinyint_10);
  EXPECT_FALSE(list[0].reserved_tinyint_11);
}

TEST_F(ServiceList, AddsToTheCallersList) {
  database_.AddMany(2);
  std::vector<_APPS_INNER_INFO_T> list(1);
  list[0].id = "mine";
  EXPECT_EQ(0, GetNUVAppList("1", "1", false, list));
  ASSERT_EQ(3u, list.size());
  EXPECT_EQ("mine", list[0].id);
  EXPECT_EQ("app1", list[2].id);
}

TEST_F(ServiceList, HiddenOnesComeWhenAskedFor) {
  database_.Add("visible");
  database_.Add("hidden", {{"is_hidden", 1}, {"app_index", 1}});
  database_.Add("to be reset", {{"is_need_reset", 1}});
  database_.Add("not available", {{"is_app_available", 0}});
  database_.Add("half installed", {{"install_state", 2}});
  EXPECT_EQ((ServiceAnswer{0, {"visible"}}), Get("65535"));
  EXPECT_EQ(kStart + " and is_hidden = 0 " + kByIndex, Clause());
  sqlite_faults::Forget();
  EXPECT_EQ((ServiceAnswer{0, {"visible", "hidden"}}), Get("65535", "1", true));
  EXPECT_EQ(kStart + kByIndex, Clause());
}

TEST_F(ServiceList, AsksInTheseWords) {
  Get("3", "0");
  EXPECT_EQ((Ids{std::string(AppColumns::Select()) +
                 " where install_state = ? and is_app_available = ? and is_need_reset = ?  and is_hidden = ?  and "
                 "app_featured in (? ,? ,? )  order by use_count desc "}),
            sqlite_faults::Prepared());
}

struct FeaturedRow {
  const char* text;
  const char* categories;  // bound; "any", or null where the set is refused
};

const FeaturedRow kFeatured[] = {
    {"0", nullptr},      {"1", "1 "},     {"2", "2 "},       {"3", "1 ,2 ,8 "},  {" 3", "1 ,2 ,8 "},
    {"+3x", "1 ,2 ,8 "}, {"4", "4 "},     {"8", "8 "},       {"11", "1 ,2 ,8 "}, {"15", "1 ,2 ,4 ,8 "},
    {"16", nullptr},     {"19", "1 ,2 "}, {"65535", "any"},  {"65536", nullptr}, {"-1", "1 ,2 ,4 ,8 "},
    {"3a", "1 ,2 ,8 "},  {"", nullptr},   {"many", nullptr}, {"0x3", nullptr},   {"010", "2 ,8 "},
};

TEST_F(ServiceList, FeaturedIsASetInDecimal) {
  for (const FeaturedRow& row : kFeatured) {
    SCOPED_TRACE(row.text);
    fake_platform::Clear();
    sqlite_faults::Forget();
    EXPECT_EQ((ServiceAnswer{row.categories == nullptr ? -1 : 0, {}}), Get(row.text));
    if (row.categories == nullptr) {
      EXPECT_EQ((Ids{"I " + Green(std::string("Start, app_featured:[") + row.text + "], view_mode:[1]"),
                     "E " + Red("in param featured error")}),
                LogOf("GetNUVAppList"));
      EXPECT_TRUE(sqlite_faults::Prepared().empty());
    } else if (row.categories == std::string("any")) {
      EXPECT_EQ(kStart + " and is_hidden = 0 " + kByIndex, Clause());
    } else {
      EXPECT_EQ(kStart + " and is_hidden = 0  and app_featured in (" + row.categories + ") " + kByIndex, Clause());
    }
  }
}

TEST_F(ServiceList, FollowsTheViewMode) {
  database_.Add("b", {{"app_index", 2}, {"use_count", 1}, {"title", "Browser"}, {"install_date", "4"}});
  database_.Add("d", {{"app_index", 301}, {"use_count", 2}, {"title", "apps"}, {"install_date", "3"}});
  database_.Add("a", {{"app_index", 1}, {"use_count", 7}, {"title", "clock"}, {"install_date", "2"}});
  database_.Add("c", {{"app_index", 300}, {"use_count", 9}, {"title", "Drama"}, {"install_date", "1"}});
  const Ids by_index = {"a", "b", "c", "d"};
  const struct {
    const char* view_mode;
    Ids ids;
    const char* order;
  } rows[] = {
      {"0", {"c", "a", "d", "b"}, " order by use_count desc "},
      {"1", by_index, kByIndex.c_str()},
      {"2", by_index, kByIndex.c_str()},  // nothing is brought forward
      {"3", {"d", "b", "a", "c"}, " order by upper(title) asc "},
      {"4", {"c", "a", "b", "d"}, " order by upper(title) desc "},
      {"5", by_index, kByIndex.c_str()},
      {"-1", by_index, kByIndex.c_str()},
      {"4th", {"c", "a", "b", "d"}, " order by upper(title) desc "},
      {"3a", {"d", "b", "a", "c"}, " order by upper(title) asc "},
      {"", {"c", "a", "d", "b"}, " order by use_count desc "},  // no number counts as 0
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.view_mode);
    sqlite_faults::Forget();
    EXPECT_EQ((ServiceAnswer{0, row.ids}), Get("65535", row.view_mode));
    EXPECT_EQ(kStart + " and is_hidden = 0 " + row.order, Clause());
  }
}

TEST_F(ServiceList, LogsItsWay) {
  database_.AddMany(1);
  Get("3", "2");
  EXPECT_EQ((Ids{"I " + Green("Start, app_featured:[3], view_mode:[2]"), "I " + Green("Finish ret[0]")}),
            LogOf("GetNUVAppList"));
  EXPECT_EQ("I set app app0", LogOf("m_GetAppsTableInnerList").back());
  EXPECT_TRUE(fake_platform::Effects().empty());
}

TEST_F(ServiceList, GuardsLeaveTheDatabaseAlone) {
  fake_platform::SetRepairMarker(true);
  EXPECT_EQ((ServiceAnswer{-1, {}}), Get("1"));
  EXPECT_EQ("E " + Red("Pkgmgr is recovering"), LogOf("GetNUVAppList").back());
  fake_platform::SetFactoryReset(2);
  EXPECT_EQ((ServiceAnswer{-1, {}}), Get("0"));  // asked before the set is looked at
  EXPECT_EQ("I " + Yellow("FactoryReset is true"), LogOf("GetNUVAppList").back());
  EXPECT_TRUE(sqlite_faults::Openings().empty());
}

TEST_F(ServiceList, NothingThatMatchesIsASuccess) {
  EXPECT_EQ((ServiceAnswer{0, {}}), Get("65535"));
}

TEST_F(ServiceList, ABusyStepLeavesWhatWasReadUntilThen) {
  database_.AddMany(3);
  for (const size_t rows : {0u, 1u, 2u}) {
    fake_platform::Clear();
    sqlite_faults::step_codes.assign(rows, 0);
    sqlite_faults::step_codes.insert(sqlite_faults::step_codes.end(), 50, SQLITE_BUSY);
    const ServiceAnswer answer = Get("1");
    EXPECT_EQ(0, answer.result);
    EXPECT_EQ(rows, answer.ids.size());
    EXPECT_EQ(6, fake_platform::LogPriority("Get DB fail:sql busy"));
    EXPECT_EQ("I " + Green("Finish ret[0]"), LogOf("GetNUVAppList").back());
  }
}

TEST_F(ServiceList, AFailedPrepareIsTheResult) {
  sqlite_faults::prepare_codes.assign(50, SQLITE_BUSY);
  EXPECT_EQ((ServiceAnswer{-2, {}}), Get("1"));
  EXPECT_EQ("I " + Green("Finish ret[-2]"), LogOf("GetNUVAppList").back());
  sqlite_faults::prepare_codes = {SQLITE_ERROR};
  EXPECT_EQ((ServiceAnswer{-1, {}}), Get("1"));
  EXPECT_EQ("I " + Green("Finish ret[-1]"), LogOf("GetNUVAppList").back());
}

TEST_F(ServiceList, MemoryThatRunsOutIsAFailure) {
  database_.AddMany(1);
  std::vector<_APPS_INNER_INFO_T> list;
  memory_faults::FailNew(AppColumns::Select().size() + 1);
  const int result = GetNUVAppList("1", "1", false, list);
  memory_faults::FailNew(sizeof(_APPS_INNER_INFO_T));  // with a statement that is live
  const int result_of_list = GetNUVAppList("1", "1", false, list);
  memory_faults::FailNew(0);
  EXPECT_EQ(-1, result);
  EXPECT_EQ(-1, result_of_list);
  EXPECT_TRUE(list.empty());
  EXPECT_EQ("E " + Red("out of memory"), LogOf("GetNUVAppList").back());
}

TEST_F(ServiceList, HoldsTheNamedLock) {
  database_.AddMany(1);
  bool free = true;
  sqlite_faults::before_prepare = [&free](const std::string&) { free = LockIsFree(); };
  EXPECT_EQ((ServiceAnswer{0, {"app0"}}), Get("1"));
  EXPECT_FALSE(free);
}

class TypeMarks : public AppListTest {};

TEST_F(TypeMarks, OneForEachTypeOfTheSet) {
  const struct {
    int type;
    const char* text;
    std::vector<int> bound;
  } rows[] = {{0, "", {}},          {1, "", {}}, {2, "? ", {2}},         {4, "? ", {4}},        {6, "? ,? ", {2, 4}},
              {7, "? ,? ", {2, 4}}, {8, "", {}}, {127, "? ,? ", {2, 4}}, {126, "? ,? ", {2, 4}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.type);
    fake_platform::Clear();
    std::string text = "what was there";
    std::vector<_NUVDB_BIND_T> binds = {{1, "before", 0}};
    EXPECT_EQ(0, GetStrAppType(row.type, text, binds));
    EXPECT_EQ(row.text, text);
    ASSERT_EQ(1 + row.bound.size(), binds.size());
    for (size_t i = 0; i < row.bound.size(); ++i) {
      EXPECT_EQ(2, binds[1 + i].type);
      EXPECT_EQ(row.bound[i], binds[1 + i].value);
    }
    EXPECT_EQ((Ids{"I Start to get app type", std::string("I Type:") + row.text}), LogOf("GetStrAppType"));
  }
}

TEST_F(TypeMarks, RefusesOtherSets) {
  for (const int type : {128, 200, 255, 256, 65535, -1, INT_MIN, INT_MAX}) {
    fake_platform::Clear();
    std::string text = "what was there";
    std::vector<_NUVDB_BIND_T> binds;
    EXPECT_EQ(-1, GetStrAppType(type, text, binds)) << type;
    EXPECT_EQ("what was there", text);
    EXPECT_TRUE(binds.empty());
    EXPECT_EQ((Ids{"I Start to get app type", "E " + Red("in param app_type is error")}), LogOf("GetStrAppType"));
  }
}

}  // namespace

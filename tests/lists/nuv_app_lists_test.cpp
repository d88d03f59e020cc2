// What a list of applications holds and in which order: view modes, both kinds of records.
#include <climits>

#include "app_list_test.h"

namespace {

const std::string kCount = "select count(id) from widgetinfo";
const std::string kEnd = " and is_hidden = 0 and is_need_reset = 0 ";

class AppList : public AppListTest {};

TEST_F(AppList, ReadsFullRecords) {
  database_.Add("org.kelvo.clock",
                {{"title", "Clock"}, {"app_index", 4}, {"icon_path", "/icon"}, {"is_multi_screen2", 1}});
  nuv_app_info_s* list = nullptr;
  int count = 0;
  ASSERT_EQ(0, GetAppList({NUV_APP_FILTER_ANY, 0, NUV_APP_FILTER_ANY}, NUV_APP_VIEWMODE_INDEX, 0, 0, false, &count,
                          &list, nullptr));
  ASSERT_EQ(1, count);
  EXPECT_STREQ("org.kelvo.clock", list->app_id);
  EXPECT_STREQ("Clock", list->app_title);
  EXPECT_STREQ("/icon", list->ambient_icon_path);
  EXPECT_STREQ("", list->app_version);
  EXPECT_EQ(4, list->app_index);
  EXPECT_EQ(3, list->install_state);
  EXPECT_EQ(1, list->is_multi_screen2);
  EXPECT_EQ(0, list->reserved_int_a);
  EXPECT_EQ(1, memory_faults::LiveBlocks(sizeof(nuv_app_info_s)));
  free(list);
  EXPECT_EQ(0, memory_faults::LiveBlocks(sizeof(nuv_app_info_s)));
}

TEST_F(AppList, ReadsMultiScreenRecords) {
  database_.Add("org.kelvo.clock", {{"is_multi_screen2", 1}});
  database_.Add("org.kelvo.radio", {{"app_index", 1}, {"is_multi_screen2", 0}});
  nuv_app_ms_s* list = nullptr;
  int count = 0;
  ASSERT_EQ(0, GetAppList({NUV_APP_FILTER_ANY, 0, NUV_APP_FILTER_ANY}, NUV_APP_VIEWMODE_INDEX, 0, 0, true, &count,
                          nullptr, &list));
  ASSERT_EQ(2, count);
  EXPECT_STREQ("org.kelvo.clock", list[0].app_id);
  EXPECT_EQ(1, list[0].is_multi_screen2);
  EXPECT_STREQ("org.kelvo.radio", list[1].app_id);
  EXPECT_EQ(0, list[1].is_multi_screen2);
  EXPECT_EQ(1, memory_faults::LiveBlocks(2 * sizeof(nuv_app_ms_s)));
  free(list);
}

TEST_F(AppList, LeavesTheOtherKindsPointerAlone) {
  database_.AddMany(1);
  nuv_app_info_s record = {};
  nuv_app_ms_s ms_record = {};
  nuv_app_info_s* list = &record;
  nuv_app_ms_s* ms_list = &ms_record;
  int count = 0;
  const nuv_app_filter_s any = {NUV_APP_FILTER_ANY, 0, NUV_APP_FILTER_ANY};
  EXPECT_EQ(0, GetAppList(any, NUV_APP_VIEWMODE_INDEX, 0, 0, true, &count, &list, &ms_list));
  EXPECT_EQ(&record, list);
  free(ms_list);
  ms_list = &ms_record;
  EXPECT_EQ(0, GetAppList(any, NUV_APP_VIEWMODE_INDEX, 0, 0, false, &count, &list, &ms_list));
  EXPECT_EQ(&ms_record, ms_list);
  free(list);
}

TEST_F(AppList, HoldsUsableVisibleApplicationsOnly) {
  database_.Add("usable");
  database_.Add("hidden", {{"is_hidden", 1}});
  database_.Add("to be reset", {{"is_need_reset", 1}});
  database_.Add("not available", {{"is_app_available", 0}});
  database_.Add("half installed", {{"install_state", 2}});
  database_.Add("unknown", {{"install_state", nullptr}, {"is_hidden", nullptr}});
  EXPECT_EQ(Array({"usable"}), Get({}));
  EXPECT_EQ(kCount + " where is_app_available = 1 and install_state = 3 " + kEnd, sqlite_faults::Executed().at(0));
}

TEST_F(AppList, NothingThatMatchesIsASuccessWithoutAnArray) {
  for (const bool ms : {false, true}) {
    fake_platform::Clear();
    ListCall call;
    call.ms = ms;
    EXPECT_EQ((ListAnswer{0, 0, Handed::kUntouched, {}}), Get(call));
    EXPECT_EQ("I real_count is 0 ", LogOf("GetAppList").back());
  }
  EXPECT_EQ(2u, sqlite_faults::Prepared().size());
}

TEST_F(AppList, AsksInTheseWords) {
  database_.Add("app", {{"app_type", 4}});
  const std::string where =
      " where is_app_available = ? and install_state = ?  and app_type in (? ,? )  and app_featured in (? ,? ,? )  and "
      "is_hidden = ? and is_need_reset = ? ";
  EXPECT_EQ(Array({"app"}), Get({3, 6, NUV_APP_VIEWMODE_MOST_USED, 0, 5, true}));
  EXPECT_EQ((std::vector<std::string>{kCount + where, "select id,is_multi_screen2 from widgetinfo" + where +
                                                          " order by use_count desc limit ?,? "}),
            sqlite_faults::Prepared());
  EXPECT_EQ(
      "select id,is_multi_screen2 from widgetinfo where is_app_available = 1 and install_state = 3  and app_type "
      "in (2 ,4 )  and app_featured in (1 ,2 ,8 )  and is_hidden = 0 and is_need_reset = 0  order by use_count "
      "desc limit 0,1 ",
      sqlite_faults::Executed().at(1));
}

TEST_F(AppList, LogsItsWay) {
  database_.AddMany(3);
  ListCall call{3, 2, NUV_APP_VIEWMODE_TITLE_ASC, 1, 5};
  Get(call);
  EXPECT_EQ((std::vector<std::string>{
                "I " + Green("Start"),
                "I " + Green("featured:[3],type:[2],premium_game:[0],view_mode:[3],index:[1],count:[5]"),
                "I " + Green("featured:[3],type:[2],view_mode:[3],index:[1],count:[5],app_featured:[11]"),
                "I before set,count: 5,index:1,real_count:3", "I after set,real_count: 2",
                "I " + Green("Finish,real_count:[2]")}),
            LogOf("GetAppList"));
  EXPECT_EQ((std::vector<std::string>{"I Start to get app type", "I Type:? "}), LogOf("GetStrAppType"));
  EXPECT_EQ((std::vector<std::string>{
                "I Start:strParam:[ where is_app_available = ? and install_state = ?  and app_type in (? )  and "
                "app_featured in (? ,? ,? )  and is_hidden = ? and is_need_reset = ? ],tableType:[0]"}),
            LogOf("GetAppsTableCount"));
  EXPECT_NE(std::string::npos, LogOf("GetAppsTableList").front().find("limit ?,? ],tableType:[0] "));
  EXPECT_TRUE(fake_platform::Effects().empty());
  for (const fake_platform::LogLine& line : fake_platform::Log()) EXPECT_EQ(0u, line.prefix.rfind("NuvClient ", 0));
}

// Ids that tell the order: by use count, by index, by title, by install date.
struct OrderRow {
  int view_mode;
  std::vector<std::string> full;
  std::vector<std::string> ms;
  const char* order;
  const char* ms_order;
};

constexpr const char* kByIndex = " order by app_index asc ";

const OrderRow kOrders[] = {
    {0, {"c", "a", "d", "b"}, {"c", "a", "d", "b"}, " order by use_count desc ", " order by use_count desc "},
    {1, {"a", "b", "c", "d"}, {"a", "b", "c", "d"}, kByIndex, kByIndex},
    {2, {"d", "c", "a", "b"}, {"b", "d", "a", "c"}, kByIndex, " order by install_date desc "},
    {3, {"d", "b", "a", "c"}, {"d", "b", "a", "c"}, " order by upper(title) asc ", " order by upper(title) asc "},
    {4, {"c", "a", "b", "d"}, {"c", "a", "b", "d"}, " order by upper(title) desc ", " order by upper(title) desc "},
    {5, {"a", "b", "c", "d"}, {"a", "b", "c", "d"}, kByIndex, kByIndex},
    {-1, {"a", "b", "c", "d"}, {"a", "b", "c", "d"}, kByIndex, kByIndex},
    {258, {"a", "b", "c", "d"}, {"a", "b", "c", "d"}, kByIndex, kByIndex},
    {INT_MIN, {"a", "b", "c", "d"}, {"a", "b", "c", "d"}, kByIndex, kByIndex},
    {INT_MAX, {"a", "b", "c", "d"}, {"a", "b", "c", "d"}, kByIndex, kByIndex},
};

class AppListOrder : public AppList {
 protected:
  void SetUp() override {
    AppList::SetUp();
    // added in an order that is none of the others
    AddOne("b", 2, 1, "Browser", "2026-09-01");
    AddOne("d", 301, 2, "apps", "2026-08-01");
    AddOne("a", 1, 7, "clock", "2026-07-01");
    AddOne("c", 300, 9, "Drama", "2026-06-01");
  }
  void AddOne(const char* id, int index, int uses, const char* title, const char* date) {
    database_.Add(id, {{"app_index", index}, {"use_count", uses}, {"title", title}, {"install_date", date}});
  }
};

TEST_F(AppListOrder, FollowsTheViewMode) {
  for (const OrderRow& row : kOrders) {
    for (const bool ms : {false, true}) {
      SCOPED_TRACE(std::to_string(row.view_mode) + (ms ? " ms" : ""));
      for (const int index : {-1, 0}) {
        fake_platform::Clear();
        sqlite_faults::Forget();
        ListCall call;
        call.view_mode = row.view_mode;
        call.index = index;
        call.ms = ms;
        EXPECT_EQ(Array(ms ? row.ms : row.full), Get(call));
        const std::string text = sqlite_faults::Executed().at(1);
        EXPECT_EQ(kEnd + (ms ? row.ms_order : row.order) + (index == 0 ? "limit 0,4 " : ""),
                  text.substr(text.find(kEnd)));
        EXPECT_EQ(!ms && row.view_mode == 2, fake_platform::Logged(Green("view mode : last download")));
      }
    }
  }
}

// The page is cut by index, and what is on it is put into order.
TEST_F(AppListOrder, LastDownloadOrdersThePageOnly) {
  ListCall call;
  call.view_mode = NUV_APP_VIEWMODE_LAST_DOWNLOAD;
  call.index = 1;
  call.count = 2;
  EXPECT_EQ(Array({"c", "b"}), Get(call));
  call.index = -1;
  call.count = 3;
  EXPECT_EQ(Array({"c", "a", "b"}), Get(call));
}

TEST_F(AppList, TakesNoNamedLock) {
  database_.AddMany(1);
  std::vector<bool> free;
  sqlite_faults::before_prepare = [&free](const std::string&) { free.push_back(LockIsFree()); };
  EXPECT_EQ(Array({"app0"}), Get({}));
  EXPECT_EQ((std::vector<bool>{true, true}), free);
}

}  // namespace

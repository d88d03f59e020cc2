// What the lookups of the inner side find.
#include "inner_test.h"

namespace {

class InnerLookup : public InnerTest {
 protected:
  std::string IdOf(int (*lookup)(const std::string&, _APPSINFO_T&, bool), const std::string& key,
                   bool installed_only = true) {
    _APPSINFO_T info;
    const int result = lookup(key, info, installed_only);
    return result == 0 ? info.id : std::to_string(result);
  }
};

TEST_F(InnerLookup, ByIdMatchesIdKelvoIdAndRunTitle) {
  database_.Add("org.kelvo.clock", {{"kelvo_id", "111"}, {"run_title", "clock"}});
  database_.Add("org.kelvo.other", {{"kelvo_id", "222"}, {"run_title", "other"}});
  for (const char* key : {"org.kelvo.clock", "111", "clock"}) {
    EXPECT_EQ("org.kelvo.clock", IdOf(nuv_inner_get_app_info_by_id, key)) << key;
  }
  EXPECT_EQ("-1", IdOf(nuv_inner_get_app_info_by_id, "CLOCK"));
}

TEST_F(InnerLookup, ByIdLogsEachRow) {
  database_.Add("a", {{"kelvo_id", "k"}});
  database_.Add("b", {{"kelvo_id", "k"}});
  EXPECT_EQ("b", IdOf(nuv_inner_get_app_info_by_id, "k"));
  const LogLines row = {"I " + Yellow("[inner db] SQLITE_ROW")};
  EXPECT_EQ(Join({{"I [inner db] get app info by app id [k]"},
                  kConnected,
                  kPrepared,
                  kRow,
                  row,
                  kRow,
                  row,
                  kDone,
                  {"I [inner db] get app info by app id [k] success"}}),
            LogSoFar());
}

TEST_F(InnerLookup, TheOtherLookupsDoNotLogRows) {
  database_.Add("a", {{"kelvo_id", "k"}});
  EXPECT_EQ("a", IdOf(nuv_inner_get_app_info_by_kelvoid, "k"));
  EXPECT_EQ(Join({{"I [inner db] get app info by kelvo id [k]"},
                  kConnected,
                  kPrepared,
                  kRow,
                  kDone,
                  {"I [inner db] get app info by kelvo id [k] success"}}),
            LogSoFar());
}

TEST_F(InnerLookup, TheLastOfSeveralMatchesWins) {
  database_.Add("first", {{"run_title", "later"}, {"kelvo_id", "k"}, {"title", "t"}});
  database_.Add("later", {{"run_title", "later"}, {"kelvo_id", "k"}, {"title", "t"}});
  database_.Add("last", {{"run_title", "first"}, {"hybrid_app", "k"}});
  EXPECT_EQ("last", IdOf(nuv_inner_get_app_info_by_id, "first"));
  EXPECT_EQ("later", IdOf(nuv_inner_get_app_info_by_id, "later"));
  EXPECT_EQ("later", IdOf(nuv_inner_get_app_info_by_kelvoid, "k"));
  EXPECT_EQ("later", IdOf(nuv_inner_get_app_info_by_runtitle, "later"));
  std::string id;
  EXPECT_EQ(0, nuv_inner_get_appid_by_title("t", id));
  EXPECT_EQ("later", id);
  EXPECT_EQ(0, nuv_inner_get_appid_by_kelvoid_or_nativeid("k", id));
  EXPECT_EQ("last", id);
}

struct Excluded {
  const char* name;
  AppDatabase::Row row;
  bool only_by_run_title;
};

TEST_F(InnerLookup, InstalledOnlyLeavesOthersOut) {
  const Excluded excluded[] = {{"state", {{"install_state", 2}}, false},
                               {"reset", {{"is_need_reset", 1}}, false},
                               {"unavailable", {{"is_app_available", 0}}, false},
                               {"hidden", {{"is_hidden", 1}}, true}};
  for (const Excluded& app : excluded) {
    AppDatabase::Row row = app.row;
    row["kelvo_id"] = "k" + std::string(app.name);
    row["run_title"] = "r" + std::string(app.name);
    database_.Add(app.name, row);
    const std::string others = app.only_by_run_title ? app.name : "-1";
    EXPECT_EQ(others, IdOf(nuv_inner_get_app_info_by_id, app.name)) << app.name;
    EXPECT_EQ(others, IdOf(nuv_inner_get_app_info_by_kelvoid, "k" + std::string(app.name))) << app.name;
    EXPECT_EQ("-1", IdOf(nuv_inner_get_app_info_by_runtitle, "r" + std::string(app.name))) << app.name;
    EXPECT_EQ(app.name, IdOf(nuv_inner_get_app_info_by_id, app.name, false));
    EXPECT_EQ(app.name, IdOf(nuv_inner_get_app_info_by_kelvoid, "k" + std::string(app.name), false));
    EXPECT_EQ(app.name, IdOf(nuv_inner_get_app_info_by_runtitle, "r" + std::string(app.name), false));
  }
}

TEST_F(InnerLookup, IdLookupsAskForNoState) {
  database_.Add("gone", {{"title", "Gone"}, {"hybrid_app", "native"}, {"install_state", 0}, {"is_hidden", 1}});
  std::string id = "something longer than what replaces it";
  EXPECT_EQ(0, nuv_inner_get_appid_by_title("Gone", id));
  EXPECT_EQ("gone", id);
  id.clear();
  EXPECT_EQ(0, nuv_inner_get_appid_by_kelvoid_or_nativeid("native", id));
  EXPECT_EQ("gone", id);
}

TEST_F(InnerLookup, KeysAreBoundAndNotPartOfTheStatement) {
  const std::string key = "x' or '1' = '1";
  database_.Add("a", {{"title", key}});
  EXPECT_EQ("-1", IdOf(nuv_inner_get_app_info_by_id, key));
  std::string id;
  EXPECT_EQ(0, nuv_inner_get_appid_by_title(key, id));
  EXPECT_EQ("a", id);
}

class InnerUsage : public InnerTest {
 protected:
  static std::string Checks(int (*check)(const std::string&), std::initializer_list<const char*> ids) {
    std::string results;
    for (const char* id : ids) results += std::to_string(check(id));
    return results;
  }
};

TEST_F(InnerUsage, TheThreeMostUsedCount) {
  const int counts[] = {5, 9, 1, 7, 3};
  for (int i = 0; i < 5; ++i) database_.Add("app" + std::to_string(i), {{"use_count", counts[i]}});
  EXPECT_EQ("11010", Checks(nuv_inner_check_most_used_app, {"app0", "app1", "app2", "app3", "app4"}));
}

TEST_F(InnerUsage, TheThreeLaunchedLastCount) {
  const char* dates[] = {"2025-03-07 09:05:03", "2025-03-07 09:05:04", "2024-12-31 23:59:59", "2025-01-01 00:00:00",
                         "2023-01-01 00:00:00"};
  for (int i = 0; i < 5; ++i) {
    database_.Add("app" + std::to_string(i), {{"use_count", 1 + i}, {"launch_date", dates[i]}});
  }
  EXPECT_EQ("11010", Checks(nuv_inner_check_recently_used_app, {"app0", "app1", "app2", "app3", "app4"}));
}

TEST_F(InnerUsage, AnApplicationThatWasNeverLaunchedDoesNotCount) {
  database_.Add("twice", {{"use_count", 2}, {"launch_date", "2025-01-01 00:00:00"}});
  database_.Add("once", {{"use_count", 1}, {"launch_date", "2025-01-01 00:00:00"}});
  database_.Add("never", {{"use_count", 0}, {"launch_date", "2025-02-01 00:00:00"}});
  EXPECT_EQ("110", Checks(nuv_inner_check_most_used_app, {"twice", "once", "never"}));
  EXPECT_EQ("110", Checks(nuv_inner_check_recently_used_app, {"twice", "once", "never"}));
}

TEST_F(InnerUsage, OnlyUsableVisibleApplicationsCount) {
  const std::pair<const char*, AppDatabase::Row> rows[] = {{"state", {{"install_state", 2}}},
                                                           {"reset", {{"is_need_reset", 1}}},
                                                           {"unavailable", {{"is_app_available", 0}}},
                                                           {"hidden", {{"is_hidden", 1}}},
                                                           {"usable", {}}};
  for (const auto& [id, row] : rows) {
    AppDatabase::Row whole = row;
    whole["use_count"] = 5;
    database_.Add(id, whole);
  }
  EXPECT_EQ("00001", Checks(nuv_inner_check_most_used_app, {"state", "reset", "unavailable", "hidden", "usable"}));
  EXPECT_EQ("00001", Checks(nuv_inner_check_recently_used_app, {"state", "reset", "unavailable", "hidden", "usable"}));
}

TEST_F(InnerUsage, IdsAreComparedByteByByte) {
  database_.Add("app", {{"use_count", 5}});
  EXPECT_EQ("1000", Checks(nuv_inner_check_most_used_app, {"app", "App", "ap", "apps"}));
  EXPECT_EQ(0, nuv_inner_check_most_used_app(std::string("app\0", 4)));
}

TEST_F(InnerUsage, AMatchIsLoggedAndTheRestIsSteppedThrough) {
  for (const char* id : {"c", "b", "a"}) {
    database_.Add(id, {{"use_count", 1 + id[0]}, {"launch_date", id}});
  }
  EXPECT_EQ(1, nuv_inner_check_most_used_app("b"));
  EXPECT_EQ(Join({{"I [inner db] check [b] is most used app or not"},
                  kConnected,
                  kPrepared,
                  kRow,
                  kRow,
                  {"I " + Yellow("[inner db] [b] is most used app or not")},
                  kRow,
                  kDone,
                  {"I " + Yellow("[inner db] [b] get db finish, result [1]")}}),
            LogSoFar());
  fake_platform::Clear();
  EXPECT_EQ(1, nuv_inner_check_recently_used_app("c"));
  EXPECT_EQ(Join({{"I [inner db] check [c] is recently used app or not"},
                  kAlreadyConnected,
                  kPrepared,
                  kRow,
                  {"I " + Yellow("[inner db] [c] is recently used app")},
                  kRow,
                  kRow,
                  kDone,
                  {"I " + Yellow("[inner db] [c] check db finish, result [1]")}}),
            LogSoFar());
}

}  // namespace

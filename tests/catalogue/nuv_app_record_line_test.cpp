// What is special about single workers: the list of records, the lengths of values, the whole line about a record.
#include <nuv_common/nuv_lock.h>

#include <cstdlib>
#include <cstring>

#include "catalogue_log.h"
#include "database_test.h"
#include "distinct_row.h"
#include "held_mutex.h"
#include "nuv_db_api/nuv_app_queries.h"
#include "record_line.h"

namespace {

using Binds = std::vector<_NUVDB_BIND_T>;

const std::string kNasty = "it's \"100%s\" %n %\n<next>";

class InnerList : public DatabaseTest {
 protected:
  LogLines Run(const std::string& clause = "") {
    return LogOf([&] {
      Binds binds;
      result_ = m_GetAppsTableInnerList(list_, clause, binds);
    });
  }
  std::string Ids() const {
    std::string ids;
    for (const _APPS_INNER_INFO_T& info : list_) ids += info.id + " ";
    return ids;
  }
  LogLines Row(const std::string& id) const { return Join({RowLines(), {"I set app " + id}}); }
  LogLines Start(const std::string& clause = "") const { return {"I Start:strParam:" + clause + " "}; }
  LogLines Opened() const { return Join({OpenedLines(database_.path()), PreparedLine(0)}); }

  std::vector<_APPS_INNER_INFO_T> list_;
  int result_ = 99;
};

TEST_F(InnerList, AppendsEveryRow) {
  database_.AddMany(3);
  list_.resize(1);
  list_[0].id = "before";
  const LogLines log = Run(" order by app_index desc");
  EXPECT_EQ(0, result_);
  EXPECT_EQ("before app2 app1 app0 ", Ids());
  EXPECT_EQ(Join({Start(" order by app_index desc"), Opened(), Row("app2"), Row("app1"), Row("app0"), DoneLines()}),
            log);
  EXPECT_EQ(std::vector<std::string>{AppDatabase::FullRowSelect() + " order by app_index desc"},
            sqlite_faults::Prepared());
}

TEST_F(InnerList, IsEmptyAndInOrderWhereNothingMatches) {
  const LogLines log = Run();
  EXPECT_EQ(0, result_);
  EXPECT_TRUE(list_.empty());
  EXPECT_EQ(Join({Start(), Opened(), DoneLines()}), log);
}

TEST_F(InnerList, KeepsWhatItReadBeforeTheDatabaseBecameBusy) {
  database_.AddMany(3);
  sqlite_faults::step_codes = std::deque<int>(52, SQLITE_BUSY);
  sqlite_faults::step_codes[0] = sqlite_faults::step_codes[1] = 0;
  const LogLines log = Run();
  EXPECT_EQ(0, result_);
  EXPECT_EQ("app0 app1 ", Ids());
  EXPECT_EQ(Join({Start(), Opened(), Row("app0"), Row("app1"), BusyStepLines(), {"E Get DB fail:sql busy"}}), log);
}

TEST_F(InnerList, IsEmptyAndInOrderWhereTheDatabaseIsBusyOnceItIsPrepared) {
  database_.AddMany(3);
  Run(" where id = 'none'");
  const auto locker = LockDatabase();
  const LogLines log = Run();
  EXPECT_EQ(0, result_);
  EXPECT_TRUE(list_.empty());
  EXPECT_EQ(Join({Start(), PrepareLines(database_.path()), BusyStepLines(), {"E Get DB fail:sql busy"}}), log);
}

TEST_F(InnerList, KeepsWhatItReadBeforeAnError) {
  database_.AddMany(3);
  sqlite_faults::step_codes = {0, SQLITE_CORRUPT};
  const LogLines log = Run();
  EXPECT_EQ(0, result_);
  EXPECT_EQ("app0 ", Ids());
  EXPECT_EQ(Join({Start(), Opened(), Row("app0"), FailedStepLines(11, "another row available")}), log);
}

TEST_F(InnerList, HandsAFailedOrBusyPrepareOn) {
  Run(" where nonsense");
  EXPECT_EQ(-1, result_);
  sqlite_faults::prepare_codes = std::deque<int>(50, SQLITE_BUSY);
  const LogLines log = Run();
  EXPECT_EQ(-2, result_);
  EXPECT_EQ(Join({Start(), ConnectedLines(database_.path()), BusyPrepareLines(), PreparedLine(-2)}), log);
}

TEST_F(InnerList, TakesNoMutex) {
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [this] { Run(); }));
}

class AppValues : public DatabaseTest {
 protected:
  int Text(const char* column, const std::string& clause = "", int table = 0) {
    std::string key = column;
    return GetStrValueByKey(text_, key.data(), clause, table, {});
  }
  int Number(const char* column) {
    std::string key = column;
    return GetIntValueByKey(&number_, key.data(), "", 0, {});
  }

  char text_[kValueSize + 1] = {};
  int number_ = 0;
};

TEST_F(AppValues, ALongTextIsCutTo127BytesAndTerminated) {
  const std::string title = std::string(126, 't') + "\xe2\x82\xac" + std::string(100, 'u');
  database_.Add("app", {{"title", title}});
  memset(text_, '#', sizeof text_);
  EXPECT_EQ(0, Text("title"));
  EXPECT_EQ(title.substr(0, 127), text_);
  EXPECT_EQ('#', text_[kValueSize]);
}

TEST_F(AppValues, ATextReachesTheLogAsItIs) {
  database_.Add("app", {{"title", kNasty}});
  EXPECT_EQ(0, Text("title"));
  EXPECT_EQ(kNasty, text_);
  EXPECT_TRUE(fake_platform::Logged("strValue =" + kNasty));
  EXPECT_TRUE(fake_platform::Logged("Get DB finish:strValue:[" + kNasty + "]"));
}

TEST_F(AppValues, NullIsAnEmptyTextAndZero) {
  database_.Add("app", {{"title", nullptr}, {"size", nullptr}});
  strcpy(text_, "before");
  number_ = 7;
  EXPECT_EQ(0, Text("title"));
  EXPECT_STREQ("", text_);
  EXPECT_EQ(0, Number("size"));
  EXPECT_EQ(0, number_);
}

TEST_F(AppValues, OnlyTableTwoIsTheConfiguration) {
  database_.Add("app");
  database_.AddConfig("name", "value");
  for (const int table : {-1, 0, 1, 3, 4}) {
    EXPECT_EQ(0, Text("id", "", table)) << table;
    EXPECT_STREQ("app", text_) << table;
  }
  EXPECT_EQ(0, Text("id", "", 2));
  EXPECT_STREQ("value", text_);
  std::string key = "size";
  EXPECT_EQ(0, GetIntValueByKey(&number_, key.data(), "", 2, {}));
  EXPECT_EQ("  select size  from widgetinfo", sqlite_faults::Prepared().back());
}

TEST_F(AppValues, AConfigurationValueIsWholeAndOfMalloc) {
  const std::string value = kNasty + std::string(100000, 'v');
  database_.AddConfig(kNasty, value);
  char* found = nullptr;
  EXPECT_EQ(0, GetConfigTableValue(kNasty.c_str(), &found));
  ASSERT_NE(nullptr, found);
  EXPECT_EQ(value, found);
  EXPECT_TRUE(fake_platform::Logged("Get DB finish:strName:[" + kNasty + "],strValue:[" + value + "]"));
  free(found);
}

TEST_F(AppValues, AnEmptyOrNullConfigurationValueIsAnEmptyText) {
  database_.AddConfig("empty", "");
  database_.Run("insert into NUVConfigTable (name) values ('null')");
  for (const char* name : {"empty", "null"}) {
    char* found = nullptr;
    EXPECT_EQ(0, GetConfigTableValue(name, &found)) << name;
    EXPECT_STREQ("", found) << name;
    free(found);
  }
}

TEST_F(AppValues, TheLineAboutARecordHasAllItsLabels) {
  database_.Add("", DistinctRow());
  nuv_app_info_s info = {};
  Binds binds;
  ASSERT_EQ(0, GetAppsTableInfo(&info, "", binds));
  EXPECT_EQ(4, fake_platform::LogPriority(RecordLine(info)));
}

TEST_F(AppValues, TheLineAboutARecordNeedsNoTerminators) {
  database_.Add(std::string(200, 'i'), {{"title", kNasty}});
  nuv_app_info_s info;
  memset(&info, '#', sizeof info);
  Binds binds;
  ASSERT_EQ(0, GetAppsTableInfo(&info, "", binds));
  bool found = false;
  for (const auto& line : fake_platform::Log()) {
    found = found || line.text.find("app_id = " + std::string(127, 'i') + ",app_index = 0,app_title = " + kNasty +
                                    ",app_icon_path = ,") != std::string::npos;
  }
  EXPECT_TRUE(found);
}

}  // namespace

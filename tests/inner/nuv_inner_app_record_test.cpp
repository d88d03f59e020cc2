// How a row of the inner side becomes a record.
#include "nuv_inner_db_api/nuv_inner_app_record.h"

#include <sstream>

#include "inner_test.h"
#include "nuv_inner_db_api/nuv_inner_app_columns.h"

namespace {

template <typename T>
struct Member {
  T _APPSINFO_T::*member;
  const char* name;
  int column;
  T fresh;
};

constexpr const char* kColumns =
    "id,app_index,title,install_path,icon_path,version,size,install_date,is_lock,is_support_voice,is_support_gesture,"
    "is_hidden,is_network,kelvo_id,pkgname,app_featured,app_type,install_type,widget_category,is_removable,is_display,"
    "use_count,run_title,install_state,is_premium_game,pkg_type,pannel_icon_path,is_need_login,launch_date,is_app_"
    "available,resources_path,is_need_update,install_source_type,is_updated,icon_updated_date,firstscreen_icon_path,is_"
    "ticker,is_need_reset,is_multi_screen2,is_multi_tasking,is_system,hbbTV,ait_appid,ait_orgid,chanel_name,is_"
    "ispbound,is_hybrid_tv,is_auto_update,duid,limit_age,is_age_auth,is_usb_app,hybrid_app,reserved_tinyint_1,reserved_"
    "tinyint_2,reserved_string_2,reserved_tinyint_3,reserved_tinyint_4,reserved_tinyint_5,reserved_string_3,reserved_"
    "string_1,reserved_tinyint_7,reserved_tinyint_8,reserved_string_6,reserved_string_8,reserved_int_1,reserved_"
    "tinyint_10,reserved_string_10,reserved_string_11,reserved_tinyint_11,reserved_string_16,reserved_tinyint_13,"
    "reserved_string_4,reserved_tinyint_14";
const Member<bool> kFlags[] = {
    {&_APPSINFO_T::is_lock, "is_lock", 8, false},
    {&_APPSINFO_T::is_support_voice, "is_support_voice", 9, false},
    {&_APPSINFO_T::is_support_gesture, "is_support_gesture", 10, false},
    {&_APPSINFO_T::is_hidden, "is_hidden", 11, false},
    {&_APPSINFO_T::is_network, "is_network", 12, false},
    {&_APPSINFO_T::is_removable, "is_removable", 19, true},
    {&_APPSINFO_T::is_display, "is_display", 20, true},
    {&_APPSINFO_T::is_premium_game, "is_premium_game", 24, false},
    {&_APPSINFO_T::is_need_login, "is_need_login", 27, false},
    {&_APPSINFO_T::is_app_available, "is_app_available", 29, true},
    {&_APPSINFO_T::is_need_update, "is_need_update", 31, false},
    {&_APPSINFO_T::is_updated, "is_updated", 33, false},
    {&_APPSINFO_T::is_ticker, "is_ticker", 36, false},
    {&_APPSINFO_T::is_need_reset, "is_need_reset", 37, false},
    {&_APPSINFO_T::is_multi_screen2, "is_multi_screen2", 38, false},
    {&_APPSINFO_T::is_multi_tasking, "is_multi_tasking", 39, true},
    {&_APPSINFO_T::is_system, "is_system", 40, false},
    {&_APPSINFO_T::is_ispbound, "is_ispbound", 45, false},
    {&_APPSINFO_T::is_hybrid_tv, "is_hybrid_tv", 46, false},
    {&_APPSINFO_T::is_auto_update, "is_auto_update", 47, false},
    {&_APPSINFO_T::is_age_auth, "is_age_auth", 50, false},
    {&_APPSINFO_T::is_usb_app, "is_usb_app", 51, false},
    {&_APPSINFO_T::reserved_tinyint_1, "reserved_tinyint_1", 53, false},
    {&_APPSINFO_T::reserved_tinyint_3, "reserved_tinyint_3", 56, false},
    {&_APPSINFO_T::reserved_tinyint_4, "reserved_tinyint_4", 57, false},
    {&_APPSINFO_T::reserved_tinyint_7, "reserved_tinyint_7", 61, false},
    {&_APPSINFO_T::reserved_tinyint_8, "reserved_tinyint_8", 62, false},
    {&_APPSINFO_T::reserved_tinyint_10, "reserved_tinyint_10", 66, false},
    {&_APPSINFO_T::reserved_tinyint_14, "reserved_tinyint_14", 73, false},
};
const Member<int> kNumbers[] = {
    {&_APPSINFO_T::reserved_tinyint_2, "reserved_tinyint_2", 54, 0},
    {&_APPSINFO_T::reserved_tinyint_5, "reserved_tinyint_5", 58, 0},
    {&_APPSINFO_T::install_source_type, "install_source_type", 32, 1},
    {&_APPSINFO_T::app_index, "app_index", 1, -1},
    {&_APPSINFO_T::size, "size", 6, 0},
    {&_APPSINFO_T::app_featured, "app_featured", 15, 1},
    {&_APPSINFO_T::app_type, "app_type", 16, 2},
    {&_APPSINFO_T::use_count, "use_count", 21, 0},
    {&_APPSINFO_T::install_state, "install_state", 23, 3},
    {&_APPSINFO_T::limit_age, "limit_age", 49, 0},
    {&_APPSINFO_T::reserved_int_1, "reserved_int_1", 65, 0},
    {&_APPSINFO_T::reserved_tinyint_11, "reserved_tinyint_11", 69, 1},
};
const Member<std::string> kTexts[] = {
    {&_APPSINFO_T::id, "id", 0, ""},
    {&_APPSINFO_T::title, "title", 2, ""},
    {&_APPSINFO_T::install_path, "install_path", 3, ""},
    {&_APPSINFO_T::icon_path, "icon_path", 4, ""},
    {&_APPSINFO_T::version, "version", 5, ""},
    {&_APPSINFO_T::install_date, "install_date", 7, ""},
    {&_APPSINFO_T::kelvo_id, "kelvo_id", 13, ""},
    {&_APPSINFO_T::pkgname, "pkgname", 14, ""},
    {&_APPSINFO_T::install_type, "install_type", 17, ""},
    {&_APPSINFO_T::widget_category, "widget_category", 18, ""},
    {&_APPSINFO_T::run_title, "run_title", 22, ""},
    {&_APPSINFO_T::pkg_type, "pkg_type", 25, ""},
    {&_APPSINFO_T::pannel_icon_path, "pannel_icon_path", 4, ""},
    {&_APPSINFO_T::launch_date, "launch_date", 28, ""},
    {&_APPSINFO_T::resources_path, "resources_path", 30, ""},
    {&_APPSINFO_T::icon_updated_date, "icon_updated_date", 34, ""},
    {&_APPSINFO_T::firstscreen_icon_path, "firstscreen_icon_path", 4, ""},
    {&_APPSINFO_T::hbbTV, "hbbTV", 41, ""},
    {&_APPSINFO_T::ait_appid, "ait_appid", 42, ""},
    {&_APPSINFO_T::ait_orgid, "ait_orgid", 43, ""},
    {&_APPSINFO_T::chanel_name, "chanel_name", 44, ""},
    {&_APPSINFO_T::duid, "duid", 48, ""},
    {&_APPSINFO_T::hybrid_app, "hybrid_app", 52, ""},
    {&_APPSINFO_T::reserved_string_2, "reserved_string_2", 55, ""},
    {&_APPSINFO_T::reserved_string_3, "reserved_string_3", 4, ""},
    {&_APPSINFO_T::reserved_string_1, "reserved_string_1", 60, ""},
    {&_APPSINFO_T::reserved_string_6, "reserved_string_6", 63, ""},
    {&_APPSINFO_T::reserved_string_8, "reserved_string_8", 64, ""},
    {&_APPSINFO_T::reserved_string_10, "reserved_string_10", 67, ""},
    {&_APPSINFO_T::reserved_string_11, "reserved_string_11", 68, ""},
    {&_APPSINFO_T::reserved_string_16, "reserved_string_16", 70, ""},
    {&_APPSINFO_T::reserved_string_4, "reserved_string_4", 72, ""},
};

constexpr int kColumnCount = 74;
static_assert(std::size(kFlags) + std::size(kNumbers) + std::size(kTexts) == 73);

std::vector<std::string> ColumnNames() {
  std::vector<std::string> names;
  std::istringstream list(kColumns);
  for (std::string name; std::getline(list, name, ',');) names.push_back(name);
  return names;
}

// Maps one row in which column i has the value that is given for it.
_APPSINFO_T MapRow(const std::function<std::string(int)>& value) {
  std::string sql = "select ";
  for (int i = 0; i < kColumnCount; ++i) sql += (i == 0 ? "" : ",") + value(i);
  _APPSINFO_T info;
  EXPECT_EQ(0, Prepare_Inner(sql.c_str(), kReadOnly));
  EXPECT_EQ(SQLITE_ROW, Step_Inner());
  m_GetAppInfoFromRow(info);
  EXPECT_EQ(SQLITE_DONE, Step_Inner());
  return info;
}

std::string TextOf(int column) {
  return "'text of column " + std::to_string(column) + "'";
}

class InnerAppRecord : public InnerTest {};

TEST_F(InnerAppRecord, AFreshRecordHasItsDefaults) {
  const _APPSINFO_T info;
  for (const auto& flag : kFlags) EXPECT_EQ(flag.fresh, info.*flag.member) << flag.name;
  for (const auto& number : kNumbers) EXPECT_EQ(number.fresh, info.*number.member) << number.name;
  for (const auto& text : kTexts) EXPECT_EQ(text.fresh, info.*text.member) << text.name;
}

TEST_F(InnerAppRecord, EveryTextComesFromItsOwnColumn) {
  const _APPSINFO_T info = MapRow(TextOf);
  for (const auto& text : kTexts) EXPECT_EQ(TextOf(text.column), "'" + info.*text.member + "'") << text.name;
}

TEST_F(InnerAppRecord, EveryNumberComesFromItsOwnColumn) {
  const _APPSINFO_T info = MapRow([](int column) { return std::to_string(-1000 - column); });
  for (const auto& number : kNumbers) EXPECT_EQ(-1000 - number.column, info.*number.member) << number.name;
}

TEST_F(InnerAppRecord, EveryFlagComesFromItsOwnColumn) {
  for (int set = 0; set < kColumnCount; ++set) {
    const _APPSINFO_T info = MapRow([set](int column) { return column == set ? "1" : "0"; });
    for (const auto& flag : kFlags) EXPECT_EQ(flag.column == set, info.*flag.member) << flag.name << " of " << set;
  }
}

TEST_F(InnerAppRecord, AnythingButZeroIsTrue) {
  for (const char* value : {"2", "-1", "255", "'3'"}) {
    const _APPSINFO_T info = MapRow([value](int) { return value; });
    for (const auto& flag : kFlags) EXPECT_TRUE(info.*flag.member) << flag.name;
  }
}

TEST_F(InnerAppRecord, NullsOverwriteEveryMember) {
  _APPSINFO_T info;
  for (const auto& flag : kFlags) info.*flag.member = true;
  for (const auto& number : kNumbers) info.*number.member = 7;
  for (const auto& text : kTexts) info.*text.member = "before";
  database_.Run("insert into widgetinfo (kelvo_id) values ('nulls')");
  ASSERT_EQ(0, nuv_inner_get_app_info_by_kelvoid("nulls", info, false));
  for (const auto& flag : kFlags) EXPECT_FALSE(info.*flag.member) << flag.name;
  for (const auto& number : kNumbers) EXPECT_EQ(0, info.*number.member) << number.name;
  for (const auto& text : kTexts) {
    EXPECT_EQ(std::string(text.name) == "kelvo_id" ? "nulls" : "", info.*text.member) << text.name;
  }
}

TEST_F(InnerAppRecord, ARowOfTheTableInWhichAllColumnsDiffer) {
  const auto names = ColumnNames();
  ASSERT_EQ(size_t{kColumnCount}, names.size());
  AppDatabase::Row row;
  for (size_t i = 0; i < names.size(); ++i) row[names[i]] = "text of column " + std::to_string(i);
  for (const auto& number : kNumbers) row[names[number.column]] = 1000 + number.column;
  for (const auto& flag : kFlags) row[names[flag.column]] = flag.column % 2;
  row["is_lock"] = 2;
  database_.Add("", row);
  _APPSINFO_T info;
  ASSERT_EQ(0, nuv_inner_get_app_info_by_id("text of column 0", info, false));
  EXPECT_TRUE(info.is_lock);
  for (const auto& flag : kFlags) {
    EXPECT_EQ(flag.column % 2 == 1 || flag.column == 8, info.*flag.member) << flag.name;
  }
  for (const auto& number : kNumbers) EXPECT_EQ(1000 + number.column, info.*number.member) << number.name;
  for (const auto& text : kTexts) {
    EXPECT_EQ("text of column " + std::to_string(text.column), info.*text.member) << text.name;
  }
}

TEST_F(InnerAppRecord, TheStatementNamesTheColumnsInTheirOrder) {
  EXPECT_EQ("select " + std::string(kColumns) + " from widgetinfo", InnerAppColumns::Select());
}

TEST_F(InnerAppRecord, IsCopiedWhole) {
  const _APPSINFO_T info = MapRow(TextOf);
  _APPSINFO_T copy;
  copy = info;
  for (const auto& text : kTexts) EXPECT_EQ(info.*text.member, copy.*text.member) << text.name;
}

}  // namespace

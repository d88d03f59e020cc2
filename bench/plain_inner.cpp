#include "plain_inner.h"

#include <cstdio>
#include <cstdlib>

namespace bench {

namespace {

constexpr const char* kSelect =
    "select "
    "id,app_index,title,install_path,icon_path,version,size,install_date,is_lock,is_support_voice,"
    "is_support_gesture,is_hidden,is_network,kelvo_id,pkgname,app_featured,app_type,install_type,"
    "widget_category,is_removable,is_display,use_count,run_title,install_state,is_premium_game,pkg_type,"
    "pannel_icon_path,is_need_login,launch_date,is_app_available,resources_path,is_need_update,"
    "install_source_type,is_updated,icon_updated_date,firstscreen_icon_path,is_ticker,is_need_reset,"
    "is_multi_screen2,is_multi_tasking,is_system,hbbTV,ait_appid,ait_orgid,chanel_name,is_ispbound,"
    "is_hybrid_tv,is_auto_update,duid,limit_age,is_age_auth,is_usb_app,hybrid_app,reserved_tinyint_1,"
    "reserved_tinyint_2,reserved_string_2,reserved_tinyint_3,reserved_tinyint_4,reserved_tinyint_5,"
    "reserved_string_3,reserved_string_1,reserved_tinyint_7,reserved_tinyint_8,reserved_string_6,"
    "reserved_string_8,reserved_int_1,reserved_tinyint_10,reserved_string_10,reserved_string_11,"
    "reserved_tinyint_11,reserved_string_16,reserved_tinyint_13,reserved_string_4,reserved_tinyint_14"
    " from widgetinfo";

constexpr const char* kById =
    " where (id = ? or kelvo_id = ? or run_title = ?) and install_state = ? and is_need_reset = ? and is_app_available "
    "= "
    "?";
constexpr const char* kInstalled = " where is_need_reset = ? and is_app_available = ? and install_state = ? ";

[[noreturn]] void Fail(sqlite3* connection) {
  fprintf(stderr, "%s\n", sqlite3_errmsg(connection));
  exit(1);
}

const char* TextOf(sqlite3_stmt* statement, int column) {
  const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
  return text == nullptr ? "" : text;
}

void ReadRecord(sqlite3_stmt* statement, _APPSINFO_T& info) {
  info.is_lock = sqlite3_column_int(statement, 8) != 0;
  info.is_support_voice = sqlite3_column_int(statement, 9) != 0;
  info.is_support_gesture = sqlite3_column_int(statement, 10) != 0;
  info.is_hidden = sqlite3_column_int(statement, 11) != 0;
  info.is_network = sqlite3_column_int(statement, 12) != 0;
  info.is_removable = sqlite3_column_int(statement, 19) != 0;
  info.is_display = sqlite3_column_int(statement, 20) != 0;
  info.is_premium_game = sqlite3_column_int(statement, 24) != 0;
  info.is_need_login = sqlite3_column_int(statement, 27) != 0;
  info.is_app_available = sqlite3_column_int(statement, 29) != 0;
  info.is_need_update = sqlite3_column_int(statement, 31) != 0;
  info.is_updated = sqlite3_column_int(statement, 33) != 0;
  info.is_ticker = sqlite3_column_int(statement, 36) != 0;
  info.is_need_reset = sqlite3_column_int(statement, 37) != 0;
  info.is_multi_screen2 = sqlite3_column_int(statement, 38) != 0;
  info.is_multi_tasking = sqlite3_column_int(statement, 39) != 0;
  info.is_system = sqlite3_column_int(statement, 40) != 0;
  info.is_ispbound = sqlite3_column_int(statement, 45) != 0;
  info.is_hybrid_tv = sqlite3_column_int(statement, 46) != 0;
  info.is_auto_update = sqlite3_column_int(statement, 47) != 0;
  info.is_age_auth = sqlite3_column_int(statement, 50) != 0;
  info.is_usb_app = sqlite3_column_int(statement, 51) != 0;
  info.reserved_tinyint_1 = sqlite3_column_int(statement, 53) != 0;
  info.reserved_tinyint_2 = sqlite3_column_int(statement, 54);
  info.reserved_tinyint_3 = sqlite3_column_int(statement, 56) != 0;
  info.reserved_tinyint_4 = sqlite3_column_int(statement, 57) != 0;
  info.reserved_tinyint_7 = sqlite3_column_int(statement, 61) != 0;
  info.reserved_tinyint_8 = sqlite3_column_int(statement, 62) != 0;
  info.reserved_tinyint_10 = sqlite3_column_int(statement, 66) != 0;
  info.reserved_tinyint_5 = sqlite3_column_int(statement, 58);
  info.install_source_type = sqlite3_column_int(statement, 32);
  info.app_index = sqlite3_column_int(statement, 1);
  info.size = sqlite3_column_int(statement, 6);
  info.app_featured = sqlite3_column_int(statement, 15);
  info.app_type = sqlite3_column_int(statement, 16);
  info.use_count = sqlite3_column_int(statement, 21);
  info.install_state = sqlite3_column_int(statement, 23);
  info.limit_age = sqlite3_column_int(statement, 49);
  info.reserved_int_1 = sqlite3_column_int(statement, 65);
  info.reserved_tinyint_11 = sqlite3_column_int(statement, 69);
  info.id = TextOf(statement, 0);
  info.title = TextOf(statement, 2);
  info.install_path = TextOf(statement, 3);
  info.icon_path = TextOf(statement, 4);
  info.version = TextOf(statement, 5);
  info.install_date = TextOf(statement, 7);
  info.kelvo_id = TextOf(statement, 13);
  info.pkgname = TextOf(statement, 14);
  info.install_type = TextOf(statement, 17);
  info.widget_category = TextOf(statement, 18);
  info.run_title = TextOf(statement, 22);
  info.pkg_type = TextOf(statement, 25);
  info.pannel_icon_path = TextOf(statement, 4);
  info.launch_date = TextOf(statement, 28);
  info.resources_path = TextOf(statement, 30);
  info.icon_updated_date = TextOf(statement, 34);
  info.firstscreen_icon_path = TextOf(statement, 4);
  info.hbbTV = TextOf(statement, 41);
  info.ait_appid = TextOf(statement, 42);
  info.ait_orgid = TextOf(statement, 43);
  info.chanel_name = TextOf(statement, 44);
  info.duid = TextOf(statement, 48);
  info.hybrid_app = TextOf(statement, 52);
  info.reserved_string_2 = TextOf(statement, 55);
  info.reserved_string_3 = TextOf(statement, 4);
  info.reserved_string_1 = TextOf(statement, 60);
  info.reserved_string_6 = TextOf(statement, 63);
  info.reserved_string_8 = TextOf(statement, 64);
  info.reserved_string_10 = TextOf(statement, 67);
  info.reserved_string_11 = TextOf(statement, 68);
  info.reserved_string_16 = TextOf(statement, 70);
  info.reserved_string_4 = TextOf(statement, 72);
  info.reserved_tinyint_14 = sqlite3_column_int(statement, 73) != 0;
}

void BindInstalled(sqlite3_stmt* statement) {
  sqlite3_bind_int(statement, 1, 0);
  sqlite3_bind_int(statement, 2, 1);
  sqlite3_bind_int(statement, 3, 3);
}

}  // namespace

PlainInner::PlainInner(const char* path) {
  constexpr int kFlags = SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX;
  if (sqlite3_open_v2(path, &connection_, kFlags, nullptr) != SQLITE_OK) Fail(connection_);
}

sqlite3_stmt* PlainInner::Prepare(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(connection_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) Fail(connection_);
  return statement;
}

bool PlainInner::Lookup(const std::string& app_id, _APPSINFO_T& info) {
  sqlite3_stmt* const statement = Prepare(std::string(kSelect) + kById);
  for (int i = 1; i <= 3; ++i) sqlite3_bind_text(statement, i, app_id.c_str(), -1, SQLITE_STATIC);
  sqlite3_bind_int(statement, 4, 3);
  sqlite3_bind_int(statement, 5, 0);
  sqlite3_bind_int(statement, 6, 1);
  bool found = false;
  while (sqlite3_step(statement) == SQLITE_ROW) {
    ReadRecord(statement, info);
    found = true;
  }
  sqlite3_finalize(statement);
  return found;
}

int PlainInner::Count() {
  sqlite3_stmt* const statement = Prepare(std::string("select count(id) from widgetinfo") + kInstalled);
  BindInstalled(statement);
  int count = 0;
  while (sqlite3_step(statement) == SQLITE_ROW) count = sqlite3_column_int(statement, 0);
  sqlite3_finalize(statement);
  return count;
}

std::unique_ptr<_APPSINFO_T[]> PlainInner::List(int& length) {
  length = Count();
  std::unique_ptr<_APPSINFO_T[]> list(new _APPSINFO_T[static_cast<size_t>(length)]);
  sqlite3_stmt* const statement = Prepare(std::string(kSelect) + kInstalled + " order by app_index asc ");
  BindInstalled(statement);
  int stored = 0;
  while (sqlite3_step(statement) == SQLITE_ROW) {
    if (stored < length) ReadRecord(statement, list[stored++]);
  }
  sqlite3_finalize(statement);
  return list;
}

}  // namespace bench

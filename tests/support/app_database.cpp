#include "app_database.h"

#include <stdexcept>

namespace {

const AppDatabase::Row kUsable = {{"install_state", 3}, {"is_app_available", 1}, {"is_need_reset", 0},
                                  {"is_hidden", 0},     {"app_featured", 1},     {"app_type", 2}};

void Check(sqlite3* connection, int code) {
  if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE)
    throw std::runtime_error(sqlite3_errmsg(connection));
}

using Statement = std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)>;

Statement Prepare(sqlite3* connection, const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  Check(connection, sqlite3_prepare_v2(connection, sql.c_str(), -1, &statement, nullptr));
  return {statement, sqlite3_finalize};
}

void Bind(sqlite3_stmt* statement, int position, const AppDatabase::Value& value) {
  if (const int* number = std::get_if<int>(&value)) {
    sqlite3_bind_int(statement, position, *number);
  } else if (const std::string* text = std::get_if<std::string>(&value)) {
    sqlite3_bind_text(statement, position, text->data(), static_cast<int>(text->size()), SQLITE_TRANSIENT);
  } else {
    sqlite3_bind_null(statement, position);
  }
}

}  // namespace

const std::vector<std::pair<std::string, bool>>& AppDatabase::Columns() {
  static const std::vector<std::pair<std::string, bool>> columns = {{"id", false},
                                                                    {"title", false},
                                                                    {"run_title", false},
                                                                    {"pannel_icon_path", false},
                                                                    {"firstscreen_icon_path", false},
                                                                    {"version", false},
                                                                    {"install_date", false},
                                                                    {"kelvo_id", false},
                                                                    {"size", true},
                                                                    {"app_index", true},
                                                                    {"app_featured", true},
                                                                    {"is_support_voice", true},
                                                                    {"is_support_gesture", true},
                                                                    {"is_removable", true},
                                                                    {"is_display", true},
                                                                    {"is_lock", true},
                                                                    {"install_source_type", true},
                                                                    {"is_usb_app", true},
                                                                    {"is_need_update", true},
                                                                    {"is_updated", true},
                                                                    {"is_multi_screen2", true},
                                                                    {"limit_age", true},
                                                                    {"is_age_auth", true},
                                                                    {"app_type", true},
                                                                    {"icon_path", false},
                                                                    {"install_path", false},
                                                                    {"is_hidden", true},
                                                                    {"is_network", true},
                                                                    {"is_premium_game", true},
                                                                    {"pkgname", false},
                                                                    {"widget_category", false},
                                                                    {"use_count", true},
                                                                    {"install_state", true},
                                                                    {"is_need_login", true},
                                                                    {"is_ticker", true},
                                                                    {"is_multi_tasking", true},
                                                                    {"install_type", false},
                                                                    {"use_gamepad", true},
                                                                    {"hbbTV", false},
                                                                    {"hybrid_app", false},
                                                                    {"reserved_string_1", false},
                                                                    {"reserved_string_2", false},
                                                                    {"reserved_tinyint_1", true},
                                                                    {"reserved_tinyint_2", true},
                                                                    {"reserved_tinyint_3", true},
                                                                    {"reserved_tinyint_4", true},
                                                                    {"reserved_tinyint_5", true},
                                                                    {"reserved_tinyint_7", true},
                                                                    {"reserved_string_3", false},
                                                                    {"reserved_string_4", false},
                                                                    {"reserved_tinyint_8", true},
                                                                    {"reserved_string_5", false},
                                                                    {"reserved_string_6", false},
                                                                    {"reserved_int_1", true},
                                                                    {"reserved_string_9", false},
                                                                    {"reserved_tinyint_10", true},
                                                                    {"reserved_string_10", false},
                                                                    {"reserved_string_11", false},
                                                                    {"reserved_tinyint_11", true},
                                                                    {"reserved_string_15", false},
                                                                    {"reserved_string_14", false},
                                                                    {"reserved_string_18", false},
                                                                    {"nuvorder", false},
                                                                    {"reserved_string_19", false},
                                                                    {"reserved_string_20", false},
                                                                    {"pkg_type", false},
                                                                    {"launch_date", false},
                                                                    {"is_app_available", true},
                                                                    {"resources_path", false},
                                                                    {"icon_updated_date", false},
                                                                    {"is_need_reset", true},
                                                                    {"is_system", true},
                                                                    {"ait_appid", false},
                                                                    {"ait_orgid", false},
                                                                    {"chanel_name", false},
                                                                    {"is_ispbound", true},
                                                                    {"is_hybrid_tv", true},
                                                                    {"is_auto_update", true},
                                                                    {"duid", false},
                                                                    {"reserved_string_8", false},
                                                                    {"reserved_string_16", false},
                                                                    {"reserved_tinyint_13", true},
                                                                    {"reserved_tinyint_14", true},
                                                                    {"cp_name", false}};
  return columns;
}

AppDatabase::AppDatabase() {
  std::string columns;
  for (const auto& [name, is_number] : Columns()) {
    columns += (columns.empty() ? "" : ",") + name + (is_number ? " integer" : " text");
  }
  Run("create table widgetinfo (" + columns + "); create table NUVConfigTable (name text, value text)");
}

sqlite3* AppDatabase::Open() {
  if (connection_ == nullptr) {
    sqlite3* connection = nullptr;
    const int code = sqlite3_open(path().c_str(), &connection);
    connection_.reset(connection);
    Check(connection, code);
    sqlite3_busy_timeout(connection, 10000);
    Run("pragma synchronous = off");
  }
  return connection_.get();
}

void AppDatabase::Close() {
  connection_.reset();
}

void AppDatabase::Run(const std::string& sql) {
  sqlite3* connection = Open();
  Check(connection, sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, nullptr));
}

std::string AppDatabase::Ask(const std::string& sql) {
  sqlite3* connection = Open();
  const Statement statement = Prepare(connection, sql);
  Check(connection, sqlite3_step(statement.get()));
  const unsigned char* text = sqlite3_column_text(statement.get(), 0);
  return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

void AppDatabase::Add(const std::string& id, const Row& row) {
  Row whole = row;
  whole.insert(kUsable.begin(), kUsable.end());
  whole.insert({"id", id});
  std::string names;
  std::string marks;
  for (const auto& [name, value] : whole) {
    names += (names.empty() ? "" : ",") + name;
    marks += marks.empty() ? "?" : ",?";
  }
  sqlite3* connection = Open();
  const Statement statement = Prepare(connection, "insert into widgetinfo (" + names + ") values (" + marks + ")");
  int position = 0;
  for (const auto& [name, value] : whole) Bind(statement.get(), ++position, value);
  Check(connection, sqlite3_step(statement.get()));
}

void AppDatabase::AddMany(int count) {
  Run("begin");
  for (int i = 0; i < count; ++i) Add("app" + std::to_string(i), {{"app_index", i}});
  Run("commit");
}

void AppDatabase::AddConfig(const std::string& name, const std::string& value) {
  sqlite3* connection = Open();
  const Statement statement = Prepare(connection, "insert into NUVConfigTable (name, value) values (?, ?)");
  Bind(statement.get(), 1, name);
  Bind(statement.get(), 2, value);
  Check(connection, sqlite3_step(statement.get()));
}

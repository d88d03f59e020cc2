#include "app_database.h"

#include <iterator>
#include <sstream>
#include <stdexcept>

namespace {

const AppDatabase::Row kUsable = {{"install_state", 3}, {"is_app_available", 1}, {"is_need_reset", 0},
                                  {"is_hidden", 0},     {"app_featured", 1},     {"app_type", 2}};

// The names; "#": it holds integers. Those up to reserved_string_20 are the full row of the reading side.
constexpr const char* kColumns =
    "id title run_title pannel_icon_path firstscreen_icon_path version install_date kelvo_id size# app_index# "
    "app_featured# is_support_voice# is_support_gesture# is_removable# is_display# is_lock# install_source_type# "
    "is_usb_app# is_need_update# is_updated# is_multi_screen2# limit_age# is_age_auth# app_type# icon_path "
    "install_path is_hidden# is_network# is_premium_game# pkgname widget_category use_count# install_state# "
    "is_need_login# is_ticker# is_multi_tasking# install_type use_gamepad# hbbTV hybrid_app reserved_string_1 "
    "reserved_string_2 reserved_tinyint_1# reserved_tinyint_2# reserved_tinyint_3# reserved_tinyint_4# "
    "reserved_tinyint_5# reserved_tinyint_7# reserved_string_3 reserved_string_4 reserved_tinyint_8# "
    "reserved_string_5 reserved_string_6 reserved_int_1# reserved_string_9 reserved_tinyint_10# "
    "reserved_string_10 reserved_string_11 reserved_tinyint_11# reserved_string_15 reserved_string_14 "
    "reserved_string_18 nuvorder reserved_string_19 reserved_string_20 pkg_type launch_date is_app_available# "
    "resources_path icon_updated_date is_need_reset# is_system# ait_appid ait_orgid chanel_name is_ispbound# "
    "is_hybrid_tv# is_auto_update# duid reserved_string_8 reserved_string_16 reserved_tinyint_13# "
    "reserved_tinyint_14# cp_name";

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

std::vector<std::string> Words(const std::string& text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}

const std::vector<std::pair<std::string, bool>>& AppDatabase::Columns() {
  static const std::vector<std::pair<std::string, bool>> columns = [] {
    std::vector<std::pair<std::string, bool>> named;
    for (const std::string& word : Words(kColumns)) {
      const bool is_number = word.back() == '#';
      named.emplace_back(word.substr(0, word.size() - (is_number ? 1 : 0)), is_number);
    }
    return named;
  }();
  return columns;
}

std::string AppDatabase::FullRowSelect() {
  std::string names;
  for (const auto& [name, is_number] : Columns()) {
    names += (names.empty() ? "" : ",") + name;
    if (name == "reserved_string_20") break;
  }
  return "select " + names + " from widgetinfo";
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

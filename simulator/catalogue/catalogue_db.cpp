#include "catalogue/catalogue_db.h"

#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>
#include <SQLiteCpp/VariadicBind.h>
#include <glib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <set>

namespace simulator {
namespace {

// Clients read, and may write, the same file; their locks are short.
constexpr int kBusyTimeoutMs = 1000;

struct Index {
  const char* name;
  const char* columns;
};

// A list asks for four states and an order. One index for each order finds a page without reading what comes before it,
// and the one that has the id, which the count asks for, counts without reading any row. A title's serves both ways.
#define NUV_LISTED "install_state, is_app_available, is_hidden, is_need_reset, "
constexpr Index kIndexes[] = {
    {"widgetinfo_kelvo_id", "kelvo_id"},
    {"widgetinfo_pkgname", "pkgname"},
    {"widgetinfo_run_title", "run_title"},
    {"widgetinfo_list_count", NUV_LISTED "id"},
    {"widgetinfo_list_index", NUV_LISTED "app_index"},
    {"widgetinfo_list_used", NUV_LISTED "use_count DESC"},
    {"widgetinfo_list_title", NUV_LISTED "upper(title)"},
    {"widgetinfo_list_date", NUV_LISTED "install_date DESC"},
};
#undef NUV_LISTED

// What FirstRecord reads. An empty name is nobody's.
constexpr const char* kSelectRecord =
    "SELECT id, kelvo_id, hybrid_app, install_path, app_type,"
    " install_state = 3 AND is_app_available = 1 AND is_need_reset = 0, is_lock"
    " FROM widgetinfo WHERE ?1 <> '' AND ";
constexpr const char* kByAnyName =
    "(id = ?1 OR kelvo_id = ?1 OR pkgname = ?1 OR hybrid_app = ?1)"
    " ORDER BY id = ?1 DESC, kelvo_id = ?1 DESC, pkgname = ?1 DESC LIMIT 1";
constexpr const char* kByRunTitle = "run_title = ?1 LIMIT 1";

std::string Definition(const Column& column) {
  const std::string name = column.name;
  if (name == "id") return "id TEXT PRIMARY KEY NOT NULL";
  if (column.type == ColumnType::kText) return name + " TEXT DEFAULT ''";
  return name + " INTEGER DEFAULT " + std::to_string(column.default_number);
}

std::string PlatformId(const std::string& id, const std::string& kelvo_id, const std::string& hybrid_app) {
  if (!hybrid_app.empty()) return hybrid_app;
  return kelvo_id.empty() ? id : kelvo_id;
}

std::string Text(const SQLite::Statement& row, int column) {
  return row.getColumn(column).getText();
}

std::optional<AppRecord> FirstRecord(SQLite::Database& database, const char* condition, const std::string& name) {
  SQLite::Statement row(database, std::string(kSelectRecord) + condition);
  row.bind(1, name);
  if (!row.executeStep()) return std::nullopt;
  AppRecord record;
  record.id = Text(row, 0);
  if (!g_utf8_validate(record.id.c_str(), -1, nullptr)) return std::nullopt;  // it cannot travel on the bus
  record.platform_id = PlatformId(record.id, Text(row, 1), Text(row, 2));
  record.install_path = Text(row, 3);
  record.app_type = row.getColumn(4).getInt();
  record.launchable = row.getColumn(5).getInt() != 0;
  record.locked = row.getColumn(6).getInt() != 0;
  return record;
}

std::string InsertText(const Catalogue::App& app) {
  std::string names;
  std::string marks;
  for (const auto& [column, value] : app) {
    const char* separator = names.empty() ? "" : ",";
    names += separator + std::string(column->name);
    marks += separator + std::string("?");
  }
  return "INSERT OR REPLACE INTO widgetinfo (" + names + ") VALUES (" + marks + ")";
}

void InsertApp(SQLite::Database& database, const Catalogue::App& app) {
  SQLite::Statement insert(database, InsertText(app));
  int mark = 0;
  for (const auto& [column, value] : app) {
    std::visit([&](const auto& bound) { insert.bind(++mark, bound); }, value);
  }
  insert.exec();
}

// Runs a statement with texts in place of its marks. The number of rows that it has changed.
template <typename... Texts>
int Run(SQLite::Database& database, const char* sql, const Texts&... texts) {
  SQLite::Statement statement(database, sql);
  SQLite::bind(statement, texts...);
  return statement.exec();
}

// SQLite only says that it cannot open the file; the system says why.
std::string WhyNotOpened(const std::string& path, const DatabaseError& error) {
  return access(path.c_str(), R_OK | W_OK) == 0 ? error.getErrorStr() : std::strerror(errno);
}

// Of a file that is there, through no link.
SQLite::Database Open(const std::string& path) {
  try {
    return {path, SQLite::OPEN_READWRITE | SQLite::OPEN_NOFOLLOW, kBusyTimeoutMs};
  } catch (const DatabaseError& error) {
    throw DatabaseError(path + ": " + WhyNotOpened(path, error));
  }
}

}  // namespace

template <typename Work>
auto CatalogueDb::Named(const Work& work) {
  try {
    return work();
  } catch (const DatabaseError& error) {
    throw DatabaseError(path_ + ": " + error.what());
  }
}

CatalogueDb::CatalogueDb(const std::string& path) : path_(path), database_(Open(path)) {
  Named([this] { SetUp(); });
}

void CatalogueDb::SetUp() {
  // What is lost with the machine is made again from a catalogue; a launch is not to wait for the disk.
  database_.exec("PRAGMA synchronous = OFF");
  SQLite::Transaction transaction(database_, SQLite::TransactionBehavior::IMMEDIATE);
  CreateTables();
  AddMissingColumns();
  for (const Index& index : kIndexes) {
    database_.exec(std::string("CREATE INDEX IF NOT EXISTS ") + index.name + " ON widgetinfo (" + index.columns + ")");
  }
  transaction.commit();
  was_empty_ = !SQLite::Statement(database_, "SELECT 1 FROM widgetinfo LIMIT 1").executeStep();
}

void CatalogueDb::CreateTables() {
  std::string definitions;
  for (const Column& column : CatalogueColumns()) {
    definitions += (definitions.empty() ? "" : ", ") + Definition(column);
  }
  database_.exec("CREATE TABLE IF NOT EXISTS widgetinfo (" + definitions + ")");
  database_.exec("CREATE TABLE IF NOT EXISTS NUVConfigTable (name TEXT PRIMARY KEY NOT NULL, value TEXT)");
}

void CatalogueDb::AddMissingColumns() {
  std::set<std::string> present;
  SQLite::Statement columns(database_, "SELECT name FROM pragma_table_info('widgetinfo')");
  while (columns.executeStep()) present.insert(Text(columns, 0));
  for (const Column& column : CatalogueColumns()) {
    if (present.count(column.name) == 0) database_.exec("ALTER TABLE widgetinfo ADD COLUMN " + Definition(column));
  }
}

std::size_t CatalogueDb::Count() {
  return Named([this] {
    SQLite::Statement count(database_, "SELECT count(*) FROM widgetinfo");
    count.executeStep();
    return static_cast<std::size_t>(count.getColumn(0).getInt64());
  });
}

void CatalogueDb::Load(const Catalogue& catalogue) {
  Named([&] {
    SQLite::Transaction transaction(database_, SQLite::TransactionBehavior::IMMEDIATE);
    for (const Catalogue::App& app : catalogue.apps) InsertApp(database_, app);
    for (const auto& [name, value] : catalogue.config) {
      Run(database_, "INSERT OR REPLACE INTO NUVConfigTable (name, value) VALUES (?, ?)", name, value);
    }
    transaction.commit();
  });
}

std::optional<AppRecord> CatalogueDb::Find(const std::string& name) {
  return Named([&] { return FirstRecord(database_, kByAnyName, name); });
}

std::optional<AppRecord> CatalogueDb::FindByRunTitle(const std::string& run_title) {
  return Named([&] { return FirstRecord(database_, kByRunTitle, run_title); });
}

template <typename... Texts>
bool CatalogueDb::ChangesOne(const char* sql, const Texts&... texts) {
  return Named([&] { return Run(database_, sql, texts...) == 1; });
}

bool CatalogueDb::CountLaunch(const std::string& id) {
  return ChangesOne(
      "UPDATE widgetinfo SET use_count = use_count + 1, launch_date = datetime('now', 'localtime') WHERE id = ?", id);
}

bool CatalogueDb::SetVersion(const std::string& id, const std::string& version) {
  return ChangesOne("UPDATE widgetinfo SET version = ? WHERE id = ?", version, id);
}

bool CatalogueDb::ClearUpdated(const std::string& id) {
  return ChangesOne("UPDATE widgetinfo SET is_updated = 0 WHERE id = ?", id);
}

}  // namespace simulator

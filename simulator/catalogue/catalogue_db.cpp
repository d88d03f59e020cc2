#include "catalogue/catalogue_db.h"

#include <glib.h>

#include <set>

namespace simulator {
namespace {

constexpr const char* kIndexedColumns[] = {"kelvo_id", "pkgname", "run_title"};

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

std::optional<AppRecord> FirstRecord(Statement statement) {
  if (!statement.Step()) return std::nullopt;
  AppRecord record;
  record.id = statement.Text(0);
  if (!g_utf8_validate(record.id.c_str(), -1, nullptr)) return std::nullopt;  // it cannot travel on the bus
  record.platform_id = PlatformId(record.id, statement.Text(1), statement.Text(2));
  record.install_path = statement.Text(3);
  record.app_type = statement.Integer(4);
  record.launchable = statement.Integer(5) != 0;
  record.locked = statement.Integer(6) != 0;
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

void InsertApp(Database& database, const Catalogue::App& app) {
  Statement insert = database.Prepare(InsertText(app));
  for (const auto& [column, value] : app) {
    std::visit([&](const auto& bound) { insert.Bind(bound); }, value);
  }
  insert.Step();
}

}  // namespace

CatalogueDb::CatalogueDb(const std::string& path) : database_(path) {
  // What is lost with the machine is made again from a catalogue; a launch is not to wait for the disk.
  database_.Run("PRAGMA synchronous = OFF");
  Transaction transaction(database_);
  CreateTables();
  AddMissingColumns();
  for (const std::string column : kIndexedColumns) {
    std::string statement = "CREATE INDEX IF NOT EXISTS widgetinfo_";
    statement.append(column).append(" ON widgetinfo (").append(column).append(")");
    database_.Run(statement);
  }
  transaction.Commit();
  was_empty_ = !database_.Prepare("SELECT 1 FROM widgetinfo LIMIT 1").Step();
}

void CatalogueDb::CreateTables() {
  std::string definitions;
  for (const Column& column : CatalogueColumns()) {
    definitions += (definitions.empty() ? "" : ", ") + Definition(column);
  }
  database_.Run("CREATE TABLE IF NOT EXISTS widgetinfo (" + definitions + ")");
  database_.Run("CREATE TABLE IF NOT EXISTS NUVConfigTable (name TEXT PRIMARY KEY NOT NULL, value TEXT)");
}

void CatalogueDb::AddMissingColumns() {
  std::set<std::string> present;
  Statement columns = database_.Prepare("SELECT name FROM pragma_table_info('widgetinfo')");
  while (columns.Step()) present.insert(columns.Text(0));
  for (const Column& column : CatalogueColumns()) {
    if (present.count(column.name) == 0) database_.Run("ALTER TABLE widgetinfo ADD COLUMN " + Definition(column));
  }
}

void CatalogueDb::Load(const Catalogue& catalogue) {
  Transaction transaction(database_);
  for (const Catalogue::App& app : catalogue.apps) InsertApp(database_, app);
  for (const auto& [name, value] : catalogue.config) {
    database_.Prepare("INSERT OR REPLACE INTO NUVConfigTable (name, value) VALUES (?, ?)")
        .Bind(name)
        .Bind(value)
        .Step();
  }
  transaction.Commit();
}

std::optional<AppRecord> CatalogueDb::Find(const std::string& name) {
  return FirstRecord(std::move(database_.Prepare(std::string(kSelectRecord) + kByAnyName).Bind(name)));
}

std::optional<AppRecord> CatalogueDb::FindByRunTitle(const std::string& run_title) {
  return FirstRecord(std::move(database_.Prepare(std::string(kSelectRecord) + kByRunTitle).Bind(run_title)));
}

bool CatalogueDb::CountLaunch(const std::string& id) {
  database_
      .Prepare(
          "UPDATE widgetinfo SET use_count = use_count + 1, launch_date = datetime('now', 'localtime')"
          " WHERE id = ?")
      .Bind(id)
      .Step();
  return database_.Changes() == 1;
}

bool CatalogueDb::SetVersion(const std::string& id, const std::string& version) {
  database_.Prepare("UPDATE widgetinfo SET version = ? WHERE id = ?").Bind(version).Bind(id).Step();
  return database_.Changes() == 1;
}

bool CatalogueDb::ClearUpdated(const std::string& id) {
  database_.Prepare("UPDATE widgetinfo SET is_updated = 0 WHERE id = ?").Bind(id).Step();
  return database_.Changes() == 1;
}

}  // namespace simulator

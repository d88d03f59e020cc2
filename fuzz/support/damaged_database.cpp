#include "support/damaged_database.h"

#include <filesystem>
#include <map>

#include "app_database.h"
#include "support/must.h"
#include "support/platform.h"

namespace fuzz {
namespace {

constexpr const char* kJournal = "-journal";
constexpr const char* kIds[] = {"app", "org.kelvo.clock", "9876", "", "'app'"};

const std::string& Directory() {
  static const TempDir directory;
  return directory.path();
}

std::string Path() {
  return Directory() + "/.corvane.db";
}

// What makes a lookup find an application. The rest of a row is any value.
const std::map<std::string, int> kUsable = {{"install_state", 3}, {"is_app_available", 1}, {"is_need_reset", 0},
                                            {"is_hidden", 0},     {"app_featured", 1},     {"app_type", 2}};

}  // namespace

std::string AnyKey(Input& input) {
  return input.Rarely(3) ? input.Text(300) : input.OneOf(kIds);
}

DamagedDatabase::DamagedDatabase(Input& input) : input_(input) {
  database_directory = Directory();
  for (const char* suffix : {"", kJournal, "-wal", "-shm"}) std::filesystem::remove_all(Path() + suffix);
  if (input_.Rarely(50)) return;
  MUST(sqlite3_open(Path().c_str(), &connection_) == SQLITE_OK);
  Fill();
  const std::string journal = input_.Rarely(6) ? JournalOfUnfinishedWriter() : "";
  sqlite3_close_v2(connection_);
  if (!journal.empty()) WriteFile(Path() + kJournal, journal);
  if (input_.Rarely(3)) DamageBytes();
}

std::string DamagedDatabase::Content() {
  return ReadFile(Path()) + ReadFile(Path() + kJournal);
}

// What a process leaves that ends in the middle of a change.
std::string DamagedDatabase::JournalOfUnfinishedWriter() {
  Run("pragma journal_mode = delete; begin; update widgetinfo set size = 2; delete from NUVConfigTable");
  return ReadFile(Path() + kJournal);
}

// A statement that SQLite refuses changes nothing.
void DamagedDatabase::Run(const std::string& sql) {
  sqlite3_exec(connection_, sql.c_str(), nullptr, nullptr, nullptr);
}

void DamagedDatabase::Fill() {
  Settings();
  Run("begin");
  const Columns columns = ApplicationColumns();
  MakeTable("widgetinfo", columns);
  MakeTable("NUVConfigTable", {{"name", "text"}, {"value", "text"}});
  Run("commit");
}

void DamagedDatabase::Settings() {
  constexpr const char* kSettings[] = {"pragma encoding = 'UTF-16le'", "pragma encoding = 'UTF-16be'",
                                       "pragma page_size = 512",       "pragma page_size = 65536",
                                       "pragma journal_mode = wal",    "pragma auto_vacuum = full"};
  Run("pragma synchronous = off; pragma journal_mode = off");
  if (input_.Rarely(4)) Run(input_.OneOf(kSettings));
}

DamagedDatabase::Columns DamagedDatabase::ApplicationColumns() {
  constexpr const char* kTypes[] = {"text",
                                    "integer",
                                    "blob",
                                    "real",
                                    "",
                                    "text collate nocase",
                                    "integer primary key",
                                    "text unique",
                                    "text not null",
                                    "text check (id <> 'app')",
                                    "text as (title || title)",
                                    "integer as (abs(-9223372036854775807 - 1))"};
  Columns columns;
  for (const auto& [name, is_number] : AppDatabase::Columns())
    columns.emplace_back(name, is_number ? "integer" : "text");
  const int damages = input_.Rarely(2) ? input_.Number(0, 6) : 0;
  for (int i = 0; i < damages && columns.size() > 1; ++i) {
    const auto at = columns.begin() + input_.Number(0, static_cast<int>(columns.size()) - 1);
    switch (input_.Number(0, 3)) {
      case 0:
        columns.erase(at);
        break;
      case 1:
        at->first += "_renamed";
        break;
      default:
        at->second = input_.OneOf(kTypes);
    }
  }
  return columns;
}

// A table, or a view over one, or neither.
void DamagedDatabase::MakeTable(const std::string& name, const Columns& columns) {
  constexpr const char* kViews[] = {
      "select * from base_",
      "select * from base_ union all select * from base_",
      "select distinct * from base_ limit 1",
      "select *, id as id from base_",
      "select * from base_ where no_such_function(1)",
      "select id, title from base_",
      "with recursive n(i) as (select 1 union all select i + 1 from n where i < 30) select b.* from base_ b, n",
  };
  constexpr const char* kEndings[] = {"", "without rowid", "strict"};
  if (input_.Rarely(20)) return;
  const bool view = input_.Rarely(8);
  const std::string table = view ? "base_" + name : name;
  std::string list;
  for (const auto& [column, type] : columns) list += (list.empty() ? "" : ",") + column + " " + type;
  Run("create table " + table + " (" + list + ") " + (input_.Rarely(8) ? input_.OneOf(kEndings) : ""));
  AddRows(table, columns);
  if (view) {
    std::string query = input_.OneOf(kViews);
    for (size_t at = query.find("base_"); at != std::string::npos; at = query.find("base_", at + table.size())) {
      query.replace(at, 5, table);
    }
    Run("create view " + name + " as " + query);
  }
  if (input_.Rarely(4)) AddTriggers(view ? name : table);
}

void DamagedDatabase::AddRows(const std::string& table, const Columns& columns) {
  std::string names;
  std::string marks;
  Columns stored;
  for (const auto& column : columns) {
    if (column.second.find(" as (") != std::string::npos) continue;
    stored.push_back(column);
    names += (names.empty() ? "" : ",") + column.first;
    marks += marks.empty() ? "?" : ",?";
  }
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(connection_, ("insert into " + table + " (" + names + ") values (" + marks + ")").c_str(), -1,
                     &statement, nullptr);
  if (statement == nullptr) return;
  const int rows = input_.Number(0, 5);
  for (int row = 0; row < rows; ++row) {
    texts_.clear();
    texts_.reserve(stored.size());
    for (size_t i = 0; i < stored.size(); ++i) BindCell(statement, static_cast<int>(i) + 1, stored[i].first);
    const int odd_cells = input_.Number(0, 6);
    for (int i = 0; i < odd_cells; ++i) BindAny(statement, input_.Number(1, static_cast<int>(stored.size())));
    sqlite3_step(statement);
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
  }
  sqlite3_finalize(statement);
}

// What a sound row would have there.
void DamagedDatabase::BindCell(sqlite3_stmt* statement, int position, const std::string& column) {
  if (const auto usable = kUsable.find(column); usable != kUsable.end()) {
    sqlite3_bind_int(statement, position, usable->second);
  } else if (column == "id" || column == "run_title") {
    sqlite3_bind_text(statement, position, input_.OneOf(kIds), -1, SQLITE_STATIC);
  } else if (column == "app_index") {
    sqlite3_bind_int(statement, position, input_.Number(0, 600));
  } else if (column == "name") {
    sqlite3_bind_text(statement, position, "RESERVED_27", -1, SQLITE_STATIC);
  } else if (column == "value") {
    sqlite3_bind_text(statement, position, "app:org.kelvo.clock,group:app", -1, SQLITE_STATIC);
  } else {
    sqlite3_bind_int(statement, position, 1);
  }
}

void DamagedDatabase::BindAny(sqlite3_stmt* statement, int position) {
  switch (input_.Number(0, 6)) {
    case 0:
      sqlite3_bind_null(statement, position);
      break;
    case 1:
      sqlite3_bind_int64(statement, position, input_.ConsumeIntegral<int64_t>());
      break;
    case 2:
      sqlite3_bind_double(statement, position, input_.ConsumeFloatingPoint<double>());
      break;
    case 3:
      sqlite3_bind_zeroblob(statement, position, input_.Number(0, 20000));
      break;
    case 4: {  // a long text, for which an input has too few bytes
      const std::string long_text(static_cast<size_t>(input_.Number(100, 20000)), 'x');
      sqlite3_bind_text(statement, position, long_text.data(), static_cast<int>(long_text.size()), SQLITE_TRANSIENT);
      break;
    }
    case 5: {
      const std::string blob = input_.Bytes(200);
      sqlite3_bind_blob(statement, position, blob.data(), static_cast<int>(blob.size()), SQLITE_TRANSIENT);
      break;
    }
    default: {
      const std::string text = input_.Bytes(200);
      sqlite3_bind_text(statement, position, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    }
  }
}

void DamagedDatabase::AddTriggers(const std::string& table) {
  constexpr const char* kTimes[] = {"before update", "after update", "instead of update"};
  constexpr const char* kActions[] = {
      "select raise(abort, 'no')", "select raise(fail, 'no')", "select raise(rollback, 'no')",  "select raise(ignore)",
      "select * from nothing",     "delete from widgetinfo",   "update widgetinfo set size = 1"};
  Run(std::string("create trigger planted ") + input_.OneOf(kTimes) + " on " + table + " begin " +
      input_.OneOf(kActions) + "; end");
}

// Single bytes, the length, and a journal that another process seems to have left.
void DamagedDatabase::DamageBytes() {
  std::string content = ReadFile(Path());
  const int edits = input_.Number(0, 16);
  for (int i = 0; i < edits && !content.empty(); ++i) {
    const size_t last = (input_.Flag() ? std::min<size_t>(content.size(), 200) : content.size()) - 1;
    content[input_.ConsumeIntegralInRange<size_t>(0, last)] = static_cast<char>(input_.ConsumeIntegral<uint8_t>());
  }
  if (input_.Rarely(4)) content.resize(input_.ConsumeIntegralInRange<size_t>(0, content.size()));
  if (input_.Rarely(4)) content += input_.Bytes(200);
  WriteFile(Path(), content);
  if (!input_.Rarely(4)) return;
  constexpr const char* kSuffixes[] = {kJournal, "-wal", "-shm"};
  WriteFile(Path() + input_.OneOf(kSuffixes), input_.Bytes(600));
}

}  // namespace fuzz

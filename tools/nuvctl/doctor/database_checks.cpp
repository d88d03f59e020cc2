// The application database: its table, its pages, its indexes and its values.
#include <sqlite3.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <map>
#include <set>

#include "doctor/database_file.h"
#include "doctor/examination.h"
#include "doctor/read_columns.h"
#include "records/record_fields.h"
#include "report/text.h"

namespace {

std::string Restart(Examination& examination) {
  return "nuv-simulator --dir " + ShellWord(examination.directory()) + ", started anew";
}

Finding LookAtDatabase(Examination& examination) {
  return examination.database().finding();
}

// A check of the database that can be read. What SQLite says in the middle of one is the file's fault, but for a
// statement that the table does not fit: of that the columns tell.
template <Finding (*Look)(Examination& examination, SQLite::Database& database)>
Finding OfDatabase(Examination& examination) {
  SQLite::Database* database = examination.database().get();
  if (database == nullptr) return NotKnown("the database cannot be read");
  try {
    return Look(examination, *database);
  } catch (const SQLite::Exception& error) {
    if (error.getErrorCode() == SQLITE_ERROR) return NotKnown(Printable(error.what()));
    const std::string path = ShellWord(examination.database().path());
    return Failure(Printable(error.what()), "mv " + path + " elsewhere, then " + Restart(examination));
  }
}

struct NoCase {
  bool operator()(const std::string& one, const std::string& other) const {
    return sqlite3_stricmp(one.c_str(), other.c_str()) < 0;
  }
};
using Names = std::set<std::string, NoCase>;

Names ColumnsOf(SQLite::Database& database, const char* table) {
  Names names;
  SQLite::Statement columns(database, "SELECT name FROM pragma_table_info(?)");
  columns.bind(1, table);
  while (columns.executeStep()) names.insert(columns.getColumn(0).getText());
  return names;
}

Finding LookAtColumns(Examination& examination, SQLite::Database& database) {
  const Names present = ColumnsOf(database, "widgetinfo");
  std::vector<std::string> missing;
  for (const std::string& column : ReadColumns()) {
    if (present.count(column) == 0) missing.push_back(column);
  }
  if (!missing.empty())
    return Failure("widgetinfo lacks what the library reads: " + Some(missing), Restart(examination));
  const Names config = ColumnsOf(database, "NUVConfigTable");
  if (config.count("name") == 0 || config.count("value") == 0) {
    return Failure("there is no NUVConfigTable with name and value: groups are not found", Restart(examination));
  }
  return Fine("all " + std::to_string(ReadColumns().size()) + " columns that the library reads are there");
}

// Where the damage keeps SQLite from going on, that is the last one.
std::vector<std::string> DamagesOf(SQLite::Database& database) {
  std::vector<std::string> damages;
  try {
    SQLite::Statement check(database, "PRAGMA quick_check(3)");
    while (check.executeStep()) damages.emplace_back(check.getColumn(0).getText());
  } catch (const SQLite::Exception& error) {
    if (error.getErrorCode() != SQLITE_CORRUPT) throw;
    damages.emplace_back(error.what());
  }
  return damages;
}

// In the first line, but for a headline.
std::string FirstDamage(const std::string& damage) {
  const size_t end = damage.find('\n');
  const bool headline = damage.rfind("***", 0) == 0 && end != std::string::npos;
  return headline ? FirstDamage(damage.substr(end + 1)) : damage.substr(0, end);
}

Finding LookAtIntegrity(Examination& examination, SQLite::Database& database) {
  const std::vector<std::string> damages = DamagesOf(database);
  if (damages == std::vector<std::string>{"ok"}) return Fine("SQLite finds no damage");
  const std::string first = damages.empty() ? "the check gave no answer" : FirstDamage(damages.front());
  const std::string path = ShellWord(examination.database().path());
  return Failure("SQLite finds damage: " + Printable(first), "mv " + path + " elsewhere, then " + Restart(examination));
}

// What the library asks most. Asked in the same words, SQLite tells whether it has an index for it.
struct Question {
  const char* what;
  const char* sql;
};

#define NUV_LISTED                                                                               \
  "SELECT * FROM widgetinfo WHERE is_app_available = 1 AND install_state = 3 AND is_hidden = 0 " \
  "AND is_need_reset = 0 ORDER BY "
constexpr Question kQuestions[] = {
    {"lookups by id", "SELECT * FROM widgetinfo WHERE id = ?1 OR kelvo_id = ?1 OR pkgname = ?1"},
    {"lookups by run title", "SELECT * FROM widgetinfo WHERE run_title = ?1"},
    {"lists by index", NUV_LISTED "app_index"},
    {"lists by use", NUV_LISTED "use_count DESC"},
    {"lists by title", NUV_LISTED "upper(title)"},
};
#undef NUV_LISTED

bool ReadsAll(SQLite::Database& database, const Question& question) {
  SQLite::Statement plan(database, std::string("EXPLAIN QUERY PLAN ") + question.sql);
  while (plan.executeStep()) {
    const std::string step = plan.getColumn(3).getText();
    const bool scan = step.rfind("SCAN", 0) == 0 && step.find(" USING ") == std::string::npos;
    if (scan || step.find("TEMP B-TREE FOR ORDER BY") != std::string::npos) return true;
  }
  return false;
}

Finding LookAtIndexes(Examination& examination, SQLite::Database& database) {
  std::vector<std::string> slow;
  for (const Question& question : kQuestions) {
    if (ReadsAll(database, question)) slow.emplace_back(question.what);
  }
  if (slow.empty()) return Fine("lookups and lists have their indexes");
  return Warning("without an index, these read or sort all applications: " + Joined(slow), Restart(examination));
}

// Columns that hold a number of a few that are known.
struct KnownNumbers {
  const char* column;
  const char* numbers;
};

constexpr KnownNumbers kKnownNumbers[] = {{"app_type", "2, 4, 8, 16"}, {"app_featured", "1, 2, 4, 8"}};

// The columns, and the condition of a value that no reader understands. What a column holds is told by the members of
// the records that it is read into.
std::map<std::string, std::string> OddConditions() {
  std::map<std::string, std::string> conditions;
  const auto add = [&conditions](const std::string& column, const Value& value) {
    if (std::holds_alternative<bool>(value)) conditions[column] = column + " IS NULL OR " + column + " NOT IN (0, 1)";
    if (std::holds_alternative<int>(value)) {
      conditions.emplace(column, "typeof(" + column + ") NOT IN ('integer', 'null') OR " + column +
                                     " NOT BETWEEN -2147483648 AND 2147483647");
    }
  };
  for (const Fields& record : {FieldsOf(_APPSINFO_T()), FieldsOf(_APPS_INNER_INFO_T()), FieldsOf(nuv_app_info_s())}) {
    for (const Field& field : record) {
      const auto& columns = ReadColumns();
      const bool is_column = std::find(columns.begin(), columns.end(), field.key) != columns.end();
      if (is_column && conditions.count(field.key) == 0) add(field.key, field.value);
    }
  }
  for (const KnownNumbers& known : kKnownNumbers) {
    conditions[known.column] =
        std::string(known.column) + " IS NULL OR " + known.column + " NOT IN (" + known.numbers + ")";
  }
  return conditions;
}

// All columns are counted in one reading of the table.
std::vector<std::string> OddColumns(SQLite::Database& database, const std::map<std::string, std::string>& conditions) {
  std::string sql;
  for (const auto& [column, condition] : conditions) {
    sql += (sql.empty() ? "SELECT sum(" : ", sum(") + condition + ")";
  }
  SQLite::Statement count(database, sql + " FROM widgetinfo");
  count.executeStep();
  std::vector<std::string> odd;
  int position = 0;
  for (const auto& [column, condition] : conditions) {
    if (count.getColumn(position++).getInt64() > 0) odd.push_back(column);
  }
  return odd;
}

// "is_lock of an.app is 7"
std::string Example(SQLite::Database& database, const std::string& column, const std::string& condition) {
  SQLite::Statement row(database, "SELECT id, quote(" + column + ") FROM widgetinfo WHERE " + condition + " LIMIT 1");
  if (!row.executeStep()) return column;
  return column + " of " + Printable(row.getColumn(0).getText()) + " is " + Shortened(row.getColumn(1).getText(), 32);
}

// An id has to be a text that can travel on the bus.
std::vector<std::string> OddIds(SQLite::Database& database) {
  std::vector<std::string> odd;
  SQLite::Statement ids(database, "SELECT id FROM widgetinfo");
  while (ids.executeStep()) {
    const SQLite::Column id = ids.getColumn(0);
    const std::string text(static_cast<const char*>(id.getText()), static_cast<size_t>(id.getBytes()));
    if (text.empty()) odd.emplace_back("an id is empty");
    if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) == FALSE) {
      odd.push_back("the id " + Printable(text) + " is no UTF-8");
    }
  }
  return odd;
}

Finding LookAtValues(Examination& examination, SQLite::Database& database) {
  const auto conditions = OddConditions();
  std::vector<std::string> odd = OddIds(database);
  for (const std::string& column : OddColumns(database, conditions)) {
    odd.push_back(Example(database, column, conditions.at(column)));
  }
  if (odd.empty()) return Fine("every value is one that its readers know");
  return Warning("values that no reader understands: " + Some(odd), Printable(examination.database().path()));
}

}  // namespace

std::vector<Check> DatabaseChecks() {
  return {{"database", LookAtDatabase},
          {"columns", OfDatabase<LookAtColumns>},
          {"integrity", OfDatabase<LookAtIntegrity>},
          {"indexes", OfDatabase<LookAtIndexes>},
          {"values", OfDatabase<LookAtValues>}};
}

// The read side's one connection to the application database, and its one current statement.
//
// The connection is opened read-only by the first query and stays open; it is closed only where opening it fails. The
// functions lock nothing: whoever uses the connection holds a StatementCycle for as long as its statement lives.
#pragma once

#include <nuv/nuv_app_records.h>
#include <nuv_common/nuv_log.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "nuv_db_common/nuv_statement.h"

extern DatabaseSide readSide;
extern sqlite3* g_pConnection NUV_GUARDED_BY(readSide.turn);  // null until opened
extern sqlite3_stmt* g_pStmt NUV_GUARDED_BY(readSide.turn);   // null where no statement is live

// Opens the database unless one is open, whatever its path: 0, or -1.
int Connect(const std::string& path) NUV_REQUIRES(readSide.turn);

// Connects and compiles sql into g_pStmt: 0, -1 or, when the database stayed busy, -2. What g_pStmt held is dropped.
int Prepare(const std::string& sql) NUV_REQUIRES(readSide.turn);

// Binds record i to parameter i + 1. Texts are not copied: the list has to outlive the statement.
void nuvdb_bind(const std::vector<_NUVDB_BIND_T>& binds) NUV_REQUIRES(readSide.turn);

// Advances g_pStmt by a row: SQLITE_ROW while there is one, else the statement is gone. SQLITE_ERROR without statement.
int Step() NUV_REQUIRES(readSide.turn);

void save_db_bind(std::vector<_NUVDB_BIND_T>& binds, const std::string& value);
void save_db_bind(std::vector<_NUVDB_BIND_T>& binds, int value);

// Where wanted, halves SQLite's two caches for its lifetime, to a megabyte for pages and one for sorting. The
// destructor restores their size; where that fails, the next statement does.
class SmallCaches {
 public:
  explicit SmallCaches(bool wanted) NUV_REQUIRES(readSide.turn);
  ~SmallCaches() NUV_UNANALYSED;
  SmallCaches(const SmallCaches&) = delete;
  SmallCaches& operator=(const SmallCaches&) = delete;
};

// Values of the current row. The text is never null and is SQLite's: it lives until the next step.
char* GetStringFromResult(unsigned col) NUV_REQUIRES(readSide.turn);
int GetIntegerFromResult(unsigned col) NUV_REQUIRES(readSide.turn);
void GetValueByDBPosition(unsigned col, std::string& out) NUV_REQUIRES(readSide.turn);

// One statement of the read side.
class NUV_SCOPED_CAPABILITY StatementCycle : public QueryCycle {
 public:
  StatementCycle() NUV_ACQUIRE(readSide.turn);
  ~StatementCycle() NUV_RELEASE() NUV_UNANALYSED = default;

  // Prepares and binds: the result of Prepare().
  int Begin(const std::string& sql, const std::vector<_NUVDB_BIND_T>& binds) NUV_REQUIRES(readSide.turn);
  bool NextRow() NUV_REQUIRES(readSide.turn);
};

// The inner side's one connection to the application database, which is switched between reading and writing, and its
// one current statement.
//
// The functions lock nothing: whoever uses the connection holds a turn at it.
#pragma once

#include <nuv_common/nuv_log.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "nuv_db_common/nuv_bound_text.h"
#include "nuv_db_common/nuv_statement.h"

enum DB_OPEN_TYPE : int { kReadOnly = 0, kReadWrite = 1 };  // any other value is taken for read-only

// One parameter of a statement.
struct _NUVDB_INNER_BIND_T {
  int type;  // 1 text, 2 integer; any other value leaves the parameter null
  std::string text;
  int value;
};

extern DatabaseSide innerSide;
extern sqlite3* g_pConnection_Inner NUV_GUARDED_BY(innerSide.turn);  // null when closed
extern sqlite3_stmt* g_pStmt_Inner NUV_GUARDED_BY(innerSide.turn);   // null where no statement is live
// DB_OPEN_TYPE of the last opening; read-write before the first.
extern int g_db_type NUV_GUARDED_BY(innerSide.turn);

// Opens the database unless one is open, in whatever mode: 0, or -1.
int Connect_Inner(DB_OPEN_TYPE type) NUV_REQUIRES(innerSide.turn);

// Closes the connection. Always 0. A live statement is left alone.
int DisConnect_Inner() NUV_REQUIRES(innerSide.turn);

// Connects, if need be in the given mode, and compiles sql into g_pStmt_Inner: 0, -1 or, when the database stayed busy,
// -2. What g_pStmt_Inner held is dropped.
int Prepare_Inner(const char* sql, DB_OPEN_TYPE type) NUV_REQUIRES(innerSide.turn);

// Advances g_pStmt_Inner by a row: SQLITE_ROW while there is one, else the statement is gone. SQLITE_ERROR without one.
int Step_Inner() NUV_REQUIRES(innerSide.turn);

void save_inner_db_bind(std::vector<_NUVDB_INNER_BIND_T>& binds, const std::string& value);
void save_inner_db_bind(std::vector<_NUVDB_INNER_BIND_T>& binds, int value);

// Binds record i to parameter i + 1. Texts are not copied: the list has to outlive the statement.
void nuv_inner_bind_db(const std::vector<_NUVDB_INNER_BIND_T>& binds) NUV_REQUIRES(innerSide.turn);

// Values of the current row; a null is an empty text.
void GetValueByPosition(unsigned column, std::string& out) NUV_REQUIRES(innerSide.turn);
void GetValueByPosition(unsigned column, int& out) NUV_REQUIRES(innerSide.turn);
void GetValueByPosition(unsigned column, bool& out) NUV_REQUIRES(innerSide.turn);

using InnerStatement = BoundText<_NUVDB_INNER_BIND_T>;

// One statement of the inner side.
class NUV_SCOPED_CAPABILITY InnerStatementCycle : public QueryCycle {
 public:
  InnerStatementCycle() NUV_ACQUIRE(innerSide.turn) NUV_UNANALYSED : QueryCycle(innerSide, kLookupBusy) {}
  ~InnerStatementCycle() NUV_RELEASE() NUV_UNANALYSED = default;

  // Prepares for reading and binds: the result of Prepare_Inner(), a failure logged for the caller.
  int Begin(const InnerStatement& statement, const LogOrigin& origin) NUV_REQUIRES(innerSide.turn);
  bool NextRow() NUV_REQUIRES(innerSide.turn);
};

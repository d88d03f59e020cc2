// The statement cycle of the application database: what the reading and the writing side of the library have in common.
// Neither function locks anything.
#pragma once

#include <nuv_common/nuv_log.h>
#include <sqlite3.h>

// A busy database is asked this often in all.
constexpr int kMaxRetryCount = 50;

constexpr int kDatabaseFailed = -1;
constexpr int kDatabaseBusy = -2;

// What differs between the two sides.
struct DatabaseSide {
  const char* statementName;  // as log lines have it
  void (*waitBeforeRetry)();
};

// Compiles sql into *statement: 0, kDatabaseFailed or kDatabaseBusy. The statement is null after a failure.
int PrepareWithRetry(sqlite3* connection, const char* sql, sqlite3_stmt** statement, const DatabaseSide& side,
                     const LogOrigin& origin);

// Advances *statement by one row and returns SQLite's code; SQLITE_ERROR where there is no statement. Every result but
// SQLITE_ROW ends the statement: it is finalized and null.
int StepWithRetry(sqlite3_stmt** statement, const DatabaseSide& side, const LogOrigin& origin);

// Finalizes *statement, where there is one, and sets it null.
void FinalizeStatement(sqlite3_stmt** statement, const char* name, const LogOrigin& origin);

// Opens the database at path without ever creating it: SQLite's code. *connection may be set after a failure, too.
int OpenDatabase(const char* path, int accessFlag, sqlite3** connection);

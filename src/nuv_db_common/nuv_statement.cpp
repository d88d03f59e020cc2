#include "nuv_db_common/nuv_statement.h"

#include <sys/stat.h>

#include "nuv_db_common/nuv_database_fork.h"

namespace {

// A fork may wait for a turn of this thread, so this thread must not wait for the fork before the turn is over.
thread_local int turnsOfThisThread = 0;

// A private cache, because a host may enable SQLite's shared cache: a connection for writing that shares a cache opened
// for reading cannot write.
constexpr int kOpenFlags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE;

void FinalizeStatement(DatabaseSide& side, const char* name, const LogOrigin& origin) NUV_REQUIRES(side.turn) {
  if (side.statement == nullptr) return;
  NUV_INFO_FROM(origin, "finalize %s", name);
  sqlite3_finalize(side.statement);
  side.statement = nullptr;
}

// Logs SQLite's message, which says more than the result code.
void LogSqliteMessage(const DatabaseSide& side, const LogOrigin& origin) NUV_REQUIRES(side.turn) {
  NUV_ERROR_FROM(origin, NUV_RED "SQLite: %s" NUV_PLAIN, sqlite3_errmsg(side.connection));
}

// Makes the next call read the file anew. SQLite keeps its cached pages as long as the file's change counter stays the
// same, and a backup that is copied over the file may have the same counter: without this, pages that were read from
// the half-written file would be kept for good. SQLite drops its cached schema by itself, once the pages show another
// one.
void ForgetPages(const DatabaseSide& side) NUV_REQUIRES(side.turn) {
  if (side.connection != nullptr) sqlite3_db_release_memory(side.connection);
}

bool HasStatement(const DatabaseSide& side, const LogOrigin& origin) NUV_REQUIRES(side.turn) {
  if (side.statement != nullptr) return true;
  NUV_ERROR_FROM(origin, NUV_RED "%s is NULL" NUV_PLAIN, side.statementName);
  return false;
}

// Steps until the database is not busy, the tries are used up, or the statement has vanished.
int StepUntilAnswered(DatabaseSide& side, const LogOrigin& origin) NUV_REQUIRES(side.turn) {
  for (int tries = 1;; ++tries) {
    const int code = sqlite3_step(side.statement);
    if (code != SQLITE_BUSY) return code;
    NUV_INFO_FROM(origin, "step return SQLITE_BUSY");
    if (tries == kMaxRetryCount) {  // one pause fewer than tries: the waits are documented to the second
      NUV_INFO_FROM(origin, "step retry is up to MAX_RETRY_COUNT");
      return code;
    }
    NUV_INFO_FROM(origin, NUV_YELLOW "retry step" NUV_PLAIN);
    side.waitBeforeRetry();
    if (!HasStatement(side, origin)) return code;
  }
}

// Prepares until the database is not busy or the tries are used up.
int PrepareUntilAnswered(DatabaseSide& side, const char* sql, const LogOrigin& origin) NUV_REQUIRES(side.turn) {
  for (int tries = 1;; ++tries) {
    const int code = sqlite3_prepare_v2(side.connection, sql, -1, &side.statement, nullptr);
    if (code != SQLITE_BUSY) return code;
    NUV_INFO_FROM(origin, "prepare return SQLITE_BUSY");
    if (tries == kMaxRetryCount) {  // as in a step
      NUV_INFO_FROM(origin, "prepare retry is up to MAX_RETRY_COUNT");
      return code;
    }
    NUV_INFO_FROM(origin, NUV_YELLOW "retry prepare" NUV_PLAIN);
    side.waitBeforeRetry();
  }
}

// Whether the path names a pipe, a device or a socket, whose opening or reading may block for ever. SQLite itself
// refuses a directory.
bool IsNoFile(const char* path) {
  struct stat found = {};
  return stat(path, &found) == 0 && !S_ISREG(found.st_mode) && !S_ISDIR(found.st_mode);
}

// Logs why an opening failed: the documented line, and an error line with the path for readers who filter for errors.
void LogFailedOpening(const char* words, const char* path, const char* reason, const LogOrigin& origin) {
  NUV_INFO_FROM(origin, "Failed to connect to DB : %s", words);
  NUV_ERROR_FROM(origin, NUV_RED "cannot open %s: %s" NUV_PLAIN, path, reason);
}

// Closes what a failed opening left.
void CloseFailedConnection(DatabaseSide& side, const LogOrigin& origin) NUV_REQUIRES(side.turn) {
  if (side.statement != nullptr) {
    NUV_INFO_FROM(origin, "finalize %s ", side.statementName);
    sqlite3_finalize(side.statement);
    side.statement = nullptr;
  }
  if (side.connection == nullptr) return;
  NUV_INFO_FROM(origin, "Close DB ");
  sqlite3_close(side.connection);
  side.connection = nullptr;
}

}  // namespace

DatabaseTurn::DatabaseTurn(DatabaseSide& side) : m_side(side) {
  if (turnsOfThisThread++ == 0) WaitForForks();
  side.turn.lock();
}

DatabaseTurn::~DatabaseTurn() {
  m_side.turn.unlock();
  --turnsOfThisThread;
}

int OpenDatabase(DatabaseSide& side, const char* path, int accessFlag, const LogOrigin& origin) {
  if (DatabaseIsRefused(origin)) return kDatabaseFailed;
  if (IsNoFile(path)) {
    LogFailedOpening(sqlite3_errstr(SQLITE_CANTOPEN), path, "not a regular file", origin);
  } else if (sqlite3_open_v2(path, &side.connection, accessFlag | kOpenFlags, nullptr) == SQLITE_OK) {
    NUV_INFO_FROM(origin, "Connected to DB");
    return 0;
  } else {
    const char* words = sqlite3_errmsg(side.connection);
    LogFailedOpening(words, path, words, origin);
  }
  CloseFailedConnection(side, origin);
  return kDatabaseFailed;
}

int PrepareWithRetry(DatabaseSide& side, const char* sql, const LogOrigin& origin) {
  const int code = PrepareUntilAnswered(side, sql, origin);
  if (code == SQLITE_OK) return 0;
  if (code != SQLITE_BUSY) {
    NUV_INFO_FROM(origin, "unknow type %d", code);  // misspelt here only; readers of the log know it
    LogSqliteMessage(side, origin);
  }
  FinalizeStatement(side, "m_pStmt", origin);  // no such variable; the log has this name for both sides
  if (code == SQLITE_BUSY) return kDatabaseBusy;
  ForgetPages(side);
  return kDatabaseFailed;
}

int StepWithRetry(DatabaseSide& side, const LogOrigin& origin) {
  NUV_INFO_FROM(origin, "Step start ");
  if (!HasStatement(side, origin)) return SQLITE_ERROR;
  const int code = StepUntilAnswered(side, origin);
  if (code == SQLITE_ROW) {
    NUV_INFO_FROM(origin, "SQLITE_ROW : has another row ready");
    return code;
  }
  if (code == SQLITE_DONE) {
    NUV_INFO_FROM(origin, "SQLITE_DONE : has finished executing");
  } else if (code != SQLITE_BUSY) {
    NUV_INFO_FROM(origin, "unknown type %d", code);
    LogSqliteMessage(side, origin);
  }
  FinalizeStatement(side, side.statementName, origin);
  if (code != SQLITE_DONE && code != SQLITE_BUSY) ForgetPages(side);
  return code;
}

const char* TextOfColumn(const DatabaseSide& side, unsigned column) {
  const unsigned char* text = sqlite3_column_text(side.statement, static_cast<int>(column));
  if (text != nullptr || side.statement == nullptr) return reinterpret_cast<const char*>(text);
  if (sqlite3_errcode(sqlite3_db_handle(side.statement)) == SQLITE_NOMEM) throw std::bad_alloc();
  return nullptr;
}

StatementTurn::~StatementTurn() NUV_UNANALYSED {
  FinalizeStatement(m_side, m_side.statementName, Here());
}

bool QueryCycle::ReportBusy(const char* complaint, const LogOrigin& origin) const {
  if (EndedBusy()) NUV_ERROR_FROM(origin, "%s", complaint);
  return EndedBusy();
}

int QueryCycle::Result(bool hadRow, const LogOrigin& origin) const {
  if (ReportBusy(m_busyComplaint, origin)) return kDatabaseBusy;
  return hadRow ? 0 : kDatabaseFailed;
}

bool QueryCycle::FirstColumnIs(const std::string& text) const {
  const char* first = TextOfColumn(m_side, 0);
  return text == (first == nullptr ? "" : first);
}

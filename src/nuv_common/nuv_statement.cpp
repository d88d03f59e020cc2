#include "nuv_common/nuv_statement.h"

namespace {

void LogSqliteMessage(sqlite3* connection, const LogOrigin& origin) {
  NUV_ERROR_FROM(origin, NUV_RED "SQLite: %s" NUV_PLAIN, sqlite3_errmsg(connection));
}

void FinalizeFailedPrepare(sqlite3_stmt** statement, const LogOrigin& origin) {
  FinalizeStatement(statement, "m_pStmt", origin);
}

}  // namespace

int OpenDatabase(const char* path, int accessFlag, sqlite3** connection) {
  return sqlite3_open_v2(path, connection, accessFlag | SQLITE_OPEN_NOMUTEX, nullptr);
}

void FinalizeStatement(sqlite3_stmt** statement, const char* name, const LogOrigin& origin) {
  if (*statement == nullptr) return;
  NUV_INFO_FROM(origin, "finalize %s", name);
  sqlite3_finalize(*statement);
  *statement = nullptr;
}

int PrepareWithRetry(sqlite3* connection, const char* sql, sqlite3_stmt** statement, const DatabaseSide& side,
                     const LogOrigin& origin) {
  for (int tries = 1;; ++tries) {
    const int code = sqlite3_prepare_v2(connection, sql, -1, statement, nullptr);
    if (code == SQLITE_OK) return 0;
    if (code != SQLITE_BUSY) {
      NUV_INFO_FROM(origin, "unknow type %d", code);
      LogSqliteMessage(connection, origin);
      FinalizeFailedPrepare(statement, origin);
      return kDatabaseFailed;
    }
    NUV_INFO_FROM(origin, "prepare return SQLITE_BUSY");
    if (tries == kMaxRetryCount) {
      NUV_INFO_FROM(origin, "prepare retry is up to MAX_RETRY_COUNT");
      FinalizeFailedPrepare(statement, origin);
      return kDatabaseBusy;
    }
    NUV_INFO_FROM(origin, NUV_YELLOW "retry prepare" NUV_PLAIN);
    side.waitBeforeRetry();
  }
}

namespace {

bool HasStatement(sqlite3_stmt* statement, const DatabaseSide& side, const LogOrigin& origin) {
  if (statement != nullptr) return true;
  NUV_ERROR_FROM(origin, NUV_RED "%s is NULL" NUV_PLAIN, side.statementName);
  return false;
}

// Steps until the database is not busy, the tries are used up, or the statement has vanished.
int StepUntilAnswered(sqlite3_stmt** statement, const DatabaseSide& side, const LogOrigin& origin) {
  for (int tries = 1;; ++tries) {
    const int code = sqlite3_step(*statement);
    if (code != SQLITE_BUSY) return code;
    NUV_INFO_FROM(origin, "step return SQLITE_BUSY");
    if (tries == kMaxRetryCount) {
      NUV_INFO_FROM(origin, "step retry is up to MAX_RETRY_COUNT");
      return code;
    }
    NUV_INFO_FROM(origin, NUV_YELLOW "retry step" NUV_PLAIN);
    side.waitBeforeRetry();
    if (!HasStatement(*statement, side, origin)) return code;
  }
}

}  // namespace

int StepWithRetry(sqlite3_stmt** statement, const DatabaseSide& side, const LogOrigin& origin) {
  NUV_INFO_FROM(origin, "Step start ");
  if (!HasStatement(*statement, side, origin)) return SQLITE_ERROR;
  const int code = StepUntilAnswered(statement, side, origin);
  if (code == SQLITE_ROW) {
    NUV_INFO_FROM(origin, "SQLITE_ROW : has another row ready");
    return code;
  }
  if (code == SQLITE_DONE) {
    NUV_INFO_FROM(origin, "SQLITE_DONE : has finished executing");
  } else if (code != SQLITE_BUSY) {
    NUV_INFO_FROM(origin, "unknown type %d", code);
    LogSqliteMessage(sqlite3_db_handle(*statement), origin);
  }
  FinalizeStatement(statement, side.statementName, origin);
  return code;
}

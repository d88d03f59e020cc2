#include "nuv_db_api/nuv_db_statement.h"

#include <nuv_common/nuv_bound_text.h>
#include <nuv_platform/platform_path.h>
#include <unistd.h>

#include "nuv_common/nuv_database_fork.h"
#include "nuv_common/nuv_pause.h"

sqlite3* g_pConnection = nullptr;
sqlite3_stmt* g_pStmt = nullptr;

namespace {

void WaitForWriter() {
  Pause({0, 10000000}, [] { return usleep(10000); });
}

}  // namespace

DatabaseSide readSide = {"g_pStmt", WaitForWriter, g_pConnection, g_pStmt};

namespace {

[[maybe_unused]] const int registered = LookAfterAtFork(readSide);

int ConnectToDatabase() NUV_REQUIRES(readSide.turn) {
  const char* directory = nuv_platform_get_path(NUV_PATH_APP_DATABASE_DIR);
  if (directory == nullptr) {
    NUV_ERROR(NUV_RED "path variable %d has no value" NUV_PLAIN, NUV_PATH_APP_DATABASE_DIR);
    return kDatabaseFailed;
  }
  return Connect(std::string(directory) + "/.corvane.db");
}

}  // namespace

int Connect(const std::string& path) {
  NUV_INFO("Connecting to DB start: %s", path.c_str());
  if (g_pConnection != nullptr) {
    NUV_INFO("Data base already connected");
    return 0;
  }
  return OpenDatabase(readSide, path.c_str(), SQLITE_OPEN_READONLY, NUV_HERE);
}

int Prepare(const std::string& sql) {
  g_pStmt = nullptr;
  if (ConnectToDatabase() != 0) return kDatabaseFailed;
  const int result = PrepareWithRetry(readSide, sql.c_str(), NUV_HERE);
  NUV_MILESTONE(NUV_GREEN "End,ret = %d" NUV_PLAIN, result);
  return result;
}

void LimitCaches() {
  if (g_pConnection != nullptr) sqlite3_exec(g_pConnection, "PRAGMA cache_size = -1000", nullptr, nullptr, nullptr);
}

void nuvdb_bind(const std::vector<_NUVDB_BIND_T>& binds) {
  BindParameters(g_pStmt, binds);
}

int Step() {
  return StepWithRetry(readSide, NUV_HERE);
}

void save_db_bind(std::vector<_NUVDB_BIND_T>& binds, const std::string& value) {
  AppendBind(binds, value);
}

void save_db_bind(std::vector<_NUVDB_BIND_T>& binds, int value) {
  AppendBind(binds, value);
}

char* GetStringFromResult(unsigned col) {
  static char empty[] = "";
  const char* text = TextOfColumn(readSide, col);
  return text == nullptr ? empty : const_cast<char*>(text);
}

int GetIntegerFromResult(unsigned col) {
  return sqlite3_column_int(g_pStmt, static_cast<int>(col));
}

void GetValueByDBPosition(unsigned col, std::string& out) {
  out = GetStringFromResult(col);
}

StatementCycle::StatementCycle() NUV_UNANALYSED : m_turn(readSide) {}

int StatementCycle::Begin(const std::string& sql, const std::vector<_NUVDB_BIND_T>& binds) {
  const int result = Prepare(sql);
  if (result == 0) nuvdb_bind(binds);
  return result;
}

bool StatementCycle::NextRow() {
  m_lastStep = Step();
  return m_lastStep == SQLITE_ROW;
}

int StatementCycle::Result(bool hadRow, const LogOrigin& origin) const {
  if (EndedBusy()) {
    NUV_ERROR_FROM(origin, "Get DB fail:sql busy");
    return kDatabaseBusy;
  }
  return hadRow ? 0 : kDatabaseFailed;
}

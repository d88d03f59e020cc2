#include "nuv_db_api/nuv_db_statement.h"

#include <nuv_platform/platform_path.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "nuv_db_common/nuv_bound_text.h"
#include "nuv_db_common/nuv_database_fork.h"
#include "nuv_db_common/nuv_pause.h"

sqlite3* g_pConnection = nullptr;
sqlite3_stmt* g_pStmt = nullptr;

namespace {

void WaitForWriter() {
  Pause({0, 10000000}, [] { return usleep(10000); });
}

}  // namespace

DatabaseSide readSide = {"g_pStmt", WaitForWriter, g_pConnection, g_pStmt};

namespace {

constexpr int kSmallCacheSize = -1000;  // in kibibytes, as SQLite has it

// The connection's cache_size to restore; 0: nothing to restore.
int cacheSizeToRestore NUV_GUARDED_BY(readSide.turn) = 0;

void ForgetCaches() NUV_UNANALYSED {
  cacheSizeToRestore = 0;
}

[[maybe_unused]] const int registered = LookAfterAtFork(readSide, ForgetCaches);

// The connection's cache_size; 0 where it cannot be read.
int CacheSize() NUV_REQUIRES(readSide.turn) {
  int size = 0;
  const auto read = [](void* result, int, char** values, char**) {
    *static_cast<int*>(result) = atoi(values[0]);
    return 0;
  };
  sqlite3_exec(g_pConnection, "PRAGMA cache_size", read, &size, nullptr);
  return size;
}

bool SetCacheSize(int size) NUV_REQUIRES(readSide.turn) {
  char sql[48];
  snprintf(sql, sizeof sql, "PRAGMA cache_size = %d", size);
  return sqlite3_exec(g_pConnection, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

void RestoreCaches() NUV_REQUIRES(readSide.turn) {
  if (cacheSizeToRestore != 0 && SetCacheSize(cacheSizeToRestore)) cacheSizeToRestore = 0;
}

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
  return OpenDatabase(readSide, path.c_str(), SQLITE_OPEN_READONLY);
}

int Prepare(const std::string& sql) {
  g_pStmt = nullptr;  // dropped, not finalized: whoever left it live ends it
  if (ConnectToDatabase() != 0) return kDatabaseFailed;
  const int result = PrepareWithRetry(readSide, sql.c_str());
  NUV_MILESTONE(NUV_GREEN "End,ret = %d" NUV_PLAIN, result);
  return result;
}

SmallCaches::SmallCaches(bool wanted) {
  if (!wanted || cacheSizeToRestore != 0) return;
  const int before = CacheSize();
  if (before != 0 && SetCacheSize(kSmallCacheSize)) cacheSizeToRestore = before;
}

SmallCaches::~SmallCaches() {
  RestoreCaches();
}

void nuvdb_bind(const std::vector<_NUVDB_BIND_T>& binds) {
  BindParameters(g_pStmt, binds);
}

int Step() {
  return StepWithRetry(readSide);
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

StatementCycle::StatementCycle() NUV_UNANALYSED : QueryCycle(readSide, "Get DB fail:sql busy") {}

int StatementCycle::Begin(const std::string& sql, const std::vector<_NUVDB_BIND_T>& binds) {
  RestoreCaches();
  const int result = Prepare(sql);
  if (result == 0) nuvdb_bind(binds);
  return result;
}

bool StatementCycle::NextRow() {
  return Note(Step());
}

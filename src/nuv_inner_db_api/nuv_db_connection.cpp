#include "nuv_inner_db_api/nuv_db_connection.h"

#include <nuv_common/nuv_handle.h>
#include <nuv_platform/platform_path.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "nuv_db_common/nuv_database_fork.h"
#include "nuv_db_common/nuv_pause.h"

sqlite3* g_pConnection_Inner = nullptr;
sqlite3_stmt* g_pStmt_Inner = nullptr;
int g_db_type = kReadWrite;

namespace {

constexpr size_t kPathSize = 128;

void WaitForOtherWriter() {
  Pause({1, 0}, [] { return sleep(1); });
}

// A child has no connection. It notes read-only, so that a switch to read-write opens one whatever the parent had open.
void ForgetMode() NUV_UNANALYSED {
  g_db_type = kReadOnly;
}

// The path of the database, cut where it is too long; null, and logged, where there is none.
AllocatedText MakePath() {
  AllocatedText path(static_cast<char*>(calloc(kPathSize, 1)));
  if (path == nullptr) {
    NUV_ERROR(NUV_RED "malloc error" NUV_PLAIN);
    return nullptr;
  }
  const char* directory = nuv_platform_get_path(NUV_PATH_APP_DATABASE_DIR);
  if (directory == nullptr) {
    NUV_ERROR(NUV_RED "path variable %d has no value" NUV_PLAIN, NUV_PATH_APP_DATABASE_DIR);
    return nullptr;
  }
  const int length = snprintf(path.get(), kPathSize, "%s%s", directory, "/.corvane.db");
  if (length >= static_cast<int>(kPathSize)) {
    NUV_ERROR(NUV_RED "the path of the database is cut at %d characters: %s" NUV_PLAIN, static_cast<int>(kPathSize) - 1,
              path.get());
  }
  return path;
}

}  // namespace

DatabaseSide innerSide = {"g_pStmt_Inner", WaitForOtherWriter, g_pConnection_Inner, g_pStmt_Inner};

namespace {

[[maybe_unused]] const int registered = LookAfterAtFork(innerSide, ForgetMode);

}  // namespace

int Connect_Inner(DB_OPEN_TYPE type) {
  if (g_pConnection_Inner != nullptr) {
    NUV_INFO("Data base already connected");
    return 0;
  }
  const AllocatedText path = MakePath();
  if (path == nullptr) return kDatabaseFailed;
  g_db_type = type == kReadWrite ? kReadWrite : kReadOnly;
  const int access = type == kReadWrite ? SQLITE_OPEN_READWRITE : SQLITE_OPEN_READONLY;
  return OpenDatabase(innerSide, path.get(), access);
}

int DisConnect_Inner() {
  if (g_pConnection_Inner == nullptr) return 0;
  sqlite3_close(g_pConnection_Inner);
  g_pConnection_Inner = nullptr;
  return 0;
}

int Prepare_Inner(const char* sql, DB_OPEN_TYPE type) {
  g_pStmt_Inner = nullptr;  // dropped, not finalized: whoever left it live ends it
  if (Connect_Inner(type) != 0) return kDatabaseFailed;
  const int result = PrepareWithRetry(innerSide, sql);
  NUV_ERROR(NUV_YELLOW "End,ret = %d" NUV_PLAIN, result);  // an error line whatever the result: filters show it
  return result;
}

int Step_Inner() {
  return StepWithRetry(innerSide);
}

void save_inner_db_bind(std::vector<_NUVDB_INNER_BIND_T>& binds, const std::string& value) {
  AppendBind(binds, value);
}

void save_inner_db_bind(std::vector<_NUVDB_INNER_BIND_T>& binds, int value) {
  AppendBind(binds, value);
}

void nuv_inner_bind_db(const std::vector<_NUVDB_INNER_BIND_T>& binds) {
  BindParameters(g_pStmt_Inner, binds);
}

void GetValueByPosition(unsigned column, std::string& out) {
  const char* text = TextOfColumn(innerSide, column);
  out = text == nullptr ? "" : text;
}

void GetValueByPosition(unsigned column, int& out) {
  out = sqlite3_column_int(g_pStmt_Inner, static_cast<int>(column));
}

void GetValueByPosition(unsigned column, bool& out) {
  out = sqlite3_column_int(g_pStmt_Inner, static_cast<int>(column)) != 0;
}

int InnerStatementCycle::Begin(const InnerStatement& statement, const LogOrigin& origin) {
  const int result = Prepare_Inner(statement.text.c_str(), kReadOnly);
  if (result != 0) {
    NUV_ERROR_FROM(origin, NUV_RED "Failed to prepare" NUV_PLAIN);
    return result;
  }
  nuv_inner_bind_db(statement.binds);
  return 0;
}

bool InnerStatementCycle::NextRow() {
  return Note(Step_Inner());
}

#include "nuv_db_api/nuv_db_statement.h"

#include <nuv_platform/platform_path.h>
#include <pthread.h>
#include <unistd.h>

#include <mutex>
#include <new>

#include "nuv_common/nuv_statement.h"

sqlite3* g_pConnection = nullptr;
sqlite3_stmt* g_pStmt = nullptr;

namespace {

enum BindType { kBindText = 1, kBindInteger = 2 };

void WaitForWriter() {
  usleep(10000);
}

constexpr DatabaseSide kReadSide = {"g_pStmt", WaitForWriter};

// A leaf: nothing but SQLite and the log is called under it.
std::mutex cycleMutex;

// A child must not find a query of another thread half done, in SQLite's own memory least of all.
void FinishQueryBeforeFork() {
  cycleMutex.lock();
}

void GoOnInParent() {
  cycleMutex.unlock();
}

// The parent's connection may be neither used nor closed here: both would touch the parent's locks.
void ForgetInChild() {
  new (&cycleMutex) std::mutex;
  g_pConnection = nullptr;
  g_pStmt = nullptr;
}

[[maybe_unused]] const int registered = pthread_atfork(FinishQueryBeforeFork, GoOnInParent, ForgetInChild);

void CloseFailedConnection() {
  FinalizeStatement(&g_pStmt, "g_pStmt ", NUV_HERE);
  if (g_pConnection == nullptr) return;
  NUV_INFO("Close DB ");
  sqlite3_close(g_pConnection);
  g_pConnection = nullptr;
}

int ConnectToDatabase() {
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
  if (OpenDatabase(path.c_str(), SQLITE_OPEN_READONLY, &g_pConnection) == SQLITE_OK) {
    NUV_INFO("Connected to DB");
    return 0;
  }
  NUV_INFO("Failed to connect to DB : %s", sqlite3_errmsg(g_pConnection));
  CloseFailedConnection();
  return kDatabaseFailed;
}

int Prepare(const std::string& sql) {
  g_pStmt = nullptr;
  if (ConnectToDatabase() != 0) return kDatabaseFailed;
  const int result = PrepareWithRetry(g_pConnection, sql.c_str(), &g_pStmt, kReadSide, NUV_HERE);
  NUV_MILESTONE(NUV_GREEN "End,ret = %d" NUV_PLAIN, result);
  return result;
}

void nuvdb_bind(const std::vector<_NUVDB_BIND_T>& binds) {
  int position = 0;
  for (const _NUVDB_BIND_T& bind : binds) {
    ++position;
    if (bind.type == kBindText) {
      sqlite3_bind_text(g_pStmt, position, bind.text.c_str(), -1, SQLITE_STATIC);
    } else if (bind.type == kBindInteger) {
      sqlite3_bind_int(g_pStmt, position, bind.value);
    }
  }
}

int Step() {
  return StepWithRetry(&g_pStmt, kReadSide, NUV_HERE);
}

void save_db_bind(std::vector<_NUVDB_BIND_T>& binds, const std::string& value) {
  binds.push_back({kBindText, value, 0});
}

void save_db_bind(std::vector<_NUVDB_BIND_T>& binds, int value) {
  binds.push_back({kBindInteger, {}, value});
}

char* GetStringFromResult(unsigned col) {
  static char empty[] = "";
  const unsigned char* text = sqlite3_column_text(g_pStmt, static_cast<int>(col));
  return text == nullptr ? empty : reinterpret_cast<char*>(const_cast<unsigned char*>(text));
}

int GetIntegerFromResult(unsigned col) {
  return sqlite3_column_int(g_pStmt, static_cast<int>(col));
}

void GetValueByDBPosition(unsigned col, std::string& out) {
  out = GetStringFromResult(col);
}

StatementCycle::StatementCycle() {
  cycleMutex.lock();
}

StatementCycle::~StatementCycle() {
  FinalizeStatement(&g_pStmt, kReadSide.statementName, NUV_HERE);
  cycleMutex.unlock();
}

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

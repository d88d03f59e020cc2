#include "sqlite_faults.h"

#include <pthread.h>

#include <mutex>
#include <set>

#include "before_the_library.h"
#include "real_call.h"
#include "undisturbed.h"

namespace sqlite_faults {

std::deque<int> open_codes;
std::deque<int> prepare_codes;
std::deque<int> step_codes;
std::function<void(const std::string&)> before_prepare;

}  // namespace sqlite_faults

namespace {

struct Watched {
  std::mutex mutex;
  std::vector<sqlite_faults::Opening> openings;
  std::vector<std::string> prepared;
  std::vector<std::string> executed;
  std::set<sqlite3*> connections;
};

Watched& Get() {
  static Watched& watched = *new Watched;
  return watched;
}

// A forked child finds the state unlocked, as in fake_platform.cpp.
void StayUsableInChildren() {
  pthread_atfork([] { Get().mutex.lock(); }, [] { Get().mutex.unlock(); }, [] { Get().mutex.unlock(); });
}
NUV_BEFORE_THE_LIBRARY(StayUsableInChildren);

// fork() holds SQLite's locks before it takes ours: SQLite is not called under ours.
void NoteExecution(sqlite3_stmt* statement) {
  char* text = sqlite3_expanded_sql(statement);
  {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    Get().executed.emplace_back(text);
  }
  sqlite3_free(text);
}

// To read the schema SQLite calls itself, within a call of the library: such calls do not count as the library's.
thread_local bool within_sqlite = false;

class WithinSqlite {
 public:
  WithinSqlite() { within_sqlite = true; }
  ~WithinSqlite() { within_sqlite = false; }
};

bool IsLibrarysCall(sqlite3* connection) {
  if (within_sqlite) return false;
  const std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().connections.count(connection) != 0;
}

// The next code to return instead of calling, or 0.
int Take(std::deque<int>& codes) {
  if (codes.empty()) return 0;
  const int code = codes.front();
  codes.pop_front();
  return code;
}

}  // namespace

namespace sqlite_faults {

std::vector<Opening> Openings() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().openings;
}

std::vector<std::string> Prepared() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().prepared;
}

std::vector<std::string> Executed() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().executed;
}

void Forget() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  Get().openings.clear();
  Get().prepared.clear();
  Get().executed.clear();
}

int LiveStatements() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  int live = 0;
  for (sqlite3* connection : Get().connections) {
    for (sqlite3_stmt* s = sqlite3_next_stmt(connection, nullptr); s != nullptr; s = sqlite3_next_stmt(connection, s)) {
      ++live;
    }
  }
  return live;
}

int LiveConnections() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  return static_cast<int>(Get().connections.size());
}

}  // namespace sqlite_faults

extern "C" {

int sqlite3_open_v2(const char* path, sqlite3** connection, int flags, const char* vfs) {
  static auto* const real = Real(sqlite3_open_v2, "sqlite3_open_v2");
  {
    const Undisturbed undisturbed;
    const std::lock_guard<std::mutex> lock(Get().mutex);
    Get().openings.push_back({path, flags, vfs != nullptr});
    *connection = nullptr;
    if (const int code = Take(sqlite_faults::open_codes)) return code;
  }
  const int code = real(path, connection, flags, vfs);
  const Undisturbed undisturbed;
  const std::lock_guard<std::mutex> lock(Get().mutex);
  if (*connection != nullptr) Get().connections.insert(*connection);
  return code;
}

int sqlite3_close(sqlite3* connection) {
  static auto* const real = Real(sqlite3_close, "sqlite3_close");
  {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    Get().connections.erase(connection);
  }
  return real(connection);
}

int sqlite3_prepare_v2(sqlite3* connection, const char* sql, int length, sqlite3_stmt** statement, const char** tail) {
  static auto* const real = Real(sqlite3_prepare_v2, "sqlite3_prepare_v2");
  if (!IsLibrarysCall(connection)) return real(connection, sql, length, statement, tail);
  {
    const Undisturbed undisturbed;
    if (sqlite_faults::before_prepare) sqlite_faults::before_prepare(sql);
    const std::lock_guard<std::mutex> lock(Get().mutex);
    Get().prepared.emplace_back(sql);
    if (const int code = Take(sqlite_faults::prepare_codes)) return code;
  }
  const WithinSqlite within;
  return real(connection, sql, length, statement, tail);
}

int sqlite3_step(sqlite3_stmt* statement) {
  static auto* const real = Real(sqlite3_step, "sqlite3_step");
  if (!IsLibrarysCall(sqlite3_db_handle(statement))) return real(statement);
  {
    const Undisturbed undisturbed;
    {
      const std::lock_guard<std::mutex> lock(Get().mutex);
      if (const int code = Take(sqlite_faults::step_codes)) return code;
    }
    if (sqlite3_stmt_busy(statement) == 0) NoteExecution(statement);
  }
  const WithinSqlite within;
  return real(statement);
}

}  // extern "C"

#include "sqlite_faults.h"

#include <dlfcn.h>

#include <mutex>
#include <set>

namespace sqlite_faults {

std::deque<int> prepare_codes;
std::deque<int> step_codes;

}  // namespace sqlite_faults

namespace {

struct Watched {
  std::mutex mutex;
  std::vector<sqlite_faults::Opening> openings;
  std::vector<std::string> prepared;
  std::set<sqlite3*> connections;
};

Watched& Get() {
  static Watched& watched = *new Watched;
  return watched;
}

template <typename Function>
Function* Real(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
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

void Forget() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  Get().openings.clear();
  Get().prepared.clear();
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
    const std::lock_guard<std::mutex> lock(Get().mutex);
    Get().openings.push_back({path, flags, vfs != nullptr});
  }
  const int code = real(path, connection, flags, vfs);
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
  {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    if (Get().connections.count(connection) != 0) {
      Get().prepared.emplace_back(sql);
      if (const int code = Take(sqlite_faults::prepare_codes)) return code;
    }
  }
  return real(connection, sql, length, statement, tail);
}

int sqlite3_step(sqlite3_stmt* statement) {
  static auto* const real = Real(sqlite3_step, "sqlite3_step");
  {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    if (Get().connections.count(sqlite3_db_handle(statement)) != 0) {
      if (const int code = Take(sqlite_faults::step_codes)) return code;
    }
  }
  return real(statement);
}

}  // extern "C"

#include "catalogue/sqlite.h"

namespace simulator {
namespace {

// Clients read, and may write, the same file; their locks are short.
constexpr int kBusyTimeoutMs = 1000;

}  // namespace

Database::Database(const std::string& path) {
  sqlite3* handle = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW, nullptr);
  handle_.reset(handle);
  if (code != SQLITE_OK) throw DatabaseError(path + ": " + sqlite3_errstr(code));
  sqlite3_busy_timeout(handle, kBusyTimeoutMs);
}

Statement Database::Prepare(const std::string& sql) {
  return Statement(*this, sql);
}

void Database::Run(const std::string& sql) {
  Statement statement = Prepare(sql);
  while (statement.Step()) {
  }
}

Statement::Statement(const Database& database, const std::string& sql) : database_(database.handle()) {
  sqlite3_stmt* handle = nullptr;
  Check(sqlite3_prepare_v2(database_, sql.c_str(), static_cast<int>(sql.size() + 1), &handle, nullptr));
  handle_.reset(handle);
}

Statement& Statement::Bind(const std::string& text) {
  Check(sqlite3_bind_text(handle_.get(), ++bound_, text.c_str(), static_cast<int>(text.size()), SQLITE_TRANSIENT));
  return *this;
}

Statement& Statement::Bind(sqlite3_int64 number) {
  Check(sqlite3_bind_int64(handle_.get(), ++bound_, number));
  return *this;
}

bool Statement::Step() {
  const int code = sqlite3_step(handle_.get());
  if (code == SQLITE_ROW) return true;
  if (code != SQLITE_DONE) Check(code);
  return false;
}

std::string Statement::Text(int column) const {
  const unsigned char* text = sqlite3_column_text(handle_.get(), column);
  return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

void Statement::Check(int code) const {
  if (code != SQLITE_OK) throw DatabaseError(sqlite3_errmsg(database_));
}

Transaction::~Transaction() {
  if (!open_) return;
  try {
    database_.Run("ROLLBACK");
  } catch (const DatabaseError&) {
    // SQLite has rolled back by itself.
  }
}

void Transaction::Commit() {
  database_.Run("COMMIT");
  open_ = false;
}

}  // namespace simulator
